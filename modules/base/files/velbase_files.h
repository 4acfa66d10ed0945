// File helpers shared by libVelBase and the configuration module: reading a
// small file whole and writing a buffer whole, through one descriptor owner.
#ifndef VELBASE_FILES_SHARED_H
#define VELBASE_FILES_SHARED_H

#include <cstddef>
#include <string>

namespace velbase {

// Owns an open file descriptor; -1 means none.
class FileDescriptor
{
public:
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    ~FileDescriptor() { close(); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return m_fd; }
    // 0 or the error number of close(2).
    int close();

private:
    int m_fd;
};

// Reads a whole regular file of at most maxBytes into text; 0 or an error
// number (ENOENT for a missing file, EISDIR, EFBIG beyond maxBytes, EINVAL
// for a device or FIFO). text is left as it was on failure.
int readSmallFile(const std::string& path, size_t maxBytes, std::string& text);

// Writes all bytes, retrying short writes and interruptions; 0 or errno.
int writeAll(int fd, const void* data, size_t bytes);

} // namespace velbase

#endif
