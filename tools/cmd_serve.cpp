// SPDX-License-Identifier: Apache-2.0
// `corvane --serve`: the local web setup editor. The server listens on 127.0.0.1 only; every request
// must carry the random token of the printed URL, so that neither another local user nor a web page
// of another origin can drive it, and must name this server as its host (no DNS rebinding).
#include "cmd_serve.h"
#include "cli.h"

#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/zeb_util.h"

#include <csignal>
#include <fstream>
#include <iostream>

namespace
{

httplib::Server* g_server = nullptr; // for the signal handler

void stop_on_signal(int)
{
    if (g_server)
        g_server->stop();
}

// 32 random bytes from the system's source, in hexadecimal; "" when it cannot be read.
std::string make_token()
{
    std::ifstream random("/dev/urandom", std::ios::binary);
    unsigned char bytes[32];
    if (!random.read(reinterpret_cast<char*>(bytes), sizeof bytes))
        return "";
    static const char digits[] = "0123456789abcdef";
    std::string token;
    for (unsigned char byte : bytes)
        token += digits[byte >> 4], token += digits[byte & 15];
    return token;
}

// Compares in time independent of where the texts differ.
bool same_token(const std::string& given, const std::string& token)
{
    if (given.size() != token.size())
        return false;
    unsigned char difference = 0;
    for (size_t i = 0; i < token.size(); ++i)
        difference |= static_cast<unsigned char>(given[i] ^ token[i]);
    return difference == 0;
}

std::string cookie_token(const httplib::Request& request)
{
    const std::string cookies = request.get_header_value("Cookie");
    const std::string key = "corvane_token=";
    const size_t at = cookies.find(key);
    if (at == std::string::npos)
        return "";
    const size_t end = cookies.find(';', at);
    return cookies.substr(at + key.size(), end == std::string::npos ? end : end - at - key.size());
}

// The API takes the token from a header only (a page of another origin cannot set one without
// our consent); the page's own files also from the URL or the cookie set when it was opened.
bool authorised(const SERVE_SESSION& session, const httplib::Request& request, int port)
{
    const std::string host = request.get_header_value("Host");
    const std::string port_text = ":" + std::to_string(port);
    if (host != "127.0.0.1" + port_text && host != "localhost" + port_text)
        return false;
    if (same_token(request.get_header_value("X-Corvane-Token"), session.token))
        return true;
    if (request.path.rfind("/api/", 0) == 0)
        return false;
    return same_token(request.get_param_value("token"), session.token) ||
           same_token(cookie_token(request), session.token);
}

struct STATIC_FILE
{
    const char* path;
    const char* file;
    const char* type;
};
constexpr STATIC_FILE k_static_files[] = {
    {"/", "index.html", "text/html; charset=utf-8"},
    {"/app.js", "app.js", "text/javascript; charset=utf-8"},
    {"/style.css", "style.css", "text/css; charset=utf-8"},
};

void register_static(httplib::Server& server, SERVE_SESSION& session)
{
    for (const STATIC_FILE& entry : k_static_files)
        server.Get(entry.path,
                   [&session, entry](const httplib::Request&, httplib::Response& response)
                   {
                       std::ifstream in(session.data_dir / entry.file, std::ios::binary);
                       if (!in)
                       {
                           response.status = 500;
                           response.set_content("the page's file " + std::string(entry.file) + " is missing from " +
                                                    session.data_dir.string(),
                                                "text/plain");
                           return;
                       }
                       response.set_content(std::string(std::istreambuf_iterator<char>(in), {}), entry.type);
                       response.set_header("Set-Cookie",
                                           "corvane_token=" + session.token + "; HttpOnly; SameSite=Strict; Path=/");
                       response.set_header("Cache-Control", "no-store");
                       response.set_header("Content-Security-Policy",
                                           "default-src 'self'; img-src 'self' data:; style-src 'self'");
                   });
}

} // namespace

void serve_reply(httplib::Response& response, int status, const nlohmann::json& body)
{
    response.status = status;
    response.set_content(body.dump(), "application/json");
}

int cli_mode_serve(const CLI_ARGS& args)
{
    std::vector<CLI_OPTION> options;
    std::vector<std::string> files;
    if (!cli_split_options(args, {"--port"}, {}, options, files))
        return CLI_USAGE;
    if (files.size() > 1)
        return cli_usage_error("--serve takes at most one setup document");
    int port = 0;
    for (const CLI_OPTION& option : options)
    {
        const std::string& text = option.value;
        if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != std::string::npos ||
            std::stoi(text) > 65535)
            return cli_usage_error("--port takes a number from 0 to 65535, got '" + text + "'");
        port = std::stoi(text);
    }

    SERVE_SESSION session;
    std::error_code error;
    session.root = std::filesystem::canonical(std::filesystem::current_path(), error);
    session.data_dir = std::filesystem::path(fio_get_data_directory()) / "data" / "web";
    session.token = make_token();
    if (session.token.empty())
    {
        std::cerr << "corvane: --serve: the system's random source could not be read\n";
        return CLI_FAILED;
    }
    if (!files.empty())
    {
        std::filesystem::path resolved;
        std::string problem;
        if (!serve_confine(session, files[0], resolved, problem))
            return cli_usage_error("--serve: " + problem);
        PGM_COMMON_XML_ZEB_ZEB* raw = nullptr;
        const bool parsed = ZEB_UTIL::parse(&raw, resolved.string());
        session.document.reset(raw);
        if (!parsed)
            return CLI_FAILED;
        session.file = serve_relative(session, resolved);
    }
    else
        session.document = std::make_unique<PGM_COMMON_XML_ZEB_ZEB>();

    httplib::Server server;
    server.set_payload_max_length(SERVE_MAX_BODY);
    server.set_read_timeout(10, 0);
    server.set_pre_routing_handler(
        [&session, &port](const httplib::Request& request, httplib::Response& response)
        {
            if (authorised(session, request, port))
                return httplib::Server::HandlerResponse::Unhandled;
            serve_reply(response, 403, {{"error", "this request does not carry the token of the server's URL"}});
            return httplib::Server::HandlerResponse::Handled;
        });
    register_static(server, session);
    serve_register_api(server, session);
    serve_register_generate(server, session);
    server.set_exception_handler(
        [](const httplib::Request&, httplib::Response& response, std::exception_ptr failure)
        {
            std::string text = "internal error";
            try
            {
                std::rethrow_exception(failure);
            }
            catch (const MSG_INTERNAL_ERROR& e)
            {
                text = "Internal Error: " + std::string(e.condition()) + " (" + e.source() + ":" +
                       std::to_string(e.line()) + ")";
            }
            catch (const std::exception& e)
            {
                text = e.what();
            }
            serve_reply(response, 500, {{"error", text}});
        });

    const int requested = port;
    port = requested == 0 ? server.bind_to_any_port("127.0.0.1")
                          : (server.bind_to_port("127.0.0.1", requested) ? requested : -1);
    if (port < 0)
    {
        std::cerr << "corvane: --serve: cannot listen on 127.0.0.1:" << requested << '\n';
        return CLI_FAILED;
    }
    std::cout << "serving " << session.root.string() << " at http://127.0.0.1:" << port << "/?token=" << session.token
              << '\n'
              << std::flush;
    g_server = &server;
    std::signal(SIGINT, stop_on_signal);
    std::signal(SIGTERM, stop_on_signal);
    const bool listened = server.listen_after_bind();
    g_server = nullptr;
    serve_join_generation(session);
    return listened ? CLI_OK : CLI_FAILED;
}
