// SPDX-License-Identifier: Apache-2.0
// Validation of flash programming documents: the flash loader, the address ranges of fixed
// partitions, the look-up of configuration flash devices (catalogue, device database and custom
// database directory) with the rules that follow it.
#include "test_zeb_util_check_support.h"

#include <filesystem>
#include <stdexcept>
#include <utility>

using namespace check_test;

namespace
{

const std::string k_missing_partition_hint = "Missing flash partition. Please add the partition and assign the input "
                                             "to the partition in Configuration Device tab.";
const std::string k_no_assignment = "There is no assignment for any flash partition. Please add the partition or "
                                    "assign the input file to the partition in Configuration Device tab.";
const std::string k_custom_hint = " If this is a custom-defined configuration device, ensure that you have set the "
                                  "correct custom database directory.";

// check_flash_devices for the device `id`, with the inputs and flash families of output `type`; for
// an empty `id` its document-wide form, over every flash device with the families of `type`.
CHECK_RESULT check_device(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id, ZEB_FILE_TYPE type = ZEB_FILE_TYPE_JIC)
{
    PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID reference;
    EXPECT_TRUE(reference.write_string(id));
    CHECK_RESULT result;
    const std::vector<DEV_FAMILY_ENUM> families = ZEB_DB::get_config_device_family(type);
    result.valid = id.empty() ? ZEB_UTIL::check_flash_devices(object, families, result.message, result.error)
                              : ZEB_UTIL::check_flash_devices(object, &reference, ZEB_DB::get_input_file_type(type),
                                                              families, result.message, result.error);
    return result;
}

// An Active Serial x4 document that writes a JIC for the serial flash device "Flash_1" (VQ64A).
DOCUMENT make_jic_document(const SCRATCH_DIR& dir)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_jic(document.get(), make_sof(dir, "design.sof", "7TR440PA3R1"), "VQ64A");
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

TEST(FlashLoaderCheck, OneLoaderThatIsAnFpgaOfTheCatalogue)
{
    std::string message;
    bool error = false;
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    EXPECT_FALSE(ZEB_UTIL::check_flash_loader(document.get(), message, error));
    EXPECT_EQ(message, "Missing configuration device setting. Please add the device into Configuration Device tab.");
    add_flash_device(document.get(), "Flash_1", "VQ64A");
    EXPECT_FALSE(ZEB_UTIL::check_flash_loader(document.get(), message, error));
    EXPECT_EQ(message, "Missing flash loader. Please assign the flash loader in Configuration Device tab.");

    // FPGAs of the catalogue are loaders; unknown names, names in another case, and flash devices,
    // which cannot program themselves, are not.
    const std::pair<const char*, bool> loaders[] = {
        {"7TR440PA3R1", true}, {"3ZT085F2", true}, {"7TR999XX", false}, {"7tr440pa3r1", false},
        {"VQ64A", false},      {"CFI128M", false}, {"", false}};
    for (const auto& [name, fpga] : loaders)
    {
        set_flash_loader(document.get(), name);
        message.clear();
        EXPECT_EQ(ZEB_UTIL::check_flash_loader(document.get(), message, error), fpga) << name;
        EXPECT_EQ(message, fpga ? "" : std::string("Unrecognized flash loader ") + name);
    }
    // The assistant keeps one loader; a second can only come from elsewhere, and is refused even
    // though both name good loaders.
    auto* second = new PGM_COMMON_XML_ZEB_FLASH_LOADER;
    ASSERT_TRUE(second->write_string("9RX027R1B"));
    ASSERT_TRUE(PGM_COMMON_XML_ELEMENT::add_child(document->get_flash_devices_list().front(), second));
    EXPECT_FALSE(ZEB_UTIL::check_flash_loader(document.get(), message, error));
    EXPECT_EQ(message, "Found multiple flash loaders, however only allow one.");
    EXPECT_FALSE(error);
}

// ---- Partition address ranges ------------------------------------------------------------------------

namespace
{

using RANGE = std::pair<const char*, const char*>; // start and end address texts

// check_partitions over partitions P0, P1, ... of one flash device, in the order given.
std::pair<bool, std::string> check_ranges(const std::vector<RANGE>& ranges)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_flash_device(document.get(), "Flash_1", "VQ256A");
    for (size_t i = 0; i < ranges.size(); ++i)
        add_partition(document.get(), "Flash_1", "P" + std::to_string(i), ranges[i].first, ranges[i].second);
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
    const char* range; // the conflicting range and the earlier one it conflicts with; "" when the ranges pass
    const char* earlier;
};

} // namespace

