// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL: the check driver. It walks the output files of a document against the configuration
// mode and the capability tables, merges what they accept, then checks each output file with its
// target (a bitstream or a flash device). The first failure ends the check with one sentence.
#include "pgm/zeb/zeb_util.h"
#include "pgm/zeb/zeb_util_precheck_scope.h"

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/zeb_db_util.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_messages.h"

#include <algorithm>

namespace
{

// A document without a mode is checked against scheme 20; output types that are independent of
// the mode pass with it as with any other.
constexpr PGMIO_CONFIG_SCHEME NO_CONFIG_MODE = static_cast<PGMIO_CONFIG_SCHEME>(20);

template <class T> bool contains(const std::vector<T>& list, T value)
{
    return std::find(list.begin(), list.end(), value) != list.end();
}

bool is_helper_image_type(ZEB_FILE_TYPE type)
{
    return type == ZEB_FILE_TYPE_HELPER_RBF_SECONDARY || type == ZEB_FILE_TYPE_HELPER_RBF;
}

bool is_helper_image_subtype(PGM_COMMON_XML_ENUM subtype)
{
    return subtype == PGM_COMMON_XML_ENUM_QSPI || subtype == PGM_COMMON_XML_ENUM_FUSE ||
           subtype == PGM_COMMON_XML_ENUM_SDMMC;
}

bool is_player_file_type(ZEB_FILE_TYPE type)
{
    return type == ZEB_FILE_TYPE_JAM || type == ZEB_FILE_TYPE_JBC || type == ZEB_FILE_TYPE_SVF;
}

// Key and fuse programming inputs: a player file programs them through a helper image that runs on
// the output file's device, so that device has to be named.
bool needs_helper_device(FIO_EXTENSION_TYPE extension)
{
    return extension == FIO_EXTENSION_TYPE_HKY || extension == FIO_EXTENSION_TYPE_HEK ||
           extension == FIO_EXTENSION_TYPE_FUSE;
}

const char* const MISSING_HELPER_DEVICE = "Missing 'helper_device' option or user have specified an invalid value.";

// The mode rule of one output file; the type is named by its display name.
bool check_output_file_mode(ZEB_FILE_TYPE type, PGMIO_CONFIG_SCHEME config_mode, std::string& message)
{
    if (ZEB_DB::get_independent_of_mode(type) || ZEB_DB::supports_output_file_type(config_mode, type))
        return true;
    message = "Configuration mode '" + ZEB_DB_UTIL::get_config_scheme_name(config_mode) +
              "' does not support output file type '" + ZEB_DB::get_description(type) + "'";
    return false;
}

// The helper device, helper-image and player-file rules of one output file, in their order.
bool check_output_file_options(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file,
                               ZEB_FILE_TYPE type, std::string& message)
{
    const std::string& device_name = output_file->get_device();
    const PGM_DEVICE* device = device_name.empty() ? nullptr : PGM_DEVICE_INDEX::lookup_device(device_name);
    if (!device_name.empty() && !device)
    {
        message = "Helper device '" + device_name + "' is not supported.";
        return false;
    }
    if (is_helper_image_type(type))
    {
        if (!is_helper_image_subtype(output_file->get_subtype()))
        {
            message = "Missing 'subtype' option or user have specified an invalid helper image type.";
            return false;
        }
        if (!device)
        {
            message = MISSING_HELPER_DEVICE;
            return false;
        }
        if (!ZEB_DB::get_supported_family(type).empty() &&
            !ZEB_DB::supports_supported_family(type, device->get_family()))
        {
            message = "Helper image is not supported on device '" + device_name + "'.";
            return false;
        }
    }
    if (is_player_file_type(type))
    {
        // A player file is written from the document's single input.
        const std::vector<FIO_PATH> paths = ZEB_FILE_ASSISTANT::get_input_file_path(object);
        ZEB_UTIL_ASSERT(paths.size() == 1);
        if (needs_helper_device(paths[0].get_extension_type()) && !device)
        {
            message = MISSING_HELPER_DEVICE;
            return false;
        }
    }
    return true;
}

} // namespace

bool ZEB_UTIL::check(PGM_COMMON_XML_ZEB_ZEB* object, bool& flag1, bool& flag2, std::string& message, bool& error,
                     bool report)
{
    const ZEB_PRECHECK_SCOPE precheck_scope;
    ZEB_UTIL_ASSERT(object);
    flag1 = false;
    flag2 = false;
    PGMIO_CONFIG_SCHEME config_mode = NO_CONFIG_MODE;
    const std::vector<PGM_COMMON_XML_ZEB_SETTINGS*>& settings = object->get_settings_list();
    if (!settings.empty() && settings.front()->get_mode() != PGM_COMMON_XML_ENUM__INVALID__)
        config_mode = ZEB_FILE_ASSISTANT::map_enum_to_config_mode(settings.front()->get_mode());

    bool result = false;
    if (ZEB_FILE_ASSISTANT::get_output_file_elements(object).empty())
    {
        message = "Missing output file setting. Please select the output file type in Output Files tab.";
        error = true;
    }
    else if (!ZEB_FILE_ASSISTANT::get_input_file_exists(object))
    {
        message = "Missing input file setting. Please add the input file(s) into Input Files tab.";
        error = true;
    }
    else
    {
        result = check_output_files(object, config_mode, flag1, flag2, message, error);
    }
    if (!result)
        ZEB_DEBUG("Setup document check failed: %s", message.c_str());
    if (!result && !message.empty() && report)
        zeb_post_message(EZEB_SETTINGS_CHECK_ERROR, {message});
    return result;
}

