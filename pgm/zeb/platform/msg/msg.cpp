// SPDX-License-Identifier: Apache-2.0
// Message registry, sinks, internal errors and the local debug log.
#include "pgm/zeb/platform/msg/msg.h"

#include <atomic>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <mutex>
#include <utility>

namespace
{

// Registered records by number. The records themselves live in the modules' static tables.
struct REGISTRY
{
    std::mutex mutex;
    std::map<int, const MSG_RECORD*> records;
};

REGISTRY& registry()
{
    static REGISTRY instance;
    return instance;
}

// The installed sink; nullptr stands for the default stream sink.
std::atomic<MSG_SINK*> g_sink{nullptr};

MSG_SINK* default_sink()
{
    static MSG_STREAM_SINK sink;
    return &sink;
}

// Serialises the stream sink's lines so that lines of concurrent threads do not interleave.
std::mutex& output_mutex()
{
    static std::mutex mutex;
    return mutex;
}

void write_debug_line(std::string_view module, std::string_view line)
{
    std::lock_guard<std::mutex> lock(output_mutex());
    std::cerr << '[' << module << "] " << line << '\n';
}

// -1 until the level has been read from the environment or set explicitly.
std::atomic<int> g_debug_level{-1};

int read_debug_level_from_environment()
{
    const char* text = std::getenv("CORVANE_DEBUG");
    if (text == nullptr)
        return 0;
    std::string_view value(text);
    while (!value.empty() && (value.front() == ' ' || value.front() == '\t'))
        value.remove_prefix(1);
    while (!value.empty() && (value.back() == ' ' || value.back() == '\t'))
        value.remove_suffix(1);
    int level = 0;
    auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), level);
    if (value.empty() || error != std::errc() || end != value.data() + value.size() || level < 0)
        return 0;
    return level;
}

bool same_record(const MSG_RECORD& a, const MSG_RECORD& b)
{
    return a.number == b.number && a.kind == b.kind && std::strcmp(a.identifier, b.identifier) == 0 &&
           std::strcmp(a.text, b.text) == 0;
}

} // namespace

// ---- Sinks -------------------------------------------------------------------------------------

bool MSG_SINK::wants_debug(int level) const
{
    const int enabled = msg_debug_level();
    return enabled > 0 && level <= enabled;
}

void MSG_SINK::debug(std::string_view module, int /*level*/, std::string_view line)
{
    write_debug_line(module, line);
}

void MSG_STREAM_SINK::post(const MSG_POSTED& message)
{
    std::lock_guard<std::mutex> lock(output_mutex());
    switch (message.kind)
    {
    case MSG_KIND_ERROR:
        std::cerr << "Error (" << message.number << "): " << msg_shorten(message.text, MSG_LINE_LIMIT) << '\n';
        break;
    case MSG_KIND_WARNING:
        std::cerr << "Warning (" << message.number << "): " << msg_shorten(message.text, MSG_LINE_LIMIT) << '\n';
        break;
    case MSG_KIND_INFO:
        std::cout << "Info (" << message.number << "): " << msg_shorten(message.text, MSG_LINE_LIMIT) << '\n';
        break;
    }
}

void MSG_STREAM_SINK::debug(std::string_view module, int /*level*/, std::string_view line)
{
    write_debug_line(module, line);
}

MSG_CAPTURE_SINK::MSG_CAPTURE_SINK() : m_previous(msg_set_sink(this)) {}

MSG_CAPTURE_SINK::~MSG_CAPTURE_SINK()
{
    msg_set_sink(m_previous);
}

void MSG_CAPTURE_SINK::post(const MSG_POSTED& message)
{
    m_messages.push_back(message);
}

bool MSG_CAPTURE_SINK::wants_debug(int /*level*/) const
{
    return true;
}

void MSG_CAPTURE_SINK::debug(std::string_view /*module*/, int /*level*/, std::string_view line)
{
    m_debug_lines.emplace_back(line);
}

size_t MSG_CAPTURE_SINK::count(std::string_view identifier) const
{
    size_t n = 0;
    for (const MSG_POSTED& message : m_messages)
        if (message.identifier == identifier)
            ++n;
    return n;
}

void MSG_CAPTURE_SINK::clear()
{
    m_messages.clear();
    m_debug_lines.clear();
}

MSG_SINK* msg_set_sink(MSG_SINK* sink)
{
    MSG_SINK* previous = g_sink.exchange(sink == default_sink() ? nullptr : sink);
    return previous != nullptr ? previous : default_sink();
}

MSG_SINK* msg_get_sink()
{
    MSG_SINK* sink = g_sink.load();
    return sink != nullptr ? sink : default_sink();
}

// ---- Registry and posting ----------------------------------------------------------------------

void msg_register_table(const MSG_RECORD* records, size_t count)
{
    MSG_ASSERT_AT(records != nullptr || count == 0, "MSG", "pgm/zeb/platform/msg/msg");
    std::string conflict;
    {
        REGISTRY& reg = registry();
        std::lock_guard<std::mutex> lock(reg.mutex);
        // Check the whole table first so that a conflicting table registers nothing.
        for (size_t i = 0; i < count && conflict.empty(); ++i)
        {
            auto found = reg.records.find(records[i].number);
            if (found != reg.records.end() && found->second != &records[i] && !same_record(*found->second, records[i]))
                conflict = "message number " + std::to_string(records[i].number) + " registered as both " +
                           found->second->identifier + " and " + records[i].identifier;
        }
        if (conflict.empty())
            for (size_t i = 0; i < count; ++i)
                reg.records.emplace(records[i].number, &records[i]);
    }
    // Raised outside the lock: the internal error writes to the debug log.
    if (!conflict.empty())
        msg_internal_error(conflict.c_str(), "MSG", "pgm/zeb/platform/msg/msg", __LINE__);
}

