// SPDX-License-Identifier: Apache-2.0
// Raw programming data (.rpd): the flash bytes from address 0 through the last used erase sector,
// 0xFF where nothing is placed, each byte's bits reversed when bit swap is on. Streamed: one
// content at a time is in memory, never the whole flash.
#include "pgm/zeb/platform/pgmconv/pgmconv_engine.h"

#include <algorithm>
#include <vector>

namespace
{

constexpr size_t k_fill_piece = size_t(1) << 20;

class RPD_STREAM
{
public:
    RPD_STREAM(const std::string& path, bool bit_swap, const PGMIO_CCF::PROGRESS& progress, uint64_t total)
        : m_out(path), m_path(path), m_swap(bit_swap), m_progress(progress), m_total(total)
    {
    }

    // Writes `bytes` at `address`; addresses must ascend.
    void put(uint64_t address, std::span<const uint8_t> bytes)
    {
        fill_to(address);
        if (!m_swap)
            m_out.stream().write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
        else
            for (size_t done = 0; done < bytes.size(); done += k_fill_piece)
            {
                const size_t piece = std::min(k_fill_piece, bytes.size() - done);
                m_swapped.assign(bytes.begin() + done, bytes.begin() + done + piece);
                pgmio_reverse_bits(m_swapped);
                m_out.stream().write(reinterpret_cast<const char*>(m_swapped.data()), std::streamsize(piece));
            }
        m_position = address + bytes.size();
        report();
    }
    bool finish(uint64_t end, std::string& error)
    {
        fill_to(end);
        report();
        if (!m_out.is_open() || !m_out.commit())
        {
            error = "cannot write '" + m_path + "': " + m_out.error();
            return false;
        }
        return true;
    }

private:
    void fill_to(uint64_t address)
    {
        static const std::vector<char> erased(k_fill_piece, char(0xFF)); // 0xFF stays 0xFF when bit-reversed
        while (m_position < address)
        {
            const size_t piece = size_t(std::min<uint64_t>(k_fill_piece, address - m_position));
            m_out.stream().write(erased.data(), std::streamsize(piece));
            m_position += piece;
            report();
        }
    }
    void report()
    {
        if (m_progress)
            m_progress(m_position, m_total);
    }
    HTL_ZOFSTREAM m_out;
    std::string m_path;
    bool m_swap;
    const PGMIO_CCF::PROGRESS& m_progress;
    uint64_t m_total;
    uint64_t m_position = 0;
    PGMIO_BYTES m_swapped;
};

} // namespace

bool pgmconv_write_rpd(const PGMIO_CCF::STATE& state, const PGMCONV_LAYOUT& layout, const std::string& path,
                       std::string& error)
{
    RPD_STREAM out(path, !state.no_bit_swap, state.progress, layout.used_end);
    const bool walked = pgmconv_walk_layout(
        state, layout,
        [&out](const PGMCONV_ITEM& item, uint64_t offset, std::span<const uint8_t> bytes)
        {
            out.put(item.data_start + offset, bytes);
            return true;
        },
        error);
    return walked && out.finish(layout.used_end, error);
}

bool pgmconv_write_rpd_of_flash_file(const PGMIO_CCF::STATE& state, const FIO_PATH& input, const std::string& path,
                                     std::string& error)
{
    // The blocks are written from where they lie in the file, not copied out of it first.
    PGMIO_BYTES file;
    PGMIO_FLASH_IMAGE flash;
    std::vector<std::pair<uint64_t, std::span<const uint8_t>>> blocks;
    if (!pgmio_read_file(input.get_full_path(), file, error) ||
        !PGMIO_FLASH_FILE::decode_in_place(file, flash, blocks, error))
        return false;
    GFPDB_QSPI_MGR manager;
    const DEV_FLASH_RECORD* record = manager.find_device(flash.flash_device);
    const uint64_t sector = record && record->sector_size ? record->sector_size : 0x10000;
    blocks.emplace_back(flash.option_bits_address, flash.option_bits);
    std::sort(blocks.begin(), blocks.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    const uint64_t end = blocks.back().first + blocks.back().second.size();
    const uint64_t used_end = (end + sector - 1) / sector * sector;
    RPD_STREAM out(path, !state.no_bit_swap, state.progress, used_end);
    for (const auto& [address, data] : blocks)
        out.put(address, data);
    return out.finish(used_end, error);
}
