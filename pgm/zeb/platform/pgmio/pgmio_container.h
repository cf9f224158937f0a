// SPDX-License-Identifier: Apache-2.0
// The binary container that every programming file of ours uses (docs/formats.md): a fixed header
// with magic, kind and version, a table of tagged sections, each with its CRC-32, and a CRC-32 over
// the whole file. Also the little-endian field codec, whole-file reading with a size limit and
// atomic writing.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

using PGMIO_BYTES = std::vector<uint8_t>;
using PGMIO_HASH = std::array<uint8_t, 32>; // SHA-256

// A four-character tag as its little-endian 32-bit value: "CORE" is 0x45524F43.
constexpr uint32_t pgmio_tag(const char (&text)[5])
{
    return uint32_t(uint8_t(text[0])) | uint32_t(uint8_t(text[1])) << 8 | uint32_t(uint8_t(text[2])) << 16 |
           uint32_t(uint8_t(text[3])) << 24;
}
// The tag as text; bytes outside printable ASCII are shown as "\xNN".
std::string pgmio_tag_text(uint32_t tag);

// Container kinds (the four characters at offset 4 of a file).
constexpr uint32_t PGMIO_KIND_RBF = pgmio_tag("RBF ");  // configuration data
constexpr uint32_t PGMIO_KIND_SOF = pgmio_tag("SOF ");  // SRAM object file
constexpr uint32_t PGMIO_KIND_PMSF = pgmio_tag("PMSF"); // partial-masked SRAM object file
constexpr uint32_t PGMIO_KIND_MSF = pgmio_tag("MSF ");  // mask settings file
constexpr uint32_t PGMIO_KIND_POF = pgmio_tag("POF ");  // programmer object file
constexpr uint32_t PGMIO_KIND_JIC = pgmio_tag("JIC ");  // JTAG indirect configuration file
constexpr uint32_t PGMIO_KIND_EKP = pgmio_tag("EKP ");  // key programming file
constexpr uint32_t PGMIO_KIND_HLPR = pgmio_tag("HLPR"); // programming helper image

constexpr uint16_t PGMIO_CONTAINER_VERSION = 1;
constexpr size_t PGMIO_CONTAINER_HEADER_SIZE = 32;
constexpr size_t PGMIO_CONTAINER_ENTRY_SIZE = 24;
constexpr size_t PGMIO_CONTAINER_TRAILER_SIZE = 4;
constexpr uint32_t PGMIO_CONTAINER_MAX_SECTIONS = 65536;
// Largest file the readers accept: a bound on what one read may allocate.
constexpr uint64_t PGMIO_MAX_FILE_SIZE = uint64_t(2) << 30;

// CRC-32 (the zlib/IEEE polynomial) of `data`, continuing from `crc` (0 to start).
uint32_t pgmio_crc32(std::span<const uint8_t> data, uint32_t crc = 0);
// The CRC-32 of two pieces one after the other, from the CRC of each and the second's length.
uint32_t pgmio_crc32_combine(uint32_t first, uint32_t second, uint64_t second_size);
// SHA-256 of `data`.
PGMIO_HASH pgmio_sha256(std::span<const uint8_t> data);
// SHA-256 of data fed in pieces, for inputs streamed rather than held whole.
class PGMIO_SHA256
{
public:
    PGMIO_SHA256();
    ~PGMIO_SHA256();
    PGMIO_SHA256(const PGMIO_SHA256&) = delete;
    PGMIO_SHA256& operator=(const PGMIO_SHA256&) = delete;
    void update(std::span<const uint8_t> data);
    // The digest of everything fed; all zero when the crypto library is unusable.
    PGMIO_HASH finish();

private:
    void* m_context = nullptr; // the crypto library's digest context
    bool m_ok = false;
};
// "0x" and at least eight lower-case hexadecimal digits: 0x0001f000.
std::string pgmio_hex_number(uint64_t value);
// Lower-case hexadecimal text of bytes.
std::string pgmio_hex_text(std::span<const uint8_t> data);

// Reserves room for `size` bytes; a large buffer is backed by huge pages where the system offers
// them, which makes filling it much cheaper than page by page.
void pgmio_reserve(PGMIO_BYTES& bytes, size_t size);

// Reads a whole file. False with the reason in `error` when it is missing, not a regular file,
// unreadable, larger than `max_size` or than the limit of its kind, or a container whose header
// declares another size (the last three found before anything is read).
bool pgmio_read_file(const std::string& path, PGMIO_BYTES& bytes, std::string& error,
                     uint64_t max_size = PGMIO_MAX_FILE_SIZE);
// Writes a file through a temporary file beside it that is renamed over the target, so the target
// is either untouched or complete; `mode` (before the umask) is 0600 for files that hold keys.
// False with the reason in `error`.
bool pgmio_write_file_atomic(const std::string& path, std::span<const uint8_t> bytes, std::string& error,
                             unsigned mode = 0666);

// ---- Container --------------------------------------------------------------------------------

// One section of a parsed container: a view into the parsed image.
struct PGMIO_SECTION_VIEW
{
    uint32_t tag = 0;
    uint32_t crc = 0;    // as stored
    uint64_t offset = 0; // from the start of the container
    std::span<const uint8_t> data;
};

struct PGMIO_CONTAINER_VIEW
{
    uint32_t kind = 0;
    uint16_t version = 0;
    uint32_t file_crc = 0; // as stored in the trailer
    uint64_t size = 0;
    std::vector<PGMIO_SECTION_VIEW> sections;

