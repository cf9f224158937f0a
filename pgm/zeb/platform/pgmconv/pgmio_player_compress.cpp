// SPDX-License-Identifier: Apache-2.0
// Compression of the scan data in STAPL files: a small LZ77 whose decoder fits a microcontroller
// player (no tables, one pass, copies from the output already written).
#include "pgm/zeb/platform/pgmconv/pgmio_player_program.h"

#include <algorithm>

namespace
{

constexpr size_t k_min_match = 3;
constexpr size_t k_max_match = 0x7F + k_min_match;
constexpr size_t k_max_literals = 0x80;
constexpr size_t k_max_distance = 0xFFFF;
constexpr size_t k_hash_bits = 15;

uint32_t hash3(const uint8_t* p)
{
    const uint32_t v = uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16;
    return (v * 2654435761u) >> (32 - k_hash_bits);
}

} // namespace

PGMIO_BYTES pgmio_player_compress(std::span<const uint8_t> data)
{
    PGMIO_BYTES out;
    out.reserve(data.size() + data.size() / 64 + 8);
    for (int i = 0; i < 4; ++i)
        out.push_back(uint8_t(data.size() >> (8 * i)));
    std::vector<int64_t> last(size_t(1) << k_hash_bits, -1);
    size_t literal_start = 0;
    auto flush_literals = [&](size_t end)
    {
        while (literal_start < end)
        {
            const size_t n = std::min(k_max_literals, end - literal_start);
            out.push_back(uint8_t(n - 1));
            out.insert(out.end(), data.begin() + literal_start, data.begin() + literal_start + n);
            literal_start += n;
        }
    };
    size_t at = 0;
    while (at + k_min_match <= data.size())
    {
        const uint32_t h = hash3(&data[at]);
        const int64_t candidate = last[h];
        last[h] = int64_t(at);
        size_t length = 0;
        if (candidate >= 0 && at - size_t(candidate) <= k_max_distance)
        {
            const size_t limit = std::min(k_max_match, data.size() - at);
            while (length < limit && data[size_t(candidate) + length] == data[at + length])
                ++length;
        }
        if (length < k_min_match)
        {
            ++at;
            continue;
        }
        flush_literals(at);
        const size_t distance = at - size_t(candidate);
        out.push_back(uint8_t(0x80 | (length - k_min_match)));
        out.push_back(uint8_t(distance));
        out.push_back(uint8_t(distance >> 8));
        at += length;
        literal_start = at;
    }
    flush_literals(data.size());
    return out;
}

bool pgmio_player_decompress(std::span<const uint8_t> stream, PGMIO_BYTES& data, std::string& error)
{
    if (stream.size() < 4)
    {
        error = "compressed data shorter than its length field";
        return false;
    }
    const uint64_t size =
        uint64_t(stream[0]) | uint64_t(stream[1]) << 8 | uint64_t(stream[2]) << 16 | uint64_t(stream[3]) << 24;
    // Every token yields at most 130 bytes from at least 1 byte of input: a bound before reserving.
    if (size > (stream.size() - 4) * k_max_match)
    {
        error = "compressed data declares " + std::to_string(size) + " bytes, more than it can hold";
        return false;
    }
    data.clear();
    data.reserve(size);
    size_t at = 4;
    while (at < stream.size() && data.size() < size)
    {
        const uint8_t control = stream[at++];
        if (control < 0x80)
        {
            const size_t n = size_t(control) + 1;
            if (n > stream.size() - at || data.size() + n > size)
                break;
            data.insert(data.end(), stream.begin() + at, stream.begin() + at + n);
            at += n;
            continue;
        }
        if (stream.size() - at < 2)
            break;
        const size_t n = size_t(control & 0x7F) + k_min_match;
        const size_t distance = size_t(stream[at]) | size_t(stream[at + 1]) << 8;
        at += 2;
        if (distance == 0 || distance > data.size() || data.size() + n > size)
            break;
        for (size_t i = 0; i < n; ++i)
            data.push_back(data[data.size() - distance]);
    }
    if (at != stream.size() || data.size() != size)
    {
        error = "compressed data is damaged at byte " + std::to_string(at);
        return false;
    }
    return true;
}
