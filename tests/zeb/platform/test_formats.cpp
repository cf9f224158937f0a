// SPDX-License-Identifier: Apache-2.0
// Binary programming file formats: round trips, the rules each format enforces, and corruption
// (every single-byte change and every truncation of a small valid file is refused cleanly).
#include "test_formats_support.h"

#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/pgmio/pgmio_info.h"

#include <filesystem>

using namespace corvane_test;

namespace
{

// Every format's small sample, encoded, with the extension its files carry.
struct SAMPLE_FILE
{
    const char* name;
    FIO_EXTENSION_TYPE extension;
    PGMIO_BYTES image;
};

std::vector<SAMPLE_FILE> all_samples()
{
    std::vector<SAMPLE_FILE> samples;
    std::string error;
    auto add = [&](const char* name, FIO_EXTENSION_TYPE extension, auto encode)
    {
        PGMIO_BYTES image;
        EXPECT_TRUE(encode(image)) << name << ": " << error;
        samples.push_back({name, extension, std::move(image)});
    };
    add("rbf", FIO_EXTENSION_TYPE_RBF,
        [&](PGMIO_BYTES& image) { return PGMIO_RBF::encode(small_config(PGMIO_DESIGN_CVP), image, error); });
    add("sof", FIO_EXTENSION_TYPE_SOF,
        [&](PGMIO_BYTES& image) { return PGMIO_SOF::encode(small_sof(true), image, error); });
    add("pmsf", FIO_EXTENSION_TYPE_PMSF,
        [&](PGMIO_BYTES& image) { return PGMIO_PMSF::encode(small_pmsf(), image, error); });
    add("msf", FIO_EXTENSION_TYPE_MSF,
        [&](PGMIO_BYTES& image) { return PGMIO_MSF::encode(small_msf(), image, error); });
    add("pof", FIO_EXTENSION_TYPE_POF,
        [&](PGMIO_BYTES& image) { return PGMIO_FLASH_FILE::encode(small_flash(false), image, error); });
    add("jic", FIO_EXTENSION_TYPE_JIC,
        [&](PGMIO_BYTES& image) { return PGMIO_FLASH_FILE::encode(small_flash(true), image, error); });
    add("ekp", FIO_EXTENSION_TYPE_EKP,
        [&](PGMIO_BYTES& image) { return PGMIO_EKP::encode(small_ekp(), image, error); });
    // Helper images are raw binary files to the user (the helper image output types write .rbf).
    add("helper", FIO_EXTENSION_TYPE_RBF,
        [&](PGMIO_BYTES& image) { return PGMIO_HELPER::encode(small_helper(), image, error); });
    return samples;
}

} // namespace

TEST(Formats, ConfigurationDataRoundTrip)
{
    SCRATCH_DIR dir;
    std::string error;
    for (uint32_t flags : {0u, PGMIO_DESIGN_CVP | PGMIO_DESIGN_HPS})
    {
        const PGMIO_CONFIG_DATA written = small_config(flags);
        ASSERT_TRUE(PGMIO_RBF::write(dir.file("a.rbf"), written, error)) << error;
        PGMIO_CONFIG_DATA read;
        ASSERT_TRUE(PGMIO_RBF::read(dir.file("a.rbf"), read, error)) << error;
        EXPECT_EQ(read, written);
    }
}

TEST(Formats, SofRoundTripWithAndWithoutBootloader)
{
    SCRATCH_DIR dir;
    std::string error;
    for (bool bootloader : {false, true})
    {
        const PGMIO_SOF_IMAGE written = small_sof(bootloader);
        ASSERT_TRUE(PGMIO_SOF::write(dir.file("a.sof"), written, error)) << error;
        PGMIO_SOF_IMAGE read;
        ASSERT_TRUE(PGMIO_SOF::read(dir.file("a.sof"), read, error)) << error;
        EXPECT_EQ(read.device_name, written.device_name);
        EXPECT_EQ(read.design_name, written.design_name);
        EXPECT_EQ(read.flags, written.flags);
        EXPECT_EQ(read.config, written.config);
        EXPECT_EQ(read.has_bootloader, bootloader);
        EXPECT_EQ(read.bootloader, written.bootloader);
        EXPECT_EQ(read.bootloader_address, written.bootloader_address);
        // The hash describes the configuration data as encoded.
        PGMIO_BYTES config;
        ASSERT_TRUE(PGMIO_RBF::encode(written.config, config, error));
        EXPECT_EQ(read.design_hash, pgmio_sha256(config));
    }
}

