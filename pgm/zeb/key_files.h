// SPDX-License-Identifier: Apache-2.0
// ZEB_KEY_FILE_ASSISTANT: text files that hold bitstream encryption keys by key identifier.
//
// One entry per line: optional leading blanks or tabs, the key id, blanks or tabs, the key, and
// optionally more blanks or tabs and a comment. A line whose first character is '#' is a comment;
// an empty line is ignored. A key has key_bits / 4 hexadecimal digits; further characters of the
// key are dropped. Nothing here posts messages: results say whether the file was usable.
#pragma once

#include <cstdint>
#include <map>
#include <string>

class ZEB_KEY_FILE_ASSISTANT
{
public:
    using KEY_MAP = std::map<std::string, std::string>;

    // Reads every entry of the file into `keys` (emptied first; the first entry of an id wins).
    // False when the file is missing or unreadable, has no line, or a line is malformed; entries
    // read before a malformed line stay in `keys`.
    static bool parse_key_file(const std::string& path, uint32_t key_bits, KEY_MAP& keys);

    // The key of `id` (exact match) from the file; "" when the file does not parse or lacks the id.
    static std::string get_key_from_key_file(const std::string& path, const std::string& id, uint32_t key_bits);
    // Whether the file holds a key of `id`; the key read is cleared again.
    static bool has_key(const std::string& path, const std::string& id, uint32_t key_bits);

    // Writes `keys` as "id<TAB>key" lines in id order, replacing the file only when complete; the
    // file is the owner's alone (mode 0600).
    // False (nothing written) when the file cannot be created.
    static bool write_key_file(const std::string& path, const KEY_MAP& keys);

private:
    // Parses one line; true with both outputs empty for an empty or comment line, true with both
    // set for a well-formed entry, false otherwise.
    static bool parse_key_file_line(const std::string& line, uint32_t key_bits, std::string& id, std::string& key);
};
