// A host that does what real hosts do to the library: exits with a box open,
// unloads and reloads it, closes everything from its GUI thread while other
// threads ask for boxes. Run by lifecycle_test, one scenario per process:
//
//   lifecycle_host <exit|reload|close-race|two-in-a-row> <own|host> <home> <run>
//
// Exit code 0 (3 for "exit") when the scenario held; anything else is a failure.
#include <ZyBase.h>

#include <QApplication>
#include <QDeadlineTimer>
#include <QMessageBox>
#include <QThread>
#include <QTimer>

#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kExitCode = 3;

class Library
{
public:
    bool load()
    {
        m_handle = dlopen(VELTWAINUI_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        if (!m_handle)
            return false;
        show = reinterpret_cast<int (*)(void*, int, const char*, int)>(dlsym(m_handle, "show_messagebox_ui"));
        close = reinterpret_cast<int (*)(int)>(dlsym(m_handle, "close_ui"));
        pump = reinterpret_cast<void (*)()>(dlsym(m_handle, "pump_ui_message"));
        return show && close && pump;
    }
    void unload()
    {
        dlclose(m_handle);
        m_handle = nullptr;
    }

    int (*show)(void*, int, const char*, int) = nullptr;
    int (*close)(int) = nullptr;
    void (*pump)() = nullptr;

private:
    void* m_handle = nullptr;
};

Library g_lib;

// Runs fn on the application's thread and waits for it.
void onAppThread(const std::function<void()>& fn)
{
    QCoreApplication* app = QCoreApplication::instance();
    if (app->thread() == QThread::currentThread())
        fn();
    else
        QMetaObject::invokeMethod(app, fn, Qt::BlockingQueuedConnection);
}

QStringList openBoxes()
{
    QStringList texts;
    onAppThread([&] {
        for (QWidget* w : QApplication::topLevelWidgets())
            if (auto* box = qobject_cast<QMessageBox*>(w); box && box->isVisible())
                texts << box->text();
    });
    std::sort(texts.begin(), texts.end());
    return texts;
}

bool waitFor(const std::function<bool()>& pred, int ms = 10000)
{
    const QDeadlineTimer deadline(ms);
    while (!pred()) {
        if (deadline.hasExpired())
            return false;
        if (QCoreApplication::instance() && QCoreApplication::instance()->thread() == QThread::currentThread())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        else
            QThread::msleep(5);
    }
    return true;
}

double nowUs()
{
    using namespace std::chrono;
    return duration<double, std::micro>(steady_clock::now().time_since_epoch()).count();
}

void reportMedian(const char* what, std::vector<double> us)
{
    std::sort(us.begin(), us.end());
    if (!us.empty())
        std::printf("%s median %.0f us, max %.0f us over %zu cycles\n", what, us[us.size() / 2],
                    us.back(), us.size());
}

// --- exit: the process ends while a box is up ----------------------------------------

int exitOwn(int run)
{
    const bool viaWorker = run % 4 >= 2;
    // A host whose main thread never touched us: the library is loaded and called
    // from a worker, and the process ends once the box is idle.
    const bool mainUntouched = run % 8 >= 6;
    const auto ask = [] { g_lib.show(nullptr, 0, "open at exit", 0); };
    if (!viaWorker)
        ask();
    else
        std::thread([&] {
            if (!mainUntouched || g_lib.load())
                ask();
        }).join();
    // Every other run exits before the box has even been built.
    if ((run % 2 || mainUntouched) && !waitFor([] { return openBoxes().size() == 1; }))
        return 1;
    if (mainUntouched)
        QThread::msleep(500);
    return kExitCode;
}

int exitHost(int run)
{
    // The box runs inside the call, so the host's own timer ends the process from it.
    QTimer::singleShot(run % 2 ? 0 : 20, [] {
        waitFor([] { return openBoxes().size() == 1; });
        std::exit(kExitCode);
    });
    g_lib.show(nullptr, 0, "open at exit", 0);
    return 1;
}

// --- reload: dlclose and dlopen with a box open across the dlclose ----------------------

constexpr int kCycles = 20;

int reloadOwn()
{
    std::vector<double> cycles;
    for (int i = 0; i < kCycles; ++i) {
        const double start = nowUs();
        if (i > 0) {
            g_lib.unload();
            if (!g_lib.load())
                return 1;
        }
        g_lib.show(nullptr, 0, std::to_string(100 + i).c_str(), 0);
        if (i > 0)
            cycles.push_back(nowUs() - start);
        // Each box stays open across the next dlclose.
        if (!waitFor([i] { return openBoxes().size() == i + 1; }))
            return 2;
    }
    reportMedian("dlclose+dlopen+export", cycles);
    return openBoxes().constLast() == QString::number(100 + kCycles - 1) ? 0 : 3;
}

int reloadHost()
{
    std::vector<double> cycles;
    int failures = 0;
    double start = 0;
    for (int i = 0; i < kCycles; ++i) {
        const QString text = QString::number(100 + i);
        // Inside the box's loop: unload and load again, then let the box go.
        QTimer::singleShot(0, [&, text] {
            if (!waitFor([&] { return openBoxes() == QStringList{text}; }))
                ++failures;
            if (start > 0)
                cycles.push_back(nowUs() - start);
            start = nowUs();
            g_lib.unload();
            if (!g_lib.load())
                std::_Exit(1);
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
                box->done(QMessageBox::Ok);
        });
        g_lib.show(nullptr, 0, text.toUtf8().constData(), 0);
    }
    g_lib.close(-1);
    reportMedian("dlclose+dlopen+export", cycles);
    return failures == 0 ? 0 : 2;
}

// --- close-race: the GUI thread closes everything while other threads ask for boxes -------

int closeRaceHost()
{
    std::atomic<bool> racing{true};
    std::vector<std::thread> askers;
    for (int seed = 1; seed <= 3; ++seed) {
        askers.emplace_back([seed, &racing] {
            std::mt19937 rng(seed);
            while (racing) {
                g_lib.show(nullptr, 0, "race", 0);
                if (rng() % 4 == 0) // teardown is asked for from any thread
                    g_lib.close(-1);
                std::this_thread::sleep_for(std::chrono::milliseconds(10 + rng() % 30));
            }
        });
    }
    // Runs in the host's loop and in every box's loop alike: closes everything,
    // and afterwards notes whether the last request still came through.
    int wrongThread = 0;
    bool lastShown = false;
    QTimer closer;
    QObject::connect(&closer, &QTimer::timeout, [&] {
        if (racing)
            g_lib.close(-1);
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (auto* box = qobject_cast<QMessageBox*>(w)) {
                wrongThread += box->thread() != qApp->thread();
                lastShown = lastShown || (!racing && box->isVisible() && box->text() == "last");
                box->done(QMessageBox::Ok);
            }
        }
    });
    closer.start(5);
    const QDeadlineTimer deadline(3000);
    while (!deadline.hasExpired()) {
        g_lib.close(-1);
        g_lib.pump();
        QThread::usleep(100);
    }
    racing = false;
    for (auto& t : askers)
        t.join();

