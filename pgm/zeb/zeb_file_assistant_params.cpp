// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT: parameter look-up, the value conversions, the dispatch of set/get/remove to
// the per-kind operations, the document dump, and the frame shared by those operations.
#include "pgm/zeb/zeb_file_assistant_frame.h"

#include <cstdlib>
#include <utility>

namespace
{

// One entry of a dispatch table: the option and the operation that serves it.
template <class OPERATION> struct OPERATION_ROW
{
    PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt;
    OPERATION operation;
};

// The operation of `opt`; raises the internal error `unsupported` when the table has none.
template <class OPERATION, std::size_t N>
OPERATION find_operation(const OPERATION_ROW<OPERATION> (&rows)[N], PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt,
                         const char* unsupported)
{
    for (const OPERATION_ROW<OPERATION>& row : rows)
        if (row.opt == opt)
            return row.operation;
    ZEB_ASSISTANT_INTERNAL_ERROR(unsupported);
}

// Writes one parameter value by its row; false when the attribute refuses the value.
bool write_row(PGM_COMMON_XML_ELEMENT* element, const ZEB_ASSISTANT_ROW& row, const std::string& text)
{
    if (!row.attribute)
        return element->write_string(text);
    switch (row.conversion)
    {
    case ZEB_ASSISTANT_TEXT:
        return element->write_attribute_string(row.attribute, text);
    case ZEB_ASSISTANT_FLAG:
        return element->write_attribute_value(row.attribute, ZEB_FILE_ASSISTANT::convert_string_to_bool(text) ? 1 : 0);
    case ZEB_ASSISTANT_NUMBER:
        return element->write_attribute_value(row.attribute, ZEB_FILE_ASSISTANT::convert_string_to_dword(text));
    case ZEB_ASSISTANT_ENUM:
        return element->write_attribute_enum(
            row.attribute, static_cast<PGM_COMMON_XML_ENUM>(ZEB_FILE_ASSISTANT::convert_string_to_dword(text)));
    }
    return false;
}

// The element's value for a row as the text a setter reads back.
std::string read_row(const PGM_COMMON_XML_ELEMENT* element, const ZEB_ASSISTANT_ROW& row)
{
    if (!row.attribute)
        return element->get_text_value();
    const std::string text = element->get_attribute_text(row.attribute);
    switch (row.conversion)
    {
    case ZEB_ASSISTANT_TEXT:
        return text;
    case ZEB_ASSISTANT_FLAG:
        return ZEB_FILE_ASSISTANT::convert_bool_to_string(text == "true");
    case ZEB_ASSISTANT_NUMBER:
        return ZEB_FILE_ASSISTANT::convert_dword_to_string(
            static_cast<uint32_t>(std::strtoul(text.c_str(), nullptr, 10)));
    case ZEB_ASSISTANT_ENUM:
        return ZEB_FILE_ASSISTANT::convert_dword_to_string(pgm_common_xml_enum_value(text));
    }
    return {};
}

} // namespace

// ---- Dispatch --------------------------------------------------------------------------------------

bool ZEB_FILE_ASSISTANT::set(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, PARAM_LIST params)
{
    ZEB_ASSISTANT_ASSERT(object);
    using SETTER = bool (*)(PGM_COMMON_XML_ZEB_ZEB*, PARAM_LIST);
    // clang-format off
    static constexpr OPERATION_ROW<SETTER> setters[] = {
        {ZEB_CMD_OPT_RAW_FILE, &set_raw_file},
        {ZEB_CMD_OPT_ASSIGNMENT, &set_assignment},
        {ZEB_CMD_OPT_SETTINGS, &set_settings},
        {ZEB_CMD_OPT_OUTPUT_FILE, &set_output_file},
        {ZEB_CMD_OPT_FLASH_LOADER, &set_flash_loader},
        {ZEB_CMD_OPT_FLASH_DEVICE, &set_flash_device},
        {ZEB_CMD_OPT_BITSTREAM, &set_bitstream},
    };
    // clang-format on
    return find_operation(setters, opt, "Unsupported option in psf set function")(object, std::move(params));
}

ZEB_FILE_ASSISTANT::PARAM_LIST ZEB_FILE_ASSISTANT::get(PGM_COMMON_XML_ZEB_ZEB* object,
                                                       PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, PARAM_LIST params)
{
    ZEB_ASSISTANT_ASSERT(object);
    using GETTER = PARAM_LIST (*)(PGM_COMMON_XML_ZEB_ZEB*, PARAM_LIST);
    static constexpr OPERATION_ROW<GETTER> getters[] = {
        {ZEB_CMD_OPT_RAW_FILE, &get_raw_file},
        {ZEB_CMD_OPT_BITSTREAM, &get_bitstream},
    };
    return find_operation(getters, opt, "Unsupported option in psf get function")(object, std::move(params));
}

