// SPDX-License-Identifier: Apache-2.0
// Message library: formatting, registry, sinks, internal errors and the debug log.
#include "pgm/zeb/platform/msg/msg.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace
{

// Numbers far from those of the library's own modules.
constexpr MSG_RECORD TEST_MESSAGES[] = {
    {990001, "ETEST_TWO_ARGUMENTS", MSG_KIND_ERROR, "File %1!s! is corrupted. %2!s!"},
    {990002, "WTEST_WARNING", MSG_KIND_WARNING, "Watch out for %1!s!"},
    {990003, "ITEST_INFO", MSG_KIND_INFO, "Saved %1!s!"},
};

// A sink that keeps the default debug gating, to observe what the level lets through.
class COUNTING_SINK : public MSG_SINK
{
public:
    void post(const MSG_POSTED&) override {}
    void debug(std::string_view, int, std::string_view line) override { lines.emplace_back(line); }
    std::vector<std::string> lines;
};

} // namespace

TEST(MsgFormat, PlaceholdersByNumber)
{
    const std::vector<std::string> twelve = {"a1", "a2", "a3", "a4", "a5", "a6", "a7", "a8", "a9", "a10", "a11", "a12"};
    const struct
    {
        const char* pattern;
        std::vector<std::string> args;
        const char* expected;
    } cases[] = {
        {"%2!s! before %1!s!", {"a", "b"}, "b before a"},
        {"%1!s%1!s!-%1!s!", {"x"}, "%1!sx-x"},
        // Placeholders beyond the arguments, number zero and other printf-like texts stay as written.
        {"%1!s! and %3!s!", {"one", "two"}, "one and %3!s!"},
        {"%0!s! %1!d! 100% %s %", {"arg"}, "%0!s! %1!d! 100% %s %"},
        // An argument is inserted as it stands, even when it looks like a placeholder itself.
        {"%1!s!|%2!s!", {"%2!s!", "b"}, "%2!s!|b"},
        {"%10!s!,%12!s!,%1!s!0", twelve, "a10,a12,a10"},
        {"%13!s!", twelve, "%13!s!"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(msg_format(c.pattern, c.args), c.expected) << c.pattern;
}

// A post fills the record into the innermost capture sink; registering a table twice is harmless, a
// conflicting table and an unregistered number are internal errors that register or post nothing.
TEST(MsgRegistry, PostsRegistrationsAndConflicts)
{
    msg_register_table(TEST_MESSAGES, std::size(TEST_MESSAGES));
    msg_register_table(TEST_MESSAGES, std::size(TEST_MESSAGES));
    MSG_SINK* original = msg_get_sink();
    {
        MSG_CAPTURE_SINK capture;
        {
            MSG_CAPTURE_SINK inner;
            msg_post(990003, {"inner"});
            EXPECT_EQ(inner.messages().size(), 1u);
        }
        EXPECT_EQ(msg_get_sink(), &capture);
        msg_post(990001, {"design.sof", "Bad header."});
        msg_post(990002);
        ASSERT_EQ(capture.messages().size(), 2u);
        const MSG_POSTED& first = capture.messages()[0];
        EXPECT_EQ(first.number, 990001);
        EXPECT_EQ(first.identifier, "ETEST_TWO_ARGUMENTS");
        EXPECT_EQ(first.kind, MSG_KIND_ERROR);
        EXPECT_EQ(first.text, "File design.sof is corrupted. Bad header.");
        EXPECT_EQ(capture.messages()[1].kind, MSG_KIND_WARNING);
        EXPECT_EQ(capture.messages()[1].text, "Watch out for %1!s!");
        EXPECT_EQ(capture.count("ETEST_TWO_ARGUMENTS"), 1u);
        EXPECT_EQ(capture.count("ENOT_POSTED"), 0u);

        const MSG_RECORD conflicting[] = {
            {990010, "ETEST_FRESH", MSG_KIND_ERROR, "would be new"},
            {990001, "ETEST_OTHER", MSG_KIND_ERROR, "different text"},
        };
        EXPECT_THROW(msg_register_table(conflicting, std::size(conflicting)), MSG_INTERNAL_ERROR);
        EXPECT_EQ(msg_find(990010), nullptr);
        EXPECT_STREQ(msg_find(990001)->identifier, "ETEST_TWO_ARGUMENTS");
        EXPECT_THROW(msg_post(987654, {"x"}), MSG_INTERNAL_ERROR);
        EXPECT_EQ(capture.messages().size(), 2u);
    }
    EXPECT_EQ(msg_get_sink(), original);
}

TEST(MsgSinks, StreamSinkPrintsKindAndNumber)
{
    msg_register_table(TEST_MESSAGES, std::size(TEST_MESSAGES));
    MSG_STREAM_SINK sink;
    MSG_SINK* previous = msg_set_sink(&sink);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    msg_post(990001, {"a.sof", "Why."});
    msg_post(990002, {"this"});
    msg_post(990003, {"b.zeb"});
    sink.debug("ZEB_COMMON", 2, "a debug line");
    const std::string err = testing::internal::GetCapturedStderr();
    const std::string out = testing::internal::GetCapturedStdout();
    msg_set_sink(previous);
    EXPECT_EQ(err, "Error (990001): File a.sof is corrupted. Why.\nWarning (990002): Watch out for this\n"
                   "[ZEB_COMMON] a debug line\n");
    EXPECT_EQ(out, "Info (990003): Saved b.zeb\n");
}

TEST(MsgInternalError, CarriesConditionModuleSourceAndLine)
{
    MSG_CAPTURE_SINK capture;
    const int value = 3;
    const int line = __LINE__ + 1;
    const auto fail = [&] { MSG_ASSERT_AT(value == 4, "ZEB_COMMON", "tests/zeb/platform/test_msg"); };
    const std::string condition = corvane_test::internal_error_of(fail, "tests/zeb/platform/test_msg");
    EXPECT_EQ(condition, "value == 4");
    try
    {
        fail();
    }
    catch (const MSG_INTERNAL_ERROR& error)
    {
        EXPECT_EQ(error.line(), line);
    }
    ASSERT_EQ(capture.debug_lines().size(), 2u);
    EXPECT_NE(capture.debug_lines()[0].find("test_msg:" + std::to_string(line)), std::string::npos);
    EXPECT_NE(capture.debug_lines()[0].find("value == 4"), std::string::npos);
    EXPECT_NO_THROW(MSG_ASSERT_AT(value == 3, "ZEB_COMMON", "here"));
}

TEST(MsgDebug, LevelGatesTheDefaultSink)
{
    COUNTING_SINK sink;
    MSG_SINK* previous = msg_set_sink(&sink);
    msg_set_debug_level(0);
    msg_local_vdebug("ZEB_COMMON", 1, "off %d", 1);
    EXPECT_TRUE(sink.lines.empty());

    msg_set_debug_level(2);
    msg_local_vdebug("ZEB_COMMON", 1, "level %d", 1);
    msg_local_vdebug("ZEB_COMMON", 2, "level %d", 2);
    msg_local_vdebug("ZEB_COMMON", 3, "level %d", 3);
    EXPECT_EQ(sink.lines, (std::vector<std::string>{"level 1", "level 2"}));

    msg_set_debug_level(0);
    msg_set_sink(previous);
}

// The environment is read once per process, so each case runs in a fresh child process.
TEST(MsgDebugDeathTest, LevelComesFromTheEnvironment)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto level_for = [](const char* text)
    {
        setenv("CORVANE_DEBUG", text, 1);
        std::exit(msg_debug_level());
    };
    EXPECT_EXIT(level_for("3"), testing::ExitedWithCode(3), "");
    EXPECT_EXIT(level_for("2x"), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(level_for("-4"), testing::ExitedWithCode(0), "");
    // An explicit level wins over the environment.
    EXPECT_EXIT(
        {
            setenv("CORVANE_DEBUG", "5", 1);
            msg_set_debug_level(1);
            std::exit(msg_debug_level());
        },
        testing::ExitedWithCode(1), "");
}
