// SPDX-License-Identifier: Apache-2.0
// Small valid samples of every binary format, shared by the file-format tests. They target the
// catalogue device 7TR440PA3R1 (IDCODE 0x17A445EF), which has every capability.
#pragma once

#include "test_support.h"

#include "pgm/zeb/platform/pgmio/pgmio.h"

#include <numeric>

namespace corvane_test
{

constexpr uint32_t k_sample_idcode = 0x17A445EF;

inline PGMIO_BYTES counting_bytes(size_t count, uint8_t first)
{
    PGMIO_BYTES bytes(count);
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

// `image` encoded by FORMAT; a refusal fails the test.
template <class FORMAT, class IMAGE> PGMIO_BYTES encoded(const IMAGE& image)
{
    PGMIO_BYTES bytes;
    std::string error;
    EXPECT_TRUE(FORMAT::encode(image, bytes, error)) << error;
    return bytes;
}

inline void write_bytes(const std::string& path, const PGMIO_BYTES& bytes)
{
    write_file(path, std::string(bytes.begin(), bytes.end()));
}

// Firmware and core, plus periphery with CvP and an HPS section with HPS.
inline PGMIO_CONFIG_DATA small_config(uint32_t flags)
{
    PGMIO_CONFIG_DATA data;
    data.idcode = k_sample_idcode;
    data.flags = flags;
    data.sections.push_back({PGMIO_SECTION_FIRMWARE, counting_bytes(8, 1)});
    if (flags & PGMIO_DESIGN_CVP)
        data.sections.push_back({PGMIO_SECTION_PERIPHERY, counting_bytes(5, 40)});
    data.sections.push_back({PGMIO_SECTION_CORE, counting_bytes(12, 100)});
    if (flags & PGMIO_DESIGN_HPS)
        data.sections.push_back({PGMIO_SECTION_HPS, counting_bytes(3, 200)});
    return data;
}

inline PGMIO_SOF_IMAGE small_sof(bool bootloader)
{
    PGMIO_SOF_IMAGE sof;
    sof.device_name = "7TR440PA3R1";
    sof.design_name = "blinky";
    sof.flags = PGMIO_DESIGN_HPS;
    sof.config = small_config(PGMIO_DESIGN_HPS);
    if (bootloader)
    {
        sof.has_bootloader = true;
        sof.bootloader_address = 0xFFE00000;
        sof.bootloader = counting_bytes(6, 0x30);
    }
    return sof;
}

inline PGMIO_PMSF_IMAGE small_pmsf()
{
    PGMIO_PMSF_IMAGE pmsf;
    pmsf.device_name = "7TR440PA3R1";
    pmsf.design_name = "blinky";
    pmsf.region_name = "pr_region_0";
    pmsf.region_offset = 0x100;
    pmsf.base_hash.fill(0x5C);
    pmsf.mask = {0xFF, 0x0F, 0xF0, 0x00, 0x3C};
    pmsf.data = {0xA5, 0x05, 0x50, 0x00, 0x24};
    return pmsf;
}

inline PGMIO_MSF_IMAGE small_msf()
{
    PGMIO_MSF_IMAGE msf;
    msf.device_name = "7TR440PA3R1";
    msf.region_name = "pr_region_0";
    msf.region_offset = 0x100;
    msf.mask = {0xFF, 0x0F, 0xF0, 0x00, 0x3C};
    return msf;
}

// A 1 MiB flash ("VQ1M" is no catalogue device: the format itself does not look devices up).
inline PGMIO_FLASH_IMAGE small_flash(bool jic)
{
    PGMIO_FLASH_IMAGE flash;
    flash.jic = jic;
    flash.flash_device = "VQ1M";
    flash.flash_size = 1 << 20;
    flash.fpga_device = "7TR440PA3R1";
    flash.idcode = k_sample_idcode;
    flash.design_flags = PGMIO_DESIGN_HPS;
    flash.flags = PGMIO_FLASH_REMOTE_UPDATE;
    flash.option_bits_address = 0x20;
    flash.option_bits = counting_bytes(4, 9);
    flash.pages = {{"BOOT_INFO", 0, 0xFFF}, {"P1", 0x10000, 0x1FFFF}};
    flash.blocks = {{0x0, counting_bytes(16, 0)}, {0x10000, counting_bytes(7, 50)}};
    if (jic)
    {
        flash.loader_device = "7TR440PA3R1";
        flash.loader_image = counting_bytes(9, 77);
    }
    return flash;
}

inline PGMIO_EKP_IMAGE small_ekp()
{
    PGMIO_EKP_IMAGE ekp;
    ekp.device_name = "7TR440PA3R1";
    ekp.keys.push_back({PGMIO_KEY_AES256, PGMIO_KEY_STORAGE_BBRAM, "key1", counting_bytes(32, 3)});
    ekp.keys.push_back({PGMIO_KEY_OWNER_HASH, PGMIO_KEY_STORAGE_EFUSE, "owner", counting_bytes(48, 90)});
    return ekp;
}

inline PGMIO_HELPER_IMAGE small_helper()
{
    PGMIO_HELPER_IMAGE helper;
    helper.device_name = "7TR440PA3R1";
    helper.subtype = 293;
    helper.config = small_config(0);
    return helper;
}

} // namespace corvane_test
