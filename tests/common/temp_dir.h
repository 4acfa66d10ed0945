// A private directory for one test, removed with everything in it afterwards.
#ifndef VELTEST_TEMP_DIR_H
#define VELTEST_TEMP_DIR_H

#include <signal.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <system_error>

namespace veltest {

class TempDir
{
public:
    TempDir()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "veltest-XXXXXX").string();
        if (mkdtemp(pattern.data()))
            m_path = pattern;
    }
    ~TempDir()
    {
        if (m_path.empty())
            return;
        // A test may have taken the write permission away to provoke a failure.
        std::error_code ignored;
        std::filesystem::permissions(m_path, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
        std::filesystem::remove_all(m_path, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    // Empty when the directory could not be made.
    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

// One directory for the whole process, removed when it exits.
inline const TempDir& processTempDir()
{
    static const TempDir dir;
    return dir;
}

inline std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeFile(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

// The names in a directory, to show that nothing was left behind.
inline std::set<std::string> entries(const std::string& dir)
{
    std::set<std::string> names;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(dir, ignored))
        names.insert(entry.path().filename().string());
    return names;
}

// Sets or clears an environment variable and puts it back as it was.
class ScopedEnv
{
public:
    explicit ScopedEnv(const char* name, const char* value = nullptr) : m_name(name)
    {
        const char* const old = std::getenv(name);
        m_had = old != nullptr;
        if (old)
            m_old = old;
        set(value);
    }
    ~ScopedEnv() { set(m_had ? m_old.c_str() : nullptr); }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

    // Null clears the variable.
    void set(const char* value) const
    {
        if (value)
            setenv(m_name.c_str(), value, 1);
        else
            unsetenv(m_name.c_str());
    }

private:
    std::string m_name;
    std::string m_old;
    bool m_had = false;
};

// Runs write with files limited to limit bytes, so that a write past it fails
// half-way with EFBIG as on a full disk.
template <class Write>
void withFileSizeLimit(rlim_t limit, Write write)
{
    rlimit saved{};
    getrlimit(RLIMIT_FSIZE, &saved);
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    rlimit limited = saved;
    limited.rlim_cur = limit;
    setrlimit(RLIMIT_FSIZE, &limited);
    write();
    setrlimit(RLIMIT_FSIZE, &saved);
    signal(SIGXFSZ, handler);
}

} // namespace veltest

#endif
