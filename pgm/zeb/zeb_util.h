// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL: reading, writing, checking and generating setup documents (".zeb").
//
// All functions are static and keep no state between calls. User-visible outcomes are posted as
// messages (pgm/zeb/platform/msg/msg.h) and reported by the boolean result; a broken precondition
// throws MSG_INTERNAL_ERROR.
#pragma once

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/pgm_common_xml_zeb_auto_export.h"
#include "pgm/zeb/platform/pgmio/pgmio_enums.h"
#include "pgm/zeb/platform/pgmio/pgmio_precheck.h"
#include "pgm/zeb/zeb_db_util.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class PGMIO_CCF;
struct PGMCONV_PICTURE;

// Message numbers of the setup-document library.
enum ZEB_MSG_ID : int
{
    EZEB_FILE_IO_ERROR = 19515,
    EZEB_SETTINGS_CHECK_ERROR = 19516,
    EZEB_CAN_NOT_GENERATE = 19856,
    EZEB_INTEGRITY_CHECK_ERROR = 19857,
    EZEB_OUTPUT_DIRECTORY_DOES_NOT_EXISTS = 20760,
    EZEB_CORRUPTED_FILE_WITH_REASON = 20761,
    EZEB_GENERIC_ERROR = 20809,
    IZEB_ZEB_SUCCESSFULLY_SAVED = 20810,
    WZEB_FILE_TYPE_DOES_NOT_SUPPORT_ZEB_SETUP_FILE = 20811,
    // Consistency rules (zeb_util_check_consistency.h)
    EZEB_ADDRESS_TEXT_INVALID = 21001,
    EZEB_PARTITION_RANGE_REVERSED = 21002,
    EZEB_PARTITION_BEYOND_FLASH = 21003,
    EZEB_UNRESOLVED_REFERENCE = 21004,
    EZEB_CONTENT_DOES_NOT_FIT = 21005,
    EZEB_INPUT_FOR_OTHER_DEVICE = 21006,
    EZEB_KEY_NOT_IN_KEY_FILE = 21007,
};

// Reserved partition row: a partition that the system places itself (boot information, factory
// image and update tables, options area, internal flash blocks). Fields in this order, nothing else.
struct ZEB_UTIL_PARTITION_INFO
{
    std::string name;
    std::string start_address; // "auto" or "0x%08X"
    std::string end_address;   // "auto" or "0x%08X"
    uint32_t fixed_size;       // bytes an automatically placed table takes (0x8000), else 0
    uint32_t extra_space;      // room kept after the factory image (0x40000), else 0
    bool reserved;             // placed by the system rather than by the user
    bool in_partition_table;   // a flash partition, as opposed to the options area
    bool locked;               // neither its range nor its content can be edited
    bool assignable;           // takes a bitstream assignment (the factory image)
    uint32_t image_index;      // internal configuration image held (1 for CFM1), else 0
    bool shown;                // front ends list it
    bool has_page;             // carries a configuration page of its own
};

class ZEB_UTIL
{
public:
    // ---- Setup file reading and writing -------------------------------------------------------

    // Reads and validates a setup file into a new document owned by the caller.
    // False when the file is missing (EZEB_FILE_IO_ERROR) or invalid (EZEB_CORRUPTED_FILE_WITH_REASON);
    // *object is then nullptr.
    static bool parse(PGM_COMMON_XML_ZEB_ZEB** object, const std::string& zeb_file);

    // Normalises a freshly read document: older secondary file type names read as the current
    // ones, and a "FACTORY_IMAGE" partition ending at "auto" gets at least 0x40000 extra space.
    // False when the extra space could not be set.
    static bool parse_post_process(PGM_COMMON_XML_ZEB_ZEB* object);

    // Writes the document to `zeb_file`, replacing it only when complete. Posts the warning
    // WZEB_FILE_TYPE_DOES_NOT_SUPPORT_ZEB_SETUP_FILE and writes nothing (true) when the first output
    // file is a command-line-only type and ZEB_ALWAYS_ALLOW_SAVE_FILE is off; false with
    // EZEB_FILE_IO_ERROR when the file cannot be written; IZEB_ZEB_SUCCESSFULLY_SAVED on success.
    static bool save(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& zeb_file);

    // Full path of the schema "xsd/zeb.xsd" in the data directory.
    static std::string get_xsd_file();

    // True when the file exists; otherwise false and `message` says which file is missing.
    static bool check_file_exist(const FIO_PATH& path, std::string& message);

    // ---- Input prechecks and integrity (device world) ------------------------------------------

