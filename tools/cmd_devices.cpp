// SPDX-License-Identifier: Apache-2.0
// Modes --list-devices and --list-flash-devices: print the device catalogue as a table or as JSON.
#include "cli.h"

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/zeb_file_assistant.h"

#include <algorithm>
#include <cstdio>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace
{

std::string hex(uint64_t value, int width = 8)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%0*llX", width, static_cast<unsigned long long>(value));
    return text;
}

// Joins already formatted items: "a, b, c".
template <typename LIST, typename FORMAT>
std::string join(const LIST& list, FORMAT format, const char* separator = ", ")
{
    std::string out;
    for (const auto& item : list)
    {
        if (!out.empty())
            out += separator;
        out += format(item);
    }
    return out;
}

std::string family_name(DEV_FAMILY_ENUM family)
{
    const DEV_FAMILY_RECORD* record = PGM_DEVICE_INDEX::find_family(family);
    return record ? record->name : std::to_string(family);
}

// The words a setup document's `mode` takes for the device's schemes ("ASX4", "AVSTX8"), in the
// order of the mode enumeration; schemes that no mode word selects are left out.
std::vector<std::string> mode_words(const std::vector<PGMIO_CONFIG_SCHEME>& schemes)
{
    std::vector<std::string> words;
    for (unsigned value = PGM_COMMON_XML_ENUM_PS; value <= PGM_COMMON_XML_ENUM_INTERNAL; ++value)
    {
        const auto mode = static_cast<PGM_COMMON_XML_ENUM>(value);
        const PGMIO_CONFIG_SCHEME scheme = ZEB_FILE_ASSISTANT::map_enum_to_config_mode(mode);
        if (std::find(schemes.begin(), schemes.end(), scheme) != schemes.end())
            words.emplace_back(pgm_common_xml_enum_name(mode));
    }
    return words;
}

std::string commands_json(const std::vector<DEV_COMMAND>& commands)
{
    return "{" +
           join(commands,
                [](const DEV_COMMAND& c) { return cli_json_string(c.name) + ": " + cli_json_string(hex(c.code, 2)); }) +
           "}";
}

std::string pcf_json(const PGM_PCF_FILE_INFO& pcf)
{
    return "{\"name\": " + cli_json_string(pcf.pcf_name) +
           ", \"prog_mode_mask\": " + cli_json_string(hex(pcf.prog_mode_mask)) +
           ", \"virtual_prog_mode_mask\": " + cli_json_string(hex(pcf.virtual_prog_mode_mask)) +
           ", \"zeb_file_mask\": " + cli_json_string(hex(pcf.zeb_file_mask)) + "}";
}

const char* flag(bool value)
{
    return value ? "true" : "false";
}

std::string device_json(const DEV_DEVICE_RECORD& d)
{
    const DEV_CAPABILITIES& c = d.capabilities;
    std::ostringstream out;
    out << "  {\"name\": " << cli_json_string(d.name) << ", \"family\": " << d.family
        << ", \"family_name\": " << cli_json_string(family_name(d.family)) << ", \"device\": " << d.device
        << ",\n   \"jtag\": {\"idcode\": " << cli_json_string(hex(d.jtag.idcode))
        << ", \"ir_length\": " << d.jtag.ir_length << ", \"instructions\": " << commands_json(d.jtag.instructions)
        << "}"
        << ",\n   \"config_data_size\": " << d.config_data_size << ", \"config_schemes\": ["
        << join(d.config_schemes, [](PGMIO_CONFIG_SCHEME s) { return std::to_string(s); }) << "], \"modes\": ["
        << join(mode_words(d.config_schemes), [](const std::string& m) { return cli_json_string(m); }) << "]"
        << ",\n   \"capabilities\": {\"remote_update\": " << flag(c.remote_update) << ", \"cvp\": " << flag(c.cvp)
        << ", \"hps\": " << flag(c.hps) << ", \"partial_reconfiguration\": " << flag(c.partial_reconfiguration)
        << ", \"design_security\": " << flag(c.design_security) << ", \"key_length\": " << c.key_length << "}"
        << ",\n   \"helper_images\": ["
        << join(d.helper_images,
                [](const DEV_HELPER_IMAGE& h)
                {
                    return "{\"subtype\": " + std::to_string(h.subtype) + ", \"name\": " + cli_json_string(h.name) +
                           ", \"size\": " + std::to_string(h.size) + "}";
                })
        << "], \"flash_loader\": ";
    if (d.has_flash_loader)
        out << "{\"name\": " << cli_json_string(d.flash_loader.name) << ", \"flash_families\": ["
            << join(d.flash_loader.flash_families, [](DEV_FAMILY_ENUM f) { return std::to_string(f); })
            << "], \"max_flash_size\": " << d.flash_loader.max_flash_size << ", \"size\": " << d.flash_loader.size
            << "}";
    else
        out << "null";
    out << ",\n   \"internal_flash\": ["
        << join(d.internal_flash,
                [](const DEV_FLASH_REGION& r)
                {
                    return "{\"name\": " + cli_json_string(r.name) + ", \"start\": " + std::to_string(r.start) +
                           ", \"size\": " + std::to_string(r.size) + "}";
                })
        << "], \"pcf\": " << pcf_json(d.pcf) << ", \"cmf_flash_block_size\": ";
    if (d.has_cmf_flash_block_layout)
        out << d.cmf_flash_block_size;
    else
        out << "null";
    out << "}";
    return out.str();
}

