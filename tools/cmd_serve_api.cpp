// SPDX-License-Identifier: Apache-2.0
// The web editor's JSON API: reading the document and its check, editing it through the document
// assistant, the reserved partitions, renaming a partition, files (list, describe, open, save).
#include "cli_options.h"
#include "cmd_serve.h"

#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/pgmio/pgmio_info.h"
#include "pgm/zeb/platform/xml/pgm_common_xml_enum.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_util.h"

namespace
{

using PARAMS = ZEB_FILE_ASSISTANT::PARAM_LIST;

struct ELEMENT_KIND
{
    const char* name;
    PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt;
};
constexpr ELEMENT_KIND k_element_kinds[] = {
    {"raw_file", ZEB_CMD_OPT_RAW_FILE},         {"assignment", ZEB_CMD_OPT_ASSIGNMENT},
    {"settings", ZEB_CMD_OPT_SETTINGS},         {"output_file", ZEB_CMD_OPT_OUTPUT_FILE},
    {"flash_loader", ZEB_CMD_OPT_FLASH_LOADER}, {"flash_device", ZEB_CMD_OPT_FLASH_DEVICE},
    {"bitstream", ZEB_CMD_OPT_BITSTREAM},
};

// Parameters whose value is a word of the document's enumerations; output and secondary file types
// are given as catalogue type numbers instead.
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM k_word_params[] = {
    ZEB_CMD_PARAM_RAW_FILE_TYPE, ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID_ADDR_MODE,
    ZEB_CMD_PARAM_ASSIGNMENT_BITSTREAM_ID_SECTION, ZEB_CMD_PARAM_FLASH_DEVICE_MBR_TYPE};

struct API_ERROR
{
    int status;
    std::string text;
};

[[noreturn]] void fail(int status, const std::string& text)
{
    throw API_ERROR{status, text};
}

bool all_digits(const std::string& text)
{
    return !text.empty() && text.size() <= 9 && text.find_first_not_of("0123456789") == std::string::npos;
}

PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param_of(const std::string& name)
{
    const auto& names = ZEB_DB_UTIL::get_cmd_param_enum_names();
    for (size_t i = 1; i < names.size(); ++i)
        if (names[i] == name)
            return static_cast<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM>(i);
    fail(400, "unknown parameter '" + name + "'");
}

// The text the assistant takes for a value as the page gives it.
std::string assistant_text(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, const std::string& value, bool removing)
{
    if (param == ZEB_CMD_PARAM_OUTPUT_FILE_TYPE || param == ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_TYPE)
    {
        const bool known = all_digits(value) && ZEB_DB::get_enabled(static_cast<ZEB_FILE_TYPE>(std::stoi(value)));
        if (!known)
            fail(400, "'" + value + "' is no output file type of the catalogue");
        // Removing an output file names its type; everything else takes the document's value.
        if (removing && param == ZEB_CMD_PARAM_OUTPUT_FILE_TYPE)
            return value;
        return std::to_string(
            static_cast<uint32_t>(ZEB_DB::get_xml_enum(static_cast<ZEB_FILE_TYPE>(std::stoi(value)))));
    }
    for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM word_param : k_word_params)
        if (param == word_param)
        {
            if (all_digits(value))
                return value;
            const PGM_COMMON_XML_ENUM word = pgm_common_xml_enum_value(value);
            if (word == PGM_COMMON_XML_ENUM__INVALID__)
                fail(400, "'" + value + "' is no value of " + ZEB_DB_UTIL::get_cmd_param_enum_name(param));
            return std::to_string(static_cast<uint32_t>(word));
        }
    CLI_PARAM_INFO info;
    if (removing || !cli_describe_param(param, info) || info.kind == CLI_VALUE_KIND::TEXT)
        return value;
    std::string text;
    std::string error;
    if (!cli_convert_value(info, ZEB_DB::get_option_name(param), value, text, error))
        fail(400, error);
    return text;
}

nlohmann::json parse_body(const httplib::Request& request)
{
    nlohmann::json body = nlohmann::json::parse(request.body, nullptr, false);
    if (body.is_discarded() || !body.is_object())
        fail(400, "the request body is not a JSON object");
    return body;
}

