// No Qt application here: the library must start its own.
#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char** argv)
{
    // Without a display the library's windows are drawn offscreen.
    if (!std::getenv("DISPLAY") && !std::getenv("QT_QPA_PLATFORM"))
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
