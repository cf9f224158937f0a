// SPDX-License-Identifier: Apache-2.0
// How every mode reads its command line: the mode flag and options in any order, help anywhere,
// one rule for extra arguments, refused empty values and unknown switches, user text in messages
// kept short, and the reason of a refused input shown.
#include "test_support.h"

#ifndef CORVANE_EXE
#error "CORVANE_EXE must name the corvane executable (set by tests/CMakeLists.txt)"
#endif

namespace
{

struct LINE
{
    std::string arguments;
    int status;
    std::vector<std::string> expected; // in standard output and error together
};

TEST(CliUsage, EveryModeReadsItsLineTheSameWay)
{
    corvane_test::SCRATCH_CWD cwd;
    ASSERT_EQ(corvane_test::corvane("--make-sof --device 7TR220PA2R1 --size 65536 good.sof").status, 0);
    const std::string good = corvane_test::read_file("good.sof");
    corvane_test::write_file("design.sof", good.substr(0, 3000));
    std::filesystem::create_directories("output_files");
    const std::string minimal = "'" + corvane_test::source_file("examples/minimal.zeb") + "'";
    const std::string long_name(100000, 'n');

    const LINE lines[] = {
        {"-h good.sof", 0, {"SYNOPSIS", "any order"}},
        {"--help --info good.sof", 0, {"SYNOPSIS"}},
        {"--info good.sof -h", 0, {"SYNOPSIS"}},
        {"good.sof --info", 0, {"integrity:                 ok"}},
        {"--help=devce", 2, {"did you mean 'device'?"}},
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
        {"--info " + long_name, 1, {"nnn...nnn"}},
        {"--check " + minimal, 1, {"Failed to parse", "Reason: ", "truncated"}},
    };
    for (const LINE& line : lines)
    {
        const corvane_test::PROGRAM_RUN run = corvane_test::corvane(line.arguments);
        const std::string shown = line.arguments.substr(0, 80);
        EXPECT_EQ(run.status, line.status) << shown << '\n' << run.output();
        for (const std::string& part : line.expected)
            EXPECT_NE(run.output().find(part), std::string::npos) << shown << ": " << part << '\n' << run.output();
        EXPECT_LT(run.err.size(), 4000u) << shown;
    }
    // A long name of two-byte characters is shortened between characters, never inside one,
    // whichever the parity of the cut: iconv reads every message as UTF-8.
    const corvane_test::PROGRAM_RUN utf8 = corvane_test::run_program(
        "/bin/sh", "-c 'n=$(printf \"\\303\\274%.0s\" $(seq 3000)); for p in \"\" a; do "
                   "\"$0\" --info \"$p$n\" 2>&1 | tee -a seen | iconv -f UTF-8 -t UTF-8 >/dev/null || exit 1; done' " CORVANE_EXE);
    EXPECT_EQ(utf8.status, 0) << utf8.output();
    EXPECT_NE(corvane_test::read_file("seen").find("\xC3\xBC...\xC3\xBC"), std::string::npos);
}

} // namespace
