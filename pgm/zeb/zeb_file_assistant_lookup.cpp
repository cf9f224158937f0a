// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT: the read-only queries over a setup document. Each starts at the first
// container of its kind under the root; a missing container reads as an empty list, and a key
// that nothing has reads as nullptr, an empty list, an empty path or false.
#include "pgm/zeb/zeb_file_assistant_frame.h"

namespace
{

// The key of every element of `list`, in order.
template <class T> std::vector<std::string> ids_of(const std::vector<T*>& list, const std::string& (T::*key)() const)
{
    std::vector<std::string> ids;
    ids.reserve(list.size());
    for (const T* element : list)
        ids.push_back((element->*key)());
    return ids;
}

// True when a reference list holds `id`; an empty id matches nothing.
template <class T> bool refers_to(const std::vector<T*>& references, const std::string& id)
{
    for (const T* reference : references)
        if (!id.empty() && reference->get_text() == id)
            return true;
    return false;
}

} // namespace

// ---- Element lists -------------------------------------------------------------------------------------

std::vector<PGM_COMMON_XML_ZEB_RAW_FILE*> ZEB_FILE_ASSISTANT::get_raw_file_elements(PGM_COMMON_XML_ZEB_ZEB* object)
{
    return FRAME::list(object, &PGM_COMMON_XML_ZEB_RAW_FILES::get_raw_file_list);
}

std::vector<PGM_COMMON_XML_ZEB_ASSIGNMENT*> ZEB_FILE_ASSISTANT::get_assignment_elements(PGM_COMMON_XML_ZEB_ZEB* object)
{
    return FRAME::list(object, &PGM_COMMON_XML_ZEB_ASSIGNMENTS::get_assignment_list);
}

std::vector<PGM_COMMON_XML_ZEB_BITSTREAM*> ZEB_FILE_ASSISTANT::get_bitstream_elements(PGM_COMMON_XML_ZEB_ZEB* object)
{
    return FRAME::list(object, &PGM_COMMON_XML_ZEB_BITSTREAMS::get_bitstream_list);
}

std::vector<PGM_COMMON_XML_ZEB_FLASH_DEVICE*>
ZEB_FILE_ASSISTANT::get_flash_device_elements(PGM_COMMON_XML_ZEB_ZEB* object)
{
    return FRAME::list(object, &PGM_COMMON_XML_ZEB_FLASH_DEVICES::get_flash_device_list);
}

std::vector<PGM_COMMON_XML_ZEB_FLASH_LOADER*>
ZEB_FILE_ASSISTANT::get_flash_loader_elements(PGM_COMMON_XML_ZEB_ZEB* object)
{
    return FRAME::list(object, &PGM_COMMON_XML_ZEB_FLASH_DEVICES::get_flash_loader_list);
}

std::vector<PGM_COMMON_XML_ZEB_OUTPUT_FILE*>
ZEB_FILE_ASSISTANT::get_output_file_elements(PGM_COMMON_XML_ZEB_ZEB* object)
{
    return FRAME::list(object, &PGM_COMMON_XML_ZEB_OUTPUT_FILES::get_output_file_list);
}

std::vector<PGM_COMMON_XML_ZEB_PATH*> ZEB_FILE_ASSISTANT::get_path_elements(PGM_COMMON_XML_ZEB_ZEB* object)
{
    std::vector<PGM_COMMON_XML_ZEB_PATH*> paths;
    for (const PGM_COMMON_XML_ZEB_BITSTREAM* bitstream : get_bitstream_elements(object))
        paths.insert(paths.end(), bitstream->get_path_list().begin(), bitstream->get_path_list().end());
    return paths;
}

std::vector<PGM_COMMON_XML_ZEB_PATH*> ZEB_FILE_ASSISTANT::get_path_elements(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                            const std::string& bitstream_id)
{
    const PGM_COMMON_XML_ZEB_BITSTREAM* bitstream = get_bitstream_element(object, bitstream_id);
    return bitstream ? bitstream->get_path_list() : std::vector<PGM_COMMON_XML_ZEB_PATH*>();
}

