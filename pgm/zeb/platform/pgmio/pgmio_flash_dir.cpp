// SPDX-License-Identifier: Apache-2.0
// Flash directory records: encoding, decoding, and the bit reversal of raw programming data.
#include "pgm/zeb/platform/pgmio/pgmio_flash_dir.h"

#include <array>
#include <cstring>

namespace
{
constexpr uint8_t k_magic[4] = {'C', 'V', 'F', 'D'};
constexpr uint16_t k_version = 1;

constexpr std::array<uint8_t, 256> make_reverse_table()
{
    std::array<uint8_t, 256> table{};
    for (unsigned value = 0; value < 256; ++value)
    {
        unsigned reversed = 0;
        for (unsigned bit = 0; bit < 8; ++bit)
            if (value & (1u << bit))
                reversed |= 0x80u >> bit;
        table[value] = uint8_t(reversed);
    }
    return table;
}
constexpr std::array<uint8_t, 256> k_reverse = make_reverse_table();
} // namespace

uint8_t pgmio_reverse_bits(uint8_t byte)
{
    return k_reverse[byte];
}

void pgmio_reverse_bits(std::span<uint8_t> bytes)
{
    for (uint8_t& byte : bytes)
        byte = k_reverse[byte];
}

bool PGMIO_FLASH_DIR_CODEC::encode(const PGMIO_FLASH_DIR& dir, PGMIO_BYTES& bytes, std::string& error)
{
    if (dir.entries.size() > PGMIO_DIR_MAX_ENTRIES)
    {
        error = "a flash directory holds at most " + std::to_string(PGMIO_DIR_MAX_ENTRIES) + " entries";
        return false;
    }
    PGMIO_BYTE_WRITER out;
    out.u32(pgmio_tag("CVFD")); // the magic bytes "CVFD"
    out.u16(k_version);
    out.u16(dir.kind);
    out.u32(uint32_t(dir.entries.size()));
    out.u32(dir.idcode);
    out.u32(dir.boot);
    out.u32(dir.sequence);
    out.u64(0);
    for (const PGMIO_DIR_ENTRY& entry : dir.entries)
    {
        if (entry.name.empty() || entry.name.size() >= PGMIO_DIR_NAME_SIZE)
        {
            error = "flash directory entry name '" + entry.name + "' must have 1 to 31 bytes";
            return false;
        }
        uint8_t name[PGMIO_DIR_NAME_SIZE] = {};
        std::memcpy(name, entry.name.data(), entry.name.size());
        out.bytes(name);
        out.u64(entry.start);
        out.u64(entry.size);
        out.u32(entry.crc);
        out.u32(entry.page);
        out.u32(entry.flags);
        out.u32(0);
    }
    out.u32(pgmio_crc32(out.data()));
    bytes = std::move(out.data());
    return true;
}

bool PGMIO_FLASH_DIR_CODEC::has_magic(std::span<const uint8_t> bytes)
{
    return bytes.size() >= 4 && std::memcmp(bytes.data(), k_magic, 4) == 0;
}

bool PGMIO_FLASH_DIR_CODEC::decode(std::span<const uint8_t> bytes, PGMIO_FLASH_DIR& dir, std::string& error)
{
    dir = PGMIO_FLASH_DIR{};
    if (!has_magic(bytes))
    {
        error = "no flash directory magic at offset 0";
        return false;
    }
    if (bytes.size() < PGMIO_DIR_HEADER_SIZE)
    {
        error = "flash directory header cut short";
        return false;
    }
    PGMIO_BYTE_READER header(bytes.subspan(4, PGMIO_DIR_HEADER_SIZE - 4), "flash directory");
    const uint16_t version = header.u16();
    dir.kind = header.u16();
    const uint32_t count = header.u32();
    dir.idcode = header.u32();
    dir.boot = header.u32();
    dir.sequence = header.u32();
    header.u64();
    if (version != k_version)
    {
        error = "flash directory version " + std::to_string(version) + " at offset 4, expected 1";
        return false;
    }
    if (dir.kind < PGMIO_DIR_BOOT_INFO || dir.kind > PGMIO_DIR_OPTION_BITS)
    {
        error = "unknown flash directory kind " + std::to_string(dir.kind) + " at offset 6";
        return false;
    }
    if (count > PGMIO_DIR_MAX_ENTRIES || size(count) > bytes.size())
    {
        error = "flash directory of " + std::to_string(count) + " entries runs past the " +
                std::to_string(bytes.size()) + " bytes available";
        return false;
    }
    const size_t body = size(count) - 4;
    uint32_t stored = 0;
    for (int i = 3; i >= 0; --i)
        stored = stored << 8 | bytes[body + size_t(i)];
    const uint32_t actual = pgmio_crc32(bytes.subspan(0, body));
    if (stored != actual)
    {
        error = "flash directory CRC mismatch at offset " + std::to_string(body) + ": stored " +
                pgmio_hex_number(stored) + ", computed " + pgmio_hex_number(actual);
        return false;
    }
    PGMIO_BYTE_READER reader(bytes.subspan(PGMIO_DIR_HEADER_SIZE, body - PGMIO_DIR_HEADER_SIZE), "flash directory");
    for (uint32_t i = 0; i < count; ++i)
    {
        PGMIO_DIR_ENTRY entry;
        std::span<const uint8_t> name = reader.bytes(PGMIO_DIR_NAME_SIZE);
        entry.name.assign(reinterpret_cast<const char*>(name.data()),
                          strnlen(reinterpret_cast<const char*>(name.data()), PGMIO_DIR_NAME_SIZE));
        entry.start = reader.u64();
        entry.size = reader.u64();
        entry.crc = reader.u32();
        entry.page = reader.u32();
        entry.flags = reader.u32();
        reader.u32();
        dir.entries.push_back(std::move(entry));
    }
    if (!reader.finish(error))
        return false;
    if (dir.boot != PGMIO_DIR_NO_BOOT && dir.boot >= count)
    {
        error = "flash directory boot entry " + std::to_string(dir.boot) + " does not exist (" + std::to_string(count) +
                " entries)";
        return false;
    }
    return true;
}
