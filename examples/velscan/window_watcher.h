// Watches the library's windows from the UI thread: keeps a screenshot of each
// new window and, in unattended runs, closes it after a while.
#ifndef VELSCAN_WINDOW_WATCHER_H
#define VELSCAN_WINDOW_WATCHER_H

#include <QObject>
#include <QString>
#include <QTimer>
#include <QWidget>

#include <atomic>
#include <functional>
#include <map>

// Runs fn on the application's thread and waits for it.
void runOnAppThread(const std::function<void()>& fn);

class WindowWatcher : public QObject
{
    Q_OBJECT

public:
    // screenshotDir empty: no screenshots; autoCloseMs < 0: the user closes windows.
    WindowWatcher(QString screenshotDir, int autoCloseMs);

    // Moves the watcher to the application's thread and starts watching there.
    void start();
    // True once a window has been seen and every window is closed again.
    bool allClosed() const { return m_seenAny && m_visible == 0; }
    int screenshots() const { return m_shots; }

private slots:
    void onTick();

private:
    struct Seen {
        qint64 since;
        bool shot;
    };

    QString m_dir;
    int m_autoCloseMs;
    QTimer* m_timer = nullptr;
    qint64 m_clock = 0;
    std::map<const QWidget*, Seen> m_windows; // the windows visible at the last tick
    std::atomic<int> m_visible{0};
    std::atomic<bool> m_seenAny{false};
    std::atomic<int> m_shots{0};
};

#endif
