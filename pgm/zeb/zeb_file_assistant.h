// SPDX-License-Identifier: Apache-2.0
// The setup document assistant: static functions that look up, create, change and remove elements
// of a setup document from parameter lists, and translate the document's enumeration values into
// the programming-file library's values. The class keeps no state.
#pragma once

#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/pgmio/pgmio_enums.h"
#include "pgm/zeb/platform/xml/pgm_common_xml_enum.h"
#include "pgm/zeb/zeb_db_util.h"

#include <cstdint>

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
};
