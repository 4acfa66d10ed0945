// The scan-time and selection exports with a host-owned application: each
// selection is built and answered inside the call.
#include "ui_test_support.h"

#include "fakedriver_api.h"

#include <veltwainui/twainui.h>

#include <gtest/gtest.h>

#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <QWindow>

#include <atomic>
#include <cstring>
#include <functional>
#include <thread>

namespace {

class ScanDialogs : public ::testing::Test
{
protected:
    void TearDown() override { close_ui(-1); }

    // Answers the modal window that the next export opens: picks a list row
    // (when one is given) and clicks a button, or closes it from the title bar.
    void answer(int row, const char* button)
    {
        QTimer::singleShot(0, [=] {
            ASSERT_TRUE(waitFor([] { return QApplication::activeModalWidget() != nullptr; }));
            QWidget* dialog = QApplication::activeModalWidget();
            auto* list = dialog->findChild<QListWidget*>("listWidget");
            m_rows = list ? list->count() : 0;
            if (list && row >= 0)
                list->setCurrentRow(row);
            if (button)
                dialog->findChild<QPushButton*>(button)->click();
            else
                dialog->windowHandle()->close();
        });
    }

    TestHome m_home;
    int m_rows = 0; // in the list of the last window answered
};

TEST_F(ScanDialogs, SelectionsReturnThePick)
{
    const std::vector<_dev_que_ui> devices{{11, "A", "s1"}, {12, "B", "s2"}};
    answer(1, "pbtn_ok");
    EXPECT_EQ(choose_scanner(devices), 12);
    answer(1, "pbtn_cancel");
    EXPECT_EQ(choose_scanner(devices), -1);

    TW_IDENTITY sources[2] = {};
    sources[0].Id = 1;
    std::strcpy(sources[0].ProductName, "A");
    sources[1].Id = 2;
    std::strcpy(sources[1].ProductName, "B");
    TW_IDENTITY chosen{};
    answer(-1, "pushButton_OK"); // the default is preselected
    show_twain_srclist_ui(sources, 2, "B", nullptr, &chosen);
    EXPECT_EQ(chosen.Id, 2u);
    answer(-1, nullptr);
    show_twain_srclist_ui(nullptr, 5, nullptr, nullptr, &chosen);
    EXPECT_EQ(chosen.Id, 0u);
}

TEST_F(ScanDialogs, SaneListStopsAtTheFirstNullAndLoadsThePick)
{
    if (std::string(SANE_TEST_BACKEND).empty())
        GTEST_SKIP() << "libsane1's test backend is not installed";
    const char* manufacturers[] = {"test", nullptr, "other"};
    const char* libraries[] = {SANE_TEST_BACKEND, "/x/libsane-x.so", "/y/libsane-y.so"};
    answer(0, "pushButton_OK");
    ZyDll* dll = nullptr;
    _sane_api api{};
    char name[3] = {'x', 'x', 'x'};
    show_srclist_ui(manufacturers, libraries, nullptr, &dll, &api, name, sizeof(name));
    EXPECT_EQ(m_rows, 1);
    ASSERT_NE(dll, nullptr);
    EXPECT_NE(api.sane_control_option, nullptr);
    EXPECT_STREQ(name, "te"); // held to the size given
    ZyBase_DestroyDll(dll);

    answer(0, "pushButton_Cancel");
    show_srclist_ui(manufacturers, libraries, nullptr, &dll, &api, name, 0);
    EXPECT_EQ(dll, nullptr);
    EXPECT_EQ(api.sane_control_option, nullptr);
    EXPECT_STREQ(name, "");
}

TEST_F(ScanDialogs, AbnormalImageIsKeptOnlyOnReserve)
{
    unsigned char pixels[4 * 4 * 3] = {};
    SANE_Image rgb{};
    rgb.header = {SANE_FRAME_RGB, 1, 12, 4, 4, 8};
    rgb.data = pixels;
    SANE_Image deep = rgb; // grey of depth 16: nothing to show, still asked
    deep.header = {SANE_FRAME_GRAY, 1, 8, 4, 4, 16};
    const struct {
        SANE_Image* image;
        const char* button;
        int kept;
    } cases[] = {{&rgb, "pushButton_reserve", 1},
                 {&rgb, "pushButton_discard", 0},
                 {&rgb, nullptr, 0},
                 {&deep, "pushButton_reserve", 1},
                 {nullptr, "pushButton_reserve", 1}};
    for (const auto& c : cases) {
        answer(-1, c.button);
        EXPECT_EQ(abnormal_image(c.image, nullptr), c.kept) << (c.button ? c.button : "title bar");
    }
}

TEST_F(ScanDialogs, ProgressFollowsEventsFromAnyThreadUntilTheHostClosesIt)
{
    QWidget host;
    host.show();
    std::atomic<int> closed{0};
    ui_event_callback notify;
    show_progress_ui(&host, [&](ui_result r) { closed += r == UI_RESULT_CLOSE_NORMAL; }, &notify);
    ASSERT_TRUE(notify); // set before the call returns
    QWidget* dialog = QApplication::activeModalWidget();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->parentWidget(), &host);

