// SPDX-License-Identifier: Apache-2.0
// The check driver: missing settings, the mode and helper-image rules of each output file, the
// merge of what the output files accept, and each output file's own target.
#include "pgm/zeb/platform/msg/msg.h"
#include "test_zeb_util_check_support.h"

#include <gtest/gtest.h>

namespace
{

using namespace check_test;

const std::string k_missing_input_in_output = "Missing input setting in output element";
const std::string k_input_type_conflict = "Output file conflict due to input file type not match";

// Documents of one scratch directory, with designs for a passive-serial device and for a device
// with helper images.
class ZebCheck : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ps_sof = make_sof(dir, "ps_design.sof", "5ZV066H2");
        as_sof = make_sof(dir, "as_design.sof", "7TR440PA3R1");
    }

    // A passive-serial document whose bitstream "b1" feeds an output file of `type`.
    DOCUMENT ps_document(PGM_COMMON_XML_ENUM type, const PARAMS& more = {})
    {
        DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_PS);
        add_bitstream(document.get(), "b1", ps_sof);
        add_output_for_bitstream(document.get(), type, "b1", more);
        return document;
    }

    SCRATCH_DIR dir;
    std::string ps_sof;
    std::string as_sof;
};

} // namespace

// ---- Missing output and input settings ------------------------------------------------------------

TEST_F(ZebCheck, MissingOutputFileSetting)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_PS);
    add_bitstream(document.get(), "b1", ps_sof);
    const CHECK_RESULT result = run_check(document.get());
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, "Missing output file setting. Please select the output file type in Output Files tab.");
    EXPECT_TRUE(result.error);
}

TEST_F(ZebCheck, MissingInputFileSettingComesBeforeAnyOutputRule)
{
    // The output file breaks the mode rule, but the missing input is reported first.
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_PS);
    add_output_file(document.get(), PGM_COMMON_XML_ENUM_JIC);
    const CHECK_RESULT result = run_check(document.get());
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, "Missing input file setting. Please add the input file(s) into Input Files tab.");
    EXPECT_TRUE(result.error);
}

TEST_F(ZebCheck, RawFileAloneCountsAsInput)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_PS);
    add_raw_file(document.get(), "r1", make_file(dir, "data.hex", ":00000001FF\n"), PGM_COMMON_XML_ENUM_HEX);
    add_output_file(document.get(), PGM_COMMON_XML_ENUM_RBF);
    const CHECK_RESULT result = run_check(document.get());
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, k_missing_input_in_output);
    EXPECT_FALSE(result.error);
}

TEST_F(ZebCheck, ReportPostsTheFirstFailure)
{
    DOCUMENT no_output = make_document(PGM_COMMON_XML_ENUM_PS);
    add_bitstream(no_output.get(), "b1", ps_sof);
    {
        MSG_CAPTURE_SINK sink;
        EXPECT_FALSE(run_check(no_output.get(), true).valid);
        ASSERT_EQ(sink.messages().size(), 1u);
        EXPECT_EQ(sink.messages()[0].identifier, "EZEB_SETTINGS_CHECK_ERROR");
        EXPECT_EQ(sink.messages()[0].number, EZEB_SETTINGS_CHECK_ERROR);
        EXPECT_EQ(sink.messages()[0].text, "Detected Corvane settings error: Missing output file setting. Please "
                                           "select the output file type in Output Files tab.");
    }
    {
        MSG_CAPTURE_SINK sink;
        EXPECT_FALSE(run_check(no_output.get(), false).valid);
        EXPECT_EQ(sink.count("EZEB_SETTINGS_CHECK_ERROR"), 0u);
    }
    {
        MSG_CAPTURE_SINK sink;
        DOCUMENT valid = ps_document(PGM_COMMON_XML_ENUM_RBF);
        EXPECT_TRUE(run_check(valid.get(), true).valid);
        EXPECT_TRUE(sink.messages().empty());
    }
}

