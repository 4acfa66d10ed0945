// Helpers shared by the configuration tests: ownership of reference-counted
// objects and a private temporary directory per test.
#ifndef CONFIG_TEST_SUPPORT_H
#define CONFIG_TEST_SUPPORT_H

#include "gb_json.h"
#include "temp_dir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>

namespace cfgtest {

struct Releaser
{
    void operator()(gb::refer* obj) const { obj->release(); }
};
template <class T>
using Ref = std::unique_ptr<T, Releaser>;

using TempDir = veltest::TempDir;

// Every member of a scheme's values, name to decoded bytes.
inline std::map<std::string, std::string> allConfigs(gb::sane_config_schm& s)
{
    std::map<std::string, std::string> all;
    std::string name;
    std::string value;
    for (bool more = s.first_config(name, value); more; more = s.next_config(name, value))
        all[name] = value;
    return all;
}

// Runs the scope with the working directory set to dir.
class ScopedChdir
{
public:
    explicit ScopedChdir(const std::string& dir) : m_old(std::filesystem::current_path())
    {
        std::filesystem::current_path(dir);
    }
    ~ScopedChdir()
    {
        std::error_code ec;
        std::filesystem::current_path(m_old, ec);
    }

private:
    std::filesystem::path m_old;
};

inline std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeFile(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

inline bool exists(const std::string& path)
{
    return std::filesystem::exists(path);
}

} // namespace cfgtest

#endif
