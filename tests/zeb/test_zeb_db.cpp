// SPDX-License-Identifier: Apache-2.0
// The three capability tables: defaults and the never-matching is_/supports_ on keys without a
// record, and a walk over every row of each table checking what must hold between rows and tables.
#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/ini/pgm_common_ini.h"
#include "pgm/zeb/platform/xml/pgm_common_xml_enum.h"
#include "pgm/zeb/zeb_db_util.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

// ---- Keys without a record -------------------------------------------------------------------------

// Every query goes through one search per kind of query; one getter of each kind per table shows
// that a key without a record gives the default and never matches.
TEST(ZebDbMissingKey, QueriesGiveDefaultsAndNeverMatch)
{
    for (int32_t value : {29, -1, 32, 1000})
    {
        const auto type = static_cast<ZEB_FILE_TYPE>(value);
        EXPECT_FALSE(ZEB_DB::get_enabled(type)) << value;
        EXPECT_FALSE(ZEB_DB::is_enabled(type, false)) << value;
        EXPECT_FALSE(ZEB_DB::is_description(type, "")) << value;
        EXPECT_TRUE(ZEB_DB::get_input_file_type(type).empty()) << value;
        EXPECT_FALSE(ZEB_DB::supports_input_file_type(type, FIO_FILE_TYPE_SOF)) << value;
    }
    for (int32_t value : {6, 9, 19, 25, -1})
    {
        const auto scheme = static_cast<PGMIO_CONFIG_SCHEME>(value);
        EXPECT_FALSE(ZEB_DB::is_enabled(scheme, false)) << value;
        EXPECT_FALSE(ZEB_DB::is_xml_enum(scheme, PGM_COMMON_XML_ENUM__INVALID__)) << value;
        for (ZEB_FILE_TYPE type : ZEB_DB::get_all_output_file_type_keys())
            EXPECT_FALSE(ZEB_DB::supports_output_file_type(scheme, type)) << value << " " << type;
    }
    for (int32_t value : {119, -1})
    {
        const auto param = static_cast<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM>(value);
        EXPECT_EQ(ZEB_DB::get_ini_type(param), 0u) << value;
        EXPECT_FALSE(ZEB_DB::is_ini_key(param, 0)) << value;
        EXPECT_FALSE(ZEB_DB::supports_exclusive_param(param, ZEB_CMD_PARAM_INVALID)) << value;
    }
    // A present parameter without switch has the key 0 of no switch.
    EXPECT_TRUE(ZEB_DB::is_ini_key(ZEB_CMD_PARAM_BITSTREAM_PATH_COMPRESSION, 0));
}

// ---- Every row of the output file type table ---------------------------------------------------------

// The XML value of each enabled type is a file type name of the schema, and every schema name but
// the older helper-image name (read as HELPER_RBF) names a type; that each value finds its own type
// back is proven by the look-up tests.
TEST(ZebDbFileTypeRows, XmlValuesNameSchemaFileTypes)
{
    // The schema's zebFileType list, whose size the schema test checks.
    std::set<std::string> schema;
    std::istringstream list("RBF|HEX|TTF|JIC|POF|RPD|PRRBF|CVP_CORE_RBF|HPS_CORE_RBF|PERIPH_RBF|PERIPH_JIC|PERIPH_POF|"
                            "PERIPH_RPD|MAP|SEC_RPD|JAM|JBC|SVF|EKP|QSPI_HELPER_RBF|HELPER_RBF|HELPER_RBF_CMD|SOF");
    for (std::string name; std::getline(list, name, '|');)
        schema.insert(name);
    std::set<std::string> named;
    for (ZEB_FILE_TYPE type : ZEB_DB::get_all_output_file_type_keys())
    {
        const PGM_COMMON_XML_ENUM xml = ZEB_DB::get_xml_enum(type);
        if (xml == PGM_COMMON_XML_ENUM__INVALID__)
            continue;
        const std::string name(pgm_common_xml_enum_name(xml));
        named.insert(name);
        EXPECT_TRUE(!ZEB_DB::get_enabled(type) || schema.count(name) == 1) << type;
    }
    for (const std::string& name : schema)
        EXPECT_EQ(named.count(name), name == "QSPI_HELPER_RBF" ? 0u : 1u) << name;
}

