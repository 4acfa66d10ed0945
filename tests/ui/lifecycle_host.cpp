// A host that does to the library what real hosts do: exits with a box open,
// unloads and reloads it, closes everything while other threads ask for boxes.
// lifecycle_tests runs one scenario per process:
//
//   lifecycle_host <exit|reload|close-race|two-in-a-row> <own|host> <home> <run>
//
// It exits with 0 (3 for "exit") when the scenario held.
#include "ui_test_support.h"

#include <QTimer>

#include <dlfcn.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kExitCode = 3;
constexpr int kCycles = 20;

struct Library {
    bool load()
    {
        handle = dlopen(VELTWAINUI_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        show = reinterpret_cast<decltype(show)>(dlsym(handle, "show_messagebox_ui"));
        close = reinterpret_cast<decltype(close)>(dlsym(handle, "close_ui"));
        pump = reinterpret_cast<decltype(pump)>(dlsym(handle, "pump_ui_message"));
        return show && close && pump;
    }
    void* handle = nullptr;
    int (*show)(void*, int, const char*, int) = nullptr;
    int (*close)(int) = nullptr;
    void (*pump)() = nullptr;
} g_lib;

bool g_hostApp = false;

// Qt's data for a thread that asks Qt anything is freed only when that thread
// ends, which the main thread of an own-thread host never does: it asks through
// short-lived threads.
QStringList openBoxes()
{
    QStringList texts;
    const auto read = [&] {
        for (QMessageBox* box : visibleMessageBoxes())
            texts << box->text();
    };
    if (g_hostApp)
        read();
    else
        std::thread([&] { QMetaObject::invokeMethod(qApp, read, Qt::BlockingQueuedConnection); }).join();
    texts.sort();
    return texts;
}

bool waitUntil(const std::function<bool()>& pred)
{
    const QDeadlineTimer deadline(10000);
    while (!pred() && !deadline.hasExpired()) {
        if (g_hostApp)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        else
            QThread::msleep(5);
    }
    return pred();
}

void closeBoxes()
{
    for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* box = qobject_cast<QMessageBox*>(w))
            box->done(QMessageBox::Ok);
}

void ask(const char* text)
{
    g_lib.show(nullptr, 0, text, 0);
}

int exitOwn(int run)
{
    // Runs 2, 3 (mod 4) ask from a worker. Runs 6, 7 (mod 8) also load the library
    // there, so the exiting main thread never touched it; they end once the box is idle.
    const bool viaWorker = run % 4 >= 2;
    const bool mainUntouched = run % 8 >= 6;
    const auto askOnce = [&] {
        if (!mainUntouched || g_lib.load())
            ask("open at exit");
    };
    if (viaWorker)
        std::thread(askOnce).join();
    else
        askOnce();
    // Every other run ends before the box has even been built.
    if ((run % 2 || mainUntouched) && !waitUntil([] { return openBoxes().size() == 1; }))
        return 1;
    if (mainUntouched)
        QThread::msleep(500);
    return kExitCode;
}

int exitHost(int run)
{
    // The box runs inside the call, so the host's own timer ends the process from it.
    QTimer::singleShot(run % 2 ? 0 : 20, [] {
        waitUntil([] { return openBoxes().size() == 1; });
        std::exit(kExitCode);
    });
    ask("open at exit");
    return 1;
}

int reloadOwn()
{
    for (int i = 0; i < kCycles; ++i) {
        if (i > 0 && (dlclose(g_lib.handle) != 0 || !g_lib.load()))
            return 1;
        ask(std::to_string(100 + i).c_str());
        // Every box stays open across the following dlclose.
        if (!waitUntil([i] { return openBoxes().size() == i + 1; }))
            return 2;
    }
    return 0;
}

int reloadHost()
{
    bool allShown = true;
    for (int i = 0; i < kCycles; ++i) {
        const QString text = QString::number(100 + i);
        // Inside the box's loop: unload and load again, then let the box go.
        QTimer::singleShot(0, [&, text] {
            allShown = waitUntil([&] { return openBoxes() == QStringList{text}; }) && allShown;
            if (dlclose(g_lib.handle) != 0 || !g_lib.load())
                std::_Exit(1);
            closeBoxes();
        });
        ask(text.toUtf8().constData());
    }
    g_lib.close(-1);
    return allShown ? 0 : 2;
}

int closeRaceHost()
{
    std::atomic<bool> racing{true};
    // The askers stop on their own clock: on a slow machine the GUI thread may be
    // nested in boxes until the requests stop coming.
    const QDeadlineTimer deadline(3000);
    std::vector<std::thread> askers;
    for (unsigned seed = 1; seed <= 3; ++seed) {
        askers.emplace_back([seed, &racing, deadline] {
            std::mt19937 rng(seed);
            while (racing && !deadline.hasExpired()) {
                ask("race");
                if (rng() % 4 == 0) // teardown is asked for from any thread
                    g_lib.close(-1);
                std::this_thread::sleep_for(std::chrono::milliseconds(10 + rng() % 30));
            }
        });
    }
    // Runs in the host's loop and in every box's loop alike.
    bool wrongThread = false;
    bool lastShown = false;
    QTimer closer;
    QObject::connect(&closer, &QTimer::timeout, [&] {
        if (racing)
            g_lib.close(-1);
        for (QMessageBox* box : visibleMessageBoxes()) {
            wrongThread = wrongThread || box->thread() != qApp->thread();
            lastShown = lastShown || box->text() == "last";
        }
        closeBoxes();
    });
    closer.start(5);
    while (!deadline.hasExpired()) {
        g_lib.close(-1);
        g_lib.pump();
        QThread::usleep(100);
    }
    racing = false;
    for (auto& t : askers)
        t.join();

    // The next request from another thread still gets through.
    std::thread(ask, "last").join();
    const bool shown = waitUntil([&] {
        g_lib.pump();
        return lastShown;
    });
    g_lib.close(-1);
    return shown && !wrongThread ? 0 : 2;
}

int twoInARow(bool hostApp)
{
    const auto both = [] { return openBoxes() == QStringList{"first", "second"}; };
    const auto askTwice = [] {
        ask("first");
        ask("second");
    };
    if (!hostApp) {
        askTwice();
        return waitUntil(both) ? 0 : 2;
    }
    // From a worker the requests queue up for the GUI thread, which runs them nested.
    std::thread(askTwice).join();
    bool seen = false;
    QTimer::singleShot(0, [&] {
        seen = waitUntil(both);
        closeBoxes();
    });
    waitUntil([&] {
        g_lib.pump();
        return seen;
    });
    g_lib.close(-1);
    return seen ? 0 : 2;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 5)
        return 64;
    const std::string scenario = argv[1];
    const bool hostApp = g_hostApp = std::string(argv[2]) == "host";
    const int run = std::atoi(argv[4]);
    ZyBase_SetHomeDir(argv[3]);
    // The race makes windows by the hundred, which a display server answers slowly
    // enough to stall it; what it tests is our threads, so it draws offscreen.
    if (qEnvironmentVariableIsEmpty("DISPLAY") || scenario == "close-race")
        qputenv("QT_QPA_PLATFORM", "offscreen");

    // Own-thread hosts have no application; the library makes one.
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