// The CRC against a bit-at-a-time reference: lengths on both sides of the folded path, unaligned
// starts and a continued CRC, plus the polynomial's published check value.
TEST(Formats, Crc32MatchesBitwiseReference)
{
    const auto reference = [](std::span<const uint8_t> data, uint32_t crc)
    {
        crc = ~crc;
        for (uint8_t byte : data)
        {
            crc ^= byte;
            for (int bit = 0; bit < 8; ++bit)
                crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1)));
        }
        return ~crc;
    };
    const std::string check = "123456789";
    EXPECT_EQ(pgmio_crc32(std::span(reinterpret_cast<const uint8_t*>(check.data()), check.size())), 0xCBF43926u);
    PGMIO_BYTES bytes(1200);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = uint8_t(i * 131 + (i >> 7));
    for (size_t offset : {0, 1, 3})
        for (size_t size = 0; size + offset <= bytes.size(); size += size < 300 ? 1 : 61)
        {
            const std::span<const uint8_t> data = std::span<const uint8_t>(bytes).subspan(offset, size);
            ASSERT_EQ(pgmio_crc32(data), reference(data, 0)) << offset << "+" << size;
            ASSERT_EQ(pgmio_crc32(data, 0x5EED1234u), reference(data, 0x5EED1234u)) << offset << "+" << size;
        }
}

TEST(Formats, RegionFilesRoundTrip)
{
    SCRATCH_DIR dir;
    std::string error;
    const PGMIO_PMSF_IMAGE pmsf = small_pmsf();
    ASSERT_TRUE(PGMIO_PMSF::write(dir.file("r.pmsf"), pmsf, error)) << error;
    PGMIO_PMSF_IMAGE pmsf_read;
    ASSERT_TRUE(PGMIO_PMSF::read(dir.file("r.pmsf"), pmsf_read, error)) << error;
    EXPECT_EQ(pmsf_read.device_name, pmsf.device_name);
    EXPECT_EQ(pmsf_read.design_name, pmsf.design_name);
    EXPECT_EQ(pmsf_read.region_name, pmsf.region_name);
    EXPECT_EQ(pmsf_read.region_offset, pmsf.region_offset);
    EXPECT_EQ(pmsf_read.base_hash, pmsf.base_hash);
    EXPECT_EQ(pmsf_read.data, pmsf.data);
    EXPECT_EQ(pmsf_read.mask, pmsf.mask);

    const PGMIO_MSF_IMAGE msf = small_msf();
    ASSERT_TRUE(PGMIO_MSF::write(dir.file("r.msf"), msf, error)) << error;
    PGMIO_MSF_IMAGE msf_read;
    ASSERT_TRUE(PGMIO_MSF::read(dir.file("r.msf"), msf_read, error)) << error;
    EXPECT_EQ(msf_read.device_name, msf.device_name);
    EXPECT_EQ(msf_read.region_name, msf.region_name);
    EXPECT_EQ(msf_read.region_offset, msf.region_offset);
    EXPECT_EQ(msf_read.mask, msf.mask);
}

TEST(Formats, FlashFilesRoundTrip)
{
    SCRATCH_DIR dir;
    std::string error;
    for (bool jic : {false, true})
    {
        const PGMIO_FLASH_IMAGE written = small_flash(jic);
        const std::string path = dir.file(jic ? "a.jic" : "a.pof");
        ASSERT_TRUE(PGMIO_FLASH_FILE::write(path, written, error)) << error;
        PGMIO_FLASH_IMAGE read;
        ASSERT_TRUE(PGMIO_FLASH_FILE::read(path, read, error)) << error;
        EXPECT_EQ(read, written);
    }
}

TEST(Formats, KeyAndHelperFilesRoundTrip)
{
    SCRATCH_DIR dir;
    std::string error;
    const PGMIO_EKP_IMAGE ekp = small_ekp();
    ASSERT_TRUE(PGMIO_EKP::write(dir.file("k.ekp"), ekp, error)) << error;
    PGMIO_EKP_IMAGE ekp_read;
    ASSERT_TRUE(PGMIO_EKP::read(dir.file("k.ekp"), ekp_read, error)) << error;
    EXPECT_EQ(ekp_read, ekp);

    const PGMIO_HELPER_IMAGE helper = small_helper();
    ASSERT_TRUE(PGMIO_HELPER::write(dir.file("h.hlp"), helper, error)) << error;
    PGMIO_HELPER_IMAGE helper_read;
    ASSERT_TRUE(PGMIO_HELPER::read(dir.file("h.hlp"), helper_read, error)) << error;
    EXPECT_EQ(helper_read, helper);
}