TEST_F(ZebCheck, SilentFailureIsNotReported)
{
    // A raw file reference that names no raw file fails without a message: nothing to post.
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_PS);
    add_raw_file(document.get(), "r1", make_file(dir, "data.hex", ":00000001FF\n"), PGM_COMMON_XML_ENUM_HEX);
    add_flash_device(document.get(), "flash", "CFI128M");
    add_partition(document.get(), "flash", "P1", "0x00000000", "0x0000FFFF");
    assign_raw_file(document.get(), "P1", "r9");
    add_output_for_flash_device(document.get(), PGM_COMMON_XML_ENUM_POF, "flash");
    MSG_CAPTURE_SINK sink;
    const CHECK_RESULT result = run_check(document.get(), true);
    EXPECT_FALSE(result.valid);
    EXPECT_TRUE(result.message.empty());
    EXPECT_EQ(sink.count("EZEB_SETTINGS_CHECK_ERROR"), 0u);
}

TEST_F(ZebCheck, FlagsTellWhatTheOutputFilesNeed)
{
    CHECK_RESULT result = run_check(ps_document(PGM_COMMON_XML_ENUM_RBF).get());
    EXPECT_FALSE(result.flash_loader_required);
    EXPECT_FALSE(result.flash_programming);

    // Cleared at entry even when the check stops before the output files.
    DOCUMENT empty(new PGM_COMMON_XML_ZEB_ZEB);
    result = run_check(empty.get());
    EXPECT_FALSE(result.flash_loader_required || result.flash_programming);

    // A JIC needs a flash loader and programs a flash device; the loop sets both before the
    // missing flash loader ends the check.
    DOCUMENT jic = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_bitstream(jic.get(), "b1", as_sof);
    add_output_for_flash_device(jic.get(), PGM_COMMON_XML_ENUM_JIC, "flash");
    result = run_check(jic.get());
    EXPECT_FALSE(result.valid);
    EXPECT_TRUE(result.flash_loader_required);
    EXPECT_TRUE(result.flash_programming);

    DOCUMENT pof = make_document(PGM_COMMON_XML_ENUM_PS);
    add_bitstream(pof.get(), "b1", ps_sof);
    add_output_for_flash_device(pof.get(), PGM_COMMON_XML_ENUM_POF, "flash");
    result = run_check(pof.get());
    EXPECT_FALSE(result.flash_loader_required);
    EXPECT_TRUE(result.flash_programming);
}

// ---- Mode and type compatibility -------------------------------------------------------------------

TEST_F(ZebCheck, ModeMustSupportTheType)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_bitstream(document.get(), "b1", as_sof);
    add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_RBF, "b1");
    const CHECK_RESULT result = run_check(document.get());
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, "Configuration mode 'Active Serial x4' does not support output file type 'Raw Binary "
                              "File (.rbf)'");
    EXPECT_FALSE(result.error);
}

TEST_F(ZebCheck, FirstUnsupportedOutputInDocumentOrderIsNamed)
{
    DOCUMENT document = ps_document(PGM_COMMON_XML_ENUM_RBF);
    add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_CVP_CORE_RBF, "b1");
    add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_HPS_CORE_RBF, "b1");
    EXPECT_EQ(run_check(document.get()).message, "Configuration mode '1-bit Passive Serial' does not support output "
                                                 "file type 'Raw Binary File for CvP Core Configuration (.rbf)'");
}

TEST_F(ZebCheck, DocumentWithoutModeIsCheckedAgainstScheme20)
{
    const std::string expected =
        "Configuration mode 'AVST x8' does not support output file type 'JTAG Indirect Configuration File (.jic)'";
    DOCUMENT no_settings(new PGM_COMMON_XML_ZEB_ZEB);
    add_bitstream(no_settings.get(), "b1", as_sof);
    add_output_for_flash_device(no_settings.get(), PGM_COMMON_XML_ENUM_JIC, "flash");
    EXPECT_EQ(run_check(no_settings.get()).message, expected);

    // Settings without a mode count as no mode as well.
    DOCUMENT no_mode(new PGM_COMMON_XML_ZEB_ZEB);
    set_custom_db_dir(no_mode.get(), dir.path().string());
    add_bitstream(no_mode.get(), "b1", as_sof);
    add_output_for_flash_device(no_mode.get(), PGM_COMMON_XML_ENUM_JIC, "flash");
    EXPECT_EQ(run_check(no_mode.get()).message, expected);

    // Scheme 20 itself produces raw binary files.
    DOCUMENT rbf(new PGM_COMMON_XML_ZEB_ZEB);
    add_bitstream(rbf.get(), "b1", as_sof);
    add_output_for_bitstream(rbf.get(), PGM_COMMON_XML_ENUM_RBF, "b1");
    EXPECT_TRUE(run_check(rbf.get()).valid);
}

