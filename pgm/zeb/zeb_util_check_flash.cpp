// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL validation: the flash loader, the address ranges of fixed partitions, the configuration
// flash devices that output files program, and the reading of address texts.
#include "pgm/zeb/zeb_util.h"

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/zeb_db_util.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_messages.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <stdexcept>

namespace
{

constexpr const char* k_auto = "auto";
// The user flash block of the internal-flash devices holds no configuration image: it is neither
// checked nor counted when a device's partitions are looked for assignments.
constexpr const char* k_user_flash_partition = "UFM";

bool contains(const std::vector<DEV_FAMILY_ENUM>& families, DEV_FAMILY_ENUM family)
{
    return std::find(families.begin(), families.end(), family) != families.end();
}

// Makes the document's custom flash-device directory the one in use, so that its devices are
// known. An unreadable directory leaves no custom device in use; the look-up that follows then
// fails with the message that points at the directory. A document without one leaves the
// directory in use as it is, as generation does, so that both see the same devices.
void use_custom_db_dir(PGM_COMMON_XML_ZEB_ZEB* object, std::string& custom_db_dir)
{
    custom_db_dir.clear();
    ZEB_FILE_ASSISTANT::get_custom_db_dir(object, custom_db_dir);
    if (custom_db_dir.empty())
        return;
    std::string problem;
    if (!GFPDB_QSPI_MGR::set_db_custom_dir(custom_db_dir, &problem))
        ZEB_DEBUG("Custom database directory not used: %s", problem.c_str());
}

// The family of the configuration device that a flash device's `type` names. Every output type
// looks the name up the same way: in the flash-device database (custom devices included), then in
// the device database, which also holds the devices with internal flash. False when neither has it.
bool find_config_device_family(const std::string& type, DEV_FAMILY_ENUM& family)
{
    const GFPDB_QSPI_MGR gfpdb_mgr;
    if (const DEV_FLASH_RECORD* flash = gfpdb_mgr.find_device(type, true))
    {
        family = flash->family;
        return true;
    }
    if (const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(std::string_view(type)))
    {
        family = device->get_family();
        return true;
    }
    return false;
}

// The rules for one flash device of the document, from its type to its assignments.
bool check_flash_device(PGM_COMMON_XML_ZEB_ZEB* object, const PGM_COMMON_XML_ZEB_FLASH_DEVICE* flash_device,
                        const std::vector<FIO_FILE_TYPE>& input_file_types,
                        const std::vector<DEV_FAMILY_ENUM>& config_device_families, const std::string& custom_db_dir,
                        std::string& message, bool& error)
{
    const std::string& type = flash_device->get_type();
    if (type.empty())
    {
        message = "Missing configuration device setting.";
        return false;
    }
    DEV_FAMILY_ENUM family = DEV_FAMILY_INVALID;
    if (!find_config_device_family(type, family))
    {
        const char* hint = custom_db_dir.empty() ? ""
                                                 : " If this is a custom-defined configuration device, ensure that you "
                                                   "have set the correct custom database directory.";
        message = msg_printf("Unrecognized configuration device %s.%s", type.c_str(), hint);
        return false;
    }
    if (!contains(config_device_families, family))
    {
        message = msg_printf("Unrecognized configuration device %s.", type.c_str());
        return false;
    }

    if (!ZEB_UTIL::check_assignment_bitstream_settings(object, message, error))
        return false;
    if (!ZEB_UTIL::check_assignment_page_settings(object, message, error))
        return false;

    const std::vector<PGM_COMMON_XML_ZEB_PARTITION*>& partitions = flash_device->get_partition_list();
    if (partitions.empty() && flash_device->get_mbr_list().empty())
    {
        message = "Missing flash partition. Please add the partition and assign the input to the partition in "
                  "Configuration Device tab.";
        return false;
    }
    // check_assignment only ever sets the flag, so it gathers "any partition is assigned".
    bool has_assignment = false;
    for (PGM_COMMON_XML_ZEB_PARTITION* partition : partitions)
    {
        if (partition->get_id() == k_user_flash_partition)
            continue;
        if (!ZEB_UTIL::check_assignment(object, partition, input_file_types, has_assignment, message, error))
            return false;
    }
    if (!has_assignment)
    {
        message = "There is no assignment for any flash partition. Please add the partition or assign the input file "
                  "to the partition in Configuration Device tab.";
        error = true;
        return false;
    }
    if (!flash_device->get_mbr_list().empty())
        ZEB_UTIL_INTERNAL_ERROR("Not support mbr partition yet");
    return true;
}

// The inputs that a flash device of the document may take when no output file states them: those
// common to the output files that program the device, else to every output file that programs a
// flash device; in a document without such output files, every input that a flash programming
// file for one of the families (any family when none is given) accepts.
std::vector<FIO_FILE_TYPE> flash_device_input_file_types(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id,
                                                         const std::vector<DEV_FAMILY_ENUM>& config_device_families)
{
    std::vector<ZEB_FILE_TYPE> programming;
    for (PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file : ZEB_FILE_ASSISTANT::get_output_file_elements(object))
        if (ZEB_FILE_ASSISTANT::get_flash_device_id_element(output_file, id))
            programming.push_back(ZEB_DB_UTIL::get_zeb_file_type_enum(output_file->get_type()));
    if (programming.empty())
        programming = ZEB_FILE_ASSISTANT::get_output_file_types(object, true);
    if (!programming.empty())
        return ZEB_DB_UTIL::get_common_input_file_types(programming);

    std::vector<FIO_FILE_TYPE> accepted;
    for (ZEB_FILE_TYPE type : ZEB_DB::get_all_output_file_type_keys())
    {
        if (!ZEB_DB::get_enabled(type))
            continue;
        const std::vector<DEV_FAMILY_ENUM> families = ZEB_DB::get_config_device_family(type);
        const bool targets =
            std::any_of(families.begin(), families.end(),
                        [&](DEV_FAMILY_ENUM family)
                        { return config_device_families.empty() || contains(config_device_families, family); });
        if (!targets)
            continue;
        for (FIO_FILE_TYPE input : ZEB_DB::get_input_file_type(type))
            if (std::find(accepted.begin(), accepted.end(), input) == accepted.end())
                accepted.push_back(input);
    }
    return accepted;
}

} // namespace

