// SPDX-License-Identifier: Apache-2.0
// Hex records against an independent reader, srec_cat: named cases with hand-computed loads, then
// generated files (every record type, both address kinds, wraps, gaps, disorder, start addresses,
// case, CR LF, damaged records) that both must load alike or both refuse, and writer output read
// back by srec_cat. CORVANE_HEX_FILES and CORVANE_HEX_SEED set the generated run's size
// and seed (scripts/hex-differential.sh runs any number).
#include "test_formats_support.h"

#include "pgm/zeb/platform/pgmio/pgmio_text.h"

#include <cstdio>
#include <functional>
#include <map>
#include <random>
#include <span>

using namespace corvane_test;

namespace
{

using LOADED = std::map<uint64_t, uint8_t>; // address -> byte

struct OUTCOME
{
    bool accepted = false;
    LOADED bytes;
    std::string error;
};

OUTCOME read_ours(const std::string& text)
{
    PGMIO_HEX_READER reader;
    if (!reader.read_hex_text(text, "g.hex", false, false))
        return {false, {}, reader.get_error()};
    OUTCOME outcome{true, {}, {}};
    for (const PGMIO_HEX_RECORD& record : *reader.get_hex_list())
        for (size_t i = 0; i < record.data.size(); ++i)
            outcome.bytes[record.address() + i] = record.data[i];
    return outcome;
}

uint32_t hex_field(const std::string& text, size_t at, size_t digits)
{
    return uint32_t(std::stoul(text.substr(at, digits), nullptr, 16));
}

// srec_cat's reading of a hex file (-I), taken from the S3 records (4-byte addresses) it writes.
OUTCOME read_srec_cat(const std::string& path)
{
    const PROGRAM_RUN run = run_program("srec_cat", "'" + path +
                                                        "' -I -o - -M -address-length=4 -disable=header "
                                                        "-disable=data-count -disable=exec-start-address");
    // A file of no data records is valid; srec_cat refuses it only because it has nothing to write.
    if (run.status != 0)
        return {run.err.find("file contains no data") != std::string::npos, {}, run.err};
    OUTCOME outcome{true, {}, {}};
    std::istringstream lines(run.out);
    for (std::string line; std::getline(lines, line);)
    {
        EXPECT_EQ(line.substr(0, 2), "S3") << line;
        const uint32_t count = hex_field(line, 2, 2);
        const uint32_t address = hex_field(line, 4, 8);
        for (uint32_t i = 0; i + 5 < count; ++i)
            outcome.bytes[address + i] = uint8_t(hex_field(line, 12 + 2 * i, 2));
    }
    return outcome;
}

// Why we may refuse a file that srec_cat reads; docs/formats.md states each.
const char* const k_stricter[] = {"missing end-of-file record", "after the end-of-file record", "is loaded by lines",
                                  "a record must start with ':'"};

// Reads `text` (saved at `path`) with both; "" when they agree, else the stricter reason that
// explains our refusal. A disagreement without such a reason fails the test.
std::string compare(const std::string& path, const std::string& text)
{
    write_file(path, text);
    const OUTCOME ours = read_ours(text);
    const OUTCOME theirs = read_srec_cat(path);
    if (ours.accepted && theirs.accepted)
    {
        EXPECT_EQ(ours.bytes, theirs.bytes) << text;
    }
    if (ours.accepted == theirs.accepted)
        return "";
    for (const char* reason : k_stricter)
    {
        if (!ours.accepted && ours.error.find(reason) != std::string::npos)
            return reason;
    }
    std::string shown; // the file with its CRs made visible
    for (char c : text)
        shown += c == '\r' ? std::string("\\r") : std::string(1, c);
    ADD_FAILURE() << "ours: " << (ours.accepted ? "read" : ours.error) << "\nsrec_cat: " << theirs.error << "\n"
                  << shown;
    return "?";
}

// Random hex files, each a few records, about half of them damaged somehow.
class HEX_GENERATOR
{
public:
    explicit HEX_GENERATOR(uint32_t seed) : m_random(seed) {}

