// SPDX-License-Identifier: Apache-2.0
// Attribute declarations and child rules of the setup document's element classes. Each
// constructor lists its attributes in write-back order: name, required, default, (values,) member.
#include "pgm/zeb/platform/pgm_common_xml_zeb_auto_export.h"

namespace
{

constexpr bool R = true;  // required
constexpr bool O = false; // optional

// The output file types a setup document can name (output_file, secondary_file and raw_file).
constexpr const char* k_file_types = "RBF|HEX|TTF|JIC|POF|RPD|PRRBF|CVP_CORE_RBF|HPS_CORE_RBF|PERIPH_RBF|PERIPH_JIC|"
                                     "PERIPH_POF|PERIPH_RPD|MAP|SEC_RPD|JAM|JBC|SVF|EKP|QSPI_HELPER_RBF|HELPER_RBF|"
                                     "HELPER_RBF_CMD|SOF";
constexpr const char* k_security_levels = "0|1|2|3";

const PGM_COMMON_XML_ALLOWED_COUNTS k_zero_or_one = {{0}, {1}};
const PGM_COMMON_XML_ALLOWED_COUNTS k_zero_or_more = {{0}, {PGM_COMMON_XML_ANY_COUNT}};
const PGM_COMMON_XML_ALLOWED_COUNTS k_zero_to_four = {{0}, {1}, {2}, {3}, {4}};

} // namespace

// ---- Leaves ------------------------------------------------------------------------------------

bool PGM_COMMON_XML_ZEB_LEAF::group_child(PGM_COMMON_XML_ELEMENT* child, bool, bool, std::string* error)
{
    return reject_child(child, error);
}

const std::vector<PGM_COMMON_XML_CHILD_RULE>& PGM_COMMON_XML_ZEB_LEAF::child_rules() const
{
    static const std::vector<PGM_COMMON_XML_CHILD_RULE> none;
    return none;
}

