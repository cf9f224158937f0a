// SPDX-License-Identifier: Apache-2.0
// The flash verifier: follows the directory records of a flash to its images and checks them.
#include "pgm/zeb/platform/pgmio/pgmio_flash_walk.h"

#include "pgm/zeb/platform/pgmio/pgmio.h"
#include "pgm/zeb/platform/pgmio/pgmio_flash_dir.h"
#include "pgm/zeb/platform/pgmio/pgmio_precheck.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstring>

namespace
{

constexpr uint64_t k_scan_step = 0x1000;

const char* directory_name(uint16_t kind)
{
    switch (kind)
    {
    case PGMIO_DIR_BOOT_INFO:
        return "boot information";
    case PGMIO_DIR_PARTITION_TABLE:
        return "sub-partition table";
    case PGMIO_DIR_POINTER_BLOCK:
        return "pointer block";
    default:
        return "option bits";
    }
}

std::string range_text(uint64_t start, uint64_t size)
{
    return "(" + pgmio_hex_number(start) + ".." + pgmio_hex_number(start + (size ? size - 1 : 0)) + ")";
}

constexpr size_t k_crc_piece = size_t(4) << 20;
constexpr size_t k_read_ahead = size_t(1) << 20;

// The bytes of another source with each byte's bits reversed: raw programming data written with
// bit swap.
class REVERSED_SOURCE final : public PGMIO_FLASH_SOURCE
{
public:
    explicit REVERSED_SOURCE(PGMIO_FLASH_SOURCE& inner) : m_inner(inner) {}
    uint64_t size() const override { return m_inner.size(); }
    std::span<const uint8_t> read(uint64_t address, size_t count) override
    {
        const std::span<const uint8_t> bytes = m_inner.read(address, count);
        m_failure = m_inner.failure();
        m_scratch.assign(bytes.begin(), bytes.end());
        pgmio_reverse_bits(m_scratch);
        return m_scratch;
    }

private:
    PGMIO_FLASH_SOURCE& m_inner;
    PGMIO_BYTES m_scratch;
};

// Checks one image against the flash bytes. A scanned image has no recorded CRC: it gets the
// CRC of its bytes.
void check_image(PGMIO_FLASH_SOURCE& flash, PGMIO_FLASH_WALK_IMAGE& image, bool crc_recorded = true)
{
    if (image.size == 0 || image.start > flash.size() || image.size > flash.size() - image.start)
    {
        image.problem = "range " + range_text(image.start, image.size) + " is outside the flash bytes " +
                        range_text(0, flash.size());
        return;
    }
    // Configuration data is decoded whole; other contents only need their CRC, taken in pieces.
    const bool config = image.kind == "image";
    std::span<const uint8_t> bytes;
    uint32_t crc = 0;
    for (uint64_t done = 0; done < image.size; done += bytes.size())
    {
        const size_t piece = config ? size_t(image.size) : size_t(std::min<uint64_t>(k_crc_piece, image.size - done));
        bytes = flash.read(image.start + done, piece);
        if (bytes.size() != piece)
        {
            image.problem = "cannot read " + range_text(image.start, image.size) + ": " + flash.failure();
            return;
        }
        crc = pgmio_crc32(bytes, crc);
    }
    if (!crc_recorded)
        image.crc = crc;
    if (crc != image.crc)
    {
        image.problem = "CRC-32 " + pgmio_hex_number(crc) + " of " + range_text(image.start, image.size) +
                        " is not the recorded " + pgmio_hex_number(image.crc);
        return;
    }
    if (config)
    {
        // Checked as a whole, payload included, without copying the payload: only the header is used.
        PGMIO_CONFIG_DATA data;
        std::string error;
        if (!PGMIO_RBF::decode(bytes, data, error, false))
        {
            image.problem = "configuration data does not check: " + error;
            return;
        }
        const PGM_DEVICE* device = PGMIO_POFIO_UTIL_EXPORT::find_device_by_idcode(data.idcode);
        image.device = device ? device->get_name() : pgmio_hex_number(data.idcode);
    }
    image.intact = true;
}

// The bytes of the largest directory record that can start at `address`, or as many as remain.
std::span<const uint8_t> directory_bytes(PGMIO_FLASH_SOURCE& flash, uint64_t address)
{
    return flash.read(address,
                      size_t(std::min<uint64_t>(PGMIO_FLASH_DIR_CODEC::size(PGMIO_DIR_MAX_ENTRIES), flash.size() - address)));
}

bool read_directory(PGMIO_FLASH_SOURCE& flash, uint64_t address, PGMIO_FLASH_DIR& dir, std::string& error)
{
    if (address >= flash.size())
    {
        error = "no directory at " + pgmio_hex_number(address) + ": past the end of the flash bytes";
        return false;
    }
    if (!PGMIO_FLASH_DIR_CODEC::decode(directory_bytes(flash, address), dir, error))
    {
        error = "directory at " + pgmio_hex_number(address) + ": " + error;
        return false;
    }
    return true;
}

// The first directory record at a scan boundary; false when there is none.
bool find_directory(PGMIO_FLASH_SOURCE& flash, uint64_t& address)
{
    for (address = 0; address + 4 <= flash.size(); address += k_scan_step)
        if (PGMIO_FLASH_DIR_CODEC::has_magic(flash.read(address, 4)))
            return true;
    return false;
}

// The first image that does not check fails the walk, unless something failed before.
void report_damaged_image(PGMIO_FLASH_WALK& walk)
{
    for (const PGMIO_FLASH_WALK_IMAGE& image : walk.images)
        if (!image.intact && walk.failure.empty())
            walk.failure = "image '" + image.name + "': " + image.problem;
}

// Images of a flash without directory: configuration data containers at scan boundaries.
void scan_images(PGMIO_FLASH_SOURCE& flash, PGMIO_FLASH_WALK& walk)
{
    for (uint64_t address = 0; address + PGMIO_CONTAINER_HEADER_SIZE <= flash.size(); address += k_scan_step)
    {
        const std::span<const uint8_t> at = flash.read(address, PGMIO_CONTAINER_HEADER_SIZE);
        if (at.size() != PGMIO_CONTAINER_HEADER_SIZE || std::memcmp(at.data(),
                                                                    "CVN\x1a"
                                                                    "RBF ",
                                                                    8) != 0)
            continue;
        uint64_t size = 0;
        for (int i = 7; i >= 0; --i)
            size = size << 8 | at[16 + i];
        PGMIO_FLASH_WALK_IMAGE image;
        image.name = "image@" + pgmio_hex_number(address);
        image.kind = "image";
        image.start = address;
        image.size = std::min<uint64_t>(size, flash.size() - address);
        check_image(flash, image, false);
        walk.images.push_back(image);
        address += (image.size / k_scan_step) * k_scan_step;
    }
    if (walk.images.empty())
        walk.failure = "no directory record and no configuration data found in the flash bytes";
    else
        walk.boot_order.push_back(walk.images.front().name);
    report_damaged_image(walk);
}

void walk_bytes(PGMIO_FLASH_SOURCE& flash, PGMIO_FLASH_WALK& walk)
{
    uint64_t address = 0;
    if (!find_directory(flash, address))
    {
        walk.directory = "none (scanned)";
        scan_images(flash, walk);
        return;
    }
    PGMIO_FLASH_DIR dir;
    std::string error;
    walk.directory = "";
    walk.directory_address = address;
    if (!read_directory(flash, address, dir, error))
    {
        walk.failure = error;
        return;
    }
    walk.directory = directory_name(dir.kind);
    std::vector<std::string> pointer_order;
    for (const PGMIO_DIR_ENTRY& entry : dir.entries)
    {
        if (entry.flags & PGMIO_DIR_ENTRY_RESERVED)
        {
            // Tables and pointer blocks: read, check, and take the boot order of the first pointer block.
            PGMIO_FLASH_DIR table;
            if (!read_directory(flash, entry.start, table, error))
            {
                walk.failure = "'" + entry.name + "': " + error;
                return;
            }
            if (pgmio_crc32(directory_bytes(flash, entry.start).first(PGMIO_FLASH_DIR_CODEC::size(table.entries.size()))) !=
                entry.crc)
            {
                walk.failure = "'" + entry.name + "' at " + pgmio_hex_number(entry.start) +
                               " is not the table the boot information recorded (CRC-32 differs)";
                return;
            }
            if (table.kind == PGMIO_DIR_POINTER_BLOCK && pointer_order.empty())
                for (const PGMIO_DIR_ENTRY& pointer : table.entries)
                    pointer_order.push_back(pointer.name);
            continue;
        }
        PGMIO_FLASH_WALK_IMAGE image;
        image.name = entry.name;
        image.kind = (entry.flags & PGMIO_DIR_ENTRY_IMAGE) ? "image" : "raw";
        image.page = entry.page;
        image.start = entry.start;
        image.size = entry.size;
        image.crc = entry.crc;
        check_image(flash, image);
        walk.images.push_back(image);
    }
    if (dir.boot != PGMIO_DIR_NO_BOOT)
        walk.boot_order.push_back(dir.entries[dir.boot].name);
    for (const std::string& name : pointer_order)
        if (std::find(walk.boot_order.begin(), walk.boot_order.end(), name) == walk.boot_order.end())
            walk.boot_order.push_back(name);
    std::sort(walk.images.begin(), walk.images.end(),
              [](const PGMIO_FLASH_WALK_IMAGE& a, const PGMIO_FLASH_WALK_IMAGE& b) { return a.start < b.start; });
    for (size_t i = 1; i < walk.images.size(); ++i)
    {
        const PGMIO_FLASH_WALK_IMAGE& a = walk.images[i - 1];
        const PGMIO_FLASH_WALK_IMAGE& b = walk.images[i];
        if (b.start < a.start + a.size)
        {
            walk.failure = "image '" + a.name + "' " + range_text(a.start, a.size) + " overlaps image '" + b.name +
                           "' " + range_text(b.start, b.size);
            return;
        }
    }
    if (std::none_of(walk.images.begin(), walk.images.end(),
                     [](const PGMIO_FLASH_WALK_IMAGE& image) { return image.kind == "image"; }))
        walk.failure = "the " + walk.directory + " names no configuration image";
    report_damaged_image(walk);
}

} // namespace

