// SPDX-License-Identifier: Apache-2.0
// Validation of assignments: the input of a partition, the raw data files it names, and the page
// rules of the partitions that hold several images.
#include "test_zeb_util_check_support.h"

#include <tuple>

using namespace check_test;

namespace
{

const std::vector<FIO_FILE_TYPE> k_jic_inputs = ZEB_DB::get_input_file_type(ZEB_FILE_TYPE_JIC);

// A partition element on its own, as check_assignment receives it.
struct PARTITION
{
    explicit PARTITION(const std::string& id) { EXPECT_TRUE(element.write_attribute_string("id", id)); }
    PGM_COMMON_XML_ZEB_PARTITION element;
};

// A second assignment of `partition_id`, which the assistant never makes (it reuses the first).
void append_assignment(DOC d, const std::string& partition_id, const std::string& bitstream_id)
{
    assign_bitstream(d, "second", bitstream_id);
    EXPECT_TRUE(
        ZEB_FILE_ASSISTANT::get_assignment_element(d, "second")->write_attribute_string("partition_id", partition_id));
}

} // namespace

// ---- The input of a partition ------------------------------------------------------------------------

TEST(AssignmentCheck, TheInputOfAPartitionIsCheckedAsItsReference)
{
    SCRATCH_DIR dir;
    const std::string sof = make_sof(dir, "design.sof", "7TR440PA3R1");
    const std::string hex = make_file(dir, "data.hex", ":00000001FF\n");
    const std::string rbf = make_file(dir, "data.rbf", "data");
    const auto bitstream = [](const char* partition, const char* id)
    { return [=](DOC d) { assign_bitstream(d, partition, id); }; };
    // The raw file "data" of `type`, and an assignment of the raw file `id` to `partition`.
    const auto raw = [&](const char* partition, const char* id, PGM_COMMON_XML_ENUM type = PGM_COMMON_XML_ENUM_HEX)
    {
        return [=](DOC d)
        {
            add_raw_file(d, "data", type == PGM_COMMON_XML_ENUM_HEX ? hex : rbf, type);
            assign_raw_file(d, partition, id);
        };
    };
    const std::vector<FIO_FILE_TYPE> raw_only = {FIO_FILE_TYPE_RBF};
    constexpr PGM_COMMON_XML_ENUM RBF = PGM_COMMON_XML_ENUM_RBF;
    const std::string hex_refused = "Unrecognized input file type 286",
                      rbf_refused = "Unrecognized input file type 348";
    struct CASE
    {
        const char* what;
        std::function<void(DOC)> edit;
        const char* partition;
        bool valid;
        bool has_assignment;
        std::string message;
        bool error = false;
        std::vector<FIO_FILE_TYPE> inputs = k_jic_inputs;
    };
    // clang-format off
    std::vector<CASE> cases = {
        {"no assignment", [](DOC) {}, "P1", true, false, ""},
        {"another partition assigned", bitstream("P2", "Bitstream_1"), "P1", true, false, ""},
        {"ids compare exactly", bitstream("P2", "Bitstream_1"), "p2", true, false, ""},
        {"a bitstream", bitstream("P1", "Bitstream_1"), "P1", true, true, ""},
        {"a bitstream the output does not take", bitstream("P1", "Bitstream_1"), "P1", false, true,
         "Input file type 'sof' is not supported by the specified output file type.", false, raw_only},
        {"an unknown bitstream", bitstream("P2", "Bitstream_9"), "P2", false, true,
         "Missing settings for bitstream ID Bitstream_9.", true},
        {"no input", [](DOC d)
         {
             set(d, ZEB_CMD_OPT_ASSIGNMENT,
                 {{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, "P1"}, {ZEB_CMD_PARAM_ASSIGNMENT_PAGE, "0"}});
         },
         "P1", false, true, "Missing input setting for partition P1"},
        {"no raw files", [](DOC d) { assign_raw_file(d, "DATA", "data"); }, "DATA", false, true,
         "Missing raw file setting for raw_file_id data"},
        {"an unknown raw file fails silently", raw("DATA", "Data"), "DATA", false, true, ""},
        // Raw files are hexadecimal or raw binary files, of a type that the output takes.
        {"a raw file", raw("DATA", "data"), "DATA", true, true, ""},
        {"hex", raw("D", "data"), "D", true, true, "", false, {FIO_FILE_TYPE_HEX}},
        {"rbf", raw("D", "data", RBF), "D", true, true, "", false, {FIO_FILE_TYPE_SOF, FIO_FILE_TYPE_RBF}},
        {"hex for nothing", raw("D", "data"), "D", false, true, hex_refused, false, {}},
        {"rbf for nothing", raw("D", "data", RBF), "D", false, true, rbf_refused, false, {}},
        {"hex for others", raw("D", "data"), "D", false, true, hex_refused, false,
         {FIO_FILE_TYPE_RBF, FIO_FILE_TYPE_SOF}},
        {"rbf for others", raw("D", "data", RBF), "D", false, true, rbf_refused, false,
         {FIO_FILE_TYPE_HEX, FIO_FILE_TYPE_RPD}},
        // With both references the bitstream is the input; the broken raw file reference is not read.
        {"both references", [&](DOC d) { raw("P1", "no_such_raw_file")(d); assign_bitstream(d, "P1", "Bitstream_1"); },
         "P1", true, true, ""},
        // Only the first assignment of a partition counts.
        {"a good first assignment",
         [](DOC d) { assign_bitstream(d, "P1", "Bitstream_1"); append_assignment(d, "P1", "Bitstream_9"); },
         "P1", true, true, ""},
        {"a bad first assignment",
         [](DOC d) { assign_bitstream(d, "P2", "Bitstream_9"); append_assignment(d, "P2", "Bitstream_1"); },
         "P2", false, true, "Missing settings for bitstream ID Bitstream_9.", true},
    };
    // clang-format on
    const std::vector<FIO_FILE_TYPE> everything = {FIO_FILE_TYPE_HEX, FIO_FILE_TYPE_RBF, FIO_FILE_TYPE_SOF,
                                                   FIO_FILE_TYPE_POF, FIO_FILE_TYPE_JIC, FIO_FILE_TYPE_TTF};
    for (PGM_COMMON_XML_ENUM type :
         {PGM_COMMON_XML_ENUM_TTF, PGM_COMMON_XML_ENUM_POF, PGM_COMMON_XML_ENUM_SOF, PGM_COMMON_XML_ENUM_JIC})
        cases.push_back({"other raw file types", raw("D", "data", type), "D", false, true,
                         "Unrecogized raw file type " + std::to_string(static_cast<int>(type)), false, everything});
    for (const CASE& c : cases)
    {
        DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
        add_bitstream(document.get(), "Bitstream_1", sof);
        c.edit(document.get());
        PARTITION partition(c.partition);
        bool has_assignment = false, error = false, sticky = true;
        std::string message;
        EXPECT_EQ(
            ZEB_UTIL::check_assignment(document.get(), &partition.element, c.inputs, has_assignment, message, error),
            c.valid)
            << c.what;
        EXPECT_EQ(std::tie(has_assignment, message, error), std::tie(c.has_assignment, c.message, c.error)) << c.what;
        // The flag is only ever set, so one flag gathers "any partition is assigned".
        ZEB_UTIL::check_assignment(document.get(), &partition.element, c.inputs, sticky, message, error);
        EXPECT_TRUE(sticky) << c.what;
    }
}

