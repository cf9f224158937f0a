// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT: value conversions at their edges, the enumeration mappings that the
// programming-file library receives and their agreement with the capability tables, dispatch and
// its internal errors, the list checks every setter and remover shares.
#include "test_zeb_file_assistant_support.h"

#include <cstdint>
#include <vector>

using namespace assistant_test;

TEST(ZebAssistantParams, TextToNumberReadsLikeAtoiCutTo32Bits)
{
    // No hexadecimal; out of range the reading saturates before it is cut.
    // clang-format off
    const std::pair<const char*, uint32_t> readings[] = {
        {"-1", 4294967295u}, {"  \t17abc", 17u}, {"+8", 8u}, {"0x10", 0u}, {"x1", 0u}, {"", 0u},
        {"4294967296", 0u}, {"4294967297", 1u}, {"-2147483648", 2147483648u},
        {"99999999999999999999", 4294967295u}, {"-99999999999999999999", 0u}};
    // clang-format on
    for (const auto& [text, value] : readings)
        EXPECT_EQ(ZFA::convert_string_to_dword(text), value) << text;
    // Getters write numbers signed, and setters read them back.
    EXPECT_EQ(ZFA::convert_dword_to_string(0x80000000u), "-2147483648");
    for (uint32_t value : {0u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(ZFA::convert_string_to_dword(ZFA::convert_dword_to_string(value)), value);
}

TEST(ZebAssistantParams, DispatchRefusesNullDocumentsAndOptionsWithoutOperation)
{
    PGM_COMMON_XML_ZEB_ZEB document;
    const PARAMS list = {{RF(ID), "r"}};
    const auto opt = [](uint32_t value) { return static_cast<PGM_COMMON_XML_ZEB_CMD_OPT_ENUM>(value); };
    EXPECT_EQ(internal_error_of([&] { ZFA::set(nullptr, ZEB_CMD_OPT_RAW_FILE, list); }), "object");
    EXPECT_EQ(internal_error_of([&] { ZFA::get(nullptr, ZEB_CMD_OPT_RAW_FILE, list); }), "object");
    EXPECT_EQ(internal_error_of([&] { ZFA::remove(nullptr, ZEB_CMD_OPT_RAW_FILE, list); }), "object");
    EXPECT_EQ(internal_error_of([&] { ZFA::dump(nullptr); }), "object");
    for (uint32_t value : {0u, 8u, 0xFFFFFFFFu})
        EXPECT_EQ(internal_error_of([&] { ZFA::set(&document, opt(value), list); }),
                  "Unsupported option in psf set function");
    for (uint32_t value : {0u, 2u, 3u, 4u, 5u, 6u, 8u})
        EXPECT_EQ(internal_error_of([&] { ZFA::get(&document, opt(value), list); }),
                  "Unsupported option in psf get function");
    for (uint32_t value : {0u, 3u, 8u})
        EXPECT_EQ(internal_error_of([&] { ZFA::remove(&document, opt(value), list); }),
                  "Unsupported option in psf remove function");
    EXPECT_TRUE(document.children().empty());
}

TEST(ZebAssistantParams, EmptyListsAndMissingKeysFailWithoutChange)
{
    using OPT = PGM_COMMON_XML_ZEB_CMD_OPT_ENUM;
    const OPT keyed[] = {ZEB_CMD_OPT_RAW_FILE,     ZEB_CMD_OPT_ASSIGNMENT,   ZEB_CMD_OPT_OUTPUT_FILE,
                         ZEB_CMD_OPT_FLASH_LOADER, ZEB_CMD_OPT_FLASH_DEVICE, ZEB_CMD_OPT_BITSTREAM};
    for (bool remove : {false, true})
        for (OPT opt : keyed)
        {
            PGM_COMMON_XML_ZEB_ZEB document;
            const auto run = [&](const PARAMS& list)
            { return remove ? ZFA::remove(&document, opt, list) : ZFA::set(&document, opt, list); };
            MSG_CAPTURE_SINK sink;
            EXPECT_FALSE(run({})) << opt << remove;
            // The key of another kind does not stand in for the operation's own.
            EXPECT_FALSE(run({{ZEB_CMD_PARAM_INVALID, "x"}, {ZEB_CMD_PARAM_SETTINGS_MODE, "343"}})) << opt << remove;
            EXPECT_EQ(sink.debug_lines().size(), 2u) << opt << remove;
            EXPECT_TRUE(document.children().empty()) << opt << remove;
        }
    PGM_COMMON_XML_ZEB_ZEB document;
    EXPECT_FALSE(ZFA::set(&document, ZEB_CMD_OPT_SETTINGS, {}));
    EXPECT_TRUE(document.children().empty());
}

TEST(ZebAssistantParams, TheLastOccurrenceOfAKeySelectsTheElement)
{
    PGM_COMMON_XML_ZEB_ZEB document;
    ASSERT_TRUE(ZFA::set(&document, ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "b"}}));
    // "a" is written first and "b" last, into the raw file found by "b".
    ASSERT_TRUE(ZFA::set(&document, ZEB_CMD_OPT_RAW_FILE,
                         {{RF(ID), "a"}, {RF(RAW_FILE), "first.hex"}, {RF(RAW_FILE), "second.hex"}, {RF(ID), "b"}}));
    EXPECT_EQ(ZFA::get_raw_file_ids(&document), std::vector<std::string>{"b"});
    EXPECT_EQ(ZFA::get_raw_file_element(&document, "b")->get_text(), "second.hex");
}

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
        EXPECT_TRUE(value == PGM_COMMON_XML_ENUM_FPP || mapped == scheme) << scheme;
    }
    EXPECT_EQ(ZEB_FILE_ASSISTANT::map_enum_to_config_mode(PGM_COMMON_XML_ENUM_FPP), PGMIO_CONFIG_SCHEME_PP_X8);
}

TEST(ZebFileAssistantMap, OperationMaskAndSecurityLevels)
{
    for (uint32_t level = 0; level < 4; ++level)
        EXPECT_EQ(ZEB_FILE_ASSISTANT::map_enum_to_security_level(
                      static_cast<PGM_COMMON_XML_ENUM>(PGM_COMMON_XML_ENUM_0 + level)),
                  level);
    EXPECT_EQ(ZEB_FILE_ASSISTANT::map_enum_to_pgm_op_mask(PGM_COMMON_XML_ENUM_P), 0x1u);
    EXPECT_EQ(ZEB_FILE_ASSISTANT::map_enum_to_pgm_op_mask(PGM_COMMON_XML_ENUM_V), 0x2u);
    EXPECT_EQ(ZEB_FILE_ASSISTANT::map_enum_to_pgm_op_mask(PGM_COMMON_XML_ENUM_PB), 0x5u);
    for (uint32_t value : {0u, 381u, 385u})
        EXPECT_EQ(internal_error_of(
                      [value]
                      { ZEB_FILE_ASSISTANT::map_enum_to_pgm_op_mask(static_cast<PGM_COMMON_XML_ENUM>(value)); }),
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
            EXPECT_TRUE(type == ZEB_FILE_TYPE_NONE || ZEB_DB::get_fio_ext_enum(type) == extension) << value;
        }
    }
}
