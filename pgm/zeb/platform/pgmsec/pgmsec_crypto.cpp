// SPDX-License-Identifier: Apache-2.0
// Cryptographic and compression primitives: LZ4 frames, AES-GCM, AES key wrap, PBKDF2, SHA-384 and
// the system's random source, each handle owned for exactly the call that uses it.
#include "pgm/zeb/platform/pgmsec/pgmsec_internal.h"

#include <lz4frame.h>
#include <lz4hc.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <limits>

namespace
{

struct CIPHER_CTX_FREE
{
    void operator()(EVP_CIPHER_CTX* ctx) const { EVP_CIPHER_CTX_free(ctx); }
};
using CIPHER_CTX = std::unique_ptr<EVP_CIPHER_CTX, CIPHER_CTX_FREE>;

struct LZ4_DCTX_FREE
{
    void operator()(LZ4F_dctx* ctx) const { LZ4F_freeDecompressionContext(ctx); }
};

struct CIPHER_FREE
{
    void operator()(EVP_CIPHER* cipher) const { EVP_CIPHER_free(cipher); }
};

// Fetched once: an implicit fetch on every initialisation costs more than encrypting a small section.
const EVP_CIPHER* gcm_cipher(size_t key_size)
{
    static const std::unique_ptr<EVP_CIPHER, CIPHER_FREE> aes256(EVP_CIPHER_fetch(nullptr, "AES-256-GCM", nullptr));
    static const std::unique_ptr<EVP_CIPHER, CIPHER_FREE> aes128(EVP_CIPHER_fetch(nullptr, "AES-128-GCM", nullptr));
    return key_size == 32 ? aes256.get() : key_size == 16 ? aes128.get() : nullptr;
}

const EVP_CIPHER* wrap_cipher(size_t key_size)
{
    return key_size == 32 ? EVP_aes_256_wrap() : key_size == 16 ? EVP_aes_128_wrap() : nullptr;
}

// EVP lengths are int; sections beyond that are fed in pieces.
constexpr size_t k_piece = size_t(1) << 30;

} // namespace

void PGMSEC_SECRET::clear()
{
    if (!m_bytes.empty())
        OPENSSL_cleanse(m_bytes.data(), m_bytes.size());
    m_bytes.clear();
}

void PGMSEC_SECRET::resize(size_t size)
{
    clear();
    m_bytes.resize(size);
}

void pgmsec_cleanse(std::string& text)
{
    if (!text.empty())
        OPENSSL_cleanse(text.data(), text.size());
    text.clear();
}

void pgmsec_cleanse(PGMIO_BYTES& bytes)
{
    if (!bytes.empty())
        OPENSSL_cleanse(bytes.data(), bytes.size());
    bytes.clear();
}

bool pgmsec_lz4_compress(std::span<const uint8_t> plain, bool high, PGMIO_BYTES& frame, std::string& error)
{
    LZ4F_preferences_t preferences = {};
    preferences.frameInfo.blockSizeID = LZ4F_max4MB;
    preferences.frameInfo.contentChecksumFlag = LZ4F_contentChecksumEnabled;
    preferences.frameInfo.contentSize = plain.size();
    preferences.compressionLevel = high ? LZ4HC_CLEVEL_MAX : 0;
    frame.resize(LZ4F_compressFrameBound(plain.size(), &preferences));
    const size_t size = LZ4F_compressFrame(frame.data(), frame.size(), plain.data(), plain.size(), &preferences);
    if (LZ4F_isError(size))
    {
        error = std::string("LZ4 compression failed: ") + LZ4F_getErrorName(size);
        return false;
    }
    frame.resize(size);
    return true;
}

