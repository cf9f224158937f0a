// SPDX-License-Identifier: Apache-2.0
// The check driver: missing settings, the mode and helper-image rules of each output file, the
// merge of what the output files accept, and each output file's own target.
#include "pgm/zeb/platform/msg/msg.h"
#include "test_zeb_util_check_support.h"

namespace
{

using namespace check_test;

// Short names for the XML values that the tables use most.
constexpr PGM_COMMON_XML_ENUM NO_MODE = PGM_COMMON_XML_ENUM__INVALID__, PS = PGM_COMMON_XML_ENUM_PS,
                              ASX4 = PGM_COMMON_XML_ENUM_ASX4, RBF = PGM_COMMON_XML_ENUM_RBF,
                              JIC = PGM_COMMON_XML_ENUM_JIC, POF = PGM_COMMON_XML_ENUM_POF,
                              RPD = PGM_COMMON_XML_ENUM_RPD, EKP = PGM_COMMON_XML_ENUM_EKP,
                              MAP = PGM_COMMON_XML_ENUM_MAP, QSPI = PGM_COMMON_XML_ENUM_QSPI;

const std::string k_missing_input_in_output = "Missing input setting in output element";
const std::string k_no_helper_device = "Missing 'helper_device' option or user have specified an invalid value.";
const std::string k_no_subtype = "Missing 'subtype' option or user have specified an invalid helper image type.";

// Documents of one scratch directory, with designs for a passive-serial device and for a device
// with helper images.
class ZebCheck : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ps_sof = make_sof(dir, "ps_design.sof", "5ZV066H2");
        as_sof = make_sof(dir, "as_design.sof", "7TR440PA3R1");
        hex = make_file(dir, "data.hex", ":00000001FF\n");
    }

    // The bitstream "b1" read from `input`, feeding output files of `types` in their order.
    static void feed(DOC d, const std::string& input, const std::vector<PGM_COMMON_XML_ENUM>& types,
                     const PARAMS& more = {})
    {
        add_bitstream(d, "b1", input);
        for (PGM_COMMON_XML_ENUM type : types)
            add_output_for_bitstream(d, type, "b1", more);
    }

    // A helper image output of `subtype` for `device` (either left out when NO_MODE or ""), beside the
    // bitstream of the device with helper images.
    void helper(DOC d, PGM_COMMON_XML_ENUM subtype, const std::string& device)
    {
        PARAMS options;
        if (subtype != NO_MODE)
            options.push_back({ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE, value_of(subtype)});
        if (!device.empty())
            options.push_back({ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, device});
        add_bitstream(d, "b1", as_sof);
        add_output_file(d, PGM_COMMON_XML_ENUM_HELPER_RBF_CMD, options);
    }

    SCRATCH_DIR dir;
    std::string ps_sof;
    std::string as_sof;
    std::string hex;
};

} // namespace

