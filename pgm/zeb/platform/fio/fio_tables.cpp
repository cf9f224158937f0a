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
};

// The first row stands for "no extension"; every other extension has exactly one row.
constexpr FIO_EXTENSION_ROW EXTENSIONS[] = {
    {FIO_EXTENSION_TYPE_NONE, "", FIO_FILE_TYPE_UNKNOWN, ""},
    {FIO_EXTENSION_TYPE_CDF, "cdf", FIO_FILE_TYPE_CDF, "Chain Description File (.cdf)"},
    {FIO_EXTENSION_TYPE_SOF, "sof", FIO_FILE_TYPE_SOF, "SRAM Object File (.sof)"},
    {FIO_EXTENSION_TYPE_POF, "pof", FIO_FILE_TYPE_POF, "Programmer Object File (.pof)"},
    {FIO_EXTENSION_TYPE_JAM, "jam", FIO_FILE_TYPE_JAM, "Jam STAPL File (.jam)"},
    {FIO_EXTENSION_TYPE_JBC, "jbc", FIO_FILE_TYPE_JBC, "Byte-Code Jam STAPL File (.jbc)"},
    {FIO_EXTENSION_TYPE_SVF, "svf", FIO_FILE_TYPE_SVF, "Serial Vector Format File (.svf)"},
    {FIO_EXTENSION_TYPE_HEXOUT, "hexout", FIO_FILE_TYPE_HEXOUT, "Hexadecimal (Hex Record Format) Output File (.hexout)"},
    {FIO_EXTENSION_TYPE_HEX, "hex", FIO_FILE_TYPE_HEX, "Hexadecimal (Hex Record Format) File (.hex)"},
    {FIO_EXTENSION_TYPE_RBF, "rbf", FIO_FILE_TYPE_RBF, "Raw Binary File (.rbf)"},
    {FIO_EXTENSION_TYPE_MSF, "msf", FIO_FILE_TYPE_MSF, "Mask Settings File (.msf)"},
    {FIO_EXTENSION_TYPE_PMSF, "pmsf", FIO_FILE_TYPE_PMSF, "Partial-Masked SRAM Object File (.pmsf)"},
    {FIO_EXTENSION_TYPE_MAP, "map", FIO_FILE_TYPE_MAP, "Memory Map File (.map)"},
    {FIO_EXTENSION_TYPE_TTF, "ttf", FIO_FILE_TYPE_TTF, "Tabular Text File (.ttf)"},
    {FIO_EXTENSION_TYPE_RPD, "rpd", FIO_FILE_TYPE_RPD, "Raw Programming Data File (.rpd)"},
    {FIO_EXTENSION_TYPE_JIC, "jic", FIO_FILE_TYPE_JIC, "JTAG Indirect Configuration File (.jic)"},
    {FIO_EXTENSION_TYPE_EKP, "ekp", FIO_FILE_TYPE_EKP, "Encryption Key Programming File (.ekp)"},
    {FIO_EXTENSION_TYPE_HIOF, "hiof", FIO_FILE_TYPE_HIOF, "HPS IO File (.hiof)"},
    {FIO_EXTENSION_TYPE_BIN, "bin", FIO_FILE_TYPE_BIN, "Binary File (.bin)"},
    {FIO_EXTENSION_TYPE_MIF, "mif", FIO_FILE_TYPE_MIF, "Memory Initialization File (.mif)"},
    {FIO_EXTENSION_TYPE_KEY, "key", FIO_FILE_TYPE_KEY, "Key File (.key)"},
    {FIO_EXTENSION_TYPE_PEM, "pem", FIO_FILE_TYPE_PEM, "PEM Key File (.pem)"},
    {FIO_EXTENSION_TYPE_ZIP, "zip", FIO_FILE_TYPE_ZIP, "Archive File (.zip)"},
    {FIO_EXTENSION_TYPE_HLK, "hlk", FIO_FILE_TYPE_HLK, "Encryption Lock File (.hlk)"},
    {FIO_EXTENSION_TYPE_TXT, "txt", FIO_FILE_TYPE_TXT, "Text File (.txt)"},
    {FIO_EXTENSION_TYPE_ZEB, "zeb", FIO_FILE_TYPE_ZEB, "Corvane Setup File (.zeb)"},
    {FIO_EXTENSION_TYPE_INI, "ini", FIO_FILE_TYPE_INI, "Switch File (.ini)"},
    {FIO_EXTENSION_TYPE_HKY, "hky", FIO_FILE_TYPE_HKY, "User Public Key File (.hky)"},
    {FIO_EXTENSION_TYPE_HEK, "hek", FIO_FILE_TYPE_HEK, "User Encryption Key File (.hek)"},
    {FIO_EXTENSION_TYPE_FUSE, "fuse", FIO_FILE_TYPE_FUSE, "Fuse Programming File (.fuse)"},
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
