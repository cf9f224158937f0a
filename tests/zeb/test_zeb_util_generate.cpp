// SPDX-License-Identifier: Apache-2.0
// Generation end to end: documents built through the assistant, checked, generated, and the files
// read back by `corvane --info` or by the file's own integrity check. The writers' bytes are proven
// by the conversion tests and tests/tools/check_recipes.sh with objcopy, srec_cat, lz4 and openssl.
#include "test_zeb_util_check_support.h"

#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/pgmio/pgmio_text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <regex>

using namespace check_test;

namespace
{

namespace fs = std::filesystem;

// A working directory with the "output_dir" that the documents of the support header write to.
struct WORKSPACE
{
    WORKSPACE() { fs::create_directory(cwd.path() / "output_dir"); }
    std::string output(const std::string& extension) const
    {
        return (cwd.path() / "output_dir" / ("output." + extension)).string();
    }
    corvane_test::SCRATCH_CWD cwd;
    SCRATCH_DIR dir; // inputs
};

// Checks the document (which must pass) and generates it; the messages posted are returned.
std::vector<MSG_POSTED> check_and_generate(PGM_COMMON_XML_ZEB_ZEB* document, bool expect_generated = true)
{
    const CHECK_RESULT checked = run_check(document);
    EXPECT_TRUE(checked.valid) << checked.message;
    MSG_CAPTURE_SINK sink;
    EXPECT_EQ(ZEB_UTIL::generate(document), expect_generated);
    return sink.messages();
}

std::string texts_of(const std::vector<MSG_POSTED>& messages)
{
    std::string texts;
    for (const MSG_POSTED& message : messages)
        texts += std::to_string(message.number) + ": " + message.text + "\n";
    return texts;
}

// Whether a memory map (".map") has a row for partition `name` that starts at `start` (anywhere: "").
bool map_places(const std::string& map, const std::string& name, const std::string& start = "")
{
    return std::regex_search(map, std::regex("\n" + name + " \\S+ " + start));
}

} // namespace

// A single-image flash: the memory map places each partition where the document says, the
// programming file passes its own check, and progress is told per output file and per byte.
TEST(GenerateFlash, MapPlacesPartitionsAndProgressIsTold)
{
    WORKSPACE ws;
    const std::string sof = make_sof(ws.dir, "design.sof", "7TR440PA3R1");
    DOCUMENT flash = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_jic(flash.get(), sof, "VQ256A");
    add_partition(flash.get(), "Flash_1", "SPARE", "0x01000000", "0x0100FFFF"); // kept free, unassigned
    for (PGM_COMMON_XML_ENUM secondary : {PGM_COMMON_XML_ENUM_SEC_RPD, PGM_COMMON_XML_ENUM_MAP})
        add_output_for_flash_device(flash.get(), PGM_COMMON_XML_ENUM_JIC, "Flash_1",
                                    {{ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_TYPE, value_of(secondary)}});
    EXPECT_EQ(texts_of(check_and_generate(flash.get())), "");
    EXPECT_EQ(BITASM_MGR::check_bitstream_integrity(ws.output("jic")), "");
    const std::string map = corvane_test::read_file(ws.output("map"));
    EXPECT_TRUE(map_places(map, "P1", "0x00040000 ") && map_places(map, "SPARE", "0x01000000 ")) << map;

    // Generating again tells each output file as it starts, and the raw programming data's bytes
    // as they are written, up to its whole size.
    std::vector<std::string> started;
    uint64_t done = 0, total = 0;
    EXPECT_TRUE(ZEB_UTIL::generate(flash.get(),
                                   [&](size_t, size_t, const FIO_PATH& output, uint64_t d, uint64_t t)
                                   {
                                       if (t == 0)
                                           started.push_back(output.get_file_name());
                                       else
                                           done = d, total = t;
                                   }));
    EXPECT_EQ(started, std::vector<std::string>{FIO_PATH(ws.output("jic")).get_file_name()});
    EXPECT_EQ(done, total);
    EXPECT_EQ(total, fs::file_size(ws.output("rpd")));
}

