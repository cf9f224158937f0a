// SPDX-License-Identifier: Apache-2.0
// File library: path values, file-system queries, classification of files by extension, and the
// (optionally compressed) text file streams.
#pragma once

#include <compare>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// File extensions the suite knows. Values are stable: they are stored in tables and compared.
enum FIO_EXTENSION_TYPE : uint16_t
{
    FIO_EXTENSION_TYPE_NONE = 0, // no extension, or one the suite does not know
    FIO_EXTENSION_TYPE_CDF = 83,
    FIO_EXTENSION_TYPE_SOF = 84,
    FIO_EXTENSION_TYPE_POF = 85,
    FIO_EXTENSION_TYPE_JAM = 86,
    FIO_EXTENSION_TYPE_JBC = 87,
    FIO_EXTENSION_TYPE_SVF = 88,
    FIO_EXTENSION_TYPE_HEXOUT = 89,
    FIO_EXTENSION_TYPE_HEX = 90,
    FIO_EXTENSION_TYPE_RBF = 91,
    FIO_EXTENSION_TYPE_MSF = 92,
    FIO_EXTENSION_TYPE_PMSF = 94,
    FIO_EXTENSION_TYPE_MAP = 101,
    FIO_EXTENSION_TYPE_TTF = 103,
    FIO_EXTENSION_TYPE_RPD = 106,
    FIO_EXTENSION_TYPE_JIC = 108,
    FIO_EXTENSION_TYPE_EKP = 113,
    FIO_EXTENSION_TYPE_HIOF = 114,
    FIO_EXTENSION_TYPE_BIN = 120,
    FIO_EXTENSION_TYPE_MIF = 121,
    FIO_EXTENSION_TYPE_KEY = 122,
    FIO_EXTENSION_TYPE_PEM = 123,
    FIO_EXTENSION_TYPE_ZIP = 124,
    FIO_EXTENSION_TYPE_HLK = 125,
    FIO_EXTENSION_TYPE_TXT = 126,
    FIO_EXTENSION_TYPE_ZEB = 127,
    FIO_EXTENSION_TYPE_INI = 128,
    FIO_EXTENSION_TYPE_HKY = 241,
    FIO_EXTENSION_TYPE_HEK = 242,
    FIO_EXTENSION_TYPE_FUSE = 243,
};

// Kinds of file content, as opposed to extensions: several extensions may hold one kind.
enum FIO_FILE_TYPE : uint16_t
{
    FIO_FILE_TYPE_UNKNOWN = 0,
    FIO_FILE_TYPE_HEX = 40,    // hex data file (.hex)
    FIO_FILE_TYPE_PMSF = 54,   // partial-masked SRAM object file (.pmsf)
    FIO_FILE_TYPE_SOF = 75,    // SRAM object file (.sof)
    FIO_FILE_TYPE_RBF = 82,    // raw binary data file (.rbf)
    FIO_FILE_TYPE_POF = 85,    // programmer object file (.pof)
    FIO_FILE_TYPE_JIC = 86,    // JTAG indirect configuration file (.jic)
    FIO_FILE_TYPE_RPD = 87,    // raw programming data file (.rpd)
    FIO_FILE_TYPE_CDF = 88,    // chain description file (.cdf)
    FIO_FILE_TYPE_EKP = 89,    // encryption key programming file (.ekp)
    FIO_FILE_TYPE_MSF = 90,    // mask settings file (.msf)
    FIO_FILE_TYPE_JAM = 91,    // STAPL text file (.jam)
    FIO_FILE_TYPE_JBC = 92,    // STAPL byte-code file (.jbc)
    FIO_FILE_TYPE_SVF = 93,    // serial vector format file (.svf)
    FIO_FILE_TYPE_HEXOUT = 94, // hexadecimal output file (.hexout)
    FIO_FILE_TYPE_TTF = 95,    // tabular text file (.ttf)
    FIO_FILE_TYPE_MAP = 96,    // memory map file (.map)
    FIO_FILE_TYPE_HIOF = 97,   // HPS IO file (.hiof)
    FIO_FILE_TYPE_BIN = 98,    // plain binary data (.bin)
    FIO_FILE_TYPE_MIF = 99,    // memory initialisation file (.mif)
    FIO_FILE_TYPE_KEY = 100,   // key file (.key)
    FIO_FILE_TYPE_PEM = 101,   // PEM key (.pem)
    FIO_FILE_TYPE_HKY = 102,   // user public key programming input (.hky)
    FIO_FILE_TYPE_HEK = 103,   // user encryption key programming input (.hek)
    FIO_FILE_TYPE_FUSE = 104,  // fuse programming input (.fuse)
    FIO_FILE_TYPE_HLK = 105,   // encryption lock file (.hlk)
    FIO_FILE_TYPE_ZIP = 106,   // archive (.zip)
    FIO_FILE_TYPE_TXT = 107,   // plain text (.txt)
    FIO_FILE_TYPE_ZEB = 108,   // setup document (.zeb)
    FIO_FILE_TYPE_INI = 109,   // switch file (.ini)
};

