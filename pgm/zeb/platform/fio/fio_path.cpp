// SPDX-License-Identifier: Apache-2.0
// Path values, file-system queries and the location of the data directory.
#include "pgm/zeb/platform/fio/fio.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <unistd.h>

#ifndef CORVANE_SOURCE_DATA_DIR
#error "CORVANE_SOURCE_DATA_DIR must name the source tree (set by pgm/zeb/CMakeLists.txt)"
#endif
#ifndef CORVANE_INSTALL_DATA_DIR
#error "CORVANE_INSTALL_DATA_DIR must name the installed data directory (set by pgm/zeb/CMakeLists.txt)"
#endif

namespace fs = std::filesystem;

namespace
{

// Absolute against the working directory, lexically normal, no trailing separator except the root's.
std::string normalise(const fs::path& path)
{
    if (path.empty())
        return {};
    fs::path full = path;
    if (full.is_relative())
    {
        std::error_code error;
        const fs::path cwd = fs::current_path(error);
        // Without a working directory (it was removed) the path stays relative rather than invented.
        if (!error)
            full = cwd / full;
    }
    std::string text = full.lexically_normal().string();
    const size_t root_length = full.has_root_directory() ? full.root_name().string().size() + 1 : 0;
    while (text.size() > root_length && text.size() > 1 && text.back() == '/')
        text.pop_back();
    return text;
}

std::string compose_file_name(std::string_view base_name, std::string_view extension)
{
    if (!extension.empty() && extension.front() == '.')
        extension.remove_prefix(1);
    std::string name(base_name);
    if (!extension.empty())
    {
        name.push_back('.');
        name.append(extension);
    }
    return name;
}

// Position of the dot that starts the last extension of a file name, or npos. A leading dot names
// a hidden file and does not start an extension.
size_t extension_dot(const std::string& file_name)
{
    const size_t dot = file_name.rfind('.');
    return dot == std::string::npos || dot == 0 ? std::string::npos : dot;
}

} // namespace

FIO_PATH::FIO_PATH(std::string_view path) : m_full(normalise(fs::path(path))) {}

FIO_PATH::FIO_PATH(std::string_view directory, std::string_view base_name, std::string_view extension)
{
    const std::string name = compose_file_name(base_name, extension);
    if (directory.empty() && name.empty())
        return;
    m_full = normalise(fs::path(directory) / name);
}

std::string FIO_PATH::get_directory() const
{
    if (m_full.empty())
        return {};
    return fs::path(m_full).parent_path().string();
}

std::string FIO_PATH::get_file_name() const
{
    return fs::path(m_full).filename().string();
}

std::string FIO_PATH::get_base_name() const
{
    const std::string name = get_file_name();
    const size_t dot = extension_dot(name);
    return dot == std::string::npos ? name : name.substr(0, dot);
}

std::string FIO_PATH::get_extension() const
{
    const std::string name = get_file_name();
    const size_t dot = extension_dot(name);
    return dot == std::string::npos ? std::string() : name.substr(dot + 1);
}

FIO_EXTENSION_TYPE FIO_PATH::get_extension_type() const
{
    return fio_get_extension_type(get_extension());
}

void FIO_PATH::set_base_name(std::string_view base_name)
{
    *this = FIO_PATH(get_directory(), base_name, get_extension());
}

void FIO_PATH::set_extension(std::string_view extension)
{
    if (get_file_name().empty())
        return;
    *this = FIO_PATH(get_directory(), get_base_name(), extension);
}

void FIO_PATH::set_directory(std::string_view directory)
{
    *this = FIO_PATH(directory, get_base_name(), get_extension());
}

std::string fio_get_data_directory()
{
    const char* configured = std::getenv("CORVANE_DATA_DIR");
    if (configured != nullptr && *configured != '\0')
        return configured;
    auto holds_schema = [](const fs::path& directory) {
        std::error_code error;
        return fs::is_regular_file(directory / "xsd" / "zeb.xsd", error);
    };
    // An installed tree may have been moved or installed under another prefix: look beside the
    // running program first ("<prefix>/bin/corvane" and "<prefix>/share/corvane").
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    if (!error)
    {
        const fs::path beside = program.parent_path().parent_path() / "share" / "corvane";
        if (holds_schema(beside))
            return beside.string();
    }
    if (holds_schema(CORVANE_INSTALL_DATA_DIR))
        return CORVANE_INSTALL_DATA_DIR;
    return CORVANE_SOURCE_DATA_DIR;
}

bool FIO_FILE_SYSTEM::exists(const FIO_PATH& path)
{
    std::error_code error;
    return !path.is_empty() && fs::exists(path.get_full_path(), error);
}

bool FIO_FILE_SYSTEM::is_directory(const FIO_PATH& path)
{
    std::error_code error;
    return !path.is_empty() && fs::is_directory(path.get_full_path(), error);
}

bool FIO_FILE_SYSTEM::is_writable_directory(const FIO_PATH& directory)
{
    return is_directory(directory) && ::access(directory.get_full_path().c_str(), W_OK | X_OK) == 0;
}
