// The configuration tests run inside a core application (for the catalogue
// tests) and with a home directory of their own, so that nothing can reach
// the user's real configuration.
#include <ZyBase.h>

#include <QCoreApplication>

#include <gtest/gtest.h>

#include "config_test_support.h"

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    const cfgtest::TempDir home;
    if (home.path().empty() || ZyBase_SetHomeDir(home.path().c_str()) != 0)
        return 1;
    const int result = RUN_ALL_TESTS();
    ZyBase_SetHomeDir(nullptr);
    return result;
}
