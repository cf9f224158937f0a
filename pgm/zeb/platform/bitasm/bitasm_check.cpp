// SPDX-License-Identifier: Apache-2.0
// Integrity check of written programming files, and embedding of HPS bootloaders.
#include "pgm/zeb/platform/bitasm/bitasm.h"

#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/pgmio/pgmio_info.h"
#include "pgm/zeb/platform/pgmio/pgmio_text.h"

std::string BITASM_MGR::check_bitstream_integrity(const std::string& path)
{
    return pgmio_check_file(path);
}

std::string BITASM_MGR::embedded_bootloader_into_sof(const std::string& input_sof, const std::string& output_path,
                                                     const std::string& bootloader_path)
{
    PGMIO_SOF_IMAGE sof;
    std::string error;
    if (!PGMIO_SOF::read(input_sof, sof, error))
        return "cannot read SRAM object file '" + input_sof + "': " + error;
    if (!(sof.flags & PGMIO_DESIGN_HPS))
        return "the design in '" + input_sof + "' does not use the HPS, so it cannot take an HPS bootloader";
    PGMIO_HEX_READER reader;
    reader.set_file(bootloader_path);
    if (!reader.read_hex_file(false, false))
        return "cannot read HPS bootloader: " + reader.get_error();
    uint32_t base = 0;
    PGMIO_BYTES bootloader;
    if (!reader.get_image(BITASM_MAX_BOOTLOADER_SIZE, 0, base, bootloader, error))
        return "HPS bootloader '" + bootloader_path + "': " + error;
    sof.has_bootloader = true;
    sof.bootloader_address = base;
    sof.bootloader = std::move(bootloader);
    if (!PGMIO_SOF::write(output_path, sof, error))
        return error;
    return {};
}
