// SPDX-License-Identifier: Apache-2.0
// Validation of flash programming documents: the flash loader, the address ranges of fixed
// partitions, the look-up of configuration flash devices (catalogue, device database and custom
// database directory) with the rules that follow it, and the reading of address texts.
#include "test_zeb_util_check_support.h"

#include "pgm/zeb/zeb_db_util.h"

#include <filesystem>
#include <stdexcept>
#include <utility>
#include <vector>

using namespace check_test;

namespace
{

const std::string k_missing_partition_hint = "Missing flash partition. Please add the partition and assign the input "
                                             "to the partition in Configuration Device tab.";
const std::string k_no_assignment = "There is no assignment for any flash partition. Please add the partition or "
                                    "assign the input file to the partition in Configuration Device tab.";
const std::string k_custom_hint = " If this is a custom-defined configuration device, ensure that you have set the "
                                  "correct custom database directory.";

// What a check of one flash device hands back.
struct FLASH_CHECK
{
    bool valid = false;
    std::string message;
    bool error = false;
};

// check_flash_devices for the device `id`, with the inputs and flash families of output `type`.
FLASH_CHECK check_device(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id, ZEB_FILE_TYPE type = ZEB_FILE_TYPE_JIC)
{
    PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID reference;
    EXPECT_TRUE(reference.write_string(id));
    FLASH_CHECK result;
    result.valid = ZEB_UTIL::check_flash_devices(object, &reference, ZEB_DB::get_input_file_type(type),
                                                 ZEB_DB::get_config_device_family(type), result.message, result.error);
    return result;
}

// An Active Serial x4 document that writes a JIC for the flash device "Flash_1" of `flash_type`,
// with one SRAM object file for 7TR440PA3R1 assigned to partition "P1" behind the boot area.
DOCUMENT make_jic_document(const SCRATCH_DIR& dir, const std::string& flash_type = "VQ64A")
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_bitstream(document.get(), "Bitstream_1", make_sof(dir, "design.sof", "7TR440PA3R1"));
    add_flash_device(document.get(), "Flash_1", flash_type);
    add_partition(document.get(), "Flash_1", "P1", "0x00040000", "auto");
    assign_bitstream(document.get(), "P1", "Bitstream_1");
    set_flash_loader(document.get(), "7TR440PA3R1");
    add_output_for_flash_device(document.get(), PGM_COMMON_XML_ENUM_JIC, "Flash_1");
    return document;
}

// A custom flash-device database file in the documented form, for one serial flash `name`.
void write_custom_database(const std::filesystem::path& directory, const std::string& name)
{
    std::filesystem::create_directories(directory);
    corvane_test::write_file((directory / "board.json").string(),
                             R"({"format": "corvane-flash-devices", "version": 1, "flash_devices": [
    {"name": ")" + name + R"(", "family": 10, "size": "0x01000000", "sector_size": "0x00010000",
     "page_size": 256, "silicon_id": "0x00AB18", "address_bytes": 3, "data_widths": [1, 4],
     "commands": {"READ_ID": "0x9F", "READ": "0x03", "PAGE_PROGRAM": "0x02", "SECTOR_ERASE": "0xD8",
                  "READ_STATUS": "0x05", "WRITE_ENABLE": "0x06"}}]})");
}

// The flash-device database's custom directory is process-wide: every test starts and ends without.
class FlashDeviceCheck : public ::testing::Test
{
protected:
    void SetUp() override { GFPDB_QSPI_MGR::set_db_custom_dir(""); }
    void TearDown() override { GFPDB_QSPI_MGR::set_db_custom_dir(""); }
};

} // namespace

// ---- Flash loader ----------------------------------------------------------------------------------

