// SPDX-License-Identifier: Apache-2.0
// The options of the command parameter table as the command line offers them: which names a user
// may give, what values each takes, where in the setup document each lands, and their help text.
#pragma once

#include "pgm/zeb/zeb_db_util.h"
#include "pgm/zeb/zeb_file_assistant.h"

#include <string>
#include <string_view>
#include <vector>

// The kind of value an option takes, read from the document attribute it sets.
enum class CLI_VALUE_KIND
{
    FLAG,    // ON or OFF
    WORD,    // one of a list of words
    NUMBER,  // a decimal number
    ADDRESS, // a hexadecimal number
    TEXT,    // any text (a file or device name)
};

// One command parameter as an option.
struct CLI_PARAM_INFO
{
    PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param;
    PGM_COMMON_XML_ZEB_CMD_OPT_ENUM element; // the kind of element it sets
    std::string element_name;                // "bitstream path", "output file", ...
    std::string attribute;                   // the attribute it sets; "" for the element's text
    CLI_VALUE_KIND kind;
    std::vector<std::string> words; // the allowed words of WORD
};

// Describes a parameter; false for one that no setter the command line uses consumes.
bool cli_describe_param(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, CLI_PARAM_INFO& info);

// The parameters of an option name that a user may give: enabled, and when gated, with its switch
// on. `listed` further drops hidden ones (for help and completion).
std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> cli_accepted_params(std::string_view option_name, bool listed);

// Every option name that is accepted (and listed when `listed`), in the table's key order, once each.
std::vector<std::string> cli_accepted_option_names(bool listed);

// The accepted option name nearest to `name` when it is a plausible misspelling; "" otherwise.
std::string cli_closest_option_name(std::string_view name);

// Turns a user's word into the parameter text the document assistant takes. False with `error`
// set (naming the option and the allowed values) when the value does not fit.
bool cli_convert_value(const CLI_PARAM_INFO& info, std::string_view option_name, std::string_view value,
                       std::string& text, std::string& error);

// A short text of the allowed values ("ON|OFF", "UP|DOWN", "hexadecimal address", ...).
std::string cli_value_summary(const CLI_PARAM_INFO& info);
