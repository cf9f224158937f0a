// SPDX-License-Identifier: Apache-2.0
// Reserved partitions and pages, and the PCF capability masks of a family.
#include "test_zeb_util_check_support.h"

#include <tuple>

namespace
{

using namespace check_test;
using ROWS = std::vector<ZEB_UTIL_PARTITION_INFO>;
const DEV_DEVICE_ENUM k_none = DEV_DEVICE_INVALID;
const DEV_DEVICE_ENUM k_generic = static_cast<DEV_DEVICE_ENUM>(867);
const FIO_FILE_TYPE k_sof = FIO_FILE_TYPE_SOF;
constexpr PGMIO_CONFIG_SCHEME AS = PGMIO_CONFIG_SCHEME_AS, AS_X4 = PGMIO_CONFIG_SCHEME_AS_X4;

DEV_DEVICE_ENUM number_of(const char* name)
{
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(name);
    EXPECT_NE(device, nullptr) << name;
    return device ? device->get_device() : DEV_DEVICE_INVALID;
}

// The rows as "NAME=start-end", the range left out when both ends are automatic, "+" for a shown row.
std::string layout(const ROWS& rows)
{
    std::string out;
    for (const ZEB_UTIL_PARTITION_INFO& row : rows)
    {
        out += (out.empty() ? "" : " ") + row.name;
        if (row.start_address != "auto" || row.end_address != "auto")
            out += "=" + row.start_address + "-" + row.end_address;
        out += row.shown ? "+" : "";
    }
    return out;
}

// The remote-update layout, with the boot information hidden or shown.
const std::string k_tables = " FACTORY_IMAGE=0x00050000-auto+ SPT0 SPT1 CPB0 CPB1";
const std::string k_update = "BOOT_INFO=0x00000000-0x0004FFFF" + k_tables;
const std::string k_update_shown = "BOOT_INFO=0x00000000-0x0004FFFF+" + k_tables;

std::string reserved(PGMIO_CONFIG_SCHEME scheme, DEV_FAMILY_ENUM family, DEV_DEVICE_ENUM device = k_none,
                     bool multi_image = false, FIO_FILE_TYPE input = k_sof)
{
    return layout(ZEB_UTIL::get_reserved_partitions(scheme, family, device, multi_image, input));
}

} // namespace

