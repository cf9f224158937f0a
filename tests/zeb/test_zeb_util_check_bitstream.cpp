// SPDX-License-Identifier: Apache-2.0
// Bitstream checks: the referenced bitstream and its input file, the signing and encryption rules
// of its path in their order, and the rule for several bitstreams in one flash device.
#include "test_zeb_util_check_support.h"

#include <gtest/gtest.h>

namespace
{

using namespace check_test;

const std::string k_multi_image =
    "Multiple SOF files been assigned to the flash device. However, the flash device does not have remote update "
    "feature enabled. Make sure there is only one SOF file been assigned to device flash partition. If you want to "
    "create the programming file for remote update, make sure there are multiple SOF files being added into Input "
    "Files tab, then you remove the existing flash device and add the new flash device again in Configuration "
    "Device tab.";

std::string cannot_find(const std::string& path)
{
    return "Cannot find '" + path + "'. Make sure the file is located at the expected location or update the setting.";
}

class ZebCheckBitstream : public ::testing::Test
{
protected:
    void SetUp() override { sof = make_sof(dir, "design.sof", "9RX027R1B"); }

    // An active serial x4 document whose raw programming data file reads bitstream "b1" from
    // `input`, with more pairs for the bitstream's path.
    DOCUMENT rpd_document(const std::string& input, const PARAMS& path_options = {})
    {
        DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
        add_bitstream(document.get(), "b1", input, path_options);
        add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_RPD, "b1");
        return document;
    }

    static PGM_COMMON_XML_ZEB_PATH* path_of(PGM_COMMON_XML_ZEB_ZEB* document)
    {
        return ZEB_FILE_ASSISTANT::get_path_elements(document, "b1").at(0);
    }

    // The message of the signing rules for b1's path; "" when they pass.
    static std::string signing_message(PGM_COMMON_XML_ZEB_ZEB* document)
    {
        std::string message;
        const bool valid = ZEB_UTIL::check_bitstream_signing_settings(document, path_of(document), message);
        EXPECT_EQ(valid, message.empty()) << message;
        return message;
    }

    // The message of the encryption rules for b1's path; "" when they pass.
    std::string encryption_message(const PARAMS& path_options)
    {
        DOCUMENT document = rpd_document(sof, path_options);
        std::string message;
        const bool valid = ZEB_UTIL::check_bitstream_encryption_settings(path_of(document.get()), message);
        EXPECT_EQ(valid, message.empty()) << message;
        return message;
    }

    std::string file(const std::string& name) { return make_file(dir, name, "key material\n"); }

    SCRATCH_DIR dir;
    std::string sof;
};

} // namespace

// ---- The referenced bitstream and its input file --------------------------------------------------

TEST_F(ZebCheckBitstream, ReferenceNeedsABitstreamWithPath)
{
    DOCUMENT unknown_id = rpd_document(sof);
    add_output_for_bitstream(unknown_id.get(), PGM_COMMON_XML_ENUM_EKP, "b7");
    CHECK_RESULT result = run_check(unknown_id.get());
    EXPECT_EQ(result.message, "Missing settings for bitstream ID b7.");
    EXPECT_TRUE(result.error);

    DOCUMENT no_path = rpd_document(sof);
    set(no_path.get(), ZEB_CMD_OPT_BITSTREAM, {{ZEB_CMD_PARAM_BITSTREAM_ID, "b2"}});
    add_output_for_bitstream(no_path.get(), PGM_COMMON_XML_ENUM_EKP, "b2");
    result = run_check(no_path.get());
    EXPECT_EQ(result.message, "Missing settings for bitstream ID b2.");
    EXPECT_TRUE(result.error);

    // No bitstreams at all; the raw file keeps the document from failing for want of input.
    DOCUMENT no_bitstreams = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_raw_file(no_bitstreams.get(), "r1", make_file(dir, "data.hex", ":00000001FF\n"), PGM_COMMON_XML_ENUM_HEX);
    add_output_for_bitstream(no_bitstreams.get(), PGM_COMMON_XML_ENUM_RPD, "b1");
    result = run_check(no_bitstreams.get());
    EXPECT_EQ(result.message, "Missing settings for bitstream ID b1.");
    EXPECT_TRUE(result.error);
}

