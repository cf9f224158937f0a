// SPDX-License-Identifier: Apache-2.0
// Text file streams that are written atomically and read transparently, with optional gzip.
#include "pgm/zeb/platform/fio/fio.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <ios>
#include <istream>
#include <ostream>
#include <random>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace
{

constexpr size_t BUFFER_SIZE = 64 * 1024;

std::string system_error_text(const std::string& what, const std::string& path, int error)
{
    return what + " '" + path + "': " + std::strerror(error);
}

// Stream buffer over a file descriptor, writing either the bytes as they are or a gzip stream.
// The descriptor stays owned by the caller; the gzip layer works on its own duplicate so that
// the caller can still sync and close the original.
class OUTPUT_BUFFER : public std::streambuf
{
public:
    OUTPUT_BUFFER(int fd, bool compress) : m_fd(fd)
    {
        if (compress)
        {
            const int duplicate = ::dup(fd);
            m_gz = duplicate >= 0 ? gzdopen(duplicate, "wb") : nullptr;
            if (m_gz == nullptr)
            {
                if (duplicate >= 0)
                    ::close(duplicate);
                m_error = "cannot start gzip compression";
            }
        }
        setp(m_buffer.data(), m_buffer.data() + m_buffer.size());
    }

    ~OUTPUT_BUFFER() override
    {
        if (m_gz != nullptr)
            gzclose(m_gz);
    }

    OUTPUT_BUFFER(const OUTPUT_BUFFER&) = delete;
    OUTPUT_BUFFER& operator=(const OUTPUT_BUFFER&) = delete;

    // Writes out what is buffered and ends the gzip stream. False when any write failed.
    bool finish()
    {
        bool ok = drain();
        if (m_gz != nullptr)
        {
            const int result = gzclose(m_gz);
            m_gz = nullptr;
            if (result != Z_OK && m_error.empty())
                m_error = "gzip stream could not be completed";
            ok = ok && result == Z_OK;
        }
        return ok && m_error.empty();
    }

    const std::string& error() const { return m_error; }

    // Writes `size` bytes at `offset` of the file, after what is buffered (uncompressed only).
    bool write_at(uint64_t offset, const char* data, size_t size)
    {
        if (m_gz != nullptr)
            m_error = "a compressed stream cannot be rewritten";
        if (!drain())
            return false;
        while (size > 0)
        {
            const ssize_t written = ::pwrite(m_fd, data, size, off_t(offset));
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
            {
                m_error = written < 0 ? std::strerror(errno) : "nothing written";
                return false;
            }
            data += written, offset += uint64_t(written), size -= size_t(written);
        }
        return true;
    }

protected:
    int_type overflow(int_type ch) override
    {
        if (!drain())
            return traits_type::eof();
        if (!traits_type::eq_int_type(ch, traits_type::eof()))
        {
            *pptr() = traits_type::to_char_type(ch);
            pbump(1);
        }
        return traits_type::not_eof(ch);
    }

    int sync() override { return drain() ? 0 : -1; }

    // Pieces as large as the buffer go to the file directly instead of through it.
    std::streamsize xsputn(const char* data, std::streamsize count) override
    {
        if (m_gz != nullptr || static_cast<size_t>(count) < m_buffer.size())
            return std::streambuf::xsputn(data, count);
        return drain() && write_out(data, static_cast<size_t>(count)) ? count : 0;
    }

private:
    bool drain()
    {
        if (!m_error.empty())
            return false;
        const char* data = pbase();
        size_t size = static_cast<size_t>(pptr() - pbase());
        setp(m_buffer.data(), m_buffer.data() + m_buffer.size());
        if (m_gz != nullptr)
        {
            if (size > 0 && gzwrite(m_gz, data, static_cast<unsigned>(size)) != static_cast<int>(size))
            {
                int code = 0;
                const char* text = gzerror(m_gz, &code);
                m_error = code == Z_ERRNO ? std::strerror(errno) : (text != nullptr ? text : "gzip write error");
                return false;
            }
            return true;
        }
        return write_out(data, size);
    }

    bool write_out(const char* data, size_t size)
    {
        while (size > 0)
        {
            const ssize_t written = ::write(m_fd, data, size);
            if (written < 0)
            {
                if (errno == EINTR)
                    continue;
                m_error = std::strerror(errno);
                return false;
            }
            data += written;
            size -= static_cast<size_t>(written);
        }
        return true;
    }

    int m_fd;
    gzFile m_gz = nullptr;
    std::array<char, BUFFER_SIZE> m_buffer{};
    std::string m_error;
};

// Stream buffer reading a gzip file through zlib.
class GZIP_INPUT_BUFFER : public std::streambuf
{
public:
    explicit GZIP_INPUT_BUFFER(gzFile gz) : m_gz(gz) { setg(m_buffer.data(), m_buffer.data(), m_buffer.data()); }
    ~GZIP_INPUT_BUFFER() override { gzclose(m_gz); }
    GZIP_INPUT_BUFFER(const GZIP_INPUT_BUFFER&) = delete;
    GZIP_INPUT_BUFFER& operator=(const GZIP_INPUT_BUFFER&) = delete;

protected:
    // A damaged or truncated stream throws, which the istream turns into badbit: the reader must
    // not mistake a cut-off file for a complete one.
    int_type underflow() override
    {
        if (gptr() < egptr())
            return traits_type::to_int_type(*gptr());
        const int count = gzread(m_gz, m_buffer.data(), static_cast<unsigned>(m_buffer.size()));
        int code = Z_OK;
        const char* text = gzerror(m_gz, &code);
        if (count < 0 || (count == 0 && code != Z_OK && code != Z_STREAM_END))
            throw std::ios_base::failure(std::string("gzip read error: ") + (text != nullptr ? text : "unknown"));
        if (count == 0)
            return traits_type::eof();
        setg(m_buffer.data(), m_buffer.data(), m_buffer.data() + count);
        return traits_type::to_int_type(*gptr());
    }

private:
    gzFile m_gz;
    std::array<char, BUFFER_SIZE> m_buffer{};
};

// Creates a new, exclusive temporary file beside `target`. Unlike mkstemp the file gets the usual
// creation mode (0666 less the umask), so the renamed result has the permissions of any new file.
int create_temporary(const std::string& target, std::string& temporary)
{
    static constexpr char LETTERS[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    std::random_device seed;
    std::mt19937_64 generator(seed());
    std::uniform_int_distribution<size_t> pick(0, sizeof LETTERS - 2);
    for (int attempt = 0; attempt < 100; ++attempt)
    {
        temporary = target + ".tmp";
        for (int i = 0; i < 6; ++i)
            temporary.push_back(LETTERS[pick(generator)]);
        const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST)
            return fd;
    }
    errno = EEXIST;
    return -1;
}

} // namespace