TEST(ZebReserved, LayoutOfEachSchemeDeviceAndFamily)
{
    // scheme, family, device, several images, input type, layout
    using CASE = std::tuple<PGMIO_CONFIG_SCHEME, DEV_FAMILY_ENUM, DEV_DEVICE_ENUM, bool, FIO_FILE_TYPE, std::string>;
    const CASE cases[] = {
        {AS, DEV_FAMILY_ZIZIRA, number_of("7TR440PA3R1"), false, k_sof, "BOOT_INFO=0x00000000-0x0003FFFF"},
        {AS, DEV_FAMILY_RERATI, number_of("9RX027R1B"), true, k_sof, k_update},
        {AS_X4, DEV_FAMILY_RERATI, number_of("9RX027R1B"), true, k_sof, k_update},
        // The boot information is shown only for several images from a raw binary input.
        {AS_X4, DEV_FAMILY_RERATI, number_of("9RX027R1B"), true, FIO_FILE_TYPE_RBF, k_update_shown},
        {AS, DEV_FAMILY_RERATI, number_of("9RX027R1B"), false, FIO_FILE_TYPE_RBF, "BOOT_INFO=0x00000000-0x0003FFFF"},
        // Without a device (or with the generic one) the family selects the record; a named device
        // wins over the family, even when it is unknown.
        {AS, DEV_FAMILY_INVALID, number_of("7TR220PA2R1"), true, k_sof, k_update},
        {AS, DEV_FAMILY_ZIZIRA, k_none, true, k_sof, k_update},
        {AS, DEV_FAMILY_ZIZIRA, k_generic, true, k_sof, k_update},
        {AS, DEV_FAMILY_ZIZIRA, static_cast<DEV_DEVICE_ENUM>(999999), false, k_sof, ""},
        {AS, DEV_FAMILY_ZIZIRA, number_of("5ZV066H2"), false, k_sof, ""},
        {AS, DEV_FAMILY_ZIZIRA, number_of("4RG180K1"), false, k_sof, "BOOT_INFO=0x00000000-0x00000020"},
        {AS, DEV_FAMILY_GENERIC, k_none, false, k_sof, ""},
        {AS, DEV_FAMILY_INVALID, k_generic, false, k_sof, ""},
        {AS, static_cast<DEV_FAMILY_ENUM>(99), k_none, false, k_sof, ""},
        {AS, DEV_FAMILY_ZUVOKO, k_none, false, k_sof, ""},
        {AS, DEV_FAMILY_ZATATA, k_none, false, k_sof, ""},
        // The boot header families: never shown.
        {AS_X4, DEV_FAMILY_ROGIRA, k_none, true, FIO_FILE_TYPE_RBF, "BOOT_INFO=0x00000000-0x00000020"},
        {AS_X4, DEV_FAMILY_DESIDI, k_none, true, FIO_FILE_TYPE_RBF, "BOOT_INFO=0x00000000-0x00000020"},
    };
    for (const auto& [scheme, family, device, multi, input, expected] : cases)
        EXPECT_EQ(reserved(scheme, family, device, multi, input), expected)
            << scheme << " " << family << " " << device << " " << multi << " " << input;

    // The other schemes: an options area, or the images of an internal flash.
    for (int scheme = -1; scheme <= 26; ++scheme)
    {
        std::string expected;
        if (scheme == 0 || (scheme >= 10 && scheme <= 12) || (scheme >= 20 && scheme <= 22))
            expected = "OPTIONS+";
        else if (scheme >= 15 && scheme <= 18)
            expected = "UFM+ CFM0+";
        else if (scheme == 19)
            expected = "UFM+ CFM1+ CFM0+";
        else if (scheme == 7 || scheme == 13)
            continue;
        EXPECT_EQ(reserved(static_cast<PGMIO_CONFIG_SCHEME>(scheme), DEV_FAMILY_ZIZIRA), expected) << scheme;
    }
}

// A name that is not reserved under the arguments is a user partition, which holds pages and can be
// edited; names compare exactly.
TEST(ZebReserved, PagesAndEditability)
{
    // name, scheme, several images, has a page, editable
    const std::tuple<const char*, PGMIO_CONFIG_SCHEME, bool, bool, bool> cases[] = {
        {"CFM0", PGMIO_CONFIG_SCHEME_SINGLE_COMPRESSED_IMAGE_ERAM, false, true, false},
        {"CFM1", PGMIO_CONFIG_SCHEME_DUAL_COMPRESSED_IMAGES, false, true, false},
        {"UFM", PGMIO_CONFIG_SCHEME_SINGLE_IMAGE, false, false, false},
        {"FACTORY_IMAGE", AS, true, true, true},
        {"SPT0", AS, true, false, false},
        {"BOOT_INFO", AS, false, false, false},
        {"OPTIONS", PGMIO_CONFIG_SCHEME_PS_X1, false, false, true},
        {"CFM1", PGMIO_CONFIG_SCHEME_SINGLE_IMAGE, false, true, true},
        {"SPT0", AS, false, true, true},
        {"ufm", PGMIO_CONFIG_SCHEME_SINGLE_IMAGE, false, true, true},
        {"USER_DATA", PGMIO_CONFIG_SCHEME_SINGLE_IMAGE, false, true, true},
    };
    for (const auto& [name, scheme, multi, page, editable] : cases)
    {
        EXPECT_EQ(ZEB_UTIL::partition_has_page(name, scheme, DEV_FAMILY_ZIZIRA, k_none, multi, k_sof), page) << name;
        EXPECT_EQ(ZEB_UTIL::partition_is_editable(name, scheme, DEV_FAMILY_ZIZIRA, k_none, multi, k_sof), editable)
            << name << " " << scheme;
    }
}

