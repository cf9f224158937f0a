// SPDX-License-Identifier: Apache-2.0
#include "pgm/zeb/platform/xml/pgm_common_xml_element.h"

#include "pgm/zeb/platform/msg/msg.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <iterator>
#include <utility>

namespace
{

constexpr const char* k_module = "ZEB_COMMON";
constexpr const char* k_source = "pgm_common_xml_element";

bool list_contains(std::string_view list, std::string_view name)
{
    size_t start = 0;
    while (start <= list.size())
    {
        size_t end = list.find('|', start);
        if (end == std::string_view::npos)
            end = list.size();
        if (list.substr(start, end - start) == name)
            return true;
        start = end + 1;
    }
    return false;
}

bool parse_boolean(std::string_view text, bool& value)
{
    if (text == "true" || text == "1")
        value = true;
    else if (text == "false" || text == "0")
        value = false;
    else
        return false;
    return true;
}

bool parse_unsigned(std::string_view text, uint32_t& value)
{
    if (text.empty())
        return false;
    const char* end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, value, 10);
    return ec == std::errc() && ptr == end;
}

std::string describe_counts(const PGM_COMMON_XML_ALLOWED_COUNTS& allowed)
{
    std::vector<uint32_t> counts;
    for (const auto& list : allowed)
    {
        for (uint32_t count : list)
        {
            if (count == PGM_COMMON_XML_ANY_COUNT)
                return "any number";
            counts.push_back(count);
        }
    }
    std::sort(counts.begin(), counts.end());
    std::string text;
    for (size_t i = 0; i < counts.size(); ++i)
    {
        if (i > 0)
            text += (i + 1 == counts.size()) ? " or " : ", ";
        text += std::to_string(counts[i]);
    }
    return text;
}

} // namespace

// ---- PGM_COMMON_XML_ATTRIBUTE ------------------------------------------------------------------

PGM_COMMON_XML_ATTRIBUTE::PGM_COMMON_XML_ATTRIBUTE(const char* name, PGM_COMMON_XML_VALUE_TYPE type, bool required,
                                                   const char* default_text, const char* values, MEMBER member)
    : m_member(member), m_name(name), m_default_text(default_text), m_values(values), m_type(type), m_required(required)
{
}

std::string PGM_COMMON_XML_ATTRIBUTE::text() const
{
    switch (m_type)
    {
    case PGM_COMMON_XML_VALUE_TYPE_BOOLEAN:
        return *std::get<bool*>(m_member) ? "true" : "false";
    case PGM_COMMON_XML_VALUE_TYPE_INTEGER:
        return std::to_string(*std::get<uint32_t*>(m_member));
    case PGM_COMMON_XML_VALUE_TYPE_STRING:
        return *std::get<std::string*>(m_member);
    case PGM_COMMON_XML_VALUE_TYPE_ENUMERATION:
        return std::string(pgm_common_xml_enum_name(*std::get<PGM_COMMON_XML_ENUM*>(m_member)));
    case PGM_COMMON_XML_VALUE_TYPE_NONE:
        break;
    }
    return {};
}

bool PGM_COMMON_XML_ATTRIBUTE::allows(std::string_view name) const
{
    return list_contains(m_values, name);
}

bool PGM_COMMON_XML_ATTRIBUTE::set_text(std::string_view text, std::string& error)
{
    switch (m_type)
    {
    case PGM_COMMON_XML_VALUE_TYPE_BOOLEAN:
        if (!parse_boolean(text, *std::get<bool*>(m_member)))
        {
            error = "attribute \"" + std::string(m_name) + "\" must be \"true\" or \"false\", not \"" +
                    std::string(text) + "\"";
            return false;
        }
        break;
    case PGM_COMMON_XML_VALUE_TYPE_INTEGER:
        if (!parse_unsigned(text, *std::get<uint32_t*>(m_member)))
        {
            error = "attribute \"" + std::string(m_name) + "\" must be a decimal number from 0 to 4294967295, not \"" +
                    std::string(text) + "\"";
            return false;
        }
        break;
    case PGM_COMMON_XML_VALUE_TYPE_STRING:
        *std::get<std::string*>(m_member) = std::string(text);
        break;
    case PGM_COMMON_XML_VALUE_TYPE_ENUMERATION:
        if (!allows(text))
        {
            error = "attribute \"" + std::string(m_name) + "\" must be one of " + std::string(m_values) + ", not \"" +
                    std::string(text) + "\"";
            return false;
        }
        *std::get<PGM_COMMON_XML_ENUM*>(m_member) = pgm_common_xml_enum_value(text);
        break;
    case PGM_COMMON_XML_VALUE_TYPE_NONE:
        return false;
    }
    m_present = true;
    return true;
}

