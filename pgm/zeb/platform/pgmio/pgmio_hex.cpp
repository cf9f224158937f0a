// SPDX-License-Identifier: Apache-2.0
// Hex data files: reading hex records (the ihex format), and writing data as such records.
#include "pgm/zeb/platform/pgmio/pgmio_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <numeric>

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#include <immintrin.h>
#define PGMIO_HEX_SIMD 1
#endif

namespace
{

constexpr uint8_t k_data = 0x00;
constexpr uint8_t k_end = 0x01;
constexpr uint8_t k_segment = 0x02;
constexpr uint8_t k_start_segment = 0x03;
constexpr uint8_t k_linear = 0x04;
constexpr uint8_t k_start_linear = 0x05;

int hex_digit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

std::string byte_text(unsigned value)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", value & 0xFF);
    return text;
}

// A character as an error shows it: quoted when printable, else as its code.
std::string char_text(char c)
{
    if (c > ' ' && c < 0x7F)
        return std::string{'\'', c, '\''};
    return c == ' ' ? "' ' (space)" : byte_text(uint8_t(c));
}

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v';
}

} // namespace

bool PGMIO_HEX_READER::read_hex_file(bool allow_overlap, bool allow_missing_end)
{
    m_records.clear();
    m_read = false;
    PGMIO_BYTES bytes;
    std::string error;
    if (!pgmio_read_file(m_path, bytes, error))
    {
        m_error = error;
        return false;
    }
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return read_hex_text(text, m_path, allow_overlap, allow_missing_end);
}

bool PGMIO_HEX_READER::read_hex_text(std::string_view text, std::string_view name, bool allow_overlap,
                                     bool allow_missing_end)
{
    m_records.clear();
    m_read = false;
    m_has_entry = false;
    m_entry = 0;
    m_error.clear();
    auto fail = [&](uint32_t line, const std::string& reason)
    {
        m_error = std::string(name) + ":" + std::to_string(line) + ": " + reason;
        m_records.clear();
        return false;
    };

    uint32_t base = 0;
    bool segmented = false; // segment addressing: set by 02 and 03 records, cleared by 04 and 05
    uint32_t line_number = 0;
    uint32_t end_line = 0;
    size_t position = 0;
    std::vector<uint8_t> record;
    while (position < text.size())
    {
        const size_t newline = text.find('\n', position);
        std::string_view line =
            text.substr(position, newline == std::string_view::npos ? text.npos : newline - position);
        position = newline == std::string_view::npos ? text.size() : newline + 1;
        ++line_number;
        if (newline != std::string_view::npos && !line.empty() && line.back() == '\r')
            line.remove_suffix(1); // CR LF; a CR that no LF follows is a stray character
        // A line holds one record or nothing: white space around a record is refused like any
        // other stray character, so that a damaged record is never skipped as a comment.
        if (std::all_of(line.begin(), line.end(), is_blank))
            continue;
        if (end_line != 0)
            return fail(line_number, "data after the end-of-file record of line " + std::to_string(end_line));
        if (line.front() != ':')
            return fail(line_number, "a record must start with ':'");
        const std::string_view digits = line.substr(1);
        for (size_t i = 0; i < digits.size(); ++i)
        {
            if (hex_digit(digits[i]) < 0)
                return fail(line_number,
                            "invalid character " + char_text(digits[i]) + " in column " + std::to_string(i + 2));
        }
        if (digits.size() % 2 != 0)
            return fail(line_number, "odd number of hexadecimal digits");
        if (digits.size() < 10)
            return fail(line_number,
                        "record too short (" + std::to_string(digits.size() / 2) + " bytes, at least 5 needed)");
        record.resize(digits.size() / 2);
        for (size_t i = 0; i < record.size(); ++i)
            record[i] = uint8_t(hex_digit(digits[2 * i]) << 4 | hex_digit(digits[2 * i + 1]));
        const size_t count = record[0];
        if (count + 5 != record.size())
            return fail(line_number, "byte count " + byte_text(unsigned(count)) +
                                         " does not match the record, which holds " +
                                         std::to_string(record.size() - 5) + " data bytes");
        const unsigned sum = std::accumulate(record.begin(), record.end() - 1, 0u);
        const uint8_t expected = uint8_t(0x100 - (sum & 0xFF));
        if (record.back() != expected)
            return fail(line_number, "checksum error: the record says " + byte_text(record.back()) +
                                         ", the computed checksum is " + byte_text(expected));
        const uint32_t address = uint32_t(record[1]) << 8 | record[2];
        const uint8_t type = record[3];
        const uint8_t* payload = record.data() + 4;
        if (type != k_data && type != k_end && address != 0)
            return fail(line_number, "the address field of a type " + byte_text(type) + " record must be 0000, not " +
                                         std::string(digits.substr(2, 4)));
        switch (type)
        {
        case k_data:
        {
            // Byte i of a record loads at base + ((address + i) mod 64 KiB) under segment
            // addressing, so a record running past the end of its segment wraps to the segment's
            // start; under linear addressing it loads at (base + address + i) mod 4 GiB. A
            // wrapping record is kept as two pieces.
            const uint64_t room = segmented ? 0x10000 - address : 0x100000000 - base - address;
            const size_t first = size_t(std::min<uint64_t>(count, room));
            add_piece(address, base, std::span(payload, first), line_number);
            add_piece(0, segmented ? base : 0, std::span(payload + first, count - first), line_number);
            break;
        }
        case k_end:
            if (count != 0)
                return fail(line_number,
                            "an end-of-file record carries no data, this one has " + std::to_string(count) + " bytes");
            end_line = line_number;
            break;
        case k_segment:
        case k_linear:
            if (count != 2)
                return fail(line_number,
                            "an extended address record has 2 data bytes, this one has " + std::to_string(count));
            segmented = type == k_segment;
            base = (uint32_t(payload[0]) << 8 | payload[1]) << (segmented ? 4 : 16);
            break;
        case k_start_segment:
        case k_start_linear:
            if (count != 4)
                return fail(line_number,
                            "a start address record has 4 data bytes, this one has " + std::to_string(count));
            // Each start record belongs to one addressing scheme and marks it for the data after it.
            segmented = type == k_start_segment;
            m_has_entry = true;
            m_entry = uint32_t(payload[0]) << 24 | uint32_t(payload[1]) << 16 | uint32_t(payload[2]) << 8 | payload[3];
            break;
        default:
            return fail(line_number, "unknown record type " + byte_text(type));
        }
    }
    if (end_line == 0 && !allow_missing_end)
        return fail(line_number + 1, "missing end-of-file record (type 01)");
    if (!allow_overlap)
    {
        std::vector<const PGMIO_HEX_RECORD*> sorted;
        sorted.reserve(m_records.size());
        for (const PGMIO_HEX_RECORD& data : m_records)
            sorted.push_back(&data);
        std::stable_sort(sorted.begin(), sorted.end(), [](auto* a, auto* b) { return a->address() < b->address(); });
        for (size_t i = 1; i < sorted.size(); ++i)
        {
            const PGMIO_HEX_RECORD& before = *sorted[i - 1];
            if (sorted[i]->address() < before.address() + before.data.size())
                return fail(std::max(before.line, sorted[i]->line),
                            "address " + pgmio_hex_number(sorted[i]->address()) + " is loaded by lines " +
                                std::to_string(std::min(before.line, sorted[i]->line)) + " and " +
                                std::to_string(std::max(before.line, sorted[i]->line)));
        }
    }
    m_read = true;
    return true;
}