TEST(FlashLoaderCheck, NeedsTheFlashDevicesContainerAndExactlyOneLoader)
{
    std::string message;
    bool error = false;
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    EXPECT_FALSE(ZEB_UTIL::check_flash_loader(document.get(), message, error));
    EXPECT_EQ(message, "Missing configuration device setting. Please add the device into Configuration Device tab.");

    add_flash_device(document.get(), "Flash_1", "VQ64A");
    EXPECT_FALSE(ZEB_UTIL::check_flash_loader(document.get(), message, error));
    EXPECT_EQ(message, "Missing flash loader. Please assign the flash loader in Configuration Device tab.");

    set_flash_loader(document.get(), "7TR440PA3R1");
    message.clear();
    EXPECT_TRUE(ZEB_UTIL::check_flash_loader(document.get(), message, error));
    EXPECT_EQ(message, "");

    // The assistant keeps one loader; a second can only come from elsewhere, and is refused even
    // though both name good loaders.
    auto* second = new PGM_COMMON_XML_ZEB_FLASH_LOADER;
    ASSERT_TRUE(second->write_string("9RX027R1B"));
    ASSERT_TRUE(PGM_COMMON_XML_ELEMENT::add_child(document->get_flash_devices_list().front(), second));
    EXPECT_FALSE(ZEB_UTIL::check_flash_loader(document.get(), message, error));
    EXPECT_EQ(message, "Found multiple flash loaders, however only allow one.");
    EXPECT_FALSE(error);
}

TEST(FlashLoaderCheck, TheLoaderIsAnFpgaOfTheCatalogue)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    for (const char* fpga : {"7TR440PA3R1", "9RX027R1B", "5ZV066H2", "3ZT085F2"})
    {
        set_flash_loader(document.get(), fpga);
        std::string message;
        bool error = false;
        EXPECT_TRUE(ZEB_UTIL::check_flash_loader(document.get(), message, error)) << fpga << ": " << message;
    }
    // Unknown names, names in another case, and flash devices, which cannot program themselves.
    for (const char* stranger : {"7TR999XX", "7tr440pa3r1", "VQ64A", "CFI128M", ""})
    {
        set_flash_loader(document.get(), stranger);
        std::string message;
        bool error = false;
        EXPECT_FALSE(ZEB_UTIL::check_flash_loader(document.get(), message, error)) << stranger;
        EXPECT_EQ(message, std::string("Unrecognized flash loader ") + stranger);
    }
}

// ---- Partition address ranges ------------------------------------------------------------------------

namespace
{

struct RANGE
{
    const char* s_addr;
    const char* e_addr;
};

// check_partitions over partitions P0, P1, ... of one flash device, in the order given.
std::pair<bool, std::string> check_ranges(const std::vector<RANGE>& ranges)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_flash_device(document.get(), "Flash_1", "VQ256A");
    for (size_t i = 0; i < ranges.size(); ++i)
        add_partition(document.get(), "Flash_1", "P" + std::to_string(i), ranges[i].s_addr, ranges[i].e_addr);
    std::string message;
    bool error = false;
    const bool valid = ZEB_UTIL::check_partitions(document.get(), message, error);
    EXPECT_FALSE(error);
    return {valid, message};
}

struct OVERLAP_CASE
{
    const char* what;
    std::vector<RANGE> ranges;
    const char* message; // "" when the ranges pass
};

} // namespace

