// SPDX-License-Identifier: Apache-2.0
// Work on finished files: signing later (with a local key, or with a digest signed elsewhere),
// finalising encryption later, and the key-encryption key (.hek) and owner root key (.hky) files.
#include "pgm/zeb/platform/pgmsec/pgmsec_internal.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr uint8_t k_hek_magic[8] = {'C', 'V', 'N', 'H', 'E', 'K', 0x1A, 1};
constexpr uint8_t k_hky_magic[8] = {'C', 'V', 'N', 'H', 'K', 'Y', 0x1A, 1};
constexpr uint32_t k_pbkdf2_iterations = 200000;
// More iterations than any file of ours asks for would only let a crafted file hold the program.
constexpr uint32_t k_pbkdf2_max_iterations = 10 * k_pbkdf2_iterations;
constexpr size_t k_salt_size = 16;

// A configuration data file with its signature block, read and checked.
struct SIGNABLE
{
    PGMIO_BYTES image;
    PGMIO_CONFIG_DATA data;
    PGMSEC_SIGNED_RANGE range;
};

bool read_signable(const std::string& path, SIGNABLE& file, std::string& error)
{
    if (!pgmio_read_file(path, file.image, error) || !PGMIO_RBF::decode(file.image, file.data, error) ||
        !pgmsec_signed_range(file.image, file.range, error))
    {
        error = "'" + path + "': " + error;
        return false;
    }
    return true;
}

PGMSEC_SHA384 digest_of(const SIGNABLE& file)
{
    return pgmsec_sha384(std::span(file.image).subspan(file.range.offset, file.range.size));
}

// Stores a verified signature in the file, in place and atomically.
bool store_signature(const std::string& path, SIGNABLE& file, EVP_PKEY* key, PGMIO_BYTES der, std::string& error)
{
    PGMSEC_SIGN_BLOCK block;
    block.signed_ = true;
    block.der = std::move(der);
    if (!pgmsec_public_key_der(key, block.public_key, error))
        return false;
    return pgmsec_store_sign_block(file.image, block, error) && pgmio_write_file_atomic(path, file.image, error);
}

// A small file: magic, body, CRC-32 of both.
bool read_small_file(const std::string& path, const uint8_t (&magic)[8], const char* what, PGMIO_BYTES& body,
                     std::string& error)
{
    PGMIO_BYTES bytes;
    if (!pgmio_read_file(path, bytes, error, 1 << 16))
        return false;
    if (bytes.size() < 12 || std::memcmp(bytes.data(), magic, 8) != 0)
    {
        error = "'" + path + "' is not " + what;
        return false;
    }
    const std::span<const uint8_t> all(bytes);
    PGMIO_BYTE_READER crc(all.last(4), "CRC");
    if (crc.u32() != pgmio_crc32(all.first(all.size() - 4)))
    {
        pgmsec_cleanse(bytes);
        error = "'" + path + "' is damaged (CRC-32 mismatch)";
        return false;
    }
    body.assign(bytes.begin() + 8, bytes.end() - 4);
    pgmsec_cleanse(bytes);
    return true;
}

bool write_small_file(const std::string& path, const uint8_t (&magic)[8], PGMIO_BYTES& body, unsigned mode,
                      std::string& error)
{
    PGMIO_BYTE_WRITER out;
    out.bytes(magic);
    out.bytes(body);
    out.u32(pgmio_crc32(out.data()));
    const bool ok = pgmio_write_file_atomic(path, out.data(), error, mode);
    pgmsec_cleanse(out.data());
    pgmsec_cleanse(body);
    return ok;
}

} // namespace

bool pgmsec_sign_file(const std::string& path, const std::string& pem_path, std::string& error)
{
    SIGNABLE file;
    PGMSEC_PKEY key;
    PGMIO_BYTES der;
    return read_signable(path, file, error) && pgmsec_load_private_key(pem_path, key, error) &&
           pgmsec_sign_digest(key.get(), digest_of(file), der, error) &&
           store_signature(path, file, key.get(), std::move(der), error);
}

