// SPDX-License-Identifier: Apache-2.0
// Programming-file engine: the conversion setup (PGMIO_CCF with its PGMIO_FILE_OPTIONS) that the
// setup-document library fills from a document, the JTAG chain elements it holds, and the writers
// that turn it into programming files (PGMIO_F2P, PGMIO_PR_INTERFACE).
//
// A conversion setup describes one conversion: the configuration scheme, the pages (each a
// configuration image from an SRAM object, programmer object, JTAG indirect or raw binary file,
// with its chain, placement and security settings), the target flash device with its partitions,
// raw data files and options area, and which files to write. Every setter changes what a writer
// produces. Functions that can fail return false and leave the reason in get_error().
#pragma once

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/pgmio/dset_zb_dev_options_info.h"
#include "pgm/zeb/platform/pgmio/pgmio_enums.h"
#include "pgm/zeb/platform/pgmsec/pgmsec.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// An address or page that the engine chooses ("auto" in a setup document), and "every page".
constexpr uint32_t PGMIO_CCF_AUTO = 0xFFFFFFFF;
constexpr uint32_t PGMIO_CCF_ALL_PAGES = 0xFFFFFFFF;

// How a page or partition is placed in the flash.
enum PGMIO_ADDR_SCHEME : uint32_t
{
    PGMIO_ADDR_AUTO = 0,      // start after the previous content, end after its own content
    PGMIO_ADDR_FIXED = 1,     // fixed start and end
    PGMIO_ADDR_FIXED_START = 2, // fixed start, end after its own content
};

// ---- File options ----------------------------------------------------------------------------

// Which files a conversion writes and how.
class PGMIO_FILE_OPTIONS
{
public:
    PGMIO_FILE_OPTIONS() = default;

    // Write flags, one per output kind.
    bool write_rbf = false;      // configuration data (.rbf)
    bool write_hexout = false;   // hex records of the configuration data (.hexout)
    bool write_ttf = false;      // configuration data as decimal text (.ttf)
    bool write_jic = false;      // JTAG indirect configuration file (.jic)
    bool write_pof = false;      // programmer object file (.pof)
    bool write_rpd_from_pof = false; // raw programming data from a programmer object or JTAG indirect file
    bool write_rpd_from_sof = false; // raw programming data laid out from SRAM object files
    bool write_jam = false;
    bool write_jbc = false;
    bool write_svf = false;

    bool hex_count_up = true;       // .hexout addresses count up from the start address (down: see docs/formats.md)
    uint32_t hex_start_address = 0; // first address of a .hexout
    uint32_t start_address = 0;     // first flash address of a raw programming data file laid out from SRAM object files

    // Options of a serial vector format file: operation code (0 program and verify as the mask
    // says, 3 verify only), voltage (SVFE_PROG_VOLTAGE), TCK frequency in Hz, and the two flags
    // (A: blank-check before programming; B: reserved, written as a comment).
    void set_svf_options(int operation, int voltage, long frequency, bool flag_a, bool flag_b);
    int svf_operation = 0;
    int svf_voltage = SVFE_PROG_VOLTAGE_3_3V;
    long svf_frequency = 10000000;
    bool svf_flag_a = false;
    bool svf_flag_b = false;
};

// ---- Raw data file record --------------------------------------------------------------------

// A raw data file placed into the flash: hex records or plain binary.
struct HEX_FILE
{
    FIO_PATH path;
    std::string partition_name; // the partition it belongs to
    uint32_t address = PGMIO_CCF_AUTO; // where its first byte goes; PGMIO_CCF_AUTO: the partition's start
    // The inverse of the setup document's bit swap: true places the bytes as they are, false
    // reverses the bits of each byte as it is placed.
    bool byte_swap = true;
};

// ---- Chain elements --------------------------------------------------------------------------

// Flag byte bits of a chain element.
constexpr uint8_t PGM_CHAIN_ELEMENT_PROCESS = 0x01; // the writer processes this element
constexpr uint8_t PGM_CHAIN_ELEMENT_CVP = 0x04;     // the element's design has CvP enabled

// One device of a JTAG chain with the programming file it receives.
class PGM_CHAIN_ELEMENT
{
public:
    // An element for a device (nullptr: the device comes from the programming file).
    explicit PGM_CHAIN_ELEMENT(const PGM_DEVICE* device);

    const PGM_DEVICE* get_device() const;
    void set_programming_file(const FIO_PATH& path);
    const FIO_PATH& get_programming_file() const;
    // Second file slot: the companion of a flash programming file (helper image inputs).
    void set_second_file(const FIO_PATH& path);
    const FIO_PATH& get_second_file() const;
    void set_fw_source(const std::string& path);
    const std::string& get_fw_source() const;

