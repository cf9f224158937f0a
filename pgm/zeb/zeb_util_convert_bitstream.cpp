// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL conversion of a bitstream: each input path becomes a page of the conversion setup (or a
// partial-reconfiguration region), placed in its partition, with the security settings of the path.
#include "pgm/zeb/key_files.h"
#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/pgmconv/pgmconv.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_messages.h"
#include "pgm/zeb/zeb_util.h"

#include <algorithm>
#include <memory>

namespace
{

constexpr const char* k_auto = "auto";

// Where a partition puts its content: the address scheme with start and end (PGMIO_CCF_AUTO
// where the engine chooses).
struct PLACEMENT
{
    PGMIO_ADDR_SCHEME mode = PGMIO_ADDR_AUTO;
    uint32_t start = PGMIO_CCF_AUTO;
    uint32_t end = PGMIO_CCF_AUTO;
};

PLACEMENT placement_of(const PGM_COMMON_XML_ZEB_PARTITION* partition)
{
    PLACEMENT placement;
    if (partition->get_s_addr() != k_auto)
    {
        placement.start = ZEB_UTIL::convert_string_to_dword(partition->get_s_addr());
        placement.mode = PGMIO_ADDR_FIXED_START;
        if (partition->get_e_addr() != k_auto)
        {
            placement.end = ZEB_UTIL::convert_string_to_dword(partition->get_e_addr());
            placement.mode = PGMIO_ADDR_FIXED;
        }
    }
    return placement;
}

// The data width that pages in a partition are laid out for: one bit, as a configuration flash is
// read serially, unless the flash device that holds the partition is never read one bit wide (a
// parallel flash); then 0, the device's own width.
uint32_t data_width_of(PGM_COMMON_XML_ZEB_ZEB* object, const PGM_COMMON_XML_ZEB_PARTITION* partition)
{
    for (const PGM_COMMON_XML_ZEB_FLASH_DEVICE* flash_device : ZEB_FILE_ASSISTANT::get_flash_device_elements(object))
    {
        const auto& partitions = flash_device->get_partition_list();
        if (std::find(partitions.begin(), partitions.end(), partition) == partitions.end())
            continue;
        const DEV_FLASH_RECORD* record = GFPDB_QSPI_MGR().find_device(flash_device->get_type());
        if (record && !record->data_widths.empty() &&
            std::find(record->data_widths.begin(), record->data_widths.end(), 1u) == record->data_widths.end())
            return 0;
    }
    return 1;
}

bool is_page_image(FIO_EXTENSION_TYPE extension)
{
    return extension == FIO_EXTENSION_TYPE_SOF || extension == FIO_EXTENSION_TYPE_POF ||
           extension == FIO_EXTENSION_TYPE_JIC || extension == FIO_EXTENSION_TYPE_RBF;
}

// Inputs that only the chain writers read (chain descriptions, key programming and helper inputs).
bool is_player_input(FIO_EXTENSION_TYPE extension)
{
    return extension == FIO_EXTENSION_TYPE_CDF || extension == FIO_EXTENSION_TYPE_EKP ||
           extension == FIO_EXTENSION_TYPE_HKY || extension == FIO_EXTENSION_TYPE_HEK ||
           extension == FIO_EXTENSION_TYPE_FUSE;
}

// The input with the path's HPS bootloader embedded, written beside it as "<name>_hps_auto.sof";
// the input itself when the path asks for no bootloader. Empty with EZEB_SETTINGS_CHECK_ERROR
// posted when the bootloader cannot be embedded.
FIO_PATH with_hps_bootloader(const PGM_COMMON_XML_ZEB_PATH* path)
{
    const FIO_PATH input(path->get_text());
    if (path->get_hps_path().empty() || input.get_extension_type() != FIO_EXTENSION_TYPE_SOF)
        return input;
    const FIO_PATH bootloader(path->get_hps_path());
    FIO_PATH derived = input;
    derived.set_base_name(input.get_base_name() + "_hps_auto");
    msg_local_vdebug("ZEB_COMMON", 2, "Add hps bootlooder %s to %s, then write to %s",
                     bootloader.get_full_path().c_str(), input.get_full_path().c_str(),
                     derived.get_full_path().c_str());
    const std::string reason = BITASM_MGR::embedded_bootloader_into_sof(input.get_full_path(), derived.get_full_path(),
                                                                        bootloader.get_full_path());
    if (reason.empty())
        return derived;
    zeb_post_message(EZEB_SETTINGS_CHECK_ERROR, {reason});
    return FIO_PATH();
}

// The security option levels of a path, in the order of PGMIO_SECURITY_OPTION.
std::array<PGM_COMMON_XML_ENUM, PGMIO_SECURITY_OPT_COUNT> security_options_of(const PGM_COMMON_XML_ZEB_PATH* path)
{
    return {path->get_security_opt_no_hps_jtag(),
            path->get_security_opt_secure(),
            path->get_security_opt_epof_only(),
            path->get_security_opt_no_config(),
            path->get_security_opt_no_battery_key(),
            path->get_security_opt_no_jtag(),
            path->get_security_opt_lock_battery_key(),
            path->get_security_opt_no_otp_key(),
            path->get_security_opt_no_jtag_ext(),
            path->get_security_opt_no_jtag_key(),
            path->get_security_opt_no_pr()};
}

PGMIO_SIGNING_MODE signing_mode_of(PGM_COMMON_XML_ENUM signing)
{
    switch (signing)
    {
    case PGM_COMMON_XML_ENUM_ON:
        return PGMIO_SIGNING_ON;
    case PGM_COMMON_XML_ENUM_PEM:
        return PGMIO_SIGNING_PEM;
    default:
        return PGMIO_SIGNING_OFF;
    }
}

// A key that the encryption names must be readable now, so that a wrong key id or a damaged key
// file is reported before anything is written.
bool check_key(const std::string& key_file, const std::string& key_id, uint32_t key_bits)
{
    if (key_file.empty())
        return true;
    if (ZEB_KEY_FILE_ASSISTANT::has_key(FIO_PATH(key_file).get_full_path(), key_id, key_bits))
        return true;
    zeb_post_message(EZEB_SETTINGS_CHECK_ERROR, {msg_printf("Cannot read key '%s' of %u bits from key file %s",
                                                            key_id.c_str(), key_bits, key_file.c_str())});
    return false;
}

// The device of a page image as the single element of the page's chain, which the CvP and HPS
// set-up and the chain writers read. An image whose device cannot be read leaves the chain empty;
// the writers report that image themselves.
void add_page_device(PGMIO_CCF* ccf, const FIO_PATH& image, uint32_t page)
{
    auto element = std::make_unique<PGM_CHAIN_ELEMENT>(nullptr);
    element->set_programming_file(image);
    if (!element->create_chain_element(element.get(), true, nullptr, true, 0, false, false))
    {
        msg_local_vdebug("ZEB_COMMON", 2, "No chain element for page %u: %s", page, element->error().c_str());
        return;
    }
    element->flags |= PGM_CHAIN_ELEMENT_PROCESS;
    ccf->add_chain_element(element.release(), page, 0, PGMIO_CCF_AUTO);
}

} // namespace

