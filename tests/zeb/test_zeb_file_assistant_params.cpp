// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT: value conversions at their edges, dispatch and its internal errors, the list
// checks every setter and remover shares, and the document dump.
#include "test_zeb_file_assistant_support.h"

#include <cstdint>
#include <vector>

using namespace assistant_test;

TEST(ZebAssistantParams, NumbersTravelAsSignedDecimalText)
{
    EXPECT_EQ(ZFA::convert_dword_to_string(0), "0");
    EXPECT_EQ(ZFA::convert_dword_to_string(2147483647u), "2147483647");
    EXPECT_EQ(ZFA::convert_dword_to_string(2147483648u), "-2147483648");
    EXPECT_EQ(ZFA::convert_dword_to_string(4294967295u), "-1");
    EXPECT_EQ(ZFA::convert_bool_to_string(true), "1");
    EXPECT_EQ(ZFA::convert_bool_to_string(false), "0");
    // Whatever a getter writes, a setter reads back.
    for (uint32_t value : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(ZFA::convert_string_to_dword(ZFA::convert_dword_to_string(value)), value);
}

TEST(ZebAssistantParams, TextToNumberReadsLikeAtoiCutTo32Bits)
{
    EXPECT_EQ(ZFA::convert_string_to_dword("-1"), 4294967295u);
    EXPECT_EQ(ZFA::convert_string_to_dword("  \t17abc"), 17u);
    EXPECT_EQ(ZFA::convert_string_to_dword("+8"), 8u);
    EXPECT_EQ(ZFA::convert_string_to_dword("0x10"), 0u); // hexadecimal is not understood
    EXPECT_EQ(ZFA::convert_string_to_dword("x1"), 0u);
    EXPECT_EQ(ZFA::convert_string_to_dword(""), 0u);
    EXPECT_EQ(ZFA::convert_string_to_dword("4294967296"), 0u);
    EXPECT_EQ(ZFA::convert_string_to_dword("4294967297"), 1u);
    EXPECT_EQ(ZFA::convert_string_to_dword("-2147483648"), 2147483648u);
    // Out of range the reading saturates before it is cut.
    EXPECT_EQ(ZFA::convert_string_to_dword("99999999999999999999"), 4294967295u);
    EXPECT_EQ(ZFA::convert_string_to_dword("-99999999999999999999"), 0u);
}

TEST(ZebAssistantParams, OnlyThreeTextsAreTrue)
{
    for (const char* text : {"ON", "on", "1"})
        EXPECT_TRUE(ZFA::convert_string_to_bool(text)) << text;
    for (const char* text : {"On", "oN", "ON ", " 1", "01", "true", "yes", "", "0"})
        EXPECT_FALSE(ZFA::convert_string_to_bool(text)) << text;
}

TEST(ZebAssistantParams, DispatchRefusesNullDocumentsAndOptionsWithoutOperation)
{
    PGM_COMMON_XML_ZEB_ZEB document;
    const PARAMS list = {{ZEB_CMD_PARAM_RAW_FILE_ID, "r"}};
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
    struct CASE
    {
        PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt;
        bool remove;
        const char* empty_line;
        const char* missing_line; // nullptr: the operation has no key
    };
    const CASE cases[] = {
        {ZEB_CMD_OPT_RAW_FILE, false, "Set raw file - param list is empty", "Set raw file - missing id in param list"},
        {ZEB_CMD_OPT_ASSIGNMENT, false, "Set assignments - param list is empty",
         "Set assignments - missing partition id"},
        {ZEB_CMD_OPT_SETTINGS, false, "Set settings - param list is empty", nullptr},
        {ZEB_CMD_OPT_OUTPUT_FILE, false, "Set output file - param list is empty",
         "Set output file - missing id in param list"},
        {ZEB_CMD_OPT_FLASH_LOADER, false, "Set flash loader - param list is empty",
         "Set flash loader - missing flash loader param"},
        {ZEB_CMD_OPT_FLASH_DEVICE, false, "Set flash device - param list is empty",
         "Set flash device - missing id in param list"},
        {ZEB_CMD_OPT_BITSTREAM, false, "Set bitstream - param list is empty",
         "Set bitstream - missing id in param list"},
        {ZEB_CMD_OPT_RAW_FILE, true, "Remove raw file - param list is empty",
         "Remove raw file - missing id in param list"},
        {ZEB_CMD_OPT_ASSIGNMENT, true, "Remove assignments - param list is empty",
         "Remove assignments - missing partition id"},
        {ZEB_CMD_OPT_OUTPUT_FILE, true, "Remove output file - param list is empty",
         "Remove output file - missing id in param list"},
        {ZEB_CMD_OPT_FLASH_LOADER, true, "Remove flash loader - param list is empty",
         "Remove flash loader - missing id in param list"},
        {ZEB_CMD_OPT_FLASH_DEVICE, true, "Remove flash device - param list is empty",
         "Remove flash device - missing id in param list"},
        {ZEB_CMD_OPT_BITSTREAM, true, "Remove bitstream - param list is empty",
         "Remove bitstream - missing id in param list"},
    };
    for (const CASE& c : cases)
    {
        PGM_COMMON_XML_ZEB_ZEB document;
        const auto run = [&](const PARAMS& list)
        { return c.remove ? ZFA::remove(&document, c.opt, list) : ZFA::set(&document, c.opt, list); };
        MSG_CAPTURE_SINK sink;
        EXPECT_FALSE(run({})) << c.empty_line;
        EXPECT_EQ(sink.debug_lines(), std::vector<std::string>{c.empty_line});
        if (c.missing_line)
        {
            sink.clear();
            // The key of another kind does not stand in for the operation's own.
            EXPECT_FALSE(run({{ZEB_CMD_PARAM_INVALID, "x"}, {ZEB_CMD_PARAM_SETTINGS_MODE, "343"}})) << c.missing_line;
            EXPECT_EQ(sink.debug_lines(), std::vector<std::string>{c.missing_line});
        }
        EXPECT_TRUE(document.children().empty()) << c.empty_line;
    }
}

TEST(ZebAssistantParams, DumpCountsTheRootContainers)
{
    PGM_COMMON_XML_ZEB_ZEB document;
    MSG_CAPTURE_SINK sink;
    ZFA::dump(&document);
    EXPECT_EQ(sink.debug_lines(),
              (std::vector<std::string>{"ZEB element count", "\tsettings        = 0", "\traw_files       = 0",
                                        "\tassignments     = 0", "\tbitstreams      = 0", "\tflash_devices   = 0",
                                        "\toutput_files    = 0"}));

    ASSERT_TRUE(ZFA::set(&document, ZEB_CMD_OPT_SETTINGS, {{ZEB_CMD_PARAM_SETTINGS_MODE, "343"}}));
    ASSERT_TRUE(ZFA::set(&document, ZEB_CMD_OPT_FLASH_DEVICE, {{ZEB_CMD_PARAM_FLASH_DEVICE_ID, "a"}}));
    ASSERT_TRUE(ZFA::set(&document, ZEB_CMD_OPT_FLASH_DEVICE, {{ZEB_CMD_PARAM_FLASH_DEVICE_ID, "b"}}));
    ASSERT_TRUE(ZFA::set(&document, ZEB_CMD_OPT_BITSTREAM, {{ZEB_CMD_PARAM_BITSTREAM_ID, "b"}}));
    sink.clear();
    ZFA::dump(&document);
    EXPECT_EQ(sink.debug_lines(), (std::vector<std::string>{
                                      "ZEB element count", "\tsettings        = 1", "\traw_files       = 0",
                                      "\tassignments     = 0", "\tbitstreams      = 1", "\tflash_devices   = 1",
                                      "\t\tflash_loader    = 0", "\t\tflash_device    = 2", "\toutput_files    = 0"}));
}

TEST(ZebAssistantParams, TheLastOccurrenceOfAKeySelectsTheElement)
{
    PGM_COMMON_XML_ZEB_ZEB document;
    ASSERT_TRUE(ZFA::set(&document, ZEB_CMD_OPT_RAW_FILE, {{ZEB_CMD_PARAM_RAW_FILE_ID, "b"}}));
    // "a" is written first and "b" last, into the raw file found by "b".
    ASSERT_TRUE(ZFA::set(&document, ZEB_CMD_OPT_RAW_FILE,
                         {{ZEB_CMD_PARAM_RAW_FILE_ID, "a"},
                          {ZEB_CMD_PARAM_RAW_FILE_RAW_FILE, "first.hex"},
                          {ZEB_CMD_PARAM_RAW_FILE_RAW_FILE, "second.hex"},
                          {ZEB_CMD_PARAM_RAW_FILE_ID, "b"}}));
    EXPECT_EQ(ZFA::get_raw_file_ids(&document), std::vector<std::string>{"b"});
    EXPECT_EQ(ZFA::get_raw_file_element(&document, "b")->get_text(), "second.hex");
}
