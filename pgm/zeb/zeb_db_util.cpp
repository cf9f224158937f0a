// SPDX-License-Identifier: Apache-2.0
// ZEB_DB_UTIL: questions across several records of the capability database, the display names of
// the configuration schemes and the names of the command parameters.
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/zeb_db_tables.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

namespace
{

// The "common" procedure: walk the types in order; a type whose list is empty restricts nothing
// and is skipped; the first non-empty list (or the first after the result became empty) is taken
// as it is, every later one is intersected with the result. The result stays sorted ascending.
template <typename ELEMENT>
std::vector<ELEMENT> common_of(const std::vector<ZEB_FILE_TYPE>& types, std::vector<ELEMENT> (*list_of)(ZEB_FILE_TYPE))
{
    std::vector<ELEMENT> result;
    for (ZEB_FILE_TYPE type : types)
    {
        std::vector<ELEMENT> list = list_of(type);
        std::sort(list.begin(), list.end());
        if (list.empty())
            continue;
        if (result.empty())
        {
            result = std::move(list);
            continue;
        }
        std::vector<ELEMENT> both;
        std::set_intersection(result.begin(), result.end(), list.begin(), list.end(), std::back_inserter(both));
        result = std::move(both);
    }
    return result;
}

// A set of family values as one bit per value over the range [low, high]. Values outside the range
// are never members; inside it a member's bit is set.
struct FAMILY_BIT_SET
{
    uint32_t low = 0;
    uint32_t high = 0;
    uint64_t bits = 0;

    constexpr FAMILY_BIT_SET(std::initializer_list<DEV_FAMILY_ENUM> members)
    {
        low = *std::min_element(members.begin(), members.end());
        high = *std::max_element(members.begin(), members.end());
        for (DEV_FAMILY_ENUM family : members)
            bits |= uint64_t{1} << (family - low);
    }

    constexpr bool contains(DEV_FAMILY_ENUM family) const
    {
        return family >= low && family <= high && ((bits >> (family - low)) & 1u) != 0;
    }
};

constexpr FAMILY_BIT_SET CONFIGURATION_FAMILIES = {
    DEV_FAMILY_VIVERI, DEV_FAMILY_GADOGO, DEV_FAMILY_NADERE, DEV_FAMILY_BILOSA_CFI, DEV_FAMILY_KUVINO,
};
static_assert(CONFIGURATION_FAMILIES.high - CONFIGURATION_FAMILIES.low < 64);

constexpr FAMILY_BIT_SET SUPPORTED_FAMILIES = {
    DEV_FAMILY_VIVERI, DEV_FAMILY_ZUVOKO, DEV_FAMILY_ZIZIRA, DEV_FAMILY_ZATATA, DEV_FAMILY_RERATI, DEV_FAMILY_MOZOKA,
};
static_assert(SUPPORTED_FAMILIES.high - SUPPORTED_FAMILIES.low < 64);

// Index into the 26 scheme names: the value itself for 0..24, 25 for anything else.
std::size_t scheme_name_index(PGMIO_CONFIG_SCHEME scheme)
{
    return scheme >= 0 && scheme < PGMIO_CONFIG_SCHEME_ILLEGAL ? static_cast<std::size_t>(scheme)
                                                               : std::size_t{PGMIO_CONFIG_SCHEME_ILLEGAL};
}

} // namespace

std::vector<DEV_FAMILY_ENUM> ZEB_DB_UTIL::get_common_config_device_families(const std::vector<ZEB_FILE_TYPE>& types)
{
    return common_of<DEV_FAMILY_ENUM>(types, &ZEB_DB::get_config_device_family);
}

std::vector<ZEB_FILE_CATEGORY> ZEB_DB_UTIL::get_common_file_categories(const std::vector<ZEB_FILE_TYPE>& types)
{
    return common_of<ZEB_FILE_CATEGORY>(types, &ZEB_DB::get_file_category);
}

std::vector<FIO_FILE_TYPE> ZEB_DB_UTIL::get_common_input_file_types(const std::vector<ZEB_FILE_TYPE>& types)
{
    return common_of<FIO_FILE_TYPE>(types, &ZEB_DB::get_input_file_type);
}

std::vector<ZEB_FILE_TYPE> ZEB_DB_UTIL::get_common_secondary_file_types(const std::vector<ZEB_FILE_TYPE>& types)
{
    return common_of<ZEB_FILE_TYPE>(types, &ZEB_DB::get_secondary_file_type);
}

std::vector<ZEB_FILE_TYPE> ZEB_DB_UTIL::get_primary_file_types(const std::vector<ZEB_FILE_TYPE>& types)
{
    const std::vector<ZEB_FILE_TYPE> secondary = get_common_secondary_file_types(types);
    std::vector<ZEB_FILE_TYPE> primary;
    for (ZEB_FILE_TYPE type : types)
        if (std::find(secondary.begin(), secondary.end(), type) == secondary.end())
            primary.push_back(type);
    return primary;
}

