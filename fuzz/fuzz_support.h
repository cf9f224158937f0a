// SPDX-License-Identifier: Apache-2.0
// Shared by the fuzz targets: a sink that drops messages, and inputs as files in a private
// temporary directory (on tmpfs when the machine has one), removed when the process ends.
#pragma once

#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/pgmio/pgmio_container.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>
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

// Makes every CRC-32 of a container (each section's, nested containers first, and the file's) or
// of a key file (its last four bytes, when it starts as ours do) match, so that mutations reach
// the checks behind them.
inline void fuzz_fix_crcs(std::span<uint8_t> bytes)
{
    auto put = [](uint8_t* at, uint32_t value)
    {
        for (int i = 0; i < 4; ++i)
            at[i] = uint8_t(value >> (8 * i));
    };
    PGMIO_CONTAINER_VIEW view;
    std::string error;
    if (pgmio_parse_container(bytes, view, error, false))
        for (size_t i = 0; i < view.sections.size(); ++i)
        {
            const std::span<uint8_t> data = bytes.subspan(view.sections[i].offset, view.sections[i].data.size());
            fuzz_fix_crcs(data);
            put(&bytes[PGMIO_CONTAINER_HEADER_SIZE + PGMIO_CONTAINER_ENTRY_SIZE * i + 4], pgmio_crc32(data));
        }
    if (bytes.size() >= 12 && bytes[0] == 'C' && bytes[1] == 'V' && bytes[2] == 'N')
        put(&bytes[bytes.size() - 4], pgmio_crc32(bytes.first(bytes.size() - 4)));
}

// The input after its first byte, with its CRCs made to match unless the first byte's top bit is set.
inline std::vector<uint8_t> fuzz_body(const uint8_t* data, size_t size)
{
    std::vector<uint8_t> body(data + 1, data + size);
    if (!(data[0] & 0x80))
        fuzz_fix_crcs(body);
    return body;
}