TEST_F(ZebCheckBitstream, InputMustPassItsPrecheck)
{
    const std::string absent = dir.file("absent.sof");
    CHECK_RESULT result = run_check(rpd_document(absent).get());
    EXPECT_EQ(result.message, cannot_find(absent));
    EXPECT_FALSE(result.error);

    const std::string broken = make_file(dir, "broken.sof", "not an object file");
    result = run_check(rpd_document(broken).get());
    EXPECT_EQ(result.message,
              "Failed to parse " + broken + ". The file is corrupted or the targeted device is not supported.");
    EXPECT_FALSE(result.error);
}

TEST_F(ZebCheckBitstream, TargetedFamilyMustBeSupported)
{
    for (const char* device : {"4RG180K1", "6DS250M2"})
    {
        const std::string input = make_sof(dir, std::string(device) + ".sof", device);
        EXPECT_EQ(run_check(rpd_document(input).get()).message, "Device " + std::string(device) + " is not supported.");
    }
    for (const char* device : {"3ZT085F2", "5ZV066H2", "7TR220PA2R1", "9RX065R2A"})
    {
        const CHECK_RESULT result = run_check(rpd_document(make_sof(dir, std::string(device) + ".sof", device)).get());
        EXPECT_TRUE(result.valid) << device << ": " << result.message;
    }
}

TEST_F(ZebCheckBitstream, InputTypeMustBeAcceptedByTheOutputs)
{
    EXPECT_EQ(run_check(rpd_document(make_pmsf(dir, "region.pmsf", "9RX027R1B")).get()).message,
              "Input file type 'pmsf' is not supported by the specified output file type.");
    EXPECT_EQ(run_check(rpd_document(make_rbf(dir, "design.rbf", "9RX027R1B")).get()).message,
              "Input file type 'rbf' is not supported by the specified output file type.");
}

TEST_F(ZebCheckBitstream, InputsWithoutDeviceSkipFamilyAndTypeButMustExist)
{
    // Chain descriptions, key programming and fuse files target no device of their own.
    for (const char* name : {"chain.cdf", "keys.ekp", "user.hky", "user.hek", "user.fuse"})
    {
        const CHECK_RESULT present = run_check(rpd_document(file(name)).get());
        EXPECT_TRUE(present.valid) << name << ": " << present.message;
        const std::string absent = dir.file(std::string("absent_") + name);
        EXPECT_EQ(run_check(rpd_document(absent).get()).message, cannot_find(absent)) << name;
    }
    // Any other input that names no device breaks the precheck's promise.
    DOCUMENT document = rpd_document(file("data.bin"));
    bool flag1 = false;
    bool flag2 = false;
    bool error = false;
    std::string message;
    EXPECT_EQ(internal_error_of([&] { ZEB_UTIL::check(document.get(), flag1, flag2, message, error, false); }),
              "device");
}

// ---- Signing -------------------------------------------------------------------------------------

TEST_F(ZebCheckBitstream, SigningOffSkipsEverySigningRule)
{
    // OFF is also what a path gets when the option is not given.
    DOCUMENT by_default = rpd_document(sof, {{ZEB_CMD_PARAM_BITSTREAM_PATH_SIGN_LATER, "ON"}});
    EXPECT_EQ(signing_message(by_default.get()), "");
    DOCUMENT off = rpd_document(sof, {{ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING, value_of(PGM_COMMON_XML_ENUM_OFF)},
                                      {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGN_LATER, "ON"},
                                      {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING_PEM_FILE, dir.file("absent.pem")}});
    EXPECT_TRUE(run_check(off.get()).valid);
}

