// SPDX-License-Identifier: Apache-2.0
// ZEB_DB_UTIL: the "common" list functions, the look-ups by extension and XML value with their
// last-match tie-break, the family bit sets at their edges, the switch-gated parameters and the
// names that front ends print.
#include "pgm/zeb/platform/ini/pgm_common_ini.h"
#include "pgm/zeb/zeb_db_util.h"

#include <gtest/gtest.h>

#include <cstdint>
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

TEST(ZebDbUtilFileTypeLookup, SharedValuesResolveToTheLastTypeInKeyOrder)
{
    const std::pair<FIO_EXTENSION_TYPE, ZEB_FILE_TYPE> by_extension[] = {
        {FIO_EXTENSION_TYPE_POF, ZEB_FILE_TYPE_POF_PERIPHERY},
        {FIO_EXTENSION_TYPE_HEXOUT, ZEB_FILE_TYPE_HEXOUT_CONFIG_DEVICE},
        {FIO_EXTENSION_TYPE_RBF, ZEB_FILE_TYPE_HELPER_RBF},
        {FIO_EXTENSION_TYPE_PMSF, ZEB_FILE_TYPE_MERGED_PMSF},
        {FIO_EXTENSION_TYPE_RPD, ZEB_FILE_TYPE_RPD_SECONDARY}, // 26 comes before 21 in key order
        {FIO_EXTENSION_TYPE_JIC, ZEB_FILE_TYPE_JIC_PERIPHERY},
        {FIO_EXTENSION_TYPE_SOF, ZEB_FILE_TYPE_SOF},
        {FIO_EXTENSION_TYPE_HEX, ZEB_FILE_TYPE_NONE},
        {FIO_EXTENSION_TYPE_NONE, ZEB_FILE_TYPE_NONE},
    };
    for (const auto& [extension, type] : by_extension)
        EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(extension), type) << extension;
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(PGM_COMMON_XML_ENUM_QSPI_HELPER_RBF), ZEB_FILE_TYPE_NONE);
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILE), ZEB_FILE_TYPE_NONE);
    // XML value zero is the last type without a document form; every other value finds its type.
    EXPECT_EQ(ZEB_DB_UTIL::get_zeb_file_type_enum(PGM_COMMON_XML_ENUM__INVALID__), ZEB_FILE_TYPE_HEXOUT_CONFIG_DEVICE);
    for (ZEB_FILE_TYPE type : ZEB_DB::get_all_output_file_type_keys())
    {
        const PGM_COMMON_XML_ENUM xml = ZEB_DB::get_xml_enum(type);
        EXPECT_TRUE(xml == PGM_COMMON_XML_ENUM__INVALID__ || ZEB_DB_UTIL::get_zeb_file_type_enum(xml) == type) << type;
    }
}

// ---- The "common" functions ------------------------------------------------------------------------

// Empty input gives empty results; an empty list restricts nothing, an emptied result is filled
// again by the next list, and results are sorted.
TEST(ZebDbUtilCommon, IntersectionsAndPrimaryTypesOfTheTypesLists)
{
    EXPECT_TRUE(ZEB_DB_UTIL::get_common_config_device_families({}).empty());
    EXPECT_TRUE(ZEB_DB_UTIL::get_common_file_categories({}).empty());
    EXPECT_TRUE(ZEB_DB_UTIL::get_common_input_file_types({}).empty());
    EXPECT_TRUE(ZEB_DB_UTIL::get_common_secondary_file_types({}).empty());
    EXPECT_TRUE(ZEB_DB_UTIL::get_primary_file_types({}).empty());
    // RBF names no family; POF's own list is not in ascending order.
    EXPECT_EQ(as_ints(ZEB_DB_UTIL::get_common_config_device_families({ZEB_FILE_TYPE_RBF, ZEB_FILE_TYPE_POF})),
              (std::vector<int32_t>{10, 37, 67}));
    EXPECT_EQ(as_ints(ZEB_DB_UTIL::get_common_config_device_families({ZEB_FILE_TYPE_POF, ZEB_FILE_TYPE_JIC})),
              (std::vector<int32_t>{10}));
    EXPECT_TRUE(ZEB_DB_UTIL::get_common_config_device_families({ZEB_FILE_TYPE_RBF, ZEB_FILE_TYPE_TTF}).empty());
    EXPECT_EQ(
        as_ints(ZEB_DB_UTIL::get_common_input_file_types({ZEB_FILE_TYPE_JIC, ZEB_FILE_TYPE_MAP, ZEB_FILE_TYPE_RPD})),
        (std::vector<int32_t>{75, 85}));
    // The raw binary's and the memory map's categories are disjoint; the JAM file's then refill.
    EXPECT_EQ(ZEB_DB_UTIL::get_common_file_categories({ZEB_FILE_TYPE_RBF, ZEB_FILE_TYPE_MAP, ZEB_FILE_TYPE_JAM}),
              ZEB_DB::get_file_category(ZEB_FILE_TYPE_JAM));
    EXPECT_TRUE(ZEB_DB_UTIL::get_common_file_categories({ZEB_FILE_TYPE_RBF, ZEB_FILE_TYPE_MAP}).empty());
    EXPECT_EQ(as_ints(ZEB_DB_UTIL::get_common_file_categories({ZEB_FILE_TYPE_RBF, ZEB_FILE_TYPE_TTF})),
              (std::vector<int32_t>{0, 1, 11, 12}));
    // The primary types are those that are not among the common secondaries.
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
    // That every enabled secondary type has a parent is proven by the walk over the table.
    EXPECT_FALSE(ZEB_DB_UTIL::has_parent(ZEB_FILE_TYPE_JIC));
    EXPECT_FALSE(ZEB_DB_UTIL::has_parent(ZEB_FILE_TYPE_NONE));
    EXPECT_TRUE(ZEB_DB_UTIL::is_supported_file_category(ZEB_FILE_TYPE_TTF, ZEB_FILE_CATEGORY_PASSIVE_SERIAL_HOST));
    EXPECT_FALSE(ZEB_DB_UTIL::is_supported_file_category(ZEB_FILE_TYPE_JIC, ZEB_FILE_CATEGORY_PASSIVE_SERIAL_HOST));
    EXPECT_FALSE(
        ZEB_DB_UTIL::is_supported_file_category(static_cast<ZEB_FILE_TYPE>(29), ZEB_FILE_CATEGORY_CONFIGURATION_DATA));
}

