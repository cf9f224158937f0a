// SPDX-License-Identifier: Apache-2.0
// Classification of files by extension: one table, walked by every query.
#include "pgm/zeb/platform/fio/fio.h"

#include <cctype>

namespace
{

struct FIO_EXTENSION_ROW
{
    FIO_EXTENSION_TYPE extension_type;
    const char* extension; // lower case, without dot
    FIO_FILE_TYPE file_type;
    const char* description;
    uint64_t max_input_size; // bytes; see docs/limits.md
};

constexpr uint64_t KIB = 1024;
constexpr uint64_t MIB = KIB * 1024;
constexpr uint64_t GIB = MIB * 1024;
// Flash images and the files that hold or play them: the bound on every input, far above the
// largest flash of the catalogue (128 MiB) and the room no reader holds in memory beyond.
constexpr uint64_t IMAGE = FIO_MAX_INPUT_SIZE;
// Configuration data of one FPGA, with its masks: many times the largest device's.
constexpr uint64_t CONFIG = 1 * GIB;

// The first row stands for "no extension"; every other extension has exactly one row.
constexpr FIO_EXTENSION_ROW EXTENSIONS[] = {
    {FIO_EXTENSION_TYPE_NONE, "", FIO_FILE_TYPE_UNKNOWN, "", IMAGE},
    {FIO_EXTENSION_TYPE_CDF, "cdf", FIO_FILE_TYPE_CDF, "Chain Description File (.cdf)", 16 * MIB},
    {FIO_EXTENSION_TYPE_SOF, "sof", FIO_FILE_TYPE_SOF, "SRAM Object File (.sof)", CONFIG},
    {FIO_EXTENSION_TYPE_POF, "pof", FIO_FILE_TYPE_POF, "Programmer Object File (.pof)", IMAGE},
    {FIO_EXTENSION_TYPE_JAM, "jam", FIO_FILE_TYPE_JAM, "Jam STAPL File (.jam)", IMAGE},
    {FIO_EXTENSION_TYPE_JBC, "jbc", FIO_FILE_TYPE_JBC, "Byte-Code Jam STAPL File (.jbc)", IMAGE},
    {FIO_EXTENSION_TYPE_SVF, "svf", FIO_FILE_TYPE_SVF, "Serial Vector Format File (.svf)", IMAGE},
    {FIO_EXTENSION_TYPE_HEXOUT, "hexout", FIO_FILE_TYPE_HEXOUT, "Hexadecimal (Hex Record Format) Output File (.hexout)", IMAGE},
    {FIO_EXTENSION_TYPE_HEX, "hex", FIO_FILE_TYPE_HEX, "Hexadecimal (Hex Record Format) File (.hex)", IMAGE},
    {FIO_EXTENSION_TYPE_RBF, "rbf", FIO_FILE_TYPE_RBF, "Raw Binary File (.rbf)", IMAGE},
    {FIO_EXTENSION_TYPE_MSF, "msf", FIO_FILE_TYPE_MSF, "Mask Settings File (.msf)", CONFIG},
    {FIO_EXTENSION_TYPE_PMSF, "pmsf", FIO_FILE_TYPE_PMSF, "Partial-Masked SRAM Object File (.pmsf)", CONFIG},
    {FIO_EXTENSION_TYPE_MAP, "map", FIO_FILE_TYPE_MAP, "Memory Map File (.map)", 64 * MIB},
    {FIO_EXTENSION_TYPE_TTF, "ttf", FIO_FILE_TYPE_TTF, "Tabular Text File (.ttf)", IMAGE},
    {FIO_EXTENSION_TYPE_RPD, "rpd", FIO_FILE_TYPE_RPD, "Raw Programming Data File (.rpd)", IMAGE},
    {FIO_EXTENSION_TYPE_JIC, "jic", FIO_FILE_TYPE_JIC, "JTAG Indirect Configuration File (.jic)", IMAGE},
    {FIO_EXTENSION_TYPE_EKP, "ekp", FIO_FILE_TYPE_EKP, "Encryption Key Programming File (.ekp)", 1 * MIB},
    {FIO_EXTENSION_TYPE_HIOF, "hiof", FIO_FILE_TYPE_HIOF, "HPS IO File (.hiof)", 16 * MIB},
    {FIO_EXTENSION_TYPE_BIN, "bin", FIO_FILE_TYPE_BIN, "Binary File (.bin)", IMAGE},
    {FIO_EXTENSION_TYPE_MIF, "mif", FIO_FILE_TYPE_MIF, "Memory Initialization File (.mif)", IMAGE},
    {FIO_EXTENSION_TYPE_KEY, "key", FIO_FILE_TYPE_KEY, "Key File (.key)", 64 * KIB},
    {FIO_EXTENSION_TYPE_PEM, "pem", FIO_FILE_TYPE_PEM, "PEM Key File (.pem)", 64 * KIB},
    {FIO_EXTENSION_TYPE_ZIP, "zip", FIO_FILE_TYPE_ZIP, "Archive File (.zip)", IMAGE},
    {FIO_EXTENSION_TYPE_HLK, "hlk", FIO_FILE_TYPE_HLK, "Encryption Lock File (.hlk)", 64 * KIB},
    {FIO_EXTENSION_TYPE_TXT, "txt", FIO_FILE_TYPE_TXT, "Text File (.txt)", 64 * MIB},
    {FIO_EXTENSION_TYPE_ZEB, "zeb", FIO_FILE_TYPE_ZEB, "Corvane Setup File (.zeb)", 64 * MIB},
    {FIO_EXTENSION_TYPE_INI, "ini", FIO_FILE_TYPE_INI, "Switch File (.ini)", 1 * MIB},
    {FIO_EXTENSION_TYPE_HKY, "hky", FIO_FILE_TYPE_HKY, "User Public Key File (.hky)", 1 * MIB},
    {FIO_EXTENSION_TYPE_HEK, "hek", FIO_FILE_TYPE_HEK, "User Encryption Key File (.hek)", 1 * MIB},
    {FIO_EXTENSION_TYPE_FUSE, "fuse", FIO_FILE_TYPE_FUSE, "Fuse Programming File (.fuse)", 1 * MIB},
};

bool equal_ignoring_case(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

const FIO_EXTENSION_ROW* find_row(FIO_EXTENSION_TYPE type)
{
    for (const FIO_EXTENSION_ROW& row : EXTENSIONS)
        if (row.extension_type == type)
            return &row;
    return nullptr;
}

} // namespace

FIO_EXTENSION_TYPE fio_get_extension_type(std::string_view extension)
{
    if (!extension.empty() && extension.front() == '.')
        extension.remove_prefix(1);
    for (const FIO_EXTENSION_ROW& row : EXTENSIONS)
        if (equal_ignoring_case(row.extension, extension))
            return row.extension_type;
    return FIO_EXTENSION_TYPE_NONE;
}

std::string fio_get_extension_string(FIO_EXTENSION_TYPE type)
{
    const FIO_EXTENSION_ROW* row = find_row(type);
    return row != nullptr ? row->extension : "";
}

FIO_FILE_TYPE fio_get_file_type(FIO_EXTENSION_TYPE type)
{
    const FIO_EXTENSION_ROW* row = find_row(type);
    return row != nullptr ? row->file_type : FIO_FILE_TYPE_UNKNOWN;
}

std::string fio_get_file_type_description(FIO_FILE_TYPE type)
{
    for (const FIO_EXTENSION_ROW& row : EXTENSIONS)
        if (row.file_type == type)
            return row.description;
    return "";
}

uint64_t fio_get_max_input_size(FIO_EXTENSION_TYPE type)
{
    const FIO_EXTENSION_ROW* row = find_row(type);
    return row != nullptr ? row->max_input_size : FIO_MAX_INPUT_SIZE;
}
