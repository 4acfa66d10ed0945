// A home directory of the test's own, set through the test seam and removed afterwards.
#ifndef BASE_TESTS_TEMP_HOME_H
#define BASE_TESTS_TEMP_HOME_H

#include <ZyBase.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

class TempHome
{
public:
    TempHome()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "velbase-test-XXXXXX").string();
        if (mkdtemp(pattern.data()))
            m_dir = pattern;
        ZyBase_SetHomeDir(m_dir.c_str());
    }

    ~TempHome()
    {
        ZyBase_SetHomeDir(nullptr);
        std::error_code ignored;
        std::filesystem::permissions(m_dir, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
        std::filesystem::remove_all(m_dir, ignored);
    }

    TempHome(const TempHome&) = delete;
    TempHome& operator=(const TempHome&) = delete;

    const std::string& dir() const { return m_dir; }
    std::string configDir() const { return m_dir + "/.VelmarScan/"; }

private:
    std::string m_dir;
};

class HomeTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_FALSE(m_home.dir().empty()) << "no temporary home"; }

    TempHome m_home;
};

inline std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeFile(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

#endif
