// SPDX-License-Identifier: Apache-2.0
// Programming-file library: our programming file formats (docs/formats.md). Each binary format is
// a value type holding the file's content and a codec class of static functions:
//   validate  checks the content against the format's rules,
//   encode    validates and lays the content out as a container image,
//   decode    checks a container image (layout, every CRC, every rule) and fills the value,
//   write     encodes and writes the file atomically, read reads and decodes it.
// Every function returns false with the reason in `error` and never throws for bad input.
#pragma once

#include "pgm/zeb/platform/pgmio/pgmio_container.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// Design capability flags, as an SRAM object file, configuration data and flash files carry them.
constexpr uint32_t PGMIO_DESIGN_CVP = 1u << 0; // configuration via PCI Express: periphery and core apart
constexpr uint32_t PGMIO_DESIGN_HPS = 1u << 1; // the design uses the hard processor system
constexpr uint32_t PGMIO_DESIGN_PR = 1u << 2;  // the design has partial-reconfiguration regions
constexpr uint32_t PGMIO_DESIGN_ALL = PGMIO_DESIGN_CVP | PGMIO_DESIGN_HPS | PGMIO_DESIGN_PR;
// "CVP,HPS" style text of design flags; "none" for 0.
std::string pgmio_design_flags_text(uint32_t flags);

// ---- Configuration data (.rbf) ------------------------------------------------------------------

constexpr uint32_t PGMIO_SECTION_FIRMWARE = pgmio_tag("FIRM");
constexpr uint32_t PGMIO_SECTION_PERIPHERY = pgmio_tag("PERI");
constexpr uint32_t PGMIO_SECTION_CORE = pgmio_tag("CORE");
constexpr uint32_t PGMIO_SECTION_HPS = pgmio_tag("HPS ");

struct PGMIO_CONFIG_SECTION
{
    uint32_t tag = 0; // PGMIO_SECTION_*
    PGMIO_BYTES data;
    bool operator==(const PGMIO_CONFIG_SECTION&) const = default;
};

// What a device loads: payload sections in the order firmware, periphery, core, HPS (each at most
// once, core always). Compression, encryption and signature name their methods (0 "none"); then the
// sections hold the stored (compressed, encrypted) form, the security header and the signature
// block are present, and pgmsec (pgmsec.h) makes and checks them.
struct PGMIO_CONFIG_DATA
{
    uint32_t idcode = 0; // JTAG IDCODE of the target device
    uint32_t flags = 0;  // PGMIO_DESIGN_*
    uint16_t compression = 0;
    uint16_t encryption = 0;
    uint16_t signature = 0;
    std::vector<PGMIO_CONFIG_SECTION> sections;
    PGMIO_BYTES security_header; // "SECH" section; empty without security settings
    PGMIO_BYTES signature_block; // "SIGN" section; present exactly when signature is not 0

    // The section with this tag; nullptr when absent.
    const PGMIO_CONFIG_SECTION* find(uint32_t tag) const;
    // Bytes of all payload sections together.
    uint64_t payload_size() const;
    bool operator==(const PGMIO_CONFIG_DATA&) const = default;
};

class PGMIO_RBF
{
public:
    static bool validate(const PGMIO_CONFIG_DATA& data, std::string& error);
    static bool encode(const PGMIO_CONFIG_DATA& data, PGMIO_BYTES& image, std::string& error);
    // Checks everything; `with_payload` false leaves `data.sections` empty (the payload stays in
    // `image`), for callers that use the encoded bytes as they are.
    static bool decode(std::span<const uint8_t> image, PGMIO_CONFIG_DATA& data, std::string& error,
                       bool with_payload = true);
    static bool write(const std::string& path, const PGMIO_CONFIG_DATA& data, std::string& error);
    static bool read(const std::string& path, PGMIO_CONFIG_DATA& data, std::string& error);
};

// ---- SRAM object file (.sof) --------------------------------------------------------------------

struct PGMIO_SOF_IMAGE
{
    std::string device_name;
    std::string design_name;
    uint32_t flags = 0; // PGMIO_DESIGN_*; the configuration data carries the same flags
    // SHA-256 of the encoded configuration data. The writer computes it; the reader checks it.
    PGMIO_HASH design_hash{};
    PGMIO_CONFIG_DATA config;
    bool has_bootloader = false; // an HPS bootloader is embedded (only with PGMIO_DESIGN_HPS)
    uint32_t bootloader_address = 0;
    PGMIO_BYTES bootloader;
};

// What PGMIO_SOF::decode does besides checking the container (structure, CRC-32) and the embedded
// configuration data (every rule, their own CRC included).
struct PGMIO_SOF_DECODING
{
    bool with_payload = true;      // as for PGMIO_RBF::decode
    bool check_design_hash = true; // recompute the SHA-256 of the configuration data
};

