// SPDX-License-Identifier: Apache-2.0
// Private to the assistant's sources: the internal-error and debug-log macros, the element kind of
// each element class, the attribute tables of the setters, and the frame that the setters, getters
// and removers share (list checks, first-or-new children, table application, removal with tidy-up).
#pragma once

#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/zeb_file_assistant.h"

#include <initializer_list>
#include <span>
#include <string>

// Module tag and source of the assistant's internal errors.
#define ZEB_ASSISTANT_ASSERT(condition) MSG_ASSERT_AT(condition, "ZEB_COMMON", "zeb_file_assistant")
#define ZEB_ASSISTANT_INTERNAL_ERROR(text) MSG_INTERNAL_ERROR_AT(text, "ZEB_COMMON", "zeb_file_assistant")
// The assistant's debug log, printf-style, at level 2.
#define ZEB_ASSISTANT_DEBUG(...) msg_local_vdebug("ZEB_COMMON", 2, __VA_ARGS__)

// The element kind of an element class, and the name that an internal error about it carries.
template <class T> struct ZEB_ASSISTANT_KIND;

#define ZEB_ASSISTANT_KIND_ROW(CLASS, KIND, NAME)                                                                      \
    template <> struct ZEB_ASSISTANT_KIND<CLASS>                                                                       \
    {                                                                                                                  \
        static constexpr PGM_COMMON_XML_ENUM kind = KIND;                                                              \
        static constexpr const char* name = NAME;                                                                      \
    }

// clang-format off
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_SETTINGS, PGM_COMMON_XML_ENUM_ZEB_SETTINGS, "settings");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_RAW_FILES, PGM_COMMON_XML_ENUM_ZEB_RAW_FILES, "raw_files");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_RAW_FILE, PGM_COMMON_XML_ENUM_ZEB_RAW_FILE, "raw_file");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_ASSIGNMENTS, PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENTS, "assignments");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_ASSIGNMENT, PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENT, "assignment");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_RAW_FILE_ID, PGM_COMMON_XML_ENUM_ZEB_RAW_FILE_ID, "raw_file_id");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_BITSTREAM_ID, PGM_COMMON_XML_ENUM_ZEB_BITSTREAM_ID, "bitstream_id");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_BITSTREAMS, PGM_COMMON_XML_ENUM_ZEB_BITSTREAMS, "bitstreams");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_BITSTREAM, PGM_COMMON_XML_ENUM_ZEB_BITSTREAM, "bitstream");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_PATH, PGM_COMMON_XML_ENUM_ZEB_PATH, "filepath");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_FLASH_DEVICES, PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICES, "flash_devices");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_FLASH_LOADER, PGM_COMMON_XML_ENUM_ZEB_FLASH_LOADER, "flash_loader");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_FLASH_DEVICE, PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE, "flash_device");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_PARTITION, PGM_COMMON_XML_ENUM_ZEB_PARTITION, "partition");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_MBR, PGM_COMMON_XML_ENUM_ZEB_MBR, "mbr");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_OUTPUT_FILES, PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILES, "output_files");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_OUTPUT_FILE, PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILE, "output_file");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_FILE_OPTIONS, PGM_COMMON_XML_ENUM_ZEB_FILE_OPTIONS, "file_options");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_SECONDARY_FILE, PGM_COMMON_XML_ENUM_ZEB_SECONDARY_FILE, "secondary_file");
ZEB_ASSISTANT_KIND_ROW(PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID, PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE_ID, "flash_device_id");
// clang-format on

#undef ZEB_ASSISTANT_KIND_ROW

// How a parameter's text becomes an attribute value, and how a getter turns it back into text.
enum ZEB_ASSISTANT_CONVERSION
{
    ZEB_ASSISTANT_TEXT,   // unchanged
    ZEB_ASSISTANT_FLAG,   // convert_string_to_bool, written as a value; read back "1"/"0"
    ZEB_ASSISTANT_NUMBER, // convert_string_to_dword, written as a value; read back in decimal
    ZEB_ASSISTANT_ENUM,   // convert_string_to_dword, written as a PGM_COMMON_XML_ENUM; read back in decimal
};

// One row of a setter table: the parameter, the attribute it lands in (nullptr: the element's
// text) and its conversion.
struct ZEB_ASSISTANT_ROW
{
    PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param;
    const char* attribute;
    ZEB_ASSISTANT_CONVERSION conversion;
};

using ZEB_ASSISTANT_TABLE = std::span<const ZEB_ASSISTANT_ROW>;

// The debug lines of a setter's or remover's list checks, and its key parameters in the order in
// which they are looked for (unused entries ZEB_CMD_PARAM_INVALID; none at all: no key to check).
struct ZEB_ASSISTANT_FRAME_TEXT
{
    const char* empty_line;
    const char* missing_line;
    PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM keys[3];
};

struct ZEB_FILE_ASSISTANT::FRAME
{
    // ---- List checks -------------------------------------------------------------------------------

