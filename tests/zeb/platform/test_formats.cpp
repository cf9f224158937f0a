// SPDX-License-Identifier: Apache-2.0
// Binary programming file formats: round trips, the rules each format enforces, and corruption
// (every single-byte change and every truncation of a small valid file is refused cleanly).
#include "test_formats_support.h"

#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/pgmio/pgmio_info.h"

#include <concepts>
#include <functional>

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

// Written to a file and read back, every format gives an image that encodes to the same bytes (a
// field the reader drops or misreads changes the encoding) and, where images compare, the same image.
template <class FORMAT, class IMAGE> IMAGE round_trip(const IMAGE& written)
{
    SCRATCH_DIR dir;
    std::string error;
    IMAGE read;
    PGMIO_BYTES before, after;
    EXPECT_TRUE(FORMAT::write(dir.file("f"), written, error) && FORMAT::read(dir.file("f"), read, error)) << error;
    EXPECT_TRUE(FORMAT::encode(written, before, error) && FORMAT::encode(read, after, error)) << error;
    EXPECT_EQ(after, before);
    if constexpr (std::equality_comparable<IMAGE>)
    {
        EXPECT_EQ(read, written);
    }
    return read;
}

TEST(Formats, EveryFormatRoundTrips)
{
    for (uint32_t flags : {0u, PGMIO_DESIGN_CVP | PGMIO_DESIGN_HPS})
        round_trip<PGMIO_RBF>(small_config(flags));
    EXPECT_FALSE(round_trip<PGMIO_SOF>(small_sof(false)).has_bootloader);
    const PGMIO_SOF_IMAGE sof = round_trip<PGMIO_SOF>(small_sof(true));
    EXPECT_EQ(sof.bootloader, small_sof(true).bootloader);
    // The hash describes the configuration data as encoded.
    PGMIO_BYTES encoded;
    std::string error;
    ASSERT_TRUE(PGMIO_RBF::encode(sof.config, encoded, error));
    EXPECT_EQ(sof.design_hash, pgmio_sha256(encoded));
    EXPECT_EQ(round_trip<PGMIO_PMSF>(small_pmsf()).mask, small_pmsf().mask);
    EXPECT_EQ(round_trip<PGMIO_MSF>(small_msf()).region_offset, small_msf().region_offset);
    for (bool jic : {false, true})
        round_trip<PGMIO_FLASH_FILE>(small_flash(jic));
    round_trip<PGMIO_EKP>(small_ekp());
    round_trip<PGMIO_HELPER>(small_helper());
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
    const auto container = [&](uint32_t kind, std::vector<std::pair<uint32_t, PGMIO_BYTE_WRITER>> sections)
    {
        PGMIO_CONTAINER_BUILDER builder(kind);
        for (const auto& [tag, section] : sections)
            builder.add(tag, section.data());
        PGMIO_BYTES image;
        EXPECT_TRUE(builder.finish(image, error)) << error;
        return image;
    };
    // A page table that claims four billion pages in a few bytes: refused before any allocation.
    PGMIO_BYTE_WRITER header, options, pages, bad_header;
    header.str("VQ256A");
    header.u64(1 << 20);
    header.str("7TR440PA3R1");
    header.u32(0x17A445EF);
    header.u32(0);
    header.u32(0);
    options.u64(0);
    options.u8(0xAA);
    pages.u32(0xFFFFFFFF);
    pages.u64(0);
    PGMIO_FLASH_IMAGE flash;
    const PGMIO_BYTES image = container(
        PGMIO_KIND_POF, {{pgmio_tag("FLSH"), header}, {pgmio_tag("OPTB"), options}, {pgmio_tag("PAGE"), pages}});
    EXPECT_FALSE(PGMIO_FLASH_FILE::decode(image, flash, error));
    EXPECT_NE(error.find("page count 4294967295 does not fit"), std::string::npos) << error;
    // A string length past the end of its section.
    bad_header.u16(500);
    PGMIO_EKP_IMAGE keys;
    EXPECT_FALSE(PGMIO_EKP::decode(container(PGMIO_KIND_EKP, {{pgmio_tag("EKPH"), bad_header}}), keys, error));
    EXPECT_NE(error.find("section 'EKPH' at offset 2: needs 500 bytes"), std::string::npos) << error;
    // An unknown section.
    PGMIO_MSF_IMAGE msf;
    EXPECT_FALSE(PGMIO_MSF::decode(container(PGMIO_KIND_MSF, {{pgmio_tag("XYZW"), header}}), msf, error));
    EXPECT_NE(error.find("unknown section 'XYZW'"), std::string::npos) << error;
    // A design hash that is not the configuration data's, in a sound container: refused unless
    // the caller (the engine) does not ask for the hash.
    PGMIO_BYTE_WRITER sof_header, sof_config;
    sof_header.str("7TR440PA3R1");
    sof_header.str("blinky");
    sof_header.u32(0);
    sof_header.bytes(PGMIO_HASH{});
    PGMIO_BYTES config;
    ASSERT_TRUE(PGMIO_RBF::encode(small_config(0), config, error)) << error;
    sof_config.bytes(config);
    const PGMIO_BYTES sof = container(PGMIO_KIND_SOF, {{pgmio_tag("SOFH"), sof_header}, {pgmio_tag("CDAT"), sof_config}});
    PGMIO_SOF_IMAGE decoded;
    EXPECT_FALSE(PGMIO_SOF::decode(sof, decoded, error));
    EXPECT_EQ(error, "the design hash does not match the configuration data");
    EXPECT_TRUE(PGMIO_SOF::decode(sof, decoded, error, {.check_design_hash = false})) << error;
}