// Secondary, virtual, description, input, target and family columns agree with each other and
// with the other tables, as validation and file naming rely on.
TEST(ZebDbFileTypeRows, EveryRowFitsValidationAndNaming)
{
    std::set<DEV_FAMILY_ENUM> scheme_families;
    for (PGMIO_CONFIG_SCHEME scheme : ZEB_DB_UTIL::get_enabled_config_modes())
        for (DEV_FAMILY_ENUM family : ZEB_DB::get_config_device_family(scheme))
            scheme_families.insert(family);
    const std::vector<PGMIO_CONFIG_SCHEME> schemes = ZEB_DB::get_all_config_mode_keys();
    for (ZEB_FILE_TYPE type : ZEB_DB::get_all_output_file_type_keys())
    {
        SCOPED_TRACE(type);
        const bool enabled = ZEB_DB::get_enabled(type);
        for (ZEB_FILE_TYPE secondary : ZEB_DB::get_secondary_file_type(type))
            EXPECT_TRUE(ZEB_DB::get_secondary(secondary) && secondary != type) << secondary;
        EXPECT_FALSE(ZEB_DB::get_secondary(type) && enabled && !ZEB_DB_UTIL::has_parent(type));
        // Only the virtual types put suffixes into file names.
        const bool virtual_type = ZEB_DB::get_virtual_type(type);
        EXPECT_EQ(ZEB_DB::get_file_name_suffix(type).empty(), !virtual_type);
        EXPECT_EQ(ZEB_DB::get_child_file_name_suffix(type).empty(), !virtual_type);
        // The description ends with the extension written.
        const std::string description = ZEB_DB::get_description(type);
        const std::string tail = "(." + fio_get_extension_string(ZEB_DB::get_fio_ext_enum(type)) + ")";
        EXPECT_TRUE(tail != "(.)" && description.size() >= tail.size() &&
                    description.compare(description.size() - tail.size(), tail.size(), tail) == 0)
            << description;
        // Validation intersects the inputs of all outputs: a type written from an input accepts one.
        const bool takes_input = !ZEB_DB::get_secondary(type) && !ZEB_DB::get_no_input_file(type);
        EXPECT_FALSE(enabled && ZEB_DB::get_input_file_type(type).empty() == takes_input);
        const std::vector<DEV_FAMILY_ENUM> families = ZEB_DB::get_config_device_family(type);
        EXPECT_FALSE(ZEB_DB::get_require_flash_loader(type) && families.empty());
        for (DEV_FAMILY_ENUM family : families)
            EXPECT_EQ(scheme_families.count(family), 1u) << family;
        for (DEV_FAMILY_ENUM family : ZEB_DB::get_supported_family(type))
            EXPECT_TRUE(ZEB_DB_UTIL::is_supported_family(family)) << family;
        EXPECT_FALSE(ZEB_DB::get_file_category(type).empty() && enabled);
        if (!enabled)
            continue;
        // Mode-bound types are offered by some enabled scheme, the others by none.
        const bool offered =
            std::any_of(schemes.begin(), schemes.end(),
                        [type](PGMIO_CONFIG_SCHEME scheme)
                        { return ZEB_DB::get_enabled(scheme) && ZEB_DB::supports_output_file_type(scheme, type); });
        EXPECT_NE(offered, ZEB_DB::get_independent_of_mode(type));
        EXPECT_FALSE(ZEB_DB::get_cmd_only(type) && !ZEB_DB::get_independent_of_mode(type));
    }
}

// ---- Every row of the configuration scheme table -----------------------------------------------------

// XML values are modes, and only the three passive parallel widths share one; every output a
// scheme lists is enabled and mode-bound, and a flash programming file that an enabled scheme offers
// can target one of its families.
TEST(ZebDbSchemeRows, XmlValuesOutputListsAndFamilies)
{
    const std::set<std::string> modes = {"PS", "FPP", "ASX1", "ASX4", "AVSTX8", "AVSTX16", "AVSTX32", "INTERNAL"};
    std::map<PGM_COMMON_XML_ENUM, std::vector<int32_t>> owners;
    for (PGMIO_CONFIG_SCHEME scheme : ZEB_DB::get_all_config_mode_keys())
    {
        SCOPED_TRACE(scheme);
        const PGM_COMMON_XML_ENUM xml = ZEB_DB::get_xml_enum(scheme);
        EXPECT_EQ(xml != PGM_COMMON_XML_ENUM__INVALID__, ZEB_DB::get_enabled(scheme));
        const std::vector<ZEB_FILE_TYPE> outputs = ZEB_DB::get_output_file_type(scheme);
        EXPECT_FALSE(outputs.empty());
        for (ZEB_FILE_TYPE type : outputs)
            EXPECT_TRUE(ZEB_DB::get_enabled(type) && !ZEB_DB::get_independent_of_mode(type)) << type;
        if (xml == PGM_COMMON_XML_ENUM__INVALID__)
            continue;
        owners[xml].push_back(scheme);
        EXPECT_EQ(modes.count(std::string(pgm_common_xml_enum_name(xml))), 1u);
        for (ZEB_FILE_TYPE type : outputs)
        {
            const std::vector<DEV_FAMILY_ENUM> families = ZEB_DB::get_config_device_family(type);
            EXPECT_TRUE(families.empty() ||
                        std::any_of(families.begin(), families.end(),
                                    [scheme](DEV_FAMILY_ENUM family)
                                    { return ZEB_DB::supports_config_device_family(scheme, family); }))
                << type;
        }
    }
    EXPECT_EQ(owners.size(), modes.size());
    for (const auto& [xml, schemes] : owners)
        EXPECT_EQ(schemes.size(), xml == PGM_COMMON_XML_ENUM_FPP ? 3u : 1u) << xml;
    EXPECT_FALSE(ZEB_DB::supports_output_file_type(PGMIO_CONFIG_SCHEME_INTERNAL, ZEB_FILE_TYPE_RBF));
    EXPECT_TRUE(ZEB_DB::supports_output_file_type(PGMIO_CONFIG_SCHEME_AS_X4, ZEB_FILE_TYPE_HELPER_RBF_SECONDARY));
    EXPECT_FALSE(ZEB_DB::supports_output_file_type(PGMIO_CONFIG_SCHEME_AS, ZEB_FILE_TYPE_HELPER_RBF_SECONDARY));
}

