// SPDX-License-Identifier: Apache-2.0
// The setup document assistant: static functions that look up, create, change and remove elements
// of a setup document from parameter lists, and translate the document's enumeration values into
// the programming-file library's values. The class keeps no state.
//
// The document is always passed as `object` and stays the caller's: returned element pointers are
// borrowed from it, and vectors of them are filled in document order. Only the first container of
// each kind under the root is consulted or changed. Ids are compared byte by byte over their whole
// length (no trimming, no case folding). A null document or parent element is an internal error
// (MSG_INTERNAL_ERROR, module "ZEB_COMMON", source "zeb_file_assistant") naming the argument;
// diagnostics go to the debug log of module "ZEB_COMMON" at level 2.
#pragma once

#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/pgm_common_xml_zeb_auto_export.h"
#include "pgm/zeb/platform/pgmio/dset_zb_dev_options_info.h"
#include "pgm/zeb/platform/pgmio/pgmio_enums.h"
#include "pgm/zeb/platform/xml/pgm_common_xml_enum.h"
#include "pgm/zeb/zeb_db_util.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// The element kind that a parameter list addresses.
enum PGM_COMMON_XML_ZEB_CMD_OPT_ENUM : uint32_t
{
    ZEB_CMD_OPT_RAW_FILE = 1,
    ZEB_CMD_OPT_ASSIGNMENT = 2,
    ZEB_CMD_OPT_SETTINGS = 3,
    ZEB_CMD_OPT_OUTPUT_FILE = 4,
    ZEB_CMD_OPT_FLASH_LOADER = 5,
    ZEB_CMD_OPT_FLASH_DEVICE = 6,
    ZEB_CMD_OPT_BITSTREAM = 7,
};

class ZEB_FILE_ASSISTANT
{
public:
    // A command parameter with its value as text, and an ordered list of them. Setters apply a
    // list in order, so a parameter given twice is written twice and the later value stays.
    using PARAM_PAIR = std::pair<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM, std::string>;
    using PARAM_LIST = std::vector<PARAM_PAIR>;

    // ---- Element lists -----------------------------------------------------------------------------
    // The children of the first container of the kind, in document order; empty without container.

    // Empty without raw_files.
    static std::vector<PGM_COMMON_XML_ZEB_RAW_FILE*> get_raw_file_elements(PGM_COMMON_XML_ZEB_ZEB* object);
    // Empty without assignments.
    static std::vector<PGM_COMMON_XML_ZEB_ASSIGNMENT*> get_assignment_elements(PGM_COMMON_XML_ZEB_ZEB* object);
    // Empty without bitstreams.
    static std::vector<PGM_COMMON_XML_ZEB_BITSTREAM*> get_bitstream_elements(PGM_COMMON_XML_ZEB_ZEB* object);
    // Empty without flash_devices.
    static std::vector<PGM_COMMON_XML_ZEB_FLASH_DEVICE*> get_flash_device_elements(PGM_COMMON_XML_ZEB_ZEB* object);
    // The flash loaders of flash_devices; empty without the container.
    static std::vector<PGM_COMMON_XML_ZEB_FLASH_LOADER*> get_flash_loader_elements(PGM_COMMON_XML_ZEB_ZEB* object);
    // Empty without output_files.
    static std::vector<PGM_COMMON_XML_ZEB_OUTPUT_FILE*> get_output_file_elements(PGM_COMMON_XML_ZEB_ZEB* object);
    // The paths of every bitstream, bitstream by bitstream; empty without bitstreams.
    static std::vector<PGM_COMMON_XML_ZEB_PATH*> get_path_elements(PGM_COMMON_XML_ZEB_ZEB* object);
    // The paths of one bitstream; empty when no bitstream has that id.
    static std::vector<PGM_COMMON_XML_ZEB_PATH*> get_path_elements(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                   const std::string& bitstream_id);
    // The partitions of one flash device (not those of its MBRs); empty when no device has that id.
    static std::vector<PGM_COMMON_XML_ZEB_PARTITION*> get_partition_elements(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                             const std::string& flash_device_id);
    // The MBRs of one flash device; empty when no device has that id.
    static std::vector<PGM_COMMON_XML_ZEB_MBR*> get_mbr_elements(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                 const std::string& flash_device_id);
    // The partitions of one MBR of one flash device; empty when either is missing.
    static std::vector<PGM_COMMON_XML_ZEB_PARTITION*> get_mbr_partition_elements(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                                 const std::string& flash_device_id,
                                                                                 const std::string& mbr_id);
    // The secondary files of an output file. Null output file: internal error "output_file".
    static std::vector<PGM_COMMON_XML_ZEB_SECONDARY_FILE*>
    get_secondary_file_elements(PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file);