TEST_F(ZebCheckBitstream, SigningRulesInTheirOrder)
{
    const std::string pem = file("root.pem");
    for (PGM_COMMON_XML_ENUM signing : {PGM_COMMON_XML_ENUM_ON, PGM_COMMON_XML_ENUM_PEM})
    {
        const auto message_for = [&](const PARAMS& options)
        {
            PARAMS path_options = {{ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING, value_of(signing)}};
            path_options.insert(path_options.end(), options.begin(), options.end());
            return run_check(rpd_document(sof, path_options).get()).message;
        };
        // sign_later is refused before the PEM file is looked at.
        EXPECT_EQ(message_for({{ZEB_CMD_PARAM_BITSTREAM_PATH_SIGN_LATER, "ON"},
                               {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING_PEM_FILE, pem}}),
                  "The signing and sign_later options cannot both be enabled at the same time");
        EXPECT_EQ(message_for({}), "Missing pem file");
        EXPECT_EQ(message_for({{ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING_PEM_FILE, dir.file("absent.pem")}}),
                  cannot_find(dir.file("absent.pem")));
        // Outputs other than the flash helper image need no public root key.
        EXPECT_EQ(message_for({{ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING_PEM_FILE, pem}}), "");
    }
}

TEST_F(ZebCheckBitstream, HelperImageBesideFlashFileNeedsTheRootKey)
{
    // The helper image written beside a flash programming file is the first output file.
    const auto document_with = [&](const PARAMS& options)
    {
        DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
        PARAMS path_options = {{ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING, value_of(PGM_COMMON_XML_ENUM_ON)},
                               {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING_PEM_FILE, file("root.pem")}};
        path_options.insert(path_options.end(), options.begin(), options.end());
        add_bitstream(document.get(), "b1", sof, path_options);
        add_output_file(document.get(), PGM_COMMON_XML_ENUM_HELPER_RBF,
                        {{ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE, value_of(PGM_COMMON_XML_ENUM_QSPI)},
                         {ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, "9RX027R1B"}});
        add_output_for_bitstream(document.get(), PGM_COMMON_XML_ENUM_RPD, "b1");
        return document;
    };
    EXPECT_EQ(run_check(document_with({}).get()).message, "Missing hky file");
    EXPECT_EQ(run_check(document_with({{ZEB_CMD_PARAM_BITSTREAM_PATH_HKY_FILE, dir.file("absent.hky")}}).get()).message,
              cannot_find(dir.file("absent.hky")));
    const CHECK_RESULT result =
        run_check(document_with({{ZEB_CMD_PARAM_BITSTREAM_PATH_HKY_FILE, file("root.hky")}}).get());
    EXPECT_TRUE(result.valid) << result.message;

    // Only the first output file decides.
    DOCUMENT rpd_first = rpd_document(sof, {{ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING, value_of(PGM_COMMON_XML_ENUM_ON)},
                                            {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING_PEM_FILE, file("root.pem")}});
    add_output_file(rpd_first.get(), PGM_COMMON_XML_ENUM_HELPER_RBF,
                    {{ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE, value_of(PGM_COMMON_XML_ENUM_QSPI)},
                     {ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, "9RX027R1B"}});
    EXPECT_EQ(signing_message(rpd_first.get()), "");
}

TEST_F(ZebCheckBitstream, SigningIsCheckedBeforeEncryption)
{
    DOCUMENT document = rpd_document(sof, {{ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING, value_of(PGM_COMMON_XML_ENUM_ON)},
                                           {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGN_LATER, "ON"},
                                           {ZEB_CMD_PARAM_BITSTREAM_PATH_ENCRYPTION, "ON"}});
    EXPECT_EQ(run_check(document.get()).message,
              "The signing and sign_later options cannot both be enabled at the same time");
    document = rpd_document(sof, {{ZEB_CMD_PARAM_BITSTREAM_PATH_ENCRYPTION, "ON"}});
    EXPECT_EQ(run_check(document.get()).message, "Missing key_file or key is not set.");
}

// ---- Encryption ------------------------------------------------------------------------------------

TEST_F(ZebCheckBitstream, EncryptionNeedsKeyFileAndKey)
{
    const std::string key_file = file("keys.key");
    EXPECT_EQ(encryption_message({{ZEB_CMD_PARAM_BITSTREAM_PATH_ENCRYPTION, "ON"},
                                  {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_FILE1, key_file}}),
              "Missing key_file or key is not set.");
    EXPECT_EQ(encryption_message(
                  {{ZEB_CMD_PARAM_BITSTREAM_PATH_ENCRYPTION, "ON"}, {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY1, "key_a"}}),
              "Missing key_file or key is not set.");
    EXPECT_EQ(encryption_message({{ZEB_CMD_PARAM_BITSTREAM_PATH_ENCRYPTION, "ON"},
                                  {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_FILE1, key_file},
                                  {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY1, "key_a"}}),
              "");
    // Without encryption the key settings are not looked at.
    EXPECT_EQ(encryption_message({{ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_FILE1, key_file}}), "");
}

