// SPDX-License-Identifier: Apache-2.0
// Mode --make-player (a player file for the chain of a chain description file) and the text view
// of STAPL byte-code for --info.
#include "tools/cli.h"

#include "pgm/zeb/platform/pgmconv/pgmio_player.h"
#include "pgm/zeb/platform/pgmio/pgmio_enums.h"

#include <iostream>

namespace
{

constexpr const char* k_voltage_words[] = {"1_5V", "1_8V", "2_5V", "3_3V", "5_0V"}; // by SVFE_PROG_VOLTAGE

} // namespace

int cli_mode_make_player(const CLI_ARGS& args)
{
    std::vector<CLI_OPTION> options;
    std::vector<std::string> files;
    if (!cli_split_options(args, {"--frequency", "--voltage"}, {}, options, files))
        return CLI_USAGE;
    if (cli_expect_arguments("--make-player", files, 2, 2, "a chain description file and an output file") != CLI_OK)
        return CLI_USAGE;
    std::string frequency = "10MHz";
    int voltage = SVFE_PROG_VOLTAGE_3_3V;
    for (const CLI_OPTION& option : options)
    {
        if (option.name == "--frequency")
            frequency = option.value;
        else if (option.name == "--voltage")
        {
            voltage = -1;
            for (int i = 0; i < int(std::size(k_voltage_words)); ++i)
                if (option.value == k_voltage_words[i])
                    voltage = i;
            if (voltage < 0)
                return cli_usage_error("--voltage takes 1_5V, 1_8V, 2_5V, 3_3V or 5_0V, not '" + option.value + "'");
        }
    }
    long hz = 0;
    std::string error;
    if (!PGMIO_SVF::convert_frequency_string_to_uint(frequency, hz, error))
        return cli_usage_error(error);

    PGMIO_PLAYER_CHAIN chain;
    const FIO_PATH output(files[1]);
    bool ok = pgmio_player_read_cdf(FIO_PATH(files[0]), chain, error);
    if (ok && output.get_extension_type() == FIO_EXTENSION_TYPE_SVF)
    {
        PGMIO_SVF svf(SVFE_OPERATION_PROGRAM_VERIFY, false, hz, voltage, false);
        ok = svf.create_output_file(chain, frequency, output);
        error = svf.get_error();
    }
    else if (ok)
        ok = PGMIO_CMD_LN_INTERFACE::create_output_file(chain, output, error);
    if (!ok)
    {
        cli_print_error(error);
        return CLI_FAILED;
    }
    return CLI_OK;
}

int cli_print_jbc_text(const std::string& path)
{
    PGMIO_BYTES image;
    std::string text;
    std::string error;
    if (!pgmio_read_file(path, image, error) || !PGMIO_CMD_LN_INTERFACE::jbc_to_text(image, text, error))
    {
        cli_print_error(path + ": " + error);
        return CLI_FAILED;
    }
    std::cout << text;
    return CLI_OK;
}
