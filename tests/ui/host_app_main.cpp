// The host owns the Qt application, as a SANE front end written with Qt does.
#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv)
{
    // Without a display the windows are drawn offscreen; under Xvfb they are real.
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
