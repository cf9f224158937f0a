// SPDX-License-Identifier: Apache-2.0
// The element classes of the setup document (".zeb"): one class per XML element kind.
//
// Each class declares its attributes in the order in which they are written back and keeps typed
// views of its children per kind. Attribute values are read with get_<attribute>(); they are
// written through the generic write_attribute_* operations of PGM_COMMON_XML_ELEMENT.
#pragma once

#include "pgm/zeb/platform/pgm_common_xml_zeb_cmd_param.h"
#include "pgm/zeb/platform/xml/pgm_common_xml.h"
#include "pgm/zeb/platform/xml/pgm_common_xml_element.h"

#include <cstdint>
#include <string>
#include <vector>

// Common base of the classes without children: their child operations reject every kind.
class PGM_COMMON_XML_ZEB_LEAF : public PGM_COMMON_XML_ELEMENT
{
public:
    void clear_children() override {}
    bool group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end, std::string* error = nullptr) override;
    const std::vector<PGM_COMMON_XML_CHILD_RULE>& child_rules() const override;

protected:
    using PGM_COMMON_XML_ELEMENT::PGM_COMMON_XML_ELEMENT;
};

// Declares the three child operations of a class with children.
#define PGM_COMMON_XML_ZEB_CHILD_OPERATIONS                                                                            \
    void clear_children() override;                                                                                    \
    bool group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end, std::string* error = nullptr) override;  \
    const std::vector<PGM_COMMON_XML_CHILD_RULE>& child_rules() const override;

// ---- Leaves ------------------------------------------------------------------------------------

