// SPDX-License-Identifier: Apache-2.0
// The device-option record of a flash device with internal configuration memory: what the
// programming-file library writes into the option bits of such a device. The setup-document
// library fills it from a flash device element (ZEB_FILE_ASSISTANT::get_internal_configuration_options)
// and hands it to the conversion setup. A value-initialised record ({}) is all zeros and empty.
#pragma once

#include <cstdint>
#include <string>

// UFM source that takes the user flash memory content from `ufm_source_file`. The other values
// are the device's own choices (keep the memory, take it from the design) and are passed through.
inline constexpr uint32_t DSET_ZB_UFM_SOURCE_FILE = 2;

struct DSET_ZB_DEV_OPTIONS_INFO
{
    uint32_t power_on_scheme = 0;             // how the device starts after power-up
    uint32_t chip_select = 0;                 // chip select the device answers during configuration
    uint32_t programming_chip_select = 0;     // chip select used while the device is programmed
    bool enable_test = false;                 // test mode stays usable after programming
    bool enable_verify_protect = false;       // verification of the programmed content is refused
    bool enable_encrypted_pof_only = false;   // only encrypted programming files are accepted
    bool enable_jtag_security = false;        // JTAG access is locked after configuration
    bool watchdog_enabled = false;            // a configuration watchdog runs
    uint32_t watchdog_value = 0;              // its period; 0 when it does not run
    std::string ufm_source_file;              // file of the user flash memory content, "" for none
    uint32_t ufm_source = 0;                  // where that content comes from (DSET_ZB_UFM_SOURCE_FILE: the file)
    bool isp_source = false;                  // in-system programming clamps the I/O to the design's state
    bool enable_spi_mode = false;             // the device configures over SPI
    bool force_ssmclk_to_use_ismclk = false;  // the serial clock is taken from the internal oscillator
    bool enable_user_ios_weak_pullup = false; // user I/O pins keep weak pull-ups during configuration
    bool fallback_address_enabled = false;    // a fallback image is configured on failure
    uint32_t fallback_address = 0;            // its start address; 0 when there is none
    bool config_from_cfm0_only = false;       // only the first configuration image is used
};
