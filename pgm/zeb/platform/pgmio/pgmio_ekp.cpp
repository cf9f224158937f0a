// SPDX-License-Identifier: Apache-2.0
// Key programming file (.ekp): "EKPH" header and one "KEY " section per key.
#include "pgm/zeb/platform/pgmio/pgmio.h"

#include <set>

namespace
{

constexpr uint32_t k_header = pgmio_tag("EKPH");
constexpr uint32_t k_key = pgmio_tag("KEY ");

} // namespace

bool PGMIO_EKP::validate(const PGMIO_EKP_IMAGE& ekp, std::string& error)
{
    if (ekp.device_name.empty() || ekp.device_name.size() > 0xFFFF)
    {
        error = "no device name, or one longer than 65535 bytes";
        return false;
    }
    if (ekp.keys.empty())
    {
        error = "the file holds no key";
        return false;
    }
    std::set<std::string> ids;
    for (const PGMIO_EKP_KEY& key : ekp.keys)
    {
        if (key.id.empty() || key.id.size() > 0xFFFF)
        {
            error = "a key has an empty or overlong id";
            return false;
        }
        if (!ids.insert(key.id).second)
        {
            error = "key id '" + key.id + "' is used twice";
            return false;
        }
        if (key.storage != PGMIO_KEY_STORAGE_BBRAM && key.storage != PGMIO_KEY_STORAGE_EFUSE)
        {
            error = "key '" + key.id + "' has unknown storage " + std::to_string(key.storage) +
                    " (1 battery-backed RAM, 2 eFuse)";
            return false;
        }
        if (key.kind == PGMIO_KEY_AES256)
        {
            if (key.key.size() != 32)
            {
                error = "AES-256 key '" + key.id + "' has " + std::to_string(key.key.size()) + " bytes, not 32";
                return false;
            }
        }
        else if (key.kind == PGMIO_KEY_OWNER_HASH)
        {
            if (key.key.size() != 32 && key.key.size() != 48)
            {
                error =
                    "owner key hash '" + key.id + "' has " + std::to_string(key.key.size()) + " bytes, not 32 or 48";
                return false;
            }
        }
        else
        {
            error = "key '" + key.id + "' has unknown kind " + std::to_string(key.kind);
            return false;
        }
    }
    return true;
}

bool PGMIO_EKP::encode(const PGMIO_EKP_IMAGE& ekp, PGMIO_BYTES& image, std::string& error)
{
    if (!validate(ekp, error))
        return false;
    PGMIO_BYTE_WRITER header;
    header.str(ekp.device_name);
    header.u32(uint32_t(ekp.keys.size()));
    std::vector<PGMIO_BYTE_WRITER> keys(ekp.keys.size());
    for (size_t i = 0; i < ekp.keys.size(); ++i)
    {
        keys[i].u16(ekp.keys[i].kind);
        keys[i].u16(ekp.keys[i].storage);
        keys[i].str(ekp.keys[i].id);
        keys[i].bytes(ekp.keys[i].key);
    }
    PGMIO_CONTAINER_BUILDER builder(PGMIO_KIND_EKP);
    builder.add(k_header, header.data());
    for (const PGMIO_BYTE_WRITER& key : keys)
        builder.add(k_key, key.data());
    return builder.finish(image, error);
}

bool PGMIO_EKP::decode(std::span<const uint8_t> image, PGMIO_EKP_IMAGE& ekp, std::string& error)
{
    ekp = PGMIO_EKP_IMAGE{};
    PGMIO_CONTAINER_VIEW view;
    if (!pgmio_parse_container_of_kind(image, PGMIO_KIND_EKP, "key programming file", view, error) ||
        !pgmio_check_section_set(view, {k_header}, {}, {k_key}, error))
        return false;
    PGMIO_BYTE_READER header(view.find_all(k_header)[0]->data, "EKPH");
    ekp.device_name = header.str();
    const uint32_t count = header.u32();
    if (!header.finish(error))
        return false;
    const std::vector<const PGMIO_SECTION_VIEW*> keys = view.find_all(k_key);
    if (count != keys.size())
    {
        error = "the header declares " + std::to_string(count) + " keys, the file holds " + std::to_string(keys.size());
        return false;
    }
    for (const PGMIO_SECTION_VIEW* section : keys)
    {
        PGMIO_BYTE_READER reader(section->data, "KEY ");
        PGMIO_EKP_KEY key;
        key.kind = reader.u16();
        key.storage = reader.u16();
        key.id = reader.str();
        const std::span<const uint8_t> bytes = reader.rest();
        if (!reader.finish(error))
            return false;
        key.key.assign(bytes.begin(), bytes.end());
        ekp.keys.push_back(std::move(key));
    }
    return validate(ekp, error);
}

bool PGMIO_EKP::write(const std::string& path, const PGMIO_EKP_IMAGE& ekp, std::string& error)
{
    PGMIO_BYTES image;
    return encode(ekp, image, error) && pgmio_write_file_atomic(path, image, error);
}

bool PGMIO_EKP::read(const std::string& path, PGMIO_EKP_IMAGE& ekp, std::string& error)
{
    PGMIO_BYTES image;
    return pgmio_read_file(path, image, error) && decode(image, ekp, error);
}