std::string string_field(const nlohmann::json& body, const char* name)
{
    if (!body.contains(name) || !body[name].is_string())
        fail(400, std::string("the request lacks the text field '") + name + "'");
    return body[name].get<std::string>();
}

nlohmann::json posted_messages(const MSG_CAPTURE_SINK& capture)
{
    nlohmann::json messages = nlohmann::json::array();
    for (const MSG_POSTED& message : capture.messages())
        messages.push_back({{"identifier", message.identifier},
                            {"kind", message.kind == MSG_KIND_ERROR     ? "error"
                                     : message.kind == MSG_KIND_WARNING ? "warning"
                                                                        : "info"},
                            {"text", message.text}});
    return messages;
}

// One edit: {"op": "set"|"remove", "element": kind, "params": [[name, value], ...]}.
void apply_edit(SERVE_SESSION& session, const nlohmann::json& edit)
{
    const std::string op = string_field(edit, "op");
    if (op != "set" && op != "remove")
        fail(400, "op must be 'set' or 'remove'");
    const std::string element = string_field(edit, "element");
    const ELEMENT_KIND* kind = nullptr;
    for (const ELEMENT_KIND& candidate : k_element_kinds)
        if (element == candidate.name)
            kind = &candidate;
    if (!kind)
        fail(400, "unknown element kind '" + element + "'");
    if (!edit.contains("params") || !edit["params"].is_array() || edit["params"].empty())
        fail(400, "the edit lacks its parameters");
    PARAMS params;
    for (const nlohmann::json& pair : edit["params"])
    {
        if (!pair.is_array() || pair.size() != 2 || !pair[0].is_string() || !pair[1].is_string())
            fail(400, "each parameter is a pair of a parameter name and a text value");
        const PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param = param_of(pair[0].get<std::string>());
        params.emplace_back(param, assistant_text(param, pair[1].get<std::string>(), op == "remove"));
    }
    MSG_CAPTURE_SINK capture; // the assistant's debug lines stay out of the server's terminal
    const bool done = op == "set" ? ZEB_FILE_ASSISTANT::set(session.document.get(), kind->opt, params)
                                  : ZEB_FILE_ASSISTANT::remove(session.document.get(), kind->opt, params);
    if (!done)
        fail(400, "the document assistant did not take this " + op + " of " + element +
                      (capture.debug_lines().empty() ? std::string() : ": " + capture.debug_lines().back()));
}

// Renames a partition and moves its assignment along.
void rename_partition(SERVE_SESSION& session, const nlohmann::json& body)
{
    PGM_COMMON_XML_ZEB_ZEB* document = session.document.get();
    const std::string device = string_field(body, "flash_device");
    const std::string from = string_field(body, "partition");
    const std::string to = string_field(body, "id");
    if (to.empty() || ZEB_FILE_ASSISTANT::get_partition_element(document, device, to))
        fail(400, "flash device " + device + " already has a partition '" + to + "'");
    PARAMS moved;
    if (const PGM_COMMON_XML_ZEB_ASSIGNMENT* assignment = ZEB_FILE_ASSISTANT::get_assignment_element(document, from))
    {
        moved.emplace_back(ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, to);
        if (assignment->find_attribute("page")->present())
            moved.emplace_back(ZEB_CMD_PARAM_ASSIGNMENT_PAGE, std::to_string(assignment->get_page()));
        for (const PGM_COMMON_XML_ZEB_BITSTREAM_ID* bitstream : assignment->get_bitstream_id_list())
        {
            moved.emplace_back(ZEB_CMD_PARAM_ASSIGNMENT_BITSTREAM_ID, bitstream->get_text());
            moved.emplace_back(ZEB_CMD_PARAM_ASSIGNMENT_BITSTREAM_ID_SECTION,
                               std::to_string(static_cast<uint32_t>(bitstream->get_section())));
        }
        for (const PGM_COMMON_XML_ZEB_RAW_FILE_ID* raw_file : assignment->get_raw_file_id_list())
        {
            moved.emplace_back(ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID, raw_file->get_text());
            moved.emplace_back(ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID_ADDR_MODE,
                               std::to_string(static_cast<uint32_t>(raw_file->get_addr_mode())));
            moved.emplace_back(ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID_ADDR_OFFSET, raw_file->get_addr_offset());
        }
    }
    MSG_CAPTURE_SINK capture;
    if (!ZEB_FILE_ASSISTANT::modify_partition_id(document, device, from, to))
        fail(404, "flash device " + device + " has no partition '" + from + "'");
    if (!moved.empty())
    {
        ZEB_FILE_ASSISTANT::remove(document, ZEB_CMD_OPT_ASSIGNMENT, {{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, from}});
        ZEB_FILE_ASSISTANT::set(document, ZEB_CMD_OPT_ASSIGNMENT, moved);
    }
}