TEST_F(ZebCheckBitstream, FinalisationNowNeedsAnExistingHekFile)
{
    // Both finalisation options are refused before the HEK file is looked at.
    EXPECT_EQ(encryption_message({{ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION, "ON"},
                                  {ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION_LATER, "ON"},
                                  {ZEB_CMD_PARAM_BITSTREAM_PATH_HEK_FILE, dir.file("absent.hek")}}),
              "The finalize_encryption and finalize_encryption_later options cannot both be enabled at the same time");
    EXPECT_EQ(encryption_message({{ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION, "ON"}}), "Missing HEK file");
    EXPECT_EQ(encryption_message({{ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION, "ON"},
                                  {ZEB_CMD_PARAM_BITSTREAM_PATH_HEK_FILE, dir.file("absent.hek")}}),
              cannot_find(dir.file("absent.hek")));
    EXPECT_EQ(encryption_message({{ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION, "ON"},
                                  {ZEB_CMD_PARAM_BITSTREAM_PATH_HEK_FILE, file("user.hek")}}),
              "");
}

TEST_F(ZebCheckBitstream, HekFileWithoutFinalisation)
{
    EXPECT_EQ(encryption_message({{ZEB_CMD_PARAM_BITSTREAM_PATH_HEK_FILE, file("user.hek")}}),
              "HEK file is specified but finalize encryption option is not enabled");
    // Putting finalisation off does not make an HEK file welcome.
    EXPECT_EQ(encryption_message({{ZEB_CMD_PARAM_BITSTREAM_PATH_HEK_FILE, file("user.hek")},
                                  {ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION_LATER, "ON"},
                                  {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGN_LATER, "ON"}}),
              "HEK file is specified but finalize encryption option is not enabled");
}

TEST_F(ZebCheckBitstream, FinalisationLaterOnlyWithSigningLater)
{
    EXPECT_EQ(encryption_message({{ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION_LATER, "ON"}}),
              "Cannot skip encryption finalization if signing is enabled");
    EXPECT_EQ(encryption_message({{ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION_LATER, "ON"},
                                  {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGN_LATER, "ON"}}),
              "");
    // Through the whole check: signing stays OFF, so sign_later passes the signing rules.
    DOCUMENT document = rpd_document(sof, {{ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION_LATER, "ON"},
                                           {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGN_LATER, "ON"}});
    EXPECT_TRUE(run_check(document.get()).valid);
}

// ---- Several bitstreams in one flash device ---------------------------------------------------------

namespace
{

// An active serial document with a serial flash whose partitions P1 and P2 take the bitstreams b1 and
// b2, both for a device with remote update.
class ZebCheckMultiImage : public ZebCheckBitstream
{
protected:
    DOCUMENT two_images(PGM_COMMON_XML_ENUM mode)
    {
        DOCUMENT document = make_document(mode);
        add_bitstream(document.get(), "b1", sof);
        add_bitstream(document.get(), "b2", make_sof(dir, "update.sof", "9RX027R1B", 0, 2));
        add_flash_device(document.get(), "flash", "VQ64A");
        add_partition(document.get(), "flash", "P1", "0x00100000", "0x001FFFFF");
        add_partition(document.get(), "flash", "P2", "0x00200000", "0x002FFFFF");
        assign_bitstream(document.get(), "P1", "b1");
        assign_bitstream(document.get(), "P2", "b2", 1); // application image on page 1
        return document;
    }

    static std::string rule_message(PGM_COMMON_XML_ZEB_ZEB* document, bool expect_error)
    {
        std::string message;
        bool error = false;
        const bool valid = ZEB_UTIL::check_assignment_bitstream_settings(document, message, error);
        EXPECT_EQ(valid, message.empty()) << message;
        EXPECT_EQ(error, expect_error);
        return message;
    }
};

} // namespace

