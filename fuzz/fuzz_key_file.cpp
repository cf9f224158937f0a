// SPDX-License-Identifier: Apache-2.0
// Key files; an entry that reads is found again by its id, with the key's length.
#include "fuzz_support.h"
#include "pgm/zeb/key_files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const uint32_t key_bits = data[0] & 1 ? 256 : 128;
    const std::string path = fuzz_file("in.key", fuzz_text(data + 1, size - 1));
    ZEB_KEY_FILE_ASSISTANT::KEY_MAP keys;
    if (!ZEB_KEY_FILE_ASSISTANT::parse_key_file(path, key_bits, keys))
        return 0;
    for (const auto& [id, key] : keys)
        if (key.size() != key_bits / 4 || ZEB_KEY_FILE_ASSISTANT::get_key_from_key_file(path, id, key_bits) != key)
            abort();
    return 0;
}