bool PGM_COMMON_XML_ATTRIBUTE::set_enum(PGM_COMMON_XML_ENUM value, std::string& error)
{
    if (m_type != PGM_COMMON_XML_VALUE_TYPE_ENUMERATION)
    {
        error = "attribute \"" + std::string(m_name) + "\" is not an enumeration";
        return false;
    }
    return set_text(pgm_common_xml_enum_name(value), error);
}

bool PGM_COMMON_XML_ATTRIBUTE::set_number(uint32_t value, std::string& error)
{
    if (m_type == PGM_COMMON_XML_VALUE_TYPE_INTEGER)
        *std::get<uint32_t*>(m_member) = value;
    else if (m_type == PGM_COMMON_XML_VALUE_TYPE_BOOLEAN)
        *std::get<bool*>(m_member) = value != 0;
    else
    {
        error = "attribute \"" + std::string(m_name) + "\" does not hold a number";
        return false;
    }
    m_present = true;
    return true;
}

void PGM_COMMON_XML_ATTRIBUTE::reset()
{
    std::string error;
    // Defaults are verified by init_check: an enumeration's default may be any known name (a
    // required "mode" starts as "_INVALID__"), the other types must parse.
    if (m_type == PGM_COMMON_XML_VALUE_TYPE_ENUMERATION)
        *std::get<PGM_COMMON_XML_ENUM*>(m_member) = pgm_common_xml_enum_value(m_default_text);
    else if (m_type == PGM_COMMON_XML_VALUE_TYPE_STRING)
        *std::get<std::string*>(m_member) = std::string(m_default_text);
    else if (!set_text(m_default_text, error))
        MSG_INTERNAL_ERROR_AT("default value of attribute does not fit its type", k_module, k_source);
    m_present = false;
}

// ---- PGM_COMMON_XML_ELEMENT --------------------------------------------------------------------

PGM_COMMON_XML_ELEMENT::PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM kind, PGM_COMMON_XML_ENUM creator,
                                               PGM_COMMON_XML_VALUE_TYPE text_type, bool text_required,
                                               const char* default_text, const char* enum_text,
                                               std::string* text_member)
    : m_kind(kind), m_creator(creator), m_text_type(text_type), m_text_required(text_required),
      m_default_text(default_text), m_text(text_member)
{
    (void)enum_text; // element texts are plain strings: no element of the setup document lists values
}

PGM_COMMON_XML_ELEMENT::~PGM_COMMON_XML_ELEMENT()
{
    for (PGM_COMMON_XML_ELEMENT* child : m_children)
        delete child;
}

void PGM_COMMON_XML_ELEMENT::add_attribute(const char* name, bool required, const char* default_text, bool* member)
{
    m_attributes.emplace_back(name, PGM_COMMON_XML_VALUE_TYPE_BOOLEAN, required, default_text, "", member);
}

void PGM_COMMON_XML_ELEMENT::add_attribute(const char* name, bool required, const char* default_text, uint32_t* member)
{
    m_attributes.emplace_back(name, PGM_COMMON_XML_VALUE_TYPE_INTEGER, required, default_text, "", member);
}

void PGM_COMMON_XML_ELEMENT::add_attribute(const char* name, bool required, const char* default_text,
                                           std::string* member)
{
    m_attributes.emplace_back(name, PGM_COMMON_XML_VALUE_TYPE_STRING, required, default_text, "", member);
}

void PGM_COMMON_XML_ELEMENT::add_attribute(const char* name, bool required, const char* default_text,
                                           const char* values, PGM_COMMON_XML_ENUM* member)
{
    m_attributes.emplace_back(name, PGM_COMMON_XML_VALUE_TYPE_ENUMERATION, required, default_text, values, member);
}

