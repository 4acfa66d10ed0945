// velscan: opens a SANE device and shows its settings through libVelTwainUI.
//
//   velscan [--host-app] [--library PATH] [--backend PATH] [--manufacturer NAME]
//           [--device NAME] [--screenshots DIR] [--auto-close MS]
//
// By default the library runs its own UI thread, as under a TWAIN data source;
// --host-app makes velscan own the Qt application and pump its events instead.
// Without a display the windows are drawn offscreen, screenshots are written to
// ./velscan-screenshots and each window is closed after a short while.
#include "sane_backend.h"
#include "twainui_library.h"
#include "window_watcher.h"

#include <QApplication>
#include <QThread>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

namespace {

struct Options {
    bool hostApp = false;
    std::string library = VELSCAN_DEFAULT_LIBRARY;
    std::string backend = "/usr/lib/x86_64-linux-gnu/sane/libsane-test.so.1";
    std::string manufacturer = "test";
    std::string device; // empty: the first device the backend lists
    std::string screenshots;
    int autoCloseMs = -1;
};

void usage()
{
    std::fputs("usage: velscan [--host-app] [--library PATH] [--backend PATH] "
               "[--manufacturer NAME] [--device NAME] [--screenshots DIR] [--auto-close MS]\n",
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
        if (arg == "--host-app")
            options.hostApp = true;
        else if (arg == "--library" ? !value(options.library)
                 : arg == "--backend" ? !value(options.backend)
                 : arg == "--manufacturer" ? !value(options.manufacturer)
                 : arg == "--device" ? !value(options.device)
                 : arg == "--screenshots" ? !value(options.screenshots)
                 : arg == "--auto-close" ? !value(number)
                                         : true)
            return false;
        if (!number.empty())
            options.autoCloseMs = std::atoi(number.c_str());
    }
    return true;
}

std::string describe(const SaneBackend& backend, const std::string& device)
{
    std::ostringstream text;
    const auto options = backend.options();
    int active = 0;
    for (const auto& option : options)
        active += option.active;
    text << "Opened " << device << ": " << options.size() << " options, " << active << " active.\n";
    int shown = 0;
    for (const auto& option : options) {
        if (!option.active || option.value.empty())
            continue;
        text << "\n" << option.title << ": " << option.value;
        if (++shown == 8)
            break;
    }
    return text.str();
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
        if (options.screenshots.empty())
            options.screenshots = "velscan-screenshots";
        if (options.autoCloseMs < 0)
            options.autoCloseMs = 1500;
    }
    // The test backend reads its settings from here unless the user chose others.
    setenv("SANE_CONFIG_DIR", VELSCAN_SANE_CONFIG_DIR, 0);

    std::unique_ptr<QApplication> app;
    if (options.hostApp) {
        static int appArgc = 1;
        app = std::make_unique<QApplication>(appArgc, argv);
    }

    TwainUiLibrary ui;
    // An installed velscan finds the installed library through the search path.
    if (!ui.load(options.library) && !ui.load("libVelTwainUI.so.1")) {
        std::fprintf(stderr, "velscan: %s\n", ui.error().c_str());
        return 1;
    }

    SaneBackend backend;
    bool opened = backend.load(options.backend, options.manufacturer);
    if (opened && options.device.empty()) {
        const auto devices = backend.devices();
        options.device = devices.empty() ? std::string() : devices.front();
    }
    opened = opened && backend.open(options.device);
    const std::string report = opened ? describe(backend, options.device)
                                      : "velscan: " + backend.error();
    std::printf("%s\n", report.c_str());

    // The first export starts the library's UI; after it the application exists.
    std::unique_ptr<WindowWatcher> watcher;
    auto watch = [&] {
        if (!watcher) {
            watcher = std::make_unique<WindowWatcher>(QString::fromStdString(options.screenshots),
                                                      options.autoCloseMs);
            watcher->start();
        }
    };
    if (options.hostApp)
        watch(); // a box runs inside the call, so watch before it
    if (opened) {
        // The device's saved settings first, as a scan without the dialog would
        // have them; then its settings, with Scan; OK or Cancel ends the session.
        _sane_api api = backend.api();
        if (char* scheme = ui.apply_current_config(options.device.c_str(), backend.handle(), &api)) {
            std::printf("velscan: applied the configuration scheme \"%s\"\n", scheme);
            ui.twain_ui_free(scheme);
        }
        ui.show_setting_ui(backend.handle(), nullptr, &api, options.device.c_str(), true,
                           [](ui_result result) {
                               if (result == UI_RESULT_START_SCAN)
                                   std::printf("velscan: scan requested\n");
                           },
                           nullptr);
    } else {
        ui.show_messagebox_ui(nullptr, 1, report.c_str(), 0);
    }
    watch();

    // Wait until the user (or the unattended timer) has closed every window.
    do {
        if (options.hostApp)
            ui.pump_ui_message();
        QThread::msleep(50);
    } while (!watcher->allClosed());

    ui.close_ui(-1);
    if (!options.screenshots.empty())
        std::printf("velscan: %d screenshot(s) in %s\n", watcher->screenshots(),
                    options.screenshots.c_str());
    runOnAppThread([&] { watcher.reset(); }); // its timer belongs to that thread
    return opened ? 0 : 1;
}
