// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL: reading, normalising and writing setup files.
#include "pgm/zeb/zeb_util.h"

#include "pgm/zeb/platform/ini/pgm_common_ini.h"
#include "pgm/zeb/zeb_db_util.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_messages.h"

#include <memory>

namespace
{

// A "FACTORY_IMAGE" partition that ends automatically needs room for the update image behind it.
constexpr uint32_t k_factory_image_min_extra_space = 0x40000;

template <class T> std::vector<T*> all_of(const PGM_COMMON_XML_ELEMENT* root, PGM_COMMON_XML_ENUM kind)
{
    std::vector<T*> found;
    for (PGM_COMMON_XML_ELEMENT* element : root->get_childs(kind, true))
        found.push_back(static_cast<T*>(element));
    return found;
}

} // namespace

bool ZEB_UTIL::parse(PGM_COMMON_XML_ZEB_ZEB** object, const std::string& zeb_file)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(zeb_file.length() > 0);
    *object = nullptr;

    if (!FIO_FILE_SYSTEM::exists(FIO_PATH(zeb_file)))
    {
        zeb_post_message(EZEB_FILE_IO_ERROR, {zeb_file});
        return false;
    }
    ZEB_DEBUG("Parse ZEB %s ... ", zeb_file.c_str());

    const std::string xsd = get_xsd_file();
    ZEB_UTIL_ASSERT(!xsd.empty());
    std::string error;
    std::string detail;
    if (!PGM_COMMON_XML::check_xsd(zeb_file, xsd, error, detail))
    {
        zeb_post_message(EZEB_CORRUPTED_FILE_WITH_REASON, {zeb_file, error});
        return false;
    }

    // The schema accepted the file, so the element library must too; a refusal here means the
    // two disagree, which is a defect of ours rather than of the file.
    *object =
        static_cast<PGM_COMMON_XML_ZEB_ZEB*>(PGM_COMMON_XML::parse_xml(zeb_file, PGM_COMMON_XML_ZEB_DOCUMENT, error));
    if (!*object)
        ZEB_DEBUG("Element library refused a schema-valid file: %s", error.c_str());
    ZEB_UTIL_ASSERT(*object != NULL);
    return parse_post_process(*object);
}

bool ZEB_UTIL::parse_post_process(PGM_COMMON_XML_ZEB_ZEB* object)
{
    ZEB_UTIL_ASSERT(object);

    // Files of earlier versions name the helper image secondary file by its older name.
    for (auto* output_file : all_of<PGM_COMMON_XML_ZEB_OUTPUT_FILE>(object, PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILE))
    {
        for (PGM_COMMON_XML_ZEB_SECONDARY_FILE* secondary : output_file->get_secondary_file_list())
        {
            if (secondary->get_type() == PGM_COMMON_XML_ENUM_QSPI_HELPER_RBF)
                ZEB_UTIL_ASSERT(secondary->write_attribute_enum("type", PGM_COMMON_XML_ENUM_HELPER_RBF));
        }
    }

    for (auto* device : all_of<PGM_COMMON_XML_ZEB_FLASH_DEVICE>(object, PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE))
    {
        for (PGM_COMMON_XML_ZEB_PARTITION* partition : device->get_partition_list())
        {
            if (partition->get_id() != "FACTORY_IMAGE")
                continue;
            // Only the first factory image partition of a device is looked at; "AUTO" in another
            // case is a fixed address text, not the keyword.
            if (partition->get_e_addr() == "auto" && partition->get_extra_space() < k_factory_image_min_extra_space &&
                !ZEB_FILE_ASSISTANT::set(object, ZEB_CMD_OPT_FLASH_DEVICE,
                                         {{ZEB_CMD_PARAM_FLASH_DEVICE_ID, device->get_id()},
                                          {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_ID, partition->get_id()},
                                          {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_EXTRA_SPACE,
                                           std::to_string(k_factory_image_min_extra_space)}}))
                return false;
            break;
        }
    }
    return true;
}

bool ZEB_UTIL::save(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& zeb_file)
{
    ZEB_UTIL_ASSERT(object);
    std::vector<ZEB_FILE_TYPE> output_file_types;
    for (auto* output_file : all_of<PGM_COMMON_XML_ZEB_OUTPUT_FILE>(object, PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILE))
        output_file_types.push_back(ZEB_DB_UTIL::get_zeb_file_type_enum(output_file->get_type()));
    ZEB_UTIL_ASSERT(!output_file_types.empty());

    const ZEB_FILE_TYPE first_type = output_file_types.front();
    if (ZEB_DB::get_cmd_only(first_type) && !cfg_is_on("ZEB_ALWAYS_ALLOW_SAVE_FILE"))
    {
        zeb_post_message(WZEB_FILE_TYPE_DOES_NOT_SUPPORT_ZEB_SETUP_FILE,
                         {fio_get_extension_string(ZEB_DB::get_fio_ext_enum(first_type))});
        return true;
    }

    // The stream writes beside the target and replaces it only on commit, so a failure leaves
    // any earlier file as it was.
    HTL_ZOFSTREAM out(zeb_file);
    if (!out.is_open())
    {
        zeb_post_message(EZEB_FILE_IO_ERROR, {zeb_file});
        return false;
    }
    ZEB_UTIL_ASSERT(object->write_attribute_value("version", 1));
    out.stream() << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    PGM_COMMON_XML::write_xml_element(out.stream(), object);
    out.stream() << '\n';
    if (!out.commit())
    {
        zeb_post_message(EZEB_FILE_IO_ERROR, {zeb_file});
        return false;
    }
    zeb_post_message(IZEB_ZEB_SUCCESSFULLY_SAVED, {zeb_file});
    return true;
}

std::string ZEB_UTIL::get_xsd_file()
{
    const std::string data_directory = fio_get_data_directory();
    return data_directory.empty() ? std::string() : data_directory + "/xsd/zeb.xsd";
}

bool ZEB_UTIL::check_file_exist(const FIO_PATH& path, std::string& message)
{
    if (FIO_FILE_SYSTEM::exists(path))
        return true;
    message = "Cannot find '" + path.get_full_path() +
              "'. Make sure the file is located at the expected location or update the setting.";
    return false;
}
