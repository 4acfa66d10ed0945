// A home directory of the test's own, set through the base library's test seam,
// so that nothing a test does reaches the real user's configuration.
#ifndef VELTEST_TEMP_HOME_H
#define VELTEST_TEMP_HOME_H

#include "temp_dir.h"

#include <ZyBase.h>

#include <gtest/gtest.h>

#include <string>

namespace veltest {

// Puts the home that was in force back when it goes.
class TempHome
{
public:
    TempHome()
    {
        char saved[4096];
        if (ZyBase_GetHomeDir(saved, sizeof(saved)) == 0)
            m_saved = saved;
        ZyBase_SetHomeDir(m_dir.path().c_str());
    }
    ~TempHome() { ZyBase_SetHomeDir(m_saved.empty() ? nullptr : m_saved.c_str()); }
    TempHome(const TempHome&) = delete;
    TempHome& operator=(const TempHome&) = delete;

    const std::string& dir() const { return m_dir.path(); }
    std::string configDir() const { return dir() + "/.VelmarScan/"; }

private:
    TempDir m_dir;
    std::string m_saved;
};

class HomeTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_FALSE(m_home.dir().empty()) << "no temporary home"; }

    TempHome m_home;
};

} // namespace veltest

#endif
