// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT: the enumeration mappings from setup-document values to the programming-file
// library's values. Each mapping is a fixed table searched from the front.
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/zeb_file_assistant.h"

namespace
{

template <typename TARGET> struct XML_MAP_ROW
{
    PGM_COMMON_XML_ENUM xml_enum;
    TARGET target;
};

// The unset mode (0) still yields a scheme, so that a document without mode can be converted.
constexpr XML_MAP_ROW<PGMIO_CONFIG_SCHEME> CONFIG_MODE_ROWS[] = {
    {PGM_COMMON_XML_ENUM__INVALID__, PGMIO_CONFIG_SCHEME_ILLEGAL},
    {PGM_COMMON_XML_ENUM_PS, PGMIO_CONFIG_SCHEME_PS_X1},
    {PGM_COMMON_XML_ENUM_FPP, PGMIO_CONFIG_SCHEME_PP_X8},
    {PGM_COMMON_XML_ENUM_ASX1, PGMIO_CONFIG_SCHEME_AS},
    {PGM_COMMON_XML_ENUM_ASX4, PGMIO_CONFIG_SCHEME_AS_X4},
    {PGM_COMMON_XML_ENUM_AVSTX8, PGMIO_CONFIG_SCHEME_AVST_X8},
    {PGM_COMMON_XML_ENUM_AVSTX16, PGMIO_CONFIG_SCHEME_AVST_X16},
    {PGM_COMMON_XML_ENUM_AVSTX32, PGMIO_CONFIG_SCHEME_AVST_X32},
    {PGM_COMMON_XML_ENUM_INTERNAL, PGMIO_CONFIG_SCHEME_INTERNAL},
};

// "PB" is program and blank-check together.
constexpr XML_MAP_ROW<uint32_t> PGM_OP_MASK_ROWS[] = {
    {PGM_COMMON_XML_ENUM_P, PGMIO_PGM_OP_PROGRAM},
    {PGM_COMMON_XML_ENUM_V, PGMIO_PGM_OP_VERIFY},
    {PGM_COMMON_XML_ENUM_PB, PGMIO_PGM_OP_PROGRAM | PGMIO_PGM_OP_BLANK_CHECK},
};

constexpr XML_MAP_ROW<uint32_t> SECURITY_LEVEL_ROWS[] = {
    {PGM_COMMON_XML_ENUM_0, PGMIO_SECURITY_LEVEL_0},
    {PGM_COMMON_XML_ENUM_1, PGMIO_SECURITY_LEVEL_1},
    {PGM_COMMON_XML_ENUM_2, PGMIO_SECURITY_LEVEL_2},
    {PGM_COMMON_XML_ENUM_3, PGMIO_SECURITY_LEVEL_3},
};

constexpr XML_MAP_ROW<SVFE_PROG_VOLTAGE> SVFE_VOLTAGE_ROWS[] = {
    {PGM_COMMON_XML_ENUM_1_5V, SVFE_PROG_VOLTAGE_1_5V}, {PGM_COMMON_XML_ENUM_1_8V, SVFE_PROG_VOLTAGE_1_8V},
    {PGM_COMMON_XML_ENUM_2_5V, SVFE_PROG_VOLTAGE_2_5V}, {PGM_COMMON_XML_ENUM_3_3V, SVFE_PROG_VOLTAGE_3_3V},
    {PGM_COMMON_XML_ENUM_5_0V, SVFE_PROG_VOLTAGE_5_0V},
};

struct EXTENSION_ROW
{
    FIO_EXTENSION_TYPE extension;
    ZEB_FILE_TYPE primary;   // the type when not asked for a secondary file
    ZEB_FILE_TYPE secondary; // the type when asked for a secondary file
};

// Only ".rpd" has a secondary form; every other extension gives the same type either way.
// clang-format off
constexpr EXTENSION_ROW EXTENSION_ROWS[] = {
    {FIO_EXTENSION_TYPE_SOF, ZEB_FILE_TYPE_SOF, ZEB_FILE_TYPE_SOF},
    {FIO_EXTENSION_TYPE_POF, ZEB_FILE_TYPE_POF, ZEB_FILE_TYPE_POF},
    {FIO_EXTENSION_TYPE_JAM, ZEB_FILE_TYPE_JAM, ZEB_FILE_TYPE_JAM},
    {FIO_EXTENSION_TYPE_JBC, ZEB_FILE_TYPE_JBC, ZEB_FILE_TYPE_JBC},
    {FIO_EXTENSION_TYPE_SVF, ZEB_FILE_TYPE_SVF, ZEB_FILE_TYPE_SVF},
    {FIO_EXTENSION_TYPE_HEXOUT, ZEB_FILE_TYPE_HEXOUT, ZEB_FILE_TYPE_HEXOUT},
    {FIO_EXTENSION_TYPE_RBF, ZEB_FILE_TYPE_RBF, ZEB_FILE_TYPE_RBF},
    {FIO_EXTENSION_TYPE_MAP, ZEB_FILE_TYPE_MAP, ZEB_FILE_TYPE_MAP},
    {FIO_EXTENSION_TYPE_TTF, ZEB_FILE_TYPE_TTF, ZEB_FILE_TYPE_TTF},
    {FIO_EXTENSION_TYPE_RPD, ZEB_FILE_TYPE_RPD, ZEB_FILE_TYPE_RPD_SECONDARY},
    {FIO_EXTENSION_TYPE_JIC, ZEB_FILE_TYPE_JIC, ZEB_FILE_TYPE_JIC},
    {FIO_EXTENSION_TYPE_EKP, ZEB_FILE_TYPE_EKP, ZEB_FILE_TYPE_EKP},
};
// clang-format on

// The row's target for `xml_enum`; raises the internal error `failure` when no row has it.
template <typename TARGET, std::size_t N>
TARGET map_xml(const XML_MAP_ROW<TARGET> (&rows)[N], PGM_COMMON_XML_ENUM xml_enum, const char* failure)
{
    for (const XML_MAP_ROW<TARGET>& row : rows)
        if (row.xml_enum == xml_enum)
            return row.target;
    MSG_INTERNAL_ERROR_AT(failure, "ZEB_COMMON", "zeb_file_assistant");
}

} // namespace

