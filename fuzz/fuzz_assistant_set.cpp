// SPDX-License-Identifier: Apache-2.0
// The document assistant's setters with arbitrary parameter lists on one document, which is then
// written out. Input: calls of [element kind byte][count byte] then per parameter [id byte][text\0].
#include "fuzz_support.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_util.h"

#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string_view in = fuzz_text(data, size);
    auto take_byte = [&in]
    {
        const uint8_t value = in.empty() ? 0 : uint8_t(in[0]);
        in.remove_prefix(in.empty() ? 0 : 1);
        return value;
    };
    std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> document(new PGM_COMMON_XML_ZEB_ZEB);
    while (!in.empty())
    {
        const auto opt = PGM_COMMON_XML_ZEB_CMD_OPT_ENUM(take_byte() % 7 + 1);
        ZEB_FILE_ASSISTANT::PARAM_LIST params(take_byte() % 8);
        for (auto& [param, text] : params)
        {
            param = PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM(take_byte() % ZEB_CMD_PARAM_COUNT);
            const size_t end = std::min(in.find('\0'), in.size());
            text = in.substr(0, end);
            in.remove_prefix(std::min(end + 1, in.size()));
        }
        ZEB_FILE_ASSISTANT::set(document.get(), opt, params);
    }
    if (!ZEB_FILE_ASSISTANT::get_output_file_elements(document.get()).empty()) // saving needs one
        ZEB_UTIL::save(document.get(), fuzz_dir() + "/out.zeb");
    return 0;
}
