// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT end to end: a document of every element kind built through set saves to a
// schema-valid file that reads back to the same document, and get output fed to set recreates
// what it describes.
#include "test_support.h"
#include "test_zeb_file_assistant_support.h"

#include "pgm/zeb/zeb_util.h"

#include <set>
#include <vector>

using namespace assistant_test;

namespace
{

// One option of a bitstream path: the parameter, the attribute it must land in, a value that is
// not the attribute's default, and the attribute's text after setting it.
struct PATH_OPTION
{
    PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param;
    const char* attribute;
    const char* value;
    const char* stored;
};

// clang-format off
const PATH_OPTION PATH_OPTIONS[] = {
    {BS(PATH_KEY_STORAGE), "key_storage", "BBRAM", "BBRAM"},
    {BS(PATH_SIGNING), "signing", "372", "PEM"},
    {BS(PATH_EKP_FILE), "ekp_file", "k.ekp", "k.ekp"},
    {BS(PATH_SECURITY_OPT_NO_OTP_KEY), "security_opt_no_otp_key", "105", "1"},
    {BS(PATH_KEY2), "key2", "key_b", "key_b"},
    {BS(PATH_KEY1), "key1", "key_a", "key_a"},
    {BS(PATH_KEY_FILE2), "key_file2", "b.key", "b.key"},
    {BS(PATH_FINALIZE_ENCRYPTION_LATER), "finalize_encryption_later", "ON", "true"},
    {BS(PATH_ENHANCED_COMPRESSION), "enhanced_compression", "on", "true"},
    {BS(PATH_NON_VOLATILE_KEY), "non_volatile_key", "1", "true"},
    {BS(PATH_SECURITY_OPT_LOCK_BATTERY_KEY), "security_opt_lock_battery_key", "107", "3"},
    {BS(PATH_SECURITY_OPT_NO_JTAG_KEY), "security_opt_no_jtag_key", "106", "2"},
    {BS(PATH_SECURITY_OPT_NO_BATTERY_KEY), "security_opt_no_battery_key", "105", "1"},
    {BS(PATH_FINALIZE_ENCRYPTION), "finalize_encryption", "1", "true"},
    {BS(PATH_PASSWORD), "password", "secret", "secret"},
    {BS(PATH_SECURITY_OPT_NO_JTAG), "security_opt_no_jtag", "107", "3"},
    {BS(PATH_COMPRESSION), "compression", "1", "true"},
    {BS(PATH_ENCRYPTION), "encryption", "1", "true"},
    {BS(PATH_HLK_FILE), "hlk_file", "lock.hlk", "lock.hlk"},
    {BS(PATH_SIGN_LATER), "sign_later", "1", "true"},
    {BS(PATH_RSU_UPGRADE), "rsu_upgrade", "1", "true"},
    {BS(PATH_DECRYPTION_DURING_PR), "decryption_during_pr", "1", "true"},
    {BS(PATH_SECURITY_OPT_NO_CONFIG), "security_opt_no_config", "106", "2"},
    {BS(PATH_APP_IMAGE_HPS_PATH), "app_image_hps_path", "app_hps.hex", "app_hps.hex"},
    {BS(PATH_SECURITY_OPT_NO_PR), "security_opt_no_pr", "105", "1"},
    {BS(PATH_SECURITY_OPT_EPOF_ONLY), "security_opt_epof_only", "107", "3"},
    {BS(PATH_SECURITY_OPT_SECURE), "security_opt_secure", "107", "3"},
    {BS(PATH_APP_IMAGE_ONLY), "app_image_only", "1", "true"},
    {BS(PATH_HEK_FILE), "hek_file", "k.hek", "k.hek"},
    {BS(PATH_APP_IMAGE), "app_image", "app.sof", "app.sof"},
    {BS(PATH_SECURITY_OPT_NO_JTAG_EXT), "security_opt_no_jtag_ext", "106", "2"},
    {BS(PATH_DECOMPRESSION_DURING_PR), "decompression_during_pr", "1", "true"},
    {BS(PATH_SIGNING_PEM_FILE), "signing_pem_file", "sign.pem", "sign.pem"},
    {BS(PATH_HPS_PATH), "hps_path", "hps.hex", "hps.hex"},
    {BS(PATH_SECURITY_OPT_NO_HPS_JTAG), "security_opt_no_hps_jtag", "105", "1"},
    {BS(PATH_KEY_FILE1), "key_file1", "a.key", "a.key"},
    {BS(PATH_FW_SOURCE), "fw_source", "fw.bin", "fw.bin"},
    {BS(PATH_HKY_FILE), "hky_file", "root.hky", "root.hky"},
    {BS(PATH_SEU_RECOVERY), "seu_recovery", "1", "true"},
};
// clang-format on

const PARAMS PATH_KEY = {{BS(ID), "b"}, {BS(PATH), "design.sof"}};

PARAMS with_path_key(PARAMS options)
{
    options.insert(options.begin(), PATH_KEY.begin(), PATH_KEY.end());
    return options;
}

// Every attribute of the two paths has the same text.
void expect_same_path(const PGM_COMMON_XML_ZEB_PATH* original, const PGM_COMMON_XML_ZEB_PATH* copy)
{
    ASSERT_TRUE(original && copy);
    EXPECT_EQ(original->get_text(), copy->get_text());
    for (const PGM_COMMON_XML_ATTRIBUTE& attribute : original->attributes())
        EXPECT_EQ(original->get_attribute_text(attribute.name()), copy->get_attribute_text(attribute.name()))
            << attribute.name();
}

} // namespace

