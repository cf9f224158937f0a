// SPDX-License-Identifier: Apache-2.0
// Mistakes a first-time user makes in a flash document: each one is reported with a message number
// and the element it is about, never with silence and never with a pass.
#include "test_support.h"

#include <utility>
#include <vector>

#ifndef CORVANE_EXE
#error "CORVANE_EXE must name the corvane executable (set by tests/CMakeLists.txt)"
#endif

namespace
{

using corvane_test::PROGRAM_RUN;

using corvane_test::corvane;

std::string replaced(std::string text, const std::vector<std::pair<std::string, std::string>>& edits)
{
    for (const auto& [from, to] : edits)
    {
        const size_t at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        if (at != std::string::npos)
            text.replace(at, from.size(), to);
    }
    return text;
}

struct STUMBLE
{
    const char* what;
    std::vector<std::pair<std::string, std::string>> edits; // applied to examples/flash_jic.zeb
    std::vector<std::string> expected;                      // in standard error; empty: the document passes
};

TEST(CliNewcomer, EveryBrokenFlashDocumentSaysWhereAndWhy)
{
    corvane_test::SCRATCH_CWD cwd;
    ASSERT_EQ(corvane("--make-sof --device 7TR440PA3R1 --size 4096 design.sof").status, 0);
    ASSERT_EQ(corvane("--make-sof --device 9RX027R1B --size 4096 other.sof").status, 0);
    std::filesystem::create_directories("data");
    std::filesystem::create_directories("output_files");
    corvane_test::write_file("data/user_data.hex", ":10000000000102030405060708090A0B0C0D0E0F78\n:00000001FF\n");
    const std::string base = corvane_test::read_file(corvane_test::source_file("examples/flash_jic.zeb"));
    const std::string user = R"(id="USER" s_addr="0x01F00000" e_addr="0x01FFFFFF")";

    const STUMBLE stumbles[] = {
        {"the example as shipped", {}, {}},
        {"raw_file_id naming nothing", {{">user_data<", ">user_dat<"}}, {"Error (21004)", "raw_file_id 'user_dat'"}},
        {"partition past the flash end",
         {{user, R"(id="USER" s_addr="0x02000000" e_addr="0x0200FFFF")"}},
         {"Error (21003)", "Partition USER", "0x01FFFFFF"}},
        {"end below start", {{user, R"(id="USER" s_addr="0x01F00000" e_addr="0x01E00000")"}}, {"Error (21002)"}},
        {"assignment to an undeclared partition",
         {{R"(partition_id="USER")", R"(partition_id="USR")"}},
         {"Error (21004)", "partition_id 'USR'"}},
        {"content larger than its partition",
         {{R"(compression="true")", ""},
          {R"(s_addr="0x00040000" e_addr="auto")", R"(s_addr="0x40000" e_addr="0x407FF")"}},
         {"Error (21005)", "(4096 bytes) does not fit partition P1", "2048 bytes"}},
        {"design for another FPGA",
         {{">design.sof<", ">other.sof<"}},
         {"Error (21006)", "other.sof is a design for 9RX027R1B", "is 7TR440PA3R1"}},
        {"letter O for zero", {{"0x01F00000", "0x01FO0000"}}, {"Error (21001)", "'0x01FO0000'", "0x0000001F"}},
        {"upper-case X", {{"0x01F00000", "0X01F00000"}}, {"Error (21001)", "'0X01F00000'", "0x00000000"}},
        {"no number at all", {{"0x01F00000", "top"}}, {"Error (21001)", "'top'", "no number at all"}},
        {"overlapping ranges",
         {{"0x01F00000", "0x00030000"}},
         {"Error (19516)", "Partition USER of flash device Flash_1 (VQ256A) overlaps partition BOOT_INFO"}},
        {"misspelt flash device",
         {{R"(type="VQ256A")", R"(type="VQ265A")"}},
         {"Error (19516)", "nearest known name is VQ256A", "--list-flash-devices"}},
        {"custom database not loaded",
         {{R"(type="VQ256A")", R"(type="MYFLASH")"}, {R"(mode="ASX4")", R"(mode="ASX4" custom_db_dir="no_such_dir")"}},
         {"Error (19516)", "custom database directory no_such_dir was not loaded: "}},
        {"input missing from the working directory", {{">design.sof<", ">build/design.sof<"}},
         {"Error (19516)", "Relative paths in a setup document are taken from the working directory"}},
        {"misspelt flash loader",
         {{">7TR440PA3R1<", ">7TR404PA3R1<"}},
         {"Error (19516)", "nearest FPGA name is 7TR440PA3R1", "--list-devices"}},
        {"mode without that output",
         {{R"(mode="ASX4")", R"(mode="AVSTX8")"}},
         {"Error (19516)", "Output file output_files/design (type JIC)"}},
    };
    for (const STUMBLE& stumble : stumbles)
    {
        corvane_test::write_file("doc.zeb", replaced(base, stumble.edits));
        const PROGRAM_RUN run = corvane("doc.zeb");
        EXPECT_EQ(run.status, stumble.expected.empty() ? 0 : 1) << stumble.what << ": " << run.err;
        EXPECT_EQ(run.err.empty(), stumble.expected.empty()) << stumble.what << ": " << run.err;
        for (const std::string& part : stumble.expected)
            EXPECT_NE(run.err.find(part), std::string::npos) << stumble.what << ": " << run.err;
    }
}

} // namespace
