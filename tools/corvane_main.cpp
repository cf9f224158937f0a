// SPDX-License-Identifier: Apache-2.0
// The `corvane` executable: dispatches to one mode through the table below.
#include "cli.h"

#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/msg/msg_json.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <malloc.h>

namespace
{

int mode_help(const CLI_ARGS& args);
int mode_version(const CLI_ARGS& args);
int mode_man(const CLI_ARGS& args);
int mode_completion(const CLI_ARGS& args);

// One row per mode. The default mode (flag nullptr) handles setup documents.
constexpr CLI_MODE k_modes[] = {
    {nullptr, cli_mode_setup, "corvane [--check [--json] | --no-check] [--save OUT.zeb] [--layout OUT.svg] [--ini NAME=VALUE]... "
     "SETUP.zeb...",
     "Reads each setup document, validates it against the schema, normalises it and checks its settings: "
     "modes and output file types, input files (which must exist and suit the target device), helper "
     "images, flash loader, flash devices and partition ranges, assignments, pages, signing and "
     "encryption. The first problem of each document is reported as 'Detected Corvane settings error'. "
     "Relative input paths are taken from the working directory. A document that passes is then "
     "generated: every output file is written, one line per file written (path and size) and a closing "
     "count are printed, and a failed output file stops the run and leaves none of its files behind. "
     "--check stops after the check and says 'check passed'; --no-check stops after normalising. "
     "With --save the (single) document is written to OUT.zeb after a passing check; the file is "
     "replaced only when it was written completely. --ini sets a configuration switch for this run "
     "(see docs/switches.md). --check --json prints one JSON line per document: ok, or the first problem "
     "with its message number. --layout draws each flash device of the (single) document to scale as SVG."},
    {"--make-sof", cli_mode_make_sof,
     "corvane --make-sof --device NAME [--seed N] [--size BYTES] [--utilization PERCENT] [--cvp] [--hps] [--pr] "
     "[--data RAW.bin] [--design NAME] OUT.sof",
     "Writes an SRAM object file for a device of the catalogue. Its configuration data is the content of "
     "RAW.bin (--data) or deterministic synthetic content from the seed (default 1) of the device's size or "
     "--size bytes, structured like a real design: zero frames for unused resources, sparse bits in used "
     "frames, repeated frames; --utilization sets the share of used frames (default 30); --cvp, --hps and --pr "
     "declare those design capabilities, which the device must have."},
    {"--info", cli_mode_info, "corvane --info FILE [--json]",
     "Describes a programming file (SRAM object, configuration data, flash, mask, key, helper image, hex or "
     "chain description file): kind, device, sections with offsets, sizes and CRCs, flags, and whether every "
     "integrity check passes. Exit status 1 when a check fails."},
    {"--list-devices", cli_mode_list_devices, "corvane --list-devices [--json]",
     "Lists the FPGA devices of the device catalogue (docs/devices.md): family, device number, JTAG IDCODE, "
     "configuration data size, configuration schemes and features. --json prints every field of the catalogue."},
    {"--list-flash-devices", cli_mode_list_flash_devices, "corvane --list-flash-devices [--custom-db DIR] [--json]",
     "Lists the flash devices of the flash-device database: size, sector and page size, legacy flag, silicon id, "
     "address bytes and bus widths. --custom-db adds the user-defined flash devices of the *.json files in DIR; "
     "a malformed file is reported with its name and the problem."},
    {"--make-player", cli_mode_make_player,
     "corvane --make-player [--frequency F] [--voltage V] CHAIN.cdf OUT.svf|OUT.jam|OUT.jbc",
     "Writes a JTAG player file for the chain of a chain description file: serial vector format (.svf), "
     "STAPL text (.jam) or STAPL byte-code (.jbc), by the output's extension. Each device with actions gets "
     "its file (.sof or .rbf configuration data, .jic flash image through the flash loader, .ekp keys) with "
     "those actions; the others stay in BYPASS. --frequency (e.g. 100KHz, 6MHz; default 10MHz) is the TCK "
     "frequency of an .svf, --voltage (1_5V, 1_8V, 2_5V, 3_3V, 5_0V) its supply voltage. --info on a .jbc "
     "prints its STAPL text."},
    {"--sign", cli_mode_sign,
     "corvane --sign FILE (--key PEM | --digest-out DIGEST | --signature SIG.der --public-key PUB.pem)",
     "Signs configuration data (.rbf) generated with sign_later, in place: with an ECDSA P-384 private key; or "
     "writes the SHA-384 digest to be signed elsewhere; or inserts a DER signature made elsewhere after verifying "
     "it with the public key."},
    {"--finalize-encryption", cli_mode_finalize_encryption,
     "corvane --finalize-encryption FILE --hek HEK --key-file KEYS [--password-file F]",
     "Wraps the design key (its id is stored in FILE, the key is read from KEYS) under the key-encryption key of "
     "HEK and stores it in FILE, generated with finalize_encryption_later; a signature is cleared and must be "
     "made again."},
    {"--make-hky", cli_mode_make_hky, "corvane --make-hky PUB.pem OUT.hky",
     "Writes the owner root key file of an ECDSA P-384 public key."},
    {"--make-hek", cli_mode_make_hek, "corvane --make-hek OUT.hek [--password-file F]",
     "Writes a key-encryption key file with a fresh random key (mode 0600), protected by the password of F."},
    {"-c", cli_mode_convert,
     "corvane -c|--convert [-o NAME=VALUE]... [--secondary TYPE[,TYPE]...|none] [--save FILE.zeb] [--no-check] "
     "INPUT... OUTPUT",
     "Converts INPUT files into OUTPUT in one line: builds the setup document that says so, checks it and "
     "generates it. OUTPUT's extension gives the output type. A programming-file input becomes a bitstream; "
     "a raw data file is written FILE@ADDRESS (a .hex without @ loads at its own addresses). -o sets an option "
     "of the command parameter table (see OPTIONS); a flash output names its flash device with -o device=NAME. "
     "--secondary names the secondary files to write, or none; --save also writes the document built; "
     "--no-check only builds (and saves) it; --layout draws the flash layout as SVG, as in the default mode."},
    {"--convert", cli_mode_convert, "corvane --convert ...", "Same as -c."},
    {"--serve", cli_mode_serve, "corvane --serve [--port N] [SETUP.zeb]",
     "Serves the setup editor, a web page, on 127.0.0.1 (port N, or a free one) and prints the URL to open, "
     "which carries a random token that every request needs. The page edits one document (SETUP.zeb, or a new "
     "one) in three tabs: Input Files, Output Files and Configuration Device with the flash layout drawn to "
     "scale; it checks after every edit, generates, saves and opens documents. Files stay within the working "
     "directory. The JSON API under the page is described in docs/web-api.md."},
    // -- end of modes (add one row per mode above this line)
    {"--help", mode_help, "corvane --help[=OPTION] [--ini NAME=VALUE]",
     "Prints this text, or one option of convert mode with its values, dependencies and exclusions. Options that "
     "a switch unlocks are listed once it is on (--ini)."},
    {"--man", mode_man, "corvane --man", "Prints the manual page (troff)."},
    {"--completion", mode_completion, "corvane --completion", "Prints the bash completion script."},
    {"--version", mode_version, "corvane --version", "Prints the version."},
    {"--quiet", nullptr, "corvane --quiet ...", "With any mode: prints errors only."},
    {"--verbose", nullptr, "corvane --verbose ...", "With any mode: prints the debug log as well."},
};

// Refuses any argument of a mode that takes none.
int no_arguments(const CLI_ARGS& args, std::string_view mode)
{
    std::vector<CLI_OPTION> options;
    std::vector<std::string> words;
    if (!cli_split_options(args, {}, {}, options, words))
        return CLI_USAGE;
    return cli_expect_arguments(mode, words, 0, 0, "no arguments");
}

void print_wrapped(const char* text, size_t indent, size_t width)
{
    std::string line;
    std::string word;
    const std::string pad(indent, ' ');
    auto flush_word = [&]
    {
        if (word.empty())
            return;
        if (!line.empty() && pad.size() + line.size() + 1 + word.size() > width)
        {
            std::cout << pad << line << '\n';
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
        word.clear();
    };
    for (const char* p = text; *p; ++p)
    {
        if (*p == ' ')
            flush_word();
        else
            word += *p;
    }
    flush_word();
    if (!line.empty())
        std::cout << pad << line << '\n';
}

int mode_help(const CLI_ARGS& args)
{
    std::vector<CLI_OPTION> options;
    std::vector<std::string> words;
    if (!cli_split_options(args, {"--ini"}, {}, options, words) ||
        cli_expect_arguments("--help", words, 0, 1, "at most one option name") != CLI_OK)
        return CLI_USAGE;
    for (const CLI_OPTION& option : options)
        if (!cli_apply_ini(option.value))
            return CLI_USAGE;
    const std::string option = words.empty() ? std::string() : words.front();
    if (!option.empty())
        return cli_help_option(option);
    std::cout << "NAME\n"
                 "    corvane - make FPGA programming files from setup documents\n"
                 "\n"
                 "SYNOPSIS\n";
    for (const CLI_MODE& mode : k_modes)
        std::cout << "    " << mode.synopsis << '\n';
    std::cout << "\nDESCRIPTION\n";
    print_wrapped("corvane reads setup documents (.zeb, XML) that name the configuration mode, the input "
                  "bitstreams and raw data files, the output files to make, the flash devices with their "
                  "partitions, and the assignments of inputs to partitions.",
                  4, 100);
    std::cout << '\n';
    print_wrapped(CLI_ARGUMENT_RULES, 4, 100);
    std::cout << "\nMODES\n";
    for (const CLI_MODE& mode : k_modes)
    {
        std::cout << "    " << mode.synopsis << '\n';
        print_wrapped(mode.description, 8, 100);
        std::cout << '\n';
    }
    cli_print_options_help(std::cout);
    std::cout << "\nEXIT STATUS\n"
                 "    0 success, 1 the work failed (the messages say why), 2 bad usage, 3 internal error (a defect:\n"
                 "    the condition and the source position are printed).\n"
                 "\n"
                 "ENVIRONMENT\n"
                 "    CORVANE_DATA_DIR  directory holding xsd/zeb.xsd and the device catalogue\n"
                 "    CORVANE_INI       switch file read after ./corvane.ini\n"
                 "    CORVANE_DEBUG     debug log level (2 shows the library's progress lines)\n";
    return CLI_OK;
}

int mode_man(const CLI_ARGS& args)
{
    if (int status = no_arguments(args, "--man"); status != CLI_OK)
        return status;
    cli_print_man_page(std::cout, k_modes, CORVANE_VERSION);
    return CLI_OK;
}

int mode_completion(const CLI_ARGS& args)
{
    if (int status = no_arguments(args, "--completion"); status != CLI_OK)
        return status;
    cli_print_bash_completion(std::cout, k_modes);
    return CLI_OK;
}

int mode_version(const CLI_ARGS& args)
{
    if (int status = no_arguments(args, "--version"); status != CLI_OK)
        return status;
    std::cout << "corvane " << CORVANE_VERSION << '\n' << "data directory: " << fio_get_data_directory() << '\n';
    return CLI_OK;
}

} // namespace

int cli_usage_error(std::string_view text)
{
    std::cerr << "corvane: " << msg_shorten(text, MSG_LINE_LIMIT) << "\nTry 'corvane --help' for more information.\n";
    return CLI_USAGE;
}

void cli_print_error(std::string_view text)
{
    std::cerr << "corvane: " << msg_shorten(text, MSG_LINE_LIMIT) << '\n';
}

std::string cli_quote(std::string_view text)
{
    return "'" + msg_shorten(text) + "'";
}

int cli_expect_arguments(std::string_view mode, const std::vector<std::string>& arguments, size_t least, size_t most,
                         std::string_view what)
{
    const std::string mode_text = mode.empty() ? std::string("corvane") : std::string(mode);
    if (arguments.size() > most)
        return cli_usage_error("unexpected argument " + cli_quote(arguments[most]) + ": " + mode_text + " takes " +
                               std::string(what));
    if (arguments.size() < least)
        return cli_usage_error(mode_text + " needs " + std::string(what));
    return CLI_OK;
}

bool cli_split_options(const CLI_ARGS& args, const std::vector<std::string_view>& with_value,
                       const std::vector<std::string_view>& flags, std::vector<CLI_OPTION>& options,
                       std::vector<std::string>& positional)
{
    auto listed = [](const std::vector<std::string_view>& list, std::string_view name)
    {
        for (std::string_view entry : list)
            if (entry == name)
                return true;
        return false;
    };
    for (size_t i = 0; i < args.size(); ++i)
    {
        const std::string& arg = args[i];
        if (arg.size() < 2 || arg[0] != '-' || (arg[1] != '-' && !std::isalpha(static_cast<unsigned char>(arg[1]))))
        {
            positional.push_back(arg);
            continue;
        }
        if (arg == "--")
        {
            positional.insert(positional.end(), args.begin() + static_cast<long>(i) + 1, args.end());
            break;
        }
        const size_t eq = arg.find('=');
        const std::string name = arg.substr(0, eq);
        if (listed(with_value, name))
        {
            std::string value;
            if (eq != std::string::npos)
                value = arg.substr(eq + 1);
            else if (i + 1 < args.size())
                value = args[++i];
            else
                return cli_usage_error("option '" + name + "' needs a value"), false;
            if (value.empty())
                return cli_usage_error("option '" + name + "' needs a value, not an empty text"), false;
            options.push_back({name, value});
        }
        else if (listed(flags, name) && eq == std::string::npos)
            options.push_back({name, ""});
        else
        {
            std::vector<std::string> known(with_value.begin(), with_value.end());
            known.insert(known.end(), flags.begin(), flags.end());
            const std::string nearest = cli_nearest_word(name, known, std::max<size_t>(2, name.size() / 3));
            cli_usage_error("unknown option " + cli_quote(arg) +
                            (nearest.empty() ? std::string() : "; did you mean '" + nearest + "'?"));
            return false;
        }
    }
    return true;
}

std::string cli_json_string(std::string_view text)
{
    return msg_json_string(text);
}

namespace
{

bool is_help(std::string_view arg)
{
    return arg == "-h" || arg == "--help" || arg.rfind("--help=", 0) == 0;
}

// The mode row whose flag `arg` is ("--flag" or "--flag=VALUE"), or nullptr.
const CLI_MODE* find_mode(std::string_view arg)
{
    for (const CLI_MODE& mode : k_modes)
        if (mode.flag && mode.handler &&
            (arg == mode.flag || (arg.rfind(mode.flag, 0) == 0 && arg.size() > std::strlen(mode.flag) &&
                                  arg[std::strlen(mode.flag)] == '=')))
            return &mode;
    return nullptr;
}

// The help, asked for anywhere on the line: "--help NAME" and "--help=NAME" in front of a line
// without another mode describe an option (-h never does); otherwise the help flag prints the whole text, whatever
// else the line holds, with the line's switches (--ini) applied.
int dispatch_help(const CLI_ARGS& args)
{
    const std::string& first = args.front();
    const bool other_mode =
        std::any_of(args.begin() + 1, args.end(), [](const std::string& arg) { return find_mode(arg) != nullptr; });
    if (first != "-h" && is_help(first) && !other_mode)
    {
        CLI_ARGS rest(args.begin() + 1, args.end());
        if (first.rfind("--help=", 0) == 0)
            rest.insert(rest.begin(), first.substr(std::strlen("--help=")));
        return mode_help(rest);
    }
    CLI_ARGS switches;
    for (size_t i = 0; i < args.size(); ++i)
    {
        if (args[i] == "--ini" && i + 1 < args.size())
            switches.insert(switches.end(), {args[i], args[i + 1]});
        else if (args[i].rfind("--ini=", 0) == 0)
            switches.push_back(args[i]);
    }
    return mode_help(switches);
}

// Runs the mode that a flag anywhere on the line names (the default mode when none does); the
// other arguments go to it in their order. "--" ends the search: what follows is a file name.
int dispatch(const CLI_ARGS& args)
{
    const auto end = std::find(args.begin(), args.end(), std::string("--"));
    if (std::any_of(args.begin(), end, [](const std::string& arg) { return is_help(arg); }))
        return dispatch_help(args);
    const CLI_MODE* chosen = nullptr;
    CLI_ARGS rest;
    std::string chosen_flag;
    for (auto arg = args.begin(); arg != args.end(); ++arg)
    {
        const CLI_MODE* mode = arg < end ? find_mode(*arg) : nullptr;
        if (!mode)
        {
            rest.push_back(*arg);
            continue;
        }
        if (chosen)
            return cli_usage_error("'" + chosen_flag + "' and '" + *arg + "' are two modes; give one");
        chosen = mode;
        chosen_flag = *arg;
        // "--flag=VALUE": the value becomes the mode's first argument.
        if (arg->size() > std::strlen(mode->flag))
            rest.insert(rest.begin(), arg->substr(std::strlen(mode->flag) + 1));
    }
    return (chosen ? chosen : &k_modes[0])->handler(rest);
}

} // namespace

// Runs the mode that the command line names; internal errors end with status 3.
static int run(const CLI_ARGS& args)
{
    if (args.empty())
        return cli_usage_error("no setup document given");
    try
    {
        return dispatch(args);
    }
    catch (const MSG_INTERNAL_ERROR& e)
    {
        std::cerr << "Internal Error: " << e.condition() << " (" << e.module() << ", " << e.source() << ":"
                  << e.line() << ")\n";
        return CLI_INTERNAL;
    }
    catch (const std::logic_error& e)
    {
        std::cerr << "Internal Error: " << e.what() << '\n';
        return CLI_INTERNAL;
    }
    catch (const std::exception& e)
    {
        std::cerr << "corvane: " << e.what() << '\n';
        return CLI_FAILED;
    }
}

int main(int argc, char** argv)
{
    // Buffers of a MiB or more go back to the system when freed: conversions allocate and free
    // configuration images of tens of MiB one after the other, and the allocator's adaptive
    // threshold would otherwise keep each of them in the heap and raise peak memory.
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
    CLI_ARGS args(argv + 1, argv + argc);
    cli_take_reporting_flags(args);
    return cli_finish_reporting(run(args));
}
