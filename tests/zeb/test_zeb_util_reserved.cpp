// SPDX-License-Identifier: Apache-2.0
// Reserved partitions and pages, and the PCF capability masks of a family.
#include "test_zeb_util_check_support.h"

namespace
{

using namespace check_test;
using ROWS = std::vector<ZEB_UTIL_PARTITION_INFO>;
using NAMES = std::vector<std::string>;
const DEV_DEVICE_ENUM k_none = DEV_DEVICE_INVALID;
const DEV_DEVICE_ENUM k_generic = static_cast<DEV_DEVICE_ENUM>(867);
const FIO_FILE_TYPE k_sof = FIO_FILE_TYPE_SOF;

DEV_DEVICE_ENUM number_of(const char* name)
{
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(name);
    EXPECT_NE(device, nullptr) << name;
    return device ? device->get_device() : DEV_DEVICE_INVALID;
}

NAMES names(const ROWS& rows)
{
    NAMES out;
    for (const ZEB_UTIL_PARTITION_INFO& row : rows)
        out.push_back(row.name);
    return out;
}

std::string range(const ZEB_UTIL_PARTITION_INFO& row)
{
    return row.start_address + "-" + row.end_address;
}

ROWS reserved(PGMIO_CONFIG_SCHEME scheme, DEV_FAMILY_ENUM family = DEV_FAMILY_INVALID,
              DEV_DEVICE_ENUM device = DEV_DEVICE_INVALID, bool multi_image = false, FIO_FILE_TYPE type = k_sof)
{
    return ZEB_UTIL::get_reserved_partitions(scheme, family, device, multi_image, type);
}

} // namespace

TEST(ZebReserved, ActiveSerialBlockLayouts)
{
    const ROWS single = reserved(PGMIO_CONFIG_SCHEME_AS, DEV_FAMILY_ZIZIRA, number_of("7TR440PA3R1"));
    ASSERT_EQ(names(single), NAMES{"BOOT_INFO"});
    EXPECT_EQ(range(single[0]), "0x00000000-0x0003FFFF");
    for (PGMIO_CONFIG_SCHEME scheme : {PGMIO_CONFIG_SCHEME_AS, PGMIO_CONFIG_SCHEME_AS_X4})
    {
        const ROWS rows = reserved(scheme, DEV_FAMILY_RERATI, number_of("9RX027R1B"), true);
        ASSERT_EQ(names(rows), (NAMES{"BOOT_INFO", "FACTORY_IMAGE", "SPT0", "SPT1", "CPB0", "CPB1"}));
        EXPECT_EQ(range(rows[0]), "0x00000000-0x0004FFFF");
        EXPECT_EQ(range(rows[1]), "0x00050000-auto");
        for (size_t i = 2; i < rows.size(); ++i)
            EXPECT_EQ(range(rows[i]), "auto-auto") << rows[i].name;
        // The boot information is shown only for several images from a raw binary input.
        EXPECT_FALSE(rows[0].shown);
        EXPECT_TRUE(reserved(scheme, DEV_FAMILY_RERATI, number_of("9RX027R1B"), true, FIO_FILE_TYPE_RBF)[0].shown);
        EXPECT_FALSE(reserved(scheme, DEV_FAMILY_RERATI, number_of("9RX027R1B"), false, FIO_FILE_TYPE_RBF)[0].shown);
    }
}

TEST(ZebReserved, DeviceOrFamilySelectsTheRecord)
{
    const ROWS by_device = reserved(PGMIO_CONFIG_SCHEME_AS, DEV_FAMILY_INVALID, number_of("7TR220PA2R1"), true);
    for (DEV_DEVICE_ENUM device : {k_none, k_generic})
    {
        const ROWS by_family = reserved(PGMIO_CONFIG_SCHEME_AS, DEV_FAMILY_ZIZIRA, device, true);
        ASSERT_EQ(names(by_family), names(by_device));
        EXPECT_EQ(by_family[0].end_address, by_device[0].end_address);
    }
    // A named device wins over the family, even when it is unknown.
    EXPECT_TRUE(reserved(PGMIO_CONFIG_SCHEME_AS, DEV_FAMILY_ZIZIRA, static_cast<DEV_DEVICE_ENUM>(999999)).empty());
    EXPECT_TRUE(reserved(PGMIO_CONFIG_SCHEME_AS, DEV_FAMILY_ZIZIRA, number_of("5ZV066H2")).empty());
    EXPECT_TRUE(reserved(PGMIO_CONFIG_SCHEME_AS, DEV_FAMILY_GENERIC, k_none).empty());
    EXPECT_TRUE(reserved(PGMIO_CONFIG_SCHEME_AS, DEV_FAMILY_INVALID, k_generic).empty());
    EXPECT_TRUE(reserved(PGMIO_CONFIG_SCHEME_AS, static_cast<DEV_FAMILY_ENUM>(99), k_none).empty());

    // The boot header families.
    for (DEV_FAMILY_ENUM family : {DEV_FAMILY_ROGIRA, DEV_FAMILY_DESIDI})
    {
        const ROWS rows = reserved(PGMIO_CONFIG_SCHEME_AS_X4, family, k_none, true, FIO_FILE_TYPE_RBF);
        ASSERT_EQ(names(rows), NAMES{"BOOT_INFO"}) << family;
        EXPECT_EQ(range(rows[0]), "0x00000000-0x00000020");
        EXPECT_FALSE(rows[0].shown);
    }
    EXPECT_EQ(reserved(PGMIO_CONFIG_SCHEME_AS, DEV_FAMILY_ZIZIRA, number_of("4RG180K1")).size(), 1u);
    EXPECT_TRUE(reserved(PGMIO_CONFIG_SCHEME_AS, DEV_FAMILY_ZUVOKO).empty());
    EXPECT_TRUE(reserved(PGMIO_CONFIG_SCHEME_AS, DEV_FAMILY_ZATATA).empty());
}