// A key the key file does not hold is refused before anything is written; a failing output file
// (its directory is missing) leaves nothing of its own behind while earlier output files stay.
TEST(GenerateFailures, AFailedOutputFileLeavesNothingBehind)
{
    WORKSPACE ws;
    const std::string sof = make_sof(ws.dir, "design.sof", "7TR440PA3R1");
    const std::string keys = make_file(ws.dir, "design.key", "other " + std::string(64, 'a') + "\n");
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_AVSTX8);
    add_bitstream(document.get(), "Plain", sof);
    add_bitstream(document.get(), "Secret", sof,
                  {{ZEB_CMD_PARAM_BITSTREAM_PATH_ENCRYPTION, "1"},
                   {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_FILE1, keys},
                   {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY1, "design_key"}});
    // A later name or directory in the list replaces the helper's.
    add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_RBF, "Plain",
                             {{ZEB_CMD_PARAM_OUTPUT_FILE_NAME, "plain"}});
    add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_TTF, "Secret");
    std::vector<MSG_POSTED> messages = check_and_generate(document.get(), false);
    ASSERT_EQ(messages.size(), 1u) << texts_of(messages);
    EXPECT_NE(messages[0].text.find("design_key"), std::string::npos) << messages[0].text;
    EXPECT_FALSE(fs::exists(ws.cwd.path() / "output_dir" / "plain.rbf"));
    EXPECT_FALSE(fs::exists(ws.output("ttf")));

    // With the key id right, a third output file fails on its missing directory.
    make_file(ws.dir, "design.key", "design_key " + std::string(64, 'a') + "\n");
    add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_HEX, "Secret",
                             {{ZEB_CMD_PARAM_OUTPUT_FILE_DIRECTORY, "missing_dir"}});
    MSG_CAPTURE_SINK sink;
    EXPECT_FALSE(ZEB_UTIL::generate(document.get()));
    ASSERT_FALSE(sink.messages().empty());
    EXPECT_EQ(sink.messages().back().number, EZEB_OUTPUT_DIRECTORY_DOES_NOT_EXISTS) << texts_of(sink.messages());
    EXPECT_TRUE(fs::exists(ws.cwd.path() / "output_dir" / "plain.rbf")) << texts_of(sink.messages());
    EXPECT_FALSE(fs::exists(ws.cwd.path() / "missing_dir"));
}

// Two bitstream references make two passes, and the last decides: after an input that does not
// exist, one that does makes the output file; the other way round its one message names the output
// file and the missing input, and nothing is written.
TEST(GenerateFailures, TheLastOfTwoPassesDecides)
{
    WORKSPACE ws;
    const std::string gone = ws.dir.file("gone.sof"), here = make_sof(ws.dir, "design.sof", "7TR440PA3R1");
    for (const bool last_exists : {true, false})
    {
        DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_AVSTX8);
        add_bitstream(document.get(), "First", last_exists ? gone : here);
        add_bitstream(document.get(), "Last", last_exists ? here : gone);
        for (const char* reference : {"First", "Last"}) // a second call adds the second reference
            add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_TTF, reference);
        MSG_CAPTURE_SINK sink;
        EXPECT_EQ(ZEB_UTIL::generate(document.get()), last_exists) << texts_of(sink.messages());
        EXPECT_EQ(fs::exists(ws.output("ttf")), last_exists);
        fs::remove(ws.output("ttf"));
        if (last_exists)
            continue;
        EXPECT_EQ(texts_of(sink.messages()), std::to_string(EZEB_GENERIC_ERROR) + ": Can't generate programming file " +
                                                 ws.output("ttf") + " - configuration image '" + gone +
                                                 "' does not exist.\n");
    }
}

// Documents that pass their check but cannot be written: the one message names the output file and
// the reason, and nothing is written. An SRAM object file output has no bootloader to embed; a flash
// device with a master boot record gets no partition entries, so the design's partition is not
// converted.
TEST(GenerateFailures, RefusedOutputsSayWhyAndWriteNothing)
{
    WORKSPACE ws;
    const std::string sof = make_sof(ws.dir, "design.sof", "7TR440PA3R1");
    const std::pair<PGM_COMMON_XML_ENUM, std::vector<std::string>> cases[] = {
        {PGM_COMMON_XML_ENUM_SOF, {ws.output("sof"), "No supported option is specified"}},
        {PGM_COMMON_XML_ENUM_JIC, {"no page with a configuration image"}},
    };
    for (const auto& [type, said] : cases)
    {
        DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
        if (type == PGM_COMMON_XML_ENUM_JIC)
        {
            add_jic(document.get(), sof, "VQ256A");
            set(document.get(), ZEB_CMD_OPT_FLASH_DEVICE,
                {{ZEB_CMD_PARAM_FLASH_DEVICE_ID, "Flash_1"}, {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_ID, "MBR_1"}});
        }
        else
        {
            add_bitstream(document.get(), "Bitstream_1", sof);
            add_output_for_bitstream(document.get(), type, "Bitstream_1");
        }
        MSG_CAPTURE_SINK sink;
        EXPECT_FALSE(ZEB_UTIL::generate(document.get()));
        ASSERT_EQ(sink.messages().size(), 1u) << texts_of(sink.messages());
        EXPECT_EQ(sink.messages()[0].number, EZEB_GENERIC_ERROR);
        for (const std::string& part : said)
            EXPECT_NE(sink.messages()[0].text.find(part), std::string::npos) << sink.messages()[0].text;
        EXPECT_TRUE(fs::is_empty(ws.cwd.path() / "output_dir")) << type;
    }
}

