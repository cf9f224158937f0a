// SPDX-License-Identifier: Apache-2.0
// Bitstream assembler: builds configuration data and SRAM object files for catalogue devices,
// embeds HPS bootloaders, and checks the integrity of written programming files.
#pragma once

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/pgmio/pgmio.h"

#include <cstdint>
#include <string>

// Largest HPS bootloader (span of its hex records) that can be embedded.
constexpr uint64_t BITASM_MAX_BOOTLOADER_SIZE = uint64_t(64) << 20;
// Smallest configuration data the assembler lays out: every section gets at least one byte.
constexpr uint64_t BITASM_MIN_CONFIG_SIZE = 64;

// What to assemble.
struct BITASM_OPTIONS
{
    std::string design_name;
    uint32_t flags = 0;                    // PGMIO_DESIGN_*; each must be a capability of the device
    uint64_t seed = 1;                     // synthetic content: the same seed, device and size give the same bytes
    // Synthetic content has the structure of a real design: frames of unused resources are zero,
    // used frames hold sparse set bits, and many used frames repeat earlier ones (replicated logic).
    // The share of used frames, in percent (0 to 100).
    uint32_t utilization = 30;
    uint64_t size = 0;                     // payload bytes; 0 takes the device's configuration data size
    const PGMIO_BYTES* raw_data = nullptr; // payload to use instead of synthetic content
};

class BITASM_MGR
{
public:
    // "" when the file passes every check of its format (recomputed from its bytes: layout, every
    // CRC, the design hash, every rule of the format); else the first failure.
    static std::string check_bitstream_integrity(const std::string& path);

    // Writes a copy of an SRAM object file with the HPS bootloader of a hex file embedded
    // (replacing one already there). "" on success; else the reason, and the output is untouched.
    static std::string embedded_bootloader_into_sof(const std::string& input_sof, const std::string& output_path,
                                                    const std::string& bootloader_path);

    // Configuration data for a device: the payload (raw or synthetic) cut into the sections the
    // device and the flags call for: firmware (block-layout devices), periphery (CvP), core, HPS.
    // The sections in order hold the payload bytes in order. False with the reason in `error`.
    static bool assemble_configuration_data(const PGM_DEVICE& device, const BITASM_OPTIONS& options,
                                            PGMIO_CONFIG_DATA& data, std::string& error);
    // An SRAM object file of that configuration data. False with the reason in `error`.
    static bool assemble_sof(const PGM_DEVICE& device, const BITASM_OPTIONS& options, PGMIO_SOF_IMAGE& sof,
                             std::string& error);
    // A programming helper image of a subtype the device has, of the catalogue's size, with content
    // synthesised from the seed. False with the reason in `error`.
    static bool assemble_helper_image(const PGM_DEVICE& device, uint32_t subtype, uint64_t seed,
                                      PGMIO_HELPER_IMAGE& helper, std::string& error);
};