    // The sections with this tag, in file order.
    std::vector<const PGMIO_SECTION_VIEW*> find_all(uint32_t tag) const;
};

// Checks the layout of a container image and, with `verify_crcs`, every section CRC and the file CRC.
// False with the reason (and the byte offset where it applies) in `error`.
bool pgmio_parse_container(std::span<const uint8_t> image, PGMIO_CONTAINER_VIEW& view, std::string& error,
                           bool verify_crcs = true);
// As above, and the kind must be `kind`; `what` names the file kind in the error ("SRAM object file").
bool pgmio_parse_container_of_kind(std::span<const uint8_t> image, uint32_t kind, std::string_view what,
                                   PGMIO_CONTAINER_VIEW& view, std::string& error);

// One entry of the section table, as stored.
struct PGMIO_CONTAINER_ENTRY
{
    uint32_t tag = 0;
    uint32_t crc = 0;
    uint64_t offset = 0;
    uint64_t size = 0;
};

// Collects sections and lays them out. The added data must stay alive until finish().
class PGMIO_CONTAINER_BUILDER
{
public:
    explicit PGMIO_CONTAINER_BUILDER(uint32_t kind) : m_kind(kind) {}
    void add(uint32_t tag, std::span<const uint8_t> data) { m_sections.push_back({tag, data}); }
    // The complete container. False (with `error`) when it would exceed the format's limits.
    bool finish(PGMIO_BYTES& image, std::string& error) const;

private:
    struct PENDING
    {
        uint32_t tag;
        std::span<const uint8_t> data;
    };
    uint32_t m_kind;
    std::vector<PENDING> m_sections;
};

class HTL_ZOFSTREAM;

// Writes a container to a file one section at a time without holding the sections' data, for
// files as large as a flash: the header and section table are reserved first and filled in by
// finish(), which then renames the file into place. Nothing appears at the path otherwise.
class PGMIO_CONTAINER_STREAM
{
public:
    // Exactly `section_count` sections follow.
    PGMIO_CONTAINER_STREAM(const std::string& path, uint32_t kind, uint32_t section_count);
    ~PGMIO_CONTAINER_STREAM();
    PGMIO_CONTAINER_STREAM(const PGMIO_CONTAINER_STREAM&) = delete;
    PGMIO_CONTAINER_STREAM& operator=(const PGMIO_CONTAINER_STREAM&) = delete;
    // Starts the next section, whose data follows in any number of appends.
    void begin(uint32_t tag);
    void append(std::span<const uint8_t> data);
    void add(uint32_t tag, std::span<const uint8_t> data) { begin(tag), append(data); }
    // Completes the table and the file CRC and renames the file into place. False (with `error`,
    // and nothing written) on a write error, past the format's limits, or with fewer sections
    // than announced.
    bool finish(std::string& error);

private:
    void pad();
    void put(std::span<const uint8_t> data);
    uint32_t m_kind;
    uint32_t m_count;
    std::vector<PGMIO_CONTAINER_ENTRY> m_entries;
    std::unique_ptr<HTL_ZOFSTREAM> m_out;
    uint64_t m_position = 0;  // bytes written
    uint32_t m_data_crc = 0;  // CRC-32 of the bytes after the section table
    std::string m_error;      // the first failure
};

// Ensures the container has exactly one section of each tag of `required` and at most one of
// `optional`, and no other tag unless listed in `repeatable`. False with the reason in `error`.
bool pgmio_check_section_set(const PGMIO_CONTAINER_VIEW& view, std::initializer_list<uint32_t> required,
                             std::initializer_list<uint32_t> optional, std::initializer_list<uint32_t> repeatable,
                             std::string& error);

// ---- Field codec ------------------------------------------------------------------------------

// Appends little-endian fields. Strings are a 16-bit length and that many bytes.
class PGMIO_BYTE_WRITER
{
public:
    void u8(uint8_t value) { m_bytes.push_back(value); }
    void u16(uint16_t value);
    void u32(uint32_t value);
    void u64(uint64_t value);
    // False when the text is longer than 65535 bytes.
    bool str(std::string_view text);
    void bytes(std::span<const uint8_t> data) { m_bytes.insert(m_bytes.end(), data.begin(), data.end()); }
    const PGMIO_BYTES& data() const { return m_bytes; }
    PGMIO_BYTES& data() { return m_bytes; }

private:
    PGMIO_BYTES m_bytes;
};

// Reads little-endian fields from one section. A read past the end sets the failure (read values
// are then 0) and the first failure's text, which names the section and the offset in it.
class PGMIO_BYTE_READER
{
public:
    PGMIO_BYTE_READER(std::span<const uint8_t> data, std::string_view section) : m_data(data), m_section(section) {}
    uint8_t u8();
    uint16_t u16();
    uint32_t u32();
    uint64_t u64();
    std::string str();
    // `count` bytes; an empty span on failure.
    std::span<const uint8_t> bytes(uint64_t count);
    std::span<const uint8_t> rest() { return bytes(remaining()); }
    uint64_t remaining() const { return m_data.size() - m_pos; }
    uint64_t position() const { return m_pos; }
    bool ok() const { return m_error.empty(); }
    // Records a failure of the caller's own check at the current position (the first one counts).
    void fail(std::string_view what);
    // True when everything read was there and nothing is left over; else false with `error`.
    bool finish(std::string& error);

private:
    bool take(uint64_t count);
    std::span<const uint8_t> m_data;
    std::string m_section;
    uint64_t m_pos = 0;
    std::string m_error;
};