// ---- HTL_ZOFSTREAM -----------------------------------------------------------------------------

struct HTL_ZOFSTREAM::IMPL
{
    std::string target;
    std::string temporary;
    int fd = -1;
    std::unique_ptr<OUTPUT_BUFFER> buffer;
    std::ostream stream{nullptr};
    bool committed = false;

    // Closes the descriptor and removes the temporary file, unless it became the target.
    void discard()
    {
        stream.rdbuf(nullptr);
        buffer.reset();
        if (fd >= 0)
            ::close(fd);
        fd = -1;
        if (!temporary.empty())
            ::unlink(temporary.c_str());
        temporary.clear();
    }
};

HTL_ZOFSTREAM::HTL_ZOFSTREAM(const std::string& path, bool compress, bool private_file)
    : m_impl(std::make_unique<IMPL>())
{
    m_impl->target = path;
    m_impl->stream.setstate(std::ios_base::badbit);
    if (!fio_check_output_file(path, m_error))
        return;
    m_impl->fd = create_temporary(path, m_impl->temporary);
    if (m_impl->fd < 0)
    {
        m_error = system_error_text("cannot create a temporary file for", path, errno);
        m_impl->temporary.clear();
        return;
    }
    // Replacing a file keeps its permissions; a private file is the owner's alone.
    struct stat existing = {};
    if (private_file)
        ::fchmod(m_impl->fd, 0600);
    else if (::stat(path.c_str(), &existing) == 0 && S_ISREG(existing.st_mode))
        ::fchmod(m_impl->fd, existing.st_mode & 07777);

    m_impl->buffer = std::make_unique<OUTPUT_BUFFER>(m_impl->fd, compress);
    if (!m_impl->buffer->error().empty())
    {
        m_error = m_impl->buffer->error() + " for '" + path + "'";
        m_impl->discard();
        return;
    }
    m_impl->stream.rdbuf(m_impl->buffer.get());
    m_impl->stream.clear();
}