// The extension type of an extension text ("sof", "SOF" and ".sof" alike); NONE when unknown.
FIO_EXTENSION_TYPE fio_get_extension_type(std::string_view extension);
// The extension text of a type, without dot ("sof"); "" for NONE or an unknown value.
std::string fio_get_extension_string(FIO_EXTENSION_TYPE type);
// The kind of content that files with this extension hold; UNKNOWN when none.
FIO_FILE_TYPE fio_get_file_type(FIO_EXTENSION_TYPE type);
// A display text for a file type, e.g. "SRAM Object File (.sof)"; "" when unknown.
std::string fio_get_file_type_description(FIO_FILE_TYPE type);
// The largest input file of this extension that a reader accepts: well above any real file of the
// kind, so that a runaway or hostile file is refused from its size before it is read.
uint64_t fio_get_max_input_size(FIO_EXTENSION_TYPE type);
// The bound on any input file, whatever its kind.
constexpr uint64_t FIO_MAX_INPUT_SIZE = uint64_t(2) << 30;

// A file path value. The full path is the given path made absolute against the working directory
// at construction and normalised lexically ("a/./b/../c" is "a/c"); an empty path stays empty.
class FIO_PATH
{
public:
    FIO_PATH() = default;
    explicit FIO_PATH(std::string_view path);
    // Builds directory/base_name.extension; `extension` without dot, may be empty.
    FIO_PATH(std::string_view directory, std::string_view base_name, std::string_view extension);

    bool is_empty() const { return m_full.empty(); }
    const std::string& get_full_path() const { return m_full; }
    // The directory part of the full path, without trailing separator ("/" for a file in the root).
    std::string get_directory() const;
    // The file name without its last extension: "design" of "/x/design.sof".
    std::string get_base_name() const;
    // The file name with extension: "design.sof".
    std::string get_file_name() const;
    // The last extension without dot: "sof"; "" when there is none.
    std::string get_extension() const;
    FIO_EXTENSION_TYPE get_extension_type() const;

    void set_base_name(std::string_view base_name);
    // Replaces the last extension ("" removes it); a path without file name is left as it is.
    void set_extension(std::string_view extension);
    void set_directory(std::string_view directory);

    bool operator==(const FIO_PATH& other) const { return m_full == other.m_full; }

private:
    std::string m_full;
};

// The suite's data directory (it holds "xsd/zeb.xsd" and the device catalogue): CORVANE_DATA_DIR
// when set, else the installed "share/corvane" when it holds the schema, else the source tree.
std::string fio_get_data_directory();

class FIO_FILE_SYSTEM
{
public:
    // True when something exists at the path (file or directory).
    static bool exists(const FIO_PATH& path);
    static bool is_directory(const FIO_PATH& path);
    // True when files can be created in the directory.
    static bool is_writable_directory(const FIO_PATH& directory);
};

