// SPDX-License-Identifier: Apache-2.0
// The default mode of the executable: reading, checking and saving setup documents, exit statuses.
#include "test_support.h"

#include <filesystem>

#ifndef CORVANE_EXE
#error "CORVANE_EXE must name the corvane executable (set by tests/CMakeLists.txt)"
#endif

namespace
{

using corvane_test::PROGRAM_RUN;
using corvane_test::SCRATCH_DIR;

using corvane_test::corvane;

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

// The bundled minimal example, whose input "design.sof" is relative to the working directory.
const std::string k_minimal = corvane_test::source_file("examples/minimal.zeb");

TEST(CliSetup, BadUsageExitsWithTwo)
{
    for (const char* arguments :
         {"", "--frobnicate x.zeb", "--ini NOEQUALS x.zeb", "--save", "--save a.zeb b.zeb c.zeb"})
    {
        PROGRAM_RUN run = corvane(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_TRUE(contains(run.err, "Try 'corvane --help'")) << arguments << ": " << run.err;
    }
}

TEST(CliSetup, ProblemsOfTheDocumentExitWithOneAndSayWhy)
{
    SCRATCH_DIR dir;
    PROGRAM_RUN missing = corvane("'" + dir.file("absent.zeb") + "'");
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(contains(missing.err, "Error (19515): Can't save or open file")) << missing.err;

    corvane_test::write_file(dir.file("bad.zeb"), "<zeb>\n<settings mode='FAST'/>\n</zeb>\n");
    PROGRAM_RUN corrupted = corvane("'" + dir.file("bad.zeb") + "'");
    EXPECT_EQ(corrupted.status, 1);
    EXPECT_TRUE(contains(corrupted.err, "Error (20761): File " + dir.file("bad.zeb") + " is corrupted. line 2:"))
        << corrupted.err;

    // Run from an empty directory: the example's input is not there, so its check fails and
    // nothing is saved.
    PROGRAM_RUN unchecked = corvane("--save '" + dir.file("out.zeb") + "' '" + k_minimal + "'");
    EXPECT_EQ(unchecked.status, 1);
    EXPECT_TRUE(contains(unchecked.err, "Error (19516): Detected Corvane settings error: Cannot find"))
        << unchecked.err;
    EXPECT_FALSE(std::filesystem::exists(dir.file("out.zeb")));
}

TEST(CliSetup, NoCheckSavesANormalisedDocument)
{
    SCRATCH_DIR dir;
    PROGRAM_RUN run = corvane("--no-check --save '" + dir.file("out.zeb") + "' '" + k_minimal + "'");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(contains(run.out, "Info (20810): Saved Corvane Setup File " + dir.file("out.zeb"))) << run.out;
    EXPECT_TRUE(contains(corvane_test::read_file(dir.file("out.zeb")), "<zeb version=\"1\">"));
}

TEST(CliSetup, SwitchesFromTheCommandLine)
{
    SCRATCH_DIR dir;
    corvane_test::write_file(
        dir.file("sof.zeb"),
        "<zeb><output_files><output_file name='a' directory='.' type='SOF'/></output_files></zeb>");
    PROGRAM_RUN warned = corvane("--no-check --save '" + dir.file("out.zeb") + "' '" + dir.file("sof.zeb") + "'");
    EXPECT_EQ(warned.status, 0);
    EXPECT_TRUE(contains(warned.err, "Warning (20811)")) << warned.err;
    EXPECT_FALSE(std::filesystem::exists(dir.file("out.zeb")));

    PROGRAM_RUN allowed = corvane("--no-check --ini ZEB_ALWAYS_ALLOW_SAVE_FILE=ON --save '" + dir.file("out.zeb") +
                                  "' '" + dir.file("sof.zeb") + "'");
    EXPECT_EQ(allowed.status, 0) << allowed.err;
    EXPECT_TRUE(std::filesystem::exists(dir.file("out.zeb")));
}

// A passing document is generated with one line per file written; --check stops after the check;
// a second input of an SRAM object file output is refused by name before the library sees it.
TEST(CliSetup, GeneratesOrChecksAndRefusesASecondInputOfAnSofOutput)
{
    corvane_test::SCRATCH_CWD cwd;
    std::filesystem::create_directory("output_files");
    ASSERT_EQ(corvane("--make-sof --device 7TR440PA3R1 --size 4096 design.sof").status, 0);
    PROGRAM_RUN generated = corvane("'" + k_minimal + "'");
    EXPECT_EQ(generated.status, 0) << generated.err;
    const std::string rbf = (cwd.path() / "output_files" / "design.rbf").string();
    EXPECT_EQ(generated.out, "written: " + rbf + " (" + std::to_string(std::filesystem::file_size(rbf)) +
                                 " bytes)\n1 output file written\n");

    PROGRAM_RUN checked = corvane("--check '" + k_minimal + "'");
    EXPECT_EQ(checked.status, 0) << checked.err;
    EXPECT_EQ(checked.out, k_minimal + ": check passed\n");
    EXPECT_EQ(corvane("--check --no-check '" + k_minimal + "'").status, 2);

    // An SRAM object file output takes the one input of a document; a second input would break the
    // generation's precondition, so the front end refuses the document first.
    ASSERT_EQ(corvane("--make-sof --device 7TR440PA3R1 --size 4096 other.sof").status, 0);
    corvane_test::write_file("sof.zeb", "<zeb><settings mode='AVSTX8'/><bitstreams>"
                                        "<bitstream id='b1'><path hps_path='boot.hex'>design.sof</path></bitstream>"
                                        "<bitstream id='b2'><path>other.sof</path></bitstream></bitstreams>"
                                        "<output_files><output_file name='boot' directory='output_files' type='SOF'>"
                                        "<bitstream_id>b1</bitstream_id></output_file></output_files></zeb>");
    corvane_test::write_file("boot.hex", ":00000001FF\n");
    PROGRAM_RUN refused = corvane("sof.zeb");
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(contains(refused.err, "output_file name=\"boot\" type=\"SOF\" is written from exactly one input"))
        << refused.err;
    EXPECT_FALSE(std::filesystem::exists("output_files/boot.sof"));
}

TEST(CliSetup, HelpNamesEveryModeAndVersionTheDataDirectory)
{
    PROGRAM_RUN help = corvane("--help");
    EXPECT_EQ(help.status, 0);
    for (const char* mode : {"--check", "--no-check", "--save", "--make-sof", "--info", "--list-devices", "--list-flash-devices",
                             "EXIT STATUS", "CORVANE_DATA_DIR"})
        EXPECT_TRUE(contains(help.out, mode)) << mode;
    PROGRAM_RUN version = corvane("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_TRUE(contains(version.out, "data directory: ")) << version.out;
}

} // namespace