HTL_ZOFSTREAM::~HTL_ZOFSTREAM()
{
    if (!m_impl->committed)
        m_impl->discard();
}

bool HTL_ZOFSTREAM::is_open() const
{
    return m_impl->buffer != nullptr && !m_impl->committed;
}

std::ostream& HTL_ZOFSTREAM::stream()
{
    return m_impl->stream;
}

bool HTL_ZOFSTREAM::write_at(uint64_t offset, const void* data, size_t size)
{
    if (!is_open() || !m_impl->stream.flush())
        return false;
    if (m_impl->buffer->write_at(offset, static_cast<const char*>(data), size))
        return true;
    m_impl->stream.setstate(std::ios_base::badbit);
    return false;
}

bool HTL_ZOFSTREAM::commit()
{
    IMPL& impl = *m_impl;
    if (impl.committed)
    {
        m_error = "'" + impl.target + "' is already written";
        return false;
    }
    if (impl.buffer == nullptr)
    {
        if (m_error.empty())
            m_error = "'" + impl.target + "' is not open";
        return false;
    }
    impl.stream.flush();
    const bool stream_ok = !impl.stream.bad() && !impl.stream.fail();
    const bool buffer_ok = impl.buffer->finish();
    if (!stream_ok || !buffer_ok)
    {
        const std::string reason = impl.buffer->error().empty() ? "write error" : impl.buffer->error();
        m_error = "cannot write '" + impl.target + "': " + reason;
        impl.discard();
        return false;
    }
    impl.stream.rdbuf(nullptr);
    impl.buffer.reset();
    // The data must be on disk before the rename makes it the target.
    if (::fsync(impl.fd) != 0 || ::close(impl.fd) != 0)
    {
        m_error = system_error_text("cannot write", impl.target, errno);
        impl.fd = -1;
        impl.discard();
        return false;
    }
    impl.fd = -1;
    if (std::rename(impl.temporary.c_str(), impl.target.c_str()) != 0)
    {
        m_error = system_error_text("cannot replace", impl.target, errno);
        impl.discard();
        return false;
    }
    impl.temporary.clear();
    impl.committed = true;
    impl.stream.setstate(std::ios_base::badbit);
    return true;
}

// ---- HTL_ZIFSTREAM -----------------------------------------------------------------------------

struct HTL_ZIFSTREAM::IMPL
{
    std::filebuf plain;
    std::unique_ptr<GZIP_INPUT_BUFFER> gzip;
    std::istream stream{nullptr};
};

HTL_ZIFSTREAM::HTL_ZIFSTREAM(const std::string& path) : m_impl(std::make_unique<IMPL>())
{
    IMPL& impl = *m_impl;
    impl.stream.setstate(std::ios_base::badbit);
    FIO_INPUT_FILE checked;
    std::string ignored;
    if (!checked.open(path, ignored))
        return;
    if (impl.plain.open(path, std::ios_base::in | std::ios_base::binary) == nullptr)
        return;
    char magic[2] = {0, 0};
    const std::streamsize got = impl.plain.sgetn(magic, 2);
    const bool compressed =
        got == 2 && static_cast<unsigned char>(magic[0]) == 0x1f && static_cast<unsigned char>(magic[1]) == 0x8b;
    if (!compressed)
    {
        impl.plain.pubseekpos(0, std::ios_base::in);
        impl.stream.rdbuf(&impl.plain);
        impl.stream.clear();
        return;
    }
    impl.plain.close();
    gzFile gz = gzopen(path.c_str(), "rb");
    if (gz == nullptr)
        return;
    impl.gzip = std::make_unique<GZIP_INPUT_BUFFER>(gz);
    impl.stream.rdbuf(impl.gzip.get());
    impl.stream.clear();
}

HTL_ZIFSTREAM::~HTL_ZIFSTREAM() = default;

bool HTL_ZIFSTREAM::is_open() const
{
    return m_impl->plain.is_open() || m_impl->gzip != nullptr;
}

std::istream& HTL_ZIFSTREAM::stream()
{
    return m_impl->stream;
}
