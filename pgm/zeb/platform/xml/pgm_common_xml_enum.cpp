// SPDX-License-Identifier: Apache-2.0
#include "pgm/zeb/platform/xml/pgm_common_xml_enum.h"

namespace
{

struct XML_ENUM_NAME
{
    PGM_COMMON_XML_ENUM value;
    const char* name;
    bool element; // an element kind rather than an attribute value
};

// Every enumerator with its text, attribute values first, then element kinds.
constexpr XML_ENUM_NAME k_names[] = {
    {PGM_COMMON_XML_ENUM__INVALID__, "_INVALID__", false},
    {PGM_COMMON_XML_ENUM_INVALID, "INVALID", false},
    {PGM_COMMON_XML_ENUM_SDMMC, "SDMMC", false},
    {PGM_COMMON_XML_ENUM_FUSE, "FUSE", false},
    {PGM_COMMON_XML_ENUM_0, "0", false},
    {PGM_COMMON_XML_ENUM_1, "1", false},
    {PGM_COMMON_XML_ENUM_2, "2", false},
    {PGM_COMMON_XML_ENUM_3, "3", false},
    {PGM_COMMON_XML_ENUM_HEX, "HEX", false},
    {PGM_COMMON_XML_ENUM_QSPI, "QSPI", false},
    {PGM_COMMON_XML_ENUM_PS, "PS", false},
    {PGM_COMMON_XML_ENUM_FPP, "FPP", false},
    {PGM_COMMON_XML_ENUM_ASX1, "ASX1", false},
    {PGM_COMMON_XML_ENUM_ASX4, "ASX4", false},
    {PGM_COMMON_XML_ENUM_AVSTX8, "AVSTX8", false},
    {PGM_COMMON_XML_ENUM_AVSTX16, "AVSTX16", false},
    {PGM_COMMON_XML_ENUM_AVSTX32, "AVSTX32", false},
    {PGM_COMMON_XML_ENUM_INTERNAL, "INTERNAL", false},
    {PGM_COMMON_XML_ENUM_RBF, "RBF", false},
    {PGM_COMMON_XML_ENUM_TTF, "TTF", false},
    {PGM_COMMON_XML_ENUM_JIC, "JIC", false},
    {PGM_COMMON_XML_ENUM_POF, "POF", false},
    {PGM_COMMON_XML_ENUM_RPD, "RPD", false},
    {PGM_COMMON_XML_ENUM_PRRBF, "PRRBF", false},
    {PGM_COMMON_XML_ENUM_CVP_CORE_RBF, "CVP_CORE_RBF", false},
    {PGM_COMMON_XML_ENUM_HPS_CORE_RBF, "HPS_CORE_RBF", false},
    {PGM_COMMON_XML_ENUM_PERIPH_RBF, "PERIPH_RBF", false},
    {PGM_COMMON_XML_ENUM_PERIPH_JIC, "PERIPH_JIC", false},
    {PGM_COMMON_XML_ENUM_PERIPH_POF, "PERIPH_POF", false},
    {PGM_COMMON_XML_ENUM_PERIPH_RPD, "PERIPH_RPD", false},
    {PGM_COMMON_XML_ENUM_MAP, "MAP", false},
    {PGM_COMMON_XML_ENUM_SEC_RPD, "SEC_RPD", false},
    {PGM_COMMON_XML_ENUM_JAM, "JAM", false},
    {PGM_COMMON_XML_ENUM_JBC, "JBC", false},
    {PGM_COMMON_XML_ENUM_SVF, "SVF", false},
    {PGM_COMMON_XML_ENUM_EKP, "EKP", false},
    {PGM_COMMON_XML_ENUM_QSPI_HELPER_RBF, "QSPI_HELPER_RBF", false},
    {PGM_COMMON_XML_ENUM_HELPER_RBF, "HELPER_RBF", false},
    {PGM_COMMON_XML_ENUM_HELPER_RBF_CMD, "HELPER_RBF_CMD", false},
    {PGM_COMMON_XML_ENUM_SOF, "SOF", false},
    {PGM_COMMON_XML_ENUM_OFF, "OFF", false},
    {PGM_COMMON_XML_ENUM_ON, "ON", false},
    {PGM_COMMON_XML_ENUM_PEM, "PEM", false},
    {PGM_COMMON_XML_ENUM_HPS, "HPS", false},
    {PGM_COMMON_XML_ENUM_ALL, "ALL", false},
    {PGM_COMMON_XML_ENUM_UP, "UP", false},
    {PGM_COMMON_XML_ENUM_DOWN, "DOWN", false},
    {PGM_COMMON_XML_ENUM_1_5V, "1_5V", false},
    {PGM_COMMON_XML_ENUM_1_8V, "1_8V", false},
    {PGM_COMMON_XML_ENUM_2_5V, "2_5V", false},
    {PGM_COMMON_XML_ENUM_3_3V, "3_3V", false},
    {PGM_COMMON_XML_ENUM_5_0V, "5_0V", false},
    {PGM_COMMON_XML_ENUM_P, "P", false},
    {PGM_COMMON_XML_ENUM_V, "V", false},
    {PGM_COMMON_XML_ENUM_PB, "PB", false},
    {PGM_COMMON_XML_ENUM_AUTO, "AUTO", false},
    {PGM_COMMON_XML_ENUM_ABS, "ABS", false},
    {PGM_COMMON_XML_ENUM_REL, "REL", false},
    {PGM_COMMON_XML_ENUM_ZEB_BITSTREAM, "bitstream", true},
    {PGM_COMMON_XML_ENUM_ZEB_ZEB, "zeb", true},
    {PGM_COMMON_XML_ENUM_ZEB_SETTINGS, "settings", true},
    {PGM_COMMON_XML_ENUM_ZEB_RAW_FILES, "raw_files", true},
    {PGM_COMMON_XML_ENUM_ZEB_RAW_FILE, "raw_file", true},
    {PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENTS, "assignments", true},
    {PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENT, "assignment", true},
    {PGM_COMMON_XML_ENUM_ZEB_RAW_FILE_ID, "raw_file_id", true},
    {PGM_COMMON_XML_ENUM_ZEB_BITSTREAM_ID, "bitstream_id", true},
    {PGM_COMMON_XML_ENUM_ZEB_BITSTREAMS, "bitstreams", true},
    {PGM_COMMON_XML_ENUM_ZEB_PATH, "path", true},
    {PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICES, "flash_devices", true},
    {PGM_COMMON_XML_ENUM_ZEB_FLASH_LOADER, "flash_loader", true},
    {PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE, "flash_device", true},
    {PGM_COMMON_XML_ENUM_ZEB_PARTITION, "partition", true},
    {PGM_COMMON_XML_ENUM_ZEB_MBR, "mbr", true},
    {PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILES, "output_files", true},
    {PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILE, "output_file", true},
    {PGM_COMMON_XML_ENUM_ZEB_FILE_OPTIONS, "file_options", true},
    {PGM_COMMON_XML_ENUM_ZEB_SECONDARY_FILE, "secondary_file", true},
    {PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE_ID, "flash_device_id", true},
};

} // namespace

std::string_view pgm_common_xml_enum_name(PGM_COMMON_XML_ENUM value)
{
    for (const XML_ENUM_NAME& row : k_names)
    {
        if (row.value == value)
            return row.name;
    }
    return {};
}

PGM_COMMON_XML_ENUM pgm_common_xml_enum_value(std::string_view name)
{
    for (const XML_ENUM_NAME& row : k_names)
    {
        if (!row.element && name == row.name)
            return row.value;
    }
    return PGM_COMMON_XML_ENUM__INVALID__;
}

PGM_COMMON_XML_ENUM pgm_common_xml_element_kind(std::string_view element_name)
{
    for (const XML_ENUM_NAME& row : k_names)
    {
        if (row.element && element_name == row.name)
            return row.value;
    }
    return PGM_COMMON_XML_ENUM__INVALID__;
}
