// SPDX-License-Identifier: Apache-2.0
// Device database and flash-device database: the FPGA devices and the configuration flash devices
// the suite knows. Both come from the catalogue in the data directory ("data/devices.json" and
// "data/flash_devices.json", described in docs/devices.md), read once on first use.
//
// Everything here is read-only once loaded and may be used from any thread. Every pointer handed
// out stays valid for the lifetime of the process. A catalogue that cannot be read or is malformed
// leaves the database empty: look-ups find nothing and PGM_DEVICE_INDEX::get_catalogue_error()
// names the file and the problem.
#pragma once

#include "pgm/zeb/platform/dev/dev_family.h"
#include "pgm/zeb/platform/pgmio/pgmio_enums.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Helper-image subtypes (the setup document's `subtype` values).
constexpr uint32_t DEV_HELPER_SUBTYPE_SDMMC = 36;
constexpr uint32_t DEV_HELPER_SUBTYPE_FUSE = 37;
constexpr uint32_t DEV_HELPER_SUBTYPE_QSPI = 293;

// Bits of PGM_PCF_FILE_INFO::prog_mode_mask: how a programmer reaches the device directly.
constexpr uint32_t DEV_PROG_MODE_JTAG = 1u << 0;
constexpr uint32_t DEV_PROG_MODE_PASSIVE_SERIAL = 1u << 1;
constexpr uint32_t DEV_PROG_MODE_ACTIVE_SERIAL = 1u << 2;
constexpr uint32_t DEV_PROG_MODE_IN_SOCKET = 1u << 3;
// Bits of PGM_PCF_FILE_INFO::virtual_prog_mode_mask: programming that goes through the device.
constexpr uint32_t DEV_VPROG_MODE_JTAG_INDIRECT = 1u << 0; // attached flash through the flash loader
constexpr uint32_t DEV_VPROG_MODE_HELPER = 1u << 1;        // flash, SD card or fuses through a helper image
constexpr uint32_t DEV_VPROG_MODE_CVP = 1u << 2;           // core configuration over PCI Express

// A named JTAG instruction or flash command with its code.
struct DEV_COMMAND
{
    std::string name;
    uint32_t code = 0;
};

// The JTAG facts that the player files (JAM, JBC, SVF) and JTAG indirect configuration need.
struct DEV_JTAG_INFO
{
    uint32_t idcode = 0;                   // 32-bit IDCODE (bit 0 set); 0 for a device without JTAG identity
    uint32_t ir_length = 0;                // instruction register length in bits
    std::vector<DEV_COMMAND> instructions; // "IDCODE", "BYPASS", "PROGRAM", ...

    // The code of the named instruction; false (code untouched) when the device has none.
    bool find_instruction(std::string_view name, uint32_t& code) const;
};

// Capabilities of an FPGA device.
struct DEV_CAPABILITIES
{
    bool remote_update = false;
    bool cvp = false; // configuration via PCI Express
    bool hps = false; // hard processor system
    bool partial_reconfiguration = false;
    bool design_security = false;
    uint32_t key_length = 0; // design-security key length in bits; 0 without design security
};

// A programming helper image: a small configuration image that lets the device program its flash,
// SD card or fuses.
struct DEV_HELPER_IMAGE
{
    uint32_t subtype = 0; // DEV_HELPER_SUBTYPE_*
    std::string name;
    uint32_t size = 0; // bytes
};

// The flash loader image that a JTAG indirect configuration file carries for the device.
struct DEV_FLASH_LOADER
{
    std::string name;
    std::vector<DEV_FAMILY_ENUM> flash_families; // flash families it can drive
    uint64_t max_flash_size = 0;                 // largest flash it can address, bytes
    uint32_t size = 0;                           // loader image size, bytes
};

// A block of a device's internal flash (for example "UFM", "CFM0", "CFM1").
struct DEV_FLASH_REGION
{
    std::string name;
    uint32_t start = 0; // byte offset in the internal flash
    uint32_t size = 0;  // bytes
};

// One programming configuration (PCF) record.
struct PGM_PCF_FILE_INFO
{
    std::string pcf_name;
    uint32_t prog_mode_mask = 0;         // DEV_PROG_MODE_* bits
    uint32_t virtual_prog_mode_mask = 0; // DEV_VPROG_MODE_* bits
    uint32_t zeb_file_mask = 0;          // bit t set: output file type t (ZEB_FILE_TYPE) is offered
};