    // Reads and checks the element's programming file and takes its device from it when none was
    // given. The arguments are those of the conversion (element, read the file, no callback,
    // check the device, configuration scheme, two reserved flags). False with the reason in error().
    bool create_chain_element(PGM_CHAIN_ELEMENT* element, bool read_file, void* callback, bool check_device,
                              uint32_t config_scheme, bool reserved1, bool reserved2);
    // The catalogue's helper image of `device` for a helper type (0 SD/MMC, 2 flash, 3 fuses); an
    // empty path when the device has none.
    static bool get_helper_filename(const PGM_DEVICE* device, FIO_PATH& path, bool reserved, void* callback,
                                    uint32_t helper_type);
    // Loads a helper image into the element; it becomes the configuration the element receives first.
    bool setup_helper_image(const FIO_PATH& path);
    void set_helper_kind(uint32_t kind);
    uint32_t get_helper_kind() const;

    void set_cvp_pcie_enabled_flag(bool enabled);
    // Whether the design configures the HPS I/O itself; `supported` receives it. False when the
    // element's design has no HPS.
    bool support_hps_iocsr(bool check, bool* supported, bool reserved) const;
    // The helper image loaded by setup_helper_image; nullptr before.
    const PGMIO_HELPER_IMAGE* get_helper_image() const;
    // PGMIO_DESIGN_* of the programming file read by create_chain_element.
    uint32_t get_design_flags() const;

    uint8_t flags = 0;           // PGM_CHAIN_ELEMENT_* bits
    uint32_t operation_mask = 0; // PGMIO_PGM_OP_* bits

    const std::string& error() const;

private:
    struct IMPL;
    std::shared_ptr<IMPL> m_impl;
};

// ---- Conversion setup ------------------------------------------------------------------------

class PGMIO_CCF
{
public:
    // `name` names the conversion in reports; `comment` is written into text outputs; the setup
    // takes `options` over. The numbers: devices per chain, first page number, big-endian words,
    // player TCK clock in MHz, scale of the device's wait times in player files, compress player
    // data, read each written file back and check it.
    PGMIO_CCF(const std::string& name, const std::string& comment, PGMIO_FILE_OPTIONS* options,
              uint32_t devices_per_chain, uint32_t first_page, bool big_endian, double tck_mhz, double wait_scale,
              bool compress_player_data, bool verify_outputs);
    ~PGMIO_CCF();
    PGMIO_CCF(const PGMIO_CCF&) = delete;
    PGMIO_CCF& operator=(const PGMIO_CCF&) = delete;

    // The reason of the last failure; "" when nothing failed.
    const std::string& get_error() const;

    // Told how far a long output has been written: bytes done of the file's total. Only the
    // streamed flash image (.rpd) reports; it calls at least once at its end.
    using PROGRESS = std::function<void(uint64_t done, uint64_t total)>;
    void set_progress(PROGRESS progress);

    // -- What to write
    // The configuration scheme; the memory map names it.
    void set_passive_prog_mode(PGMIO_CONFIG_SCHEME scheme);
    PGMIO_CONFIG_SCHEME get_passive_prog_mode() const;
    // The main output; secondary outputs without a path of their own are written beside it.
    void set_output_file(const FIO_PATH* path);
    FIO_PATH get_output_file() const;
    PGMIO_FILE_OPTIONS* get_file_options();
    // False: every byte of a .rpd is written with its bits reversed.
    void set_no_bit_swap(bool no_bit_swap);
    // Also write the flash layout as a JTAG indirect configuration file (.jic).
    void set_jic_output(bool jic);
    // Write a memory map (.map) of the flash layout, at the path given or beside the output.
    void set_mem_map_output(bool map);
    void set_mem_map_file_path(const FIO_PATH& path);
    // Write the secondary .rpd of the flash layout, at the path given or beside the output.
    void set_auto_create_rpd_output(bool rpd);
    void set_auto_create_rpd_path(const FIO_PATH& path);
    // Write the helper image of the chain's element, at the helper file path or the output path.
    void set_helper_image_output(bool helper);
    void set_hlpr_file(const FIO_PATH* path);
    // The helper device (helper images) or flash loader device (.jic).
    void set_hlpr_device(const std::string& name);
    // Key programming file for the pages and devices given (PGMIO_CCF_ALL_PAGES for all).
    void set_gen_kpf(bool generate, uint32_t page, uint32_t reserved, uint32_t device);

    // -- Target flash device
    // The flash device (flash-device database, or a device with internal flash) of the layout.
    void set_device(const std::string& name);
    // The flash device's option record; the setup takes it over.
    void set_dev_options(std::unique_ptr<DSET_ZB_DEV_OPTIONS_INFO> options);
    // Data bus width in bits the flash is read with; it must be one the flash device offers.
    void set_width(uint32_t width);