void PGM_COMMON_XML_ELEMENT::init_check()
{
    MSG_ASSERT_AT(!get_element_name().empty(), k_module, k_source);
    // The declarations are the same for every element of a class: they are verified for the
    // first one only, which keeps a document of many elements quick to build.
    static std::atomic<bool> verified[1024];
    const size_t kind = size_t(m_kind) < std::size(verified) ? size_t(m_kind) : 0;
    const bool verify = kind == 0 || !verified[kind].load(std::memory_order_acquire);
    for (size_t i = 0; i < m_attributes.size(); ++i)
    {
        PGM_COMMON_XML_ATTRIBUTE& attribute = m_attributes[i];
        for (size_t j = 0; verify && j < i; ++j)
            MSG_ASSERT_AT(m_attributes[j].name() != attribute.name(), k_module, k_source);
        if (verify && attribute.type() == PGM_COMMON_XML_VALUE_TYPE_ENUMERATION)
        {
            const bool known = pgm_common_xml_enum_value(attribute.default_text()) != PGM_COMMON_XML_ENUM__INVALID__ ||
                               attribute.default_text() == "_INVALID__";
            MSG_ASSERT_AT(known, k_module, k_source);
            MSG_ASSERT_AT(!attribute.values().empty(), k_module, k_source);
        }
        attribute.reset();
    }
    if (verify && kind != 0)
        verified[kind].store(true, std::memory_order_release);
    m_attributes.shrink_to_fit();
    MSG_ASSERT_AT(has_text() == (m_text != nullptr), k_module, k_source);
    if (m_text)
        *m_text = m_default_text;
}

bool PGM_COMMON_XML_ELEMENT::check_count(PGM_COMMON_XML_ENUM kind, const PGM_COMMON_XML_ALLOWED_COUNTS& allowed,
                                         std::string& error) const
{
    const uint32_t count = get_child_count(kind, false);
    for (const auto& list : allowed)
    {
        for (uint32_t entry : list)
        {
            if (entry == PGM_COMMON_XML_ANY_COUNT || entry == count)
                return true;
        }
    }
    error = "Element \"" + std::string(get_element_name()) + "\" has " + std::to_string(count) + " \"" +
            std::string(pgm_common_xml_enum_name(kind)) + "\" child elements; allowed: " + describe_counts(allowed);
    return false;
}

bool PGM_COMMON_XML_ELEMENT::check_child_count(std::string& error) const
{
    for (const PGM_COMMON_XML_ELEMENT* child : m_children)
    {
        if (rank_of(child->get_element_type()) == child_rules().size())
            return reject_child(child, &error);
    }
    return true;
}

bool PGM_COMMON_XML_ELEMENT::check_child_counts(std::string& error) const
{
    for (const PGM_COMMON_XML_CHILD_RULE& rule : child_rules())
    {
        if (!check_count(rule.kind, rule.counts, error))
            return false;
    }
    return check_child_count(error);
}

bool PGM_COMMON_XML_ELEMENT::reject_child(const PGM_COMMON_XML_ELEMENT* child, std::string* error) const
{
    if (error)
        *error = "Element \"" + std::string(get_element_name()) + "\" does not support child element \"" +
                 std::string(child->get_element_name()) + "\"";
    return false;
}

void PGM_COMMON_XML_ELEMENT::report_empty_view(const char* size_text)
{
    msg_internal_error(size_text, "ZEB_COMMON", "pgm_common_xml_zeb_auto_export", __LINE__);
}

size_t PGM_COMMON_XML_ELEMENT::rank_of(PGM_COMMON_XML_ENUM kind) const
{
    const auto& rules = child_rules();
    for (size_t i = 0; i < rules.size(); ++i)
    {
        if (rules[i].kind == kind)
            return i;
    }
    return rules.size();
}

std::vector<PGM_COMMON_XML_ELEMENT*> PGM_COMMON_XML_ELEMENT::get_childs(PGM_COMMON_XML_ENUM kind, bool recursive) const
{
    std::vector<PGM_COMMON_XML_ELEMENT*> found;
    for (PGM_COMMON_XML_ELEMENT* child : m_children)
    {
        if (kind == PGM_COMMON_XML_ENUM__INVALID__ || child->get_element_type() == kind)
            found.push_back(child);
        if (recursive)
        {
            std::vector<PGM_COMMON_XML_ELEMENT*> below = child->get_childs(kind, true);
            found.insert(found.end(), below.begin(), below.end());
        }
    }
    return found;
}

uint32_t PGM_COMMON_XML_ELEMENT::get_child_count(PGM_COMMON_XML_ENUM kind, bool recursive) const
{
    if (recursive)
        return static_cast<uint32_t>(get_childs(kind, true).size());
    uint32_t count = 0;
    for (const PGM_COMMON_XML_ELEMENT* child : m_children)
    {
        if (kind == PGM_COMMON_XML_ENUM__INVALID__ || child->get_element_type() == kind)
            ++count;
    }
    return count;
}