// ---- Every row of the command parameter table --------------------------------------------------------

// Option names are unique but for the bit swap of three kinds; hidden parameters are enabled; a
// switch-gated parameter names a switch that exists, an ungated one none.
TEST(ZebDbCmdParamRows, OptionNamesHiddenAndSwitchGatedParams)
{
    std::map<std::string, int> uses;
    for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : ZEB_DB::get_all_cmd_param_type_keys())
    {
        if (!ZEB_DB::get_option_name(param).empty())
            ++uses[ZEB_DB::get_option_name(param)];
        EXPECT_FALSE(ZEB_DB::get_hidden(param) && !ZEB_DB::get_enabled(param)) << param;
        const PGM_COMMON_INI_TYPE type = ZEB_DB::get_ini_type(param);
        EXPECT_TRUE(ZEB_DB::get_enabled_by_ini(param)
                        ? PGM_COMMON_INI::find_keyed_switch(type, ZEB_DB::get_ini_key(param)) != nullptr
                        : type == PGM_COMMON_INI_TYPE_NONE && ZEB_DB::get_ini_key(param) == 0u)
            << param;
    }
    for (const auto& [name, count] : uses)
        EXPECT_EQ(count, name == "bitswap" ? 3 : 1) << name;
}

TEST(ZebDbCmdParamRows, ListColumnsReferToRealAndCompatibleEntries)
{
    for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : ZEB_DB::get_all_cmd_param_type_keys())
    {
        SCOPED_TRACE(param);
        const std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> dependent = ZEB_DB::get_dependent_param(param);
        const std::vector<PGM_COMMON_XML_ENUM> values = ZEB_DB::get_dependent_param_enum_value(param);
        EXPECT_TRUE(values.empty() || values.size() == dependent.size());
        for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM other : dependent)
        {
            EXPECT_NE(other, param);
            EXPECT_FALSE(ZEB_DB::supports_exclusive_param(param, other)) << other;
            // An offered parameter never needs one that cannot be given.
            EXPECT_TRUE(!ZEB_DB::get_enabled(param) || ZEB_DB::get_enabled(other)) << other;
        }
        for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM other : ZEB_DB::get_exclusive_param(param))
        {
            EXPECT_NE(other, param);
            EXPECT_TRUE(ZEB_DB::supports_exclusive_param(other, param)) << other;
        }
        for (ZEB_FILE_TYPE type : ZEB_DB::get_supported_output_file_type(param))
            EXPECT_TRUE(ZEB_DB::get_enabled(type)) << type;
        for (DEV_FAMILY_ENUM family : ZEB_DB::get_supported_family(param))
            EXPECT_TRUE(ZEB_DB_UTIL::is_supported_family(family)) << family;
        EXPECT_TRUE(ZEB_DB::get_excluded_family(param).empty());
    }
    EXPECT_TRUE(ZEB_DB::supports_dependent_param_enum_value(ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING_PEM_FILE,
                                                            PGM_COMMON_XML_ENUM_PEM));
}

TEST(ZebDbCmdParamRows, FileOptionParamsNameExactlyTheTypesWithOptions)
{
    std::set<int32_t> named;
    for (int32_t value = ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_DIRECTION;
         value <= ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_OPERATION; ++value)
    {
        const auto param = static_cast<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM>(value);
        if (!ZEB_DB::get_enabled(param))
            continue;
        for (ZEB_FILE_TYPE type : ZEB_DB::get_supported_output_file_type(param))
            named.insert(type);
    }
    std::set<int32_t> with_options;
    for (ZEB_FILE_TYPE type : ZEB_DB::get_all_output_file_type_keys())
        if (ZEB_DB::get_enabled(type) && ZEB_DB::get_has_option(type))
            with_options.insert(type);
    EXPECT_EQ(named, with_options);
}