// On the internal flash of family 67 a partition named exactly "UFM" is left to the device.
TEST(GenerateFlash, InternalFlashLeavesTheUfmToTheDevice)
{
    WORKSPACE ws;
    DOCUMENT internal = make_document(PGM_COMMON_XML_ENUM_INTERNAL);
    add_bitstream(internal.get(), "Bitstream_1", make_sof(ws.dir, "small.sof", "NR08SA"));
    add_raw_file(internal.get(), "data", make_file(ws.dir, "data.hex", ":0400000001020304F2\n:00000001FF\n"),
                 PGM_COMMON_XML_ENUM_HEX);
    add_flash_device(internal.get(), "Internal", "NR08SA");
    for (const char* partition : {"UFM", "ufm", "CFM0"})
        add_partition(internal.get(), "Internal", partition, "auto", "auto");
    assign_raw_file(internal.get(), "UFM", "data");
    assign_raw_file(internal.get(), "ufm", "data");
    assign_bitstream(internal.get(), "CFM0", "Bitstream_1");
    add_output_for_flash_device(internal.get(), PGM_COMMON_XML_ENUM_POF, "Internal",
                                {{ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_TYPE, value_of(PGM_COMMON_XML_ENUM_MAP)}});
    EXPECT_EQ(texts_of(check_and_generate(internal.get())), "");
    const std::string map = corvane_test::read_file(ws.output("map"));
    EXPECT_TRUE(!map_places(map, "UFM") && map_places(map, "ufm") && map_places(map, "CFM0")) << map;
    EXPECT_EQ(BITASM_MGR::check_bitstream_integrity(ws.output("pof")), "");
}

// A compressed, encrypted and signed raw binary file with a key programming file beside it: the
// path options reach the image as --info reads it.
TEST(GenerateSecurity, PathOptionsReachTheImage)
{
    WORKSPACE ws;
    ASSERT_EQ(std::system(("cd '" + ws.dir.path().string() +
                           "' && printf 'design_key %s\\n' $(openssl rand -hex 32) > design.key && "
                           "openssl ecparam -name secp384r1 -genkey -noout -out sign.pem")
                              .c_str()),
              0);
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_AVSTX8);
    add_bitstream(document.get(), "Bitstream_1", make_sof(ws.dir, "design.sof", "7TR440PA3R1"),
                  {{ZEB_CMD_PARAM_BITSTREAM_PATH_COMPRESSION, "1"},
                   {ZEB_CMD_PARAM_BITSTREAM_PATH_ENCRYPTION, "1"},
                   {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_FILE1, ws.dir.file("design.key")},
                   {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY1, "design_key"},
                   {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_STORAGE, "BBRAM"},
                   {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING, value_of(PGM_COMMON_XML_ENUM_PEM)},
                   {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING_PEM_FILE, ws.dir.file("sign.pem")}});
    add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_RBF, "Bitstream_1",
                             {{ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_TYPE, value_of(PGM_COMMON_XML_ENUM_EKP)}});
    EXPECT_EQ(texts_of(check_and_generate(document.get())), "");
    EXPECT_EQ(BITASM_MGR::check_bitstream_integrity(ws.output("ekp")), "");

    const corvane_test::PROGRAM_RUN run =
        corvane_test::run_program(CORVANE_EXE, "--info --json '" + ws.output("rbf") + "'");
    ASSERT_EQ(run.status, 0) << run.output();
    const nlohmann::json info = nlohmann::json::parse(run.out);
    size_t payloads = 0;
    for (const nlohmann::json& section : info["sections"])
        if (section.contains("plain_size"))
        {
            ++payloads;
            EXPECT_EQ(section["compression"], "lz4");
            EXPECT_EQ(section["encryption"]["key_id"], "design_key");
        }
    EXPECT_GT(payloads, 0u);
    EXPECT_EQ(info["signature"]["verified"], true) << run.out;

    // Application image options are refused by name, with the device, and nothing is written.
    const std::pair<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM, const char*> refused[] = {
        {ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE, "app_image"},
        {ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE_ONLY, "app_image_only"},
        {ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE_HPS_PATH, "app_image_hps_path"},
    };
    for (const auto& [parameter, name] : refused)
    {
        fs::remove(ws.output("rbf"));
        DOCUMENT app = make_document(PGM_COMMON_XML_ENUM_AVSTX8);
        add_bitstream(app.get(), "Bitstream_1", ws.dir.file("design.sof"), {{parameter, "1"}});
        add_output_for_bitstream(app.get(), PGM_COMMON_XML_ENUM_RBF, "Bitstream_1");
        const std::string texts = texts_of(check_and_generate(app.get(), false));
        EXPECT_NE(texts.find(std::string("Option ") + name + " of"), std::string::npos) << texts;
        EXPECT_NE(texts.find("7TR440PA3R1"), std::string::npos) << texts;
        EXPECT_FALSE(fs::exists(ws.output("rbf"))) << name;
    }
}

