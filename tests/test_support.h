// SPDX-License-Identifier: Apache-2.0
// Helpers shared by the test programs: scratch directories and whole-file reads and writes.
#pragma once

#include "pgm/zeb/platform/msg/msg.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>

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

// A scratch directory that is the working directory for its lifetime, for code that resolves
// relative paths or reads files from the working directory.
class SCRATCH_CWD
{
public:
    SCRATCH_CWD() : m_previous(std::filesystem::current_path()) { std::filesystem::current_path(m_dir.path()); }
    ~SCRATCH_CWD()
    {
        std::error_code ignored;
        std::filesystem::current_path(m_previous, ignored);
        // A test may have taken permissions away; give them back so that the folder can go.
        std::filesystem::permissions(m_dir.path(), std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
    }
    SCRATCH_CWD(const SCRATCH_CWD&) = delete;
    SCRATCH_CWD& operator=(const SCRATCH_CWD&) = delete;

    const std::filesystem::path& path() const { return m_dir.path(); }

private:
    std::filesystem::path m_previous;
    SCRATCH_DIR m_dir;
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

// What a program run printed and how it ended.
struct PROGRAM_RUN
{
    int status = -1; // exit status; -1 when the program did not exit normally
    std::string out;
    std::string err;
    std::string output() const { return out + err; }
};

// Runs `program` with `arguments` (a shell word list) and collects its output.
inline PROGRAM_RUN run_program(const std::string& program, const std::string& arguments)
{
    SCRATCH_DIR dir;
    const std::string command =
        "'" + program + "' " + arguments + " >'" + dir.file("out") + "' 2>'" + dir.file("err") + "'";
    const int status = std::system(command.c_str());
    PROGRAM_RUN run;
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.out = read_file(dir.file("out"));
    run.err = read_file(dir.file("err"));
    return run;
}

#ifdef CORVANE_EXE
// Runs the corvane executable of this build.
inline PROGRAM_RUN corvane(const std::string& arguments)
{
    return run_program(CORVANE_EXE, arguments);
}
#endif

// The condition text of the internal error that `call` raises, after checking that it carries the
// module tag "ZEB_COMMON" and `source`; "" and a test failure when `call` returns normally.
template <class CALL> std::string internal_error_of(CALL call, const std::string& source)
{
    try
    {
        call();
    }
    catch (const MSG_INTERNAL_ERROR& error)
    {
        EXPECT_EQ(error.module(), "ZEB_COMMON");
        EXPECT_EQ(error.source(), source);
        return error.what();
    }
    ADD_FAILURE() << "no internal error";
    return "";
}

} // namespace corvane_test
