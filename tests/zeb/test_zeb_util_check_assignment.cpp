// SPDX-License-Identifier: Apache-2.0
// Validation of assignments: the input of a partition, the raw data files it names, and the page
// rules of the partitions that hold several images.
#include "test_zeb_util_check_support.h"

#include "pgm/zeb/zeb_db_util.h"

#include "pgm/zeb/zeb_util_check_pages.h"

#include <string>
#include <utility>
#include <vector>


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

// A second assignment of a partition, which the assistant never makes (it reuses the first).
void append_assignment(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& partition_id, const std::string& bitstream_id,
                       uint32_t page)
{
    ASSERT_FALSE(object->get_assignments_list().empty());
    auto* assignment = new PGM_COMMON_XML_ZEB_ASSIGNMENT;
    ASSERT_TRUE(assignment->write_attribute_string("partition_id", partition_id));
    ASSERT_TRUE(assignment->write_attribute_value("page", page));
    auto* reference = new PGM_COMMON_XML_ZEB_BITSTREAM_ID;
    ASSERT_TRUE(reference->write_string(bitstream_id));
    ASSERT_TRUE(PGM_COMMON_XML_ELEMENT::add_child(assignment, reference));
    ASSERT_TRUE(PGM_COMMON_XML_ELEMENT::add_child(object->get_assignments_list().front(), assignment));
}

struct ASSIGNMENT_CHECK
{
    bool valid = false;
    bool has_assignment = false;
    std::string message;
    bool error = false;
};

ASSIGNMENT_CHECK check_partition(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& partition_id,
                                 const std::vector<FIO_FILE_TYPE>& input_file_types = k_jic_inputs)
{
    PARTITION partition(partition_id);
    ASSIGNMENT_CHECK result;
    result.valid = ZEB_UTIL::check_assignment(object, &partition.element, input_file_types, result.has_assignment,
                                              result.message, result.error);
    return result;
}

// A document with one SRAM object file for 7TR440PA3R1 as "Bitstream_1".
DOCUMENT make_input_document(const SCRATCH_DIR& dir)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_bitstream(document.get(), "Bitstream_1", make_sof(dir, "design.sof", "7TR440PA3R1"));
    return document;
}

} // namespace

// ---- The input of a partition ------------------------------------------------------------------------

TEST(AssignmentCheck, APartitionWithoutAssignmentIsValidAndUnassigned)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_input_document(dir);
    ASSIGNMENT_CHECK result = check_partition(document.get(), "P1");
    EXPECT_TRUE(result.valid);
    EXPECT_FALSE(result.has_assignment);

    assign_bitstream(document.get(), "P2", "Bitstream_1");
    result = check_partition(document.get(), "P1");
    EXPECT_TRUE(result.valid);
    EXPECT_FALSE(result.has_assignment);
    result = check_partition(document.get(), "p2"); // ids are compared exactly
    EXPECT_FALSE(result.has_assignment);

    // The flag is only ever set, so one flag gathers "any partition is assigned".
    PARTITION unassigned("P1");
    bool has_assignment = true;
    std::string message;
    bool error = false;
    EXPECT_TRUE(
        ZEB_UTIL::check_assignment(document.get(), &unassigned.element, k_jic_inputs, has_assignment, message, error));
    EXPECT_TRUE(has_assignment);
}

TEST(AssignmentCheck, ABitstreamInputIsCheckedAsTheBitstreamReference)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_input_document(dir);
    assign_bitstream(document.get(), "P1", "Bitstream_1");
    ASSIGNMENT_CHECK result = check_partition(document.get(), "P1");
    EXPECT_TRUE(result.valid) << result.message;
    EXPECT_TRUE(result.has_assignment);

    // With inputs that exclude SRAM object files the result, message and flag are those of the
    // bitstream check of that reference.
    const std::vector<FIO_FILE_TYPE> raw_only = {FIO_FILE_TYPE_RBF};
    PGM_COMMON_XML_ZEB_BITSTREAM_ID reference;
    ASSERT_TRUE(reference.write_string("Bitstream_1"));
    std::string expected;
    bool expected_error = false;
    ASSERT_FALSE(ZEB_UTIL::check_bitstream(document.get(), &reference, raw_only, expected, expected_error));
    result = check_partition(document.get(), "P1", raw_only);
    EXPECT_FALSE(result.valid);
    EXPECT_TRUE(result.has_assignment);
    EXPECT_EQ(result.message, expected);
    EXPECT_EQ(result.error, expected_error);

    assign_bitstream(document.get(), "P2", "Bitstream_9");
    result = check_partition(document.get(), "P2");
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, "Missing settings for bitstream ID Bitstream_9.");
    EXPECT_TRUE(result.error);
}