PGM_COMMON_XML_ZEB_SETTINGS::PGM_COMMON_XML_ZEB_SETTINGS(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ZEB_LEAF(PGM_COMMON_XML_ENUM_ZEB_SETTINGS, creator)
{
    add_attribute("custom_db_dir", O, "", &m_custom_db_dir);
    add_attribute("mode", R, "_INVALID__", "PS|FPP|ASX1|ASX4|AVSTX8|AVSTX16|AVSTX32|INTERNAL", &m_mode);
    init_check();
}

PGM_COMMON_XML_ZEB_FILE_OPTIONS::PGM_COMMON_XML_ZEB_FILE_OPTIONS(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ZEB_LEAF(PGM_COMMON_XML_ENUM_ZEB_FILE_OPTIONS, creator)
{
    add_attribute("direction", O, "UP", "UP|DOWN", &m_direction);
    add_attribute("bitswap", O, "false", &m_bitswap);
    add_attribute("s_addr", O, "0", &m_s_addr);
    add_attribute("frequency", O, "6MHz", &m_frequency);
    add_attribute("voltage", O, "3_3V", "1_5V|1_8V|2_5V|3_3V|5_0V", &m_voltage);
    add_attribute("operation", O, "P", "P|V|PB", &m_operation);
    init_check();
}

PGM_COMMON_XML_ZEB_PATH::PGM_COMMON_XML_ZEB_PATH(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ZEB_LEAF(PGM_COMMON_XML_ENUM_ZEB_PATH, creator, PGM_COMMON_XML_VALUE_TYPE_STRING, true, "", "",
                              &m_text)
{
    add_attribute("key_storage", O, "", &m_key_storage);
    add_attribute("signing", O, "OFF", "OFF|ON|PEM", &m_signing);
    add_attribute("ekp_file", O, "", &m_ekp_file);
    add_attribute("security_opt_no_otp_key", O, "0", k_security_levels, &m_security_opt_no_otp_key);
    add_attribute("key2", O, "", &m_key2);
    add_attribute("key1", O, "", &m_key1);
    add_attribute("key_file2", O, "", &m_key_file2);
    add_attribute("finalize_encryption_later", O, "false", &m_finalize_encryption_later);
    add_attribute("enhanced_compression", O, "false", &m_enhanced_compression);
    add_attribute("non_volatile_key", O, "false", &m_non_volatile_key);
    add_attribute("security_opt_lock_battery_key", O, "0", k_security_levels, &m_security_opt_lock_battery_key);
    add_attribute("security_opt_no_jtag_key", O, "0", k_security_levels, &m_security_opt_no_jtag_key);
    add_attribute("security_opt_no_battery_key", O, "0", k_security_levels, &m_security_opt_no_battery_key);
    add_attribute("finalize_encryption", O, "false", &m_finalize_encryption);
    add_attribute("password", O, "", &m_password);
    add_attribute("security_opt_no_jtag", O, "0", k_security_levels, &m_security_opt_no_jtag);
    add_attribute("compression", O, "false", &m_compression);
    add_attribute("encryption", O, "false", &m_encryption);
    add_attribute("hlk_file", O, "", &m_hlk_file);
    add_attribute("sign_later", O, "false", &m_sign_later);
    add_attribute("rsu_upgrade", O, "false", &m_rsu_upgrade);
    add_attribute("decryption_during_pr", O, "false", &m_decryption_during_pr);
    add_attribute("security_opt_no_config", O, "0", k_security_levels, &m_security_opt_no_config);
    add_attribute("app_image_hps_path", O, "", &m_app_image_hps_path);
    add_attribute("security_opt_no_pr", O, "0", k_security_levels, &m_security_opt_no_pr);
    add_attribute("security_opt_epof_only", O, "0", k_security_levels, &m_security_opt_epof_only);
    add_attribute("security_opt_secure", O, "2", "2|3", &m_security_opt_secure);
    add_attribute("app_image_only", O, "false", &m_app_image_only);
    add_attribute("hek_file", O, "", &m_hek_file);
    add_attribute("app_image", O, "", &m_app_image);
    add_attribute("security_opt_no_jtag_ext", O, "0", k_security_levels, &m_security_opt_no_jtag_ext);
    add_attribute("decompression_during_pr", O, "false", &m_decompression_during_pr);
    add_attribute("signing_pem_file", O, "", &m_signing_pem_file);
    add_attribute("hps_path", O, "", &m_hps_path);
    add_attribute("security_opt_no_hps_jtag", O, "0", k_security_levels, &m_security_opt_no_hps_jtag);
    add_attribute("key_file1", O, "", &m_key_file1);
    add_attribute("fw_source", O, "", &m_fw_source);
    add_attribute("hky_file", O, "", &m_hky_file);
    add_attribute("seu_recovery", O, "false", &m_seu_recovery);
    init_check();
}

PGM_COMMON_XML_ZEB_RAW_FILE::PGM_COMMON_XML_ZEB_RAW_FILE(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ZEB_LEAF(PGM_COMMON_XML_ENUM_ZEB_RAW_FILE, creator, PGM_COMMON_XML_VALUE_TYPE_STRING, true, "", "",
                              &m_text)
{
    add_attribute("bitswap", O, "false", &m_bitswap);
    add_attribute("type", R, "_INVALID__", k_file_types, &m_type);
    add_attribute("id", R, "", &m_id);
    init_check();
}

PGM_COMMON_XML_ZEB_PARTITION::PGM_COMMON_XML_ZEB_PARTITION(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ZEB_LEAF(PGM_COMMON_XML_ENUM_ZEB_PARTITION, creator)
{
    add_attribute("reserved", O, "false", &m_reserved);
    add_attribute("extra_space", O, "0", &m_extra_space);
    add_attribute("fixed_s_addr", O, "false", &m_fixed_s_addr);
    add_attribute("s_addr", R, "", &m_s_addr);
    add_attribute("e_addr", R, "", &m_e_addr);
    add_attribute("fixed_e_addr", O, "false", &m_fixed_e_addr);
    add_attribute("id", R, "", &m_id);
    add_attribute("size", O, "0", &m_size);
    init_check();
}

PGM_COMMON_XML_ZEB_FLASH_LOADER::PGM_COMMON_XML_ZEB_FLASH_LOADER(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ZEB_LEAF(PGM_COMMON_XML_ENUM_ZEB_FLASH_LOADER, creator, PGM_COMMON_XML_VALUE_TYPE_STRING, true, "",
                              "", &m_text)
{
    init_check();
}

PGM_COMMON_XML_ZEB_BITSTREAM_ID::PGM_COMMON_XML_ZEB_BITSTREAM_ID(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ZEB_LEAF(PGM_COMMON_XML_ENUM_ZEB_BITSTREAM_ID, creator, PGM_COMMON_XML_VALUE_TYPE_STRING, true, "",
                              "", &m_text)
{
    add_attribute("section", O, "ALL", "HPS|ALL", &m_section);
    init_check();
}

PGM_COMMON_XML_ZEB_RAW_FILE_ID::PGM_COMMON_XML_ZEB_RAW_FILE_ID(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ZEB_LEAF(PGM_COMMON_XML_ENUM_ZEB_RAW_FILE_ID, creator, PGM_COMMON_XML_VALUE_TYPE_STRING, true, "",
                              "", &m_text)
{
    add_attribute("addr_mode", O, "AUTO", "AUTO|ABS|REL", &m_addr_mode);
    add_attribute("addr_offset", O, "", &m_addr_offset);
    init_check();
}

PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID::PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ZEB_LEAF(PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE_ID, creator, PGM_COMMON_XML_VALUE_TYPE_STRING, true,
                              "", "", &m_text)
{
    init_check();
}

// ---- Elements with children --------------------------------------------------------------------

PGM_COMMON_XML_ZEB_SECONDARY_FILE::PGM_COMMON_XML_ZEB_SECONDARY_FILE(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM_ZEB_SECONDARY_FILE, creator)
{
    add_attribute("type", R, "MAP", k_file_types, &m_type);
    add_attribute("name", R, "", &m_name);
    init_check();
}

const std::vector<PGM_COMMON_XML_CHILD_RULE>& PGM_COMMON_XML_ZEB_SECONDARY_FILE::child_rules() const
{
    static const std::vector<PGM_COMMON_XML_CHILD_RULE> rules = {
        {PGM_COMMON_XML_ENUM_ZEB_FILE_OPTIONS, k_zero_or_one},
    };
    return rules;
}

void PGM_COMMON_XML_ZEB_SECONDARY_FILE::clear_children()
{
    file_options.clear();
}

bool PGM_COMMON_XML_ZEB_SECONDARY_FILE::group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end,
                                                    std::string* error)
{
    if (child->get_element_type() == PGM_COMMON_XML_ENUM_ZEB_FILE_OPTIONS)
        return group_into(file_options, child, remove, at_end, "file_options.size()");
    return reject_child(child, error);
}

PGM_COMMON_XML_ZEB_OUTPUT_FILE::PGM_COMMON_XML_ZEB_OUTPUT_FILE(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILE, creator)
{
    add_attribute("name", R, "", &m_name);
    add_attribute("subtype", O, "INVALID", "INVALID|QSPI|FUSE|SDMMC", &m_subtype);
    add_attribute("hps", O, "false", &m_hps);
    add_attribute("rsu_boot", O, "false", &m_rsu_boot);
    add_attribute("cvp", O, "false", &m_cvp);
    add_attribute("device", O, "", &m_device);
    add_attribute("directory", R, "", &m_directory);
    add_attribute("type", R, "RBF", k_file_types, &m_type);
    init_check();
}

const std::vector<PGM_COMMON_XML_CHILD_RULE>& PGM_COMMON_XML_ZEB_OUTPUT_FILE::child_rules() const
{
    static const std::vector<PGM_COMMON_XML_CHILD_RULE> rules = {
        {PGM_COMMON_XML_ENUM_ZEB_FILE_OPTIONS, k_zero_or_one},
        {PGM_COMMON_XML_ENUM_ZEB_SECONDARY_FILE, k_zero_or_more},
        {PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE_ID, k_zero_or_more},
        {PGM_COMMON_XML_ENUM_ZEB_BITSTREAM_ID, k_zero_or_one},
    };
    return rules;
}

void PGM_COMMON_XML_ZEB_OUTPUT_FILE::clear_children()
{
    file_options.clear();
    secondary_file.clear();
    flash_device_id.clear();
    bitstream_id.clear();
}

bool PGM_COMMON_XML_ZEB_OUTPUT_FILE::group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end,
                                                 std::string* error)
{
    switch (child->get_element_type())
    {
    case PGM_COMMON_XML_ENUM_ZEB_FILE_OPTIONS:
        return group_into(file_options, child, remove, at_end, "file_options.size()");
    case PGM_COMMON_XML_ENUM_ZEB_SECONDARY_FILE:
        return group_into(secondary_file, child, remove, at_end, "secondary_file.size()");
    case PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE_ID:
        return group_into(flash_device_id, child, remove, at_end, "flash_device_id.size()");
    case PGM_COMMON_XML_ENUM_ZEB_BITSTREAM_ID:
        return group_into(bitstream_id, child, remove, at_end, "bitstream_id.size()");
    default:
        return reject_child(child, error);
    }
}

PGM_COMMON_XML_ZEB_OUTPUT_FILES::PGM_COMMON_XML_ZEB_OUTPUT_FILES(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILES, creator)
{
    init_check();
}

const std::vector<PGM_COMMON_XML_CHILD_RULE>& PGM_COMMON_XML_ZEB_OUTPUT_FILES::child_rules() const
{
    static const std::vector<PGM_COMMON_XML_CHILD_RULE> rules = {
        {PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILE, k_zero_or_more},
    };
    return rules;
}

void PGM_COMMON_XML_ZEB_OUTPUT_FILES::clear_children()
{
    output_file.clear();
}

bool PGM_COMMON_XML_ZEB_OUTPUT_FILES::group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end,
                                                  std::string* error)
{
    if (child->get_element_type() == PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILE)
        return group_into(output_file, child, remove, at_end, "output_file.size()");
    return reject_child(child, error);
}

PGM_COMMON_XML_ZEB_BITSTREAM::PGM_COMMON_XML_ZEB_BITSTREAM(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM_ZEB_BITSTREAM, creator)
{
    add_attribute("id", R, "", &m_id);
    init_check();
}

const std::vector<PGM_COMMON_XML_CHILD_RULE>& PGM_COMMON_XML_ZEB_BITSTREAM::child_rules() const
{
    static const std::vector<PGM_COMMON_XML_CHILD_RULE> rules = {
        {PGM_COMMON_XML_ENUM_ZEB_PATH, k_zero_or_more},
    };
    return rules;
}

void PGM_COMMON_XML_ZEB_BITSTREAM::clear_children()
{
    path.clear();
}

bool PGM_COMMON_XML_ZEB_BITSTREAM::group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end,
                                               std::string* error)
{
    if (child->get_element_type() == PGM_COMMON_XML_ENUM_ZEB_PATH)
        return group_into(path, child, remove, at_end, "path.size()");
    return reject_child(child, error);
}

PGM_COMMON_XML_ZEB_BITSTREAMS::PGM_COMMON_XML_ZEB_BITSTREAMS(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM_ZEB_BITSTREAMS, creator)
{
    init_check();
}

const std::vector<PGM_COMMON_XML_CHILD_RULE>& PGM_COMMON_XML_ZEB_BITSTREAMS::child_rules() const
{
    static const std::vector<PGM_COMMON_XML_CHILD_RULE> rules = {
        {PGM_COMMON_XML_ENUM_ZEB_BITSTREAM, k_zero_or_more},
    };
    return rules;
}

void PGM_COMMON_XML_ZEB_BITSTREAMS::clear_children()
{
    bitstream.clear();
}

bool PGM_COMMON_XML_ZEB_BITSTREAMS::group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end,
                                                std::string* error)
{
    if (child->get_element_type() == PGM_COMMON_XML_ENUM_ZEB_BITSTREAM)
        return group_into(bitstream, child, remove, at_end, "bitstream.size()");
    return reject_child(child, error);
}

PGM_COMMON_XML_ZEB_RAW_FILES::PGM_COMMON_XML_ZEB_RAW_FILES(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM_ZEB_RAW_FILES, creator)
{
    init_check();
}

const std::vector<PGM_COMMON_XML_CHILD_RULE>& PGM_COMMON_XML_ZEB_RAW_FILES::child_rules() const
{
    static const std::vector<PGM_COMMON_XML_CHILD_RULE> rules = {
        {PGM_COMMON_XML_ENUM_ZEB_RAW_FILE, k_zero_or_more},
    };
    return rules;
}

void PGM_COMMON_XML_ZEB_RAW_FILES::clear_children()
{
    raw_file.clear();
}

bool PGM_COMMON_XML_ZEB_RAW_FILES::group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end,
                                               std::string* error)
{
    if (child->get_element_type() == PGM_COMMON_XML_ENUM_ZEB_RAW_FILE)
        return group_into(raw_file, child, remove, at_end, "raw_file.size()");
    return reject_child(child, error);
}

PGM_COMMON_XML_ZEB_MBR::PGM_COMMON_XML_ZEB_MBR(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM_ZEB_MBR, creator)
{
    add_attribute("e_addr", R, "", &m_e_addr);
    add_attribute("type", R, "", &m_type);
    add_attribute("id", R, "", &m_id);
    add_attribute("s_addr", R, "", &m_s_addr);
    init_check();
}

const std::vector<PGM_COMMON_XML_CHILD_RULE>& PGM_COMMON_XML_ZEB_MBR::child_rules() const
{
    static const std::vector<PGM_COMMON_XML_CHILD_RULE> rules = {
        {PGM_COMMON_XML_ENUM_ZEB_PARTITION, k_zero_or_more},
    };
    return rules;
}

void PGM_COMMON_XML_ZEB_MBR::clear_children()
{
    partition.clear();
}

bool PGM_COMMON_XML_ZEB_MBR::group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end, std::string* error)
{
    if (child->get_element_type() == PGM_COMMON_XML_ENUM_ZEB_PARTITION)
        return group_into(partition, child, remove, at_end, "partition.size()");
    return reject_child(child, error);
}

PGM_COMMON_XML_ZEB_FLASH_DEVICE::PGM_COMMON_XML_ZEB_FLASH_DEVICE(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE, creator)
{
    add_attribute("watchdog_value", O, "", &m_watchdog_value);
    add_attribute("enable_encrypted_pof_only", O, "false", &m_enable_encrypted_pof_only);
    add_attribute("enable_jtag_security", O, "false", &m_enable_jtag_security);
    add_attribute("enable_test", O, "false", &m_enable_test);
    add_attribute("ufm_source_file", O, "", &m_ufm_source_file);
    add_attribute("enable_verify_protect", O, "false", &m_enable_verify_protect);
    add_attribute("ufm_source", O, "0", &m_ufm_source);
    add_attribute("chip_select", O, "0", &m_chip_select);
    add_attribute("force_ssmclk_to_use_ismclk", O, "true", &m_force_ssmclk_to_use_ismclk);
    add_attribute("config_from_cfm0_only", O, "false", &m_config_from_cfm0_only);
    add_attribute("isp_source", O, "false", &m_isp_source);
    add_attribute("enable_spi_mode", O, "false", &m_enable_spi_mode);
    add_attribute("enable_user_ios_weak_pullup", O, "true", &m_enable_user_ios_weak_pullup);
    add_attribute("power_on_scheme", O, "0", &m_power_on_scheme);
    add_attribute("disable_test", O, "true", &m_disable_test);
    add_attribute("fallback_address", O, "", &m_fallback_address);
    add_attribute("type", R, "", &m_type);
    add_attribute("id", R, "", &m_id);
    init_check();
}

const std::vector<PGM_COMMON_XML_CHILD_RULE>& PGM_COMMON_XML_ZEB_FLASH_DEVICE::child_rules() const
{
    static const std::vector<PGM_COMMON_XML_CHILD_RULE> rules = {
        {PGM_COMMON_XML_ENUM_ZEB_PARTITION, k_zero_or_more},
        {PGM_COMMON_XML_ENUM_ZEB_MBR, k_zero_to_four},
    };
    return rules;
}

void PGM_COMMON_XML_ZEB_FLASH_DEVICE::clear_children()
{
    partition.clear();
    mbr.clear();
}

bool PGM_COMMON_XML_ZEB_FLASH_DEVICE::group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end,
                                                  std::string* error)
{
    switch (child->get_element_type())
    {
    case PGM_COMMON_XML_ENUM_ZEB_PARTITION:
        return group_into(partition, child, remove, at_end, "partition.size()");
    case PGM_COMMON_XML_ENUM_ZEB_MBR:
        return group_into(mbr, child, remove, at_end, "mbr.size()");
    default:
        return reject_child(child, error);
    }
}