TEST(PartitionOverlap, RangesConflictWhenANewEndFallsInsideAnEarlierRange)
{
    const OVERLAP_CASE cases[] = {
        {"adjacent ranges", {{"0x0", "0xFFFF"}, {"0x10000", "0x1FFFF"}}, ""},
        {"the end address is inclusive",
         {{"0x0", "0xFFFF"}, {"0xFFFF", "0x1FFFF"}},
         "Flash partition address range [0000ffff-0001ffff] conflicts with range [00000000-0000ffff]"},
        {"a new end inside",
         {{"0x10000", "0x1FFFF"}, {"0x8000", "0x10000"}},
         "Flash partition address range [00008000-00010000] conflicts with range [00010000-0001ffff]"},
        {"an enclosing range after the enclosed one passes", {{"0x10000", "0x1FFFF"}, {"0x0", "0x2FFFF"}}, ""},
        {"the enclosed range after the enclosing one",
         {{"0x0", "0x2FFFF"}, {"0x10000", "0x1FFFF"}},
         "Flash partition address range [00010000-0001ffff] conflicts with range [00000000-0002ffff]"},
        {"automatic starts never conflict", {{"auto", "auto"}, {"auto", "0x10000"}, {"auto", "auto"}}, ""},
        {"an automatic start is not compared with fixed ranges", {{"0x0", "0xFFFFF"}, {"auto", "0x8000"}}, ""},
        {"an automatic end starting inside",
         {{"0x20000", "0x2FFFF"}, {"0x20000", "auto"}},
         "Flash partition address range [00020000-00000000] conflicts with range [00020000-0002ffff]"},
        {"an automatic end starting behind", {{"0x20000", "0x2FFFF"}, {"0x30000", "auto"}}, ""},
        {"a range over the start of an earlier automatic end",
         {{"0x40000", "auto"}, {"0x30000", "0x4FFFF"}},
         "Flash partition address range [00030000-0004ffff] conflicts with range [00040000-auto]"},
        {"a range ending on the start of an earlier automatic end",
         {{"0x40000", "auto"}, {"0x30000", "0x40000"}},
         "Flash partition address range [00030000-00040000] conflicts with range [00040000-auto]"},
        {"a range before an earlier automatic end", {{"0x40000", "auto"}, {"0x30000", "0x3FFFF"}}, ""},
        {"two automatic ends on the same start",
         {{"0x40000", "auto"}, {"0x40000", "auto"}},
         "Flash partition address range [00040000-00000000] conflicts with range [00040000-auto]"},
        {"an automatic end behind an earlier automatic end", {{"0x40000", "auto"}, {"0x50000", "auto"}}, ""},
        {"an automatic end before an earlier automatic end", {{"0x40000", "auto"}, {"0x30000", "auto"}}, ""},
        {"the first conflict in list order is reported",
         {{"0x0", "0xFFFF"}, {"0x10000", "0x1FFFF"}, {"0x8000", "0x18000"}},
         "Flash partition address range [00008000-00018000] conflicts with range [00000000-0000ffff]"},
        {"decimal texts are decimal",
         {{"0", "65535"}, {"0x10000", "131071"}, {"131071", "0x30000"}},
         "Flash partition address range [0001ffff-00030000] conflicts with range [00010000-0001ffff]"},
    };
    for (const OVERLAP_CASE& c : cases)
    {
        const auto [valid, message] = check_ranges(c.ranges);
        EXPECT_EQ(valid, std::string(c.message).empty()) << c.what;
        EXPECT_EQ(message, c.message) << c.what;
    }
}

TEST(PartitionOverlap, PartitionsOfEveryFlashDeviceShareOneList)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_flash_device(document.get(), "Flash_1", "VQ256A");
    add_flash_device(document.get(), "Flash_2", "VQ256A");
    add_partition(document.get(), "Flash_1", "A", "0x00000000", "0x0000FFFF");
    add_partition(document.get(), "Flash_2", "B", "0x00008000", "0x00018000");
    std::string message;
    bool error = false;
    EXPECT_FALSE(ZEB_UTIL::check_partitions(document.get(), message, error));
    EXPECT_EQ(message, "Flash partition address range [00008000-00018000] conflicts with range [00000000-0000ffff]");
}

