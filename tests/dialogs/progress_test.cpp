#include "dialog_progress_ui.h"
#include "dialog_test_support.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QThread>
#include <QWindow>

#include <mutex>
#include <string>
#include <vector>

namespace {

struct event {
    int code;
    const char* data;
    int status;
};

// Results as the host sees them, and whether they came off the UI thread.
// Shared with the callback: a worker may report after the test moved on.
struct host_log {
    std::mutex mutex;
    std::vector<std::pair<ui_result, bool>> results;
};

class ProgressDialog : public ::testing::Test
{
protected:
    void SetUp() override { open(); }
    void TearDown() override { delete m_dialog.data(); }

    void open()
    {
        delete m_dialog.data();
        m_log = std::make_shared<host_log>();
        const QThread* ui = QThread::currentThread();
        m_dialog = new Dialog_progress_ui([log = m_log, ui](ui_result r) {
            const std::lock_guard<std::mutex> lock(log->mutex);
            log->results.push_back({r, QThread::currentThread() != ui});
        });
        m_dialog->show();
    }
    std::vector<std::pair<ui_result, bool>> results() const
    {
        const std::lock_guard<std::mutex> lock(m_log->mutex);
        return m_log->results;
    }

    void send(const std::vector<event>& events)
    {
        for (const event& e : events)
            m_dialog->reportEvent(e.code, e.data, e.status);
        QTest::qWait(0);
    }
    QString label(const char* name) const { return m_dialog->findChild<QLabel*>(name)->text(); }
    QPushButton* button(const char* name) const { return m_dialog->findChild<QPushButton*>(name); }

    std::shared_ptr<host_log> m_log;
    QPointer<Dialog_progress_ui> m_dialog;
};

TEST_F(ProgressDialog, EventsDriveTheStatesAndTheCount)
{
    const std::string longText(100000, 'x');
    const struct {
        std::vector<event> events;
        QString status;
        QString count;
        bool cancelShown;
        bool closeShown;
    } cases[] = {
        {{}, "start scanning", "image recived:0", false, false},
        {{{8, nullptr, 0}}, "Start scan...", "image recived:0", true, false},
        {{{8, "Feeding", 0}}, "Start scan...", "image recived:0", true, false},
        {{{8, "Feeding", 1}}, "Feeding", "image recived:0", true, false},
        {{{8, nullptr, 1}, {10, nullptr, 0}, {10, nullptr, 0}}, "Start scan...", "image recived:2", true, false},
        {{{8, nullptr, 0}, {10, nullptr, 0}, {10, nullptr, 0}, {10, nullptr, 0}, {12, nullptr, 1}},
         "Scan completed", "Total scanned images: 3", false, true},
        {{{8, nullptr, 0}, {12, "Paper jam", 5}}, "Paper jam", "Total scanned images: 0", false, true},
        {{{12, "\xff\xfe\xc3", 3}}, QString::fromUtf8("\xff\xfe\xc3"), "Total scanned images: 0", false, true},
        {{{7, "x", 1}, {11, "x", 1}, {-1, nullptr, 0}}, "start scanning", "image recived:0", false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.status.toStdString());
        open();
        send(c.events);
        EXPECT_EQ(label("label_status"), c.status);
        EXPECT_EQ(label("label_imageCount"), c.count);
        EXPECT_EQ(button("pbtn_cancelScan")->isVisible(), c.cancelShown);
        EXPECT_EQ(button("pbtn_close")->isVisible(), c.closeShown);
    }
    // A runaway host text is cut, not read to its end.
    send({{12, longText.c_str(), 1}});
    EXPECT_EQ(label("label_status").size(), 4096);
}

TEST_F(ProgressDialog, OnlyASuccessfulFinishClosesItselfAfterOneSecond)
{
    for (const int status : {0, 257, 1}) {
        SCOPED_TRACE(status);
        open();
        send({{8, nullptr, 0}, {12, nullptr, status}});
        QElapsedTimer timer;
        timer.start();
        const bool closed = waitUntil([&] { return !m_dialog; }, 1800);
        EXPECT_EQ(closed, status != 1);
        if (closed) {
            EXPECT_GE(timer.elapsed(), 900);
            // The host hears of it half a second later, off the UI thread.
            ASSERT_TRUE(waitUntil([&] { return results().size() == 1; }));
            EXPECT_EQ(results()[0], std::make_pair(UI_RESULT_CLOSE_NORMAL, true));
        }
    }
}

TEST_F(ProgressDialog, CancelIsSentOnceAndOnlyWhileScanning)
{
    QTest::mouseClick(button("pbtn_cancelScan"), Qt::LeftButton); // not scanning yet
    send({{8, nullptr, 0}});
    QTest::mouseClick(button("pbtn_cancelScan"), Qt::LeftButton);
    QTest::mouseClick(button("pbtn_cancelScan"), Qt::LeftButton);
    EXPECT_EQ(label("label_status"), "stop scanning");
    EXPECT_FALSE(button("pbtn_cancelScan")->isVisible());
    ASSERT_TRUE(waitUntil([&] { return !results().empty(); }));
    QTest::qWait(200);
    EXPECT_EQ(results(), (std::vector<std::pair<ui_result, bool>>{{UI_RESULT_CANCEL_SCAN, true}}));
}

TEST_F(ProgressDialog, NoKeyAndNoTitleBarCloseEndsIt)
{
    for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter})
        QTest::keyClick(m_dialog, key);
    m_dialog->windowHandle()->close(); // as the window manager's close button
    QTest::qWait(0);
    ASSERT_TRUE(m_dialog);
    EXPECT_TRUE(m_dialog->isVisible());
    m_dialog->close();
    EXPECT_TRUE(waitUntil([&] { return !m_dialog; }));
}

} // namespace
