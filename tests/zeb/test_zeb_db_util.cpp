// SPDX-License-Identifier: Apache-2.0
// ZEB_DB_UTIL: the "common" list functions, the look-ups by extension and XML value with their
// last-match tie-break, the family bit sets at their edges, the switch-gated parameters and the
// names that front ends print.
#include "pgm/zeb/platform/ini/pgm_common_ini.h"
#include "pgm/zeb/zeb_db_util.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace
{

using TYPES = std::vector<ZEB_FILE_TYPE>;

template <typename T> std::vector<int32_t> as_ints(const std::vector<T>& values)
{
    return std::vector<int32_t>(values.begin(), values.end());
}

} // namespace

// ---- Look-up by extension and XML value ------------------------------------------------------------

TEST(ZebDbUtilFileTypeLookup, SharedExtensionsResolveToTheLastTypeInKeyOrder)
{
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(FIO_EXTENSION_TYPE_POF), ZEB_FILE_TYPE_POF_PERIPHERY);
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(FIO_EXTENSION_TYPE_HEXOUT), ZEB_FILE_TYPE_HEXOUT_CONFIG_DEVICE);
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(FIO_EXTENSION_TYPE_RBF), ZEB_FILE_TYPE_HELPER_RBF);
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(FIO_EXTENSION_TYPE_PMSF), ZEB_FILE_TYPE_MERGED_PMSF);
    // 26 comes before 21 in key order although it is the larger number.
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(FIO_EXTENSION_TYPE_RPD), ZEB_FILE_TYPE_RPD_SECONDARY);
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(FIO_EXTENSION_TYPE_JIC), ZEB_FILE_TYPE_JIC_PERIPHERY);
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(FIO_EXTENSION_TYPE_SOF), ZEB_FILE_TYPE_SOF);
}

TEST(ZebDbUtilFileTypeLookup, UnknownValuesGiveNoType)
{
    EXPECT_EQ(ZEB_FILE_TYPE_NONE, 32);
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(FIO_EXTENSION_TYPE_HEX), ZEB_FILE_TYPE_NONE);
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(FIO_EXTENSION_TYPE_NONE), ZEB_FILE_TYPE_NONE);
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(PGM_COMMON_XML_ENUM_QSPI_HELPER_RBF), ZEB_FILE_TYPE_NONE);
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILE), ZEB_FILE_TYPE_NONE);
}

TEST(ZebDbUtilFileTypeLookup, XmlValueZeroIsTheLastTypeWithoutDocumentForm)
{
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(PGM_COMMON_XML_ENUM__INVALID__), ZEB_FILE_TYPE_HEXOUT_CONFIG_DEVICE);
    // Every type with its own XML value is found from it.
    for (ZEB_FILE_TYPE type : ZEB_DB::get_all_output_file_type_keys())
    {
        const PGM_COMMON_XML_ENUM xml = ZEB_DB::get_xml_enum(type);
        if (xml != PGM_COMMON_XML_ENUM__INVALID__)
        {
            EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(xml), type) << type;
        }
    }
}

// ---- The "common" functions ------------------------------------------------------------------------

TEST(ZebDbUtilCommon, EmptyInputGivesEmptyResults)
{
    EXPECT_TRUE(ZEB_DB_UTIL::get_common_config_device_families({}).empty());
    EXPECT_TRUE(ZEB_DB_UTIL::get_common_file_categories({}).empty());
    EXPECT_TRUE(ZEB_DB_UTIL::get_common_input_file_types({}).empty());
    EXPECT_TRUE(ZEB_DB_UTIL::get_common_secondary_file_types({}).empty());
    EXPECT_TRUE(ZEB_DB_UTIL::get_primary_file_types({}).empty());
}

TEST(ZebDbUtilCommon, EmptyListsRestrictNothingAndResultsAreSorted)
{
    // RBF names no family; POF's own list is not in ascending order.
    EXPECT_EQ(as_ints(ZEB_DB_UTIL::get_common_config_device_families({ZEB_FILE_TYPE_RBF, ZEB_FILE_TYPE_POF})),
              (std::vector<int32_t>{10, 37, 67}));
    EXPECT_EQ(as_ints(ZEB_DB_UTIL::get_common_config_device_families({ZEB_FILE_TYPE_POF, ZEB_FILE_TYPE_JIC})),
              (std::vector<int32_t>{10}));
    EXPECT_TRUE(ZEB_DB_UTIL::get_common_config_device_families({ZEB_FILE_TYPE_RBF, ZEB_FILE_TYPE_TTF}).empty());
    EXPECT_EQ(as_ints(ZEB_DB_UTIL::get_common_input_file_types({ZEB_FILE_TYPE_JIC})),
              (std::vector<int32_t>{40, 54, 75, 82, 85}));
    EXPECT_EQ(
        as_ints(ZEB_DB_UTIL::get_common_input_file_types({ZEB_FILE_TYPE_JIC, ZEB_FILE_TYPE_MAP, ZEB_FILE_TYPE_RPD})),
        (std::vector<int32_t>{75, 85}));
}

