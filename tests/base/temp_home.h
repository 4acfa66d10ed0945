// A home directory of the test's own, set through the test seam and removed afterwards.
#ifndef BASE_TESTS_TEMP_HOME_H
#define BASE_TESTS_TEMP_HOME_H

#include "temp_dir.h"

#include <ZyBase.h>

#include <gtest/gtest.h>

#include <string>

using veltest::readFile;
using veltest::writeFile;

class TempHome
{
public:
    TempHome() { ZyBase_SetHomeDir(m_dir.path().c_str()); }
    ~TempHome() { ZyBase_SetHomeDir(nullptr); }

    const std::string& dir() const { return m_dir.path(); }
    std::string configDir() const { return dir() + "/.VelmarScan/"; }

private:
    veltest::TempDir m_dir;
};

class HomeTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_FALSE(m_home.dir().empty()) << "no temporary home"; }

    TempHome m_home;
};

#endif
