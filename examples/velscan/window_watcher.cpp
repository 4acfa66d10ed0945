#include "window_watcher.h"

#include <QApplication>
#include <QDialog>
#include <QPushButton>
#include <QDir>
#include <QImage>
#include <QThread>

namespace {
constexpr int kTickMs = 100;
// Give a new window time to lay itself out and paint before the shot.
constexpr int kSettleMs = 400;

// What an unattended user presses, once: Scan in the settings dialog, which then
// closes by itself when the scan ends; Discard for a page that looks blank; else
// the default button (OK, which also loads a picked driver), else the first one.
// A progress dialog is left to its scan and only closed once its Close button
// shows. False: nothing pressed yet.
bool answer(QDialog* dialog)
{
    const auto buttons = dialog->findChildren<QPushButton*>();
    if (dialog->inherits("Dialog_progress_ui")) {
        for (QPushButton* b : buttons) {
            if (b->objectName() == "pbtn_close" && b->isVisible()) {
                b->click();
                return true;
            }
        }
        return false;
    }
    // A page that looks blank is one to throw away.
    if (dialog->inherits("Dialog_abnormal_img_select")) {
        for (QPushButton* b : buttons) {
            if (b->objectName() == "pushButton_discard") {
                b->click();
                return true;
            }
        }
    }
    if (dialog->inherits("zy_settingdialog")) {
        // The library's catalogue is installed in this application.
        const QString scan = QCoreApplication::translate("zy_settingdialog", "scan");
        for (QPushButton* b : buttons) {
            if (b->text() == scan && b->isVisible() && b->isEnabled()) {
                b->click();
                return true;
            }
        }
    }
    QPushButton* first = nullptr;
    for (QPushButton* b : buttons) {
        if (!b->isVisible() || !b->isEnabled())
            continue;
        if (b->isDefault()) {
            b->click();
            return true;
        }
        if (!first)
            first = b;
    }
    if (first)
        first->click();
    else
        dialog->done(QDialog::Accepted);
    return true;
}
} // namespace

void runOnAppThread(const std::function<void()>& fn)
{
    QObject* app = QCoreApplication::instance();
    if (app->thread() == QThread::currentThread())
        fn();
    else
        QMetaObject::invokeMethod(app, fn, Qt::BlockingQueuedConnection);
}

WindowWatcher::WindowWatcher(QString screenshotDir, int autoCloseMs)
    : m_dir(std::move(screenshotDir))
    , m_autoCloseMs(autoCloseMs)
{
    if (!m_dir.isEmpty())
        QDir().mkpath(m_dir);
}

void WindowWatcher::start()
{
    moveToThread(QCoreApplication::instance()->thread());
    runOnAppThread([this] {
        m_timer = new QTimer(this);
        connect(m_timer, &QTimer::timeout, this, &WindowWatcher::onTick);
        m_timer->start(kTickMs);
        onTick();
    });
}

void WindowWatcher::onTick()
{
    m_clock += kTickMs;
    std::map<const QWidget*, Seen> current;
    for (QWidget* w : QApplication::topLevelWidgets()) {
        if (!w->isVisible())
            continue;
        const auto known = m_windows.find(w);
        Seen& seen = current[w] =
            known != m_windows.end() ? known->second : Seen{m_clock, false, false};
        const qint64 age = m_clock - seen.since;
        if (!seen.shot && age >= kSettleMs && !m_dir.isEmpty()) {
            const QString name = QString("%1-%2.png").arg(++m_shots, 2, 10, QChar('0'))
                                     .arg(QString::fromLatin1(w->metaObject()->className()));
            w->grab().toImage().save(QDir(m_dir).filePath(name));
            seen.shot = true;
        }
        if (m_autoCloseMs >= 0 && !seen.answered && age >= kSettleMs + m_autoCloseMs) {
            if (auto* dialog = qobject_cast<QDialog*>(w)) {
                seen.answered = answer(dialog);
            } else {
                w->close();
                seen.answered = true;
            }
        }
    }
    m_windows = std::move(current);
    m_visible = int(m_windows.size());
    if (m_visible > 0)
        m_seenAny = true;
}