class PGMIO_SOF
{
public:
    static bool validate(const PGMIO_SOF_IMAGE& sof, std::string& error);
    static bool encode(const PGMIO_SOF_IMAGE& sof, PGMIO_BYTES& image, std::string& error);
    static bool decode(std::span<const uint8_t> image, PGMIO_SOF_IMAGE& sof, std::string& error,
                       PGMIO_SOF_DECODING how = {});
    // Where the embedded configuration data (a .rbf image) lies in an image that decode accepted.
    static std::span<const uint8_t> config_bytes(std::span<const uint8_t> image);
    static bool write(const std::string& path, const PGMIO_SOF_IMAGE& sof, std::string& error);
    static bool read(const std::string& path, PGMIO_SOF_IMAGE& sof, std::string& error);
};

// ---- Partial-masked SRAM object file (.pmsf) and mask settings file (.msf) -----------------------

// A partial-reconfiguration region's configuration data. The region is a byte range of the core
// section; a mask bit set means that bit belongs to the region. Data bits outside the mask are 0.
struct PGMIO_PMSF_IMAGE
{
    std::string device_name;
    std::string design_name;
    std::string region_name;
    uint64_t region_offset = 0; // in the core section
    PGMIO_HASH base_hash{};     // design hash of the base SRAM object file it fits
    PGMIO_BYTES data;
    PGMIO_BYTES mask; // as long as data
};

class PGMIO_PMSF
{
public:
    static bool validate(const PGMIO_PMSF_IMAGE& pmsf, std::string& error);
    static bool encode(const PGMIO_PMSF_IMAGE& pmsf, PGMIO_BYTES& image, std::string& error);
    static bool decode(std::span<const uint8_t> image, PGMIO_PMSF_IMAGE& pmsf, std::string& error);
    static bool write(const std::string& path, const PGMIO_PMSF_IMAGE& pmsf, std::string& error);
    static bool read(const std::string& path, PGMIO_PMSF_IMAGE& pmsf, std::string& error);
};

// The mask of a region alone.
struct PGMIO_MSF_IMAGE
{
    std::string device_name;
    std::string region_name;
    uint64_t region_offset = 0;
    PGMIO_BYTES mask;
};

class PGMIO_MSF
{
public:
    static bool validate(const PGMIO_MSF_IMAGE& msf, std::string& error);
    static bool encode(const PGMIO_MSF_IMAGE& msf, PGMIO_BYTES& image, std::string& error);
    static bool decode(std::span<const uint8_t> image, PGMIO_MSF_IMAGE& msf, std::string& error);
    static bool write(const std::string& path, const PGMIO_MSF_IMAGE& msf, std::string& error);
    static bool read(const std::string& path, PGMIO_MSF_IMAGE& msf, std::string& error);
};

// ---- Programmer object file (.pof) and JTAG indirect configuration file (.jic) --------------------

constexpr uint32_t PGMIO_FLASH_REMOTE_UPDATE = 1u << 0; // pages laid out for remote update

struct PGMIO_FLASH_PAGE
{
    std::string name;
    uint64_t start = 0;
    uint64_t end = 0; // inclusive
    bool operator==(const PGMIO_FLASH_PAGE&) const = default;
};

struct PGMIO_FLASH_BLOCK
{
    uint64_t address = 0;
    PGMIO_BYTES data;
    bool operator==(const PGMIO_FLASH_BLOCK&) const = default;
};

// The content of a configuration flash. A .jic also names the flash loader device (the FPGA that
// programs the flash over JTAG) and carries the loader's image.
struct PGMIO_FLASH_IMAGE
{
    bool jic = false;
    std::string flash_device;
    uint64_t flash_size = 0;
    std::string fpga_device;   // the device the flash configures
    uint32_t idcode = 0;       // its JTAG IDCODE
    uint32_t design_flags = 0; // PGMIO_DESIGN_*
    uint32_t flags = 0;        // PGMIO_FLASH_*
    uint64_t option_bits_address = 0;
    PGMIO_BYTES option_bits;
    std::vector<PGMIO_FLASH_PAGE> pages;   // disjoint
    std::vector<PGMIO_FLASH_BLOCK> blocks; // ascending, disjoint, clear of the option bits
    std::string loader_device;             // .jic only
    PGMIO_BYTES loader_image;              // .jic only
    bool operator==(const PGMIO_FLASH_IMAGE&) const = default;
};

// Where a data block lies, without its bytes.
struct PGMIO_FLASH_EXTENT
{
    uint64_t address = 0;
    uint64_t size = 0;
};

