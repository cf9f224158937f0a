// SPDX-License-Identifier: Apache-2.0
// Configuration switch store.
//
// Switches are NAME=VALUE lines. They are read, once and on first use, from "corvane.ini" in the
// working directory and then from the file named by CORVANE_INI (later lines win; blank lines and
// lines starting with '#' or ';' are ignored; names are case-sensitive, surrounding blanks are
// trimmed). Values set through set_value() override both files.
//
// Some switches are addressed by type and key number instead of by name; a single table maps each
// (type, key) pair to its documented switch name (see docs/switches.md).
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

enum PGM_COMMON_INI_TYPE : uint32_t
{
    PGM_COMMON_INI_TYPE_BOOLEAN = 0,                  // plain on/off switch
    PGM_COMMON_INI_TYPE_ENCRYPTED_BOOLEAN = 1,        // on/off switch known under a current and a legacy name
    PGM_COMMON_INI_TYPE_ENCRYPTED_TIMING_BOOLEAN = 2, // on/off switch that may carry an expiry date
    PGM_COMMON_INI_TYPE_NONE = 9,                     // no switch
};

// One row of the table of key-numbered switches.
struct PGM_COMMON_INI_KEYED_SWITCH
{
    PGM_COMMON_INI_TYPE type;
    uint32_t key;
    const char* name;        // the documented switch name
    const char* legacy_name; // older name also honoured (encrypted booleans only), or nullptr
};

class PGM_COMMON_INI
{
public:
    // The raw value of a switch, if any layer sets it.
    static std::optional<std::string> get_value(std::string_view name);

    // Overrides a switch for this process (front ends use it for command-line switches).
    static void set_value(std::string_view name, std::string_view value);
    // Removes an override set by set_value.
    static void clear_value(std::string_view name);
    // Forgets everything read from files and every override; the files are read again on next use.
    static void reload();

    // Whether a value text means on: "ON", "on", "On", "1", "true", "TRUE", "yes" (case-insensitive
    // for the words). Everything else is off.
    static bool is_on_text(std::string_view value);

    // Every switch name that the program reads (legacy names included), for front ends that
    // refuse a misspelt switch.
    static std::vector<std::string> known_names();

    // The row of the keyed-switch table for (type, key), or nullptr.
    static const PGM_COMMON_INI_KEYED_SWITCH* find_keyed_switch(PGM_COMMON_INI_TYPE type, uint32_t key);

    // Type-0 switch `key`: its value when set, else default_value. An unknown key gives default_value.
    static bool get_boolean(uint32_t key, bool default_value);

    // Type-1 switch `key`: with current_name true the switch's current name is read, otherwise its
    // legacy name. Unset or unknown: default_value.
    static bool get_encrypted_boolean(uint32_t key, bool default_value, bool current_name);

    // Type-2 switch `key`. Its value is "ON" or "ON@YYYY-MM-DD", the date being the last day on
    // which it is on. With honour_expiry an expired switch reads as off; with report a debug line
    // says so. `today` overrides the current date (nullptr: the system date); when `expiry` is not
    // nullptr it receives the date text ("" when none).
    static bool get_encrypted_timing_boolean(uint32_t key, bool default_value, bool honour_expiry, bool report,
                                             const std::tm* today, std::string* expiry);
};

// True when the named switch is set to an "on" text.
bool cfg_is_on(std::string_view name);