TEST(PartitionOverlap, DocumentsWithoutFlashDevicesOrWithMbrs)
{
    std::string message;
    bool error = false;
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    EXPECT_FALSE(ZEB_UTIL::check_partitions(document.get(), message, error));
    EXPECT_EQ(message, "Missing flash partition");
    EXPECT_FALSE(error);

    add_flash_device(document.get(), "Flash_1", "VQ256A");
    EXPECT_TRUE(ZEB_UTIL::check_partitions(document.get(), message, error));
    set(document.get(), ZEB_CMD_OPT_FLASH_DEVICE,
        {{ZEB_CMD_PARAM_FLASH_DEVICE_ID, "Flash_1"}, {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_ID, "MBR_1"}});
    EXPECT_EQ(internal_error_of([&] { ZEB_UTIL::check_partitions(document.get(), message, error); }),
              "Not support mbr partition yet");
    EXPECT_EQ(internal_error_of([&] { ZEB_UTIL::check_partitions(nullptr, message, error); }), "object");
}

TEST(PartitionOverlap, AddressTextsThatAreNoNumbersRaiseTheConversionErrors)
{
    EXPECT_THROW(check_ranges({{"0x0", "0xFFFF"}, {"start", "0x1FFFF"}}), std::invalid_argument);
    EXPECT_THROW(check_ranges({{"0x0", "0x1FFFFFFFF"}}), std::out_of_range);
}

TEST(PartitionOverlap, TheListGivenMustHoldFixedStartsOnly)
{
    PGM_COMMON_XML_ZEB_PARTITION automatic;
    ASSERT_TRUE(automatic.write_attribute_string("s_addr", "auto"));
    ASSERT_TRUE(automatic.write_attribute_string("e_addr", "auto"));
    std::string message;
    EXPECT_TRUE(ZEB_UTIL::check_partition_address(0, 0, {}, message));
    EXPECT_EQ(internal_error_of([&] { ZEB_UTIL::check_partition_address(0, 0xFFFF, {&automatic}, message); }),
              "Should not have 'auto' in filtered partition list");
}

// ---- Flash device look-up and the rules that follow it -----------------------------------------------

TEST_F(FlashDeviceCheck, AValidJicDocumentPasses)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_jic_document(dir);
    const FLASH_CHECK direct = check_device(document.get(), "Flash_1");
    EXPECT_TRUE(direct.valid) << direct.message;
    const CHECK_RESULT result = run_check(document.get());
    EXPECT_TRUE(result.valid) << result.message;
}

TEST_F(FlashDeviceCheck, TheReferenceMustNameAFlashDeviceWithAType)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_jic_document(dir);
    FLASH_CHECK result = check_device(document.get(), "Flash_9");
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, "Unknown configuration device ID Flash_9.");

    add_flash_device(document.get(), "Flash_2", "");
    result = check_device(document.get(), "Flash_2");
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, "Missing configuration device setting.");

    PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID* none = nullptr;
    std::string message;
    bool error = false;
    EXPECT_EQ(internal_error_of([&] { ZEB_UTIL::check_flash_devices(document.get(), none, {}, {}, message, error); }),
              "flash_device_id");
    EXPECT_EQ(internal_error_of([&] { ZEB_UTIL::check_flash_devices(nullptr, {}, message, error); }), "object");
}

TEST_F(FlashDeviceCheck, UnknownTypesAndTypesOfOtherFamilies)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_jic_document(dir, "VQ64Z");
    FLASH_CHECK result = check_device(document.get(), "Flash_1");
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, "Unrecognized configuration device VQ64Z.");

    // Known devices whose family the output cannot program: a parallel flash, and an FPGA of the
    // device database, for a JIC (serial flash only).
    for (const char* other : {"CFI128M", "7TR440PA3R1"})
    {
        add_flash_device(document.get(), "Flash_1", other);
        result = check_device(document.get(), "Flash_1");
        EXPECT_FALSE(result.valid) << other;
        EXPECT_EQ(result.message, std::string("Unrecognized configuration device ") + other + ".");
    }
    // Every serial flash of the catalogue, legacy ones included, is one a JIC can program.
    for (const char* serial : {"VQ16L", "VQ256A", "VQ1024A"})
    {
        add_flash_device(document.get(), "Flash_1", serial);
        result = check_device(document.get(), "Flash_1");
        EXPECT_TRUE(result.valid) << serial << ": " << result.message;
    }
}

