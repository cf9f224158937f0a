// SPDX-License-Identifier: Apache-2.0
// Text formats: hex data files (records, addressing, errors with line numbers)
// and chain description files (round trip, errors with line numbers).
#include "test_support.h"

#include "pgm/zeb/platform/pgmio/pgmio_text.h"

using namespace corvane_test;

namespace
{

// Reads hex text; on failure the error, on success "".
std::string hex_error(const std::string& text, bool allow_overlap = false, bool allow_missing_end = false)
{
    PGMIO_HEX_READER reader;
    return reader.read_hex_text(text, "t.hex", allow_overlap, allow_missing_end) ? "" : reader.get_error();
}

std::string cdf_error(const std::string& text)
{
    PGMIO_CDF_CHAIN chain;
    std::string error;
    return PGMIO_CDF::parse(text, "c.cdf", chain, error) ? "" : error;
}

} // namespace

// Where the data lands is proven against srec_cat by the oracle's named cases; here the bookkeeping.
TEST(HexReader, RecordsKeepTheirLineOffsetAndTheEntryPoint)
{
    const std::string text = ":0400000001020304F2\n\n:020000021000EC\n:02001000AABB89\n"
                             ":0400000300001234B3\n:0400000512345678E3\n:00000001FF\n";
    PGMIO_HEX_READER reader;
    ASSERT_TRUE(reader.read_hex_text(text, "t.hex", false, false)) << reader.get_error();
    const std::vector<PGMIO_HEX_RECORD>& records = *reader.get_hex_list();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[1].offset, 0x10000u);
    EXPECT_EQ(records[1].start, 0x10u);
    EXPECT_EQ(records[1].line, 4u);
    EXPECT_TRUE(reader.has_entry_point());
    EXPECT_EQ(reader.get_entry_point(), 0x12345678u); // the last start record wins
    EXPECT_EQ(reader.get_start_address(), 0u);
    PGMIO_HEX_READER empty;
    ASSERT_TRUE(empty.read_hex_text(":00000001FF\n", "e.hex", false, false));
    EXPECT_EQ(empty.get_start_address(), 0xFFFFFFFFu);
}

TEST(HexReader, ErrorsNameTheLine)
{
    struct CASE
    {
        std::string text;
        std::string expected;
    };
    const CASE cases[] = {
        {"0400000001020304F2\n", "t.hex:1: a record must start with ':'"},
        {":00000001FF\n:0400000001020304F2\n", "t.hex:2: data after the end-of-file record of line 1"},
        {":0400000001020304F3\n:00000001FF\n",
         "t.hex:1: checksum error: the record says 0xF3, the computed checksum is 0xF2"},
        {":0400000001020304F2\n", "t.hex:2: missing end-of-file record (type 01)"},
        {"\n:04000000010203G4F2\n", "t.hex:2: invalid character 'G' in column 16"},
        {":0400000001020304F\n", "t.hex:1: odd number of hexadecimal digits"},
        {":00000001\n", "t.hex:1: record too short"},
        {":0500000001020304F1\n", "t.hex:1: byte count 0x05 does not match the record, which holds 4 data bytes"},
        {":00000006FA\n", "t.hex:1: unknown record type 0x06"},
        {":0100000401FA\n", "t.hex:1: an extended address record has 2 data bytes, this one has 1"},
        {":020000030000FB\n", "t.hex:1: a start address record has 4 data bytes, this one has 2"},
        {":0100000100FE\n", "t.hex:1: an end-of-file record carries no data"},
        {":020000040000FA\n:0200000001020304F2\n", "t.hex:2: byte count 0x02 does not match"},
        {":02000000AABB99\n:01000100CC32\n:00000001FF\n", "t.hex:2: address 0x00000001 is loaded by lines 1 and 2"},
        {":020010040000EA\n", "t.hex:1: the address field of a type 0x04 record must be 0000, not 0010"},
        {":00000001FF \n", "t.hex:1: invalid character ' ' (space) in column 12"},
        {" :00000001FF\n", "t.hex:1: a record must start with ':'"},
    };
    for (const CASE& c : cases)
    {
        const std::string error = hex_error(c.text);
        EXPECT_EQ(error.substr(0, c.expected.size()), c.expected) << c.text << " gave " << error;
    }
    // The two relaxations.
    EXPECT_EQ(hex_error(":02000000AABB99\n:01000100CC32\n:00000001FF\n", true), "");
    EXPECT_EQ(hex_error(":0400000001020304F2\n", false, true), "");
}

TEST(HexReader, FileErrorsAndImage)
{
    SCRATCH_DIR dir;
    PGMIO_HEX_READER reader;
    reader.set_file(dir.file("missing.hex"));
    EXPECT_FALSE(reader.read_hex_file(false, false));
    EXPECT_NE(reader.get_error().find("cannot open"), std::string::npos);
    EXPECT_EQ(reader.get_hex_list(), nullptr);

    write_file(dir.file("gap.hex"), ":0100000011EE\n:0100040022D9\n:00000001FF\n");
    reader.set_file(dir.file("gap.hex"));
    ASSERT_TRUE(reader.read_hex_file(false, false)) << reader.get_error();
    uint32_t base = 0;
    PGMIO_BYTES image;
    std::string error;
    ASSERT_TRUE(reader.get_image(16, 0xFF, base, image, error)) << error;
    EXPECT_EQ(base, 0u);
    EXPECT_EQ(image, (PGMIO_BYTES{0x11, 0xFF, 0xFF, 0xFF, 0x22}));
    EXPECT_FALSE(reader.get_image(4, 0xFF, base, image, error));
    EXPECT_NE(error.find("(0x00000000..0x00000004) is too large, at most 4 bytes"), std::string::npos) << error;
}

