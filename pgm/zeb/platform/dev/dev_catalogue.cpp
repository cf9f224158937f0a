// SPDX-License-Identifier: Apache-2.0
// Reading and checking of the device catalogue (data/devices.json, data/flash_devices.json) and of
// custom flash-device files. docs/devices.md describes the format. Every problem is reported as
// "<file>: <where>: <what>" so that a user can find the offending entry; nothing here trusts the
// input further than it has checked it.
#include "pgm/zeb/platform/dev/dev_catalogue.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

namespace
{

using JSON = nlohmann::ordered_json;

// A catalogue or custom file larger than this is refused before it is read.
constexpr uintmax_t k_max_file_size = 16u * 1024u * 1024u;
constexpr uint64_t k_max_image_size = 1ull << 30; // configuration data, helper and loader images
constexpr uint64_t k_max_flash_size = 1ull << 32;
constexpr uint32_t k_generic_device = 867;
constexpr int k_format_version = 1;

// A problem found in the file being read; caught at the file's boundary and turned into a message.
class FORMAT_ERROR : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

std::string hex(uint64_t value)
{
    std::ostringstream text;
    text << "0x" << std::uppercase << std::hex << value;
    return text.str();
}

bool is_power_of_two(uint64_t value) { return value != 0 && (value & (value - 1)) == 0; }

// A position in the document ("devices[3] (7TR440PA3R1).jtag") for messages.
class WHERE
{
public:
    WHERE() = default;
    WHERE(const WHERE& parent, const std::string& step)
        : m_text(parent.m_text.empty() ? step : (step[0] == '[' ? parent.m_text + step : parent.m_text + "." + step))
    {
    }
    [[noreturn]] void fail(const std::string& problem) const
    {
        throw FORMAT_ERROR(m_text.empty() ? problem : m_text + ": " + problem);
    }
    const std::string& text() const { return m_text; }

private:
    std::string m_text;
};

const char* type_name(const JSON& value)
{
    return value.type_name();
}

// Checks that `object` is a JSON object whose keys are all in `known`.
void expect_object(const JSON& object, const WHERE& where, std::initializer_list<const char*> known)
{
    if (!object.is_object())
        where.fail(std::string("expected an object, found ") + type_name(object));
    for (auto it = object.begin(); it != object.end(); ++it)
    {
        if (std::none_of(known.begin(), known.end(), [&](const char* key) { return it.key() == key; }))
            where.fail("unknown field '" + it.key() + "'");
    }
}

const JSON* find(const JSON& object, const char* key)
{
    auto it = object.find(key);
    return it == object.end() ? nullptr : &*it;
}

const JSON& require(const JSON& object, const char* key, const WHERE& where)
{
    const JSON* value = find(object, key);
    if (!value)
        where.fail(std::string("missing field '") + key + "'");
    return *value;
}

// A non-negative number: a JSON integer, or a text in decimal or "0x" hexadecimal (sizes and codes
// read better in hexadecimal, which JSON itself lacks).
uint64_t to_number(const JSON& value, const WHERE& where, uint64_t max)
{
    uint64_t number = 0;
    if (value.is_number_unsigned())
        number = value.get<uint64_t>();
    else if (value.is_number_float())
        where.fail("must be a whole number");
    else if (value.is_number_integer())
        where.fail("must not be negative");
    else if (value.is_string())
    {
        const std::string& text = value.get_ref<const std::string&>();
        const bool is_hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
        const std::string digits = is_hex ? text.substr(2) : text;
        const int base = is_hex ? 16 : 10;
        if (digits.empty() || digits.size() > 20)
            where.fail("'" + text + "' is not a number");
        for (char c : digits)
        {
            const bool ok = base == 16 ? std::isxdigit(static_cast<unsigned char>(c)) != 0
                                       : std::isdigit(static_cast<unsigned char>(c)) != 0;
            if (!ok)
                where.fail("'" + text + "' is not a number");
        }
        errno = 0;
        number = std::strtoull(digits.c_str(), nullptr, base);
        if (errno == ERANGE)
            where.fail("'" + text + "' is too large");
    }
    else
        where.fail(std::string("expected a number, found ") + type_name(value));
    if (number > max)
        where.fail(hex(number) + " is out of range (at most " + hex(max) + ")");
    return number;
}

uint64_t get_number(const JSON& object, const char* key, const WHERE& parent, uint64_t max)
{
    return to_number(require(object, key, parent), WHERE(parent, key), max);
}

bool get_bool(const JSON& object, const char* key, const WHERE& parent)
{
    const JSON& value = require(object, key, parent);
    if (!value.is_boolean())
        WHERE(parent, key).fail(std::string("expected true or false, found ") + type_name(value));
    return value.get<bool>();
}

std::string get_text(const JSON& object, const char* key, const WHERE& parent)
{
    const JSON& value = require(object, key, parent);
    if (!value.is_string())
        WHERE(parent, key).fail(std::string("expected a text, found ") + type_name(value));
    return value.get<std::string>();
}

// Names are what users type on command lines and in setup documents: short, no blanks.
std::string get_name(const JSON& object, const char* key, const WHERE& parent)
{
    std::string name = get_text(object, key, parent);
    const bool ok = !name.empty() && name.size() <= 64 && std::all_of(name.begin(), name.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.' || c == '-';
    });
    if (!ok)
        WHERE(parent, key).fail("'" + name + "' is not a valid name (1 to 64 letters, digits, '_', '.', '-')");
    return name;
}

