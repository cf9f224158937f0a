// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL chain writers: JAM, JBC and SVF player files. The chain comes from the single input
// (a chain description file, a key programming file or a helper-programmed key or fuse file) or
// from the conversion setup.
#include "pgm/zeb/platform/pgmconv/pgmconv.h"
#include "pgm/zeb/platform/pgmconv/pgmio_player.h"
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
// the device an action. A file that cannot be read is reported against the output file.
bool chain_from_description(const FIO_PATH& input, const FIO_PATH& output,
                            std::vector<std::unique_ptr<PGM_CHAIN_ELEMENT>>& chain)
{
    PGMIO_CDF_CHAIN description;
    std::string error;
    if (!PGMIO_CDF::read(input, description, error))
    {
        zeb_post_message(EZEB_GENERIC_ERROR, {output.get_full_path(), error});
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
        result = chain_from_description(input, outputs.front(), own_chain);
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
        const PGMIO_FILE_OPTIONS* options = ccf->get_file_options();
        if (type == ZEB_FILE_TYPE_SVF && !chain.empty())
            chain.front()->operation_mask = PGMIO_SVF::convert_svfe_op_to_pgm_op_mask(
                SVFE_OPERATION(options->svf_operation), options->svf_flag_a);
    }
    if (!result)
        return false;

    std::vector<PGM_CHAIN_ELEMENT*> chain;
    for (const std::unique_ptr<PGM_CHAIN_ELEMENT>& element : own_chain)
        chain.push_back(element.get());
    if (own_chain.empty())
        chain = ccf->get_device_chain(0, 0);
    const FIO_PATH& output = outputs.front();
    std::string reason;
    if (type == ZEB_FILE_TYPE_SVF)
    {
        const PGMIO_FILE_OPTIONS* options = ccf->get_file_options();
        PGMIO_SVF svf(options->svf_operation, options->svf_flag_a, options->svf_frequency, options->svf_voltage,
                      options->svf_flag_b);
        if (!svf.create_output_file(&chain, PGMIO_SVF::convert_uint_to_frequency_string(options->svf_frequency),
                                    output))
            reason = svf.get_error();
    }
    else
    {
        if (!chain.empty())
            chain.front()->flags |= PGM_CHAIN_ELEMENT_PROCESS;
        if (!PGMIO_CMD_LN_INTERFACE::create_output_file(&chain, output))
            reason = PGMIO_CMD_LN_INTERFACE::get_last_error();
    }
    if (reason.empty())
        return true;
    // The writer's reason first, so that the user learns why the file was not written.
    zeb_post_message(EZEB_GENERIC_ERROR, {output.get_full_path(), reason});
    zeb_post_message(EZEB_CAN_NOT_GENERATE, {output.get_full_path()});
    return false;
}
