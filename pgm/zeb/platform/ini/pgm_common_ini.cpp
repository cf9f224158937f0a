// SPDX-License-Identifier: Apache-2.0
// Configuration switch store: the two switch files, process overrides and the keyed-switch table.
#include "pgm/zeb/platform/ini/pgm_common_ini.h"

#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/msg/msg.h"

#include <cctype>
#include <cstdlib>
#include <sstream>
#include <functional>
#include <iterator>
#include <map>
#include <mutex>

namespace
{

constexpr const char* MODULE = "PGM_COMMON_INI";
constexpr int DEBUG_LEVEL = 2;

// Switches addressed by (type, key). Each one gates command parameters that are offered only when
// it is on; docs/switches.md lists them with the options they unlock.
constexpr PGM_COMMON_INI_KEYED_SWITCH KEYED_SWITCHES[] = {
    {PGM_COMMON_INI_TYPE_BOOLEAN, 3, "ZEB_ENABLE_JTAG_SECURITY_OPTION", nullptr},
    {PGM_COMMON_INI_TYPE_BOOLEAN, 6, "ZEB_ENABLE_BOOT_CONTROL_OPTIONS", nullptr},
    {PGM_COMMON_INI_TYPE_BOOLEAN, 7, "ZEB_ENABLE_POWER_ON_SCHEME_OPTION", nullptr},
    {PGM_COMMON_INI_TYPE_ENCRYPTED_BOOLEAN, 5, "ZEB_ENABLE_RSU_APP_IMAGE_OPTIONS", "ZEB_RSU_APP_IMAGE_UPGRADE"},
    {PGM_COMMON_INI_TYPE_ENCRYPTED_TIMING_BOOLEAN, 1, "ZEB_ENABLE_TEST_MODE_OPTIONS", nullptr},
};

// Switches read by name where they take effect.
constexpr const char* NAMED_SWITCHES[] = {"ZEB_ALWAYS_ALLOW_SAVE_FILE"};

using VALUE_MAP = std::map<std::string, std::string, std::less<>>;

struct STORE
{
    std::mutex mutex;
    bool loaded = false;
    VALUE_MAP file_values; // both files, the later file's lines overwriting the earlier's
    VALUE_MAP overrides;   // set_value
};

STORE& store()
{
    static STORE instance;
    return instance;
}

std::string_view trim(std::string_view text)
{
    const char* blanks = " \t\r\n\f\v";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    const size_t last = text.find_last_not_of(blanks);
    return text.substr(first, last - first + 1);
}

// Reads NAME=VALUE lines of one file into `values`. A missing file is not an error: both files
// are optional. Lines without '=' or without a name are skipped with a debug line.
void read_switch_file(const std::string& path, VALUE_MAP& values)
{
    // An optional file: one that is missing, not a regular file or absurdly large is passed over.
    FIO_INPUT_FILE file;
    std::vector<uint8_t> bytes;
    std::string error;
    if (!file.open(path, error) || !file.read_all(bytes, error))
    {
        msg_local_vdebug(MODULE, DEBUG_LEVEL, "No switches read: %s", error.c_str());
        return;
    }
    std::istringstream in(std::string(bytes.begin(), bytes.end()));
    msg_local_vdebug(MODULE, DEBUG_LEVEL, "Reading switches from %s", path.c_str());
    std::string raw;
    int line_number = 0;
    while (std::getline(in, raw))
    {
        ++line_number;
        const std::string_view line = trim(raw);
        if (line.empty() || line.front() == '#' || line.front() == ';')
            continue;
        const size_t equals = line.find('=');
        const std::string_view name = equals == std::string_view::npos ? line : trim(line.substr(0, equals));
        if (equals == std::string_view::npos || name.empty())
        {
            msg_local_vdebug(MODULE, DEBUG_LEVEL, "%s:%d: ignoring line without NAME=VALUE", path.c_str(), line_number);
            continue;
        }
        values.insert_or_assign(std::string(name), std::string(trim(line.substr(equals + 1))));
    }
}

void load_locked(STORE& s)
{
    if (s.loaded)
        return;
    s.file_values.clear();
    read_switch_file("corvane.ini", s.file_values);
    const char* named = std::getenv("CORVANE_INI");
    if (named != nullptr && *named != '\0')
        read_switch_file(named, s.file_values);
    s.loaded = true;
}

// Days since a fixed origin, for comparing calendar dates.
long day_number(int year, int month, int day)
{
    return (static_cast<long>(year) * 12 + (month - 1)) * 31 + (day - 1);
}

bool is_leap_year(int year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// Parses exactly "YYYY-MM-DD" with a real calendar day.
bool parse_date(std::string_view text, int& year, int& month, int& day)
{
    if (text.size() != 10 || text[4] != '-' || text[7] != '-')
        return false;
    for (size_t i : {0u, 1u, 2u, 3u, 5u, 6u, 8u, 9u})
        if (!std::isdigit(static_cast<unsigned char>(text[i])))
            return false;
    auto number = [&](size_t from, size_t count)
    {
        int value = 0;
        for (size_t i = from; i < from + count; ++i)
            value = value * 10 + (text[i] - '0');
        return value;
    };
    year = number(0, 4);
    month = number(5, 2);
    day = number(8, 2);
    static constexpr int DAYS_IN_MONTH[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12 || day < 1)
        return false;
    const int last_day = DAYS_IN_MONTH[month - 1] + (month == 2 && is_leap_year(year) ? 1 : 0);
    return day <= last_day;
}

} // namespace

std::optional<std::string> PGM_COMMON_INI::get_value(std::string_view name)
{
    STORE& s = store();
    std::lock_guard<std::mutex> lock(s.mutex);
    if (auto found = s.overrides.find(name); found != s.overrides.end())
        return found->second;
    load_locked(s);
    if (auto found = s.file_values.find(name); found != s.file_values.end())
        return found->second;
    return std::nullopt;
}

void PGM_COMMON_INI::set_value(std::string_view name, std::string_view value)
{
    STORE& s = store();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.overrides.insert_or_assign(std::string(trim(name)), std::string(trim(value)));
}

void PGM_COMMON_INI::clear_value(std::string_view name)
{
    STORE& s = store();
    std::lock_guard<std::mutex> lock(s.mutex);
    if (auto found = s.overrides.find(trim(name)); found != s.overrides.end())
        s.overrides.erase(found);
}

void PGM_COMMON_INI::reload()
{
    STORE& s = store();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.loaded = false;
    s.file_values.clear();
    s.overrides.clear();
}

bool PGM_COMMON_INI::is_on_text(std::string_view value)
{
    value = trim(value);
    std::string lower;
    for (char c : value)
        lower.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
    return lower == "on" || lower == "1" || lower == "true" || lower == "yes";
}

const PGM_COMMON_INI_KEYED_SWITCH* PGM_COMMON_INI::find_keyed_switch(PGM_COMMON_INI_TYPE type, uint32_t key)
{
    for (const PGM_COMMON_INI_KEYED_SWITCH& row : KEYED_SWITCHES)
        if (row.type == type && row.key == key)
            return &row;
    return nullptr;
}

bool PGM_COMMON_INI::get_boolean(uint32_t key, bool default_value)
{
    const PGM_COMMON_INI_KEYED_SWITCH* row = find_keyed_switch(PGM_COMMON_INI_TYPE_BOOLEAN, key);
    if (row == nullptr)
        return default_value;
    const std::optional<std::string> value = get_value(row->name);
    return value ? is_on_text(*value) : default_value;
}

bool PGM_COMMON_INI::get_encrypted_boolean(uint32_t key, bool default_value, bool current_name)
{
    const PGM_COMMON_INI_KEYED_SWITCH* row = find_keyed_switch(PGM_COMMON_INI_TYPE_ENCRYPTED_BOOLEAN, key);
    if (row == nullptr)
        return default_value;
    const char* name = current_name ? row->name : row->legacy_name;
    if (name == nullptr)
        return default_value;
    const std::optional<std::string> value = get_value(name);
    return value ? is_on_text(*value) : default_value;
}

bool PGM_COMMON_INI::get_encrypted_timing_boolean(uint32_t key, bool default_value, bool honour_expiry, bool report,
                                                  const std::tm* today, std::string* expiry)
{
    if (expiry != nullptr)
        expiry->clear();
    const PGM_COMMON_INI_KEYED_SWITCH* row = find_keyed_switch(PGM_COMMON_INI_TYPE_ENCRYPTED_TIMING_BOOLEAN, key);
    if (row == nullptr)
        return default_value;
    const std::optional<std::string> value = get_value(row->name);
    if (!value)
        return default_value;

    const std::string_view text = *value;
    const size_t at = text.find('@');
    if (!is_on_text(text.substr(0, at)))
        return false;
    if (at == std::string_view::npos)
        return true;

    const std::string_view date = trim(text.substr(at + 1));
    if (expiry != nullptr)
        *expiry = std::string(date);
    int year = 0;
    int month = 0;
    int day = 0;
    if (!parse_date(date, year, month, day))
    {
        // A date that cannot be read could hide any expiry, so the switch is off.
        if (report)
            msg_local_vdebug(MODULE, DEBUG_LEVEL, "Switch %s has a malformed expiry date '%.*s'; it is off", row->name,
                             static_cast<int>(date.size()), date.data());
        return false;
    }
    if (!honour_expiry)
        return true;

    std::tm now{};
    if (today == nullptr)
    {
        const std::time_t seconds = std::time(nullptr);
        localtime_r(&seconds, &now);
        today = &now;
    }
    const long today_number = day_number(today->tm_year + 1900, today->tm_mon + 1, today->tm_mday);
    if (today_number <= day_number(year, month, day))
        return true;
    if (report)
        msg_local_vdebug(MODULE, DEBUG_LEVEL, "Switch %s expired on %s; it is off", row->name,
                         std::string(date).c_str());
    return false;
}

bool cfg_is_on(std::string_view name)
{
    const std::optional<std::string> value = PGM_COMMON_INI::get_value(name);
    return value && PGM_COMMON_INI::is_on_text(*value);
}

std::vector<std::string> PGM_COMMON_INI::known_names()
{
    std::vector<std::string> names(std::begin(NAMED_SWITCHES), std::end(NAMED_SWITCHES));
    for (const PGM_COMMON_INI_KEYED_SWITCH& keyed : KEYED_SWITCHES)
    {
        names.emplace_back(keyed.name);
        if (keyed.legacy_name)
            names.emplace_back(keyed.legacy_name);
    }
    return names;
}
