// SPDX-License-Identifier: Apache-2.0
#include "pgm/zeb/platform/xml/pgm_common_xml.h"

#include "pgm/zeb/platform/msg/msg.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlschemas.h>

#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <sys/stat.h>

namespace
{

constexpr const char* k_module = "ZEB_COMMON";
constexpr const char* k_source = "pgm_common_xml";
// At most this many problems are listed in a schema check's detail text.
constexpr size_t k_max_reported_problems = 20;

#if LIBXML_VERSION >= 21200
using XML_ERROR_ARG = const xmlError*;
#else
using XML_ERROR_ARG = xmlErrorPtr;
#endif

struct XML_DOC_DELETER
{
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
struct XML_CHAR_DELETER
{
    void operator()(xmlChar* text) const { xmlFree(text); }
};
struct XML_SCHEMA_PARSER_DELETER
{
    void operator()(xmlSchemaParserCtxt* ctxt) const { xmlSchemaFreeParserCtxt(ctxt); }
};
struct XML_SCHEMA_DELETER
{
    void operator()(xmlSchema* schema) const { xmlSchemaFree(schema); }
};
struct XML_SCHEMA_VALID_DELETER
{
    void operator()(xmlSchemaValidCtxt* ctxt) const { xmlSchemaFreeValidCtxt(ctxt); }
};
using XML_DOC = std::unique_ptr<xmlDoc, XML_DOC_DELETER>;
using XML_TEXT = std::unique_ptr<xmlChar, XML_CHAR_DELETER>;
using XML_SCHEMA = std::shared_ptr<xmlSchema>;

void init_libxml()
{
    static std::once_flag once;
    std::call_once(once, [] { xmlInitParser(); });
}

// Collects libxml2's structured errors as "line N: text" lines.
struct ERROR_COLLECTOR
{
    std::vector<std::string> lines;

