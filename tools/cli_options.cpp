// SPDX-License-Identifier: Apache-2.0
// The command parameter table as command-line options. Where an option lands and what it accepts
// is read from the document itself: the parameter's group names the element, its enumerator names
// the attribute, and that attribute's declaration gives the value type and the allowed words.
#include "cli_options.h"

#include "cli.h"

#include "pgm/zeb/platform/pgm_common_xml_zeb_auto_export.h"

#include <algorithm>
#include <cctype>
#include <memory>

namespace
{

// One group of parameters: the values it spans, the element kind it sets, the enumerator prefix
// in front of the attribute name, and a scratch element of that kind to read declarations from.
struct PARAM_GROUP
{
    int first;
    int last;
    PGM_COMMON_XML_ZEB_CMD_OPT_ENUM element;
    const char* element_name;
    const char* prefix;
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> (*make)();
};

template <class T> std::unique_ptr<PGM_COMMON_XML_ELEMENT> make_element()
{
    return std::make_unique<T>();
}

// The groups that an option can address. Structural parameters (ids, partitions, assignments)
// have no option name and are left out.
const PARAM_GROUP k_groups[] = {
    {1, 4, ZEB_CMD_OPT_RAW_FILE, "raw file", "ZEB_CMD_PARAM_RAW_FILE_", make_element<PGM_COMMON_XML_ZEB_RAW_FILE>},
    {12, 13, ZEB_CMD_OPT_SETTINGS, "settings", "ZEB_CMD_PARAM_SETTINGS_", make_element<PGM_COMMON_XML_ZEB_SETTINGS>},
    {14, 19, ZEB_CMD_OPT_OUTPUT_FILE, "output file options", "ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_",
     make_element<PGM_COMMON_XML_ZEB_FILE_OPTIONS>},
    {20, 25, ZEB_CMD_OPT_OUTPUT_FILE, "secondary file options",
     "ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_", make_element<PGM_COMMON_XML_ZEB_FILE_OPTIONS>},
    {32, 36, ZEB_CMD_OPT_OUTPUT_FILE, "output file", "ZEB_CMD_PARAM_OUTPUT_FILE_",
     make_element<PGM_COMMON_XML_ZEB_OUTPUT_FILE>},
    {39, 39, ZEB_CMD_OPT_FLASH_LOADER, "flash loader", nullptr, nullptr},
    {60, 76, ZEB_CMD_OPT_FLASH_DEVICE, "flash device", "ZEB_CMD_PARAM_FLASH_DEVICE_",
     make_element<PGM_COMMON_XML_ZEB_FLASH_DEVICE>},
    {79, 117, ZEB_CMD_OPT_BITSTREAM, "bitstream", "ZEB_CMD_PARAM_BITSTREAM_PATH_",
     make_element<PGM_COMMON_XML_ZEB_PATH>},
};

std::string lower(std::string_view text)
{
    std::string out(text);
    for (char& c : out)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

std::vector<std::string> split_words(std::string_view list)
{
    std::vector<std::string> words;
    size_t start = 0;
    while (start <= list.size() && !list.empty())
    {
        const size_t bar = list.find('|', start);
        const std::string_view word = list.substr(start, bar == std::string_view::npos ? bar : bar - start);
        if (!word.empty() && word != "_INVALID__" && word != "INVALID")
            words.emplace_back(word);
        if (bar == std::string_view::npos)
            break;
        start = bar + 1;
    }
    return words;
}

bool is_hex_number(std::string_view text)
{
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
        text.remove_prefix(2);
    return !text.empty() && text.size() <= 8 &&
           std::all_of(text.begin(), text.end(), [](char c) { return std::isxdigit(static_cast<unsigned char>(c)); });
}

} // namespace

bool cli_describe_param(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, CLI_PARAM_INFO& info)
{
    const int value = static_cast<int>(param);
    for (const PARAM_GROUP& group : k_groups)
    {
        if (value < group.first || value > group.last)
            continue;
        info = CLI_PARAM_INFO{param, group.element, group.element_name, "", CLI_VALUE_KIND::TEXT, {}};
        if (!group.prefix)
            return true; // the element's text
        const std::string enumerator = ZEB_DB_UTIL::get_cmd_param_enum_name(param);
        info.attribute = lower(std::string_view(enumerator).substr(std::string_view(group.prefix).size()));
        const std::unique_ptr<PGM_COMMON_XML_ELEMENT> element = group.make();
        const PGM_COMMON_XML_ATTRIBUTE* attribute = element->find_attribute(info.attribute);
        if (!attribute)
            return false;
        switch (attribute->type())
        {
        case PGM_COMMON_XML_VALUE_TYPE_BOOLEAN:
            info.kind = CLI_VALUE_KIND::FLAG;
            break;
        case PGM_COMMON_XML_VALUE_TYPE_INTEGER:
            info.kind = CLI_VALUE_KIND::NUMBER;
            break;
        case PGM_COMMON_XML_VALUE_TYPE_ENUMERATION:
            info.kind = CLI_VALUE_KIND::WORD;
            info.words = split_words(attribute->values());
            break;
        default:
            const bool address = info.attribute.find("addr") != std::string::npos || info.attribute == "watchdog_value";
            info.kind = address ? CLI_VALUE_KIND::ADDRESS : CLI_VALUE_KIND::TEXT;
            break;
        }
        return true;
    }
    return false;
}

std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> cli_accepted_params(std::string_view option_name, bool listed)
{
    std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> accepted;
    CLI_PARAM_INFO info;
    for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : ZEB_DB_UTIL::find_cmd_params_by_option_name(option_name))
    {
        if (!ZEB_DB::get_enabled(param) || !ZEB_DB_UTIL::param_enabled_by_ini(param) ||
            !cli_describe_param(param, info))
            continue;
        if (listed && ZEB_DB::get_hidden(param))
            continue;
        // A raw file takes its settings from its own argument, not from an option.
        if (info.element == ZEB_CMD_OPT_RAW_FILE)
            continue;
        accepted.push_back(param);
    }
    return accepted;
}