std::vector<PGM_COMMON_XML_ZEB_PARTITION*>
ZEB_FILE_ASSISTANT::get_partition_elements(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& flash_device_id)
{
    const PGM_COMMON_XML_ZEB_FLASH_DEVICE* device = get_flash_device_element(object, flash_device_id);
    return device ? device->get_partition_list() : std::vector<PGM_COMMON_XML_ZEB_PARTITION*>();
}

std::vector<PGM_COMMON_XML_ZEB_MBR*> ZEB_FILE_ASSISTANT::get_mbr_elements(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                          const std::string& flash_device_id)
{
    const PGM_COMMON_XML_ZEB_FLASH_DEVICE* device = get_flash_device_element(object, flash_device_id);
    return device ? device->get_mbr_list() : std::vector<PGM_COMMON_XML_ZEB_MBR*>();
}

std::vector<PGM_COMMON_XML_ZEB_PARTITION*>
ZEB_FILE_ASSISTANT::get_mbr_partition_elements(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& flash_device_id,
                                               const std::string& mbr_id)
{
    const PGM_COMMON_XML_ZEB_MBR* mbr =
        FRAME::find_id(get_mbr_elements(object, flash_device_id), &PGM_COMMON_XML_ZEB_MBR::get_id, mbr_id);
    return mbr ? mbr->get_partition_list() : std::vector<PGM_COMMON_XML_ZEB_PARTITION*>();
}

std::vector<PGM_COMMON_XML_ZEB_SECONDARY_FILE*>
ZEB_FILE_ASSISTANT::get_secondary_file_elements(PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file)
{
    ZEB_ASSISTANT_ASSERT(output_file);
    return output_file->get_secondary_file_list();
}

// ---- Single elements by key ------------------------------------------------------------------------------

PGM_COMMON_XML_ZEB_RAW_FILE* ZEB_FILE_ASSISTANT::get_raw_file_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                      const std::string& id)
{
    return FRAME::find_id(get_raw_file_elements(object), &PGM_COMMON_XML_ZEB_RAW_FILE::get_id, id);
}

PGM_COMMON_XML_ZEB_ASSIGNMENT* ZEB_FILE_ASSISTANT::get_assignment_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                          const std::string& partition_id)
{
    return FRAME::find_id(get_assignment_elements(object), &PGM_COMMON_XML_ZEB_ASSIGNMENT::get_partition_id,
                          partition_id);
}

PGM_COMMON_XML_ZEB_BITSTREAM* ZEB_FILE_ASSISTANT::get_bitstream_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                        const std::string& id)
{
    return FRAME::find_id(get_bitstream_elements(object), &PGM_COMMON_XML_ZEB_BITSTREAM::get_id, id);
}

PGM_COMMON_XML_ZEB_FLASH_DEVICE* ZEB_FILE_ASSISTANT::get_flash_device_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                              const std::string& id)
{
    return FRAME::find_id(get_flash_device_elements(object), &PGM_COMMON_XML_ZEB_FLASH_DEVICE::get_id, id);
}

PGM_COMMON_XML_ZEB_PARTITION* ZEB_FILE_ASSISTANT::get_partition_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                        const std::string& flash_device_id,
                                                                        const std::string& partition_id)
{
    return FRAME::find_id(get_partition_elements(object, flash_device_id), &PGM_COMMON_XML_ZEB_PARTITION::get_id,
                          partition_id);
}

PGM_COMMON_XML_ZEB_PARTITION* ZEB_FILE_ASSISTANT::get_partition_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                        const std::string& partition_id)
{
    for (const PGM_COMMON_XML_ZEB_FLASH_DEVICE* device : get_flash_device_elements(object))
        if (auto* partition =
                FRAME::find_id(device->get_partition_list(), &PGM_COMMON_XML_ZEB_PARTITION::get_id, partition_id))
            return partition;
    return nullptr;
}

PGM_COMMON_XML_ZEB_PATH* ZEB_FILE_ASSISTANT::get_path_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                              const std::string& bitstream_id,
                                                              const std::string& path_id)
{
    return FRAME::find_id(get_path_elements(object, bitstream_id), &PGM_COMMON_XML_ZEB_PATH::get_text, path_id);
}

