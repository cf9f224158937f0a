// SPDX-License-Identifier: Apache-2.0
// How a run reports: --quiet (errors only), --verbose (the debug log), and the closing count of
// errors and warnings when the work failed.
#include "cli.h"

#include "pgm/zeb/platform/msg/msg.h"

#include <algorithm>
#include <iostream>
#include <streambuf>

namespace
{

// Prints as the standard sink does, drops all but errors when quiet, and counts.
class COUNTING_SINK : public MSG_STREAM_SINK
{
public:
    void post(const MSG_POSTED& message) override
    {
        if (message.kind == MSG_KIND_ERROR)
            ++errors;
        else if (message.kind == MSG_KIND_WARNING)
            ++warnings;
        if (!quiet || message.kind == MSG_KIND_ERROR)
            MSG_STREAM_SINK::post(message);
    }
    bool quiet = false;
    size_t errors = 0;
    size_t warnings = 0;
};

// A stream buffer that discards everything (standard output under --quiet).
class NULL_BUFFER : public std::streambuf
{
protected:
    int overflow(int c) override { return traits_type::not_eof(c); }
};

COUNTING_SINK g_sink;
NULL_BUFFER g_null;
std::streambuf* g_standard_output = nullptr; // standard output's own buffer while quiet

} // namespace

void cli_take_reporting_flags(CLI_ARGS& args)
{
    auto take = [&](const char* flag)
    {
        const auto kept = std::remove(args.begin(), args.end(), flag);
        const bool found = kept != args.end();
        args.erase(kept, args.end());
        return found;
    };
    g_sink.quiet = take("--quiet");
    if (take("--verbose"))
        msg_set_debug_level(2);
    if (g_sink.quiet)
        g_standard_output = std::cout.rdbuf(&g_null);
    msg_set_sink(&g_sink);
}

int cli_finish_reporting(int status)
{
    if (status != CLI_OK && (g_sink.errors || g_sink.warnings))
        std::cerr << g_sink.errors << (g_sink.errors == 1 ? " error, " : " errors, ") << g_sink.warnings
                  << (g_sink.warnings == 1 ? " warning\n" : " warnings\n");
    msg_set_sink(nullptr);
    // Standard output gets its buffer back before the static objects go, the null buffer among them.
    if (g_standard_output)
        std::cout.rdbuf(g_standard_output);
    return status;
}