TEST_F(FlashDeviceCheck, DevicesWithInternalFlashComeFromTheDeviceDatabase)
{
    // The programmer object file also programs the internal flash of an FPGA: its type is found
    // and its family accepted, so the check goes on to the partitions.
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_INTERNAL);
    add_flash_device(document.get(), "Internal", "NR08SA");
    const FLASH_CHECK result = check_device(document.get(), "Internal", ZEB_FILE_TYPE_POF);
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, k_missing_partition_hint);
}

TEST_F(FlashDeviceCheck, CustomDevicesNeedTheDocumentsCustomDirectory)
{
    SCRATCH_DIR dir;
    write_custom_database(dir.path() / "custom", "USR_QF128");
    std::filesystem::create_directories(dir.path() / "empty");

    // Without a custom directory the device is unknown, and the message does not mention one.
    DOCUMENT document = make_jic_document(dir, "USR_QF128");
    FLASH_CHECK result = check_device(document.get(), "Flash_1");
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, "Unrecognized configuration device USR_QF128.");

    set_custom_db_dir(document.get(), (dir.path() / "custom").string());
    result = check_device(document.get(), "Flash_1");
    EXPECT_TRUE(result.valid) << result.message;
    const CHECK_RESULT checked = run_check(document.get());
    EXPECT_TRUE(checked.valid) << checked.message;

    // A directory without the device, or one that does not exist: the message points at it.
    for (const char* directory : {"empty", "missing"})
    {
        set_custom_db_dir(document.get(), (dir.path() / directory).string());
        result = check_device(document.get(), "Flash_1");
        EXPECT_FALSE(result.valid) << directory;
        EXPECT_EQ(result.message, "Unrecognized configuration device USR_QF128." + k_custom_hint) << directory;
    }
    // The hint goes with any unknown type once a directory is set.
    set_custom_db_dir(document.get(), (dir.path() / "custom").string());
    add_flash_device(document.get(), "Flash_1", "USR_QF999");
    result = check_device(document.get(), "Flash_1");
    EXPECT_EQ(result.message, "Unrecognized configuration device USR_QF999." + k_custom_hint);
}

TEST_F(FlashDeviceCheck, PartitionsAndAssignments)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_jic_document(dir);
    add_flash_device(document.get(), "Flash_2", "VQ64A");
    FLASH_CHECK result = check_device(document.get(), "Flash_2");
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, k_missing_partition_hint);
    EXPECT_FALSE(result.error);

    add_partition(document.get(), "Flash_2", "Q1", "0x00000000", "0x0000FFFF");
    add_partition(document.get(), "Flash_2", "Q2", "0x00010000", "auto");
    result = check_device(document.get(), "Flash_2");
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, k_no_assignment);
    EXPECT_TRUE(result.error);

    // One assigned partition among several is enough. (A raw file: a second image of the bitstream
    // would bring in the rules for several images.)
    add_raw_file(document.get(), "data", make_file(dir, "data.hex", ":00000001FF\n"), PGM_COMMON_XML_ENUM_HEX);
    assign_raw_file(document.get(), "Q2", "data");
    result = check_device(document.get(), "Flash_2");
    EXPECT_TRUE(result.valid) << result.message;

    // The first failing assignment ends the check with its message.
    add_raw_file(document.get(), "table", make_file(dir, "table.ttf", "1, 2, 3\n"), PGM_COMMON_XML_ENUM_TTF);
    assign_raw_file(document.get(), "Q1", "table");
    result = check_device(document.get(), "Flash_2");
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, "Unrecogized raw file type 349");
}

