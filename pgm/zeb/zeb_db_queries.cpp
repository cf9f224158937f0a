// SPDX-License-Identifier: Apache-2.0
// ZEB_DB: the per-key queries over the three capability tables. Each is one search of the ordered
// table; a key without a record gives the field type's default (get_), or false (is_, supports_).
#include "pgm/zeb/zeb_db_tables.h"

#include <algorithm>
#include <type_traits>

namespace
{

template <typename KEY, typename RECORD, typename FIELD>
FIELD get_field(const ZEB_DB_TABLE<KEY, RECORD>& table, int32_t key, FIELD RECORD::*member)
{
    const RECORD* record = table.find(key);
    return record != nullptr ? record->*member : FIELD{};
}

// Strings compare byte for byte. A missing key never matches, whatever the value.
template <typename KEY, typename RECORD, typename FIELD>
bool is_field(const ZEB_DB_TABLE<KEY, RECORD>& table, int32_t key, FIELD RECORD::*member,
              const std::type_identity_t<FIELD>& value)
{
    const RECORD* record = table.find(key);
    return record != nullptr && record->*member == value;
}

template <typename KEY, typename RECORD, typename ELEMENT>
bool supports_field(const ZEB_DB_TABLE<KEY, RECORD>& table, int32_t key, std::vector<ELEMENT> RECORD::*member,
                    std::type_identity_t<ELEMENT> element)
{
    const RECORD* record = table.find(key);
    if (record == nullptr)
        return false;
    const std::vector<ELEMENT>& list = record->*member;
    return std::find(list.begin(), list.end(), element) != list.end();
}

const ZEB_DB_TABLE<ZEB_FILE_TYPE, ZebFileTypeRecord>& file_types()
{
    return zeb_db_file_type_table();
}

const ZEB_DB_TABLE<PGMIO_CONFIG_SCHEME, ZebConfigSchemeRecord>& schemes()
{
    return zeb_db_config_scheme_table();
}

const ZEB_DB_TABLE<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM, ZebCmdParamRecord>& params()
{
    return zeb_db_cmd_param_table();
}

} // namespace

// ---- Output file types ----------------------------------------------------------------------
std::vector<ZEB_FILE_TYPE> ZEB_DB::get_all_output_file_type_keys()
{
    return file_types().keys;
}

bool ZEB_DB::get_enabled(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::enabled);
}

bool ZEB_DB::is_enabled(ZEB_FILE_TYPE type, bool value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::enabled, value);
}

bool ZEB_DB::get_virtual_type(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::virtual_type);
}

bool ZEB_DB::is_virtual_type(ZEB_FILE_TYPE type, bool value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::virtual_type, value);
}

bool ZEB_DB::get_secondary(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::secondary);
}

bool ZEB_DB::is_secondary(ZEB_FILE_TYPE type, bool value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::secondary, value);
}

bool ZEB_DB::get_cmd_only(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::cmd_only);
}

bool ZEB_DB::is_cmd_only(ZEB_FILE_TYPE type, bool value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::cmd_only, value);
}

bool ZEB_DB::get_independent_of_mode(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::independent_of_mode);
}

bool ZEB_DB::is_independent_of_mode(ZEB_FILE_TYPE type, bool value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::independent_of_mode, value);
}

bool ZEB_DB::get_default_checked_state(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::default_checked_state);
}

bool ZEB_DB::is_default_checked_state(ZEB_FILE_TYPE type, bool value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::default_checked_state, value);
}

bool ZEB_DB::get_no_input_file(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::no_input_file);
}

bool ZEB_DB::is_no_input_file(ZEB_FILE_TYPE type, bool value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::no_input_file, value);
}

bool ZEB_DB::get_require_flash_loader(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::require_flash_loader);
}

bool ZEB_DB::is_require_flash_loader(ZEB_FILE_TYPE type, bool value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::require_flash_loader, value);
}

bool ZEB_DB::get_has_option(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::has_option);
}

bool ZEB_DB::is_has_option(ZEB_FILE_TYPE type, bool value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::has_option, value);
}

PGM_COMMON_XML_ENUM ZEB_DB::get_xml_enum(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::xml_enum);
}

bool ZEB_DB::is_xml_enum(ZEB_FILE_TYPE type, PGM_COMMON_XML_ENUM value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::xml_enum, value);
}

FIO_EXTENSION_TYPE ZEB_DB::get_fio_ext_enum(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::fio_ext_enum);
}

bool ZEB_DB::is_fio_ext_enum(ZEB_FILE_TYPE type, FIO_EXTENSION_TYPE value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::fio_ext_enum, value);
}

std::string ZEB_DB::get_description(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::description);
}

bool ZEB_DB::is_description(ZEB_FILE_TYPE type, const std::string& value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::description, value);
}

std::string ZEB_DB::get_tooltip(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::tooltip);
}

