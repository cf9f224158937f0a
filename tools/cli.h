// SPDX-License-Identifier: Apache-2.0
// Command-line front end: the modes of the `corvane` executable and their shared helpers.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Arguments of one mode: everything after the mode's flag (or all arguments for the default mode).
using CLI_ARGS = std::vector<std::string>;

// A mode returns the process exit status: 0 success, 1 failure of the work, 2 bad usage (3 is
// reserved for internal errors, which main reports).
using CLI_HANDLER = int (*)(const CLI_ARGS& args);

struct CLI_MODE
{
    const char* flag;        // "--save"; nullptr for the default mode
    CLI_HANDLER handler;
    const char* synopsis;    // one usage line
    const char* description; // paragraph for --help
};

// Exit statuses.
constexpr int CLI_OK = 0;
constexpr int CLI_FAILED = 1;
constexpr int CLI_USAGE = 2;
constexpr int CLI_INTERNAL = 3; // a broken precondition inside the library (a defect, not the user's input)

// Prints "corvane: <text>" and a hint to --help on stderr; returns CLI_USAGE.
int cli_usage_error(std::string_view text);

// Prints "corvane: <text>" on stderr, the text shortened to a message line.
void cli_print_error(std::string_view text);
// A user's text (a path, a value) quoted for a message, shortened when long.
std::string cli_quote(std::string_view text);
// The one rule for the plain arguments (files) of every mode: CLI_OK when there are `least` to
// `most` of them, else a usage error naming the first extra one, or saying that `what` is needed.
int cli_expect_arguments(std::string_view mode, const std::vector<std::string>& arguments, size_t least, size_t most,
                         std::string_view what);
// The known word nearest to `word` (case ignored; insertions, deletions, substitutions and swaps of
// neighbours count one each) within `max_distance` edits; "" when none is that near.
std::string cli_nearest_word(std::string_view word, const std::vector<std::string>& known,
                             size_t max_distance = SIZE_MAX);

// Splits "--name=value" / "--name value" options off `args`. Options listed in `with_value` take
// a value, which may not be empty. Unknown options (also "-x" words) are a usage error (returns
// false after printing it, with the nearest known option).
struct CLI_OPTION
{
    std::string name;
    std::string value;
};
bool cli_split_options(const CLI_ARGS& args, const std::vector<std::string_view>& with_value,
                       const std::vector<std::string_view>& flags, std::vector<CLI_OPTION>& options,
                       std::vector<std::string>& positional);

// `text` as a JSON string literal, quotes included, control characters escaped.
std::string cli_json_string(std::string_view text);

class PGM_COMMON_XML_ZEB_ZEB;
// Runs the settings check and then the consistency rules on a parsed document; false when either
// finds a problem, which is then printed with a second line naming the elements where it helps
// (into `explanations` instead of standard error when given).
bool cli_check_document(PGM_COMMON_XML_ZEB_ZEB* document, const std::string& file,
                        std::vector<std::string>* explanations = nullptr);

// ---- Modes -------------------------------------------------------------------------------------
int cli_mode_setup(const CLI_ARGS& args);
int cli_mode_make_sof(const CLI_ARGS& args);
int cli_mode_info(const CLI_ARGS& args);
int cli_mode_list_devices(const CLI_ARGS& args);
int cli_mode_list_flash_devices(const CLI_ARGS& args);
int cli_mode_make_player(const CLI_ARGS& args);
// Prints the STAPL text of a byte-code file (--info on .jbc); returns the exit status.
int cli_print_jbc_text(const std::string& path);
int cli_mode_sign(const CLI_ARGS& args);
int cli_mode_finalize_encryption(const CLI_ARGS& args);
int cli_mode_make_hky(const CLI_ARGS& args);
int cli_mode_make_hek(const CLI_ARGS& args);
int cli_mode_convert(const CLI_ARGS& args);
int cli_mode_serve(const CLI_ARGS& args);
// -- end of modes (add one declaration per mode above this line)

// ---- Shared steps of the modes ------------------------------------------------------------------
class PGM_COMMON_XML_ZEB_ZEB;
// Checks a document and, unless `check_only`, generates it with one line per file written and a
// summary line; false when the check or the generation failed (their messages are posted).
bool cli_check_and_generate(PGM_COMMON_XML_ZEB_ZEB* document, const std::string& label, bool check_only);
// Draws every flash device of the document's flash outputs as an SVG picture at `path` (written
// completely or not at all); false with a message when nothing can be drawn or written.
bool cli_write_layout(PGM_COMMON_XML_ZEB_ZEB* document, const std::string& path);
// The same picture as SVG text, "" when the document has no flash output to draw; false with the
// message posted when the layout cannot be computed.
bool cli_layout_svg(PGM_COMMON_XML_ZEB_ZEB* document, std::string& svg);
// Takes --quiet (errors only, nothing on standard output) and --verbose (the debug log) out of
// the arguments, wherever they are, and installs the counting message sink.
void cli_take_reporting_flags(CLI_ARGS& args);
// Prints the count of errors and warnings when `status` is a failure; returns `status`.
int cli_finish_reporting(int status);
// Applies "--ini NAME=VALUE" for this run; false after a usage error.
bool cli_apply_ini(const std::string& name_value);

// Refusals of documents that the library would take as broken preconditions (cli_gate.cpp). Each
// posts a settings error naming the element, attribute and text, and returns false.
// Every partition address read whole, no MBR, every input of a known kind, and one input (and
// output) where an output type takes one.
bool cli_document_checkable(PGM_COMMON_XML_ZEB_ZEB* document);
// Saves the document (ZEB_UTIL::save) unless it has no output file, which is refused with a message.
bool cli_save_document(PGM_COMMON_XML_ZEB_ZEB* document, const std::string& path);

// ---- Help from the tables (cli_help.cpp) ---------------------------------------------------------
// The accepted, listed options of convert mode with their descriptions, by the element they set.
void cli_print_options_help(std::ostream& out);
// One option with its allowed values, dependencies and exclusions; a usage error when unknown.
int cli_help_option(std::string_view name);
// How a command line is read, for the help and the manual page.
extern const char* const CLI_ARGUMENT_RULES;
void cli_print_man_page(std::ostream& out, std::span<const CLI_MODE> modes, std::string_view version);
void cli_print_bash_completion(std::ostream& out, std::span<const CLI_MODE> modes);