PGM_COMMON_XML_ZEB_OUTPUT_FILE* ZEB_FILE_ASSISTANT::get_output_file_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                            ZEB_FILE_TYPE type)
{
    const PGM_COMMON_XML_ENUM xml_enum = ZEB_DB::get_xml_enum(type);
    return FRAME::find(get_output_file_elements(object), [xml_enum](const PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file)
                       { return output_file->get_type() == xml_enum; });
}

PGM_COMMON_XML_ZEB_RAW_FILE_ID* ZEB_FILE_ASSISTANT::get_raw_file_id_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                            const std::string& partition_id)
{
    const PGM_COMMON_XML_ZEB_ASSIGNMENT* assignment = get_assignment_element(object, partition_id);
    return assignment ? FRAME::first<PGM_COMMON_XML_ZEB_RAW_FILE_ID>(assignment) : nullptr;
}

PGM_COMMON_XML_ZEB_BITSTREAM_ID* ZEB_FILE_ASSISTANT::get_bitstream_id_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                              const std::string& partition_id)
{
    const PGM_COMMON_XML_ZEB_ASSIGNMENT* assignment = get_assignment_element(object, partition_id);
    return assignment ? FRAME::first<PGM_COMMON_XML_ZEB_BITSTREAM_ID>(assignment) : nullptr;
}

PGM_COMMON_XML_ZEB_BITSTREAM_ID*
ZEB_FILE_ASSISTANT::get_bitstream_id_element(PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file, const std::string& id)
{
    ZEB_ASSISTANT_ASSERT(output_file);
    return FRAME::find_id(output_file->get_bitstream_id_list(), &PGM_COMMON_XML_ZEB_BITSTREAM_ID::get_text, id);
}

PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID*
ZEB_FILE_ASSISTANT::get_flash_device_id_element(PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file, const std::string& id)
{
    ZEB_ASSISTANT_ASSERT(output_file);
    return FRAME::find_id(output_file->get_flash_device_id_list(), &PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID::get_text, id);
}

PGM_COMMON_XML_ZEB_FILE_OPTIONS*
ZEB_FILE_ASSISTANT::get_file_options_element(PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file)
{
    ZEB_ASSISTANT_ASSERT(output_file);
    return FRAME::first<PGM_COMMON_XML_ZEB_FILE_OPTIONS>(output_file);
}

PGM_COMMON_XML_ZEB_FILE_OPTIONS*
ZEB_FILE_ASSISTANT::get_file_options_element(PGM_COMMON_XML_ZEB_SECONDARY_FILE* secondary_file)
{
    ZEB_ASSISTANT_ASSERT(secondary_file);
    return FRAME::first<PGM_COMMON_XML_ZEB_FILE_OPTIONS>(secondary_file);
}

PGM_COMMON_XML_ZEB_OUTPUT_FILE* ZEB_FILE_ASSISTANT::FRAME::output_file_of_type(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                               const std::string& type_text)
{
    const auto xml_enum = static_cast<PGM_COMMON_XML_ENUM>(convert_string_to_dword(type_text));
    return get_output_file_element(object, ZEB_DB_UTIL::get_zeb_file_type_enum(xml_enum));
}

PGM_COMMON_XML_ZEB_SECONDARY_FILE*
ZEB_FILE_ASSISTANT::FRAME::secondary_file_of_type(const PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file,
                                                  const std::string& type_text)
{
    const auto xml_enum = static_cast<PGM_COMMON_XML_ENUM>(convert_string_to_dword(type_text));
    return find(output_file->get_secondary_file_list(), [xml_enum](const PGM_COMMON_XML_ZEB_SECONDARY_FILE* secondary)
                { return secondary->get_type() == xml_enum; });
}

// ---- Id lists ------------------------------------------------------------------------------------------------

std::vector<std::string> ZEB_FILE_ASSISTANT::get_raw_file_ids(PGM_COMMON_XML_ZEB_ZEB* object)
{
    return ids_of(get_raw_file_elements(object), &PGM_COMMON_XML_ZEB_RAW_FILE::get_id);
}

