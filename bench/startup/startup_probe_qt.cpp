// Baseline: a bare Qt widget application started on a thread of its own.
#include "probe_common.h"

#include <QApplication>

#include <condition_variable>
#include <mutex>
#include <thread>

int main()
{
    const long rssBefore = rssKb();
    std::mutex mutex;
    std::condition_variable ready;
    bool started = false;

    const double t0 = nowUs();
    std::thread ui([&] {
        int argc = 0;
        QApplication app(argc, nullptr);
        {
            const std::lock_guard<std::mutex> lock(mutex);
            started = true;
        }
        ready.notify_one();
        QApplication::exec();
    });
    {
        std::unique_lock<std::mutex> lock(mutex);
        ready.wait(lock, [&] { return started; });
    }
    const double t1 = nowUs();

    std::printf("0 %.1f %ld %ld %ld\n", t1 - t0, rssBefore, rssBefore, rssKb());
    std::fflush(stdout);
    _exit(0);
}
