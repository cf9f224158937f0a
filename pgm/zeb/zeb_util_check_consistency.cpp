// SPDX-License-Identifier: Apache-2.0
// Consistency rules run after the settings check: address texts, partition ranges against each
// other and the flash, references between elements, content sizes, the FPGA that the inputs of a
// flash image are made for, and output names that would leave their directory. Each rule reports
// the element it found by name.
#include "pgm/zeb/zeb_util_check_consistency.h"
#include "pgm/zeb/zeb_util_precheck_scope.h"

#include "pgm/zeb/key_files.h"
#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/pgmio/pgmio_precheck.h"
#include "pgm/zeb/platform/pgmio/pgmio_text.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_messages.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <optional>
#include <stdexcept>

namespace
{

constexpr const char* k_auto = "auto";

std::string hex32(uint64_t value)
{
    return msg_printf("0x%08llX", static_cast<unsigned long long>(value));
}

bool fail(ZEB_CONSISTENCY_FINDING& finding, ZEB_MSG_ID id, std::vector<std::string> args)
{
    finding.id = id;
    finding.args = std::move(args);
    return false;
}

// A partition with the flash device it belongs to.
struct PLACED_PARTITION
{
    const PGM_COMMON_XML_ZEB_PARTITION* partition;
    const PGM_COMMON_XML_ZEB_FLASH_DEVICE* flash_device;
};

std::vector<PLACED_PARTITION> all_partitions(PGM_COMMON_XML_ZEB_ZEB* object)
{
    std::vector<PLACED_PARTITION> placed;
    for (const PGM_COMMON_XML_ZEB_FLASH_DEVICE* flash_device : ZEB_FILE_ASSISTANT::get_flash_device_elements(object))
    {
        for (const PGM_COMMON_XML_ZEB_PARTITION* partition : flash_device->get_partition_list())
            placed.push_back({partition, flash_device});
        for (const PGM_COMMON_XML_ZEB_MBR* mbr : flash_device->get_mbr_list())
            for (const PGM_COMMON_XML_ZEB_PARTITION* partition : mbr->get_partition_list())
                placed.push_back({partition, flash_device});
    }
    return placed;
}

std::string device_label(const PGM_COMMON_XML_ZEB_FLASH_DEVICE* flash_device)
{
    return flash_device->get_id() + " (" + flash_device->get_type() + ")";
}

// What the reader makes of a text that is not an address, for the message.
std::string read_as(const std::string& text)
{
    try
    {
        return hex32(ZEB_UTIL::convert_string_to_dword(text));
    }
    catch (const std::out_of_range&)
    {
        return "a number beyond 32 bits";
    }
    catch (const std::exception&)
    {
        return "no number at all";
    }
}

bool check_address_texts(const std::vector<PLACED_PARTITION>& partitions, ZEB_CONSISTENCY_FINDING& finding)
{
    for (const auto& [partition, flash_device] : partitions)
        for (const char* attribute : {"s_addr", "e_addr"})
        {
            const std::string& text = attribute[0] == 's' ? partition->get_s_addr() : partition->get_e_addr();
            if (!zeb_is_address_text(text))
                return fail(finding, EZEB_ADDRESS_TEXT_INVALID,
                            {text, partition->get_id(), device_label(flash_device), read_as(text), attribute});
        }
    return true;
}

// The flash size of a flash device; none for a device that the flash-device database does not hold
// (the devices with internal flash) or does not know.
std::optional<uint64_t> flash_size(const PGM_COMMON_XML_ZEB_FLASH_DEVICE* flash_device)
{
    const DEV_FLASH_RECORD* record = GFPDB_QSPI_MGR().find_device(flash_device->get_type(), true);
    if (!record || record->size == 0)
        return std::nullopt;
    return record->size;
}

bool check_ranges(const std::vector<PLACED_PARTITION>& partitions, ZEB_CONSISTENCY_FINDING& finding)
{
    for (const auto& [partition, flash_device] : partitions)
    {
        const bool auto_start = partition->get_s_addr() == k_auto;
        const bool auto_end = partition->get_e_addr() == k_auto;
        const uint32_t start = auto_start ? 0 : ZEB_UTIL::convert_string_to_dword(partition->get_s_addr());
        const uint32_t end = auto_end ? 0 : ZEB_UTIL::convert_string_to_dword(partition->get_e_addr());
        if (!auto_start && !auto_end && end < start)
            return fail(finding, EZEB_PARTITION_RANGE_REVERSED,
                        {partition->get_id(), device_label(flash_device), hex32(end), hex32(start)});
        const std::optional<uint64_t> size = flash_size(flash_device);
        if (!size)
            continue;
        const bool start_outside = !auto_start && start >= *size;
        const bool end_outside = !auto_end && end >= *size;
        if (start_outside || end_outside)
            return fail(finding, EZEB_PARTITION_BEYOND_FLASH,
                        {partition->get_id(), partition->get_s_addr() + "-" + partition->get_e_addr(),
                         device_label(flash_device), std::to_string(*size), hex32(*size - 1)});
    }
    return true;
}

bool has_partition(const std::vector<PLACED_PARTITION>& partitions, const std::string& id)
{
    return std::any_of(partitions.begin(), partitions.end(),
                       [&](const PLACED_PARTITION& placed) { return placed.partition->get_id() == id; });
}

bool check_references(PGM_COMMON_XML_ZEB_ZEB* object, const std::vector<PLACED_PARTITION>& partitions,
                      ZEB_CONSISTENCY_FINDING& finding)
{
    for (PGM_COMMON_XML_ZEB_ASSIGNMENT* assignment : ZEB_FILE_ASSISTANT::get_assignment_elements(object))
    {
        const std::string where = "the assignment to partition " + assignment->get_partition_id();
        if (!has_partition(partitions, assignment->get_partition_id()))
            return fail(finding, EZEB_UNRESOLVED_REFERENCE,
                        {"partition_id", assignment->get_partition_id(), "an assignment", "partition"});
        for (const PGM_COMMON_XML_ZEB_RAW_FILE_ID* id : assignment->get_raw_file_id_list())
            if (!ZEB_FILE_ASSISTANT::get_raw_file_element(object, id->get_text()))
                return fail(finding, EZEB_UNRESOLVED_REFERENCE, {"raw_file_id", id->get_text(), where, "raw_file"});
        for (const PGM_COMMON_XML_ZEB_BITSTREAM_ID* id : assignment->get_bitstream_id_list())
            if (!ZEB_FILE_ASSISTANT::get_bitstream_element(object, id->get_text()))
                return fail(finding, EZEB_UNRESOLVED_REFERENCE, {"bitstream_id", id->get_text(), where, "bitstream"});
    }
    for (PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file : ZEB_FILE_ASSISTANT::get_output_file_elements(object))
    {
        const std::string where = "output file " + output_file->get_name();
        for (const PGM_COMMON_XML_ZEB_BITSTREAM_ID* id : output_file->get_bitstream_id_list())
            if (!ZEB_FILE_ASSISTANT::get_bitstream_element(object, id->get_text()))
                return fail(finding, EZEB_UNRESOLVED_REFERENCE, {"bitstream_id", id->get_text(), where, "bitstream"});
        for (const PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID* id : output_file->get_flash_device_id_list())
            if (!ZEB_FILE_ASSISTANT::get_flash_device_element(object, id->get_text()))
                return fail(finding, EZEB_UNRESOLVED_REFERENCE,
                            {"flash_device_id", id->get_text(), where, "flash_device"});
    }
    return true;
}

// Bytes that a raw data file puts into its partition: the span from its lowest to its highest
// loaded address for hex records, the file size for a raw binary. None when the file cannot be
// read; generation reports that with its reason.
std::optional<uint64_t> raw_file_size(const PGM_COMMON_XML_ZEB_RAW_FILE* raw_file)
{
    if (raw_file->get_type() == PGM_COMMON_XML_ENUM_HEX)
    {
        PGMIO_HEX_READER reader;
        reader.set_file(raw_file->get_text());
        if (!reader.read_hex_file(false, false) || reader.get_hex_list()->empty())
            return std::nullopt;
        uint64_t low = UINT64_MAX;
        uint64_t high = 0;
        for (const PGMIO_HEX_RECORD& record : *reader.get_hex_list())
        {
            low = std::min(low, record.address());
            high = std::max(high, record.address() + record.data.size());
        }
        return high - low;
    }
    std::error_code error;
    const uintmax_t size = std::filesystem::file_size(raw_file->get_text(), error);
    if (error)
        return std::nullopt;
    return size;
}

// The path as the document writes it, the bytes and the targeted FPGA of one assignment's input. A compressed
// bitstream's size is known only once it is compressed, so only its device is reported.
struct ASSIGNED_CONTENT
{
    std::string path;
    std::optional<uint64_t> size;
    std::string device_name;
};

ASSIGNED_CONTENT assigned_content(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_ASSIGNMENT* assignment)
{
    ASSIGNED_CONTENT content;
    if (!assignment->get_bitstream_id_list().empty())
    {
        const PGM_COMMON_XML_ZEB_BITSTREAM* bitstream =
            ZEB_FILE_ASSISTANT::get_bitstream_element(object, assignment->get_bitstream_id_list().front()->get_text());
        if (!bitstream || bitstream->get_path_list().empty())
            return content;
        const PGM_COMMON_XML_ZEB_PATH* path = bitstream->get_path_list().front();
        content.path = path->get_text();
        const PGM_DEVICE* device = nullptr;
        PGMIO_PRECHECK_INFO info;
        std::string message;
        if (!ZEB_UTIL::precheck_input_file(FIO_PATH(path->get_text()), &device, &info, message, message, true))
            return content;
        content.device_name = info.device_name;
        if (!path->get_compression() && info.config_data_size != 0)
            content.size = info.config_data_size;
        return content;
    }
    if (!assignment->get_raw_file_id_list().empty())
    {
        if (const PGM_COMMON_XML_ZEB_RAW_FILE* raw_file = ZEB_FILE_ASSISTANT::get_raw_file_element(
                object, assignment->get_raw_file_id_list().front()->get_text()))
        {
            content.path = raw_file->get_text();
            content.size = raw_file_size(raw_file);
        }
    }
    return content;
}

const PLACED_PARTITION* find_partition(const std::vector<PLACED_PARTITION>& partitions, const std::string& id)
{
    for (const PLACED_PARTITION& placed : partitions)
        if (placed.partition->get_id() == id)
            return &placed;
    return nullptr;
}

bool check_contents(PGM_COMMON_XML_ZEB_ZEB* object, const std::vector<PLACED_PARTITION>& partitions,
                    ZEB_CONSISTENCY_FINDING& finding)
{
    const std::vector<PGM_COMMON_XML_ZEB_FLASH_LOADER*> loaders = ZEB_FILE_ASSISTANT::get_flash_loader_elements(object);
    const std::string loader = loaders.empty() ? std::string() : loaders.front()->get_text();
    for (PGM_COMMON_XML_ZEB_ASSIGNMENT* assignment : ZEB_FILE_ASSISTANT::get_assignment_elements(object))
    {
        const PLACED_PARTITION* placed = find_partition(partitions, assignment->get_partition_id());
        if (!placed)
            continue;
        const ASSIGNED_CONTENT content = assigned_content(object, assignment);
        if (!loader.empty() && !content.device_name.empty() && content.device_name != loader)
            return fail(finding, EZEB_INPUT_FOR_OTHER_DEVICE,
                        {content.path, content.device_name, loader, device_label(placed->flash_device)});

        const PGM_COMMON_XML_ZEB_PARTITION* partition = placed->partition;
        if (!content.size || partition->get_s_addr() == k_auto)
            continue;
        const uint64_t start = ZEB_UTIL::convert_string_to_dword(partition->get_s_addr());
        std::optional<uint64_t> room;
        std::string limit;
        if (partition->get_e_addr() != k_auto)
        {
            room = ZEB_UTIL::convert_string_to_dword(partition->get_e_addr()) - start + 1;
            limit = "its range " + hex32(start) + "-" + partition->get_e_addr();
        }
        else if (const std::optional<uint64_t> size = flash_size(placed->flash_device))
        {
            room = *size - start;
            limit = "the flash ends at " + hex32(*size - 1);
        }
        if (room && *content.size > *room)
            return fail(finding, EZEB_CONTENT_DOES_NOT_FIT,
                        {content.path, std::to_string(*content.size), partition->get_id(),
                         device_label(placed->flash_device), limit + " (" + std::to_string(*room) + " bytes)"});
    }
    return true;
}

// Each key that an encrypted input names must be in its key file, as a key of the length that the
// targeted FPGA takes; otherwise encryption would fail, or use a key the user did not mean.
bool check_keys(PGM_COMMON_XML_ZEB_ZEB* object, ZEB_CONSISTENCY_FINDING& finding)
{
    for (const PGM_COMMON_XML_ZEB_BITSTREAM* bitstream : ZEB_FILE_ASSISTANT::get_bitstream_elements(object))
        for (const PGM_COMMON_XML_ZEB_PATH* path : bitstream->get_path_list())
        {
            if (!path->get_encryption())
                continue;
            const PGM_DEVICE* device = nullptr;
            std::string message;
            if (!ZEB_UTIL::precheck_input_file(FIO_PATH(path->get_text()), &device, message, message, true) ||
                !device || !device->get_fpga_record())
                continue;
            const uint32_t key_bits = device->get_fpga_record()->capabilities.key_length;
            const std::pair<const std::string*, const std::string*> keys[] = {
                {&path->get_key_file1(), &path->get_key1()}, {&path->get_key_file2(), &path->get_key2()}};
            for (const auto& [file, id] : keys)
                if (key_bits != 0 && !file->empty() && !id->empty() &&
                    !ZEB_KEY_FILE_ASSISTANT::has_key(*file, *id, key_bits))
                    return fail(finding, EZEB_KEY_NOT_IN_KEY_FILE,
                                {*id, path->get_text(), *file, std::to_string(key_bits / 4), device->get_name()});
        }
    return true;
}

// An output's name is a file name inside its directory attribute: a name with a separator, or "."
// or "..", would put the file somewhere the directory does not say.
bool check_output_names(PGM_COMMON_XML_ZEB_ZEB* object, ZEB_CONSISTENCY_FINDING& finding)
{
    const auto leaves = [](const std::string& name)
    { return name == "." || name == ".." || name.find_first_of("/\\") != std::string::npos; };
    for (PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file : ZEB_FILE_ASSISTANT::get_output_file_elements(object))
    {
        std::vector<std::string> names{output_file->get_name()};
        for (const PGM_COMMON_XML_ZEB_SECONDARY_FILE* secondary : output_file->get_secondary_file_list())
            names.push_back(secondary->get_name());
        for (const std::string& name : names)
            if (leaves(name))
                return fail(finding, EZEB_SETTINGS_CHECK_ERROR,
                            {"Output file name '" + name +
                             "' is not a plain file name; the output goes to directory '" +
                             output_file->get_directory() + "', so name the file without '/', '\\', '.' or '..'."});
    }
    return true;
}

} // namespace