TEST(AssignmentCheck, AnAssignmentNeedsAnInput)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_input_document(dir);
    set(document.get(), ZEB_CMD_OPT_ASSIGNMENT,
        {{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, "P1"}, {ZEB_CMD_PARAM_ASSIGNMENT_PAGE, "0"}});
    const ASSIGNMENT_CHECK result = check_partition(document.get(), "P1");
    EXPECT_FALSE(result.valid);
    EXPECT_TRUE(result.has_assignment);
    EXPECT_EQ(result.message, "Missing input setting for partition P1");
    EXPECT_FALSE(result.error);
}

TEST(AssignmentCheck, ARawFileInputIsCheckedAsTheRawFileReference)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_input_document(dir);
    add_raw_file(document.get(), "data", make_file(dir, "data.hex", ":00000001FF\n"), PGM_COMMON_XML_ENUM_HEX);
    assign_raw_file(document.get(), "DATA", "data");
    ASSIGNMENT_CHECK result = check_partition(document.get(), "DATA");
    EXPECT_TRUE(result.valid) << result.message;
    EXPECT_TRUE(result.has_assignment);

    result = check_partition(document.get(), "DATA", {FIO_FILE_TYPE_SOF});
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, "Unrecognized input file type 286");

    // With both references the bitstream is the input; the broken raw file reference is not read.
    assign_raw_file(document.get(), "P1", "no_such_raw_file");
    assign_bitstream(document.get(), "P1", "Bitstream_1");
    result = check_partition(document.get(), "P1");
    EXPECT_TRUE(result.valid) << result.message;
}

TEST(AssignmentCheck, OnlyTheFirstAssignmentOfAPartitionCounts)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_input_document(dir);
    assign_bitstream(document.get(), "P1", "Bitstream_1");
    append_assignment(document.get(), "P1", "Bitstream_9", 0);
    EXPECT_TRUE(check_partition(document.get(), "P1").valid);

    assign_bitstream(document.get(), "P2", "Bitstream_9");
    append_assignment(document.get(), "P2", "Bitstream_1", 0);
    const ASSIGNMENT_CHECK result = check_partition(document.get(), "P2");
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.message, "Missing settings for bitstream ID Bitstream_9.");
}

TEST(AssignmentCheck, NullArgumentsAreInternalErrors)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    PARTITION partition("P1");
    bool has_assignment = false;
    std::string message;
    bool error = false;
    EXPECT_EQ(internal_error_of(
                  [&] { ZEB_UTIL::check_assignment(nullptr, &partition.element, {}, has_assignment, message, error); }),
              "object");
    EXPECT_EQ(internal_error_of(
                  [&] { ZEB_UTIL::check_assignment(document.get(), nullptr, {}, has_assignment, message, error); }),
              "partition");
}

// ---- Raw data files ----------------------------------------------------------------------------------

namespace
{

std::pair<bool, std::string> check_raw(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id,
                                       const std::vector<FIO_FILE_TYPE>& input_file_types,
                                       const std::string& earlier_message = "")
{
    PGM_COMMON_XML_ZEB_RAW_FILE_ID reference;
    EXPECT_TRUE(reference.write_string(id));
    std::string message = earlier_message;
    const bool valid = ZEB_UTIL::check_raw_file(object, &reference, input_file_types, message);
    return {valid, message};
}

} // namespace

TEST(RawFileCheck, TheReferenceMustNameARawFileOfTheDocument)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    EXPECT_EQ(check_raw(document.get(), "data", k_jic_inputs),
              std::make_pair(false, std::string("Missing raw file setting for raw_file_id data")));

    // Once the document has raw files, an unknown id fails without a message of its own: whatever
    // the message held stays.
    add_raw_file(document.get(), "data", make_file(dir, "data.hex", ":00000001FF\n"), PGM_COMMON_XML_ENUM_HEX);
    EXPECT_EQ(check_raw(document.get(), "Data", k_jic_inputs, "earlier text"),
              std::make_pair(false, std::string("earlier text")));
    EXPECT_EQ(check_raw(document.get(), "data", k_jic_inputs), std::make_pair(true, std::string()));

    // Through an assignment the silent failure stays silent.
    assign_raw_file(document.get(), "DATA", "other");
    PGM_COMMON_XML_ZEB_PARTITION partition;
    ASSERT_TRUE(partition.write_attribute_string("id", "DATA"));
    bool has_assignment = false;
    std::string message;
    bool error = false;
    EXPECT_FALSE(ZEB_UTIL::check_assignment(document.get(), &partition, k_jic_inputs, has_assignment, message, error));
    EXPECT_EQ(message, "");
    EXPECT_TRUE(has_assignment);
}