std::vector<PGMIO_CONFIG_SCHEME> ZEB_DB_UTIL::get_enabled_config_modes()
{
    std::vector<PGMIO_CONFIG_SCHEME> enabled;
    for (PGMIO_CONFIG_SCHEME scheme : ZEB_DB::get_all_config_mode_keys())
        if (ZEB_DB::get_enabled(scheme))
            enabled.push_back(scheme);
    return enabled;
}

namespace
{

// The last file type in key order whose `field` equals `value`; ZEB_FILE_TYPE_NONE when none does.
template <typename VALUE> ZEB_FILE_TYPE last_type_with(VALUE (*field)(ZEB_FILE_TYPE), VALUE value)
{
    ZEB_FILE_TYPE found = ZEB_FILE_TYPE_NONE;
    for (ZEB_FILE_TYPE type : ZEB_DB::get_all_output_file_type_keys())
        if (field(type) == value)
            found = type;
    return found;
}

} // namespace

// Several types share an extension (three write ".rpd", five ".rbf"); the last one in key order
// is the answer, which front ends and the setter rely on.
ZEB_FILE_TYPE ZEB_DB_UTIL::get_zeb_file_type_enum(FIO_EXTENSION_TYPE extension)
{
    return last_type_with<FIO_EXTENSION_TYPE>(&ZEB_DB::get_fio_ext_enum, extension);
}

// Last match in key order, as for extensions; the value 0 is shared by every type that a setup
// document cannot hold.
ZEB_FILE_TYPE ZEB_DB_UTIL::get_zeb_file_type_enum(PGM_COMMON_XML_ENUM xml_enum)
{
    return last_type_with<PGM_COMMON_XML_ENUM>(&ZEB_DB::get_xml_enum, xml_enum);
}

bool ZEB_DB_UTIL::has_parent(ZEB_FILE_TYPE type)
{
    for (ZEB_FILE_TYPE parent : ZEB_DB::get_all_output_file_type_keys())
        if (ZEB_DB::supports_secondary_file_type(parent, type))
            return true;
    return false;
}

bool ZEB_DB_UTIL::is_configuration_family(DEV_FAMILY_ENUM family)
{
    return CONFIGURATION_FAMILIES.contains(family);
}

bool ZEB_DB_UTIL::is_supported_family(DEV_FAMILY_ENUM family)
{
    return SUPPORTED_FAMILIES.contains(family);
}

bool ZEB_DB_UTIL::is_supported_file_category(ZEB_FILE_TYPE type, ZEB_FILE_CATEGORY category)
{
    const std::vector<ZEB_FILE_CATEGORY> categories = ZEB_DB::get_file_category(type);
    return std::find(categories.begin(), categories.end(), category) != categories.end();
}

bool ZEB_DB_UTIL::param_enabled_by_ini(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    if (!ZEB_DB::is_enabled_by_ini(param, true))
        return true;
    const uint32_t key = ZEB_DB::get_ini_key(param);
    const PGM_COMMON_INI_TYPE type = ZEB_DB::get_ini_type(param);
    if (type == PGM_COMMON_INI_TYPE_BOOLEAN)
        return PGM_COMMON_INI::get_boolean(key, false);
    // An encrypted boolean is honoured under its current and its legacy name.
    if (type == PGM_COMMON_INI_TYPE_ENCRYPTED_BOOLEAN)
        return PGM_COMMON_INI::get_encrypted_boolean(key, false, true) ||
               PGM_COMMON_INI::get_encrypted_boolean(key, false, false);
    if (type != PGM_COMMON_INI_TYPE_ENCRYPTED_TIMING_BOOLEAN)
        MSG_INTERNAL_ERROR_AT("Found unsupported ini type", "ZEB_COMMON", "zeb_db_util");
    return PGM_COMMON_INI::get_encrypted_timing_boolean(key, false, true, true, nullptr, nullptr);
}

std::string ZEB_DB_UTIL::get_config_scheme_name(PGMIO_CONFIG_SCHEME scheme)
{
    return ZEB_DB_CONFIG_SCHEME_NAMES[scheme_name_index(scheme)];
}

const std::array<std::string_view, ZEB_CMD_PARAM_COUNT>& ZEB_DB_UTIL::get_cmd_param_enum_names()
{
    return ZEB_DB_CMD_PARAM_ENUM_NAMES;
}

std::string ZEB_DB_UTIL::get_cmd_param_enum_name(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    if (param < 0 || param >= ZEB_CMD_PARAM_COUNT)
        return {};
    return std::string(ZEB_DB_CMD_PARAM_ENUM_NAMES[static_cast<std::size_t>(param)]);
}

std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> ZEB_DB_UTIL::find_cmd_params_by_option_name(std::string_view option_name)
{
    std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> found;
    if (option_name.empty())
        return found;
    for (int32_t value = 0; value < ZEB_CMD_PARAM_COUNT; ++value)
    {
        const auto param = static_cast<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM>(value);
        if (ZEB_DB::is_option_name(param, std::string(option_name)))
            found.push_back(param);
    }
    return found;
}