void PGMIO_HEX_READER::add_piece(uint32_t start, uint32_t offset, std::span<const uint8_t> bytes, uint32_t line)
{
    if (bytes.empty())
        return;
    PGMIO_HEX_RECORD& data = m_records.emplace_back();
    data.start = start;
    data.offset = offset;
    data.line = line;
    data.data.assign(bytes.begin(), bytes.end());
}

uint32_t PGMIO_HEX_READER::get_start_address() const
{
    uint64_t lowest = 0xFFFFFFFFu;
    for (const PGMIO_HEX_RECORD& data : m_records)
        lowest = std::min(lowest, data.address());
    return uint32_t(lowest);
}

bool PGMIO_HEX_READER::get_image(uint64_t max_size, uint8_t fill, uint32_t& base, PGMIO_BYTES& image,
                                 std::string& error) const
{
    image.clear();
    if (!m_read || m_records.empty())
    {
        error = m_read ? "the hex file holds no data" : "no hex file has been read";
        return false;
    }
    uint64_t low = UINT64_MAX;
    uint64_t high = 0;
    for (const PGMIO_HEX_RECORD& data : m_records)
    {
        low = std::min(low, data.address());
        high = std::max(high, data.address() + data.data.size());
    }
    if (high - low > max_size)
    {
        error = "data address range (" + pgmio_hex_number(low) + ".." + pgmio_hex_number(high - 1) +
                ") is too large, at most " + std::to_string(max_size) + " bytes are allowed";
        return false;
    }
    base = uint32_t(low);
    image.assign(size_t(high - low), fill);
    for (const PGMIO_HEX_RECORD& data : m_records)
        std::copy(data.data.begin(), data.data.end(), image.begin() + long(data.address() - low));
    return true;
}

namespace
{

// The two upper-case hexadecimal digits of every byte value.
constexpr std::array<std::array<char, 2>, 256> make_hex_pairs()
{
    constexpr char digits[] = "0123456789ABCDEF";
    std::array<std::array<char, 2>, 256> pairs{};
    for (unsigned value = 0; value < 256; ++value)
        pairs[value] = {digits[value >> 4], digits[value & 0xF]};
    return pairs;
}
constexpr std::array<std::array<char, 2>, 256> k_hex_pairs = make_hex_pairs();
constexpr size_t k_record_data = 16;
constexpr size_t k_record_overhead = 12; // ':', count, address, type, checksum, newline

#ifdef PGMIO_HEX_SIMD
// The 32 digits of 16 data bytes and the low byte of their sum, a vector at a time.
__attribute__((target("ssse3"))) unsigned put_16_digits(char* p, const uint8_t* data)
{
    const __m128i digits = _mm_setr_epi8('0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F');
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data));
    const __m128i nibble = _mm_set1_epi8(0x0F);
    const __m128i high = _mm_shuffle_epi8(digits, _mm_and_si128(_mm_srli_epi16(bytes, 4), nibble));
    const __m128i low = _mm_shuffle_epi8(digits, _mm_and_si128(bytes, nibble));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_unpacklo_epi8(high, low));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 16), _mm_unpackhi_epi8(high, low));
    const __m128i sums = _mm_sad_epu8(bytes, _mm_setzero_si128());
    return unsigned(_mm_cvtsi128_si32(sums) + _mm_extract_epi16(sums, 4));
}