    // True when an input file is usable: it exists and, for an object file (.sof, .pof, .jic, .msf,
    // .pmsf) or, with `check_raw_binary`, a raw binary file (.rbf), it is intact and targets a
    // catalogue device that supports it; other files pass. *device receives the targeted device
    // (nullptr when the file names none); `info`, when given, the file's flags and the device's
    // remote-update capability. On failure `message` holds the sentence for the user and `detail`
    // the reason found (the same string may serve as both; the message wins).
    static bool precheck_input_file(const FIO_PATH& path, const PGM_DEVICE** device, PGMIO_PRECHECK_INFO* info,
                                    std::string& message, std::string& detail, bool check_raw_binary);
    static bool precheck_input_file(const FIO_PATH& path, const PGM_DEVICE** device, std::string& message,
                                    std::string& detail, bool check_raw_binary);

    // True when a written programming file passes the bitstream integrity check; otherwise false
    // and EZEB_INTEGRITY_CHECK_ERROR is posted with the reason.
    static bool check_integrity(const FIO_PATH& path);
    // -- end of input prechecks

    // ---- Validation ---------------------------------------------------------------------------
    // Every check returns true when the checked part is valid; otherwise false with the first
    // problem, one plain sentence, in `message` (callers return at once). Broken preconditions are
    // internal errors.

    // The whole document, rules in their fixed order. The two flags are cleared at entry; `error`
    // is set for the missing output or input settings. With `report`, a failure is also posted as
    // EZEB_SETTINGS_CHECK_ERROR.
    static bool check(PGM_COMMON_XML_ZEB_ZEB* object, bool& flag1, bool& flag2, std::string& message, bool& error,
                      bool report);
    // The output files against the mode, the capability tables and each other, then each with its
    // target.
    static bool check_output_files(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CONFIG_SCHEME config_mode, bool& flag1,
                                   bool& flag2, std::string& message, bool& error);
    // One output file's directory, name and target (flash device or bitstream reference).
    static bool check_output_file_and_target(PGM_COMMON_XML_ZEB_ZEB* object,
                                             PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file,
                                             const std::vector<FIO_FILE_TYPE>& input_file_types,
                                             const std::vector<DEV_FAMILY_ENUM>& config_device_families,
                                             std::string& message, bool& error);
    // The entries of `supported` that `to_be_checked` also holds, in the order of `supported`.
    static std::vector<FIO_FILE_TYPE> check_and_merge_input_file_type(const std::vector<FIO_FILE_TYPE>& supported,
                                                                      const std::vector<FIO_FILE_TYPE>& to_be_checked);
    // The common families of two lists; an empty list restricts nothing.
    static std::vector<DEV_FAMILY_ENUM> check_and_merge_config_device_family(const std::vector<DEV_FAMILY_ENUM>& a,
                                                                             const std::vector<DEV_FAMILY_ENUM>& b);

    // A referenced bitstream: its input file, family, type, signing and encryption settings.
    static bool check_bitstream(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_BITSTREAM_ID* bitstream_id,
                                const std::vector<FIO_FILE_TYPE>& input_file_types, std::string& message, bool& error);
    static bool check_bitstream_signing_settings(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_PATH* path,
                                                 std::string& message);
    static bool check_bitstream_encryption_settings(PGM_COMMON_XML_ZEB_PATH* path, std::string& message);
    static bool check_assignment_bitstream_settings(PGM_COMMON_XML_ZEB_ZEB* object, std::string& message, bool& error);

    // The flash loader of a document whose output files need one.
    static bool check_flash_loader(PGM_COMMON_XML_ZEB_ZEB* object, std::string& message, bool& error);
    // The partitions of every flash device: ids, address texts and overlaps.
    static bool check_partitions(PGM_COMMON_XML_ZEB_ZEB* object, std::string& message, bool& error);
    // A start and end address (end 0: placed automatically) against the given partitions.
    static bool check_partition_address(uint32_t start, uint32_t end,
                                        std::vector<PGM_COMMON_XML_ZEB_PARTITION*> partitions, std::string& message);
    // The flash device that an output file references, with its partitions and assignments.
    static bool check_flash_devices(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID* flash_device_id,
                                    const std::vector<FIO_FILE_TYPE>& input_file_types,
                                    const std::vector<DEV_FAMILY_ENUM>& config_device_families, std::string& message,
                                    bool& error);
    // Every flash device of the document; true when there is none.
    static bool check_flash_devices(PGM_COMMON_XML_ZEB_ZEB* object,
                                    const std::vector<DEV_FAMILY_ENUM>& config_device_families, std::string& message,
                                    bool& error);
    // An address text: "0x..." in base 16, otherwise base 10 (see the implementation for the
    // exceptions it raises).
    static uint32_t convert_string_to_dword(const std::string& text);

