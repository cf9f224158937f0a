// SPDX-License-Identifier: Apache-2.0
// Recognising, checking and describing files of every format of the library.
#include "pgm/zeb/platform/pgmio/pgmio_info.h"

#include "pgm/zeb/platform/pgmio/pgmio.h"
#include "pgm/zeb/platform/pgmio/pgmio_flash_dir.h"
#include "pgm/zeb/platform/pgmio/pgmio_precheck.h"
#include "pgm/zeb/platform/pgmio/pgmio_text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstring>

namespace
{

struct KIND_NAME
{
    uint32_t kind;
    const char* name;
};
constexpr KIND_NAME k_kinds[] = {
    {PGMIO_KIND_RBF, "configuration data file"},
    {PGMIO_KIND_SOF, "SRAM object file"},
    {PGMIO_KIND_PMSF, "partial-masked SRAM object file"},
    {PGMIO_KIND_MSF, "mask settings file"},
    {PGMIO_KIND_POF, "programmer object file"},
    {PGMIO_KIND_JIC, "JTAG indirect configuration file"},
    {PGMIO_KIND_EKP, "key programming file"},
    {PGMIO_KIND_HLPR, "programming helper image"},
};

// Extensions whose files are always containers.
constexpr FIO_EXTENSION_TYPE k_container_extensions[] = {
    FIO_EXTENSION_TYPE_SOF, FIO_EXTENSION_TYPE_POF,  FIO_EXTENSION_TYPE_JIC, FIO_EXTENSION_TYPE_RBF,
    FIO_EXTENSION_TYPE_MSF, FIO_EXTENSION_TYPE_PMSF, FIO_EXTENSION_TYPE_EKP,
};

// The container magic, or a beginning of it (a container cut short).
bool has_magic(std::span<const uint8_t> image)
{
    static const uint8_t magic[4] = {'C', 'V', 'N', 0x1A};
    return !image.empty() && std::memcmp(image.data(), magic, std::min<size_t>(image.size(), 4)) == 0;
}

const char* kind_name(uint32_t kind)
{
    for (const KIND_NAME& entry : k_kinds)
        if (entry.kind == kind)
            return entry.name;
    return nullptr;
}

std::string_view as_text(std::span<const uint8_t> image)
{
    return std::string_view(reinterpret_cast<const char*>(image.data()), image.size());
}

std::string yes_no(bool value)
{
    return value ? "yes" : "no";
}

void add_config_fields(const PGMIO_CONFIG_DATA& config, PGMIO_FILE_INFO& info)
{
    info.fields.emplace_back("idcode", pgmio_hex_number(config.idcode));
    info.fields.emplace_back("design flags", pgmio_design_flags_text(config.flags));
    info.fields.emplace_back("configuration data bytes", std::to_string(config.payload_size()));
    info.fields.emplace_back("compression", std::to_string(config.compression));
    info.fields.emplace_back("encryption", std::to_string(config.encryption));
    info.fields.emplace_back("signature", std::to_string(config.signature));
}

// Walks the flash content of a programmer object or JTAG indirect file that carries directory records.
std::string walk_flash_file(const PGMIO_FLASH_IMAGE& flash, std::vector<PGMIO_FLASH_PIECE> pieces,
                            PGMIO_FILE_INFO& info)
{
    pieces.emplace_back(flash.option_bits_address, flash.option_bits);
    std::sort(pieces.begin(), pieces.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    const uint64_t end = pieces.back().first + pieces.back().second.size();
    if (end > PGMIO_MAX_FILE_SIZE)
        return "the flash content spans " + pgmio_hex_number(end) + " bytes, more than " +
               pgmio_hex_number(PGMIO_MAX_FILE_SIZE) + " can be walked";
    // The walk reads the blocks where they lie in the file.
    PGMIO_FLASH_PIECE_SOURCE source(std::move(pieces));
    info.has_flash = true;
    pgmio_walk_flash(source, info.flash);
    return info.flash.failure;
}

// Decodes a container of a known kind; with `info`, fills the device and the fields. "" on success.
std::string decode_container(std::span<const uint8_t> image, uint32_t kind, PGMIO_FILE_INFO* info)
{
    std::string error;
    PGMIO_FILE_INFO scratch;
    PGMIO_FILE_INFO& out = info ? *info : scratch;
    auto field = [&out](const std::string& name, const std::string& value) { out.fields.emplace_back(name, value); };
    switch (kind)
    {
    case PGMIO_KIND_RBF:
    {
        PGMIO_CONFIG_DATA config;
        if (!PGMIO_RBF::decode(image, config, error))
            return error;
        if (info)
        {
            const PGM_DEVICE* device = PGMIO_POFIO_UTIL_EXPORT::find_device_by_idcode(config.idcode);
            out.device = device ? device->get_name() : "";
            add_config_fields(config, out);
        }
        return {};
    }
    case PGMIO_KIND_SOF:
    {
        PGMIO_SOF_IMAGE sof;
        if (!PGMIO_SOF::decode(image, sof, error))
            return error;
        out.device = sof.device_name;
        field("design", sof.design_name);
        field("design hash", pgmio_hex_text(sof.design_hash));
        add_config_fields(sof.config, out);
        field("hps bootloader", sof.has_bootloader ? std::to_string(sof.bootloader.size()) + " bytes at " +
                                                         pgmio_hex_number(sof.bootloader_address)
                                                   : "none");
        return {};
    }
    case PGMIO_KIND_PMSF:
    {
        PGMIO_PMSF_IMAGE pmsf;
        if (!PGMIO_PMSF::decode(image, pmsf, error))
            return error;
        out.device = pmsf.device_name;
        field("design", pmsf.design_name);
        field("region", pmsf.region_name);
        field("region offset", pgmio_hex_number(pmsf.region_offset));
        field("region bytes", std::to_string(pmsf.data.size()));
        field("base design hash", pgmio_hex_text(pmsf.base_hash));
        return {};
    }
    case PGMIO_KIND_MSF:
    {
        PGMIO_MSF_IMAGE msf;
        if (!PGMIO_MSF::decode(image, msf, error))
            return error;
        out.device = msf.device_name;
        field("region", msf.region_name);
        field("region offset", pgmio_hex_number(msf.region_offset));
        field("region bytes", std::to_string(msf.mask.size()));
        return {};
    }
    case PGMIO_KIND_POF:
    case PGMIO_KIND_JIC:
    {
        PGMIO_FLASH_IMAGE flash;
        std::vector<PGMIO_FLASH_PIECE> blocks;
        if (!PGMIO_FLASH_FILE::decode_in_place(image, flash, blocks, error))
            return error;
        out.device = flash.fpga_device;
        field("flash device", flash.flash_device);
        field("flash bytes", std::to_string(flash.flash_size));
        field("idcode", pgmio_hex_number(flash.idcode));
        field("design flags", pgmio_design_flags_text(flash.design_flags));
        field("remote update", yes_no(flash.flags & PGMIO_FLASH_REMOTE_UPDATE));
        field("option bits",
              std::to_string(flash.option_bits.size()) + " bytes at " + pgmio_hex_number(flash.option_bits_address));
        for (const PGMIO_FLASH_PAGE& page : flash.pages)
            field("page " + page.name, pgmio_hex_number(page.start) + ".." + pgmio_hex_number(page.end));
        uint64_t bytes = 0;
        for (const PGMIO_FLASH_PIECE& block : blocks)
            bytes += block.second.size();
        field("data blocks", std::to_string(blocks.size()) + " (" + std::to_string(bytes) + " bytes)");
        if (flash.jic)
            field("flash loader", flash.loader_device + " (" + std::to_string(flash.loader_image.size()) + " bytes)");
        // The check walks the flash content as --info does, so that both give one verdict.
        if (PGMIO_FLASH_DIR_CODEC::has_magic(flash.option_bits))
            return walk_flash_file(flash, std::move(blocks), out);
        return {};
    }
    case PGMIO_KIND_EKP:
    {
        PGMIO_EKP_IMAGE ekp;
        if (!PGMIO_EKP::decode(image, ekp, error))
            return error;
        out.device = ekp.device_name;
        for (const PGMIO_EKP_KEY& key : ekp.keys)
            field("key " + key.id, std::string(key.kind == PGMIO_KEY_AES256 ? "AES-256 key" : "owner key hash") + ", " +
                                       (key.storage == PGMIO_KEY_STORAGE_BBRAM ? "BBRAM" : "eFuse") + ", " +
                                       std::to_string(key.key.size()) + " bytes");
        return {};
    }
    case PGMIO_KIND_HLPR:
    {
        PGMIO_HELPER_IMAGE helper;
        if (!PGMIO_HELPER::decode(image, helper, error))
            return error;
        out.device = helper.device_name;
        field("subtype", std::to_string(helper.subtype));
        add_config_fields(helper.config, out);
        return {};
    }
    default:
        return "unknown file kind '" + pgmio_tag_text(kind) + "'";
    }
}

// How the payload sections of configuration data are stored, and its signature; nothing when the
// configuration data does not decode (the integrity check reports why).
void describe_security(std::span<const uint8_t> image, uint64_t base, PGMIO_FILE_INFO& info,
                       std::vector<PGMIO_INFO_SECTION>& listed)
{
    PGMSEC_INFO security;
    std::string error;
    if (!pgmsec_describe_configuration(image, security, error))
        return;
    for (PGMSEC_SECTION_INFO& stored : security.sections)
        for (PGMIO_INFO_SECTION& section : listed)
            if (section.tag == pgmio_tag_text(stored.tag))
            {
                if (stored.encryption)
                    stored.encryption->data_offset += base;
                section.stored = stored;
            }
    if (security.signature)
    {
        security.signature->signed_offset += base;
        if (security.signature->der_size)
            security.signature->der_offset += base;
        info.signature = security.signature;
    }
    info.fields.insert(info.fields.end(), security.fields.begin(), security.fields.end());
}

// The sections of a container whose layout is sound, with nested configuration data.
void list_sections(std::span<const uint8_t> image, uint64_t base, int depth, PGMIO_FILE_INFO& info)
{
    std::vector<PGMIO_INFO_SECTION>& out = info.sections;
    PGMIO_CONTAINER_VIEW view;
    std::string error;
    if (!pgmio_parse_container(image, view, error, false))
        return;
    std::vector<PGMIO_INFO_SECTION> listed;
    for (const PGMIO_SECTION_VIEW& section : view.sections)
    {
        PGMIO_INFO_SECTION entry;
        entry.depth = depth;
        entry.tag = pgmio_tag_text(section.tag);
        entry.offset = base + section.offset;
        entry.size = section.data.size();
        entry.crc = section.crc;
        entry.crc_ok = pgmio_crc32(section.data) == section.crc;
        listed.push_back(entry);
    }
    if (view.kind == PGMIO_KIND_RBF)
        describe_security(image, base, info, listed);
    for (size_t i = 0; i < listed.size(); ++i)
    {
        out.push_back(listed[i]);
        const PGMIO_SECTION_VIEW& section = view.sections[i];
        if (section.tag == pgmio_tag("CDAT") && depth == 0)
            list_sections(section.data, base + section.offset, depth + 1, info);
    }
}

std::string check_hex(std::span<const uint8_t> image, const std::string& name, PGMIO_FILE_INFO* info)
{
    PGMIO_HEX_READER reader;
    if (!reader.read_hex_text(as_text(image), name, false, false))
        return reader.get_error();
    if (info)
    {
        uint64_t bytes = 0;
        uint64_t high = 0;
        for (const PGMIO_HEX_RECORD& record : *reader.get_hex_list())
        {
            bytes += record.data.size();
            high = std::max<uint64_t>(high, record.address() + record.data.size());
        }
        info->fields.emplace_back("data records", std::to_string(reader.get_hex_list()->size()));
        info->fields.emplace_back("data bytes", std::to_string(bytes));
        if (bytes > 0)
            info->fields.emplace_back("address range",
                                      pgmio_hex_number(reader.get_start_address()) + ".." + pgmio_hex_number(high - 1));
        if (reader.has_entry_point())
            info->fields.emplace_back("entry point", pgmio_hex_number(reader.get_entry_point()));
    }
    return {};
}

std::string check_cdf(std::span<const uint8_t> image, const std::string& name, PGMIO_FILE_INFO* info)
{
    PGMIO_CDF_CHAIN chain;
    std::string error;
    if (!PGMIO_CDF::parse(as_text(image), name, chain, error))
        return error;
    if (info)
    {
        info->fields.emplace_back("mode", chain.mode);
        for (size_t i = 0; i < chain.devices.size(); ++i)
        {
            const PGMIO_CDF_DEVICE& device = chain.devices[i];
            info->device += (i ? "," : "") + device.device_name;
            info->fields.emplace_back("device " + std::to_string(i + 1),
                                      device.device_name + (device.file.empty() ? "" : " file " + device.file));
        }
    }
    return {};
}

} // namespace

PGMIO_IMAGE_FORMAT pgmio_detect_format(std::span<const uint8_t> image, FIO_EXTENSION_TYPE extension)
{
    // Raw programming data holds flash bytes as they are: whatever they start with, they are not
    // read as records or a container.
    if (extension == FIO_EXTENSION_TYPE_RPD)
        return PGMIO_IMAGE_FORMAT_FLASH;
    if (has_magic(image))
        return PGMIO_IMAGE_FORMAT_CONTAINER;
    for (FIO_EXTENSION_TYPE container : k_container_extensions)
        if (extension == container)
            return PGMIO_IMAGE_FORMAT_BAD_CONTAINER;
    if (extension == FIO_EXTENSION_TYPE_CDF)
        return PGMIO_IMAGE_FORMAT_CDF;
    if (extension == FIO_EXTENSION_TYPE_HEX || extension == FIO_EXTENSION_TYPE_HEXOUT ||
        (!image.empty() && image[0] == ':'))
        return PGMIO_IMAGE_FORMAT_HEX;
    return PGMIO_IMAGE_FORMAT_OTHER;
}

std::string pgmio_check_image(std::span<const uint8_t> image, FIO_EXTENSION_TYPE extension, const std::string& name)
{
    if (image.empty())
        return "the file is empty";
    switch (pgmio_detect_format(image, extension))
    {
    case PGMIO_IMAGE_FORMAT_FLASH:
    {
        PGMIO_FLASH_WALK walk;
        pgmio_walk_flash(image, walk);
        return walk.failure;
    }
    case PGMIO_IMAGE_FORMAT_CONTAINER:
    {
        PGMIO_CONTAINER_VIEW view;
        std::string error;
        if (!pgmio_parse_container(image, view, error, false))
            return error;
        return decode_container(image, view.kind, nullptr);
    }
    case PGMIO_IMAGE_FORMAT_BAD_CONTAINER:
        return "not a Corvane programming file (wrong magic at offset 0)";
    case PGMIO_IMAGE_FORMAT_HEX:
        return check_hex(image, name, nullptr);
    case PGMIO_IMAGE_FORMAT_CDF:
        return check_cdf(image, name, nullptr);
    case PGMIO_IMAGE_FORMAT_OTHER:
        break;
    }
    return {};
}

namespace
{

void describe_flash(PGMIO_FLASH_SOURCE& flash, PGMIO_FILE_INFO& info)
{
    info.size = flash.size();
    info.kind = "raw programming data file";
    info.format = "rpd";
    info.has_flash = true;
    pgmio_walk_flash(flash, info.flash);
    info.integrity = info.flash.failure;
}

} // namespace

std::string pgmio_check_file(const std::string& path)
{
    const FIO_EXTENSION_TYPE extension = FIO_PATH(path).get_extension_type();
    std::string error;
    if (extension == FIO_EXTENSION_TYPE_RPD)
    {
        PGMIO_FLASH_FILE_SOURCE flash;
        if (!flash.open(path, error))
            return error;
        if (flash.size() == 0)
            return "the file is empty";
        PGMIO_FLASH_WALK walk;
        pgmio_walk_flash(flash, walk);
        return walk.failure;
    }
    PGMIO_BYTES image;
    if (!pgmio_read_file(path, image, error))
        return error;
    return pgmio_check_image(image, extension, path);
}

bool pgmio_describe_file(const std::string& path, PGMIO_FILE_INFO& info, std::string& error)
{
    info = PGMIO_FILE_INFO{};
    if (FIO_PATH(path).get_extension_type() == FIO_EXTENSION_TYPE_RPD)
    {
        // Raw programming data is walked from the file: as large as the flash, it is never held whole.
        PGMIO_FLASH_FILE_SOURCE flash;
        if (!flash.open(path, error))
            return false;
        if (flash.size() == 0)
        {
            error = "'" + path + "' is empty";
            return false;
        }
        describe_flash(flash, info);
        return true;
    }
    PGMIO_BYTES image;
    if (!pgmio_read_file(path, image, error))
        return false;
    if (image.empty())
    {
        error = "'" + path + "' is empty";
        return false;
    }
    info.size = image.size();
    switch (pgmio_detect_format(image, FIO_PATH(path).get_extension_type()))
    {
    case PGMIO_IMAGE_FORMAT_FLASH:
    {
        PGMIO_FLASH_PIECE_SOURCE flash({{0, image}});
        describe_flash(flash, info);
        return true;
    }
    case PGMIO_IMAGE_FORMAT_CONTAINER:
    {
        uint32_t kind = 0;
        if (image.size() >= 8)
            kind = uint32_t(image[4]) | uint32_t(image[5]) << 8 | uint32_t(image[6]) << 16 | uint32_t(image[7]) << 24;
        const char* name = kind_name(kind);
        info.kind = name ? name : "unknown container kind";
        info.format = pgmio_tag_text(kind);
        list_sections(image, 0, 0, info);
        PGMIO_CONTAINER_VIEW view;
        if (!pgmio_parse_container(image, view, info.integrity, false))
            return true;
        info.integrity = decode_container(image, kind, &info);
        if (!info.integrity.empty())
            info.fields.clear();
        return true;
    }
    case PGMIO_IMAGE_FORMAT_HEX:
        info.kind = "hex data file";
        info.format = "hex";
        info.integrity = check_hex(image, path, &info);
        return true;
    case PGMIO_IMAGE_FORMAT_CDF:
        info.kind = "chain description file";
        info.format = "cdf";
        info.integrity = check_cdf(image, path, &info);
        return true;
    case PGMIO_IMAGE_FORMAT_BAD_CONTAINER:
    case PGMIO_IMAGE_FORMAT_OTHER:
        break;
    }
    error = "'" + path +
            "' is not a file of a known format (no container magic, not hex records or a chain "
            "description)";
    return false;
}

std::string pgmio_info_json(const std::string& path, const PGMIO_FILE_INFO& info)
{
    using JSON = nlohmann::ordered_json;
    JSON fields = JSON::object();
    for (const auto& [name, value] : info.fields)
        fields[name] = value;
    JSON sections = JSON::array();
    for (const PGMIO_INFO_SECTION& section : info.sections)
    {
        JSON entry = {{"depth", section.depth},
                      {"tag", section.tag},
                      {"offset", section.offset},
                      {"size", section.size},
                      {"crc", pgmio_hex_number(section.crc)},
                      {"crc_ok", section.crc_ok}};
        if (section.stored)
        {
            entry["plain_size"] = section.stored->plain_size;
            entry["compression"] = section.stored->compression;
            entry["encryption"] = nullptr;
            if (const auto& e = section.stored->encryption)
                entry["encryption"] = {
                    {"algorithm", e->algorithm},     {"key_id", e->key_id},      {"iv", e->iv}, {"tag", e->tag},
                    {"data_offset", e->data_offset}, {"data_size", e->data_size}};
        }
        sections.push_back(entry);
    }
    JSON signature = nullptr;
    if (const auto& s = info.signature)
        signature = {{"algorithm", s->algorithm},     {"signed_offset", s->signed_offset},
                     {"signed_size", s->signed_size}, {"der_offset", s->der_offset},
                     {"der_size", s->der_size},       {"verified", s->verified}};
    JSON document = {{"file", path},          {"kind", info.kind}, {"format", info.format}, {"size", info.size},
                     {"device", info.device}, {"fields", fields},  {"sections", sections},  {"signature", signature}};
    if (info.has_flash)
        document["flash"] = JSON::parse(pgmio_flash_walk_json(info.flash));
    document["integrity"] = {{"ok", info.integrity.empty()}, {"reason", info.integrity}};
    return document.dump(2, ' ', false, JSON::error_handler_t::replace) + "\n";
}
