// Host threads report scan events while the progress dialog is opened and
// closed under them, as a scanning thread does: no event may reach a deleted
// dialog, and each dialog counts exactly the images sent while it was open.
#include "ui_test_support.h"

#include <veltwainui/twainui.h>

#include <gtest/gtest.h>

#include <QLabel>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace {

// The image count the open progress dialog shows, or -1 when none is open.
int shownCount()
{
    int count = -1;
    onUiThread([&] {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (w->inherits("Dialog_progress_ui") && w->isVisible())
                count = w->findChild<QLabel*>("label_imageCount")->text().section(':', -1).toInt();
        }
    });
    return count;
}

TEST(ScanEventsFromHostThreads, NeverReachAClosedDialogAndAllAreCounted)
{
    TestHome home;
    constexpr int kCycles = 20;
    constexpr int kSenders = 4;
    constexpr int kImagesEach = 2500;
    std::atomic<int> closedResults{0};
    std::atomic<long> sent{0};
    ui_event_callback notify;

    for (int cycle = 0; cycle < kCycles; ++cycle) {
        SCOPED_TRACE(cycle);
        show_progress_ui(nullptr, [&](ui_result r) { closedResults += r == UI_RESULT_CLOSE_NORMAL; },
                         &notify);
        // Sent at once: they queue behind the dialog's creation.
        std::vector<std::thread> senders;
        for (int s = 0; s < kSenders; ++s) {
            senders.emplace_back([&] {
                for (int i = 0; i < kImagesEach; ++i) {
                    notify(EVENT_IMAGE_RECEIVED, nullptr, 0);
                    if (i % 50 == 0)
                        notify(EVENT_SCAN_WORKING, const_cast<char*>("Feeding"), 1);
                }
                sent += kImagesEach + kImagesEach / 50;
            });
        }
        for (std::thread& t : senders)
            t.join();
        EXPECT_TRUE(waitFor([] { return shownCount() == kSenders * kImagesEach; }))
            << shownCount();

        // Closed by the host, or by itself after a good finish, while other
        // threads keep reporting.
        std::atomic<bool> closing{true};
        std::vector<std::thread> noise;
        for (int s = 0; s < 2; ++s) {
            noise.emplace_back([&] {
                // Paced like a fast scanner, so that the UI thread is not simply buried.
                long n = 0;
                for (; closing && n < 2000; ++n) {
                    notify(EVENT_IMAGE_RECEIVED, nullptr, 0);
                    notify(EVENT_SCAN_FINISHED, const_cast<char*>("\xff not text"), 3);
                    notify(11, nullptr, 0);
                    std::this_thread::sleep_for(std::chrono::microseconds(100));
                }
                sent += 3 * n;
            });
        }
        if (cycle % 5 == 4)
            notify(EVENT_SCAN_FINISHED, nullptr, 0);
        else
            close_ui(1);
        // A good finish closes the dialog a second after the UI thread has
        // worked through the noise, which a sanitized build does slowly.
        EXPECT_TRUE(waitFor([] { return shownCount() < 0; }, 20000));
        closing = false;
        for (std::thread& t : noise)
            t.join();
    }
    // Only the dialogs that closed themselves report, half a second later.
    EXPECT_TRUE(waitFor([&] { return closedResults == kCycles / 5; }));
    waitFor([] { return false; }, 700);
    EXPECT_EQ(closedResults, kCycles / 5);
    RecordProperty("events_sent", std::to_string(sent));
    close_ui(-1);
}

} // namespace
