#include "window_watcher.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QPushButton>
#include <QStringList>
#include <QDir>
#include <QImage>
#include <QThread>
#include <QTimer>

namespace {
constexpr int kTickMs = 100;
// Give a new window time to lay itself out and paint before the shot.
constexpr int kSettleMs = 400;

// What an unattended user presses: the default button (OK, which also loads a
// picked driver), else the first one. A progress dialog is left to its scan and
// only closed once its Close button shows; the settings are asked for a scan.
void answer(QDialog* dialog)
{
    const auto buttons = dialog->findChildren<QPushButton*>();
    if (dialog->inherits("Dialog_progress_ui")) {
        for (QPushButton* b : buttons) {
            if (b->objectName() == "pbtn_close" && b->isVisible())
                b->click();
        }
        return;
    }
    // An unattended user looks at the About box and each tool the device
    // offers, once, then scans; the end of the scan closes the settings.
    if (dialog->inherits("zy_settingdialog")) {
        QStringList opened = dialog->property("velscanOpened").toStringList();
        for (const char* name : {"pbtn_about", "pbtn_crop", "pbtn_toneCurve", "pbtn_scan"}) {
            auto* b = dialog->findChild<QPushButton*>(name);
            if (!b || b->isHidden() || opened.contains(name))
                continue;
            // A tool opens while the box beside it is ticked.
            auto* box = b->parentWidget()->findChild<QCheckBox*>();
            if (!b->isEnabled() && box && box->isEnabled() && !box->isChecked())
                box->click();
            if (!b->isEnabled())
                continue;
            opened << name;
            dialog->setProperty("velscanOpened", opened);
            // Later: a tool runs its own modal loop, which must not run inside this tick.
            QTimer::singleShot(0, b, &QPushButton::click);
            return;
        }
        return;
    }
    QPushButton* first = nullptr;
    for (QPushButton* b : buttons) {
        if (!b->isVisible() || !b->isEnabled())
            continue;
        if (b->isDefault()) {
            b->click();
            return;
        }
        if (!first)
            first = b;
    }
    if (first)
        first->click();
    else
        dialog->done(QDialog::Accepted);
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
        Seen& seen = current[w] = known != m_windows.end() ? known->second : Seen{m_clock, false};
        const qint64 age = m_clock - seen.since;
        if (!seen.shot && age >= kSettleMs && !m_dir.isEmpty()) {
            const QString name = QString("%1-%2.png").arg(++m_shots, 2, 10, QChar('0'))
                                     .arg(QString::fromLatin1(w->metaObject()->className()));
            w->grab().toImage().save(QDir(m_dir).filePath(name));
            seen.shot = true;
        }
        if (m_autoCloseMs >= 0 && age >= kSettleMs + m_autoCloseMs) {
            if (auto* dialog = qobject_cast<QDialog*>(w))
                answer(dialog);
            else
                w->close();
        }
    }
    m_windows = std::move(current);
    m_visible = int(m_windows.size());
    if (m_visible > 0)
        m_seenAny = true;
}
