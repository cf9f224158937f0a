// SPDX-License-Identifier: Apache-2.0
// Hostile command lines and documents: awkward paths, output names that would leave their
// directory, absurd numbers, empty and huge files. Each ends with a plain exit status and a
// message, never an internal error, and writes nothing it should not.
#include "test_support.h"

#ifndef CORVANE_EXE
#error "CORVANE_EXE must name the corvane executable (set by tests/CMakeLists.txt)"
#endif

namespace
{

namespace fs = std::filesystem;

struct HOSTILE
{
    std::string arguments;
    int status;
    const char* message; // in standard error when the status is not 0
};

TEST(CliHostile, AwkwardPathsNamesNumbersAndFiles)
{
    corvane_test::SCRATCH_CWD cwd;
    fs::create_directories("dir ü/sub");
    ASSERT_EQ(corvane_test::corvane("--make-sof --device 7TR440PA3R1 --size 4096 'dir ü/in put.sof'").status, 0);
    ASSERT_EQ(corvane_test::corvane("-c -o mode=AVSTX8 'dir ü/in put.sof' reference.rbf").status, 0);
    corvane_test::write_file("empty.sof", "");
    corvane_test::write_file("raw.bin", std::string(256, '\x5A'));
    std::string escape = corvane_test::read_file(corvane_test::source_file("examples/minimal.zeb"));
    escape.replace(escape.find("design.sof"), 10, "dir ü/in put.sof");
    escape.replace(escape.find("name=\"design\""), 13, "name=\"../escaped\"");
    escape.replace(escape.find("\"output_files\""), 14, "\"dir ü/sub\"");
    corvane_test::write_file("escape.zeb", escape);
    const std::string make_sof = "--make-sof --device 7TR440PA3R1 made.sof ";
    const std::string flash = "-c -o mode=ASX4 -o device=VQ256A 'dir ü/in put.sof' ";

    const HOSTILE cases[] = {
        {"-c -o mode=AVSTX8 'dir ü/in put.sof' 'dir ü/sub/../out ü.rbf'", 0, ""},
        {"escape.zeb", 1, "is not a plain file name"},
        {make_sof + "--size 0", 2, "--size needs a positive number"},
        {make_sof + "--size -1", 2, "--size needs a positive number"},
        {make_sof + "--size 99999999999999999999999", 2, "--size needs a positive number"},
        {make_sof + "--size 0x100000000", 1, "too large"},
        {make_sof + "--seed 1e5", 2, "--seed needs a number"},
        {make_sof + "--utilization 101", 2, "percentage 0 to 100"},
        {flash + "raw.bin@0x100000000 f.jic", 2, "malformed address"},
        {flash + "raw.bin@-1 f.jic", 2, "malformed address"},
        {flash + "-o start_address=0x100000000 f.jic", 2, "does not take '0x100000000'"},
        {flash + "-o start_address=000000000000000000000001 f.jic", 2, "does not take"},
        {"--info empty.sof", 1, "is empty"},
        {"-c -o mode=AVSTX8 empty.sof o.rbf", 1, "empty.sof"},
    };
    for (const HOSTILE& line : cases)
    {
        const corvane_test::PROGRAM_RUN run = corvane_test::corvane(line.arguments);
        EXPECT_EQ(run.status, line.status) << line.arguments << '\n' << run.output();
        EXPECT_NE(run.err.find(line.message), std::string::npos) << line.arguments << '\n' << run.err;
    }
    // Only the first line writes, where it says, and the same bytes as from a plain path.
    EXPECT_EQ(corvane_test::read_file("dir ü/out ü.rbf"), corvane_test::read_file("reference.rbf"));
    for (const char* never : {"escaped.rbf", "dir ü/escaped.rbf", "made.sof", "f.jic", "o.rbf"})
        EXPECT_FALSE(fs::exists(never)) << never;
}

// The sanitizers reserve far more address space than any limit would allow.
#if defined(__SANITIZE_ADDRESS__)
constexpr const char* k_address_limit = "";
#else
constexpr const char* k_address_limit = "ulimit -v 1048576; ";
#endif

// A sparse file far larger than any real input is refused from its size, without being read:
// under an address-space limit far below its size, reading it whole could not even start.
// Disabled while the input reader still reads up to its limit before refusing.
TEST(CliHostile, DISABLED_HugeInputIsRefusedFromItsSize)
{
    corvane_test::SCRATCH_CWD cwd;
    for (const char* name : {"huge.sof", "huge.rbf", "huge.hex"})
    {
        SCOPED_TRACE(name);
        corvane_test::write_file(name, "");
        fs::resize_file(name, uint64_t(3) << 30);
        const corvane_test::PROGRAM_RUN info = corvane_test::run_program(
            "/bin/sh", "-c '" + std::string(k_address_limit) + "exec \"$0\" --info " + name + "' " CORVANE_EXE);
        EXPECT_EQ(info.status, 1) << info.output();
        EXPECT_NE(info.err.find(name), std::string::npos) << info.err;
    }
}

} // namespace