    // ---- Single elements by key --------------------------------------------------------------------
    // The first element whose key equals the given text; nullptr when none does.

    // nullptr when no raw file has the id.
    static PGM_COMMON_XML_ZEB_RAW_FILE* get_raw_file_element(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id);
    // nullptr when no assignment names the partition.
    static PGM_COMMON_XML_ZEB_ASSIGNMENT* get_assignment_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                 const std::string& partition_id);
    // nullptr when no bitstream has the id.
    static PGM_COMMON_XML_ZEB_BITSTREAM* get_bitstream_element(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id);
    // nullptr when no flash device has the id.
    static PGM_COMMON_XML_ZEB_FLASH_DEVICE* get_flash_device_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                     const std::string& id);
    // nullptr when the device or its partition is missing.
    static PGM_COMMON_XML_ZEB_PARTITION* get_partition_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                               const std::string& flash_device_id,
                                                               const std::string& partition_id);
    // The first partition of that id over every flash device in order; nullptr when none has it.
    static PGM_COMMON_XML_ZEB_PARTITION* get_partition_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                               const std::string& partition_id);
    // The path of a bitstream whose text is `path_id`; nullptr when the bitstream or path is missing.
    static PGM_COMMON_XML_ZEB_PATH* get_path_element(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& bitstream_id,
                                                     const std::string& path_id);
    // The output file whose type is the XML value of `type`; nullptr when there is none.
    static PGM_COMMON_XML_ZEB_OUTPUT_FILE* get_output_file_element(PGM_COMMON_XML_ZEB_ZEB* object, ZEB_FILE_TYPE type);
    // The raw_file_id of the assignment of a partition; nullptr without assignment or reference.
    static PGM_COMMON_XML_ZEB_RAW_FILE_ID* get_raw_file_id_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                   const std::string& partition_id);
    // The bitstream_id of the assignment of a partition; nullptr without assignment or reference.
    static PGM_COMMON_XML_ZEB_BITSTREAM_ID* get_bitstream_id_element(PGM_COMMON_XML_ZEB_ZEB* object,
                                                                     const std::string& partition_id);
    // The output file's bitstream reference of that id; nullptr when it has none.
    // Null output file: internal error "output_file".
    static PGM_COMMON_XML_ZEB_BITSTREAM_ID* get_bitstream_id_element(PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file,
                                                                     const std::string& id);
    // The output file's flash device reference of that id; nullptr when it has none.
    // Null output file: internal error "output_file".
    static PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID* get_flash_device_id_element(PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file,
                                                                           const std::string& id);
    // The output file's file options; nullptr without. Null output file: internal error "output_file".
    static PGM_COMMON_XML_ZEB_FILE_OPTIONS* get_file_options_element(PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file);
    // The secondary file's options; nullptr without. Null secondary file: internal error "secondary_file".
    static PGM_COMMON_XML_ZEB_FILE_OPTIONS* get_file_options_element(PGM_COMMON_XML_ZEB_SECONDARY_FILE* secondary_file);

    // ---- Id lists ----------------------------------------------------------------------------------

    // Empty without raw files.
    static std::vector<std::string> get_raw_file_ids(PGM_COMMON_XML_ZEB_ZEB* object);
    // Empty without bitstreams.
    static std::vector<std::string> get_bitstream_ids(PGM_COMMON_XML_ZEB_ZEB* object);
    // Empty without flash devices.
    static std::vector<std::string> get_flash_device_ids(PGM_COMMON_XML_ZEB_ZEB* object);
    // The partitions that an input fills: the partition id of every assignment, in assignment order,
    // whose bitstream reference is `bitstream_id` or whose raw file reference is `raw_file_id`. An
    // empty argument matches no reference, so ("b1", "") asks for bitstream b1 alone. One entry per
    // matching assignment; empty when none matches or there are no assignments.
    static std::vector<std::string> get_partition_ids(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& bitstream_id,
                                                      const std::string& raw_file_id);

    // ---- Derived queries ---------------------------------------------------------------------------

    // False when the document has neither a bitstream nor a raw file.
    static bool get_input_file_exists(PGM_COMMON_XML_ZEB_ZEB* object);
    // The kind of input an id names: PGM_COMMON_XML_ENUM_ZEB_BITSTREAM when a bitstream has it (looked
    // up first), else PGM_COMMON_XML_ENUM_ZEB_RAW_FILE when a raw file has it; 0 (_INVALID__) otherwise.
    static PGM_COMMON_XML_ENUM get_input_file_type(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id);
    // The path of every bitstream path, bitstream by bitstream (raw files are not included); empty
    // without bitstreams.
    static std::vector<FIO_PATH> get_input_file_path(PGM_COMMON_XML_ZEB_ZEB* object);
    // The input file of an assignment: the first path of its bitstream, or else the path of its raw
    // file. An empty path when the reference names nothing. Null assignment: internal error "assignment".
    static FIO_PATH get_input_file_path(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_ASSIGNMENT* assignment);
    // Per output file: directory/name with the extension of its file type; empty without output files.
    static std::vector<FIO_PATH> get_output_file_path(PGM_COMMON_XML_ZEB_ZEB* object);
    // The file type of every output file; empty without output files.
    static std::vector<ZEB_FILE_TYPE> get_output_file_types(PGM_COMMON_XML_ZEB_ZEB* object);
    // Only the types written for configuration devices (`config_device` true) or only the others.
    static std::vector<ZEB_FILE_TYPE> get_output_file_types(PGM_COMMON_XML_ZEB_ZEB* object, bool config_device);
    // False (out untouched) without settings; a mode outside the mapping is the internal error of
    // map_enum_to_config_mode.
    static bool get_config_mode(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CONFIG_SCHEME& config_mode);
    // False (out untouched) without settings.
    static bool get_custom_db_dir(PGM_COMMON_XML_ZEB_ZEB* object, std::string& custom_db_dir);
    // Fills the device-option record from the flash device's attributes; false (record untouched)
    // when no flash device has the id.
    static bool get_internal_configuration_options(PGM_COMMON_XML_ZEB_ZEB* object, DSET_ZB_DEV_OPTIONS_INFO& options,
                                                   const std::string& flash_device_id);

    // ---- Parameter lists and dispatch --------------------------------------------------------------

    // The setter's result (false for an empty list, a missing key or, for raw files and settings, an
    // unknown parameter; see the setters' debug lines). An option without setter: internal error
    // "Unsupported option in psf set function".
    static bool set(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, PARAM_LIST params);
    // The list that describes the selected raw file or bitstream path; empty when it does not exist.
    // Options other than raw file and bitstream: internal error "Unsupported option in psf get function".
    static PARAM_LIST get(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, PARAM_LIST params);
    // The remover's result (false for an empty list or a missing key only). Settings and unknown
    // options: internal error "Unsupported option in psf remove function".
    static bool remove(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, PARAM_LIST params);

    // Never fails: "1" or "0".
    static std::string convert_bool_to_string(bool value);
    // Never fails: the signed decimal form, so 4294967295 gives "-1".
    static std::string convert_dword_to_string(uint32_t value);
    // Never fails: true for exactly "ON", "on" or "1".
    static bool convert_string_to_bool(const std::string& text);
    // Never fails: atoi truncated to 32 bits (leading blanks and a sign accepted, stops at the first
    // non-digit, "0x10" gives 0, no digits give 0, "-1" gives 4294967295).
    static uint32_t convert_string_to_dword(const std::string& text);
    // Writes the counts of the root's containers to the debug log ("ZEB element count", then one
    // "\t<kind> = %d" line each, with the flash loaders and devices of the first flash_devices).
    static void dump(PGM_COMMON_XML_ZEB_ZEB* object);

    // ---- Removal and renaming ----------------------------------------------------------------------

    // Always true: removes the bitstream reference `id` from every output file that holds it.
    static bool remove_output_file_bitstream_id(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id);
    // Always true: removes the flash device reference `id` from every output file that holds it.
    static bool remove_output_file_flash_device_id(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id);
    // Renames a partition of a flash device; assignments keep the old id. False with the debug line
    // "Modify partition id - partition not found" when there is no such partition.
    static bool modify_partition_id(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& flash_device_id,
                                    const std::string& partition_id, const std::string& new_partition_id);

    // ---- Enumeration mappings ----------------------------------------------------------------------
    // From the setup document's values to the programming-file library's. An XML value outside a
    // mapping's table is a defect of the document model, not of the user's input: it raises an
    // internal error (module ZEB_COMMON) and nothing is returned.

    // The scheme of a settings mode; 0 (mode not set) gives PGMIO_CONFIG_SCHEME_ILLEGAL (25).
    // Unknown value: internal error "Fail to map xml enum to config mode".
    static PGMIO_CONFIG_SCHEME map_enum_to_config_mode(PGM_COMMON_XML_ENUM xml_enum);
    // The operation mask of a file option's operation (P 0x1, V 0x2, PB 0x5).
    // Unknown value: internal error "Fail to map xml enum to pgm operation mask".
    static uint32_t map_enum_to_pgm_op_mask(PGM_COMMON_XML_ENUM xml_enum);
    // The level 0..3 of a security option's value "0".."3".
    // Unknown value: internal error "Fail to map xml enum to security level".
    static uint32_t map_enum_to_security_level(PGM_COMMON_XML_ENUM xml_enum);
    // The SVF voltage of a file option's voltage.
    // Unknown value: internal error "Fail to map xml enum to svfe voltage type".
    static SVFE_PROG_VOLTAGE map_enum_to_svfe_voltage_type(PGM_COMMON_XML_ENUM xml_enum);
    // The output file type written with an extension; ".rpd" gives the secondary raw programming
    // data when `secondary` is set. Never fails: an extension without a type gives ZEB_FILE_TYPE_NONE.
    static ZEB_FILE_TYPE map_ext_to_zeb_file_type(FIO_EXTENSION_TYPE extension, bool secondary);