PGM_COMMON_XML_ELEMENT* PGM_COMMON_XML_ELEMENT::get_element(PGM_COMMON_XML_ENUM kind, uint32_t index,
                                                            bool recursive) const
{
    if (!recursive)
    {
        for (PGM_COMMON_XML_ELEMENT* child : m_children)
        {
            if ((kind == PGM_COMMON_XML_ENUM__INVALID__ || child->get_element_type() == kind) && index-- == 0)
                return child;
        }
        return nullptr;
    }
    std::vector<PGM_COMMON_XML_ELEMENT*> found = get_childs(kind, true);
    return index < found.size() ? found[index] : nullptr;
}

bool PGM_COMMON_XML_ELEMENT::add_child(PGM_COMMON_XML_ELEMENT* parent, PGM_COMMON_XML_ELEMENT* child,
                                       std::string* error)
{
    MSG_ASSERT_AT(parent && child && parent != child, k_module, k_source);
    if (child->m_parent)
    {
        if (error)
            *error = "Element \"" + std::string(child->get_element_name()) + "\" already has a parent";
        return false;
    }
    const size_t rank = parent->rank_of(child->get_element_type());
    if (rank == parent->child_rules().size())
        return parent->reject_child(child, error);

    // Keep the canonical order: after the last child whose kind comes no later than the new one.
    auto position = parent->m_children.end();
    while (position != parent->m_children.begin() && parent->rank_of((*(position - 1))->get_element_type()) > rank)
        --position;
    parent->m_children.insert(position, child);
    child->m_parent = parent;
    // The new child is the last of its kind, so its typed view only grows at the end.
    MSG_ASSERT_AT(parent->group_child(child, false, true), k_module, k_source);
    return true;
}

bool PGM_COMMON_XML_ELEMENT::remove_child(PGM_COMMON_XML_ELEMENT* child, bool del)
{
    auto found = std::find(m_children.begin(), m_children.end(), child);
    if (found == m_children.end())
        return false;
    m_children.erase(found);
    child->m_parent = nullptr;
    regroup_children();
    if (del)
        delete child;
    return true;
}

void PGM_COMMON_XML_ELEMENT::regroup_children()
{
    // The typed views follow the owning list: rebuilding them keeps both in document order.
    clear_children();
    for (PGM_COMMON_XML_ELEMENT* child : m_children)
        MSG_ASSERT_AT(group_child(child, false, true), k_module, k_source);
}

const PGM_COMMON_XML_ATTRIBUTE* PGM_COMMON_XML_ELEMENT::find_attribute(std::string_view name) const
{
    for (const PGM_COMMON_XML_ATTRIBUTE& attribute : m_attributes)
    {
        if (attribute.name() == name)
            return &attribute;
    }
    return nullptr;
}

PGM_COMMON_XML_ATTRIBUTE* PGM_COMMON_XML_ELEMENT::find_attribute(std::string_view name)
{
    return const_cast<PGM_COMMON_XML_ATTRIBUTE*>(std::as_const(*this).find_attribute(name));
}

bool PGM_COMMON_XML_ELEMENT::write_attribute_string(std::string_view name, std::string_view text)
{
    std::string error;
    PGM_COMMON_XML_ATTRIBUTE* attribute = find_attribute(name);
    return attribute && attribute->set_text(text, error);
}

bool PGM_COMMON_XML_ELEMENT::write_attribute_enum(std::string_view name, PGM_COMMON_XML_ENUM value)
{
    std::string error;
    PGM_COMMON_XML_ATTRIBUTE* attribute = find_attribute(name);
    return attribute && attribute->set_enum(value, error);
}

bool PGM_COMMON_XML_ELEMENT::write_attribute_value(std::string_view name, uint32_t value)
{
    std::string error;
    PGM_COMMON_XML_ATTRIBUTE* attribute = find_attribute(name);
    return attribute && attribute->set_number(value, error);
}

std::string PGM_COMMON_XML_ELEMENT::get_attribute_text(std::string_view name) const
{
    const PGM_COMMON_XML_ATTRIBUTE* attribute = find_attribute(name);
    return attribute ? attribute->text() : std::string();
}

bool PGM_COMMON_XML_ELEMENT::is_attribute_empty(std::string_view name) const
{
    return get_attribute_text(name).empty();
}

bool PGM_COMMON_XML_ELEMENT::write_string(std::string_view text)
{
    if (!m_text)
        return false;
    *m_text = std::string(text);
    return true;
}
