// SPDX-License-Identifier: Apache-2.0
// Shared by the fuzz targets: a sink that drops messages, and inputs as files in a private
// temporary directory (on tmpfs when the machine has one), removed when the process ends.
#pragma once

#include "pgm/zeb/platform/msg/msg.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <unistd.h>

struct FUZZ_QUIET_SINK : MSG_SINK
{
    void post(const MSG_POSTED&) override {}
    bool wants_debug(int) const override { return false; }
};

inline const std::string& fuzz_dir()
{
    static const std::string dir = []
    {
        static FUZZ_QUIET_SINK sink;
        msg_set_sink(&sink);
        std::string name = std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") + "/corvane-fuzz-XXXXXX";
        if (!mkdtemp(name.data()))
            abort();
        static const std::string removed = name;
        atexit([] { std::filesystem::remove_all(removed); });
        return name;
    }();
    return dir;
}

// Writes the bytes to `name` in the private directory and returns its path.
inline std::string fuzz_file(const std::string& name, std::string_view bytes)
{
    const std::string path = fuzz_dir() + "/" + name;
    std::ofstream(path, std::ios::binary | std::ios::trunc).write(bytes.data(), std::streamsize(bytes.size()));
    return path;
}

inline std::string_view fuzz_text(const uint8_t* data, size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}
