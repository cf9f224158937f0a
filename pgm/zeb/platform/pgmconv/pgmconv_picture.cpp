// SPDX-License-Identifier: Apache-2.0
#include "pgm/zeb/platform/pgmconv/pgmconv_picture.h"

#include "pgm/zeb/platform/pgmconv/pgmconv_engine.h"

bool pgmconv_flash_picture(const PGMIO_CCF& ccf, PGMCONV_PICTURE& picture, std::string& error)
{
    PGMCONV_LAYOUT layout;
    layout.hold_budget = 0; // nothing is written: the inputs need not stay in memory
    if (!pgmconv_build_layout(ccf.state(), true, layout, error))
        return false;
    if (layout.flash_device.empty() || layout.flash_size == 0)
    {
        error = "the conversion names no flash device";
        return false;
    }
    static const char* const k_kinds[] = {"page", "raw", "reserved", "directory"};
    picture = PGMCONV_PICTURE{layout.flash_device, layout.flash_size, {}};
    for (const PGMCONV_ITEM& item : layout.items)
        picture.areas.push_back({item.name, k_kinds[item.kind], item.start, item.end, item.size});
    return true;
}
