// SPDX-License-Identifier: Apache-2.0
// The local web setup editor: one document held by the server, edited through the document
// assistant by a page in the browser. Shared between the server's files.
#pragma once

#include "pgm/zeb/platform/pgm_common_xml_zeb_auto_export.h"

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

// The progress and the outcome of the last generation; read while it runs.
struct SERVE_GENERATION
{
    bool running = false;
    bool finished = false;
    bool ok = false;
    size_t index = 0;
    size_t count = 0;
    std::string output;
    uint64_t done = 0;
    uint64_t total = 0;
    nlohmann::json messages = nlohmann::json::array();
    nlohmann::json report = nlohmann::json::array(); // the verifier's description of each file written
};

struct SERVE_SESSION
{
    std::filesystem::path root; // the canonical start directory; every file path stays below it
    std::string token;
    std::mutex document_lock; // held by every request that reads or edits the document, and by generation
    std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> document;
    std::string file; // the open document, relative to `root`; "" for a new one
    std::mutex generation_lock;
    SERVE_GENERATION generation;
    std::mutex generator_lock; // starting a generation: one request at a time
    std::thread generator;
    std::filesystem::path data_dir; // where the page's files are served from
};

// Largest request body accepted, in bytes.
constexpr size_t SERVE_MAX_BODY = 1 << 20;

// ---- Paths (cmd_serve_paths.cpp) ----------------------------------------------------------------
// `path` (relative to the root, or absolute) resolved with every symbolic link followed; false with
// `error` when it leaves the root. A file that does not exist yet resolves through its directory.
bool serve_confine(const SERVE_SESSION& session, const std::string& path, std::filesystem::path& resolved,
                   std::string& error);
// The path as the document names it: relative to the root.
std::string serve_relative(const SERVE_SESSION& session, const std::filesystem::path& resolved);
// The entries of a directory below the root, directories first: [{name, dir}].
bool serve_list_directory(const SERVE_SESSION& session, const std::string& path, nlohmann::json& entries,
                          std::string& error);
// True when every file the document names (inputs, outputs, key and other files of its attributes)
// lies below the root; else false with the first that does not.
bool serve_document_paths_confined(SERVE_SESSION& session, std::string& error);

// ---- The document as JSON (cmd_serve_document.cpp) ------------------------------------------------
// The element tree: {kind, attributes: {name: text}, text, children: [...]}.
nlohmann::json serve_element_json(const PGM_COMMON_XML_ELEMENT& element);
// The settings check and the consistency rules: {ok} or {ok: false, text, identifier, element: {kind, id}}.
// A document naming a file outside the root fails with that path, unchecked.
nlohmann::json serve_check_json(SERVE_SESSION& session);
// Reserved partitions of each flash device for the document's mode and family, with their editability.
nlohmann::json serve_reserved_json(SERVE_SESSION& session);
// Document, check, reserved partitions and the layout picture (SVG, "" when there is none).
nlohmann::json serve_state_json(SERVE_SESSION& session);

// ---- Capabilities (cmd_serve_catalog.cpp) ---------------------------------------------------------
// Modes with their output file types, output file types with their secondary types, flash devices.
// The custom flash database directory of the document is read when it lies below the root.
nlohmann::json serve_catalog_json(const SERVE_SESSION& session, PGM_COMMON_XML_ZEB_ZEB* document);
// The options of one element kind ("bitstream", "output file", ...), narrowed to a device family
// (bitstream paths: the family of the file `input`) or to an output file type.
nlohmann::json serve_options_json(const SERVE_SESSION& session, const std::string& element, const std::string& input,
                                  int output_type);

// ---- Handlers (cmd_serve_api.cpp, cmd_serve_generate.cpp) -----------------------------------------
void serve_register_api(httplib::Server& server, SERVE_SESSION& session);
void serve_register_generate(httplib::Server& server, SERVE_SESSION& session);
// Waits for a running generation to end.
void serve_join_generation(SERVE_SESSION& session);
// A JSON reply with a status.
void serve_reply(httplib::Response& response, int status, const nlohmann::json& body);