const JSON& get_array(const JSON& object, const char* key, const WHERE& parent)
{
    const JSON& value = require(object, key, parent);
    if (!value.is_array())
        WHERE(parent, key).fail(std::string("expected a list, found ") + type_name(value));
    return value;
}

// Reads a name -> code object ("instructions", "commands") in file order.
std::vector<DEV_COMMAND> get_commands(const JSON& object, const char* key, const WHERE& parent, uint32_t max)
{
    const JSON& value = require(object, key, parent);
    const WHERE where(parent, key);
    if (!value.is_object())
        where.fail(std::string("expected an object, found ") + type_name(value));
    std::vector<DEV_COMMAND> commands;
    for (auto it = value.begin(); it != value.end(); ++it)
    {
        const WHERE item(where, it.key());
        if (it.key().empty() || it.key().size() > 64)
            where.fail("command names must have 1 to 64 characters");
        commands.push_back({it.key(), static_cast<uint32_t>(to_number(*it, item, max))});
    }
    return commands;
}

void require_commands(const std::vector<DEV_COMMAND>& commands, std::initializer_list<const char*> names,
                      const WHERE& where)
{
    for (const char* name : names)
    {
        if (std::none_of(commands.begin(), commands.end(), [&](const DEV_COMMAND& c) { return c.name == name; }))
            where.fail(std::string("'") + name + "' is missing");
    }
}

void check_unique_codes(const std::vector<DEV_COMMAND>& commands, const WHERE& where)
{
    for (size_t i = 0; i < commands.size(); ++i)
        for (size_t j = i + 1; j < commands.size(); ++j)
            if (commands[i].code == commands[j].code)
                where.fail("'" + commands[i].name + "' and '" + commands[j].name + "' share the code " +
                           hex(commands[i].code));
}

// ---- Reading a file ----------------------------------------------------------------------------

JSON read_json_file(const std::string& path, std::string& error)
{
    std::error_code ec;
    const std::filesystem::file_status status = std::filesystem::status(path, ec);
    if (ec || !std::filesystem::exists(status))
    {
        error = path + ": file does not exist";
        return JSON();
    }
    if (std::filesystem::is_directory(status))
    {
        error = path + ": is a directory, not a file";
        return JSON();
    }
    const uintmax_t size = std::filesystem::file_size(path, ec);
    if (ec)
    {
        error = path + ": cannot determine its size: " + ec.message();
        return JSON();
    }
    if (size > k_max_file_size)
    {
        error = path + ": " + std::to_string(size) + " bytes is too large (at most " + std::to_string(k_max_file_size) +
                ")";
        return JSON();
    }
    std::ifstream in(path, std::ios::binary);
    if (!in)
    {
        error = path + ": cannot be opened: " + std::strerror(errno);
        return JSON();
    }
    std::string text(static_cast<size_t>(size), '\0');
    in.read(text.data(), static_cast<std::streamsize>(size));
    if (static_cast<uintmax_t>(in.gcount()) != size)
    {
        error = path + ": cannot be read completely";
        return JSON();
    }
    try
    {
        return JSON::parse(text);
    }
    catch (const JSON::parse_error& e)
    {
        // The library's text starts with "[json.exception.parse_error.101] parse error at line 3, ...".
        std::string what = e.what();
        const size_t bracket = what.find("] ");
        error = path + ": not valid JSON: " + (bracket == std::string::npos ? what : what.substr(bracket + 2));
        return JSON();
    }
}

void check_header(const JSON& root, const char* format)
{
    const WHERE top;
    if (!root.is_object())
        top.fail(std::string("expected an object at the top, found ") + type_name(root));
    const std::string found = get_text(root, "format", top);
    if (found != format)
        WHERE(top, "format").fail("'" + found + "' is not '" + format + "'");
    const uint64_t version = get_number(root, "version", top, 0xFFFFFFFF);
    if (version != k_format_version)
        WHERE(top, "version").fail("version " + std::to_string(version) + " is not supported (this build reads " +
                                   std::to_string(k_format_version) + ")");
}

// ---- Shared tables -----------------------------------------------------------------------------