// The PCF records a device carries.
class PGM_PCF_CONTAINER
{
public:
    explicit PGM_PCF_CONTAINER(const std::vector<PGM_PCF_FILE_INFO>& records);
    // The records named `pcf_name`, in the order given; nullptr when there is none of that name.
    const std::vector<PGM_PCF_FILE_INFO>* get_pcf_file_info(std::string_view pcf_name) const;

private:
    std::vector<std::vector<PGM_PCF_FILE_INFO>> m_by_name; // one non-empty list per name
};

// An FPGA device of the device catalogue.
struct DEV_DEVICE_RECORD
{
    std::string name;
    DEV_FAMILY_ENUM family = DEV_FAMILY_INVALID;
    DEV_DEVICE_ENUM device = DEV_DEVICE_INVALID;
    DEV_JTAG_INFO jtag;
    uint64_t config_data_size = 0;                   // bytes of configuration data (an uncompressed .rbf)
    std::vector<PGMIO_CONFIG_SCHEME> config_schemes; // ascending
    DEV_CAPABILITIES capabilities;
    std::vector<DEV_HELPER_IMAGE> helper_images; // at most one per subtype
    bool has_flash_loader = false;
    DEV_FLASH_LOADER flash_loader;
    std::vector<DEV_FLASH_REGION> internal_flash; // empty for a device without internal flash
    PGM_PCF_FILE_INFO pcf;
    bool has_cmf_flash_block_layout = false; // configuration flash laid out in fixed blocks
    uint32_t cmf_flash_block_size = 0;       // bytes; 0 without the block layout

    bool supports_config_scheme(PGMIO_CONFIG_SCHEME scheme) const;
    // The helper image of a subtype; nullptr when the device has none.
    const DEV_HELPER_IMAGE* find_helper_image(uint32_t subtype) const;
};

// A device family as the catalogue declares it.
struct DEV_FAMILY_RECORD
{
    DEV_FAMILY_ENUM family = DEV_FAMILY_INVALID;
    std::string name;                  // "ZIZIRA"
    bool configuration_device = false; // a family of configuration (flash) devices, not of FPGAs
    std::string description;
};

constexpr uint32_t DEV_DEFAULT_SECTOR_ERASE_US = 3000000;
constexpr uint32_t DEV_DEFAULT_PAGE_PROGRAM_US = 5000;
constexpr uint32_t DEV_MAX_FLASH_TIME_US = 60000000; // a minute: larger times are typing errors

// A configuration flash device of the flash-device database (catalogue or custom directory).
struct DEV_FLASH_RECORD
{
    std::string name;
    DEV_FAMILY_ENUM family = DEV_FAMILY_INVALID;
    DEV_DEVICE_ENUM device = DEV_DEVICE_INVALID; // 0 for a device of a custom database
    uint64_t size = 0;                           // bytes
    uint32_t sector_size = 0;                    // erase sector (block) size, bytes
    uint32_t page_size = 0;                      // program page size, bytes
    // Longest times an erase of one sector and a program of one page take, in microseconds; player
    // files wait this long before they check the flash is ready. Records that do not give them
    // get the conservative DEV_DEFAULT_* times.
    uint32_t sector_erase_us = 0;
    uint32_t page_program_us = 0;
    bool legacy = false;               // programmed through the device database's record, not as a flash device
    uint32_t silicon_id = 0;           // identification the flash loader reads back
    uint32_t address_bytes = 0;        // 3 or 4 (serial); bytes of a word address (parallel)
    std::vector<uint32_t> data_widths; // bus widths in bits it can be read with
    std::vector<DEV_COMMAND> commands; // command opcodes the flash loader issues
    bool has_pcf = false;
    PGM_PCF_FILE_INFO pcf;
    std::string source; // the file that defined it
};

// A device object: an FPGA device or a flash device, as the programming-file library sees it.
class PGM_DEVICE
{
public:
    explicit PGM_DEVICE(const DEV_DEVICE_RECORD* fpga);
    explicit PGM_DEVICE(const DEV_FLASH_RECORD* flash);

    const std::string& get_name() const;
    DEV_FAMILY_ENUM get_family() const;
    DEV_DEVICE_ENUM get_device() const;
    bool is_flash_device() const { return m_flash != nullptr; }
    // The FPGA facts; nullptr for a flash device.
    const DEV_DEVICE_RECORD* get_fpga_record() const { return m_fpga; }
    // The flash facts; nullptr for an FPGA device.
    const DEV_FLASH_RECORD* get_flash_record() const { return m_flash; }
    // The name of the device's PCF record; "" when it has none.
    const std::string& get_pcf_name() const;
    // The device's PCF records; nullptr when it has none.
    const PGM_PCF_CONTAINER* get_pcf_info() const { return m_pcf.get(); }

private:
    const DEV_DEVICE_RECORD* m_fpga = nullptr;
    const DEV_FLASH_RECORD* m_flash = nullptr;
    std::shared_ptr<const PGM_PCF_CONTAINER> m_pcf;
};