bool pgmsec_lz4_decompress(std::span<const uint8_t> frame, uint64_t plain_size, PGMIO_BYTES& plain, std::string& error)
{
    LZ4F_dctx* raw = nullptr;
    if (LZ4F_isError(LZ4F_createDecompressionContext(&raw, LZ4F_VERSION)))
    {
        error = "cannot create an LZ4 decompression context";
        return false;
    }
    std::unique_ptr<LZ4F_dctx, LZ4_DCTX_FREE> ctx(raw);
    // A frame byte expands to at most 255 bytes, and no file of ours holds more than a file may:
    // a larger declared size is damage, refused before anything is allocated for it.
    if (plain_size > uint64_t(frame.size()) * 255 || plain_size > PGMIO_MAX_FILE_SIZE)
    {
        error = "the LZ4 frame of " + std::to_string(frame.size()) + " bytes cannot hold the " +
                std::to_string(plain_size) + " bytes it declares";
        return false;
    }
    plain.assign(plain_size, 0);
    size_t in_pos = 0;
    size_t out_pos = 0;
    size_t hint = 1;
    while (hint != 0)
    {
        size_t in_size = frame.size() - in_pos;
        size_t out_size = plain.size() - out_pos;
        if (in_size == 0)
        {
            error = "the LZ4 frame is cut short";
            return false;
        }
        hint = LZ4F_decompress(ctx.get(), plain.data() + out_pos, &out_size, frame.data() + in_pos, &in_size, nullptr);
        if (LZ4F_isError(hint))
        {
            error = std::string("the LZ4 frame is damaged: ") + LZ4F_getErrorName(hint);
            return false;
        }
        in_pos += in_size;
        out_pos += out_size;
        if (in_size == 0 && out_size == 0 && hint != 0)
        {
            error = "the LZ4 frame holds more than the " + std::to_string(plain_size) + " bytes it declares";
            return false;
        }
    }
    if (in_pos != frame.size() || out_pos != plain.size())
    {
        error = "the LZ4 frame gives " + std::to_string(out_pos) + " bytes, not " + std::to_string(plain_size) +
                (in_pos != frame.size() ? ", and data follows it" : "");
        return false;
    }
    return true;
}

bool pgmsec_random(std::span<uint8_t> out, std::string& error)
{
    if (RAND_bytes(out.data(), int(out.size())) != 1)
    {
        error = "the system's random source failed";
        return false;
    }
    return true;
}

bool pgmsec_gcm_encrypt(std::span<const uint8_t> key, std::span<const uint8_t> iv, std::span<const uint8_t> aad,
                        std::span<const uint8_t> plain, PGMIO_BYTES& cipher, std::span<uint8_t> tag, std::string& error)
{
    CIPHER_CTX ctx(EVP_CIPHER_CTX_new());
    const EVP_CIPHER* type = gcm_cipher(key.size());
    int length = 0;
    bool ok = ctx && type && iv.size() == PGMSEC_IV_SIZE && tag.size() == PGMSEC_TAG_SIZE &&
              EVP_EncryptInit_ex(ctx.get(), type, nullptr, key.data(), iv.data()) == 1 &&
              (aad.empty() || EVP_EncryptUpdate(ctx.get(), nullptr, &length, aad.data(), int(aad.size())) == 1);
    cipher.resize(plain.size());
    for (size_t at = 0; ok && at < plain.size(); at += k_piece)
    {
        const size_t piece = std::min(k_piece, plain.size() - at);
        ok = EVP_EncryptUpdate(ctx.get(), cipher.data() + at, &length, plain.data() + at, int(piece)) == 1;
    }
    ok = ok && EVP_EncryptFinal_ex(ctx.get(), cipher.data() + cipher.size(), &length) == 1 &&
         EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_GET_TAG, int(tag.size()), tag.data()) == 1;
    if (!ok)
        error = "AES-GCM encryption failed";
    return ok;
}

bool pgmsec_gcm_decrypt(std::span<const uint8_t> key, std::span<const uint8_t> iv, std::span<const uint8_t> aad,
                        std::span<const uint8_t> cipher, std::span<const uint8_t> tag, PGMIO_BYTES& plain,
                        std::string& error)
{
    CIPHER_CTX ctx(EVP_CIPHER_CTX_new());
    const EVP_CIPHER* type = gcm_cipher(key.size());
    int length = 0;
    bool ok = ctx && type && iv.size() == PGMSEC_IV_SIZE && tag.size() == PGMSEC_TAG_SIZE &&
              EVP_DecryptInit_ex(ctx.get(), type, nullptr, key.data(), iv.data()) == 1 &&
              (aad.empty() || EVP_DecryptUpdate(ctx.get(), nullptr, &length, aad.data(), int(aad.size())) == 1);
    plain.resize(cipher.size());
    for (size_t at = 0; ok && at < cipher.size(); at += k_piece)
    {
        const size_t piece = std::min(k_piece, cipher.size() - at);
        ok = EVP_DecryptUpdate(ctx.get(), plain.data() + at, &length, cipher.data() + at, int(piece)) == 1;
    }
    ok = ok &&
         EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_TAG, int(tag.size()), const_cast<uint8_t*>(tag.data())) == 1 &&
         EVP_DecryptFinal_ex(ctx.get(), plain.data() + plain.size(), &length) == 1;
    if (!ok)
    {
        OPENSSL_cleanse(plain.data(), plain.size());
        plain.clear();
        error = "AES-GCM authentication failed: wrong key or damaged data";
    }
    return ok;
}