TEST(Formats, EverySingleByteChangeIsDetected)
{
    for (const SAMPLE_FILE& sample : all_samples())
    {
        ASSERT_EQ(pgmio_check_image(sample.image, sample.extension, sample.name), "") << sample.name;
        for (size_t i = 0; i < sample.image.size(); ++i)
        {
            for (uint8_t change : {0x01, 0x80, 0xFF})
            {
                PGMIO_BYTES damaged = sample.image;
                damaged[i] ^= change;
                EXPECT_NE(pgmio_check_image(damaged, sample.extension, sample.name), "")
                    << sample.name << ": byte " << i << " ^ " << int(change) << " went unnoticed";
            }
        }
    }
}

TEST(Formats, EveryTruncationAndAppendedByteIsRefused)
{
    for (const SAMPLE_FILE& sample : all_samples())
    {
        for (size_t length = 0; length < sample.image.size(); ++length)
        {
            const PGMIO_BYTES cut(sample.image.begin(), sample.image.begin() + long(length));
            EXPECT_NE(pgmio_check_image(cut, sample.extension, sample.name), "") << sample.name << " cut to " << length;
        }
        PGMIO_BYTES longer = sample.image;
        longer.push_back(0);
        EXPECT_NE(pgmio_check_image(longer, sample.extension, sample.name).find("trailing data"), std::string::npos)
            << sample.name;
    }
}

TEST(Formats, TruncatedFileIsReportedByTheIntegrityCheck)
{
    SCRATCH_DIR dir;
    std::string error;
    const std::string path = dir.file("a.sof");
    ASSERT_TRUE(PGMIO_SOF::write(path, small_sof(false), error)) << error;
    EXPECT_EQ(BITASM_MGR::check_bitstream_integrity(path), "");
    std::filesystem::resize_file(path, std::filesystem::file_size(path) - 10);
    EXPECT_NE(BITASM_MGR::check_bitstream_integrity(path).find("truncated"), std::string::npos);
}

TEST(Formats, ContainerHeaderProblemsAreNamed)
{
    std::string error;
    PGMIO_BYTES good;
    ASSERT_TRUE(PGMIO_RBF::encode(small_config(0), good, error));
    PGMIO_CONFIG_DATA data;
    struct CASE
    {
        size_t offset;
        uint8_t value;
        const char* expected;
    };
    const CASE cases[] = {
        {0, 'X', "wrong magic"},
        {8, 2, "unsupported format version 2"},
        {10, 40, "bad header size"},
        {12, 0xFF, "section count"},
        {16, 0x01, "the header declares"},
        {24, 1, "reserved header bytes"},
        {32 + 8, 0x01, "starts at"},                 // first section's offset
        {32 + 16 + 7, 0x40, "runs past the end"},    // first section's length, top byte
        {32 + 4, 0x5A, "CRC mismatch in section 0"}, // first section's stored CRC
    };
    for (const CASE& c : cases)
    {
        PGMIO_BYTES damaged = good;
        damaged[c.offset] = c.value;
        EXPECT_FALSE(PGMIO_RBF::decode(damaged, data, error));
        EXPECT_NE(error.find(c.expected), std::string::npos) << "offset " << c.offset << ": " << error;
    }
    EXPECT_FALSE(PGMIO_RBF::decode({}, data, error));
    EXPECT_EQ(error, "the file is empty");
    // A sound container of another kind.
    PGMIO_BYTES msf;
    ASSERT_TRUE(PGMIO_MSF::encode(small_msf(), msf, error));
    EXPECT_FALSE(PGMIO_RBF::decode(msf, data, error));
    EXPECT_NE(error.find("'MSF ' data, not a configuration data file"), std::string::npos) << error;
}

