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

// Checks one image against the flash bytes.
void check_image(std::span<const uint8_t> flash, PGMIO_FLASH_WALK_IMAGE& image)
{
    if (image.size == 0 || image.start > flash.size() || image.size > flash.size() - image.start)
    {
        image.problem = "range " + range_text(image.start, image.size) + " is outside the flash bytes " +
                        range_text(0, flash.size());
        return;
    }
    const std::span<const uint8_t> bytes = flash.subspan(size_t(image.start), size_t(image.size));
    const uint32_t crc = pgmio_crc32(bytes);
    if (crc != image.crc)
    {
        image.problem = "CRC-32 " + pgmio_hex_number(crc) + " of " + range_text(image.start, image.size) +
                        " is not the recorded " + pgmio_hex_number(image.crc);
        return;
    }
    if (image.kind == "image")
    {
        // Checked as a whole, payload included, without copying the payload: only the header is used.
        PGMIO_CONFIG_DATA config;
        std::string error;
        if (!PGMIO_RBF::decode(bytes, config, error, false))
        {
            image.problem = "configuration data does not check: " + error;
            return;
        }
        const PGM_DEVICE* device = PGMIO_POFIO_UTIL_EXPORT::find_device_by_idcode(config.idcode);
        image.device = device ? device->get_name() : pgmio_hex_number(config.idcode);
    }
    image.intact = true;
}

bool read_directory(std::span<const uint8_t> flash, uint64_t address, PGMIO_FLASH_DIR& dir, std::string& error)
{
    if (address >= flash.size())
    {
        error = "no directory at " + pgmio_hex_number(address) + ": past the end of the flash bytes";
        return false;
    }
    if (!PGMIO_FLASH_DIR_CODEC::decode(flash.subspan(size_t(address)), dir, error))
    {
        error = "directory at " + pgmio_hex_number(address) + ": " + error;
        return false;
    }
    return true;
}

// The first directory record at a scan boundary; false when there is none.
bool find_directory(std::span<const uint8_t> flash, uint64_t& address)
{
    for (address = 0; address + 4 <= flash.size(); address += k_scan_step)
        if (PGMIO_FLASH_DIR_CODEC::has_magic(flash.subspan(size_t(address), 4)))
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
void scan_images(std::span<const uint8_t> flash, PGMIO_FLASH_WALK& walk)
{
    for (uint64_t address = 0; address + PGMIO_CONTAINER_HEADER_SIZE <= flash.size(); address += k_scan_step)
    {
        const uint8_t* at = flash.data() + address;
        if (std::memcmp(at,
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
        image.crc = pgmio_crc32(flash.subspan(size_t(address), size_t(image.size)));
        check_image(flash, image);
        walk.images.push_back(image);
        address += (image.size / k_scan_step) * k_scan_step;
    }
    if (walk.images.empty())
        walk.failure = "no directory record and no configuration data found in the flash bytes";
    else
        walk.boot_order.push_back(walk.images.front().name);
    report_damaged_image(walk);
}

void walk_bytes(std::span<const uint8_t> flash, PGMIO_FLASH_WALK& walk)
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
            const PGMIO_BYTES bytes(flash.begin() + entry.start,
                                    flash.begin() + entry.start + PGMIO_FLASH_DIR_CODEC::size(table.entries.size()));
            if (pgmio_crc32(bytes) != entry.crc)
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

void pgmio_walk_flash(std::span<const uint8_t> flash, PGMIO_FLASH_WALK& walk)
{
    walk = PGMIO_FLASH_WALK{};
    uint64_t address = 0;
    const bool plain_directory = find_directory(flash, address);
    const bool plain_image = flash.size() >= 4 && std::memcmp(flash.data(), "CVN\x1a", 4) == 0;
    if (plain_directory || plain_image)
    {
        walk_bytes(flash, walk);
        return;
    }
    // Raw programming data written with bit swap: every byte's bits reversed.
    PGMIO_BYTES reversed(flash.begin(), flash.end());
    pgmio_reverse_bits(reversed);
    walk_bytes(reversed, walk);
    walk.bit_reversed = true;
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