TEST(PartitionOverlap, RangesConflictWhenANewEndFallsInsideAnEarlierRange)
{
    const OVERLAP_CASE cases[] = {
        {"adjacent", {{"0x0", "0xFFFF"}, {"0x10000", "0x1FFFF"}}, "", ""},
        {"inclusive end", {{"0x0", "0xFFFF"}, {"0xFFFF", "0x1FFFF"}}, "0000ffff-0001ffff", "00000000-0000ffff"},
        {"new end inside", {{"0x10000", "0x1FFFF"}, {"0x8000", "0x10000"}}, "00008000-00010000", "00010000-0001ffff"},
        {"same end", {{"0x10000", "0x1FFFF"}, {"0x8000", "0x1FFFF"}}, "00008000-0001ffff", "00010000-0001ffff"},
        {"enclosing last", {{"0x10000", "0x1FFFF"}, {"0x0", "0x2FFFF"}}, "", ""},
        {"enclosed last", {{"0x0", "0x2FFFF"}, {"0x10000", "0x1FFFF"}}, "00010000-0001ffff", "00000000-0002ffff"},
        {"auto starts", {{"auto", "auto"}, {"auto", "0x10000"}, {"auto", "auto"}}, "", ""},
        {"auto start, fixed", {{"0x0", "0xFFFFF"}, {"auto", "0x8000"}}, "", ""},
        {"auto end inside", {{"0x20000", "0x2FFFF"}, {"0x20000", "auto"}}, "00020000-00000000", "00020000-0002ffff"},
        {"auto end behind", {{"0x20000", "0x2FFFF"}, {"0x30000", "auto"}}, "", ""},
        {"over auto start", {{"0x40000", "auto"}, {"0x30000", "0x4FFFF"}}, "00030000-0004ffff", "00040000-auto"},
        {"on auto start", {{"0x40000", "auto"}, {"0x30000", "0x40000"}}, "00030000-00040000", "00040000-auto"},
        {"before auto end", {{"0x40000", "auto"}, {"0x30000", "0x3FFFF"}}, "", ""},
        {"two auto ends", {{"0x40000", "auto"}, {"0x40000", "auto"}}, "00040000-00000000", "00040000-auto"},
        {"auto end after auto", {{"0x40000", "auto"}, {"0x50000", "auto"}}, "", ""},
        {"auto end before auto", {{"0x40000", "auto"}, {"0x30000", "auto"}}, "", ""},
        {"first in order",
         {{"0x0", "0xFFFF"}, {"0x10000", "0x1FFFF"}, {"0x8000", "0x18000"}},
         "00008000-00018000",
         "00000000-0000ffff"},
        {"decimal texts",
         {{"0", "65535"}, {"0x10000", "131071"}, {"131071", "0x30000"}},
         "0001ffff-00030000",
         "00010000-0001ffff"},
    };
    for (const OVERLAP_CASE& c : cases)
    {
        const auto [valid, message] = check_ranges(c.ranges);
        const std::string conflict =
            std::string("Flash partition address range [") + c.range + "] conflicts with range [" + c.earlier + "]";
        EXPECT_EQ(valid, !c.range[0]) << c.what;
        EXPECT_EQ(message, c.range[0] ? conflict : "") << c.what;
    }
}

TEST(PartitionOverlap, DocumentsListsAndTextsThatAreNoNumbers)
{
    std::string message;
    bool error = false;
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    EXPECT_FALSE(ZEB_UTIL::check_partitions(document.get(), message, error));
    EXPECT_EQ(message, "Missing flash partition");
    EXPECT_FALSE(error);
    add_flash_device(document.get(), "Flash_1", "VQ256A");
    EXPECT_TRUE(ZEB_UTIL::check_partitions(document.get(), message, error));

    // The partitions of every flash device share one list.
    add_flash_device(document.get(), "Flash_2", "VQ256A");
    add_partition(document.get(), "Flash_1", "A", "0x00000000", "0x0000FFFF");
    add_partition(document.get(), "Flash_2", "B", "0x00008000", "0x00018000");
    EXPECT_FALSE(ZEB_UTIL::check_partitions(document.get(), message, error));
    EXPECT_EQ(message, "Flash partition address range [00008000-00018000] conflicts with range [00000000-0000ffff]");

    set(document.get(), ZEB_CMD_OPT_FLASH_DEVICE,
        {{ZEB_CMD_PARAM_FLASH_DEVICE_ID, "Flash_1"}, {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_ID, "MBR_1"}});
    EXPECT_EQ(internal_error_of([&] { ZEB_UTIL::check_partitions(document.get(), message, error); }),
              "Not support mbr partition yet");

    EXPECT_THROW(check_ranges({{"0x0", "0xFFFF"}, {"start", "0x1FFFF"}}), std::invalid_argument);
    EXPECT_THROW(check_ranges({{"0x0", "0x1FFFFFFFF"}}), std::out_of_range);

    // The list given must hold fixed starts only.
    PGM_COMMON_XML_ZEB_PARTITION automatic;
    ASSERT_TRUE(automatic.write_attribute_string("s_addr", "auto"));
    EXPECT_TRUE(ZEB_UTIL::check_partition_address(0, 0, {}, message));
    EXPECT_EQ(internal_error_of([&] { ZEB_UTIL::check_partition_address(0, 0xFFFF, {&automatic}, message); }),
              "Should not have 'auto' in filtered partition list");
}

