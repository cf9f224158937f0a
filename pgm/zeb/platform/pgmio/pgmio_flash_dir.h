// SPDX-License-Identifier: Apache-2.0
// Flash directory records (docs/formats.md): the boot information, sub-partition tables, pointer
// blocks and option bits that the engine writes into a flash's reserved areas, so that a reader
// of the raw flash bytes finds every image, its size and CRC-32, and which one boots first.
#pragma once

#include "pgm/zeb/platform/pgmio/pgmio_container.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

constexpr uint16_t PGMIO_DIR_BOOT_INFO = 1;       // at address 0: every image and table
constexpr uint16_t PGMIO_DIR_PARTITION_TABLE = 2; // every partition of the flash
constexpr uint16_t PGMIO_DIR_POINTER_BLOCK = 3;   // application images in the order they are tried
constexpr uint16_t PGMIO_DIR_OPTION_BITS = 4;     // page start addresses of the passive schemes

constexpr uint32_t PGMIO_DIR_ENTRY_IMAGE = 1u << 0;    // configuration data of a page
constexpr uint32_t PGMIO_DIR_ENTRY_RESERVED = 1u << 1; // a reserved area (tables, pointer blocks)
constexpr uint32_t PGMIO_DIR_ENTRY_RAW = 1u << 2;      // a raw data file

constexpr uint32_t PGMIO_DIR_NO_BOOT = 0xFFFFFFFF;
constexpr size_t PGMIO_DIR_HEADER_SIZE = 32;
constexpr size_t PGMIO_DIR_ENTRY_SIZE = 64;
constexpr size_t PGMIO_DIR_NAME_SIZE = 32;
constexpr uint32_t PGMIO_DIR_MAX_ENTRIES = 1024;

struct PGMIO_DIR_ENTRY
{
    std::string name; // at most 31 bytes
    uint64_t start = 0;
    uint64_t size = 0;  // bytes of the content (not of its partition)
    uint32_t crc = 0;   // CRC-32 of the content bytes as they lie in the flash
    uint32_t page = 0;  // page number for an image
    uint32_t flags = 0; // PGMIO_DIR_ENTRY_*
    bool operator==(const PGMIO_DIR_ENTRY&) const = default;
};

struct PGMIO_FLASH_DIR
{
    uint16_t kind = PGMIO_DIR_BOOT_INFO;
    uint32_t idcode = 0;               // JTAG IDCODE of the device the flash configures
    uint32_t boot = PGMIO_DIR_NO_BOOT; // index of the entry that boots first
    uint32_t sequence = 0;             // update counter (pointer blocks)
    std::vector<PGMIO_DIR_ENTRY> entries;
    bool operator==(const PGMIO_FLASH_DIR&) const = default;
};

class PGMIO_FLASH_DIR_CODEC
{
public:
    // Bytes of the record; false when a name is too long or there are too many entries.
    static bool encode(const PGMIO_FLASH_DIR& dir, PGMIO_BYTES& bytes, std::string& error);
    // True when `bytes` starts with a directory magic (the record may still be damaged).
    static bool has_magic(std::span<const uint8_t> bytes);
    // Reads a record from the start of `bytes` (anything after it is ignored). False with the
    // reason (offset included) in `error`.
    static bool decode(std::span<const uint8_t> bytes, PGMIO_FLASH_DIR& dir, std::string& error);
    // Size of an encoded record with `entries` entries.
    static size_t size(size_t entries) { return PGMIO_DIR_HEADER_SIZE + entries * PGMIO_DIR_ENTRY_SIZE + 4; }
};

// Bits of `byte` in reverse order (bit 0 becomes bit 7).
uint8_t pgmio_reverse_bits(uint8_t byte);
// Reverses the bits of every byte in place.
void pgmio_reverse_bits(std::span<uint8_t> bytes);
