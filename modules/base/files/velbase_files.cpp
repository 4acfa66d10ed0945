#include "velbase_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace velbase {

int FileDescriptor::close()
{
    if (m_fd < 0)
        return 0;
    const int result = ::close(m_fd);
    m_fd = -1;
    return result == 0 ? 0 : errno;
}

int readSmallFile(const std::string& path, size_t maxBytes, std::string& text)
{
    // Non-blocking, so that a FIFO cannot hang the open.
    const FileDescriptor fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (fd.get() < 0)
        return errno;
    struct stat st{};
    if (fstat(fd.get(), &st) != 0)
        return errno;
    if (S_ISDIR(st.st_mode))
        return EISDIR;
    if (!S_ISREG(st.st_mode))
        return EINVAL;
    if (static_cast<uint64_t>(st.st_size) > maxBytes)
        return EFBIG;
    std::string data(static_cast<size_t>(st.st_size), '\0');
    size_t got = 0;
    while (got < data.size()) {
        const ssize_t n = read(fd.get(), &data[got], data.size() - got);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return errno;
        if (n == 0)
            break;
        got += static_cast<size_t>(n);
    }
    data.resize(got);
    text.swap(data);
    return 0;
}

int writeAll(int fd, const void* data, size_t bytes)
{
    const auto* next = static_cast<const unsigned char*>(data);
    while (bytes > 0) {
        const ssize_t written = ::write(fd, next, bytes);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        next += written;
        bytes -= static_cast<size_t>(written);
    }
    return 0;
}

} // namespace velbase
