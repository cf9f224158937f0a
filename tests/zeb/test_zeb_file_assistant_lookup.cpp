// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT queries: first-container rule, exact ids, null results and the derived queries.
#include "test_zeb_file_assistant_support.h"

#include <vector>

using namespace assistant_test;

namespace
{

class ZebAssistantLookup : public ::testing::Test
{
protected:
    void set(PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, const PARAMS& list) { ASSERT_TRUE(ZFA::set(&document, opt, list)); }

    // Adds an element of `kind` with an "id" behind the setters' back, for shapes they never make.
    static PGM_COMMON_XML_ELEMENT* add(PGM_COMMON_XML_ELEMENT* parent, PGM_COMMON_XML_ENUM kind, const char* id)
    {
        PGM_COMMON_XML_ELEMENT* element = pgm_common_xml_zeb_create_element(kind);
        EXPECT_TRUE(PGM_COMMON_XML_ELEMENT::add_child(parent, element));
        if (id)
            element->write_attribute_string("id", id);
        return element;
    }

    PGM_COMMON_XML_ZEB_ZEB document;
};

} // namespace

TEST_F(ZebAssistantLookup, OnlyTheFirstContainerOfAKindCounts)
{
    EXPECT_TRUE(ZFA::get_raw_file_elements(&document).empty());
    EXPECT_TRUE(ZFA::get_assignment_elements(&document).empty());
    EXPECT_TRUE(ZFA::get_flash_loader_elements(&document).empty());
    EXPECT_TRUE(ZFA::get_output_file_elements(&document).empty());
    EXPECT_TRUE(ZFA::get_path_elements(&document, "b1").empty());
    EXPECT_FALSE(ZFA::get_input_file_exists(&document));
    // Settings queries need settings, and leave their results alone without.
    PGMIO_CONFIG_SCHEME scheme = PGMIO_CONFIG_SCHEME_PS_X2;
    std::string directory = "kept";
    EXPECT_FALSE(ZFA::get_config_mode(&document, scheme) || ZFA::get_custom_db_dir(&document, directory));
    EXPECT_TRUE(scheme == PGMIO_CONFIG_SCHEME_PS_X2 && directory == "kept");
    set(ZEB_CMD_OPT_SETTINGS, {{ZEB_CMD_PARAM_SETTINGS_CUSTOM_DB_DIR, "/db"}});
    ASSERT_TRUE(ZFA::get_config_mode(&document, scheme));
    EXPECT_EQ(scheme, PGMIO_CONFIG_SCHEME_ILLEGAL); // no mode yet

    set(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b1"}, {BS(PATH), "a.sof"}});
    PGM_COMMON_XML_ELEMENT* second = add(&document, PGM_COMMON_XML_ENUM_ZEB_BITSTREAMS, nullptr);
    add(second, PGM_COMMON_XML_ENUM_ZEB_BITSTREAM, "b2");
    EXPECT_EQ(ZFA::get_bitstream_ids(&document), std::vector<std::string>{"b1"});
    EXPECT_EQ(ZFA::get_bitstream_element(&document, "b2"), nullptr);
    // A setter adds to the first container too.
    set(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b2"}});
    EXPECT_EQ(ZFA::get_bitstream_ids(&document), (std::vector<std::string>{"b1", "b2"}));
    EXPECT_EQ(second->get_child_count(PGM_COMMON_XML_ENUM_ZEB_BITSTREAM, false), 1u);
}

TEST_F(ZebAssistantLookup, IdsCompareByteForByteAndTheFirstMatchWins)
{
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(TYPE), "a"}});
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "FD"}, {FD(TYPE), "b"}});
    EXPECT_EQ(ZFA::get_flash_device_element(&document, "fd")->get_type(), "a");
    EXPECT_EQ(ZFA::get_flash_device_element(&document, "FD")->get_type(), "b");
    for (const char* near : {"fd ", " fd", "f", "fdx", ""})
        EXPECT_EQ(ZFA::get_flash_device_element(&document, near), nullptr) << near;
    EXPECT_EQ(ZFA::get_flash_device_element(&document, std::string("fd\0", 3)), nullptr);

    set(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r"}, {RF(RAW_FILE), "first.hex"}});
    add(document.get_raw_files_list().front(), PGM_COMMON_XML_ENUM_ZEB_RAW_FILE, "r")->write_string("second.hex");
    EXPECT_EQ(ZFA::get_raw_file_element(&document, "r")->get_text(), "first.hex");

    // Across devices the first device that has the partition answers.
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "FD"}, {FD(PARTITION_ID), "P"}});
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(PARTITION_ID), "P"}});
    EXPECT_EQ(ZFA::get_partition_element(&document, "P"), ZFA::get_partition_element(&document, "fd", "P"));
    EXPECT_EQ(ZFA::get_partition_element(&document, "nope"), nullptr);
    EXPECT_EQ(ZFA::get_partition_element(&document, "nope", "P"), nullptr);
    EXPECT_TRUE(ZFA::get_mbr_partition_elements(&document, "fd", "m").empty());
}