TEST(ZebDbUtilCommon, AnEmptiedResultIsFilledAgainByTheNextList)
{
    // The raw binary's and the memory map's categories are disjoint; the JAM file's then refill.
    const TYPES disjoint_then_more = {ZEB_FILE_TYPE_RBF, ZEB_FILE_TYPE_MAP, ZEB_FILE_TYPE_JAM};
    EXPECT_EQ(ZEB_DB_UTIL::get_common_file_categories(disjoint_then_more),
              ZEB_DB::get_file_category(ZEB_FILE_TYPE_JAM));
    EXPECT_TRUE(ZEB_DB_UTIL::get_common_file_categories({ZEB_FILE_TYPE_RBF, ZEB_FILE_TYPE_MAP}).empty());
    EXPECT_EQ(as_ints(ZEB_DB_UTIL::get_common_file_categories({ZEB_FILE_TYPE_RBF, ZEB_FILE_TYPE_TTF})),
              (std::vector<int32_t>{0, 1, 11, 12}));
}

TEST(ZebDbUtilCommon, PrimaryTypesDropTheCommonSecondaries)
{
    EXPECT_EQ(as_ints(ZEB_DB_UTIL::get_common_secondary_file_types({ZEB_FILE_TYPE_JIC, ZEB_FILE_TYPE_POF})),
              (std::vector<int32_t>{20, 21}));
    EXPECT_EQ(ZEB_DB_UTIL::get_primary_file_types(
                  {ZEB_FILE_TYPE_POF, ZEB_FILE_TYPE_MAP, ZEB_FILE_TYPE_JIC, ZEB_FILE_TYPE_RPD_SECONDARY}),
              (TYPES{ZEB_FILE_TYPE_POF, ZEB_FILE_TYPE_JIC}));
    // Types without secondaries are all primary, in their given order, duplicates kept.
    EXPECT_EQ(ZEB_DB_UTIL::get_primary_file_types({ZEB_FILE_TYPE_TTF, ZEB_FILE_TYPE_RBF, ZEB_FILE_TYPE_TTF}),
              (TYPES{ZEB_FILE_TYPE_TTF, ZEB_FILE_TYPE_RBF, ZEB_FILE_TYPE_TTF}));
    // The helper image is secondary to JIC only, so beside a POF it stays.
    EXPECT_EQ(
        ZEB_DB_UTIL::get_primary_file_types({ZEB_FILE_TYPE_JIC, ZEB_FILE_TYPE_POF, ZEB_FILE_TYPE_HELPER_RBF_SECONDARY}),
        (TYPES{ZEB_FILE_TYPE_JIC, ZEB_FILE_TYPE_POF, ZEB_FILE_TYPE_HELPER_RBF_SECONDARY}));
}

// ---- Other cross-record questions ------------------------------------------------------------------

TEST(ZebDbUtilQueries, ParentsAndCategories)
{
    EXPECT_TRUE(ZEB_DB_UTIL::has_parent(ZEB_FILE_TYPE_MAP));
    EXPECT_TRUE(ZEB_DB_UTIL::has_parent(ZEB_FILE_TYPE_HELPER_RBF_SECONDARY));
    EXPECT_FALSE(ZEB_DB_UTIL::has_parent(ZEB_FILE_TYPE_JIC));
    EXPECT_FALSE(ZEB_DB_UTIL::has_parent(ZEB_FILE_TYPE_NONE));
    EXPECT_TRUE(ZEB_DB_UTIL::is_supported_file_category(ZEB_FILE_TYPE_TTF, ZEB_FILE_CATEGORY_PASSIVE_SERIAL_HOST));
    EXPECT_FALSE(ZEB_DB_UTIL::is_supported_file_category(ZEB_FILE_TYPE_JIC, ZEB_FILE_CATEGORY_PASSIVE_SERIAL_HOST));
    EXPECT_FALSE(
        ZEB_DB_UTIL::is_supported_file_category(static_cast<ZEB_FILE_TYPE>(29), ZEB_FILE_CATEGORY_CONFIGURATION_DATA));
}

TEST(ZebDbUtilFamilies, ConfigurationFamiliesAtTheEdgesOfTheirRange)
{
    for (uint32_t family : {10u, 22u, 23u, 37u, 64u})
        EXPECT_TRUE(ZEB_DB_UTIL::is_configuration_family(static_cast<DEV_FAMILY_ENUM>(family))) << family;
    // Neighbours, zero, one past the range, 64 above its low end (a shift by 64) and the maximum.
    for (uint32_t family : {0u, 9u, 11u, 21u, 24u, 36u, 38u, 63u, 65u, 67u, 74u, 128u, 0xFFFFFFFFu})
        EXPECT_FALSE(ZEB_DB_UTIL::is_configuration_family(static_cast<DEV_FAMILY_ENUM>(family))) << family;
    int members = 0;
    for (uint32_t family = 0; family < 300; ++family)
        members += ZEB_DB_UTIL::is_configuration_family(static_cast<DEV_FAMILY_ENUM>(family)) ? 1 : 0;
    EXPECT_EQ(members, 5);
}