std::vector<PGM_PCF_FILE_INFO> read_pcf_table(const JSON& root)
{
    std::vector<PGM_PCF_FILE_INFO> table;
    const JSON& list = get_array(root, "pcf", WHERE());
    for (size_t i = 0; i < list.size(); ++i)
    {
        const WHERE where(WHERE(), "pcf[" + std::to_string(i) + "]");
        expect_object(list[i], where, {"name", "prog_mode_mask", "virtual_prog_mode_mask", "zeb_file_mask"});
        PGM_PCF_FILE_INFO pcf;
        pcf.pcf_name = get_name(list[i], "name", where);
        pcf.prog_mode_mask = static_cast<uint32_t>(get_number(list[i], "prog_mode_mask", where, 0xF));
        pcf.virtual_prog_mode_mask = static_cast<uint32_t>(get_number(list[i], "virtual_prog_mode_mask", where, 0x7));
        pcf.zeb_file_mask = static_cast<uint32_t>(get_number(list[i], "zeb_file_mask", where, 0x1FFFFFFF));
        for (const PGM_PCF_FILE_INFO& other : table)
            if (other.pcf_name == pcf.pcf_name)
                where.fail("the name '" + pcf.pcf_name + "' is used twice");
        table.push_back(pcf);
    }
    return table;
}

const PGM_PCF_FILE_INFO& resolve_pcf(const std::vector<PGM_PCF_FILE_INFO>& table, const JSON& object,
                                     const WHERE& where)
{
    const std::string name = get_name(object, "pcf", where);
    for (const PGM_PCF_FILE_INFO& pcf : table)
        if (pcf.pcf_name == name)
            return pcf;
    WHERE(where, "pcf").fail("'" + name + "' is not in the pcf list");
}

struct TABLES
{
    std::vector<DEV_FAMILY_RECORD> families;
    std::vector<PGM_PCF_FILE_INFO> pcf;
    std::vector<DEV_HELPER_IMAGE> helper_images;
    std::vector<DEV_FLASH_LOADER> flash_loaders;

    const DEV_FAMILY_RECORD* family(uint64_t value) const
    {
        for (const DEV_FAMILY_RECORD& f : families)
            if (f.family == value)
                return &f;
        return nullptr;
    }
};

// ---- devices.json ------------------------------------------------------------------------------

void read_families(const JSON& root, TABLES& tables)
{
    const JSON& list = get_array(root, "families", WHERE());
    for (size_t i = 0; i < list.size(); ++i)
    {
        const WHERE where(WHERE(), "families[" + std::to_string(i) + "]");
        expect_object(list[i], where, {"family", "name", "configuration_device", "description"});
        DEV_FAMILY_RECORD family;
        family.family = static_cast<DEV_FAMILY_ENUM>(get_number(list[i], "family", where, 0xFFFF));
        if (family.family == DEV_FAMILY_INVALID)
            WHERE(where, "family").fail("0 is no family");
        family.name = get_name(list[i], "name", where);
        family.configuration_device = get_bool(list[i], "configuration_device", where);
        family.description = get_text(list[i], "description", where);
        for (const DEV_FAMILY_RECORD& other : tables.families)
            if (other.family == family.family || other.name == family.name)
                where.fail("family " + std::to_string(family.family) + " '" + family.name + "' is declared twice");
        tables.families.push_back(family);
    }
}

void read_helper_images(const JSON& root, TABLES& tables)
{
    const JSON& list = get_array(root, "helper_images", WHERE());
    for (size_t i = 0; i < list.size(); ++i)
    {
        const WHERE where(WHERE(), "helper_images[" + std::to_string(i) + "]");
        expect_object(list[i], where, {"name", "subtype", "size"});
        DEV_HELPER_IMAGE image;
        image.name = get_name(list[i], "name", where);
        image.subtype = static_cast<uint32_t>(get_number(list[i], "subtype", where, 0xFFFF));
        if (image.subtype != DEV_HELPER_SUBTYPE_QSPI && image.subtype != DEV_HELPER_SUBTYPE_FUSE &&
            image.subtype != DEV_HELPER_SUBTYPE_SDMMC)
            WHERE(where, "subtype").fail(std::to_string(image.subtype) + " is not 36 (SDMMC), 37 (FUSE) or 293 (QSPI)");
        image.size = static_cast<uint32_t>(get_number(list[i], "size", where, k_max_image_size));
        if (image.size == 0)
            WHERE(where, "size").fail("must not be 0");
        for (const DEV_HELPER_IMAGE& other : tables.helper_images)
            if (other.name == image.name)
                where.fail("the name '" + image.name + "' is used twice");
        tables.helper_images.push_back(image);
    }
}

void read_flash_loaders(const JSON& root, TABLES& tables)
{
    const JSON& list = get_array(root, "flash_loaders", WHERE());
    for (size_t i = 0; i < list.size(); ++i)
    {
        const WHERE where(WHERE(), "flash_loaders[" + std::to_string(i) + "]");
        expect_object(list[i], where, {"name", "flash_families", "max_flash_size", "size"});
        DEV_FLASH_LOADER loader;
        loader.name = get_name(list[i], "name", where);
        const JSON& families = get_array(list[i], "flash_families", where);
        if (families.empty())
            WHERE(where, "flash_families").fail("must name at least one family");
        for (size_t f = 0; f < families.size(); ++f)
        {
            const WHERE item(where, "flash_families[" + std::to_string(f) + "]");
            const uint64_t value = to_number(families[f], item, 0xFFFF);
            const DEV_FAMILY_RECORD* family = tables.family(value);
            if (!family || !family->configuration_device)
                item.fail(std::to_string(value) + " is not a declared configuration-device family");
            if (std::find(loader.flash_families.begin(), loader.flash_families.end(), family->family) !=
                loader.flash_families.end())
                item.fail(std::to_string(value) + " is listed twice");
            loader.flash_families.push_back(family->family);
        }
        loader.max_flash_size = get_number(list[i], "max_flash_size", where, k_max_flash_size);
        if (!is_power_of_two(loader.max_flash_size))
            WHERE(where, "max_flash_size").fail(hex(loader.max_flash_size) + " is not a power of two");
        loader.size = static_cast<uint32_t>(get_number(list[i], "size", where, k_max_image_size));
        if (loader.size == 0)
            WHERE(where, "size").fail("must not be 0");
        for (const DEV_FLASH_LOADER& other : tables.flash_loaders)
            if (other.name == loader.name)
                where.fail("the name '" + loader.name + "' is used twice");
        tables.flash_loaders.push_back(loader);
    }
}

