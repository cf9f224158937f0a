// SPDX-License-Identifier: Apache-2.0
// The --make-sof mode and --info of damaged and unknown files, run through the built executable
// (--info of every sound format is with the precheck tests).
#include "test_formats_support.h"

#include <nlohmann/json.hpp>

#ifndef CORVANE_EXE
#error "CORVANE_EXE must name the corvane executable (set by tests/CMakeLists.txt)"
#endif

using namespace corvane_test;

namespace
{

std::string quote(const std::string& word)
{
    return "'" + word + "'";
}

} // namespace

// The same options in either spelling give the same bytes, another seed others; raw data comes back
// from the sections in order; without a size the device's own is used; bad usage writes nothing.
TEST(Cli, MakeSof)
{
    SCRATCH_DIR dir;
    const auto make = [&](const std::string& options, const char* file)
    { return corvane("--make-sof " + options + " " + quote(dir.file(file))).status; };
    ASSERT_EQ(make("--device 7TR440PA3R1 --size 4096 --seed 7 --hps --cvp --design d", "a.sof"), 0);
    ASSERT_EQ(make("--device 7TR440PA3R1 --size=4096 --seed 7 --cvp --hps --design=d", "b.sof"), 0);
    ASSERT_EQ(make("--device 7TR440PA3R1 --size 4096 --seed 8 --cvp --hps --design d", "c.sof"), 0);
    EXPECT_EQ(read_file(dir.file("a.sof")), read_file(dir.file("b.sof")));
    EXPECT_NE(read_file(dir.file("a.sof")), read_file(dir.file("c.sof")));
    PGMIO_SOF_IMAGE sof;
    std::string error;
    ASSERT_TRUE(PGMIO_SOF::read(dir.file("a.sof"), sof, error)) << error;
    EXPECT_EQ(sof.device_name, "7TR440PA3R1");
    EXPECT_EQ(sof.design_name, "d");
    EXPECT_EQ(sof.flags, PGMIO_DESIGN_CVP | PGMIO_DESIGN_HPS);
    EXPECT_EQ(sof.config.payload_size(), 4096u);
    ASSERT_EQ(make("--device NR08SA", "full.sof"), 0);
    ASSERT_TRUE(PGMIO_SOF::read(dir.file("full.sof"), sof, error)) << error;
    EXPECT_EQ(sof.config.payload_size(), 0x30000u);

    const PGMIO_BYTES raw = counting_bytes(1000, 3);
    write_bytes(dir.file("raw.bin"), raw);
    ASSERT_EQ(make("--device 5ZV066H2 --cvp --data " + quote(dir.file("raw.bin")), "r.sof"), 0);
    ASSERT_TRUE(PGMIO_SOF::read(dir.file("r.sof"), sof, error)) << error;
    PGMIO_BYTES joined;
    for (const PGMIO_CONFIG_SECTION& section : sof.config.sections)
        joined.insert(joined.end(), section.data.begin(), section.data.end());
    EXPECT_EQ(joined, raw);

    const std::pair<std::string, const char*> refusals[] = {
        {"--device NOPE", "unknown FPGA device 'NOPE'"},
        {"--device 3ZT085F2 --cvp --size 4096", "does not support CvP"},
        {"--device 3ZT085F2 --data " + quote(dir.file("none.bin")), "cannot open"},
    };
    for (const auto& [options, message] : refusals)
    {
        const PROGRAM_RUN run = corvane("--make-sof " + options + " " + quote(dir.file("x.sof")));
        EXPECT_EQ(run.status, 1) << options;
        EXPECT_NE(run.output().find(message), std::string::npos) << run.output();
    }
    for (const char* usage : {"", "--seed x", "--size 0", "--colour"})
        EXPECT_EQ(make(std::string(*usage ? "--device 3ZT085F2 " : "") + usage, "x.sof"), 2) << usage;
    EXPECT_EQ(corvane("--make-sof --device 3ZT085F2").status, 2);
    EXPECT_FALSE(std::filesystem::exists(dir.file("x.sof")));
}

TEST(Cli, InfoReportsDamageAndUnknownFiles)
{
    SCRATCH_DIR dir;
    PGMIO_BYTES image = encoded<PGMIO_SOF>(small_sof(false));
    image[image.size() - 20] ^= 0x40;
    write_bytes(dir.file("bad.sof"), image);
    PROGRAM_RUN run = corvane("--info " + quote(dir.file("bad.sof")));
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output().find("MISMATCH"), std::string::npos) << run.output();
    EXPECT_NE(run.output().find("integrity:                 FAILED: CRC mismatch"), std::string::npos) << run.output();
    run = corvane("--info --json " + quote(dir.file("bad.sof")));
    const nlohmann::json integrity = nlohmann::json::parse(run.out)["integrity"];
    EXPECT_EQ(integrity["ok"], false);
    EXPECT_EQ(integrity["reason"].get<std::string>().rfind("CRC mismatch", 0), 0u) << run.output();

    write_file(dir.file("bad.hex"), ":0400000001020304F2\n:00000001FE\n");
    write_file(dir.file("notes.txt"), "plain words");
    const std::pair<const char*, const char*> refused[] = {{"bad.hex", "bad.hex:2: checksum error"},
                                                           {"notes.txt", "is not a file of a known format"},
                                                           {"missing.sof", "cannot open"}};
    for (const auto& [file, reason] : refused)
    {
        run = corvane("--info " + quote(dir.file(file)));
        EXPECT_EQ(run.status, 1) << file;
        EXPECT_NE(run.output().find(reason), std::string::npos) << run.output();
    }
}
