// SPDX-License-Identifier: Apache-2.0
// Throughput of the configuration data format on a 64 MiB image: encoding, writing, reading and
// the integrity check, and of an SRAM object file (which adds the design hash) around it.
#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/pgmio/pgmio.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <string>

namespace
{

constexpr uint64_t k_image_size = uint64_t(64) << 20;

// 64 MiB of configuration data in the sections of a block-layout device with CvP and HPS.
const PGMIO_CONFIG_DATA& large_config()
{
    static const PGMIO_CONFIG_DATA data = []
    {
        PGMIO_CONFIG_DATA config;
        config.idcode = 0x17A445EF;
        config.flags = PGMIO_DESIGN_CVP | PGMIO_DESIGN_HPS;
        const uint64_t sizes[] = {k_image_size / 16, k_image_size / 8, k_image_size - k_image_size / 4,
                                  k_image_size / 16};
        const uint32_t tags[] = {PGMIO_SECTION_FIRMWARE, PGMIO_SECTION_PERIPHERY, PGMIO_SECTION_CORE,
                                 PGMIO_SECTION_HPS};
        uint32_t state = 12345;
        for (int i = 0; i < 4; ++i)
        {
            PGMIO_BYTES bytes(sizes[i]);
            for (uint8_t& byte : bytes)
            {
                state = state * 1664525u + 1013904223u;
                byte = uint8_t(state >> 24);
            }
            config.sections.push_back({tags[i], std::move(bytes)});
        }
        return config;
    }();
    return data;
}

std::string scratch_file(const char* name)
{
    return (std::filesystem::temp_directory_path() / (std::string("corvane-bench-") + name)).string();
}

void report(benchmark::State& state, uint64_t bytes_per_iteration)
{
    state.SetBytesProcessed(int64_t(state.iterations() * bytes_per_iteration));
}

void BM_EncodeConfigurationData(benchmark::State& state)
{
    std::string error;
    PGMIO_BYTES image;
    for (auto _ : state)
    {
        if (!PGMIO_RBF::encode(large_config(), image, error))
            state.SkipWithError(error.c_str());
        benchmark::DoNotOptimize(image.data());
    }
    report(state, k_image_size);
}

void BM_WriteRbf(benchmark::State& state)
{
    std::string error;
    const std::string path = scratch_file("write.rbf");
    for (auto _ : state)
        if (!PGMIO_RBF::write(path, large_config(), error))
            state.SkipWithError(error.c_str());
    report(state, k_image_size);
    std::filesystem::remove(path);
}

void BM_ReadRbf(benchmark::State& state)
{
    std::string error;
    const std::string path = scratch_file("read.rbf");
    if (!PGMIO_RBF::write(path, large_config(), error))
        state.SkipWithError(error.c_str());
    PGMIO_CONFIG_DATA data;
    for (auto _ : state)
        if (!PGMIO_RBF::read(path, data, error))
            state.SkipWithError(error.c_str());
    report(state, k_image_size);
    std::filesystem::remove(path);
}

void BM_IntegrityCheckRbf(benchmark::State& state)
{
    std::string error;
    const std::string path = scratch_file("check.rbf");
    if (!PGMIO_RBF::write(path, large_config(), error))
        state.SkipWithError(error.c_str());
    for (auto _ : state)
        if (!BITASM_MGR::check_bitstream_integrity(path).empty())
            state.SkipWithError("integrity check failed");
    report(state, k_image_size);
    std::filesystem::remove(path);
}

void BM_IntegrityCheckSof(benchmark::State& state)
{
    std::string error;
    const std::string path = scratch_file("check.sof");
    PGMIO_SOF_IMAGE sof;
    sof.device_name = "7TR440PA3R1";
    sof.design_name = "bench";
    sof.flags = large_config().flags;
    sof.config = large_config();
    if (!PGMIO_SOF::write(path, sof, error))
        state.SkipWithError(error.c_str());
    for (auto _ : state)
        if (!BITASM_MGR::check_bitstream_integrity(path).empty())
            state.SkipWithError("integrity check failed");
    report(state, k_image_size);
    std::filesystem::remove(path);
}

} // namespace

BENCHMARK(BM_EncodeConfigurationData)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteRbf)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadRbf)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IntegrityCheckRbf)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IntegrityCheckSof)->Unit(benchmark::kMillisecond);
