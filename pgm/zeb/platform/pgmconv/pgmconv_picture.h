// SPDX-License-Identifier: Apache-2.0
// The flash layout of a conversion setup as plain data, for front ends that draw it.
#pragma once

#include "pgm/zeb/platform/pgmconv/pgmconv.h"

#include <cstdint>
#include <string>
#include <vector>

// One area of the flash: a partition with what it holds.
struct PGMCONV_PICTURE_AREA
{
    std::string name;
    std::string kind;   // "page", "raw", "reserved" or "directory"
    uint64_t start = 0; // first address
    uint64_t end = 0;   // last address (inclusive)
    uint64_t used = 0;  // bytes of content
};

struct PGMCONV_PICTURE
{
    std::string flash_device;
    uint64_t flash_size = 0;
    std::vector<PGMCONV_PICTURE_AREA> areas; // ascending start addresses
};

// Lays out the flash of `ccf` as its writers would; false with the reason when it does not fit or
// the setup names no flash device.
bool pgmconv_flash_picture(const PGMIO_CCF& ccf, PGMCONV_PICTURE& picture, std::string& error);
