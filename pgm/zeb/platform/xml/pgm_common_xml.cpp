// SPDX-License-Identifier: Apache-2.0
#include "pgm/zeb/platform/xml/pgm_common_xml.h"

#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/msg/msg.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlschemas.h>

#include <cstdio>
#include <map>
#include <memory>
#include <mutex>

namespace
{

constexpr const char* k_module = "ZEB_COMMON";
constexpr const char* k_source = "pgm_common_xml";
// At most this many problems are listed in a schema check's detail text.
constexpr size_t k_max_reported_problems = 20;
// A document larger than this is refused unread: real ones are a few kilobytes, and generated
// ones with a hundred thousand elements stay far below it.
constexpr uint64_t k_max_document_size = 64 << 20;
// How the documents are parsed, for the element library and the schema check alike. Internal
// entities are expanded (libxml2 bounds the expansion); external ones reach the loader below,
// which refuses them; nothing is read from the network.
// The longest text or attribute value taken: a path, a key or a name is far shorter, and texts
// echoed in messages stay readable.
constexpr size_t k_max_text_size = 64 << 10;
constexpr int k_parse_options = XML_PARSE_NONET | XML_PARSE_BIG_LINES | XML_PARSE_NOENT;

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

// True while this thread parses a document: its external entities and DTDs are then refused,
// while the schema files of the suite are still loaded.
thread_local bool t_reading_document = false;
// The first external resource refused during the current document read.
thread_local std::string t_refused;
xmlExternalEntityLoader g_default_loader = nullptr;

xmlParserInputPtr refusing_loader(const char* url, const char* id, xmlParserCtxtPtr context)
{
    if (!t_reading_document)
        return g_default_loader(url, id, context);
    if (t_refused.empty())
        t_refused = url ? url : (id ? id : "?");
    return nullptr; // the parser reports the failed load with its line
}

void init_libxml()
{
    static std::once_flag once;
    std::call_once(once,
                   []
                   {
                       xmlInitParser();
                       g_default_loader = xmlGetExternalEntityLoader();
                       xmlSetExternalEntityLoader(refusing_loader);
                   });
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

// Routes every libxml2 error of this thread to a collector while it lives; unstructured texts
// are dropped rather than printed, the structured report of the same problem carries them.
class ERROR_SCOPE
{
public:
    explicit ERROR_SCOPE(ERROR_COLLECTOR& collector)
    {
        xmlSetStructuredErrorFunc(&collector, &ERROR_COLLECTOR::handle);
        xmlSetGenericErrorFunc(nullptr, &ignore_generic);
    }
    ~ERROR_SCOPE()
    {
        xmlSetStructuredErrorFunc(nullptr, nullptr);
        xmlSetGenericErrorFunc(nullptr, nullptr);
    }
    ERROR_SCOPE(const ERROR_SCOPE&) = delete;
    ERROR_SCOPE& operator=(const ERROR_SCOPE&) = delete;

private:
    static void ignore_generic(void*, const char*, ...) {}
};

std::string line_prefix(const xmlNode* node)
{
    return "line " + std::to_string(xmlGetLineNo(node)) + ": ";
}

// The first text or attribute value longer than k_max_text_size, as "line N: ..."; "" when none.
std::string find_oversized_text(const xmlNode* node)
{
    for (; node; node = node->next)
    {
        if ((node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) && node->content &&
            size_t(xmlStrlen(node->content)) > k_max_text_size)
            return line_prefix(node) + "a text of element \"" +
                   (node->parent ? reinterpret_cast<const char*>(node->parent->name) : "") + "\" is longer than " +
                   std::to_string(k_max_text_size) + " bytes";
        if (node->type != XML_ELEMENT_NODE)
            continue;
        for (const xmlAttr* attr = node->properties; attr; attr = attr->next)
            for (const xmlNode* value = attr->children; value; value = value->next)
                if (value->content && size_t(xmlStrlen(value->content)) > k_max_text_size)
                    return line_prefix(node) + "attribute \"" + reinterpret_cast<const char*>(attr->name) +
                           "\" of element \"" + reinterpret_cast<const char*>(node->name) + "\" is longer than " +
                           std::to_string(k_max_text_size) + " bytes";
        std::string found = find_oversized_text(node->children);
        if (!found.empty())
            return found;
    }
    return {};
}

// Reads and parses a document the one way both the schema check and the element library use, so
// that they never disagree about what the file says. Any problem the parser reports, warnings
// included (an undeclared entity is one when the document names an external DTD), refuses the
// document: what would be dropped or guessed is not silently lost.
XML_DOC read_document(const std::string& path, std::string& error)
{
    FIO_INPUT_FILE file;
    std::vector<uint8_t> bytes;
    if (!file.open(path, error, k_max_document_size) || !file.read_all(bytes, error))
        return nullptr;
    if (bytes.empty())
    {
        error = "the file is empty";
        return nullptr;
    }
    ERROR_COLLECTOR collector;
    XML_DOC doc;
    {
        ERROR_SCOPE scope(collector);
        t_reading_document = true;
        t_refused.clear();
        doc.reset(xmlReadMemory(reinterpret_cast<const char*>(bytes.data()), int(bytes.size()), path.c_str(), nullptr,
                                k_parse_options));
        t_reading_document = false;
    }
    if (doc && collector.lines.empty() && t_refused.empty())
    {
        error = find_oversized_text(doc->children);
        return error.empty() ? std::move(doc) : nullptr;
    }
    error = collector.lines.empty() ? "the file is not a well-formed XML document" : collector.lines.front();
    if (!t_refused.empty())
    {
        const std::string line = error.rfind("line ", 0) == 0 ? error.substr(0, error.find(": ") + 2) : "";
        error = line + "the external entity \"" + t_refused + "\" is not read: a setup document must be self-contained";
    }
    return nullptr;
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
    const XML_DOC doc = read_document(path, error);
    if (!doc)
        return nullptr;
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
    const XML_DOC doc = read_document(path, error);
    if (!doc)
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
        result = xmlSchemaValidateDoc(validator.get(), doc.get());
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
