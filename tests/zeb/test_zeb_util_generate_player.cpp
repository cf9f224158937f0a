// SPDX-License-Identifier: Apache-2.0
// Generation of player files: the writers receive the chain that the input names (the conversion's
// chain of an SRAM object file, or a chain description file) and the SVF options of the document.
#include "test_support.h"

#include "pgm/zeb/platform/pgmconv/pgmio_player.h"
#include "pgm/zeb/zeb_util.h"

#include <memory>

using namespace corvane_test;

namespace
{

bool generate(const std::string& zeb)
{
    PGM_COMMON_XML_ZEB_ZEB* raw = nullptr;
    EXPECT_TRUE(ZEB_UTIL::parse(&raw, zeb));
    std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> document(raw);
    return document && ZEB_UTIL::generate(document.get());
}

void write_zeb(const std::string& path, const std::string& type, const std::string& input, const std::string& options)
{
    write_file(path, "<zeb version=\"1\"><settings mode=\"AVSTX8\"/><bitstreams><bitstream id=\"Bitstream_1\"><path>" +
                         input +
                         "</path></bitstream></bitstreams><output_files><output_file name=\"out\" "
                         "directory=\".\" type=\"" +
                         type + "\">" + options +
                         "<bitstream_id>Bitstream_1</bitstream_id></output_file></output_files></zeb>\n");
}

} // namespace

TEST(GeneratePlayer, WritesTheInputsChainWithTheDocumentsOptions)
{
    SCRATCH_CWD cwd;
    ASSERT_EQ(corvane("--make-sof --device 7TR440PA3R1 --size 600 a.sof").status, 0);
    std::string error;
    write_file("one.cdf", "corvane-cdf 1\ndevice 9RX027R1B\ndevice 7TR440PA3R1 file a.sof actions program,verify\n");
    PGMIO_PLAYER_CHAIN cdf_chain;
    ASSERT_TRUE(pgmio_player_read_cdf(FIO_PATH("one.cdf"), cdf_chain, error)) << error;

    // Verify-only at 100 KHz and 1.8 V: the document's options reach the writer.
    write_zeb("svf.zeb", "SVF", "a.sof", "<file_options frequency=\"100KHz\" voltage=\"1_8V\" operation=\"V\"/>");
    ASSERT_TRUE(generate("svf.zeb"));
    PGMIO_PLAYER_CHAIN sof_chain(1);
    ASSERT_TRUE(pgmio_player_load_device("", FIO_PATH("a.sof"), PGMIO_PGM_OP_VERIFY, sof_chain[0], error));
    PGMIO_SVF svf(SVFE_OPERATION_VERIFY, false, 100000, SVFE_PROG_VOLTAGE_1_8V, false);
    ASSERT_TRUE(svf.create_output_file(sof_chain, "100KHz", FIO_PATH("expected.svf"))) << svf.get_error();
    EXPECT_EQ(read_file("out.svf"), read_file("expected.svf"));

    for (const char* type : {"JAM", "JBC"})
    {
        const std::string extension = std::string(type) == "JAM" ? "jam" : "jbc";
        write_zeb("stapl.zeb", type, "one.cdf", "");
        ASSERT_TRUE(generate("stapl.zeb")) << type;
        ASSERT_TRUE(PGMIO_CMD_LN_INTERFACE::create_output_file(cdf_chain, FIO_PATH("expected." + extension), error));
        EXPECT_EQ(read_file("out." + extension), read_file("expected." + extension)) << type;
    }

    // A chain whose file is missing: the reason and the failure are posted, nothing is written.
    write_file("bad.cdf", "corvane-cdf 1\ndevice 7TR440PA3R1 file gone.sof actions program\n");
    write_zeb("bad.zeb", "JAM", "bad.cdf", "");
    std::filesystem::remove("out.jam");
    MSG_CAPTURE_SINK sink;
    EXPECT_FALSE(generate("bad.zeb"));
    EXPECT_EQ(sink.count("EZEB_CAN_NOT_GENERATE"), 1u);
    ASSERT_FALSE(sink.messages().empty());
    EXPECT_NE(sink.messages().front().text.find("file not found"), std::string::npos) << sink.messages().front().text;
    EXPECT_FALSE(std::filesystem::exists("out.jam"));
}
