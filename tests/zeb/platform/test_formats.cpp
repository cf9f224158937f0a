// SPDX-License-Identifier: Apache-2.0
// Binary programming file formats: round trips, the rules each format enforces, and corruption
// (every single-byte change and every truncation of a small valid file is refused cleanly).
#include "test_formats_support.h"

#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/pgmio/pgmio_flash_dir.h"
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

// Helper images are raw binary files to the user (the helper image output types write .rbf).
std::vector<SAMPLE_FILE> all_samples()
{
    return {{"rbf", FIO_EXTENSION_TYPE_RBF, encoded<PGMIO_RBF>(small_config(PGMIO_DESIGN_CVP))},
            {"sof", FIO_EXTENSION_TYPE_SOF, encoded<PGMIO_SOF>(small_sof(true))},
            {"pmsf", FIO_EXTENSION_TYPE_PMSF, encoded<PGMIO_PMSF>(small_pmsf())},
            {"msf", FIO_EXTENSION_TYPE_MSF, encoded<PGMIO_MSF>(small_msf())},
            {"pof", FIO_EXTENSION_TYPE_POF, encoded<PGMIO_FLASH_FILE>(small_flash(false))},
            {"jic", FIO_EXTENSION_TYPE_JIC, encoded<PGMIO_FLASH_FILE>(small_flash(true))},
            {"ekp", FIO_EXTENSION_TYPE_EKP, encoded<PGMIO_EKP>(small_ekp())},
            {"helper", FIO_EXTENSION_TYPE_RBF, encoded<PGMIO_HELPER>(small_helper())}};
}

// A check that breaks one rule of `sample` with `change`, then encodes it (encoding validates first).
template <class FORMAT, class IMAGE, class CHANGE> std::function<bool(std::string&)> broken(IMAGE sample, CHANGE change)
{
    return [=](std::string& error) mutable
    {
        change(sample);
        PGMIO_BYTES image;
        return FORMAT::encode(sample, image, error);
    };
}

} // namespace

// Written to a file and read back, every format gives an image that encodes to the same bytes (a
// field the reader drops or misreads changes the encoding) and, where images compare, the same image.
template <class FORMAT, class IMAGE> IMAGE round_trip(const IMAGE& written)
{
    SCRATCH_DIR dir;
    std::string error;
    IMAGE read;
    EXPECT_TRUE(FORMAT::write(dir.file("f"), written, error) && FORMAT::read(dir.file("f"), read, error)) << error;
    const PGMIO_BYTES bytes = encoded<FORMAT>(written);
    EXPECT_EQ(read_file(dir.file("f")), std::string(bytes.begin(), bytes.end())); // streamed or not
    EXPECT_EQ(encoded<FORMAT>(read), bytes);
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
    EXPECT_EQ(sof.design_hash, pgmio_sha256(encoded<PGMIO_RBF>(sof.config))); // of the data as encoded
    EXPECT_EQ(round_trip<PGMIO_PMSF>(small_pmsf()).mask, small_pmsf().mask);
    EXPECT_EQ(round_trip<PGMIO_MSF>(small_msf()).region_offset, small_msf().region_offset);
    for (bool jic : {false, true})
        round_trip<PGMIO_FLASH_FILE>(small_flash(jic));
    round_trip<PGMIO_EKP>(small_ekp());
    round_trip<PGMIO_HELPER>(small_helper());
}

// The CRC against a bit-at-a-time reference: lengths on both sides of the folded path, unaligned
// starts and a continued CRC, plus the polynomial's published check value.
// A streamed flash file whose blocks get more or fewer bytes than announced, in pieces across
// blocks or not, is refused and leaves no file.
TEST(Formats, StreamedFlashFileTakesExactlyTheAnnouncedBytes)
{
    SCRATCH_DIR dir;
    const PGMIO_FLASH_IMAGE flash = small_flash(true);
    const std::vector<PGMIO_FLASH_EXTENT> blocks = {{0x0, 16}, {0x10000, 7}};
    for (size_t given : {22, 23, 24})
    {
        const std::string path = dir.file(std::to_string(given) + ".jic");
        PGMIO_FLASH_FILE_STREAM out(path, flash, blocks);
        std::string error;
        ASSERT_TRUE(out.start(error)) << error;
        const PGMIO_BYTES data = counting_bytes(given, 0);
        out.append(std::span(data).first(10)), out.append(std::span(data).subspan(10));
        EXPECT_EQ(out.finish(error), given == 23) << given << ": " << error;
        EXPECT_EQ(std::filesystem::exists(path), given == 23) << given;
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.file("")), {}), 1); // no temporary file left
    PGMIO_FLASH_FILE_STREAM out(dir.file("o.jic"), flash, {{0x0, 16}, {0x8, 7}});
    std::string error;
    EXPECT_FALSE(out.start(error));
    EXPECT_NE(error.find("overlaps the one before it"), std::string::npos) << error;
}

