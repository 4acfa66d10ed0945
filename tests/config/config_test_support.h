// Helpers shared by the configuration tests: ownership of reference-counted
// objects, the values of a scheme, and private directories.
#ifndef CONFIG_TEST_SUPPORT_H
#define CONFIG_TEST_SUPPORT_H

#include "gb_json.h"
#include "temp_dir.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace cfgtest {

using veltest::readFile;
using veltest::TempDir;
using veltest::writeFile;

struct Releaser
{
    void operator()(gb::refer* obj) const { obj->release(); }
};
template <class T>
using Ref = std::unique_ptr<T, Releaser>;

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

// The user schemes of a configuration, without the translated default in front.
inline std::vector<std::string> userSchemes(const gb::scanner_cfg& cfg)
{
    std::vector<std::string> all;
    cfg.get_all_schemes(all);
    all.erase(all.begin());
    return all;
}

// The bytes of a 32-bit option value.
inline std::string word(int32_t value)
{
    return std::string(reinterpret_cast<const char*>(&value), sizeof(value));
}

inline std::string base64Of(const std::string& text)
{
    return gb::base64().encode(text.data(), text.size());
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

} // namespace cfgtest

#endif
