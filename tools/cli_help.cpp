// SPDX-License-Identifier: Apache-2.0
// Help text, manual page and bash completion from the mode table and the command parameter table,
// so that what a user reads is always what the command line accepts.
#include "cli.h"
#include "cli_options.h"

#include <iostream>
#include <string>

namespace
{

// The elements in the order in which help lists their options.
const char* const k_element_order[] = {
    "settings",     "output file", "output file options", "secondary file options", "flash loader",
    "flash device", "bitstream"};

// Calls `visit(name, info)` for each listed option of `element_name`.
template <class VISIT> void for_each_listed_option(const char* element_name, VISIT visit)
{
    for (const std::string& name : cli_accepted_option_names(true))
    {
        for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : cli_accepted_params(name, true))
        {
            CLI_PARAM_INFO info;
            if (cli_describe_param(param, info) && info.element_name == element_name)
                visit(name, info);
        }
    }
}

std::string option_names(const std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM>& params)
{
    std::string text;
    for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : params)
        text += (text.empty() ? "" : ", ") + ZEB_DB::get_option_name(param);
    return text;
}

// Escapes a text for a manual page line: backslashes, and a leading dot or quote.
std::string roff(std::string text)
{
    std::string out;
    for (char c : text)
        out += c == '\\' ? std::string("\\e") : c == '-' ? std::string("\\-") : std::string(1, c);
    if (!out.empty() && (out[0] == '.' || out[0] == '\''))
        out.insert(0, "\\&");
    return out;
}

} // namespace

const char* const CLI_ARGUMENT_RULES =
    "The mode flag, the options and the files may come in any order; an option's value follows it "
    "(--save OUT.zeb) or is joined with '=' (--save=OUT.zeb) and may not be empty. '--' ends the options, "
    "so that a file name may start with '-'. -h or --help anywhere prints this text. Every mode refuses "
    "an argument it does not take, naming it.";

void cli_print_options_help(std::ostream& out)
{
    out << "OPTIONS (convert mode, -o NAME=VALUE)\n";
    for (const char* element : k_element_order)
    {
        bool header = false;
        for_each_listed_option(element,
                               [&](const std::string& name, const CLI_PARAM_INFO& info)
                               {
                                   if (!header)
                                       out << "  " << element << ":\n";
                                   header = true;
                                   out << "    " << name << "=" << cli_value_summary(info) << '\n';
                                   const std::string description = ZEB_DB::get_description(info.param);
                                   if (!description.empty())
                                       out << "        " << description << '\n';
                               });
    }
}

int cli_help_option(std::string_view name)
{
    const std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> params = cli_accepted_params(name, true);
    if (params.empty())
    {
        const std::string closest = cli_closest_option_name(name);
        return cli_usage_error("no option '" + std::string(name) + "'" +
                               (closest.empty() ? "" : "; did you mean '" + closest + "'?"));
    }
    for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : params)
    {
        CLI_PARAM_INFO info;
        cli_describe_param(param, info);
        std::cout << name << '=' << cli_value_summary(info) << "\n    sets: " << info.element_name
                  << (info.attribute.empty() ? " (its text)" : " attribute " + info.attribute) << '\n';
        const std::string description = ZEB_DB::get_description(param);
        if (!description.empty())
            std::cout << "    " << description << '\n';
        const std::string needs = option_names(ZEB_DB::get_dependent_param(param));
        const std::string excludes = option_names(ZEB_DB::get_exclusive_param(param));
        if (!needs.empty())
            std::cout << "    needs: " << needs << '\n';
        if (!excludes.empty())
            std::cout << "    excludes: " << excludes << '\n';
    }
    return CLI_OK;
}

void cli_print_man_page(std::ostream& out, std::span<const CLI_MODE> modes, std::string_view version)
{
    out << ".TH CORVANE 1 \"\" \"corvane " << version << "\" \"User Commands\"\n"
        << ".SH NAME\ncorvane \\- make FPGA programming files from setup documents\n.SH SYNOPSIS\n";
    for (const CLI_MODE& mode : modes)
        out << ".PP\n" << roff(mode.synopsis) << '\n';
    out << ".SH DESCRIPTION\n" << roff(CLI_ARGUMENT_RULES) << '\n';
    out << ".SH MODES\n";
    for (const CLI_MODE& mode : modes)
        out << ".TP\n" << roff(mode.synopsis) << '\n' << roff(mode.description) << '\n';
    out << ".SH OPTIONS\nOptions of convert mode, given as \\fB\\-o\\fR NAME=VALUE.\n";
    for (const char* element : k_element_order)
    {
        bool header = false;
        for_each_listed_option(element,
                               [&](const std::string& name, const CLI_PARAM_INFO& info)
                               {
                                   if (!header)
                                       out << ".SS " << element << '\n';
                                   header = true;
                                   out << ".TP\n\\fB" << roff(name) << "\\fR=" << roff(cli_value_summary(info)) << '\n'
                                       << roff(ZEB_DB::get_description(info.param)) << '\n';
                               });
    }
    out << ".SH EXIT STATUS\n0 success, 1 a setting, check or generation failed, 2 bad usage, 3 an internal "
           "error. Nothing is written unless the status is 0.\n";
}

void cli_print_bash_completion(std::ostream& out, std::span<const CLI_MODE> modes)
{
    std::string flags;
    for (const CLI_MODE& mode : modes)
        if (mode.flag)
            flags += std::string(flags.empty() ? "" : " ") + mode.flag;
    std::string options;
    for (const std::string& name : cli_accepted_option_names(true))
        options += (options.empty() ? "" : " ") + name + "=";
    out << "# bash completion for corvane\n"
           "_corvane()\n{\n"
           "    local cur prev\n"
           "    cur=\"${COMP_WORDS[COMP_CWORD]}\"\n"
           "    prev=\"${COMP_WORDS[COMP_CWORD-1]}\"\n"
           "    if [[ \"$prev\" == \"-o\" ]]; then\n"
           "        compopt -o nospace\n"
           "        COMPREPLY=( $(compgen -W \""
        << options
        << "\" -- \"$cur\") )\n"
           "    elif [[ \"$cur\" == -* ]]; then\n"
           "        COMPREPLY=( $(compgen -W \""
        << flags
        << " --save --secondary --no-check --ini --json --port\" -- \"$cur\") )\n"
           "    else\n"
           "        COMPREPLY=( $(compgen -f -- \"$cur\") )\n"
           "    fi\n"
           "}\n"
           "complete -o filenames -F _corvane corvane\n";
}