TEST_F(ZebCheck, EachRuleNamesTheFirstProblem)
{
    const std::string pmsf = make_pmsf(dir, "region.pmsf", "5ZV066H2");
    const std::string rbf = make_rbf(dir, "design.rbf", "7TR440PA3R1");
    const auto device = [](const char* name) { return PARAMS{{ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, name}}; };
    // A JIC whose partition takes a raw binary file; "b2" is an SRAM object file.
    const auto jic = [&](DOC d)
    {
        add_jic(d, rbf, "VQ64A");
        add_bitstream(d, "b2", as_sof);
    };
    const PARAMS custom_db = {{ZEB_CMD_PARAM_SETTINGS_CUSTOM_DB_DIR, "db"}};
    const std::string scheme_20 = "Configuration mode 'AVST x8' does not support output file type 'JTAG Indirect "
                                  "Configuration File (.jic)'";
    // clang-format off
    std::vector<CHECK_ROW> rows = {
        // The flags are cleared at entry even when the check stops before the output files.
        {"no output file", PS, [&](DOC d) { add_bitstream(d, "b1", ps_sof); },
         "Missing output file setting. Please select the output file type in Output Files tab.", true, 0},
        {"missing input comes before the mode rule", PS, [&](DOC d) { add_output_file(d, JIC); },
         "Missing input file setting. Please add the input file(s) into Input Files tab.", true},
        {"a raw file alone counts as input", PS,
         [&](DOC d) { add_raw_file(d, "r1", hex, PGM_COMMON_XML_ENUM_HEX); add_output_file(d, RBF); },
         k_missing_input_in_output},
        {"the mode must support the type", ASX4, [&](DOC d) { feed(d, as_sof, {RBF}); },
         "Configuration mode 'Active Serial x4' does not support output file type 'Raw Binary File (.rbf)'"},
        {"the first unsupported output in document order", PS,
         [&](DOC d) { feed(d, ps_sof, {RBF, PGM_COMMON_XML_ENUM_CVP_CORE_RBF, PGM_COMMON_XML_ENUM_HPS_CORE_RBF}); },
         "Configuration mode '1-bit Passive Serial' does not support output file type 'Raw Binary File for CvP Core "
         "Configuration (.rbf)'"},
        {"no settings: scheme 20", NO_MODE, [&](DOC d) { feed(d, as_sof, {JIC}); }, scheme_20},
        {"settings without a mode: scheme 20", NO_MODE,
         [&](DOC d) { set(d, ZEB_CMD_OPT_SETTINGS, custom_db); feed(d, as_sof, {JIC}); }, scheme_20},
        {"scheme 20 writes raw binary files", NO_MODE, [&](DOC d) { feed(d, as_sof, {RBF}); }, "", false, 0},
        {"scheme 20 writes the mode-independent types", NO_MODE,
         [&](DOC d) { feed(d, as_sof, {EKP, PGM_COMMON_XML_ENUM_JAM, PGM_COMMON_XML_ENUM_SOF}); }, ""},
        {"an unknown helper device on any type", PS, [&](DOC d) { feed(d, ps_sof, {RBF}, device("NO_SUCH_FPGA")); },
         "Helper device 'NO_SUCH_FPGA' is not supported."},
        {"helper image without subtype", ASX4, [&](DOC d) { helper(d, NO_MODE, "7TR440PA3R1"); }, k_no_subtype},
        {"helper image of another subtype", ASX4, [&](DOC d) { helper(d, PGM_COMMON_XML_ENUM_HEX, "7TR440PA3R1"); },
         k_no_subtype},
        {"helper image without device", ASX4, [&](DOC d) { helper(d, QSPI, ""); }, k_no_helper_device},
        {"the helper device rule comes first", ASX4, [&](DOC d) { helper(d, QSPI, "NO_SUCH_FPGA"); },
         "Helper device 'NO_SUCH_FPGA' is not supported."},
        {"helper image on a device without", ASX4, [&](DOC d) { helper(d, QSPI, "5ZV066H2"); },
         "Helper image is not supported on device '5ZV066H2'."},
        {"helper image to SD/MMC", ASX4, [&](DOC d) { helper(d, PGM_COMMON_XML_ENUM_SDMMC, "7TR440PA3R1"); }, ""},
        {"outputs without a common input type", PS, [&](DOC d)
         {
             feed(d, ps_sof, {RBF});
             add_bitstream(d, "pr", pmsf);
             add_output_for_bitstream(d, PGM_COMMON_XML_ENUM_PRRBF, "pr");
         },
         "Output file conflict due to input file type not match"},
        {"input types merge across outputs", ASX4, [&](DOC d) { feed(d, as_sof, {RPD, EKP}); }, ""},
        {"a JIC fed by a raw binary file", ASX4, jic, ""},
        {"beside a raw programming data file the JIC takes no raw binary file", ASX4,
         [&](DOC d) { jic(d); add_output_for_bitstream(d, RPD, "b2"); },
         "Input file type 'rbf' is not supported by the specified output file type."},
        {"a secondary file first stays out of the merge", PS, [&](DOC d) { feed(d, ps_sof, {MAP, RBF}); }, ""},
        {"with secondary files only no input suits", PS, [&](DOC d) { feed(d, ps_sof, {MAP}); },
         "Input file type 'sof' is not supported by the specified output file type."},
        {"a helper image stays out of the merge", ASX4,
         [&](DOC d) { helper(d, PGM_COMMON_XML_ENUM_FUSE, "9RX027R1B"); add_output_for_bitstream(d, EKP, "b1"); }, ""},
        {"the directory before the name", PS, [&](DOC d)
         { feed(d, ps_sof, {RBF}, {{ZEB_CMD_PARAM_OUTPUT_FILE_DIRECTORY, ""}, {ZEB_CMD_PARAM_OUTPUT_FILE_NAME, ""}}); },
         "Missing output file directory"},
        {"no name", PS, [&](DOC d) { feed(d, ps_sof, {RBF}, {{ZEB_CMD_PARAM_OUTPUT_FILE_NAME, ""}}); },
         "Missing output file name"},
        {"both references", PS, [&](DOC d)
         {
             add_bitstream(d, "b1", ps_sof);
             add_output_for_flash_device(d, POF, "f", {{ZEB_CMD_PARAM_OUTPUT_FILE_BITSTREAM_ID, "b1"}});
         },
         "Conflict input setting in output element, both flash_device_id and bitstream_id are set in output element"},
        {"a flash device for a host file", PS,
         [&](DOC d) { add_bitstream(d, "b1", ps_sof); add_output_for_flash_device(d, RBF, "flash"); },
         "Conflict input setting in output element, flash_device_id is set, however the output file is not flash "
         "programming file."},
        {"a bitstream for a flash file", PS, [&](DOC d) { feed(d, ps_sof, {POF}); },
         "Conflict input setting in output element, bitstream_id is set, however the output file is flash "
         "programming file.", false, 2},
        // A JIC needs a flash loader and programs a flash device; the loop over the output files sets
        // both flags before the missing flash loader ends the check.
        {"the flash loader before any target", ASX4, [&](DOC d) { feed(d, as_sof, {JIC}); },
         "Missing configuration device setting. Please add the device into Configuration Device tab.", false, 3},
        {"targets in document order", PS, [&](DOC d)
         {
             feed(d, ps_sof, {RBF});
             add_output_for_bitstream(d, PGM_COMMON_XML_ENUM_TTF, "b9");
             add_output_file(d, PGM_COMMON_XML_ENUM_HEX);
         },
         "Missing settings for bitstream ID b9.", true},
    };
    // clang-format on
    // A player file of a key input programs it through a helper image on the named device.
    const std::pair<const char*, PGM_COMMON_XML_ENUM> players[] = {{"user.hky", PGM_COMMON_XML_ENUM_JAM},
                                                                   {"user.hek", PGM_COMMON_XML_ENUM_JBC},
                                                                   {"user.fuse", PGM_COMMON_XML_ENUM_SVF}};
    for (const auto& [key_file, type] : players)
    {
        const std::string key = make_file(dir, key_file, "key material");
        rows.push_back({key_file, ASX4, [key, type](DOC d) { feed(d, key, {type}); }, k_no_helper_device});
        rows.push_back(
            {key_file, ASX4, [&device, key, type](DOC d) { feed(d, key, {type}, device("7TR440PA3R1")); }, ""});
    }
    expect_check_rows(rows);
}

