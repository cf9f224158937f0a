// SPDX-License-Identifier: Apache-2.0
// Convert mode: builds a setup document from a one-line command through the document assistant,
// exactly as if the user had written it, then checks and generates it.
#include "cli.h"
#include "cli_options.h"

#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/ini/pgm_common_ini.h"
#include "pgm/zeb/platform/pgm_common_xml_zeb_auto_export.h"
#include "pgm/zeb/platform/pgmio/pgmio_text.h"
#include "pgm/zeb/zeb_util.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>

namespace
{

using PARAMS = ZEB_FILE_ASSISTANT::PARAM_LIST;

// One option of the command line, resolved to the parameter it sets.
struct GIVEN_OPTION
{
    std::string name;
    PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param;
    CLI_PARAM_INFO info;
    std::string text; // the value as the assistant takes it
};

// One input of the command line.
struct INPUT
{
    std::string path;
    std::string address;   // "" when none was given
    std::string own_start; // a hex file's lowest load address when no address was given
    bool raw = false;
};

const char* const k_flash_device_id = "Flash_1";

bool is_flash_output(ZEB_FILE_TYPE type)
{
    return type == ZEB_FILE_TYPE_JIC || type == ZEB_FILE_TYPE_POF || type == ZEB_FILE_TYPE_RPD;
}

std::string decimal(uint32_t value)
{
    return std::to_string(value);
}

// Picks the parameter an option name sets for this output type: a name that two parameters share
// goes to the one whose output types include this one, else to the first.
PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM choose_param(const std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM>& params,
                                               ZEB_FILE_TYPE output_type)
{
    for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : params)
        if (ZEB_DB::supports_supported_output_file_type(param, output_type))
            return param;
    for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : params)
        for (ZEB_FILE_TYPE secondary : ZEB_DB::get_secondary_file_type(output_type))
            if (ZEB_DB::supports_supported_output_file_type(param, secondary))
                return param;
    return params.front();
}

// Reads every `-o NAME=VALUE`; false after a usage error.
bool resolve_options(const std::vector<std::string>& pairs, ZEB_FILE_TYPE output_type, std::vector<GIVEN_OPTION>& given)
{
    for (const std::string& pair : pairs)
    {
        const size_t eq = pair.find('=');
        if (eq == std::string::npos || eq == 0)
            return cli_usage_error("-o needs NAME=VALUE, got '" + pair + "'"), false;
        const std::string name = pair.substr(0, eq);
        const std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> params = cli_accepted_params(name, false);
        if (params.empty())
        {
            const std::string closest = cli_closest_option_name(name);
            return cli_usage_error("unknown option '" + name + "'" +
                                   (closest.empty() ? "" : "; did you mean '" + closest + "'?")),
                   false;
        }
        GIVEN_OPTION option{name, choose_param(params, output_type), {}, {}};
        std::string error;
        if (!cli_describe_param(option.param, option.info) ||
            !cli_convert_value(option.info, name, pair.substr(eq + 1), option.text, error))
            return cli_usage_error(error), false;
        given.push_back(option);
    }
    return true;
}

// The table's dependencies and exclusions between the given options.
bool check_option_relations(const std::vector<GIVEN_OPTION>& given)
{
    auto find = [&](PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param) -> const GIVEN_OPTION*
    {
        for (const GIVEN_OPTION& option : given)
            if (option.param == param)
                return &option;
        return nullptr;
    };
    for (const GIVEN_OPTION& option : given)
    {
        for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM other : ZEB_DB::get_exclusive_param(option.param))
            if (find(other))
                return cli_usage_error("option '" + option.name + "' cannot be given together with '" +
                                       ZEB_DB::get_option_name(other) + "'"),
                       false;
        const std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> needed = ZEB_DB::get_dependent_param(option.param);
        const std::vector<PGM_COMMON_XML_ENUM> values = ZEB_DB::get_dependent_param_enum_value(option.param);
        for (size_t i = 0; i < needed.size(); ++i)
        {
            const GIVEN_OPTION* other = find(needed[i]);
            const bool value_fits = !other || i >= values.size() || values[i] == PGM_COMMON_XML_ENUM__INVALID__ ||
                                    other->text == decimal(values[i]);
            if (!other || !value_fits)
                return cli_usage_error("option '" + option.name + "' needs '" + ZEB_DB::get_option_name(needed[i]) +
                                       (i < values.size() && values[i] != PGM_COMMON_XML_ENUM__INVALID__
                                            ? "=" + std::string(pgm_common_xml_enum_name(values[i]))
                                            : std::string()) +
                                       "'"),
                       false;
        }
    }
    return true;
}

