// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT setters and removers: find-or-create by key, update in place, list order,
// unknown parameters and where each kind of parameter lands; every partial form of removal, the
// removal of emptied containers, removing what is not there, the output-file reference sweeps and
// the renaming of a partition.
#include "test_zeb_file_assistant_support.h"

#include <vector>

using namespace assistant_test;

namespace
{

// One document per test, on which `set` expects its list to be taken.
class ZebAssistantEdit : public ::testing::Test
{
protected:
    void set(PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, const PARAMS& list) { ASSERT_TRUE(ZFA::set(&document, opt, list)); }
    bool remove(PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, const PARAMS& list) { return ZFA::remove(&document, opt, list); }
    uint32_t count(PGM_COMMON_XML_ENUM kind) const { return document.get_child_count(kind, true); }

    PGM_COMMON_XML_ZEB_ZEB document;
    MSG_CAPTURE_SINK sink;
};
using ZebAssistantSet = ZebAssistantEdit;
using ZebAssistantRemove = ZebAssistantEdit;

} // namespace

TEST_F(ZebAssistantSet, RawFileIsFoundByItsExactIdAndUpdatedInPlace)
{
    set(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r1"}, {RF(RAW_FILE), "a.hex"}, {RF(TYPE), "286"}, {RF(BITSWAP), "on"}});
    set(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r2"}});
    set(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "R1"}});
    set(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r1"}, {RF(RAW_FILE), "b.hex"}});
    EXPECT_EQ(ZFA::get_raw_file_ids(&document), (std::vector<std::string>{"r1", "r2", "R1"}));
    const PGM_COMMON_XML_ZEB_RAW_FILE* raw_file = ZFA::get_raw_file_element(&document, "r1");
    EXPECT_EQ(raw_file->get_text(), "b.hex");
    EXPECT_EQ(raw_file->get_type(), PGM_COMMON_XML_ENUM_HEX); // not in the second list: kept
    EXPECT_TRUE(raw_file->get_bitswap());
    EXPECT_TRUE(sink.debug_lines().empty());
}

TEST_F(ZebAssistantSet, ForeignPairsAndRefusedValuesAreReportedButTheRestApplied)
{
    EXPECT_FALSE(ZFA::set(&document, ZEB_CMD_OPT_RAW_FILE,
                          {{RF(ID), "r"}, {ZEB_CMD_PARAM_SETTINGS_MODE, "343"}, {RF(RAW_FILE), "data.rbf"}}));
    EXPECT_EQ(ZFA::get_raw_file_element(&document, "r")->get_text(), "data.rbf");
    EXPECT_FALSE(
        ZFA::set(&document, ZEB_CMD_OPT_SETTINGS,
                 {{ZEB_CMD_PARAM_SETTINGS_MODE, "343"}, {RF(ID), "r"}, {ZEB_CMD_PARAM_SETTINGS_CUSTOM_DB_DIR, "/db"}}));
    EXPECT_EQ(sink.debug_lines(), (std::vector<std::string>{"Set raw file - unrecogized param enum 13",
                                                            "Set settings - unrecognized param 4"}));
    EXPECT_EQ(text_of(document.get_settings_list().front()), "<settings custom_db_dir=\"/db\" mode=\"ASX4\"/>");

    // The other setters pass over pairs of other kinds silently.
    sink.clear();
    set(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b"}, {RF(TYPE), "3"}});
    set(ZEB_CMD_OPT_FLASH_LOADER, {{ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER, "X"}, {OF(NAME), "n"}});
    EXPECT_TRUE(sink.debug_lines().empty());
    // A value that the attribute refuses is logged and left out: hexadecimal reads as 0, no mode.
    set(ZEB_CMD_OPT_SETTINGS, {{ZEB_CMD_PARAM_SETTINGS_MODE, "0x157"}});
    EXPECT_EQ(document.get_settings_list().front()->get_mode(), PGM_COMMON_XML_ENUM_ASX4);
    EXPECT_EQ(sink.debug_lines(),
              std::vector<std::string>{"Value \"0x157\" does not fit attribute \"mode\" of settings"});
}

TEST_F(ZebAssistantSet, AssignmentKeepsBothReferencesAndIgnoresOrphanOptions)
{
    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "P1"},
                                 {AS(RAW_FILE_ID), "r"},
                                 {AS(RAW_FILE_ID_ADDR_MODE), "405"},
                                 {AS(RAW_FILE_ID_ADDR_OFFSET), "0x100"},
                                 {AS(PAGE), "2"}});
    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "P1"},
                                 {AS(BITSTREAM_ID_SECTION), "373"},
                                 {AS(BITSTREAM_ID), "b"},
                                 {AS(RAW_FILE_ID_ADDR_MODE), "406"}});
    ASSERT_EQ(ZFA::get_assignment_elements(&document).size(), 1u);
    EXPECT_EQ(ZFA::get_assignment_element(&document, "P1")->get_page(), 2u);
    const PGM_COMMON_XML_ZEB_RAW_FILE_ID* raw_file_id = ZFA::get_raw_file_id_element(&document, "P1");
    const PGM_COMMON_XML_ZEB_BITSTREAM_ID* bitstream_id = ZFA::get_bitstream_id_element(&document, "P1");
    ASSERT_TRUE(raw_file_id && bitstream_id);
    EXPECT_EQ(raw_file_id->get_text(), "r");
    EXPECT_EQ(raw_file_id->get_addr_mode(), PGM_COMMON_XML_ENUM_ABS); // no raw file id in the second list
    EXPECT_EQ(raw_file_id->get_addr_offset(), "0x100");
    EXPECT_EQ(bitstream_id->get_text(), "b");
    EXPECT_EQ(bitstream_id->get_section(), PGM_COMMON_XML_ENUM_HPS);
}