// ---- Flash device look-up and the rules that follow it -----------------------------------------------

TEST_F(FlashDeviceCheck, LookUpThenPagesThenPartitionsThenAssignments)
{
    SCRATCH_DIR dir;
    write_custom_database(dir.path() / "custom", "USR_QF128");
    std::filesystem::create_directories(dir.path() / "empty");
    const std::string hex = make_file(dir, "data.hex", ":00000001FF\n");
    const std::string ttf = make_file(dir, "table.ttf", "1, 2, 3\n");
    const auto type = [](const char* id, const char* name) { return [=](DOC d) { add_flash_device(d, id, name); }; };
    const auto custom = [&](const char* directory, const char* name)
    {
        return [=, &dir](DOC d)
        {
            set(d, ZEB_CMD_OPT_SETTINGS, {{ZEB_CMD_PARAM_SETTINGS_CUSTOM_DB_DIR, (dir.path() / directory).string()}});
            add_flash_device(d, "Flash_1", name);
        };
    };
    // A second flash device with partitions Q1 and Q2 and no assignment yet.
    const auto second = [&](DOC d)
    {
        add_flash_device(d, "Flash_2", "VQ64A");
        add_partition(d, "Flash_2", "Q1", "0x00000000", "0x0000FFFF");
        add_partition(d, "Flash_2", "Q2", "0x00010000", "auto");
        add_raw_file(d, "data", hex, PGM_COMMON_XML_ENUM_HEX);
        add_raw_file(d, "table", ttf, PGM_COMMON_XML_ENUM_TTF);
    };
    // A second flash device whose one partition is assigned the raw file `raw_file_id`.
    const auto lone = [&](DOC d, const char* partition, const char* raw_file_id)
    {
        add_flash_device(d, "Flash_2", "VQ64A");
        add_partition(d, "Flash_2", partition, "auto", "auto");
        add_raw_file(d, "data", hex, PGM_COMMON_XML_ENUM_HEX);
        assign_raw_file(d, partition, raw_file_id);
    };
    const auto mbr = [](const char* id)
    {
        return [=](DOC d) {
            set(d, ZEB_CMD_OPT_FLASH_DEVICE,
                {{ZEB_CMD_PARAM_FLASH_DEVICE_ID, id}, {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_ID, "M"}});
        };
    };
    // A second device that no output file programs, with the inputs a flash programming file takes: a
    // raw binary file is one of them, an image on a page of its own.
    const std::string rbf = make_rbf(dir, "data.rbf", "7TR440PA3R1");
    const auto unprogrammed = [&](DOC d)
    {
        add_raw_file(d, "image", rbf, PGM_COMMON_XML_ENUM_RBF);
        add_flash_device(d, "Flash_2", "VQ256A");
        add_partition(d, "Flash_2", "DATA", "0x00000000", "auto");
        set(d, ZEB_CMD_OPT_ASSIGNMENT,
            {{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, "DATA"},
             {ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID, "image"},
             {ZEB_CMD_PARAM_ASSIGNMENT_PAGE, "1"}});
    };
    const std::string unknown_custom = "Unrecognized configuration device USR_QF128." + k_custom_hint;
    struct CASE
    {
        const char* what;
        std::function<void(DOC)> edit;
        const char* id;
        std::string message; // "" when the device passes
        bool error = false;
        ZEB_FILE_TYPE type = ZEB_FILE_TYPE_JIC;
    };
    // clang-format off
    const CASE cases[] = {
        {"the JIC document", [](DOC) {}, "Flash_1", ""},
        {"an unknown id", [](DOC) {}, "Flash_9", "Unknown configuration device ID Flash_9."},
        {"no type", type("Flash_2", ""), "Flash_2", "Missing configuration device setting."},
        {"an unknown type", type("Flash_1", "VQ64Z"), "Flash_1", "Unrecognized configuration device VQ64Z."},
        // Known devices of families that a JIC (serial flash only) cannot program.
        {"parallel flash", type("Flash_1", "CFI128M"), "Flash_1", "Unrecognized configuration device CFI128M."},
        {"an FPGA", type("Flash_1", "7TR440PA3R1"), "Flash_1", "Unrecognized configuration device 7TR440PA3R1."},
        {"a legacy serial flash", type("Flash_1", "VQ16L"), "Flash_1", ""},
        {"internal flash of an FPGA", type("Internal", "NR08SA"), "Internal",
         k_missing_partition_hint, false, ZEB_FILE_TYPE_POF},
        {"a custom device without directory", type("Flash_1", "USR_QF128"), "Flash_1",
         "Unrecognized configuration device USR_QF128."},
        {"a custom device", custom("custom", "USR_QF128"), "Flash_1", ""},
        {"a directory without the device", custom("empty", "USR_QF128"), "Flash_1", unknown_custom},
        {"a directory that does not exist", custom("missing", "USR_QF128"), "Flash_1", unknown_custom},
        {"another unknown type with a directory", custom("custom", "USR_QF999"), "Flash_1",
         "Unrecognized configuration device USR_QF999." + k_custom_hint},
        {"no partitions", type("Flash_2", "VQ64A"), "Flash_2", k_missing_partition_hint},
        {"no assignment", second, "Flash_2", k_no_assignment, true},
        {"one assigned partition among several", [&](DOC d) { second(d); assign_raw_file(d, "Q2", "data"); },
         "Flash_2", ""},
        {"the first failing assignment",
         [&](DOC d) { second(d); assign_raw_file(d, "Q2", "data"); assign_raw_file(d, "Q1", "table"); }, "Flash_2",
         "Unrecogized raw file type 349"},
        // The user flash partition is neither checked nor counted; its name compares exactly.
        {"the user flash partition", [&](DOC d) { lone(d, "UFM", "no_such_raw_file"); }, "Flash_2", k_no_assignment,
         true},
        {"a partition named ufm", [&](DOC d) { lone(d, "ufm", "data"); }, "Flash_2", ""},
        // An MBR without assigned partitions fails on the assignments first.
        {"an MBR and no assignment", [&](DOC d) { add_flash_device(d, "Flash_2", "VQ64A"); mbr("Flash_2")(d); },
         "Flash_2", k_no_assignment, true},
        // Two images on a device with remote update reserve "FACTORY_IMAGE" with pages; a factory
        // image on page 2 is refused before any partition is looked at.
        {"the page rules before the partitions", [&](DOC d)
         {
             add_bitstream(d, "Bitstream_2", make_sof(dir, "update.sof", "7TR440PA3R1", 0, 2));
             add_partition(d, "Flash_1", "FACTORY_IMAGE", "auto", "auto");
             assign_bitstream(d, "FACTORY_IMAGE", "Bitstream_2", 2);
         },
         "Flash_1",
         "FACTORY_IMAGE have been assigned to page 2. However, FACTORY_IMAGE must always be assigned to page 0.", true},
        // The document-wide form walks every flash device.
        {"every flash device", [](DOC) {}, "", ""},
        {"a device that no output file programs", unprogrammed, "", ""},
        {"a third device of another family", [&](DOC d) { unprogrammed(d); add_flash_device(d, "Flash_3", "CFI128M"); },
         "", "Unrecognized configuration device CFI128M."},
        // Without output files a device takes what any flash programming file of the families takes.
        {"no output file", [&](DOC d)
         {
             ZEB_FILE_ASSISTANT::remove(d, ZEB_CMD_OPT_OUTPUT_FILE,
                                        {{ZEB_CMD_PARAM_OUTPUT_FILE_TYPE, value_of(PGM_COMMON_XML_ENUM_JIC)}});
             unprogrammed(d);
         }, "", ""},
        {"no flash device", [](DOC d)
         { ZEB_FILE_ASSISTANT::remove(d, ZEB_CMD_OPT_FLASH_DEVICE, {{ZEB_CMD_PARAM_FLASH_DEVICE_ID, "Flash_1"}}); },
         "", ""},
    };
    // clang-format on
    for (const CASE& c : cases)
    {
        DOCUMENT document = make_jic_document(dir);
        c.edit(document.get());
        const CHECK_RESULT result = check_device(document.get(), c.id, c.type);
        EXPECT_EQ(result.message, c.message) << c.what;
        EXPECT_EQ(result.valid, c.message.empty()) << c.what;
        EXPECT_EQ(result.error, c.error) << c.what;
    }

    // The whole check passes a document with a custom device and refuses overlapping partitions.
    DOCUMENT document = make_jic_document(dir);
    custom("custom", "USR_QF128")(document.get());
    CHECK_RESULT checked = run_check(document.get());
    EXPECT_TRUE(checked.valid) << checked.message;
    add_partition(document.get(), "Flash_1", "P2", "0x00100000", "0x001FFFFF");
    add_partition(document.get(), "Flash_1", "P3", "0x00180000", "0x0027FFFF");
    EXPECT_EQ(run_check(document.get()).message,
              "Flash partition address range [00180000-0027ffff] conflicts with range [00100000-001fffff]");

    mbr("Flash_1")(document.get());
    EXPECT_EQ(internal_error_of([&] { check_device(document.get(), "Flash_1"); }), "Not support mbr partition yet");
}