TEST_F(ZebCheck, ReportPostsTheFirstFailure)
{
    // Nothing is posted without report, for a valid document, or for a failure without a message.
    MSG_CAPTURE_SINK sink;
    DOCUMENT no_output = make_document(PS);
    add_bitstream(no_output.get(), "b1", ps_sof);
    EXPECT_FALSE(run_check(no_output.get(), false).valid);
    DOCUMENT valid = make_document(PS);
    feed(valid.get(), ps_sof, {RBF});
    EXPECT_TRUE(run_check(valid.get(), true).valid);
    // A raw file reference that names no raw file fails without a message.
    DOCUMENT silent = make_document(PS);
    add_raw_file(silent.get(), "r1", hex, PGM_COMMON_XML_ENUM_HEX);
    add_flash_device(silent.get(), "flash", "CFI128M");
    add_partition(silent.get(), "flash", "P1", "0x00000000", "0x0000FFFF");
    assign_raw_file(silent.get(), "P1", "r9");
    add_output_for_flash_device(silent.get(), PGM_COMMON_XML_ENUM_POF, "flash");
    const CHECK_RESULT result = run_check(silent.get(), true);
    EXPECT_FALSE(result.valid);
    EXPECT_TRUE(result.message.empty());
    EXPECT_TRUE(sink.messages().empty());

    EXPECT_FALSE(run_check(no_output.get(), true).valid);
    ASSERT_EQ(sink.messages().size(), 1u);
    EXPECT_EQ(sink.messages()[0].identifier, "EZEB_SETTINGS_CHECK_ERROR");
    EXPECT_EQ(sink.messages()[0].text, "Detected Corvane settings error: Missing output file setting. Please "
                                       "select the output file type in Output Files tab.");
}