    std::string next()
    {
        std::vector<RECORD_PLAN> records;
        uint32_t next_address = pick(0x10000);
        for (uint32_t n = 1 + pick(10); n > 0; --n)
        {
            const uint32_t kind = pick(12);
            if (kind < 2)
                records.push_back({uint8_t(kind == 0 ? 0x02 : 0x04), 0,
                                   be16(pick(3) == 0 ? 0xFFFF
                                        : pick(2)    ? pick(8)
                                                     : pick(0x10000))});
            else if (kind == 2)
                records.push_back({uint8_t(pick(2) ? 0x03 : 0x05), 0, bytes(4)});
            else if (kind == 3 && !records.empty() && records.back().type == 0x00)
                records.push_back(records.back()); // the same bytes loaded twice
            else
            {
                const uint32_t choice = pick(5);
                const uint32_t address = choice == 0   ? 0xFFFF - pick(24)
                                         : choice == 1 ? pick(64)
                                         : choice == 4 ? pick(0x10000)
                                                       : next_address;
                const uint32_t length = pick(8) == 0 ? pick(256) : 1 + pick(32);
                records.push_back({0x00, uint16_t(address), bytes(length)});
                next_address = (address + length) & 0xFFFF;
            }
        }
        records.push_back({0x01, 0, {}});
        damage_record(records);
        std::vector<std::string> lines;
        const bool lower = pick(4) == 0;
        for (const RECORD_PLAN& record : records)
            lines.push_back(render(record, lower));
        damage_text(lines);
        const std::string end = pick(3) == 0 ? "\r\n" : "\n";
        std::string text;
        for (const std::string& line : lines)
            text += line + end;
        if (pick(8) == 0)
            text.resize(text.size() - end.size());
        return text;
    }

private:
    struct RECORD_PLAN
    {
        uint8_t type = 0;
        uint16_t address = 0;
        PGMIO_BYTES payload;
        int count_delta = 0;
        int checksum_delta = 0;
    };

    uint32_t pick(uint32_t n) { return std::uniform_int_distribution<uint32_t>(0, n - 1)(m_random); }
    PGMIO_BYTES bytes(uint32_t n)
    {
        PGMIO_BYTES out(n);
        for (uint8_t& byte : out)
            byte = uint8_t(pick(256));
        return out;
    }
    static PGMIO_BYTES be16(uint32_t value) { return {uint8_t(value >> 8), uint8_t(value)}; }

    static std::string render(const RECORD_PLAN& record, bool lower)
    {
        PGMIO_BYTES all = {uint8_t(record.payload.size() + size_t(record.count_delta)), uint8_t(record.address >> 8),
                           uint8_t(record.address), record.type};
        all.insert(all.end(), record.payload.begin(), record.payload.end());
        unsigned sum = 0;
        for (uint8_t byte : all)
            sum += byte;
        all.push_back(uint8_t(0x100 - (sum & 0xFF) + unsigned(record.checksum_delta)));
        std::string text = ":";
        char digits[3];
        for (uint8_t byte : all)
        {
            std::snprintf(digits, sizeof digits, lower ? "%02x" : "%02X", byte);
            text += digits;
        }
        return text;
    }

    // Draws one of `out_of` equally likely outcomes: one of the damages, or (the rest) none.
    void damage(std::span<const std::function<void()>> damages, uint32_t out_of)
    {
        const uint32_t which = pick(out_of);
        if (which < damages.size())
            damages[which]();
    }