std::string features(const DEV_DEVICE_RECORD& d)
{
    const DEV_CAPABILITIES& c = d.capabilities;
    std::string out;
    auto add = [&](bool on, const std::string& word)
    {
        if (on)
            out += (out.empty() ? "" : " ") + word;
    };
    add(c.remote_update, "RU");
    add(c.cvp, "CVP");
    add(c.hps, "HPS");
    add(c.partial_reconfiguration, "PR");
    add(c.design_security, "KEY" + std::to_string(c.key_length));
    add(d.has_cmf_flash_block_layout, "BLOCK=" + hex(d.cmf_flash_block_size, 0));
    add(!d.helper_images.empty(), "HELPERS=" + join(
                                                   d.helper_images,
                                                   [](const DEV_HELPER_IMAGE& h) {
                                                       return h.subtype == DEV_HELPER_SUBTYPE_QSPI   ? "QSPI"
                                                              : h.subtype == DEV_HELPER_SUBTYPE_FUSE ? "FUSE"
                                                                                                     : "SDMMC";
                                                   },
                                                   ","));
    add(!d.internal_flash.empty(),
        "INTERNAL=" + join(
                          d.internal_flash, [](const DEV_FLASH_REGION& r) { return r.name; }, ","));
    add(d.has_flash_loader, "LOADER=" + d.flash_loader.name);
    return out;
}

std::string flash_json(const DEV_FLASH_RECORD& f)
{
    std::ostringstream out;
    out << "  {\"name\": " << cli_json_string(f.name) << ", \"family\": " << f.family
        << ", \"family_name\": " << cli_json_string(family_name(f.family)) << ", \"device\": " << f.device
        << ", \"size\": " << f.size << ", \"sector_size\": " << f.sector_size << ", \"page_size\": " << f.page_size
        << ", \"legacy\": " << flag(f.legacy) << ",\n   \"silicon_id\": " << cli_json_string(hex(f.silicon_id, 6))
        << ", \"address_bytes\": " << f.address_bytes << ", \"data_widths\": ["
        << join(f.data_widths, [](uint32_t w) { return std::to_string(w); })
        << "], \"commands\": " << commands_json(f.commands) << ",\n   \"pcf\": ";
    if (f.has_pcf)
        out << pcf_json(f.pcf);
    else
        out << "null";
    out << ", \"source\": " << cli_json_string(f.source) << "}";
    return out.str();
}

// Parses [--json] (and --custom-db DIR when allowed); false after printing a usage error.
bool parse_options(const CLI_ARGS& args, bool allow_custom_db, bool& json, std::string& custom_db)
{
    std::vector<CLI_OPTION> options;
    std::vector<std::string> positional;
    std::vector<std::string_view> with_value;
    if (allow_custom_db)
        with_value.push_back("--custom-db");
    if (!cli_split_options(args, with_value, {"--json"}, options, positional))
        return false;
    if (cli_expect_arguments(allow_custom_db ? "--list-flash-devices" : "--list-devices", positional, 0, 0,
                             "no files") != CLI_OK)
        return false;
    for (const CLI_OPTION& option : options)
    {
        if (option.name == "--json")
            json = true;
        else
            custom_db = option.value;
    }
    return true;
}

