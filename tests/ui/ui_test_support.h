// Shared by the UI test programs: a private home directory and waiting for windows.
#ifndef UI_TEST_SUPPORT_H
#define UI_TEST_SUPPORT_H

#include <ZyBase.h>

#include <QApplication>
#include <QDeadlineTimer>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QThread>

#include <functional>

// Points the library's configuration and log at a temporary directory.
class TestHome
{
public:
    TestHome() { ZyBase_SetHomeDir(m_dir.path().toUtf8().constData()); }
    ~TestHome() { ZyBase_SetHomeDir(nullptr); }
    QString path() const { return m_dir.path(); }

private:
    QTemporaryDir m_dir;
};

// Runs fn on the application's thread and waits for it.
inline void onUiThread(const std::function<void()>& fn)
{
    QCoreApplication* app = QCoreApplication::instance();
    if (app->thread() == QThread::currentThread())
        fn();
    else
        QMetaObject::invokeMethod(app, fn, Qt::BlockingQueuedConnection);
}

inline QList<QMessageBox*> visibleMessageBoxes()
{
    QList<QMessageBox*> boxes;
    for (QWidget* w : QApplication::topLevelWidgets()) {
        if (auto* box = qobject_cast<QMessageBox*>(w); box && box->isVisible())
            boxes << box;
    }
    return boxes;
}

// Polls until pred holds (true) or the time runs out (false); pumps events
// when called on the application's thread.
inline bool waitFor(const std::function<bool()>& pred, int ms = 5000)
{
    QDeadlineTimer deadline(ms);
    while (!deadline.hasExpired()) {
        if (pred())
            return true;
        if (QCoreApplication::instance()
            && QCoreApplication::instance()->thread() == QThread::currentThread())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        else
            QThread::msleep(10);
    }
    return pred();
}

#endif
