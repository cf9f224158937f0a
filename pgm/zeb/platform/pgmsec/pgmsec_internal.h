// SPDX-License-Identifier: Apache-2.0
// Private to the bitstream security folder: the cryptographic primitives (OpenSSL and liblz4 behind
// RAII owners) and the codec of the security sections of configuration data.
#pragma once

#include "pgm/zeb/platform/pgmsec/pgmsec.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

typedef struct evp_pkey_st EVP_PKEY;

// Key material: zeroed with OPENSSL_cleanse when it goes away.
class PGMSEC_SECRET
{
public:
    PGMSEC_SECRET() = default;
    explicit PGMSEC_SECRET(size_t size) : m_bytes(size) {}
    ~PGMSEC_SECRET() { clear(); }
    PGMSEC_SECRET(const PGMSEC_SECRET&) = delete;
    PGMSEC_SECRET& operator=(const PGMSEC_SECRET&) = delete;
    void clear();
    void resize(size_t size);
    uint8_t* data() { return m_bytes.data(); }
    const uint8_t* data() const { return m_bytes.data(); }
    size_t size() const { return m_bytes.size(); }
    bool empty() const { return m_bytes.empty(); }
    std::span<const uint8_t> span() const { return m_bytes; }

private:
    PGMIO_BYTES m_bytes;
};

// Clears a text that held a secret (a key in hexadecimal, a password).
void pgmsec_cleanse(std::string& text);
// Clears bytes that held a secret (a key file's content).
void pgmsec_cleanse(PGMIO_BYTES& bytes);

using PGMSEC_SHA384 = std::array<uint8_t, 48>;
constexpr size_t PGMSEC_IV_SIZE = 12;
constexpr size_t PGMSEC_TAG_SIZE = 16;
constexpr size_t PGMSEC_MAX_WRAPPED = 40;      // a 256-bit key wrapped (RFC 3394): 8 bytes more
constexpr size_t PGMSEC_MAX_DER = 104;         // largest DER ECDSA P-384 signature
constexpr size_t PGMSEC_PUBLIC_KEY_SIZE = 120; // DER SubjectPublicKeyInfo of an uncompressed P-384 key

// ---- Primitives (pgmsec_crypto.cpp) ---------------------------------------------------------------

bool pgmsec_lz4_compress(std::span<const uint8_t> plain, bool high, PGMIO_BYTES& frame, std::string& error);
// Decodes one LZ4 frame that must give exactly `plain_size` bytes.
bool pgmsec_lz4_decompress(std::span<const uint8_t> frame, uint64_t plain_size, PGMIO_BYTES& plain, std::string& error);
bool pgmsec_random(std::span<uint8_t> out, std::string& error);
// AES-GCM with a 16- or 32-byte key and a 12-byte IV; the ciphertext is as long as the plain text.
bool pgmsec_gcm_encrypt(std::span<const uint8_t> key, std::span<const uint8_t> iv, std::span<const uint8_t> aad,
                        std::span<const uint8_t> plain, PGMIO_BYTES& cipher, std::span<uint8_t> tag,
                        std::string& error);
// False when the tag does not match (the data or key is wrong).
bool pgmsec_gcm_decrypt(std::span<const uint8_t> key, std::span<const uint8_t> iv, std::span<const uint8_t> aad,
                        std::span<const uint8_t> cipher, std::span<const uint8_t> tag, PGMIO_BYTES& plain,
                        std::string& error);
// AES key wrap (RFC 3394) of `key` under `kek`; the result is 8 bytes longer than the key.
bool pgmsec_key_wrap(std::span<const uint8_t> kek, std::span<const uint8_t> key, PGMIO_BYTES& wrapped,
                     std::string& error);
// False when the integrity check of the unwrap fails (wrong key-encryption key or damaged data).
bool pgmsec_key_unwrap(std::span<const uint8_t> kek, std::span<const uint8_t> wrapped, PGMSEC_SECRET& key,
                       std::string& error);
bool pgmsec_pbkdf2(const std::string& password, std::span<const uint8_t> salt, uint32_t iterations, PGMSEC_SECRET& key,
                   std::string& error);
PGMSEC_SHA384 pgmsec_sha384(std::span<const uint8_t> data);

// ---- ECDSA P-384 (pgmsec_sign.cpp) ----------------------------------------------------------------

struct PGMSEC_PKEY_FREE
{
    void operator()(EVP_PKEY* key) const;
};
using PGMSEC_PKEY = std::unique_ptr<EVP_PKEY, PGMSEC_PKEY_FREE>;

// The P-384 private key of a PEM file; the error names the file, never key bytes.
bool pgmsec_load_private_key(const std::string& path, PGMSEC_PKEY& key, std::string& error);
// The P-384 public key of a PEM file holding a public key or a key pair.
bool pgmsec_load_public_key(const std::string& path, PGMSEC_PKEY& key, std::string& error);
bool pgmsec_public_key_der(EVP_PKEY* key, PGMIO_BYTES& der, std::string& error);
bool pgmsec_public_key_from_der(std::span<const uint8_t> der, PGMSEC_PKEY& key, std::string& error);
bool pgmsec_sign_digest(EVP_PKEY* key, const PGMSEC_SHA384& digest, PGMIO_BYTES& der, std::string& error);
bool pgmsec_verify_digest(EVP_PKEY* key, const PGMSEC_SHA384& digest, std::span<const uint8_t> der);