TEST(ZebCheckMerge, InputTypesKeepTheSupportedOrderAndEmptyFamilyListsRestrictNothing)
{
    using TYPES = std::vector<FIO_FILE_TYPE>;
    EXPECT_EQ(ZEB_UTIL::check_and_merge_input_file_type({FIO_FILE_TYPE_RBF, FIO_FILE_TYPE_SOF, FIO_FILE_TYPE_POF},
                                                        {FIO_FILE_TYPE_POF, FIO_FILE_TYPE_JIC, FIO_FILE_TYPE_RBF}),
              (TYPES{FIO_FILE_TYPE_RBF, FIO_FILE_TYPE_POF}));
    EXPECT_TRUE(ZEB_UTIL::check_and_merge_input_file_type({FIO_FILE_TYPE_SOF}, {FIO_FILE_TYPE_PMSF}).empty());

    using FAMILIES = std::vector<DEV_FAMILY_ENUM>;
    const FAMILIES pof = {DEV_FAMILY_BILOSA_CFI, DEV_FAMILY_VIVERI, DEV_FAMILY_MOZOKA};
    EXPECT_EQ(ZEB_UTIL::check_and_merge_config_device_family(pof, {DEV_FAMILY_MOZOKA, DEV_FAMILY_BILOSA_CFI}),
              (FAMILIES{DEV_FAMILY_BILOSA_CFI, DEV_FAMILY_MOZOKA}));
    EXPECT_EQ(ZEB_UTIL::check_and_merge_config_device_family(pof, {}), pof);
    EXPECT_EQ(ZEB_UTIL::check_and_merge_config_device_family({}, pof), pof);
    EXPECT_TRUE(ZEB_UTIL::check_and_merge_config_device_family({}, {}).empty());
    EXPECT_TRUE(ZEB_UTIL::check_and_merge_config_device_family({DEV_FAMILY_VIVERI}, {DEV_FAMILY_MOZOKA}).empty());
}

TEST_F(ZebCheck, BrokenPreconditionsAreInternalErrors)
{
    // A flash target needs families to check against.
    DOCUMENT document = make_document(PS);
    add_bitstream(document.get(), "b1", ps_sof);
    add_output_for_flash_device(document.get(), PGM_COMMON_XML_ENUM_POF, "flash");
    PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file = ZEB_FILE_ASSISTANT::get_output_file_elements(document.get())[0];
    std::string message;
    bool error = false;
    EXPECT_EQ(internal_error_of(
                  [&] {
                      ZEB_UTIL::check_output_file_and_target(document.get(), output_file, {FIO_FILE_TYPE_SOF}, {},
                                                             message, error);
                  }),
              "supported_config_device_family.size() > 0");

    // A player file is written from one input.
    DOCUMENT player = make_document(PS);
    feed(player.get(), ps_sof, {PGM_COMMON_XML_ENUM_JBC});
    add_bitstream(player.get(), "b2", make_sof(dir, "second.sof", "5ZV066H2", 0, 2));
    EXPECT_EQ(internal_error_of([&] { run_check(player.get()); }), "paths.size() == 1");
}