TEST(Formats, LengthsAndCountsInsideSectionsAreChecked)
{
    std::string error;
    // A page table that claims four billion pages in a few bytes: refused before any allocation.
    PGMIO_BYTE_WRITER header;
    header.str("VQ256A");
    header.u64(1 << 20);
    header.str("7TR440PA3R1");
    header.u32(0x17A445EF);
    header.u32(0);
    header.u32(0);
    PGMIO_BYTE_WRITER options;
    options.u64(0);
    options.u8(0xAA);
    PGMIO_BYTE_WRITER pages;
    pages.u32(0xFFFFFFFF);
    pages.u64(0);
    PGMIO_CONTAINER_BUILDER builder(PGMIO_KIND_POF);
    builder.add(pgmio_tag("FLSH"), header.data());
    builder.add(pgmio_tag("OPTB"), options.data());
    builder.add(pgmio_tag("PAGE"), pages.data());
    PGMIO_BYTES image;
    ASSERT_TRUE(builder.finish(image, error));
    PGMIO_FLASH_IMAGE flash;
    EXPECT_FALSE(PGMIO_FLASH_FILE::decode(image, flash, error));
    EXPECT_NE(error.find("page count 4294967295 does not fit"), std::string::npos) << error;

    // A string length past the end of its section.
    PGMIO_BYTE_WRITER bad_header;
    bad_header.u16(500);
    PGMIO_CONTAINER_BUILDER ekp(PGMIO_KIND_EKP);
    ekp.add(pgmio_tag("EKPH"), bad_header.data());
    ASSERT_TRUE(ekp.finish(image, error));
    PGMIO_EKP_IMAGE keys;
    EXPECT_FALSE(PGMIO_EKP::decode(image, keys, error));
    EXPECT_NE(error.find("section 'EKPH' at offset 2: needs 500 bytes"), std::string::npos) << error;

    // Unknown and repeated sections.
    PGMIO_CONTAINER_BUILDER unknown(PGMIO_KIND_MSF);
    unknown.add(pgmio_tag("XYZW"), header.data());
    ASSERT_TRUE(unknown.finish(image, error));
    PGMIO_MSF_IMAGE msf;
    EXPECT_FALSE(PGMIO_MSF::decode(image, msf, error));
    EXPECT_NE(error.find("unknown section 'XYZW'"), std::string::npos) << error;
}

TEST(Formats, ConfigurationDataRules)
{
    std::string error;
    PGMIO_CONFIG_DATA data = small_config(0);
    data.idcode = 0x17A445EE;
    EXPECT_FALSE(PGMIO_RBF::validate(data, error));
    EXPECT_NE(error.find("bit 0 is clear"), std::string::npos);

    data = small_config(0);
    std::swap(data.sections[0], data.sections[1]);
    EXPECT_FALSE(PGMIO_RBF::validate(data, error));
    EXPECT_NE(error.find("out of order"), std::string::npos);

    data = small_config(0);
    data.sections.pop_back();
    EXPECT_FALSE(PGMIO_RBF::validate(data, error));
    EXPECT_NE(error.find("'CORE' is missing"), std::string::npos);

    data = small_config(0);
    data.flags = PGMIO_DESIGN_CVP;
    EXPECT_FALSE(PGMIO_RBF::validate(data, error));
    EXPECT_NE(error.find("separate 'PERI'"), std::string::npos);

    data = small_config(PGMIO_DESIGN_HPS);
    data.flags = 0;
    EXPECT_FALSE(PGMIO_RBF::validate(data, error));
    EXPECT_NE(error.find("without the HPS flag"), std::string::npos);

    data = small_config(0);
    data.sections[0].data.clear();
    EXPECT_FALSE(PGMIO_RBF::validate(data, error));
    EXPECT_NE(error.find("is empty"), std::string::npos);
}

