// SPDX-License-Identifier: Apache-2.0
// Default mode: read setup documents, validate and normalise them, check their settings, generate
// their output files, and optionally write one back.
#include "cli.h"

#include "pgm/zeb/platform/ini/pgm_common_ini.h"
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/msg/msg_json.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_util.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>

#include <sys/stat.h>
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

// What identifies one version of an output file: a replaced file is a new inode (outputs are
// renamed into place), a file written in place has a new modification time.
struct FILE_STAMP
{
    bool exists = false;
    uint64_t inode = 0;
    int64_t modified_ns = 0;
    bool operator==(const FILE_STAMP&) const = default;
};

FILE_STAMP stamp_of(const std::string& path)
{
    struct stat info = {};
    if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode))
        return {};
    return {true, uint64_t(info.st_ino), int64_t(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec};
}

// The output files of a document with their stamps before the generation.
std::vector<std::pair<std::string, FILE_STAMP>> stamp_outputs(PGM_COMMON_XML_ZEB_ZEB* document)
{
    std::vector<std::pair<std::string, FILE_STAMP>> stamps;
    for (PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file : ZEB_FILE_ASSISTANT::get_output_file_elements(document))
        for (const FIO_PATH& path : ZEB_UTIL::get_output_file_paths(output_file))
            stamps.emplace_back(path.get_full_path(), stamp_of(path.get_full_path()));
    return stamps;
}

// One line per output file that the generation made or replaced, then the count.
void report_written_files(const std::vector<std::pair<std::string, FILE_STAMP>>& before)
{
    size_t written = 0;
    for (const auto& [full, stamp] : before)
    {
        const FILE_STAMP now = stamp_of(full);
        if (!now.exists || now == stamp)
            continue;
        std::error_code error;
        std::cout << "written: " << full << " (" << std::filesystem::file_size(full, error) << " bytes)\n";
        ++written;
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
    const auto before = stamp_outputs(document);
    const bool generated =
        isatty(STDERR_FILENO) ? ZEB_UTIL::generate(document, show_progress) : ZEB_UTIL::generate(document);
    if (isatty(STDERR_FILENO))
        std::cerr << "\r\033[K" << std::flush; // the progress line goes before the report
    report_written_files(before);
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
        return cli_usage_error("--ini needs NAME=VALUE, got " + cli_quote(name_value)), false;
    const std::string name = name_value.substr(0, eq);
    const std::vector<std::string> known = PGM_COMMON_INI::known_names();
    if (std::find(known.begin(), known.end(), name) == known.end())
    {
        const std::string nearest = cli_nearest_word(name, known, std::max<size_t>(2, name.size() / 3));
        return cli_usage_error("--ini: no switch " + cli_quote(name) +
                               (nearest.empty() ? "" : "; did you mean '" + nearest + "'?") +
                               " (docs/switches.md lists them)"),
               false;
    }
    PGM_COMMON_INI::set_value(name, name_value.substr(eq + 1));
    return true;
}

int cli_mode_setup(const CLI_ARGS& args)
{
    std::vector<CLI_OPTION> options;
    std::vector<std::string> files;
    if (!cli_split_options(args, {"--save", "--ini", "--layout"}, {"--no-check", "--check", "--json"}, options, files))
        return CLI_USAGE;
    if (cli_expect_arguments("", files, 1, SIZE_MAX, "a setup document") != CLI_OK)
        return CLI_USAGE;

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
