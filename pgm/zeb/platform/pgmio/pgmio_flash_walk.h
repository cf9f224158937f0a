// SPDX-License-Identifier: Apache-2.0
// The flash verifier: walks the bytes of a configuration flash as the device's boot ROM would
// (boot information, sub-partition tables, pointer blocks or option bits, then every image they
// name) and checks each image's range, CRC-32 and configuration data.
#pragma once

#include "pgm/zeb/platform/pgmio/pgmio_container.h"

#include <cstdint>
#include <span>
#include <string>
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

// Walks flash bytes from address 0. A damaged directory, an image outside the bytes, two images
// that overlap and an image whose CRC or configuration data does not check set `walk.failure`.
// Bytes without any directory are scanned for configuration data at 4 KiB boundaries.
void pgmio_walk_flash(std::span<const uint8_t> flash, PGMIO_FLASH_WALK& walk);

// The walk as a JSON object (text).
std::string pgmio_flash_walk_json(const PGMIO_FLASH_WALK& walk);
