// SPDX-License-Identifier: Apache-2.0
// Mode --finalize-encryption: a key holder wraps the design key of configuration data that was
// generated with finalize_encryption_later under the key-encryption key of a .hek file.
#include "cli.h"

#include "pgm/zeb/platform/pgmsec/pgmsec.h"

#include <iostream>

int cli_mode_finalize_encryption(const CLI_ARGS& args)
{
    std::vector<CLI_OPTION> options;
    std::vector<std::string> files;
    if (!cli_split_options(args, {"--hek", "--password-file", "--key-file"}, {}, options, files))
        return CLI_USAGE;
    std::string hek, password_file, key_file;
    for (const CLI_OPTION& option : options)
        (option.name == "--hek" ? hek : option.name == "--password-file" ? password_file : key_file) = option.value;
    if (cli_expect_arguments("--finalize-encryption", files, 1, 1, "one file") != CLI_OK)
        return CLI_USAGE;
    if (hek.empty() || key_file.empty())
        return cli_usage_error("--finalize-encryption takes one file, --hek HEK and --key-file KEYS");
    std::string password;
    std::string error;
    const bool ok = (password_file.empty() || pgmsec_read_password_file(password_file, password, error)) &&
                    pgmsec_finalize_file(files[0], hek, password, key_file, error);
    pgmsec_clear_password(password);
    if (!ok)
    {
        cli_print_error(error);
        return CLI_FAILED;
    }
    std::cout << "Finalised the encryption of " << files[0] << "; sign it again if it is to be signed\n";
    return CLI_OK;
}