// Splits FILE@ADDRESS, classifies the file and requires it to exist; false after a usage error.
bool resolve_input(const std::string& argument, INPUT& input)
{
    const size_t at = argument.rfind('@');
    input.path = argument.substr(0, at);
    if (at != std::string::npos)
    {
        std::string text;
        std::string error;
        const CLI_PARAM_INFO address{ZEB_CMD_PARAM_INVALID, ZEB_CMD_OPT_RAW_FILE, "", "", CLI_VALUE_KIND::ADDRESS, {}};
        if (!cli_convert_value(address, "@ADDRESS", argument.substr(at + 1), text, error))
            return cli_usage_error("input '" + argument + "': malformed address"), false;
        input.address = text;
    }
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(input.path, ignored))
        return cli_usage_error("input file '" + input.path + "' does not exist"), false;
    const FIO_FILE_TYPE type = fio_get_file_type(FIO_PATH(input.path).get_extension_type());
    input.raw = type == FIO_FILE_TYPE_HEX || type == FIO_FILE_TYPE_BIN || !input.address.empty() ||
                type == FIO_FILE_TYPE_UNKNOWN;
    if (input.raw && input.address.empty() && type != FIO_FILE_TYPE_HEX)
        return cli_usage_error("raw data file '" + input.path + "' needs an address: " + input.path + "@0x..."), false;
    // A hex file without address loads at its own addresses: its partition starts at the lowest.
    // A file that cannot be read is left to the check, which says what is wrong with it.
    PGMIO_HEX_READER reader;
    reader.set_file(input.path);
    if (input.raw && input.address.empty() && reader.read_hex_file(false, false) && reader.get_hex_list() &&
        !reader.get_hex_list()->empty())
    {
        char start[16];
        std::snprintf(start, sizeof start, "0x%08X", reader.get_start_address());
        input.own_start = start;
    }
    return true;
}

// The secondary file types to write: the default ones, or those named by --secondary.
bool choose_secondaries(ZEB_FILE_TYPE output_type, const std::string* named, std::vector<ZEB_FILE_TYPE>& chosen)
{
    const std::vector<ZEB_FILE_TYPE> offered = ZEB_DB::get_secondary_file_type(output_type);
    if (!named)
    {
        for (ZEB_FILE_TYPE type : offered)
            if (ZEB_DB::get_default_checked_state(type))
                chosen.push_back(type);
        return true;
    }
    if (*named == "none")
        return true;
    size_t start = 0;
    while (start <= named->size())
    {
        const size_t comma = std::min(named->find(',', start), named->size());
        const std::string word = named->substr(start, comma - start);
        const ZEB_FILE_TYPE type = ZEB_DB_UTIL::get_zeb_file_type_enum(pgm_common_xml_enum_value(word));
        if (word.empty() || std::find(offered.begin(), offered.end(), type) == offered.end())
        {
            std::string allowed;
            for (ZEB_FILE_TYPE each : offered)
                allowed +=
                    (allowed.empty() ? "" : "|") + std::string(pgm_common_xml_enum_name(ZEB_DB::get_xml_enum(each)));
            return cli_usage_error("--secondary: '" + word + "' is not a secondary file of this output; allowed: " +
                                   (allowed.empty() ? "none" : allowed)),
                   false;
        }
        chosen.push_back(type);
        start = comma + 1;
    }
    return true;
}

// Everything a conversion needs, read from the command line.
struct REQUEST
{
    std::vector<INPUT> inputs;
    FIO_PATH output;
    ZEB_FILE_TYPE output_type = ZEB_FILE_TYPE_NONE;
    std::vector<GIVEN_OPTION> options;
    std::vector<ZEB_FILE_TYPE> secondaries;
};

const GIVEN_OPTION* find_option(const REQUEST& request, PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param)
{
    for (const GIVEN_OPTION& option : request.options)
        if (option.param == param)
            return &option;
    return nullptr;
}

bool converts_flash_file(const REQUEST& request)
{
    for (const INPUT& input : request.inputs)
    {
        const FIO_FILE_TYPE type = fio_get_file_type(FIO_PATH(input.path).get_extension_type());
        if (type == FIO_FILE_TYPE_JIC || type == FIO_FILE_TYPE_POF || type == FIO_FILE_TYPE_RPD)
            return true;
    }
    return false;
}

