// Home and configuration directories, directory creation, file names and atomic writes.
#include "ZyBase.h"

#include "copy_out.h"
#include "files.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr const char* kConfigDirName = ".VelmarScan/";
constexpr size_t kMaxFileNameBytes = 200;

// The home directory is looked up once; the override replaces it for tests.
class HomeDir
{
public:
    static HomeDir& instance()
    {
        static HomeDir home;
        return home;
    }

    int get(std::string& dir)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_override) {
            dir = *m_override;
            return 0;
        }
        if (m_fromPasswd.empty()) {
            const int err = lookUpPasswd(m_fromPasswd);
            if (err != 0)
                return err;
        }
        dir = m_fromPasswd;
        return 0;
    }

    void setOverride(const char* dir)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (dir)
            m_override = std::string(dir);
        else
            m_override.reset();
    }

private:
    static int lookUpPasswd(std::string& dir)
    {
        const long hint = sysconf(_SC_GETPW_R_SIZE_MAX);
        std::vector<char> scratch(hint > 0 ? static_cast<size_t>(hint) : 16384);
        for (;;) {
            passwd entry{};
            passwd* found = nullptr;
            const int err = getpwuid_r(getuid(), &entry, scratch.data(), scratch.size(), &found);
            if (err == ERANGE && scratch.size() < (1u << 20)) {
                scratch.resize(scratch.size() * 2);
                continue;
            }
            if (err != 0)
                return err;
            if (!found || !found->pw_dir || !*found->pw_dir)
                return ENOENT;
            dir = found->pw_dir;
            return 0;
        }
    }

    std::mutex m_mutex;
    std::optional<std::string> m_override;
    std::string m_fromPasswd;
};

int configPath(std::string& path)
{
    const int err = HomeDir::instance().get(path);
    if (err != 0)
        return err;
    if (path.empty() || path.back() != '/')
        path += '/';
    path += kConfigDirName;
    return 0;
}

bool isDirectory(const std::string& path)
{
    struct stat st{};
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

int makeOneDir(const std::string& path)
{
    if (mkdir(path.c_str(), 0777) == 0)
        return 0;
    const int err = errno;
    if (err == EEXIST)
        return isDirectory(path) ? 0 : ENOTDIR;
    return err;
}

// Length of the well-formed UTF-8 sequence at text[0], 0 when it is not one.
size_t utf8SequenceLength(const unsigned char* text, size_t available)
{
    const unsigned char lead = text[0];
    size_t length = 0;
    uint32_t code = 0;
    uint32_t lowest = 0;
    if (lead < 0x80)
        return 1;
    if ((lead & 0xE0) == 0xC0) {
        length = 2;
        code = lead & 0x1F;
        lowest = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3;
        code = lead & 0x0F;
        lowest = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4;
        code = lead & 0x07;
        lowest = 0x10000;
    } else {
        return 0;
    }
    if (length > available)
        return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((text[i] & 0xC0) != 0x80)
            return 0;
        code = (code << 6) | (text[i] & 0x3F);
    }
    const bool overlong = code < lowest;
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    const bool c1Control = code >= 0x80 && code <= 0x9F;
    if (overlong || surrogate || c1Control || code > 0x10FFFF)
        return 0;
    return length;
}

std::string standardise(const char* name)
{
    const auto* text = reinterpret_cast<const unsigned char*>(name);
    const size_t total = std::strlen(name);
    std::string result;
    size_t pos = 0;
    while (pos < total) {
        const unsigned char c = text[pos];
        const size_t length = utf8SequenceLength(text + pos, total - pos);
        std::string piece;
        if (length == 0 || c < 0x20 || c == 0x7F || c == '/')
            piece = "_";
        else
            piece.assign(name + pos, length);
        if (result.size() + piece.size() > kMaxFileNameBytes)
            break;
        result += piece;
        pos += length == 0 ? 1 : length;
    }
    // "", "." and ".." and other names made of dots only are not names of their own.
    if (result.find_first_not_of('.') == std::string::npos)
        result.replace(0, result.size(), result.empty() ? 1 : result.size(), '_');
    return result;
}

// An open file descriptor that closes itself.
// Creates a file of a name no one uses yet; -1 with err set on failure.
int createUnique(const std::string& target, std::string& path, int& err)
{
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        path = velbase::siblingPath(target, ".", ".tmp" + std::to_string(getpid()) + "_" +
                                                     std::to_string(counter.fetch_add(1)));
        const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            err = 0;
            return fd;
        }
        err = errno;
        if (err != EEXIST)
            break;
    }
    path.clear();
    return -1;
}

// A temporary file next to the target; removed unless it was renamed into place.
class TempFile
{
public:
    explicit TempFile(const std::string& target)
        : m_fd(createUnique(target, m_path, m_error))
    {
    }