TEST(RawFileCheck, OnlyHexadecimalAndRawBinaryFilesAreRawData)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    const std::vector<FIO_FILE_TYPE> everything = {FIO_FILE_TYPE_HEX, FIO_FILE_TYPE_RBF, FIO_FILE_TYPE_SOF,
                                                   FIO_FILE_TYPE_POF, FIO_FILE_TYPE_JIC, FIO_FILE_TYPE_TTF};
    for (PGM_COMMON_XML_ENUM type :
         {PGM_COMMON_XML_ENUM_TTF, PGM_COMMON_XML_ENUM_POF, PGM_COMMON_XML_ENUM_SOF, PGM_COMMON_XML_ENUM_JIC})
    {
        add_raw_file(document.get(), "data", make_file(dir, "data.bin", "data"), type);
        EXPECT_EQ(check_raw(document.get(), "data", everything),
                  std::make_pair(false, "Unrecogized raw file type " + std::to_string(static_cast<int>(type))));
    }
}

TEST(RawFileCheck, TheOutputMustAcceptTheRawFilesInputType)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_raw_file(document.get(), "hex", make_file(dir, "data.hex", ":00000001FF\n"), PGM_COMMON_XML_ENUM_HEX);
    add_raw_file(document.get(), "rbf", make_file(dir, "data.rbf", "data"), PGM_COMMON_XML_ENUM_RBF);
    struct CASE
    {
        const char* id;
        std::vector<FIO_FILE_TYPE> inputs;
        const char* message; // "" when accepted
    };
    const CASE cases[] = {
        {"hex", {FIO_FILE_TYPE_HEX}, ""},
        {"rbf", {FIO_FILE_TYPE_SOF, FIO_FILE_TYPE_RBF}, ""},
        {"hex", {}, "Unrecognized input file type 286"},
        {"rbf", {}, "Unrecognized input file type 348"},
        {"hex", {FIO_FILE_TYPE_RBF, FIO_FILE_TYPE_SOF}, "Unrecognized input file type 286"},
        {"rbf", {FIO_FILE_TYPE_HEX, FIO_FILE_TYPE_RPD}, "Unrecognized input file type 348"},
    };
    for (const CASE& c : cases)
        EXPECT_EQ(check_raw(document.get(), c.id, c.inputs),
                  std::make_pair(std::string(c.message).empty(), std::string(c.message)))
            << c.id << " " << c.inputs.size();
}

TEST(RawFileCheck, NullArgumentsAreInternalErrors)
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    PGM_COMMON_XML_ZEB_RAW_FILE_ID reference;
    std::string message;
    EXPECT_EQ(internal_error_of([&] { ZEB_UTIL::check_raw_file(nullptr, &reference, {}, message); }), "object");
    EXPECT_EQ(internal_error_of([&] { ZEB_UTIL::check_raw_file(document.get(), nullptr, {}, message); }),
              "raw_file_id");
}

// ---- Page rules over documents -----------------------------------------------------------------------

namespace
{

// Active Serial x4 with two SRAM object files for `device`: on a family with remote update the
// factory image is then reserved with pages.
DOCUMENT make_two_image_document(const SCRATCH_DIR& dir, const std::string& device = "7TR440PA3R1")
{
    DOCUMENT document = make_document(PGM_COMMON_XML_ENUM_ASX4);
    add_bitstream(document.get(), "Bitstream_1", make_sof(dir, "factory.sof", device, 0, 1));
    add_bitstream(document.get(), "Bitstream_2", make_sof(dir, "update.sof", device, 0, 2));
    return document;
}

std::pair<bool, std::string> check_pages(PGM_COMMON_XML_ZEB_ZEB* object, bool* error_out = nullptr)
{
    std::string message;
    bool error = false;
    const bool valid = ZEB_UTIL::check_assignment_page_settings(object, message, error);
    if (error_out)
        *error_out = error;
    return {valid, message};
}

const std::string k_factory_on_page_3 =
    "FACTORY_IMAGE have been assigned to page 3. However, FACTORY_IMAGE must always be assigned to page 0.";

} // namespace