DEV_JTAG_INFO read_jtag(const JSON& device, const WHERE& parent)
{
    const WHERE where(parent, "jtag");
    const JSON& object = require(device, "jtag", parent);
    expect_object(object, where, {"idcode", "ir_length", "instructions"});
    DEV_JTAG_INFO jtag;
    jtag.idcode = static_cast<uint32_t>(get_number(object, "idcode", where, 0xFFFFFFFF));
    if ((jtag.idcode & 1) == 0 || jtag.idcode == 0xFFFFFFFF)
        WHERE(where, "idcode").fail(hex(jtag.idcode) + " is no IDCODE (bit 0 must be set, and it must not be all ones)");
    jtag.ir_length = static_cast<uint32_t>(get_number(object, "ir_length", where, 32));
    if (jtag.ir_length < 2)
        WHERE(where, "ir_length").fail("must be 2 to 32 bits");
    const uint32_t all_ones = jtag.ir_length == 32 ? 0xFFFFFFFFu : (1u << jtag.ir_length) - 1;
    jtag.instructions = get_commands(object, "instructions", where, all_ones);
    const WHERE instructions(where, "instructions");
    require_commands(jtag.instructions, {"IDCODE", "BYPASS", "SAMPLE", "EXTEST", "PROGRAM", "STARTUP", "CHECK_STATUS"},
                     instructions);
    check_unique_codes(jtag.instructions, instructions);
    uint32_t bypass = 0;
    jtag.find_instruction("BYPASS", bypass);
    if (bypass != all_ones)
        instructions.fail("BYPASS must be all ones (" + hex(all_ones) + "), not " + hex(bypass));
    return jtag;
}

void read_helper_refs(const JSON& device, const WHERE& parent, const TABLES& tables, DEV_DEVICE_RECORD& record)
{
    const JSON* object = find(device, "helper_images");
    if (!object)
        return;
    const WHERE where(parent, "helper_images");
    expect_object(*object, where, {"QSPI", "FUSE", "SDMMC"});
    for (auto it = object->begin(); it != object->end(); ++it)
    {
        const WHERE item(where, it.key());
        const uint32_t subtype = it.key() == "QSPI"   ? DEV_HELPER_SUBTYPE_QSPI
                                 : it.key() == "FUSE" ? DEV_HELPER_SUBTYPE_FUSE
                                                      : DEV_HELPER_SUBTYPE_SDMMC;
        if (!it->is_string())
            item.fail(std::string("expected a helper image name, found ") + type_name(*it));
        const std::string& name = it->get_ref<const std::string&>();
        auto image = std::find_if(tables.helper_images.begin(), tables.helper_images.end(),
                                  [&](const DEV_HELPER_IMAGE& h) { return h.name == name; });
        if (image == tables.helper_images.end())
            item.fail("'" + name + "' is not in the helper_images list");
        if (image->subtype != subtype)
            item.fail("'" + name + "' is a helper image of subtype " + std::to_string(image->subtype) + ", not " +
                      std::to_string(subtype));
        record.helper_images.push_back(*image);
    }
}

void read_internal_flash(const JSON& device, const WHERE& parent, DEV_DEVICE_RECORD& record)
{
    const JSON* list = find(device, "internal_flash");
    if (!list)
        return;
    const WHERE where(parent, "internal_flash");
    if (!list->is_array() || list->empty())
        where.fail("expected a non-empty list of regions");
    for (size_t i = 0; i < list->size(); ++i)
    {
        const WHERE item(where, "[" + std::to_string(i) + "]");
        expect_object((*list)[i], item, {"name", "start", "size"});
        DEV_FLASH_REGION region;
        region.name = get_name((*list)[i], "name", item);
        region.start = static_cast<uint32_t>(get_number((*list)[i], "start", item, 0xFFFFFFFF));
        region.size = static_cast<uint32_t>(get_number((*list)[i], "size", item, 0xFFFFFFFF));
        if (region.size == 0 || uint64_t(region.start) + region.size > 0x100000000ull)
            WHERE(item, "size").fail("the region must be non-empty and end within 4 GiB");
        for (const DEV_FLASH_REGION& other : record.internal_flash)
        {
            if (other.name == region.name)
                item.fail("the name '" + region.name + "' is used twice");
            if (region.start < uint64_t(other.start) + other.size && other.start < uint64_t(region.start) + region.size)
                item.fail("'" + region.name + "' overlaps '" + other.name + "'");
        }
        record.internal_flash.push_back(region);
    }
}

