// Shared by the settings dialog tests: a dialog opened on a driver with a
// configuration file of its own, message boxes answered as they come, and
// Debian's SANE test backend.
#ifndef SETTINGS_SUPPORT_H
#define SETTINGS_SUPPORT_H

#include "fakedriver_api.h"
#include "gb_json.h"
#include "sane_driver.h"
#include "temp_dir.h"
#include "ui_test_support.h"
#include "zy_settingdialog.h"

#include <gtest/gtest.h>

#include <QMessageBox>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <QTranslator>

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

// Answers every message box that opens with answer, keeping its text; inspect
// sees the box first.
class BoxAnswerer : public QObject
{
public:
    BoxAnswerer()
    {
        connect(&m_timer, &QTimer::timeout, this, [this] {
            for (QMessageBox* box : visibleMessageBoxes()) {
                if (inspect)
                    inspect(box);
                texts << box->text();
                box->done(answer);
            }
        });
        m_timer.start(5);
    }
    QStringList texts;
    int answer = QMessageBox::Ok;
    std::function<void(QMessageBox*)> inspect;

private:
    QTimer m_timer;
};

struct cfg_releaser {
    void operator()(gb::scanner_cfg* cfg) const { cfg->release(); }
};
using cfg_ptr = std::unique_ptr<gb::scanner_cfg, cfg_releaser>;

// A dialog on some driver, its configuration file in a private folder, the
// results it reports.
class SettingsHarness
{
public:
    SettingsHarness() : m_cfg(new gb::scanner_cfg())
    {
        m_cfg->load_file(cfgPath().c_str());
    }
    ~SettingsHarness() { closeDialog(); }

    zy_settingdialog* open(const _sane_api& api, SANE_Handle handle, bool withScan = true)
    {
        m_dialog = new zy_settingdialog(nullptr, handle, &api, withScan, "FS-1000", m_cfg.get(),
                                        [this](ui_result r) { results.push_back(r); }, nullptr);
        m_dialog->show();
        return m_dialog;
    }
    // Closes the dialog the way the user would, if still open, and lets it go.
    void closeDialog()
    {
        if (m_dialog)
            m_dialog->close();
        settle();
    }
    static void settle()
    {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    zy_settingdialog* dialog() const { return m_dialog; }
    gb::scanner_cfg* cfg() const { return m_cfg.get(); }
    std::string cfgPath() const { return m_dir.file("FS-1000.cfg"); }

    template <typename W>
    W* control(int id, int index = 0) const
    {
        const QVector<QWidget*> controls = m_dialog->find_control(id);
        return index < controls.size() ? qobject_cast<W*>(controls[index]) : nullptr;
    }

    std::vector<ui_result> results;
    BoxAnswerer boxes;

private:
    veltest::TempDir m_dir;
    cfg_ptr m_cfg;
    QPointer<zy_settingdialog> m_dialog;
};

// Debian's test backend with its test options, loaded and opened; skipped when
// libsane1 does not provide it.
class TestBackend
{
public:
    TestBackend()
    {
        if (std::string(SANE_TEST_BACKEND).empty())
            return;
        veltest::writeFile(m_config.file("test.conf"),
                           "number_of_devices 1\nenable-test-options true\n");
        setenv("SANE_CONFIG_DIR", m_config.path().c_str(), 1);
        if (ZyBase_CreateDll(SANE_TEST_BACKEND, &m_dll) != 0
            || FindFunctions(m_dll, "test", &m_api) != 0)
            return;
#if defined(__SANITIZE_ADDRESS__)
        __lsan_disable(); // libsane keeps its configuration search path for the process
#endif
        m_api.sane_init(nullptr, nullptr);
#if defined(__SANITIZE_ADDRESS__)
        __lsan_enable();
#endif
        const SANE_Device** devices = nullptr;
        if (m_api.sane_get_devices(&devices, SANE_TRUE) == SANE_STATUS_GOOD && devices[0]
            && m_api.sane_open(devices[0]->name, &m_handle) == SANE_STATUS_GOOD)
            m_open = true;
    }
    ~TestBackend()
    {
        if (m_open)
            m_api.sane_close(m_handle);
        if (m_dll) {
            m_api.sane_exit();
            ZyBase_DestroyDll(m_dll);
        }
        unsetenv("SANE_CONFIG_DIR");
    }
    bool open() const { return m_open; }
    const _sane_api& api() const { return m_api; }
    SANE_Handle handle() const { return m_handle; }

private:
    veltest::TempDir m_config;
    ZyDll* m_dll = nullptr;
    _sane_api m_api{};
    SANE_Handle m_handle = nullptr;
    bool m_open = false;
};

// The library's catalogue for a code page, as the manager would install it.
class Catalogue
{
public:
    explicit Catalogue(const char* language)
    {
        if (m_translator.load(QString("%1/TwainUI_%2.qm").arg(TRANSLATION_DIR, language)))
            QCoreApplication::installTranslator(&m_translator);
    }
    ~Catalogue() { QCoreApplication::removeTranslator(&m_translator); }

private:
    QTranslator m_translator;
};

#endif