PGMIO_FLASH_PIECE_SOURCE::PGMIO_FLASH_PIECE_SOURCE(std::vector<PGMIO_FLASH_PIECE> pieces) : m_pieces(std::move(pieces))
{
    if (!m_pieces.empty())
        m_size = m_pieces.back().first + m_pieces.back().second.size();
}

std::span<const uint8_t> PGMIO_FLASH_PIECE_SOURCE::read(uint64_t address, size_t count)
{
    // The last piece that starts at or before `address`: the range may lie within it.
    auto after = std::upper_bound(m_pieces.begin(), m_pieces.end(), address,
                                  [](uint64_t at, const PGMIO_FLASH_PIECE& piece) { return at < piece.first; });
    if (after != m_pieces.begin())
    {
        const auto& [start, bytes] = *std::prev(after);
        if (address - start <= bytes.size() && count <= bytes.size() - (address - start))
            return bytes.subspan(size_t(address - start), count);
    }
    m_scratch.assign(count, 0xFF);
    for (const auto& [start, bytes] : m_pieces)
    {
        const uint64_t from = std::max(start, address);
        const uint64_t to = std::min(start + bytes.size(), address + count);
        if (from < to)
            std::copy_n(bytes.begin() + ptrdiff_t(from - start), to - from, m_scratch.begin() + ptrdiff_t(from - address));
    }
    return m_scratch;
}