bool ZEB_UTIL::check_flash_loader(PGM_COMMON_XML_ZEB_ZEB* object, std::string& message, bool& /*error*/)
{
    ZEB_UTIL_ASSERT(object);
    const std::vector<PGM_COMMON_XML_ZEB_FLASH_DEVICES*>& containers = object->get_flash_devices_list();
    if (containers.empty())
    {
        message = "Missing configuration device setting. Please add the device into Configuration Device tab.";
        return false;
    }
    const std::vector<PGM_COMMON_XML_ZEB_FLASH_LOADER*>& loaders = containers.front()->get_flash_loader_list();
    if (loaders.empty())
    {
        message = "Missing flash loader. Please assign the flash loader in Configuration Device tab.";
        return false;
    }
    if (loaders.size() > 1)
    {
        message = "Found multiple flash loaders, however only allow one.";
        return false;
    }
    // The loader is the FPGA that programs the flash for the programmer; a flash device of the
    // catalogue cannot play that part although the device index knows its name.
    const std::string& name = loaders.front()->get_text();
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(std::string_view(name));
    if (!device || device->is_flash_device())
    {
        message = msg_printf("Unrecognized flash loader %s", name.c_str());
        return false;
    }
    return true;
}

bool ZEB_UTIL::check_partitions(PGM_COMMON_XML_ZEB_ZEB* object, std::string& message, bool& /*error*/)
{
    ZEB_UTIL_ASSERT(object);
    if (object->get_flash_devices_list().empty())
    {
        message = "Missing flash partition";
        return false;
    }
    // One list for the whole document: partitions of different flash devices are compared too.
    std::vector<PGM_COMMON_XML_ZEB_PARTITION*> placed;
    for (PGM_COMMON_XML_ZEB_FLASH_DEVICE* flash_device : ZEB_FILE_ASSISTANT::get_flash_device_elements(object))
    {
        if (!flash_device->get_mbr_list().empty())
            ZEB_UTIL_INTERNAL_ERROR("Not support mbr partition yet");
        for (PGM_COMMON_XML_ZEB_PARTITION* partition : flash_device->get_partition_list())
        {
            // Automatically placed partitions are laid out later and cannot collide yet.
            if (partition->get_s_addr() == k_auto)
                continue;
            const uint32_t start = convert_string_to_dword(partition->get_s_addr());
            const uint32_t end =
                partition->get_e_addr() == k_auto ? 0 : convert_string_to_dword(partition->get_e_addr());
            if (!check_partition_address(start, end, placed, message))
                return false;
            placed.push_back(partition);
        }
    }
    return true;
}