bool pgmsec_key_wrap(std::span<const uint8_t> kek, std::span<const uint8_t> key, PGMIO_BYTES& wrapped,
                     std::string& error)
{
    CIPHER_CTX ctx(EVP_CIPHER_CTX_new());
    if (ctx)
        EVP_CIPHER_CTX_set_flags(ctx.get(), EVP_CIPHER_CTX_FLAG_WRAP_ALLOW);
    const EVP_CIPHER* type = wrap_cipher(kek.size());
    int length = 0;
    int final_length = 0;
    wrapped.assign(key.size() + 8, 0);
    const bool ok = ctx && type && key.size() % 8 == 0 && key.size() >= 16 &&
                    EVP_EncryptInit_ex(ctx.get(), type, nullptr, kek.data(), nullptr) == 1 &&
                    EVP_EncryptUpdate(ctx.get(), wrapped.data(), &length, key.data(), int(key.size())) == 1 &&
                    EVP_EncryptFinal_ex(ctx.get(), wrapped.data() + length, &final_length) == 1 &&
                    size_t(length + final_length) == wrapped.size();
    if (!ok)
        error = "AES key wrap failed";
    return ok;
}

bool pgmsec_key_unwrap(std::span<const uint8_t> kek, std::span<const uint8_t> wrapped, PGMSEC_SECRET& key,
                       std::string& error)
{
    CIPHER_CTX ctx(EVP_CIPHER_CTX_new());
    if (ctx)
        EVP_CIPHER_CTX_set_flags(ctx.get(), EVP_CIPHER_CTX_FLAG_WRAP_ALLOW);
    const EVP_CIPHER* type = wrap_cipher(kek.size());
    int length = 0;
    int final_length = 0;
    key.resize(wrapped.size() >= 24 ? wrapped.size() - 8 : 0);
    const bool ok = ctx && type && !key.empty() && wrapped.size() % 8 == 0 &&
                    EVP_DecryptInit_ex(ctx.get(), type, nullptr, kek.data(), nullptr) == 1 &&
                    EVP_DecryptUpdate(ctx.get(), key.data(), &length, wrapped.data(), int(wrapped.size())) == 1 &&
                    EVP_DecryptFinal_ex(ctx.get(), key.data() + length, &final_length) == 1 &&
                    size_t(length + final_length) == key.size();
    if (!ok)
    {
        key.clear();
        error = "the wrapped key does not unwrap: wrong key-encryption key or password, or damaged data";
    }
    return ok;
}

bool pgmsec_pbkdf2(const std::string& password, std::span<const uint8_t> salt, uint32_t iterations, PGMSEC_SECRET& key,
                   std::string& error)
{
    key.resize(32);
    if (iterations == 0 || iterations > uint32_t(std::numeric_limits<int>::max()) ||
        PKCS5_PBKDF2_HMAC(password.data(), int(password.size()), salt.data(), int(salt.size()), int(iterations),
                          EVP_sha256(), int(key.size()), key.data()) != 1)
    {
        key.clear();
        error = "PBKDF2 key derivation failed";
        return false;
    }
    return true;
}

PGMSEC_SHA384 pgmsec_sha384(std::span<const uint8_t> data)
{
    PGMSEC_SHA384 digest{};
    unsigned int size = 0;
    EVP_Digest(data.data(), data.size(), digest.data(), &size, EVP_sha384(), nullptr);
    return digest;
}
