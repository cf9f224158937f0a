// SPDX-License-Identifier: Apache-2.0
// What the web editor offers, read from the capability database and the device catalogues: modes
// with their output file types, secondary files, flash devices, and the options of each element
// narrowed to the device and output type at hand. The page shows nothing that is not listed here.
#include "cli_options.h"
#include "cmd_serve.h"

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/pgmio/pgmio_info.h"
#include "pgm/zeb/platform/xml/pgm_common_xml_enum.h"
#include "pgm/zeb/zeb_file_assistant.h"

#include <algorithm>

namespace
{

const char* kind_name(CLI_VALUE_KIND kind)
{
    switch (kind)
    {
    case CLI_VALUE_KIND::FLAG:
        return "flag";
    case CLI_VALUE_KIND::WORD:
        return "word";
    case CLI_VALUE_KIND::NUMBER:
        return "number";
    case CLI_VALUE_KIND::ADDRESS:
        return "address";
    case CLI_VALUE_KIND::TEXT:
        break;
    }
    return "text";
}

template <class T> bool contains(const std::vector<T>& list, T value)
{
    return std::find(list.begin(), list.end(), value) != list.end();
}

nlohmann::json param_names(const std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM>& params)
{
    nlohmann::json names = nlohmann::json::array();
    for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : params)
        names.push_back(ZEB_DB_UTIL::get_cmd_param_enum_name(param));
    return names;
}

// The output file types a document may hold and save: enabled, real, not command-line only.
bool offered(ZEB_FILE_TYPE type)
{
    return ZEB_DB::get_enabled(type) && !ZEB_DB::get_virtual_type(type) && !ZEB_DB::get_cmd_only(type);
}

nlohmann::json output_type_json(ZEB_FILE_TYPE type)
{
    nlohmann::json secondary = nlohmann::json::array();
    for (ZEB_FILE_TYPE child : ZEB_DB::get_secondary_file_type(type))
        if (ZEB_DB::get_enabled(child))
            secondary.push_back(static_cast<int>(child));
    return {{"type", static_cast<int>(type)},
            {"word", std::string(pgm_common_xml_enum_name(ZEB_DB::get_xml_enum(type)))},
            {"description", ZEB_DB::get_description(type)},
            {"tooltip", ZEB_DB::get_tooltip(type)},
            {"extension", fio_get_extension_string(ZEB_DB::get_fio_ext_enum(type))},
            {"flash", !ZEB_DB::get_config_device_family(type).empty()},
            {"flash_loader", ZEB_DB::get_require_flash_loader(type)},
            {"secondary", secondary}};
}

// The family of the device that an input file targets; DEV_FAMILY_INVALID when it names none.
DEV_FAMILY_ENUM input_family(const SERVE_SESSION& session, const std::string& input, std::string& device)
{
    std::filesystem::path resolved;
    std::string error;
    PGMIO_FILE_INFO info;
    if (input.empty() || !serve_confine(session, input, resolved, error) ||
        !pgmio_describe_file(resolved.string(), info, error) || info.device.empty())
        return DEV_FAMILY_INVALID;
    const PGM_DEVICE* found = PGM_DEVICE_INDEX::lookup_device(info.device);
    if (!found)
        return DEV_FAMILY_INVALID;
    device = info.device;
    return found->get_family();
}

} // namespace

