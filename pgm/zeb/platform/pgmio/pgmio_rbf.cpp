// SPDX-License-Identifier: Apache-2.0
// Configuration data (.rbf): the "CFGH" header section and the payload sections.
#include "pgm/zeb/platform/pgmio/pgmio.h"

#include "pgm/zeb/platform/pgmsec/pgmsec.h"

namespace
{

constexpr uint32_t k_header = pgmio_tag("CFGH");
constexpr uint32_t k_security = pgmio_tag("SECH");
constexpr uint32_t k_signature = pgmio_tag("SIGN");
// Payload sections in the only order they may appear.
constexpr uint32_t k_payload_order[] = {PGMIO_SECTION_FIRMWARE, PGMIO_SECTION_PERIPHERY, PGMIO_SECTION_CORE,
                                        PGMIO_SECTION_HPS};

int payload_rank(uint32_t tag)
{
    for (int i = 0; i < 4; ++i)
        if (k_payload_order[i] == tag)
            return i;
    return -1;
}

} // namespace

std::string pgmio_design_flags_text(uint32_t flags)
{
    std::string text;
    auto add = [&](uint32_t bit, const char* name)
    {
        if (flags & bit)
        {
            if (!text.empty())
                text += ',';
            text += name;
        }
    };
    add(PGMIO_DESIGN_CVP, "CVP");
    add(PGMIO_DESIGN_HPS, "HPS");
    add(PGMIO_DESIGN_PR, "PR");
    if (flags & ~PGMIO_DESIGN_ALL)
    {
        if (!text.empty())
            text += ',';
        text += pgmio_hex_number(flags & ~PGMIO_DESIGN_ALL);
    }
    return text.empty() ? "none" : text;
}

const PGMIO_CONFIG_SECTION* PGMIO_CONFIG_DATA::find(uint32_t tag) const
{
    for (const PGMIO_CONFIG_SECTION& section : sections)
        if (section.tag == tag)
            return &section;
    return nullptr;
}

uint64_t PGMIO_CONFIG_DATA::payload_size() const
{
    uint64_t total = 0;
    for (const PGMIO_CONFIG_SECTION& section : sections)
        total += section.data.size();
    return total;
}

namespace
{

// The payload sections' tags and sizes, in order, as a decoder sees them before copying any.
struct PAYLOAD_ENTRY
{
    uint32_t tag;
    size_t size;
};

bool has_payload(const std::vector<PAYLOAD_ENTRY>& payload, uint32_t tag)
{
    for (const PAYLOAD_ENTRY& entry : payload)
        if (entry.tag == tag)
            return true;
    return false;
}

// Everything a valid configuration satisfies, given its payload's tags and sizes.
bool check_config(const PGMIO_CONFIG_DATA& data, const std::vector<PAYLOAD_ENTRY>& payload, std::string& error)
{
    if ((data.idcode & 1) == 0)
    {
        error = "IDCODE " + pgmio_hex_number(data.idcode) + " is not a JTAG IDCODE (bit 0 is clear)";
        return false;
    }
    if (data.flags & ~PGMIO_DESIGN_ALL)
    {
        error = "unknown design flags " + pgmio_hex_number(data.flags & ~PGMIO_DESIGN_ALL);
        return false;
    }
    int last_rank = -1;
    for (const PAYLOAD_ENTRY& section : payload)
    {
        const int rank = payload_rank(section.tag);
        if (rank < 0)
        {
            error = "section '" + pgmio_tag_text(section.tag) + "' is not a configuration data section";
            return false;
        }
        if (rank <= last_rank)
        {
            error = "section '" + pgmio_tag_text(section.tag) +
                    "' is out of order or repeated (order: FIRM, PERI, CORE, HPS, each once)";
            return false;
        }
        if (section.size == 0)
        {
            error = "section '" + pgmio_tag_text(section.tag) + "' is empty";
            return false;
        }
        last_rank = rank;
    }
    // The core may be left out only by the first half of a split configuration: a CvP periphery
    // image (its core comes over PCI Express) or an HPS image (the HPS configures the core later).
    const bool periphery_image = (data.flags & PGMIO_DESIGN_CVP) && has_payload(payload, PGMIO_SECTION_PERIPHERY);
    const bool hps_image = (data.flags & PGMIO_DESIGN_HPS) && has_payload(payload, PGMIO_SECTION_HPS);
    if (!has_payload(payload, PGMIO_SECTION_CORE) && !periphery_image && !hps_image)
    {
        error = "the core section 'CORE' is missing";
        return false;
    }
    if ((data.flags & PGMIO_DESIGN_CVP) && !has_payload(payload, PGMIO_SECTION_PERIPHERY))
    {
        error = "a CvP design needs its periphery in a separate 'PERI' section";
        return false;
    }
    if (!(data.flags & PGMIO_DESIGN_HPS) && has_payload(payload, PGMIO_SECTION_HPS))
    {
        error = "an 'HPS ' section in a design without the HPS flag";
        return false;
    }
    if ((data.compression || data.encryption || data.signature) && data.security_header.empty())
    {
        error = "compression, encryption or signature is declared but the security header 'SECH' is missing";
        return false;
    }
    if ((data.signature != 0) != !data.signature_block.empty())
    {
        error = data.signature ? "a signature is declared but the signature block 'SIGN' is missing"
                               : "a signature block 'SIGN' without a declared signature";
        return false;
    }
    return true;
}


} // namespace

