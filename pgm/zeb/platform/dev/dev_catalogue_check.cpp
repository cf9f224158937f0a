// SPDX-License-Identifier: Apache-2.0
// Consistency rules of the device catalogue, applied to records once they are read: what a device
// claims must add up (a scheme needs the hardware that serves it, a PCF record must not offer what
// the device lacks, sizes must be sizes a flash can have), and names and identities are unique.
#include "pgm/zeb/platform/dev/dev_catalogue.h"

#include <algorithm>
#include <map>
#include <sstream>

namespace
{

constexpr DEV_DEVICE_ENUM k_generic_device = static_cast<DEV_DEVICE_ENUM>(867);

bool is_power_of_two(uint64_t value)
{
    return value != 0 && (value & (value - 1)) == 0;
}

bool has_command(const std::vector<DEV_COMMAND>& commands, const char* name)
{
    return std::any_of(commands.begin(), commands.end(), [&](const DEV_COMMAND& c) { return c.name == name; });
}

// "" when every name is present, else which one is missing.
std::string missing_commands(const std::vector<DEV_COMMAND>& commands, std::initializer_list<const char*> names)
{
    for (const char* name : names)
        if (!has_command(commands, name))
            return std::string("'") + name + "' is missing";
    return "";
}

std::string shared_code(const std::vector<DEV_COMMAND>& commands)
{
    for (size_t i = 0; i < commands.size(); ++i)
        for (size_t j = i + 1; j < commands.size(); ++j)
            if (commands[i].code == commands[j].code)
                return "'" + commands[i].name + "' and '" + commands[j].name + "' share the code " +
                       dev_hex(commands[i].code);
    return "";
}

std::string check_jtag(const DEV_JTAG_INFO& jtag, bool design_security)
{
    if ((jtag.idcode & 1) == 0 || jtag.idcode == 0xFFFFFFFF)
        return "jtag.idcode: " + dev_hex(jtag.idcode) + " is no IDCODE (bit 0 set, not all ones)";
    if (jtag.ir_length < 2 || jtag.ir_length > 32)
        return "jtag.ir_length: must be 2 to 32 bits";
    const uint32_t all_ones = jtag.ir_length == 32 ? 0xFFFFFFFFu : (1u << jtag.ir_length) - 1;
    for (const DEV_COMMAND& instruction : jtag.instructions)
        if (instruction.code > all_ones)
            return "jtag.instructions." + instruction.name + ": " + dev_hex(instruction.code) + " does not fit into " +
                   std::to_string(jtag.ir_length) + " bits";
    std::string problem = missing_commands(
        jtag.instructions, {"IDCODE", "BYPASS", "SAMPLE", "EXTEST", "PROGRAM", "STARTUP", "CHECK_STATUS"});
    if (problem.empty() && design_security)
        problem = missing_commands(jtag.instructions, {"KEY_PROGRAM"});
    if (problem.empty())
        problem = shared_code(jtag.instructions);
    if (!problem.empty())
        return "jtag.instructions: " + problem;
    uint32_t bypass = 0;
    jtag.find_instruction("BYPASS", bypass);
    if (bypass != all_ones)
        return "jtag.instructions: BYPASS must be all ones (" + dev_hex(all_ones) + "), not " + dev_hex(bypass);
    return "";
}

const DEV_FLASH_REGION* find_region(const DEV_DEVICE_RECORD& record, const char* name)
{
    for (const DEV_FLASH_REGION& region : record.internal_flash)
        if (region.name == name)
            return &region;
    return nullptr;
}

std::string check_internal_flash(const DEV_DEVICE_RECORD& record)
{
    for (size_t i = 0; i < record.internal_flash.size(); ++i)
    {
        const DEV_FLASH_REGION& region = record.internal_flash[i];
        if (region.size == 0 || uint64_t(region.start) + region.size > 0x100000000ull)
            return "internal_flash: '" + region.name + "' must be non-empty and end within 4 GiB";
        for (size_t j = 0; j < i; ++j)
        {
            const DEV_FLASH_REGION& other = record.internal_flash[j];
            if (other.name == region.name)
                return "internal_flash: the name '" + region.name + "' is used twice";
            if (region.start < uint64_t(other.start) + other.size && other.start < uint64_t(region.start) + region.size)
                return "internal_flash: '" + region.name + "' overlaps '" + other.name + "'";
        }
    }
    const bool internal_image =
        std::any_of(record.config_schemes.begin(), record.config_schemes.end(),
                    [](PGMIO_CONFIG_SCHEME s) {
                        return s >= PGMIO_CONFIG_SCHEME_SINGLE_IMAGE && s <= PGMIO_CONFIG_SCHEME_DUAL_COMPRESSED_IMAGES;
                    });
    if (!internal_image)
        return "";
    const DEV_FLASH_REGION* cfm0 = find_region(record, "CFM0");
    if (!find_region(record, "UFM") || !cfm0)
        return "internal_flash: internal-image schemes need the regions UFM and CFM0";
    if (record.supports_config_scheme(PGMIO_CONFIG_SCHEME_DUAL_COMPRESSED_IMAGES) && !find_region(record, "CFM1"))
        return "internal_flash: scheme 19 (dual images) needs the region CFM1";
    if (record.config_data_size > cfm0->size)
        return "internal_flash: the configuration data does not fit into CFM0";
    const std::string problem =
        missing_commands(record.jtag.instructions, {"FLASH_ENABLE", "FLASH_ERASE", "FLASH_PROGRAM", "FLASH_READ"});
    return problem.empty() ? "" : "jtag.instructions: " + problem;
}

// The device's PCF record must tell the truth about what the device can do.
std::string check_pcf(const DEV_DEVICE_RECORD& record)
{
    const PGM_PCF_FILE_INFO& pcf = record.pcf;
    const DEV_CAPABILITIES& caps = record.capabilities;
    const bool helpers = !record.helper_images.empty();
    const struct
    {
        bool has_bit;
        bool has_feature;
        const char* what;
    } modes[] = {
        {(pcf.virtual_prog_mode_mask & DEV_VPROG_MODE_JTAG_INDIRECT) != 0, record.has_flash_loader,
         "JTAG indirect programming (a flash loader)"},
        {(pcf.virtual_prog_mode_mask & DEV_VPROG_MODE_HELPER) != 0, helpers, "helper images"},
        {(pcf.virtual_prog_mode_mask & DEV_VPROG_MODE_CVP) != 0, caps.cvp, "CvP programming"},
    };
    for (const auto& mode : modes)
        if (mode.has_bit != mode.has_feature)
            return "pcf: '" + pcf.pcf_name + "' " + (mode.has_bit ? "claims " : "lacks ") + mode.what +
                   (mode.has_feature ? ", which the device has" : ", which the device does not have");
    // Output file types (bit numbers of zeb_file_mask) that need something of the device.
    const struct
    {
        int type;
        bool feature;
        const char* what;
    } types[] = {{4, record.has_flash_loader, "a flash loader"},
                 {17, record.has_flash_loader, "a flash loader"},
                 {14, caps.cvp, "CvP"},
                 {15, caps.hps, "an HPS"},
                 {19, caps.partial_reconfiguration, "partial reconfiguration"},
                 {25, caps.design_security, "design security"},
                 {27, helpers, "helper images"},
                 {28, helpers, "helper images"}};
    for (const auto& type : types)
        if ((pcf.zeb_file_mask >> type.type & 1) && !type.feature)
            return "pcf: '" + pcf.pcf_name + "' offers output file type " + std::to_string(type.type) +
                   ", which needs " + type.what;
    return "";
}

} // namespace