TEST_F(ZebCheckMultiImage, ActiveSerialNeedsAFactoryImagePartition)
{
    for (PGM_COMMON_XML_ENUM mode : {PGM_COMMON_XML_ENUM_ASX1, PGM_COMMON_XML_ENUM_ASX4})
    {
        DOCUMENT document = two_images(mode);
        EXPECT_EQ(rule_message(document.get(), true), k_multi_image) << mode;
        add_partition(document.get(), "flash", "FACTORY_IMAGE", "0x00000000", "0x000FFFFF");
        EXPECT_EQ(rule_message(document.get(), false), "") << mode;
    }
}

TEST_F(ZebCheckMultiImage, OtherModesAndSingleImagesPass)
{
    for (PGM_COMMON_XML_ENUM mode : {PGM_COMMON_XML_ENUM_PS, PGM_COMMON_XML_ENUM_AVSTX8, PGM_COMMON_XML_ENUM_FPP})
    {
        DOCUMENT document = two_images(mode);
        EXPECT_EQ(rule_message(document.get(), false), "") << mode;
    }
    // Only assignments of bitstreams count; a raw file beside one bitstream is no second image.
    DOCUMENT document = two_images(PGM_COMMON_XML_ENUM_ASX4);
    add_raw_file(document.get(), "r1", make_file(dir, "data.hex", ":00000001FF\n"), PGM_COMMON_XML_ENUM_HEX);
    ZEB_FILE_ASSISTANT::remove(document.get(), ZEB_CMD_OPT_ASSIGNMENT, {{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, "P2"}});
    assign_raw_file(document.get(), "P2", "r1");
    EXPECT_EQ(rule_message(document.get(), false), "");

    // Every catalogue FPGA with an object file has remote update; an input that targets no device
    // reports none, and the rule does not apply.
    DOCUMENT no_remote_update = two_images(PGM_COMMON_XML_ENUM_ASX4);
    set(no_remote_update.get(), ZEB_CMD_OPT_BITSTREAM,
        {{ZEB_CMD_PARAM_BITSTREAM_ID, "k1"}, {ZEB_CMD_PARAM_BITSTREAM_PATH, file("user.hky")}});
    set(no_remote_update.get(), ZEB_CMD_OPT_ASSIGNMENT,
        {{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, "P1"}, {ZEB_CMD_PARAM_ASSIGNMENT_BITSTREAM_ID, "k1"}});
    EXPECT_EQ(rule_message(no_remote_update.get(), false), "");

    PGM_COMMON_XML_ZEB_ZEB no_assignments;
    EXPECT_EQ(rule_message(&no_assignments, false), "");
}

TEST_F(ZebCheckMultiImage, FirstImageMustPassItsPrecheck)
{
    DOCUMENT document = two_images(PGM_COMMON_XML_ENUM_ASX4);
    const std::string broken = make_file(dir, "broken.sof", "not an object file");
    set(document.get(), ZEB_CMD_OPT_BITSTREAM,
        {{ZEB_CMD_PARAM_BITSTREAM_ID, "b0"}, {ZEB_CMD_PARAM_BITSTREAM_PATH, broken}});
    // The first assignment in document order names the input that is prechecked.
    set(document.get(), ZEB_CMD_OPT_ASSIGNMENT,
        {{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, "P1"}, {ZEB_CMD_PARAM_ASSIGNMENT_BITSTREAM_ID, "b0"}});
    std::string message;
    bool error = false;
    EXPECT_FALSE(ZEB_UTIL::check_assignment_bitstream_settings(document.get(), message, error));
    EXPECT_EQ(message,
              "Failed to parse " + broken + ". The file is corrupted or the targeted device is not supported.");
}

TEST_F(ZebCheckMultiImage, WholeCheckStopsAtTheRule)
{
    DOCUMENT document = two_images(PGM_COMMON_XML_ENUM_ASX4);
    set_flash_loader(document.get(), "9RX027R1B");
    add_output_for_flash_device(document.get(), PGM_COMMON_XML_ENUM_JIC, "flash");
    CHECK_RESULT result = run_check(document.get());
    EXPECT_EQ(result.message, k_multi_image);
    EXPECT_TRUE(result.error);

    add_partition(document.get(), "flash", "FACTORY_IMAGE", "0x00000000", "0x000FFFFF");
    result = run_check(document.get());
    EXPECT_TRUE(result.valid) << result.message;
}