// Adds the partitions that the system places for the document's mode and device to a flash device.
void add_reserved_partitions(SERVE_SESSION& session, const nlohmann::json& body)
{
    const std::string device = string_field(body, "flash_device");
    if (!ZEB_FILE_ASSISTANT::get_flash_device_element(session.document.get(), device))
        fail(404, "there is no flash device '" + device + "'");
    MSG_CAPTURE_SINK capture;
    for (const nlohmann::json& reserved : serve_reserved_json(session))
    {
        PARAMS partition{{ZEB_CMD_PARAM_FLASH_DEVICE_ID, device},
                         {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_ID, reserved["name"].get<std::string>()},
                         {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_RESERVED, "1"},
                         {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_S_ADDR, reserved["start"].get<std::string>()},
                         {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_E_ADDR, reserved["end"].get<std::string>()}};
        if (reserved["extra_space"].get<uint32_t>() != 0)
            partition.emplace_back(ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_EXTRA_SPACE,
                                   std::to_string(reserved["extra_space"].get<uint32_t>()));
        ZEB_FILE_ASSISTANT::set(session.document.get(), ZEB_CMD_OPT_FLASH_DEVICE, partition);
    }
}

std::filesystem::path confined(const SERVE_SESSION& session, const std::string& path)
{
    std::filesystem::path resolved;
    std::string error;
    if (!serve_confine(session, path, resolved, error))
        fail(403, error);
    return resolved;
}

using REQUEST = httplib::Request;
using RESPONSE = httplib::Response;

void reply_state(SERVE_SESSION& session, RESPONSE& response, const nlohmann::json& extra = nlohmann::json::object())
{
    nlohmann::json reply = serve_state_json(session);
    reply.update(extra);
    serve_reply(response, 200, reply);
}

void handle_state(SERVE_SESSION& session, const REQUEST&, RESPONSE& response)
{
    reply_state(session, response);
}

void handle_catalog(SERVE_SESSION& session, const REQUEST&, RESPONSE& response)
{
    serve_reply(response, 200, serve_catalog_json(session, session.document.get()));
}

void handle_options(SERVE_SESSION& session, const REQUEST& request, RESPONSE& response)
{
    const std::string type = request.get_param_value("type");
    serve_reply(response, 200,
                serve_options_json(session, request.get_param_value("element"), request.get_param_value("input"),
                                   all_digits(type) ? std::stoi(type) : -1));
}

void handle_edit(SERVE_SESSION& session, const REQUEST& request, RESPONSE& response)
{
    const nlohmann::json body = parse_body(request);
    if (body.contains("edits") && body["edits"].is_array())
        for (const nlohmann::json& edit : body["edits"])
            apply_edit(session, edit);
    else
        apply_edit(session, body);
    reply_state(session, response);
}

void handle_rename(SERVE_SESSION& session, const REQUEST& request, RESPONSE& response)
{
    rename_partition(session, parse_body(request));
    reply_state(session, response);
}

void handle_reserved(SERVE_SESSION& session, const REQUEST& request, RESPONSE& response)
{
    add_reserved_partitions(session, parse_body(request));
    reply_state(session, response);
}

void handle_files(SERVE_SESSION& session, const REQUEST& request, RESPONSE& response)
{
    nlohmann::json entries;
    std::string error;
    if (!serve_list_directory(session, request.get_param_value("dir"), entries, error))
        fail(403, error);
    serve_reply(response, 200, {{"entries", entries}});
}