std::string dev_hex(uint64_t value)
{
    std::ostringstream text;
    text << "0x" << std::uppercase << std::hex << value;
    return text.str();
}

std::string dev_check_device_record(const DEV_DEVICE_RECORD& record)
{
    const bool generic = record.family == DEV_FAMILY_GENERIC;
    if (generic != (record.device == k_generic_device))
        return "device: the generic device is device 867 of family 68, and no other device is";
    const DEV_CAPABILITIES& caps = record.capabilities;
    if (!generic || record.jtag.idcode != 0)
    {
        const std::string problem = check_jtag(record.jtag, caps.design_security);
        if (!problem.empty())
            return problem;
    }
    if (record.config_data_size == 0 && !generic)
        return "config_data_size: must not be 0";
    if (record.config_schemes.empty())
        return "config_schemes: must name at least one scheme";
    for (size_t i = 1; i < record.config_schemes.size(); ++i)
        if (record.config_schemes[i] <= record.config_schemes[i - 1])
            return "config_schemes: must be ascending without repetition";
    if (caps.design_security ? (caps.key_length != 128 && caps.key_length != 256) : caps.key_length != 0)
        return "capabilities.key_length: must be 128 or 256 with design security and 0 without";

    const bool active_serial = record.supports_config_scheme(PGMIO_CONFIG_SCHEME_AS) ||
                               record.supports_config_scheme(PGMIO_CONFIG_SCHEME_AS_X4);
    const auto& families = record.flash_loader.flash_families;
    const bool serves_serial = std::find(families.begin(), families.end(), DEV_FAMILY_VIVERI) != families.end();
    if (active_serial && !generic && (!record.has_flash_loader || !serves_serial))
        return "flash_loader: an Active Serial device needs a flash loader for family 10";
    if (record.has_flash_loader && record.config_data_size > record.flash_loader.max_flash_size)
        return "flash_loader: '" + record.flash_loader.name + "' cannot address the device's configuration data";

    std::string problem = check_internal_flash(record);
    if (!problem.empty())
        return problem;
    if (record.has_cmf_flash_block_layout &&
        (!is_power_of_two(record.cmf_flash_block_size) || record.cmf_flash_block_size < 0x1000))
        return "cmf_flash_block_size: " + dev_hex(record.cmf_flash_block_size) +
               " is not a power of two of at least 0x1000";
    return check_pcf(record);
}