// The device database: FPGA devices and the catalogue's flash devices, by number and by name.
class PGM_DEVICE_INDEX
{
public:
    // The device with this number; nullptr for 0 or an unknown number.
    static const PGM_DEVICE* lookup_device(DEV_DEVICE_ENUM device);
    // The device of this name (exact, case-sensitive); nullptr when unknown, with the reason in *error.
    static const PGM_DEVICE* lookup_device(std::string_view name, std::string* error = nullptr);
    static const PGM_DEVICE* lookup_device(int) = delete; // a plain number is not a device
    // The first device of the family in catalogue order; nullptr when the family has none.
    static const PGM_DEVICE* get_first_device_of_family(DEV_FAMILY_ENUM family);
    // A new device object owned by the caller: the flash-device database (custom directory
    // included) is searched first, then the device catalogue; nullptr for an unknown name.
    static std::unique_ptr<PGM_DEVICE> create_new_asc_device(std::string_view name);
    // Every device in catalogue order: FPGA devices first, then flash devices.
    static const std::vector<const PGM_DEVICE*>& get_all_devices();
    // The families the catalogue declares, in catalogue order.
    static const std::vector<DEV_FAMILY_RECORD>& get_families();
    // The declared family; nullptr when the catalogue does not declare it.
    static const DEV_FAMILY_RECORD* find_family(DEV_FAMILY_ENUM family);
    // Why the catalogue could not be loaded ("<file>: <problem>"); "" when it loaded.
    static const std::string& get_catalogue_error();
    // Loads and checks the catalogue of another data directory without using it. False with
    // "<file>: <problem>" in `error` when a file is missing or malformed.
    static bool check_catalogue(const std::string& data_directory, std::string& error);
};

// What the generation needs to know about a device's configuration flash.
struct PGMDEV_DEV_INFO
{
    DEV_FAMILY_ENUM family = DEV_FAMILY_INVALID;
    DEV_DEVICE_ENUM device = DEV_DEVICE_INVALID; // the first device of the family for a family record
    bool has_cmf_flash_block_layout = false;
    uint32_t cmf_flash_block_size = 0; // bytes
};

// Device information records. All devices of a family share their block layout, so a look-up by
// family and by any of its devices give the same answer.
class PGMDEV_DEV_INFO_MANAGER
{
public:
    // A manager restricted to one family and/or one device; 0 for either means no restriction.
    PGMDEV_DEV_INFO_MANAGER(uint32_t family, uint32_t device) : m_family(family), m_device(device) {}
    // The record of a device; nullptr for an unknown device or one outside the restriction.
    const PGMDEV_DEV_INFO* get_db_by_device(DEV_DEVICE_ENUM device) const;
    // The record of a family; nullptr for a family without devices or outside the restriction.
    const PGMDEV_DEV_INFO* get_db_by_family(DEV_FAMILY_ENUM family) const;

private:
    uint32_t m_family;
    uint32_t m_device;
};

// The flash-device database: the catalogue's flash devices plus the devices of the custom database
// directory. A manager sees the custom directory that was set when it was constructed.
class GFPDB_QSPI_MGR
{
public:
    GFPDB_QSPI_MGR();
    // True when the name is a flash device (of the custom directory too, unless include_custom is false).
    bool device_exist_in_db(std::string_view name, bool include_custom = true) const;
    // True when the name is a flash device marked legacy; false for an unknown name.
    bool device_is_legacy(std::string_view name, bool include_custom = true) const;
    // The flash device of this name; nullptr when unknown.
    const DEV_FLASH_RECORD* find_device(std::string_view name, bool include_custom = true) const;
    // Catalogue flash devices in catalogue order, then those of the custom directory by file name.
    std::vector<const DEV_FLASH_RECORD*> get_devices(bool include_custom = true) const;

    // Makes `directory` the custom database directory for managers constructed afterwards; "" clears
    // it. Every "*.json" file in it is read. False when the directory is missing or a file is
    // malformed: the error ("<file>: <problem>") goes to *error and last_error(), and no custom
    // device is in use until a directory is set successfully.
    static bool set_db_custom_dir(const std::string& directory, std::string* error = nullptr);
    // The custom database directory in use; "" when none.
    static std::string get_db_custom_dir();
    // The error of the last failed set_db_custom_dir; "" after a successful one.
    static std::string last_error();

private:
    std::shared_ptr<const std::vector<DEV_FLASH_RECORD>> m_custom;
};