void handle_info(SERVE_SESSION& session, const REQUEST& request, RESPONSE& response)
{
    const std::filesystem::path path = confined(session, request.get_param_value("path"));
    PGMIO_FILE_INFO info;
    std::string error;
    if (!pgmio_describe_file(path.string(), info, error))
        fail(422, error);
    serve_reply(response, 200, nlohmann::json::parse(pgmio_info_json(serve_relative(session, path), info)));
}

void handle_new(SERVE_SESSION& session, const REQUEST&, RESPONSE& response)
{
    session.document = std::make_unique<PGM_COMMON_XML_ZEB_ZEB>();
    session.file.clear();
    reply_state(session, response);
}

void handle_open(SERVE_SESSION& session, const REQUEST& request, RESPONSE& response)
{
    const std::filesystem::path path = confined(session, string_field(parse_body(request), "path"));
    MSG_CAPTURE_SINK capture;
    PGM_COMMON_XML_ZEB_ZEB* raw = nullptr;
    const bool parsed = ZEB_UTIL::parse(&raw, path.string());
    std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> document(raw);
    if (!parsed) // the open document stays as it was
    {
        serve_reply(response, 422, {{"error", "the file was not opened"}, {"messages", posted_messages(capture)}});
        return;
    }
    session.document = std::move(document);
    session.file = serve_relative(session, path);
    reply_state(session, response, {{"messages", posted_messages(capture)}});
}

void handle_save(SERVE_SESSION& session, const REQUEST& request, RESPONSE& response)
{
    const std::filesystem::path path = confined(session, string_field(parse_body(request), "path"));
    if (ZEB_FILE_ASSISTANT::get_output_file_elements(session.document.get()).empty())
        fail(409, "add an output file in the Output Files tab before saving");
    MSG_CAPTURE_SINK capture;
    const bool saved = ZEB_UTIL::save(session.document.get(), path.string());
    // A type that only the command line makes is not saved: a warning, no file.
    const bool written = saved && capture.count("IZEB_ZEB_SUCCESSFULLY_SAVED") != 0;
    if (written)
        session.file = serve_relative(session, path);
    serve_reply(response,
                !saved    ? 422
                : written ? 200
                          : 409,
                {{"saved", written}, {"file", session.file}, {"messages", posted_messages(capture)}});
}

using HANDLER = void (*)(SERVE_SESSION&, const REQUEST&, RESPONSE&);

struct ROUTE
{
    bool post;
    const char* path;
    HANDLER handler;
};
constexpr ROUTE k_routes[] = {
    {false, "/api/state", handle_state},     {false, "/api/catalog", handle_catalog},
    {false, "/api/options", handle_options}, {false, "/api/files", handle_files},
    {false, "/api/info", handle_info},       {true, "/api/edit", handle_edit},
    {true, "/api/rename", handle_rename},    {true, "/api/reserved", handle_reserved},
    {true, "/api/new", handle_new},          {true, "/api/open", handle_open},
    {true, "/api/save", handle_save},
};

bool generating(SERVE_SESSION& session)
{
    std::lock_guard lock(session.generation_lock);
    return session.generation.running;
}

// Runs a handler on the document, one request after the other, unless a generation is running;
// refusals become replies.
void run(SERVE_SESSION& session, HANDLER handler, const REQUEST& request, RESPONSE& response)
{
    try
    {
        if (generating(session))
            fail(409, "a generation is running; try again when it has finished");
        std::lock_guard lock(session.document_lock);
        handler(session, request, response);
    }
    catch (const API_ERROR& error)
    {
        serve_reply(response, error.status, {{"error", error.text}});
    }
}

} // namespace

void serve_register_api(httplib::Server& server, SERVE_SESSION& session)
{
    for (const ROUTE& route : k_routes)
    {
        auto handler = [&session, route](const REQUEST& request, RESPONSE& response)
        { run(session, route.handler, request, response); };
        if (route.post)
            server.Post(route.path, handler);
        else
            server.Get(route.path, handler);
    }
}