// The special outputs: a CvP periphery image needs a design with CvP and is written apart from the
// core, as is an HPS variant; a helper image is the catalogue image of the helper device.
TEST(GenerateSpecialOutputs, CvpHpsAndHelperImages)
{
    WORKSPACE ws;
    struct CASE
    {
        const char* name;
        uint32_t design_flags;
        PGM_COMMON_XML_ENUM type;
        PARAMS options;
        std::vector<std::string> files; // written into output_dir
        std::string message;            // "" when the output is written
    };
    const std::string no_cvp = "Detected Corvane settings error: Fail to generate CVP programming files due to the "
                               "design does not have CVP enabled";
    const PARAMS helper = {{ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE, value_of(PGM_COMMON_XML_ENUM_FUSE)},
                           {ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, "7TR440PA3R1"}};
    // clang-format off
    const CASE cases[] = {
        {"cvp", PGMIO_DESIGN_CVP, PGM_COMMON_XML_ENUM_PERIPH_RBF, {{ZEB_CMD_PARAM_OUTPUT_FILE_CVP, "1"}},
         {"output.core.rbf", "output.periph.rbf"}, ""},
        {"no_cvp", 0, PGM_COMMON_XML_ENUM_PERIPH_RBF, {{ZEB_CMD_PARAM_OUTPUT_FILE_CVP, "1"}}, {}, no_cvp},
        {"hps", PGMIO_DESIGN_HPS, PGM_COMMON_XML_ENUM_RBF, {{ZEB_CMD_PARAM_OUTPUT_FILE_HPS, "1"}},
         {"output.core.rbf", "output.hps.rbf"}, ""},
        {"helper", 0, PGM_COMMON_XML_ENUM_HELPER_RBF_CMD, helper, {"output.rbf"}, ""},
    };
    // clang-format on
    for (const CASE& c : cases)
    {
        DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_AVSTX8);
        add_bitstream(document.get(), "Bitstream_1",
                      make_sof(ws.dir, std::string(c.name) + ".sof", "7TR440PA3R1", c.design_flags));
        PARAMS params = c.options;
        if (c.type != PGM_COMMON_XML_ENUM_HELPER_RBF_CMD)
            params.emplace_back(ZEB_CMD_PARAM_OUTPUT_FILE_BITSTREAM_ID, "Bitstream_1");
        add_output_file(document.get(), c.type, params);
        MSG_CAPTURE_SINK sink;
        EXPECT_EQ(ZEB_UTIL::generate(document.get()), c.message.empty()) << c.name << texts_of(sink.messages());
        EXPECT_EQ(sink.messages().empty() ? "" : sink.messages()[0].text, c.message) << c.name;
        std::vector<std::string> written;
        for (const fs::directory_entry& entry : fs::directory_iterator(ws.cwd.path() / "output_dir"))
        {
            written.push_back(entry.path().filename().string());
            EXPECT_EQ(BITASM_MGR::check_bitstream_integrity(entry.path().string()), "") << c.name;
            fs::remove(entry.path());
        }
        std::sort(written.begin(), written.end());
        EXPECT_EQ(written, c.files) << c.name;
    }
}