TEST_F(ZebAssistantLookup, OutputFilesByTypeWithPathsAndFilteredTypes)
{
    set(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "350"}, {OF(NAME), "image"}, {OF(DIRECTORY), "/tmp/out"}});
    set(ZEB_CMD_OPT_OUTPUT_FILE, {{OF(TYPE), "348"}, {OF(NAME), "raw"}, {OF(DIRECTORY), "/tmp/out"}});
    // A second output file of one type, which the setter never makes, hides behind the first.
    add(document.get_output_files_list().front(), PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILE, nullptr)
        ->write_attribute_enum("type", PGM_COMMON_XML_ENUM_JIC);
    EXPECT_EQ(ZFA::get_output_file_element(&document, ZEB_FILE_TYPE_JIC)->get_name(), "image");
    EXPECT_EQ(ZFA::get_output_file_element(&document, ZEB_FILE_TYPE_POF), nullptr);

    const std::vector<FIO_PATH> paths = ZFA::get_output_file_path(&document);
    ASSERT_EQ(paths.size(), 3u);
    EXPECT_EQ(paths[0].get_full_path(), "/tmp/out/image.jic");
    EXPECT_EQ(paths[1].get_full_path(), "/tmp/out/raw.rbf");
    EXPECT_EQ(ZFA::get_output_file_types(&document),
              (std::vector<ZEB_FILE_TYPE>{ZEB_FILE_TYPE_JIC, ZEB_FILE_TYPE_RBF, ZEB_FILE_TYPE_JIC}));
    EXPECT_EQ(ZFA::get_output_file_types(&document, true),
              (std::vector<ZEB_FILE_TYPE>{ZEB_FILE_TYPE_JIC, ZEB_FILE_TYPE_JIC}));
    EXPECT_EQ(ZFA::get_output_file_types(&document, false), std::vector<ZEB_FILE_TYPE>{ZEB_FILE_TYPE_RBF});
}

TEST_F(ZebAssistantLookup, InputFilesOfTheDocumentAndOfAnAssignment)
{
    set(ZEB_CMD_OPT_RAW_FILE, {{RF(ID), "r"}, {RF(RAW_FILE), "/in/data.hex"}});
    EXPECT_TRUE(ZFA::get_input_file_exists(&document));
    EXPECT_TRUE(ZFA::get_input_file_path(&document).empty()); // raw files are no bitstream input
    set(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b"}, {BS(PATH), "/in/one.sof"}});
    set(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "b"}, {BS(PATH), "/in/two.sof"}});
    set(ZEB_CMD_OPT_BITSTREAM, {{BS(ID), "r"}, {BS(PATH), "/in/r.sof"}});
    const std::vector<FIO_PATH> inputs = ZFA::get_input_file_path(&document);
    ASSERT_EQ(inputs.size(), 3u);
    EXPECT_EQ(inputs[1].get_full_path(), "/in/two.sof");
    EXPECT_EQ(ZFA::get_input_file_type(&document, "b"), PGM_COMMON_XML_ENUM_ZEB_BITSTREAM);
    EXPECT_EQ(ZFA::get_input_file_type(&document, "r"), PGM_COMMON_XML_ENUM_ZEB_BITSTREAM); // bitstreams first
    EXPECT_EQ(ZFA::get_input_file_type(&document, "x"), PGM_COMMON_XML_ENUM__INVALID__);

    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "A"}, {AS(BITSTREAM_ID), "b"}});
    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "B"}, {AS(RAW_FILE_ID), "r"}});
    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "C"}, {AS(BITSTREAM_ID), "x"}, {AS(RAW_FILE_ID), "r"}});
    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "D"}});
    const auto input_of = [&](const char* partition_id) {
        return ZFA::get_input_file_path(&document, ZFA::get_assignment_element(&document, partition_id))
            .get_full_path();
    };
    EXPECT_EQ(input_of("A"), "/in/one.sof");
    EXPECT_EQ(input_of("B"), "/in/data.hex");
    EXPECT_EQ(input_of("C"), ""); // the bitstream reference decides, and names nothing
    EXPECT_EQ(input_of("D"), "");
}

