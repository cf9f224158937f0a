// SPDX-License-Identifier: Apache-2.0
// The configuration image of a page: read from its SRAM object, programmer object, JTAG indirect
// or raw binary file, firmware replaced when the page names a firmware source, then encoded with
// the page's security settings.
#include "pgm/zeb/platform/pgmconv/pgmconv_engine.h"
#include "pgm/zeb/platform/pgmio/pgmio_precheck.h"

#include <algorithm>

namespace
{

// The configuration data of the first page of a programmer object or JTAG indirect file: the
// bytes of the blocks inside its range, read as configuration data.
bool config_of_flash_file(const std::string& path, PGMIO_CONFIG_DATA& config, std::string& device, std::string& error)
{
    PGMIO_FLASH_IMAGE flash;
    if (!PGMIO_FLASH_FILE::read(path, flash, error))
        return false;
    if (flash.pages.empty())
    {
        error = "'" + path + "' holds no page";
        return false;
    }
    const PGMIO_FLASH_PAGE& page = flash.pages.front();
    const PGMIO_FLASH_BLOCK* block = nullptr;
    for (const PGMIO_FLASH_BLOCK& candidate : flash.blocks)
        if (candidate.address == page.start)
            block = &candidate;
    if (!block)
    {
        error = "page '" + page.name + "' of '" + path + "' has no data at " + pgmio_hex_number(page.start);
        return false;
    }
    device = flash.fpga_device;
    return PGMIO_RBF::decode(block->data, config, error) ||
           (error = "page '" + page.name + "' of '" + path + "': " + error, false);
}

} // namespace

bool pgmconv_page_image(const PGMIO_CCF::STATE& state, uint32_t index, PGMCONV_PAGE_IMAGE& image, std::string& error,
                        bool hash_source)
{
    image = PGMCONV_PAGE_IMAGE{};
    if (index >= state.pages.size() || state.pages[index].input.is_empty())
    {
        error = "page " + std::to_string(index) + " has no configuration image";
        return false;
    }
    const PGMIO_CCF_PAGE& page = state.pages[index];
    const std::string path = page.input.get_full_path();
    std::string device_name;
    // The file is read once: decoded, checked, hashed for the memory map, and, when the page's
    // bytes are the file's own configuration data, kept as they are.
    PGMIO_BYTES file;
    std::span<const uint8_t> config_in_file;
    // Without settings to apply, the page's bytes are the input's configuration data as stored
    // (a decoded image re-encodes to the very bytes it was decoded from): the decoder then checks
    // the payload without copying it.
    const bool split = state.cvp || state.hps_iocsr;
    const bool as_stored = page.fw_source.is_empty() && !split && !page.security.any();
    switch (page.input.get_extension_type())
    {
    case FIO_EXTENSION_TYPE_SOF:
    {
        // The design hash names the design and goes into no output; the file's CRC-32 and the
        // configuration data's own CRC vouch for every byte taken from it. So the engine does not
        // recompute the hash (a SHA-256 over the whole image, a third of a conversion's time);
        // the precheck, the integrity check and --info, which judge or report the file, do.
        PGMIO_SOF_IMAGE sof;
        if (!pgmio_read_file(path, file, error) ||
            !PGMIO_SOF::decode(file, sof, error, {.with_payload = !as_stored, .check_design_hash = false}))
            return error = "'" + path + "': " + error, false;
        device_name = sof.device_name;
        image.plain = std::move(sof.config);
        config_in_file = PGMIO_SOF::config_bytes(file);
        break;
    }
    case FIO_EXTENSION_TYPE_POF:
    case FIO_EXTENSION_TYPE_JIC:
        if (!config_of_flash_file(path, image.plain, device_name, error) ||
            (hash_source && !pgmio_read_file(path, file, error)))
            return false;
        break;
    default:
        if (!pgmio_read_file(path, file, error) || !PGMIO_RBF::decode(file, image.plain, error, !as_stored))
            return false;
        config_in_file = file;
        break;
    }
    if (hash_source)
        image.source_sha = pgmio_sha256(file);
    image.device = device_name.empty() ? PGMIO_POFIO_UTIL_EXPORT::find_device_by_idcode(image.plain.idcode)
                                       : PGM_DEVICE_INDEX::lookup_device(std::string_view(device_name));
    if (!image.device || !image.device->get_fpga_record())
    {
        error = "the device of '" + path + "' (" +
                (device_name.empty() ? pgmio_hex_number(image.plain.idcode) : device_name) +
                ") is not in the catalogue";
        return false;
    }
    if (!page.fw_source.is_empty())
    {
        PGMIO_BYTES firmware;
        if (!pgmconv_read_firmware(page.fw_source, firmware, error))
            return false;
        pgmconv_set_firmware(image.plain, std::move(firmware));
    }
    image.design_flags = image.plain.flags;
    if (as_stored && !config_in_file.empty())
    {
        const size_t offset = size_t(config_in_file.data() - file.data());
        file.resize(offset + config_in_file.size());
        image.bytes = std::move(file);
        image.skip = offset;
        image.source_offset = offset;
        // The image ends with the CRC of everything before it, checked by the decoder: the CRC of
        // the whole image continues from it over those four bytes.
        const std::span<const uint8_t> trailer = image.data().last(4);
        image.body_crc = uint32_t(trailer[0]) | uint32_t(trailer[1]) << 8 | uint32_t(trailer[2]) << 16 |
                         uint32_t(trailer[3]) << 24;
        image.crc = pgmio_crc32(trailer, image.body_crc);
        return true;
    }
    // The data were decoded from the file: it need not stay beside them and the image made of them.
    PGMIO_BYTES().swap(file);
    // A split configuration (CvP, HPS I/O first): the flash and the .rbf hold the first half.
    PGMIO_CONFIG_DATA first;
    PGMIO_CONFIG_DATA core;
    if (split)
        pgmconv_split_configuration(image.plain, first, core);
    const bool encoded = split ? pgmsec_encode_configuration(first, page.security, *image.device, image.bytes, error)
                               : pgmsec_encode_configuration(std::move(image.plain), page.security, *image.device,
                                                             image.bytes, error);
    if (!encoded)
    {
        error = "page " + std::to_string(page.number) + " ('" + path + "'): " + error;
        return false;
    }
    return true;
}