TEST_F(ZebCheck, ModeIndependentTypesPassInAnyMode)
{
    for (PGM_COMMON_XML_ENUM mode : {PGM_COMMON_XML_ENUM__INVALID__, PGM_COMMON_XML_ENUM_PS, PGM_COMMON_XML_ENUM_ASX4,
                                     PGM_COMMON_XML_ENUM_INTERNAL})
    {
        for (PGM_COMMON_XML_ENUM type : {PGM_COMMON_XML_ENUM_EKP, PGM_COMMON_XML_ENUM_JAM, PGM_COMMON_XML_ENUM_SOF})
        {
            DOCUMENT document(new PGM_COMMON_XML_ZEB_ZEB);
            if (mode != PGM_COMMON_XML_ENUM__INVALID__)
                set(document.get(), ZEB_CMD_OPT_SETTINGS, {{ZEB_CMD_PARAM_SETTINGS_MODE, value_of(mode)}});
            add_bitstream(document.get(), "b1", as_sof);
            add_output_for_bitstream(document.get(), type, "b1");
            const CHECK_RESULT result = run_check(document.get());
            EXPECT_TRUE(result.valid) << "mode " << mode << ", type " << type << ": " << result.message;
        }
    }
}

// ---- Helper device and helper image options --------------------------------------------------------

TEST_F(ZebCheck, HelperDeviceMustBeKnown)
{
    // Also for a type that is not a helper image.
    DOCUMENT document = ps_document(PGM_COMMON_XML_ENUM_RBF, {{ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, "NO_SUCH_FPGA"}});
    EXPECT_EQ(run_check(document.get()).message, "Helper device 'NO_SUCH_FPGA' is not supported.");
    document = ps_document(PGM_COMMON_XML_ENUM_RBF, {{ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, "5ZV066H2"}});
    EXPECT_TRUE(run_check(document.get()).valid);
}

TEST_F(ZebCheck, HelperImageOptions)
{
    // A helper image needs no input of its own; the document still needs one.
    const auto helper_document = [&](const PARAMS& options)
    {
        DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
        add_bitstream(document.get(), "b1", as_sof);
        add_output_file(document.get(), PGM_COMMON_XML_ENUM_HELPER_RBF_CMD, options);
        return document;
    };
    const std::string qspi = value_of(PGM_COMMON_XML_ENUM_QSPI);

    EXPECT_EQ(run_check(helper_document({{ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, "7TR440PA3R1"}}).get()).message,
              "Missing 'subtype' option or user have specified an invalid helper image type.");
    EXPECT_EQ(run_check(helper_document({{ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE, value_of(PGM_COMMON_XML_ENUM_HEX)},
                                         {ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, "7TR440PA3R1"}})
                            .get())
                  .message,
              "Missing 'subtype' option or user have specified an invalid helper image type.");
    EXPECT_EQ(run_check(helper_document({{ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE, qspi}}).get()).message,
              "Missing 'helper_device' option or user have specified an invalid value.");
    // An unknown device is refused by the helper device rule, which comes first.
    EXPECT_EQ(run_check(helper_document({{ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE, qspi},
                                         {ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, "NO_SUCH_FPGA"}})
                            .get())
                  .message,
              "Helper device 'NO_SUCH_FPGA' is not supported.");
    EXPECT_EQ(run_check(helper_document(
                            {{ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE, qspi}, {ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, "5ZV066H2"}})
                            .get())
                  .message,
              "Helper image is not supported on device '5ZV066H2'.");

    for (PGM_COMMON_XML_ENUM subtype : {PGM_COMMON_XML_ENUM_QSPI, PGM_COMMON_XML_ENUM_FUSE, PGM_COMMON_XML_ENUM_SDMMC})
    {
        for (const char* device : {"7TR440PA3R1", "9RX027R1B"})
        {
            const CHECK_RESULT result =
                run_check(helper_document({{ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE, value_of(subtype)},
                                           {ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, device}})
                              .get());
            EXPECT_TRUE(result.valid) << device << " " << subtype << ": " << result.message;
        }
    }
}

