// No Qt application here: the library must start its own.
#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

int main(int argc, char** argv)
{
    // Without a display the library's windows are drawn offscreen.
    if (!std::getenv("DISPLAY") && !std::getenv("QT_QPA_PLATFORM"))
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::testing::InitGoogleTest(&argc, argv);
    // The tests ask Qt from their thread, which gets Qt data of its own; only a
    // thread that ends frees it, and the main thread never does.
    int result = 1;
    std::thread([&] { result = RUN_ALL_TESTS(); }).join();
    return result;
}