TEST_F(ZebAssistantSet, OutputFileIsKeyedByTypeAndCollectsReferences)
{
    set(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "350"}});
    PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file = ZFA::get_output_file_element(&document, ZEB_FILE_TYPE_JIC);
    ASSERT_TRUE(output_file);
    // Options are made even when the list names none.
    ASSERT_TRUE(ZFA::get_file_options_element(output_file));
    EXPECT_EQ(text_of(ZFA::get_file_options_element(output_file)), "<file_options/>");

    set(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "350"},
                                  {OF(NAME), "first"},
                                  {OF(DIRECTORY), "out"},
                                  {OF(FLASH_DEVICE_ID), "f1"},
                                  {OF(BITSTREAM_ID_SECTION), "373"},
                                  {OF(FILE_OPTIONS_S_ADDR), "0x10"},
                                  {OF(FILE_OPTIONS_OPERATION), "384"}});
    set(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "350"},
                                  {OF(NAME), "second"},
                                  {OF(FLASH_DEVICE_ID), "f2"},
                                  {OF(FLASH_DEVICE_ID), "f1"},
                                  {OF(BITSTREAM_ID), "b"},
                                  {OF(BITSTREAM_ID_SECTION), "373"}});
    ASSERT_EQ(ZFA::get_output_file_elements(&document).size(), 1u);
    EXPECT_EQ(output_file->get_name(), "second");
    EXPECT_EQ(output_file->get_directory(), "out");
    ASSERT_EQ(output_file->get_flash_device_id_list().size(), 1u); // the last id, already present
    ASSERT_EQ(output_file->get_bitstream_id_list().size(), 1u);    // the section alone made none
    EXPECT_EQ(ZFA::get_bitstream_id_element(output_file, "b")->get_section(), PGM_COMMON_XML_ENUM_HPS);
    // A secondary file is keyed by its type and has options of its own.
    for (const char* name : {"m1", "m2"})
        set(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "350"},
                                      {OF(FLASH_DEVICE_ID), "f2"},
                                      {OF(SECONDARY_FILE_TYPE), "360"},
                                      {OF(SECONDARY_FILE_NAME), name},
                                      {OF(SECONDARY_FILE_FILE_OPTIONS_VOLTAGE), "378"}});
    EXPECT_EQ(output_file->get_flash_device_id_list().size(), 2u);
    const PGM_COMMON_XML_ZEB_FILE_OPTIONS* options = ZFA::get_file_options_element(output_file);
    EXPECT_EQ(options->get_s_addr(), "0x10");
    EXPECT_EQ(options->get_operation(), PGM_COMMON_XML_ENUM_PB);
    EXPECT_NE(options->get_voltage(), PGM_COMMON_XML_ENUM_1_8V); // the secondary file's own
    const auto secondaries = ZFA::get_secondary_file_elements(output_file);
    ASSERT_EQ(secondaries.size(), 1u);
    EXPECT_EQ(secondaries[0]->get_type(), PGM_COMMON_XML_ENUM_MAP);
    EXPECT_EQ(secondaries[0]->get_name(), "m2");
    EXPECT_EQ(ZFA::get_file_options_element(secondaries[0])->get_voltage(), PGM_COMMON_XML_ENUM_1_8V);
    EXPECT_EQ(ZFA::get_output_file_element(&document, ZEB_FILE_TYPE_POF), nullptr);
}

TEST_F(ZebAssistantSet, FlashDeviceCarriesOnePartitionMbrAndMbrPartitionPerCall)
{
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(TYPE), "VQ256A"}, {FD(PARTITION_ID), "P1"}});
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(PARTITION_S_ADDR), "0x00010000"}}); // no partition
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(PARTITION_ID), "P1"}, {FD(PARTITION_SIZE), "4096"}});
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(PARTITION_ID), "P1"}, {FD(PARTITION_SIZE), "8192"}});
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"},
                                   {FD(PARTITION_ID), "P2"},
                                   {FD(MBR_ID), "m"},
                                   {FD(MBR_TYPE), "GPT"},
                                   {FD(MBR_PARTITION_ID), "P2"},
                                   {FD(MBR_PARTITION_SIZE), "16"}});
    // An MBR partition is only reached through its MBR.
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(MBR_PARTITION_ID), "lost"}});

    EXPECT_EQ(ZFA::get_flash_device_element(&document, "fd")->get_type(), "VQ256A");
    ASSERT_EQ(ZFA::get_partition_elements(&document, "fd").size(), 2u);
    const PGM_COMMON_XML_ZEB_PARTITION* partition = ZFA::get_partition_element(&document, "fd", "P1");
    EXPECT_EQ(partition->get_size(), 8192u);
    EXPECT_EQ(partition->get_s_addr(), ""); // the address without a partition went nowhere
    const auto mbr_partitions = ZFA::get_mbr_partition_elements(&document, "fd", "m");
    ASSERT_EQ(mbr_partitions.size(), 1u);
    EXPECT_EQ(mbr_partitions[0]->get_size(), 16u);
    EXPECT_EQ(ZFA::get_partition_element(&document, "fd", "P2")->get_size(), 0u);
    EXPECT_EQ(ZFA::get_mbr_elements(&document, "fd")[0]->get_type(), "GPT");
}