// ---- Input-type conflicts between output files -----------------------------------------------------

TEST_F(ZebCheck, OutputsWithoutCommonInputTypeConflict)
{
    const std::string pmsf = make_pmsf(dir, "region.pmsf", "5ZV066H2");
    DOCUMENT region_only = make_document(PGM_COMMON_XML_ENUM_PS);
    add_bitstream(region_only.get(), "pr", pmsf);
    add_output_for_bitstream(region_only.get(), PGM_COMMON_XML_ENUM_PRRBF, "pr");
    EXPECT_TRUE(run_check(region_only.get()).valid);
    EXPECT_TRUE(run_check(ps_document(PGM_COMMON_XML_ENUM_RBF).get()).valid);

    // Each is valid alone; together the raw binary file takes only SRAM object files and the
    // partial-reconfiguration file only partial-masked ones.
    DOCUMENT both = ps_document(PGM_COMMON_XML_ENUM_RBF);
    add_bitstream(both.get(), "pr", pmsf);
    add_output_for_bitstream(both.get(), PGM_COMMON_XML_ENUM_PRRBF, "pr");
    const CHECK_RESULT result = run_check(both.get());
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, k_input_type_conflict);
    EXPECT_FALSE(result.error);
}

TEST_F(ZebCheck, InputTypesMergeAcrossOutputs)
{
    // RPD takes SOF, POF and JIC; the EKP file only SOF: a .sof passes for both.
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_bitstream(document.get(), "b1", as_sof);
    add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_RPD, "b1");
    add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_EKP, "b1");
    EXPECT_TRUE(run_check(document.get()).valid);

    // A JIC takes raw binary files, a raw programming data file does not: beside one, the JIC's
    // partition can no longer be fed by one.
    DOCUMENT jic = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_bitstream(jic.get(), "b1", make_rbf(dir, "design.rbf", "7TR440PA3R1"));
    add_bitstream(jic.get(), "b2", as_sof);
    add_flash_device(jic.get(), "flash", "VQ64A");
    add_partition(jic.get(), "flash", "P1", "0x00100000", "auto");
    assign_bitstream(jic.get(), "P1", "b1");
    set_flash_loader(jic.get(), "7TR440PA3R1");
    add_output_for_flash_device(jic.get(), PGM_COMMON_XML_ENUM_JIC, "flash");
    const CHECK_RESULT alone = run_check(jic.get());
    EXPECT_TRUE(alone.valid) << alone.message;
    add_output_for_bitstream(jic.get(), PGM_COMMON_XML_ENUM_RPD, "b2");
    EXPECT_EQ(run_check(jic.get()).message,
              "Input file type 'rbf' is not supported by the specified output file type.");
}

TEST_F(ZebCheck, TypesWithoutInputListStayOutOfTheMerge)
{
    // Secondary files and helper images list no input type: before or after a primary they neither
    // empty the running list nor reach the merge, whose arguments must not be empty.
    for (bool map_first : {true, false})
    {
        DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_PS);
        add_bitstream(document.get(), "b1", ps_sof);
        if (map_first)
            add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_MAP, "b1");
        add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_RBF, "b1");
        if (!map_first)
            add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_MAP, "b1");
        const CHECK_RESULT result = run_check(document.get());
        EXPECT_TRUE(result.valid) << map_first << ": " << result.message;
    }

    // With nothing but such types the list stays empty: a bitstream then suits no output.
    DOCUMENT map_only = make_document(PGM_COMMON_XML_ENUM_PS);
    add_bitstream(map_only.get(), "b1", ps_sof);
    add_output_for_bitstream(map_only.get(), PGM_COMMON_XML_ENUM_MAP, "b1");
    EXPECT_EQ(run_check(map_only.get()).message,
              "Input file type 'sof' is not supported by the specified output file type.");

    DOCUMENT helper_and_ekp = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_bitstream(helper_and_ekp.get(), "b1", as_sof);
    add_output_file(helper_and_ekp.get(), PGM_COMMON_XML_ENUM_HELPER_RBF_CMD,
                    {{ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE, value_of(PGM_COMMON_XML_ENUM_FUSE)},
                     {ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, "9RX027R1B"}});
    add_output_for_bitstream(helper_and_ekp.get(), PGM_COMMON_XML_ENUM_EKP, "b1");
    EXPECT_TRUE(run_check(helper_and_ekp.get()).valid);
}

