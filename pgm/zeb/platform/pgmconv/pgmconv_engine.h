// SPDX-License-Identifier: Apache-2.0
// Internals of the programming-file engine shared by its writers: the configuration image of a
// page, the flash layout (one address map that every flash writer walks), streamed output.
#pragma once

#include "pgm/zeb/platform/pgmconv/pgmconv_state.h"
#include "pgm/zeb/platform/pgmio/pgmio.h"
#include "pgm/zeb/platform/pgmio/pgmio_flash_dir.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

// The configuration data a page's partition holds: exactly the bytes of a .rbf made from the same
// bitstream with the same settings.
constexpr uint64_t PGMCONV_NOT_IN_SOURCE = UINT64_MAX;

struct PGMCONV_PAGE_IMAGE
{
    const PGM_DEVICE* device = nullptr;
    uint32_t design_flags = 0;
    // Before the security settings were applied. Whole only for a split configuration: without
    // payload sections when `bytes` are the input's configuration data as stored (`source_offset`
    // set), and without section data when they went into `bytes`.
    PGMIO_CONFIG_DATA plain;
    // The page's bytes from `skip` on: when they lie unchanged in the input, `bytes` is the whole
    // file as read and `skip` equals `source_offset`, so that nothing is moved or copied.
    PGMIO_BYTES bytes;
    size_t skip = 0;
    std::span<const uint8_t> data() const { return std::span<const uint8_t>(bytes).subspan(skip); }
    PGMIO_HASH source_sha{}; // SHA-256 of the input file (with `hash_source`)
    // Where `bytes` lie unchanged in the input file, when they do (no security settings, firmware
    // or split to apply): writers can then stream them from there.
    uint64_t source_offset = PGMCONV_NOT_IN_SOURCE;
    uint32_t crc = 0;      // CRC-32 of `data()`, set with `source_offset`
    uint32_t body_crc = 0; // CRC-32 of `data()` without its last four bytes, set with `source_offset`
};
// Reads the page's input, applies its firmware source and security settings. False with the reason.
bool pgmconv_page_image(const PGMIO_CCF::STATE& state, uint32_t page, PGMCONV_PAGE_IMAGE& image, std::string& error,
                        bool hash_source = false);

// Page images made while the layout is measured, kept in an anonymous temporary file so that
// the writers stream them without decoding every input twice or holding them in memory.
class PGMCONV_SPILL
{
public:
    PGMCONV_SPILL();
    ~PGMCONV_SPILL();
    PGMCONV_SPILL(const PGMCONV_SPILL&) = delete;
    PGMCONV_SPILL& operator=(const PGMCONV_SPILL&) = delete;
    // Appends bytes; their offset goes to `offset`. False with the reason.
    bool put(std::span<const uint8_t> bytes, uint64_t& offset, std::string& error);
    bool get(uint64_t offset, uint64_t size, PGMIO_BYTES& bytes, std::string& error) const;

private:
    std::FILE* m_file = nullptr;
    uint64_t m_size = 0;
};

enum PGMCONV_ITEM_KIND
{
    PGMCONV_ITEM_PAGE,      // configuration data of a page
    PGMCONV_ITEM_RAW,       // a raw data file (binary or hex records)
    PGMCONV_ITEM_RESERVED,  // a partition that only keeps space
    PGMCONV_ITEM_DIRECTORY, // boot information, table, pointer block or option bits
};

// One content of the flash with the range it occupies.
struct PGMCONV_ITEM
{
    PGMCONV_ITEM_KIND kind = PGMCONV_ITEM_RESERVED;
    std::string name;
    uint32_t index = 0;    // page index (PAGE) or raw file index (RAW)
    uint16_t dir_kind = 0; // PGMIO_DIR_* (DIRECTORY)
    bool fixed_start = false;
    bool fixed_end = false;
    uint64_t start = 0;      // first address of the partition
    uint64_t end = 0;        // last address of the partition (inclusive)
    uint64_t data_start = 0; // first address of the content; from start unless a raw file says otherwise
    uint64_t size = 0;       // bytes of content
    uint64_t extra = 0;      // bytes kept free after the content ("auto" end)
    uint32_t crc = 0;        // CRC-32 of the content as it lies in the flash
    uint32_t body_crc = 0;   // the same without its last four bytes: tells apart images that end with their CRC
    FIO_PATH source;
    std::string device;
    uint64_t spill_offset = 0; // where a page's bytes are in the layout's spill file
    // Else where they lie unchanged in `source`, streamed from there, or from `held`: the source
    // file as measured, kept in memory while the layout's budget for it lasts.
    uint64_t source_offset = PGMCONV_NOT_IN_SOURCE;
    std::shared_ptr<const PGMIO_BYTES> held;
    std::string source_sha; // SHA-256 of the source file (memory map outputs), "-" without
};