std::vector<std::string> ZEB_FILE_ASSISTANT::get_bitstream_ids(PGM_COMMON_XML_ZEB_ZEB* object)
{
    return ids_of(get_bitstream_elements(object), &PGM_COMMON_XML_ZEB_BITSTREAM::get_id);
}

std::vector<std::string> ZEB_FILE_ASSISTANT::get_flash_device_ids(PGM_COMMON_XML_ZEB_ZEB* object)
{
    return ids_of(get_flash_device_elements(object), &PGM_COMMON_XML_ZEB_FLASH_DEVICE::get_id);
}

std::vector<std::string> ZEB_FILE_ASSISTANT::get_partition_ids(PGM_COMMON_XML_ZEB_ZEB* object,
                                                               const std::string& bitstream_id,
                                                               const std::string& raw_file_id)
{
    std::vector<std::string> partition_ids;
    for (const PGM_COMMON_XML_ZEB_ASSIGNMENT* assignment : get_assignment_elements(object))
        if (refers_to(assignment->get_bitstream_id_list(), bitstream_id) ||
            refers_to(assignment->get_raw_file_id_list(), raw_file_id))
            partition_ids.push_back(assignment->get_partition_id());
    return partition_ids;
}

// ---- Derived queries ---------------------------------------------------------------------------------------

bool ZEB_FILE_ASSISTANT::get_input_file_exists(PGM_COMMON_XML_ZEB_ZEB* object)
{
    return !get_bitstream_elements(object).empty() || !get_raw_file_elements(object).empty();
}

PGM_COMMON_XML_ENUM ZEB_FILE_ASSISTANT::get_input_file_type(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id)
{
    if (get_bitstream_element(object, id))
        return PGM_COMMON_XML_ENUM_ZEB_BITSTREAM;
    if (get_raw_file_element(object, id))
        return PGM_COMMON_XML_ENUM_ZEB_RAW_FILE;
    return PGM_COMMON_XML_ENUM__INVALID__;
}

std::vector<FIO_PATH> ZEB_FILE_ASSISTANT::get_input_file_path(PGM_COMMON_XML_ZEB_ZEB* object)
{
    std::vector<FIO_PATH> paths;
    for (const PGM_COMMON_XML_ZEB_PATH* path : get_path_elements(object))
        paths.emplace_back(path->get_text());
    return paths;
}

FIO_PATH ZEB_FILE_ASSISTANT::get_input_file_path(PGM_COMMON_XML_ZEB_ZEB* object,
                                                 PGM_COMMON_XML_ZEB_ASSIGNMENT* assignment)
{
    ZEB_ASSISTANT_ASSERT(object);
    ZEB_ASSISTANT_ASSERT(assignment);
    // A bitstream reference decides even when it names nothing; the raw file is only the fallback
    // of an assignment without one.
    if (const auto* reference = FRAME::first<PGM_COMMON_XML_ZEB_BITSTREAM_ID>(assignment))
    {
        const std::vector<PGM_COMMON_XML_ZEB_PATH*> paths = get_path_elements(object, reference->get_text());
        return paths.empty() ? FIO_PATH() : FIO_PATH(paths.front()->get_text());
    }
    if (const auto* reference = FRAME::first<PGM_COMMON_XML_ZEB_RAW_FILE_ID>(assignment))
    {
        const PGM_COMMON_XML_ZEB_RAW_FILE* raw_file = get_raw_file_element(object, reference->get_text());
        return raw_file ? FIO_PATH(raw_file->get_text()) : FIO_PATH();
    }
    return FIO_PATH();
}

std::vector<FIO_PATH> ZEB_FILE_ASSISTANT::get_output_file_path(PGM_COMMON_XML_ZEB_ZEB* object)
{
    std::vector<FIO_PATH> paths;
    for (const PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file : get_output_file_elements(object))
    {
        const ZEB_FILE_TYPE type = ZEB_DB_UTIL::get_zeb_file_type_enum(output_file->get_type());
        paths.emplace_back(output_file->get_directory(), output_file->get_name(),
                           fio_get_extension_string(ZEB_DB::get_fio_ext_enum(type)));
    }
    return paths;
}

