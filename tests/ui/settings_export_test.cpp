// show_setting_ui through the export, with the library's own UI thread: the host
// calls from its thread, reports scan events from another, and closes by close_ui.
#include "fakedriver_api.h"
#include "ui_test_support.h"

#include <veltwainui/twainui.h>
#include <lexipak.h>

#include <gtest/gtest.h>

#include <QComboBox>
#include <QTabWidget>

#include <mutex>
#include <thread>
#include <vector>

namespace {

// The results one callback heard; it runs on the UI thread.
class Results
{
public:
    ui_result_callback callback()
    {
        return [this](ui_result r) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_results.push_back(r);
        };
    }
    std::vector<ui_result> get()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_results;
    }

private:
    std::mutex m_mutex;
    std::vector<ui_result> m_results;
};

class SettingsExport : public ::testing::Test
{
protected:
    SettingsExport() { lang_set_code_page(LEXIPAK_CP_SIMPLIFIED_CHINESE); }
    ~SettingsExport() override
    {
        close_ui(2);
        waitFor([] { return dialogs().isEmpty(); });
        lang_set_code_page(0);
    }

    int show(Results& results, ui_event_callback* events = nullptr)
    {
        _sane_api api = m_device.api();
        return show_setting_ui(m_device.handle(), nullptr, &api, "FS-1000", true,
                               results.callback(), events);
    }

    // The visible settings dialogs, looked up on the UI thread.
    static QList<QWidget*> dialogs()
    {
        QList<QWidget*> found;
        onUiThread([&] {
            for (QWidget* w : QApplication::topLevelWidgets())
                if (w->inherits("zy_settingdialog") && w->isVisible())
                    found << w;
        });
        return found;
    }

    fakedriver_device m_device;
    TestHome m_home;
};

TEST_F(SettingsExport, OpensOnTopWithAnEmptyConfigurationAndEndsWithItsScan)
{
    Results results;
    ui_event_callback events;
    EXPECT_EQ(show(results, &events), 0);
    ASSERT_TRUE(events) << "the host's wrapper holds the handler on return";
    ASSERT_TRUE(waitFor([] { return dialogs().size() == 1; }));

    QWidget* dialog = dialogs().first();
    onUiThread([&] {
        EXPECT_TRUE(dialog->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        EXPECT_TRUE(dialog->isModal());
        EXPECT_EQ(dialog->windowTitle(), "FS-1000");
        // No configuration was loaded: the default scheme only.
        EXPECT_EQ(dialog->findChild<QComboBox*>()->count(), 1);
    });

    QMetaObject::invokeMethod(dialog, "slot_buttonScanClicked", Qt::BlockingQueuedConnection);
    EXPECT_EQ(results.get(), std::vector<ui_result>{UI_RESULT_START_SCAN});

    // The driver reports from its own thread; while it scans the dialog stays.
    std::thread([&] { events(EVENT_SCAN_WORKING, nullptr, 0); }).join();
    EXPECT_TRUE(waitFor([&] {
        bool enabled = true;
        onUiThread([&] { enabled = dialog->findChild<QTabWidget*>()->isEnabled(); });
        return !enabled;
    }));
    QMetaObject::invokeMethod(dialog, "close", Qt::BlockingQueuedConnection);
    EXPECT_EQ(dialogs().size(), 1) << "closing is refused while a scan runs";
    char text[] = "Scan completed";
    std::thread([&] { events(EVENT_SCAN_FINISHED, text, 1); }).join();
    text[0] = 0; // the host's buffer is gone: the text was copied
    QString prompt;
    ASSERT_TRUE(waitFor([&] {
        onUiThread([&] {
            for (QMessageBox* box : visibleMessageBoxes()) {
                prompt = box->text();
                box->done(QMessageBox::Ok);
            }
        });
        return !prompt.isEmpty();
    }));
    EXPECT_EQ(prompt, "Scan completed");
    EXPECT_TRUE(waitFor([] { return dialogs().isEmpty(); }));
    EXPECT_TRUE(waitFor([&] {
        return results.get() == std::vector<ui_result>{UI_RESULT_START_SCAN, UI_RESULT_CLOSE_NORMAL};
    }));
}

TEST_F(SettingsExport, SecondShowReplacesTheFirstAndCloseUiEndsWithoutResult)
{
    Results first, second;
    show(first);
    show(second);
    EXPECT_TRUE(waitFor([&] { return first.get() == std::vector<ui_result>{UI_RESULT_CLOSE_SETTING}; }));
    EXPECT_EQ(dialogs().size(), 1);

    close_ui(2);
    EXPECT_TRUE(waitFor([] { return dialogs().isEmpty(); }));
    EXPECT_TRUE(second.get().empty());
}

} // namespace