bool pgmsec_write_digest(const std::string& path, const std::string& digest_path, std::string& error)
{
    SIGNABLE file;
    if (!read_signable(path, file, error))
        return false;
    const PGMSEC_SHA384 digest = digest_of(file);
    return pgmio_write_file_atomic(digest_path, digest, error);
}

bool pgmsec_insert_signature(const std::string& path, const std::string& der_path, const std::string& public_pem,
                             std::string& error)
{
    SIGNABLE file;
    PGMSEC_PKEY key;
    PGMIO_BYTES der;
    if (!read_signable(path, file, error) || !pgmsec_load_public_key(public_pem, key, error) ||
        !pgmio_read_file(der_path, der, error, 4096))
        return false;
    if (der.size() > PGMSEC_MAX_DER || !pgmsec_verify_digest(key.get(), digest_of(file), der))
    {
        error = "the signature of '" + der_path + "' does not verify with the public key of '" + public_pem +
                "' over the signed bytes of '" + path + "'";
        return false;
    }
    return store_signature(path, file, key.get(), std::move(der), error);
}

bool pgmsec_finalize_file(const std::string& path, const std::string& hek_path, const std::string& password,
                          const std::string& key_file, std::string& error)
{
    PGMIO_BYTES image;
    PGMIO_CONFIG_DATA data;
    PGMSEC_HEADER header;
    if (!pgmio_read_file(path, image, error) || !PGMIO_RBF::decode(image, data, error) ||
        (data.security_header.empty() && (error = "it is not encrypted", true)) ||
        !pgmsec_decode_header(data.security_header, header, error))
    {
        error = "'" + path + "': " + error;
        return false;
    }
    if (header.wrap_state != PGMSEC_WRAP_UNFINALISED)
    {
        error = "'" + path + "' " +
                (header.wrap_state == PGMSEC_WRAP_FINALISED ? "is already finalised"
                                                            : "was not generated with finalize_encryption_later");
        return false;
    }
    PGMSEC_SECRET key;
    PGMSEC_SECRET kek;
    PGMIO_BYTES wrapped;
    if (!pgmsec_load_key(key_file, header.key1, uint32_t(header.key_bytes) * 8, key, error) ||
        !pgmsec_read_hek(hek_path, password, kek, error) || !pgmsec_key_wrap(kek.span(), key.span(), wrapped, error))
        return false;
    header.wrap_state = PGMSEC_WRAP_FINALISED;
    header.wrapped_size = uint8_t(wrapped.size());
    std::copy(wrapped.begin(), wrapped.end(), header.wrapped.begin());
    if (!pgmsec_encode_header(header, data.security_header, error))
        return false;
    // Finalising changes signed bytes: an earlier signature no longer holds.
    if (data.signature)
        data.signature_block = pgmsec_encode_sign_block({});
    return PGMIO_RBF::encode(data, image, error) && pgmio_write_file_atomic(path, image, error);
}

bool pgmsec_write_hek(const std::string& path, std::span<const uint8_t> kek, const std::string& password,
                      std::string& error)
{
    if (kek.size() != 32)
    {
        error = "a key-encryption key has 32 bytes";
        return false;
    }
    std::array<uint8_t, k_salt_size> salt{};
    PGMIO_BYTE_WRITER body;
    body.u8(password.empty() ? 0 : 1);
    body.u8(uint8_t(kek.size()));
    body.u16(0);
    body.u32(password.empty() ? 0 : k_pbkdf2_iterations);
    if (password.empty())
    {
        body.bytes(salt);
        body.bytes(kek);
    }
    else
    {
        PGMSEC_SECRET derived;
        PGMIO_BYTES wrapped;
        if (!pgmsec_random(salt, error) || !pgmsec_pbkdf2(password, salt, k_pbkdf2_iterations, derived, error) ||
            !pgmsec_key_wrap(derived.span(), kek, wrapped, error))
            return false;
        body.bytes(salt);
        body.bytes(wrapped);
    }
    return write_small_file(path, k_hek_magic, body.data(), 0600, error);
}