TEST(ZebCheckMerge, InputFileTypesKeepTheOrderOfTheSupportedList)
{
    using TYPES = std::vector<FIO_FILE_TYPE>;
    EXPECT_EQ(ZEB_UTIL::check_and_merge_input_file_type({FIO_FILE_TYPE_RBF, FIO_FILE_TYPE_SOF, FIO_FILE_TYPE_POF},
                                                        {FIO_FILE_TYPE_POF, FIO_FILE_TYPE_JIC, FIO_FILE_TYPE_RBF}),
              (TYPES{FIO_FILE_TYPE_RBF, FIO_FILE_TYPE_POF}));
    EXPECT_TRUE(ZEB_UTIL::check_and_merge_input_file_type({FIO_FILE_TYPE_SOF}, {FIO_FILE_TYPE_PMSF}).empty());
    EXPECT_EQ(internal_error_of([] { ZEB_UTIL::check_and_merge_input_file_type({}, {FIO_FILE_TYPE_SOF}); }),
              "supported_input_file_type.size() > 0");
    EXPECT_EQ(internal_error_of([] { ZEB_UTIL::check_and_merge_input_file_type({FIO_FILE_TYPE_SOF}, {}); }),
              "to_be_checked_input_file_type.size() > 0");
}

TEST(ZebCheckMerge, AnEmptyFamilyListRestrictsNothing)
{
    using FAMILIES = std::vector<DEV_FAMILY_ENUM>;
    const FAMILIES pof = {DEV_FAMILY_BILOSA_CFI, DEV_FAMILY_VIVERI, DEV_FAMILY_MOZOKA};
    EXPECT_EQ(ZEB_UTIL::check_and_merge_config_device_family(pof, {DEV_FAMILY_MOZOKA, DEV_FAMILY_BILOSA_CFI}),
              (FAMILIES{DEV_FAMILY_BILOSA_CFI, DEV_FAMILY_MOZOKA}));
    EXPECT_EQ(ZEB_UTIL::check_and_merge_config_device_family(pof, {}), pof);
    EXPECT_EQ(ZEB_UTIL::check_and_merge_config_device_family({}, pof), pof);
    EXPECT_TRUE(ZEB_UTIL::check_and_merge_config_device_family({}, {}).empty());
    EXPECT_TRUE(ZEB_UTIL::check_and_merge_config_device_family({DEV_FAMILY_VIVERI}, {DEV_FAMILY_MOZOKA}).empty());
}

// ---- Each output file and its target ---------------------------------------------------------------

TEST_F(ZebCheck, DirectoryIsReportedBeforeName)
{
    DOCUMENT document = ps_document(PGM_COMMON_XML_ENUM_RBF,
                                    {{ZEB_CMD_PARAM_OUTPUT_FILE_DIRECTORY, ""}, {ZEB_CMD_PARAM_OUTPUT_FILE_NAME, ""}});
    EXPECT_EQ(run_check(document.get()).message, "Missing output file directory");
    document = ps_document(PGM_COMMON_XML_ENUM_RBF, {{ZEB_CMD_PARAM_OUTPUT_FILE_NAME, ""}});
    EXPECT_EQ(run_check(document.get()).message, "Missing output file name");
}

TEST_F(ZebCheck, OutputNeedsOneKindOfReference)
{
    DOCUMENT none = make_document(PGM_COMMON_XML_ENUM_PS);
    add_bitstream(none.get(), "b1", ps_sof);
    add_output_file(none.get(), PGM_COMMON_XML_ENUM_RBF);
    EXPECT_EQ(run_check(none.get()).message, k_missing_input_in_output);

    DOCUMENT both = make_document(PGM_COMMON_XML_ENUM_PS);
    add_bitstream(both.get(), "b1", ps_sof);
    add_output_file(both.get(), PGM_COMMON_XML_ENUM_POF,
                    {{ZEB_CMD_PARAM_OUTPUT_FILE_BITSTREAM_ID, "b1"}, {ZEB_CMD_PARAM_OUTPUT_FILE_FLASH_DEVICE_ID, "f"}});
    EXPECT_EQ(run_check(both.get()).message, "Conflict input setting in output element, both flash_device_id and "
                                             "bitstream_id are set in output element");
}