TEST(PageRules, TheFactoryImageOfTwoImagesHasPages)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_two_image_document(dir);
    EXPECT_EQ(check_pages(document.get()), std::make_pair(true, std::string()));

    assign_bitstream(document.get(), "FACTORY_IMAGE", "Bitstream_1", 3);
    bool error = false;
    EXPECT_EQ(check_pages(document.get(), &error), std::make_pair(false, k_factory_on_page_3));
    EXPECT_TRUE(error);

    // On page 0 alone it is the only page; images in user partitions have no pages and do not count.
    assign_bitstream(document.get(), "FACTORY_IMAGE", "Bitstream_1", 0);
    assign_bitstream(document.get(), "APPLICATION", "Bitstream_2", 1);
    EXPECT_EQ(check_pages(document.get(), &error),
              std::make_pair(false, std::string("RSU is enabled (FACTORY_IMAGE exists), but there is only one page. "
                                                "Expects to have multiple images.")));
    EXPECT_FALSE(error);

    // A second image on the factory page.
    append_assignment(document.get(), "FACTORY_IMAGE", "Bitstream_2", 0);
    EXPECT_EQ(check_pages(document.get(), &error),
              std::make_pair(false, std::string("There are more than one SOF files have been assigned to page 0. One "
                                                "page can only has one SOF file.")));
    EXPECT_TRUE(error);
}

TEST(PageRules, AssignmentsOutsidePagedPartitionsArePassedOver)
{
    SCRATCH_DIR dir;
    // One image only, or a family without remote update: "FACTORY_IMAGE" is no reserved partition.
    DOCUMENT single = make_input_document(dir);
    assign_bitstream(single.get(), "FACTORY_IMAGE", "Bitstream_1", 3);
    EXPECT_TRUE(check_pages(single.get()).first);

    DOCUMENT other_family = make_two_image_document(dir, "5ZV066H2");
    assign_bitstream(other_family.get(), "FACTORY_IMAGE", "Bitstream_1", 3);
    EXPECT_TRUE(check_pages(other_family.get()).first);

    // The name is compared exactly.
    DOCUMENT document = make_two_image_document(dir);
    assign_bitstream(document.get(), "factory_image", "Bitstream_1", 3);
    EXPECT_TRUE(check_pages(document.get()).first);

    // Hexadecimal raw data is never paged; a raw binary file of configuration data is.
    add_raw_file(document.get(), "hex", make_file(dir, "data.hex", ":00000001FF\n"), PGM_COMMON_XML_ENUM_HEX);
    set(document.get(), ZEB_CMD_OPT_ASSIGNMENT,
        {{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, "FACTORY_IMAGE"},
         {ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID, "hex"},
         {ZEB_CMD_PARAM_ASSIGNMENT_PAGE, "3"}});
    EXPECT_TRUE(check_pages(document.get()).first);

    DOCUMENT raw_binary = make_two_image_document(dir);
    add_raw_file(raw_binary.get(), "rbf", make_rbf(dir, "factory.rbf", "7TR440PA3R1"), PGM_COMMON_XML_ENUM_RBF);
    set(raw_binary.get(), ZEB_CMD_OPT_ASSIGNMENT,
        {{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, "FACTORY_IMAGE"},
         {ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID, "rbf"},
         {ZEB_CMD_PARAM_ASSIGNMENT_PAGE, "3"}});
    EXPECT_EQ(check_pages(raw_binary.get()), std::make_pair(false, k_factory_on_page_3));
}

TEST(PageRules, InputsMustPassTheirPrecheck)
{
    SCRATCH_DIR dir;
    DOCUMENT document = make_two_image_document(dir);
    const std::string broken = make_file(dir, "broken.sof", "not an SRAM object file");
    add_bitstream(document.get(), "Broken", broken);
    assign_bitstream(document.get(), "USER", "Broken", 0);
    const PGM_DEVICE* device = nullptr;
    std::string expected;
    std::string detail;
    ASSERT_FALSE(ZEB_UTIL::precheck_input_file(FIO_PATH(broken), &device, expected, detail, true));
    EXPECT_EQ(check_pages(document.get()), std::make_pair(false, expected));

    // A reference that names nothing has no input to check; the assignment rules report it later.
    assign_bitstream(document.get(), "USER", "Bitstream_9", 0);
    EXPECT_TRUE(check_pages(document.get()).first);

    // A missing file fails with the existence message.
    DOCUMENT missing = make_two_image_document(dir);
    add_bitstream(missing.get(), "Gone", dir.file("gone.sof"));
    assign_bitstream(missing.get(), "USER", "Gone", 0);
    ASSERT_FALSE(ZEB_UTIL::check_file_exist(FIO_PATH(dir.file("gone.sof")), expected));
    EXPECT_EQ(check_pages(missing.get()), std::make_pair(false, expected));
}