nlohmann::json serve_catalog_json(const SERVE_SESSION& session, PGM_COMMON_XML_ZEB_ZEB* document)
{
    nlohmann::json modes = nlohmann::json::array();
    for (PGMIO_CONFIG_SCHEME scheme : ZEB_DB_UTIL::get_enabled_config_modes())
    {
        nlohmann::json types = nlohmann::json::array();
        for (ZEB_FILE_TYPE type : ZEB_DB::get_output_file_type(scheme))
            if (offered(type))
                types.push_back(static_cast<int>(type));
        for (ZEB_FILE_TYPE type : ZEB_DB::get_all_output_file_type_keys())
            if (offered(type) && ZEB_DB::get_independent_of_mode(type) &&
                !contains(ZEB_DB::get_output_file_type(scheme), type))
                types.push_back(static_cast<int>(type));
        modes.push_back({{"word", std::string(pgm_common_xml_enum_name(ZEB_DB::get_xml_enum(scheme)))},
                         {"name", ZEB_DB_UTIL::get_config_scheme_name(scheme)},
                         {"output_types", types}});
    }
    nlohmann::json output_types = nlohmann::json::object();
    for (ZEB_FILE_TYPE type : ZEB_DB::get_all_output_file_type_keys())
        if (ZEB_DB::get_enabled(type))
            output_types[std::to_string(static_cast<int>(type))] = output_type_json(type);

    // Flash devices of the families that the document's flash outputs program (all when it has
    // none yet), custom database included.
    std::string custom_db_dir;
    ZEB_FILE_ASSISTANT::get_custom_db_dir(document, custom_db_dir);
    std::string custom_db_error;
    std::filesystem::path resolved;
    if (!custom_db_dir.empty() && serve_confine(session, custom_db_dir, resolved, custom_db_error))
        GFPDB_QSPI_MGR::set_db_custom_dir(resolved.string(), &custom_db_error);
    const std::vector<DEV_FAMILY_ENUM> families =
        ZEB_DB_UTIL::get_common_config_device_families(ZEB_FILE_ASSISTANT::get_output_file_types(document, true));
    nlohmann::json flash_devices = nlohmann::json::array();
    for (const DEV_FLASH_RECORD* record : GFPDB_QSPI_MGR().get_devices())
        if (families.empty() || contains(families, record->family))
            flash_devices.push_back({{"name", record->name}, {"size", record->size}, {"custom", record->device == 0}});
    nlohmann::json fpgas = nlohmann::json::array();
    for (const PGM_DEVICE* device : PGM_DEVICE_INDEX::get_all_devices())
        if (device->get_fpga_record())
            fpgas.push_back(device->get_name());
    return {{"modes", modes},
            {"output_types", output_types},
            {"flash_devices", flash_devices},
            {"custom_db_error", custom_db_error},
            {"fpgas", fpgas}};
}

nlohmann::json serve_options_json(const SERVE_SESSION& session, const std::string& element, const std::string& input,
                                  int output_type)
{
    std::string device;
    const DEV_FAMILY_ENUM family = input_family(session, input, device);
    nlohmann::json options = nlohmann::json::array();
    for (const std::string& name : cli_accepted_option_names(true))
        for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : cli_accepted_params(name, true))
        {
            CLI_PARAM_INFO info;
            if (!cli_describe_param(param, info) || info.element_name != element)
                continue;
            const std::vector<DEV_FAMILY_ENUM> supported = ZEB_DB::get_supported_family(param);
            if (family != DEV_FAMILY_INVALID && ((!supported.empty() && !contains(supported, family)) ||
                                                 ZEB_DB::supports_excluded_family(param, family)))
                continue;
            const std::vector<ZEB_FILE_TYPE> types = ZEB_DB::get_supported_output_file_type(param);
            if (output_type >= 0 && !types.empty() && !contains(types, static_cast<ZEB_FILE_TYPE>(output_type)))
                continue;
            options.push_back({{"param", ZEB_DB_UTIL::get_cmd_param_enum_name(param)},
                               {"option", name},
                               {"description", ZEB_DB::get_description(param)},
                               {"attribute", info.attribute},
                               {"kind", kind_name(info.kind)},
                               {"words", info.words},
                               {"dependent", param_names(ZEB_DB::get_dependent_param(param))},
                               {"exclusive", param_names(ZEB_DB::get_exclusive_param(param))}});
        }
    return {{"element", element}, {"device", device}, {"options", options}};
}
