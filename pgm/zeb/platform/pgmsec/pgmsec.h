// SPDX-License-Identifier: Apache-2.0
// Bitstream security of the programming-file library: compression, encryption, signing and key
// handling of configuration data. The settings are plain values; no cryptography library type
// appears in this header.
#pragma once

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/pgmio/pgmio.h"

#include <array>
#include <cstdint>
#include <string>

// The security options of a bitstream, each set at a level 0 to 3 (PGMIO_SECURITY_LEVEL).
enum PGMIO_SECURITY_OPTION : uint32_t
{
    PGMIO_SECURITY_OPT_NO_HPS_JTAG = 0,
    PGMIO_SECURITY_OPT_SECURE,
    PGMIO_SECURITY_OPT_EPOF_ONLY,
    PGMIO_SECURITY_OPT_NO_CONFIG,
    PGMIO_SECURITY_OPT_NO_BATTERY_KEY,
    PGMIO_SECURITY_OPT_NO_JTAG,
    PGMIO_SECURITY_OPT_LOCK_BATTERY_KEY,
    PGMIO_SECURITY_OPT_NO_OTP_KEY,
    PGMIO_SECURITY_OPT_NO_JTAG_EXT,
    PGMIO_SECURITY_OPT_NO_JTAG_KEY,
    PGMIO_SECURITY_OPT_NO_PR,
    PGMIO_SECURITY_OPT_COUNT,
};

// How a bitstream is signed (the setup document's "signing" values OFF, ON, PEM).
enum PGMIO_SIGNING_MODE : uint32_t
{
    PGMIO_SIGNING_OFF = 0,
    PGMIO_SIGNING_ON = 1,
    PGMIO_SIGNING_PEM = 2,
};

// Everything a bitstream's input path asks of its security, as the setup document writes it. Key
// files and PEM files are named, never held: keys are read only while they are used.
struct PGMIO_SECURITY_SETTINGS
{
    bool compression = false;
    bool enhanced_compression = false;
    bool encryption = false;
    std::string key_file1; // key file (id and key per line) of the first key
    std::string key1;      // key id in key_file1
    std::string key_file2;
    std::string key2;
    std::string hek_file; // key-encryption key that wraps the design key
    bool finalize_encryption = false;
    bool finalize_encryption_later = false;
    std::string password; // protects the key of hek_file
    PGMIO_SIGNING_MODE signing = PGMIO_SIGNING_OFF;
    std::string signing_pem_file;
    bool sign_later = false;
    std::string hky_file; // owner root public key for a helper image
    std::string hlk_file;
    std::string ekp_file;
    std::string key_storage; // where the key is kept on the device ("BBRAM", "EFUSE", ...)
    bool non_volatile_key = false;
    bool seu_recovery = false;
    bool rsu_upgrade = false;
    bool decryption_during_pr = false;
    bool decompression_during_pr = false;
    std::array<uint8_t, PGMIO_SECURITY_OPT_COUNT> options{}; // level of each PGMIO_SECURITY_OPTION

    // True when any setting asks for something (a default-constructed value asks for nothing).
    bool any() const { return *this != PGMIO_SECURITY_SETTINGS{}; }
    bool operator==(const PGMIO_SECURITY_SETTINGS&) const = default;
};

// The configuration data image (.rbf bytes) that the device loads: `plain` with the settings
// applied. With settings that ask for nothing the image is exactly PGMIO_RBF::encode(plain). False
// with the reason in `error`, which names the option, key id or file, never key bytes.
bool pgmsec_encode_configuration(const PGMIO_CONFIG_DATA& plain, const PGMIO_SECURITY_SETTINGS& settings,
                                 const PGM_DEVICE& device, PGMIO_BYTES& image, std::string& error);