// Members, their neighbours, zero, one past the range, 64 above the low end (a shift by 64), the
// maximum, and the number of members below 300.
TEST(ZebDbUtilFamilies, FamilySetsAtTheEdgesOfTheirRange)
{
    struct SET
    {
        bool (*contains)(DEV_FAMILY_ENUM);
        std::vector<uint32_t> members;
        std::vector<uint32_t> others;
    };
    const SET sets[] = {
        {ZEB_DB_UTIL::is_configuration_family,
         {10, 22, 23, 37, 64},
         {0, 9, 11, 21, 24, 36, 38, 63, 65, 67, 74, 128, ~0u}},
        {ZEB_DB_UTIL::is_supported_family, {10, 16, 25, 44, 45, 67}, {0, 9, 11, 15, 37, 46, 64, 66, 68, 74, 77, ~0u}},
    };
    for (const SET& set : sets)
    {
        for (uint32_t family : set.members)
            EXPECT_TRUE(set.contains(static_cast<DEV_FAMILY_ENUM>(family))) << family;
        for (uint32_t family : set.others)
            EXPECT_FALSE(set.contains(static_cast<DEV_FAMILY_ENUM>(family))) << family;
        size_t members = 0;
        for (uint32_t family = 0; family < 300; ++family)
            members += set.contains(static_cast<DEV_FAMILY_ENUM>(family)) ? 1 : 0;
        EXPECT_EQ(members, set.members.size());
    }
}

// ---- Switch-gated parameters -----------------------------------------------------------------------

class ZebDbUtilSwitches : public ::testing::Test
{
protected:
    void SetUp() override { PGM_COMMON_INI::reload(); }
    void TearDown() override { PGM_COMMON_INI::reload(); }
};

// Ungated and unknown parameters are always offered; a plain switch gates its parameters (one
// switch gates three; the power-on scheme has its own); the encrypted switch is honoured under
// either name; an expired timing switch reads as off.
TEST_F(ZebDbUtilSwitches, SwitchesGateTheirParams)
{
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_BITSTREAM_PATH_COMPRESSION));
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_INVALID));
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(static_cast<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM>(119)));

    EXPECT_FALSE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_SPI_MODE));
    PGM_COMMON_INI::set_value("ZEB_ENABLE_BOOT_CONTROL_OPTIONS", "ON");
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_SPI_MODE));
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_FLASH_DEVICE_FALLBACK_ADDRESS));
    EXPECT_FALSE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_FLASH_DEVICE_POWER_ON_SCHEME));

    EXPECT_FALSE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE));
    PGM_COMMON_INI::set_value("ZEB_RSU_APP_IMAGE_UPGRADE", "ON");
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE));
    PGM_COMMON_INI::reload();
    PGM_COMMON_INI::set_value("ZEB_ENABLE_RSU_APP_IMAGE_OPTIONS", "ON");
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE_ONLY));

    const std::string timing = "ZEB_ENABLE_TEST_MODE_OPTIONS";
    PGM_COMMON_INI::set_value(timing, "ON@2000-01-01");
    EXPECT_FALSE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_TEST));
    PGM_COMMON_INI::set_value(timing, "ON");
    EXPECT_TRUE(ZEB_DB_UTIL::param_enabled_by_ini(ZEB_CMD_PARAM_FLASH_DEVICE_DISABLE_TEST));
}

// ---- Names -----------------------------------------------------------------------------------------

// That every option name finds its parameter is proven through the command line, which looks up
// each one; here the shared name, disabled parameters and near misses.
TEST(ZebDbUtilNames, OptionNamesFindEveryParamThatCarriesThem)
{
    EXPECT_EQ(as_ints(ZEB_DB_UTIL::find_cmd_params_by_option_name("bitswap")), (std::vector<int32_t>{2, 15, 21}));
    // Disabled parameters are found too; the caller decides what to say about them.
    EXPECT_EQ(as_ints(ZEB_DB_UTIL::find_cmd_params_by_option_name("key2")), (std::vector<int32_t>{83}));
    for (const char* near : {"", "BITSWAP", "no_jtag_"})
        EXPECT_TRUE(ZEB_DB_UTIL::find_cmd_params_by_option_name(near).empty()) << near;
}