TEST(ZebReserved, OptionsAreaAndInternalImages)
{
    for (int scheme = -1; scheme <= 26; ++scheme)
    {
        NAMES expected;
        if (scheme == 0 || (scheme >= 10 && scheme <= 12) || (scheme >= 20 && scheme <= 22))
            expected = {"OPTIONS"};
        else if (scheme >= 15 && scheme <= 18)
            expected = {"UFM", "CFM0"};
        else if (scheme == 19)
            expected = {"UFM", "CFM1", "CFM0"};
        else if (scheme == 7 || scheme == 13)
            continue;
        EXPECT_EQ(names(reserved(static_cast<PGMIO_CONFIG_SCHEME>(scheme), DEV_FAMILY_ZIZIRA)), expected) << scheme;
    }
}

TEST(ZebReserved, PagesAndEditability)
{
    const auto page = [](const char* name, PGMIO_CONFIG_SCHEME scheme, bool multi = false)
    { return ZEB_UTIL::partition_has_page(name, scheme, DEV_FAMILY_ZIZIRA, k_none, multi, k_sof); };
    const auto editable = [](const char* name, PGMIO_CONFIG_SCHEME scheme, bool multi = false)
    { return ZEB_UTIL::partition_is_editable(name, scheme, DEV_FAMILY_ZIZIRA, k_none, multi, k_sof); };
    EXPECT_TRUE(page("CFM0", PGMIO_CONFIG_SCHEME_SINGLE_COMPRESSED_IMAGE_ERAM));
    EXPECT_TRUE(page("CFM1", PGMIO_CONFIG_SCHEME_DUAL_COMPRESSED_IMAGES));
    EXPECT_FALSE(page("UFM", PGMIO_CONFIG_SCHEME_SINGLE_IMAGE));
    EXPECT_TRUE(page("FACTORY_IMAGE", PGMIO_CONFIG_SCHEME_AS, true));
    EXPECT_FALSE(page("SPT0", PGMIO_CONFIG_SCHEME_AS, true));
    // A name that is not reserved under the arguments is a user partition, which holds pages; names
    // compare exactly.
    EXPECT_TRUE(page("CFM1", PGMIO_CONFIG_SCHEME_SINGLE_IMAGE));
    EXPECT_TRUE(page("SPT0", PGMIO_CONFIG_SCHEME_AS, false));
    EXPECT_TRUE(page("ufm", PGMIO_CONFIG_SCHEME_SINGLE_IMAGE));

    EXPECT_FALSE(editable("BOOT_INFO", PGMIO_CONFIG_SCHEME_AS));
    EXPECT_FALSE(editable("SPT0", PGMIO_CONFIG_SCHEME_AS, true));
    EXPECT_TRUE(editable("SPT0", PGMIO_CONFIG_SCHEME_AS, false));
    EXPECT_TRUE(editable("FACTORY_IMAGE", PGMIO_CONFIG_SCHEME_AS, true));
    EXPECT_TRUE(editable("OPTIONS", PGMIO_CONFIG_SCHEME_PS_X1));
    EXPECT_FALSE(editable("UFM", PGMIO_CONFIG_SCHEME_SINGLE_IMAGE));
    EXPECT_TRUE(editable("USER_DATA", PGMIO_CONFIG_SCHEME_SINGLE_IMAGE));
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
    { return ZEB_UTIL::get_reserved_partitions(document.get(), family); };
    // One image: boot information only; two images on a remote-update family: the update layout.
    DOCUMENT single = document_with_inputs({"a.sof"});
    EXPECT_EQ(names(rows(single, DEV_FAMILY_RERATI)), NAMES{"BOOT_INFO"});
    DOCUMENT two = document_with_inputs({"a.sof", "b.sof"});
    EXPECT_EQ(names(rows(two, DEV_FAMILY_RERATI)),
              (NAMES{"BOOT_INFO", "FACTORY_IMAGE", "SPT0", "SPT1", "CPB0", "CPB1"}));
    EXPECT_TRUE(ZEB_UTIL::partition_has_page(two.get(), "FACTORY_IMAGE", DEV_FAMILY_RERATI));
    EXPECT_FALSE(ZEB_UTIL::partition_has_page(two.get(), "SPT0", DEV_FAMILY_RERATI));
    EXPECT_TRUE(ZEB_UTIL::partition_has_page(single.get(), "SPT0", DEV_FAMILY_RERATI)); // a user partition here
    // Several bitstreams on a family without remote update stay a single image.
    EXPECT_TRUE(rows(two, DEV_FAMILY_ZUVOKO).empty());
    // The first input's file type decides whether the boot information is shown.
    EXPECT_TRUE(rows(document_with_inputs({"a.rbf", "b.sof"}), DEV_FAMILY_ZIZIRA)[0].shown);
    EXPECT_FALSE(rows(two, DEV_FAMILY_ZIZIRA)[0].shown);
    // Without bitstreams the passive schemes still have their options area.
    EXPECT_EQ(names(rows(document_with_inputs({}, true), DEV_FAMILY_ZIZIRA)), NAMES{"OPTIONS"});

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
