// SPDX-License-Identifier: Apache-2.0
// Chain description files (.cdf): a line-oriented text format.
//
//   # comment
//   corvane-cdf 1
//   mode JTAG
//   device 7TR440PA3R1 file "out/design one.sof" actions program,verify
//   device VQ256A
//
// The first statement gives the format version; "mode" may come once, before the devices. A
// device line names a catalogue device and optionally its programming file and its actions.
#include "pgm/zeb/platform/pgmio/pgmio_text.h"

#include "pgm/zeb/platform/dev/dev.h"

namespace
{

constexpr const char* k_magic = "corvane-cdf";
constexpr int k_version = 1;
constexpr const char* k_modes[] = {"JTAG", "PS", "AS"};

struct ACTION_NAME
{
    uint32_t bit;
    const char* name;
};
constexpr ACTION_NAME k_actions[] = {
    {PGMIO_CDF_PROGRAM, "program"}, {PGMIO_CDF_VERIFY, "verify"}, {PGMIO_CDF_BLANK_CHECK, "blank-check"},
    {PGMIO_CDF_EXAMINE, "examine"}, {PGMIO_CDF_ERASE, "erase"},
};
constexpr uint32_t k_all_actions =
    PGMIO_CDF_PROGRAM | PGMIO_CDF_VERIFY | PGMIO_CDF_BLANK_CHECK | PGMIO_CDF_EXAMINE | PGMIO_CDF_ERASE;

// Splits a line into words; a word may be double-quoted with \" and \\ inside. '#' outside quotes
// starts a comment. False with the reason on an unterminated quote or a bad escape.
bool split_words(std::string_view line, std::vector<std::string>& words, std::string& reason)
{
    words.clear();
    size_t i = 0;
    while (i < line.size())
    {
        const char c = line[i];
        if (c == ' ' || c == '\t' || c == '\r')
        {
            ++i;
            continue;
        }
        if (c == '#')
            break;
        std::string word;
        if (c == '"')
        {
            ++i;
            bool closed = false;
            while (i < line.size())
            {
                const char d = line[i++];
                if (d == '"')
                {
                    closed = true;
                    break;
                }
                if (d == '\\')
                {
                    if (i >= line.size() || (line[i] != '"' && line[i] != '\\'))
                    {
                        reason = "only \\\" and \\\\ may follow a backslash in a quoted word";
                        return false;
                    }
                    word.push_back(line[i++]);
                    continue;
                }
                word.push_back(d);
            }
            if (!closed)
            {
                reason = "unterminated quoted word";
                return false;
            }
        }
        else
        {
            while (i < line.size() && line[i] != ' ' && line[i] != '\t' && line[i] != '\r' && line[i] != '#')
                word.push_back(line[i++]);
        }
        words.push_back(std::move(word));
    }
    return true;
}

bool parse_actions(const std::string& list, uint32_t& actions, std::string& reason)
{
    actions = 0;
    size_t start = 0;
    while (start <= list.size())
    {
        const size_t comma = list.find(',', start);
        const std::string word = list.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        uint32_t bit = 0;
        for (const ACTION_NAME& action : k_actions)
            if (word == action.name)
                bit = action.bit;
        if (bit == 0)
        {
            reason = "unknown action '" + word + "' (program, verify, blank-check, examine, erase)";
            return false;
        }
        if (actions & bit)
        {
            reason = "action '" + word + "' is given twice";
            return false;
        }
        actions |= bit;
        if (comma == std::string::npos)
            break;
        start = comma + 1;
    }
    return true;
}

// The rules a device entry must follow, whether read or about to be written.
bool check_device(const PGMIO_CDF_DEVICE& device, std::string& reason)
{
    if (!PGM_DEVICE_INDEX::lookup_device(std::string_view(device.device_name)))
    {
        reason = "unknown device '" + device.device_name + "'";
        const std::string& catalogue = PGM_DEVICE_INDEX::get_catalogue_error();
        if (!catalogue.empty())
            reason += " (the device catalogue could not be read: " + catalogue + ")";
        return false;
    }
    if (device.actions & ~k_all_actions)
    {
        reason = "unknown action bits " + pgmio_hex_number(device.actions & ~k_all_actions);
        return false;
    }
    if ((device.actions & (PGMIO_CDF_PROGRAM | PGMIO_CDF_VERIFY)) && device.file.empty())
    {
        reason = "device '" + device.device_name + "' is to be programmed or verified but names no file";
        return false;
    }
    return true;
}

bool known_mode(std::string_view mode)
{
    for (const char* known : k_modes)
        if (mode == known)
            return true;
    return false;
}

std::string quote(const std::string& word)
{
    bool plain = !word.empty();
    for (char c : word)
        plain = plain && c != ' ' && c != '\t' && c != '"' && c != '\\' && c != '#' && c != '\r' && c != '\n';
    if (plain)
        return word;
    std::string quoted = "\"";
    for (char c : word)
    {
        if (c == '"' || c == '\\')
            quoted.push_back('\\');
        quoted.push_back(c);
    }
    return quoted + "\"";
}

} // namespace

