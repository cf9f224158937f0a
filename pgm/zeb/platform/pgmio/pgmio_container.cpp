// SPDX-License-Identifier: Apache-2.0
// The container layout, the hash helpers, the field codec, and whole-file reading and writing.
#include "pgm/zeb/platform/pgmio/pgmio_container.h"

#include "pgm/zeb/platform/fio/fio.h"

#include <openssl/evp.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr uint8_t k_magic[4] = {'C', 'V', 'N', 0x1A};

uint64_t get_le(const uint8_t* p, int bytes)
{
    uint64_t value = 0;
    for (int i = bytes - 1; i >= 0; --i)
        value = value << 8 | p[i];
    return value;
}

void put_le(PGMIO_BYTES& out, uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out.push_back(uint8_t(value >> (8 * i)));
}

void store_le(uint8_t* p, uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        p[i] = uint8_t(value >> (8 * i));
}

uint64_t align8(uint64_t value)
{
    return (value + 7) & ~uint64_t(7);
}

// The header and section table of a container of `total` bytes.
void store_head(uint8_t* out, uint32_t kind, std::span<const PGMIO_CONTAINER_ENTRY> entries, uint64_t total)
{
    std::memcpy(out, k_magic, sizeof k_magic);
    store_le(out + 4, kind, 4);
    store_le(out + 8, PGMIO_CONTAINER_VERSION, 2);
    store_le(out + 10, PGMIO_CONTAINER_HEADER_SIZE, 2);
    store_le(out + 12, entries.size(), 4);
    store_le(out + 16, total, 8);
    std::memset(out + 24, 0, 8);
    for (size_t i = 0; i < entries.size(); ++i)
    {
        uint8_t* entry = out + PGMIO_CONTAINER_HEADER_SIZE + i * PGMIO_CONTAINER_ENTRY_SIZE;
        store_le(entry, entries[i].tag, 4);
        store_le(entry + 4, entries[i].crc, 4);
        store_le(entry + 8, entries[i].offset, 8);
        store_le(entry + 16, entries[i].size, 8);
    }
}

std::string section_count_problem(size_t count)
{
    if (count <= PGMIO_CONTAINER_MAX_SECTIONS)
        return {};
    return "too many sections (" + std::to_string(count) + "), the format allows " +
           std::to_string(PGMIO_CONTAINER_MAX_SECTIONS);
}

std::string file_size_problem(uint64_t total)
{
    if (total <= PGMIO_MAX_FILE_SIZE)
        return {};
    return "the file would be " + std::to_string(total) + " bytes, the largest allowed is " +
           std::to_string(PGMIO_MAX_FILE_SIZE);
}

std::string system_error_text()
{
    return std::strerror(errno);
}

// Closes a file descriptor and, unless released, removes the temporary file it belongs to.
// What is wrong with a container whose header declares `declared` bytes in a file of `size`; "" when
// they agree.
std::string declared_size_problem(uint64_t declared, uint64_t size)
{
    if (declared == size)
        return {};
    return "the header declares " + std::to_string(declared) + " bytes but the file has " + std::to_string(size) +
           (declared > size ? " (truncated)" : " (trailing data)");
}

struct TEMP_FILE
{
    int fd = -1;
    std::string path;
    ~TEMP_FILE()
    {
        if (fd >= 0)
            ::close(fd);
        if (!path.empty())
            ::unlink(path.c_str());
    }
};

} // namespace

std::string pgmio_tag_text(uint32_t tag)
{
    std::string text;
    for (int i = 0; i < 4; ++i)
    {
        const uint8_t c = uint8_t(tag >> (8 * i));
        if (c >= 0x20 && c < 0x7F)
            text.push_back(char(c));
        else
        {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
            text += escaped;
        }
    }
    return text;
}

PGMIO_HASH pgmio_sha256(std::span<const uint8_t> data)
{
    PGMIO_SHA256 sha;
    sha.update(data);
    return sha.finish();
}

PGMIO_SHA256::PGMIO_SHA256() : m_context(EVP_MD_CTX_new())
{
    m_ok = m_context && EVP_DigestInit_ex(static_cast<EVP_MD_CTX*>(m_context), EVP_sha256(), nullptr) == 1;
}

