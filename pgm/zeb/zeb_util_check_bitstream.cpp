// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL: checks of a bitstream input and of the security options of its path (signing,
// encryption and its finalisation), and the rule for several bitstreams in one flash device.
#include "pgm/zeb/zeb_util.h"

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/zeb_db_util.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_messages.h"

#include <algorithm>

namespace
{

// Inputs that target no device: chain descriptions (.cdf), encryption key programming files (.ekp)
// and the key and fuse programming inputs of the player files (.hky, .hek, .fuse). Their precheck
// only makes sure they exist and yields no device, so the family and input-type tests, which both
// start from the device's file, do not apply to them. The fuse input belongs here with the two key
// inputs: the player files accept all three and program them alike, through a helper image.
bool targets_no_device(FIO_EXTENSION_TYPE extension)
{
    switch (extension)
    {
    case FIO_EXTENSION_TYPE_CDF:
    case FIO_EXTENSION_TYPE_EKP:
    case FIO_EXTENSION_TYPE_HKY:
    case FIO_EXTENSION_TYPE_HEK:
    case FIO_EXTENSION_TYPE_FUSE:
        return true;
    default:
        return false;
    }
}

} // namespace

bool ZEB_UTIL::check_bitstream(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_BITSTREAM_ID* bitstream_id,
                               const std::vector<FIO_FILE_TYPE>& input_file_types, std::string& message, bool& error)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(bitstream_id);
    const std::string& id = bitstream_id->get_text();
    const PGM_COMMON_XML_ZEB_BITSTREAM* bitstream = ZEB_FILE_ASSISTANT::get_bitstream_element(object, id);
    if (!bitstream || bitstream->get_path_list().empty())
    {
        message = "Missing settings for bitstream ID " + id + ".";
        error = true;
        return false;
    }
    PGM_COMMON_XML_ZEB_PATH* path = bitstream->get_path_list().front();
    const FIO_PATH file(path->get_text());
    const PGM_DEVICE* device = nullptr;
    std::string detail;
    if (!precheck_input_file(file, &device, message, detail, true))
        return false;

    if (!targets_no_device(file.get_extension_type()))
    {
        ZEB_UTIL_ASSERT(device);
        if (!ZEB_DB_UTIL::is_supported_family(device->get_family()))
        {
            message = "Device " + device->get_name() + " is not supported.";
            return false;
        }
        const FIO_FILE_TYPE input_file_type = fio_get_file_type(file.get_extension_type());
        if (std::find(input_file_types.begin(), input_file_types.end(), input_file_type) == input_file_types.end())
        {
            message =
                "Input file type '" + file.get_extension() + "' is not supported by the specified output file type.";
            return false;
        }
    }
    return check_bitstream_signing_settings(object, path, message) &&
           check_bitstream_encryption_settings(path, message);
}

bool ZEB_UTIL::check_bitstream_signing_settings(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_PATH* path,
                                                std::string& message)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(path);
    if (path->get_signing() == PGM_COMMON_XML_ENUM_OFF)
        return true;
    if (path->get_sign_later())
    {
        message = "The signing and sign_later options cannot both be enabled at the same time";
        return false;
    }
    if (path->get_signing_pem_file().empty())
    {
        message = "Missing pem file";
        return false;
    }
    if (!check_file_exist(FIO_PATH(path->get_signing_pem_file()), message))
        return false;

    // Only the helper image written beside a flash programming file carries the public root key.
    const std::vector<PGM_COMMON_XML_ZEB_OUTPUT_FILE*> output_files =
        ZEB_FILE_ASSISTANT::get_output_file_elements(object);
    if (output_files.empty() || output_files.front()->get_type() != PGM_COMMON_XML_ENUM_HELPER_RBF)
        return true;
    if (path->get_hky_file().empty())
    {
        message = "Missing hky file";
        return false;
    }
    return check_file_exist(FIO_PATH(path->get_hky_file()), message);
}

bool ZEB_UTIL::check_bitstream_encryption_settings(PGM_COMMON_XML_ZEB_PATH* path, std::string& message)
{
    ZEB_UTIL_ASSERT(path);
    if (path->get_encryption() && (path->get_key_file1().empty() || path->get_key1().empty()))
    {
        message = "Missing key_file or key is not set.";
        return false;
    }
    const std::string& hek_file = path->get_hek_file();
    if (path->get_finalize_encryption())
    {
        if (path->get_finalize_encryption_later())
        {
            message = "The finalize_encryption and finalize_encryption_later options cannot both be enabled at the "
                      "same time";
            return false;
        }
        if (hek_file.empty())
        {
            message = "Missing HEK file";
            return false;
        }
        if (!check_file_exist(FIO_PATH(hek_file), message))
            return false;
    }
    // Finalisation is settled when there is nothing to finalise or it is done now; putting it off is
    // only allowed for a bitstream that is signed later as well.
    const bool ready = hek_file.empty() || path->get_finalize_encryption();
    if (ready && (!path->get_finalize_encryption_later() || path->get_sign_later()))
        return true;
    message = ready ? "Cannot skip encryption finalization if signing is enabled"
                    : "HEK file is specified but finalize encryption option is not enabled";
    return false;
}

bool ZEB_UTIL::check_assignment_bitstream_settings(PGM_COMMON_XML_ZEB_ZEB* object, std::string& message, bool& error)
{
    ZEB_UTIL_ASSERT(object);
    std::vector<PGM_COMMON_XML_ZEB_ASSIGNMENT*> bitstream_assignments;
    for (PGM_COMMON_XML_ZEB_ASSIGNMENT* assignment : ZEB_FILE_ASSISTANT::get_assignment_elements(object))
    {
        if (!assignment->get_bitstream_id_list().empty())
            bitstream_assignments.push_back(assignment);
    }
    if (bitstream_assignments.size() < 2)
        return true;

    // The first bitstream input stands for the device of all of them.
    const FIO_PATH file = ZEB_FILE_ASSISTANT::get_input_file_path(object, bitstream_assignments.front());
    const PGM_DEVICE* device = nullptr;
    PGMIO_PRECHECK_INFO info;
    std::string detail;
    if (!precheck_input_file(file, &device, &info, message, detail, true))
        return false;

    PGMIO_CONFIG_SCHEME config_mode = PGMIO_CONFIG_SCHEME_ILLEGAL;
    ZEB_FILE_ASSISTANT::get_config_mode(object, config_mode);
    const bool active_serial = config_mode == PGMIO_CONFIG_SCHEME_AS || config_mode == PGMIO_CONFIG_SCHEME_AS_X4;
    // Several images on a remote-update device make sense only in a remote-update layout, whose
    // factory image partition holds the first of them.
    if (!active_serial || !info.remote_update || ZEB_FILE_ASSISTANT::get_partition_element(object, "FACTORY_IMAGE"))
        return true;
    message = "Multiple SOF files been assigned to the flash device. However, the flash device does not have remote "
              "update feature enabled. Make sure there is only one SOF file been assigned to device flash partition. "
              "If you want to create the programming file for remote update, make sure there are multiple SOF files "
              "being added into Input Files tab, then you remove the existing flash device and add the new flash "
              "device again in Configuration Device tab.";
    error = true;
    return false;
}