bool PGMIO_CDF::parse(std::string_view text, std::string_view name, PGMIO_CDF_CHAIN& chain, std::string& error)
{
    chain = PGMIO_CDF_CHAIN{};
    uint32_t line_number = 0;
    auto fail = [&](const std::string& reason)
    {
        error = std::string(name) + ":" + std::to_string(line_number) + ": " + reason;
        chain = PGMIO_CDF_CHAIN{};
        return false;
    };
    bool have_version = false;
    bool have_mode = false;
    std::vector<std::string> words;
    std::string reason;
    size_t position = 0;
    while (position < text.size())
    {
        const size_t newline = text.find('\n', position);
        const std::string_view line =
            text.substr(position, newline == std::string_view::npos ? text.npos : newline - position);
        position = newline == std::string_view::npos ? text.size() : newline + 1;
        ++line_number;
        if (line.find('\0') != std::string_view::npos)
            return fail("a NUL character; this is not a text file");
        if (!split_words(line, words, reason))
            return fail(reason);
        if (words.empty())
            continue;
        const std::string& keyword = words[0];
        if (!have_version)
        {
            if (keyword != k_magic)
                return fail("expected '" + std::string(k_magic) + " " + std::to_string(k_version) +
                            "' as the first statement, found '" + keyword + "'");
            if (words.size() != 2 || words[1] != std::to_string(k_version))
                return fail("unsupported chain description version '" + (words.size() > 1 ? words[1] : "") +
                            "' (this build reads version " + std::to_string(k_version) + ")");
            have_version = true;
        }
        else if (keyword == "mode")
        {
            if (have_mode)
                return fail("'mode' is given twice");
            if (!chain.devices.empty())
                return fail("'mode' must come before the first device");
            if (words.size() != 2 || !known_mode(words[1]))
                return fail("'mode' takes one of JTAG, PS, AS");
            chain.mode = words[1];
            have_mode = true;
        }
        else if (keyword == "device")
        {
            if (words.size() < 2)
                return fail("'device' needs a device name");
            PGMIO_CDF_DEVICE device;
            device.device_name = words[1];
            bool have_file = false;
            bool have_actions = false;
            for (size_t i = 2; i < words.size(); i += 2)
            {
                if (i + 1 >= words.size())
                    return fail("'" + words[i] + "' needs a value");
                if (words[i] == "file" && !have_file)
                {
                    if (words[i + 1].empty())
                        return fail("'file' needs a file name");
                    device.file = words[i + 1];
                    have_file = true;
                }
                else if (words[i] == "actions" && !have_actions)
                {
                    if (!parse_actions(words[i + 1], device.actions, reason))
                        return fail(reason);
                    have_actions = true;
                }
                else if (words[i] == "file" || words[i] == "actions")
                    return fail("'" + words[i] + "' is given twice");
                else
                    return fail("unknown device option '" + words[i] + "' (file, actions)");
            }
            if (!check_device(device, reason))
                return fail(reason);
            chain.devices.push_back(std::move(device));
        }
        else
            return fail("unknown statement '" + keyword + "' (mode, device)");
    }
    ++line_number;
    if (!have_version)
        return fail("empty chain description: '" + std::string(k_magic) + " " + std::to_string(k_version) +
                    "' is missing");
    if (chain.devices.empty())
        return fail("the chain has no device");
    return true;
}

bool PGMIO_CDF::read(const FIO_PATH& path, PGMIO_CDF_CHAIN& chain, std::string& error)
{
    chain = PGMIO_CDF_CHAIN{};
    PGMIO_BYTES bytes;
    // A chain description is small; a bound far above any real one keeps a wrong file cheap.
    if (!pgmio_read_file(path.get_full_path(), bytes, error, uint64_t(16) << 20))
        return false;
    return parse(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), path.get_full_path(),
                 chain, error);
}

bool PGMIO_CDF::format(const PGMIO_CDF_CHAIN& chain, std::string& text, std::string& error)
{
    text.clear();
    if (!known_mode(chain.mode))
    {
        error = "unknown mode '" + chain.mode + "' (JTAG, PS, AS)";
        return false;
    }
    if (chain.devices.empty())
    {
        error = "the chain has no device";
        return false;
    }
    text = std::string(k_magic) + " " + std::to_string(k_version) + "\nmode " + chain.mode + "\n";
    for (const PGMIO_CDF_DEVICE& device : chain.devices)
    {
        if (!check_device(device, error))
            return false;
        if (device.file.find('\n') != std::string::npos)
        {
            error = "file name of device '" + device.device_name + "' contains a line break";
            return false;
        }
        text += "device " + quote(device.device_name);
        if (!device.file.empty())
            text += " file " + quote(device.file);
        if (device.actions != 0)
        {
            std::string list;
            for (const ACTION_NAME& action : k_actions)
                if (device.actions & action.bit)
                {
                    if (!list.empty())
                        list += ',';
                    list += action.name;
                }
            text += " actions " + list;
        }
        text += "\n";
    }
    return true;
}

bool PGMIO_CDF::write(const FIO_PATH& path, const PGMIO_CDF_CHAIN& chain, std::string& error)
{
    std::string text;
    if (!format(chain, text, error))
        return false;
    return pgmio_write_file_atomic(path.get_full_path(),
                                   std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()), error);
}

FIO_PATH PGMIO_CDF::resolve_file(const FIO_PATH& cdf_path, const PGMIO_CDF_DEVICE& device)
{
    if (device.file.empty())
        return FIO_PATH();
    if (device.file.front() == '/')
        return FIO_PATH(device.file);
    return FIO_PATH(cdf_path.get_directory() + "/" + device.file);
}
