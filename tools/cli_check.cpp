// SPDX-License-Identifier: Apache-2.0
// The settings check as the front end runs it: the library's check, then the consistency rules,
// and a second line under a finding that names the elements it is about. A failing check always
// prints something.
#include "cli.h"

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/zeb_db_util.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_util.h"
#include "pgm/zeb/zeb_util_check_consistency.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <stdexcept>

namespace
{

// Where the explanation lines go during a check: standard error, or the caller's list.
std::vector<std::string>* g_explanations = nullptr;

void second_line(const std::string& text)
{
    if (g_explanations)
        g_explanations->push_back(text);
    else
        std::cerr << "    " << msg_shorten(text, MSG_LINE_LIMIT) << '\n';
}

bool starts_with(const std::string& text, std::string_view prefix)
{
    return text.compare(0, prefix.size(), prefix) == 0;
}

std::vector<std::string> flash_device_names()
{
    std::vector<std::string> names;
    for (const DEV_FLASH_RECORD* record : GFPDB_QSPI_MGR().get_devices())
        names.push_back(record->name);
    return names;
}

std::vector<std::string> fpga_names()
{
    std::vector<std::string> names;
    for (const PGM_DEVICE* device : PGM_DEVICE_INDEX::get_all_devices())
        if (device->get_fpga_record())
            names.push_back(device->get_name());
    return names;
}

// The partitions of a range conflict, found the way the check finds them: each fixed partition
// against those before it, across the flash devices of the document.
void explain_range_conflict(PGM_COMMON_XML_ZEB_ZEB* object)
{
    struct PLACED
    {
        PGM_COMMON_XML_ZEB_PARTITION* partition;
        const PGM_COMMON_XML_ZEB_FLASH_DEVICE* device;
    };
    std::vector<PLACED> placed;
    std::string unused;
    for (const PGM_COMMON_XML_ZEB_FLASH_DEVICE* device : ZEB_FILE_ASSISTANT::get_flash_device_elements(object))
        for (PGM_COMMON_XML_ZEB_PARTITION* partition : device->get_partition_list())
        {
            if (partition->get_s_addr() == "auto")
                continue;
            const uint32_t start = ZEB_UTIL::convert_string_to_dword(partition->get_s_addr());
            const uint32_t end =
                partition->get_e_addr() == "auto" ? 0 : ZEB_UTIL::convert_string_to_dword(partition->get_e_addr());
            for (const PLACED& earlier : placed)
                if (!ZEB_UTIL::check_partition_address(start, end, {earlier.partition}, unused))
                {
                    second_line("Partition " + partition->get_id() + " of flash device " + device->get_id() + " (" +
                                device->get_type() + ") overlaps partition " + earlier.partition->get_id() +
                                " of flash device " + earlier.device->get_id() + " (" + earlier.device->get_type() +
                                ").");
                    return;
                }
            placed.push_back({partition, device});
        }
}

void explain_mode_mismatch(PGM_COMMON_XML_ZEB_ZEB* object)
{
    PGMIO_CONFIG_SCHEME scheme = PGMIO_CONFIG_SCHEME_ILLEGAL;
    if (!ZEB_FILE_ASSISTANT::get_config_mode(object, scheme))
        scheme = static_cast<PGMIO_CONFIG_SCHEME>(20);
    for (PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file : ZEB_FILE_ASSISTANT::get_output_file_elements(object))
    {
        const ZEB_FILE_TYPE type = ZEB_DB_UTIL::get_zeb_file_type_enum(output_file->get_type());
        if (ZEB_DB::get_independent_of_mode(type) || ZEB_DB::supports_output_file_type(scheme, type))
            continue;
        second_line("Output file " + output_file->get_directory() + "/" + output_file->get_name() + " (type " +
                    std::string(pgm_common_xml_enum_name(output_file->get_type())) +
                    "): choose a mode that supports it, or another output type; see docs/user/messages.md.");
        return;
    }
}

void explain_unknown_device(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& message)
{
    std::string custom_db_dir;
    ZEB_FILE_ASSISTANT::get_custom_db_dir(object, custom_db_dir);
    if (!custom_db_dir.empty())
    {
        std::string problem;
        if (!GFPDB_QSPI_MGR::set_db_custom_dir(custom_db_dir, &problem))
        {
            // The device is most likely one of that directory: a nearest catalogue name would mislead.
            second_line("The custom database directory " + custom_db_dir + " was not loaded: " + problem);
            return;
        }
    }
    for (const PGM_COMMON_XML_ZEB_FLASH_DEVICE* device : ZEB_FILE_ASSISTANT::get_flash_device_elements(object))
        if (message.find("device " + device->get_type() + ".") != std::string::npos)
        {
            const std::string known = cli_nearest_word(device->get_type(), flash_device_names());
            if (known == device->get_type())
                second_line("Flash device " + device->get_id() + " (" + known +
                            ") is known, but no output file type of the document programs its family.");
            else
                second_line("Flash device " + device->get_id() + " has type " + device->get_type() +
                            "; the nearest known name is " + known +
                            ". 'corvane --list-flash-devices' lists them all.");
            return;
        }
}

// An FPGA name that the catalogue lacks: the flash loader, or an output file's helper device.
void explain_unknown_fpga(const std::string& name)
{
    second_line("The nearest FPGA name is " + cli_nearest_word(name, fpga_names()) +
                ". 'corvane --list-devices' lists them all.");
}

// The sentence of a failed precheck is the same for every reason: the reason comes underneath.
void explain_failed_precheck(const std::string& message)
{
    const size_t start = std::string_view("Failed to parse ").size();
    const size_t end = message.rfind(". The file is corrupted");
    if (end == std::string::npos || end < start)
        return;
    const PGM_DEVICE* device = nullptr;
    std::string sentence;
    std::string reason;
    if (!ZEB_UTIL::precheck_input_file(FIO_PATH(message.substr(start, end - start)), &device, sentence, reason, true) &&
        !reason.empty())
        second_line("Reason: " + reason);
}

void explain(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& message)
{
    if (starts_with(message, "Flash partition address range"))
        explain_range_conflict(object);
    else if (starts_with(message, "Configuration mode '"))
        explain_mode_mismatch(object);
    else if (starts_with(message, "Unrecognized configuration device "))
        explain_unknown_device(object, message);
    else if (starts_with(message, "Unrecognized flash loader "))
        explain_unknown_fpga(message.substr(std::string_view("Unrecognized flash loader ").size()));
    else if (starts_with(message, "Cannot find '"))
        second_line("Relative paths in a setup document are taken from the working directory (" +
                    std::filesystem::current_path().string() + "), not from the document's directory.");
    else if (starts_with(message, "Failed to parse "))
        explain_failed_precheck(message);
    else if (starts_with(message, "Helper device '"))
    {
        const size_t start = std::string_view("Helper device '").size();
        explain_unknown_fpga(message.substr(start, message.find('\'', start) - start));
    }
}

} // namespace

