// SPDX-License-Identifier: Apache-2.0
// Modes --make-sof (an SRAM object file for a catalogue device) and --info (what a programming
// file holds and whether its checks pass).
#include "cli.h"

#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/pgmio/pgmio_info.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace
{

// A decimal or "0x" hexadecimal unsigned number; false for anything else.
bool parse_number(const std::string& text, uint64_t& value)
{
    if (text.empty() || text[0] == '-' || text[0] == '+' || text[0] == ' ')
        return false;
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    errno = 0;
    char* end = nullptr;
    value = std::strtoull(text.c_str(), &end, hex ? 16 : 10);
    return errno == 0 && end && *end == '\0' && end != text.c_str();
}

std::string hex_number(uint64_t value)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%08llx", static_cast<unsigned long long>(value));
    return text;
}

void print_flash_walk(const PGMIO_FLASH_WALK& walk)
{
    std::cout << "flash layout:             " << walk.directory
              << (walk.directory.rfind("none", 0) == 0 ? "" : " at " + hex_number(walk.directory_address))
              << (walk.bit_reversed ? ", bits of each byte reversed" : "") << '\n';
    std::cout << "images:\n";
    char line[256];
    for (const PGMIO_FLASH_WALK_IMAGE& image : walk.images)
    {
        std::snprintf(line, sizeof line, "  %-20s %-5s page %-3u %s..%s %10llu bytes crc %s %-12s %s\n",
                      image.name.c_str(), image.kind.c_str(), image.page, hex_number(image.start).c_str(),
                      hex_number(image.start + (image.size ? image.size - 1 : 0)).c_str(),
                      static_cast<unsigned long long>(image.size), hex_number(image.crc).c_str(),
                      image.device.empty() ? "-" : image.device.c_str(), image.intact ? "intact" : "DAMAGED");
        std::cout << line;
        if (!image.intact)
            std::cout << "    " << image.problem << '\n';
    }
    std::string order;
    for (const std::string& name : walk.boot_order)
        order += (order.empty() ? "" : " -> ") + name;
    std::cout << "boot order:               " << (order.empty() ? "-" : order) << '\n';
}

void print_text(const std::string& path, const PGMIO_FILE_INFO& info)
{
    auto row = [](const std::string& name, const std::string& value)
    {
        std::string label = name + ":";
        if (label.size() < 26)
            label.resize(26, ' ');
        std::cout << label << ' ' << value << '\n';
    };
    row("file", path);
    row("kind", info.kind + " (" + info.format + ")");
    row("size", std::to_string(info.size) + " bytes");
    row("device", info.device.empty() ? "-" : info.device);
    for (const auto& [name, value] : info.fields)
        row(name, value);
    if (!info.sections.empty())
    {
        std::cout << "sections:\n";
        char line[160];
        std::snprintf(line, sizeof line, "  %-8s %-12s %12s  %-10s %s\n", "tag", "offset", "size", "crc", "");
        std::cout << line;
        for (const PGMIO_INFO_SECTION& section : info.sections)
        {
            const std::string tag = std::string(size_t(section.depth) * 2, ' ') + section.tag;
            std::snprintf(line, sizeof line, "  %-8s %-12s %12llu  %-10s %s\n", tag.c_str(),
                          hex_number(section.offset).c_str(), static_cast<unsigned long long>(section.size),
                          hex_number(section.crc).c_str(), section.crc_ok ? "ok" : "MISMATCH");
            std::cout << line;
        }
    }
    if (info.has_flash)
        print_flash_walk(info.flash);
    row("integrity", info.integrity.empty() ? "ok" : "FAILED: " + info.integrity);
}

} // namespace

int cli_mode_make_sof(const CLI_ARGS& args)
{
    std::vector<CLI_OPTION> options;
    std::vector<std::string> files;
    if (!cli_split_options(args, {"--device", "--seed", "--size", "--data", "--design", "--utilization"}, {"--cvp", "--hps", "--pr"},
                           options, files))
        return CLI_USAGE;
    if (cli_expect_arguments("--make-sof", files, 1, 1, "one output file") != CLI_OK)
        return CLI_USAGE;
    std::string device_name;
    std::string data_path;
    BITASM_OPTIONS assemble;
    assemble.design_name = FIO_PATH(files[0]).get_base_name();
    for (const CLI_OPTION& option : options)
    {
        if (option.name == "--device")
            device_name = option.value;
        else if (option.name == "--data")
            data_path = option.value;
        else if (option.name == "--design")
            assemble.design_name = option.value;
        else if (option.name == "--seed" && !parse_number(option.value, assemble.seed))
            return cli_usage_error("--seed needs a number, got '" + option.value + "'");
        else if (option.name == "--utilization")
        {
            uint64_t percent = 0;
            if (!parse_number(option.value, percent) || percent > 100)
                return cli_usage_error("--utilization needs a percentage 0 to 100, got '" + option.value + "'");
            assemble.utilization = uint32_t(percent);
        }
        else if (option.name == "--size" && (!parse_number(option.value, assemble.size) || assemble.size == 0))
            return cli_usage_error("--size needs a positive number of bytes, got '" + option.value + "'");
        else if (option.name == "--cvp")
            assemble.flags |= PGMIO_DESIGN_CVP;
        else if (option.name == "--hps")
            assemble.flags |= PGMIO_DESIGN_HPS;
        else if (option.name == "--pr")
            assemble.flags |= PGMIO_DESIGN_PR;
    }
    if (device_name.empty())
        return cli_usage_error("--make-sof needs --device NAME");

    std::string error;
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(std::string_view(device_name), &error);
    if (!device || !device->get_fpga_record())
    {
        cli_print_error("unknown FPGA device " + cli_quote(device_name) + (error.empty() ? "" : ": " + error));
        return CLI_FAILED;
    }
    PGMIO_BYTES raw;
    if (!data_path.empty())
    {
        if (!pgmio_read_file(data_path, raw, error))
        {
            cli_print_error(error);
            return CLI_FAILED;
        }
        assemble.raw_data = &raw;
    }
    PGMIO_SOF_IMAGE sof;
    if (!BITASM_MGR::assemble_sof(*device, assemble, sof, error) || !PGMIO_SOF::write(files[0], sof, error))
    {
        cli_print_error("cannot make " + cli_quote(files[0]) + ": " + error);
        return CLI_FAILED;
    }
    std::cout << "Wrote " << files[0] << ": device " << device->get_name() << ", " << sof.config.payload_size()
              << " bytes of configuration data, flags " << pgmio_design_flags_text(sof.flags) << '\n';
    return CLI_OK;
}

int cli_mode_info(const CLI_ARGS& args)
{
    std::vector<CLI_OPTION> options;
    std::vector<std::string> files;
    if (!cli_split_options(args, {}, {"--json"}, options, files))
        return CLI_USAGE;
    if (cli_expect_arguments("--info", files, 1, 1, "one file") != CLI_OK)
        return CLI_USAGE;
    const bool json = !options.empty();
    if (!json && FIO_PATH(files[0]).get_extension_type() == FIO_EXTENSION_TYPE_JBC)
        return cli_print_jbc_text(files[0]);
    PGMIO_FILE_INFO info;
    std::string error;
    if (!pgmio_describe_file(files[0], info, error))
    {
        cli_print_error(error);
        return CLI_FAILED;
    }
    if (json)
        std::cout << pgmio_info_json(files[0], info);
    else
        print_text(files[0], info);
    return info.integrity.empty() ? CLI_OK : CLI_FAILED;
}