bool ZEB_UTIL::convert_zeb_to_ccf_bitstreams(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf,
                                             PGM_COMMON_XML_ZEB_BITSTREAM_ID* bitstream_id,
                                             PGM_COMMON_XML_ZEB_PARTITION* partition, ZEB_FILE_TYPE type)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(ccf);
    ZEB_UTIL_ASSERT(bitstream_id);
    const std::vector<PGM_COMMON_XML_ZEB_PATH*> paths =
        ZEB_FILE_ASSISTANT::get_path_elements(object, bitstream_id->get_text());
    PLACEMENT placement;
    if (partition)
    {
        placement = placement_of(partition);
        ccf->set_width(data_width_of(object, partition));
    }

    for (PGM_COMMON_XML_ZEB_PATH* path : paths)
    {
        const FIO_PATH input(path->get_text());
        const FIO_EXTENSION_TYPE extension = input.get_extension_type();
        if (extension == FIO_EXTENSION_TYPE_PMSF)
        {
            ccf->set_n_pages(1);
            ccf->set_page(0);
            if (!PGMIO_PR_INTERFACE::read_pmsf_file(ccf, input))
            {
                msg_local_vdebug("ZEB_COMMON", 2, "Fail to read pmsf file %s for bitstream generation",
                                 input.get_full_path().c_str());
                return false;
            }
            if (!ccf->add_pr_sof_file(input, PGMIO_CCF_ALL_PAGES, placement.mode, placement.start, placement.end))
            {
                msg_local_vdebug("ZEB_COMMON", 2, "Fail to add pmsf file %s for flash partition",
                                 input.get_full_path().c_str());
                return false;
            }
            continue;
        }
        if (is_player_input(extension))
            continue;
        if (!is_page_image(extension))
            ZEB_UTIL_INTERNAL_ERROR("Unrecognized bitstream file extension");

        const uint32_t page = ccf->get_n_pages();
        ccf->set_n_pages(page + 1);
        const FIO_PATH image = with_hps_bootloader(path);
        if (image.is_empty())
            return false;
        std::string missing;
        if (!path->get_fw_source().empty() && check_file_exist(FIO_PATH(path->get_fw_source()), missing))
            ccf->set_fw_source(FIO_PATH(path->get_fw_source()), page);

        if (!ccf->add_sof_file(image, 0, page, 0))
        {
            msg_local_vdebug("ZEB_COMMON", 2, "Fail to add page %d sof/pof/jic file %s", static_cast<int>(page),
                             image.get_full_path().c_str());
            return false;
        }
        msg_local_vdebug("ZEB_COMMON", 2, "Successfully add page %d sof/pof/jic file %s", static_cast<int>(page),
                         image.get_full_path().c_str());
        ccf->set_page_number(page, page);
        add_page_device(ccf, image, page);
        if (!convert_zeb_to_ccf_bitstream_properties(object, ccf, path, type, 0, page))
            return false;
        if (partition)
        {
            ccf->set_page_user_name(partition->get_id(), page);
            ccf->set_addr_scheme(page, placement.mode);
            ccf->set_start_address(placement.start, page);
            ccf->set_end_address(placement.end, page);
            ccf->set_requested_extra_space(partition->get_extra_space(), page);
            ccf->set_page_table(page, page);
        }
    }
    return true;
}