    // The assignment of a partition, if any, and the input it names.
    static bool check_assignment(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_PARTITION* partition,
                                 const std::vector<FIO_FILE_TYPE>& input_file_types, bool& has_assignment,
                                 std::string& message, bool& error);
    // The page numbers of the assignments.
    static bool check_assignment_page_settings(PGM_COMMON_XML_ZEB_ZEB* object, std::string& message, bool& error);
    // A referenced raw data file and its type.
    static bool check_raw_file(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_RAW_FILE_ID* raw_file_id,
                               const std::vector<FIO_FILE_TYPE>& input_file_types, std::string& message);
    // -- end of validation

    // ---- Reserved partitions and pages ---------------------------------------------------------

    // The partitions the system places for a configuration scheme on a device (by number, or by
    // family when the device is 0 or the generic device 867), in flash order. Never fails: an
    // unknown device or a scheme without reserved partitions gives an empty list. A block-layout
    // device with a block size of 0 is an internal error.
    static std::vector<ZEB_UTIL_PARTITION_INFO> get_reserved_partitions(PGMIO_CONFIG_SCHEME scheme,
                                                                        DEV_FAMILY_ENUM family, DEV_DEVICE_ENUM device,
                                                                        bool multi_image,
                                                                        FIO_FILE_TYPE input_file_type);

    // True when the partition `name` carries page images: a reserved partition when its row says
    // so, and always a user partition (a name that is not reserved under these arguments).
    static bool partition_has_page(const std::string& name, PGMIO_CONFIG_SCHEME scheme, DEV_FAMILY_ENUM family,
                                   DEV_DEVICE_ENUM device, bool multi_image, FIO_FILE_TYPE input_file_type);

    // The same for a document: its configuration mode, the family given, several images when the
    // document has more than one bitstream on a family with remote update (25, 45), and the file
    // type of the first bitstream's first input. A document without settings, or a first bitstream
    // without input, is an internal error.
    static std::vector<ZEB_UTIL_PARTITION_INFO> get_reserved_partitions(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                        DEV_FAMILY_ENUM family);
    static bool partition_has_page(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& name, DEV_FAMILY_ENUM family);

    // False when the reserved partition `name` is locked; true for a name that is not reserved.
    static bool partition_is_editable(const std::string& name, PGMIO_CONFIG_SCHEME scheme, DEV_FAMILY_ENUM family,
                                      DEV_DEVICE_ENUM device, bool multi_image, FIO_FILE_TYPE input_file_type);

    // The capability masks of the PCF record of `device`, or of the family's first device when
    // `device` is 0 or 867. Leaves the outputs untouched when the family has no device. An invalid
    // or generic family, an unknown device or a device without PCF record is an internal error.
    static void get_family_pcf_info(DEV_FAMILY_ENUM family, DEV_DEVICE_ENUM device, uint32_t& prog_mode_mask,
                                    uint32_t& virtual_prog_mode_mask, uint32_t& zeb_file_mask);

    // The family of the device that the document's first input file targets; DEV_FAMILY_GENERIC
    // when the document has no input file or the first one does not pass its precheck.
    static DEV_FAMILY_ENUM get_family(PGM_COMMON_XML_ZEB_ZEB* object);
    // -- end of reserved partitions

    // ---- Generation ---------------------------------------------------------------------------

    // Writes every output file of a checked document, in document order. False at the first output
    // file that fails (its messages are posted; later output files are not attempted); true for a
    // document without output files. A null document is an internal error.
    static bool generate(PGM_COMMON_XML_ZEB_ZEB* object);
    // The same, telling `progress` which output file (index from 0, of count, its path) starts
    // (done and total 0), and, while a long one is written, its bytes done of total.
    using GENERATE_PROGRESS = std::function<void(size_t index, size_t count, const FIO_PATH& output,
                                                 uint64_t done, uint64_t total)>;
    static bool generate(PGM_COMMON_XML_ZEB_ZEB* object, const GENERATE_PROGRESS& progress);

    // The files an output file writes: its own path (and the core and first half of a CvP or HPS
    // variant), then one per secondary file (named, or with the output file's name), each with the
    // extension of its type. Never fails; an output file without directory or name gives an empty
    // list.
    static std::vector<FIO_PATH> get_output_file_paths(PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file);
    // The flash layout of every flash output file of a checked document, as generation would place
    // it (zeb_util_layout.cpp). False with the message posted when a conversion fails.
    static bool get_flash_layouts(PGM_COMMON_XML_ZEB_ZEB* object, std::vector<PGMCONV_PICTURE>& pictures);
    // -- end of generation

private:
    // ---- Generation (private) -----------------------------------------------------------------
    // One output file, one pass per bitstream reference; the result is that of the last pass.
    // EZEB_GENERIC_ERROR for an SOF output that cannot be written.
    static bool generate_output_file(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file);
    // The chain writers (JAM, JBC, SVF): builds the chain from the single input file or takes the
    // converted one. EZEB_CAN_NOT_GENERATE when the file cannot be written.
    static bool generate_player_file(PGM_COMMON_XML_ZEB_ZEB* object, ZEB_FILE_TYPE type, PGMIO_CCF* ccf);

