// velscan: a small SANE front end that draws its windows with libVelTwainUI.
//
//   velscan [--own-thread] [--library PATH] [--backends DIR] [--backend PATH]
//           [--manufacturer NAME] [--device NAME] [--out DIR] [--blank-page N]
//           [--screenshots DIR] [--auto-close MS]
//
// It lets the user choose a driver among the installed SANE backends and one of
// its devices and opens the device's settings. On Scan it scans every sheet in
// the feeder (or one page) on a thread of its own, shows the progress, asks about
// pages that look blank and writes the pages as PNG files; the end of the scan
// closes the settings. Cancel in the progress dialog cancels the scan.
//
// velscan owns the Qt application, so the library builds each window inside the
// call and its choices come back on return. --own-thread lets the library run its
// own UI thread instead, as under a TWAIN data source; choices made there would
// come back only with the next call, so the driver and device are then taken
// from --backend and --device. Without a display the windows are drawn
// offscreen, answered after a while and kept as screenshots.
#include "sane_backend.h"
#include "scan_job.h"
#include "twainui_library.h"
#include "window_watcher.h"

#include <QApplication>
#include <QDir>
#include <QThread>

#include <dlfcn.h>
#include <limits.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

// SANE keeps its backends in sane/ beside libsane, wherever the system put it.
std::string saneBackendDir()
{
    void* sane = dlopen("libsane.so.1", RTLD_LAZY | RTLD_LOCAL);
    char dir[PATH_MAX] = {};
    const bool found = sane && dlinfo(sane, RTLD_DI_ORIGIN, dir) == 0;
    if (sane)
        dlclose(sane);
    return found ? std::string(dir) + "/sane" : std::string();
}

// The test backend's settings: beside velscan in the build tree, in share/ once installed.
std::string saneConfigDir()
{
    std::error_code error;
    const auto bin = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    for (const auto& dir : {bin / "sane", bin / ".." / "share" / "velscan" / "sane"}) {
        if (std::filesystem::exists(dir / "test.conf", error))
            return dir.lexically_normal().string();
    }
    return {};
}

struct Options {
    bool ownThread = false;
    // Hosts open the library by this name; the build tree's velscan finds its own.
    std::string library = "libVelTwainUI.so";
    std::string backends = saneBackendDir();
    std::string backend; // empty: the user chooses (own thread: the test backend)
    std::string manufacturer = "test";
    std::string device; // empty: the user chooses (own thread: the first one)
    std::string out = "velscan-pages";
    int blankPage = 3;
    std::string screenshots;
    int autoCloseMs = -1;
};

void usage()
{
    std::fputs("usage: velscan [--own-thread] [--library PATH] [--backends DIR] [--backend PATH]\n"
               "               [--manufacturer NAME] [--device NAME] [--out DIR] [--blank-page N]\n"
               "               [--screenshots DIR] [--auto-close MS]\n"
               "  --blank-page N  on SANE's test backend, scan page N as a blank sheet\n"
               "                  (default 3, 0 for none), so that velscan asks about it\n",
               stderr);
}

bool parse(int argc, char** argv, Options& options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&](std::string& out) {
            if (i + 1 >= argc)
                return false;
            out = argv[++i];
            return true;
        };
        std::string number;
        if (arg == "--own-thread")
            options.ownThread = true;
        else if (arg == "--library" ? !value(options.library)
                 : arg == "--backends" ? !value(options.backends)
                 : arg == "--backend" ? !value(options.backend)
                 : arg == "--manufacturer" ? !value(options.manufacturer)
                 : arg == "--device" ? !value(options.device)
                 : arg == "--out" ? !value(options.out)
                 : arg == "--screenshots" ? !value(options.screenshots)
                 : arg == "--blank-page" || arg == "--auto-close" ? !value(number)
                                                                   : true)
            return false;
        if (!number.empty())
            (arg == "--blank-page" ? options.blankPage : options.autoCloseMs) = std::atoi(number.c_str());
    }
    return true;
}

// Runs a call whose result the library gives on return only on its own thread.
template <typename Fn>
auto onUiThread(Fn fn)
{
    decltype(fn()) result{};
    runOnAppThread([&] { result = fn(); });
    return result;
}

// Offscreen, Qt says for every window that it cannot pass size hints on, and
// that there is no runtime directory: no news to the user of an unattended run.
void quietOffscreen(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (message.contains("does not support propagateSizeHints") || message.contains("XDG_RUNTIME_DIR"))
        return;
    std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, context, message)));
}

