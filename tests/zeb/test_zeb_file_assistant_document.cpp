// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT end to end: a document of every element kind built through set saves to a
// schema-valid file that reads back to the same document, and get output fed to set recreates
// what it describes.
#include "test_support.h"
#include "test_zeb_file_assistant_support.h"

#include "pgm/zeb/zeb_util.h"

#include <memory>
#include <vector>

using namespace assistant_test;

// The schema sample sets every attribute of a path to a value of its own kind: get describes each
// one, and set recreates the path from that description attribute by attribute. Where each option
// lands in the document is proven through the command line, which names every attribute itself.
TEST(ZebAssistantDocument, PathOptionsRoundTripThroughGetAndSet)
{
    PGM_COMMON_XML_ZEB_ZEB* parsed = nullptr;
    MSG_CAPTURE_SINK sink;
    ASSERT_TRUE(ZEB_UTIL::parse(&parsed, corvane_test::source_file("tests/xsd/valid_all_attributes.zeb")));
    std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> original(parsed);
    const PARAMS key = {{BS(ID), "Bitstream_1"}, {BS(PATH), "design.sof"}};
    const PGM_COMMON_XML_ZEB_PATH* path = ZFA::get_path_element(original.get(), "Bitstream_1", "design.sof");
    ASSERT_TRUE(path);
    ASSERT_EQ(path->attributes().size(), PGM_COMMON_XML_ZEB_PATH().attributes().size());

    const PARAMS description = ZFA::get(original.get(), ZEB_CMD_OPT_BITSTREAM, key);
    EXPECT_EQ(description.size(), path->attributes().size() + 2);
    PGM_COMMON_XML_ZEB_ZEB copy;
    ASSERT_TRUE(ZFA::set(&copy, ZEB_CMD_OPT_BITSTREAM, description));
    const PGM_COMMON_XML_ZEB_PATH* recreated = ZFA::get_path_element(&copy, "Bitstream_1", "design.sof");
    ASSERT_TRUE(recreated);
    for (const PGM_COMMON_XML_ATTRIBUTE& attribute : path->attributes())
        EXPECT_EQ(recreated->get_attribute_text(attribute.name()), path->get_attribute_text(attribute.name()))
            << attribute.name();
    EXPECT_EQ(ZFA::get(&copy, ZEB_CMD_OPT_BITSTREAM, key), description);

    EXPECT_TRUE(ZFA::get(&copy, ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "Bitstream_1"}}).empty());
    EXPECT_TRUE(ZFA::get(&copy, ZEB_CMD_OPT_BITSTREAM, {{BS(PATH), "design.sof"}}).empty());
    EXPECT_TRUE(ZFA::get(&copy, ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "Bitstream_1"}, {BS(PATH), "other.sof"}}).empty());
}

TEST(ZebAssistantDocument, RawFileRoundTripsThroughGetAndSet)
{
    PGM_COMMON_XML_ZEB_ZEB original;
    ASSERT_TRUE(ZFA::set(&original, ZEB_CMD_OPT_RAW_FILE,
                         {{RF(TYPE), "348"}, {RF(BITSWAP), "1"}, {RF(RAW_FILE), "data.rbf"}, {RF(ID), "r"}}));
    const PARAMS description = ZFA::get(&original, ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r"}});
    EXPECT_EQ(description, (PARAMS{{RF(ID), "r"}, {RF(RAW_FILE), "data.rbf"}, {RF(BITSWAP), "1"}, {RF(TYPE), "348"}}));
    PGM_COMMON_XML_ZEB_ZEB copy;
    ASSERT_TRUE(ZFA::set(&copy, ZEB_CMD_OPT_RAW_FILE, description));
    EXPECT_EQ(text_of(&copy), text_of(&original));
    EXPECT_TRUE(ZFA::get(&original, ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "R"}}).empty());
    EXPECT_TRUE(ZFA::get(&original, ZEB_CMD_OPT_RAW_FILE, {{RF(RAW_FILE), "data.rbf"}}).empty());
    EXPECT_TRUE(ZFA::get(&copy, ZEB_CMD_OPT_RAW_FILE, {}).empty());
}

// A document of every element kind built through set is one that the schema accepts; reading and
// writing documents back is proven on the examples.
TEST(ZebAssistantDocument, EveryKindBuiltThroughSetSavesValid)
{
    PGM_COMMON_XML_ZEB_ZEB document;
    const auto set = [&](PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, const PARAMS& list)
    { ASSERT_TRUE(ZFA::set(&document, opt, list)); };
    set(ZEB_CMD_OPT_SETTINGS, {{ZEB_CMD_PARAM_SETTINGS_MODE, "343"}, {ZEB_CMD_PARAM_SETTINGS_CUSTOM_DB_DIR, "db"}});
    set(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r1"}, {RF(RAW_FILE), "data.hex"}, {RF(TYPE), "286"}});
    set(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b"}, {BS(PATH), "design.sof"}, {BS(PATH_SECURITY_OPT_NO_JTAG), "106"}});
    set(ZEB_CMD_OPT_FLASH_LOADER, {{ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER, "7TR440PA3R1"}});
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(TYPE), "VQ256A"}, {FD(PARTITION_ID), "P1"}});
    set(ZEB_CMD_OPT_FLASH_DEVICE,
        {{FD(ID), "fd"}, {FD(MBR_ID), "m"}, {FD(MBR_TYPE), "DOS"}, {FD(MBR_E_ADDR), "0xFFFF"}});
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(MBR_ID), "m"}, {FD(MBR_PARTITION_ID), "M1"}});
    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "P1"}, {AS(BITSTREAM_ID), "b"}});
    set(ZEB_CMD_OPT_ASSIGNMENT,
        {{AS(PARTITION_ID), "M1"}, {AS(RAW_FILE_ID), "r1"}, {AS(RAW_FILE_ID_ADDR_MODE), "406"}});
    set(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "350"}, {OF(NAME), "image"}, {OF(DIRECTORY), "out"}});
    set(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "350"}, {OF(FLASH_DEVICE_ID), "fd"}, {OF(BITSTREAM_ID), "b"}});
    set(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "350"}, {OF(SECONDARY_FILE_TYPE), "360"}, {OF(SECONDARY_FILE_NAME), "m"}});
    for (uint32_t kind = PGM_COMMON_XML_ENUM_ZEB_RAW_FILES; kind <= PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE_ID; ++kind)
        EXPECT_GT(document.get_child_count(static_cast<PGM_COMMON_XML_ENUM>(kind), true), 0u) << kind;
    for (PGM_COMMON_XML_ENUM kind : {PGM_COMMON_XML_ENUM_ZEB_SETTINGS, PGM_COMMON_XML_ENUM_ZEB_BITSTREAM})
        EXPECT_GT(document.get_child_count(kind, true), 0u) << kind;

    corvane_test::SCRATCH_DIR dir;
    MSG_CAPTURE_SINK sink;
    ASSERT_TRUE(ZEB_UTIL::save(&document, dir.file("first.zeb")));
    std::string error;
    std::string detail;
    EXPECT_TRUE(PGM_COMMON_XML::check_xsd(dir.file("first.zeb"), ZEB_UTIL::get_xsd_file(), error, detail)) << detail;
}
