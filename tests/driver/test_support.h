// A private folder for each test program, also used as the base library's home
// so that nothing a test does reaches the real user's configuration.
#ifndef DRIVER_TEST_SUPPORT_H
#define DRIVER_TEST_SUPPORT_H

#include "ZyBase.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

class temp_dir
{
public:
    temp_dir()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "veldrv-XXXXXX").string();
        if (mkdtemp(pattern.data()))
            m_path = pattern;
    }
    ~temp_dir()
    {
        std::error_code ignored;
        if (!m_path.empty())
            std::filesystem::remove_all(m_path, ignored);
    }
    temp_dir(const temp_dir&) = delete;
    temp_dir& operator=(const temp_dir&) = delete;

    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

    std::string write(const std::string& name, const std::string& content) const
    {
        const std::string target = file(name);
        std::ofstream(target, std::ios::binary) << content;
        return target;
    }

private:
    std::string m_path;
};

class private_home : public ::testing::Environment
{
public:
    void SetUp() override { ASSERT_EQ(ZyBase_SetHomeDir(m_home.path().c_str()), 0); }
    void TearDown() override { ZyBase_SetHomeDir(nullptr); }

private:
    temp_dir m_home;
};

// Every program that includes this header runs with its own home.
inline ::testing::Environment* const g_private_home =
    ::testing::AddGlobalTestEnvironment(new private_home);

#endif
