// SPDX-License-Identifier: Apache-2.0
// The flash verifier: walks the bytes of a configuration flash as the device's boot ROM would
// (boot information, sub-partition tables, pointer blocks or option bits, then every image they
// name) and checks each image's range, CRC-32 and configuration data.
#pragma once

#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/pgmio/pgmio_container.h"

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

struct PGMIO_FLASH_WALK_IMAGE
{
    std::string name;
    std::string kind; // "image" (configuration data of a page) or "raw"
    uint32_t page = 0;
    uint64_t start = 0;
    uint64_t size = 0;
    uint32_t crc = 0;   // as the directory states it
    std::string device; // the device whose IDCODE the configuration data carries
    bool intact = false;
    std::string problem; // why it is not intact
};

struct PGMIO_FLASH_WALK
{
    bool bit_reversed = false; // the bytes are stored with each byte's bits reversed
    std::string directory;     // which record was found first ("boot information", ...)
    uint64_t directory_address = 0;
    std::vector<PGMIO_FLASH_WALK_IMAGE> images; // ascending start addresses
    std::vector<std::string> boot_order;        // image names, the one that boots first first
    std::string failure;                        // "" when every image checks
};

// Flash bytes from address 0 as the walk reads them, however they are held. The walk asks for
// one directory or image at a time, so a source that reads or assembles bytes on request holds
// no more than the largest image, never the whole flash.
class PGMIO_FLASH_SOURCE
{
public:
    virtual ~PGMIO_FLASH_SOURCE() = default;
    virtual uint64_t size() const = 0;
    // `count` bytes from `address` (the range lies within size()), valid until the next call; an
    // empty span when they cannot be read, with the reason in failure().
    virtual std::span<const uint8_t> read(uint64_t address, size_t count) = 0;
    const std::string& failure() const { return m_failure; }

protected:
    std::string m_failure;
};

// Pieces of flash bytes at their addresses (ascending, disjoint), 0xFF between them, up to the
// end of the last: the content of a programmer object or JTAG indirect file where it lies.
using PGMIO_FLASH_PIECE = std::pair<uint64_t, std::span<const uint8_t>>;
class PGMIO_FLASH_PIECE_SOURCE final : public PGMIO_FLASH_SOURCE
{
public:
    explicit PGMIO_FLASH_PIECE_SOURCE(std::vector<PGMIO_FLASH_PIECE> pieces);
    uint64_t size() const override { return m_size; }
    std::span<const uint8_t> read(uint64_t address, size_t count) override;

private:
    std::vector<PGMIO_FLASH_PIECE> m_pieces;
    uint64_t m_size = 0;
    PGMIO_BYTES m_scratch; // a range across pieces
};

// The bytes of a raw programming data file, read as the walk asks for them.
class PGMIO_FLASH_FILE_SOURCE final : public PGMIO_FLASH_SOURCE
{
public:
    // False with the reason when the file cannot be opened or is larger than any flash file.
    bool open(const std::string& path, std::string& error);
    uint64_t size() const override { return m_file.size(); }
    std::span<const uint8_t> read(uint64_t address, size_t count) override;

private:
    FIO_INPUT_FILE m_file;
    uint64_t m_window_start = 0;
    PGMIO_BYTES m_window; // the bytes read last, at least a read-ahead's worth
};

// Walks flash bytes from address 0. A damaged directory, an image outside the bytes, two images
// that overlap and an image whose CRC or configuration data does not check set `walk.failure`,
// and so does bytes that cannot be read. Bytes without any directory are scanned for
// configuration data at 4 KiB boundaries.
void pgmio_walk_flash(PGMIO_FLASH_SOURCE& flash, PGMIO_FLASH_WALK& walk);
void pgmio_walk_flash(std::span<const uint8_t> flash, PGMIO_FLASH_WALK& walk);

// The walk as a JSON object (text).
std::string pgmio_flash_walk_json(const PGMIO_FLASH_WALK& walk);
