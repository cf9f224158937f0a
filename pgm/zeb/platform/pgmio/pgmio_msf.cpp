// SPDX-License-Identifier: Apache-2.0
// Mask settings file (.msf): "MSHD" region header and the region's "MASK".
#include "pgm/zeb/platform/pgmio/pgmio.h"

namespace
{

constexpr uint32_t k_header = pgmio_tag("MSHD");
constexpr uint32_t k_mask = pgmio_tag("MASK");

} // namespace

bool PGMIO_MSF::validate(const PGMIO_MSF_IMAGE& msf, std::string& error)
{
    if (msf.device_name.empty() || msf.region_name.empty())
    {
        error = msf.device_name.empty() ? "no device name" : "no region name";
        return false;
    }
    if (msf.device_name.size() > 0xFFFF || msf.region_name.size() > 0xFFFF)
    {
        error = "a name is longer than 65535 bytes";
        return false;
    }
    if (msf.mask.empty())
    {
        error = "the mask is empty";
        return false;
    }
    if (msf.region_offset > UINT64_MAX - msf.mask.size())
    {
        error = "the region offset " + pgmio_hex_number(msf.region_offset) + " plus its size overflows";
        return false;
    }
    return true;
}

bool PGMIO_MSF::encode(const PGMIO_MSF_IMAGE& msf, PGMIO_BYTES& image, std::string& error)
{
    if (!validate(msf, error))
        return false;
    PGMIO_BYTE_WRITER header;
    header.str(msf.device_name);
    header.str(msf.region_name);
    header.u64(msf.region_offset);
    header.u64(msf.mask.size());
    PGMIO_CONTAINER_BUILDER builder(PGMIO_KIND_MSF);
    builder.add(k_header, header.data());
    builder.add(k_mask, msf.mask);
    return builder.finish(image, error);
}

bool PGMIO_MSF::decode(std::span<const uint8_t> image, PGMIO_MSF_IMAGE& msf, std::string& error)
{
    msf = PGMIO_MSF_IMAGE{};
    PGMIO_CONTAINER_VIEW view;
    if (!pgmio_parse_container_of_kind(image, PGMIO_KIND_MSF, "mask settings file", view, error) ||
        !pgmio_check_section_set(view, {k_header, k_mask}, {}, {}, error))
        return false;
    PGMIO_BYTE_READER header(view.find_all(k_header)[0]->data, "MSHD");
    msf.device_name = header.str();
    msf.region_name = header.str();
    msf.region_offset = header.u64();
    const uint64_t length = header.u64();
    if (!header.finish(error))
        return false;
    const std::span<const uint8_t> mask = view.find_all(k_mask)[0]->data;
    if (mask.size() != length)
    {
        error = "the header declares a region of " + std::to_string(length) + " bytes, 'MASK' holds " +
                std::to_string(mask.size());
        return false;
    }
    msf.mask.assign(mask.begin(), mask.end());
    return validate(msf, error);
}

bool PGMIO_MSF::write(const std::string& path, const PGMIO_MSF_IMAGE& msf, std::string& error)
{
    PGMIO_BYTES image;
    return encode(msf, image, error) && pgmio_write_file_atomic(path, image, error);
}

bool PGMIO_MSF::read(const std::string& path, PGMIO_MSF_IMAGE& msf, std::string& error)
{
    PGMIO_BYTES image;
    return pgmio_read_file(path, image, error) && decode(image, msf, error);
}
