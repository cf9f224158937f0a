// SPDX-License-Identifier: Apache-2.0
// The security sections of configuration data (docs/formats.md): the security header "SECH", the
// framing of stored payload sections, the signature block "SIGN" and the signed byte range; the
// reader's checks of them and the description that --info shows.
#include "pgm/zeb/platform/pgmsec/pgmsec_internal.h"

#include "pgm/zeb/key_files.h"
#include "pgm/zeb/platform/fio/fio.h"

#include <algorithm>

namespace
{

constexpr const char* k_option_names[PGMIO_SECURITY_OPT_COUNT] = {
    "no_hps_jtag",      "secure",     "epof_only",   "no_config",   "no_battery_key", "no_jtag",
    "lock_battery_key", "no_otp_key", "no_jtag_ext", "no_jtag_key", "no_pr",
};

struct FLAG_NAME
{
    uint8_t flag;
    const char* name;
};
constexpr FLAG_NAME k_flag_names[] = {
    {PGMSEC_FLAG_NON_VOLATILE_KEY, "non_volatile_key"},
    {PGMSEC_FLAG_SEU_RECOVERY, "seu_recovery"},
    {PGMSEC_FLAG_RSU_UPGRADE, "rsu_upgrade"},
    {PGMSEC_FLAG_DECRYPTION_DURING_PR, "decryption_during_pr"},
    {PGMSEC_FLAG_DECOMPRESSION_DURING_PR, "decompression_during_pr"},
};

const char* compression_name(uint16_t compression)
{
    return compression == PGMSEC_COMPRESSION_LZ4 ? "lz4" : compression == PGMSEC_COMPRESSION_LZ4HC ? "lz4hc" : "none";
}

bool is_payload(uint32_t tag)
{
    return tag == PGMIO_SECTION_FIRMWARE || tag == PGMIO_SECTION_PERIPHERY || tag == PGMIO_SECTION_CORE ||
           tag == PGMIO_SECTION_HPS;
}

// The security header and signature block of a parsed configuration data container.
struct PARSED
{
    PGMIO_CONTAINER_VIEW view;
    PGMIO_CONFIG_DATA data;
    PGMSEC_HEADER header;
    bool has_header = false;
};

bool parse(std::span<const uint8_t> image, PARSED& parsed, std::string& error)
{
    if (!pgmio_parse_container_of_kind(image, PGMIO_KIND_RBF, "configuration data file", parsed.view, error))
        return false;
    for (const PGMIO_SECTION_VIEW& section : parsed.view.sections)
        if (section.tag == PGMSEC_SECTION_HEADER)
        {
            parsed.has_header = true;
            return pgmsec_decode_header(section.data, parsed.header, error);
        }
    return true;
}

} // namespace

bool pgmsec_encode_header(const PGMSEC_HEADER& header, PGMIO_BYTES& bytes, std::string& error)
{
    PGMIO_BYTE_WRITER out;
    out.u8(header.key_bytes);
    for (uint8_t level : header.options)
        out.u8(level);
    out.u8(header.flags);
    out.u8(header.key_storage);
    if (!out.str(header.key1) || !out.str(header.key2))
    {
        error = "a key id is longer than 65535 bytes";
        return false;
    }
    out.u8(header.wrap_state);
    out.u8(header.wrapped_size);
    out.bytes(header.wrapped);
    out.bytes(header.owner_hash);
    out.u16(uint16_t(header.directory.size()));
    for (const PGMSEC_HEADER::ENTRY& entry : header.directory)
    {
        out.u32(entry.tag);
        out.u64(entry.size);
    }
    bytes = std::move(out.data());
    return true;
}

bool pgmsec_decode_header(std::span<const uint8_t> bytes, PGMSEC_HEADER& header, std::string& error)
{
    header = PGMSEC_HEADER{};
    PGMIO_BYTE_READER in(bytes, "SECH");
    header.key_bytes = in.u8();
    if (in.ok() && header.key_bytes != 0 && header.key_bytes != 16 && header.key_bytes != 32)
        in.fail("key length is not 0, 16 or 32 bytes");
    for (uint8_t& level : header.options)
    {
        level = in.u8();
        if (in.ok() && level > 3)
            in.fail("a security option level is above 3");
    }
    header.flags = in.u8();
    if (in.ok() && (header.flags & ~PGMSEC_FLAG_ALL))
        in.fail("unknown security flags");
    header.key_storage = in.u8();
    if (in.ok() && header.key_storage > PGMIO_KEY_STORAGE_EFUSE)
        in.fail("unknown key storage");
    header.key1 = in.str();
    header.key2 = in.str();
    header.wrap_state = in.u8();
    header.wrapped_size = in.u8();
    if (in.ok() && (header.wrap_state > PGMSEC_WRAP_FINALISED ||
                    (header.wrap_state == PGMSEC_WRAP_FINALISED) != (header.wrapped_size == header.key_bytes + 8) ||
                    (header.wrap_state != PGMSEC_WRAP_FINALISED && header.wrapped_size != 0) ||
                    (header.wrap_state != PGMSEC_WRAP_NONE && header.key_bytes == 0)))
        in.fail("the wrapped-key block is inconsistent");
    auto copy = [&in](std::span<uint8_t> out)
    {
        const std::span<const uint8_t> data = in.bytes(out.size());
        std::copy(data.begin(), data.end(), out.begin());
    };
    copy(header.wrapped);
    copy(header.owner_hash);
    const uint16_t count = in.u16();
    for (uint16_t i = 0; i < count && in.ok(); ++i)
    {
        PGMSEC_HEADER::ENTRY entry;
        entry.tag = in.u32();
        entry.size = in.u64();
        header.directory.push_back(entry);
    }
    return in.finish(error);
}