struct PGMCONV_LAYOUT
{
    std::string flash_device; // "" for a layout of SRAM object files without a flash device
    uint64_t flash_size = 0;
    uint32_t sector = 0;
    const PGM_DEVICE* fpga = nullptr; // device of the first page
    uint32_t design_flags = 0;
    bool remote_update = false;
    std::vector<PGMCONV_ITEM> items; // ascending start addresses after pgmconv_build_layout
    uint64_t used_end = 0;           // first address after the last used erase sector
    std::shared_ptr<PGMCONV_SPILL> spill;
    // Input files whose bytes lie unchanged in the flash stay in memory after they were measured,
    // up to `hold_budget` bytes in all, and are written from there; the others are read again.
    uint64_t hold_budget = uint64_t(56) << 20;
    uint64_t held_bytes = 0;
};

// Places every page, raw data file, reserved partition and directory into one address map and
// checks it: fixed starts on the erase sector, everything inside the flash, nothing overlapping.
// The layout's `hold_budget` is kept; everything else is replaced.
// `with_flash` false lays the pages out from the start address without a flash device.
bool pgmconv_build_layout(const PGMIO_CCF::STATE& state, bool with_flash, PGMCONV_LAYOUT& layout, std::string& error);

// The bytes of one item as they lie in the flash. Directories are encoded from the layout.
bool pgmconv_item_bytes(const PGMIO_CCF::STATE& state, const PGMCONV_LAYOUT& layout, const PGMCONV_ITEM& item,
                        PGMIO_BYTES& bytes, std::string& error);

// Calls `sink` for every item with content, in address order, with the item's bytes in pieces
// (`offset` is the piece's position in the item), so that no whole input needs to be in memory.
using PGMCONV_SINK = std::function<bool(const PGMCONV_ITEM& item, uint64_t offset, std::span<const uint8_t> bytes)>;
bool pgmconv_walk_layout(const PGMIO_CCF::STATE& state, const PGMCONV_LAYOUT& layout, const PGMCONV_SINK& sink,
                         std::string& error);

// The two halves of a split configuration (CvP or HPS I/O first): everything but the core, and
// the core alone.
void pgmconv_split_configuration(const PGMIO_CONFIG_DATA& plain, PGMIO_CONFIG_DATA& first, PGMIO_CONFIG_DATA& core);
// The core half to `core_path` and, unless `first_path` is "", the other half to `first_path`.
bool pgmconv_write_split(const PGMIO_CCF::STATE& state, const std::string& core_path, const std::string& first_path,
                         std::string& error);

// Firmware bytes from a firmware source: the firmware section of an SRAM object or configuration
// data file, else the file's bytes. False with the reason.
bool pgmconv_read_firmware(const FIO_PATH& path, PGMIO_BYTES& firmware, std::string& error);
// Puts firmware into configuration data, replacing its firmware section or adding one first.
void pgmconv_set_firmware(PGMIO_CONFIG_DATA& config, PGMIO_BYTES firmware);

// ---- Writers (one source each); each writes `path` atomically -------------------------------
bool pgmconv_write_rbf(const PGMIO_CCF::STATE& state, const std::string& path, std::string& error);
bool pgmconv_write_hexout(const PGMIO_CCF::STATE& state, const std::string& path, std::string& error);
bool pgmconv_write_ttf(const PGMIO_CCF::STATE& state, const std::string& path, std::string& error);
bool pgmconv_write_flash_file(const PGMIO_CCF::STATE& state, const PGMCONV_LAYOUT& layout, bool jic,
                              const std::string& path, std::string& error);
bool pgmconv_write_rpd(const PGMIO_CCF::STATE& state, const PGMCONV_LAYOUT& layout, const std::string& path,
                       std::string& error);
bool pgmconv_write_rpd_of_flash_file(const PGMIO_CCF::STATE& state, const FIO_PATH& input, const std::string& path,
                                     std::string& error);
bool pgmconv_write_map(const PGMIO_CCF::STATE& state, const PGMCONV_LAYOUT& layout, const std::string& path,
                       std::string& error);
bool pgmconv_write_helper(const PGMIO_CCF::STATE& state, const std::string& path, std::string& error);

// An output path with another extension: "out.pof" -> "out.rpd".
std::string pgmconv_sibling_path(const FIO_PATH& path, const char* extension);
