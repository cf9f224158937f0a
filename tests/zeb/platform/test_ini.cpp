// SPDX-License-Identifier: Apache-2.0
// Switch store: file layers and overrides, line syntax, keyed switches and expiry dates.
#include "pgm/zeb/platform/ini/pgm_common_ini.h"
#include "pgm/zeb/platform/msg/msg.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;

namespace
{

// Runs each case in a fresh working directory with no switch file named by the environment.
class IniTest : public testing::Test
{
protected:
    void SetUp() override { TearDown(); }
    void TearDown() override
    {
        unsetenv("CORVANE_INI");
        PGM_COMMON_INI::reload();
    }

    static void write(const fs::path& path, const std::string& text) { corvane_test::write_file(path.string(), text); }

    corvane_test::SCRATCH_CWD m_cwd;
    const fs::path m_dir = m_cwd.path();
};

std::tm date(int year, int month, int day)
{
    std::tm value{};
    value.tm_year = year - 1900;
    value.tm_mon = month - 1;
    value.tm_mday = day;
    return value;
}

const char* timing_switch_name()
{
    return PGM_COMMON_INI::find_keyed_switch(PGM_COMMON_INI_TYPE_ENCRYPTED_TIMING_BOOLEAN, 1)->name;
}

} // namespace

TEST_F(IniTest, LaterLayersWinUntilReload)
{
    write("corvane.ini", "ONLY_CWD=cwd\nSHARED=cwd\n");
    write(m_dir / "named.ini", "SHARED=named\nONLY_NAMED=named\n");
    setenv("CORVANE_INI", (m_dir / "named.ini").c_str(), 1);
    PGM_COMMON_INI::reload();

    EXPECT_EQ(PGM_COMMON_INI::get_value("ONLY_CWD"), "cwd");
    EXPECT_EQ(PGM_COMMON_INI::get_value("ONLY_NAMED"), "named");
    EXPECT_EQ(PGM_COMMON_INI::get_value("SHARED"), "named");

    PGM_COMMON_INI::set_value("SHARED", "override");
    EXPECT_EQ(PGM_COMMON_INI::get_value("SHARED"), "override");
    PGM_COMMON_INI::clear_value("SHARED");
    EXPECT_EQ(PGM_COMMON_INI::get_value("SHARED"), "named");

    // A named file that does not exist leaves the working directory's file in force.
    setenv("CORVANE_INI", (m_dir / "missing.ini").c_str(), 1);
    PGM_COMMON_INI::reload();
    EXPECT_EQ(PGM_COMMON_INI::get_value("SHARED"), "cwd");
    EXPECT_FALSE(PGM_COMMON_INI::get_value("ONLY_NAMED").has_value());

    // Files are read once until a reload, which also drops overrides.
    write("corvane.ini", "SHARED=second\n");
    PGM_COMMON_INI::set_value("OTHER", "x");
    EXPECT_EQ(PGM_COMMON_INI::get_value("SHARED"), "cwd");
    PGM_COMMON_INI::reload();
    EXPECT_EQ(PGM_COMMON_INI::get_value("SHARED"), "second");
    EXPECT_FALSE(PGM_COMMON_INI::get_value("OTHER").has_value());
}

TEST_F(IniTest, LineSyntax)
{
    write("corvane.ini", "#HASH=commented out\r\n"
                         "; SEMI = commented out\n"
                         "\n"
                         "   \t\n"
                         "  SPACED  =  value with inner blanks  \r\n"
                         "EQUALS=a=b\n"
                         "EMPTY=\n"
                         "NO_EQUALS_SIGN\n"
                         "=no name\n"
                         "   # indented comment = not a switch\n"
                         "REPEATED=1\n"
                         "REPEATED=2\n"
                         "LAST=no newline at end");
    // nullptr: no such switch (names are case-sensitive).
    const std::pair<const char*, const char*> switches[] = {
        {"SPACED", "value with inner blanks"}, {"EQUALS", "a=b"}, {"EMPTY", ""}, {"REPEATED", "2"},
        {"LAST", "no newline at end"}, {"NO_EQUALS_SIGN", nullptr}, {"", nullptr}, {"# indented comment", nullptr},
        {"#HASH", nullptr}, {"; SEMI", nullptr}, {"spaced", nullptr}};
    for (const auto& [name, value] : switches)
        EXPECT_EQ(PGM_COMMON_INI::get_value(name), value ? std::optional<std::string>(value) : std::nullopt) << name;
}

TEST(IniText, OnTexts)
{
    for (const char* on : {"ON", "on", "On", "1", "true", "TRUE", "True", "yes", "YES", " on "})
        EXPECT_TRUE(PGM_COMMON_INI::is_on_text(on)) << on;
    for (const char* off : {"", "OFF", "off", "0", "false", "no", "2", "onn", "y", "ON@2030-01-01"})
        EXPECT_FALSE(PGM_COMMON_INI::is_on_text(off)) << off;
}

