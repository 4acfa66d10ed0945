// A private folder for each test program, also used as the base library's home
// so that nothing a test does reaches the real user's configuration.
#ifndef DRIVER_TEST_SUPPORT_H
#define DRIVER_TEST_SUPPORT_H

#include "temp_dir.h"
#include "ZyBase.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

using temp_dir = veltest::TempDir;

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