class PGMIO_FLASH_FILE
{
public:
    static bool validate(const PGMIO_FLASH_IMAGE& flash, std::string& error);
    // As validate(), with the blocks given by `blocks` instead of `flash.blocks`.
    static bool validate(const PGMIO_FLASH_IMAGE& flash, std::span<const PGMIO_FLASH_EXTENT> blocks,
                         std::string& error);
    static bool encode(const PGMIO_FLASH_IMAGE& flash, PGMIO_BYTES& image, std::string& error);
    // Reads either kind; `flash.jic` tells which it was.
    static bool decode(std::span<const uint8_t> image, PGMIO_FLASH_IMAGE& flash, std::string& error);
    // As decode(), the blocks' data left where it lies in `image`: `blocks` gets each block's
    // address and bytes, and `flash.blocks` stays empty.
    static bool decode_in_place(std::span<const uint8_t> image, PGMIO_FLASH_IMAGE& flash,
                                std::vector<std::pair<uint64_t, std::span<const uint8_t>>>& blocks,
                                std::string& error);
    static bool write(const std::string& path, const PGMIO_FLASH_IMAGE& flash, std::string& error);
    static bool read(const std::string& path, PGMIO_FLASH_IMAGE& flash, std::string& error);
};

// Writes a programmer object or JTAG indirect file whose blocks' data arrives in pieces, so that
// the content of a flash is never in memory at once. The file appears only when finish() succeeds.
class PGMIO_FLASH_FILE_STREAM
{
public:
    // `flash` gives everything but the blocks (its `blocks` are not used), `blocks` where each
    // block lies; checks them (false with `error`) and writes what precedes the blocks.
    PGMIO_FLASH_FILE_STREAM(const std::string& path, const PGMIO_FLASH_IMAGE& flash,
                            std::vector<PGMIO_FLASH_EXTENT> blocks);
    bool start(std::string& error);
    // The next bytes of the blocks, in order; a piece may span blocks.
    void append(std::span<const uint8_t> data);
    // False (nothing written) unless every block received exactly its size.
    bool finish(std::string& error);

private:
    const PGMIO_FLASH_IMAGE& m_flash;
    std::vector<PGMIO_FLASH_EXTENT> m_blocks;
    PGMIO_CONTAINER_STREAM m_out;
    size_t m_block = 0;     // the block being written
    uint64_t m_written = 0; // of it
    bool m_overflow = false;
};

// ---- Key programming file (.ekp) ----------------------------------------------------------------

constexpr uint16_t PGMIO_KEY_AES256 = 1;     // 32-byte design encryption key
constexpr uint16_t PGMIO_KEY_OWNER_HASH = 2; // 32- or 48-byte hash of the owner's public key
constexpr uint16_t PGMIO_KEY_STORAGE_BBRAM = 1;
constexpr uint16_t PGMIO_KEY_STORAGE_EFUSE = 2;

struct PGMIO_EKP_KEY
{
    uint16_t kind = 0;    // PGMIO_KEY_*
    uint16_t storage = 0; // PGMIO_KEY_STORAGE_*
    std::string id;
    PGMIO_BYTES key;
    bool operator==(const PGMIO_EKP_KEY&) const = default;
};

struct PGMIO_EKP_IMAGE
{
    std::string device_name;
    std::vector<PGMIO_EKP_KEY> keys; // at least one; ids unique
    bool operator==(const PGMIO_EKP_IMAGE&) const = default;
};

class PGMIO_EKP
{
public:
    static bool validate(const PGMIO_EKP_IMAGE& ekp, std::string& error);
    static bool encode(const PGMIO_EKP_IMAGE& ekp, PGMIO_BYTES& image, std::string& error);
    static bool decode(std::span<const uint8_t> image, PGMIO_EKP_IMAGE& ekp, std::string& error);
    static bool write(const std::string& path, const PGMIO_EKP_IMAGE& ekp, std::string& error);
    static bool read(const std::string& path, PGMIO_EKP_IMAGE& ekp, std::string& error);
};

// ---- Programming helper image -------------------------------------------------------------------

// Configuration data that turns a device into a programmer of its flash, SD card or fuses.
struct PGMIO_HELPER_IMAGE
{
    std::string device_name;
    uint32_t subtype = 0; // DEV_HELPER_SUBTYPE_* (36 SDMMC, 37 FUSE, 293 QSPI)
    PGMIO_CONFIG_DATA config;
    bool operator==(const PGMIO_HELPER_IMAGE&) const = default;
};

class PGMIO_HELPER
{
public:
    static bool validate(const PGMIO_HELPER_IMAGE& helper, std::string& error);
    static bool encode(const PGMIO_HELPER_IMAGE& helper, PGMIO_BYTES& image, std::string& error);
    static bool decode(std::span<const uint8_t> image, PGMIO_HELPER_IMAGE& helper, std::string& error);
    static bool write(const std::string& path, const PGMIO_HELPER_IMAGE& helper, std::string& error);
    static bool read(const std::string& path, PGMIO_HELPER_IMAGE& helper, std::string& error);
};