PGM_COMMON_XML_ZEB_FLASH_DEVICES::PGM_COMMON_XML_ZEB_FLASH_DEVICES(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICES, creator)
{
    init_check();
}

const std::vector<PGM_COMMON_XML_CHILD_RULE>& PGM_COMMON_XML_ZEB_FLASH_DEVICES::child_rules() const
{
    static const std::vector<PGM_COMMON_XML_CHILD_RULE> rules = {
        {PGM_COMMON_XML_ENUM_ZEB_FLASH_LOADER, k_zero_or_one},
        {PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE, k_zero_or_more},
    };
    return rules;
}

void PGM_COMMON_XML_ZEB_FLASH_DEVICES::clear_children()
{
    flash_loader.clear();
    flash_device.clear();
}

bool PGM_COMMON_XML_ZEB_FLASH_DEVICES::group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end,
                                                   std::string* error)
{
    switch (child->get_element_type())
    {
    case PGM_COMMON_XML_ENUM_ZEB_FLASH_LOADER:
        return group_into(flash_loader, child, remove, at_end, "flash_loader.size()");
    case PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE:
        return group_into(flash_device, child, remove, at_end, "flash_device.size()");
    default:
        return reject_child(child, error);
    }
}

PGM_COMMON_XML_ZEB_ASSIGNMENT::PGM_COMMON_XML_ZEB_ASSIGNMENT(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENT, creator)
{
    add_attribute("page", O, "0", &m_page);
    add_attribute("partition_id", R, "", &m_partition_id);
    init_check();
}