// flag1 reports that an output file needs a flash loader, flag2 that one programs a configuration
// device; both are set as the loop meets such a file, also when a later rule fails.
bool ZEB_UTIL::check_output_files(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CONFIG_SCHEME config_mode, bool& flag1,
                                  bool& flag2, std::string& message, bool& error)
{
    ZEB_UTIL_ASSERT(object);
    flag1 = false;
    flag2 = false;
    const std::vector<PGM_COMMON_XML_ZEB_OUTPUT_FILE*> output_file_elements =
        ZEB_FILE_ASSISTANT::get_output_file_elements(object);
    ZEB_UTIL_ASSERT(output_file_elements.size() > 0);

    bool require_flash_loader = false;
    bool has_input_file_types = false;
    std::vector<FIO_FILE_TYPE> input_file_types;
    std::vector<DEV_FAMILY_ENUM> config_device_families;
    for (PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file : output_file_elements)
    {
        const ZEB_FILE_TYPE type = ZEB_DB_UTIL::get_zeb_file_type_enum(output_file->get_type());
        if (!check_output_file_mode(type, config_mode, message))
            return false;
        if (ZEB_DB::get_require_flash_loader(type))
            require_flash_loader = true;
        flag1 = require_flash_loader;
        if (!ZEB_DB::get_config_device_family(type).empty())
            flag2 = true;
        if (!check_output_file_options(object, output_file, type, message))
            return false;

        // A type with no input list of its own (helper images, which need no input, and the
        // secondary files, which are written from their primary's input) accepts whatever the other
        // outputs accept: it is left out of the merge instead of failing it.
        const std::vector<FIO_FILE_TYPE> accepted = ZEB_DB::get_input_file_type(type);
        if (!accepted.empty())
        {
            input_file_types =
                has_input_file_types ? check_and_merge_input_file_type(input_file_types, accepted) : accepted;
            has_input_file_types = true;
            if (input_file_types.empty())
            {
                message = "Output file conflict due to input file type not match";
                return false;
            }
        }
        config_device_families =
            check_and_merge_config_device_family(config_device_families, ZEB_DB::get_config_device_family(type));
    }

    if (require_flash_loader && !check_flash_loader(object, message, error))
        return false;
    for (PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file : output_file_elements)
    {
        if (!check_output_file_and_target(object, output_file, input_file_types, config_device_families, message,
                                          error))
            return false;
    }
    return true;
}

bool ZEB_UTIL::check_output_file_and_target(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file,
                                            const std::vector<FIO_FILE_TYPE>& input_file_types,
                                            const std::vector<DEV_FAMILY_ENUM>& supported_config_device_family,
                                            std::string& message, bool& error)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(output_file);
    const ZEB_FILE_TYPE type = ZEB_DB_UTIL::get_zeb_file_type_enum(output_file->get_type());
    if (output_file->get_directory().empty())
    {
        message = "Missing output file directory";
        return false;
    }
    if (output_file->get_name().empty())
    {
        message = "Missing output file name";
        return false;
    }

    const std::vector<PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID*>& flash_device_ids = output_file->get_flash_device_id_list();
    const std::vector<PGM_COMMON_XML_ZEB_BITSTREAM_ID*>& bitstream_ids = output_file->get_bitstream_id_list();
    if (flash_device_ids.empty() && bitstream_ids.empty())
    {
        if (ZEB_DB::get_no_input_file(type))
            return true;
        message = "Missing input setting in output element";
        return false;
    }
    if (!flash_device_ids.empty() && !bitstream_ids.empty())
    {
        message = "Conflict input setting in output element, both flash_device_id and bitstream_id are set in output "
                  "element";
        return false;
    }
    const bool flash_programming_file = !ZEB_DB::get_config_device_family(type).empty();
    if (!flash_device_ids.empty())
    {
        if (!flash_programming_file)
        {
            message = "Conflict input setting in output element, flash_device_id is set, however the output file is "
                      "not flash programming file.";
            return false;
        }
        ZEB_UTIL_ASSERT(supported_config_device_family.size() > 0);
        return check_partitions(object, message, error) &&
               check_flash_devices(object, flash_device_ids.front(), input_file_types, supported_config_device_family,
                                   message, error);
    }
    if (flash_programming_file)
    {
        message = "Conflict input setting in output element, bitstream_id is set, however the output file is flash "
                  "programming file.";
        return false;
    }
    return check_bitstream(object, bitstream_ids.front(), input_file_types, message, error);
}

std::vector<FIO_FILE_TYPE>
ZEB_UTIL::check_and_merge_input_file_type(const std::vector<FIO_FILE_TYPE>& supported_input_file_type,
                                          const std::vector<FIO_FILE_TYPE>& to_be_checked_input_file_type)
{
    ZEB_UTIL_ASSERT(supported_input_file_type.size() > 0);
    ZEB_UTIL_ASSERT(to_be_checked_input_file_type.size() > 0);
    std::vector<FIO_FILE_TYPE> merged;
    for (FIO_FILE_TYPE type : supported_input_file_type)
    {
        if (contains(to_be_checked_input_file_type, type))
            merged.push_back(type);
    }
    return merged;
}

std::vector<DEV_FAMILY_ENUM> ZEB_UTIL::check_and_merge_config_device_family(const std::vector<DEV_FAMILY_ENUM>& a,
                                                                            const std::vector<DEV_FAMILY_ENUM>& b)
{
    if (a.empty())
        return b;
    if (b.empty())
        return a;
    std::vector<DEV_FAMILY_ENUM> merged;
    for (DEV_FAMILY_ENUM family : a)
    {
        if (contains(b, family))
            merged.push_back(family);
    }
    return merged;
}