    // Null document: internal error "object". False with the frame's debug line for an empty list
    // or when none of its keys is in the list; otherwise true and `key` is the last pair of the first
    // key found (left untouched for a frame without keys).
    static bool open(PGM_COMMON_XML_ZEB_ZEB* object, const PARAM_LIST& params, const ZEB_ASSISTANT_FRAME_TEXT& text,
                     PARAM_PAIR& key);
    // True when the list holds `param`; `value` is then the last value given for it.
    static bool has(const PARAM_LIST& params, PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, std::string& value);

    // ---- Children ----------------------------------------------------------------------------------

    // The first child of T's kind; nullptr when there is none. A counted child that cannot be
    // fetched is an internal error naming the kind.
    template <class T> static T* first(const PGM_COMMON_XML_ELEMENT* parent)
    {
        if (parent->get_child_count(ZEB_ASSISTANT_KIND<T>::kind, false) == 0)
            return nullptr;
        PGM_COMMON_XML_ELEMENT* child = parent->get_element(ZEB_ASSISTANT_KIND<T>::kind, 0, false);
        if (!child)
            ZEB_ASSISTANT_INTERNAL_ERROR(ZEB_ASSISTANT_KIND<T>::name);
        return static_cast<T*>(child);
    }

    // A new empty T added as the last child of its kind; one that cannot be made or added is an
    // internal error naming the kind.
    template <class T> static T* add(PGM_COMMON_XML_ELEMENT* parent)
    {
        return static_cast<T*>(add_new(parent, ZEB_ASSISTANT_KIND<T>::kind, ZEB_ASSISTANT_KIND<T>::name));
    }

    // `found`, or else a new T added to `parent`.
    template <class T> static T* found_or_add(PGM_COMMON_XML_ELEMENT* parent, T* found)
    {
        return found ? found : add<T>(parent);
    }

    // The first child of T's kind, or else a new one.
    template <class T> static T* first_or_add(PGM_COMMON_XML_ELEMENT* parent)
    {
        return found_or_add(parent, first<T>(parent));
    }

    // The typed children of the document's first CONTAINER; empty without it. Null document:
    // internal error "object".
    template <class CONTAINER, class T>
    static std::vector<T*> list(PGM_COMMON_XML_ZEB_ZEB* object, const std::vector<T*>& (CONTAINER::*children)() const)
    {
        ZEB_ASSISTANT_ASSERT(object);
        const CONTAINER* container = first<CONTAINER>(object);
        return container ? (container->*children)() : std::vector<T*>();
    }

    // The first element of `list` that `match` accepts; nullptr when none does.
    template <class T, class MATCH> static T* find(const std::vector<T*>& list, MATCH match)
    {
        for (T* element : list)
            if (match(element))
                return element;
        return nullptr;
    }

    // The first element of `list` whose `key()` equals `id` exactly; nullptr when none does.
    template <class T>
    static T* find_id(const std::vector<T*>& list, const std::string& (T::*key)() const, const std::string& id)
    {
        return find(list, [&](const T* element) { return (element->*key)() == id; });
    }

    // ---- Tables ------------------------------------------------------------------------------------

    // Writes every pair that the table knows, in list order. A pair the table does not know is
    // ignored, or, with `unknown_line` (a format taking the parameter's number), logged and makes
    // the result false. A value its attribute refuses is logged and left out.
    static bool apply(PGM_COMMON_XML_ELEMENT* element, const PARAM_LIST& params, ZEB_ASSISTANT_TABLE table,
                      const char* unknown_line = nullptr);
    // Appends one pair per row with the element's current value as text.
    static void describe(const PGM_COMMON_XML_ELEMENT* element, ZEB_ASSISTANT_TABLE table, PARAM_LIST& out);

    // The output file whose type is `type_text` read as an XML value; nullptr when there is none.
    static PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file_of_type(PGM_COMMON_XML_ZEB_ZEB* object,
                                                               const std::string& type_text);
    // The secondary file whose type is `type_text` read as an XML value; nullptr when there is none.
    static PGM_COMMON_XML_ZEB_SECONDARY_FILE* secondary_file_of_type(const PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file,
                                                                     const std::string& type_text);

    // ---- Removal -----------------------------------------------------------------------------------

    // Detaches the element from its parent and deletes it with everything below it; nothing for nullptr.
    static void destroy(PGM_COMMON_XML_ELEMENT* element);
    // Destroys `container` when it holds no child of any of `kinds`; true when it did.
    static bool tidy(PGM_COMMON_XML_ELEMENT* container, std::initializer_list<PGM_COMMON_XML_ENUM> kinds);
    // Destroys `element` (nothing for nullptr), then tidies its former parent by `kinds`; true when
    // the parent went too.
    static bool destroy_and_tidy(PGM_COMMON_XML_ELEMENT* element, std::initializer_list<PGM_COMMON_XML_ENUM> kinds);

private:
    static PGM_COMMON_XML_ELEMENT* add_new(PGM_COMMON_XML_ELEMENT* parent, PGM_COMMON_XML_ENUM kind, const char* name);
};