const std::vector<PGM_COMMON_XML_CHILD_RULE>& PGM_COMMON_XML_ZEB_ASSIGNMENT::child_rules() const
{
    static const std::vector<PGM_COMMON_XML_CHILD_RULE> rules = {
        {PGM_COMMON_XML_ENUM_ZEB_RAW_FILE_ID, k_zero_or_one},
        {PGM_COMMON_XML_ENUM_ZEB_BITSTREAM_ID, k_zero_or_one},
    };
    return rules;
}

void PGM_COMMON_XML_ZEB_ASSIGNMENT::clear_children()
{
    raw_file_id.clear();
    bitstream_id.clear();
}

bool PGM_COMMON_XML_ZEB_ASSIGNMENT::group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end,
                                                std::string* error)
{
    switch (child->get_element_type())
    {
    case PGM_COMMON_XML_ENUM_ZEB_RAW_FILE_ID:
        return group_into(raw_file_id, child, remove, at_end, "raw_file_id.size()");
    case PGM_COMMON_XML_ENUM_ZEB_BITSTREAM_ID:
        return group_into(bitstream_id, child, remove, at_end, "bitstream_id.size()");
    default:
        return reject_child(child, error);
    }
}

PGM_COMMON_XML_ZEB_ASSIGNMENTS::PGM_COMMON_XML_ZEB_ASSIGNMENTS(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENTS, creator)
{
    init_check();
}