bool set(PGM_COMMON_XML_ZEB_ZEB* document, PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, const PARAMS& params)
{
    return ZEB_FILE_ASSISTANT::set(document, opt, params);
}

// Flash device, its reserved partitions, one partition per input and the assignments.
bool build_flash(PGM_COMMON_XML_ZEB_ZEB* document, const REQUEST& request, const std::vector<std::string>& bitstreams,
                 const std::vector<std::string>& raw_files)
{
    PARAMS device{{ZEB_CMD_PARAM_FLASH_DEVICE_ID, k_flash_device_id}};
    bool ok = true;
    auto add_partition = [&](PARAMS partition)
    {
        partition.insert(partition.begin(), {ZEB_CMD_PARAM_FLASH_DEVICE_ID, k_flash_device_id});
        ok = set(document, ZEB_CMD_OPT_FLASH_DEVICE, partition) && ok;
    };
    for (const GIVEN_OPTION& option : request.options)
        if (option.info.element == ZEB_CMD_OPT_FLASH_DEVICE)
            device.emplace_back(option.param, option.text);
    ok = set(document, ZEB_CMD_OPT_FLASH_DEVICE, device) && ok;

    std::string factory;
    PGMIO_CONFIG_SCHEME scheme{};
    // Without a mode there are no reserved partitions to place; the check reports the missing mode.
    if (!bitstreams.empty() && ZEB_FILE_ASSISTANT::get_config_mode(document, scheme))
    {
        for (const ZEB_UTIL_PARTITION_INFO& reserved :
             ZEB_UTIL::get_reserved_partitions(document, ZEB_UTIL::get_family(document)))
        {
            if (!reserved.in_partition_table)
                continue;
            PARAMS partition{{ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_ID, reserved.name},
                             {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_RESERVED, "1"},
                             {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_S_ADDR, reserved.start_address},
                             {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_E_ADDR, reserved.end_address}};
            if (reserved.extra_space)
                partition.emplace_back(ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_EXTRA_SPACE, decimal(reserved.extra_space));
            add_partition(partition);
            if (reserved.assignable && factory.empty())
                factory = reserved.name;
        }
    }
    // Several images with a factory partition make the remote-update layout: pages 0, 1, 2, ...
    const bool paged = !factory.empty() && bitstreams.size() > 1;
    const GIVEN_OPTION* start = find_option(request, ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_S_ADDR);
    size_t user_partition = 0;
    for (size_t i = 0; i < bitstreams.size(); ++i)
    {
        std::string partition = !factory.empty() && i == 0 ? factory : "P" + std::to_string(++user_partition);
        if (partition != factory)
            add_partition(
                {{ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_ID, partition},
                 {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_S_ADDR, start && bitstreams.size() == 1 ? start->text : "auto"},
                 {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_E_ADDR, "auto"}});
        PARAMS assignment{{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, partition},
                          {ZEB_CMD_PARAM_ASSIGNMENT_BITSTREAM_ID, bitstreams[i]}};
        if (paged)
            assignment.emplace_back(ZEB_CMD_PARAM_ASSIGNMENT_PAGE, decimal(static_cast<uint32_t>(i)));
        ok = set(document, ZEB_CMD_OPT_ASSIGNMENT, assignment) && ok;
    }
    size_t raw_index = 0;
    for (const INPUT& input : request.inputs)
    {
        if (!input.raw)
            continue;
        const std::string partition = "DATA" + std::to_string(raw_index + 1);
        add_partition({{ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_ID, partition},
                       {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_S_ADDR, !input.address.empty()     ? input.address
                                                                     : !input.own_start.empty() ? input.own_start
                                                                                                : "auto"},
                       {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_E_ADDR, "auto"}});
        const char* mode = input.address.empty() ? "ABS" : "REL";
        ok = set(document, ZEB_CMD_OPT_ASSIGNMENT,
                 {{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, partition},
                  {ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID, raw_files[raw_index]},
                  {ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID_ADDR_MODE, decimal(pgm_common_xml_enum_value(mode))}}) &&
             ok;
        ++raw_index;
    }
    return ok;
}

