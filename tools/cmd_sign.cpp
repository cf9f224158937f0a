// SPDX-License-Identifier: Apache-2.0
// Mode --sign: signs configuration data whose signature block was reserved (sign_later), with a
// local key, or through a digest signed elsewhere (a hardware security module or signing service).
#include "cli.h"

#include "pgm/zeb/platform/pgmsec/pgmsec.h"

#include <iostream>

int cli_mode_sign(const CLI_ARGS& args)
{
    std::vector<CLI_OPTION> options;
    std::vector<std::string> files;
    if (!cli_split_options(args, {"--key", "--digest-out", "--signature", "--public-key"}, {}, options, files))
        return CLI_USAGE;
    if (cli_expect_arguments("--sign", files, 1, 1, "one configuration data file") != CLI_OK)
        return CLI_USAGE;
    std::string key, digest, signature, public_key;
    for (const CLI_OPTION& option : options)
        (option.name == "--key"          ? key
         : option.name == "--digest-out" ? digest
         : option.name == "--signature"  ? signature
                                         : public_key) = option.value;
    const int forms = !key.empty() + !digest.empty() + !signature.empty();
    if (forms != 1 || signature.empty() != public_key.empty())
        return cli_usage_error("--sign takes one of --key PEM, --digest-out FILE, or --signature DER with "
                               "--public-key PEM");
    std::string error;
    const bool ok = !key.empty()      ? pgmsec_sign_file(files[0], key, error)
                    : !digest.empty() ? pgmsec_write_digest(files[0], digest, error)
                                      : pgmsec_insert_signature(files[0], signature, public_key, error);
    if (!ok)
    {
        cli_print_error(error);
        return CLI_FAILED;
    }
    std::cout << (digest.empty() ? "Signed " + files[0] : "Wrote the SHA-384 digest of " + files[0] + " to " + digest)
              << '\n';
    return CLI_OK;
}