// An input file opened for reading after checks that need no read: it exists, is a regular file
// (a FIFO, device or directory is refused, never waited on) and is not larger than the limit of
// its kind (fio_get_max_input_size, and at most `max_size`). Every reader of input files opens
// them through this, so the limits hold everywhere.
class FIO_INPUT_FILE
{
public:
    FIO_INPUT_FILE() = default;
    ~FIO_INPUT_FILE();
    FIO_INPUT_FILE(const FIO_INPUT_FILE&) = delete;
    FIO_INPUT_FILE& operator=(const FIO_INPUT_FILE&) = delete;

    // False with the reason in `error` ("'x' is not a regular file", "'x' is larger than ...").
    bool open(const std::string& path, std::string& error, uint64_t max_size = FIO_MAX_INPUT_SIZE);
    // Size found when opening.
    uint64_t size() const { return m_size; }
    // Reads `count` bytes at `offset` into `out`; false (with `error`) on a read error or a short read.
    bool read_at(uint64_t offset, size_t count, uint8_t* out, std::string& error) const;
    // Reads the whole file; false with the reason when it cannot be read or grew past its limit.
    bool read_all(std::vector<uint8_t>& bytes, std::string& error) const;

private:
    int m_fd = -1;
    uint64_t m_size = 0;
    uint64_t m_limit = 0;
    std::string m_path;
};

// What tells one version of a file from another within a run: a result computed from a file's
// content may be reused while its identity is unchanged.
struct FIO_FILE_IDENTITY
{
    uint64_t device = 0;
    uint64_t inode = 0;
    uint64_t size = 0;
    int64_t mtime_ns = 0;
    auto operator<=>(const FIO_FILE_IDENTITY&) const = default;
};
// False (identity unset) when the path names no regular file.
bool fio_get_file_identity(const std::string& path, FIO_FILE_IDENTITY& identity);

// Ensures that `path` may be replaced by a new file: nothing is there, or a regular file, or a
// symbolic link (the link itself is replaced, its target left alone). False with the reason for a
// directory, device, FIFO or socket. Every atomic writer calls this before it creates anything.
bool fio_check_output_file(const std::string& path, std::string& error);

// Output text stream that writes to a temporary file beside the target and renames it over the
// target on commit(), so that the target is either the old file or the complete new one. With
// compression the content is written gzip-compressed. Destroying it without commit() removes the
// temporary file and leaves the target untouched. A replaced file keeps its permissions, except that
// a private file (one that holds keys) is always readable by its owner alone (0600).
class HTL_ZOFSTREAM
{
public:
    explicit HTL_ZOFSTREAM(const std::string& path, bool compress = false, bool private_file = false);
    ~HTL_ZOFSTREAM();
    HTL_ZOFSTREAM(const HTL_ZOFSTREAM&) = delete;
    HTL_ZOFSTREAM& operator=(const HTL_ZOFSTREAM&) = delete;

    bool is_open() const;
    std::ostream& stream();
    // Overwrites `size` bytes written before, from `offset`, for fields known only at the end
    // (an uncompressed stream only). False on a write error, which commit() then reports.
    bool write_at(uint64_t offset, const void* data, size_t size);
    // Flushes, closes and renames over the target. False (target untouched) on any write error.
    bool commit();
    // Last system error text, for messages.
    const std::string& error() const { return m_error; }

private:
    struct IMPL;
    std::unique_ptr<IMPL> m_impl;
    std::string m_error;
};

// Input text stream over a plain or gzip-compressed file (detected from its first bytes).
class HTL_ZIFSTREAM
{
public:
    explicit HTL_ZIFSTREAM(const std::string& path);
    ~HTL_ZIFSTREAM();
    HTL_ZIFSTREAM(const HTL_ZIFSTREAM&) = delete;
    HTL_ZIFSTREAM& operator=(const HTL_ZIFSTREAM&) = delete;

    bool is_open() const;
    std::istream& stream();

private:
    struct IMPL;
    std::unique_ptr<IMPL> m_impl;
};