// The flash loader: the option's device, else the device the first bitstream targets.
bool build_flash_loader(PGM_COMMON_XML_ZEB_ZEB* document, const REQUEST& request)
{
    std::string loader;
    if (const GIVEN_OPTION* option = find_option(request, ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER))
        loader = option->text;
    for (const INPUT& input : request.inputs)
    {
        if (!loader.empty())
            break;
        const PGM_DEVICE* device = nullptr;
        std::string message;
        std::string detail;
        if (!input.raw && ZEB_UTIL::precheck_input_file(FIO_PATH(input.path), &device, message, detail, false) &&
            device)
            loader = device->get_name();
    }
    if (loader.empty())
        return true; // the check names what is missing
    return set(document, ZEB_CMD_OPT_FLASH_LOADER, {{ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER, loader}});
}

// Builds the document of a request; false when a setter refused a value.
bool build_document(PGM_COMMON_XML_ZEB_ZEB* document, const REQUEST& request)
{
    bool ok = true;
    PARAMS settings;
    for (const GIVEN_OPTION& option : request.options)
        if (option.info.element == ZEB_CMD_OPT_SETTINGS)
            settings.emplace_back(option.param, option.text);
    if (!settings.empty())
        ok = set(document, ZEB_CMD_OPT_SETTINGS, settings) && ok;

    std::vector<std::string> bitstreams;
    std::vector<std::string> raw_files;
    for (const INPUT& input : request.inputs)
    {
        if (input.raw)
        {
            raw_files.push_back("Raw_" + std::to_string(raw_files.size() + 1));
            const bool hex = fio_get_file_type(FIO_PATH(input.path).get_extension_type()) == FIO_FILE_TYPE_HEX;
            ok = set(document, ZEB_CMD_OPT_RAW_FILE,
                     {{ZEB_CMD_PARAM_RAW_FILE_ID, raw_files.back()},
                      {ZEB_CMD_PARAM_RAW_FILE_RAW_FILE, input.path},
                      {ZEB_CMD_PARAM_RAW_FILE_TYPE, decimal(pgm_common_xml_enum_value(hex ? "HEX" : "RBF"))}}) &&
                 ok;
            continue;
        }
        bitstreams.push_back("Bitstream_" + std::to_string(bitstreams.size() + 1));
        PARAMS bitstream{{ZEB_CMD_PARAM_BITSTREAM_ID, bitstreams.back()}, {ZEB_CMD_PARAM_BITSTREAM_PATH, input.path}};
        for (const GIVEN_OPTION& option : request.options)
            if (option.info.element == ZEB_CMD_OPT_BITSTREAM)
                bitstream.emplace_back(option.param, option.text);
        // Naming a key is what asks for encryption; the document says so in an attribute of its own.
        if (find_option(request, ZEB_CMD_PARAM_BITSTREAM_PATH_KEY1))
            bitstream.emplace_back(ZEB_CMD_PARAM_BITSTREAM_PATH_ENCRYPTION, "1");
        ok = set(document, ZEB_CMD_OPT_BITSTREAM, bitstream) && ok;
    }

    // A flash output from a flash file (an .rpd from a .jic) converts that file rather than laying out
    // a flash device.
    const bool flash = is_flash_output(request.output_type) && !converts_flash_file(request);
    PARAMS output{{ZEB_CMD_PARAM_OUTPUT_FILE_TYPE, decimal(ZEB_DB::get_xml_enum(request.output_type))},
                  {ZEB_CMD_PARAM_OUTPUT_FILE_NAME, request.output.get_base_name()},
                  {ZEB_CMD_PARAM_OUTPUT_FILE_DIRECTORY, request.output.get_directory()}};
    for (const GIVEN_OPTION& option : request.options)
        if (option.info.element == ZEB_CMD_OPT_OUTPUT_FILE && option.info.element_name != "secondary file options")
            output.emplace_back(option.param, option.text);
    if (flash)
        output.emplace_back(ZEB_CMD_PARAM_OUTPUT_FILE_FLASH_DEVICE_ID, k_flash_device_id);
    else if (!bitstreams.empty())
        output.emplace_back(ZEB_CMD_PARAM_OUTPUT_FILE_BITSTREAM_ID, bitstreams.front());
    ok = set(document, ZEB_CMD_OPT_OUTPUT_FILE, output) && ok;
    for (ZEB_FILE_TYPE secondary : request.secondaries)
    {
        PARAMS params{{ZEB_CMD_PARAM_OUTPUT_FILE_TYPE, decimal(ZEB_DB::get_xml_enum(request.output_type))},
                      {ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_TYPE, decimal(ZEB_DB::get_xml_enum(secondary))},
                      {ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_NAME, request.output.get_base_name()}};
        for (const GIVEN_OPTION& option : request.options)
            if (option.info.element_name == "secondary file options" &&
                (ZEB_DB::get_supported_output_file_type(option.param).empty() ||
                 ZEB_DB::supports_supported_output_file_type(option.param, secondary)))
                params.emplace_back(option.param, option.text);
        ok = set(document, ZEB_CMD_OPT_OUTPUT_FILE, params) && ok;
    }
    if (flash)
        ok = build_flash_loader(document, request) && build_flash(document, request, bitstreams, raw_files) && ok;
    return ok;
}

} // namespace

