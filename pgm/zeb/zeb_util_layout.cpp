// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL::get_flash_layouts: the flash layouts of a document's output files, for pictures.
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/pgmconv/pgmconv_picture.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_util.h"

#include <memory>

bool ZEB_UTIL::get_flash_layouts(PGM_COMMON_XML_ZEB_ZEB* object, std::vector<PGMCONV_PICTURE>& pictures)
{
    MSG_ASSERT_AT(object != nullptr, "ZEB_COMMON", "pgm/zeb/zeb_util");
    for (PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file : ZEB_FILE_ASSISTANT::get_output_file_elements(object))
    {
        PGMIO_CCF* raw = nullptr;
        const bool converted = convert_zeb_to_ccf(object, output_file, 0, &raw);
        const std::unique_ptr<PGMIO_CCF> ccf(raw);
        if (!converted)
            return false;
        PGMCONV_PICTURE picture;
        std::string not_flash;
        if (pgmconv_flash_picture(*ccf, picture, not_flash))
            pictures.push_back(std::move(picture));
    }
    return true;
}
