// SPDX-License-Identifier: Apache-2.0
// Input prechecks of the programming-file library: read an input file, check every rule of its
// format, and find the device it targets in the device catalogue.
#pragma once

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/fio/fio.h"

#include <cstdint>
#include <string>

// What a precheck learnt about a file.
struct PGMIO_PRECHECK_INFO
{
    uint32_t kind = 0;             // PGMIO_KIND_* of the file
    std::string device_name;       // the FPGA device the file targets
    uint32_t idcode = 0;           // its IDCODE as the file states it; 0 when the format has none
    uint32_t design_flags = 0;     // PGMIO_DESIGN_* that the file declares
    bool remote_update = false;    // the device supports remote update
    bool has_bootloader = false;   // an SRAM object file with an embedded HPS bootloader
    std::string flash_device;      // programmer object and JTAG indirect configuration files
    uint32_t flash_flags = 0;      // PGMIO_FLASH_* of those files
    uint64_t config_data_size = 0; // payload bytes of configuration data; 0 when the file has none
};

class PGMIO_POFIO_UTIL_EXPORT
{
public:
    // Object files by extension: .sof, .pof, .jic, .msf, .pmsf. True when the file is intact, its
    // content matches its extension and the device it targets is in the catalogue and supports what
    // the file declares (IDCODE, size, CvP, HPS, partial reconfiguration, remote update). *device is
    // that device (nullptr on failure); `info` may be nullptr. False with the reason in `error`.
    static bool precheck_object_file(const FIO_PATH& path, const PGM_DEVICE** device, PGMIO_PRECHECK_INFO* info,
                                     std::string& error);
    // Raw binary files (.rbf): configuration data whose IDCODE names the device. As above.
    static bool precheck_raw_binary_file(const FIO_PATH& path, const PGM_DEVICE** device, PGMIO_PRECHECK_INFO* info,
                                         std::string& error);
    // The FPGA device of the catalogue with this IDCODE; nullptr when there is none.
    static const PGM_DEVICE* find_device_by_idcode(uint32_t idcode);
};