TEST_F(IniTest, BooleanSwitchesAndDefaults)
{
    const char* name = PGM_COMMON_INI::find_keyed_switch(PGM_COMMON_INI_TYPE_BOOLEAN, 3)->name;
    EXPECT_FALSE(PGM_COMMON_INI::get_boolean(3, false));
    EXPECT_TRUE(PGM_COMMON_INI::get_boolean(3, true));
    write("corvane.ini", std::string(name) + "=on\n");
    PGM_COMMON_INI::reload();
    EXPECT_TRUE(PGM_COMMON_INI::get_boolean(3, false));
    // A switch that is set to an off text is off whatever the default.
    PGM_COMMON_INI::set_value(name, "OFF");
    EXPECT_FALSE(PGM_COMMON_INI::get_boolean(3, true));

    // Unknown keys give the default for every type.
    EXPECT_TRUE(PGM_COMMON_INI::get_boolean(99, true));
    EXPECT_FALSE(PGM_COMMON_INI::get_boolean(99, false));
    EXPECT_TRUE(PGM_COMMON_INI::get_encrypted_boolean(99, true, true));
    std::string expiry = "stale";
    EXPECT_TRUE(PGM_COMMON_INI::get_encrypted_timing_boolean(99, true, true, false, nullptr, &expiry));
    EXPECT_EQ(expiry, "");
}

TEST_F(IniTest, EncryptedBooleanHonoursCurrentAndLegacyName)
{
    const PGM_COMMON_INI_KEYED_SWITCH* row =
        PGM_COMMON_INI::find_keyed_switch(PGM_COMMON_INI_TYPE_ENCRYPTED_BOOLEAN, 5);
    ASSERT_NE(row, nullptr);
    write("corvane.ini", std::string(row->legacy_name) + "=1\n");
    EXPECT_TRUE(PGM_COMMON_INI::get_encrypted_boolean(5, false, false));
    EXPECT_FALSE(PGM_COMMON_INI::get_encrypted_boolean(5, false, true));

    PGM_COMMON_INI::set_value(row->name, "yes");
    PGM_COMMON_INI::set_value(row->legacy_name, "no");
    EXPECT_TRUE(PGM_COMMON_INI::get_encrypted_boolean(5, false, true));
    EXPECT_FALSE(PGM_COMMON_INI::get_encrypted_boolean(5, true, false));
}

// Rows: the switch's text, whether expiry is honoured, the outcome with default off, and the expiry
// date reported. Today is 2024-03-15; a switch is on through its last day; a malformed date is off.
TEST_F(IniTest, TimingSwitchIsOnUntilItsLastDay)
{
    const std::tm today = date(2024, 3, 15);
    EXPECT_FALSE(PGM_COMMON_INI::get_encrypted_timing_boolean(1, false, true, false, &today, nullptr));
    EXPECT_TRUE(PGM_COMMON_INI::get_encrypted_timing_boolean(1, true, true, false, &today, nullptr));
    const struct
    {
        const char* value;
        bool honour, on;
        std::string expiry;
    } cases[] = {
        {"ON", true, true, ""},
        {"ON@2024-03-15", true, true, "2024-03-15"},
        {"ON@2024-03-14", true, false, "2024-03-14"},
        {"ON@2024-03-14", false, true, "2024-03-14"},
        {"ON@2025-01-01", true, true, "2025-01-01"},
        {"ON@2024-02-29", true, false, "2024-02-29"},
        {"ON@2024-04-01", true, true, "2024-04-01"},
        {"ON@2028-02-29", true, true, "2028-02-29"}, // a leap day is a real date
    };
    for (const auto& c : cases)
    {
        PGM_COMMON_INI::set_value(timing_switch_name(), c.value);
        std::string expiry = "stale";
        EXPECT_EQ(PGM_COMMON_INI::get_encrypted_timing_boolean(1, false, c.honour, false, &today, &expiry), c.on)
            << c.value;
        EXPECT_EQ(expiry, c.expiry) << c.value;
    }
    PGM_COMMON_INI::set_value(timing_switch_name(), "OFF@2099-01-01");
    EXPECT_FALSE(PGM_COMMON_INI::get_encrypted_timing_boolean(1, true, true, false, &today, nullptr));
    for (const char* value : {"ON@2024-02-30", "ON@2023-02-29", "ON@2024-13-01", "ON@2024-00-10", "ON@24-3-1",
                              "ON@2024/12/31", "ON@", "ON@2024-12-31x", "ON@tomorrow"})
    {
        PGM_COMMON_INI::set_value(timing_switch_name(), value);
        EXPECT_FALSE(PGM_COMMON_INI::get_encrypted_timing_boolean(1, true, true, false, &today, nullptr)) << value;
        EXPECT_FALSE(PGM_COMMON_INI::get_encrypted_timing_boolean(1, true, false, false, &today, nullptr)) << value;
    }
}

TEST_F(IniTest, ExpiredTimingSwitchIsReportedOnlyWhenAsked)
{
    const std::tm today = date(2030, 1, 1);
    PGM_COMMON_INI::set_value(timing_switch_name(), "ON@2029-12-31");
    MSG_CAPTURE_SINK capture;
    EXPECT_FALSE(PGM_COMMON_INI::get_encrypted_timing_boolean(1, false, true, false, &today, nullptr));
    const size_t quiet_lines = capture.debug_lines().size();
    EXPECT_FALSE(PGM_COMMON_INI::get_encrypted_timing_boolean(1, false, true, true, &today, nullptr));
    ASSERT_EQ(capture.debug_lines().size(), quiet_lines + 1);
    const std::string& line = capture.debug_lines().back();
    EXPECT_NE(line.find(timing_switch_name()), std::string::npos);
    EXPECT_NE(line.find("2029-12-31"), std::string::npos);
}