std::vector<std::string> cli_accepted_option_names(bool listed)
{
    std::vector<std::string> names;
    for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : ZEB_DB::get_all_cmd_param_type_keys())
    {
        const std::string name = ZEB_DB::get_option_name(param);
        if (name.empty() || std::find(names.begin(), names.end(), name) != names.end())
            continue;
        if (!cli_accepted_params(name, listed).empty())
            names.push_back(name);
    }
    return names;
}

std::string cli_closest_option_name(std::string_view name)
{
    return cli_nearest_word(name, cli_accepted_option_names(true), std::max<size_t>(2, name.size() / 3));
}

std::string cli_value_summary(const CLI_PARAM_INFO& info)
{
    switch (info.kind)
    {
    case CLI_VALUE_KIND::FLAG:
        return "ON|OFF";
    case CLI_VALUE_KIND::WORD:
    {
        std::string text;
        for (const std::string& word : info.words)
            text += (text.empty() ? "" : "|") + word;
        return text;
    }
    case CLI_VALUE_KIND::NUMBER:
        return "decimal number";
    case CLI_VALUE_KIND::ADDRESS:
        return "hexadecimal number (0x...)";
    case CLI_VALUE_KIND::TEXT:
        break;
    }
    return "text";
}

bool cli_convert_value(const CLI_PARAM_INFO& info, std::string_view option_name, std::string_view value,
                       std::string& text, std::string& error)
{
    const std::string word = std::string(value);
    bool fits = true;
    switch (info.kind)
    {
    case CLI_VALUE_KIND::FLAG:
        fits = word == "ON" || word == "OFF" || word == "on" || word == "off";
        text = word == "ON" || word == "on" ? "1" : "0";
        break;
    case CLI_VALUE_KIND::WORD:
        fits = std::find(info.words.begin(), info.words.end(), word) != info.words.end();
        if (fits)
            text = std::to_string(static_cast<uint32_t>(pgm_common_xml_enum_value(word)));
        break;
    case CLI_VALUE_KIND::NUMBER:
        fits = !word.empty() && word.size() <= 9 &&
               std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
        text = word;
        break;
    case CLI_VALUE_KIND::ADDRESS:
        fits = is_hex_number(word);
        if (fits)
        {
            char formatted[16];
            std::snprintf(formatted, sizeof formatted, "0x%08lX", std::stoul(word, nullptr, 16));
            text = formatted;
        }
        break;
    case CLI_VALUE_KIND::TEXT:
        fits = !word.empty();
        text = word;
        break;
    }
    if (!fits)
        error = "option '" + std::string(option_name) + "' does not take '" + word +
                "'; allowed: " + cli_value_summary(info);
    return fits;
}
