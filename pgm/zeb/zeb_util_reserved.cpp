// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL: the reserved partitions of a flash layout and the PCF capability masks of a family.
#include "pgm/zeb/zeb_util.h"

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/zeb_file_assistant.h"

#include <cstdio>

namespace
{

constexpr const char* k_module = "ZEB_COMMON";
constexpr const char* k_source = "pgm/zeb/zeb_util";
constexpr DEV_DEVICE_ENUM k_generic_device = static_cast<DEV_DEVICE_ENUM>(867);
constexpr const char* k_auto = "auto";

// The fixed part of each kind of reserved row; start and end addresses are filled in per call.
struct ROW_TEMPLATE
{
    const char* name;
    uint32_t fixed_size;
    uint32_t extra_space;
    bool reserved;
    bool in_partition_table;
    bool locked;
    bool assignable;
    uint32_t image_index;
    bool shown;
    bool has_page;
};

// clang-format off
//                                    name             size    extra    res   table  lock   assign img shown  page
constexpr ROW_TEMPLATE k_options    = {"OPTIONS",       0,      0,       true, false, false, false, 0, true,  false};
constexpr ROW_TEMPLATE k_ufm        = {"UFM",           0,      0,       true, true,  true,  false, 0, true,  false};
constexpr ROW_TEMPLATE k_cfm1       = {"CFM1",          0,      0,       true, true,  true,  false, 1, true,  true};
constexpr ROW_TEMPLATE k_cfm0       = {"CFM0",          0,      0,       true, true,  true,  false, 0, true,  true};
constexpr ROW_TEMPLATE k_boot_info  = {"BOOT_INFO",     0,      0,       true, true,  true,  false, 0, false, false};
constexpr ROW_TEMPLATE k_factory    = {"FACTORY_IMAGE", 0,      0x40000, true, true,  false, true,  0, true,  true};
constexpr ROW_TEMPLATE k_spt0       = {"SPT0",          0x8000, 0,       true, true,  true,  false, 0, false, false};
constexpr ROW_TEMPLATE k_spt1       = {"SPT1",          0x8000, 0,       true, true,  true,  false, 0, false, false};
constexpr ROW_TEMPLATE k_cpb0       = {"CPB0",          0x8000, 0,       true, true,  true,  false, 0, false, false};
constexpr ROW_TEMPLATE k_cpb1       = {"CPB1",          0x8000, 0,       true, true,  true,  false, 0, false, false};
// The boot-information header of families 15 and 47: never shown, unlike the block-layout one
// which is shown for several images from a raw binary input.
constexpr ROW_TEMPLATE k_boot_header = {"BOOT_INFO",    0,      0,       true, true,  true,  false, 0, false, false};
// clang-format on

// Schemes 0, 10, 11, 12, 20, 21 and 22 (passive serial, passive parallel, streaming) carry an
// options area.
constexpr uint32_t k_options_schemes = 0x701c01;

std::string address_text(uint64_t address)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%08llX", static_cast<unsigned long long>(address));
    return text;
}

ZEB_UTIL_PARTITION_INFO make_row(const ROW_TEMPLATE& row, const std::string& start, const std::string& end)
{
    return {row.name,
            start,
            end,
            row.fixed_size,
            row.extra_space,
            row.reserved,
            row.in_partition_table,
            row.locked,
            row.assignable,
            row.image_index,
            row.shown,
            row.has_page};
}

