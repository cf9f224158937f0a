// SPDX-License-Identifier: Apache-2.0
// Checks on the files a run reads and replaces, made from what the file system says before any
// byte is read or written.
#include "pgm/zeb/platform/fio/fio.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

std::string quoted(const std::string& path)
{
    return "'" + path + "'";
}

// What a file that is not regular is, for a message.
const char* kind_of(mode_t mode)
{
    if (S_ISDIR(mode))
        return "a directory, not a file";
    if (S_ISFIFO(mode))
        return "a pipe, not a regular file";
    if (S_ISCHR(mode) || S_ISBLK(mode))
        return "a device, not a regular file";
    if (S_ISSOCK(mode))
        return "a socket, not a regular file";
    return "not a regular file";
}

std::string too_large(const std::string& path, uint64_t limit)
{
    return quoted(path) + " is larger than the largest file accepted (" + std::to_string(limit) + " bytes)";
}

} // namespace

FIO_INPUT_FILE::~FIO_INPUT_FILE()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

bool FIO_INPUT_FILE::open(const std::string& path, std::string& error, uint64_t max_size)
{
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
    m_path = path;
    // Non-blocking, so that opening a FIFO without a writer returns at once; the type is then
    // known from the open descriptor, with no window for the path to change in between.
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0)
    {
        const int code = errno;
        struct stat info = {};
        if (::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode))
            error = quoted(path) + " is " + kind_of(info.st_mode);
        else
            error = "cannot open " + quoted(path) + ": " + std::strerror(code);
        return false;
    }
    struct stat info = {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode))
    {
        error = quoted(path) + " is " + kind_of(info.st_mode);
        ::close(fd);
        return false;
    }
    m_limit = std::min(max_size, fio_get_max_input_size(FIO_PATH(path).get_extension_type()));
    if (uint64_t(info.st_size) > m_limit)
    {
        error = too_large(path, m_limit);
        ::close(fd);
        return false;
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    m_fd = fd;
    m_size = uint64_t(info.st_size);
    return true;
}

bool FIO_INPUT_FILE::read_at(uint64_t offset, size_t count, uint8_t* out, std::string& error) const
{
    size_t done = 0;
    while (done < count)
    {
        const ssize_t got = ::pread(m_fd, out + done, std::min<size_t>(count - done, size_t(1) << 24),
                                    off_t(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
        {
            error = got < 0 ? "cannot read " + quoted(m_path) + ": " + std::strerror(errno)
                            : quoted(m_path) + " ended early (it changed while being read)";
            return false;
        }
        done += size_t(got);
    }
    return true;
}

bool FIO_INPUT_FILE::read_all(std::vector<uint8_t>& bytes, std::string& error) const
{
    bytes.clear();
    if (m_fd < 0)
    {
        error = "cannot read " + quoted(m_path) + ": not open";
        return false;
    }
    // The size is a hint only: the file may grow or shrink while it is read. The buffer holds the
    // size found at opening and one byte, which tells whether the file grew (only then does it
    // grow); it never passes the limit, and one byte beyond the limit tells a file too large.
    bytes.reserve(size_t(m_size) + 1);
    constexpr uint64_t k_piece = uint64_t(1) << 20;
    for (;;)
    {
        const size_t old_size = bytes.size();
        const uint64_t room = old_size < m_size ? m_size - old_size : (old_size == m_size ? 1 : k_piece);
        const size_t want = size_t(std::min({k_piece, room, m_limit + 1 - old_size}));
        bytes.resize(old_size + want);
        const ssize_t got = ::pread(m_fd, bytes.data() + old_size, want, off_t(old_size));
        if (got < 0 && errno == EINTR)
        {
            bytes.resize(old_size);
            continue;
        }
        if (got < 0)
        {
            error = "cannot read " + quoted(m_path) + ": " + std::strerror(errno);
            bytes.clear();
            return false;
        }
        bytes.resize(old_size + size_t(got));
        if (bytes.size() > m_limit)
        {
            error = too_large(m_path, m_limit);
            bytes.clear();
            return false;
        }
        if (got == 0)
            return true;
    }
}

bool fio_get_file_identity(const std::string& path, FIO_FILE_IDENTITY& identity)
{
    identity = {};
    struct stat info = {};
    if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode))
        return false;
    identity.device = uint64_t(info.st_dev);
    identity.inode = uint64_t(info.st_ino);
    identity.size = uint64_t(info.st_size);
    identity.mtime_ns = int64_t(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec;
    return true;
}

bool fio_check_output_file(const std::string& path, std::string& error)
{
    if (path.empty())
    {
        error = "no output file name given";
        return false;
    }
    struct stat info = {};
    if (::lstat(path.c_str(), &info) != 0 || S_ISREG(info.st_mode) || S_ISLNK(info.st_mode))
        return true;
    error = "cannot write " + quoted(path) + ": it is " + kind_of(info.st_mode);
    return false;
}