const DEV_FLASH_REGION* find_region(const DEV_DEVICE_RECORD& record, const char* name)
{
    for (const DEV_FLASH_REGION& region : record.internal_flash)
        if (region.name == name)
            return &region;
    return nullptr;
}

// The device's PCF record must tell the truth about what the device can do.
void check_pcf_against_device(const DEV_DEVICE_RECORD& record, const WHERE& where)
{
    const PGM_PCF_FILE_INFO& pcf = record.pcf;
    auto agree = [&](bool has_bit, bool has_feature, const std::string& what) {
        if (has_bit != has_feature)
            WHERE(where, "pcf").fail("'" + pcf.pcf_name + "' " + (has_bit ? "claims " : "lacks ") + what +
                                     (has_feature ? ", which the device has" : ", which the device does not have"));
    };
    const DEV_CAPABILITIES& caps = record.capabilities;
    agree(pcf.virtual_prog_mode_mask & DEV_VPROG_MODE_JTAG_INDIRECT, record.has_flash_loader,
          "JTAG indirect programming (a flash loader)");
    agree(pcf.virtual_prog_mode_mask & DEV_VPROG_MODE_HELPER, !record.helper_images.empty(), "helper images");
    agree(pcf.virtual_prog_mode_mask & DEV_VPROG_MODE_CVP, caps.cvp, "CvP programming");
    auto needs = [&](int type, bool feature, const std::string& what) {
        if ((pcf.zeb_file_mask >> type & 1) && !feature)
            WHERE(where, "pcf").fail("'" + pcf.pcf_name + "' offers output file type " + std::to_string(type) +
                                     ", which needs " + what);
    };
    needs(4, record.has_flash_loader, "a flash loader");
    needs(17, record.has_flash_loader, "a flash loader");
    needs(14, caps.cvp, "CvP");
    needs(15, caps.hps, "an HPS");
    needs(19, caps.partial_reconfiguration, "partial reconfiguration");
    needs(25, caps.design_security, "design security");
    needs(27, !record.helper_images.empty(), "helper images");
    needs(28, !record.helper_images.empty(), "helper images");
}