TEST_F(ZebAssistantSet, BitstreamOptionsLiveOnEachPath)
{
    set(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b"}, {BS(PATH_COMPRESSION), "on"}, {BS(PATH_KEY1), "k"}});
    EXPECT_EQ(ZFA::get_bitstream_ids(&document), std::vector<std::string>{"b"});
    EXPECT_TRUE(ZFA::get_path_elements(&document).empty()); // no path, so no option either

    set(ZEB_CMD_OPT_BITSTREAM,
        {{BS(ID), "b"}, {BS(PATH), "one.sof"}, {BS(PATH_COMPRESSION), "on"}, {BS(PATH_SECURITY_OPT_NO_JTAG), "106"}});
    set(ZEB_CMD_OPT_BITSTREAM,
        {{BS(ID), "b"}, {BS(PATH), "two.sof"}, {BS(PATH_COMPRESSION), "On"}, {BS(PATH_SECURITY_OPT_NO_JTAG), "2"}});
    ASSERT_EQ(ZFA::get_path_elements(&document, "b").size(), 2u);
    const PGM_COMMON_XML_ZEB_PATH* one = ZFA::get_path_element(&document, "b", "one.sof");
    const PGM_COMMON_XML_ZEB_PATH* two = ZFA::get_path_element(&document, "b", "two.sof");
    EXPECT_TRUE(one->get_compression());
    EXPECT_FALSE(two->get_compression());
    EXPECT_EQ(one->get_security_opt_no_jtag(), PGM_COMMON_XML_ENUM_2);
    // The enumeration value 2 is no name of the list: the option keeps its default.
    EXPECT_EQ(two->get_security_opt_no_jtag(), PGM_COMMON_XML_ENUM_0);
    EXPECT_EQ(one->get_key1(), "");
}

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
    EXPECT_TRUE(remove(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(PARTITION_ID), "p1"}}));
    EXPECT_EQ(ZFA::get_partition_elements(&document, "fd").size(), 1u);
    EXPECT_EQ(ZFA::get_mbr_partition_elements(&document, "fd", "m").size(), 2u);
    EXPECT_TRUE(remove(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(MBR_PARTITION_ID), "p1"}})); // no MBR named
    EXPECT_EQ(ZFA::get_mbr_partition_elements(&document, "fd", "m").size(), 2u);
    EXPECT_TRUE(remove(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(MBR_ID), "m"}, {FD(MBR_PARTITION_ID), "p1"}}));
    EXPECT_EQ(ZFA::get_mbr_partition_elements(&document, "fd", "m").size(), 1u);
    EXPECT_TRUE(remove(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(MBR_ID), "m"}}));
    EXPECT_TRUE(ZFA::get_mbr_elements(&document, "fd").empty());
    EXPECT_EQ(ZFA::get_partition_elements(&document, "fd").size(), 1u);

    // The container stays while either a device or the flash loader is left.
    EXPECT_TRUE(remove(ZEB_CMD_OPT_FLASH_LOADER, {{ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER, "other"}}));
    EXPECT_TRUE(remove(ZEB_CMD_OPT_FLASH_LOADER, {{ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER, "loader"}}));
    EXPECT_TRUE(ZFA::get_flash_loader_elements(&document).empty());
    EXPECT_EQ(ZFA::get_flash_device_ids(&document), std::vector<std::string>{"fd"});
    set(ZEB_CMD_OPT_FLASH_LOADER, {{ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER, "loader"}});
    EXPECT_TRUE(remove(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}}));
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
    EXPECT_TRUE(ZFA::modify_partition_id(&document, "fd", "old", "new"));
    EXPECT_NE(ZFA::get_partition_element(&document, "fd", "new"), nullptr);
    EXPECT_EQ(ZFA::get_partition_element(&document, "fd", "old"), nullptr);
    EXPECT_NE(ZFA::get_assignment_element(&document, "old"), nullptr);
    EXPECT_TRUE(sink.debug_lines().empty());
    EXPECT_FALSE(ZFA::modify_partition_id(&document, "other", "new", "x"));
    EXPECT_EQ(sink.debug_lines(), std::vector<std::string>{"Modify partition id - partition not found"});
}