// ---- Security sections (pgmsec_layout.cpp) ----------------------------------------------------------

constexpr uint32_t PGMSEC_SECTION_HEADER = pgmio_tag("SECH");
constexpr uint32_t PGMSEC_SECTION_SIGNATURE = pgmio_tag("SIGN");

constexpr uint8_t PGMSEC_WRAP_NONE = 0;
constexpr uint8_t PGMSEC_WRAP_UNFINALISED = 1;
constexpr uint8_t PGMSEC_WRAP_FINALISED = 2;

constexpr uint8_t PGMSEC_FLAG_NON_VOLATILE_KEY = 1u << 0;
constexpr uint8_t PGMSEC_FLAG_SEU_RECOVERY = 1u << 1;
constexpr uint8_t PGMSEC_FLAG_RSU_UPGRADE = 1u << 2;
constexpr uint8_t PGMSEC_FLAG_DECRYPTION_DURING_PR = 1u << 3;
constexpr uint8_t PGMSEC_FLAG_DECOMPRESSION_DURING_PR = 1u << 4;
constexpr uint8_t PGMSEC_FLAG_ALL = 0x1f;

// The security header section "SECH".
struct PGMSEC_HEADER
{
    uint8_t key_bytes = 0; // AES key length: 0 unencrypted, 16 or 32
    std::array<uint8_t, PGMIO_SECURITY_OPT_COUNT> options{};
    uint8_t flags = 0;       // PGMSEC_FLAG_*
    uint8_t key_storage = 0; // 0 not given, PGMIO_KEY_STORAGE_BBRAM, PGMIO_KEY_STORAGE_EFUSE
    std::string key1;
    std::string key2;
    uint8_t wrap_state = PGMSEC_WRAP_NONE;
    uint8_t wrapped_size = 0;
    std::array<uint8_t, PGMSEC_MAX_WRAPPED> wrapped{};
    std::array<uint8_t, 32> owner_hash{}; // SHA-256 of the owner root public key (hky_file); zero without
    struct ENTRY
    {
        uint32_t tag = 0;
        uint64_t size = 0;
    };
    std::vector<ENTRY> directory; // every payload section's tag and stored size
};
bool pgmsec_encode_header(const PGMSEC_HEADER& header, PGMIO_BYTES& bytes, std::string& error);
bool pgmsec_decode_header(std::span<const uint8_t> bytes, PGMSEC_HEADER& header, std::string& error);

// The signature block section "SIGN": fixed size, so that signing later changes no offset.
struct PGMSEC_SIGN_BLOCK
{
    bool signed_ = false;
    PGMIO_BYTES der;        // at most PGMSEC_MAX_DER bytes
    PGMIO_BYTES public_key; // DER SubjectPublicKeyInfo, at most PGMSEC_PUBLIC_KEY_SIZE bytes
};
constexpr size_t PGMSEC_SIGN_BLOCK_SIZE = 8 + PGMSEC_MAX_DER + PGMSEC_PUBLIC_KEY_SIZE;
PGMIO_BYTES pgmsec_encode_sign_block(const PGMSEC_SIGN_BLOCK& block);
bool pgmsec_decode_sign_block(std::span<const uint8_t> bytes, PGMSEC_SIGN_BLOCK& block, std::string& error);

// The byte range a signature covers: from the first section's data to the signature block's data.
struct PGMSEC_SIGNED_RANGE
{
    uint64_t offset = 0;
    uint64_t size = 0;
    uint64_t block_offset = 0; // of the signature block's data
};
bool pgmsec_signed_range(std::span<const uint8_t> image, PGMSEC_SIGNED_RANGE& range, std::string& error);
// Writes the signature block into an encoded image in place, with its section CRC and the file CRC.
bool pgmsec_store_sign_block(PGMIO_BYTES& image, const PGMSEC_SIGN_BLOCK& block, std::string& error);

// A stored payload section: plain size, and with encryption the IV and tag, then the data.
struct PGMSEC_STORED
{
    uint64_t plain_size = 0;
    std::span<const uint8_t> iv;
    std::span<const uint8_t> tag;
    std::span<const uint8_t> data;
    uint64_t data_offset = 0; // in the section
};
bool pgmsec_parse_stored(std::span<const uint8_t> section, bool encrypted, PGMSEC_STORED& stored, std::string& error);

// Loads the AES key `id` of `key_file` with the device's key length. The error names id and file.
bool pgmsec_load_key(const std::string& key_file, const std::string& id, uint32_t key_bits, PGMSEC_SECRET& key,
                     std::string& error);
// Reads a key-encryption key file, unwrapping it with `password` when it is protected.
bool pgmsec_read_hek(const std::string& path, const std::string& password, PGMSEC_SECRET& kek, std::string& error);
// The owner root key hash (SHA-256 of the DER public key) of an owner root key file.
bool pgmsec_read_hky(const std::string& path, std::array<uint8_t, 32>& hash, std::string& error);
// The DER public key of an owner root key file.
bool pgmsec_read_hky_der(const std::string& path, PGMIO_BYTES& der, std::string& error);
