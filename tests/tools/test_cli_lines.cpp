// SPDX-License-Identifier: Apache-2.0
// Command lines and documents as users and attackers write them: every mode reads its line by one
// rule; awkward paths, escaping names, absurd numbers, empty or huge files and a newcomer's broken
// documents end in a plain status and a short message, never an internal error, writing nothing
// they should not.
#include "test_support.h"

#ifndef CORVANE_EXE
#error "CORVANE_EXE must name the corvane executable (set by tests/CMakeLists.txt)"
#endif

namespace
{

namespace fs = std::filesystem;

struct LINE
{
    std::string arguments;
    int status;
    std::vector<std::string> expected; // in standard output and error together
};

void expect_lines(std::initializer_list<LINE> lines)
{
    for (const LINE& line : lines)
    {
        const corvane_test::PROGRAM_RUN run = corvane_test::corvane(line.arguments);
        const std::string shown = line.arguments.substr(0, 80);
        EXPECT_EQ(run.status, line.status) << shown << '\n' << run.output();
        for (const std::string& part : line.expected)
            EXPECT_NE(run.output().find(part), std::string::npos) << shown << ": " << part << '\n' << run.output();
        EXPECT_LT(run.err.size(), 4000u) << shown;
    }
}

TEST(CliLines, EveryModeReadsItsLineTheSameWay)
{
    corvane_test::SCRATCH_CWD cwd;
    ASSERT_EQ(corvane_test::corvane("--make-sof --device 7TR220PA2R1 --size 65536 good.sof").status, 0);
    corvane_test::write_file("design.sof", corvane_test::read_file("good.sof").substr(0, 3000));
    fs::create_directories("output_files");
    corvane_test::write_file("bad.zeb", "<zeb>\n<settings mode='FAST'/>\n</zeb>\n");
    const std::string minimal = "'" + corvane_test::source_file("examples/minimal.zeb") + "'";
    expect_lines({
        {"-h good.sof", 0, {"SYNOPSIS", "any order"}},
        {"--help --info good.sof", 0, {"SYNOPSIS"}},
        {"--info good.sof -h", 0, {"SYNOPSIS"}},
        {"good.sof --info", 0, {"integrity:                 ok"}},
        {"--help=devce", 2, {"did you mean 'device'?"}},
        {"--help=password", 2, {"no option 'password'"}}, // hidden
        {"--help=no_jtag", 0, {"no_jtag=0|1|2|3\n    sets: bitstream attribute security_opt_no_jtag\n"}},
        {"--info good.sof other.sof", 2, {"unexpected argument 'other.sof': --info takes one file"}},
        {"--list-devices extra", 2, {"unexpected argument 'extra'"}},
        {"--version extra", 2, {"unexpected argument 'extra'"}},
        {"--make-hky pub.pem out.hky third", 2, {"unexpected argument 'third'"}},
        {"--info", 2, {"--info needs one file"}},
        {"--list-devices --info good.sof", 2, {"'--list-devices' and '--info' are two modes"}},
        {"--jsn --list-devices", 2, {"unknown option '--jsn'; did you mean '--json'?"}},
        {"--save '' " + minimal, 2, {"option '--save' needs a value, not an empty text"}},
        {"--save= " + minimal, 2, {"option '--save' needs a value, not an empty text"}},
        {"--ini ZEB_ALWAYS_ALOW_SAVE_FILE=ON " + minimal, 2, {"did you mean 'ZEB_ALWAYS_ALLOW_SAVE_FILE'?"}},
        {"--ini NO_SUCH_THING=ON --help", 2, {"no switch 'NO_SUCH_THING'"}},
        {"--info " + std::string(100000, 'n'), 1, {"nnn...nnn"}},
        {"--check " + minimal, 1, {"Failed to parse", "Reason: ", "truncated"}},
        {"--check --no-check " + minimal, 2, {"Try 'corvane --help'"}},
        {"--save a.zeb b.zeb c.zeb", 2, {"Try 'corvane --help'"}},
        {"", 2, {"Try 'corvane --help'"}},
        {"absent.zeb", 1, {"Error (19515): Can't save or open file absent.zeb"}},
        {"bad.zeb", 1, {"Error (20761): File bad.zeb is corrupted. line 2:"}},
        {"--help", 0, {"--check", "--no-check", "--save", "--make-sof", "--list-flash-devices", "CORVANE_DATA_DIR"}},
        {"--version", 0, {"data directory: "}},
    });
    // A long name of two-byte characters is shortened between characters, never inside one,
    // whichever the parity of the cut: iconv reads every message as UTF-8.
    const corvane_test::PROGRAM_RUN utf8 = corvane_test::run_program(
        "/bin/sh", "-c 'n=$(printf \"\\303\\274%.0s\" $(seq 3000)); for p in \"\" a; do \"$0\" --info \"$p$n\" 2>&1 "
                   "| tee -a seen | iconv -f UTF-8 -t UTF-8 >/dev/null || exit 1; done' " CORVANE_EXE);
    EXPECT_EQ(utf8.status, 0) << utf8.output();
    EXPECT_NE(corvane_test::read_file("seen").find("\xC3\xBC...\xC3\xBC"), std::string::npos);
}

// The document mode: the check fails without the example's input and nothing is saved; with it the
// document is generated with one line per file, checked, or saved normalised unchecked; an SRAM
// object file output with a second input is refused by name before the library sees it.
TEST(CliLines, DocumentModeChecksGeneratesAndSaves)
{
    corvane_test::SCRATCH_CWD cwd;
    fs::create_directory("output_files");
    const std::string minimal = corvane_test::source_file("examples/minimal.zeb");
    expect_lines(
        {{"--save s.zeb '" + minimal + "'", 1, {"Error (19516): Detected Corvane settings error: Cannot find"}}});
    EXPECT_FALSE(fs::exists("s.zeb"));
    ASSERT_EQ(corvane_test::corvane("--make-sof --device 7TR440PA3R1 --size 4096 design.sof").status, 0);
    ASSERT_EQ(corvane_test::corvane("--make-sof --device 7TR440PA3R1 --size 4096 other.sof").status, 0);
    const corvane_test::PROGRAM_RUN generated = corvane_test::corvane("'" + minimal + "'");
    const std::string rbf = (cwd.path() / "output_files" / "design.rbf").string();
    EXPECT_EQ(generated.out,
              "written: " + rbf + " (" + std::to_string(fs::file_size(rbf)) + " bytes)\n1 output file written\n")
        << generated.err;
    EXPECT_EQ(corvane_test::corvane("--check '" + minimal + "'").out, minimal + ": check passed\n");
    corvane_test::write_file("sof.zeb", "<zeb><settings mode='AVSTX8'/><bitstreams><bitstream id='b1'><path "
                                        "hps_path='boot.hex'>design.sof</path></bitstream><bitstream id='b2'><path>"
                                        "other.sof</path></bitstream></bitstreams><output_files><output_file "
                                        "name='boot' directory='output_files' type='SOF'><bitstream_id>b1"
                                        "</bitstream_id></output_file></output_files></zeb>");
    corvane_test::write_file("boot.hex", ":00000001FF\n");
    expect_lines({
        {"--no-check --save s.zeb '" + minimal + "'", 0, {"Info (20810): Saved Corvane Setup File s.zeb"}},
        {"sof.zeb", 1, {"output_file name=\"boot\" type=\"SOF\" is written from exactly one input"}},
    });
    EXPECT_NE(corvane_test::read_file("s.zeb").find("<zeb version=\"1\">"), std::string::npos);
    EXPECT_FALSE(fs::exists("output_files/boot.sof"));
}

TEST(CliLines, HostilePathsNamesNumbersAndFiles)
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
    expect_lines({
        {"-c -o mode=AVSTX8 'dir ü/in put.sof' 'dir ü/sub/../out ü.rbf'", 0, {}},
        {"escape.zeb", 1, {"is not a plain file name"}},
        {make_sof + "--size -1", 2, {"--size needs a positive number"}},
        {make_sof + "--size 99999999999999999999999", 2, {"--size needs a positive number"}},
        {make_sof + "--size 0x100000000", 1, {"too large"}},
        {make_sof + "--seed 1e5", 2, {"--seed needs a number"}},
        {make_sof + "--utilization 101", 2, {"percentage 0 to 100"}},
        {flash + "raw.bin@0x100000000 f.jic", 2, {"malformed address"}},
        {flash + "raw.bin@-1 f.jic", 2, {"malformed address"}},
        {flash + "-o start_address=0x100000000 f.jic", 2, {"does not take '0x100000000'"}},
        {flash + "-o start_address=000000000000000000000001 f.jic", 2, {"does not take"}},
        {"--info empty.sof", 1, {"is empty"}},
        {"-c -o mode=AVSTX8 empty.sof o.rbf", 1, {"empty.sof"}},
    });
    // Only the first line writes, where it says, and the same bytes as from a plain path.
    EXPECT_EQ(corvane_test::read_file("dir ü/out ü.rbf"), corvane_test::read_file("reference.rbf"));
    for (const char* never : {"escaped.rbf", "dir ü/escaped.rbf", "made.sof", "f.jic", "o.rbf"})
        EXPECT_FALSE(fs::exists(never)) << never;
}

