// SPDX-License-Identifier: Apache-2.0
// Encoding of configuration data with its security settings applied: each payload section is
// compressed into one LZ4 frame, then encrypted with AES-GCM; the security header records options,
// key ids, the wrapped design key and a directory of the stored sections; the signature block
// closes the file.
#include "pgm/zeb/platform/pgmsec/pgmsec_internal.h"

namespace
{

// Refuses what the device cannot do or what the settings leave incomplete, naming the option.
bool check_settings(const PGMIO_SECURITY_SETTINGS& s, const PGMIO_CONFIG_DATA& plain, const PGM_DEVICE& device,
                    std::string& error)
{
    const DEV_DEVICE_RECORD* fpga = device.get_fpga_record();
    const DEV_CAPABILITIES none;
    const DEV_CAPABILITIES& caps = fpga ? fpga->capabilities : none;
    const std::string on_device = " for device " + device.get_name();
    auto refuse = [&error](const std::string& text)
    {
        error = text;
        return false;
    };
    const bool key_options = s.encryption || !s.key_file2.empty() || !s.key2.empty() || !s.hek_file.empty() ||
                             s.finalize_encryption || s.finalize_encryption_later || s.non_volatile_key ||
                             !s.key_storage.empty() || s.decryption_during_pr;
    bool options = false;
    for (uint8_t level : s.options)
        options = options || level != 0;
    if ((key_options || options) && !caps.design_security)
        return refuse(std::string(options && !key_options ? "security options are" : "option 'encryption' is") +
                      " not available" + on_device + " (it has no design security)");
    for (uint8_t level : s.options)
        if (level > 3)
            return refuse("a security option level is " + std::to_string(level) + "; the levels are 0 to 3");
    if (s.encryption && caps.key_length != 128 && caps.key_length != 256)
        return refuse("option 'encryption': device " + device.get_name() + " has a " + std::to_string(caps.key_length) +
                      "-bit key; only 128- and 256-bit keys are supported");
    if (!s.encryption && (key_options || !s.key_file1.empty() || !s.key1.empty()))
        return refuse("key files, keys, HEK file, finalisation, key storage and decryption_during_pr need option "
                      "'encryption'");
    if (s.encryption && (s.key_file1.empty() || s.key1.empty()))
        return refuse("option 'encryption' needs key_file and key");
    if (s.key_file2.empty() != s.key2.empty())
        return refuse("options 'key_file2' and 'key2' go together");
    if (!s.key2.empty() && !plain.find(PGMIO_SECTION_HPS))
        return refuse("option 'key2' encrypts the HPS section, and the design has none");
    if (s.finalize_encryption && s.finalize_encryption_later)
        return refuse("options 'finalize_encryption' and 'finalize_encryption_later' exclude each other");
    if (s.finalize_encryption != !s.hek_file.empty())
        return refuse("option 'finalize_encryption' and option 'hek_file' go together");
    if (!s.password.empty() && s.hek_file.empty())
        return refuse("option 'password' protects the HEK file, and none is given");
    if (!s.key_storage.empty() && s.key_storage != "BBRAM" && s.key_storage != "EFUSE")
        return refuse("option 'key_storage' is '" + s.key_storage + "'; it must be BBRAM or EFUSE");
    if (s.non_volatile_key && s.key_storage == "BBRAM")
        return refuse("option 'non_volatile_key' keeps the key in eFuses, but 'key_storage' is BBRAM");
    if (s.rsu_upgrade && !caps.remote_update)
        return refuse("option 'rsu_upgrade' is not available" + on_device + " (it has no remote update)");
    if ((s.decryption_during_pr || s.decompression_during_pr) && !caps.partial_reconfiguration)
        return refuse(std::string("option '") +
                      (s.decryption_during_pr ? "decryption_during_pr" : "decompression_during_pr") +
                      "' is not available" + on_device + " (it has no partial reconfiguration)");
    if (s.decompression_during_pr && !s.compression && !s.enhanced_compression)
        return refuse("option 'decompression_during_pr' needs option 'compression'");
    if (s.signing != PGMIO_SIGNING_OFF && s.sign_later)
        return refuse("options 'signing' and 'sign_later' exclude each other");
    if (s.signing != PGMIO_SIGNING_OFF && s.signing_pem_file.empty())
        return refuse("option 'signing' needs option 'signing_pem_file'");
    if (s.signing == PGMIO_SIGNING_OFF && !s.signing_pem_file.empty())
        return refuse(std::string("option 'signing_pem_file' needs option 'signing'") +
                      (s.sign_later ? " (with sign_later the file is signed later by corvane --sign)" : ""));
    if (!s.hlk_file.empty())
        return refuse("option 'hlk_file' is not available" + on_device);
    return true;
}

PGMSEC_HEADER make_header(const PGMIO_SECURITY_SETTINGS& s, const PGM_DEVICE& device)
{
    PGMSEC_HEADER header;
    const DEV_DEVICE_RECORD* fpga = device.get_fpga_record();
    header.key_bytes = s.encryption && fpga ? uint8_t(fpga->capabilities.key_length / 8) : 0;
    header.options = s.options;
    header.flags = (s.non_volatile_key ? PGMSEC_FLAG_NON_VOLATILE_KEY : 0) |
                   (s.seu_recovery ? PGMSEC_FLAG_SEU_RECOVERY : 0) | (s.rsu_upgrade ? PGMSEC_FLAG_RSU_UPGRADE : 0) |
                   (s.decryption_during_pr ? PGMSEC_FLAG_DECRYPTION_DURING_PR : 0) |
                   (s.decompression_during_pr ? PGMSEC_FLAG_DECOMPRESSION_DURING_PR : 0);
    header.key_storage = s.key_storage == "BBRAM"                         ? PGMIO_KEY_STORAGE_BBRAM
                         : s.key_storage == "EFUSE" || s.non_volatile_key ? PGMIO_KEY_STORAGE_EFUSE
                                                                          : 0;
    header.key1 = s.encryption ? s.key1 : "";
    header.key2 = s.encryption ? s.key2 : "";
    header.wrap_state = s.finalize_encryption         ? PGMSEC_WRAP_FINALISED
                        : s.finalize_encryption_later ? PGMSEC_WRAP_UNFINALISED
                                                      : PGMSEC_WRAP_NONE;
    return header;
}

// One payload section in its stored form.
bool store_section(const PGMIO_CONFIG_SECTION& section, const PGMIO_SECURITY_SETTINGS& s, const PGMSEC_SECRET* key,
                   PGMIO_BYTES& stored, std::string& error)
{
    PGMIO_BYTES frame;
    const bool compress = s.compression || s.enhanced_compression;
    if (compress && !pgmsec_lz4_compress(section.data, s.enhanced_compression, frame, error))
        return false;
    const std::span<const uint8_t> body = compress ? std::span<const uint8_t>(frame) : section.data;
    PGMIO_BYTE_WRITER out;
    out.u64(section.data.size());
    if (!key)
    {
        out.bytes(body);
        stored = std::move(out.data());
        return true;
    }
    // The additional data binds the ciphertext to its section and plain size.
    PGMIO_BYTE_WRITER aad;
    aad.u32(section.tag);
    aad.u64(section.data.size());
    std::array<uint8_t, PGMSEC_IV_SIZE> iv{};
    std::array<uint8_t, PGMSEC_TAG_SIZE> tag{};
    PGMIO_BYTES cipher;
    if (!pgmsec_random(iv, error) || !pgmsec_gcm_encrypt(key->span(), iv, aad.data(), body, cipher, tag, error))
        return false;
    out.bytes(iv);
    out.bytes(tag);
    out.bytes(cipher);
    stored = std::move(out.data());
    return true;
}

// Encodes `plain` with the settings applied; `sections` are plain's own section data, moved into
// the image when they go there unchanged, else copied.
template <typename SECTIONS>
bool encode(const PGMIO_CONFIG_DATA& plain, SECTIONS& sections, const PGMIO_SECURITY_SETTINGS& settings,
            const PGM_DEVICE& device, PGMIO_BYTES& image, std::string& error)
{
    // The key programming file is the only reader of ekp_file; the image does not change with it.
    PGMIO_SECURITY_SETTINGS image_settings = settings;
    image_settings.ekp_file.clear();
    if (!image_settings.any())
        return PGMIO_RBF::encode(plain, image, error);
    const PGMIO_SECURITY_SETTINGS& s = settings;
    if (!PGMIO_RBF::validate(plain, error))
        return false;
    if (plain.compression || plain.encryption || plain.signature || !plain.security_header.empty())
    {
        error = "the configuration data is already compressed, encrypted or signed";
        return false;
    }
    if (!check_settings(s, plain, device, error))
        return false;
    PGMSEC_HEADER header = make_header(s, device);
    const uint32_t key_bits = uint32_t(header.key_bytes) * 8;
    PGMSEC_SECRET key1;
    PGMSEC_SECRET key2;
    if (s.encryption && (!pgmsec_load_key(s.key_file1, s.key1, key_bits, key1, error) ||
                         (!s.key2.empty() && !pgmsec_load_key(s.key_file2, s.key2, key_bits, key2, error))))
        return false;
    if (s.finalize_encryption)
    {
        PGMSEC_SECRET kek;
        PGMIO_BYTES wrapped;
        if (!pgmsec_read_hek(s.hek_file, s.password, kek, error) ||
            !pgmsec_key_wrap(kek.span(), key1.span(), wrapped, error))
            return false;
        header.wrapped_size = uint8_t(wrapped.size());
        std::copy(wrapped.begin(), wrapped.end(), header.wrapped.begin());
    }
    if (!s.hky_file.empty() && !pgmsec_read_hky(s.hky_file, header.owner_hash, error))
        return false;

    PGMIO_CONFIG_DATA data;
    data.idcode = plain.idcode;
    data.flags = plain.flags;
    data.compression = s.enhanced_compression ? PGMSEC_COMPRESSION_LZ4HC : s.compression ? PGMSEC_COMPRESSION_LZ4 : 0;
    data.encryption = s.encryption ? PGMSEC_ENCRYPTION_AES_GCM : 0;
    const bool framed = data.compression || data.encryption;
    uint64_t stored_total = 0;
    for (auto& section : sections)
    {
        PGMIO_CONFIG_SECTION out{section.tag, {}};
        const PGMSEC_SECRET* key = !s.encryption                                       ? nullptr
                                   : section.tag == PGMIO_SECTION_HPS && !key2.empty() ? &key2
                                                                                       : &key1;
        if (!framed)
            out.data = std::move(section.data); // a copy when the sections are const
        else if (!store_section(section, s, key, out.data, error))
            return false;
        stored_total += out.data.size();
        header.directory.push_back({out.tag, out.data.size()});
        data.sections.push_back(std::move(out));
    }
    const DEV_DEVICE_RECORD* fpga = device.get_fpga_record();
    if (fpga && fpga->config_data_size && stored_total > fpga->config_data_size)
    {
        error = "the stored configuration data (" + std::to_string(stored_total) + " bytes) exceeds the " +
                std::to_string(fpga->config_data_size) + " bytes of device " + device.get_name();
        return false;
    }
    if (!pgmsec_encode_header(header, data.security_header, error))
        return false;
    if (s.signing != PGMIO_SIGNING_OFF || s.sign_later)
    {
        data.signature = PGMSEC_SIGNATURE_ECDSA_P384;
        data.signature_block = pgmsec_encode_sign_block({});
    }
    if (!PGMIO_RBF::encode(data, image, error))
        return false;
    if (s.signing == PGMIO_SIGNING_OFF)
        return true;
    PGMSEC_PKEY key;
    PGMSEC_SIGNED_RANGE range;
    PGMSEC_SIGN_BLOCK block;
    block.signed_ = true;
    if (!pgmsec_load_private_key(s.signing_pem_file, key, error) || !pgmsec_signed_range(image, range, error) ||
        !pgmsec_sign_digest(key.get(), pgmsec_sha384(std::span(image).subspan(range.offset, range.size)), block.der,
                            error) ||
        !pgmsec_public_key_der(key.get(), block.public_key, error))
        return false;
    return pgmsec_store_sign_block(image, block, error);
}

} // namespace

bool pgmsec_encode_configuration(const PGMIO_CONFIG_DATA& plain, const PGMIO_SECURITY_SETTINGS& settings,
                                 const PGM_DEVICE& device, PGMIO_BYTES& image, std::string& error)
{
    return encode(plain, plain.sections, settings, device, image, error);
}

bool pgmsec_encode_configuration(PGMIO_CONFIG_DATA&& plain, const PGMIO_SECURITY_SETTINGS& settings,
                                 const PGM_DEVICE& device, PGMIO_BYTES& image, std::string& error)
{
    return encode(plain, plain.sections, settings, device, image, error);
}