bool ZEB_FILE_ASSISTANT::remove(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, PARAM_LIST params)
{
    ZEB_ASSISTANT_ASSERT(object);
    using REMOVER = bool (*)(PGM_COMMON_XML_ZEB_ZEB*, PARAM_LIST);
    // Settings are never removed.
    // clang-format off
    static constexpr OPERATION_ROW<REMOVER> removers[] = {
        {ZEB_CMD_OPT_RAW_FILE, &remove_raw_file},
        {ZEB_CMD_OPT_ASSIGNMENT, &remove_assignment},
        {ZEB_CMD_OPT_OUTPUT_FILE, &remove_output_file},
        {ZEB_CMD_OPT_FLASH_LOADER, &remove_flash_loader},
        {ZEB_CMD_OPT_FLASH_DEVICE, &remove_flash_device},
        {ZEB_CMD_OPT_BITSTREAM, &remove_bitstream},
    };
    // clang-format on
    return find_operation(removers, opt, "Unsupported option in psf remove function")(object, std::move(params));
}

// ---- Parameter look-up and conversions ---------------------------------------------------------------

bool ZEB_FILE_ASSISTANT::find_param_pair(const PARAM_LIST& params, PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param,
                                         PARAM_PAIR& out)
{
    // Of a parameter given several times, the last value wins.
    PARAM_LIST found;
    find_param_pair_list(params, param, found);
    if (found.empty())
        return false;
    out = found.back();
    return true;
}

void ZEB_FILE_ASSISTANT::find_param_pair_list(const PARAM_LIST& params, PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param,
                                              PARAM_LIST& out)
{
    out.clear();
    for (const PARAM_PAIR& pair : params)
        if (pair.first == param)
            out.push_back(pair);
}

std::string ZEB_FILE_ASSISTANT::convert_bool_to_string(bool value)
{
    return value ? "1" : "0";
}

std::string ZEB_FILE_ASSISTANT::convert_dword_to_string(uint32_t value)
{
    // Getters write numbers signed and setters read them back with convert_string_to_dword, so
    // values from 0x80000000 up travel as negative texts.
    return std::to_string(static_cast<int32_t>(value));
}

bool ZEB_FILE_ASSISTANT::convert_string_to_bool(const std::string& text)
{
    return text == "ON" || text == "on" || text == "1";
}

uint32_t ZEB_FILE_ASSISTANT::convert_string_to_dword(const std::string& text)
{
    // atoi's reading (blanks, sign, decimal digits up to the first other character) without its
    // undefined overflow: the 64-bit value is cut to its low 32 bits.
    return static_cast<uint32_t>(std::strtoll(text.c_str(), nullptr, 10));
}

void ZEB_FILE_ASSISTANT::dump(PGM_COMMON_XML_ZEB_ZEB* object)
{
    ZEB_ASSISTANT_ASSERT(object);
    const auto count = [object](PGM_COMMON_XML_ENUM kind)
    { return static_cast<int>(object->get_child_count(kind, false)); };
    ZEB_ASSISTANT_DEBUG("ZEB element count");
    ZEB_ASSISTANT_DEBUG("\tsettings        = %d", count(PGM_COMMON_XML_ENUM_ZEB_SETTINGS));
    ZEB_ASSISTANT_DEBUG("\traw_files       = %d", count(PGM_COMMON_XML_ENUM_ZEB_RAW_FILES));
    ZEB_ASSISTANT_DEBUG("\tassignments     = %d", count(PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENTS));
    ZEB_ASSISTANT_DEBUG("\tbitstreams      = %d", count(PGM_COMMON_XML_ENUM_ZEB_BITSTREAMS));
    ZEB_ASSISTANT_DEBUG("\tflash_devices   = %d", count(PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICES));
    if (const auto* flash_devices = FRAME::first<PGM_COMMON_XML_ZEB_FLASH_DEVICES>(object))
    {
        ZEB_ASSISTANT_DEBUG("\t\tflash_loader    = %d",
                            static_cast<int>(flash_devices->get_flash_loader_list().size()));
        ZEB_ASSISTANT_DEBUG("\t\tflash_device    = %d",
                            static_cast<int>(flash_devices->get_flash_device_list().size()));
    }
    ZEB_ASSISTANT_DEBUG("\toutput_files    = %d", count(PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILES));
}

