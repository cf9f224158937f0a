// SPDX-License-Identifier: Apache-2.0
// Writers of a page's configuration data: .rbf (the bytes themselves), .hexout (hex records of
// them) and .ttf (decimal text of them). Each is written beside its target and renamed into place.
#include "pgm/zeb/platform/pgmconv/pgmconv_engine.h"
#include "pgm/zeb/platform/pgmio/pgmio_text.h"

#include <algorithm>

namespace
{

constexpr size_t k_ttf_values_per_line = 16;
constexpr size_t k_flush_size = size_t(1) << 20;
constexpr size_t k_hex_piece = size_t(256) << 10; // data bytes formatted between flushes

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
    explicit TEXT_SINK(const std::string& path) : m_out(path), m_path(path) { m_buffer.reserve(2 * k_flush_size); }
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

} // namespace

bool pgmconv_write_rbf(const PGMIO_CCF::STATE& state, const std::string& path, std::string& error)
{
    PGMCONV_PAGE_IMAGE image;
    return first_page_image(state, image, error) && pgmio_write_file_atomic(path, image.data(), error);
}

PGMIO_SPLIT_PATHS pgmio_split_paths(const FIO_PATH& output, bool cvp)
{
    const auto half = [&output](const char* suffix)
    {
        FIO_PATH path = output;
        path.set_base_name(output.get_base_name() + suffix);
        path.set_extension("rbf");
        return path;
    };
    return {half(".core"), half(cvp ? ".periph" : ".hps")};
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
    const std::span<const uint8_t> data = image.data();
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
    PGMIO_HEX_FORMATTER formatter;
    for (size_t done = 0; done < data.size(); done += k_hex_piece)
    {
        const size_t piece = std::min(k_hex_piece, data.size() - done);
        formatter.append(base + done, data.subspan(done, piece), sink.buffer());
        sink.flush_if_full();
    }
    formatter.finish(sink.buffer());
    return sink.commit(error);
}

bool pgmconv_write_ttf(const PGMIO_CCF::STATE& state, const std::string& path, std::string& error)
{
    PGMCONV_PAGE_IMAGE image;
    if (!first_page_image(state, image, error))
        return false;
    TEXT_SINK sink(path);
    std::string& out = sink.buffer();
    const std::span<const uint8_t> data = image.data();
    const size_t count = data.size();
    for (size_t i = 0; i < count; ++i)
    {
        const unsigned value = data[i];
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
