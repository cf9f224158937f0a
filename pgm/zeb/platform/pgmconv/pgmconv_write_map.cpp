// SPDX-License-Identifier: Apache-2.0
// Memory map (.map): one line per partition of the flash layout with where its content lies, its
// size, the CRC-32 of its bytes in the flash and the SHA-256 of its source file (docs/formats.md).
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/pgmconv/pgmconv_engine.h"

namespace
{

const char* kind_name(const PGMCONV_ITEM& item)
{
    switch (item.kind)
    {
    case PGMCONV_ITEM_PAGE:
        return "page";
    case PGMCONV_ITEM_RAW:
        return "raw";
    case PGMCONV_ITEM_DIRECTORY:
        return "directory";
    default:
        return "reserved";
    }
}

} // namespace

bool pgmconv_write_map(const PGMIO_CCF::STATE& state, const PGMCONV_LAYOUT& layout, const std::string& path,
                       std::string& error)
{
    HTL_ZOFSTREAM out(path);
    std::ostream& text = out.stream();
    // Named after the flash image it describes; the conversion's own name only without one.
    const std::string image = state.output_file.is_empty() ? state.name : state.output_file.get_file_name();
    text << "# corvane memory map 1: " << image << (state.comment.empty() ? "" : " - " + state.comment) << "\n"
         << "# flash " << (layout.flash_device.empty() ? "-" : layout.flash_device) << ", "
         << msg_printf("0x%08llX", static_cast<unsigned long long>(layout.flash_size)) << " bytes, erase sector "
         << msg_printf("0x%08X", layout.sector) << ", device " << (layout.fpga ? layout.fpga->get_name() : "-")
         << ", scheme " << int(state.scheme) << ", data width "
         << (state.width ? std::to_string(state.width) + " bits" : "-") << ", rpd bit swap "
         << (state.no_bit_swap ? "off" : "on") << "\n"
         << "# name kind start end size partition_start partition_end crc32 sha256 source\n";
    for (const PGMCONV_ITEM& item : layout.items)
    {
        const std::string& sha = item.source_sha.empty() ? std::string("-") : item.source_sha;
        const uint64_t end = item.size ? item.data_start + item.size - 1 : item.data_start;
        text << item.name << ' ' << kind_name(item) << ' '
             << msg_printf("0x%08llX 0x%08llX %llu 0x%08llX 0x%08llX 0x%08X ",
                           static_cast<unsigned long long>(item.data_start), static_cast<unsigned long long>(end),
                           static_cast<unsigned long long>(item.size), static_cast<unsigned long long>(item.start),
                           static_cast<unsigned long long>(item.end), item.crc)
             << sha << ' ' << (item.source.is_empty() ? "-" : item.source.get_full_path()) << '\n';
    }
    if (!out.is_open() || !out.commit())
    {
        error = "cannot write '" + path + "': " + out.error();
        return false;
    }
    return true;
}