int fail(const std::string& why)
{
    std::fprintf(stderr, "velscan: %s\n", why.c_str());
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    const bool help = argc > 1 && std::string(argv[1]) == "--help";
    if (help || !parse(argc, argv, options)) {
        usage();
        return help ? 0 : 2;
    }
    const bool headless = qEnvironmentVariableIsEmpty("DISPLAY")
        && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    if (headless) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qInstallMessageHandler(quietOffscreen);
        if (options.screenshots.empty())
            options.screenshots = "velscan-screenshots";
        if (options.autoCloseMs < 0)
            options.autoCloseMs = 1500;
    }
    // The test backend reads its settings from here unless the user chose others.
    const std::string saneConfig = saneConfigDir();
    if (!saneConfig.empty())
        setenv("SANE_CONFIG_DIR", saneConfig.c_str(), 0);

    std::unique_ptr<QApplication> app;
    if (!options.ownThread) {
        static int appArgc = 1;
        app = std::make_unique<QApplication>(appArgc, argv);
    }
    TwainUiLibrary ui;
    if (!ui.load(options.library))
        return fail(ui.error());

    std::unique_ptr<WindowWatcher> watcher;
    auto watch = [&] {
        if (!watcher && QCoreApplication::instance()) {
            watcher = std::make_unique<WindowWatcher>(QString::fromStdString(options.screenshots),
                                                      options.autoCloseMs);
            watcher->start();
        }
    };
    watch();
    auto finish = [&](int code) {
        ui.close_ui(-1);
        if (watcher) {
            if (!options.screenshots.empty())
                std::printf("velscan: %d screenshot(s) in %s\n", watcher->screenshots(),
                            options.screenshots.c_str());
            runOnAppThread([&] { watcher.reset(); }); // its timer belongs to that thread
        }
        return code;
    };

    // ---- the driver ----
    SaneBackend backend;
    std::string manufacturer = options.manufacturer;
    if (options.backend.empty() && !options.ownThread) {
        const auto installed = installedBackends(options.backends);
        std::vector<const char*> names, paths;
        for (const auto& [name, path] : installed) {
            names.push_back(name.c_str());
            paths.push_back(path.c_str());
        }
        names.push_back(nullptr);
        paths.push_back(nullptr);
        ZyDll* dll = nullptr;
        _sane_api api{};
        std::vector<char> picked(256, '\0');
        ui.show_srclist_ui(names.data(), paths.data(), nullptr, &dll, &api, picked.data(),
                           unsigned(picked.size()));
        if (!dll)
            return fail("no driver chosen");
        manufacturer = picked.data();
        if (!backend.adopt(api, [&ui, dll] { ui.destroy_dll(dll); }))
            return fail(backend.error());
    } else {
        const std::string path = options.backend.empty() ? options.backends + "/libsane-test.so.1"
                                                         : options.backend;
        if (!backend.load(path, manufacturer))
            return fail(backend.error());
    }

    // ---- the device ----
    const auto devices = backend.deviceEntries();
    std::string device = options.device;
    if (device.empty() && !devices.empty()) {
        device = devices.front().name;
        if (!options.ownThread) {
            std::vector<_dev_que_ui> list;
            for (std::size_t i = 0; i < devices.size(); ++i)
                list.push_back({int32_t(i), devices[i].label, devices[i].name});
            const int id = ui.choose_scanner(list);
            if (id < 0 || std::size_t(id) >= devices.size())
                return fail("no device chosen");
            device = devices[std::size_t(id)].name;
        }
    }
    if (!backend.open(device))
        return fail(backend.error());
    const bool feeder = backend.selectFeeder();
    std::printf("velscan: scanning from %s on %s%s\n", device.c_str(), manufacturer.c_str(),
                feeder ? " (document feeder)" : "");

    // ---- the settings ----
    // Results come from the library's threads: only flags cross over.
    std::atomic<bool> scanAsked{false};
    std::atomic<bool> settingsClosed{false};
    ui_event_callback settingsEvent;
    _sane_api api = backend.api();
    // The device's saved settings first, as a scan without the dialog would have them.
    if (char* scheme = ui.apply_current_config(device.c_str(), backend.handle(), &api)) {
        std::printf("velscan: applied the configuration scheme \"%s\"\n", scheme);
        ui.twain_ui_free(scheme);
    }
    ui.show_setting_ui(backend.handle(), nullptr, &api, device.c_str(), true,
                       [&](ui_result result) {
                           if (result == UI_RESULT_START_SCAN)
                               scanAsked = true;
                           else
                               settingsClosed = true;
                       },
                       &settingsEvent);
    watch(); // on its own thread the library's application exists only now
    while (!scanAsked && !settingsClosed) {
        if (app)
            ui.pump_ui_message();
        QThread::msleep(10);
    }
    if (!scanAsked) {
        std::printf("velscan: settings closed without a scan\n");
        return finish(0);
    }

    // ---- the scan ----
    if (!QDir().mkpath(QString::fromStdString(options.out)))
        return fail("cannot make " + options.out);
    std::atomic<bool> progressClosed{false};
    std::unique_ptr<ScanJob> job;
    ui_event_callback progressEvent;
    ui.show_progress_ui(nullptr, [&](ui_result result) {
        if (result == UI_RESULT_CANCEL_SCAN && job)
            job->cancel();
        if (result == UI_RESULT_CLOSE_NORMAL)
            progressClosed = true;
    }, &progressEvent);

    const bool testBackend = manufacturer == "test";
    ScanJob::Hooks hooks;
    // The progress hears every event. The settings only learn that the scan
    // started (a text for them would open a message box), and that it ended once
    // the progress has shown so and closed: their end closes them.
    hooks.event = [&](int code, void* data, int status) {
        if (progressEvent)
            progressEvent(code, data, status);
        if (settingsEvent && code == 8)
            settingsEvent(code, nullptr, 0);
    };
    hooks.keep = [&ui](SANE_Image* image) {
        return onUiThread([&] { return ui.abnormal_image(image, nullptr); }) == 1;
    };
    hooks.beforePage = [&](int page) {
        if (testBackend && options.blankPage > 0 && (page == options.blankPage || page == options.blankPage + 1))
            backend.setString("test-picture", page == options.blankPage ? "Solid white" : "Color pattern");
    };
    job = std::make_unique<ScanJob>(backend.api(), backend.handle(), options.out, hooks);
    job->start(feeder);

    // Until the scan has ended and the user (or the auto-close) closed its windows.
    bool settingsTold = false;
    while (!job->finished() || !progressClosed || !settingsClosed) {
        if (progressClosed && !settingsTold && settingsEvent) {
            settingsEvent(12, nullptr, 0);
            settingsTold = true;
        }
        if (app)
            ui.pump_ui_message();
        QThread::msleep(10);
    }
    std::printf("velscan: %d page(s) written to %s, %d blank page(s) dropped\n", job->written(),
                options.out.c_str(), job->dropped());
    job.reset();
    return finish(0);
}
