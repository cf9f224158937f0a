// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT's enumeration mappings: the values the programming-file library receives, the
// internal errors for values outside each table, and the agreement with the capability tables.
#include "test_zeb_file_assistant_support.h"

namespace
{

PGM_COMMON_XML_ENUM xml(uint32_t value)
{
    return static_cast<PGM_COMMON_XML_ENUM>(value);
}

} // namespace

TEST(ZebFileAssistantMap, ConfigModeAgreesWithTheSchemeTable)
{
    EXPECT_EQ(ZEB_FILE_ASSISTANT::map_enum_to_config_mode(PGM_COMMON_XML_ENUM__INVALID__), PGMIO_CONFIG_SCHEME_ILLEGAL);
    // Each enabled scheme's XML value maps back to a scheme with that value; the three passive
    // parallel widths share 341, which maps to the x8 width.
    for (PGMIO_CONFIG_SCHEME scheme : ZEB_DB_UTIL::get_enabled_config_modes())
    {
        const PGM_COMMON_XML_ENUM value = ZEB_DB::get_xml_enum(scheme);
        const PGMIO_CONFIG_SCHEME mapped = ZEB_FILE_ASSISTANT::map_enum_to_config_mode(value);
        EXPECT_EQ(ZEB_DB::get_xml_enum(mapped), value) << scheme;
        if (value != PGM_COMMON_XML_ENUM_FPP)
        {
            EXPECT_EQ(mapped, scheme);
        }
    }
    EXPECT_EQ(ZEB_FILE_ASSISTANT::map_enum_to_config_mode(PGM_COMMON_XML_ENUM_FPP), PGMIO_CONFIG_SCHEME_PP_X8);
}

TEST(ZebFileAssistantMap, OperationMaskAndSecurityLevels)
{
    for (uint32_t level = 0; level < 4; ++level)
        EXPECT_EQ(ZEB_FILE_ASSISTANT::map_enum_to_security_level(xml(PGM_COMMON_XML_ENUM_0 + level)), level);
    EXPECT_EQ(ZEB_FILE_ASSISTANT::map_enum_to_pgm_op_mask(PGM_COMMON_XML_ENUM_P), 0x1u);
    EXPECT_EQ(ZEB_FILE_ASSISTANT::map_enum_to_pgm_op_mask(PGM_COMMON_XML_ENUM_V), 0x2u);
    EXPECT_EQ(ZEB_FILE_ASSISTANT::map_enum_to_pgm_op_mask(PGM_COMMON_XML_ENUM_PB), 0x5u);
    for (uint32_t value : {0u, 381u, 385u})
        EXPECT_EQ(
            assistant_test::internal_error_of([value] { ZEB_FILE_ASSISTANT::map_enum_to_pgm_op_mask(xml(value)); }),
            "Fail to map xml enum to pgm operation mask");
}

TEST(ZebFileAssistantMap, ExtensionGivesATypeThatWritesIt)
{
    EXPECT_EQ(ZEB_FILE_ASSISTANT::map_ext_to_zeb_file_type(FIO_EXTENSION_TYPE_RPD, false), ZEB_FILE_TYPE_RPD);
    EXPECT_EQ(ZEB_FILE_ASSISTANT::map_ext_to_zeb_file_type(FIO_EXTENSION_TYPE_RPD, true), ZEB_FILE_TYPE_RPD_SECONDARY);
    EXPECT_EQ(ZEB_FILE_ASSISTANT::map_ext_to_zeb_file_type(FIO_EXTENSION_TYPE_RBF, true), ZEB_FILE_TYPE_RBF);
    // Extensions inside the table's range that no mapping row names, and outside values.
    for (FIO_EXTENSION_TYPE extension : {FIO_EXTENSION_TYPE_NONE, FIO_EXTENSION_TYPE_CDF, FIO_EXTENSION_TYPE_HEX,
                                         FIO_EXTENSION_TYPE_PMSF, FIO_EXTENSION_TYPE_HIOF, FIO_EXTENSION_TYPE_FUSE})
    {
        EXPECT_EQ(ZEB_FILE_ASSISTANT::map_ext_to_zeb_file_type(extension, false), ZEB_FILE_TYPE_NONE) << extension;
        EXPECT_EQ(ZEB_FILE_ASSISTANT::map_ext_to_zeb_file_type(extension, true), ZEB_FILE_TYPE_NONE) << extension;
    }
    // Whatever the mapping yields writes the extension it came from.
    for (uint32_t value = 0; value <= 0xFFFF; ++value)
    {
        const auto extension = static_cast<FIO_EXTENSION_TYPE>(value);
        for (bool secondary : {false, true})
        {
            const ZEB_FILE_TYPE type = ZEB_FILE_ASSISTANT::map_ext_to_zeb_file_type(extension, secondary);
            if (type != ZEB_FILE_TYPE_NONE)
            {
                EXPECT_EQ(ZEB_DB::get_fio_ext_enum(type), extension) << value;
            }
        }
    }
}