bool ZEB_UTIL::convert_zeb_to_ccf_bitstream_properties(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf,
                                                       PGM_COMMON_XML_ZEB_PATH* path, ZEB_FILE_TYPE type,
                                                       uint32_t reserved, uint32_t page)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(ccf);
    ZEB_UTIL_ASSERT(path);
    (void)type;
    (void)reserved;
    PGMIO_SECURITY_SETTINGS settings;
    settings.compression = path->get_compression();
    settings.enhanced_compression = path->get_enhanced_compression();
    settings.encryption = path->get_encryption();
    settings.key_file1 = path->get_key_file1().empty() ? "" : FIO_PATH(path->get_key_file1()).get_full_path();
    settings.key1 = path->get_key1();
    settings.key_file2 = path->get_key_file2().empty() ? "" : FIO_PATH(path->get_key_file2()).get_full_path();
    settings.key2 = path->get_key2();
    settings.hek_file = path->get_hek_file();
    settings.finalize_encryption = path->get_finalize_encryption();
    settings.finalize_encryption_later = path->get_finalize_encryption_later();
    settings.password = path->get_password();
    settings.signing = signing_mode_of(path->get_signing());
    settings.signing_pem_file =
        path->get_signing_pem_file().empty() ? "" : FIO_PATH(path->get_signing_pem_file()).get_full_path();
    settings.sign_later = path->get_sign_later();
    settings.hky_file = path->get_hky_file();
    settings.hlk_file = path->get_hlk_file();
    settings.ekp_file = path->get_ekp_file();
    settings.key_storage = path->get_key_storage();
    settings.non_volatile_key = path->get_non_volatile_key();
    settings.seu_recovery = path->get_seu_recovery();
    settings.rsu_upgrade = path->get_rsu_upgrade();
    settings.decryption_during_pr = path->get_decryption_during_pr();
    settings.decompression_during_pr = path->get_decompression_during_pr();
    const auto levels = security_options_of(path);
    for (size_t i = 0; i < levels.size(); ++i)
        settings.options[i] = static_cast<uint8_t>(ZEB_FILE_ASSISTANT::map_enum_to_security_level(levels[i]));

    const PGM_DEVICE* device = nullptr;
    std::string message;
    precheck_input_file(FIO_PATH(path->get_text()), &device, message, message, true);
    // Application images of a remote update are made as pages of a flash image, not from options
    // of one input; an input that asks for them is refused rather than converted without them.
    const std::pair<const char*, bool> application_image_options[] = {
        {"app_image", !path->get_app_image().empty()},
        {"app_image_only", path->get_app_image_only()},
        {"app_image_hps_path", !path->get_app_image_hps_path().empty()},
    };
    for (const auto& [option, asked] : application_image_options)
        if (asked)
        {
            zeb_post_message(EZEB_SETTINGS_CHECK_ERROR,
                             {msg_printf("Option %s of %s is not supported for device %s: assign application "
                                         "images to user partitions of a flash device instead",
                                         option, path->get_text().c_str(),
                                         device ? device->get_name().c_str() : "(unknown)")});
            return false;
        }
    if (settings.encryption)
    {
        const uint32_t key_bits =
            device && device->get_fpga_record() ? device->get_fpga_record()->capabilities.key_length : 0;
        if (!check_key(settings.key_file1, settings.key1, key_bits) ||
            !check_key(settings.key_file2, settings.key2, key_bits))
            return false;
    }
    ccf->set_security_settings(settings, page);
    return true;
}