TEST_F(FlashDeviceCheck, TheUserFlashPartitionIsNeitherCheckedNorCounted)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_jic_document(dir);
    add_flash_device(document.get(), "Flash_2", "VQ64A");
    add_partition(document.get(), "Flash_2", "UFM", "auto", "auto");
    // A broken assignment of "UFM" is not looked at, and does not count as an assignment.
    assign_raw_file(document.get(), "UFM", "no_such_raw_file");
    FLASH_CHECK result = check_device(document.get(), "Flash_2");
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, k_no_assignment);

    // The name is compared exactly.
    add_partition(document.get(), "Flash_2", "ufm", "auto", "auto");
    add_raw_file(document.get(), "data", make_file(dir, "data.hex", ":00000001FF\n"), PGM_COMMON_XML_ENUM_HEX);
    assign_raw_file(document.get(), "ufm", "data");
    result = check_device(document.get(), "Flash_2");
    EXPECT_TRUE(result.valid) << result.message;
}

TEST_F(FlashDeviceCheck, MbrsAreRefusedOnceThePartitionsPass)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_jic_document(dir);
    set(document.get(), ZEB_CMD_OPT_FLASH_DEVICE,
        {{ZEB_CMD_PARAM_FLASH_DEVICE_ID, "Flash_1"}, {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_ID, "MBR_1"}});
    EXPECT_EQ(internal_error_of([&] { check_device(document.get(), "Flash_1"); }), "Not support mbr partition yet");

    // A device with an MBR and no assigned partition fails on the assignments first.
    add_flash_device(document.get(), "Flash_2", "VQ64A");
    set(document.get(), ZEB_CMD_OPT_FLASH_DEVICE,
        {{ZEB_CMD_PARAM_FLASH_DEVICE_ID, "Flash_2"}, {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_ID, "MBR_1"}});
    const FLASH_CHECK result = check_device(document.get(), "Flash_2");
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, k_no_assignment);
}

TEST_F(FlashDeviceCheck, ThePageRulesRunBeforeThePartitions)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_jic_document(dir);
    // Two images on a device with remote update reserve "FACTORY_IMAGE" with pages; a factory image
    // on page 2 is refused before any partition is looked at.
    add_bitstream(document.get(), "Bitstream_2", make_sof(dir, "update.sof", "7TR440PA3R1", 0, 2));
    add_partition(document.get(), "Flash_1", "FACTORY_IMAGE", "auto", "auto");
    assign_bitstream(document.get(), "FACTORY_IMAGE", "Bitstream_2", 2);
    const FLASH_CHECK result = check_device(document.get(), "Flash_1");
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message,
              "FACTORY_IMAGE have been assigned to page 2. However, FACTORY_IMAGE must always be assigned to page 0.");
    EXPECT_TRUE(result.error);
}

TEST_F(FlashDeviceCheck, TheDocumentWideFormWalksEveryFlashDevice)
{
    SCRATCH_DIR dir;
    std::string message;
    bool error = false;
    const std::vector<DEV_FAMILY_ENUM> serial = ZEB_DB::get_config_device_family(ZEB_FILE_TYPE_JIC);
    DOCUMENT empty = make_document(PGM_COMMON_XML_ENUM_ASX4);
    EXPECT_TRUE(ZEB_UTIL::check_flash_devices(empty.get(), serial, message, error));

    DOCUMENT document = make_jic_document(dir);
    EXPECT_TRUE(ZEB_UTIL::check_flash_devices(document.get(), serial, message, error)) << message;

    // A second device that no output file programs is checked too, with the inputs a flash
    // programming file takes: a raw binary file is one of them, an image on a page of its own.
    add_raw_file(document.get(), "data", make_rbf(dir, "data.rbf", "7TR440PA3R1"), PGM_COMMON_XML_ENUM_RBF);
    add_flash_device(document.get(), "Flash_2", "VQ256A");
    add_partition(document.get(), "Flash_2", "DATA", "0x00000000", "auto");
    set(document.get(), ZEB_CMD_OPT_ASSIGNMENT,
        {{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, "DATA"},
         {ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID, "data"},
         {ZEB_CMD_PARAM_ASSIGNMENT_PAGE, "1"}});
    EXPECT_TRUE(ZEB_UTIL::check_flash_devices(document.get(), serial, message, error)) << message;

    add_flash_device(document.get(), "Flash_3", "CFI128M");
    EXPECT_FALSE(ZEB_UTIL::check_flash_devices(document.get(), serial, message, error));
    EXPECT_EQ(message, "Unrecognized configuration device CFI128M.");
}