// ---- Page rules over documents -----------------------------------------------------------------------

namespace
{

// A flash image in Active Serial x4 for the FPGA `device`: three SRAM object files (a factory image
// and two application images) and a flash with the factory partition and two user partitions.
// `pages` assigns bitstream i to the partition of the same index on that page; a negative page
// leaves the partition unassigned.
DOCUMENT make_paged_document(const SCRATCH_DIR& dir, const std::string& device, const std::vector<int>& pages)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_flash_device(document.get(), "Flash_1", "VQ256A");
    const char* const partitions[] = {"FACTORY_IMAGE", "APP1", "APP2"};
    const char* const starts[] = {"0x00050000", "0x00800000", "0x01000000"};
    for (size_t i = 0; i < 3; ++i)
    {
        const std::string id = "Bitstream_" + std::to_string(i + 1);
        add_bitstream(document.get(), id, make_sof(dir, id + ".sof", device, 0, i + 1));
        add_partition(document.get(), "Flash_1", partitions[i], starts[i], "auto");
        if (pages[i] >= 0)
            assign_bitstream(document.get(), partitions[i], id, static_cast<uint32_t>(pages[i]));
    }
    set_flash_loader(document.get(), device);
    add_output_for_flash_device(document.get(), PGM_COMMON_XML_ENUM_JIC, "Flash_1");
    return document;
}

} // namespace

