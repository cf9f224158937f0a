// SPDX-License-Identifier: Apache-2.0
// The generic XML element of the element library.
//
// A concrete element class declares its attributes (name, value type, required flag, default,
// allowed values, the member that stores the parsed value) and its child rules (child kind and
// allowed counts). The base owns the children in document order; each class also keeps typed
// per-kind views of them, maintained through group_child(). Children are always kept in the
// canonical order of the class's child rules, which is also the order in which they are written.
#pragma once

#include "pgm/zeb/platform/xml/pgm_common_xml_enum.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

enum PGM_COMMON_XML_VALUE_TYPE : uint32_t
{
    PGM_COMMON_XML_VALUE_TYPE_NONE = 0,        // no value (elements without text)
    PGM_COMMON_XML_VALUE_TYPE_BOOLEAN = 1,     // "true"/"false" ("1"/"0" are read too)
    PGM_COMMON_XML_VALUE_TYPE_INTEGER = 2,     // unsigned 32-bit, decimal
    PGM_COMMON_XML_VALUE_TYPE_STRING = 3,      // any text
    PGM_COMMON_XML_VALUE_TYPE_ENUMERATION = 4, // one name of a "|"-separated list
};

// One declared attribute of an element, bound to the member that holds its value.
class PGM_COMMON_XML_ATTRIBUTE
{
public:
    using MEMBER = std::variant<bool*, uint32_t*, std::string*, PGM_COMMON_XML_ENUM*>;

    PGM_COMMON_XML_ATTRIBUTE(const char* name, PGM_COMMON_XML_VALUE_TYPE type, bool required, const char* default_text,
                             const char* values, MEMBER member);

    std::string_view name() const { return m_name; }
    PGM_COMMON_XML_VALUE_TYPE type() const { return m_type; }
    bool required() const { return m_required; }
    std::string_view default_text() const { return m_default_text; }
    // The allowed names of an enumeration, "|"-separated; empty for other types.
    std::string_view values() const { return m_values; }
    // True once the attribute was read from a file or written; only such attributes (and the
    // required ones) are written back.
    bool present() const { return m_present; }

    // The current value as the text that is written to a file.
    std::string text() const;
    // Parses `text` by the attribute's type and stores it. False (value unchanged) with `error`
    // set when the text is not a valid value.
    bool set_text(std::string_view text, std::string& error);
    bool set_enum(PGM_COMMON_XML_ENUM value, std::string& error);
    bool set_number(uint32_t value, std::string& error);
    // Stores the default value and clears the presence flag.
    void reset();
    // True when `name` is one of the enumeration's allowed names.
    bool allows(std::string_view name) const;

private:
    // Declarations name string literals: views keep building an element free of allocations.
    // Every element holds one of these per attribute of its class, so they are kept small: the
    // texts are the class's literals, held by pointer.
    MEMBER m_member;
    const char* m_name;
    const char* m_default_text;
    const char* m_values;
    PGM_COMMON_XML_VALUE_TYPE m_type;
    bool m_required;
    bool m_present = false;
};

// Allowed counts of one child kind: a list of lists of counts. A count list admits any of its
// counts; PGM_COMMON_XML_ANY_COUNT admits any number. "0 or 1" is {{0}, {1}}; "0 or more" is
// {{0}, {PGM_COMMON_XML_ANY_COUNT}}.
constexpr uint32_t PGM_COMMON_XML_ANY_COUNT = 0xFFFFFFFF;
using PGM_COMMON_XML_ALLOWED_COUNTS = std::vector<std::vector<uint32_t>>;

struct PGM_COMMON_XML_CHILD_RULE
{
    PGM_COMMON_XML_ENUM kind;
    PGM_COMMON_XML_ALLOWED_COUNTS counts;
};

class PGM_COMMON_XML_ELEMENT
{
public:
    PGM_COMMON_XML_ELEMENT(const PGM_COMMON_XML_ELEMENT&) = delete;
    PGM_COMMON_XML_ELEMENT& operator=(const PGM_COMMON_XML_ELEMENT&) = delete;
    // Deletes every child (and so the whole subtree).
    virtual ~PGM_COMMON_XML_ELEMENT();