    void damage_record(std::vector<RECORD_PLAN>& records)
    {
        RECORD_PLAN& one = records[pick(uint32_t(records.size()))];
        const std::function<void()> damages[] = {
            [&] { one.checksum_delta = 1; },
            [&] { one.count_delta = pick(2) ? 1 : -1; },
            [&] { one.address = uint16_t(1 + pick(0xFFFF)); }, // refused unless a data record
            [&] { one.type = uint8_t(6 + pick(250)); },
            [&] { one.payload.push_back(0); }, // a wrong length unless a data record
            [&] { records.pop_back(); },       // no end record
            [&] {
                records.push_back(pick(2) ? RECORD_PLAN{0x00, 0, bytes(3)} : RECORD_PLAN{0x01, 0, {}});
            },
        };
        damage(damages, 20);
    }

    void damage_text(std::vector<std::string>& lines)
    {
        std::string& one = lines[pick(uint32_t(lines.size()))];
        const auto at = lines.begin() + pick(uint32_t(lines.size()) + 1);
        const std::function<void()> damages[] = {
            [&] { one.insert(0, " "); },
            [&] { one += pick(2) ? " " : "\t"; },
            [&] { lines.insert(at, "; a comment"); },
            [&] { lines.insert(at, pick(2) ? "  " : ""); },
            [&] { one[1 + pick(uint32_t(one.size()) - 1)] = "gZ :"[pick(4)]; },
            [&] { one.pop_back(); },
            [&] { lines.insert(at, ":"); },
            [&] { one += '\r'; },
        };
        damage(damages, 26);
    }

    std::mt19937 m_random;
};

uint32_t environment_number(const char* name, uint32_t fallback)
{
    const char* text = std::getenv(name);
    return text && *text ? uint32_t(std::stoul(text)) : fallback;
}

} // namespace

TEST(HexOracle, NamedCasesLoadWhatTheFormatDefines)
{
    struct CASE
    {
        const char* name;
        std::string text;
        std::vector<std::pair<uint64_t, PGMIO_BYTES>> loads; // empty: an empty file
    };
    const std::string end = ":00000001FF\n";
    const CASE cases[] = {
        {"segment record wraps to the start of its segment",
         ":020000021000EC\n:04FFFE00AABBCCDDF1\n" + end,
         {{0x1FFFE, {0xAA, 0xBB}}, {0x10000, {0xCC, 0xDD}}}},
        {"segment FFFF reaches past 1 MiB and wraps within its segment",
         ":02000002FFFFFE\n:04FFFE0001020304F5\n" + end,
         {{0x10FFEE, {1, 2}}, {0xFFFF0, {3, 4}}}},
        {"linear record runs on into the next 64 KiB",
         ":020000040001F9\n:04FFFE00AABBCCDDF1\n" + end,
         {{0x1FFFE, {0xAA, 0xBB, 0xCC, 0xDD}}}},
        {"linear record wraps at 4 GiB",
         ":02000004FFFFFC\n:04FFFE00AABBCCDDF1\n" + end,
         {{0xFFFFFFFE, {0xAA, 0xBB}}, {0, {0xCC, 0xDD}}}},
        {"a linear base replaces a segment base, out of order, lower case, CR LF",
         ":020000021000ec\r\n:020000040002f8\r\n:02001000aabb89\r\n:01000000ee11\r\n:00000001ff\r\n",
         {{0x20010, {0xAA, 0xBB}}, {0x20000, {0xEE}}}},
        {"a start segment record marks segment addressing",
         ":0400000312345678E5\n:04FFFE00AABBCCDDF1\n" + end,
         {{0xFFFE, {0xAA, 0xBB}}, {0, {0xCC, 0xDD}}}},
        {"an end record alone is an empty file", end, {}},
    };
    SCRATCH_DIR dir;
    for (const CASE& c : cases)
    {
        LOADED expected;
        for (const auto& [address, data] : c.loads)
            for (size_t i = 0; i < data.size(); ++i)
                expected[address + i] = data[i];
        const OUTCOME ours = read_ours(c.text);
        EXPECT_TRUE(ours.accepted) << c.name << ": " << ours.error;
        EXPECT_EQ(ours.bytes, expected) << c.name;
        EXPECT_EQ(compare(dir.file("named.hex"), c.text), "") << c.name;
    }
}

