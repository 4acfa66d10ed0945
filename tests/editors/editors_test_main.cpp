// One Qt application for the editor tests; the log goes to a private home.
#include <gtest/gtest.h>

#include "temp_dir.h"

#include <ZyBase.h>

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
