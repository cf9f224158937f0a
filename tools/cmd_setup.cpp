// SPDX-License-Identifier: Apache-2.0
// Default mode: read setup documents, validate and normalise them, check their settings, and
// optionally write one back.
#include "cli.h"

#include "pgm/zeb/platform/ini/pgm_common_ini.h"
#include "pgm/zeb/zeb_util.h"

#include <memory>

int cli_mode_setup(const CLI_ARGS& args)
{
    std::vector<CLI_OPTION> options;
    std::vector<std::string> files;
    if (!cli_split_options(args, {"--save", "--ini"}, {"--no-check"}, options, files))
        return CLI_USAGE;
    if (files.empty())
        return cli_usage_error("no setup document given");

    std::string save_path;
    bool check = true;
    for (const CLI_OPTION& option : options)
    {
        if (option.name == "--save")
            save_path = option.value;
        else if (option.name == "--no-check")
            check = false;
        else if (option.name == "--ini")
        {
            const size_t eq = option.value.find('=');
            if (eq == std::string::npos || eq == 0)
                return cli_usage_error("--ini needs NAME=VALUE, got '" + option.value + "'");
            PGM_COMMON_INI::set_value(option.value.substr(0, eq), option.value.substr(eq + 1));
        }
    }
    if (!save_path.empty() && files.size() != 1)
        return cli_usage_error("--save takes exactly one setup document");

    int status = CLI_OK;
    for (const std::string& file : files)
    {
        PGM_COMMON_XML_ZEB_ZEB* raw = nullptr;
        const bool parsed = ZEB_UTIL::parse(&raw, file);
        std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> document(raw); // owned even when normalising failed
        if (!parsed)
        {
            status = CLI_FAILED;
            continue;
        }
        if (check && !cli_check_document(document.get(), file))
        {
            status = CLI_FAILED;
            continue;
        }
        if (!save_path.empty() && !ZEB_UTIL::save(document.get(), save_path))
            status = CLI_FAILED;
    }
    return status;
}
