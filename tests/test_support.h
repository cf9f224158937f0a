// SPDX-License-Identifier: Apache-2.0
// Helpers shared by the test programs: scratch directories and whole-file reads and writes.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace corvane_test
{

// A fresh directory under the system's temporary directory, removed with everything in it.
class SCRATCH_DIR
{
public:
    SCRATCH_DIR()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "corvane-test-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("cannot create a scratch directory");
        m_path = pattern;
    }
    ~SCRATCH_DIR()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    SCRATCH_DIR(const SCRATCH_DIR&) = delete;
    SCRATCH_DIR& operator=(const SCRATCH_DIR&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    std::string file(const std::string& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

inline void write_file(const std::string& path, const std::string& content)
{
    std::ofstream out(path, std::ios::binary);
    out << content;
    ASSERT_TRUE(out.good()) << path;
}

inline std::string read_file(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

// A file of the source tree, e.g. source_file("examples/full.zeb").
inline std::string source_file(const std::string& relative)
{
    return std::string(CORVANE_TEST_SOURCE_DIR) + "/" + relative;
}

} // namespace corvane_test
