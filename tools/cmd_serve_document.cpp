// SPDX-License-Identifier: Apache-2.0
// The web editor's view of the document: the element tree, the check's first finding placed on the
// element it names, the reserved partitions, and the layout picture.
#include "cli.h"
#include "cmd_serve.h"

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_util.h"

#include <cctype>

namespace
{

struct NAMED_ELEMENT
{
    std::string kind;
    std::string id;
    std::string parent; // the flash device of a partition
};

// Elements that a finding may name, in the order in which a tie is settled.
std::vector<NAMED_ELEMENT> named_elements(PGM_COMMON_XML_ZEB_ZEB* document)
{
    std::vector<NAMED_ELEMENT> named;
    for (PGM_COMMON_XML_ZEB_FLASH_DEVICE* device : ZEB_FILE_ASSISTANT::get_flash_device_elements(document))
        for (PGM_COMMON_XML_ZEB_PARTITION* partition : device->get_partition_list())
            named.push_back({"partition", partition->get_id(), device->get_id()});
    for (PGM_COMMON_XML_ZEB_BITSTREAM* bitstream : ZEB_FILE_ASSISTANT::get_bitstream_elements(document))
        named.push_back({"bitstream", bitstream->get_id(), ""});
    for (PGM_COMMON_XML_ZEB_RAW_FILE* raw_file : ZEB_FILE_ASSISTANT::get_raw_file_elements(document))
        named.push_back({"raw_file", raw_file->get_id(), ""});
    for (PGM_COMMON_XML_ZEB_FLASH_DEVICE* device : ZEB_FILE_ASSISTANT::get_flash_device_elements(document))
    {
        named.push_back({"flash_device", device->get_id(), ""});
        named.push_back({"flash_device", device->get_type(), ""});
    }
    for (PGM_COMMON_XML_ZEB_FLASH_LOADER* loader : ZEB_FILE_ASSISTANT::get_flash_loader_elements(document))
        named.push_back({"flash_loader", loader->get_text_value(), ""});
    for (PGM_COMMON_XML_ZEB_OUTPUT_FILE* output : ZEB_FILE_ASSISTANT::get_output_file_elements(document))
        named.push_back({"output_file", output->get_name(), ""});
    return named;
}

bool is_word_char(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}

// Where `id` first occurs in `text` as a whole word; npos when it does not.
size_t find_word(const std::string& text, const std::string& id)
{
    for (size_t at = text.find(id); !id.empty() && at != std::string::npos; at = text.find(id, at + 1))
        if ((at == 0 || !is_word_char(text[at - 1])) &&
            (at + id.size() == text.size() || !is_word_char(text[at + id.size()])))
            return at;
    return std::string::npos;
}

} // namespace

nlohmann::json serve_element_json(const PGM_COMMON_XML_ELEMENT& element)
{
    nlohmann::json json{{"kind", std::string(element.get_element_name())}, {"attributes", nlohmann::json::object()}};
    for (const PGM_COMMON_XML_ATTRIBUTE& attribute : element.attributes())
        if (attribute.present())
            json["attributes"][std::string(attribute.name())] = attribute.text();
    if (element.has_text())
        json["text"] = element.get_text_value();
    nlohmann::json children = nlohmann::json::array();
    for (const PGM_COMMON_XML_ELEMENT* child : element.children())
        children.push_back(serve_element_json(*child));
    json["children"] = children;
    return json;
}

nlohmann::json serve_check_json(SERVE_SESSION& session)
{
    PGM_COMMON_XML_ZEB_ZEB* document = session.document.get();
    // The check reads the files that the document names: only those below the root.
    std::string outside;
    if (!serve_document_paths_confined(session, outside))
        return {{"ok", false}, {"text", outside}, {"explanations", nlohmann::json::array()}};
    MSG_CAPTURE_SINK capture;
    std::vector<std::string> explanations;
    if (cli_check_document(document, "document", &explanations))
        return {{"ok", true}};
    nlohmann::json result{{"ok", false}, {"text", "the check failed"}, {"explanations", explanations}};
    for (const MSG_POSTED& message : capture.messages())
        if (message.kind == MSG_KIND_ERROR)
        {
            result["text"] = message.text;
            result["identifier"] = message.identifier;
            break;
        }
    // The element named first, by the explanation (which names elements by id) or else the message.
    std::string text;
    for (const std::string& line : explanations)
        text += line + "\n";
    text += result["text"].get<std::string>();
    size_t first = std::string::npos;
    for (const NAMED_ELEMENT& element : named_elements(document))
    {
        const size_t at = find_word(text, element.id);
        if (at < first)
        {
            first = at;
            result["element"] = {{"kind", element.kind}, {"id", element.id}, {"parent", element.parent}};
        }
    }
    return result;
}

nlohmann::json serve_reserved_json(SERVE_SESSION& session)
{
    PGM_COMMON_XML_ZEB_ZEB* document = session.document.get();
    nlohmann::json reserved = nlohmann::json::array();
    std::string outside; // the first input's device decides, and it is read only below the root
    if (!serve_document_paths_confined(session, outside))
        return reserved;
    PGMIO_CONFIG_SCHEME scheme{};
    // Without a mode or a bitstream input the system places nothing yet.
    const std::vector<PGM_COMMON_XML_ZEB_BITSTREAM*> bitstreams = ZEB_FILE_ASSISTANT::get_bitstream_elements(document);
    if (!ZEB_FILE_ASSISTANT::get_config_mode(document, scheme) || bitstreams.empty() ||
        ZEB_FILE_ASSISTANT::get_path_elements(document, bitstreams.front()->get_id()).empty())
        return reserved;
    for (const ZEB_UTIL_PARTITION_INFO& info :
         ZEB_UTIL::get_reserved_partitions(document, ZEB_UTIL::get_family(document)))
        if (info.in_partition_table)
            reserved.push_back({{"name", info.name},
                                {"start", info.start_address},
                                {"end", info.end_address},
                                {"extra_space", info.extra_space},
                                {"editable", !info.locked},
                                {"assignable", info.assignable}});
    return reserved;
}

nlohmann::json serve_state_json(SERVE_SESSION& session)
{
    PGM_COMMON_XML_ZEB_ZEB* document = session.document.get();
    nlohmann::json state{
        {"file", session.file}, {"document", serve_element_json(*document)}, {"check", serve_check_json(session)}};
    {
        MSG_CAPTURE_SINK capture; // the reserved list of an unreadable input says nothing here
        state["reserved"] = serve_reserved_json(session);
    }
    std::string svg;
    if (state["check"]["ok"].get<bool>())
    {
        MSG_CAPTURE_SINK capture;
        cli_layout_svg(document, svg);
    }
    state["layout"] = svg;
    return state;
}
