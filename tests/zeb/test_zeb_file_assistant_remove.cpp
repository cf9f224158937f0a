// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT removers: every partial form, the removal of emptied containers, removing
// what is not there, the output-file reference sweeps and the renaming of a partition.
#include "test_zeb_file_assistant_support.h"

#include <vector>

using namespace assistant_test;

namespace
{

class ZebAssistantRemove : public ::testing::Test
{
protected:
    void set(PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, const PARAMS& list) { ASSERT_TRUE(ZFA::set(&document, opt, list)); }
    bool remove(PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, const PARAMS& list) { return ZFA::remove(&document, opt, list); }
    uint32_t count(PGM_COMMON_XML_ENUM kind) const { return document.get_child_count(kind, true); }

    PGM_COMMON_XML_ZEB_ZEB document;
};

} // namespace

TEST_F(ZebAssistantRemove, TheLastChildTakesItsContainerAlong)
{
    set(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r1"}, {RF(RAW_FILE), "a.hex"}});
    set(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r2"}});
    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "p"}, {AS(RAW_FILE_ID), "r1"}});
    const std::string before = text_of(&document);
    EXPECT_TRUE(remove(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "R1"}})); // nothing of that id
    EXPECT_EQ(text_of(&document), before);

    EXPECT_TRUE(remove(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r1"}}));
    EXPECT_EQ(ZFA::get_raw_file_ids(&document), std::vector<std::string>{"r2"});
    EXPECT_TRUE(remove(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r2"}}));
    EXPECT_EQ(count(PGM_COMMON_XML_ENUM_ZEB_RAW_FILES), 0u);
    EXPECT_TRUE(remove(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r2"}})); // no container at all
    set(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r3"}});
    EXPECT_EQ(ZFA::get_raw_file_ids(&document), std::vector<std::string>{"r3"});

    EXPECT_TRUE(remove(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "p"}}));
    EXPECT_EQ(count(PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENTS), 0u);
    EXPECT_EQ(count(PGM_COMMON_XML_ENUM_ZEB_RAW_FILE_ID), 0u);
}

TEST_F(ZebAssistantRemove, BitstreamByPathHpsPathOrWhole)
{
    for (const char* path : {"one.sof", "two.sof"})
        set(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b"}, {BS(PATH), path}, {BS(PATH_HPS_PATH), "hps.hex"}});
    set(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "c"}, {BS(PATH), "c.sof"}});
    const auto hps_of = [&](const char* path) { return ZFA::get_path_element(&document, "b", path)->get_hps_path(); };

    EXPECT_TRUE(remove(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b"}, {BS(PATH), "one.sof"}, {BS(PATH_HPS_PATH), "hps.hex"}}));
    EXPECT_EQ(hps_of("one.sof"), "");
    EXPECT_EQ(hps_of("two.sof"), "hps.hex");
    EXPECT_TRUE(remove(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b"}, {BS(PATH_HPS_PATH), ""}}));
    EXPECT_EQ(hps_of("two.sof"), "");
    EXPECT_EQ(ZFA::get_path_elements(&document, "b").size(), 2u);

    EXPECT_TRUE(remove(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b"}, {BS(PATH), "one.sof"}}));
    EXPECT_EQ(ZFA::get_path_elements(&document, "b").size(), 1u);
    EXPECT_TRUE(remove(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b"}, {BS(PATH), "nope"}}));
    EXPECT_TRUE(remove(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b"}, {BS(PATH), "two.sof"}}));
    EXPECT_EQ(ZFA::get_bitstream_ids(&document), std::vector<std::string>{"c"}); // gone with its last path
    EXPECT_TRUE(remove(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b"}}));
    EXPECT_TRUE(remove(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "c"}, {BS(PATH), "c.sof"}}));
    EXPECT_EQ(count(PGM_COMMON_XML_ENUM_ZEB_BITSTREAMS), 0u);
}

TEST_F(ZebAssistantRemove, FlashDeviceByPartitionMbrPartitionMbrOrWhole)
{
    set(ZEB_CMD_OPT_FLASH_LOADER, {{ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER, "loader"}});
    for (const char* partition : {"p1", "p2"})
        set(ZEB_CMD_OPT_FLASH_DEVICE,
            {{FD(ID), "fd"}, {FD(PARTITION_ID), partition}, {FD(MBR_ID), "m"}, {FD(MBR_PARTITION_ID), partition}});
    const auto remove_from_fd = [&](const PARAMS& extra)
    {
        PARAMS list = {{FD(ID), "fd"}};
        list.insert(list.end(), extra.begin(), extra.end());
        return remove(ZEB_CMD_OPT_FLASH_DEVICE, list);
    };
    EXPECT_TRUE(remove_from_fd({{FD(PARTITION_ID), "p1"}}));
    EXPECT_EQ(ZFA::get_partition_elements(&document, "fd").size(), 1u);
    EXPECT_EQ(ZFA::get_mbr_partition_elements(&document, "fd", "m").size(), 2u);
    EXPECT_TRUE(remove_from_fd({{FD(MBR_PARTITION_ID), "p1"}})); // no MBR named
    EXPECT_EQ(ZFA::get_mbr_partition_elements(&document, "fd", "m").size(), 2u);
    EXPECT_TRUE(remove_from_fd({{FD(MBR_ID), "m"}, {FD(MBR_PARTITION_ID), "p1"}}));
    EXPECT_EQ(ZFA::get_mbr_partition_elements(&document, "fd", "m").size(), 1u);
    EXPECT_TRUE(remove_from_fd({{FD(MBR_ID), "m"}}));
    EXPECT_TRUE(ZFA::get_mbr_elements(&document, "fd").empty());
    EXPECT_EQ(ZFA::get_partition_elements(&document, "fd").size(), 1u);

    // The container stays while either a device or the flash loader is left.
    EXPECT_TRUE(remove(ZEB_CMD_OPT_FLASH_LOADER, {{ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER, "other"}}));
    EXPECT_TRUE(remove(ZEB_CMD_OPT_FLASH_LOADER, {{ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER, "loader"}}));
    EXPECT_TRUE(ZFA::get_flash_loader_elements(&document).empty());
    EXPECT_EQ(ZFA::get_flash_device_ids(&document), std::vector<std::string>{"fd"});
    set(ZEB_CMD_OPT_FLASH_LOADER, {{ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER, "loader"}});
    EXPECT_TRUE(remove_from_fd({}));
    EXPECT_TRUE(ZFA::get_flash_device_elements(&document).empty());
    EXPECT_EQ(count(PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICES), 1u);
    EXPECT_TRUE(remove(ZEB_CMD_OPT_FLASH_LOADER, {{ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER, "loader"}}));
    EXPECT_EQ(count(PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICES), 0u);
}

TEST_F(ZebAssistantRemove, OutputFileByTypeOrOneOfItsParts)
{
    for (const char* type : {"350", "351"})
        set(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), type},
                                      {OF(FLASH_DEVICE_ID), "f1"},
                                      {OF(BITSTREAM_ID), "b1"},
                                      {OF(SECONDARY_FILE_TYPE), "360"}});
    set(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "350"}, {OF(FLASH_DEVICE_ID), "f2"}});
    PGM_COMMON_XML_ZEB_OUTPUT_FILE* jic = ZFA::get_output_file_element(&document, ZEB_FILE_TYPE_JIC);
    PGM_COMMON_XML_ZEB_OUTPUT_FILE* pof = ZFA::get_output_file_element(&document, ZEB_FILE_TYPE_POF);
    const auto remove_from_jic = [&](PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, const char* value) {
        return remove(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "350"}, {param, value}});
    };

    EXPECT_TRUE(remove_from_jic(OF(SECONDARY_FILE_TYPE), "352"));
    EXPECT_EQ(jic->get_secondary_file_list().size(), 1u);
    EXPECT_TRUE(remove_from_jic(OF(SECONDARY_FILE_TYPE), "360"));
    EXPECT_TRUE(jic->get_secondary_file_list().empty());
    EXPECT_TRUE(remove_from_jic(OF(FLASH_DEVICE_ID), "f2"));
    EXPECT_EQ(jic->get_flash_device_id_list().size(), 1u);
    EXPECT_TRUE(remove_from_jic(OF(BITSTREAM_ID), "b1"));
    EXPECT_TRUE(jic->get_bitstream_id_list().empty());
    EXPECT_EQ(pof->get_bitstream_id_list().size(), 1u); // other output files keep theirs

    // Without a type a reference goes from every output file; the flash device one first.
    EXPECT_TRUE(remove(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(BITSTREAM_ID), "b1"}, {OF(FLASH_DEVICE_ID), "f1"}}));
    EXPECT_TRUE(jic->get_flash_device_id_list().empty());
    EXPECT_TRUE(pof->get_flash_device_id_list().empty());
    EXPECT_EQ(pof->get_bitstream_id_list().size(), 1u);
    EXPECT_TRUE(remove(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(BITSTREAM_ID), "b1"}}));
    EXPECT_TRUE(pof->get_bitstream_id_list().empty());

    EXPECT_TRUE(remove(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "348"}})); // no such output file
    EXPECT_TRUE(remove(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "350"}}));
    EXPECT_EQ(ZFA::get_output_file_types(&document), std::vector<ZEB_FILE_TYPE>{ZEB_FILE_TYPE_POF});
    EXPECT_TRUE(remove(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "351"}}));
    EXPECT_EQ(count(PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILES), 0u);
}

TEST_F(ZebAssistantRemove, RenamedPartitionLeavesItsAssignmentBehind)
{
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(PARTITION_ID), "old"}});
    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "old"}, {AS(BITSTREAM_ID), "b"}});
    MSG_CAPTURE_SINK sink;
    EXPECT_TRUE(ZFA::modify_partition_id(&document, "fd", "old", "new"));
    EXPECT_NE(ZFA::get_partition_element(&document, "fd", "new"), nullptr);
    EXPECT_EQ(ZFA::get_partition_element(&document, "fd", "old"), nullptr);
    EXPECT_NE(ZFA::get_assignment_element(&document, "old"), nullptr);
    EXPECT_TRUE(sink.debug_lines().empty());
    EXPECT_FALSE(ZFA::modify_partition_id(&document, "other", "new", "x"));
    EXPECT_EQ(sink.debug_lines(), std::vector<std::string>{"Modify partition id - partition not found"});
}
