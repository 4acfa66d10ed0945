// The settings dialog built directly on a driver, in an application of the test's own.
#include "ui_test_support.h"

#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const TestHome home; // logs and configuration stay in a private folder
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