bool ZEB_DB::is_tooltip(ZEB_FILE_TYPE type, const std::string& value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::tooltip, value);
}

std::string ZEB_DB::get_file_name_suffix(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::file_name_suffix);
}

bool ZEB_DB::is_file_name_suffix(ZEB_FILE_TYPE type, const std::string& value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::file_name_suffix, value);
}

std::string ZEB_DB::get_child_file_name_suffix(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::child_file_name_suffix);
}

bool ZEB_DB::is_child_file_name_suffix(ZEB_FILE_TYPE type, const std::string& value)
{
    return is_field(file_types(), type, &ZebFileTypeRecord::child_file_name_suffix, value);
}

std::vector<ZEB_FILE_TYPE> ZEB_DB::get_secondary_file_type(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::secondary_file_type);
}

bool ZEB_DB::supports_secondary_file_type(ZEB_FILE_TYPE type, ZEB_FILE_TYPE element)
{
    return supports_field(file_types(), type, &ZebFileTypeRecord::secondary_file_type, element);
}

std::vector<FIO_FILE_TYPE> ZEB_DB::get_input_file_type(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::input_file_type);
}

bool ZEB_DB::supports_input_file_type(ZEB_FILE_TYPE type, FIO_FILE_TYPE element)
{
    return supports_field(file_types(), type, &ZebFileTypeRecord::input_file_type, element);
}

std::vector<DEV_FAMILY_ENUM> ZEB_DB::get_config_device_family(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::config_device_family);
}

bool ZEB_DB::supports_config_device_family(ZEB_FILE_TYPE type, DEV_FAMILY_ENUM element)
{
    return supports_field(file_types(), type, &ZebFileTypeRecord::config_device_family, element);
}

std::vector<DEV_FAMILY_ENUM> ZEB_DB::get_supported_family(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::supported_family);
}

bool ZEB_DB::supports_supported_family(ZEB_FILE_TYPE type, DEV_FAMILY_ENUM element)
{
    return supports_field(file_types(), type, &ZebFileTypeRecord::supported_family, element);
}

std::vector<DEV_FAMILY_ENUM> ZEB_DB::get_excluded_family(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::excluded_family);
}

bool ZEB_DB::supports_excluded_family(ZEB_FILE_TYPE type, DEV_FAMILY_ENUM element)
{
    return supports_field(file_types(), type, &ZebFileTypeRecord::excluded_family, element);
}

std::vector<ZEB_FILE_CATEGORY> ZEB_DB::get_file_category(ZEB_FILE_TYPE type)
{
    return get_field(file_types(), type, &ZebFileTypeRecord::file_category);
}

bool ZEB_DB::supports_file_category(ZEB_FILE_TYPE type, ZEB_FILE_CATEGORY element)
{
    return supports_field(file_types(), type, &ZebFileTypeRecord::file_category, element);
}

// ---- Configuration schemes ------------------------------------------------------------------
std::vector<PGMIO_CONFIG_SCHEME> ZEB_DB::get_all_config_mode_keys()
{
    return schemes().keys;
}

bool ZEB_DB::get_enabled(PGMIO_CONFIG_SCHEME scheme)
{
    return get_field(schemes(), scheme, &ZebConfigSchemeRecord::enabled);
}

bool ZEB_DB::is_enabled(PGMIO_CONFIG_SCHEME scheme, bool value)
{
    return is_field(schemes(), scheme, &ZebConfigSchemeRecord::enabled, value);
}

PGM_COMMON_XML_ENUM ZEB_DB::get_xml_enum(PGMIO_CONFIG_SCHEME scheme)
{
    return get_field(schemes(), scheme, &ZebConfigSchemeRecord::xml_enum);
}

bool ZEB_DB::is_xml_enum(PGMIO_CONFIG_SCHEME scheme, PGM_COMMON_XML_ENUM value)
{
    return is_field(schemes(), scheme, &ZebConfigSchemeRecord::xml_enum, value);
}

std::vector<DEV_FAMILY_ENUM> ZEB_DB::get_config_device_family(PGMIO_CONFIG_SCHEME scheme)
{
    return get_field(schemes(), scheme, &ZebConfigSchemeRecord::config_device_family);
}

bool ZEB_DB::supports_config_device_family(PGMIO_CONFIG_SCHEME scheme, DEV_FAMILY_ENUM element)
{
    return supports_field(schemes(), scheme, &ZebConfigSchemeRecord::config_device_family, element);
}

std::vector<ZEB_FILE_TYPE> ZEB_DB::get_output_file_type(PGMIO_CONFIG_SCHEME scheme)
{
    return get_field(schemes(), scheme, &ZebConfigSchemeRecord::output_file_type);
}

bool ZEB_DB::supports_output_file_type(PGMIO_CONFIG_SCHEME scheme, ZEB_FILE_TYPE element)
{
    return supports_field(schemes(), scheme, &ZebConfigSchemeRecord::output_file_type, element);
}

