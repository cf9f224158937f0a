// SPDX-License-Identifier: Apache-2.0
// The configuration scheme table: for each scheme with a record, whether it is offered, the output
// file types producible for it (in display order), the configuration device families that can
// serve it and its value in a setup document. Also the display names of all scheme values.
#include "pgm/zeb/zeb_db_tables.h"

constinit const std::array<const char*, 26> ZEB_DB_CONFIG_SCHEME_NAMES = {
    "1-bit Passive Serial",
    "2-bit Passive Serial",
    "4-bit Passive Serial",
    "8-bit Passive Serial",
    "Passive Parallel Asynchronous",
    "Passive Parallel Synchronous",
    "Fast Passive Parallel",
    "Active Serial",
    "Active Parallel",
    "Active Parallel Cascade",
    "Passive Parallel x8",
    "Passive Parallel x16",
    "Passive Parallel x32",
    "Active Serial x4",
    "Internal Configuration",
    "Single Internal Image",
    "Single Internal Image With ERAM",
    "Single Internal Compressed Image",
    "Single Internal Compressed Image with ERAM",
    "Dual Compressed Internal Images",
    "AVST x8",
    "AVST x16",
    "AVST x32",
    "SDMMC x4",
    "SDMMC x8",
    "Illegal Configuration Scheme", // every value outside 0..24
};

