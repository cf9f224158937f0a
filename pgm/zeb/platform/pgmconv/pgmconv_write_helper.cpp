// SPDX-License-Identifier: Apache-2.0
// Programming helper image output: the helper image of the chain's device, with the firmware of
// the element's firmware source and the security settings of the first page.
#include "pgm/zeb/platform/pgmconv/pgmconv_engine.h"

bool pgmconv_write_helper(const PGMIO_CCF::STATE& state, const std::string& path, std::string& error)
{
    const PGM_CHAIN_ELEMENT* element = nullptr;
    for (const auto& [key, chain] : state.chains)
        for (const PGM_CHAIN_ELEMENT* candidate : chain)
            if (!element && candidate->get_helper_image())
                element = candidate;
    if (!element)
    {
        error = "no chain element holds a helper image";
        return false;
    }
    PGMIO_HELPER_IMAGE helper = *element->get_helper_image();
    if (!element->get_fw_source().empty())
    {
        PGMIO_BYTES firmware;
        if (!pgmconv_read_firmware(FIO_PATH(element->get_fw_source()), firmware, error))
            return false;
        pgmconv_set_firmware(helper.config, std::move(firmware));
    }
    const PGMIO_SECURITY_SETTINGS& security = state.pages.empty() ? PGMIO_SECURITY_SETTINGS{} : state.pages[0].security;
    if (!security.any())
        return PGMIO_HELPER::write(path, helper, error);
    // With security settings the helper's configuration data is written as the security encoding makes it.
    PGMIO_BYTES image;
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(std::string_view(helper.device_name));
    if (!device)
    {
        error = "helper image device " + helper.device_name + " is not in the catalogue";
        return false;
    }
    return pgmsec_encode_configuration(helper.config, security, *device, image, error) &&
           pgmio_write_file_atomic(path, image, error);
}
