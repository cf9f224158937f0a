// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL conversion of a flash output's target: the flash loader, the flash device with its
// options, and per partition the assigned bitstream or raw data file or the reserved content.
#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/pgmconv/pgmconv.h"
#include "pgm/zeb/platform/pgmio/pgmio_text.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_messages.h"
#include "pgm/zeb/zeb_util.h"

#include <algorithm>
#include <memory>

namespace
{

constexpr const char* k_auto = "auto";

// The flash device object: for a flash programming file a device of the flash-device database
// (custom directory included) unless it is a legacy one, otherwise the catalogue's. `owned` keeps
// a device made here alive for the conversion.
const PGM_DEVICE* find_flash_device_object(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& name,
                                           std::unique_ptr<PGM_DEVICE>& owned)
{
    const std::vector<ZEB_FILE_TYPE> types = ZEB_FILE_ASSISTANT::get_output_file_types(object);
    if (!types.empty() && (types.front() == ZEB_FILE_TYPE_JIC || types.front() == ZEB_FILE_TYPE_JIC_PERIPHERY))
    {
        std::string custom_db_dir;
        if (ZEB_FILE_ASSISTANT::get_custom_db_dir(object, custom_db_dir) && !custom_db_dir.empty())
            GFPDB_QSPI_MGR::set_db_custom_dir(custom_db_dir);
        auto gfpdb_mgr = std::make_unique<GFPDB_QSPI_MGR>();
        ZEB_UTIL_ASSERT(gfpdb_mgr != 0);
        if (gfpdb_mgr->device_exist_in_db(name, true) && !gfpdb_mgr->device_is_legacy(name, true))
        {
            owned = PGM_DEVICE_INDEX::create_new_asc_device(name);
            const PGM_DEVICE* device = owned.get();
            ZEB_UTIL_ASSERT(device != NULL);
            return device;
        }
    }
    return PGM_DEVICE_INDEX::lookup_device(name);
}

} // namespace

bool ZEB_UTIL::convert_zeb_to_ccf_flash_loader(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(ccf);
    const std::vector<PGM_COMMON_XML_ZEB_FLASH_LOADER*> loaders = ZEB_FILE_ASSISTANT::get_flash_loader_elements(object);
    if (!loaders.empty())
        ccf->set_hlpr_device(loaders.front()->get_text());
    return true;
}

bool ZEB_UTIL::convert_zeb_to_ccf_flash_devices(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf,
                                                PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID* flash_device_id)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(ccf);
    ZEB_UTIL_ASSERT(flash_device_id);
    const std::string& id = flash_device_id->get_text();
    PGM_COMMON_XML_ZEB_FLASH_DEVICE* flash_device = ZEB_FILE_ASSISTANT::get_flash_device_element(object, id);
    if (!flash_device)
        return true;
    ccf->set_device(flash_device->get_type());

    auto options = std::make_unique<DSET_ZB_DEV_OPTIONS_INFO>();
    const bool success = ZEB_FILE_ASSISTANT::get_internal_configuration_options(object, *options, id);
    ZEB_UTIL_ASSERT(success);
    ccf->set_dev_options(std::move(options));

    std::unique_ptr<PGM_DEVICE> owned;
    const PGM_DEVICE* device = find_flash_device_object(object, flash_device->get_type(), owned);

    const auto& mbrs = flash_device->get_mbr_list();
    if (mbrs.size() > 1)
        ZEB_UTIL_INTERNAL_ERROR("TODO: Not support mbr partition yet");
    if (mbrs.size() == 1)
        return true; // a device with a master boot record lays out its own partitions
    if (flash_device->get_partition_list().empty())
    {
        // Reported like an internal error, but the conversion goes on: the flash image is then
        // written without user content.
        msg_local_vdebug("ZEB_COMMON", 2, "Internal error: Missing flash partition");
        return true;
    }

    std::vector<PGM_COMMON_XML_ZEB_PARTITION*> partitions = ZEB_FILE_ASSISTANT::get_partition_elements(object, id);
    if (device && device->get_family() == DEV_FAMILY_MOZOKA)
        std::erase_if(partitions, [](const PGM_COMMON_XML_ZEB_PARTITION* p) { return p->get_id() == "UFM"; });

    // The engine stacks automatically placed content from the last partition added, so the
    // partitions go in from the end of the document.
    for (auto it = partitions.rbegin(); it != partitions.rend(); ++it)
    {
        bool assigned = false;
        bool result = convert_zeb_to_ccf_assignments(object, ccf, *it, assigned);
        if (result && !assigned)
            result = convert_zeb_to_ccf_reserved_partition(object, ccf, *it);
        if (!result)
            return false;
    }
    return true;
}