bool zeb_is_address_text(const std::string& text)
{
    if (text == k_auto)
        return true;
    const bool hex = text.size() > 2 && text.compare(0, 2, "0x") == 0;
    const std::string digits = hex ? text.substr(2) : text;
    if (digits.empty() || digits.size() > (hex ? 8u : 10u))
        return false;
    const auto is_digit = [hex](unsigned char c) { return hex ? std::isxdigit(c) != 0 : std::isdigit(c) != 0; };
    if (!std::all_of(digits.begin(), digits.end(), is_digit))
        return false;
    return hex || std::stoull(digits) <= 0xFFFFFFFFull;
}

bool zeb_check_consistency(PGM_COMMON_XML_ZEB_ZEB* object, ZEB_CONSISTENCY_FINDING& finding)
{
    const ZEB_PRECHECK_SCOPE precheck_scope;
    ZEB_UTIL_ASSERT(object);
    const std::vector<PLACED_PARTITION> partitions = all_partitions(object);
    // Address texts first: every later rule reads the addresses.
    return check_address_texts(partitions, finding) && check_ranges(partitions, finding) &&
           check_references(object, partitions, finding) && check_contents(object, partitions, finding) &&
           check_keys(object, finding) && check_output_names(object, finding);
}

bool zeb_check_address_texts(PGM_COMMON_XML_ZEB_ZEB* object, ZEB_CONSISTENCY_FINDING& finding)
{
    ZEB_UTIL_ASSERT(object);
    return check_address_texts(all_partitions(object), finding);
}

void zeb_report_finding(const ZEB_CONSISTENCY_FINDING& finding)
{
    zeb_post_message(finding.id, finding.args);
}

bool zeb_check_consistency_and_report(PGM_COMMON_XML_ZEB_ZEB* object)
{
    ZEB_CONSISTENCY_FINDING finding;
    if (zeb_check_consistency(object, finding))
        return true;
    zeb_report_finding(finding);
    return false;
}