// ---- The shared frame ----------------------------------------------------------------------------------

bool ZEB_FILE_ASSISTANT::FRAME::open(PGM_COMMON_XML_ZEB_ZEB* object, const PARAM_LIST& params,
                                     const ZEB_ASSISTANT_FRAME_TEXT& text, PARAM_PAIR& key)
{
    ZEB_ASSISTANT_ASSERT(object);
    if (params.empty())
    {
        ZEB_ASSISTANT_DEBUG("%s", text.empty_line);
        return false;
    }
    if (text.keys[0] == ZEB_CMD_PARAM_INVALID)
        return true;
    for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : text.keys)
        if (param != ZEB_CMD_PARAM_INVALID && find_param_pair(params, param, key))
            return true;
    ZEB_ASSISTANT_DEBUG("%s", text.missing_line);
    return false;
}

bool ZEB_FILE_ASSISTANT::FRAME::has(const PARAM_LIST& params, PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param,
                                    std::string& value)
{
    PARAM_PAIR pair;
    if (!find_param_pair(params, param, pair))
        return false;
    value = pair.second;
    return true;
}

bool ZEB_FILE_ASSISTANT::FRAME::apply(PGM_COMMON_XML_ELEMENT* element, const PARAM_LIST& params,
                                      ZEB_ASSISTANT_TABLE table, const char* unknown_line)
{
    bool all_known = true;
    for (const PARAM_PAIR& pair : params)
    {
        const ZEB_ASSISTANT_ROW* row = nullptr;
        for (const ZEB_ASSISTANT_ROW& candidate : table)
        {
            if (candidate.param == pair.first)
            {
                row = &candidate;
                break;
            }
        }
        if (!row)
        {
            if (unknown_line)
            {
                ZEB_ASSISTANT_DEBUG(unknown_line, static_cast<int>(pair.first));
                all_known = false;
            }
            continue;
        }
        if (!write_row(element, *row, pair.second))
            ZEB_ASSISTANT_DEBUG("Value \"%s\" does not fit attribute \"%s\" of %s", pair.second.c_str(),
                                row->attribute ? row->attribute : "(text)",
                                std::string(element->get_element_name()).c_str());
    }
    return all_known;
}

void ZEB_FILE_ASSISTANT::FRAME::describe(const PGM_COMMON_XML_ELEMENT* element, ZEB_ASSISTANT_TABLE table,
                                         PARAM_LIST& out)
{
    for (const ZEB_ASSISTANT_ROW& row : table)
        out.emplace_back(row.param, read_row(element, row));
}

void ZEB_FILE_ASSISTANT::FRAME::destroy(PGM_COMMON_XML_ELEMENT* element)
{
    if (!element)
        return;
    PGM_COMMON_XML_ELEMENT* parent = element->get_parent();
    ZEB_ASSISTANT_ASSERT(parent && parent->remove_child(element, true));
}

bool ZEB_FILE_ASSISTANT::FRAME::tidy(PGM_COMMON_XML_ELEMENT* container,
                                     std::initializer_list<PGM_COMMON_XML_ENUM> kinds)
{
    for (PGM_COMMON_XML_ENUM kind : kinds)
        if (container->get_child_count(kind, false) > 0)
            return false;
    destroy(container);
    return true;
}

bool ZEB_FILE_ASSISTANT::FRAME::destroy_and_tidy(PGM_COMMON_XML_ELEMENT* element,
                                                 std::initializer_list<PGM_COMMON_XML_ENUM> kinds)
{
    if (!element)
        return false;
    PGM_COMMON_XML_ELEMENT* parent = element->get_parent();
    destroy(element);
    return tidy(parent, kinds);
}

PGM_COMMON_XML_ELEMENT* ZEB_FILE_ASSISTANT::FRAME::add_new(PGM_COMMON_XML_ELEMENT* parent, PGM_COMMON_XML_ENUM kind,
                                                           const char* name)
{
    PGM_COMMON_XML_ELEMENT* child = pgm_common_xml_zeb_create_element(kind);
    if (!child)
        ZEB_ASSISTANT_INTERNAL_ERROR(name);
    if (!PGM_COMMON_XML_ELEMENT::add_child(parent, child))
    {
        delete child;
        ZEB_ASSISTANT_INTERNAL_ERROR(name);
    }
    return child;
}