// Active Serial layouts: the boot information and, for several images, the factory image and the
// update tables, all sized by the configuration-flash block.
void add_active_serial_rows(std::vector<ZEB_UTIL_PARTITION_INFO>& rows, DEV_FAMILY_ENUM family, DEV_DEVICE_ENUM device,
                            bool multi_image, FIO_FILE_TYPE input_file_type)
{
    const PGMDEV_DEV_INFO_MANAGER manager(0, 0);
    const PGMDEV_DEV_INFO* record = nullptr;
    if (device != DEV_DEVICE_INVALID && device != k_generic_device)
        record = manager.get_db_by_device(device);
    else if (family != DEV_FAMILY_INVALID && family != DEV_FAMILY_GENERIC)
        record = manager.get_db_by_family(family);
    if (!record)
        return;

    if (record->has_cmf_flash_block_layout)
    {
        const uint64_t cmf_flash_block_size = record->cmf_flash_block_size;
        MSG_ASSERT_AT(cmf_flash_block_size > 0, k_module, k_source);
        // Several images need one more 64 KiB block for the image pointers.
        const uint64_t boot_end = multi_image ? 4 * cmf_flash_block_size + 0xFFFF : 4 * cmf_flash_block_size - 1;
        ZEB_UTIL_PARTITION_INFO boot = make_row(k_boot_info, address_text(0), address_text(boot_end));
        boot.shown = multi_image && input_file_type == FIO_FILE_TYPE_RBF;
        rows.push_back(boot);
        if (multi_image)
        {
            rows.push_back(make_row(k_factory, address_text(boot_end + 1), k_auto));
            for (const ROW_TEMPLATE* table : {&k_spt0, &k_spt1, &k_cpb0, &k_cpb1})
                rows.push_back(make_row(*table, k_auto, k_auto));
        }
    }
    else if (record->family == DEV_FAMILY_ROGIRA || record->family == DEV_FAMILY_DESIDI)
        rows.push_back(make_row(k_boot_header, address_text(0), address_text(0x20)));
}

const ZEB_UTIL_PARTITION_INFO* find_row(const std::vector<ZEB_UTIL_PARTITION_INFO>& rows, const std::string& name)
{
    for (const ZEB_UTIL_PARTITION_INFO& row : rows)
        if (row.name == name)
            return &row;
    return nullptr;
}

// A name outside the reserved list is a user partition, which holds page images (the application
// images of a remote-update flash); a reserved one carries a page only when its row says so.
bool has_page(const std::vector<ZEB_UTIL_PARTITION_INFO>& rows, const std::string& name)
{
    const ZEB_UTIL_PARTITION_INFO* row = find_row(rows, name);
    return !row || row->has_page;
}

} // namespace

std::vector<ZEB_UTIL_PARTITION_INFO> ZEB_UTIL::get_reserved_partitions(PGMIO_CONFIG_SCHEME scheme,
                                                                       DEV_FAMILY_ENUM family, DEV_DEVICE_ENUM device,
                                                                       bool multi_image, FIO_FILE_TYPE input_file_type)
{
    std::vector<ZEB_UTIL_PARTITION_INFO> rows;
    if (scheme == PGMIO_CONFIG_SCHEME_AS || scheme == PGMIO_CONFIG_SCHEME_AS_X4)
        add_active_serial_rows(rows, family, device, multi_image, input_file_type);
    else if (scheme >= 0 && scheme <= PGMIO_CONFIG_SCHEME_AVST_X32 && (k_options_schemes >> scheme & 1))
        rows.push_back(make_row(k_options, k_auto, k_auto));
    else if (scheme >= PGMIO_CONFIG_SCHEME_SINGLE_IMAGE && scheme <= PGMIO_CONFIG_SCHEME_DUAL_COMPRESSED_IMAGES)
    {
        rows.push_back(make_row(k_ufm, k_auto, k_auto));
        if (scheme == PGMIO_CONFIG_SCHEME_DUAL_COMPRESSED_IMAGES)
            rows.push_back(make_row(k_cfm1, k_auto, k_auto));
        rows.push_back(make_row(k_cfm0, k_auto, k_auto));
    }
    return rows;
}

bool ZEB_UTIL::partition_has_page(const std::string& name, PGMIO_CONFIG_SCHEME scheme, DEV_FAMILY_ENUM family,
                                  DEV_DEVICE_ENUM device, bool multi_image, FIO_FILE_TYPE input_file_type)
{
    return has_page(get_reserved_partitions(scheme, family, device, multi_image, input_file_type), name);
}

bool ZEB_UTIL::partition_is_editable(const std::string& name, PGMIO_CONFIG_SCHEME scheme, DEV_FAMILY_ENUM family,
                                     DEV_DEVICE_ENUM device, bool multi_image, FIO_FILE_TYPE input_file_type)
{
    const auto rows = get_reserved_partitions(scheme, family, device, multi_image, input_file_type);
    const ZEB_UTIL_PARTITION_INFO* row = find_row(rows, name);
    return !row || !row->locked;
}