PGMIO_BYTES pgmsec_encode_sign_block(const PGMSEC_SIGN_BLOCK& block)
{
    PGMIO_BYTE_WRITER out;
    out.u8(block.signed_ ? 1 : 0);
    out.u8(0);
    out.u16(uint16_t(block.der.size()));
    out.u16(uint16_t(block.public_key.size()));
    out.u16(0);
    PGMIO_BYTES der = block.der;
    der.resize(PGMSEC_MAX_DER);
    PGMIO_BYTES key = block.public_key;
    key.resize(PGMSEC_PUBLIC_KEY_SIZE);
    out.bytes(der);
    out.bytes(key);
    return std::move(out.data());
}

bool pgmsec_decode_sign_block(std::span<const uint8_t> bytes, PGMSEC_SIGN_BLOCK& block, std::string& error)
{
    block = PGMSEC_SIGN_BLOCK{};
    PGMIO_BYTE_READER in(bytes, "SIGN");
    const uint8_t state = in.u8();
    const uint8_t reserved = in.u8();
    const uint16_t der_size = in.u16();
    const uint16_t key_size = in.u16();
    const uint16_t reserved2 = in.u16();
    const std::span<const uint8_t> der = in.bytes(PGMSEC_MAX_DER);
    const std::span<const uint8_t> key = in.bytes(PGMSEC_PUBLIC_KEY_SIZE);
    if (in.ok() && (state > 1 || reserved != 0 || reserved2 != 0))
        in.fail("unknown state or non-zero reserved bytes");
    if (in.ok() && (der_size > PGMSEC_MAX_DER || key_size > PGMSEC_PUBLIC_KEY_SIZE ||
                    (state == 1) != (der_size > 0 && key_size > 0) ||
                    (state == 0 && std::any_of(der.begin(), der.end(), [](uint8_t b) { return b != 0; }))))
        in.fail("signature and public key sizes do not match the signed state");
    if (!in.finish(error))
        return false;
    block.signed_ = state == 1;
    block.der.assign(der.begin(), der.begin() + der_size);
    block.public_key.assign(key.begin(), key.begin() + key_size);
    return true;
}

bool pgmsec_signed_range(std::span<const uint8_t> image, PGMSEC_SIGNED_RANGE& range, std::string& error)
{
    PGMIO_CONTAINER_VIEW view;
    if (!pgmio_parse_container(image, view, error, false))
        return false;
    if (view.sections.empty() || view.sections.back().tag != PGMSEC_SECTION_SIGNATURE)
    {
        error = "the file has no signature block (generate it with signing or sign_later)";
        return false;
    }
    range.offset = view.sections.front().offset;
    range.block_offset = view.sections.back().offset;
    range.size = range.block_offset - range.offset;
    return true;
}

bool pgmsec_store_sign_block(PGMIO_BYTES& image, const PGMSEC_SIGN_BLOCK& block, std::string& error)
{
    PGMIO_CONTAINER_VIEW view;
    if (!pgmio_parse_container(image, view, error, false))
        return false;
    if (view.sections.empty() || view.sections.back().tag != PGMSEC_SECTION_SIGNATURE ||
        view.sections.back().data.size() != PGMSEC_SIGN_BLOCK_SIZE)
    {
        error = "the file has no signature block (generate it with signing or sign_later)";
        return false;
    }
    const PGMIO_BYTES bytes = pgmsec_encode_sign_block(block);
    const size_t index = view.sections.size() - 1;
    std::copy(bytes.begin(), bytes.end(), image.begin() + ptrdiff_t(view.sections.back().offset));
    // Only the block, its CRC in the section table and the file CRC change.
    auto put = [&image](size_t at, uint32_t value)
    {
        for (int i = 0; i < 4; ++i)
            image[at + size_t(i)] = uint8_t(value >> (8 * i));
    };
    put(PGMIO_CONTAINER_HEADER_SIZE + PGMIO_CONTAINER_ENTRY_SIZE * index + 4, pgmio_crc32(bytes));
    put(image.size() - 4, pgmio_crc32(std::span<const uint8_t>(image).first(image.size() - 4)));
    return true;
}