const std::vector<PGM_COMMON_XML_CHILD_RULE>& PGM_COMMON_XML_ZEB_ASSIGNMENTS::child_rules() const
{
    static const std::vector<PGM_COMMON_XML_CHILD_RULE> rules = {
        {PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENT, k_zero_or_more},
    };
    return rules;
}

void PGM_COMMON_XML_ZEB_ASSIGNMENTS::clear_children()
{
    assignment.clear();
}

bool PGM_COMMON_XML_ZEB_ASSIGNMENTS::group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end,
                                                 std::string* error)
{
    if (child->get_element_type() == PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENT)
        return group_into(assignment, child, remove, at_end, "assignment.size()");
    return reject_child(child, error);
}

PGM_COMMON_XML_ZEB_ZEB::PGM_COMMON_XML_ZEB_ZEB(PGM_COMMON_XML_ENUM creator)
    : PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM_ZEB_ZEB, creator)
{
    add_attribute("version", O, "1", &m_version);
    init_check();
}

const std::vector<PGM_COMMON_XML_CHILD_RULE>& PGM_COMMON_XML_ZEB_ZEB::child_rules() const
{
    static const std::vector<PGM_COMMON_XML_CHILD_RULE> rules = {
        {PGM_COMMON_XML_ENUM_ZEB_SETTINGS, k_zero_or_one},      {PGM_COMMON_XML_ENUM_ZEB_RAW_FILES, k_zero_or_one},
        {PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENTS, k_zero_or_one},   {PGM_COMMON_XML_ENUM_ZEB_BITSTREAMS, k_zero_or_one},
        {PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICES, k_zero_or_one}, {PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILES, k_zero_or_one},
    };
    return rules;
}