private:
    // The frame that setters and removers share (zeb_file_assistant_frame.h).
    struct FRAME;

    // ---- Parameter look-up -------------------------------------------------------------------------

    // False (out untouched) when no pair carries `param`; otherwise `out` is the last such pair.
    static bool find_param_pair(const PARAM_LIST& params, PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, PARAM_PAIR& out);
    // Never fails: `out` becomes every pair that carries `param`, in list order.
    static void find_param_pair_list(const PARAM_LIST& params, PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param,
                                     PARAM_LIST& out);

    // ---- Setters (reached through set) -------------------------------------------------------------
    // Each finds or creates its element by key and applies the pairs of its group in list order;
    // nothing written is rolled back. Empty list: "Set <kind> - param list is empty", false.

    // Missing id: "Set raw file - missing id in param list", false. An unknown pair: "Set raw file -
    // unrecogized param enum %d", false, the other pairs still applied.
    static bool set_raw_file(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);
    // Missing partition id: "Set assignments - missing partition id", false.
    static bool set_assignment(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);
    // An unknown pair: "Set settings - unrecognized param %d", false, the other pairs still applied.
    static bool set_settings(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);
    // Missing type: "Set output file - missing id in param list", false.
    static bool set_output_file(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);
    // Missing name: "Set flash loader - missing flash loader param", false.
    static bool set_flash_loader(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);
    // Missing id: "Set flash device - missing id in param list", false. An MBR partition id without
    // an MBR id in the same list names no MBR and is not applied.
    static bool set_flash_device(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);
    // Missing id: "Set bitstream - missing id in param list", false. Without a path pair only the
    // bitstream itself is made.
    static bool set_bitstream(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);

    // ---- Getters (reached through get) -------------------------------------------------------------

    // Id, path, bitswap ("1"/"0") and type (decimal) of the raw file the list names; empty when the
    // list names none or it does not exist.
    static PARAM_LIST get_raw_file(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);
    // Bitstream id, path and every option of the path the list names (flags "1"/"0", enumerations
    // decimal); empty when the list names none or it does not exist.
    static PARAM_LIST get_bitstream(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);

    // ---- Removers (reached through remove) ---------------------------------------------------------
    // Empty list: "Remove <kind> - param list is empty", false; missing key: "Remove <kind> - missing
    // ...", false. Removing what is not there is true. A container left without children goes too.

    static bool remove_raw_file(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);
    static bool remove_assignment(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);
    // With a path pair only that path goes (the bitstream with its last path). With an HPS path pair
    // the "hps_path" of that path, or without path pair of every path of the bitstream, is emptied.
    static bool remove_bitstream(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);
    // With a partition id only that partition; with an MBR id and MBR partition id only that MBR
    // partition; with an MBR id alone that MBR; an MBR partition id without MBR id removes nothing.
    static bool remove_flash_device(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);
    static bool remove_flash_loader(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);
    // By type (decimal XML value), or only one secondary file or reference of it; without type the
    // flash device reference, else the bitstream reference, is removed from every output file.
    static bool remove_output_file(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params);
};
