// SPDX-License-Identifier: Apache-2.0
// Bitstream security of the programming-file library: compression, encryption, signing and key
// handling of configuration data. The settings are plain values; no cryptography library type
// appears in this header.
#pragma once

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/pgmio/pgmio.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

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
// The same, taking over the section data of `plain` where they go into the image unchanged, so
// that a large image is not held twice; `plain` is left without them.
bool pgmsec_encode_configuration(PGMIO_CONFIG_DATA&& plain, const PGMIO_SECURITY_SETTINGS& settings,
                                 const PGM_DEVICE& device, PGMIO_BYTES& image, std::string& error);

// ---- Reading secured configuration data ---------------------------------------------------------

// Values of the CFGH compression, encryption and signature fields.
constexpr uint16_t PGMSEC_COMPRESSION_LZ4 = 1;
constexpr uint16_t PGMSEC_COMPRESSION_LZ4HC = 2;
constexpr uint16_t PGMSEC_ENCRYPTION_AES_GCM = 1;
constexpr uint16_t PGMSEC_SIGNATURE_ECDSA_P384 = 1;

// Checks the security sections of a decoded configuration data image (`image` is the whole
// container that `data` was decoded from): the security header, every stored section's framing,
// the frame of each unencrypted compressed section, and a present signature against the public key
// it carries. False with the reason in `error`.
bool pgmsec_check_configuration(std::span<const uint8_t> image, const PGMIO_CONFIG_DATA& data, std::string& error);

struct PGMSEC_SECTION_ENCRYPTION
{
    std::string algorithm; // "aes-256-gcm" or "aes-128-gcm"
    std::string key_id;
    std::string iv;           // hexadecimal
    std::string tag;          // hexadecimal
    uint64_t data_offset = 0; // of the ciphertext, from the start of the configuration data image
    uint64_t data_size = 0;
};

struct PGMSEC_SECTION_INFO
{
    uint32_t tag = 0;
    uint64_t plain_size = 0;
    std::string compression; // "none", "lz4" or "lz4hc"
    std::optional<PGMSEC_SECTION_ENCRYPTION> encryption;
};

struct PGMSEC_SIGNATURE_INFO
{
    std::string algorithm = "ecdsa-p384-sha384";
    uint64_t signed_offset = 0;
    uint64_t signed_size = 0;
    uint64_t der_offset = 0; // 0 with der_size 0 while the block is reserved but unsigned
    uint64_t der_size = 0;
    bool verified = false;
};

struct PGMSEC_INFO
{
    std::vector<PGMSEC_SECTION_INFO> sections; // the payload sections, in file order
    std::optional<PGMSEC_SIGNATURE_INFO> signature;
    std::vector<std::pair<std::string, std::string>> fields; // security options, key ids, key state
};

// What the security sections of a configuration data image say, offsets from its first byte. Never
// key bytes. False with the reason in `error` when the image is not well-formed configuration data.
bool pgmsec_describe_configuration(std::span<const uint8_t> image, PGMSEC_INFO& info, std::string& error);

// ---- Signing and finalising an existing file --------------------------------------------------------

// Signs the configuration data file `path` (its signature block reserved by sign_later, or an
// earlier signature that is replaced) with the ECDSA P-384 private key of `pem_path`, in place and
// atomically.
bool pgmsec_sign_file(const std::string& path, const std::string& pem_path, std::string& error);
// Writes the SHA-384 digest (48 raw bytes) that a signature of `path` must sign to `digest_path`.
bool pgmsec_write_digest(const std::string& path, const std::string& digest_path, std::string& error);
// Inserts a DER signature made elsewhere after verifying it with the public key of `public_pem`.
bool pgmsec_insert_signature(const std::string& path, const std::string& der_path, const std::string& public_pem,
                             std::string& error);
// Fills the wrapped-key block that finalize_encryption_later left empty: the design key (id as
// stored in the file, read from `key_file`) wrapped under the key-encryption key of `hek_path`
// (opened with `password`, empty when it has none). Any signature is cleared (it no longer covers
// the bytes), so the file must be signed afterwards.
bool pgmsec_finalize_file(const std::string& path, const std::string& hek_path, const std::string& password,
                          const std::string& key_file, std::string& error);

// ---- Key-encryption key files (.hek) and owner root key files (.hky) -----------------------------------

// Writes a key-encryption key file holding `kek` (32 bytes), wrapped under a key derived from
// `password` when it is not empty; mode 0600.
bool pgmsec_write_hek(const std::string& path, std::span<const uint8_t> kek, const std::string& password,
                      std::string& error);
// Writes an owner root key file from the public key (or the key pair) in `pem_path`.
bool pgmsec_make_hky(const std::string& pem_path, const std::string& hky_path, std::string& error);
// Writes a key-encryption key file with a fresh random key (see pgmsec_write_hek).
bool pgmsec_make_hek(const std::string& path, const std::string& password, std::string& error);
// The first line of a password file (without its line end); false when it cannot be read or is empty.
bool pgmsec_read_password_file(const std::string& path, std::string& password, std::string& error);
// Overwrites a password (or any secret text, such as a key in hexadecimal) before it is released.
void pgmsec_clear_password(std::string& password);

// ---- Key programming ----------------------------------------------------------------------------------

// What a key programming run writes for one device: the keys of the .ekp file, and the fuse values
// (eFuse keys, security options and flags) of its .fuse side file. Holds key bytes: cleared on release.
struct PGMSEC_KEY_PROGRAMMING
{
    PGMIO_EKP_IMAGE ekp;
    std::vector<std::string> fuse_lines; // "option no_jtag 2", "flag seu_recovery"
    ~PGMSEC_KEY_PROGRAMMING();
};
// Adds the keys and fuse values that one page's settings name for `device`: the design key (or,
// with an HEK file, the key-encryption key that unwraps it), the second key, and the owner root
// key hash (SHA-384 of the signing key's or the .hky file's public key). A key id given twice with
// different bytes, or a second device, is refused.
bool pgmsec_add_key_programming(const PGMIO_SECURITY_SETTINGS& settings, const PGM_DEVICE& device,
                                PGMSEC_KEY_PROGRAMMING& out, std::string& error);
// Writes the .ekp (mode 0600) and, when a key or option lives in eFuses, the .fuse file beside it
// (same name, extension .fuse, mode 0600; its path in `fuse_path`, else ""). Nothing to write
// (no key) is an error naming why.
bool pgmsec_write_key_programming(const std::string& ekp_path, const PGMSEC_KEY_PROGRAMMING& programming,
                                  std::string& fuse_path, std::string& error);