TEST_F(ZebCheck, ReferenceMustSuitTheKindOfOutput)
{
    DOCUMENT flash_on_host_file = make_document(PGM_COMMON_XML_ENUM_PS);
    add_bitstream(flash_on_host_file.get(), "b1", ps_sof);
    add_output_for_flash_device(flash_on_host_file.get(), PGM_COMMON_XML_ENUM_RBF, "flash");
    EXPECT_EQ(run_check(flash_on_host_file.get()).message,
              "Conflict input setting in output element, flash_device_id is set, however the output file is not "
              "flash programming file.");

    DOCUMENT bitstream_on_flash_file = ps_document(PGM_COMMON_XML_ENUM_POF);
    EXPECT_EQ(run_check(bitstream_on_flash_file.get()).message,
              "Conflict input setting in output element, bitstream_id is set, however the output file is flash "
              "programming file.");
}

TEST_F(ZebCheck, FlashLoaderIsCheckedBeforeAnyTarget)
{
    // The JIC's bitstream reference is wrong too, but the missing flash loader comes first.
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_bitstream(document.get(), "b1", as_sof);
    add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_JIC, "b1");
    EXPECT_EQ(run_check(document.get()).message,
              "Missing configuration device setting. Please add the device into Configuration Device tab.");

    // Without a type that needs one, no flash loader is asked for.
    DOCUMENT rpd = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_bitstream(rpd.get(), "b1", as_sof);
    add_output_for_bitstream(rpd.get(), PGM_COMMON_XML_ENUM_RPD, "b1");
    EXPECT_TRUE(run_check(rpd.get()).valid);
}

TEST_F(ZebCheck, TargetsAreCheckedInDocumentOrder)
{
    DOCUMENT document = ps_document(PGM_COMMON_XML_ENUM_RBF);
    add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_TTF, "b9");
    add_output_file(document.get(), PGM_COMMON_XML_ENUM_HEX);
    CHECK_RESULT result = run_check(document.get());
    EXPECT_EQ(result.message, "Missing settings for bitstream ID b9.");
    EXPECT_TRUE(result.error);
}

TEST_F(ZebCheck, FlashTargetNeedsFamilies)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_PS);
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
}

// ---- Player files --------------------------------------------------------------------------------

TEST_F(ZebCheck, PlayerFileIsWrittenFromOneInput)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_PS);
    add_bitstream(document.get(), "b1", ps_sof);
    add_bitstream(document.get(), "b2", make_sof(dir, "second.sof", "5ZV066H2", 0, 2));
    add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_JBC, "b1");
    bool flag1 = false;
    bool flag2 = false;
    bool error = false;
    std::string message;
    EXPECT_EQ(internal_error_of([&] { ZEB_UTIL::check(document.get(), flag1, flag2, message, error, false); }),
              "paths.size() == 1");
}

TEST_F(ZebCheck, PlayerFileOfKeyInputNamesItsDevice)
{
    for (const char* key_file : {"user.hky", "user.hek", "user.fuse"})
    {
        for (PGM_COMMON_XML_ENUM type : {PGM_COMMON_XML_ENUM_JAM, PGM_COMMON_XML_ENUM_JBC, PGM_COMMON_XML_ENUM_SVF})
        {
            DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
            add_bitstream(document.get(), "b1", make_file(dir, key_file, "key material"));
            add_output_for_bitstream(document.get(), type, "b1");
            EXPECT_EQ(run_check(document.get()).message,
                      "Missing 'helper_device' option or user have specified an invalid value.")
                << key_file;
            add_output_for_bitstream(document.get(), type, "b1", {{ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, "7TR440PA3R1"}});
            const CHECK_RESULT result = run_check(document.get());
            EXPECT_TRUE(result.valid) << key_file << ": " << result.message;
        }
    }
}