void PGM_COMMON_XML_ZEB_ZEB::clear_children()
{
    settings.clear();
    raw_files.clear();
    assignments.clear();
    bitstreams.clear();
    flash_devices.clear();
    output_files.clear();
}

bool PGM_COMMON_XML_ZEB_ZEB::group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end, std::string* error)
{
    switch (child->get_element_type())
    {
    case PGM_COMMON_XML_ENUM_ZEB_SETTINGS:
        return group_into(settings, child, remove, at_end, "settings.size()");
    case PGM_COMMON_XML_ENUM_ZEB_RAW_FILES:
        return group_into(raw_files, child, remove, at_end, "raw_files.size()");
    case PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENTS:
        return group_into(assignments, child, remove, at_end, "assignments.size()");
    case PGM_COMMON_XML_ENUM_ZEB_BITSTREAMS:
        return group_into(bitstreams, child, remove, at_end, "bitstreams.size()");
    case PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICES:
        return group_into(flash_devices, child, remove, at_end, "flash_devices.size()");
    case PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILES:
        return group_into(output_files, child, remove, at_end, "output_files.size()");
    default:
        return reject_child(child, error);
    }
}

// ---- Factory -----------------------------------------------------------------------------------

namespace
{

template <class T> PGM_COMMON_XML_ELEMENT* make(PGM_COMMON_XML_ENUM creator)
{
    return new T(creator);
}

struct ELEMENT_FACTORY_ROW
{
    PGM_COMMON_XML_ENUM kind;
    PGM_COMMON_XML_ELEMENT* (*create)(PGM_COMMON_XML_ENUM creator);
};

constexpr ELEMENT_FACTORY_ROW k_factory[] = {
    {PGM_COMMON_XML_ENUM_ZEB_ZEB, make<PGM_COMMON_XML_ZEB_ZEB>},
    {PGM_COMMON_XML_ENUM_ZEB_SETTINGS, make<PGM_COMMON_XML_ZEB_SETTINGS>},
    {PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILES, make<PGM_COMMON_XML_ZEB_OUTPUT_FILES>},
    {PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILE, make<PGM_COMMON_XML_ZEB_OUTPUT_FILE>},
    {PGM_COMMON_XML_ENUM_ZEB_FILE_OPTIONS, make<PGM_COMMON_XML_ZEB_FILE_OPTIONS>},
    {PGM_COMMON_XML_ENUM_ZEB_SECONDARY_FILE, make<PGM_COMMON_XML_ZEB_SECONDARY_FILE>},
    {PGM_COMMON_XML_ENUM_ZEB_BITSTREAMS, make<PGM_COMMON_XML_ZEB_BITSTREAMS>},
    {PGM_COMMON_XML_ENUM_ZEB_BITSTREAM, make<PGM_COMMON_XML_ZEB_BITSTREAM>},
    {PGM_COMMON_XML_ENUM_ZEB_PATH, make<PGM_COMMON_XML_ZEB_PATH>},
    {PGM_COMMON_XML_ENUM_ZEB_RAW_FILES, make<PGM_COMMON_XML_ZEB_RAW_FILES>},
    {PGM_COMMON_XML_ENUM_ZEB_RAW_FILE, make<PGM_COMMON_XML_ZEB_RAW_FILE>},
    {PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICES, make<PGM_COMMON_XML_ZEB_FLASH_DEVICES>},
    {PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE, make<PGM_COMMON_XML_ZEB_FLASH_DEVICE>},
    {PGM_COMMON_XML_ENUM_ZEB_PARTITION, make<PGM_COMMON_XML_ZEB_PARTITION>},
    {PGM_COMMON_XML_ENUM_ZEB_MBR, make<PGM_COMMON_XML_ZEB_MBR>},
    {PGM_COMMON_XML_ENUM_ZEB_FLASH_LOADER, make<PGM_COMMON_XML_ZEB_FLASH_LOADER>},
    {PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENTS, make<PGM_COMMON_XML_ZEB_ASSIGNMENTS>},
    {PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENT, make<PGM_COMMON_XML_ZEB_ASSIGNMENT>},
    {PGM_COMMON_XML_ENUM_ZEB_BITSTREAM_ID, make<PGM_COMMON_XML_ZEB_BITSTREAM_ID>},
    {PGM_COMMON_XML_ENUM_ZEB_RAW_FILE_ID, make<PGM_COMMON_XML_ZEB_RAW_FILE_ID>},
    {PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE_ID, make<PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID>},
};

} // namespace

PGM_COMMON_XML_ELEMENT* pgm_common_xml_zeb_create_element(PGM_COMMON_XML_ENUM kind, PGM_COMMON_XML_ENUM creator)
{
    for (const ELEMENT_FACTORY_ROW& row : k_factory)
    {
        if (row.kind == kind)
            return row.create(creator);
    }
    return nullptr;
}

const PGM_COMMON_XML_DOCUMENT_KIND PGM_COMMON_XML_ZEB_DOCUMENT = {PGM_COMMON_XML_ENUM_ZEB_ZEB,
                                                                  pgm_common_xml_zeb_create_element};
