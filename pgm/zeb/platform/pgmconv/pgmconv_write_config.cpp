// SPDX-License-Identifier: Apache-2.0
// Writers of a page's configuration data: .rbf (the bytes themselves), .hexout (hex records of
// them) and .ttf (decimal text of them). Each is written beside its target and renamed into place.
#include "pgm/zeb/platform/pgmconv/pgmconv_engine.h"

#include <array>

namespace
{

constexpr size_t k_ttf_values_per_line = 16;
constexpr size_t k_flush_size = size_t(1) << 20;

bool first_page_image(const PGMIO_CCF::STATE& state, PGMCONV_PAGE_IMAGE& image, std::string& error)
{
    for (uint32_t i = 0; i < state.pages.size(); ++i)
        if (!state.pages[i].input.is_empty())
            return pgmconv_page_image(state, i, image, error);
    error = "the conversion has no page with a configuration image";
    return false;
}

// Streams text into an atomically replaced file in large pieces.
class TEXT_SINK
{
public:
    explicit TEXT_SINK(const std::string& path) : m_out(path), m_path(path) { m_buffer.reserve(k_flush_size + 256); }
    std::string& buffer() { return m_buffer; }
    void flush_if_full()
    {
        if (m_buffer.size() >= k_flush_size)
            flush();
    }
    bool commit(std::string& error)
    {
        flush();
        if (!m_out.is_open() || !m_out.commit())
        {
            error = "cannot write '" + m_path + "': " + m_out.error();
            return false;
        }
        return true;
    }

private:
    void flush()
    {
        m_out.stream().write(m_buffer.data(), std::streamsize(m_buffer.size()));
        m_buffer.clear();
    }
    HTL_ZOFSTREAM m_out;
    std::string m_path;
    std::string m_buffer;
};

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

// One hex record: ":LLAAAATT<data>CC" and a newline.
void hex_record(std::string& out, uint8_t type, uint16_t address, std::span<const uint8_t> data)
{
    const size_t at = out.size();
    out.resize(at + 12 + 2 * data.size());
    char* p = out.data() + at;
    unsigned sum = unsigned(data.size()) + (address >> 8) + (address & 0xFF) + type;
    auto put = [&p](uint8_t byte)
    {
        p[0] = k_hex_pairs[byte][0];
        p[1] = k_hex_pairs[byte][1];
        p += 2;
    };
    *p++ = ':';
    put(uint8_t(data.size()));
    put(uint8_t(address >> 8));
    put(uint8_t(address));
    put(type);
    for (uint8_t byte : data)
    {
        put(byte);
        sum += byte;
    }
    put(uint8_t(0x100 - (sum & 0xFF)));
    *p = '\n';
}

} // namespace

bool pgmconv_write_rbf(const PGMIO_CCF::STATE& state, const std::string& path, std::string& error)
{
    PGMCONV_PAGE_IMAGE image;
    return first_page_image(state, image, error) && pgmio_write_file_atomic(path, image.bytes, error);
}

std::string pgmconv_split_path(const FIO_PATH& path, const char* suffix)
{
    FIO_PATH half = path;
    half.set_base_name(path.get_base_name() + suffix);
    half.set_extension("rbf");
    return half.get_full_path();
}

bool pgmconv_write_split(const PGMIO_CCF::STATE& state, const std::string& core_path, const std::string& first_path,
                         std::string& error)
{
    PGMCONV_PAGE_IMAGE image;
    if (!first_page_image(state, image, error))
        return false;
    const PGMIO_CCF_PAGE* page = nullptr;
    for (const PGMIO_CCF_PAGE& candidate : state.pages)
        if (!page && !candidate.input.is_empty())
            page = &candidate;
    PGMIO_CONFIG_DATA first;
    PGMIO_CONFIG_DATA core;
    pgmconv_split_configuration(image.plain, first, core);
    if (!core.find(PGMIO_SECTION_CORE) || (state.cvp && !first.find(PGMIO_SECTION_PERIPHERY)) ||
        (!state.cvp && !first.find(PGMIO_SECTION_HPS)))
    {
        error = "'" + page->input.get_full_path() + "' cannot be split: the design has no " +
                (state.cvp ? "periphery (CvP)" : "HPS") + " configuration of its own";
        return false;
    }
    PGMIO_BYTES bytes;
    if (!pgmsec_encode_configuration(core, page->security, *image.device, bytes, error) ||
        !pgmio_write_file_atomic(core_path, bytes, error))
        return false;
    return first_path.empty() || (pgmsec_encode_configuration(first, page->security, *image.device, bytes, error) &&
                                  pgmio_write_file_atomic(first_path, bytes, error));
}

bool pgmconv_write_hexout(const PGMIO_CCF::STATE& state, const std::string& path, std::string& error)
{
    PGMCONV_PAGE_IMAGE image;
    if (!first_page_image(state, image, error))
        return false;
    const std::span<const uint8_t> data = image.bytes;
    const uint64_t anchor = state.options->hex_start_address;
    // Counting down, the data ends at the start address and grows toward address 0.
    const bool up = state.options->hex_count_up;
    if ((up && anchor + data.size() - 1 > 0xFFFFFFFFu) || (!up && data.size() - 1 > anchor))
    {
        const std::string wanted = up ? pgmio_hex_number(anchor) + ".." + pgmio_hex_number(anchor + data.size() - 1)
                                      : "below 0 .." + pgmio_hex_number(anchor);
        error = "hex record address range (" + wanted + ") of " + std::to_string(data.size()) +
                " bytes does not fit, the available range is only (0x00000000..0xffffffff)";
        return false;
    }
    const uint64_t base = up ? anchor : anchor - (data.size() - 1);
    TEXT_SINK sink(path);
    std::string& out = sink.buffer();
    uint64_t upper = UINT64_MAX;
    for (size_t done = 0; done < data.size();)
    {
        const uint64_t address = base + done;
        if ((address >> 16) != upper)
        {
            upper = address >> 16;
            const uint8_t payload[2] = {uint8_t(upper >> 8), uint8_t(upper)};
            hex_record(out, 0x04, 0, payload);
        }
        const size_t piece = size_t(std::min<uint64_t>({16, data.size() - done, 0x10000 - (address & 0xFFFF)}));
        hex_record(out, 0x00, uint16_t(address), data.subspan(done, piece));
        done += piece;
        sink.flush_if_full();
    }
    hex_record(out, 0x01, 0, {});
    return sink.commit(error);
}

bool pgmconv_write_ttf(const PGMIO_CCF::STATE& state, const std::string& path, std::string& error)
{
    PGMCONV_PAGE_IMAGE image;
    if (!first_page_image(state, image, error))
        return false;
    TEXT_SINK sink(path);
    std::string& out = sink.buffer();
    const size_t count = image.bytes.size();
    for (size_t i = 0; i < count; ++i)
    {
        const unsigned value = image.bytes[i];
        char text[4];
        size_t n = 0;
        if (value >= 100)
            text[n++] = char('0' + value / 100);
        if (value >= 10)
            text[n++] = char('0' + value / 10 % 10);
        text[n++] = char('0' + value % 10);
        out.append(text, n);
        if (i + 1 < count)
            out += ',';
        if ((i + 1) % k_ttf_values_per_line == 0 || i + 1 == count)
            out += '\n';
        sink.flush_if_full();
    }
    return sink.commit(error);
}