std::string dev_check_flash_record(const DEV_FLASH_RECORD& record, bool custom)
{
    if (custom && record.family != DEV_FAMILY_VIVERI && record.family != DEV_FAMILY_BILOSA_CFI)
        return "family: " + std::to_string(record.family) + " is not 10 (serial flash) or 37 (CFI flash)";
    if (!custom && (record.device == DEV_DEVICE_INVALID || record.device == k_generic_device))
        return "device: 0 and 867 are no flash device numbers";
    if (!is_power_of_two(record.size) || record.size < 0x10000)
        return "size: " + dev_hex(record.size) + " is not a power of two of at least 0x10000";
    if (!is_power_of_two(record.sector_size) || record.sector_size < 0x1000 || record.sector_size > record.size)
        return "sector_size: " + dev_hex(record.sector_size) + " is not a power of two from 0x1000 to the size";
    if (!is_power_of_two(record.page_size) || record.page_size > record.sector_size)
        return "page_size: " + dev_hex(record.page_size) + " is not a power of two up to the sector size";
    if (record.silicon_id == 0)
        return "silicon_id: must not be 0";
    const bool serial = record.family == DEV_FAMILY_VIVERI;
    const bool cfi = record.family == DEV_FAMILY_BILOSA_CFI;
    if (record.address_bytes < (serial ? 3u : 2u) || record.address_bytes > 4)
        return serial ? "address_bytes: a serial flash uses 3 or 4 address bytes" : "address_bytes: must be 2, 3 or 4";
    if (serial && record.size > (1ull << (8 * record.address_bytes)))
        return "address_bytes: " + std::to_string(record.address_bytes) + " address bytes cannot reach " +
               dev_hex(record.size) + " bytes";

    const std::vector<uint32_t> allowed = serial ? std::vector<uint32_t>{1, 2, 4}
                                          : cfi  ? std::vector<uint32_t>{8, 16, 32}
                                                 : std::vector<uint32_t>{1, 2, 4, 8, 16};
    if (record.data_widths.empty())
        return "data_widths: must name at least one width";
    for (size_t i = 0; i < record.data_widths.size(); ++i)
    {
        const uint32_t width = record.data_widths[i];
        if (std::find(allowed.begin(), allowed.end(), width) == allowed.end())
            return "data_widths: " + std::to_string(width) + " bits is not a bus width of this family";
        if (std::find(record.data_widths.begin(), record.data_widths.begin() + long(i), width) !=
            record.data_widths.begin() + long(i))
            return "data_widths: " + std::to_string(width) + " is listed twice";
    }

    std::string problem =
        serial ? missing_commands(record.commands,
                                  {"READ_ID", "READ", "PAGE_PROGRAM", "SECTOR_ERASE", "READ_STATUS", "WRITE_ENABLE"})
        : cfi  ? missing_commands(record.commands,
                                  {"READ_ARRAY", "READ_ID", "PROGRAM", "BLOCK_ERASE", "READ_STATUS", "CLEAR_STATUS"})
               : missing_commands(record.commands, {"READ_ID", "READ", "PROGRAM", "ERASE", "READ_STATUS"});
    if (problem.empty())
        problem = shared_code(record.commands);
    if (!problem.empty())
        return "commands: " + problem;
    if (record.has_pcf && record.pcf.virtual_prog_mode_mask != 0)
        return "pcf: '" + record.pcf.pcf_name + "' claims programming through the device";
    return "";
}

