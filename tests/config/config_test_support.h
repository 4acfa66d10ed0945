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
