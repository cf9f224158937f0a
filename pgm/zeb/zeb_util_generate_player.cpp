// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL chain writers: JAM, JBC and SVF player files. The chain comes from the single input
// (a chain description file, a key programming file or a helper-programmed key or fuse file) or
// from the conversion setup.
#include "pgm/zeb/platform/pgmconv/pgmconv.h"
#include "pgm/zeb/platform/pgmio/pgmio_text.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_messages.h"
#include "pgm/zeb/zeb_util.h"

#include <memory>
#include <stdexcept>
#include <vector>

namespace
{

// The chain of a chain description file: one element per device, processed when the file gives
// the device an action.
bool chain_from_description(const FIO_PATH& input, std::vector<std::unique_ptr<PGM_CHAIN_ELEMENT>>& chain)
{
    PGMIO_CDF_CHAIN description;
    std::string error;
    if (!PGMIO_CDF::read(input, description, error))
    {
        msg_local_vdebug("ZEB_COMMON", 2, "%s", error.c_str());
        return false;
    }
    for (const PGMIO_CDF_DEVICE& device : description.devices)
    {
        const PGM_DEVICE* known = PGM_DEVICE_INDEX::lookup_device(device.device_name);
        auto element = std::make_unique<PGM_CHAIN_ELEMENT>(known);
        if (!device.file.empty())
            element->set_programming_file(PGMIO_CDF::resolve_file(input, device));
        if (device.actions != 0)
            element->flags |= PGM_CHAIN_ELEMENT_PROCESS;
        chain.push_back(std::move(element));
    }
    return true;
}

// A chain of one element reading `input` as its programming file; false when the file cannot be read.
bool chain_from_programming_file(std::unique_ptr<PGM_CHAIN_ELEMENT> element, const FIO_PATH& input,
                                 std::vector<std::unique_ptr<PGM_CHAIN_ELEMENT>>& chain)
{
    element->set_programming_file(input);
    if (!element->create_chain_element(element.get(), true, nullptr, true, 0, false, false))
    {
        msg_local_vdebug("ZEB_COMMON", 2, "%s", element->error().c_str());
        return false;
    }
    element->flags |= PGM_CHAIN_ELEMENT_PROCESS;
    chain.push_back(std::move(element));
    return true;
}

} // namespace

bool ZEB_UTIL::generate_player_file(PGM_COMMON_XML_ZEB_ZEB* object, ZEB_FILE_TYPE type, PGMIO_CCF* ccf)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(ccf);
    const std::vector<FIO_PATH> outputs = ZEB_FILE_ASSISTANT::get_output_file_path(object);
    ZEB_UTIL_ASSERT(outputs.size() == 1);
    const std::vector<FIO_PATH> paths = ZEB_FILE_ASSISTANT::get_input_file_path(object);
    if (paths.empty())
        throw std::out_of_range("invalid vector<T> subscript");
    ZEB_UTIL_ASSERT(paths.size() == 1);
    const FIO_PATH& input = paths.front();

    std::vector<std::unique_ptr<PGM_CHAIN_ELEMENT>> own_chain;
    bool result = true;
    const FIO_EXTENSION_TYPE extension = input.get_extension_type();
    if (extension == FIO_EXTENSION_TYPE_CDF)
        result = chain_from_description(input, own_chain);
    else if (extension == FIO_EXTENSION_TYPE_EKP)
        result = chain_from_programming_file(std::make_unique<PGM_CHAIN_ELEMENT>(nullptr), input, own_chain);
    else if (extension == FIO_EXTENSION_TYPE_HKY || extension == FIO_EXTENSION_TYPE_HEK ||
             extension == FIO_EXTENSION_TYPE_FUSE)
    {
        PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file = ZEB_FILE_ASSISTANT::get_output_file_element(object, type);
        ZEB_UTIL_ASSERT(output_file);
        const std::string& device_name = output_file->get_device();
        ZEB_UTIL_ASSERT(device_name.size() > 0);
        const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(device_name);
        ZEB_UTIL_ASSERT(device);
        PGM_COMMON_XML_ZEB_PATH* path_element = nullptr;
        for (PGM_COMMON_XML_ZEB_PATH* candidate : ZEB_FILE_ASSISTANT::get_path_elements(object, "Bitstream_1"))
            if (!path_element && FIO_PATH(candidate->get_text()) == input)
                path_element = candidate;
        ZEB_UTIL_ASSERT(path_element);
        auto element = std::make_unique<PGM_CHAIN_ELEMENT>(device);
        FIO_PATH helper_image_path;
        PGM_CHAIN_ELEMENT::get_helper_filename(device, helper_image_path, false, nullptr, 2);
        ZEB_UTIL_ASSERT(!helper_image_path.get_full_path().empty());
        element->setup_helper_image(helper_image_path);
        // The companion of a key or fuse file is the encryption key programming file of its path.
        if (!path_element->get_ekp_file().empty())
            element->set_second_file(FIO_PATH(path_element->get_ekp_file()));
        result = chain_from_programming_file(std::move(element), input, own_chain);
    }
    else
    {
        std::vector<PGM_CHAIN_ELEMENT*>& chain = ccf->get_device_chain(0, 0);
        if (type == ZEB_FILE_TYPE_SVF && !chain.empty())
            chain.front()->operation_mask =
                ccf->get_file_options()->svf_operation == 3
                    ? PGMIO_PGM_OP_VERIFY
                    : PGMIO_PGM_OP_PROGRAM | (ccf->get_file_options()->svf_flag_a ? PGMIO_PGM_OP_BLANK_CHECK : 0u);
    }
    if (!result)
        return false;

    // No player writer is part of this library yet: the chain is complete, but the file cannot be
    // written, and the user is told so instead of receiving an empty file.
    zeb_post_message(EZEB_CAN_NOT_GENERATE, {outputs.front().get_full_path()});
    return false;
}
