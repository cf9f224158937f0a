// SPDX-License-Identifier: Apache-2.0
// Message library: user-visible messages by identifier, internal errors, and the local debug log.
//
// A message is a record of the table its module registers (number, identifier, kind, format
// text). Posting one formats its numbered arguments ("%1!s!", "%2!s!", ...) and hands the result
// to the current sink. The default sink prints "Error (N): text", "Warning (N): text" and
// "Info (N): text" lines; tests install a MSG_CAPTURE_SINK instead.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

enum MSG_KIND : uint32_t
{
    MSG_KIND_ERROR = 0,
    MSG_KIND_WARNING = 1,
    MSG_KIND_INFO = 2,
};

// One row of a module's message table.
struct MSG_RECORD
{
    int number;
    const char* identifier; // e.g. "EZEB_FILE_IO_ERROR"; its first letter matches the kind
    MSG_KIND kind;
    const char* text; // format text with numbered arguments "%1!s!", "%2!s!", ...
};

// A message as it was posted: the record's fields with the arguments filled in.
struct MSG_POSTED
{
    int number = 0;
    std::string identifier;
    MSG_KIND kind = MSG_KIND_ERROR;
    std::string text;
};

// Receives every posted message and, when it asks for them, the debug log lines.
class MSG_SINK
{
public:
    virtual ~MSG_SINK() = default;
    virtual void post(const MSG_POSTED& message) = 0;
    // Whether debug lines of this level should be formatted and handed to debug(). The default
    // follows the level set by CORVANE_DEBUG (see msg_debug_level).
    virtual bool wants_debug(int level) const;
    virtual void debug(std::string_view module, int level, std::string_view line);
};

// The sink that prints messages: information on stdout, warnings and errors on stderr;
// debug lines on stderr prefixed with the module tag.
class MSG_STREAM_SINK : public MSG_SINK
{
public:
    void post(const MSG_POSTED& message) override;
    void debug(std::string_view module, int level, std::string_view line) override;
};

// Installs itself as the current sink for its lifetime and records every message and every debug
// line (debug lines of all levels, whatever CORVANE_DEBUG says). Restores the previous sink.
class MSG_CAPTURE_SINK : public MSG_SINK
{
public:
    MSG_CAPTURE_SINK();
    ~MSG_CAPTURE_SINK() override;
    MSG_CAPTURE_SINK(const MSG_CAPTURE_SINK&) = delete;
    MSG_CAPTURE_SINK& operator=(const MSG_CAPTURE_SINK&) = delete;

    void post(const MSG_POSTED& message) override;
    bool wants_debug(int level) const override;
    void debug(std::string_view module, int level, std::string_view line) override;

    const std::vector<MSG_POSTED>& messages() const { return m_messages; }
    const std::vector<std::string>& debug_lines() const { return m_debug_lines; }
    // Number of posted messages with this identifier.
    size_t count(std::string_view identifier) const;
    void clear();

private:
    MSG_SINK* m_previous;
    std::vector<MSG_POSTED> m_messages;
    std::vector<std::string> m_debug_lines;
};

// Installs a sink (nullptr restores the default stream sink); returns the previous one.
MSG_SINK* msg_set_sink(MSG_SINK* sink);
MSG_SINK* msg_get_sink();

// Registers a module's message table. Registering the same table twice is harmless; a number
// registered by a different row is an internal error.
void msg_register_table(const MSG_RECORD* records, size_t count);

// The registered record with this number, or nullptr.
const MSG_RECORD* msg_find(int number);

// Longest user text (a path, a value) that a message repeats, and longest message line, in bytes.
constexpr size_t MSG_ECHO_LIMIT = 256;
constexpr size_t MSG_LINE_LIMIT = 1024;

// `text` when it fits in `limit` bytes; otherwise its start and end around "...", cut on UTF-8
// character boundaries, so that a path keeps its root and its file name.
std::string msg_shorten(std::string_view text, size_t limit = MSG_ECHO_LIMIT);

// Replaces "%N!s!" in a format text by args[N-1], each shortened by msg_shorten; a placeholder
// without an argument is left as is.
std::string msg_format(std::string_view format, const std::vector<std::string>& args);

// Posts the registered message `number` with its arguments to the current sink.
// An unregistered number is an internal error.
void msg_post(int number, const std::vector<std::string>& args = {});

// ---- Internal errors ---------------------------------------------------------------------------

// A broken precondition of library code. what() is the condition text; the module tag, source
// file and line say where it was detected.
class MSG_INTERNAL_ERROR : public std::logic_error
{
public:
    MSG_INTERNAL_ERROR(std::string condition, std::string module, std::string source, int line);
    const std::string& condition() const { return m_condition; }
    const std::string& module() const { return m_module; }
    const std::string& source() const { return m_source; }
    int line() const { return m_line; }

private:
    std::string m_condition;
    std::string m_module;
    std::string m_source;
    int m_line;
};

// Reports an internal error: writes it to the debug log and throws MSG_INTERNAL_ERROR.
[[noreturn]] void msg_internal_error(const char* condition, const char* module, const char* source, int line);

// Throws MSG_INTERNAL_ERROR with the condition's own text when `condition` is false.
#define MSG_ASSERT_AT(condition, module, source)                                                                       \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!(condition))                                                                                              \
            msg_internal_error(#condition, module, source, __LINE__);                                                  \
    } while (0)

// Throws MSG_INTERNAL_ERROR with an explicit condition text.
#define MSG_INTERNAL_ERROR_AT(text, module, source) msg_internal_error(text, module, source, __LINE__)

// ---- printf-style texts ------------------------------------------------------------------------

// The text that printf would print, of any length (message texts with "%d", "%08x", ...).
std::string msg_printf(const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 1, 2)))
#endif
    ;
std::string msg_vprintf(const char* format, va_list args);

// ---- Local debug log ---------------------------------------------------------------------------

// The debug level from CORVANE_DEBUG (an integer; unset or not a number means 0, off).
int msg_debug_level();
// Overrides the level read from the environment (tools use it for --debug).
void msg_set_debug_level(int level);

// printf-style debug line of `module` at `level`; delivered when the sink wants that level.
void msg_local_vdebug(const char* module, int level, const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 3, 4)))
#endif
    ;