TEST(HexOracle, GeneratedFilesLoadAsSrecCatLoadsThem)
{
    const uint32_t files = environment_number("CORVANE_HEX_FILES", 300);
    const uint32_t seed = environment_number("CORVANE_HEX_SEED", 20261124);
    HEX_GENERATOR generator(seed);
    SCRATCH_DIR dir;
    std::map<std::string, uint32_t> tally; // "" both agree, else the stricter reason
    uint32_t both_read = 0;
    uint32_t done = 0;
    for (; done < files && !HasFailure(); ++done)
    {
        const std::string text = generator.next();
        ++tally[compare(dir.file("g.hex"), text)];
        both_read += read_ours(text).accepted;
    }
    std::string summary = std::to_string(done) + " files, seed " + std::to_string(seed) + ": " +
                          std::to_string(both_read) + " read alike by both";
    for (const auto& [reason, count] : tally)
        summary += ", " + std::to_string(count) + (reason.empty() ? " agreed" : " stricter: " + reason);
    std::printf("%s\n", summary.c_str());
    // The generator must keep producing both readable and damaged files, or the run proves little.
    EXPECT_GT(both_read, done / 4) << summary;
    EXPECT_GT(tally[""] - both_read, done / 8) << summary;
}

TEST(HexOracle, WrittenFilesReadBackWithSrecCat)
{
    SCRATCH_DIR dir;
    const std::pair<uint32_t, size_t> cases[] = {{0x0001FFD8, 100}, {0xFFFFFFF0, 16}, {0, 1}, {0x00FFFF07, 700}};
    for (const auto& [base, size] : cases)
    {
        const PGMIO_BYTES data = counting_bytes(size, 3);
        std::string error;
        const std::string path = dir.file("out.hexout");
        ASSERT_TRUE(pgmio_write_hex_file(path, base, data, error)) << error;

        // 16 data bytes a record at most, none across a 64 KiB boundary.
        std::istringstream lines(read_file(path));
        for (std::string line; std::getline(lines, line);)
            if (line.substr(7, 2) == "00")
            {
                EXPECT_LE(hex_field(line, 1, 2), 16u) << line;
                EXPECT_LE(hex_field(line, 3, 4) + hex_field(line, 1, 2), 0x10000u) << line;
            }

        LOADED expected;
        for (size_t i = 0; i < size; ++i)
            expected[uint64_t(base) + i] = data[i];
        EXPECT_EQ(read_ours(read_file(path)).bytes, expected) << std::hex << base;
        const OUTCOME theirs = read_srec_cat(path);
        EXPECT_TRUE(theirs.accepted) << theirs.error;
        EXPECT_EQ(theirs.bytes, expected) << std::hex << base;
    }
    std::string formatted, error;
    // Fed in pieces that split records and 64 KiB segments, the formatter writes the same records.
    const PGMIO_BYTES data = counting_bytes(0x20011, 5);
    ASSERT_TRUE(pgmio_format_hex(0x3FFF5, data, formatted, error)) << error;
    for (const size_t piece : {size_t(1), size_t(7), size_t(16), size_t(0x10003)})
    {
        std::string streamed;
        PGMIO_HEX_FORMATTER formatter;
        for (size_t done = 0; done < data.size(); done += piece)
            formatter.append(0x3FFF5 + done, std::span(data).subspan(done, std::min(piece, data.size() - done)),
                             streamed);
        formatter.finish(streamed);
        EXPECT_TRUE(streamed == formatted) << piece;
    }
    EXPECT_FALSE(pgmio_format_hex(0xFFFFFFF0, PGMIO_BYTES(17), formatted, error));
    EXPECT_NE(error.find("does not fit"), std::string::npos) << error;
}