bool PGMIO_RBF::validate(const PGMIO_CONFIG_DATA& data, std::string& error)
{
    std::vector<PAYLOAD_ENTRY> payload;
    for (const PGMIO_CONFIG_SECTION& section : data.sections)
        payload.push_back({section.tag, section.data.size()});
    return check_config(data, payload, error);
}

bool PGMIO_RBF::encode(const PGMIO_CONFIG_DATA& data, PGMIO_BYTES& image, std::string& error)
{
    if (!validate(data, error))
        return false;
    PGMIO_BYTE_WRITER header;
    header.u32(data.idcode);
    header.u32(data.flags);
    header.u16(data.compression);
    header.u16(data.encryption);
    header.u16(data.signature);
    header.u16(0);
    PGMIO_CONTAINER_BUILDER builder(PGMIO_KIND_RBF);
    builder.add(k_header, header.data());
    if (!data.security_header.empty())
        builder.add(k_security, data.security_header);
    for (const PGMIO_CONFIG_SECTION& section : data.sections)
        builder.add(section.tag, section.data);
    if (!data.signature_block.empty())
        builder.add(k_signature, data.signature_block);
    return builder.finish(image, error);
}

bool PGMIO_RBF::decode(std::span<const uint8_t> image, PGMIO_CONFIG_DATA& data, std::string& error, bool with_payload)
{
    data = PGMIO_CONFIG_DATA{};
    PGMIO_CONTAINER_VIEW view;
    if (!pgmio_parse_container_of_kind(image, PGMIO_KIND_RBF, "configuration data file", view, error))
        return false;
    if (view.sections.empty() || view.sections[0].tag != k_header)
    {
        error = "the first section must be the header 'CFGH'";
        return false;
    }
    PGMIO_BYTE_READER header(view.sections[0].data, "CFGH");
    data.idcode = header.u32();
    data.flags = header.u32();
    data.compression = header.u16();
    data.encryption = header.u16();
    data.signature = header.u16();
    if (header.u16() != 0)
        header.fail("reserved field is not zero");
    if (!header.finish(error))
        return false;
    size_t first = 1;
    size_t end = view.sections.size();
    if (first < end && view.sections[first].tag == k_security)
    {
        data.security_header.assign(view.sections[first].data.begin(), view.sections[first].data.end());
        ++first;
    }
    if (first < end && view.sections[end - 1].tag == k_signature)
    {
        --end;
        data.signature_block.assign(view.sections[end].data.begin(), view.sections[end].data.end());
    }
    std::vector<PAYLOAD_ENTRY> payload;
    for (size_t i = first; i < end; ++i)
        payload.push_back({view.sections[i].tag, view.sections[i].data.size()});
    if (!check_config(data, payload, error))
        return false;
    for (size_t i = first; with_payload && i < end; ++i)
    {
        const PGMIO_SECTION_VIEW& section = view.sections[i];
        PGMIO_CONFIG_SECTION& copy = data.sections.emplace_back();
        copy.tag = section.tag;
        pgmio_reserve(copy.data, section.data.size());
        copy.data.assign(section.data.begin(), section.data.end());
    }
    return data.security_header.empty() || pgmsec_check_configuration(image, data, error);
}

bool PGMIO_RBF::write(const std::string& path, const PGMIO_CONFIG_DATA& data, std::string& error)
{
    PGMIO_BYTES image;
    return encode(data, image, error) && pgmio_write_file_atomic(path, image, error);
}

bool PGMIO_RBF::read(const std::string& path, PGMIO_CONFIG_DATA& data, std::string& error)
{
    PGMIO_BYTES image;
    return pgmio_read_file(path, image, error) && decode(image, data, error);
}