TEST_F(FlashDeviceCheck, WithoutOutputFilesTheDocumentWideFormTakesWhatFlashFilesTake)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_raw_file(document.get(), "data", make_rbf(dir, "data.rbf", "7TR440PA3R1"), PGM_COMMON_XML_ENUM_RBF);
    add_raw_file(document.get(), "table", make_file(dir, "table.ttf", "1, 2, 3\n"), PGM_COMMON_XML_ENUM_TTF);
    add_flash_device(document.get(), "Flash_1", "VQ64A");
    add_partition(document.get(), "Flash_1", "DATA", "0x00000000", "auto");
    assign_raw_file(document.get(), "DATA", "data");
    std::string message;
    bool error = false;
    EXPECT_TRUE(ZEB_UTIL::check_flash_devices(document.get(), {DEV_FAMILY_VIVERI}, message, error)) << message;

    add_partition(document.get(), "Flash_1", "TABLE", "auto", "auto");
    assign_raw_file(document.get(), "TABLE", "table");
    EXPECT_FALSE(ZEB_UTIL::check_flash_devices(document.get(), {DEV_FAMILY_VIVERI}, message, error));
    EXPECT_EQ(message, "Unrecogized raw file type 349");
}

TEST_F(FlashDeviceCheck, AnOverlapSurfacesThroughCheck)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_jic_document(dir);
    add_partition(document.get(), "Flash_1", "P2", "0x00100000", "0x001FFFFF");
    add_partition(document.get(), "Flash_1", "P3", "0x00180000", "0x0027FFFF");
    const CHECK_RESULT result = run_check(document.get());
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message,
              "Flash partition address range [00180000-0027ffff] conflicts with range [00100000-001fffff]");
}

// ---- Address texts -----------------------------------------------------------------------------------

TEST(ConvertStringToDword, HexadecimalWithTheLowerCasePrefixElseDecimal)
{
    const std::pair<const char*, uint32_t> cases[] = {
        {"0x1F", 31},
        {"0x1f", 31},
        {"31", 31},
        {"0", 0},
        {"0x00040000", 0x40000},
        {"262144", 0x40000},
        {"0xFFFFFFFF", 0xFFFFFFFF},
        {"4294967295", 0xFFFFFFFF},
        {"0x", 0},      // the "0" before the x
        {"0xg1", 0},    // no hexadecimal digit after the prefix
        {"0X1F", 0},    // read in base 10: "0", then a stop at "X"
        {"0x1Fz9", 31}, // reading stops at the first non-digit
        {"12abc", 12},
        {"010", 10},    // no octal
        {"  \t42", 42}, // leading white space in base 10
        {"+7", 7},
        {"-1", 0xFFFFFFFF}, // negated modulo 2^32
        {"-4294967295", 1},
        {" 0x10", 0}, // the prefix counts only at the very start
        {"0 x", 0},
    };
    for (const auto& [text, value] : cases)
        EXPECT_EQ(ZEB_UTIL::convert_string_to_dword(text), value) << '"' << text << '"';
}

TEST(ConvertStringToDword, NoDigitsOrTooLarge)
{
    for (const char* text : {"", " ", "auto", "x10", "-", "+", "- 1", "\n"})
        EXPECT_THROW(ZEB_UTIL::convert_string_to_dword(text), std::invalid_argument) << '"' << text << '"';
    for (const char* text :
         {"0x100000000", "4294967296", "-4294967296", "0xFFFFFFFFFFFFFFFFFF", "99999999999999999999"})
        EXPECT_THROW(ZEB_UTIL::convert_string_to_dword(text), std::out_of_range) << '"' << text << '"';
}