// Each row breaks one rule of a valid sample; the check must refuse it and name the rule. The
// configuration data's rules are shared with decoding, whose rows are in the hostile-file tests.
TEST(Formats, ValidationRulesAreNamed)
{
    using CHECK = std::function<bool(std::string&)>;
    const auto config = [](uint32_t flags, auto change)
    {
        return CHECK([=](std::string& error) {
            PGMIO_CONFIG_DATA data = small_config(flags);
            change(data);
            return PGMIO_RBF::validate(data, error);
        });
    };
    const auto flash = [](auto change)
    {
        return CHECK([=](std::string& error) {
            PGMIO_FLASH_IMAGE image = small_flash(false);
            change(image);
            return PGMIO_FLASH_FILE::validate(image, error);
        });
    };
    PGMIO_BYTES image;
    const std::pair<CHECK, const char*> cases[] = {
        {config(0, [](auto& d) { d.idcode = 0x17A445EE; }), "bit 0 is clear"},
        {[&](std::string& error) { PGMIO_SOF_IMAGE s = small_sof(true); s.flags = 0;
                                   return PGMIO_SOF::encode(s, image, error); },
         "differ from those of its configuration data"},
        {[&](std::string& error) { PGMIO_SOF_IMAGE s = small_sof(false); s.bootloader = {1, 2};
                                   return PGMIO_SOF::encode(s, image, error); }, ""},
        {[](std::string& error) { PGMIO_PMSF_IMAGE p = small_pmsf(); p.data[3] = 0xFF; p.mask[3] = 0x0F;
                                  return PGMIO_PMSF::validate(p, error); }, "byte 3 sets bits outside the mask"},
        {[](std::string& error) { PGMIO_PMSF_IMAGE p = small_pmsf(); p.mask.pop_back();
                                  return PGMIO_PMSF::validate(p, error); }, ""},
        {flash([](auto& f) { f.pages.push_back({"P2", 0x800, 0x1FFF}); }), "overlap"},
        {flash([](auto& f) { f.blocks.push_back({f.flash_size - 2, {1, 2, 3}}); }),
         "the available range is only (0x00000000..0x000fffff)"},
        {flash([](auto& f) { f.blocks[0].address = f.option_bits_address; }), ""},
        {flash([](auto& f) { f.loader_device = "7TR440PA3R1"; }), "carries no flash loader"},
        {[](std::string& error) { PGMIO_EKP_IMAGE k = small_ekp(); k.keys[0].key.pop_back();
                                  return PGMIO_EKP::validate(k, error); }, "not 32"},
        {[](std::string& error) { PGMIO_EKP_IMAGE k = small_ekp(); k.keys[1].id = k.keys[0].id;
                                  return PGMIO_EKP::validate(k, error); }, ""},
        {[](std::string& error) { PGMIO_HELPER_IMAGE h = small_helper(); h.subtype = 99;
                                  return PGMIO_HELPER::validate(h, error); }, ""},
    };
    for (size_t i = 0; i < std::size(cases); ++i)
    {
        std::string error;
        EXPECT_FALSE(cases[i].first(error)) << "row " << i;
        EXPECT_NE(error.find(cases[i].second), std::string::npos) << "row " << i << ": " << error;
    }
}

// Directories, pipes, oversized and lying files are refused by the hostile-file tests; here the
// limit's edge, and raw programming data checked as the flash bytes it holds.
TEST(Formats, SizeLimitAndRawDataGiveReasons)
{
    SCRATCH_DIR dir;
    std::string error;
    write_file(dir.file("data.rpd"), "anything");
    EXPECT_EQ(BITASM_MGR::check_bitstream_integrity(dir.file("data.rpd")),
              "no directory record and no configuration data found in the flash bytes");
    PGMIO_BYTES bytes;
    EXPECT_FALSE(pgmio_read_file(dir.file("data.rpd"), bytes, error, 7));
    EXPECT_NE(error.find("larger than the largest file accepted (7 bytes)"), std::string::npos) << error;
    EXPECT_TRUE(pgmio_read_file(dir.file("data.rpd"), bytes, error, 8)) << error;
    EXPECT_EQ(bytes.size(), 8u);
}
