// The process log: one line per call, appended to <config path>log/<process>.log.
#include "ZyBase.h"

#include "copy_out.h"
#include "velbase_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>

namespace {

constexpr int kAllLevels = ZYBASE_LOG_ERROR | ZYBASE_LOG_WARNING | ZYBASE_LOG_INFO | ZYBASE_LOG_DEBUG;

std::atomic<int> g_mask{kAllLevels};
std::atomic<bool> g_echo{false};

int logFilePath(std::string& path)
{
    char dir[4096];
    const int err = ZyBase_GetConfigPath(dir, sizeof(dir));
    if (err != 0)
        return err;
    const char* process = program_invocation_short_name;
    char name[256];
    if (ZyBase_StandardiseFileName(process && *process ? process : "process", name, sizeof(name)) != 0)
        return EINVAL;
    path = std::string(dir) + "log/" + name + ".log";
    return 0;
}

std::string levelName(int level)
{
    switch (level) {
    case ZYBASE_LOG_ERROR:
        return "ERROR";
    case ZYBASE_LOG_WARNING:
        return "WARNING";
    case ZYBASE_LOG_INFO:
        return "INFO";
    case ZYBASE_LOG_DEBUG:
        return "DEBUG";
    default:
        return "LEVEL" + std::to_string(level);
    }
}

std::string timeStamp()
{
    timeval now{};
    gettimeofday(&now, nullptr);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    char text[64];
    const size_t length = strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &local);
    std::snprintf(text + length, sizeof(text) - length, ".%03ld",
                  static_cast<long>(now.tv_usec / 1000));
    return text;
}

std::string formatText(const char* format, va_list args)
{
    va_list measure;
    va_copy(measure, args);
    const int length = std::vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    if (length <= 0)
        return std::string();
    std::string text(static_cast<size_t>(length) + 1, '\0');
    std::vsnprintf(&text[0], text.size(), format, args);
    text.resize(static_cast<size_t>(length));
    // One entry is one line: trailing line ends go, inner ones become spaces.
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.pop_back();
    for (char& c : text) {
        if (c == '\n' || c == '\r')
            c = ' ';
    }
    return text;
}

// The open log file. It follows the configuration path, which a test may move,
// and opens again when the file has been deleted under it.
class LogFile
{
public:
    // Never destroyed: threads may still log while the process exits.
    static LogFile& instance()
    {
        static LogFile* const log = new LogFile;
        return *log;
    }

    int append(const std::string& line)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const int err = ensureOpen();
        return err != 0 ? err : velbase::writeAll(m_fd, line.data(), line.size());
    }

private:
    LogFile() = default;

    int ensureOpen()
    {
        std::string path;
        const int err = logFilePath(path);
        if (err != 0)
            return err;
        if (m_fd >= 0 && path == m_path && !unlinked())
            return 0;
        closeFile();
        const std::string dir = path.substr(0, path.rfind('/'));
        const int dirErr = ZyBase_CreateDir(dir.c_str());
        if (dirErr != 0)
            return dirErr;
        m_fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
        if (m_fd < 0)
            return errno;
        m_path = path;
        return 0;
    }

    bool unlinked() const
    {
        struct stat st{};
        return fstat(m_fd, &st) != 0 || st.st_nlink == 0;
    }

    void closeFile()
    {
        if (m_fd >= 0)
            close(m_fd);
        m_fd = -1;
        m_path.clear();
    }

    std::mutex m_mutex;
    int m_fd = -1;
    std::string m_path;
};

} // namespace

extern "C" {

int ZyBase_WriteInfo(int level, const char* format, ...)
{
    if (!format)
        return EINVAL;
    if ((level & g_mask.load()) == 0)
        return 0;
    va_list args;
    va_start(args, format);
    const std::string text = formatText(format, args);
    va_end(args);
    const std::string line = timeStamp() + " [" + std::to_string(syscall(SYS_gettid)) + "] " +
                             levelName(level) + " " + text + "\n";
    if (g_echo.load())
        velbase::writeAll(STDERR_FILENO, line.data(), line.size());
    return LogFile::instance().append(line);
}

int ZyBase_SetLogMask(int mask)
{
    g_mask.store(mask);
    return 0;
}

int ZyBase_SetLogEcho(int on)
{
    g_echo.store(on != 0);
    return 0;
}

int ZyBase_GetLogFile(char* buf, unsigned int size)
{
    if (!buf || size == 0)
        return EINVAL;
    std::string path;
    const int err = logFilePath(path);
    return err != 0 ? err : velbase::copyOut(path, buf, size);
}

} // extern "C"