bool has_simd()
{
    static const bool has = __builtin_cpu_supports("ssse3");
    return has;
}
#endif

// Writes the record ":LLAAAATT<data>CC\n" at `p`; returns the position after it.
char* put_record(char* p, uint8_t type, uint16_t address, std::span<const uint8_t> data)
{
    unsigned sum = 0;
    auto put = [&p, &sum](uint8_t byte)
    {
        std::memcpy(p, k_hex_pairs[byte].data(), 2);
        p += 2;
        sum += byte;
    };
    *p++ = ':';
    put(uint8_t(data.size()));
    put(uint8_t(address >> 8));
    put(uint8_t(address));
    put(type);
#ifdef PGMIO_HEX_SIMD
    if (data.size() == k_record_data && has_simd())
    {
        sum += put_16_digits(p, data.data());
        p += 2 * k_record_data;
        data = {};
    }
#endif
    for (uint8_t byte : data)
        put(byte);
    std::memcpy(p, k_hex_pairs[uint8_t(0x100 - (sum & 0xFF))].data(), 2);
    p[2] = '\n';
    return p + 3;
}

} // namespace

// Writes the records of a data record's bytes at `p`, the address record first when the upper
// address half changes; returns the position after them.
char* PGMIO_HEX_FORMATTER::put(char* p, uint64_t address, std::span<const uint8_t> data)
{
    if ((address >> 16) != m_upper)
    {
        m_upper = address >> 16;
        const uint8_t payload[2] = {uint8_t(m_upper >> 8), uint8_t(m_upper)};
        p = put_record(p, k_linear, 0, payload);
    }
    return put_record(p, k_data, uint16_t(address), data);
}

void PGMIO_HEX_FORMATTER::append(uint64_t address, std::span<const uint8_t> data, std::string& text)
{
    // Room for the worst case: a short record and an address record at every 64 KiB boundary.
    const size_t boundaries = data.size() / 0x10000 + 3;
    const size_t records = data.size() / k_record_data + boundaries;
    const size_t at = text.size();
    text.resize(at + records * (k_record_overhead + 2 * k_record_data) + boundaries * (k_record_overhead + 4));
    char* const begin = text.data() + at;
    char* p = begin;
    if (m_count > 0 && address != m_address + m_count)
    {
        p = put(p, m_address, std::span(m_held.data(), m_count));
        m_count = 0;
    }
    while (!data.empty())
    {
        const uint64_t start = m_count > 0 ? m_address : address;
        // A record never crosses a 64 KiB boundary, so its 16-bit address field does not wrap.
        const size_t length = size_t(std::min<uint64_t>(k_record_data, 0x10000 - (start & 0xFFFF)));
        if (m_count == 0 && data.size() >= length)
        {
            p = put(p, start, data.first(length));
            data = data.subspan(length);
            address += length;
            continue;
        }
        const size_t take = std::min(length - m_count, data.size());
        std::copy_n(data.begin(), take, m_held.begin() + long(m_count));
        m_address = start;
        m_count += take;
        data = data.subspan(take);
        address += take;
        if (m_count == length)
        {
            p = put(p, m_address, std::span(m_held.data(), m_count));
            m_count = 0;
        }
    }
    text.resize(at + size_t(p - begin));
}

void PGMIO_HEX_FORMATTER::finish(std::string& text)
{
    char record[2 * (k_record_overhead + 2 * k_record_data)];
    char* p = record;
    if (m_count > 0)
        p = put(p, m_address, std::span(m_held.data(), m_count));
    m_count = 0;
    text.append(record, size_t(put_record(p, k_end, 0, {}) - record));
}

bool pgmio_format_hex(uint32_t base, std::span<const uint8_t> data, std::string& text, std::string& error)
{
    text.clear();
    if (!data.empty() && uint64_t(base) + data.size() - 1 > 0xFFFFFFFFu)
    {
        error = "data address range (" + pgmio_hex_number(base) + ".." +
                pgmio_hex_number(uint64_t(base) + data.size() - 1) +
                ") does not fit, the available range is only (0x00000000..0xffffffff)";
        return false;
    }
    PGMIO_HEX_FORMATTER formatter;
    formatter.append(base, data, text);
    formatter.finish(text);
    return true;
}

bool pgmio_write_hex_file(const std::string& path, uint32_t base, std::span<const uint8_t> data, std::string& error)
{
    std::string text;
    if (!pgmio_format_hex(base, data, text, error))
        return false;
    return pgmio_write_file_atomic(path, std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()), error);
}