int cli_mode_convert(const CLI_ARGS& args)
{
    // "-o NAME=VALUE" is the one short option; it is turned into its long form first.
    CLI_ARGS normalised;
    for (const std::string& arg : args)
        normalised.push_back(arg == "-o" ? "--option" : arg);
    std::vector<CLI_OPTION> options;
    std::vector<std::string> positional;
    if (!cli_split_options(normalised, {"--option", "--secondary", "--save", "--ini", "--layout"}, {"--no-check"},
                           options, positional))
        return CLI_USAGE;
    if (cli_expect_arguments("convert mode", positional, 2, SIZE_MAX, "at least one input file and an output file") !=
        CLI_OK)
        return CLI_USAGE;

    REQUEST request;
    request.output = FIO_PATH(positional.back());
    request.output_type = ZEB_FILE_ASSISTANT::map_ext_to_zeb_file_type(request.output.get_extension_type(), false);
    if (request.output_type == ZEB_FILE_TYPE_NONE || ZEB_DB::get_secondary(request.output_type))
        return cli_usage_error("cannot tell the output type from '" + positional.back() + "'");
    std::error_code ignored;
    const std::string directory = request.output.get_directory();
    if (!directory.empty() && !std::filesystem::is_directory(directory, ignored))
        return cli_usage_error("output directory '" + directory + "' does not exist");

    std::vector<std::string> pairs;
    const std::string* secondary = nullptr;
    std::string save_path;
    std::string layout_path;
    bool check = true;
    for (const CLI_OPTION& option : options)
    {
        if (option.name == "--option")
            pairs.push_back(option.value);
        else if (option.name == "--secondary")
            secondary = &option.value;
        else if (option.name == "--save")
            save_path = option.value;
        else if (option.name == "--layout")
            layout_path = option.value;
        else if (option.name == "--no-check")
            check = false;
        else if (option.name == "--ini" && !cli_apply_ini(option.value))
            return CLI_USAGE;
    }
    // Files written after the outputs must have somewhere to go, or nothing is written at all.
    for (const std::string* extra : {&save_path, &layout_path})
    {
        const std::string where = extra->empty() ? std::string() : FIO_PATH(*extra).get_directory();
        if (!where.empty() && !std::filesystem::is_directory(where, ignored))
            return cli_usage_error("directory '" + where + "' of '" + *extra + "' does not exist");
    }
    if (!resolve_options(pairs, request.output_type, request.options) || !check_option_relations(request.options) ||
        !choose_secondaries(request.output_type, secondary, request.secondaries))
        return CLI_USAGE;
    for (size_t i = 0; i + 1 < positional.size(); ++i)
    {
        INPUT input;
        if (!resolve_input(positional[i], input))
            return CLI_USAGE;
        if (input.raw && !is_flash_output(request.output_type))
            return cli_usage_error("raw data file '" + input.path +
                                   "' can only go into a flash output (.jic, .pof, .rpd)");
        request.inputs.push_back(input);
    }

    auto document = std::make_unique<PGM_COMMON_XML_ZEB_ZEB>();
    if (!build_document(document.get(), request))
    {
        cli_print_error("the setup document could not be built from these options");
        return CLI_FAILED;
    }
    if (check && !cli_check_and_generate(document.get(), positional.back(), false))
        return CLI_FAILED;
    if (!layout_path.empty() && !cli_write_layout(document.get(), layout_path))
        return CLI_FAILED;
    if (!save_path.empty() && !cli_save_document(document.get(), save_path))
        return CLI_FAILED;
    return CLI_OK;
}
