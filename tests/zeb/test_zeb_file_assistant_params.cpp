// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT: value conversions at their edges, dispatch and its internal errors, the list
// checks every setter and remover shares.
#include "test_zeb_file_assistant_support.h"

#include <cstdint>
#include <vector>

using namespace assistant_test;

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
