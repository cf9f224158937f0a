// SPDX-License-Identifier: Apache-2.0
// SRAM object file (.sof): "SOFH" design header, "CDAT" nested configuration data, optional "HBLD"
// HPS bootloader.
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/pgmio/pgmio.h"

#include <algorithm>

namespace
{

constexpr uint32_t k_header = pgmio_tag("SOFH");
constexpr uint32_t k_config = pgmio_tag("CDAT");
constexpr uint32_t k_bootloader = pgmio_tag("HBLD");

// What an SRAM object file adds to its configuration data, which is checked on its own.
bool check_fields(const PGMIO_SOF_IMAGE& sof, std::string& error)
{
    if (sof.device_name.empty())
    {
        error = "no device name";
        return false;
    }
    if (sof.device_name.size() > 0xFFFF || sof.design_name.size() > 0xFFFF)
    {
        error = "device or design name longer than 65535 bytes";
        return false;
    }
    if (sof.flags & ~PGMIO_DESIGN_ALL)
    {
        error = "unknown design flags " + pgmio_hex_number(sof.flags & ~PGMIO_DESIGN_ALL);
        return false;
    }
    if (sof.flags != sof.config.flags)
    {
        error = "the design flags (" + pgmio_design_flags_text(sof.flags) +
                ") differ from those of its configuration data (" + pgmio_design_flags_text(sof.config.flags) + ")";
        return false;
    }
    if (sof.has_bootloader)
    {
        if (!(sof.flags & PGMIO_DESIGN_HPS))
        {
            error = "an HPS bootloader in a design without HPS";
            return false;
        }
        if (sof.bootloader.empty())
        {
            error = "the HPS bootloader is empty";
            return false;
        }
    }
    else if (!sof.bootloader.empty())
    {
        error = "bootloader bytes without the bootloader flag";
        return false;
    }
    return true;
}

} // namespace

bool PGMIO_SOF::validate(const PGMIO_SOF_IMAGE& sof, std::string& error)
{
    return check_fields(sof, error) && PGMIO_RBF::validate(sof.config, error);
}

bool PGMIO_SOF::encode(const PGMIO_SOF_IMAGE& sof, PGMIO_BYTES& image, std::string& error)
{
    if (!validate(sof, error))
        return false;
    PGMIO_BYTES config;
    if (!PGMIO_RBF::encode(sof.config, config, error))
        return false;
    const PGMIO_HASH hash = pgmio_sha256(config);
    PGMIO_BYTE_WRITER header;
    header.str(sof.device_name);
    header.str(sof.design_name);
    header.u32(sof.flags);
    header.bytes(hash);
    PGMIO_BYTE_WRITER bootloader;
    bootloader.u32(sof.bootloader_address);
    bootloader.u32(0);
    bootloader.bytes(sof.bootloader);
    PGMIO_CONTAINER_BUILDER builder(PGMIO_KIND_SOF);
    builder.add(k_header, header.data());
    builder.add(k_config, config);
    if (sof.has_bootloader)
        builder.add(k_bootloader, bootloader.data());
    return builder.finish(image, error);
}

std::span<const uint8_t> PGMIO_SOF::config_bytes(std::span<const uint8_t> image)
{
    PGMIO_CONTAINER_VIEW view;
    std::string error;
    const bool parsed = pgmio_parse_container(image, view, error, false) && !view.find_all(k_config).empty();
    MSG_ASSERT_AT(parsed, "pgmio", __FILE__);
    return view.find_all(k_config)[0]->data;
}

bool PGMIO_SOF::decode(std::span<const uint8_t> image, PGMIO_SOF_IMAGE& sof, std::string& error, PGMIO_SOF_DECODING how)
{
    sof = PGMIO_SOF_IMAGE{};
    PGMIO_CONTAINER_VIEW view;
    if (!pgmio_parse_container_of_kind(image, PGMIO_KIND_SOF, "SRAM object file", view, error) ||
        !pgmio_check_section_set(view, {k_header, k_config}, {k_bootloader}, {}, error))
        return false;
    PGMIO_BYTE_READER header(view.find_all(k_header)[0]->data, "SOFH");
    sof.device_name = header.str();
    sof.design_name = header.str();
    sof.flags = header.u32();
    const std::span<const uint8_t> hash = header.bytes(sof.design_hash.size());
    if (!header.finish(error))
        return false;
    std::copy(hash.begin(), hash.end(), sof.design_hash.begin());

    const std::span<const uint8_t> config = view.find_all(k_config)[0]->data;
    if (!PGMIO_RBF::decode(config, sof.config, error, how.with_payload))
    {
        error = "embedded configuration data: " + error;
        return false;
    }
    if (how.check_design_hash && pgmio_sha256(config) != sof.design_hash)
    {
        error = "the design hash does not match the configuration data";
        return false;
    }
    const std::vector<const PGMIO_SECTION_VIEW*> bootloader = view.find_all(k_bootloader);
    if (!bootloader.empty())
    {
        PGMIO_BYTE_READER reader(bootloader[0]->data, "HBLD");
        sof.has_bootloader = true;
        sof.bootloader_address = reader.u32();
        if (reader.u32() != 0)
            reader.fail("reserved field is not zero");
        const std::span<const uint8_t> bytes = reader.rest();
        if (!reader.finish(error))
            return false;
        sof.bootloader.assign(bytes.begin(), bytes.end());
    }
    // The configuration data was checked by its own decoder, payload or not.
    return check_fields(sof, error);
}

bool PGMIO_SOF::write(const std::string& path, const PGMIO_SOF_IMAGE& sof, std::string& error)
{
    PGMIO_BYTES image;
    return encode(sof, image, error) && pgmio_write_file_atomic(path, image, error);
}

bool PGMIO_SOF::read(const std::string& path, PGMIO_SOF_IMAGE& sof, std::string& error)
{
    PGMIO_BYTES image;
    return pgmio_read_file(path, image, error) && decode(image, sof, error);
}