namespace
{

using zeb_db_rows::LIST;

// Short names for the output file type lists.
namespace ft
{
constexpr ZEB_FILE_TYPE RBF = ZEB_FILE_TYPE_RBF;
constexpr ZEB_FILE_TYPE HEXOUT = ZEB_FILE_TYPE_HEXOUT;
constexpr ZEB_FILE_TYPE TTF = ZEB_FILE_TYPE_TTF;
constexpr ZEB_FILE_TYPE JIC = ZEB_FILE_TYPE_JIC;
constexpr ZEB_FILE_TYPE POF = ZEB_FILE_TYPE_POF;
constexpr ZEB_FILE_TYPE RPD = ZEB_FILE_TYPE_RPD;
constexpr ZEB_FILE_TYPE CVP = ZEB_FILE_TYPE_RBF_CVP_CORE;
constexpr ZEB_FILE_TYPE HPS = ZEB_FILE_TYPE_RBF_HPS_CORE;
constexpr ZEB_FILE_TYPE RBF_PERIPH = ZEB_FILE_TYPE_RBF_PERIPHERY;
constexpr ZEB_FILE_TYPE JIC_PERIPH = ZEB_FILE_TYPE_JIC_PERIPHERY;
constexpr ZEB_FILE_TYPE POF_PERIPH = ZEB_FILE_TYPE_POF_PERIPHERY;
constexpr ZEB_FILE_TYPE PR_RBF = ZEB_FILE_TYPE_RBF_PARTIAL_RECONFIGURATION;
constexpr ZEB_FILE_TYPE MAP = ZEB_FILE_TYPE_MAP;
constexpr ZEB_FILE_TYPE RPD_SEC = ZEB_FILE_TYPE_RPD_SECONDARY;
constexpr ZEB_FILE_TYPE RPD_PERIPH = ZEB_FILE_TYPE_RPD_PERIPHERY;
constexpr ZEB_FILE_TYPE HELPER_SEC = ZEB_FILE_TYPE_HELPER_RBF_SECONDARY;
} // namespace ft

namespace fam
{
constexpr DEV_FAMILY_ENUM VIVERI = DEV_FAMILY_VIVERI;
constexpr DEV_FAMILY_ENUM BILOSA_CFI = DEV_FAMILY_BILOSA_CFI;
constexpr DEV_FAMILY_ENUM MOZOKA = DEV_FAMILY_MOZOKA;
} // namespace fam

struct SCHEME_ROW
{
    PGMIO_CONFIG_SCHEME scheme;
    bool enabled;
    PGM_COMMON_XML_ENUM xml_enum;
    LIST<ZEB_FILE_TYPE> output_file_type;
    LIST<DEV_FAMILY_ENUM> config_device_family;
};

// Schemes 6, 9, 15 to 19, 23 and 24 have no row. The three passive-parallel widths share one XML
// value; the disabled rows keep their output lists.
// clang-format off
constexpr SCHEME_ROW SCHEME_ROWS[] = {
    {PGMIO_CONFIG_SCHEME_PS_X1, 1, PGM_COMMON_XML_ENUM_PS, {ft::RBF, ft::TTF, ft::HEXOUT, ft::PR_RBF, ft::POF, ft::MAP}, {fam::VIVERI, fam::BILOSA_CFI}},
    {PGMIO_CONFIG_SCHEME_PS_X2, 0, PGM_COMMON_XML_ENUM__INVALID__, {ft::RBF, ft::TTF, ft::HEXOUT, ft::PR_RBF, ft::POF, ft::MAP}, {}},
    {PGMIO_CONFIG_SCHEME_PS_X4, 0, PGM_COMMON_XML_ENUM__INVALID__, {ft::RBF, ft::TTF, ft::HEXOUT, ft::PR_RBF, ft::POF, ft::MAP}, {}},
    {PGMIO_CONFIG_SCHEME_PS_X8, 0, PGM_COMMON_XML_ENUM__INVALID__, {ft::RBF, ft::TTF, ft::HEXOUT, ft::PR_RBF, ft::POF, ft::MAP}, {}},
    {PGMIO_CONFIG_SCHEME_PP_ASYNC, 0, PGM_COMMON_XML_ENUM__INVALID__, {ft::RBF, ft::TTF, ft::HEXOUT, ft::PR_RBF, ft::POF, ft::MAP}, {}},
    {PGMIO_CONFIG_SCHEME_PP_SYNC, 0, PGM_COMMON_XML_ENUM__INVALID__, {ft::RBF, ft::TTF, ft::HEXOUT, ft::PR_RBF, ft::POF, ft::MAP}, {}},
    {PGMIO_CONFIG_SCHEME_AS, 1, PGM_COMMON_XML_ENUM_ASX1, {ft::JIC, ft::POF, ft::RPD, ft::PR_RBF, ft::CVP, ft::HPS, ft::JIC_PERIPH, ft::POF_PERIPH, ft::RPD_PERIPH, ft::MAP, ft::RPD_SEC}, {fam::VIVERI}},
    {PGMIO_CONFIG_SCHEME_AP, 0, PGM_COMMON_XML_ENUM__INVALID__, {ft::RBF, ft::TTF, ft::HEXOUT, ft::POF, ft::MAP}, {}},
    {PGMIO_CONFIG_SCHEME_PP_X8, 1, PGM_COMMON_XML_ENUM_FPP, {ft::RBF, ft::TTF, ft::HEXOUT, ft::PR_RBF, ft::POF, ft::MAP}, {fam::VIVERI, fam::BILOSA_CFI}},
    {PGMIO_CONFIG_SCHEME_PP_X16, 1, PGM_COMMON_XML_ENUM_FPP, {ft::RBF, ft::TTF, ft::HEXOUT, ft::PR_RBF, ft::POF, ft::MAP}, {fam::VIVERI, fam::BILOSA_CFI}},
    {PGMIO_CONFIG_SCHEME_PP_X32, 1, PGM_COMMON_XML_ENUM_FPP, {ft::RBF, ft::TTF, ft::HEXOUT, ft::PR_RBF, ft::POF, ft::MAP}, {fam::VIVERI, fam::BILOSA_CFI}},
    {PGMIO_CONFIG_SCHEME_AS_X4, 1, PGM_COMMON_XML_ENUM_ASX4, {ft::JIC, ft::POF, ft::RPD, ft::PR_RBF, ft::CVP, ft::HPS, ft::JIC_PERIPH, ft::POF_PERIPH, ft::RPD_PERIPH, ft::MAP, ft::RPD_SEC, ft::HELPER_SEC}, {fam::VIVERI}},
    {PGMIO_CONFIG_SCHEME_INTERNAL, 1, PGM_COMMON_XML_ENUM_INTERNAL, {ft::POF, ft::MAP, ft::RPD_SEC}, {fam::MOZOKA}},
    {PGMIO_CONFIG_SCHEME_AVST_X8, 1, PGM_COMMON_XML_ENUM_AVSTX8, {ft::RBF, ft::TTF, ft::HEXOUT, ft::POF, ft::PR_RBF, ft::CVP, ft::HPS, ft::RBF_PERIPH, ft::MAP}, {fam::VIVERI, fam::BILOSA_CFI}},
    {PGMIO_CONFIG_SCHEME_AVST_X16, 1, PGM_COMMON_XML_ENUM_AVSTX16, {ft::RBF, ft::TTF, ft::HEXOUT, ft::POF, ft::PR_RBF, ft::CVP, ft::HPS, ft::RBF_PERIPH, ft::MAP}, {fam::VIVERI, fam::BILOSA_CFI}},
    {PGMIO_CONFIG_SCHEME_AVST_X32, 1, PGM_COMMON_XML_ENUM_AVSTX32, {ft::RBF, ft::TTF, ft::HEXOUT, ft::POF, ft::PR_RBF, ft::CVP, ft::HPS, ft::RBF_PERIPH, ft::MAP}, {fam::VIVERI, fam::BILOSA_CFI}},
};
// clang-format on

// The order in which the records are listed; not the numeric order.
constexpr int32_t KEY_ORDER[] = {0, 1, 2, 3, 8, 7, 13, 20, 21, 22, 14, 10, 11, 12, 4, 5};

// Index of the scheme's row; the row count when there is none.
constexpr std::size_t row_index(int32_t scheme)
{
    for (std::size_t i = 0; i < std::size(SCHEME_ROWS); ++i)
        if (SCHEME_ROWS[i].scheme == scheme)
            return i;
    return std::size(SCHEME_ROWS);
}

// Every key names exactly one row and every row is listed once.
constexpr bool key_order_matches_rows()
{
    if (std::size(KEY_ORDER) != std::size(SCHEME_ROWS))
        return false;
    for (std::size_t i = 0; i < std::size(KEY_ORDER); ++i)
    {
        if (row_index(KEY_ORDER[i]) == std::size(SCHEME_ROWS))
            return false;
        for (std::size_t j = 0; j < i; ++j)
            if (KEY_ORDER[j] == KEY_ORDER[i])
                return false;
    }
    return true;
}
static_assert(key_order_matches_rows());

ZEB_DB_TABLE<PGMIO_CONFIG_SCHEME, ZebConfigSchemeRecord> build_table()
{
    ZEB_DB_TABLE<PGMIO_CONFIG_SCHEME, ZebConfigSchemeRecord> table;
    for (int32_t key : KEY_ORDER)
    {
        const SCHEME_ROW& row = SCHEME_ROWS[row_index(key)];
        table.records.emplace(key, ZebConfigSchemeRecord{row.enabled, row.output_file_type.to_vector(),
                                                         row.config_device_family.to_vector(), row.xml_enum});
        table.keys.push_back(row.scheme);
    }
    return table;
}

} // namespace

const ZEB_DB_TABLE<PGMIO_CONFIG_SCHEME, ZebConfigSchemeRecord>& zeb_db_config_scheme_table()
{
    static const ZEB_DB_TABLE<PGMIO_CONFIG_SCHEME, ZebConfigSchemeRecord> table = build_table();
    return table;
}
