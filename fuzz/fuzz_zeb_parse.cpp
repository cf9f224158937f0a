// SPDX-License-Identifier: Apache-2.0
// Setup documents: the schema check and the element library. A document that reads is saved and
// must read again.
#include "fuzz_support.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_util.h"

#include <memory>

static bool parse(const std::string& path, std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB>& document)
{
    PGM_COMMON_XML_ZEB_ZEB* object = nullptr;
    try
    {
        const bool ok = ZEB_UTIL::parse(&object, path);
        document.reset(object);
        return ok && object;
    }
    catch (const MSG_INTERNAL_ERROR&)
    {
        return false; // a condition the library refuses as a broken precondition; the command line checks first
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> document;
    if (!parse(fuzz_file("in.zeb", fuzz_text(data, size)), document) ||
        ZEB_FILE_ASSISTANT::get_output_file_elements(document.get()).empty()) // saving needs an output file
        return 0;
    const std::string saved = fuzz_dir() + "/saved.zeb";
    std::filesystem::remove(saved);
    if (!ZEB_UTIL::save(document.get(), saved) || !std::filesystem::exists(saved))
        return 0;
    std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> again;
    if (!parse(saved, again))
        abort(); // a saved document must read back
    return 0;
}