const MSG_RECORD* msg_find(int number)
{
    REGISTRY& reg = registry();
    std::lock_guard<std::mutex> lock(reg.mutex);
    auto found = reg.records.find(number);
    return found != reg.records.end() ? found->second : nullptr;
}

std::string msg_shorten(std::string_view text, size_t limit)
{
    constexpr std::string_view ellipsis = "...";
    if (text.size() <= limit)
        return std::string(text);
    MSG_ASSERT_AT(limit > ellipsis.size(), "MSG", "pgm/zeb/platform/msg/msg");
    const auto continuation = [&](size_t at)
    { return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80; };
    size_t head = (limit - ellipsis.size()) / 2;
    size_t tail = text.size() - (limit - ellipsis.size() - head);
    while (head > 0 && continuation(head))
        --head;
    while (continuation(tail))
        ++tail;
    std::string out(text.substr(0, head));
    out += ellipsis;
    out += text.substr(tail);
    return out;
}

std::string msg_format(std::string_view format, const std::vector<std::string>& args)
{
    std::string result;
    result.reserve(format.size());
    size_t pos = 0;
    while (pos < format.size())
    {
        const size_t percent = format.find('%', pos);
        if (percent == std::string_view::npos)
        {
            result.append(format.substr(pos));
            break;
        }
        result.append(format.substr(pos, percent - pos));
        // A placeholder is '%', a decimal number and "!s!"; anything else is copied as it stands.
        size_t digits_end = percent + 1;
        while (digits_end < format.size() && format[digits_end] >= '0' && format[digits_end] <= '9')
            ++digits_end;
        size_t index = 0;
        bool placeholder = digits_end > percent + 1 && format.substr(digits_end, 3) == "!s!";
        if (placeholder)
        {
            auto [end, error] = std::from_chars(format.data() + percent + 1, format.data() + digits_end, index);
            placeholder = error == std::errc() && index >= 1 && index <= args.size();
        }
        if (placeholder)
        {
            result.append(msg_shorten(args[index - 1]));
            pos = digits_end + 3;
        }
        else
        {
            result.push_back('%');
            pos = percent + 1;
        }
    }
    return result;
}

void msg_post(int number, const std::vector<std::string>& args)
{
    const MSG_RECORD* record = msg_find(number);
    if (record == nullptr)
    {
        const std::string condition = "message number " + std::to_string(number) + " is registered";
        msg_internal_error(condition.c_str(), "MSG", "pgm/zeb/platform/msg/msg", __LINE__);
    }
    MSG_POSTED posted;
    posted.number = record->number;
    posted.identifier = record->identifier;
    posted.kind = record->kind;
    posted.text = msg_format(record->text, args);
    msg_get_sink()->post(posted);
}

// ---- Internal errors ---------------------------------------------------------------------------

MSG_INTERNAL_ERROR::MSG_INTERNAL_ERROR(std::string condition, std::string module, std::string source, int line)
    : std::logic_error(condition), m_condition(std::move(condition)), m_module(std::move(module)),
      m_source(std::move(source)), m_line(line)
{
}

void msg_internal_error(const char* condition, const char* module, const char* source, int line)
{
    const char* safe_condition = condition != nullptr ? condition : "";
    const char* safe_module = module != nullptr ? module : "";
    const char* safe_source = source != nullptr ? source : "";
    msg_local_vdebug(safe_module, 1, "Internal error at %s:%d: %s", safe_source, line, safe_condition);
    throw MSG_INTERNAL_ERROR(safe_condition, safe_module, safe_source, line);
}

// ---- Local debug log ---------------------------------------------------------------------------

int msg_debug_level()
{
    int level = g_debug_level.load();
    if (level >= 0)
        return level;
    int expected = -1;
    // If a concurrent msg_set_debug_level won the race, its value stands.
    g_debug_level.compare_exchange_strong(expected, read_debug_level_from_environment());
    return g_debug_level.load();
}

void msg_set_debug_level(int level)
{
    g_debug_level.store(level < 0 ? 0 : level);
}

std::string msg_vprintf(const char* format, va_list args)
{
    if (format == nullptr)
        return {};
    va_list measure;
    va_copy(measure, args);
    char small[256];
    const int length = std::vsnprintf(small, sizeof small, format, measure);
    va_end(measure);
    if (length < 0)
        return format; // an encoding error: keep the raw format rather than lose the text
    if (static_cast<size_t>(length) < sizeof small)
        return std::string(small, static_cast<size_t>(length));
    std::string text(static_cast<size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, args);
    text.resize(static_cast<size_t>(length));
    return text;
}

std::string msg_printf(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    std::string text = msg_vprintf(format, args);
    va_end(args);
    return text;
}

void msg_local_vdebug(const char* module, int level, const char* format, ...)
{
    MSG_SINK* sink = msg_get_sink();
    if (format == nullptr || !sink->wants_debug(level))
        return;
    va_list args;
    va_start(args, format);
    const std::string line = msg_vprintf(format, args);
    va_end(args);
    sink->debug(module != nullptr ? module : "", level, line);
}
