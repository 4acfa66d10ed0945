// The configuration tests run inside a core application (for the catalogue
// tests) and with a home directory of their own, so that nothing can reach
// the user's real configuration.
#include "temp_home.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    const veltest::TempHome home;
    return home.dir().empty() ? 1 : RUN_ALL_TESTS();
}