bool pgmsec_parse_stored(std::span<const uint8_t> section, bool encrypted, PGMSEC_STORED& stored, std::string& error)
{
    PGMIO_BYTE_READER in(section, "stored section");
    stored.plain_size = in.u64();
    if (encrypted)
    {
        stored.iv = in.bytes(PGMSEC_IV_SIZE);
        stored.tag = in.bytes(PGMSEC_TAG_SIZE);
    }
    stored.data_offset = in.position();
    stored.data = in.rest();
    if (in.ok() && (stored.plain_size == 0 || stored.data.empty()))
        in.fail("plain size or stored data is empty");
    return in.finish(error);
}

bool pgmsec_check_configuration(std::span<const uint8_t> image, const PGMIO_CONFIG_DATA& data, std::string& error)
{
    PARSED parsed;
    if (!parse(image, parsed, error))
        return false;
    const bool secured = data.compression || data.encryption || data.signature;
    if (data.compression > PGMSEC_COMPRESSION_LZ4HC || data.encryption > PGMSEC_ENCRYPTION_AES_GCM ||
        data.signature > PGMSEC_SIGNATURE_ECDSA_P384)
    {
        error = "unknown compression, encryption or signature method in 'CFGH'";
        return false;
    }
    if (secured && !parsed.has_header)
    {
        error = "compression, encryption or signature is declared but the security header 'SECH' is missing";
        return false;
    }
    if ((data.encryption != 0) != (parsed.header.key_bytes != 0))
    {
        error = "'CFGH' and 'SECH' disagree about encryption";
        return false;
    }
    // The directory in the (signed) header pins every payload section's tag and size.
    std::vector<PGMSEC_HEADER::ENTRY> actual;
    for (const PGMIO_SECTION_VIEW& section : parsed.view.sections)
        if (is_payload(section.tag))
            actual.push_back({section.tag, section.data.size()});
    const auto same = [](const PGMSEC_HEADER::ENTRY& a, const PGMSEC_HEADER::ENTRY& b)
    { return a.tag == b.tag && a.size == b.size; };
    if (parsed.has_header &&
        !std::equal(actual.begin(), actual.end(), parsed.header.directory.begin(), parsed.header.directory.end(), same))
    {
        error = "the section directory of 'SECH' does not match the file's payload sections";
        return false;
    }
    if (data.compression || data.encryption)
        for (const PGMIO_CONFIG_SECTION& section : data.sections)
        {
            PGMSEC_STORED stored;
            PGMIO_BYTES plain;
            if (!pgmsec_parse_stored(section.data, data.encryption != 0, stored, error) ||
                (data.compression && !data.encryption &&
                 !pgmsec_lz4_decompress(stored.data, stored.plain_size, plain, error)))
            {
                error = "section '" + pgmio_tag_text(section.tag) + "': " + error;
                return false;
            }
            if (!data.compression && stored.plain_size != stored.data.size())
            {
                error = "section '" + pgmio_tag_text(section.tag) + "': plain size differs from the stored size";
                return false;
            }
        }
    if (data.signature == 0)
        return true;
    PGMSEC_SIGN_BLOCK block;
    PGMSEC_SIGNED_RANGE range;
    if (!pgmsec_decode_sign_block(data.signature_block, block, error) || !pgmsec_signed_range(image, range, error))
        return false;
    if (!block.signed_)
        return true; // reserved by sign_later; readers that need a signature ask for it
    PGMSEC_PKEY key;
    if (!pgmsec_public_key_from_der(block.public_key, key, error))
        return false;
    if (!pgmsec_verify_digest(key.get(), pgmsec_sha384(image.subspan(range.offset, range.size)), block.der))
    {
        error = "the signature does not verify: the signed bytes " + pgmio_hex_number(range.offset) + ".." +
                pgmio_hex_number(range.offset + range.size - 1) + " were changed or signed with another key";
        return false;
    }
    return true;
}