// A sparse file far larger than any real input is refused from its size, without being read:
// under an address-space limit far below its size (not with the sanitizers, which reserve more),
// reading it whole could not even start.
TEST(CliLines, HugeInputIsRefusedFromItsSize)
{
    corvane_test::SCRATCH_CWD cwd;
#if defined(__SANITIZE_ADDRESS__)
    const std::string limit;
#else
    const std::string limit = "ulimit -v 1048576; ";
#endif
    for (const std::string name : {"huge.sof", "huge.rbf", "huge.hex"})
    {
        corvane_test::write_file(name, "");
        fs::resize_file(name, uint64_t(3) << 30);
        const corvane_test::PROGRAM_RUN info =
            corvane_test::run_program("/bin/sh", "-c '" + limit + "exec \"$0\" --info " + name + "' " CORVANE_EXE);
        EXPECT_EQ(info.status, 1) << name << ": " << info.output();
        EXPECT_NE(info.err.find(name), std::string::npos) << info.err;
    }
}

// A newcomer's edits of examples/flash_jic.zeb, and what standard error must then say (nothing: the
// document passes).
struct STUMBLE
{
    std::vector<std::pair<std::string, std::string>> edits;
    std::vector<std::string> expected;
};

// Mistakes a first-time user makes in a flash document: each one is reported with a message number
// and the element it is about, never with silence and never with a pass. The user documentation's
// runs show the unknown raw file, the partition beyond the flash, the content too large for its
// partition, the design for another FPGA, the letter O for zero and the misspelt flash device.
TEST(CliNewcomer, EveryBrokenFlashDocumentSaysWhereAndWhy)
{
    corvane_test::SCRATCH_CWD cwd;
    ASSERT_EQ(corvane_test::corvane("--make-sof --device 7TR440PA3R1 --size 4096 design.sof").status, 0);
    std::filesystem::create_directories("data");
    std::filesystem::create_directories("output_files");
    corvane_test::write_file("data/user_data.hex", ":10000000000102030405060708090A0B0C0D0E0F78\n:00000001FF\n");
    const std::string base = corvane_test::read_file(corvane_test::source_file("examples/flash_jic.zeb"));
    const std::string user = R"(id="USER" s_addr="0x01F00000" e_addr="0x01FFFFFF")";
    const std::string type = R"(type="VQ256A")";
    const std::string mode = R"(mode="ASX4")";
    const STUMBLE stumbles[] = {
        {{}, {}},
        {{{user, R"(id="USER" s_addr="0x01F00000" e_addr="0x01E00000")"}}, {"Error (21002)"}},
        {{{R"(partition_id="USER")", R"(partition_id="USR")"}}, {"Error (21004)", "partition_id 'USR'"}},
        {{{"0x01F00000", "top"}}, {"Error (21001)", "'top'", "no number at all"}},
        {{{"0x01F00000", "0x00030000"}},
         {"Error (19516)", "USER of flash device Flash_1 (VQ256A) overlaps partition BOOT_INFO"}},
        {{{type, R"(type="MYFLASH")"}, {mode, mode + R"( custom_db_dir="no_such_dir")"}},
         {"Error (19516)", "custom database directory no_such_dir was not loaded: "}},
        {{{">design.sof<", ">build/design.sof<"}},
         {"Error (19516)", "Relative paths in a setup document are taken from the"}},
        {{{">7TR440PA3R1<", ">7TR404PA3R1<"}}, {"Error (19516)", "nearest FPGA name is 7TR440PA3R1", "--list-devices"}},
        {{{mode, R"(mode="AVSTX8")"}}, {"Error (19516)", "Output file output_files/design (type JIC)"}},
    };
    for (const STUMBLE& stumble : stumbles)
    {
        std::string text = base;
        for (const auto& [from, to] : stumble.edits)
        {
            ASSERT_NE(text.find(from), std::string::npos) << from;
            text.replace(text.find(from), from.size(), to);
        }
        corvane_test::write_file("doc.zeb", text);
        const corvane_test::PROGRAM_RUN run = corvane_test::corvane("doc.zeb");
        const std::string what = stumble.edits.empty() ? "as shipped" : stumble.edits.front().second;
        EXPECT_EQ(run.status, stumble.expected.empty() ? 0 : 1) << what << ": " << run.err;
        EXPECT_EQ(run.err.empty(), stumble.expected.empty()) << what << ": " << run.err;
        for (const std::string& part : stumble.expected)
            EXPECT_NE(run.err.find(part), std::string::npos) << what << ": " << run.err;
    }
}

} // namespace