    // -- Pages
    // Number of pages; pages beyond the count are dropped, new ones are empty.
    uint32_t get_n_pages() const;
    void set_n_pages(uint32_t count);
    // The page that chain operations address.
    void set_page(uint32_t page);
    // Adds a configuration image file (.sof, .pof, .jic, .rbf) to a page. `flags` is reserved, 0.
    bool add_sof_file(const FIO_PATH& path, uint32_t device_index, uint32_t page, uint32_t flags);
    // Adds a partial-masked SRAM object file for a region placed by address mode, start and end.
    bool add_pr_sof_file(const FIO_PATH& path, uint32_t page, PGMIO_ADDR_SCHEME mode, uint32_t start, uint32_t end);
    // The page number the directory records give a page.
    void set_page_number(uint32_t page, uint32_t number);
    // The page's partition name ("FACTORY_IMAGE" is the factory image of a remote-update layout).
    void set_page_user_name(const std::string& name, uint32_t page);
    // Placement of a page: automatic, fixed start, or fixed start and end.
    void set_addr_scheme(uint32_t page, PGMIO_ADDR_SCHEME scheme);
    void set_start_address(uint32_t address, uint32_t page);
    void set_end_address(uint32_t address, uint32_t page);
    // Bytes kept free after a page whose end is automatic.
    void set_requested_extra_space(uint32_t bytes, uint32_t page);
    // The entry number under which the sub-partition tables list the page.
    void set_page_table(uint32_t page, uint32_t table);
    // Firmware (a file, or the firmware section of an SRAM object file) that replaces the page's.
    void set_fw_source(const FIO_PATH& path, uint32_t page);
    // Security of the page's configuration data, applied through pgmsec_encode_configuration.
    void set_security_settings(const PGMIO_SECURITY_SETTINGS& settings, uint32_t page);
    const PGMIO_SECURITY_SETTINGS& get_security_settings(uint32_t page) const;

    // -- Partitions, raw data and reserved areas
    // A partition without page: space kept free, the placement of a reserved record, or the home
    // of raw data files of that name. False when the name is empty or given twice.
    bool add_partition(uint32_t page, const std::string& name, PGMIO_ADDR_SCHEME mode, uint32_t start, uint32_t end,
                       uint32_t size);
    // A raw data file (hex records or binary) in its partition, which starts at `address`
    // (PGMIO_CCF_AUTO: placed by the layout). False when the file does not exist.
    bool add_hex_file(const HEX_FILE* record, uint32_t page, uint32_t address);
    bool add_rbf_file(const HEX_FILE* record, uint32_t page, uint32_t address);
    // An options area (option bits record of the pages) at the given start address.
    void set_options_area(bool enabled);
    void set_options_start_address(uint32_t address);
    // The input whose image the boot information describes (remote update).
    void set_boot_info_input(const FIO_PATH& path);

    // -- Chains, CvP and HPS
    // The setup takes the element over.
    bool add_chain_element(PGM_CHAIN_ELEMENT* element, uint32_t page, uint32_t index, uint32_t device);
    // The chain of a page (created empty on first use).
    std::vector<PGM_CHAIN_ELEMENT*>& get_device_chain(uint32_t page, uint32_t index);
    // A split configuration: CvP (periphery first, core over PCI Express) or HPS I/O first; the
    // core goes into its own .core.rbf, the flash and the .rbf hold the other half.
    void set_cvp(bool cvp);
    void set_hps_iocsr(bool hps_iocsr);

    // Writes the key programming file (and the side files its storage needs) that the security
    // settings ask for, at `path`; true when nothing is asked for.
    bool generate_key_prog_file(const FIO_PATH& path);

    // The state the writers read.
    struct STATE;
    const STATE& state() const;

private:
    std::unique_ptr<STATE> m_state;
};

// The two raw binary files of a CvP or HPS split of the output `output`: the core ("NAME.core.rbf"),
// then the periphery half ("NAME.periph.rbf", CvP) or the HPS half ("NAME.hps.rbf").
struct PGMIO_SPLIT_PATHS
{
    FIO_PATH core;
    FIO_PATH first;
};
PGMIO_SPLIT_PATHS pgmio_split_paths(const FIO_PATH& output, bool cvp);

// Writes every file that a conversion setup describes.
class PGMIO_F2P
{
public:
    // False with the reason in ccf.get_error(); then no output of the conversion is left behind.
    static bool convert_sram_files(PGMIO_CCF& ccf);
};

// Partial-reconfiguration conversions: mask settings files, merged masks and raw binaries.
class PGMIO_PR_INTERFACE
{
public:
    // Writes the .msf, merged .pmsf or partial-reconfiguration .rbf (by the output's extension)
    // of the setup's partial-masked inputs. False with the reason in ccf->get_error().
    static bool process_pr_commands(PGMIO_CCF* ccf);
    // Reads and checks a partial-masked SRAM object file (add_pr_sof_file adds it).
    static bool read_pmsf_file(PGMIO_CCF* ccf, const FIO_PATH& path);
};