class PGM_COMMON_XML_ZEB_SETTINGS final : public PGM_COMMON_XML_ZEB_LEAF
{
public:
    explicit PGM_COMMON_XML_ZEB_SETTINGS(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    const std::string& get_custom_db_dir() const { return m_custom_db_dir; }
    PGM_COMMON_XML_ENUM get_mode() const { return m_mode; }

private:
    std::string m_custom_db_dir;
    PGM_COMMON_XML_ENUM m_mode = PGM_COMMON_XML_ENUM__INVALID__;
};

class PGM_COMMON_XML_ZEB_FILE_OPTIONS final : public PGM_COMMON_XML_ZEB_LEAF
{
public:
    explicit PGM_COMMON_XML_ZEB_FILE_OPTIONS(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    PGM_COMMON_XML_ENUM get_direction() const { return m_direction; }
    bool get_bitswap() const { return m_bitswap; }
    const std::string& get_s_addr() const { return m_s_addr; }
    const std::string& get_frequency() const { return m_frequency; }
    PGM_COMMON_XML_ENUM get_voltage() const { return m_voltage; }
    PGM_COMMON_XML_ENUM get_operation() const { return m_operation; }

private:
    PGM_COMMON_XML_ENUM m_direction = PGM_COMMON_XML_ENUM__INVALID__;
    bool m_bitswap = false;
    std::string m_s_addr;
    std::string m_frequency;
    PGM_COMMON_XML_ENUM m_voltage = PGM_COMMON_XML_ENUM__INVALID__;
    PGM_COMMON_XML_ENUM m_operation = PGM_COMMON_XML_ENUM__INVALID__;
};

class PGM_COMMON_XML_ZEB_PATH final : public PGM_COMMON_XML_ZEB_LEAF
{
public:
    explicit PGM_COMMON_XML_ZEB_PATH(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    // The input file's path.
    const std::string& get_text() const { return m_text; }
    const std::string& get_key_storage() const { return m_key_storage; }
    PGM_COMMON_XML_ENUM get_signing() const { return m_signing; }
    const std::string& get_ekp_file() const { return m_ekp_file; }
    PGM_COMMON_XML_ENUM get_security_opt_no_otp_key() const { return m_security_opt_no_otp_key; }
    const std::string& get_key2() const { return m_key2; }
    const std::string& get_key1() const { return m_key1; }
    const std::string& get_key_file2() const { return m_key_file2; }
    bool get_finalize_encryption_later() const { return m_finalize_encryption_later; }
    bool get_enhanced_compression() const { return m_enhanced_compression; }
    bool get_non_volatile_key() const { return m_non_volatile_key; }
    PGM_COMMON_XML_ENUM get_security_opt_lock_battery_key() const { return m_security_opt_lock_battery_key; }
    PGM_COMMON_XML_ENUM get_security_opt_no_jtag_key() const { return m_security_opt_no_jtag_key; }
    PGM_COMMON_XML_ENUM get_security_opt_no_battery_key() const { return m_security_opt_no_battery_key; }
    bool get_finalize_encryption() const { return m_finalize_encryption; }
    const std::string& get_password() const { return m_password; }
    PGM_COMMON_XML_ENUM get_security_opt_no_jtag() const { return m_security_opt_no_jtag; }
    bool get_compression() const { return m_compression; }
    bool get_encryption() const { return m_encryption; }
    const std::string& get_hlk_file() const { return m_hlk_file; }
    bool get_sign_later() const { return m_sign_later; }
    bool get_rsu_upgrade() const { return m_rsu_upgrade; }
    bool get_decryption_during_pr() const { return m_decryption_during_pr; }
    PGM_COMMON_XML_ENUM get_security_opt_no_config() const { return m_security_opt_no_config; }
    const std::string& get_app_image_hps_path() const { return m_app_image_hps_path; }
    PGM_COMMON_XML_ENUM get_security_opt_no_pr() const { return m_security_opt_no_pr; }
    PGM_COMMON_XML_ENUM get_security_opt_epof_only() const { return m_security_opt_epof_only; }
    PGM_COMMON_XML_ENUM get_security_opt_secure() const { return m_security_opt_secure; }
    bool get_app_image_only() const { return m_app_image_only; }
    const std::string& get_hek_file() const { return m_hek_file; }
    const std::string& get_app_image() const { return m_app_image; }
    PGM_COMMON_XML_ENUM get_security_opt_no_jtag_ext() const { return m_security_opt_no_jtag_ext; }
    bool get_decompression_during_pr() const { return m_decompression_during_pr; }
    const std::string& get_signing_pem_file() const { return m_signing_pem_file; }
    const std::string& get_hps_path() const { return m_hps_path; }
    PGM_COMMON_XML_ENUM get_security_opt_no_hps_jtag() const { return m_security_opt_no_hps_jtag; }
    const std::string& get_key_file1() const { return m_key_file1; }
    const std::string& get_fw_source() const { return m_fw_source; }
    const std::string& get_hky_file() const { return m_hky_file; }
    bool get_seu_recovery() const { return m_seu_recovery; }

private:
    std::string m_text;
    std::string m_key_storage;
    PGM_COMMON_XML_ENUM m_signing = PGM_COMMON_XML_ENUM__INVALID__;
    std::string m_ekp_file;
    PGM_COMMON_XML_ENUM m_security_opt_no_otp_key = PGM_COMMON_XML_ENUM__INVALID__;
    std::string m_key2;
    std::string m_key1;
    std::string m_key_file2;
    bool m_finalize_encryption_later = false;
    bool m_enhanced_compression = false;
    bool m_non_volatile_key = false;
    PGM_COMMON_XML_ENUM m_security_opt_lock_battery_key = PGM_COMMON_XML_ENUM__INVALID__;
    PGM_COMMON_XML_ENUM m_security_opt_no_jtag_key = PGM_COMMON_XML_ENUM__INVALID__;
    PGM_COMMON_XML_ENUM m_security_opt_no_battery_key = PGM_COMMON_XML_ENUM__INVALID__;
    bool m_finalize_encryption = false;
    std::string m_password;
    PGM_COMMON_XML_ENUM m_security_opt_no_jtag = PGM_COMMON_XML_ENUM__INVALID__;
    bool m_compression = false;
    bool m_encryption = false;
    std::string m_hlk_file;
    bool m_sign_later = false;
    bool m_rsu_upgrade = false;
    bool m_decryption_during_pr = false;
    PGM_COMMON_XML_ENUM m_security_opt_no_config = PGM_COMMON_XML_ENUM__INVALID__;
    std::string m_app_image_hps_path;
    PGM_COMMON_XML_ENUM m_security_opt_no_pr = PGM_COMMON_XML_ENUM__INVALID__;
    PGM_COMMON_XML_ENUM m_security_opt_epof_only = PGM_COMMON_XML_ENUM__INVALID__;
    PGM_COMMON_XML_ENUM m_security_opt_secure = PGM_COMMON_XML_ENUM__INVALID__;
    bool m_app_image_only = false;
    std::string m_hek_file;
    std::string m_app_image;
    PGM_COMMON_XML_ENUM m_security_opt_no_jtag_ext = PGM_COMMON_XML_ENUM__INVALID__;
    bool m_decompression_during_pr = false;
    std::string m_signing_pem_file;
    std::string m_hps_path;
    PGM_COMMON_XML_ENUM m_security_opt_no_hps_jtag = PGM_COMMON_XML_ENUM__INVALID__;
    std::string m_key_file1;
    std::string m_fw_source;
    std::string m_hky_file;
    bool m_seu_recovery = false;
};

class PGM_COMMON_XML_ZEB_RAW_FILE final : public PGM_COMMON_XML_ZEB_LEAF
{
public:
    explicit PGM_COMMON_XML_ZEB_RAW_FILE(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    // The raw data file's path.
    const std::string& get_text() const { return m_text; }
    bool get_bitswap() const { return m_bitswap; }
    PGM_COMMON_XML_ENUM get_type() const { return m_type; }
    const std::string& get_id() const { return m_id; }

private:
    std::string m_text;
    bool m_bitswap = false;
    PGM_COMMON_XML_ENUM m_type = PGM_COMMON_XML_ENUM__INVALID__;
    std::string m_id;
};

class PGM_COMMON_XML_ZEB_PARTITION final : public PGM_COMMON_XML_ZEB_LEAF
{
public:
    explicit PGM_COMMON_XML_ZEB_PARTITION(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    bool get_reserved() const { return m_reserved; }
    uint32_t get_extra_space() const { return m_extra_space; }
    bool get_fixed_s_addr() const { return m_fixed_s_addr; }
    const std::string& get_s_addr() const { return m_s_addr; }
    const std::string& get_e_addr() const { return m_e_addr; }
    bool get_fixed_e_addr() const { return m_fixed_e_addr; }
    const std::string& get_id() const { return m_id; }
    uint32_t get_size() const { return m_size; }

private:
    bool m_reserved = false;
    uint32_t m_extra_space = 0;
    bool m_fixed_s_addr = false;
    std::string m_s_addr;
    std::string m_e_addr;
    bool m_fixed_e_addr = false;
    std::string m_id;
    uint32_t m_size = 0;
};

class PGM_COMMON_XML_ZEB_FLASH_LOADER final : public PGM_COMMON_XML_ZEB_LEAF
{
public:
    explicit PGM_COMMON_XML_ZEB_FLASH_LOADER(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    // The flash loader device's name.
    const std::string& get_text() const { return m_text; }

private:
    std::string m_text;
};

class PGM_COMMON_XML_ZEB_BITSTREAM_ID final : public PGM_COMMON_XML_ZEB_LEAF
{
public:
    explicit PGM_COMMON_XML_ZEB_BITSTREAM_ID(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    // The id of the referenced bitstream.
    const std::string& get_text() const { return m_text; }
    PGM_COMMON_XML_ENUM get_section() const { return m_section; }

private:
    std::string m_text;
    PGM_COMMON_XML_ENUM m_section = PGM_COMMON_XML_ENUM__INVALID__;
};

class PGM_COMMON_XML_ZEB_RAW_FILE_ID final : public PGM_COMMON_XML_ZEB_LEAF
{
public:
    explicit PGM_COMMON_XML_ZEB_RAW_FILE_ID(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    // The id of the referenced raw file.
    const std::string& get_text() const { return m_text; }
    PGM_COMMON_XML_ENUM get_addr_mode() const { return m_addr_mode; }
    const std::string& get_addr_offset() const { return m_addr_offset; }

private:
    std::string m_text;
    PGM_COMMON_XML_ENUM m_addr_mode = PGM_COMMON_XML_ENUM__INVALID__;
    std::string m_addr_offset;
};

class PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID final : public PGM_COMMON_XML_ZEB_LEAF
{
public:
    explicit PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    // The id of the referenced flash device.
    const std::string& get_text() const { return m_text; }

private:
    std::string m_text;
};

// ---- Elements with children --------------------------------------------------------------------

class PGM_COMMON_XML_ZEB_SECONDARY_FILE final : public PGM_COMMON_XML_ELEMENT
{
public:
    explicit PGM_COMMON_XML_ZEB_SECONDARY_FILE(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    PGM_COMMON_XML_ZEB_CHILD_OPERATIONS
    PGM_COMMON_XML_ENUM get_type() const { return m_type; }
    const std::string& get_name() const { return m_name; }
    const std::vector<PGM_COMMON_XML_ZEB_FILE_OPTIONS*>& get_file_options_list() const { return file_options; }

private:
    PGM_COMMON_XML_ENUM m_type = PGM_COMMON_XML_ENUM__INVALID__;
    std::string m_name;
    std::vector<PGM_COMMON_XML_ZEB_FILE_OPTIONS*> file_options;
};

class PGM_COMMON_XML_ZEB_OUTPUT_FILE final : public PGM_COMMON_XML_ELEMENT
{
public:
    explicit PGM_COMMON_XML_ZEB_OUTPUT_FILE(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    PGM_COMMON_XML_ZEB_CHILD_OPERATIONS
    const std::string& get_name() const { return m_name; }
    PGM_COMMON_XML_ENUM get_subtype() const { return m_subtype; }
    bool get_hps() const { return m_hps; }
    bool get_rsu_boot() const { return m_rsu_boot; }
    bool get_cvp() const { return m_cvp; }
    const std::string& get_device() const { return m_device; }
    const std::string& get_directory() const { return m_directory; }
    PGM_COMMON_XML_ENUM get_type() const { return m_type; }
    const std::vector<PGM_COMMON_XML_ZEB_FILE_OPTIONS*>& get_file_options_list() const { return file_options; }
    const std::vector<PGM_COMMON_XML_ZEB_SECONDARY_FILE*>& get_secondary_file_list() const { return secondary_file; }
    const std::vector<PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID*>& get_flash_device_id_list() const { return flash_device_id; }
    const std::vector<PGM_COMMON_XML_ZEB_BITSTREAM_ID*>& get_bitstream_id_list() const { return bitstream_id; }

private:
    std::string m_name;
    PGM_COMMON_XML_ENUM m_subtype = PGM_COMMON_XML_ENUM__INVALID__;
    bool m_hps = false;
    bool m_rsu_boot = false;
    bool m_cvp = false;
    std::string m_device;
    std::string m_directory;
    PGM_COMMON_XML_ENUM m_type = PGM_COMMON_XML_ENUM__INVALID__;
    std::vector<PGM_COMMON_XML_ZEB_FILE_OPTIONS*> file_options;
    std::vector<PGM_COMMON_XML_ZEB_SECONDARY_FILE*> secondary_file;
    std::vector<PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID*> flash_device_id;
    std::vector<PGM_COMMON_XML_ZEB_BITSTREAM_ID*> bitstream_id;
};

class PGM_COMMON_XML_ZEB_OUTPUT_FILES final : public PGM_COMMON_XML_ELEMENT
{
public:
    explicit PGM_COMMON_XML_ZEB_OUTPUT_FILES(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    PGM_COMMON_XML_ZEB_CHILD_OPERATIONS
    const std::vector<PGM_COMMON_XML_ZEB_OUTPUT_FILE*>& get_output_file_list() const { return output_file; }

private:
    std::vector<PGM_COMMON_XML_ZEB_OUTPUT_FILE*> output_file;
};

class PGM_COMMON_XML_ZEB_BITSTREAM final : public PGM_COMMON_XML_ELEMENT
{
public:
    explicit PGM_COMMON_XML_ZEB_BITSTREAM(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    PGM_COMMON_XML_ZEB_CHILD_OPERATIONS
    const std::string& get_id() const { return m_id; }
    const std::vector<PGM_COMMON_XML_ZEB_PATH*>& get_path_list() const { return path; }

private:
    std::string m_id;
    std::vector<PGM_COMMON_XML_ZEB_PATH*> path;
};

class PGM_COMMON_XML_ZEB_BITSTREAMS final : public PGM_COMMON_XML_ELEMENT
{
public:
    explicit PGM_COMMON_XML_ZEB_BITSTREAMS(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    PGM_COMMON_XML_ZEB_CHILD_OPERATIONS
    const std::vector<PGM_COMMON_XML_ZEB_BITSTREAM*>& get_bitstream_list() const { return bitstream; }

private:
    std::vector<PGM_COMMON_XML_ZEB_BITSTREAM*> bitstream;
};

class PGM_COMMON_XML_ZEB_RAW_FILES final : public PGM_COMMON_XML_ELEMENT
{
public:
    explicit PGM_COMMON_XML_ZEB_RAW_FILES(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    PGM_COMMON_XML_ZEB_CHILD_OPERATIONS
    const std::vector<PGM_COMMON_XML_ZEB_RAW_FILE*>& get_raw_file_list() const { return raw_file; }

private:
    std::vector<PGM_COMMON_XML_ZEB_RAW_FILE*> raw_file;
};

class PGM_COMMON_XML_ZEB_MBR final : public PGM_COMMON_XML_ELEMENT
{
public:
    explicit PGM_COMMON_XML_ZEB_MBR(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    PGM_COMMON_XML_ZEB_CHILD_OPERATIONS
    const std::string& get_e_addr() const { return m_e_addr; }
    const std::string& get_type() const { return m_type; }
    const std::string& get_id() const { return m_id; }
    const std::string& get_s_addr() const { return m_s_addr; }
    const std::vector<PGM_COMMON_XML_ZEB_PARTITION*>& get_partition_list() const { return partition; }

private:
    std::string m_e_addr;
    std::string m_type;
    std::string m_id;
    std::string m_s_addr;
    std::vector<PGM_COMMON_XML_ZEB_PARTITION*> partition;
};

class PGM_COMMON_XML_ZEB_FLASH_DEVICE final : public PGM_COMMON_XML_ELEMENT
{
public:
    explicit PGM_COMMON_XML_ZEB_FLASH_DEVICE(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    PGM_COMMON_XML_ZEB_CHILD_OPERATIONS
    const std::string& get_watchdog_value() const { return m_watchdog_value; }
    bool get_enable_encrypted_pof_only() const { return m_enable_encrypted_pof_only; }
    bool get_enable_jtag_security() const { return m_enable_jtag_security; }
    bool get_enable_test() const { return m_enable_test; }
    const std::string& get_ufm_source_file() const { return m_ufm_source_file; }
    bool get_enable_verify_protect() const { return m_enable_verify_protect; }
    uint32_t get_ufm_source() const { return m_ufm_source; }
    uint32_t get_chip_select() const { return m_chip_select; }
    bool get_force_ssmclk_to_use_ismclk() const { return m_force_ssmclk_to_use_ismclk; }
    bool get_config_from_cfm0_only() const { return m_config_from_cfm0_only; }
    bool get_isp_source() const { return m_isp_source; }
    bool get_enable_spi_mode() const { return m_enable_spi_mode; }
    bool get_enable_user_ios_weak_pullup() const { return m_enable_user_ios_weak_pullup; }
    uint32_t get_power_on_scheme() const { return m_power_on_scheme; }
    bool get_disable_test() const { return m_disable_test; }
    const std::string& get_fallback_address() const { return m_fallback_address; }
    const std::string& get_type() const { return m_type; }
    const std::string& get_id() const { return m_id; }
    const std::vector<PGM_COMMON_XML_ZEB_PARTITION*>& get_partition_list() const { return partition; }
    const std::vector<PGM_COMMON_XML_ZEB_MBR*>& get_mbr_list() const { return mbr; }

private:
    std::string m_watchdog_value;
    bool m_enable_encrypted_pof_only = false;
    bool m_enable_jtag_security = false;
    bool m_enable_test = false;
    std::string m_ufm_source_file;
    bool m_enable_verify_protect = false;
    uint32_t m_ufm_source = 0;
    uint32_t m_chip_select = 0;
    bool m_force_ssmclk_to_use_ismclk = false;
    bool m_config_from_cfm0_only = false;
    bool m_isp_source = false;
    bool m_enable_spi_mode = false;
    bool m_enable_user_ios_weak_pullup = false;
    uint32_t m_power_on_scheme = 0;
    bool m_disable_test = false;
    std::string m_fallback_address;
    std::string m_type;
    std::string m_id;
    std::vector<PGM_COMMON_XML_ZEB_PARTITION*> partition;
    std::vector<PGM_COMMON_XML_ZEB_MBR*> mbr;
};

class PGM_COMMON_XML_ZEB_FLASH_DEVICES final : public PGM_COMMON_XML_ELEMENT
{
public:
    explicit PGM_COMMON_XML_ZEB_FLASH_DEVICES(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    PGM_COMMON_XML_ZEB_CHILD_OPERATIONS
    const std::vector<PGM_COMMON_XML_ZEB_FLASH_LOADER*>& get_flash_loader_list() const { return flash_loader; }
    const std::vector<PGM_COMMON_XML_ZEB_FLASH_DEVICE*>& get_flash_device_list() const { return flash_device; }

private:
    std::vector<PGM_COMMON_XML_ZEB_FLASH_LOADER*> flash_loader;
    std::vector<PGM_COMMON_XML_ZEB_FLASH_DEVICE*> flash_device;
};

class PGM_COMMON_XML_ZEB_ASSIGNMENT final : public PGM_COMMON_XML_ELEMENT
{
public:
    explicit PGM_COMMON_XML_ZEB_ASSIGNMENT(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    PGM_COMMON_XML_ZEB_CHILD_OPERATIONS
    uint32_t get_page() const { return m_page; }
    const std::string& get_partition_id() const { return m_partition_id; }
    const std::vector<PGM_COMMON_XML_ZEB_RAW_FILE_ID*>& get_raw_file_id_list() const { return raw_file_id; }
    const std::vector<PGM_COMMON_XML_ZEB_BITSTREAM_ID*>& get_bitstream_id_list() const { return bitstream_id; }

private:
    uint32_t m_page = 0;
    std::string m_partition_id;
    std::vector<PGM_COMMON_XML_ZEB_RAW_FILE_ID*> raw_file_id;
    std::vector<PGM_COMMON_XML_ZEB_BITSTREAM_ID*> bitstream_id;
};

class PGM_COMMON_XML_ZEB_ASSIGNMENTS final : public PGM_COMMON_XML_ELEMENT
{
public:
    explicit PGM_COMMON_XML_ZEB_ASSIGNMENTS(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    PGM_COMMON_XML_ZEB_CHILD_OPERATIONS
    const std::vector<PGM_COMMON_XML_ZEB_ASSIGNMENT*>& get_assignment_list() const { return assignment; }

private:
    std::vector<PGM_COMMON_XML_ZEB_ASSIGNMENT*> assignment;
};

// The document root. Default-constructible: an empty document without containers.
class PGM_COMMON_XML_ZEB_ZEB final : public PGM_COMMON_XML_ELEMENT
{
public:
    explicit PGM_COMMON_XML_ZEB_ZEB(PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);
    PGM_COMMON_XML_ZEB_CHILD_OPERATIONS
    uint32_t get_version() const { return m_version; }
    const std::vector<PGM_COMMON_XML_ZEB_SETTINGS*>& get_settings_list() const { return settings; }
    const std::vector<PGM_COMMON_XML_ZEB_RAW_FILES*>& get_raw_files_list() const { return raw_files; }
    const std::vector<PGM_COMMON_XML_ZEB_ASSIGNMENTS*>& get_assignments_list() const { return assignments; }
    const std::vector<PGM_COMMON_XML_ZEB_BITSTREAMS*>& get_bitstreams_list() const { return bitstreams; }
    const std::vector<PGM_COMMON_XML_ZEB_FLASH_DEVICES*>& get_flash_devices_list() const { return flash_devices; }
    const std::vector<PGM_COMMON_XML_ZEB_OUTPUT_FILES*>& get_output_files_list() const { return output_files; }

private:
    uint32_t m_version = 0;
    std::vector<PGM_COMMON_XML_ZEB_SETTINGS*> settings;
    std::vector<PGM_COMMON_XML_ZEB_RAW_FILES*> raw_files;
    std::vector<PGM_COMMON_XML_ZEB_ASSIGNMENTS*> assignments;
    std::vector<PGM_COMMON_XML_ZEB_BITSTREAMS*> bitstreams;
    std::vector<PGM_COMMON_XML_ZEB_FLASH_DEVICES*> flash_devices;
    std::vector<PGM_COMMON_XML_ZEB_OUTPUT_FILES*> output_files;
};

#undef PGM_COMMON_XML_ZEB_CHILD_OPERATIONS

// Creates an empty element of `kind`; nullptr for a kind that is not part of the setup document.
PGM_COMMON_XML_ELEMENT* pgm_common_xml_zeb_create_element(PGM_COMMON_XML_ENUM kind,
                                                          PGM_COMMON_XML_ENUM creator = PGM_COMMON_XML_ENUM__INVALID__);

// The setup document kind for PGM_COMMON_XML::parse_xml.
extern const PGM_COMMON_XML_DOCUMENT_KIND PGM_COMMON_XML_ZEB_DOCUMENT;
