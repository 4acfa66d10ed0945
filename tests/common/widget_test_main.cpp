// One Qt application for tests that build widgets directly, drawn offscreen
// unless a display is given; logs and settings go to a private home.
#include "temp_dir.h"

#include <ZyBase.h>

#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const veltest::TempDir home;
    ZyBase_SetHomeDir(home.path().c_str());
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    ZyBase_SetHomeDir(nullptr);
    return result;
}
