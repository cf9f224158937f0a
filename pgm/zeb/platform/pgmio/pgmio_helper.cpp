// SPDX-License-Identifier: Apache-2.0
// Programming helper image: "HLPH" header and "CDAT" nested configuration data.
#include "pgm/zeb/platform/pgmio/pgmio.h"

namespace
{

constexpr uint32_t k_header = pgmio_tag("HLPH");
constexpr uint32_t k_config = pgmio_tag("CDAT");
// The setup document's helper subtypes: SDMMC, FUSE, QSPI.
constexpr uint32_t k_subtypes[] = {36, 37, 293};

} // namespace

bool PGMIO_HELPER::validate(const PGMIO_HELPER_IMAGE& helper, std::string& error)
{
    if (helper.device_name.empty() || helper.device_name.size() > 0xFFFF)
    {
        error = "no device name, or one longer than 65535 bytes";
        return false;
    }
    bool known = false;
    for (uint32_t subtype : k_subtypes)
        known = known || subtype == helper.subtype;
    if (!known)
    {
        error = "unknown helper subtype " + std::to_string(helper.subtype) + " (36 SDMMC, 37 FUSE, 293 QSPI)";
        return false;
    }
    return PGMIO_RBF::validate(helper.config, error);
}

bool PGMIO_HELPER::encode(const PGMIO_HELPER_IMAGE& helper, PGMIO_BYTES& image, std::string& error)
{
    if (!validate(helper, error))
        return false;
    PGMIO_BYTES config;
    if (!PGMIO_RBF::encode(helper.config, config, error))
        return false;
    PGMIO_BYTE_WRITER header;
    header.str(helper.device_name);
    header.u32(helper.subtype);
    PGMIO_CONTAINER_BUILDER builder(PGMIO_KIND_HLPR);
    builder.add(k_header, header.data());
    builder.add(k_config, config);
    return builder.finish(image, error);
}

bool PGMIO_HELPER::decode(std::span<const uint8_t> image, PGMIO_HELPER_IMAGE& helper, std::string& error)
{
    helper = PGMIO_HELPER_IMAGE{};
    PGMIO_CONTAINER_VIEW view;
    if (!pgmio_parse_container_of_kind(image, PGMIO_KIND_HLPR, "programming helper image", view, error) ||
        !pgmio_check_section_set(view, {k_header, k_config}, {}, {}, error))
        return false;
    PGMIO_BYTE_READER header(view.find_all(k_header)[0]->data, "HLPH");
    helper.device_name = header.str();
    helper.subtype = header.u32();
    if (!header.finish(error))
        return false;
    if (!PGMIO_RBF::decode(view.find_all(k_config)[0]->data, helper.config, error))
    {
        error = "embedded configuration data: " + error;
        return false;
    }
    return validate(helper, error);
}

bool PGMIO_HELPER::write(const std::string& path, const PGMIO_HELPER_IMAGE& helper, std::string& error)
{
    PGMIO_BYTES image;
    return encode(helper, image, error) && pgmio_write_file_atomic(path, image, error);
}

bool PGMIO_HELPER::read(const std::string& path, PGMIO_HELPER_IMAGE& helper, std::string& error)
{
    PGMIO_BYTES image;
    return pgmio_read_file(path, image, error) && decode(image, helper, error);
}