DEV_DEVICE_RECORD read_device(const JSON& device, const WHERE& where_index, const TABLES& tables)
{
    expect_object(device, where_index,
                  {"name", "family", "device", "jtag", "config_data_size", "config_schemes", "capabilities",
                   "helper_images", "flash_loader", "internal_flash", "pcf", "cmf_flash_block_size"});
    DEV_DEVICE_RECORD record;
    record.name = get_name(device, "name", where_index);
    const WHERE where(WHERE(), where_index.text() + " (" + record.name + ")");

    const uint64_t family = get_number(device, "family", where, 0xFFFF);
    const DEV_FAMILY_RECORD* declared = tables.family(family);
    if (!declared || declared->configuration_device)
        WHERE(where, "family").fail(std::to_string(family) + " is not a declared FPGA family");
    record.family = declared->family;
    record.device = static_cast<DEV_DEVICE_ENUM>(get_number(device, "device", where, 0xFFFFFF));
    if (record.device == DEV_DEVICE_INVALID)
        WHERE(where, "device").fail("0 is no device number");
    const bool generic = record.family == DEV_FAMILY_GENERIC;
    if (generic != (record.device == k_generic_device))
        WHERE(where, "device").fail("the generic device is device 867 of family 68, and no other device is");

    if (find(device, "jtag") || !generic)
        record.jtag = read_jtag(device, where);

    record.config_data_size = get_number(device, "config_data_size", where, k_max_image_size);
    if (record.config_data_size == 0 && !generic)
        WHERE(where, "config_data_size").fail("must not be 0");

    const JSON& schemes = get_array(device, "config_schemes", where);
    if (schemes.empty())
        WHERE(where, "config_schemes").fail("must name at least one scheme");
    for (size_t i = 0; i < schemes.size(); ++i)
    {
        const WHERE item(where, "config_schemes[" + std::to_string(i) + "]");
        const auto scheme = static_cast<PGMIO_CONFIG_SCHEME>(to_number(schemes[i], item, PGMIO_CONFIG_SCHEME_SDMMC_X8));
        if (record.supports_config_scheme(scheme))
            item.fail(std::to_string(scheme) + " is listed twice");
        record.config_schemes.push_back(scheme);
    }
    std::sort(record.config_schemes.begin(), record.config_schemes.end());

    const WHERE caps_where(where, "capabilities");
    const JSON& caps = require(device, "capabilities", where);
    expect_object(caps, caps_where,
                  {"remote_update", "cvp", "hps", "partial_reconfiguration", "design_security", "key_length"});
    record.capabilities.remote_update = get_bool(caps, "remote_update", caps_where);
    record.capabilities.cvp = get_bool(caps, "cvp", caps_where);
    record.capabilities.hps = get_bool(caps, "hps", caps_where);
    record.capabilities.partial_reconfiguration = get_bool(caps, "partial_reconfiguration", caps_where);
    record.capabilities.design_security = get_bool(caps, "design_security", caps_where);
    record.capabilities.key_length = static_cast<uint32_t>(get_number(caps, "key_length", caps_where, 4096));
    const uint32_t key = record.capabilities.key_length;
    if (record.capabilities.design_security ? (key != 128 && key != 256) : key != 0)
        WHERE(caps_where, "key_length").fail("must be 128 or 256 with design security and 0 without");
    if (record.capabilities.design_security)
        require_commands(record.jtag.instructions, {"KEY_PROGRAM"}, WHERE(where, "jtag.instructions"));

    read_helper_refs(device, where, tables, record);

    if (const JSON* loader = find(device, "flash_loader"))
    {
        if (!loader->is_string())
            WHERE(where, "flash_loader").fail(std::string("expected a flash loader name, found ") + type_name(*loader));
        auto it = std::find_if(tables.flash_loaders.begin(), tables.flash_loaders.end(),
                               [&](const DEV_FLASH_LOADER& l) { return l.name == loader->get<std::string>(); });
        if (it == tables.flash_loaders.end())
            WHERE(where, "flash_loader").fail("'" + loader->get<std::string>() + "' is not in the flash_loaders list");
        record.has_flash_loader = true;
        record.flash_loader = *it;
        if (record.config_data_size > it->max_flash_size)
            WHERE(where, "flash_loader").fail("'" + it->name + "' cannot address the device's configuration data");
    }
    const bool active_serial =
        record.supports_config_scheme(PGMIO_CONFIG_SCHEME_AS) || record.supports_config_scheme(PGMIO_CONFIG_SCHEME_AS_X4);
    const auto& families = record.flash_loader.flash_families;
    if (active_serial && !generic &&
        (!record.has_flash_loader || std::find(families.begin(), families.end(), DEV_FAMILY_VIVERI) == families.end()))
        WHERE(where, "flash_loader").fail("an Active Serial device needs a flash loader for family 10");

    read_internal_flash(device, where, record);
    bool internal_image = false;
    for (PGMIO_CONFIG_SCHEME scheme : record.config_schemes)
        internal_image |= scheme >= PGMIO_CONFIG_SCHEME_SINGLE_IMAGE && scheme <= PGMIO_CONFIG_SCHEME_DUAL_COMPRESSED_IMAGES;
    if (internal_image)
    {
        const WHERE flash_where(where, "internal_flash");
        const DEV_FLASH_REGION* cfm0 = find_region(record, "CFM0");
        if (!find_region(record, "UFM") || !cfm0)
            flash_where.fail("internal-image schemes need the regions UFM and CFM0");
        if (record.supports_config_scheme(PGMIO_CONFIG_SCHEME_DUAL_COMPRESSED_IMAGES) && !find_region(record, "CFM1"))
            flash_where.fail("scheme 19 (dual images) needs the region CFM1");
        if (record.config_data_size > cfm0->size)
            flash_where.fail("the configuration data does not fit into CFM0");
        require_commands(record.jtag.instructions, {"FLASH_ENABLE", "FLASH_ERASE", "FLASH_PROGRAM", "FLASH_READ"},
                         WHERE(where, "jtag.instructions"));
    }

    if (find(device, "cmf_flash_block_size"))
    {
        record.cmf_flash_block_size = static_cast<uint32_t>(get_number(device, "cmf_flash_block_size", where, 1u << 24));
        if (!is_power_of_two(record.cmf_flash_block_size) || record.cmf_flash_block_size < 0x1000)
            WHERE(where, "cmf_flash_block_size").fail(hex(record.cmf_flash_block_size) +
                                                      " is not a power of two of at least 0x1000");
        record.has_cmf_flash_block_layout = true;
    }

    record.pcf = resolve_pcf(tables.pcf, device, where);
    check_pcf_against_device(record, where);
    return record;
}

// ---- flash_devices.json and custom files -------------------------------------------------------