PGMIO_CONFIG_SCHEME ZEB_FILE_ASSISTANT::map_enum_to_config_mode(PGM_COMMON_XML_ENUM xml_enum)
{
    return map_xml(CONFIG_MODE_ROWS, xml_enum, "Fail to map xml enum to config mode");
}

uint32_t ZEB_FILE_ASSISTANT::map_enum_to_pgm_op_mask(PGM_COMMON_XML_ENUM xml_enum)
{
    return map_xml(PGM_OP_MASK_ROWS, xml_enum, "Fail to map xml enum to pgm operation mask");
}

uint32_t ZEB_FILE_ASSISTANT::map_enum_to_security_level(PGM_COMMON_XML_ENUM xml_enum)
{
    return map_xml(SECURITY_LEVEL_ROWS, xml_enum, "Fail to map xml enum to security level");
}

SVFE_PROG_VOLTAGE ZEB_FILE_ASSISTANT::map_enum_to_svfe_voltage_type(PGM_COMMON_XML_ENUM xml_enum)
{
    return map_xml(SVFE_VOLTAGE_ROWS, xml_enum, "Fail to map xml enum to svfe voltage type");
}

ZEB_FILE_TYPE ZEB_FILE_ASSISTANT::map_ext_to_zeb_file_type(FIO_EXTENSION_TYPE extension, bool secondary)
{
    for (const EXTENSION_ROW& row : EXTENSION_ROWS)
        if (row.extension == extension)
            return secondary ? row.secondary : row.primary;
    return ZEB_FILE_TYPE_NONE;
}
