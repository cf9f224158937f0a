// SPDX-License-Identifier: Apache-2.0
// Reading (schema check, element tree, normalisation) and saving of large setup documents.
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/zeb_util.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace
{

// Messages are counted, not printed, while benchmarks run.
class QUIET_SINK : public MSG_SINK
{
public:
    void post(const MSG_POSTED&) override {}
};

// A document with `devices` flash devices of 64 partitions each and as many bitstreams, written
// once per size into the temporary directory.
std::string make_document(int devices)
{
    const std::string path =
        (std::filesystem::temp_directory_path() / ("corvane-bench-" + std::to_string(devices) + ".zeb")).string();
    std::ofstream out(path);
    out << "<zeb version='1'><settings mode='ASX4'/><bitstreams>";
    for (int i = 0; i < devices; ++i)
        out << "<bitstream id='B" << i << "'><path compression='true' encryption='true' key_file1='k.key' key1='K" << i
            << "' security_opt_no_jtag='1'>design_" << i << ".sof</path></bitstream>";
    out << "</bitstreams><flash_devices><flash_loader>7TR440PA3R1</flash_loader>";
    for (int i = 0; i < devices; ++i)
    {
        out << "<flash_device type='VQ1024A' id='FD" << i << "'>";
        for (int p = 0; p < 64; ++p)
            out << "<partition id='P" << p << "' s_addr='0x" << std::hex << p * 0x10000 << "' e_addr='0x"
                << (p + 1) * 0x10000 - 1 << std::dec << "' size='65536'/>";
        out << "</flash_device>";
    }
    out << "</flash_devices><output_files><output_file name='image' directory='.' type='JIC'>";
    for (int i = 0; i < devices; ++i)
        out << "<flash_device_id>FD" << i << "</flash_device_id>";
    out << "</output_file></output_files></zeb>\n";
    return path;
}

void BM_parse(benchmark::State& state)
{
    QUIET_SINK quiet;
    MSG_SINK* previous = msg_set_sink(&quiet);
    const std::string path = make_document(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        PGM_COMMON_XML_ZEB_ZEB* raw = nullptr;
        const bool ok = ZEB_UTIL::parse(&raw, path);
        std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> document(raw);
        if (!ok)
            state.SkipWithError("parse failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(std::filesystem::file_size(path)));
    msg_set_sink(previous);
    std::remove(path.c_str());
}

void BM_save(benchmark::State& state)
{
    QUIET_SINK quiet;
    MSG_SINK* previous = msg_set_sink(&quiet);
    const std::string path = make_document(static_cast<int>(state.range(0)));
    PGM_COMMON_XML_ZEB_ZEB* raw = nullptr;
    if (!ZEB_UTIL::parse(&raw, path))
        state.SkipWithError("parse failed");
    std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> document(raw);
    const std::string target = path + ".saved";
    for (auto _ : state)
    {
        if (!document || !ZEB_UTIL::save(document.get(), target))
            state.SkipWithError("save failed");
    }
    if (document)
        state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                                static_cast<int64_t>(std::filesystem::file_size(target)));
    msg_set_sink(previous);
    std::remove(path.c_str());
    std::remove(target.c_str());
}

} // namespace

// 16 devices is a large real board; 1024 devices (65,536 partitions, about 6 MB) is a stress size.
BENCHMARK(BM_parse)->Arg(16)->Arg(1024)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_save)->Arg(16)->Arg(1024)->Unit(benchmark::kMillisecond);
