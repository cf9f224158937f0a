// SPDX-License-Identifier: Apache-2.0
// Internal to the capability database: the built tables that the queries read, and the helpers
// with which the table sources write their rows. Not part of the public surface.
#pragma once

#include "pgm/zeb/zeb_db_util.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <vector>

// A table: records by key, compared as signed 32-bit integers, plus the keys in their fixed order.
template <typename KEY, typename RECORD> struct ZEB_DB_TABLE
{
    std::map<int32_t, RECORD> records;
    std::vector<KEY> keys;

    // The key's record, or nullptr.
    const RECORD* find(int32_t key) const
    {
        auto it = records.find(key);
        return it == records.end() ? nullptr : &it->second;
    }
};

// Built on first use, read-only afterwards.
const ZEB_DB_TABLE<ZEB_FILE_TYPE, ZebFileTypeRecord>& zeb_db_file_type_table();
const ZEB_DB_TABLE<PGMIO_CONFIG_SCHEME, ZebConfigSchemeRecord>& zeb_db_config_scheme_table();
const ZEB_DB_TABLE<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM, ZebCmdParamRecord>& zeb_db_cmd_param_table();

// The display names of the schemes, 26 texts: index 25 stands for every value outside 0..24.
extern const std::array<const char*, 26> ZEB_DB_CONFIG_SCHEME_NAMES;
// The enumerator names of the command parameters, by value.
extern const std::array<std::string_view, ZEB_CMD_PARAM_COUNT> ZEB_DB_CMD_PARAM_ENUM_NAMES;

namespace zeb_db_rows
{

// A short list written inline in a constexpr row: `{a, b, c}`. More than CAPACITY elements do not
// compile.
template <typename T, std::size_t CAPACITY = 16> struct LIST
{
    std::array<T, CAPACITY> items{};
    std::size_t count = 0;

    constexpr LIST() = default;
    constexpr LIST(std::initializer_list<T> list)
    {
        for (T value : list)
            items[count++] = value;
    }
    std::vector<T> to_vector() const { return std::vector<T>(items.begin(), items.begin() + count); }
};

// True when the rows hold exactly the values 0, 1, 2, ... in this order (one row per value).
template <typename ROWS> constexpr bool rows_in_value_order(const ROWS& rows)
{
    int32_t expected = 0;
    for (const auto& row : rows)
        if (static_cast<int32_t>(row.value) != expected++)
            return false;
    return true;
}

// True when `order` lists every value 0..count-1 exactly once.
template <std::size_t N> constexpr bool is_permutation_of_values(const int32_t (&order)[N], std::size_t count)
{
    if (N != count)
        return false;
    for (std::size_t value = 0; value < count; ++value)
    {
        std::size_t seen = 0;
        for (int32_t key : order)
            seen += static_cast<std::size_t>(key) == value ? 1 : 0;
        if (seen != 1)
            return false;
    }
    return true;
}

} // namespace zeb_db_rows