DEV_FLASH_RECORD read_flash_device(const JSON& device, const WHERE& where_index, const TABLES* tables,
                                   const std::string& source)
{
    const bool custom = tables == nullptr;
    if (custom)
        expect_object(device, where_index,
                      {"name", "family", "size", "sector_size", "page_size", "legacy", "silicon_id", "address_bytes",
                       "data_widths", "commands"});
    else
        expect_object(device, where_index,
                      {"name", "family", "device", "size", "sector_size", "page_size", "legacy", "silicon_id",
                       "address_bytes", "data_widths", "commands", "pcf"});
    DEV_FLASH_RECORD record;
    record.source = source;
    record.name = get_name(device, "name", where_index);
    const WHERE where(WHERE(), where_index.text() + " (" + record.name + ")");

    const uint64_t family = get_number(device, "family", where, 0xFFFF);
    if (custom ? (family != DEV_FAMILY_VIVERI && family != DEV_FAMILY_BILOSA_CFI)
               : (!tables->family(family) || !tables->family(family)->configuration_device))
        WHERE(where, "family").fail(std::to_string(family) + (custom ? " is not 10 (serial flash) or 37 (CFI flash)"
                                                                     : " is not a declared configuration-device family"));
    record.family = static_cast<DEV_FAMILY_ENUM>(family);
    if (!custom)
    {
        record.device = static_cast<DEV_DEVICE_ENUM>(get_number(device, "device", where, 0xFFFFFF));
        if (record.device == DEV_DEVICE_INVALID || record.device == k_generic_device)
            WHERE(where, "device").fail("0 and 867 are no flash device numbers");
    }

    record.size = get_number(device, "size", where, k_max_flash_size);
    if (!is_power_of_two(record.size) || record.size < 0x10000)
        WHERE(where, "size").fail(hex(record.size) + " is not a power of two of at least 0x10000");
    record.sector_size = static_cast<uint32_t>(get_number(device, "sector_size", where, 0xFFFFFFFF));
    if (!is_power_of_two(record.sector_size) || record.sector_size < 0x1000 || record.sector_size > record.size)
        WHERE(where, "sector_size").fail(hex(record.sector_size) + " is not a power of two from 0x1000 to the size");
    record.page_size = static_cast<uint32_t>(get_number(device, "page_size", where, 0xFFFFFFFF));
    if (!is_power_of_two(record.page_size) || record.page_size > record.sector_size)
        WHERE(where, "page_size").fail(hex(record.page_size) + " is not a power of two up to the sector size");
    if (find(device, "legacy"))
        record.legacy = get_bool(device, "legacy", where);
    record.silicon_id = static_cast<uint32_t>(get_number(device, "silicon_id", where, 0xFFFFFFFF));
    if (record.silicon_id == 0)
        WHERE(where, "silicon_id").fail("must not be 0");

    record.address_bytes = static_cast<uint32_t>(get_number(device, "address_bytes", where, 4));
    if (record.address_bytes < 2)
        WHERE(where, "address_bytes").fail("must be 2, 3 or 4");
    const bool serial = record.family == DEV_FAMILY_VIVERI;
    if (serial && record.address_bytes < 3)
        WHERE(where, "address_bytes").fail("a serial flash uses 3 or 4 address bytes");
    if (serial && record.size > (1ull << (8 * record.address_bytes)))
        WHERE(where, "address_bytes").fail(std::to_string(record.address_bytes) + " address bytes cannot reach " +
                                           hex(record.size) + " bytes");

    const JSON& widths = get_array(device, "data_widths", where);
    if (widths.empty())
        WHERE(where, "data_widths").fail("must name at least one width");
    const std::set<uint64_t> allowed = serial ? std::set<uint64_t>{1, 2, 4}
                                       : record.family == DEV_FAMILY_BILOSA_CFI ? std::set<uint64_t>{8, 16, 32}
                                                                                : std::set<uint64_t>{1, 2, 4, 8, 16};
    for (size_t i = 0; i < widths.size(); ++i)
    {
        const WHERE item(where, "data_widths[" + std::to_string(i) + "]");
        const uint64_t width = to_number(widths[i], item, 64);
        if (!allowed.count(width))
            item.fail(std::to_string(width) + " bits is not a bus width of this family");
        if (std::find(record.data_widths.begin(), record.data_widths.end(), width) != record.data_widths.end())
            item.fail(std::to_string(width) + " is listed twice");
        record.data_widths.push_back(static_cast<uint32_t>(width));
    }

    record.commands = get_commands(device, "commands", where, 0xFF);
    const WHERE commands(where, "commands");
    if (serial)
        require_commands(record.commands, {"READ_ID", "READ", "PAGE_PROGRAM", "SECTOR_ERASE", "READ_STATUS", "WRITE_ENABLE"},
                         commands);
    else if (record.family == DEV_FAMILY_BILOSA_CFI)
        require_commands(record.commands, {"READ_ARRAY", "READ_ID", "PROGRAM", "BLOCK_ERASE", "READ_STATUS", "CLEAR_STATUS"},
                         commands);
    else
        require_commands(record.commands, {"READ_ID", "READ", "PROGRAM", "ERASE", "READ_STATUS"}, commands);
    check_unique_codes(record.commands, commands);

    if (!custom)
    {
        record.pcf = resolve_pcf(tables->pcf, device, where);
        record.has_pcf = true;
        if (record.pcf.virtual_prog_mode_mask != 0)
            WHERE(where, "pcf").fail("'" + record.pcf.pcf_name + "' claims programming through the device");
    }
    return record;
}

