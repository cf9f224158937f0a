// SPDX-License-Identifier: Apache-2.0
// Default mode: read setup documents, validate and normalise them, check their settings, generate
// their output files, and optionally write one back.
#include "cli.h"

#include "pgm/zeb/platform/ini/pgm_common_ini.h"
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/msg/msg_json.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_util.h"

#include <filesystem>
#include <iostream>
#include <memory>

#include <unistd.h>

namespace
{

// What a run does with each document after reading it.
enum class SETUP_ACTION
{
    GENERATE,   // check, then write every output file
    CHECK_ONLY, // check and say so
    READ_ONLY,  // neither (reading and saving only)
};

// One line per file that the generation wrote (made or replaced since `start`), then the count.
void report_written_files(PGM_COMMON_XML_ZEB_ZEB* document, std::filesystem::file_time_type start)
{
    size_t written = 0;
    for (PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file : ZEB_FILE_ASSISTANT::get_output_file_elements(document))
    {
        for (const FIO_PATH& path : ZEB_UTIL::get_output_file_paths(output_file))
        {
            std::error_code error;
            const std::string& full = path.get_full_path();
            if (!std::filesystem::is_regular_file(full, error) || std::filesystem::last_write_time(full, error) < start)
                continue;
            std::cout << "written: " << full << " (" << std::filesystem::file_size(full, error) << " bytes)\n";
            ++written;
        }
    }
    std::cout << written << (written == 1 ? " output file" : " output files") << " written\n";
}

// On a terminal: which output file is being written and, for a long one, how many of its bytes,
// on one line that the next one replaces; redrawn only when the percentage changes.
void show_progress(size_t index, size_t count, const FIO_PATH& output, uint64_t done, uint64_t total)
{
    static int shown = -1;
    const int percent = total == 0 ? -1 : int(done * 100 / total);
    if (total != 0 && percent == shown)
        return;
    shown = percent;
    std::cerr << "\r\033[Kgenerating " << index + 1 << " of " << count << ": " << output.get_full_path();
    if (total != 0)
        std::cerr << msg_printf(" (%d%%, %.1f of %.1f MiB)", percent, double(done) / (1 << 20),
                                double(total) / (1 << 20));
    std::cerr << std::flush;
}

// Checks (unless reading only) and generates or reports one parsed document; false on failure.
bool process(PGM_COMMON_XML_ZEB_ZEB* document, const std::string& file, SETUP_ACTION action)
{
    if (action == SETUP_ACTION::READ_ONLY)
        return true;
    // The settings check and the consistency rules post their first finding themselves.
    if (!cli_check_document(document, file))
        return false;
    if (action == SETUP_ACTION::CHECK_ONLY)
    {
        std::cout << file << ": check passed\n";
        return true;
    }
    // Files written in this run are those changed after this moment; the margin covers file
    // systems whose time stamps are coarser than the clock.
    const auto start = std::filesystem::file_time_type::clock::now() - std::chrono::seconds(2);
    const bool generated =
        isatty(STDERR_FILENO) ? ZEB_UTIL::generate(document, show_progress) : ZEB_UTIL::generate(document);
    if (isatty(STDERR_FILENO))
        std::cerr << "\r\033[K" << std::flush; // the progress line goes before the report
    report_written_files(document, start);
    return generated;
}

// --check --json: one JSON line per document with its result instead of the messages.
int check_as_json(const std::vector<std::string>& files)
{
    int status = CLI_OK;
    for (const std::string& file : files)
    {
        MSG_CAPTURE_SINK capture;
        PGM_COMMON_XML_ZEB_ZEB* raw = nullptr;
        const bool parsed = ZEB_UTIL::parse(&raw, file);
        std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> document(raw);
        bool needs_flash_loader = false;
        bool programs_config_device = false;
        bool error = false;
        std::string message;
        const bool ok = parsed && cli_document_checkable(document.get()) &&
                        ZEB_UTIL::check(document.get(), needs_flash_loader, programs_config_device, message, error,
                                        true);
        std::cout << msg_check_result_json(file, ok, capture.messages()) << '\n';
        if (!ok)
            status = CLI_FAILED;
    }
    return status;
}

} // namespace

bool cli_check_and_generate(PGM_COMMON_XML_ZEB_ZEB* document, const std::string& label, bool check_only)
{
    return process(document, label, check_only ? SETUP_ACTION::CHECK_ONLY : SETUP_ACTION::GENERATE);
}

bool cli_apply_ini(const std::string& name_value)
{
    const size_t eq = name_value.find('=');
    if (eq == std::string::npos || eq == 0)
        return cli_usage_error("--ini needs NAME=VALUE, got '" + name_value + "'"), false;
    PGM_COMMON_INI::set_value(name_value.substr(0, eq), name_value.substr(eq + 1));
    return true;
}

int cli_mode_setup(const CLI_ARGS& args)
{
    std::vector<CLI_OPTION> options;
    std::vector<std::string> files;
    if (!cli_split_options(args, {"--save", "--ini", "--layout"}, {"--no-check", "--check", "--json"}, options, files))
        return CLI_USAGE;
    if (files.empty())
        return cli_usage_error("no setup document given");

    std::string save_path;
    std::string layout_path;
    SETUP_ACTION action = SETUP_ACTION::GENERATE;
    bool json = false;
    for (const CLI_OPTION& option : options)
    {
        if (option.name == "--save")
            save_path = option.value;
        else if (option.name == "--no-check" || option.name == "--check")
        {
            const SETUP_ACTION chosen = option.name == "--check" ? SETUP_ACTION::CHECK_ONLY : SETUP_ACTION::READ_ONLY;
            if (action != SETUP_ACTION::GENERATE && action != chosen)
                return cli_usage_error("--check and --no-check exclude each other");
            action = chosen;
        }
        else if (option.name == "--layout")
            layout_path = option.value;
        else if (option.name == "--json")
            json = true;
        else if (option.name == "--ini" && !cli_apply_ini(option.value))
            return CLI_USAGE;
    }
    if (json && action != SETUP_ACTION::CHECK_ONLY)
        return cli_usage_error("--json goes with --check");
    if (json)
        return check_as_json(files);
    if (!save_path.empty() && files.size() != 1)
        return cli_usage_error("--save takes exactly one setup document");
    if (!layout_path.empty() && files.size() != 1)
        return cli_usage_error("--layout takes exactly one setup document");

    int status = CLI_OK;
    for (const std::string& file : files)
    {
        PGM_COMMON_XML_ZEB_ZEB* raw = nullptr;
        const bool parsed = ZEB_UTIL::parse(&raw, file);
        std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> document(raw); // owned even when normalising failed
        if (!parsed || !process(document.get(), file, action))
        {
            status = CLI_FAILED;
            continue;
        }
        if (!layout_path.empty() && !cli_write_layout(document.get(), layout_path))
        {
            status = CLI_FAILED;
            continue;
        }
        if (!save_path.empty() && !cli_save_document(document.get(), save_path))
            status = CLI_FAILED;
    }
    return status;
}