// ---- Command parameters ---------------------------------------------------------------------
std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> ZEB_DB::get_all_cmd_param_type_keys()
{
    return params().keys;
}

bool ZEB_DB::get_enabled(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    return get_field(params(), param, &ZebCmdParamRecord::enabled);
}

bool ZEB_DB::is_enabled(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, bool value)
{
    return is_field(params(), param, &ZebCmdParamRecord::enabled, value);
}

bool ZEB_DB::get_hidden(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    return get_field(params(), param, &ZebCmdParamRecord::hidden);
}

bool ZEB_DB::is_hidden(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, bool value)
{
    return is_field(params(), param, &ZebCmdParamRecord::hidden, value);
}

bool ZEB_DB::get_enabled_by_ini(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    return get_field(params(), param, &ZebCmdParamRecord::enabled_by_ini);
}

bool ZEB_DB::is_enabled_by_ini(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, bool value)
{
    return is_field(params(), param, &ZebCmdParamRecord::enabled_by_ini, value);
}

uint32_t ZEB_DB::get_ini_key(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    return get_field(params(), param, &ZebCmdParamRecord::ini_key);
}

bool ZEB_DB::is_ini_key(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, uint32_t value)
{
    return is_field(params(), param, &ZebCmdParamRecord::ini_key, value);
}

PGM_COMMON_INI_TYPE ZEB_DB::get_ini_type(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    return get_field(params(), param, &ZebCmdParamRecord::ini_type);
}

bool ZEB_DB::is_ini_type(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, PGM_COMMON_INI_TYPE value)
{
    return is_field(params(), param, &ZebCmdParamRecord::ini_type, value);
}

std::string ZEB_DB::get_description(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    return get_field(params(), param, &ZebCmdParamRecord::description);
}

bool ZEB_DB::is_description(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, const std::string& value)
{
    return is_field(params(), param, &ZebCmdParamRecord::description, value);
}

std::string ZEB_DB::get_option_name(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    return get_field(params(), param, &ZebCmdParamRecord::option_name);
}

bool ZEB_DB::is_option_name(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, const std::string& value)
{
    return is_field(params(), param, &ZebCmdParamRecord::option_name, value);
}

std::vector<DEV_FAMILY_ENUM> ZEB_DB::get_supported_family(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    return get_field(params(), param, &ZebCmdParamRecord::supported_family);
}

bool ZEB_DB::supports_supported_family(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, DEV_FAMILY_ENUM element)
{
    return supports_field(params(), param, &ZebCmdParamRecord::supported_family, element);
}

std::vector<DEV_FAMILY_ENUM> ZEB_DB::get_excluded_family(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    return get_field(params(), param, &ZebCmdParamRecord::excluded_family);
}

bool ZEB_DB::supports_excluded_family(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, DEV_FAMILY_ENUM element)
{
    return supports_field(params(), param, &ZebCmdParamRecord::excluded_family, element);
}

std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> ZEB_DB::get_dependent_param(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    return get_field(params(), param, &ZebCmdParamRecord::dependent_param);
}

bool ZEB_DB::supports_dependent_param(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param,
                                      PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM element)
{
    return supports_field(params(), param, &ZebCmdParamRecord::dependent_param, element);
}

std::vector<PGM_COMMON_XML_ENUM> ZEB_DB::get_dependent_param_enum_value(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    return get_field(params(), param, &ZebCmdParamRecord::dependent_param_enum_value);
}

bool ZEB_DB::supports_dependent_param_enum_value(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, PGM_COMMON_XML_ENUM element)
{
    return supports_field(params(), param, &ZebCmdParamRecord::dependent_param_enum_value, element);
}

std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> ZEB_DB::get_exclusive_param(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    return get_field(params(), param, &ZebCmdParamRecord::exclusive_param);
}

bool ZEB_DB::supports_exclusive_param(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param,
                                      PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM element)
{
    return supports_field(params(), param, &ZebCmdParamRecord::exclusive_param, element);
}

std::vector<FIO_FILE_TYPE> ZEB_DB::get_supported_input_file_type(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    return get_field(params(), param, &ZebCmdParamRecord::supported_input_file_type);
}

bool ZEB_DB::supports_supported_input_file_type(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, FIO_FILE_TYPE element)
{
    return supports_field(params(), param, &ZebCmdParamRecord::supported_input_file_type, element);
}

std::vector<ZEB_FILE_TYPE> ZEB_DB::get_supported_output_file_type(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    return get_field(params(), param, &ZebCmdParamRecord::supported_output_file_type);
}

bool ZEB_DB::supports_supported_output_file_type(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, ZEB_FILE_TYPE element)
{
    return supports_field(params(), param, &ZebCmdParamRecord::supported_output_file_type, element);
}