std::vector<DEV_FLASH_RECORD> read_flash_list(const JSON& root, const TABLES* tables, const std::string& source)
{
    std::vector<DEV_FLASH_RECORD> devices;
    const JSON& list = get_array(root, "flash_devices", WHERE());
    for (size_t i = 0; i < list.size(); ++i)
    {
        devices.push_back(read_flash_device(list[i], WHERE(WHERE(), "flash_devices[" + std::to_string(i) + "]"),
                                            tables, source));
        for (size_t j = 0; j + 1 < devices.size(); ++j)
            if (devices[j].name == devices.back().name)
                WHERE(WHERE(), "flash_devices[" + std::to_string(i) + "]")
                    .fail("the name '" + devices.back().name + "' is used twice");
    }
    return devices;
}

// Checks that rely on the whole catalogue; reported against the file that holds the later entry.
void check_catalogue(const DEV_CATALOGUE& catalogue, const std::string& devices_file, const std::string& flash_file,
                     std::string& error)
{
    std::map<std::string, std::string> names;
    std::map<uint32_t, std::string> numbers;
    std::map<uint32_t, std::string> idcodes;
    std::map<DEV_FAMILY_ENUM, const DEV_DEVICE_RECORD*> family_layout;
    auto claim = [&](auto& seen, const auto& key, const std::string& owner, const std::string& what,
                     const std::string& file) {
        auto [it, inserted] = seen.emplace(key, owner);
        if (!inserted && error.empty())
            error = file + ": " + owner + " has the " + what + " of " + it->second;
    };
    for (const DEV_DEVICE_RECORD& d : catalogue.devices)
    {
        claim(names, d.name, d.name, "name", devices_file);
        claim(numbers, d.device, d.name, "device number " + std::to_string(d.device), devices_file);
        if (d.jtag.idcode != 0)
            claim(idcodes, d.jtag.idcode, d.name, "IDCODE " + hex(d.jtag.idcode), devices_file);
        auto [it, inserted] = family_layout.emplace(d.family, &d);
        if (!inserted && error.empty() &&
            (it->second->has_cmf_flash_block_layout != d.has_cmf_flash_block_layout ||
             it->second->cmf_flash_block_size != d.cmf_flash_block_size))
            error = devices_file + ": " + d.name + " and " + it->second->name +
                    " are of one family but differ in cmf_flash_block_size";
    }
    std::map<uint32_t, std::string> silicon_ids;
    for (const DEV_FLASH_RECORD& f : catalogue.flash_devices)
    {
        claim(names, f.name, f.name, "name", flash_file);
        claim(numbers, f.device, f.name, "device number " + std::to_string(f.device), flash_file);
        claim(silicon_ids, f.silicon_id, f.name, "silicon id " + hex(f.silicon_id), flash_file);
    }
}

} // namespace

bool dev_read_catalogue(const std::string& data_directory, DEV_CATALOGUE& catalogue, std::string& error)
{
    error.clear();
    const std::string devices_file = data_directory + "/" + DEV_DEVICES_FILE;
    const std::string flash_file = data_directory + "/" + DEV_FLASH_DEVICES_FILE;
    TABLES tables;
    std::string current = devices_file;
    try
    {
        const JSON root = read_json_file(devices_file, error);
        if (!error.empty())
            return false;
        check_header(root, "corvane-devices");
        expect_object(root, WHERE(), {"format", "version", "families", "pcf", "helper_images", "flash_loaders", "devices"});
        read_families(root, tables);
        tables.pcf = read_pcf_table(root);
        read_helper_images(root, tables);
        read_flash_loaders(root, tables);
        const JSON& devices = get_array(root, "devices", WHERE());
        catalogue.devices.clear();
        for (size_t i = 0; i < devices.size(); ++i)
            catalogue.devices.push_back(read_device(devices[i], WHERE(WHERE(), "devices[" + std::to_string(i) + "]"), tables));

        current = flash_file;
        const JSON flash_root = read_json_file(flash_file, error);
        if (!error.empty())
            return false;
        check_header(flash_root, "corvane-flash-devices");
        expect_object(flash_root, WHERE(), {"format", "version", "pcf", "flash_devices"});
        tables.pcf = read_pcf_table(flash_root);
        catalogue.flash_devices = read_flash_list(flash_root, &tables, flash_file);
    }
    catch (const FORMAT_ERROR& e)
    {
        error = current + ": " + e.what();
        return false;
    }
    catch (const JSON::exception& e)
    {
        error = current + ": unexpected content: " + e.what();
        return false;
    }
    catalogue.families = tables.families;
    check_catalogue(catalogue, devices_file, flash_file, error);
    return error.empty();
}

bool dev_read_custom_flash_file(const std::string& path, std::vector<DEV_FLASH_RECORD>& devices, std::string& error)
{
    error.clear();
    try
    {
        const JSON root = read_json_file(path, error);
        if (!error.empty())
            return false;
        check_header(root, "corvane-flash-devices");
        expect_object(root, WHERE(), {"format", "version", "flash_devices"});
        std::vector<DEV_FLASH_RECORD> read = read_flash_list(root, nullptr, path);
        devices.insert(devices.end(), read.begin(), read.end());
    }
    catch (const FORMAT_ERROR& e)
    {
        error = path + ": " + e.what();
        return false;
    }
    catch (const JSON::exception& e)
    {
        error = path + ": unexpected content: " + e.what();
        return false;
    }
    return true;
}