bool catalogue_loaded()
{
    if (PGM_DEVICE_INDEX::get_catalogue_error().empty())
        return true;
    std::cerr << "corvane: device catalogue: " << PGM_DEVICE_INDEX::get_catalogue_error() << '\n';
    return false;
}

} // namespace

int cli_mode_list_devices(const CLI_ARGS& args)
{
    bool json = false;
    std::string unused;
    if (!parse_options(args, false, json, unused))
        return CLI_USAGE;
    if (!catalogue_loaded())
        return CLI_FAILED;
    std::vector<const DEV_DEVICE_RECORD*> devices;
    for (const PGM_DEVICE* device : PGM_DEVICE_INDEX::get_all_devices())
        if (device->get_fpga_record())
            devices.push_back(device->get_fpga_record());
    if (json)
    {
        std::cout << "[\n"
                  << join(
                         devices, [](const DEV_DEVICE_RECORD* d) { return device_json(*d); }, ",\n")
                  << "\n]\n";
        return CLI_OK;
    }
    std::cout << std::left << std::setw(13) << "NAME" << std::setw(17) << "FAMILY" << std::setw(7) << "NUMBER"
              << std::setw(12) << "IDCODE" << std::setw(12) << "CONFIG" << std::setw(34) << "MODES"
              << "FEATURES\n";
    for (const DEV_DEVICE_RECORD* d : devices)
    {
        std::cout << std::setw(13) << d->name << std::setw(17)
                  << (std::to_string(d->family) + " " + family_name(d->family)) << std::setw(7) << d->device
                  << std::setw(12) << (d->jtag.idcode ? hex(d->jtag.idcode) : "-") << std::setw(12)
                  << hex(d->config_data_size) << std::setw(34)
                  << join(
                         mode_words(d->config_schemes), [](const std::string& m) { return m; }, ",")
                  << features(*d) << '\n';
    }
    return CLI_OK;
}

int cli_mode_list_flash_devices(const CLI_ARGS& args)
{
    bool json = false;
    std::string custom_db;
    if (!parse_options(args, true, json, custom_db))
        return CLI_USAGE;
    if (!catalogue_loaded())
        return CLI_FAILED;
    std::string error;
    if (!custom_db.empty() && !GFPDB_QSPI_MGR::set_db_custom_dir(custom_db, &error))
    {
        cli_print_error("custom flash-device database: " + error);
        return CLI_FAILED;
    }
    const std::vector<const DEV_FLASH_RECORD*> devices = GFPDB_QSPI_MGR().get_devices();
    if (json)
    {
        std::cout << "[\n"
                  << join(
                         devices, [](const DEV_FLASH_RECORD* f) { return flash_json(*f); }, ",\n")
                  << "\n]\n";
        return CLI_OK;
    }
    std::cout << std::left << std::setw(10) << "NAME" << std::setw(15) << "FAMILY" << std::setw(7) << "NUMBER"
              << std::setw(12) << "SIZE" << std::setw(12) << "SECTOR" << std::setw(6) << "PAGE" << std::setw(7)
              << "LEGACY" << std::setw(11) << "SILICON_ID" << std::setw(5) << "ADDR" << std::setw(8) << "WIDTHS"
              << "SOURCE\n";
    for (const DEV_FLASH_RECORD* f : devices)
    {
        std::cout << std::setw(10) << f->name << std::setw(15)
                  << (std::to_string(f->family) + " " + family_name(f->family)) << std::setw(7)
                  << (f->device ? std::to_string(f->device) : "-") << std::setw(12) << hex(f->size) << std::setw(12)
                  << hex(f->sector_size) << std::setw(6) << f->page_size << std::setw(7) << (f->legacy ? "yes" : "no")
                  << std::setw(11) << hex(f->silicon_id, 6) << std::setw(5) << f->address_bytes << std::setw(8)
                  << join(
                         f->data_widths, [](uint32_t w) { return std::to_string(w); }, ",")
                  << f->source << '\n';
    }
    return CLI_OK;
}