    std::thread scanner([&] {
        notify(EVENT_SCAN_WORKING, const_cast<char*>("Feeding"), 1);
        for (int i = 0; i < 3; ++i)
            notify(EVENT_IMAGE_RECEIVED, nullptr, 0);
        notify(99, nullptr, 0);
    });
    scanner.join();
    auto* count = dialog->findChild<QLabel*>("label_imageCount");
    EXPECT_TRUE(waitFor([&] { return count->text().endsWith(":3"); }));

    notify(EVENT_SCAN_FINISHED, nullptr, 0); // success: closes itself after a second
    EXPECT_TRUE(waitFor([&] { return closed == 1; }));

    // Closed by the host: no result, and later events find no dialog.
    show_progress_ui(nullptr, [&](ui_result) { closed += 10; }, &notify);
    notify(EVENT_SCAN_WORKING, nullptr, 0);
    pump_ui_message();
    close_ui(1);
    notify(EVENT_SCAN_FINISHED, nullptr, 0);
    waitFor([] { return false; }, 700);
    EXPECT_EQ(closed, 1);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

// A progress dialog opened over the settings belongs to them; when they go, at the
// end of the scan or closed by the host, the host still hears that it has closed.
TEST_F(ScanDialogs, ProgressOverTheSettingsReportsItsCloseWhenTheyGo)
{
    const fakedriver_device device;
    _sane_api api = device.api();
    for (const bool scanEnds : {true, false}) {
        ui_event_callback settingsNotify;
        ui_event_callback progressNotify;
        std::atomic<int> closed{0};
        show_setting_ui(device.handle(), nullptr, &api, "FS-1000", true, [](ui_result) {},
                        &settingsNotify);
        QWidget* settings = QApplication::activeModalWidget();
        show_progress_ui(nullptr, [&](ui_result r) { closed += r == UI_RESULT_CLOSE_NORMAL; },
                         &progressNotify);
        const QPointer<QWidget> progress = QApplication::activeModalWidget();
        ASSERT_TRUE(progress && settings && progress != settings);
        EXPECT_EQ(progress->parentWidget(), settings);

        settingsNotify(EVENT_SCAN_WORKING, nullptr, 0);
        progressNotify(EVENT_SCAN_WORKING, nullptr, 0);
        progressNotify(EVENT_SCAN_FINISHED, nullptr, 0);
        if (scanEnds)
            settingsNotify(EVENT_SCAN_FINISHED, nullptr, 0);
        else
            close_ui(2);
        EXPECT_TRUE(waitFor([&] { return closed == 1; })) << (scanEnds ? "scan end" : "close_ui(2)");
        EXPECT_TRUE(progress.isNull());
    }
}

} // namespace
