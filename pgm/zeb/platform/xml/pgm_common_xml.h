// SPDX-License-Identifier: Apache-2.0
// Element library: reading XML files into element trees, schema validation, and writing trees.
#pragma once

#include "pgm/zeb/platform/xml/pgm_common_xml_element.h"

#include <ostream>
#include <string>

// What parse_xml needs to know of a document kind: its root element and how to create elements.
struct PGM_COMMON_XML_DOCUMENT_KIND
{
    PGM_COMMON_XML_ENUM root;
    // Creates an empty element of `kind`, or nullptr for a kind the document does not use.
    PGM_COMMON_XML_ELEMENT* (*create)(PGM_COMMON_XML_ENUM kind, PGM_COMMON_XML_ENUM creator);
};

class PGM_COMMON_XML
{
public:
    // Reads `path` into a new element tree of `kind` (owned by the caller). Every attribute is
    // checked against its declaration, required attributes and texts must be present, and every
    // element's child counts are checked. nullptr on failure, with `error` naming the problem and
    // its line ("line 7: ...").
    static PGM_COMMON_XML_ELEMENT* parse_xml(const std::string& path, const PGM_COMMON_XML_DOCUMENT_KIND& kind,
                                             std::string& error);

    // Validates `path` against the XML schema file `schema`. Returns true when the file is valid;
    // otherwise `error` is set to the first problem with its line ("line 3: Element 'settings',
    // attribute 'mode': ...") and `detail` lists every problem found, one per line. A schema that
    // cannot be read is reported the same way. Parsed schemas are cached per path.
    static bool check_xsd(const std::string& path, const std::string& schema, std::string& error, std::string& detail);

    // Writes `element` and its subtree: two blanks of indentation per level starting at `level`,
    // attributes in declaration order (required ones and those read or written), children in
    // document order, texts and attribute values escaped. No line end after the last tag.
    static void write_xml_element(std::ostream& out, const PGM_COMMON_XML_ELEMENT* element, unsigned level = 0);

    // Escapes text for an attribute value (quotes, ampersand, angle brackets, control characters)
    // or, with `attribute` false, for element content.
    static std::string escape(std::string_view text, bool attribute);
};
