// SPDX-License-Identifier: Apache-2.0
// The whole check of a parsed setup document, as the command line runs it: the settings check,
// then the consistency rules.
#include "fuzz_support.h"
#include "pgm/zeb/zeb_util.h"
#include "tools/cli.h"

#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string path = fuzz_file("in.zeb", fuzz_text(data, size));
    try
    {
        PGM_COMMON_XML_ZEB_ZEB* object = nullptr;
        ZEB_UTIL::parse(&object, path);
        std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> document(object);
        if (document)
            cli_check_document(document.get(), path);
    }
    catch (const MSG_INTERNAL_ERROR&)
    {
        // Conditions the library treats as broken preconditions by design.
    }
    return 0;
}