    ~TempFile()
    {
        m_fd.close();
        if (!m_path.empty())
            unlink(m_path.c_str());
    }

    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    int error() const { return m_error; }

    int write(const void* data, size_t bytes) { return velbase::writeAll(m_fd.get(), data, bytes); }

    // Keeps the permissions of the file being replaced.
    void copyModeOf(const std::string& target)
    {
        struct stat st{};
        if (stat(target.c_str(), &st) == 0 && S_ISREG(st.st_mode))
            fchmod(m_fd.get(), st.st_mode & 07777);
    }

    int flushAndClose()
    {
        if (fsync(m_fd.get()) != 0)
            return errno;
        return m_fd.close();
    }

    int renameTo(const std::string& target)
    {
        if (rename(m_path.c_str(), target.c_str()) != 0)
            return errno;
        m_path.clear();
        return 0;
    }

private:
    // Declared before m_fd: createUnique fills them while m_fd is built.
    std::string m_path;
    int m_error = EINVAL;
    velbase::FileDescriptor m_fd;
};

void syncDirectoryOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : (slash == 0 ? "/" : path.substr(0, slash));
    velbase::FileDescriptor fd(open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.get() >= 0)
        fsync(fd.get());
}

} // namespace

namespace velbase {

std::string siblingPath(const std::string& target, const std::string& prefix,
                        const std::string& suffix)
{
    const size_t slash = target.rfind('/');
    const std::string dir = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
    const long limit = pathconf(dir.empty() ? "." : dir.c_str(), _PC_NAME_MAX);
    const size_t nameMax = limit > 0 ? static_cast<size_t>(limit) : 255;
    if (prefix.size() + base.size() + suffix.size() <= nameMax)
        return dir + prefix + base + suffix;

    uint32_t hash = 2166136261u; // FNV-1a
    for (const char c : base)
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    char tag[16];
    snprintf(tag, sizeof(tag), "~%08x", hash);
    const size_t room = nameMax - std::min(nameMax, prefix.size() + suffix.size() + strlen(tag));
    size_t keep = std::min(room, base.size());
    while (keep > 0 && (static_cast<unsigned char>(base[keep]) & 0xC0) == 0x80)
        --keep;
    return dir + prefix + base.substr(0, keep) + tag + suffix;
}

} // namespace velbase

extern "C" {

int ZyBase_GetHomeDir(char* buf, unsigned int size)
{
    if (!buf || size == 0)
        return EINVAL;
    std::string home;
    const int err = HomeDir::instance().get(home);
    return err != 0 ? err : velbase::copyOut(home, buf, size);
}

int ZyBase_SetHomeDir(const char* dir)
{
    if (dir && !*dir)
        return EINVAL;
    HomeDir::instance().setOverride(dir);
    return 0;
}

int ZyBase_GetConfigPath(char* buf, unsigned int size)
{
    if (!buf || size == 0)
        return EINVAL;
    std::string path;
    const int err = configPath(path);
    return err != 0 ? err : velbase::copyOut(path, buf, size);
}

int ZyBase_CreateDir(const char* path)
{
    if (!path || !*path)
        return EINVAL;
    const std::string full(path);
    // Create each prefix that ends just before a "/", then the whole path.
    for (size_t slash = full.find('/', 1); slash != std::string::npos;
         slash = full.find('/', slash + 1)) {
        if (full[slash - 1] == '/')
            continue;
        const int err = makeOneDir(full.substr(0, slash));
        if (err != 0)
            return err;
    }
    return makeOneDir(full);
}

int ZyBase_GetFileName(const char* path, char* buf, unsigned int size)
{
    if (!path || !buf || size == 0)
        return EINVAL;
    const char* slash = std::strrchr(path, '/');
    return velbase::copyOut(slash ? slash + 1 : path, buf, size);
}

int ZyBase_StandardiseFileName(const char* name, char* buf, unsigned int size)
{
    if (!name || !buf || size == 0)
        return EINVAL;
    return velbase::copyOut(standardise(name), buf, size);
}

int ZyBase_WriteFileAtomic(const char* path, const void* data, size_t bytes)
{
    if (!path || !*path || (!data && bytes > 0))
        return EINVAL;
    const std::string target(path);
    if (target.back() == '/')
        return EISDIR;
    TempFile temp(target);
    if (temp.error() != 0)
        return temp.error();
    temp.copyModeOf(target);
    int err = temp.write(data, bytes);
    if (err == 0)
        err = temp.flushAndClose();
    if (err == 0)
        err = temp.renameTo(target);
    if (err == 0)
        syncDirectoryOf(target);
    return err;
}

} // extern "C"