    // A new conversion setup for one pass of an output file, owned by the caller through *ccf
    // (also on failure). False with the conversion's message posted.
    static bool convert_zeb_to_ccf(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file,
                                   uint32_t pass, PGMIO_CCF** ccf);
    // The configuration scheme of the settings (streaming x8 without settings). Always true.
    static bool convert_zeb_to_ccf_settings(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf);
    // Path, type, target, file options and secondary files. EZEB_OUTPUT_DIRECTORY_DOES_NOT_EXISTS
    // when the output directory is missing.
    static bool convert_zeb_to_ccf_output_file(PGM_COMMON_XML_ZEB_ZEB* object,
                                               PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file, uint32_t pass,
                                               PGMIO_CCF* ccf);
    // The write flag or side-file path of one output type. An unsupported type is an internal error.
    static bool convert_zeb_to_ccf_output_file_type(ZEB_FILE_TYPE type, FIO_PATH output_path, FIO_PATH input_path,
                                                    PGMIO_CCF* ccf);
    // Bit swap, start addresses, hex direction and the SVF options. Always true.
    static bool convert_zeb_to_ccf_output_file_options_properties(PGM_COMMON_XML_ZEB_FILE_OPTIONS* file_options,
                                                                  ZEB_FILE_TYPE type, PGMIO_CCF* ccf);

    // The flash loader device, when the document names one. Always true.
    static bool convert_zeb_to_ccf_flash_loader(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf);
    // The flash device, its options and one entry per partition, last partition first.
    static bool convert_zeb_to_ccf_flash_devices(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf,
                                                 PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID* flash_device_id);
    // The input assigned to a partition; `assigned` tells whether an assignment names it.
    static bool convert_zeb_to_ccf_assignments(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf,
                                               PGM_COMMON_XML_ZEB_PARTITION* partition, bool& assigned);
    // A raw data file placed into a partition. False when it cannot be read or added.
    static bool convert_zeb_to_ccf_raw_files(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf,
                                             PGM_COMMON_XML_ZEB_RAW_FILE_ID* raw_file_id,
                                             PGM_COMMON_XML_ZEB_PARTITION* partition);
    // The lowest load address of a hex record file (0xFFFFFFFF without data records); false when
    // the file cannot be read, `start` untouched.
    static bool hex_get_start_address(PGM_COMMON_XML_ZEB_RAW_FILE_ID* raw_file_id, const std::string& path,
                                      uint32_t& start);
    // An unassigned partition: the options area, a user partition kept free, or nothing for the
    // areas the engine lays out itself.
    static bool convert_zeb_to_ccf_reserved_partition(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf,
                                                      PGM_COMMON_XML_ZEB_PARTITION* partition);

    // Every input path of a bitstream as pages of the setup, placed in `partition` when one is
    // given (nullptr otherwise). False when an input cannot be added.
    static bool convert_zeb_to_ccf_bitstreams(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf,
                                              PGM_COMMON_XML_ZEB_BITSTREAM_ID* bitstream_id,
                                              PGM_COMMON_XML_ZEB_PARTITION* partition, ZEB_FILE_TYPE type);
    // Compression, encryption (keys read from key files), signing and security options of one
    // input path, as the security settings of `page`. False with EZEB_SETTINGS_CHECK_ERROR when a
    // key cannot be read.
    static bool convert_zeb_to_ccf_bitstream_properties(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf,
                                                        PGM_COMMON_XML_ZEB_PATH* path, ZEB_FILE_TYPE type,
                                                        uint32_t reserved, uint32_t page);

    // The helper image of the output file's helper device as the single page of the setup.
    static bool convert_zeb_to_ccf_helper_image(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf, ZEB_FILE_TYPE type);
    // CvP split of the single device. EZEB_SETTINGS_CHECK_ERROR when the chain has several devices
    // or the design has no CvP.
    static bool convert_zeb_to_ccf_setup_cvp(PGMIO_CCF* ccf);
    // HPS I/O configuration of every page with a single device; false when no page has one.
    static bool convert_zeb_to_ccf_setup_hps(PGMIO_CCF* ccf);
    // -- end of private generation
};