// Application images in user partitions carry pages 1, 2, ... beside the factory image on page 0;
// on a family without remote update the factory partition is an ordinary user partition.
TEST(PageRules, RemoteUpdateDocumentsThroughTheCheck)
{
    struct CASE
    {
        const char* device;
        std::vector<int> pages; // factory image, application 1, application 2
        std::string message;    // "" when valid
        bool broken = false;    // with a fourth input that fails its precheck, on page 3
    };
    // clang-format off
    const CASE cases[] = {
        {"7TR440PA3R1", {0, 1, 2}, ""},
        {"7TR440PA3R1", {0, 2, 1}, ""},
        {"9RX027R1B", {0, 1, 2}, ""},
        {"7TR440PA3R1", {0, -1, -1},
         "RSU is enabled (FACTORY_IMAGE exists), but there is only one page. Expects to have multiple images."},
        {"7TR440PA3R1", {1, 0, 2},
         "FACTORY_IMAGE have been assigned to page 1. However, FACTORY_IMAGE must always be assigned to page 0."},
        {"7TR440PA3R1", {0, 1, 1},
         "There are more than one SOF files have been assigned to page 1. One page can only has one SOF file."},
        {"7TR440PA3R1", {0, 1, 3},
         "Missing page 2 when adding SOF file. The page must be presented in sequence: 0,1,2..."},
        {"3ZT085F2", {-1, 1, 2}, "Missing page 0. Page 0 must be presented."},
        {"3ZT085F2", {0, 1, 2}, ""},
        {"7TR440PA3R1", {0, 1, 2}, "Failed to parse %s. The file is corrupted or the targeted device is not supported.",
         true},
    };
    // clang-format on
    for (const CASE& c : cases)
    {
        SCRATCH_DIR dir;
        DOCUMENT document = make_paged_document(dir, c.device, c.pages);
        const std::string broken = make_file(dir, "broken.sof", "not an SRAM object file");
        if (c.broken)
        {
            add_bitstream(document.get(), "Broken", broken);
            assign_bitstream(document.get(), "USER", "Broken", 3);
        }
        const CHECK_RESULT result = run_check(document.get());
        EXPECT_EQ(result.message, msg_printf(c.message.c_str(), broken.c_str()))
            << c.device << " " << c.pages[0] << c.pages[1] << c.pages[2];
        EXPECT_EQ(result.valid, c.message.empty()) << result.message;
    }
}

// The rule checks take their document and element from the driver, reading and saving take a
// document and a file name: a null or empty one is a broken precondition, never a crash.
TEST(CheckRules, BrokenPreconditionsAreInternalErrors)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    PGM_COMMON_XML_ZEB_ZEB empty;
    PGM_COMMON_XML_ZEB_ZEB* parsed = nullptr;
    PARTITION partition("P1");
    PGM_COMMON_XML_ZEB_RAW_FILE_ID reference;
    PGM_COMMON_XML_ZEB_FLASH_DEVICE_ID* no_flash_device = nullptr;
    bool has_assignment = false, error = false;
    std::string message;
    // Each call with the condition it breaks.
    const std::pair<std::function<void()>, const char*> calls[] = {
        {[&] { ZEB_UTIL::check_partitions(nullptr, message, error); }, "object"},
        {[&] { ZEB_UTIL::check_flash_devices(nullptr, {}, message, error); }, "object"},
        {[&] { ZEB_UTIL::check_flash_devices(document.get(), no_flash_device, {}, {}, message, error); },
         "flash_device_id"},
        {[&] { ZEB_UTIL::check_assignment(nullptr, &partition.element, {}, has_assignment, message, error); },
         "object"},
        {[&] { ZEB_UTIL::check_assignment(document.get(), nullptr, {}, has_assignment, message, error); }, "partition"},
        {[&] { ZEB_UTIL::check_raw_file(nullptr, &reference, {}, message); }, "object"},
        {[&] { ZEB_UTIL::check_raw_file(document.get(), nullptr, {}, message); }, "raw_file_id"},
        {[&] { ZEB_UTIL::check_bitstream_encryption_settings(nullptr, message); }, "path"},
        {[&] { ZEB_UTIL::check_assignment_bitstream_settings(nullptr, message, error); }, "object"},
        {[&] { ZEB_UTIL::check_assignment_page_settings(nullptr, message, error); }, "object"},
        {[] { ZEB_UTIL::check_and_merge_input_file_type({}, {FIO_FILE_TYPE_SOF}); },
         "supported_input_file_type.size() > 0"},
        {[] { ZEB_UTIL::check_and_merge_input_file_type({FIO_FILE_TYPE_SOF}, {}); },
         "to_be_checked_input_file_type.size() > 0"},
        {[] { ZEB_UTIL::parse(nullptr, "x.zeb"); }, "object"},
        {[&] { ZEB_UTIL::parse(&parsed, ""); }, "zeb_file.length() > 0"},
        {[] { ZEB_UTIL::parse_post_process(nullptr); }, "object"},
        {[] { ZEB_UTIL::save(nullptr, "no_such_dir/x.zeb"); }, "object"},
        {[&] { ZEB_UTIL::save(&empty, "no_such_dir/x.zeb"); }, "!output_file_types.empty()"},
    };
    for (size_t i = 0; i < std::size(calls); ++i)
        EXPECT_EQ(internal_error_of(calls[i].first), calls[i].second) << "call " << i;
}
