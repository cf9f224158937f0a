// SPDX-License-Identifier: Apache-2.0
// Recognising and describing any file of the programming-file library's formats, and checking it.
#pragma once

#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/pgmsec/pgmsec.h"
#include "pgm/zeb/platform/pgmio/pgmio_flash_walk.h"

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

// One section of a container; nested sections (the configuration data inside an SRAM object file
// or helper image) follow their parent with depth 1 and offsets from the start of the file.
struct PGMIO_INFO_SECTION
{
    int depth = 0;
    std::string tag;
    uint64_t offset = 0;
    uint64_t size = 0;
    uint32_t crc = 0;    // as stored
    bool crc_ok = false; // the stored CRC matches the data
    // A payload section of configuration data carries how it is stored (offsets from the file's start).
    std::optional<PGMSEC_SECTION_INFO> stored;
};

struct PGMIO_FILE_INFO
{
    std::string kind;                                        // "SRAM object file", "hex data file", ...
    std::string format;                                      // container kind ("SOF "), "hex" or "cdf"
    uint64_t size = 0;                                       // bytes
    std::string device;                                      // the device the file targets; "" when it names none
    std::vector<std::pair<std::string, std::string>> fields; // further facts, in display order
    std::vector<PGMIO_INFO_SECTION> sections;
    std::string integrity; // "" when every check of the format passes, else the first failure
    std::optional<PGMSEC_SIGNATURE_INFO> signature; // of the (nested) configuration data
    bool has_flash = false; // raw programming data, or a flash file with directory records: walked
    PGMIO_FLASH_WALK flash;
};

// The description as a JSON document (nlohmann-json), as `corvane --info --json` prints it.
std::string pgmio_info_json(const std::string& path, const PGMIO_FILE_INFO& info);

// How a file's bytes are read, decided the same way for every check and description: an .rpd is
// flash bytes; container magic makes a container; an extension of a container kind without the
// magic is a damaged one; then a chain description, hex records (by extension or a leading ':').
enum PGMIO_IMAGE_FORMAT
{
    PGMIO_IMAGE_FORMAT_FLASH,
    PGMIO_IMAGE_FORMAT_CONTAINER,
    PGMIO_IMAGE_FORMAT_BAD_CONTAINER,
    PGMIO_IMAGE_FORMAT_CDF,
    PGMIO_IMAGE_FORMAT_HEX,
    PGMIO_IMAGE_FORMAT_OTHER,
};
PGMIO_IMAGE_FORMAT pgmio_detect_format(std::span<const uint8_t> image, FIO_EXTENSION_TYPE extension);

// The reason why a file's content fails a check of its format (pgmio_detect_format); "" when it
// passes. A format that carries no checks passes when the file is not empty.
std::string pgmio_check_image(std::span<const uint8_t> image, FIO_EXTENSION_TYPE extension, const std::string& name);
// As pgmio_check_image() on the file at `path`, or why it cannot be read. Raw programming data is
// walked from the file, a piece at a time, never held whole.
std::string pgmio_check_file(const std::string& path);

// Describes a file. False with the reason in `error` when it cannot be read or is of none of our
// formats; a recognised but damaged file is described with the failure in `info.integrity`.
bool pgmio_describe_file(const std::string& path, PGMIO_FILE_INFO& info, std::string& error);
