// SPDX-License-Identifier: Apache-2.0
// Modes --make-hky (the owner root key file from a public key) and --make-hek (a fresh
// key-encryption key file, optionally protected by a password).
#include "cli.h"

#include "pgm/zeb/platform/pgmsec/pgmsec.h"

#include <iostream>

int cli_mode_make_hky(const CLI_ARGS& args)
{
    std::vector<CLI_OPTION> options;
    std::vector<std::string> files;
    if (!cli_split_options(args, {}, {}, options, files))
        return CLI_USAGE;
    if (files.size() != 2)
        return cli_usage_error("--make-hky takes a PEM public key and the output file");
    std::string error;
    if (!pgmsec_make_hky(files[0], files[1], error))
    {
        std::cerr << "corvane: " << error << '\n';
        return CLI_FAILED;
    }
    std::cout << "Wrote " << files[1] << '\n';
    return CLI_OK;
}

int cli_mode_make_hek(const CLI_ARGS& args)
{
    std::vector<CLI_OPTION> options;
    std::vector<std::string> files;
    if (!cli_split_options(args, {"--password-file"}, {}, options, files))
        return CLI_USAGE;
    if (files.size() != 1)
        return cli_usage_error("--make-hek takes the output file");
    std::string password;
    std::string error;
    const bool ok = (options.empty() || pgmsec_read_password_file(options[0].value, password, error)) &&
                    pgmsec_make_hek(files[0], password, error);
    pgmsec_clear_password(password);
    if (!ok)
    {
        std::cerr << "corvane: " << error << '\n';
        return CLI_FAILED;
    }
    std::cout << "Wrote " << files[0] << '\n';
    return CLI_OK;
}