TEST(Formats, ObjectFileRules)
{
    std::string error;
    PGMIO_BYTES image;
    PGMIO_SOF_IMAGE sof = small_sof(true);
    sof.flags = 0;
    EXPECT_FALSE(PGMIO_SOF::encode(sof, image, error));
    EXPECT_NE(error.find("differ from those of its configuration data"), std::string::npos) << error;
    sof = small_sof(false);
    sof.bootloader = {1, 2};
    EXPECT_FALSE(PGMIO_SOF::encode(sof, image, error));

    PGMIO_PMSF_IMAGE pmsf = small_pmsf();
    pmsf.data[3] = 0xFF;
    pmsf.mask[3] = 0x0F;
    EXPECT_FALSE(PGMIO_PMSF::validate(pmsf, error));
    EXPECT_NE(error.find("byte 3 sets bits outside the mask"), std::string::npos) << error;
    pmsf = small_pmsf();
    pmsf.mask.pop_back();
    EXPECT_FALSE(PGMIO_PMSF::validate(pmsf, error));

    PGMIO_FLASH_IMAGE flash = small_flash(false);
    flash.pages.push_back({"P2", 0x800, 0x1FFF});
    EXPECT_FALSE(PGMIO_FLASH_FILE::validate(flash, error));
    EXPECT_NE(error.find("overlap"), std::string::npos) << error;
    flash = small_flash(false);
    flash.blocks.push_back({flash.flash_size - 2, {1, 2, 3}});
    EXPECT_FALSE(PGMIO_FLASH_FILE::validate(flash, error));
    EXPECT_NE(error.find("the available range is only (0x00000000..0x000fffff)"), std::string::npos) << error;
    flash = small_flash(false);
    flash.blocks[0].address = flash.option_bits_address;
    EXPECT_FALSE(PGMIO_FLASH_FILE::validate(flash, error));
    flash = small_flash(false);
    flash.loader_device = "7TR440PA3R1";
    EXPECT_FALSE(PGMIO_FLASH_FILE::validate(flash, error));
    EXPECT_NE(error.find("carries no flash loader"), std::string::npos) << error;

    PGMIO_EKP_IMAGE ekp = small_ekp();
    ekp.keys[0].key.pop_back();
    EXPECT_FALSE(PGMIO_EKP::validate(ekp, error));
    EXPECT_NE(error.find("not 32"), std::string::npos) << error;
    ekp = small_ekp();
    ekp.keys[1].id = ekp.keys[0].id;
    EXPECT_FALSE(PGMIO_EKP::validate(ekp, error));

    PGMIO_HELPER_IMAGE helper = small_helper();
    helper.subtype = 99;
    EXPECT_FALSE(PGMIO_HELPER::validate(helper, error));
}

TEST(Formats, UnreadableFilesGiveReasons)
{
    SCRATCH_DIR dir;
    std::string error;
    PGMIO_SOF_IMAGE sof;
    EXPECT_FALSE(PGMIO_SOF::read(dir.file("missing.sof"), sof, error));
    EXPECT_NE(error.find("cannot open"), std::string::npos);
    std::filesystem::create_directory(dir.file("folder.sof"));
    EXPECT_FALSE(PGMIO_SOF::read(dir.file("folder.sof"), sof, error));
    EXPECT_NE(error.find("is a directory"), std::string::npos);
    EXPECT_NE(BITASM_MGR::check_bitstream_integrity(dir.file("folder.sof")).find("is a directory"), std::string::npos);
    write_file(dir.file("empty.sof"), "");
    EXPECT_EQ(BITASM_MGR::check_bitstream_integrity(dir.file("empty.sof")), "the file is empty");
    write_file(dir.file("text.sof"), "hello");
    EXPECT_NE(BITASM_MGR::check_bitstream_integrity(dir.file("text.sof")).find("wrong magic"), std::string::npos);
    // Raw programming data is checked as the flash bytes it holds.
    write_file(dir.file("data.rpd"), "anything");
    EXPECT_EQ(BITASM_MGR::check_bitstream_integrity(dir.file("data.rpd")),
              "no directory record and no configuration data found in the flash bytes");

    PGMIO_BYTES bytes;
    write_file(dir.file("big.bin"), std::string(100, 'x'));
    EXPECT_FALSE(pgmio_read_file(dir.file("big.bin"), bytes, error, 99));
    EXPECT_NE(error.find("larger than the largest file accepted (99 bytes)"), std::string::npos) << error;
    EXPECT_TRUE(pgmio_read_file(dir.file("big.bin"), bytes, error, 100)) << error;
    EXPECT_EQ(bytes.size(), 100u);
}

TEST(Formats, FailedWritesLeaveTheTargetAlone)
{
    SCRATCH_DIR dir;
    std::string error;
    const std::string path = dir.file("keep.sof");
    write_file(path, "old content");
    PGMIO_SOF_IMAGE invalid = small_sof(false);
    invalid.device_name.clear();
    EXPECT_FALSE(PGMIO_SOF::write(path, invalid, error));
    EXPECT_EQ(read_file(path), "old content");
    EXPECT_FALSE(PGMIO_SOF::write(dir.file("no/such/dir/a.sof"), small_sof(false), error));
    EXPECT_NE(error.find("cannot create"), std::string::npos) << error;
    // Nothing but the untouched target remains: no temporary file is left behind.
    size_t entries = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir.path()))
        ++entries;
    EXPECT_EQ(entries, 1u);
}