PGMIO_SHA256::~PGMIO_SHA256()
{
    EVP_MD_CTX_free(static_cast<EVP_MD_CTX*>(m_context));
}

void PGMIO_SHA256::update(std::span<const uint8_t> data)
{
    m_ok = m_ok && EVP_DigestUpdate(static_cast<EVP_MD_CTX*>(m_context), data.data(), data.size()) == 1;
}

PGMIO_HASH PGMIO_SHA256::finish()
{
    PGMIO_HASH hash{};
    unsigned int length = 0;
    // The digest fails only when the crypto library is unusable; the hash is then all zero.
    if (!m_ok || EVP_DigestFinal_ex(static_cast<EVP_MD_CTX*>(m_context), hash.data(), &length) != 1 ||
        length != hash.size())
        hash.fill(0);
    m_ok = false;
    return hash;
}

std::string pgmio_hex_number(uint64_t value)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%08llx", static_cast<unsigned long long>(value));
    return text;
}

std::string pgmio_hex_text(std::span<const uint8_t> data)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(data.size() * 2);
    for (uint8_t byte : data)
    {
        text.push_back(digits[byte >> 4]);
        text.push_back(digits[byte & 15]);
    }
    return text;
}

void pgmio_reserve(PGMIO_BYTES& bytes, size_t size)
{
    constexpr uintptr_t k_huge_page = uintptr_t(2) << 20;
    const bool fresh = bytes.capacity() < size;
    bytes.reserve(size);
    if (!fresh || size < 2 * k_huge_page)
        return;
    // Only the whole huge pages inside the buffer; advice that is refused changes nothing.
    const uintptr_t begin = (reinterpret_cast<uintptr_t>(bytes.data()) + k_huge_page - 1) & ~(k_huge_page - 1);
    const uintptr_t end = (reinterpret_cast<uintptr_t>(bytes.data()) + size) & ~(k_huge_page - 1);
    if (end > begin)
        ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

bool pgmio_read_file(const std::string& path, PGMIO_BYTES& bytes, std::string& error, uint64_t max_size)
{
    bytes.clear();
    FIO_INPUT_FILE file;
    if (!file.open(path, error, max_size))
        return false;
    // A container says its size in its header: one that disagrees with the file is refused before
    // the file is read, however large it is.
    uint8_t header[24] = {};
    if (file.size() >= sizeof header)
    {
        if (!file.read_at(0, sizeof header, header, error))
            return false;
        const std::string problem =
            std::memcmp(header, k_magic, 4) == 0 ? declared_size_problem(get_le(header + 16, 8), file.size()) : "";
        if (!problem.empty())
        {
            error = "'" + path + "': " + problem;
            return false;
        }
    }
    // Reserved first so that a large input lands in huge pages; reading keeps the capacity.
    pgmio_reserve(bytes, size_t(file.size()) + 1);
    return file.read_all(bytes, error);
}

bool pgmio_write_file_atomic(const std::string& path, std::span<const uint8_t> bytes, std::string& error,
                             unsigned mode)
{
    if (path.empty())
    {
        error = "no output file name given";
        return false;
    }
    if (!fio_check_output_file(path, error))
        return false;
    TEMP_FILE temp;
    std::string pattern = path + ".tmp-XXXXXX";
    temp.fd = ::mkstemp(pattern.data());
    if (temp.fd < 0)
    {
        error = "cannot create a file beside '" + path + "': " + system_error_text();
        return false;
    }
    temp.path = pattern;
    // mkstemp creates the file private; give it the permissions a plain create would.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(temp.fd, mode_t(mode) & ~mask);
    const uint8_t* p = bytes.data();
    size_t left = bytes.size();
    while (left > 0)
    {
        const ssize_t written = ::write(temp.fd, p, std::min<size_t>(left, 1 << 24));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
        {
            error = "cannot write '" + path + "': " + system_error_text();
            return false;
        }
        p += written;
        left -= size_t(written);
    }
    if (::fsync(temp.fd) != 0 || ::close(temp.fd) != 0)
    {
        temp.fd = -1;
        error = "cannot write '" + path + "': " + system_error_text();
        return false;
    }
    temp.fd = -1;
    if (std::rename(temp.path.c_str(), path.c_str()) != 0)
    {
        error = "cannot replace '" + path + "': " + system_error_text();
        return false;
    }
    temp.path.clear();
    return true;
}

// ---- Container --------------------------------------------------------------------------------

std::vector<const PGMIO_SECTION_VIEW*> PGMIO_CONTAINER_VIEW::find_all(uint32_t tag) const
{
    std::vector<const PGMIO_SECTION_VIEW*> found;
    for (const PGMIO_SECTION_VIEW& section : sections)
        if (section.tag == tag)
            found.push_back(&section);
    return found;
}

bool pgmio_parse_container(std::span<const uint8_t> image, PGMIO_CONTAINER_VIEW& view, std::string& error,
                           bool verify_crcs)
{
    view = PGMIO_CONTAINER_VIEW{};
    const uint64_t size = image.size();
    if (size == 0)
    {
        error = "the file is empty";
        return false;
    }
    if (size < 4 && std::memcmp(image.data(), k_magic, size_t(size)) == 0)
    {
        error = "the file is truncated: " + std::to_string(size) + " bytes, a container has at least " +
                std::to_string(PGMIO_CONTAINER_HEADER_SIZE + PGMIO_CONTAINER_TRAILER_SIZE);
        return false;
    }
    if (size < 4 || std::memcmp(image.data(), k_magic, 4) != 0)
    {
        error = "not a Corvane programming file (wrong magic at offset 0)";
        return false;
    }
    if (size < PGMIO_CONTAINER_HEADER_SIZE + PGMIO_CONTAINER_TRAILER_SIZE)
    {
        error = "the file is truncated: " + std::to_string(size) + " bytes, a container has at least " +
                std::to_string(PGMIO_CONTAINER_HEADER_SIZE + PGMIO_CONTAINER_TRAILER_SIZE);
        return false;
    }
    const uint8_t* p = image.data();
    view.kind = uint32_t(get_le(p + 4, 4));
    view.version = uint16_t(get_le(p + 8, 2));
    const uint64_t header_size = get_le(p + 10, 2);
    const uint64_t count = get_le(p + 12, 4);
    const uint64_t declared_size = get_le(p + 16, 8);
    const uint64_t reserved = get_le(p + 24, 8);
    view.size = size;
    if (view.version != PGMIO_CONTAINER_VERSION)
    {
        error = "unsupported format version " + std::to_string(view.version) + " (this build reads version " +
                std::to_string(PGMIO_CONTAINER_VERSION) + ")";
        return false;
    }
    if (header_size != PGMIO_CONTAINER_HEADER_SIZE)
    {
        error = "bad header size " + std::to_string(header_size) + " at offset 10 (expected 32)";
        return false;
    }
    if (declared_size != size)
    {
        error = declared_size_problem(declared_size, size);
        return false;
    }
    if (reserved != 0)
    {
        error = "reserved header bytes at offset 24 are not zero";
        return false;
    }
    const uint64_t table_end = PGMIO_CONTAINER_HEADER_SIZE + count * PGMIO_CONTAINER_ENTRY_SIZE;
    if (count > PGMIO_CONTAINER_MAX_SECTIONS || table_end + PGMIO_CONTAINER_TRAILER_SIZE > size)
    {
        error = "section count " + std::to_string(count) + " at offset 12 does not fit in a file of " +
                std::to_string(size) + " bytes";
        return false;
    }
    const uint64_t data_end = size - PGMIO_CONTAINER_TRAILER_SIZE;
    // Sections follow the table in table order, each at the next multiple of 8, with zero padding;
    // the trailer follows the last one at the next multiple of 8. The layout is thus canonical.
    uint64_t expected = align8(table_end);
    uint64_t previous_end = table_end;
    view.sections.reserve(size_t(count));
    for (uint64_t i = 0; i < count; ++i)
    {
        const uint8_t* entry = p + PGMIO_CONTAINER_HEADER_SIZE + i * PGMIO_CONTAINER_ENTRY_SIZE;
        const uint64_t entry_offset = PGMIO_CONTAINER_HEADER_SIZE + i * PGMIO_CONTAINER_ENTRY_SIZE;
        PGMIO_SECTION_VIEW section;
        section.tag = uint32_t(get_le(entry, 4));
        section.crc = uint32_t(get_le(entry + 4, 4));
        section.offset = get_le(entry + 8, 8);
        const uint64_t length = get_le(entry + 16, 8);
        const std::string name = "section " + std::to_string(i) + " ('" + pgmio_tag_text(section.tag) + "')";
        if (section.offset != expected)
        {
            error = name + " starts at " + pgmio_hex_number(section.offset) + " (table entry at offset " +
                    std::to_string(entry_offset) + "), expected " + pgmio_hex_number(expected);
            return false;
        }
        if (length > data_end || section.offset > data_end - length)
        {
            error = name + " of " + std::to_string(length) + " bytes at " + pgmio_hex_number(section.offset) +
                    " runs past the end of the file (" + std::to_string(size) + " bytes)";
            return false;
        }
        for (uint64_t pad = previous_end; pad < section.offset; ++pad)
            if (p[pad] != 0)
            {
                error = "padding byte at offset " + std::to_string(pad) + " is not zero";
                return false;
            }
        section.data = image.subspan(size_t(section.offset), size_t(length));
        previous_end = section.offset + length;
        expected = align8(previous_end);
        view.sections.push_back(section);
    }
    if (expected != data_end)
    {
        error = "the file CRC is at offset " + std::to_string(data_end) + ", expected at " + std::to_string(expected);
        return false;
    }
    for (uint64_t pad = previous_end; pad < data_end; ++pad)
        if (p[pad] != 0)
        {
            error = "padding byte at offset " + std::to_string(pad) + " is not zero";
            return false;
        }
    view.file_crc = uint32_t(get_le(p + data_end, 4));
    if (!verify_crcs)
        return true;
    // The file CRC is assembled from the section CRCs and the CRCs of the bytes between them, so
    // each byte is read once.
    uint64_t covered = 0;
    uint32_t running = 0;
    for (size_t i = 0; i < view.sections.size(); ++i)
    {
        const PGMIO_SECTION_VIEW& section = view.sections[i];
        running = pgmio_crc32(image.subspan(size_t(covered), size_t(section.offset - covered)), running);
        const uint32_t actual = pgmio_crc32(section.data);
        if (actual != section.crc)
        {
            error = "CRC mismatch in section " + std::to_string(i) + " ('" + pgmio_tag_text(section.tag) + "') at " +
                    pgmio_hex_number(section.offset) + ": stored " + pgmio_hex_number(section.crc) + ", computed " +
                    pgmio_hex_number(actual);
            return false;
        }
        running = uint32_t(crc32_combine(running, actual, z_off_t(section.data.size())));
        covered = section.offset + section.data.size();
    }
    const uint32_t actual = pgmio_crc32(image.subspan(size_t(covered), size_t(data_end - covered)), running);
    if (actual != view.file_crc)
    {
        error = "file CRC mismatch: stored " + pgmio_hex_number(view.file_crc) + ", computed " +
                pgmio_hex_number(actual) + " (the header, section table or padding is damaged)";
        return false;
    }
    return true;
}

bool pgmio_parse_container_of_kind(std::span<const uint8_t> image, uint32_t kind, std::string_view what,
                                   PGMIO_CONTAINER_VIEW& view, std::string& error)
{
    if (!pgmio_parse_container(image, view, error))
        return false;
    if (view.kind != kind)
    {
        error = "the file holds '" + pgmio_tag_text(view.kind) + "' data, not a " + std::string(what) + " ('" +
                pgmio_tag_text(kind) + "')";
        return false;
    }
    return true;
}

bool PGMIO_CONTAINER_BUILDER::finish(PGMIO_BYTES& image, std::string& error) const
{
    error = section_count_problem(m_sections.size());
    if (!error.empty())
        return false;
    std::vector<PGMIO_CONTAINER_ENTRY> entries;
    uint64_t position = PGMIO_CONTAINER_HEADER_SIZE + m_sections.size() * PGMIO_CONTAINER_ENTRY_SIZE;
    for (const PENDING& section : m_sections)
    {
        position = align8(position);
        entries.push_back({section.tag, pgmio_crc32(section.data), position, section.data.size()});
        position += section.data.size();
    }
    const uint64_t data_end = align8(position);
    const uint64_t total = data_end + PGMIO_CONTAINER_TRAILER_SIZE;
    error = file_size_problem(total);
    if (!error.empty())
        return false;
    // Laid out in place: zero-filled, so padding needs no writing.
    image.assign(size_t(total), 0);
    uint8_t* out = image.data();
    store_head(out, m_kind, entries, total);
    for (size_t i = 0; i < m_sections.size(); ++i)
        if (!m_sections[i].data.empty())
            std::memcpy(out + entries[i].offset, m_sections[i].data.data(), m_sections[i].data.size());
    store_le(out + data_end, pgmio_crc32(std::span<const uint8_t>(out, size_t(data_end))), 4);
    return true;
}

PGMIO_CONTAINER_STREAM::PGMIO_CONTAINER_STREAM(const std::string& path, uint32_t kind, uint32_t section_count)
    : m_kind(kind), m_count(section_count), m_out(std::make_unique<HTL_ZOFSTREAM>(path))
{
    m_error = section_count_problem(section_count);
    if (!m_out->is_open())
        m_error = m_out->error();
    if (!m_error.empty())
        return;
    m_entries.reserve(section_count);
    // The header and table, filled in at the end.
    const PGMIO_BYTES reserved(PGMIO_CONTAINER_HEADER_SIZE + size_t(section_count) * PGMIO_CONTAINER_ENTRY_SIZE, 0);
    m_out->stream().write(reinterpret_cast<const char*>(reserved.data()), std::streamsize(reserved.size()));
    m_position = reserved.size();
}

PGMIO_CONTAINER_STREAM::~PGMIO_CONTAINER_STREAM() = default;

void PGMIO_CONTAINER_STREAM::put(std::span<const uint8_t> data)
{
    if (!m_error.empty() || data.empty())
        return;
    m_error = file_size_problem(m_position + data.size() + PGMIO_CONTAINER_TRAILER_SIZE);
    if (!m_error.empty())
        return;
    m_out->stream().write(reinterpret_cast<const char*>(data.data()), std::streamsize(data.size()));
    m_data_crc = pgmio_crc32(data, m_data_crc);
    m_position += data.size();
}

void PGMIO_CONTAINER_STREAM::pad()
{
    static constexpr uint8_t zeros[8] = {};
    put(std::span(zeros, size_t(align8(m_position) - m_position)));
}

void PGMIO_CONTAINER_STREAM::begin(uint32_t tag)
{
    if (m_entries.size() == m_count && m_error.empty())
        m_error = "more sections than the " + std::to_string(m_count) + " announced";
    if (!m_error.empty())
        return;
    pad();
    m_entries.push_back({tag, 0, m_position, 0});
}

void PGMIO_CONTAINER_STREAM::append(std::span<const uint8_t> data)
{
    if (m_entries.empty() || !m_error.empty())
        return;
    const uint64_t before = m_position;
    put(data);
    PGMIO_CONTAINER_ENTRY& entry = m_entries.back();
    entry.crc = pgmio_crc32(data, entry.crc);
    entry.size += m_position - before;
}

bool PGMIO_CONTAINER_STREAM::finish(std::string& error)
{
    if (m_error.empty() && m_entries.size() != m_count)
        m_error = std::to_string(m_entries.size()) + " sections of the " + std::to_string(m_count) + " announced";
    pad();
    error = m_error;
    if (!error.empty())
        return false; // the temporary file goes with the stream
    const uint64_t total = m_position + PGMIO_CONTAINER_TRAILER_SIZE;
    PGMIO_BYTES head(PGMIO_CONTAINER_HEADER_SIZE + m_entries.size() * PGMIO_CONTAINER_ENTRY_SIZE);
    store_head(head.data(), m_kind, m_entries, total);
    // The file CRC runs over the head, written last, and the data after it, written first.
    const uint32_t file_crc = pgmio_crc32_combine(pgmio_crc32(head), m_data_crc, m_position - head.size());
    uint8_t trailer[PGMIO_CONTAINER_TRAILER_SIZE];
    store_le(trailer, file_crc, PGMIO_CONTAINER_TRAILER_SIZE);
    // A failed write leaves the stream bad, which commit() reports with the reason.
    m_out->stream().write(reinterpret_cast<const char*>(trailer), sizeof trailer);
    m_out->write_at(0, head.data(), head.size());
    if (m_out->commit())
        return true;
    error = m_error = m_out->error();
    return false;
}

bool pgmio_check_section_set(const PGMIO_CONTAINER_VIEW& view, std::initializer_list<uint32_t> required,
                             std::initializer_list<uint32_t> optional, std::initializer_list<uint32_t> repeatable,
                             std::string& error)
{
    auto listed = [](std::initializer_list<uint32_t> list, uint32_t tag)
    { return std::find(list.begin(), list.end(), tag) != list.end(); };
    for (const PGMIO_SECTION_VIEW& section : view.sections)
    {
        if (!listed(required, section.tag) && !listed(optional, section.tag) && !listed(repeatable, section.tag))
        {
            error = "unknown section '" + pgmio_tag_text(section.tag) + "' at " + pgmio_hex_number(section.offset);
            return false;
        }
    }
    for (uint32_t tag : required)
    {
        const size_t count = view.find_all(tag).size();
        if (count != 1)
        {
            error = count == 0 ? "missing section '" + pgmio_tag_text(tag) + "'"
                               : "section '" + pgmio_tag_text(tag) + "' appears " + std::to_string(count) + " times";
            return false;
        }
    }
    for (uint32_t tag : optional)
    {
        if (view.find_all(tag).size() > 1)
        {
            error = "section '" + pgmio_tag_text(tag) + "' appears more than once";
            return false;
        }
    }
    return true;
}

// ---- Field codec ------------------------------------------------------------------------------

void PGMIO_BYTE_WRITER::u16(uint16_t value)
{
    put_le(m_bytes, value, 2);
}
void PGMIO_BYTE_WRITER::u32(uint32_t value)
{
    put_le(m_bytes, value, 4);
}
void PGMIO_BYTE_WRITER::u64(uint64_t value)
{
    put_le(m_bytes, value, 8);
}

bool PGMIO_BYTE_WRITER::str(std::string_view text)
{
    if (text.size() > 0xFFFF)
        return false;
    u16(uint16_t(text.size()));
    m_bytes.insert(m_bytes.end(), text.begin(), text.end());
    return true;
}

bool PGMIO_BYTE_READER::take(uint64_t count)
{
    if (!m_error.empty())
        return false;
    if (count > remaining())
    {
        fail("needs " + std::to_string(count) + " bytes, " + std::to_string(remaining()) + " left");
        return false;
    }
    return true;
}

void PGMIO_BYTE_READER::fail(std::string_view what)
{
    if (m_error.empty())
        m_error = "section '" + m_section + "' at offset " + std::to_string(m_pos) + ": " + std::string(what);
}

uint8_t PGMIO_BYTE_READER::u8()
{
    if (!take(1))
        return 0;
    return m_data[size_t(m_pos++)];
}

uint16_t PGMIO_BYTE_READER::u16()
{
    if (!take(2))
        return 0;
    const uint16_t value = uint16_t(get_le(m_data.data() + m_pos, 2));
    m_pos += 2;
    return value;
}

uint32_t PGMIO_BYTE_READER::u32()
{
    if (!take(4))
        return 0;
    const uint32_t value = uint32_t(get_le(m_data.data() + m_pos, 4));
    m_pos += 4;
    return value;
}

uint64_t PGMIO_BYTE_READER::u64()
{
    if (!take(8))
        return 0;
    const uint64_t value = get_le(m_data.data() + m_pos, 8);
    m_pos += 8;
    return value;
}

std::string PGMIO_BYTE_READER::str()
{
    const uint16_t length = u16();
    const std::span<const uint8_t> text = bytes(length);
    return std::string(text.begin(), text.end());
}

std::span<const uint8_t> PGMIO_BYTE_READER::bytes(uint64_t count)
{
    if (!take(count))
        return {};
    const std::span<const uint8_t> part = m_data.subspan(size_t(m_pos), size_t(count));
    m_pos += count;
    return part;
}

bool PGMIO_BYTE_READER::finish(std::string& error)
{
    if (m_error.empty() && remaining() != 0)
        fail(std::to_string(remaining()) + " unexpected trailing bytes");
    if (!m_error.empty())
    {
        error = m_error;
        return false;
    }
    return true;
}
