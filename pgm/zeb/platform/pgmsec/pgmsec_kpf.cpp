// SPDX-License-Identifier: Apache-2.0
// Key programming: the keys a device must hold to load what the security settings produce, with
// their storage, and the fuse values file (.fuse) for what lives in eFuses.
#include "pgm/zeb/platform/pgmsec/pgmsec_internal.h"

#include <algorithm>

namespace
{

constexpr const char* k_option_names[PGMIO_SECURITY_OPT_COUNT] = {
    "no_hps_jtag",      "secure",     "epof_only",   "no_config",   "no_battery_key", "no_jtag",
    "lock_battery_key", "no_otp_key", "no_jtag_ext", "no_jtag_key", "no_pr",
};

bool add_key(PGMSEC_KEY_PROGRAMMING& out, PGMIO_EKP_KEY key, std::string& error)
{
    for (const PGMIO_EKP_KEY& known : out.ekp.keys)
        if (known.id == key.id)
        {
            if (known == key)
                return true;
            error = "key id '" + key.id + "' names two different keys or storages";
            return false;
        }
    out.ekp.keys.push_back(std::move(key));
    return true;
}

void add_line(PGMSEC_KEY_PROGRAMMING& out, const std::string& line)
{
    if (std::find(out.fuse_lines.begin(), out.fuse_lines.end(), line) == out.fuse_lines.end())
        out.fuse_lines.push_back(line);
}

} // namespace

PGMSEC_KEY_PROGRAMMING::~PGMSEC_KEY_PROGRAMMING()
{
    for (PGMIO_EKP_KEY& key : ekp.keys)
        pgmsec_cleanse(key.key);
}

bool pgmsec_add_key_programming(const PGMIO_SECURITY_SETTINGS& s, const PGM_DEVICE& device, PGMSEC_KEY_PROGRAMMING& out,
                                std::string& error)
{
    if (!out.ekp.device_name.empty() && out.ekp.device_name != device.get_name())
    {
        error = "a key programming file serves one device; the pages target " + out.ekp.device_name + " and " +
                device.get_name();
        return false;
    }
    out.ekp.device_name = device.get_name();
    const DEV_DEVICE_RECORD* fpga = device.get_fpga_record();
    const uint32_t key_bits = fpga ? fpga->capabilities.key_length : 0;
    const uint16_t storage =
        s.key_storage == "EFUSE" || s.non_volatile_key ? PGMIO_KEY_STORAGE_EFUSE : PGMIO_KEY_STORAGE_BBRAM;
    if (s.encryption)
    {
        if (key_bits != 256)
        {
            error = "key programming of device " + device.get_name() + " (" + std::to_string(key_bits) +
                    "-bit key) is not available: key programming files hold 256-bit keys";
            return false;
        }
        PGMSEC_SECRET key;
        std::string id = s.key1;
        if (!s.hek_file.empty())
        {
            if (!pgmsec_read_hek(s.hek_file, s.password, key, error))
                return false;
            id = "hek:" + s.key1;
        }
        else if (!pgmsec_load_key(s.key_file1, s.key1, key_bits, key, error))
            return false;
        if (!add_key(out, {PGMIO_KEY_AES256, storage, id, PGMIO_BYTES(key.data(), key.data() + key.size())}, error))
            return false;
        if (!s.key2.empty())
        {
            if (!pgmsec_load_key(s.key_file2, s.key2, key_bits, key, error) ||
                !add_key(out, {PGMIO_KEY_AES256, storage, s.key2, PGMIO_BYTES(key.data(), key.data() + key.size())},
                         error))
                return false;
        }
        if (storage == PGMIO_KEY_STORAGE_EFUSE)
            add_line(out, "key " + id + " efuse");
    }
    PGMIO_BYTES der;
    if (s.signing != PGMIO_SIGNING_OFF || !s.hky_file.empty())
    {
        PGMSEC_PKEY key;
        if (!s.hky_file.empty() ? !pgmsec_read_hky_der(s.hky_file, der, error)
                                : !pgmsec_load_public_key(s.signing_pem_file, key, error) ||
                                      !pgmsec_public_key_der(key.get(), der, error))
            return false;
        const PGMSEC_SHA384 hash = pgmsec_sha384(der);
        if (!add_key(out,
                     {PGMIO_KEY_OWNER_HASH, PGMIO_KEY_STORAGE_EFUSE, "owner", PGMIO_BYTES(hash.begin(), hash.end())},
                     error))
            return false;
        add_line(out, "key owner efuse");
    }
    for (size_t i = 0; i < s.options.size(); ++i)
        if (s.options[i])
            add_line(out, "option " + std::string(k_option_names[i]) + " " + std::to_string(s.options[i]));
    return true;
}

bool pgmsec_write_key_programming(const std::string& ekp_path, const PGMSEC_KEY_PROGRAMMING& programming,
                                  std::string& fuse_path, std::string& error)
{
    fuse_path.clear();
    if (programming.ekp.keys.empty())
    {
        error = "no key to program: the settings name no encryption key, signing key or owner key file";
        return false;
    }
    PGMIO_BYTES image;
    if (!PGMIO_EKP::encode(programming.ekp, image, error))
        return false;
    const bool ok = pgmio_write_file_atomic(ekp_path, image, error, 0600);
    pgmsec_cleanse(image);
    if (!ok || programming.fuse_lines.empty())
        return ok;
    // The fuse values name keys by id; the key bytes stay in the .ekp.
    std::string text = "# corvane fuse values 1\ndevice " + programming.ekp.device_name + "\n";
    for (const std::string& line : programming.fuse_lines)
        text += line + "\n";
    const size_t dot = ekp_path.find_last_of('.');
    const size_t slash = ekp_path.find_last_of('/');
    fuse_path =
        (dot != std::string::npos && (slash == std::string::npos || dot > slash) ? ekp_path.substr(0, dot) : ekp_path) +
        ".fuse";
    return pgmio_write_file_atomic(fuse_path, std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()),
                                   error, 0600);
}