    std::thread([] { g_lib.show(nullptr, 0, "last", 0); }).join();
    const bool shown = waitFor([&] {
        g_lib.pump();
        return lastShown;
    });
    g_lib.close(-1);
    return shown && wrongThread == 0 ? 0 : 2;
}

// --- two-in-a-row: two requests from one thread, both shown with their own text ----------

int twoInARow(bool hostApp)
{
    const auto both = [] { return openBoxes() == QStringList{"first", "second"}; };
    if (!hostApp) {
        g_lib.show(nullptr, 0, "first", 0);
        g_lib.show(nullptr, 0, "second", 0);
        return waitFor(both) ? 0 : 2;
    }
    // From a worker thread the requests queue up for the GUI thread.
    std::thread([] {
        g_lib.show(nullptr, 0, "first", 0);
        g_lib.show(nullptr, 0, "second", 0);
    }).join();
    bool seen = false;
    QTimer::singleShot(0, [&] {
        seen = waitFor(both);
        while (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
            box->done(QMessageBox::Ok);
    });
    waitFor([&] {
        g_lib.pump();
        return seen;
    });
    g_lib.close(-1);
    return seen ? 0 : 2;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 5) {
        std::fputs("usage: lifecycle_host <scenario> <own|host> <home> <run>\n", stderr);
        return 64;
    }
    const std::string scenario = argv[1];
    const bool hostApp = std::strcmp(argv[2], "host") == 0;
    const int run = std::atoi(argv[4]);
    ZyBase_SetHomeDir(argv[3]);
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");

    // Own-thread hosts have no application of their own; the library makes one.
    static int appArgc = 1;
    QApplication* app = hostApp ? new QApplication(appArgc, argv) : nullptr;
    const bool loadLater = scenario == "exit" && !hostApp && run % 8 >= 6;
    if (!loadLater && !g_lib.load()) {
        std::fprintf(stderr, "lifecycle_host: %s\n", dlerror());
        return 65;
    }

    int result = 64;
    if (scenario == "exit")
        result = hostApp ? exitHost(run) : exitOwn(run);
    else if (scenario == "reload")
        result = hostApp ? reloadHost() : reloadOwn();
    else if (scenario == "close-race" && hostApp)
        result = closeRaceHost();
    else if (scenario == "two-in-a-row")
        result = twoInARow(hostApp);
    delete app;
    return result;
}