std::vector<ZEB_FILE_TYPE> ZEB_FILE_ASSISTANT::get_output_file_types(PGM_COMMON_XML_ZEB_ZEB* object)
{
    std::vector<ZEB_FILE_TYPE> types;
    for (const PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file : get_output_file_elements(object))
        types.push_back(ZEB_DB_UTIL::get_zeb_file_type_enum(output_file->get_type()));
    return types;
}

std::vector<ZEB_FILE_TYPE> ZEB_FILE_ASSISTANT::get_output_file_types(PGM_COMMON_XML_ZEB_ZEB* object, bool config_device)
{
    // A type is written for configuration devices exactly when it names configuration device families.
    std::vector<ZEB_FILE_TYPE> types;
    for (ZEB_FILE_TYPE type : get_output_file_types(object))
        if (ZEB_DB::get_config_device_family(type).empty() != config_device)
            types.push_back(type);
    return types;
}

bool ZEB_FILE_ASSISTANT::get_config_mode(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CONFIG_SCHEME& config_mode)
{
    ZEB_ASSISTANT_ASSERT(object);
    const PGM_COMMON_XML_ZEB_SETTINGS* settings = FRAME::first<PGM_COMMON_XML_ZEB_SETTINGS>(object);
    if (!settings)
        return false;
    config_mode = map_enum_to_config_mode(settings->get_mode());
    return true;
}

bool ZEB_FILE_ASSISTANT::get_custom_db_dir(PGM_COMMON_XML_ZEB_ZEB* object, std::string& custom_db_dir)
{
    ZEB_ASSISTANT_ASSERT(object);
    const PGM_COMMON_XML_ZEB_SETTINGS* settings = FRAME::first<PGM_COMMON_XML_ZEB_SETTINGS>(object);
    if (!settings)
        return false;
    custom_db_dir = settings->get_custom_db_dir();
    return true;
}

bool ZEB_FILE_ASSISTANT::get_internal_configuration_options(PGM_COMMON_XML_ZEB_ZEB* object,
                                                            DSET_ZB_DEV_OPTIONS_INFO& options,
                                                            const std::string& flash_device_id)
{
    const PGM_COMMON_XML_ZEB_FLASH_DEVICE* device = get_flash_device_element(object, flash_device_id);
    if (!device)
        return false;
    options.power_on_scheme = device->get_power_on_scheme();
    options.chip_select = device->get_chip_select();
    options.programming_chip_select = device->get_chip_select();
    // The document records the switch that turns test mode off; the record wants the opposite.
    options.enable_test = !device->get_disable_test();
    options.enable_verify_protect = device->get_enable_verify_protect();
    options.enable_encrypted_pof_only = device->get_enable_encrypted_pof_only();
    options.enable_jtag_security = device->get_enable_jtag_security();
    options.watchdog_enabled = !device->get_watchdog_value().empty();
    options.watchdog_value = options.watchdog_enabled ? convert_string_to_dword(device->get_watchdog_value()) : 0;
    options.ufm_source_file = device->get_ufm_source_file();
    // A named content file overrides whatever source the device attribute selects.
    options.ufm_source = options.ufm_source_file.empty() ? device->get_ufm_source() : DSET_ZB_UFM_SOURCE_FILE;
    options.isp_source = device->get_isp_source();
    options.enable_spi_mode = device->get_enable_spi_mode();
    options.force_ssmclk_to_use_ismclk = device->get_force_ssmclk_to_use_ismclk();
    options.enable_user_ios_weak_pullup = device->get_enable_user_ios_weak_pullup();
    options.fallback_address_enabled = !device->get_fallback_address().empty();
    options.fallback_address =
        options.fallback_address_enabled ? convert_string_to_dword(device->get_fallback_address()) : 0;
    options.config_from_cfm0_only = device->get_config_from_cfm0_only();
    return true;
}