bool ZEB_UTIL::convert_zeb_to_ccf_assignments(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf,
                                              PGM_COMMON_XML_ZEB_PARTITION* partition, bool& assigned)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(ccf);
    ZEB_UTIL_ASSERT(partition);
    assigned = false;
    PGM_COMMON_XML_ZEB_ASSIGNMENT* assignment = ZEB_FILE_ASSISTANT::get_assignment_element(object, partition->get_id());
    if (!assignment)
        return true;
    assigned = true;

    if (assignment->get_bitstream_id_list().empty())
    {
        if (assignment->get_raw_file_id_list().empty())
            ZEB_UTIL_INTERNAL_ERROR("Missing input file for partition, no programming file will be generated.");
        return convert_zeb_to_ccf_raw_files(object, ccf, assignment->get_raw_file_id_list().front(), partition);
    }

    const FIO_PATH input = ZEB_FILE_ASSISTANT::get_input_file_path(object, assignment);
    const PGM_DEVICE* device = nullptr;
    std::string message;
    const bool prechecked = precheck_input_file(input, &device, message, message, true);
    const DEV_FAMILY_ENUM family = device ? device->get_family() : DEV_FAMILY_GENERIC;
    if (partition_has_page(object, partition->get_id(), family))
        return convert_zeb_to_ccf_bitstreams(object, ccf, assignment->get_bitstream_id_list().front(), partition,
                                             ZEB_FILE_TYPE_NONE);
    if (partition->get_id() == "BOOT_INFO")
        ccf->set_boot_info_input(input);
    return prechecked;
}

bool ZEB_UTIL::convert_zeb_to_ccf_raw_files(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf,
                                            PGM_COMMON_XML_ZEB_RAW_FILE_ID* raw_file_id,
                                            PGM_COMMON_XML_ZEB_PARTITION* partition)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(ccf);
    ZEB_UTIL_ASSERT(raw_file_id);
    ZEB_UTIL_ASSERT(partition);
    PGM_COMMON_XML_ZEB_RAW_FILE* raw_file = ZEB_FILE_ASSISTANT::get_raw_file_element(object, raw_file_id->get_text());
    if (!raw_file)
        return true;

    HEX_FILE record;
    record.path = FIO_PATH(raw_file->get_text());
    record.byte_swap = !raw_file->get_bitswap();
    record.partition_name = partition->get_id();
    const uint32_t address =
        partition->get_s_addr() == k_auto ? PGMIO_CCF_AUTO : convert_string_to_dword(partition->get_s_addr());
    record.address = address;

    if (raw_file->get_type() == PGM_COMMON_XML_ENUM_HEX)
    {
        uint32_t start = 0;
        if (!hex_get_start_address(raw_file_id, record.path.get_full_path(), start))
            return false;
        msg_local_vdebug("ZEB_COMMON", 2, "Read HEX '%s', start_address = 0x%08x, address_offset=0x%08x",
                         record.path.get_full_path().c_str(), start, address);
        const bool added = ccf->add_hex_file(&record, PGMIO_CCF_ALL_PAGES, address);
        if (!added)
            msg_local_vdebug("ZEB_COMMON", 2, "MSG: Fail to add hex file %s", record.path.get_full_path().c_str());
        return added;
    }
    if (raw_file->get_type() == PGM_COMMON_XML_ENUM_RBF)
    {
        const bool added = ccf->add_rbf_file(&record, PGMIO_CCF_ALL_PAGES, address);
        if (!added)
            msg_local_vdebug("ZEB_COMMON", 2, "MSG: Fail to add rbf file %s", record.path.get_full_path().c_str());
        return added;
    }
    ZEB_UTIL_INTERNAL_ERROR("Unrecogized raw file type");
}

bool ZEB_UTIL::hex_get_start_address(PGM_COMMON_XML_ZEB_RAW_FILE_ID* raw_file_id, const std::string& path,
                                     uint32_t& start)
{
    ZEB_UTIL_ASSERT(raw_file_id);
    ZEB_UTIL_ASSERT(path.length() > 0);
    PGMIO_HEX_READER reader;
    reader.set_file(path);
    if (!reader.read_hex_file(false, false))
    {
        msg_local_vdebug("ZEB_COMMON", 2, "%s", reader.get_error().c_str());
        return false;
    }
    const std::vector<PGMIO_HEX_RECORD>* hex_list = reader.get_hex_list();
    ZEB_UTIL_ASSERT(hex_list != NULL);
    uint32_t lowest = 0xFFFFFFFF;
    for (const PGMIO_HEX_RECORD& record : *hex_list)
        lowest = std::min(lowest, record.start + record.offset);
    start = lowest;
    return true;
}
