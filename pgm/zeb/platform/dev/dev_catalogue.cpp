// SPDX-License-Identifier: Apache-2.0
// Reading and checking of the device catalogue (data/devices.json, data/flash_devices.json) and of
// custom flash-device files. docs/devices.md describes the format. Every problem is reported as
// "<file>: <where>: <what>" so that a user can find the offending entry; nothing here trusts the
// input further than it has checked it.
#include "pgm/zeb/platform/dev/dev_catalogue.h"

#include "pgm/zeb/platform/fio/fio.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace
{

using JSON = nlohmann::ordered_json;

// A catalogue or custom file larger than this is refused before it is read.
constexpr uintmax_t k_max_file_size = 16u * 1024u * 1024u;
constexpr uint64_t k_max_image_size = 1ull << 30; // configuration data, helper and loader images
constexpr uint64_t k_max_flash_size = 1ull << 32;
constexpr int k_format_version = 1;

// A problem found in the file being read; caught at the file's boundary and turned into a message.
class FORMAT_ERROR : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

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
        where.fail(dev_hex(number) + " is out of range (at most " + dev_hex(max) + ")");
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
    const bool ok =
        !name.empty() && name.size() <= 64 &&
        std::all_of(name.begin(), name.end(),
                    [](char c)
                    { return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.' || c == '-'; });
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
    FIO_INPUT_FILE file;
    std::vector<uint8_t> bytes;
    if (!file.open(path, error, k_max_file_size) || !file.read_all(bytes, error))
        return JSON();
    const std::string text(bytes.begin(), bytes.end());
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
        WHERE(top, "version")
            .fail("version " + std::to_string(version) + " is not supported (this build reads " +
                  std::to_string(k_format_version) + ")");
}

// Calls read(entry, where) for every entry of the list `key` of `root`.
template <typename READ> void for_each_entry(const JSON& root, const char* key, READ read)
{
    const JSON& list = get_array(root, key, WHERE());
    for (size_t i = 0; i < list.size(); ++i)
        read(list[i], WHERE(WHERE(), std::string(key) + "[" + std::to_string(i) + "]"));
}

template <typename RECORD>
void check_new_name(const std::vector<RECORD>& list, const std::string RECORD::*name, const RECORD& record,
                    const WHERE& where)
{
    for (const RECORD& other : list)
        if (other.*name == record.*name)
            where.fail("the name '" + record.*name + "' is used twice");
}

// ---- Tables the devices refer to ---------------------------------------------------------------

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

std::vector<PGM_PCF_FILE_INFO> read_pcf_table(const JSON& root)
{
    std::vector<PGM_PCF_FILE_INFO> table;
    for_each_entry(
        root, "pcf",
        [&](const JSON& entry, const WHERE& where)
        {
            expect_object(entry, where, {"name", "prog_mode_mask", "virtual_prog_mode_mask", "zeb_file_mask"});
            PGM_PCF_FILE_INFO pcf;
            pcf.pcf_name = get_name(entry, "name", where);
            pcf.prog_mode_mask = static_cast<uint32_t>(get_number(entry, "prog_mode_mask", where, 0xF));
            pcf.virtual_prog_mode_mask = static_cast<uint32_t>(get_number(entry, "virtual_prog_mode_mask", where, 0x7));
            pcf.zeb_file_mask = static_cast<uint32_t>(get_number(entry, "zeb_file_mask", where, 0x1FFFFFFF));
            check_new_name(table, &PGM_PCF_FILE_INFO::pcf_name, pcf, where);
            table.push_back(pcf);
        });
    return table;
}

// Finds the entry of `list` whose name is the text of field `key`.
template <typename RECORD>
const RECORD& resolve(const std::vector<RECORD>& list, const std::string RECORD::*name, const JSON& object,
                      const char* key, const char* list_name, const WHERE& where)
{
    const std::string wanted = get_name(object, key, where);
    for (const RECORD& record : list)
        if (record.*name == wanted)
            return record;
    WHERE(where, key).fail("'" + wanted + "' is not in the " + list_name + " list");
}

void read_tables(const JSON& root, TABLES& tables)
{
    for_each_entry(root, "families",
                   [&](const JSON& entry, const WHERE& where)
                   {
                       expect_object(entry, where, {"family", "name", "configuration_device", "description"});
                       DEV_FAMILY_RECORD family;
                       family.family = static_cast<DEV_FAMILY_ENUM>(get_number(entry, "family", where, 0xFFFF));
                       if (family.family == DEV_FAMILY_INVALID)
                           WHERE(where, "family").fail("0 is no family");
                       family.name = get_name(entry, "name", where);
                       family.configuration_device = get_bool(entry, "configuration_device", where);
                       family.description = get_text(entry, "description", where);
                       check_new_name(tables.families, &DEV_FAMILY_RECORD::name, family, where);
                       if (tables.family(family.family))
                           where.fail("family " + std::to_string(family.family) + " is declared twice");
                       tables.families.push_back(family);
                   });
    tables.pcf = read_pcf_table(root);
    for_each_entry(root, "helper_images",
                   [&](const JSON& entry, const WHERE& where)
                   {
                       expect_object(entry, where, {"name", "subtype", "size"});
                       DEV_HELPER_IMAGE image;
                       image.name = get_name(entry, "name", where);
                       image.subtype = static_cast<uint32_t>(get_number(entry, "subtype", where, 0xFFFF));
                       if (image.subtype != DEV_HELPER_SUBTYPE_QSPI && image.subtype != DEV_HELPER_SUBTYPE_FUSE &&
                           image.subtype != DEV_HELPER_SUBTYPE_SDMMC)
                           WHERE(where, "subtype")
                               .fail(std::to_string(image.subtype) + " is not 36 (SDMMC), 37 (FUSE) or 293 (QSPI)");
                       image.size = static_cast<uint32_t>(get_number(entry, "size", where, k_max_image_size));
                       if (image.size == 0)
                           WHERE(where, "size").fail("must not be 0");
                       check_new_name(tables.helper_images, &DEV_HELPER_IMAGE::name, image, where);
                       tables.helper_images.push_back(image);
                   });
    for_each_entry(
        root, "flash_loaders",
        [&](const JSON& entry, const WHERE& where)
        {
            expect_object(entry, where, {"name", "flash_families", "max_flash_size", "size"});
            DEV_FLASH_LOADER loader;
            loader.name = get_name(entry, "name", where);
            for_each_entry(entry, "flash_families",
                           [&](const JSON& value, const WHERE& item)
                           {
                               const DEV_FAMILY_RECORD* family =
                                   tables.family(to_number(value, WHERE(where, item.text()), 0xFFFF));
                               if (!family || !family->configuration_device)
                                   WHERE(where, item.text()).fail("not a declared configuration-device family");
                               loader.flash_families.push_back(family->family);
                           });
            if (loader.flash_families.empty())
                WHERE(where, "flash_families").fail("must name at least one family");
            loader.max_flash_size = get_number(entry, "max_flash_size", where, k_max_flash_size);
            if ((loader.max_flash_size & (loader.max_flash_size - 1)) != 0 || loader.max_flash_size == 0)
                WHERE(where, "max_flash_size").fail(dev_hex(loader.max_flash_size) + " is not a power of two");
            loader.size = static_cast<uint32_t>(get_number(entry, "size", where, k_max_image_size));
            if (loader.size == 0)
                WHERE(where, "size").fail("must not be 0");
            check_new_name(tables.flash_loaders, &DEV_FLASH_LOADER::name, loader, where);
            tables.flash_loaders.push_back(loader);
        });
}

// ---- devices.json ------------------------------------------------------------------------------

DEV_JTAG_INFO read_jtag(const JSON& object, const WHERE& where)
{
    expect_object(object, where, {"idcode", "ir_length", "instructions"});
    DEV_JTAG_INFO jtag;
    jtag.idcode = static_cast<uint32_t>(get_number(object, "idcode", where, 0xFFFFFFFF));
    jtag.ir_length = static_cast<uint32_t>(get_number(object, "ir_length", where, 32));
    jtag.instructions = get_commands(object, "instructions", where, 0xFFFFFFFF);
    return jtag;
}

void read_helper_refs(const JSON& object, const WHERE& where, const TABLES& tables, DEV_DEVICE_RECORD& record)
{
    expect_object(object, where, {"QSPI", "FUSE", "SDMMC"});
    for (auto it = object.begin(); it != object.end(); ++it)
    {
        const uint32_t subtype = it.key() == "QSPI"   ? DEV_HELPER_SUBTYPE_QSPI
                                 : it.key() == "FUSE" ? DEV_HELPER_SUBTYPE_FUSE
                                                      : DEV_HELPER_SUBTYPE_SDMMC;
        const DEV_HELPER_IMAGE& image =
            resolve(tables.helper_images, &DEV_HELPER_IMAGE::name, object, it.key().c_str(), "helper_images", where);
        if (image.subtype != subtype)
            WHERE(where, it.key())
                .fail("'" + image.name + "' is a helper image of subtype " + std::to_string(image.subtype) + ", not " +
                      std::to_string(subtype));
        record.helper_images.push_back(image);
    }
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
    // Only the generic device may leave out its JTAG identity.
    if (find(device, "jtag") || record.family != DEV_FAMILY_GENERIC)
        record.jtag = read_jtag(require(device, "jtag", where), WHERE(where, "jtag"));
    record.config_data_size = get_number(device, "config_data_size", where, k_max_image_size);
    for_each_entry(device, "config_schemes",
                   [&](const JSON& value, const WHERE& item)
                   {
                       record.config_schemes.push_back(static_cast<PGMIO_CONFIG_SCHEME>(
                           to_number(value, WHERE(where, item.text()), PGMIO_CONFIG_SCHEME_SDMMC_X8)));
                   });

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

    if (const JSON* helpers = find(device, "helper_images"))
        read_helper_refs(*helpers, WHERE(where, "helper_images"), tables, record);
    if (find(device, "flash_loader"))
    {
        record.has_flash_loader = true;
        record.flash_loader =
            resolve(tables.flash_loaders, &DEV_FLASH_LOADER::name, device, "flash_loader", "flash_loaders", where);
    }
    if (find(device, "internal_flash"))
    {
        for_each_entry(device, "internal_flash",
                       [&](const JSON& entry, const WHERE& item)
                       {
                           const WHERE region_where(where, item.text());
                           expect_object(entry, region_where, {"name", "start", "size"});
                           DEV_FLASH_REGION region;
                           region.name = get_name(entry, "name", region_where);
                           region.start = static_cast<uint32_t>(get_number(entry, "start", region_where, 0xFFFFFFFF));
                           region.size = static_cast<uint32_t>(get_number(entry, "size", region_where, 0xFFFFFFFF));
                           record.internal_flash.push_back(region);
                       });
    }
    if (find(device, "cmf_flash_block_size"))
    {
        record.has_cmf_flash_block_layout = true;
        record.cmf_flash_block_size =
            static_cast<uint32_t>(get_number(device, "cmf_flash_block_size", where, 1u << 24));
    }
    record.pcf = resolve(tables.pcf, &PGM_PCF_FILE_INFO::pcf_name, device, "pcf", "pcf", where);

    std::sort(record.config_schemes.begin(), record.config_schemes.end());
    const std::string problem = dev_check_device_record(record);
    if (!problem.empty())
        where.fail(problem);
    return record;
}

// ---- flash_devices.json and custom files -------------------------------------------------------

// `tables` is null for a custom file, whose devices have no device number and no PCF record.
DEV_FLASH_RECORD read_flash_device(const JSON& device, const WHERE& where_index, const TABLES* tables,
                                   const std::string& source)
{
    const bool custom = tables == nullptr;
    if (custom)
        expect_object(device, where_index,
                      {"name", "family", "size", "sector_size", "page_size", "sector_erase_us", "page_program_us", "legacy",
                       "silicon_id", "address_bytes", "data_widths", "commands"});
    else
        expect_object(device, where_index,
                      {"name", "family", "device", "size", "sector_size", "page_size", "sector_erase_us", "page_program_us",
                       "legacy", "silicon_id", "address_bytes", "data_widths", "commands", "pcf"});
    DEV_FLASH_RECORD record;
    record.source = source;
    record.name = get_name(device, "name", where_index);
    const WHERE where(WHERE(), where_index.text() + " (" + record.name + ")");

    record.family = static_cast<DEV_FAMILY_ENUM>(get_number(device, "family", where, 0xFFFF));
    if (!custom && (!tables->family(record.family) || !tables->family(record.family)->configuration_device))
        WHERE(where, "family").fail(std::to_string(record.family) + " is not a declared configuration-device family");
    if (!custom)
        record.device = static_cast<DEV_DEVICE_ENUM>(get_number(device, "device", where, 0xFFFFFF));
    record.size = get_number(device, "size", where, k_max_flash_size);
    record.sector_size = static_cast<uint32_t>(get_number(device, "sector_size", where, 0xFFFFFFFF));
    record.page_size = static_cast<uint32_t>(get_number(device, "page_size", where, 0xFFFFFFFF));
    auto time_us = [&](const char* key, uint32_t fallback)
    {
        if (!find(device, key))
            return fallback;
        const auto us = static_cast<uint32_t>(get_number(device, key, where, DEV_MAX_FLASH_TIME_US));
        if (us == 0)
            WHERE(where, key).fail("must not be 0");
        return us;
    };
    record.sector_erase_us = time_us("sector_erase_us", DEV_DEFAULT_SECTOR_ERASE_US);
    record.page_program_us = time_us("page_program_us", DEV_DEFAULT_PAGE_PROGRAM_US);
    if (find(device, "legacy"))
        record.legacy = get_bool(device, "legacy", where);
    record.silicon_id = static_cast<uint32_t>(get_number(device, "silicon_id", where, 0xFFFFFFFF));
    record.address_bytes = static_cast<uint32_t>(get_number(device, "address_bytes", where, 8));
    for_each_entry(
        device, "data_widths",
        [&](const JSON& value, const WHERE& item)
        { record.data_widths.push_back(static_cast<uint32_t>(to_number(value, WHERE(where, item.text()), 64))); });
    record.commands = get_commands(device, "commands", where, 0xFF);
    if (!custom)
    {
        record.pcf = resolve(tables->pcf, &PGM_PCF_FILE_INFO::pcf_name, device, "pcf", "pcf", where);
        record.has_pcf = true;
    }
    const std::string problem = dev_check_flash_record(record, custom);
    if (!problem.empty())
        where.fail(problem);
    return record;
}

std::vector<DEV_FLASH_RECORD> read_flash_list(const JSON& root, const TABLES* tables, const std::string& source)
{
    std::vector<DEV_FLASH_RECORD> devices;
    for_each_entry(root, "flash_devices",
                   [&](const JSON& entry, const WHERE& where)
                   {
                       DEV_FLASH_RECORD record = read_flash_device(entry, where, tables, source);
                       check_new_name(devices, &DEV_FLASH_RECORD::name, record, where);
                       devices.push_back(std::move(record));
                   });
    return devices;
}

// Runs `read` and turns a format problem into "<file>: <problem>".
template <typename READ> bool guarded(const std::string& file, std::string& error, READ read)
{
    try
    {
        read();
        return true;
    }
    catch (const FORMAT_ERROR& e)
    {
        error = file + ": " + e.what();
    }
    catch (const JSON::exception& e)
    {
        error = file + ": unexpected content: " + e.what();
    }
    return false;
}

} // namespace

bool dev_read_catalogue(const std::string& data_directory, DEV_CATALOGUE& catalogue, std::string& error)
{
    error.clear();
    const std::string devices_file = data_directory + "/" + DEV_DEVICES_FILE;
    const std::string flash_file = data_directory + "/" + DEV_FLASH_DEVICES_FILE;
    TABLES tables;
    const JSON root = read_json_file(devices_file, error);
    if (!error.empty())
        return false;
    const bool devices_ok = guarded(
        devices_file, error,
        [&]
        {
            check_header(root, "corvane-devices");
            expect_object(root, WHERE(),
                          {"format", "version", "families", "pcf", "helper_images", "flash_loaders", "devices"});
            read_tables(root, tables);
            catalogue.families = tables.families;
            catalogue.devices.clear();
            for_each_entry(root, "devices",
                           [&](const JSON& entry, const WHERE& where)
                           { catalogue.devices.push_back(read_device(entry, where, tables)); });
        });
    if (!devices_ok)
        return false;

    const JSON flash_root = read_json_file(flash_file, error);
    if (!error.empty())
        return false;
    const bool flash_ok = guarded(flash_file, error,
                                  [&]
                                  {
                                      check_header(flash_root, "corvane-flash-devices");
                                      expect_object(flash_root, WHERE(), {"format", "version", "pcf", "flash_devices"});
                                      tables.pcf = read_pcf_table(flash_root);
                                      catalogue.flash_devices = read_flash_list(flash_root, &tables, flash_file);
                                  });
    if (!flash_ok)
        return false;
    error = dev_check_catalogue(catalogue, devices_file, flash_file);
    return error.empty();
}

bool dev_read_custom_flash_file(const std::string& path, std::vector<DEV_FLASH_RECORD>& devices, std::string& error)
{
    error.clear();
    const JSON root = read_json_file(path, error);
    if (!error.empty())
        return false;
    return guarded(path, error,
                   [&]
                   {
                       check_header(root, "corvane-flash-devices");
                       expect_object(root, WHERE(), {"format", "version", "flash_devices"});
                       const std::vector<DEV_FLASH_RECORD> read = read_flash_list(root, nullptr, path);
                       devices.insert(devices.end(), read.begin(), read.end());
                   });
}
