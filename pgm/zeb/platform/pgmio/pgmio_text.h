// SPDX-License-Identifier: Apache-2.0
// Text files of the programming-file library: hex data files (hex records) and chain
// description files (.cdf). Errors name the file and the line: "<file>:<line>: <reason>".
#pragma once

#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/pgmio/pgmio_container.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// ---- Hex data files -------------------------------------------------------------------------------

// One data record (type 00). Its load address is offset + start. A record whose bytes wrap, at the
// end of its 64 KiB segment under a segment base or at 4 GiB under a linear base, is held as two
// such entries with the same line, the second starting at address field 0.
struct PGMIO_HEX_RECORD
{
    uint32_t start = 0;  // the record's own 16-bit address field (0 for the wrapped piece)
    uint32_t offset = 0; // base from the last extended segment (02) or extended linear (04) record
    uint32_t line = 0;   // 1-based line of the record
    PGMIO_BYTES data;
    uint64_t address() const { return uint64_t(offset) + start; }
};

// Reads data (00), end-of-file (01), extended segment address (02) and extended linear address (04)
// records; start segment (03) and start linear (05) address records are read as the entry point.
// A line is one record or blank (blank lines are ignored); LF or CR LF ends a line. Anything but
// blank lines after the end record is an error.
class PGMIO_HEX_READER
{
public:
    void set_file(const std::string& path) { m_path = path; }
    // Reads the file given to set_file. With allow_overlap false two records loading the same
    // address are an error; with allow_missing_end a file without end record is accepted.
    // False with "<file>:<line>: <reason>" in get_error(); the record list is then cleared.
    bool read_hex_file(bool allow_overlap, bool allow_missing_end);
    // As read_hex_file for text in memory; `name` stands for the file in errors.
    bool read_hex_text(std::string_view text, std::string_view name, bool allow_overlap, bool allow_missing_end);

    // The data records in file order; nullptr until a read succeeded.
    const std::vector<PGMIO_HEX_RECORD>* get_hex_list() const { return m_read ? &m_records : nullptr; }
    const std::string& get_error() const { return m_error; }
    bool has_entry_point() const { return m_has_entry; }
    uint32_t get_entry_point() const { return m_entry; }
    // The lowest load address; 0xFFFFFFFF when there are no data records.
    uint32_t get_start_address() const;
    // The data as one image from the lowest to the highest loaded address, gaps filled with `fill`.
    // False with the range in `error` when it spans more than `max_size` bytes or nothing was read.
    bool get_image(uint64_t max_size, uint8_t fill, uint32_t& base, PGMIO_BYTES& image, std::string& error) const;

private:
    void add_piece(uint32_t start, uint32_t offset, std::span<const uint8_t> bytes, uint32_t line);

    std::string m_path;
    std::vector<PGMIO_HEX_RECORD> m_records;
    std::string m_error;
    bool m_read = false;
    bool m_has_entry = false;
    uint32_t m_entry = 0;
};

// Hex text of `data` loaded at `base`: 16 data bytes a record, an extended linear address record
// wherever the upper 16 address bits change, then the end record. False when the data runs past
// 0xFFFFFFFF.
bool pgmio_format_hex(uint32_t base, std::span<const uint8_t> data, std::string& text, std::string& error);
// Writes pgmio_format_hex's text to a file atomically. False with the reason in `error`.
bool pgmio_write_hex_file(const std::string& path, uint32_t base, std::span<const uint8_t> data, std::string& error);

// ---- Chain description files ----------------------------------------------------------------------

// Actions on a device of the chain.
constexpr uint32_t PGMIO_CDF_PROGRAM = 1u << 0;
constexpr uint32_t PGMIO_CDF_VERIFY = 1u << 1;
constexpr uint32_t PGMIO_CDF_BLANK_CHECK = 1u << 2;
constexpr uint32_t PGMIO_CDF_EXAMINE = 1u << 3;
constexpr uint32_t PGMIO_CDF_ERASE = 1u << 4;

struct PGMIO_CDF_DEVICE
{
    std::string device_name; // a device of the catalogue
    std::string file;        // programming file as written; relative to the .cdf's directory
    uint32_t actions = 0;    // PGMIO_CDF_* bits; 0 leaves the device in bypass
    bool operator==(const PGMIO_CDF_DEVICE&) const = default;
};

struct PGMIO_CDF_CHAIN
{
    std::string mode = "JTAG";             // JTAG, PS or AS
    std::vector<PGMIO_CDF_DEVICE> devices; // in chain order, from TDI to TDO; at least one
    bool operator==(const PGMIO_CDF_CHAIN&) const = default;
};

class PGMIO_CDF
{
public:
    // Reads a chain description file. False with "<file>:<line>: <reason>" in `error`.
    static bool read(const FIO_PATH& path, PGMIO_CDF_CHAIN& chain, std::string& error);
    // Parses chain description text; `name` stands for the file in errors.
    static bool parse(std::string_view text, std::string_view name, PGMIO_CDF_CHAIN& chain, std::string& error);
    // The text of a chain; false when the chain breaks a rule of the format (reason in `error`).
    static bool format(const PGMIO_CDF_CHAIN& chain, std::string& text, std::string& error);
    // Writes a chain description file atomically. False with the reason in `error`.
    static bool write(const FIO_PATH& path, const PGMIO_CDF_CHAIN& chain, std::string& error);
    // The full path of a device's file: relative names are taken from the directory of `cdf_path`.
    static FIO_PATH resolve_file(const FIO_PATH& cdf_path, const PGMIO_CDF_DEVICE& device);
};
