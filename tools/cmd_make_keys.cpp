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
    if (cli_expect_arguments("--make-hky", files, 2, 2, "a PEM public key and the output file") != CLI_OK)
        return CLI_USAGE;
    std::string error;
    if (!pgmsec_make_hky(files[0], files[1], error))
    {
        cli_print_error(error);
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
    if (cli_expect_arguments("--make-hek", files, 1, 1, "the output file") != CLI_OK)
        return CLI_USAGE;
    std::string password;
    std::string error;
    const bool ok = (options.empty() || pgmsec_read_password_file(options[0].value, password, error)) &&
                    pgmsec_make_hek(files[0], password, error);
    pgmsec_clear_password(password);
    if (!ok)
    {
        cli_print_error(error);
        return CLI_FAILED;
    }
    std::cout << "Wrote " << files[0] << '\n';
    return CLI_OK;
}