bool pgmsec_describe_configuration(std::span<const uint8_t> image, PGMSEC_INFO& info, std::string& error)
{
    info = PGMSEC_INFO{};
    PARSED parsed;
    if (!PGMIO_RBF::decode(image, parsed.data, error) || !parse(image, parsed, error))
        return false;
    const PGMIO_CONFIG_DATA& data = parsed.data;
    const PGMSEC_HEADER& header = parsed.header;
    const bool framed = data.compression || data.encryption;
    for (const PGMIO_SECTION_VIEW& section : parsed.view.sections)
    {
        if (!is_payload(section.tag))
            continue;
        PGMSEC_SECTION_INFO entry;
        entry.tag = section.tag;
        entry.compression = compression_name(data.compression);
        entry.plain_size = section.data.size();
        PGMSEC_STORED stored;
        if (framed && pgmsec_parse_stored(section.data, data.encryption != 0, stored, error))
        {
            entry.plain_size = stored.plain_size;
            if (data.encryption)
            {
                const bool second = section.tag == PGMIO_SECTION_HPS && !header.key2.empty();
                entry.encryption = PGMSEC_SECTION_ENCRYPTION{header.key_bytes == 16 ? "aes-128-gcm" : "aes-256-gcm",
                                                             second ? header.key2 : header.key1,
                                                             pgmio_hex_text(stored.iv),
                                                             pgmio_hex_text(stored.tag),
                                                             section.offset + stored.data_offset,
                                                             stored.data.size()};
            }
        }
        info.sections.push_back(entry);
    }
    if (parsed.has_header)
    {
        std::string options;
        for (size_t i = 0; i < header.options.size(); ++i)
            if (header.options[i])
                options += (options.empty() ? "" : ",") + std::string(k_option_names[i]) + "=" +
                           std::to_string(header.options[i]);
        info.fields.emplace_back("security options", options.empty() ? "none" : options);
        std::string flags;
        for (const FLAG_NAME& flag : k_flag_names)
            if (header.flags & flag.flag)
                flags += (flags.empty() ? "" : ",") + std::string(flag.name);
        info.fields.emplace_back("security flags", flags.empty() ? "none" : flags);
        info.fields.emplace_back("key storage", header.key_storage == PGMIO_KEY_STORAGE_BBRAM   ? "BBRAM"
                                                : header.key_storage == PGMIO_KEY_STORAGE_EFUSE ? "eFuse"
                                                                                                : "not given");
        if (header.key_bytes)
            info.fields.emplace_back("encryption algorithm", header.key_bytes == 16 ? "aes-128-gcm" : "aes-256-gcm");
        if (!header.key1.empty())
            info.fields.emplace_back("key1 id", header.key1);
        if (!header.key2.empty())
            info.fields.emplace_back("key2 id (HPS section)", header.key2);
        info.fields.emplace_back("wrapped key", header.wrap_state == PGMSEC_WRAP_FINALISED     ? "finalised"
                                                : header.wrap_state == PGMSEC_WRAP_UNFINALISED ? "not finalised"
                                                                                               : "none");
        if (std::any_of(header.owner_hash.begin(), header.owner_hash.end(), [](uint8_t b) { return b != 0; }))
            info.fields.emplace_back("owner root key hash", pgmio_hex_text(header.owner_hash));
    }
    if (data.signature)
    {
        PGMSEC_SIGN_BLOCK block;
        PGMSEC_SIGNED_RANGE range;
        if (!pgmsec_decode_sign_block(data.signature_block, block, error) || !pgmsec_signed_range(image, range, error))
            return false;
        PGMSEC_SIGNATURE_INFO signature;
        signature.signed_offset = range.offset;
        signature.signed_size = range.size;
        signature.der_offset = block.signed_ ? range.block_offset + 8 : 0;
        signature.der_size = block.der.size();
        signature.verified = block.signed_; // decode above refused a signature that does not verify
        info.signature = signature;
    }
    return true;
}

bool pgmsec_load_key(const std::string& key_file, const std::string& id, uint32_t key_bits, PGMSEC_SECRET& key,
                     std::string& error)
{
    const std::string where = "key id '" + id + "' of key file '" + key_file + "'";
    if (!FIO_FILE_SYSTEM::exists(FIO_PATH(key_file)))
    {
        error = "key file '" + key_file + "' (for key id '" + id + "') does not exist";
        return false;
    }
    ZEB_KEY_FILE_ASSISTANT::KEY_MAP keys;
    const bool parsed = ZEB_KEY_FILE_ASSISTANT::parse_key_file(key_file, key_bits, keys);
    auto found = keys.find(id);
    const bool ok = parsed && found != keys.end();
    if (ok)
    {
        key.resize(key_bits / 8);
        for (size_t i = 0; i < key.size(); ++i)
            key.data()[i] = uint8_t(std::stoul(found->second.substr(2 * i, 2), nullptr, 16));
    }
    for (auto& entry : keys)
        pgmsec_cleanse(entry.second);
    if (!parsed)
        error = "key file '" + key_file + "' (for key id '" + id + "') cannot be read or has a line that is not " +
                "a key id and a key of " + std::to_string(key_bits / 4) + " hexadecimal digits (the device's " +
                std::to_string(key_bits) + "-bit key)";
    else if (!ok)
        error = where + " does not exist";
    return ok;
}