TEST_F(ZebAssistantLookup, PartitionIdsOfAnInputComeFromTheAssignments)
{
    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "p1"}, {AS(BITSTREAM_ID), "b1"}});
    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "p2"}, {AS(RAW_FILE_ID), "r1"}});
    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "p3"}, {AS(BITSTREAM_ID), "b1"}});
    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "p4"}, {AS(BITSTREAM_ID), "b2"}, {AS(RAW_FILE_ID), "r1"}});
    // A reference without text is never asked for.
    set(ZEB_CMD_OPT_ASSIGNMENT, {{AS(PARTITION_ID), "p5"}, {AS(BITSTREAM_ID), ""}, {AS(RAW_FILE_ID), ""}});
    using IDS = std::vector<std::string>;
    EXPECT_EQ(ZFA::get_partition_ids(&document, "b1", ""), (IDS{"p1", "p3"}));
    EXPECT_EQ(ZFA::get_partition_ids(&document, "", "r1"), (IDS{"p2", "p4"}));
    EXPECT_EQ(ZFA::get_partition_ids(&document, "b1", "r1"), (IDS{"p1", "p2", "p3", "p4"}));
    EXPECT_EQ(ZFA::get_partition_ids(&document, "r1", "b1"), IDS{}); // each string names its own kind
    EXPECT_EQ(ZFA::get_partition_ids(&document, "", ""), IDS{});
    EXPECT_EQ(ZFA::get_partition_ids(&document, "B1", ""), IDS{});
}

TEST_F(ZebAssistantLookup, InternalConfigurationOptionsComeFromTheFlashDevice)
{
    DSET_ZB_DEV_OPTIONS_INFO options{};
    options.chip_select = 99;
    EXPECT_FALSE(ZFA::get_internal_configuration_options(&document, options, "fd"));
    EXPECT_EQ(options.chip_select, 99u);

    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(UFM_SOURCE), "1"}, {FD(CHIP_SELECT), "2"}});
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(POWER_ON_SCHEME), "1"}, {FD(WATCHDOG_VALUE), "100"}});
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(DISABLE_TEST), "0"}, {FD(ENABLE_JTAG_SECURITY), "1"}});
    ASSERT_TRUE(ZFA::get_internal_configuration_options(&document, options, "fd"));
    EXPECT_EQ(options.ufm_source, 1u);
    EXPECT_TRUE(options.chip_select == 2u && options.programming_chip_select == 2u && options.power_on_scheme == 1u);
    EXPECT_TRUE(options.watchdog_enabled && options.watchdog_value == 100u);
    EXPECT_FALSE(options.fallback_address_enabled || options.fallback_address != 0u);
    EXPECT_TRUE(options.enable_test && options.enable_jtag_security);
    // The device's defaults pass through.
    EXPECT_TRUE(options.force_ssmclk_to_use_ismclk && options.enable_user_ios_weak_pullup);

    // A content file wins over the selected source; a watchdog without value does not run.
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(UFM_SOURCE_FILE), "ufm.hex"}, {FD(WATCHDOG_VALUE), ""}});
    set(ZEB_CMD_OPT_FLASH_DEVICE, {{FD(ID), "fd"}, {FD(FALLBACK_ADDRESS), "4096"}, {FD(DISABLE_TEST), "1"}});
    ASSERT_TRUE(ZFA::get_internal_configuration_options(&document, options, "fd"));
    EXPECT_EQ(options.ufm_source, DSET_ZB_UFM_SOURCE_FILE);
    EXPECT_EQ(options.ufm_source_file, "ufm.hex");
    EXPECT_FALSE(options.watchdog_enabled || options.watchdog_value != 0u);
    EXPECT_TRUE(options.fallback_address_enabled && options.fallback_address == 4096u);
    EXPECT_FALSE(options.enable_test);
}