TEST(ZebReserved, FamilyPcfInfo)
{
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device("9RX065R2A");
    ASSERT_NE(device, nullptr);
    const PGM_PCF_FILE_INFO& expected = device->get_fpga_record()->pcf;
    uint32_t prog = 1, virt = 2, files = 3;
    ZEB_UTIL::get_family_pcf_info(DEV_FAMILY_RERATI, device->get_device(), prog, virt, files);
    EXPECT_EQ(prog, expected.prog_mode_mask);
    EXPECT_EQ(virt, expected.virtual_prog_mode_mask);
    EXPECT_EQ(files, expected.zeb_file_mask);

    // Without a device the family's first device answers.
    const PGM_DEVICE* first = PGM_DEVICE_INDEX::get_first_device_of_family(DEV_FAMILY_MOZOKA);
    ZEB_UTIL::get_family_pcf_info(DEV_FAMILY_MOZOKA, k_generic, prog, virt, files);
    EXPECT_EQ(files, first->get_fpga_record()->pcf.zeb_file_mask);

    // A family without devices leaves the outputs alone.
    prog = virt = files = 0xDEAD;
    ZEB_UTIL::get_family_pcf_info(static_cast<DEV_FAMILY_ENUM>(99), k_none, prog, virt, files);
    EXPECT_EQ(prog + virt + files, 3u * 0xDEAD);
}

TEST(ZebReservedDocument, ModeBitstreamCountInputTypeAndFamilyComeFromTheDocument)
{
    // An Active Serial x4 document (passive serial with `passive`) with one bitstream per input path.
    const auto document_with_inputs = [](const std::vector<std::string>& inputs, bool passive = false)
    {
        DOCUMENT document = make_document(passive ? PGM_COMMON_XML_ENUM_PS : PGM_COMMON_XML_ENUM_ASX4);
        for (size_t i = 0; i < inputs.size(); ++i)
            add_bitstream(document.get(), "Bitstream_" + std::to_string(i + 1), inputs[i]);
        return document;
    };
    const auto rows = [](const DOCUMENT& document, DEV_FAMILY_ENUM family)
    { return layout(ZEB_UTIL::get_reserved_partitions(document.get(), family)); };
    // One image: boot information only; two images on a remote-update family: the update layout.
    DOCUMENT single = document_with_inputs({"a.sof"});
    EXPECT_EQ(rows(single, DEV_FAMILY_RERATI), "BOOT_INFO=0x00000000-0x0003FFFF");
    DOCUMENT two = document_with_inputs({"a.sof", "b.sof"});
    EXPECT_EQ(rows(two, DEV_FAMILY_RERATI), k_update);
    EXPECT_TRUE(ZEB_UTIL::partition_has_page(two.get(), "FACTORY_IMAGE", DEV_FAMILY_RERATI));
    EXPECT_FALSE(ZEB_UTIL::partition_has_page(two.get(), "SPT0", DEV_FAMILY_RERATI));
    EXPECT_TRUE(ZEB_UTIL::partition_has_page(single.get(), "SPT0", DEV_FAMILY_RERATI)); // a user partition here
    // Several bitstreams on a family without remote update stay a single image.
    EXPECT_EQ(rows(two, DEV_FAMILY_ZUVOKO), "");
    // The first input's file type decides whether the boot information is shown.
    EXPECT_EQ(rows(document_with_inputs({"a.rbf", "b.sof"}), DEV_FAMILY_ZIZIRA), k_update_shown);
    EXPECT_EQ(rows(two, DEV_FAMILY_ZIZIRA), k_update);
    // Without bitstreams the passive schemes still have their options area.
    EXPECT_EQ(rows(document_with_inputs({}, true), DEV_FAMILY_ZIZIRA), "OPTIONS+");

    // The family is that of the first input; with no input, or a first input that does not pass its
    // precheck, the generic family.
    SCRATCH_DIR dir;
    const std::string design = make_sof(dir, "design.sof", "9RX027R1B");
    const std::string broken = make_file(dir, "broken.sof", "not an object file");
    EXPECT_EQ(ZEB_UTIL::get_family(document_with_inputs({design}).get()), DEV_FAMILY_RERATI);
    EXPECT_EQ(ZEB_UTIL::get_family(document_with_inputs({}).get()), DEV_FAMILY_GENERIC);
    EXPECT_EQ(ZEB_UTIL::get_family(document_with_inputs({broken, design}).get()), DEV_FAMILY_GENERIC);
    EXPECT_EQ(ZEB_UTIL::get_family(document_with_inputs({dir.file("absent.sof")}).get()), DEV_FAMILY_GENERIC);
}
