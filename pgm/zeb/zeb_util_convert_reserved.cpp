// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL conversion of an unassigned partition: the options area, a user partition kept free in
// the flash layout, or nothing for the areas that the engine lays out itself.
#include "pgm/zeb/platform/pgmconv/pgmconv.h"
#include "pgm/zeb/zeb_messages.h"
#include "pgm/zeb/zeb_util.h"

namespace
{

constexpr const char* k_auto = "auto";
constexpr uint32_t k_unset = 0xFFFFFFFF;

} // namespace

bool ZEB_UTIL::convert_zeb_to_ccf_reserved_partition(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf,
                                                     PGM_COMMON_XML_ZEB_PARTITION* partition)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(ccf);
    ZEB_UTIL_ASSERT(partition);
    const std::string& name = partition->get_id();
    if (partition->get_reserved())
    {
        if (name == "BOOT_INFO" || name == "FACTORY_IMAGE")
            return true; // the engine writes the boot information and places the factory image
        if (name == "OPTIONS")
        {
            ccf->set_options_area(true);
            ccf->set_options_start_address(
                partition->get_s_addr() == k_auto ? 0 : convert_string_to_dword(partition->get_s_addr()));
            return true;
        }
    }

    uint32_t start = k_unset;
    uint32_t end = k_unset;
    PGMIO_ADDR_SCHEME mode = PGMIO_ADDR_AUTO;
    if (partition->get_s_addr() != k_auto)
    {
        start = convert_string_to_dword(partition->get_s_addr());
        if (partition->get_e_addr() != k_auto)
        {
            end = convert_string_to_dword(partition->get_e_addr());
            mode = PGMIO_ADDR_FIXED;
        }
        else
            mode = PGMIO_ADDR_FIXED_START;
    }
    uint32_t size = partition->get_size();
    if (size == 0)
    {
        if (start == k_unset || end == k_unset)
            return true; // nothing tells how much room it takes
        size = end - start + 1;
    }
    return ccf->add_partition(PGMIO_CCF_ALL_PAGES, name, mode, start == k_unset ? 0 : start, end, size);
}
