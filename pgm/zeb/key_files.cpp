// SPDX-License-Identifier: Apache-2.0
#include "pgm/zeb/key_files.h"

#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/pgmsec/pgmsec.h"

#include <cctype>

namespace
{

constexpr const char* k_delimiters = " \t";

} // namespace

bool ZEB_KEY_FILE_ASSISTANT::parse_key_file_line(const std::string& line, uint32_t key_bits, std::string& id,
                                                 std::string& key)
{
    id.clear();
    key.clear();
    if (line.empty() || line[0] == '#')
        return true;

    // A line of blanks and tabs alone has no id: it is not a valid line.
    const size_t id_start = line.find_first_not_of(k_delimiters);
    if (id_start == std::string::npos)
        return false;
    const size_t id_end = line.find_first_of(k_delimiters, id_start);
    if (id_end == std::string::npos)
        return false; // a single token: no key
    const size_t key_start = line.find_first_not_of(k_delimiters, id_end);
    if (key_start == std::string::npos)
        return false;
    size_t key_end = line.find_first_of(k_delimiters, key_start);
    if (key_end == std::string::npos)
        key_end = line.size();

    const std::string parsed_id = line.substr(id_start, id_end - id_start);
    const size_t digits = key_bits / 4;
    if (parsed_id.empty() || key_end - key_start < digits)
        return false;
    // Only the leading digits are the key; whatever follows them within the token is dropped.
    for (size_t i = 0; i < digits; ++i)
    {
        const char c = line[key_start + i];
        if (!std::isxdigit(static_cast<unsigned char>(c)))
        {
            key.clear();
            return false;
        }
        key += c;
    }
    id = parsed_id;
    return true;
}

bool ZEB_KEY_FILE_ASSISTANT::parse_key_file(const std::string& path, uint32_t key_bits, KEY_MAP& keys)
{
    keys.clear();
    if (!FIO_FILE_SYSTEM::exists(FIO_PATH(path)))
        return false;
    HTL_ZIFSTREAM in(path);
    if (!in.is_open())
        return false;

    bool result = false; // a file without any line is not a key file
    std::string line;
    while (std::getline(in.stream(), line))
    {
        std::string id;
        std::string key;
        result = parse_key_file_line(line, key_bits, id, key);
        if (!result)
            break;
        if (!id.empty())
            keys.emplace(id, key); // an id given again keeps its first key
        pgmsec_clear_password(key);
        pgmsec_clear_password(line);
    }
    pgmsec_clear_password(line);
    return result && !in.stream().bad();
}

std::string ZEB_KEY_FILE_ASSISTANT::get_key_from_key_file(const std::string& path, const std::string& id,
                                                          uint32_t key_bits)
{
    KEY_MAP keys;
    const bool parsed = parse_key_file(path, key_bits, keys);
    auto found = keys.find(id);
    std::string key = parsed && found != keys.end() ? found->second : std::string();
    for (auto& entry : keys)
        pgmsec_clear_password(entry.second);
    return key;
}

bool ZEB_KEY_FILE_ASSISTANT::has_key(const std::string& path, const std::string& id, uint32_t key_bits)
{
    std::string key = get_key_from_key_file(path, id, key_bits);
    const bool found = !key.empty();
    pgmsec_clear_password(key);
    return found;
}

bool ZEB_KEY_FILE_ASSISTANT::write_key_file(const std::string& path, const KEY_MAP& keys)
{
    HTL_ZOFSTREAM out(path, false, true);
    if (!out.is_open())
        return false;
    for (const auto& [id, key] : keys)
        out.stream() << id << '\t' << key << '\n';
    return out.commit();
}
