// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL validation: the assignment of inputs to flash partitions, the pages of partitions that
// hold several images, and the raw data files that assignments refer to.
#include "pgm/zeb/zeb_util.h"
#include "pgm/zeb/zeb_util_check_pages.h"

#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_messages.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace
{

constexpr const char* k_factory_image = "FACTORY_IMAGE";

// Page numbers are printed with "%d", as the messages always have: a page from 0x80000000 up shows
// as a negative number.
int as_printed(uint32_t page)
{
    return static_cast<int>(page);
}

// The input file type that each of the two raw data file types stands for.
struct RAW_FILE_KIND
{
    PGM_COMMON_XML_ENUM type;
    FIO_FILE_TYPE input_file_type;
};
constexpr RAW_FILE_KIND k_raw_file_kinds[] = {
    {PGM_COMMON_XML_ENUM_HEX, FIO_FILE_TYPE_HEX},
    {PGM_COMMON_XML_ENUM_RBF, FIO_FILE_TYPE_RBF},
};

// Whether the assignment's partition carries pages on the device that its input targets. The
// input must pass its precheck first (false with its message otherwise). Inputs other than SRAM
// object and raw binary files never take part in the page rules, and neither does anything in a
// document without settings: without a configuration scheme no partition is reserved, so none has
// pages.
bool takes_part_in_page_rules(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_ASSIGNMENT* assignment,
                              bool& takes_part, std::string& message)
{
    takes_part = false;
    // An assignment whose reference names nothing has no path; the later rules report it.
    const FIO_PATH path = ZEB_FILE_ASSISTANT::get_input_file_path(object, assignment);
    if (path.is_empty())
        return true;
    const PGM_DEVICE* device = nullptr;
    std::string detail;
    if (!ZEB_UTIL::precheck_input_file(path, &device, message, detail, true))
        return false;

    const FIO_EXTENSION_TYPE extension = path.get_extension_type();
    if (extension != FIO_EXTENSION_TYPE_SOF && extension != FIO_EXTENSION_TYPE_RBF)
        return true;
    PGMIO_CONFIG_SCHEME scheme = PGMIO_CONFIG_SCHEME_ILLEGAL;
    if (!ZEB_FILE_ASSISTANT::get_config_mode(object, scheme))
        return true;
    const DEV_FAMILY_ENUM family = device ? device->get_family() : DEV_FAMILY_GENERIC;
    takes_part = ZEB_UTIL::partition_has_page(object, assignment->get_partition_id(), family);
    return true;
}

} // namespace

bool zeb_check_page_rules(const std::vector<std::pair<std::string, uint32_t>>& paged, std::string& message, bool& error)
{
    std::vector<uint32_t> pages;
    bool has_factory_image = false;
    for (const auto& [partition_id, page] : paged)
    {
        if (partition_id == k_factory_image)
        {
            has_factory_image = true;
            if (page != 0)
            {
                message = msg_printf("FACTORY_IMAGE have been assigned to page %d. However, FACTORY_IMAGE must always "
                                     "be assigned to page 0.",
                                     as_printed(page));
                error = true;
                return false;
            }
        }
        if (std::find(pages.begin(), pages.end(), page) != pages.end())
        {
            message = msg_printf("There are more than one SOF files have been assigned to page %d. One page can only "
                                 "has one SOF file.",
                                 as_printed(page));
            error = true;
            return false;
        }
        pages.push_back(page);
    }
    if (pages.empty())
        return true;

    // A factory image alone leaves nothing to update to.
    if (has_factory_image && pages.size() == 1)
    {
        message = "RSU is enabled (FACTORY_IMAGE exists), but there is only one page. Expects to have multiple images.";
        return false;
    }
    std::sort(pages.begin(), pages.end());
    if (pages.front() != 0)
    {
        message = "Missing page 0. Page 0 must be presented.";
        error = true;
        return false;
    }
    for (size_t i = 1; i < pages.size(); ++i)
    {
        if (pages[i] != pages[i - 1] + 1)
        {
            message = msg_printf("Missing page %d when adding SOF file. The page must be presented in sequence: "
                                 "0,1,2...",
                                 as_printed(pages[i - 1] + 1));
            error = true;
            return false;
        }
    }
    return true;
}

bool ZEB_UTIL::check_assignment(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_PARTITION* partition,
                                const std::vector<FIO_FILE_TYPE>& input_file_types, bool& has_assignment,
                                std::string& message, bool& error)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(partition);
    // Only the first assignment of a partition counts, as in generation.
    PGM_COMMON_XML_ZEB_ASSIGNMENT* assignment = ZEB_FILE_ASSISTANT::get_assignment_element(object, partition->get_id());
    if (!assignment)
        return true;
    has_assignment = true;

    if (!assignment->get_bitstream_id_list().empty())
        return check_bitstream(object, assignment->get_bitstream_id_list().front(), input_file_types, message, error);
    if (assignment->get_raw_file_id_list().empty())
    {
        message = msg_printf("Missing input setting for partition %s", partition->get_id().c_str());
        return false;
    }
    return check_raw_file(object, assignment->get_raw_file_id_list().front(), input_file_types, message);
}

bool ZEB_UTIL::check_assignment_page_settings(PGM_COMMON_XML_ZEB_ZEB* object, std::string& message, bool& error)
{
    ZEB_UTIL_ASSERT(object);
    std::vector<std::pair<std::string, uint32_t>> paged;
    for (PGM_COMMON_XML_ZEB_ASSIGNMENT* assignment : ZEB_FILE_ASSISTANT::get_assignment_elements(object))
    {
        bool takes_part = false;
        if (!takes_part_in_page_rules(object, assignment, takes_part, message))
            return false;
        if (takes_part)
            paged.emplace_back(assignment->get_partition_id(), assignment->get_page());
    }
    return zeb_check_page_rules(paged, message, error);
}

// A reference to a raw file that the document does not hold fails without a message of its own
// when the document has raw files at all; callers see false and whatever the message held.
bool ZEB_UTIL::check_raw_file(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_RAW_FILE_ID* raw_file_id,
                              const std::vector<FIO_FILE_TYPE>& input_file_types, std::string& message)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(raw_file_id);
    const std::string& id = raw_file_id->get_text();
    if (object->get_raw_files_list().empty())
    {
        message = msg_printf("Missing raw file setting for raw_file_id %s", id.c_str());
        return false;
    }
    const PGM_COMMON_XML_ZEB_RAW_FILE* raw_file = ZEB_FILE_ASSISTANT::get_raw_file_element(object, id);
    if (!raw_file)
        return false;

    const PGM_COMMON_XML_ENUM type = raw_file->get_type();
    const RAW_FILE_KIND* kind = std::find_if(std::begin(k_raw_file_kinds), std::end(k_raw_file_kinds),
                                             [type](const RAW_FILE_KIND& known) { return known.type == type; });
    if (kind == std::end(k_raw_file_kinds))
    {
        message = msg_printf("Unrecogized raw file type %d", static_cast<int>(type));
        return false;
    }
    if (std::find(input_file_types.begin(), input_file_types.end(), kind->input_file_type) == input_file_types.end())
    {
        message = msg_printf("Unrecognized input file type %d", static_cast<int>(type));
        return false;
    }
    return true;
}