std::string dev_check_catalogue(const DEV_CATALOGUE& catalogue, const std::string& devices_file,
                                const std::string& flash_file)
{
    std::map<std::string, std::string> names;
    std::map<uint32_t, std::string> numbers;
    std::map<uint32_t, std::string> idcodes;
    std::map<uint32_t, std::string> silicon_ids;
    std::map<DEV_FAMILY_ENUM, const DEV_DEVICE_RECORD*> family_layout;
    std::string error;
    auto claim =
        [&](auto& seen, const auto& key, const std::string& owner, const std::string& what, const std::string& file)
    {
        auto [it, inserted] = seen.emplace(key, owner);
        if (!inserted && error.empty())
            error = file + ": " + owner + " has the " + what + " of " + it->second;
    };
    for (const DEV_DEVICE_RECORD& d : catalogue.devices)
    {
        claim(names, d.name, d.name, "name", devices_file);
        claim(numbers, d.device, d.name, "device number " + std::to_string(d.device), devices_file);
        if (d.jtag.idcode != 0)
            claim(idcodes, d.jtag.idcode, d.name, "IDCODE " + dev_hex(d.jtag.idcode), devices_file);
        // All devices of a family share one layout, so that a look-up by family is exact.
        auto [it, inserted] = family_layout.emplace(d.family, &d);
        if (!inserted && error.empty() &&
            (it->second->has_cmf_flash_block_layout != d.has_cmf_flash_block_layout ||
             it->second->cmf_flash_block_size != d.cmf_flash_block_size))
            error = devices_file + ": " + d.name + " and " + it->second->name +
                    " are of one family but differ in cmf_flash_block_size";
    }
    for (const DEV_FLASH_RECORD& f : catalogue.flash_devices)
    {
        claim(names, f.name, f.name, "name", flash_file);
        claim(numbers, f.device, f.name, "device number " + std::to_string(f.device), flash_file);
        claim(silicon_ids, f.silicon_id, f.name, "silicon id " + dev_hex(f.silicon_id), flash_file);
    }
    return error;
}