TEST(ZebAssistantDocument, PathOptionsRoundTripThroughGetAndSet)
{
    // The options cover every attribute of a path, each once.
    std::set<std::string> attributes;
    for (const PATH_OPTION& option : PATH_OPTIONS)
        EXPECT_TRUE(attributes.insert(option.attribute).second) << option.attribute;
    EXPECT_EQ(attributes.size(), PGM_COMMON_XML_ZEB_PATH().attributes().size());

    PGM_COMMON_XML_ZEB_ZEB all;
    for (const PATH_OPTION& option : PATH_OPTIONS)
    {
        PGM_COMMON_XML_ZEB_ZEB original;
        ASSERT_TRUE(ZFA::set(&original, ZEB_CMD_OPT_BITSTREAM, with_path_key({{option.param, option.value}})));
        ASSERT_TRUE(ZFA::set(&all, ZEB_CMD_OPT_BITSTREAM, with_path_key({{option.param, option.value}})));
        const PGM_COMMON_XML_ZEB_PATH* path = ZFA::get_path_element(&original, "b", "design.sof");
        EXPECT_EQ(path->get_attribute_text(option.attribute), option.stored) << option.attribute;

        const PARAMS description = ZFA::get(&original, ZEB_CMD_OPT_BITSTREAM, PATH_KEY);
        EXPECT_EQ(description.size(), std::size(PATH_OPTIONS) + 2);
        PGM_COMMON_XML_ZEB_ZEB copy;
        ASSERT_TRUE(ZFA::set(&copy, ZEB_CMD_OPT_BITSTREAM, description));
        expect_same_path(path, ZFA::get_path_element(&copy, "b", "design.sof"));
        EXPECT_EQ(ZFA::get(&copy, ZEB_CMD_OPT_BITSTREAM, PATH_KEY), description) << option.attribute;
    }
    // With every option written, the recreated bitstream is written out identically.
    PGM_COMMON_XML_ZEB_ZEB copy;
    ASSERT_TRUE(ZFA::set(&copy, ZEB_CMD_OPT_BITSTREAM, ZFA::get(&all, ZEB_CMD_OPT_BITSTREAM, PATH_KEY)));
    EXPECT_EQ(text_of(&copy), text_of(&all));

    EXPECT_TRUE(ZFA::get(&all, ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b"}}).empty());
    EXPECT_TRUE(ZFA::get(&all, ZEB_CMD_OPT_BITSTREAM, {{BS(PATH), "design.sof"}}).empty());
    EXPECT_TRUE(ZFA::get(&all, ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b"}, {BS(PATH), "other.sof"}}).empty());
}

TEST(ZebAssistantDocument, RawFileRoundTripsThroughGetAndSet)
{
    PGM_COMMON_XML_ZEB_ZEB original;
    ASSERT_TRUE(ZFA::set(&original, ZEB_CMD_OPT_RAW_FILE,
                         {{RF(TYPE), "348"}, {RF(BITSWAP), "1"}, {RF(RAW_FILE), "data.rbf"}, {RF(ID), "r"}}));
    const PARAMS description = ZFA::get(&original, ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r"}});
    EXPECT_EQ(description, (PARAMS{{RF(ID), "r"}, {RF(RAW_FILE), "data.rbf"}, {RF(BITSWAP), "1"}, {RF(TYPE), "348"}}));
    PGM_COMMON_XML_ZEB_ZEB copy;
    ASSERT_TRUE(ZFA::set(&copy, ZEB_CMD_OPT_RAW_FILE, description));
    EXPECT_EQ(text_of(&copy), text_of(&original));
    EXPECT_TRUE(ZFA::get(&original, ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "R"}}).empty());
    EXPECT_TRUE(ZFA::get(&original, ZEB_CMD_OPT_RAW_FILE, {{RF(RAW_FILE), "data.rbf"}}).empty());
    EXPECT_TRUE(ZFA::get(&copy, ZEB_CMD_OPT_RAW_FILE, {}).empty());
}

// A document of every element kind built through set is one that the schema accepts; reading and
// writing documents back is proven on the examples.
TEST(ZebAssistantDocument, EveryKindBuiltThroughSetSavesValid)
{
    PGM_COMMON_XML_ZEB_ZEB document;
    const auto set = [&](PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, const PARAMS& list)
    { ASSERT_TRUE(ZFA::set(&document, opt, list)); };
    set(ZEB_CMD_OPT_SETTINGS, {{ZEB_CMD_PARAM_SETTINGS_MODE, "343"}, {ZEB_CMD_PARAM_SETTINGS_CUSTOM_DB_DIR, "db"}});
    set(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r1"}, {RF(RAW_FILE), "data.hex"}, {RF(TYPE), "286"}});
    set(ZEB_CMD_OPT_BITSTREAM, with_path_key({{BS(PATH_COMPRESSION), "on"}, {BS(PATH_SECURITY_OPT_NO_JTAG), "106"}}));
    set(ZEB_CMD_OPT_FLASH_LOADER, {{ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER, "7TR440PA3R1"}});
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(TYPE), "VQ256A"}, {FD(PARTITION_ID), "P1"}});
    set(ZEB_CMD_OPT_FLASH_DEVICE,
        {{FD(ID), "fd"}, {FD(MBR_ID), "m"}, {FD(MBR_TYPE), "DOS"}, {FD(MBR_E_ADDR), "0xFFFF"}});
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(MBR_ID), "m"}, {FD(MBR_PARTITION_ID), "M1"}});
    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "P1"}, {AS(BITSTREAM_ID), "b"}});
    set(ZEB_CMD_OPT_ASSIGNMENT,
        {{AS(PARTITION_ID), "M1"}, {AS(RAW_FILE_ID), "r1"}, {AS(RAW_FILE_ID_ADDR_MODE), "406"}});
    set(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "350"}, {OF(NAME), "image"}, {OF(DIRECTORY), "out"}});
    set(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "350"}, {OF(FLASH_DEVICE_ID), "fd"}, {OF(BITSTREAM_ID), "b"}});
    set(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "350"}, {OF(SECONDARY_FILE_TYPE), "360"}, {OF(SECONDARY_FILE_NAME), "m"}});
    for (uint32_t kind = PGM_COMMON_XML_ENUM_ZEB_RAW_FILES; kind <= PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE_ID; ++kind)
        EXPECT_GT(document.get_child_count(static_cast<PGM_COMMON_XML_ENUM>(kind), true), 0u) << kind;
    for (PGM_COMMON_XML_ENUM kind : {PGM_COMMON_XML_ENUM_ZEB_SETTINGS, PGM_COMMON_XML_ENUM_ZEB_BITSTREAM})
        EXPECT_GT(document.get_child_count(kind, true), 0u) << kind;

    corvane_test::SCRATCH_DIR dir;
    MSG_CAPTURE_SINK sink;
    ASSERT_TRUE(ZEB_UTIL::save(&document, dir.file("first.zeb")));
    std::string error;
    std::string detail;
    EXPECT_TRUE(PGM_COMMON_XML::check_xsd(dir.file("first.zeb"), ZEB_UTIL::get_xsd_file(), error, detail)) << detail;
    EXPECT_EQ(ZFA::get_partition_ids(&document, "b", "r1"), (std::vector<std::string>{"P1", "M1"}));
}
