// The library runs its own UI thread: the process has no Qt application of its own.
#include "ui_test_support.h"

#include <veltwainui/twainui.h>
#include <lexipak.h>

#include <gtest/gtest.h>

#include <QElapsedTimer>

#include <atomic>
#include <random>
#include <thread>
#include <vector>

namespace {

class OwnThread : public ::testing::Test
{
protected:
    void TearDown() override
    {
        if (!QCoreApplication::instance())
            return;
        // The next test in this process starts with no box open.
        const bool idle = waitFor([] {
            bool none = true;
            onUiThread([&] {
                for (QWidget* w : QApplication::topLevelWidgets()) {
                    if (auto* box = qobject_cast<QMessageBox*>(w)) {
                        box->done(QMessageBox::Ok);
                        none = false; // gone only once its exec has unwound
                    }
                }
            });
            return none;
        });
        EXPECT_TRUE(idle);
    }

    // Title and text of the open boxes, read on the UI thread.
    static QStringList openBoxes()
    {
        QStringList texts;
        onUiThread([&] {
            for (QMessageBox* box : visibleMessageBoxes())
                texts << box->windowTitle() + "|" + box->text();
        });
        return texts;
    }

    TestHome m_home;
};

TEST_F(OwnThread, CloseBeforeStartUpDoesNothing)
{
    for (int which : {0, 1, 2, 4, 3, -1})
        EXPECT_EQ(close_ui(which), 0);
    EXPECT_EQ(QCoreApplication::instance(), nullptr) << "close_ui must not start the UI";
    pump_ui_message(); // no application: nothing to pump, and no crash
}

TEST_F(OwnThread, MessageBoxReturnsAtOnceAndRunsOnTheUiThread)
{
    lang_set_code_page(LEXIPAK_CP_ENGLISH);
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(show_messagebox_ui(nullptr, 0, "Paper jam", 0), 0);
    // The box is modal on the UI thread; the host must not wait for the user.
    EXPECT_LT(timer.elapsed(), 3000);

    QCoreApplication* app = QCoreApplication::instance();
    ASSERT_NE(app, nullptr);
    EXPECT_NE(app->thread(), QThread::currentThread());

    ASSERT_TRUE(waitFor([] { return openBoxes().size() == 1; }));
    EXPECT_EQ(openBoxes().first(), "Prompt|Paper jam");

    bool onAppThread = false;
    onUiThread([&] {
        onAppThread = visibleMessageBoxes().first()->thread() == QCoreApplication::instance()->thread();
    });
    EXPECT_TRUE(onAppThread);
}

TEST_F(OwnThread, ClosingTheLastWindowKeepsTheLoopRunning)
{
    show_messagebox_ui(nullptr, 0, "first", 0);
    ASSERT_TRUE(waitFor([] { return openBoxes().size() == 1; }));
    onUiThread([] { visibleMessageBoxes().first()->done(QMessageBox::Ok); });
    ASSERT_TRUE(waitFor([] { return openBoxes().isEmpty(); }));

    show_messagebox_ui(nullptr, 0, "second", 0);
    ASSERT_TRUE(waitFor([] { return openBoxes().size() == 1; }));
    EXPECT_TRUE(openBoxes().first().endsWith("|second"));
}

TEST_F(OwnThread, CloseAllKeepsTheManagerOfOwnThread)
{
    lang_set_code_page(LEXIPAK_CP_SIMPLIFIED_CHINESE);
    show_messagebox_ui(nullptr, 0, "a", 0);
    ASSERT_TRUE(waitFor([] { return openBoxes().size() == 1; }));
    const QString title = openBoxes().first().section('|', 0, 0);

    // A message box runs to its own end, whatever close_ui asks.
    EXPECT_EQ(close_ui(-1), 0);
    onUiThread([] {});
    EXPECT_EQ(openBoxes().size(), 1);
    onUiThread([] { visibleMessageBoxes().first()->done(QMessageBox::Ok); });

    // Same manager: the catalogue chosen at start-up stays in force.
    lang_set_code_page(title == "Prompt" ? LEXIPAK_CP_SIMPLIFIED_CHINESE : LEXIPAK_CP_ENGLISH);
    show_messagebox_ui(nullptr, 0, "b", 0);
    ASSERT_TRUE(waitFor([] { return openBoxes().size() == 1; }));
    EXPECT_EQ(openBoxes().first(), title + "|b");
}

TEST_F(OwnThread, NullMessageShowsAnEmptyBox)
{
    EXPECT_EQ(show_messagebox_ui(nullptr, 3, nullptr, 7), 0);
    ASSERT_TRUE(waitFor([] { return openBoxes().size() == 1; }));
    EXPECT_TRUE(openBoxes().first().endsWith("|"));
}

TEST_F(OwnThread, StartUpFromManyThreadsMakesOneApplication)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] { show_messagebox_ui(nullptr, 0, "race", 0); });
    for (auto& t : threads)
        t.join();

    // Every request reaches the one UI thread: all eight boxes nest there.
    ASSERT_TRUE(waitFor([] { return openBoxes().size() == 8; }));
}

TEST_F(OwnThread, HostThreadsCloseWhileTheUiThreadIsBusy)
{
    show_messagebox_ui(nullptr, 0, "busy", 0);
    ASSERT_TRUE(waitFor([] { return openBoxes().size() == 1; }));

    std::atomic<int> running{4};
    std::vector<std::thread> hosts;
    for (int seed = 1; seed <= 4; ++seed) {
        hosts.emplace_back([seed, &running] {
            std::mt19937 rng(seed);
            const int choices[] = {0, 1, 2, 3, 4, 7, -1};
            for (int call = 0; call < 300; ++call) {
                close_ui(choices[rng() % 7]);
                if (call % 100 == 0)
                    show_messagebox_ui(nullptr, 0, "more", 0);
                pump_ui_message(); // from a thread without an event loop of its own
                std::this_thread::sleep_for(std::chrono::microseconds(rng() % 500));
            }
            --running;
        });
    }
    // Meanwhile the UI thread keeps answering the user: close a box now and then.
    while (running > 0) {
        onUiThread([] {
            if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
                dialog->done(0);
        });
        QThread::msleep(5);
    }
    for (auto& t : hosts)
        t.join();

    // The UI thread is still alive and serving requests.
    bool answered = false;
    onUiThread([&] { answered = true; });
    EXPECT_TRUE(answered);
    lang_set_code_page(LEXIPAK_CP_ENGLISH);
    show_messagebox_ui(nullptr, 0, "still here", 0);
    EXPECT_TRUE(waitFor([] {
        for (const QString& s : openBoxes())
            if (s.endsWith("|still here"))
                return true;
        return false;
    }));
}

} // namespace