TEST(ZebDbUtilFamilies, SupportedFamiliesAtTheEdgesOfTheirRange)
{
    for (uint32_t family : {10u, 16u, 25u, 44u, 45u, 67u})
        EXPECT_TRUE(ZEB_DB_UTIL::is_supported_family(static_cast<DEV_FAMILY_ENUM>(family))) << family;
    for (uint32_t family : {0u, 9u, 11u, 15u, 37u, 46u, 64u, 66u, 68u, 74u, 77u, 0xFFFFFFFFu})
        EXPECT_FALSE(ZEB_DB_UTIL::is_supported_family(static_cast<DEV_FAMILY_ENUM>(family))) << family;
    int members = 0;
    for (uint32_t family = 0; family < 300; ++family)
        members += ZEB_DB_UTIL::is_supported_family(static_cast<DEV_FAMILY_ENUM>(family)) ? 1 : 0;
    EXPECT_EQ(members, 6);
}

// ---- Switch-gated parameters -----------------------------------------------------------------------

class ZebDbUtilSwitches : public ::testing::Test
{
protected:
    void SetUp() override { PGM_COMMON_INI::reload(); }
    void TearDown() override { PGM_COMMON_INI::reload(); }

    // The documented name of the switch that gates `param`.
    static std::string switch_name(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, bool legacy = false)
    {
        const PGM_COMMON_INI_KEYED_SWITCH* row =
            PGM_COMMON_INI::find_keyed_switch(ZEB_DB::get_ini_type(param), ZEB_DB::get_ini_key(param));
        EXPECT_NE(row, nullptr);
        if (row == nullptr)
            return {};
        const char* name = legacy ? row->legacy_name : row->name;
        EXPECT_NE(name, nullptr);
        return name != nullptr ? name : "";
    }
};

TEST_F(ZebDbUtilSwitches, UngatedAndUnknownParamsAreAlwaysOffered)
{
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_BITSTREAM_PATH_COMPRESSION));
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_INVALID));
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(static_cast<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM>(119)));
}

TEST_F(ZebDbUtilSwitches, PlainSwitchGatesItsParams)
{
    const std::string name = switch_name(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_SPI_MODE);
    EXPECT_FALSE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_SPI_MODE));
    PGM_COMMON_INI::set_value(name, "ON");
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_SPI_MODE));
    // One switch (type 0, key 6) gates three parameters; key 7 is another switch.
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_FLASH_DEVICE_FALLBACK_ADDRESS));
    EXPECT_FALSE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_FLASH_DEVICE_POWER_ON_SCHEME));
}

TEST_F(ZebDbUtilSwitches, EncryptedSwitchIsHonouredUnderEitherName)
{
    EXPECT_FALSE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE));
    PGM_COMMON_INI::set_value(switch_name(ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE, true), "ON");
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE));
    PGM_COMMON_INI::reload();
    PGM_COMMON_INI::set_value(switch_name(ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE), "ON");
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE_ONLY));
}

TEST_F(ZebDbUtilSwitches, ExpiredTimingSwitchReadsAsOff)
{
    const std::string name = switch_name(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_TEST);
    PGM_COMMON_INI::set_value(name, "ON@2000-01-01");
    EXPECT_FALSE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_TEST));
    PGM_COMMON_INI::set_value(name, "ON");
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_TEST));
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_FLASH_DEVICE_DISABLE_TEST));
}

// ---- Names -----------------------------------------------------------------------------------------

TEST(ZebDbUtilNames, OptionNamesFindEveryParamThatCarriesThem)
{
    EXPECT_EQ(as_ints(ZEB_DB_UTIL::find_cmd_params_by_option_name("bitswap")), (std::vector<int32_t>{2, 15, 21}));
    EXPECT_EQ(as_ints(ZEB_DB_UTIL::find_cmd_params_by_option_name("no_jtag_key")), (std::vector<int32_t>{90}));
    // Disabled parameters are found too; the caller decides what to say about them.
    EXPECT_EQ(as_ints(ZEB_DB_UTIL::find_cmd_params_by_option_name("key2")), (std::vector<int32_t>{83}));
    EXPECT_TRUE(ZEB_DB_UTIL::find_cmd_params_by_option_name("").empty());
    EXPECT_TRUE(ZEB_DB_UTIL::find_cmd_params_by_option_name("BITSWAP").empty());
    EXPECT_TRUE(ZEB_DB_UTIL::find_cmd_params_by_option_name("no_jtag_").empty());
    for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : ZEB_DB::get_all_cmd_param_type_keys())
    {
        const std::string name = ZEB_DB::get_option_name(param);
        if (name.empty())
            continue;
        const std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> found = ZEB_DB_UTIL::find_cmd_params_by_option_name(name);
        EXPECT_NE(std::find(found.begin(), found.end(), param), found.end()) << name;
    }
}