bool pgmconv_read_firmware(const FIO_PATH& path, PGMIO_BYTES& firmware, std::string& error)
{
    const std::string name = path.get_full_path();
    PGMIO_CONFIG_DATA config;
    bool container = false;
    if (path.get_extension_type() == FIO_EXTENSION_TYPE_SOF)
    {
        PGMIO_SOF_IMAGE sof;
        if (!PGMIO_SOF::read(name, sof, error))
            return false;
        config = std::move(sof.config);
        container = true;
    }
    else if (path.get_extension_type() == FIO_EXTENSION_TYPE_RBF)
    {
        if (!PGMIO_RBF::read(name, config, error))
            return false;
        container = true;
    }
    if (container)
    {
        const PGMIO_CONFIG_SECTION* section = config.find(PGMIO_SECTION_FIRMWARE);
        if (!section)
        {
            error = "firmware source '" + name + "' has no firmware section";
            return false;
        }
        firmware = section->data;
        return true;
    }
    if (!pgmio_read_file(name, firmware, error))
        return false;
    if (firmware.empty())
    {
        error = "firmware source '" + name + "' is empty";
        return false;
    }
    return true;
}

void pgmconv_set_firmware(PGMIO_CONFIG_DATA& config, PGMIO_BYTES firmware)
{
    auto& sections = config.sections;
    auto found = std::find_if(sections.begin(), sections.end(),
                              [](const PGMIO_CONFIG_SECTION& s) { return s.tag == PGMIO_SECTION_FIRMWARE; });
    if (found != sections.end())
        found->data = std::move(firmware);
    else
        sections.insert(sections.begin(), PGMIO_CONFIG_SECTION{PGMIO_SECTION_FIRMWARE, std::move(firmware)});
}

PGMCONV_SPILL::PGMCONV_SPILL() : m_file(std::tmpfile()) {}

PGMCONV_SPILL::~PGMCONV_SPILL()
{
    if (m_file)
        std::fclose(m_file);
}

bool PGMCONV_SPILL::put(std::span<const uint8_t> bytes, uint64_t& offset, std::string& error)
{
    offset = m_size;
    if (!m_file || fseeko(m_file, off_t(m_size), SEEK_SET) != 0 ||
        std::fwrite(bytes.data(), 1, bytes.size(), m_file) != bytes.size())
    {
        error = "cannot keep a page image in a temporary file (disk full?)";
        return false;
    }
    m_size += bytes.size();
    return true;
}

bool PGMCONV_SPILL::get(uint64_t offset, uint64_t size, PGMIO_BYTES& bytes, std::string& error) const
{
    bytes.resize(size_t(size));
    if (!m_file || std::fflush(m_file) != 0 || fseeko(m_file, off_t(offset), SEEK_SET) != 0 ||
        std::fread(bytes.data(), 1, bytes.size(), m_file) != bytes.size())
    {
        error = "cannot read a page image back from its temporary file";
        return false;
    }
    return true;
}

void pgmconv_split_configuration(const PGMIO_CONFIG_DATA& plain, PGMIO_CONFIG_DATA& first, PGMIO_CONFIG_DATA& core)
{
    first = plain;
    first.sections.clear();
    core = first;
    core.flags &= ~(PGMIO_DESIGN_CVP | PGMIO_DESIGN_HPS);
    for (const PGMIO_CONFIG_SECTION& section : plain.sections)
        (section.tag == PGMIO_SECTION_CORE ? core : first).sections.push_back(section);
}

std::string pgmconv_sibling_path(const FIO_PATH& path, const char* extension)
{
    FIO_PATH sibling = path;
    sibling.set_extension(extension);
    return sibling.get_full_path();
}
