// SPDX-License-Identifier: Apache-2.0
// Runs one engine conversion for bench/bench_pgmconv.sh, which times it beside the anchor tools:
//   pgmconv_run rpd OUT.rpd FLASH SOF... [--raw FILE@ADDRESS] [--no-map]
//                                                               flash layout: .rpd and .map (or not)
//   pgmconv_run hexout OUT.hexout SOF                           hex records of the configuration data
//   pgmconv_run rbf OUT.rbf SOF                                 configuration data
#include "pgm/zeb/platform/pgmconv/pgmconv.h"

#include <cstdlib>
#include <iostream>
#include <string>

int main(int argc, char** argv)
{
    if (argc < 4)
    {
        std::cerr << "usage: pgmconv_run rpd|hexout|rbf OUT [FLASH] SOF... [--raw FILE@ADDRESS] [--no-map]\n";
        return 2;
    }
    const std::string mode = argv[1];
    const FIO_PATH output(argv[2]);
    auto* options = new PGMIO_FILE_OPTIONS;
    PGMIO_CCF ccf("bench", "", options, 1, 0, false, 10.0, 1.0, false, false);
    ccf.set_output_file(&output);
    int next = 3;
    if (mode == "rpd")
    {
        options->write_rpd_from_pof = true;
        ccf.set_mem_map_output(true);
        ccf.set_device(argv[next++]);
    }
    else if (mode == "hexout")
        options->write_hexout = true;
    else
        options->write_rbf = true;
    uint32_t page = 0;
    for (; next < argc; ++next)
    {
        const std::string argument = argv[next];
        if (argument == "--no-map")
            ccf.set_mem_map_output(false);
        else if (argument == "--raw" && next + 1 < argc)
        {
            const std::string argument = argv[++next];
            const size_t at = argument.rfind('@');
            const HEX_FILE raw{FIO_PATH(argument.substr(0, at)), "RAW_DATA", PGMIO_CCF_AUTO, true};
            if (!ccf.add_rbf_file(&raw, PGMIO_CCF_AUTO, uint32_t(std::strtoul(argument.c_str() + at + 1, nullptr, 0))))
                break;
        }
        else if (!ccf.add_sof_file(FIO_PATH(argument), 0, page, 0))
            break;
        else
            ccf.set_page_user_name(page == 0 ? "FACTORY_IMAGE" : "APP" + std::to_string(page), page), ++page;
    }
    if (!ccf.get_error().empty() || !PGMIO_F2P::convert_sram_files(ccf))
    {
        std::cerr << "pgmconv_run: " << ccf.get_error() << '\n';
        return 1;
    }
    return 0;
}
