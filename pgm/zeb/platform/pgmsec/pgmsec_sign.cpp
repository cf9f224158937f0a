// SPDX-License-Identifier: Apache-2.0
// ECDSA P-384 keys from PEM files, and signatures over SHA-384 digests in DER form.
#include "pgm/zeb/platform/pgmsec/pgmsec_internal.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstring>

namespace
{

struct BIO_FREE
{
    void operator()(BIO* bio) const { BIO_free(bio); }
};
struct PKEY_CTX_FREE
{
    void operator()(EVP_PKEY_CTX* ctx) const { EVP_PKEY_CTX_free(ctx); }
};
using PKEY_CTX = std::unique_ptr<EVP_PKEY_CTX, PKEY_CTX_FREE>;

bool is_p384(EVP_PKEY* key)
{
    char group[32] = {};
    size_t length = 0;
    return EVP_PKEY_is_a(key, "EC") &&
           EVP_PKEY_get_utf8_string_param(key, "group", group, sizeof group, &length) == 1 &&
           std::strcmp(group, "secp384r1") == 0;
}

// Reads a PEM key with `read`; the text of the file never reaches a message.
template <class READ>
bool load_key(const std::string& path, const char* what, READ read, PGMSEC_PKEY& key, std::string& error)
{
    PGMIO_BYTES text;
    if (!pgmio_read_file(path, text, error, 1 << 20))
        return false;
    std::unique_ptr<BIO, BIO_FREE> bio(BIO_new_mem_buf(text.data(), int(text.size())));
    key.reset(bio ? read(bio.get()) : nullptr);
    OPENSSL_cleanse(text.data(), text.size());
    if (!key)
    {
        error = "'" + path + "' holds no " + what + " in PEM form";
        return false;
    }
    if (!is_p384(key.get()))
    {
        key.reset();
        error = "the key of '" + path + "' is not an ECDSA P-384 key";
        return false;
    }
    return true;
}

} // namespace

void PGMSEC_PKEY_FREE::operator()(EVP_PKEY* key) const
{
    EVP_PKEY_free(key);
}

bool pgmsec_load_private_key(const std::string& path, PGMSEC_PKEY& key, std::string& error)
{
    return load_key(
        path, "private key", [](BIO* bio) { return PEM_read_bio_PrivateKey(bio, nullptr, nullptr, nullptr); }, key,
        error);
}

bool pgmsec_load_public_key(const std::string& path, PGMSEC_PKEY& key, std::string& error)
{
    return load_key(
        path, "public key",
        [](BIO* bio)
        {
            EVP_PKEY* found = PEM_read_bio_PUBKEY(bio, nullptr, nullptr, nullptr);
            if (!found)
            {
                BIO_reset(bio);
                found = PEM_read_bio_PrivateKey(bio, nullptr, nullptr, nullptr);
            }
            return found;
        },
        key, error);
}

bool pgmsec_public_key_der(EVP_PKEY* key, PGMIO_BYTES& der, std::string& error)
{
    const int size = i2d_PUBKEY(key, nullptr);
    if (size <= 0 || size_t(size) > PGMSEC_PUBLIC_KEY_SIZE)
    {
        error = "the public key cannot be encoded";
        return false;
    }
    der.resize(size_t(size));
    uint8_t* out = der.data();
    i2d_PUBKEY(key, &out);
    return true;
}

bool pgmsec_public_key_from_der(std::span<const uint8_t> der, PGMSEC_PKEY& key, std::string& error)
{
    const uint8_t* in = der.data();
    key.reset(d2i_PUBKEY(nullptr, &in, long(der.size())));
    if (!key || in != der.data() + der.size() || !is_p384(key.get()))
    {
        key.reset();
        error = "the signature block's public key is not a DER ECDSA P-384 public key";
        return false;
    }
    return true;
}

bool pgmsec_sign_digest(EVP_PKEY* key, const PGMSEC_SHA384& digest, PGMIO_BYTES& der, std::string& error)
{
    PKEY_CTX ctx(EVP_PKEY_CTX_new(key, nullptr));
    size_t size = 0;
    bool ok = ctx && EVP_PKEY_sign_init(ctx.get()) == 1 &&
              EVP_PKEY_CTX_set_signature_md(ctx.get(), EVP_sha384()) == 1 &&
              EVP_PKEY_sign(ctx.get(), nullptr, &size, digest.data(), digest.size()) == 1;
    der.resize(size);
    ok = ok && EVP_PKEY_sign(ctx.get(), der.data(), &size, digest.data(), digest.size()) == 1 && size <= PGMSEC_MAX_DER;
    der.resize(ok ? size : 0);
    if (!ok)
        error = "ECDSA signing failed";
    return ok;
}

bool pgmsec_verify_digest(EVP_PKEY* key, const PGMSEC_SHA384& digest, std::span<const uint8_t> der)
{
    PKEY_CTX ctx(EVP_PKEY_CTX_new(key, nullptr));
    return ctx && EVP_PKEY_verify_init(ctx.get()) == 1 && EVP_PKEY_CTX_set_signature_md(ctx.get(), EVP_sha384()) == 1 &&
           EVP_PKEY_verify(ctx.get(), der.data(), der.size(), digest.data(), digest.size()) == 1;
}