bool cli_check_document(PGM_COMMON_XML_ZEB_ZEB* document, const std::string& file,
                        std::vector<std::string>* explanations)
{
    struct RESTORE
    {
        std::vector<std::string>* previous = g_explanations;
        ~RESTORE() { g_explanations = previous; }
    } restore;
    g_explanations = explanations;
    if (!cli_document_checkable(document))
        return false;
    bool needs_flash_loader = false;
    bool programs_config_device = false;
    bool error = false;
    std::string message;
    bool passed = false;
    try
    {
        passed = ZEB_UTIL::check(document, needs_flash_loader, programs_config_device, message, error, true);
    }
    catch (const std::exception& e)
    {
        // The address reader gives up on a text without any number or beyond 32 bits; the
        // consistency rules name that text. Anything else is a defect and goes on up.
        const bool unreadable_number = dynamic_cast<const std::invalid_argument*>(&e) != nullptr ||
                                       dynamic_cast<const std::out_of_range*>(&e) != nullptr;
        if (!unreadable_number || zeb_check_consistency_and_report(document))
            throw;
        return false;
    }
    if (!passed)
    {
        if (!message.empty())
        {
            explain(document, message);
            // An address read only in part makes ranges collide or fit where the user wrote
            // something else: name the text behind the finding.
            ZEB_CONSISTENCY_FINDING finding;
            if (!zeb_check_address_texts(document, finding))
                zeb_report_finding(finding);
        }
        // A failure the check leaves without a sentence (a reference that names nothing) is named
        // by the consistency rules.
        else if (zeb_check_consistency_and_report(document))
            cli_print_error(file + ": the settings check failed without naming a reason");
        return false;
    }
    return zeb_check_consistency_and_report(document);
}

std::string cli_nearest_word(std::string_view word, const std::vector<std::string>& known, size_t max_distance)
{
    // Edits from one word to the other, ignoring case: "VQ265A" is one swap from "VQ256A".
    const auto same = [](char x, char y)
    { return std::toupper(static_cast<unsigned char>(x)) == std::toupper(static_cast<unsigned char>(y)); };
    const auto distance = [&](std::string_view a, std::string_view b)
    {
        std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
        for (size_t i = 0; i <= a.size(); ++i)
            d[i][0] = i;
        for (size_t j = 0; j <= b.size(); ++j)
            d[0][j] = j;
        for (size_t i = 1; i <= a.size(); ++i)
            for (size_t j = 1; j <= b.size(); ++j)
            {
                d[i][j] =
                    std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (same(a[i - 1], b[j - 1]) ? 0 : 1)});
                if (i > 1 && j > 1 && same(a[i - 1], b[j - 2]) && same(a[i - 2], b[j - 1]))
                    d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
            }
        return d[a.size()][b.size()];
    };
    // A word far longer than any known one is no misspelling of it (and would cost a large table).
    std::string best;
    size_t best_distance = max_distance == SIZE_MAX ? SIZE_MAX : max_distance + 1;
    for (const std::string& candidate : known)
    {
        if (word.size() > candidate.size() && word.size() - candidate.size() >= best_distance)
            continue;
        const size_t edits = distance(word, candidate);
        if (edits < best_distance)
            best = candidate, best_distance = edits;
    }
    return best;
}