// The verifier reads raw programming data from its file a piece at a time. It finds damage anywhere
// in a content larger than a piece, with bit swap or without, as it does in the bytes held whole.
TEST(Formats, FlashWalkFromFileOrMemoryFindsDamageAnywhere)
{
    SCRATCH_DIR dir;
    const PGMIO_BYTES config = encoded<PGMIO_RBF>(small_config(0));
    const PGMIO_BYTES raw = counting_bytes(size_t(9) << 20, 5);
    PGMIO_FLASH_DIR boot;
    boot.idcode = k_sample_idcode;
    boot.boot = 0;
    boot.entries = {{"P1", 0x1000, config.size(), pgmio_crc32(config), 0, PGMIO_DIR_ENTRY_IMAGE},
                    {"DATA", 0x100000, raw.size(), pgmio_crc32(raw), 0, PGMIO_DIR_ENTRY_RAW}};
    PGMIO_BYTES record;
    std::string error;
    ASSERT_TRUE(PGMIO_FLASH_DIR_CODEC::encode(boot, record, error)) << error;
    PGMIO_BYTES flash(0x100000 + raw.size(), 0xFF);
    std::copy(record.begin(), record.end(), flash.begin());
    std::copy(config.begin(), config.end(), flash.begin() + 0x1000);
    std::copy(raw.begin(), raw.end(), flash.begin() + 0x100000);
    for (bool swapped : {false, true})
        for (size_t damaged : {size_t(0), size_t(0x1000 + 40), flash.size() - 1})
        {
            PGMIO_BYTES bytes = flash;
            bytes[damaged] ^= damaged ? 0x01 : 0x00;
            if (swapped)
                pgmio_reverse_bits(bytes);
            write_bytes(dir.file("f.rpd"), bytes);
            const std::string from_file = pgmio_check_file(dir.file("f.rpd"));
            EXPECT_EQ(from_file, pgmio_check_image(bytes, FIO_EXTENSION_TYPE_RPD, "f.rpd"));
            const std::string says = damaged == 0 ? "" : damaged < 0x100000 ? "image 'P1': CRC-32" : "image 'DATA': CRC-32";
            EXPECT_EQ(from_file.substr(0, damaged ? says.size() : std::string::npos), says) << damaged;
        }
}

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

// Every single-byte change, every truncation and an appended byte are refused.
TEST(Formats, EveryDamageIsRefused)
{
    for (const SAMPLE_FILE& sample : all_samples())
    {
        const auto check = [&](const PGMIO_BYTES& image)
        { return pgmio_check_image(image, sample.extension, sample.name); };
        ASSERT_EQ(check(sample.image), "") << sample.name;
        for (size_t i = 0; i < sample.image.size(); ++i)
        {
            EXPECT_NE(check(PGMIO_BYTES(sample.image.begin(), sample.image.begin() + long(i))), "")
                << sample.name << " cut to " << i;
            for (uint8_t change : {0x01, 0x80, 0xFF})
            {
                PGMIO_BYTES damaged = sample.image;
                damaged[i] ^= change;
                EXPECT_NE(check(damaged), "") << sample.name << ": byte " << i << " ^ " << int(change);
            }
        }
        PGMIO_BYTES longer = sample.image;
        longer.push_back(0);
        EXPECT_NE(check(longer).find("trailing data"), std::string::npos) << sample.name;
    }
}

TEST(Formats, ContainerHeaderProblemsAreNamed)
{
    std::string error;
    const PGMIO_BYTES good = encoded<PGMIO_RBF>(small_config(0));
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
    EXPECT_FALSE(PGMIO_RBF::decode(encoded<PGMIO_MSF>(small_msf()), data, error)); // a sound container of another kind
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
    using FLASH = PGMIO_FLASH_FILE;
    const PGMIO_FLASH_IMAGE pof = small_flash(false);
    const std::pair<std::function<bool(std::string&)>, const char*> cases[] = {
        {broken<PGMIO_RBF>(small_config(0), [](auto& d) { d.idcode = 0x17A445EE; }), "bit 0 is clear"},
        {broken<PGMIO_SOF>(small_sof(true), [](auto& s) { s.flags = 0; }), "differ from those of its configuration"},
        {broken<PGMIO_SOF>(small_sof(false), [](auto& s) { s.bootloader.push_back(1); }), ""},
        {broken<PGMIO_PMSF>(small_pmsf(), [](auto& p) { p.data[3] = 0xFF, p.mask[3] = 0x0F; }),
         "byte 3 sets bits outside the mask"},
        {broken<PGMIO_PMSF>(small_pmsf(), [](auto& p) { p.mask.pop_back(); }), ""},
        {broken<FLASH>(pof, [](auto& f) { f.pages.emplace_back("P2", 0x800, 0x1FFF); }), "overlap"},
        {broken<FLASH>(pof, [](auto& f) { f.blocks.emplace_back(f.flash_size - 2, counting_bytes(3, 1)); }),
         "the available range is only (0x00000000..0x000fffff)"},
        {broken<FLASH>(pof, [](auto& f) { f.blocks[0].address = f.option_bits_address; }), ""},
        {broken<FLASH>(pof, [](auto& f) { f.loader_device = "7TR440PA3R1"; }), "carries no flash loader"},
        {broken<PGMIO_EKP>(small_ekp(), [](auto& k) { k.keys[0].key.pop_back(); }), "not 32"},
        {broken<PGMIO_EKP>(small_ekp(), [](auto& k) { k.keys[1].id = k.keys[0].id; }), ""},
        {broken<PGMIO_HELPER>(small_helper(), [](auto& h) { h.subtype = 99; }), ""},
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
