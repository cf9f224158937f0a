// SPDX-License-Identifier: Apache-2.0
// Generation from the web editor: checked like on the command line, run on its own thread with its
// progress readable meanwhile, then every file written described by the verifier.
#include "cli.h"
#include "cmd_serve.h"

#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/pgmio/pgmio_info.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_util.h"

namespace
{

nlohmann::json generation_json(const SERVE_GENERATION& generation)
{
    return {{"running", generation.running}, {"finished", generation.finished}, {"ok", generation.ok},
            {"index", generation.index},     {"count", generation.count},       {"output", generation.output},
            {"done", generation.done},       {"total", generation.total},       {"messages", generation.messages},
            {"report", generation.report}};
}

// The verifier's report of each output file that exists after the run.
nlohmann::json describe_outputs(SERVE_SESSION& session)
{
    nlohmann::json report = nlohmann::json::array();
    for (PGM_COMMON_XML_ZEB_OUTPUT_FILE* output : ZEB_FILE_ASSISTANT::get_output_file_elements(session.document.get()))
        for (const FIO_PATH& path : ZEB_UTIL::get_output_file_paths(output))
        {
            std::filesystem::path resolved;
            std::string error;
            PGMIO_FILE_INFO info;
            if (!serve_confine(session, path.get_full_path(), resolved, error) ||
                !std::filesystem::is_regular_file(resolved))
                continue;
            if (!pgmio_describe_file(resolved.string(), info, error)) // a text file such as a memory map
                report.push_back({{"file", serve_relative(session, resolved)}, {"note", error}});
            else
                report.push_back(nlohmann::json::parse(pgmio_info_json(serve_relative(session, resolved), info)));
        }
    return report;
}

// The generation thread: holds the document until it is done.
void generate(SERVE_SESSION& session)
{
    std::lock_guard document_lock(session.document_lock);
    MSG_CAPTURE_SINK capture;
    bool ok = false;
    nlohmann::json report = nlohmann::json::array();
    nlohmann::json messages = nlohmann::json::array();
    try
    {
        std::string error;
        if (!serve_document_paths_confined(session, error))
            messages.push_back({{"kind", "error"}, {"text", error}});
        else if (cli_check_document(session.document.get(), "document", nullptr))
        {
            ok = ZEB_UTIL::generate(
                session.document.get(),
                [&session](size_t index, size_t count, const FIO_PATH& output, uint64_t done, uint64_t total)
                {
                    std::lock_guard lock(session.generation_lock);
                    SERVE_GENERATION& generation = session.generation;
                    generation.index = index, generation.count = count;
                    generation.output = output.get_full_path();
                    generation.done = done, generation.total = total;
                });
            report = describe_outputs(session);
        }
    }
    catch (const std::exception& e)
    {
        messages.push_back({{"kind", "error"}, {"text", e.what()}});
    }
    for (const MSG_POSTED& message : capture.messages())
        messages.push_back({{"identifier", message.identifier},
                            {"kind", message.kind == MSG_KIND_ERROR ? "error" : "info"},
                            {"text", message.text}});
    std::lock_guard lock(session.generation_lock);
    session.generation.running = false;
    session.generation.finished = true;
    session.generation.ok = ok;
    session.generation.messages = messages;
    session.generation.report = report;
}

} // namespace

void serve_join_generation(SERVE_SESSION& session)
{
    if (session.generator.joinable())
        session.generator.join();
}

void serve_register_generate(httplib::Server& server, SERVE_SESSION& session)
{
    server.Post("/api/generate",
                [&session](const httplib::Request&, httplib::Response& response)
                {
                    std::lock_guard starting(session.generator_lock);
                    {
                        std::lock_guard lock(session.generation_lock);
                        if (session.generation.running)
                        {
                            serve_reply(response, 409, {{"error", "a generation is already running"}});
                            return;
                        }
                        session.generation = SERVE_GENERATION{};
                        session.generation.running = true;
                    }
                    serve_join_generation(session); // the previous run's thread has ended
                    session.generator = std::thread(generate, std::ref(session));
                    serve_reply(response, 202, {{"running", true}});
                });
    server.Get("/api/generate",
               [&session](const httplib::Request&, httplib::Response& response)
               {
                   std::lock_guard lock(session.generation_lock);
                   serve_reply(response, 200, generation_json(session.generation));
               });
}
