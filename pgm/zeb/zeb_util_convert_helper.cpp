// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL conversions for special outputs: the programming helper image of a helper device, the
// CvP split of a single-device chain, and the HPS I/O configuration of each page.
#include "pgm/zeb/platform/pgmconv/pgmconv.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_messages.h"
#include "pgm/zeb/zeb_util.h"

#include <memory>
#include <stdexcept>

namespace
{

// The helper type that the catalogue files the image under, and the kind the chain element records.
struct HELPER_SUBTYPE
{
    PGM_COMMON_XML_ENUM subtype;
    uint32_t helper_type;
    uint32_t helper_kind;
};

constexpr HELPER_SUBTYPE k_helper_subtypes[] = {
    {PGM_COMMON_XML_ENUM_SDMMC, 0, 1},
    {PGM_COMMON_XML_ENUM_FUSE, 3, 3},
    {PGM_COMMON_XML_ENUM_QSPI, 2, 2},
};

const HELPER_SUBTYPE& helper_subtype_of(PGM_COMMON_XML_ENUM subtype)
{
    for (const HELPER_SUBTYPE& row : k_helper_subtypes)
        if (row.subtype == subtype)
            return row;
    ZEB_UTIL_INTERNAL_ERROR("Unsupported subtype");
}

template <class T> T* first_of(const std::vector<T*>& list)
{
    if (list.empty())
        throw std::out_of_range("invalid vector<T> subscript");
    return list.front();
}

} // namespace

bool ZEB_UTIL::convert_zeb_to_ccf_helper_image(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf, ZEB_FILE_TYPE type)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(ccf);
    PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file =
        first_of(first_of(object->get_output_files_list())->get_output_file_list());
    const std::string& name = output_file->get_device();
    ccf->set_hlpr_device(name);
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(name);
    ZEB_UTIL_ASSERT(device);

    auto element = std::make_unique<PGM_CHAIN_ELEMENT>(device);
    const HELPER_SUBTYPE& subtype = helper_subtype_of(output_file->get_subtype());
    FIO_PATH helper_image_path;
    PGM_CHAIN_ELEMENT::get_helper_filename(device, helper_image_path, false, nullptr, subtype.helper_type);
    element->set_helper_kind(subtype.helper_kind);
    ZEB_UTIL_ASSERT(helper_image_path.get_full_path().size() > 0);
    element->set_programming_file(helper_image_path);

    PGM_COMMON_XML_ZEB_BITSTREAM* bitstream = first_of(first_of(object->get_bitstreams_list())->get_bitstream_list());
    PGM_COMMON_XML_ZEB_PATH* path = first_of(bitstream->get_path_list());
    element->set_fw_source(path->get_fw_source().empty() ? "" : FIO_PATH(path->get_fw_source()).get_full_path());

    const bool created = element->create_chain_element(element.get(), true, nullptr, false, 0, false, false);
    ccf->set_page(0);
    bool added = false;
    if (created)
        added = ccf->add_chain_element(element.release(), PGMIO_CCF_ALL_PAGES, 0, PGMIO_CCF_ALL_PAGES);
    ccf->set_n_pages(1);
    if (!added)
        return false;
    // The helper image carries the security settings of the document's first bitstream.
    return convert_zeb_to_ccf_bitstream_properties(object, ccf, path, type, 0, 0);
}

bool ZEB_UTIL::convert_zeb_to_ccf_setup_cvp(PGMIO_CCF* ccf)
{
    ZEB_UTIL_ASSERT(ccf);
    std::vector<PGM_CHAIN_ELEMENT*>& chain = ccf->get_device_chain(0, 0);
    const char* reason = "Fail to generate CVP programming files due to there are more than one devices in the chain";
    if (chain.size() == 1)
    {
        PGM_CHAIN_ELEMENT* element = chain.front();
        element->set_cvp_pcie_enabled_flag(true);
        const bool cvp = (element->flags & PGM_CHAIN_ELEMENT_CVP) != 0;
        ccf->set_cvp(cvp);
        if (cvp)
            return true;
        reason = "Fail to generate CVP programming files due to the design does not have CVP enabled";
    }
    zeb_post_message(EZEB_SETTINGS_CHECK_ERROR, {reason});
    return false;
}

bool ZEB_UTIL::convert_zeb_to_ccf_setup_hps(PGMIO_CCF* ccf)
{
    ZEB_UTIL_ASSERT(ccf);
    bool success = false;
    for (uint32_t page = 0; page < ccf->get_n_pages(); ++page)
    {
        std::vector<PGM_CHAIN_ELEMENT*>& chain = ccf->get_device_chain(page, 0);
        if (chain.size() != 1)
        {
            msg_local_vdebug("ZEB_COMMON", 2,
                             "MSG: HPS setting have been ignored due to there is more than one devices in the chain");
            continue;
        }
        bool flag = false;
        if (chain.front()->support_hps_iocsr(true, &flag, true))
        {
            ccf->set_hps_iocsr(flag);
            success = true;
        }
    }
    return success;
}
