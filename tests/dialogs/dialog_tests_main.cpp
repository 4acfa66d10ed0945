// The dialogs run in this program's own application, drawn offscreen unless
// a display is given.
#include "temp_dir.h"

#include <ZyBase.h>

#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Nothing of the user's: logs and settings go to a directory of our own.
    veltest::TempDir home;
    ZyBase_SetHomeDir(home.path().c_str());
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    ZyBase_SetHomeDir(nullptr);
    return result;
}
