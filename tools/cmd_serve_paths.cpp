// SPDX-License-Identifier: Apache-2.0
// File paths of the web editor: every one is resolved (symbolic links followed) and must stay below
// the directory the server was started in.
#include "cmd_serve.h"

#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_util.h"

#include <algorithm>

namespace fs = std::filesystem;

namespace
{

bool below(const fs::path& root, const fs::path& path)
{
    const auto [root_end, unused] = std::mismatch(root.begin(), root.end(), path.begin(), path.end());
    return root_end == root.end();
}

} // namespace

bool serve_confine(const SERVE_SESSION& session, const std::string& path, fs::path& resolved, std::string& error)
{
    if (path.empty() || path.find('\0') != std::string::npos)
    {
        error = "no file path given";
        return false;
    }
    const fs::path given = fs::path(path).is_absolute() ? fs::path(path) : session.root / path;
    std::error_code code;
    // weakly_canonical follows the links of the part that exists and normalises the rest, so a
    // file still to be written resolves through its directory.
    resolved = fs::weakly_canonical(given, code);
    if (code || !below(session.root, resolved))
    {
        error = "the path '" + path + "' leads outside the directory " + session.root.string();
        return false;
    }
    return true;
}

std::string serve_relative(const SERVE_SESSION& session, const fs::path& resolved)
{
    const fs::path relative = resolved.lexically_relative(session.root);
    return relative.empty() ? "." : relative.generic_string();
}

bool serve_list_directory(const SERVE_SESSION& session, const std::string& path, nlohmann::json& entries,
                          std::string& error)
{
    fs::path directory;
    if (!serve_confine(session, path.empty() ? "." : path, directory, error))
        return false;
    std::error_code code;
    std::vector<std::pair<bool, std::string>> found;
    for (fs::directory_iterator it(directory, code), end; !code && it != end; it.increment(code))
    {
        const std::string name = it->path().filename().string();
        if (name.empty() || name[0] == '.')
            continue;
        found.emplace_back(!it->is_directory(code), name);
    }
    if (code)
    {
        error = "cannot list " + path + ": " + code.message();
        return false;
    }
    std::sort(found.begin(), found.end());
    entries = nlohmann::json::array();
    for (const auto& [file, name] : found)
        entries.push_back({{"name", name}, {"dir", !file}});
    return true;
}

namespace
{

// The attributes that name a file or a directory to read (keys, signing keys, boot loaders,
// firmware, user flash content, the custom flash database).
bool names_a_path(std::string_view attribute)
{
    return attribute.find("file") != std::string_view::npos || attribute == "hps_path" || attribute == "fw_source" ||
           attribute == "custom_db_dir";
}

bool attribute_paths_confined(const SERVE_SESSION& session, const PGM_COMMON_XML_ELEMENT& element, std::string& error)
{
    fs::path resolved;
    for (const PGM_COMMON_XML_ATTRIBUTE& attribute : element.attributes())
        if (attribute.present() && names_a_path(attribute.name()) && !attribute.text().empty() &&
            !serve_confine(session, attribute.text(), resolved, error))
            return false;
    for (const PGM_COMMON_XML_ELEMENT* child : element.children())
        if (!attribute_paths_confined(session, *child, error))
            return false;
    return true;
}

} // namespace

bool serve_document_paths_confined(SERVE_SESSION& session, std::string& error)
{
    std::vector<FIO_PATH> paths = ZEB_FILE_ASSISTANT::get_input_file_path(session.document.get());
    for (PGM_COMMON_XML_ZEB_OUTPUT_FILE* output : ZEB_FILE_ASSISTANT::get_output_file_elements(session.document.get()))
        for (const FIO_PATH& path : ZEB_UTIL::get_output_file_paths(output))
            paths.push_back(path);
    fs::path resolved;
    for (const FIO_PATH& path : paths)
        if (!serve_confine(session, path.get_full_path(), resolved, error))
            return false;
    return attribute_paths_confined(session, *session.document, error);
}