TEST(ChainDescription, WriterAndReaderAgree)
{
    SCRATCH_DIR dir;
    PGMIO_CDF_CHAIN chain;
    chain.mode = "JTAG";
    chain.devices.push_back({"7TR440PA3R1", "out/design one.sof", PGMIO_CDF_PROGRAM | PGMIO_CDF_VERIFY});
    chain.devices.push_back({"5ZV066H2", "", 0});
    chain.devices.push_back({"3ZT085F2", "weird\"name\\x.pof", PGMIO_CDF_BLANK_CHECK | PGMIO_CDF_ERASE});
    std::string error;
    const FIO_PATH path(dir.file("chain.cdf"));
    ASSERT_TRUE(PGMIO_CDF::write(path, chain, error)) << error;
    PGMIO_CDF_CHAIN read;
    ASSERT_TRUE(PGMIO_CDF::read(path, read, error)) << error;
    EXPECT_EQ(read, chain);
    EXPECT_EQ(PGMIO_CDF::resolve_file(path, read.devices[0]).get_full_path(), dir.file("out/design one.sof"));
    EXPECT_TRUE(PGMIO_CDF::resolve_file(path, read.devices[1]).is_empty());

    const std::string text = "# a chain\n"
                             "corvane-cdf 1   # version\n"
                             "mode PS\n"
                             "device \"7TR440PA3R1\" actions examine file /abs/x.sof\n";
    ASSERT_TRUE(PGMIO_CDF::parse(text, "c.cdf", read, error)) << error;
    EXPECT_EQ(read.mode, "PS");
    EXPECT_EQ(read.devices[0].actions, PGMIO_CDF_EXAMINE);
    EXPECT_EQ(PGMIO_CDF::resolve_file(path, read.devices[0]).get_full_path(), "/abs/x.sof");

    // The writer refuses what the reader would, and leaves no file.
    const FIO_PATH refused(dir.file("a.cdf"));
    chain = PGMIO_CDF_CHAIN{};
    EXPECT_FALSE(PGMIO_CDF::write(refused, chain, error));
    EXPECT_EQ(error, "the chain has no device");
    chain.devices.push_back({"7TR440PA3R1", "", PGMIO_CDF_VERIFY});
    EXPECT_FALSE(PGMIO_CDF::write(refused, chain, error));
    chain.devices[0] = {"7TR440PA3R1", "a\nb", 0};
    EXPECT_FALSE(PGMIO_CDF::write(refused, chain, error));
    chain.devices[0] = {"7TR440PA3R1", "a.sof", 0};
    chain.mode = "SPI";
    EXPECT_FALSE(PGMIO_CDF::write(refused, chain, error));
    EXPECT_FALSE(std::filesystem::exists(dir.file("a.cdf")));
}

TEST(ChainDescription, ErrorsNameTheLine)
{
    struct CASE
    {
        std::string text;
        std::string expected;
    };
    const CASE cases[] = {
        {"", "c.cdf:1: empty chain description"},
        {"# only a comment\n", "c.cdf:2: empty chain description"},
        {"device 7TR440PA3R1\n", "c.cdf:1: expected 'corvane-cdf 1' as the first statement"},
        {"corvane-cdf 2\n", "c.cdf:1: unsupported chain description version '2'"},
        {"corvane-cdf 1\n", "c.cdf:2: the chain has no device"},
        {"corvane-cdf 1\nmode SPI\n", "c.cdf:2: 'mode' takes one of JTAG, PS, AS"},
        {"corvane-cdf 1\nmode JTAG\nmode PS\n", "c.cdf:3: 'mode' is given twice"},
        {"corvane-cdf 1\ndevice 7TR440PA3R1\nmode PS\n", "c.cdf:3: 'mode' must come before the first device"},
        {"corvane-cdf 1\n\ndevice NOPE\n", "c.cdf:3: unknown device 'NOPE'"},
        {"corvane-cdf 1\ndevice\n", "c.cdf:2: 'device' needs a device name"},
        {"corvane-cdf 1\ndevice 7TR440PA3R1 file\n", "c.cdf:2: 'file' needs a value"},
        {"corvane-cdf 1\ndevice 7TR440PA3R1 file a file b\n", "c.cdf:2: 'file' is given twice"},
        {"corvane-cdf 1\ndevice 7TR440PA3R1 speed 3\n", "c.cdf:2: unknown device option 'speed'"},
        {"corvane-cdf 1\ndevice 7TR440PA3R1 file a actions burn\n", "c.cdf:2: unknown action 'burn'"},
        {"corvane-cdf 1\ndevice 7TR440PA3R1 file a actions verify,verify\n", "c.cdf:2: action 'verify' is given twice"},
        {"corvane-cdf 1\ndevice 7TR440PA3R1 actions program\n", "c.cdf:2: device '7TR440PA3R1' is to be programmed"},
        {"corvane-cdf 1\ndevice 7TR440PA3R1 file \"a.sof\n", "c.cdf:2: unterminated quoted word"},
        {"corvane-cdf 1\ndevice 7TR440PA3R1 file \"a\\n\"\n", "c.cdf:2: only \\\" and \\\\ may follow"},
        {"corvane-cdf 1\nchain x\n", "c.cdf:2: unknown statement 'chain'"},
        {std::string("corvane-cdf 1\ndevice 7TR440PA3R1\0\n", 34), "c.cdf:2: a NUL character"},
    };
    for (const CASE& c : cases)
    {
        const std::string error = cdf_error(c.text);
        EXPECT_EQ(error.substr(0, c.expected.size()), c.expected) << c.text << " gave " << error;
    }
}