bool PGMIO_FLASH_FILE_SOURCE::open(const std::string& path, std::string& error)
{
    m_window.clear();
    return m_file.open(path, error, PGMIO_MAX_FILE_SIZE);
}

std::span<const uint8_t> PGMIO_FLASH_FILE_SOURCE::read(uint64_t address, size_t count)
{
    if (address >= m_window_start && address - m_window_start <= m_window.size() &&
        count <= m_window.size() - (address - m_window_start))
        return std::span<const uint8_t>(m_window).subspan(size_t(address - m_window_start), count);
    // Small reads (directories, scan boundaries) come one after another: read ahead.
    m_window_start = address;
    m_window.resize(size_t(std::max<uint64_t>(count, std::min<uint64_t>(k_read_ahead, size() - address))));
    if (!m_file.read_at(address, m_window.size(), m_window.data(), m_failure))
    {
        m_window.clear();
        return {};
    }
    return std::span<const uint8_t>(m_window).first(count);
}

void pgmio_walk_flash(PGMIO_FLASH_SOURCE& flash, PGMIO_FLASH_WALK& walk)
{
    walk = PGMIO_FLASH_WALK{};
    uint64_t address = 0;
    const bool plain_directory = find_directory(flash, address);
    const std::span<const uint8_t> start = flash.size() >= 4 ? flash.read(0, 4) : std::span<const uint8_t>();
    const bool plain_image = start.size() == 4 && std::memcmp(start.data(), "CVN\x1a", 4) == 0;
    if (plain_directory || plain_image)
        walk_bytes(flash, walk);
    else
    {
        // Raw programming data written with bit swap: every byte's bits reversed.
        REVERSED_SOURCE reversed(flash);
        walk_bytes(reversed, walk);
        walk.bit_reversed = true;
    }
    if (!flash.failure().empty())
        walk.failure = "cannot read the flash bytes: " + flash.failure();
}

void pgmio_walk_flash(std::span<const uint8_t> flash, PGMIO_FLASH_WALK& walk)
{
    PGMIO_FLASH_PIECE_SOURCE source({{0, flash}});
    pgmio_walk_flash(source, walk);
}

std::string pgmio_flash_walk_json(const PGMIO_FLASH_WALK& walk)
{
    nlohmann::ordered_json out;
    out["bit_reversed"] = walk.bit_reversed;
    out["directory"] = walk.directory;
    out["directory_address"] = walk.directory_address;
    out["images"] = nlohmann::ordered_json::array();
    for (const PGMIO_FLASH_WALK_IMAGE& image : walk.images)
        out["images"].push_back({{"name", image.name},
                                 {"kind", image.kind},
                                 {"page", image.page},
                                 {"start", image.start},
                                 {"end", image.start + (image.size ? image.size - 1 : 0)},
                                 {"size", image.size},
                                 {"crc32", pgmio_hex_number(image.crc)},
                                 {"device", image.device},
                                 {"intact", image.intact},
                                 {"problem", image.problem}});
    out["boot_order"] = walk.boot_order;
    out["ok"] = walk.failure.empty();
    out["failure"] = walk.failure;
    return out.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}
