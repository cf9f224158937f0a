// SPDX-License-Identifier: Apache-2.0
// Partial-masked SRAM object file (.pmsf): "PRHD" region header, "PDAT" region data, "MASK".
#include "pgm/zeb/platform/pgmio/pgmio.h"

#include <algorithm>

namespace
{

constexpr uint32_t k_header = pgmio_tag("PRHD");
constexpr uint32_t k_data = pgmio_tag("PDAT");
constexpr uint32_t k_mask = pgmio_tag("MASK");

} // namespace

bool PGMIO_PMSF::validate(const PGMIO_PMSF_IMAGE& pmsf, std::string& error)
{
    if (pmsf.device_name.empty() || pmsf.region_name.empty())
    {
        error = pmsf.device_name.empty() ? "no device name" : "no region name";
        return false;
    }
    if (pmsf.device_name.size() > 0xFFFF || pmsf.design_name.size() > 0xFFFF || pmsf.region_name.size() > 0xFFFF)
    {
        error = "a name is longer than 65535 bytes";
        return false;
    }
    if (pmsf.data.empty())
    {
        error = "the region holds no data";
        return false;
    }
    if (pmsf.mask.size() != pmsf.data.size())
    {
        error = "the mask has " + std::to_string(pmsf.mask.size()) + " bytes, the region data " +
                std::to_string(pmsf.data.size());
        return false;
    }
    if (pmsf.region_offset > UINT64_MAX - pmsf.data.size())
    {
        error = "the region offset " + pgmio_hex_number(pmsf.region_offset) + " plus its size overflows";
        return false;
    }
    for (size_t i = 0; i < pmsf.data.size(); ++i)
    {
        if (pmsf.data[i] & ~pmsf.mask[i])
        {
            error = "region data byte " + std::to_string(i) + " sets bits outside the mask";
            return false;
        }
    }
    return true;
}

bool PGMIO_PMSF::encode(const PGMIO_PMSF_IMAGE& pmsf, PGMIO_BYTES& image, std::string& error)
{
    if (!validate(pmsf, error))
        return false;
    PGMIO_BYTE_WRITER header;
    header.str(pmsf.device_name);
    header.str(pmsf.design_name);
    header.str(pmsf.region_name);
    header.u64(pmsf.region_offset);
    header.u64(pmsf.data.size());
    header.bytes(pmsf.base_hash);
    PGMIO_CONTAINER_BUILDER builder(PGMIO_KIND_PMSF);
    builder.add(k_header, header.data());
    builder.add(k_data, pmsf.data);
    builder.add(k_mask, pmsf.mask);
    return builder.finish(image, error);
}

bool PGMIO_PMSF::decode(std::span<const uint8_t> image, PGMIO_PMSF_IMAGE& pmsf, std::string& error)
{
    pmsf = PGMIO_PMSF_IMAGE{};
    PGMIO_CONTAINER_VIEW view;
    if (!pgmio_parse_container_of_kind(image, PGMIO_KIND_PMSF, "partial-masked SRAM object file", view, error) ||
        !pgmio_check_section_set(view, {k_header, k_data, k_mask}, {}, {}, error))
        return false;
    PGMIO_BYTE_READER header(view.find_all(k_header)[0]->data, "PRHD");
    pmsf.device_name = header.str();
    pmsf.design_name = header.str();
    pmsf.region_name = header.str();
    pmsf.region_offset = header.u64();
    const uint64_t length = header.u64();
    const std::span<const uint8_t> hash = header.bytes(pmsf.base_hash.size());
    if (!header.finish(error))
        return false;
    std::copy(hash.begin(), hash.end(), pmsf.base_hash.begin());
    const std::span<const uint8_t> data = view.find_all(k_data)[0]->data;
    const std::span<const uint8_t> mask = view.find_all(k_mask)[0]->data;
    if (data.size() != length)
    {
        error = "the header declares a region of " + std::to_string(length) + " bytes, 'PDAT' holds " +
                std::to_string(data.size());
        return false;
    }
    pmsf.data.assign(data.begin(), data.end());
    pmsf.mask.assign(mask.begin(), mask.end());
    return validate(pmsf, error);
}

bool PGMIO_PMSF::write(const std::string& path, const PGMIO_PMSF_IMAGE& pmsf, std::string& error)
{
    PGMIO_BYTES image;
    return encode(pmsf, image, error) && pgmio_write_file_atomic(path, image, error);
}

bool PGMIO_PMSF::read(const std::string& path, PGMIO_PMSF_IMAGE& pmsf, std::string& error)
{
    PGMIO_BYTES image;
    return pgmio_read_file(path, image, error) && decode(image, pmsf, error);
}
