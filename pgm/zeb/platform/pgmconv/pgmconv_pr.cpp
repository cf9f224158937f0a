// SPDX-License-Identifier: Apache-2.0
// Partial-reconfiguration conversions from partial-masked SRAM object files: the mask settings
// file (.msf), the merged partial-masked file (.pmsf) and the partial-reconfiguration raw binary
// (.rbf), chosen by the output file's extension.
#include "pgm/zeb/platform/pgmconv/pgmconv_engine.h"
#include "pgm/zeb/platform/pgmio/pgmio_precheck.h"

#include <algorithm>

namespace
{

bool read_region(const FIO_PATH& path, PGMIO_PMSF_IMAGE& pmsf, const PGM_DEVICE** device, std::string& error)
{
    if (!PGMIO_POFIO_UTIL_EXPORT::precheck_object_file(path, device, nullptr, error))
        return false;
    return PGMIO_PMSF::read(path.get_full_path(), pmsf, error);
}

// Several regions of one design merged into one: the span from the lowest to the highest byte,
// data and masks combined; regions must not share a mask bit.
bool merge_regions(std::vector<PGMIO_PMSF_IMAGE>& regions, PGMIO_PMSF_IMAGE& merged, std::string& error)
{
    merged = regions.front();
    if (regions.size() == 1)
        return true;
    uint64_t low = UINT64_MAX;
    uint64_t high = 0;
    for (const PGMIO_PMSF_IMAGE& region : regions)
    {
        if (region.device_name != merged.device_name || region.base_hash != merged.base_hash)
        {
            error = "region '" + region.region_name + "' belongs to another design than region '" + merged.region_name +
                    "'";
            return false;
        }
        low = std::min(low, region.region_offset);
        high = std::max<uint64_t>(high, region.region_offset + region.data.size());
    }
    merged.region_offset = low;
    merged.data.assign(size_t(high - low), 0);
    merged.mask.assign(size_t(high - low), 0);
    std::string names;
    for (const PGMIO_PMSF_IMAGE& region : regions)
    {
        names += (names.empty() ? "" : "+") + region.region_name;
        for (size_t i = 0; i < region.data.size(); ++i)
        {
            const size_t at = size_t(region.region_offset - low) + i;
            if (merged.mask[at] & region.mask[i])
            {
                error = "regions overlap at core offset " + pgmio_hex_number(low + at) + " (region '" +
                        region.region_name + "')";
                return false;
            }
            merged.mask[at] |= region.mask[i];
            merged.data[at] |= region.data[i];
        }
    }
    merged.region_name = names;
    return true;
}

} // namespace

bool PGMIO_PR_INTERFACE::read_pmsf_file(PGMIO_CCF* ccf, const FIO_PATH& path)
{
    if (!ccf)
        return false;
    PGMIO_PMSF_IMAGE pmsf;
    const PGM_DEVICE* device = nullptr;
    std::string error;
    if (!read_region(path, pmsf, &device, error))
    {
        ccf->state().error = error;
        return false;
    }
    return true;
}

bool PGMIO_PR_INTERFACE::process_pr_commands(PGMIO_CCF* ccf)
{
    if (!ccf)
        return false;
    const PGMIO_CCF::STATE& state = ccf->state();
    std::string& error = state.error;
    error.clear();
    std::vector<PGMIO_PMSF_IMAGE> regions;
    const PGM_DEVICE* device = nullptr;
    uint32_t page_index = 0;
    for (uint32_t i = 0; i < state.pages.size(); ++i)
        for (const PGMIO_CCF_PR_INPUT& input : state.pages[i].pr_inputs)
        {
            regions.emplace_back();
            if (!read_region(input.path, regions.back(), &device, error))
                return false;
            page_index = i;
        }
    if (regions.empty())
    {
        error = "no partial-masked SRAM object file was given";
        return false;
    }
    PGMIO_PMSF_IMAGE merged;
    if (!merge_regions(regions, merged, error))
        return false;
    const std::string path = state.output_file.get_full_path();
    switch (state.output_file.get_extension_type())
    {
    case FIO_EXTENSION_TYPE_MSF:
        return PGMIO_MSF::write(path, {merged.device_name, merged.region_name, merged.region_offset, merged.mask},
                                error);
    case FIO_EXTENSION_TYPE_PMSF:
        return PGMIO_PMSF::write(path, merged, error);
    case FIO_EXTENSION_TYPE_RBF:
    {
        // The region's data as configuration data of its own, encoded with the page's settings.
        PGMIO_CONFIG_DATA config;
        config.idcode = device->get_fpga_record()->jtag.idcode;
        config.flags = PGMIO_DESIGN_PR;
        config.sections.push_back({PGMIO_SECTION_CORE, merged.data});
        PGMIO_BYTES image;
        return pgmsec_encode_configuration(config, state.pages[page_index].security, *device, image, error) &&
               pgmio_write_file_atomic(path, image, error);
    }
    default:
        error = "'" + path + "': partial reconfiguration writes .msf, .pmsf or .rbf files";
        return false;
    }
}