// Only the new range's ends are tested against each earlier range, so a new range that encloses
// an earlier one passes; the order of the partitions decides. An end of 0 stands for "auto" and
// is printed as 00000000.
bool ZEB_UTIL::check_partition_address(uint32_t start, uint32_t end,
                                       std::vector<PGM_COMMON_XML_ZEB_PARTITION*> partitions, std::string& message)
{
    for (const PGM_COMMON_XML_ZEB_PARTITION* partition : partitions)
    {
        if (partition->get_s_addr() == k_auto)
            ZEB_UTIL_INTERNAL_ERROR("Should not have 'auto' in filtered partition list");
        const uint32_t partition_start = convert_string_to_dword(partition->get_s_addr());
        if (partition->get_e_addr() == k_auto)
        {
            const bool conflict =
                end != 0 ? start <= partition_start && partition_start <= end : start == partition_start;
            if (conflict)
            {
                message = msg_printf("Flash partition address range [%08x-%08x] conflicts with range [%08x-auto]",
                                     start, end, partition_start);
                return false;
            }
            continue;
        }
        const uint32_t partition_end = convert_string_to_dword(partition->get_e_addr());
        const bool start_inside = partition_start <= start && start <= partition_end;
        const bool end_inside = end != 0 && partition_start <= end && end <= partition_end;
        if (start_inside || end_inside)
        {
            message = msg_printf("Flash partition address range [%08x-%08x] conflicts with range [%08x-%08x]", start,
                                 end, partition_start, partition_end);
            return false;
        }
    }
    return true;
}

bool ZEB_UTIL::check_flash_devices(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID* flash_device_id,
                                   const std::vector<FIO_FILE_TYPE>& input_file_types,
                                   const std::vector<DEV_FAMILY_ENUM>& config_device_families, std::string& message,
                                   bool& error)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(flash_device_id);
    const std::string& id = flash_device_id->get_text();
    const PGM_COMMON_XML_ZEB_FLASH_DEVICE* flash_device = ZEB_FILE_ASSISTANT::get_flash_device_element(object, id);
    if (!flash_device)
    {
        message = msg_printf("Unknown configuration device ID %s.", id.c_str());
        return false;
    }
    std::string custom_db_dir;
    use_custom_db_dir(object, custom_db_dir);
    return check_flash_device(object, flash_device, input_file_types, config_device_families, custom_db_dir, message,
                              error);
}

bool ZEB_UTIL::check_flash_devices(PGM_COMMON_XML_ZEB_ZEB* object,
                                   const std::vector<DEV_FAMILY_ENUM>& config_device_families, std::string& message,
                                   bool& error)
{
    ZEB_UTIL_ASSERT(object);
    const std::vector<PGM_COMMON_XML_ZEB_FLASH_DEVICE*> flash_devices =
        ZEB_FILE_ASSISTANT::get_flash_device_elements(object);
    if (flash_devices.empty())
        return true;
    std::string custom_db_dir;
    use_custom_db_dir(object, custom_db_dir);
    for (const PGM_COMMON_XML_ZEB_FLASH_DEVICE* flash_device : flash_devices)
    {
        const std::vector<FIO_FILE_TYPE> input_file_types =
            flash_device_input_file_types(object, flash_device->get_id(), config_device_families);
        if (!check_flash_device(object, flash_device, input_file_types, config_device_families, custom_db_dir, message,
                                error))
            return false;
    }
    return true;
}

// Reads like strtoul with a 32-bit unsigned long: text that starts with "0x" in base 16 (so "0x"
// alone, or "0x" followed by no hexadecimal digit, is the "0" before the x), anything else in base
// 10 after leading white space and an optional sign, a minus negating modulo 2^32. Reading stops at
// the first character that is not a digit; "0X1F" is therefore 0. Text without a digit raises
// std::invalid_argument("invalid stoul argument"); a magnitude above 0xFFFFFFFF raises
// std::out_of_range("stoul argument out of range").
uint32_t ZEB_UTIL::convert_string_to_dword(const std::string& text)
{
    size_t position = 0;
    uint32_t base = 10;
    bool negative = false;
    if (text.compare(0, 2, "0x") == 0)
    {
        base = 16;
        if (text.size() == 2 || !std::isxdigit(static_cast<unsigned char>(text[2])))
            return 0;
        position = 2;
    }
    else
    {
        while (position < text.size() && std::isspace(static_cast<unsigned char>(text[position])))
            ++position;
        if (position < text.size() && (text[position] == '+' || text[position] == '-'))
            negative = text[position++] == '-';
    }

    uint64_t magnitude = 0;
    bool any_digit = false;
    bool out_of_range = false;
    for (; position < text.size(); ++position)
    {
        const unsigned char c = static_cast<unsigned char>(text[position]);
        uint32_t digit = 0;
        if (std::isdigit(c))
            digit = c - '0';
        else if (base == 16 && std::isxdigit(c))
            digit = std::tolower(c) - 'a' + 10;
        else
            break;
        any_digit = true;
        magnitude = magnitude * base + digit;
        // Keep reading to the end of the digits, as strtoul does, but stop the value from growing.
        if (magnitude > 0xFFFFFFFFu)
        {
            out_of_range = true;
            magnitude = 0x100000000u;
        }
    }
    if (!any_digit)
        throw std::invalid_argument("invalid stoul argument");
    if (out_of_range)
        throw std::out_of_range("stoul argument out of range");
    const uint32_t value = static_cast<uint32_t>(magnitude);
    return negative ? 0u - value : value;
}