bool pgmsec_read_hek(const std::string& path, const std::string& password, PGMSEC_SECRET& kek, std::string& error)
{
    PGMIO_BYTES body;
    if (!read_small_file(path, k_hek_magic, "a key-encryption key file (.hek)", body, error))
        return false;
    PGMIO_BYTE_READER in(body, "HEK");
    const uint8_t protection = in.u8();
    const uint8_t size = in.u8();
    const uint16_t reserved = in.u16();
    const uint32_t iterations = in.u32();
    const std::span<const uint8_t> salt = in.bytes(k_salt_size);
    const std::span<const uint8_t> key = in.rest();
    bool ok = in.finish(error) && protection <= 1 && size == 32 && reserved == 0 &&
              key.size() == size + (protection ? 8u : 0u) && iterations <= k_pbkdf2_max_iterations;
    if (ok && protection == 0)
        kek.resize(size), std::copy(key.begin(), key.end(), kek.data());
    if (ok && protection == 1)
    {
        PGMSEC_SECRET derived;
        if (password.empty())
            error = "'" + path + "' is protected by a password, and none is given";
        ok = !password.empty() && pgmsec_pbkdf2(password, salt, iterations, derived, error) &&
             pgmsec_key_unwrap(derived.span(), key, kek, error);
        if (!ok && !password.empty())
            error = "'" + path + "' does not open with the given password";
        pgmsec_cleanse(body);
        return ok;
    }
    if (!ok)
        error = "'" + path + "' has an invalid key-encryption key record";
    pgmsec_cleanse(body);
    return ok;
}

bool pgmsec_make_hky(const std::string& pem_path, const std::string& hky_path, std::string& error)
{
    PGMSEC_PKEY key;
    PGMIO_BYTES der;
    if (!pgmsec_load_public_key(pem_path, key, error) || !pgmsec_public_key_der(key.get(), der, error))
        return false;
    PGMIO_BYTE_WRITER body;
    body.u16(uint16_t(der.size()));
    body.bytes(der);
    return write_small_file(hky_path, k_hky_magic, body.data(), 0644, error);
}

bool pgmsec_read_hky_der(const std::string& path, PGMIO_BYTES& der, std::string& error)
{
    PGMIO_BYTES body;
    if (!read_small_file(path, k_hky_magic, "an owner root key file (.hky)", body, error))
        return false;
    PGMIO_BYTE_READER in(body, "HKY");
    const std::span<const uint8_t> key_der = in.bytes(in.u16());
    PGMSEC_PKEY key;
    if (!in.finish(error) || !pgmsec_public_key_from_der(key_der, key, error))
    {
        error = "'" + path + "': " + error;
        return false;
    }
    der.assign(key_der.begin(), key_der.end());
    return true;
}

bool pgmsec_read_hky(const std::string& path, std::array<uint8_t, 32>& hash, std::string& error)
{
    PGMIO_BYTES der;
    if (!pgmsec_read_hky_der(path, der, error))
        return false;
    hash = pgmio_sha256(der);
    return true;
}

bool pgmsec_make_hek(const std::string& path, const std::string& password, std::string& error)
{
    PGMSEC_SECRET kek(32);
    return pgmsec_random(std::span(kek.data(), kek.size()), error) &&
           pgmsec_write_hek(path, kek.span(), password, error);
}

bool pgmsec_read_password_file(const std::string& path, std::string& password, std::string& error)
{
    PGMIO_BYTES bytes;
    if (!pgmio_read_file(path, bytes, error, 4096))
        return false;
    const auto end = std::find_if(bytes.begin(), bytes.end(), [](uint8_t c) { return c == '\n' || c == '\r'; });
    password.assign(bytes.begin(), end);
    pgmsec_cleanse(bytes);
    if (password.empty())
        error = "the password file '" + path + "' has an empty first line";
    return !password.empty();
}

void pgmsec_clear_password(std::string& password)
{
    pgmsec_cleanse(password);
}