void ZEB_UTIL::get_family_pcf_info(DEV_FAMILY_ENUM family, DEV_DEVICE_ENUM device, uint32_t& prog_mode_mask,
                                   uint32_t& virtual_prog_mode_mask, uint32_t& zeb_file_mask)
{
    MSG_ASSERT_AT(family != DEV_FAMILY_INVALID && family != DEV_FAMILY_GENERIC, k_module, k_source);
    const PGM_DEVICE* device_ptr = nullptr;
    if (device != DEV_DEVICE_INVALID && device != k_generic_device)
    {
        device_ptr = PGM_DEVICE_INDEX::lookup_device(device);
        MSG_ASSERT_AT(device_ptr != NULL, k_module, k_source);
    }
    else
    {
        device_ptr = PGM_DEVICE_INDEX::get_first_device_of_family(family);
        if (!device_ptr)
            return;
    }
    MSG_ASSERT_AT(device_ptr->get_pcf_info() != NULL, k_module, k_source);
    const std::string& pcf_name = device_ptr->get_pcf_name();
    const std::vector<PGM_PCF_FILE_INFO>* tree_list = device_ptr->get_pcf_info()->get_pcf_file_info(pcf_name);
    MSG_ASSERT_AT(tree_list, k_module, k_source);
    MSG_ASSERT_AT(!tree_list->empty(), k_module, k_source);
    const PGM_PCF_FILE_INFO& info = tree_list->front();
    prog_mode_mask = info.prog_mode_mask;
    virtual_prog_mode_mask = info.virtual_prog_mode_mask;
    zeb_file_mask = info.zeb_file_mask;
    msg_local_vdebug(k_module, 2,
                     "Get pcf = %s, prog_mode_mask = 0x%08x, virtual_prog_mode_mask = 0x%08x, zeb_file_mask = 0x%08x",
                     pcf_name.c_str(), prog_mode_mask, virtual_prog_mode_mask, zeb_file_mask);
}

std::vector<ZEB_UTIL_PARTITION_INFO> ZEB_UTIL::get_reserved_partitions(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                       DEV_FAMILY_ENUM family)
{
    PGMIO_CONFIG_SCHEME scheme = PGMIO_CONFIG_SCHEME_ILLEGAL;
    const bool status = ZEB_FILE_ASSISTANT::get_config_mode(object, scheme);
    MSG_ASSERT_AT(status, k_module, k_source);

    // Several images share one flash only on the families with remote system update.
    const std::vector<PGM_COMMON_XML_ZEB_BITSTREAM*> bitstreams = ZEB_FILE_ASSISTANT::get_bitstream_elements(object);
    const bool multi_image =
        bitstreams.size() > 1 && (family == DEV_FAMILY_ZIZIRA || family == DEV_FAMILY_RERATI);

    FIO_FILE_TYPE input_file_type = FIO_FILE_TYPE_UNKNOWN;
    if (!bitstreams.empty())
    {
        const std::vector<PGM_COMMON_XML_ZEB_PATH*>& path_elements = bitstreams.front()->get_path_list();
        MSG_ASSERT_AT(!path_elements.empty(), k_module, k_source);
        input_file_type = fio_get_file_type(FIO_PATH(path_elements.front()->get_text()).get_extension_type());
    }
    return get_reserved_partitions(scheme, family, static_cast<DEV_DEVICE_ENUM>(0), multi_image, input_file_type);
}

bool ZEB_UTIL::partition_has_page(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& name, DEV_FAMILY_ENUM family)
{
    return has_page(get_reserved_partitions(object, family), name);
}

DEV_FAMILY_ENUM ZEB_UTIL::get_family(PGM_COMMON_XML_ZEB_ZEB* object)
{
    MSG_ASSERT_AT(object, k_module, k_source);
    DEV_FAMILY_ENUM family = DEV_FAMILY_GENERIC;
    const std::vector<FIO_PATH> paths = ZEB_FILE_ASSISTANT::get_input_file_path(object);
    if (paths.empty())
        return family;
    // A failed precheck leaves the generic family; its messages are not the caller's concern.
    const PGM_DEVICE* device = nullptr;
    std::string message;
    if (precheck_input_file(paths.front(), &device, message, message, true))
    {
        MSG_ASSERT_AT(device, k_module, k_source);
        family = device->get_family();
    }
    return family;
}