    static void handle(void* user, XML_ERROR_ARG error)
    {
        auto* self = static_cast<ERROR_COLLECTOR*>(user);
        if (!error || !error->message)
            return;
        std::string text = error->message;
        while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
            text.pop_back();
        std::string line = error->line > 0 ? "line " + std::to_string(error->line) + ": " + text : text;
        for (const std::string& seen : self->lines)
        {
            if (seen == line)
                return;
        }
        self->lines.push_back(std::move(line));
    }
};

// Routes every libxml2 error of this thread to a collector while it lives.
class ERROR_SCOPE
{
public:
    explicit ERROR_SCOPE(ERROR_COLLECTOR& collector)
    {
        xmlSetStructuredErrorFunc(&collector, &ERROR_COLLECTOR::handle);
    }
    ~ERROR_SCOPE() { xmlSetStructuredErrorFunc(nullptr, nullptr); }
    ERROR_SCOPE(const ERROR_SCOPE&) = delete;
    ERROR_SCOPE& operator=(const ERROR_SCOPE&) = delete;
};

// A readable, non-empty regular file; otherwise the reason.
bool check_input_file(const std::string& path, std::string& error)
{
    struct stat info
    {
    };
    if (stat(path.c_str(), &info) != 0)
        error = "the file cannot be read";
    else if (!S_ISREG(info.st_mode))
        error = "it is not a regular file";
    else if (info.st_size == 0)
        error = "the file is empty";
    else
        return true;
    return false;
}

XML_SCHEMA load_schema(const std::string& schema_path, std::string& error)
{
    static std::mutex mutex;
    static std::map<std::string, XML_SCHEMA> cache;
    std::lock_guard<std::mutex> lock(mutex);
    auto found = cache.find(schema_path);
    if (found != cache.end())
        return found->second;

    ERROR_COLLECTOR collector;
    ERROR_SCOPE scope(collector);
    std::unique_ptr<xmlSchemaParserCtxt, XML_SCHEMA_PARSER_DELETER> parser(xmlSchemaNewParserCtxt(schema_path.c_str()));
    if (!parser)
    {
        error = "cannot read the schema " + schema_path;
        return nullptr;
    }
    xmlSchemaSetParserStructuredErrors(parser.get(), &ERROR_COLLECTOR::handle, &collector);
    XML_SCHEMA schema(xmlSchemaParse(parser.get()), XML_SCHEMA_DELETER());
    if (!schema)
    {
        error = "the schema " + schema_path + " is not usable" +
                (collector.lines.empty() ? std::string() : ": " + collector.lines.front());
        return nullptr;
    }
    cache.emplace(schema_path, schema);
    return schema;
}

std::string line_prefix(const xmlNode* node)
{
    return "line " + std::to_string(xmlGetLineNo(node)) + ": ";
}

std::string node_text(const xmlNode* node)
{
    XML_TEXT text(xmlNodeGetContent(node));
    return text ? reinterpret_cast<const char*>(text.get()) : "";
}

bool is_blank(std::string_view text)
{
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// Fills `element` from `node`: attributes, text, children (recursively) and the count check.
bool fill_element(PGM_COMMON_XML_ELEMENT* element, const xmlNode* node, const PGM_COMMON_XML_DOCUMENT_KIND& kind,
                  std::string& error)
{
    const std::string name(element->get_element_name());
    for (const xmlAttr* attr = node->properties; attr; attr = attr->next)
    {
        const std::string attr_name = reinterpret_cast<const char*>(attr->name);
        PGM_COMMON_XML_ATTRIBUTE* attribute = element->find_attribute(attr_name);
        if (!attribute)
        {
            error = line_prefix(node) + "element \"" + name + "\" has no attribute \"" + attr_name + "\"";
            return false;
        }
        XML_TEXT value(xmlNodeListGetString(node->doc, attr->children, 1));
        std::string problem;
        if (!attribute->set_text(value ? reinterpret_cast<const char*>(value.get()) : "", problem))
        {
            error = line_prefix(node) + "element \"" + name + "\": " + problem;
            return false;
        }
    }
    for (const PGM_COMMON_XML_ATTRIBUTE& attribute : element->attributes())
    {
        if (attribute.required() && !attribute.present())
        {
            error = line_prefix(node) + "element \"" + name + "\" misses the required attribute \"" +
                    std::string(attribute.name()) + "\"";
            return false;
        }
    }

    std::string text;
    for (const xmlNode* child = node->children; child; child = child->next)
    {
        if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE)
        {
            text += node_text(child);
            continue;
        }
        if (child->type != XML_ELEMENT_NODE)
            continue; // comments and processing instructions carry nothing
        const std::string child_name = reinterpret_cast<const char*>(child->name);
        const PGM_COMMON_XML_ENUM child_kind = pgm_common_xml_element_kind(child_name);
        PGM_COMMON_XML_ELEMENT* created = child_kind == PGM_COMMON_XML_ENUM__INVALID__
                                              ? nullptr
                                              : kind.create(child_kind, element->get_element_type());
        if (!created)
        {
            error = line_prefix(child) + "unknown element \"" + child_name + "\"";
            return false;
        }
        std::string problem;
        // Attach before filling so that a misplaced element is reported before its content.
        if (!PGM_COMMON_XML_ELEMENT::add_child(element, created, &problem))
        {
            delete created;
            error = line_prefix(child) + problem;
            return false;
        }
        if (!fill_element(created, child, kind, error))
            return false;
    }

    if (element->has_text())
    {
        if (element->text_required() && text.empty())
        {
            error = line_prefix(node) + "element \"" + name + "\" needs a text";
            return false;
        }
        element->write_string(text);
    }
    else if (!is_blank(text))
    {
        error = line_prefix(node) + "element \"" + name + "\" does not take a text";
        return false;
    }

    std::string problem;
    if (!element->check_child_counts(problem))
    {
        error = line_prefix(node) + problem;
        return false;
    }
    return true;
}

} // namespace

PGM_COMMON_XML_ELEMENT* PGM_COMMON_XML::parse_xml(const std::string& path, const PGM_COMMON_XML_DOCUMENT_KIND& kind,
                                                  std::string& error)
{
    MSG_ASSERT_AT(kind.create, k_module, k_source);
    init_libxml();
    if (!check_input_file(path, error))
        return nullptr;

    ERROR_COLLECTOR collector;
    XML_DOC doc;
    {
        ERROR_SCOPE scope(collector);
        doc.reset(xmlReadFile(path.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_BIG_LINES));
    }
    if (!doc)
    {
        error = collector.lines.empty() ? "the file is not a well-formed XML document" : collector.lines.front();
        return nullptr;
    }
    const xmlNode* root = xmlDocGetRootElement(doc.get());
    const std::string root_name(pgm_common_xml_enum_name(kind.root));
    if (!root || root_name != reinterpret_cast<const char*>(root->name))
    {
        error = (root ? line_prefix(root) : std::string()) + "the root element must be \"" + root_name + "\"";
        return nullptr;
    }
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> tree(kind.create(kind.root, PGM_COMMON_XML_ENUM__INVALID__));
    MSG_ASSERT_AT(tree != nullptr, k_module, k_source);
    if (!fill_element(tree.get(), root, kind, error))
        return nullptr;
    return tree.release();
}

bool PGM_COMMON_XML::check_xsd(const std::string& path, const std::string& schema_path, std::string& error,
                               std::string& detail)
{
    init_libxml();
    error.clear();
    detail.clear();
    if (!check_input_file(path, error))
    {
        detail = error;
        return false;
    }
    XML_SCHEMA schema = load_schema(schema_path, error);
    if (!schema)
    {
        detail = error;
        return false;
    }
    std::unique_ptr<xmlSchemaValidCtxt, XML_SCHEMA_VALID_DELETER> validator(xmlSchemaNewValidCtxt(schema.get()));
    MSG_ASSERT_AT(validator != nullptr, k_module, k_source);

    // The schema sees the tree that parse_xml reads, parsed the same way. (Validating while
    // streaming would also leak the entity table of a document that declares entities.)
    ERROR_COLLECTOR collector;
    int result = 0;
    {
        ERROR_SCOPE scope(collector);
        xmlSchemaSetValidStructuredErrors(validator.get(), &ERROR_COLLECTOR::handle, &collector);
        XML_DOC doc(xmlReadFile(path.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_BIG_LINES));
        result = doc ? xmlSchemaValidateDoc(validator.get(), doc.get()) : -1;
    }
    if (result == 0)
        return true;
    if (collector.lines.empty())
        collector.lines.push_back("the file is not a well-formed XML document");
    error = collector.lines.front();
    for (size_t i = 0; i < collector.lines.size() && i < k_max_reported_problems; ++i)
        detail += (i ? "\n" : "") + collector.lines[i];
    return false;
}

std::string PGM_COMMON_XML::escape(std::string_view text, bool attribute)
{
    std::string out;
    out.reserve(text.size());
    for (char c : text)
    {
        switch (c)
        {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += attribute ? "&quot;" : "\"";
            break;
        // Line ends and tabs inside attribute values would be normalised to blanks on reading.
        case '\n':
            out += attribute ? "&#10;" : "\n";
            break;
        case '\t':
            out += attribute ? "&#9;" : "\t";
            break;
        case '\r':
            out += "&#13;";
            break;
        default:
            out += c;
            break;
        }
    }
    return out;
}

void PGM_COMMON_XML::write_xml_element(std::ostream& out, const PGM_COMMON_XML_ELEMENT* element, unsigned level)
{
    MSG_ASSERT_AT(element, k_module, k_source);
    const std::string indent(2 * level, ' ');
    const std::string_view name = element->get_element_name();
    out << indent << '<' << name;
    for (const PGM_COMMON_XML_ATTRIBUTE& attribute : element->attributes())
    {
        if (attribute.required() || attribute.present())
            out << ' ' << attribute.name() << "=\"" << escape(attribute.text(), true) << '"';
    }
    const std::string text = element->get_text_value();
    if (element->children().empty())
    {
        if (text.empty())
            out << "/>";
        else
            out << '>' << escape(text, false) << "</" << name << '>';
        return;
    }
    out << '>' << escape(text, false) << '\n';
    for (const PGM_COMMON_XML_ELEMENT* child : element->children())
    {
        write_xml_element(out, child, level + 1);
        out << '\n';
    }
    out << indent << "</" << name << '>';
}