TEST(PageRules, DocumentsWithoutSettingsHaveNoPagedPartitions)
{
    SCRATCH_DIR dir;
    DOCUMENT document(new PGM_COMMON_XML_ZEB_ZEB);
    add_bitstream(document.get(), "Bitstream_1", make_sof(dir, "factory.sof", "7TR440PA3R1", 0, 1));
    add_bitstream(document.get(), "Bitstream_2", make_sof(dir, "update.sof", "7TR440PA3R1", 0, 2));
    assign_bitstream(document.get(), "FACTORY_IMAGE", "Bitstream_1", 3);
    EXPECT_TRUE(check_pages(document.get()).first);
    std::string message;
    bool error = false;
    EXPECT_EQ(internal_error_of([&] { ZEB_UTIL::check_assignment_page_settings(nullptr, message, error); }), "object");
}

// ---- Page rules over the paged assignments -----------------------------------------------------------

TEST(PageRules, PagesStartAtZeroAndFollowEachOther)
{
    struct CASE
    {
        std::vector<std::pair<std::string, uint32_t>> paged;
        const char* message; // "" when valid
        bool error;
    };
    const std::string more_than_one_1 =
        "There are more than one SOF files have been assigned to page 1. One page can only has one SOF file.";
    const CASE cases[] = {
        {{}, "", false},
        {{{"CFM0", 0}, {"CFM1", 1}, {"CFM0", 2}}, "", false},
        {{{"CFM0", 2}, {"CFM1", 0}, {"CFM0", 1}}, "", false}, // any order
        {{{"CFM0", 1}, {"CFM1", 2}}, "Missing page 0. Page 0 must be presented.", true},
        {{{"CFM0", 0}, {"CFM1", 2}},
         "Missing page 1 when adding SOF file. The page must be presented in sequence: "
         "0,1,2...",
         true},
        {{{"CFM0", 0}, {"CFM1", 1}, {"CFM0", 3}, {"CFM1", 4}},
         "Missing page 2 when adding SOF file. The page must be presented in sequence: 0,1,2...",
         true},
        {{{"CFM0", 0}, {"CFM1", 1}, {"CFM0", 1}}, more_than_one_1.c_str(), true},
        {{{"CFM0", 5}}, "Missing page 0. Page 0 must be presented.", true},
    };
    for (const CASE& c : cases)
    {
        std::string message;
        bool error = false;
        EXPECT_EQ(zeb_check_page_rules(c.paged, message, error), std::string(c.message).empty()) << c.message;
        EXPECT_EQ(message, c.message);
        EXPECT_EQ(error, c.error) << c.message;
    }
}

TEST(PageRules, TheFactoryImageIsPageZeroAndNotAlone)
{
    struct CASE
    {
        std::vector<std::pair<std::string, uint32_t>> paged;
        std::string message;
        bool error;
    };
    const std::string rsu =
        "RSU is enabled (FACTORY_IMAGE exists), but there is only one page. Expects to have multiple images.";
    const CASE cases[] = {
        {{{"FACTORY_IMAGE", 0}}, rsu, false},
        {{{"FACTORY_IMAGE", 0}, {"CFM0", 1}}, "", false},
        {{{"CFM0", 1}, {"FACTORY_IMAGE", 0}}, "", false},
        {{{"CFM0", 0}, {"CFM1", 1}, {"CFM0", 2}, {"FACTORY_IMAGE", 3}}, k_factory_on_page_3, true},
        // The factory rule comes before the duplicate rule.
        {{{"CFM0", 3}, {"FACTORY_IMAGE", 3}}, k_factory_on_page_3, true},
        // Pages are printed as signed numbers.
        {{{"FACTORY_IMAGE", 0x80000000u}},
         "FACTORY_IMAGE have been assigned to page -2147483648. However, FACTORY_IMAGE must always be assigned to "
         "page 0.",
         true},
        // Without a factory image a single page is fine.
        {{{"CFM0", 0}}, "", false},
    };
    for (const CASE& c : cases)
    {
        std::string message;
        bool error = false;
        EXPECT_EQ(zeb_check_page_rules(c.paged, message, error), c.message.empty()) << c.message;
        EXPECT_EQ(message, c.message);
        EXPECT_EQ(error, c.error) << c.message;
    }
}