    // ---- Class-specific operations ----
    // Checks the number of children of each kind against the class's rules and rejects kinds the
    // class does not hold. False with `error` naming the element, the child kind and the counts.
    virtual bool check_child_counts(std::string& error) const;
    // Empties the typed per-kind views (the children themselves stay owned by the base).
    virtual void clear_children() = 0;
    // Attaches `child` to (or, with `remove`, detaches one entry from) the typed view of its kind:
    // at the front and the first entry without `at_end`, at the back and the last entry with it.
    // Removing from an empty view is an internal error. A kind the class does not hold is
    // rejected: false, and `error` (when given) says "Element "x" does not support child element "y"".
    virtual bool group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end, std::string* error = nullptr) = 0;
    // The class's child kinds in canonical order with their allowed counts.
    virtual const std::vector<PGM_COMMON_XML_CHILD_RULE>& child_rules() const = 0;

    // ---- Identity ----
    PGM_COMMON_XML_ENUM get_element_type() const { return m_kind; }
    // The enumerator handed in by whoever created the element; only recorded.
    PGM_COMMON_XML_ENUM get_creator() const { return m_creator; }
    std::string_view get_element_name() const { return pgm_common_xml_enum_name(m_kind); }
    PGM_COMMON_XML_ELEMENT* get_parent() const { return m_parent; }

    // ---- Children ----
    // Children of `kind` (every kind for PGM_COMMON_XML_ENUM__INVALID__) in document order; with
    // `recursive` the whole subtree is searched, depth first.
    std::vector<PGM_COMMON_XML_ELEMENT*> get_childs(PGM_COMMON_XML_ENUM kind, bool recursive) const;
    uint32_t get_child_count(PGM_COMMON_XML_ENUM kind, bool recursive) const;
    // The index-th child of `kind` as get_childs orders them; nullptr when there is none.
    PGM_COMMON_XML_ELEMENT* get_element(PGM_COMMON_XML_ENUM kind, uint32_t index, bool recursive) const;
    // All children in document order.
    const std::vector<PGM_COMMON_XML_ELEMENT*>& children() const { return m_children; }

    // Makes `parent` own `child`, placed after the last child of the same or an earlier kind.
    // False (ownership stays with the caller) when the parent does not hold that kind or the child
    // already has a parent; `error` (when given) says why.
    static bool add_child(PGM_COMMON_XML_ELEMENT* parent, PGM_COMMON_XML_ELEMENT* child, std::string* error = nullptr);
    // Detaches `child` from this element and, with `del`, deletes it with its subtree.
    // False when `child` is not a child of this element.
    bool remove_child(PGM_COMMON_XML_ELEMENT* child, bool del);

    // ---- Attributes and text ----
    const std::vector<PGM_COMMON_XML_ATTRIBUTE>& attributes() const { return m_attributes; }
    // The attribute called `name`, or nullptr.
    const PGM_COMMON_XML_ATTRIBUTE* find_attribute(std::string_view name) const;
    // Writes an attribute from its text form, an enumerator or a number (integer or boolean).
    // False when there is no such attribute or the value does not fit its type or list.
    bool write_attribute_string(std::string_view name, std::string_view text);
    bool write_attribute_enum(std::string_view name, PGM_COMMON_XML_ENUM value);
    bool write_attribute_value(std::string_view name, uint32_t value);
    // The attribute's current value as text; "" for an unknown name.
    std::string get_attribute_text(std::string_view name) const;
    // True when the attribute's current text is empty (or there is no such attribute).
    bool is_attribute_empty(std::string_view name) const;

    // Whether the element carries a text (a path or an identifier).
    bool has_text() const { return m_text_type != PGM_COMMON_XML_VALUE_TYPE_NONE; }
    bool text_required() const { return m_text_required; }
    // The element's text; "" for elements without one.
    std::string get_text_value() const { return m_text ? *m_text : std::string(); }
    // Sets the element's text; false for an element that carries none.
    bool write_string(std::string_view text);

    // Mutable access for the parser.
    PGM_COMMON_XML_ATTRIBUTE* find_attribute(std::string_view name);

protected:
    PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM kind, PGM_COMMON_XML_ENUM creator,
                           PGM_COMMON_XML_VALUE_TYPE text_type = PGM_COMMON_XML_VALUE_TYPE_NONE,
                           bool text_required = false, const char* default_text = "", const char* enum_text = "",
                           std::string* text_member = nullptr);

    // Attribute declarations, in the order in which they are written back. The value type
    // follows from the member: bool, uint32_t, std::string, or an enumeration with its list.
    void add_attribute(const char* name, bool required, const char* default_text, bool* member);
    void add_attribute(const char* name, bool required, const char* default_text, uint32_t* member);
    void add_attribute(const char* name, bool required, const char* default_text, std::string* member);
    void add_attribute(const char* name, bool required, const char* default_text, const char* values,
                       PGM_COMMON_XML_ENUM* member);

    // Ends construction: stores every attribute's default and the default text, and verifies that
    // the declarations are consistent (an internal error otherwise).
    void init_check();

    // Counts the direct children of `kind` against `allowed`; false with `error` when outside.
    bool check_count(PGM_COMMON_XML_ENUM kind, const PGM_COMMON_XML_ALLOWED_COUNTS& allowed, std::string& error) const;
    // False with `error` when a child's kind has no rule in child_rules().
    bool check_child_count(std::string& error) const;

    // Shared body of group_child for one typed view; `size_text` names the view for the internal
    // error of a remove on an empty view ("output_file.size()").
    template <class T>
    static bool group_into(std::vector<T*>& view, PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end,
                           const char* size_text)
    {
        if (remove)
        {
            if (view.empty())
                report_empty_view(size_text);
            if (at_end)
                view.pop_back();
            else
                view.erase(view.begin());
            return true;
        }
        T* typed = static_cast<T*>(child);
        if (at_end)
            view.push_back(typed);
        else
            view.insert(view.begin(), typed);
        return true;
    }
    // The rejection of a kind the class does not hold.
    bool reject_child(const PGM_COMMON_XML_ELEMENT* child, std::string* error) const;

private:
    [[noreturn]] static void report_empty_view(const char* size_text);
    size_t rank_of(PGM_COMMON_XML_ENUM kind) const;
    void regroup_children();

    PGM_COMMON_XML_ENUM m_kind;
    PGM_COMMON_XML_ENUM m_creator;
    PGM_COMMON_XML_VALUE_TYPE m_text_type;
    bool m_text_required;
    std::string m_default_text;
    std::string* m_text;
    PGM_COMMON_XML_ELEMENT* m_parent = nullptr;
    std::vector<PGM_COMMON_XML_ELEMENT*> m_children;
    std::vector<PGM_COMMON_XML_ATTRIBUTE> m_attributes;
};
