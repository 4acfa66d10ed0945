// The exported functions, the lazy start of the UI thread, and the manager's
// lifetime against hosts that exit, unload us and call from any thread.
//
// Synchronisation, and why each piece exists:
// - g_mutex guards the module state below. Two host threads must not both start a
//   UI thread or make a manager; and a host thread that emits a request to the
//   manager holds it, because teardown (close_ui(-1) on a host-owned application,
//   process exit) unpublishes the manager under it before deleting it on its own
//   thread. It is held only to read or swap these fields and to post an event;
//   never across a modal window or a wait for the UI thread, with one exception:
//   Init waits for the UI thread's start-up under it, which the UI thread can
//   finish without it.
// - g_event is the start-up handshake: the new UI thread hands the manager over.
// - Manager::Busy (no lock, one thread) defers deleting a manager while one of its
//   slots, and the modal loop it may run, is still on the stack.
// - Process exit stops the library's own UI thread and waits for it, bounded, so
//   that it does not run while the exit handlers tear down Qt's globals: from a
//   thread-local object of the main thread, which goes before any exit handler,
//   or else from an exit handler, which can only park the thread where it stands.
// Everything else crosses threads as copies inside queued signals.
#include "Manager.h"
#include "app_cfg.h"
#include "device_menu.h"
#include "gb_json.h"
#include "module_config.h"
#include "sane_driver.h"
#include "zy_settingdialog.h"

#include <veltwainui/twainui.h>
#include <ZyBase.h>

#include <QApplication>
#include <QPixmapCache>
#include <QThread>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include <fcntl.h>
#include <unistd.h>

namespace {

// Long enough for a UI thread to finish painting and close its windows on a busy
// machine (it must not run on while the exit handlers tear Qt down), short enough
// that a host whose UI thread is stuck in a callback still exits.
constexpr int kExitWaitMs = 10000;

std::mutex g_mutex;
Manager* g_manager = nullptr;
ZyThread g_hThread = nullptr;
ZyEvent g_event = nullptr;
// Compared by native id: asking Qt for a host thread's QThread would give that
// thread Qt data, which the host's main thread never frees.
Qt::HANDLE g_uiThreadId = nullptr;
// The own UI thread has been told to stop (process exit): nothing starts again.
bool g_uiStopping = false;
// The current device's configuration file, handed to the settings dialog.
gb::scanner_cfg* scanner_cfg_ = nullptr;
// Its text as last loaded or saved (empty: none loaded), which get_config_content
// hands out: the dialog edits scanner_cfg_ on the UI thread without a lock.
std::string scanner_cfg_text_;

void ThreadFunc(void* handOver)
{
    int argc = 0;
    auto* app = new QApplication(argc, nullptr);
    // Closing a dialog must never end the loop: the thread serves the whole process.
    QApplication::setQuitOnLastWindowClosed(false);
    // The pixmap cache is a global with a timer on this thread. Made now, it outlives
    // the exit handler that Init registers, which stops that timer here.
    QPixmapCache::find(QString(), nullptr);
    auto* manager = new Manager();
    g_uiThreadId = QThread::currentThreadId();
    *static_cast<Manager**>(handOver) = manager;
    ZyBase_SetEvent(g_event);

    // Ends at process exit; every nested modal loop ends with it.
    QApplication::exec();

    {
        const std::lock_guard<std::mutex> lock(g_mutex);
        g_uiStopping = true;
        g_manager = nullptr;
    }
    delete manager;
    delete app;
}

// Stops the library's own UI thread while the process exits. With Qt intact the
// thread closes its windows, deletes the manager and the application, and ends;
// when some of Qt's globals may already be gone it must not unwind into them, so
// it stops where it stands for the rest of the process.
void stopUiThread(bool qtIntact)
{
    ZyThread thread = nullptr;
    {
        const std::lock_guard<std::mutex> lock(g_mutex);
        if (!g_hThread || g_uiStopping)
            return;
        g_uiStopping = true;
        g_manager = nullptr;
        thread = g_hThread;
    }
    QCoreApplication* const app = QCoreApplication::instance();
    // A host callback on the UI thread that ends the process: nothing else runs there.
    if (QThread::currentThreadId() == g_uiThreadId)
        return;
    if (qtIntact) {
        QMetaObject::invokeMethod(app, &QCoreApplication::quit, Qt::QueuedConnection);
        ZyBase_WaitThread(thread, kExitWaitMs);
        return;
    }
    ZyEvent parked = nullptr;
    if (ZyBase_CreateEvent(1, 0, &parked) != 0)
        return;
    QMetaObject::invokeMethod(app, [parked] {
        // Its timer would otherwise be stopped from the exiting thread, with a warning.
        QPixmapCache::clear();
        ZyBase_SetEvent(parked);
        for (;;)
            pause();
    }, Qt::QueuedConnection);
    if (ZyBase_WaitEvent(parked, kExitWaitMs) == 0)
        ZyBase_DestroyEvent(parked);
}

// The thread that calls exit() destroys its thread-local objects before any exit
// handler runs, so before Qt's globals go. Hosts end from their main thread, so
// loading the library there, or any export made there, leaves this behind to
// stop the UI thread first. It does nothing unless the UI thread runs.
struct MainThreadExit {
    ~MainThreadExit() { stopUiThread(true); }
};

bool watchMainThreadExit()
{
    if (getpid() != gettid())
        return false;
    thread_local MainThreadExit watch;
    (void)watch;
    return true;
}

[[maybe_unused]] const bool g_watchingFromLoad = watchMainThreadExit();

// With g_mutex held. Null when the UI has been stopped for good.
Manager* Init()
{
    if (g_uiStopping)
        return nullptr;
    if (QCoreApplication::instance()) {
        if (!g_manager)
            g_manager = new Manager();
        return g_manager;
    }

    Manager* started = nullptr;
    ZyBase_CreateEvent(1, 0, &g_event);
    ZyBase_OpenThread(ThreadFunc, &started, &g_hThread);
    ZyBase_WaitEvent(g_event, ZYBASE_INFINITE);
    // Fatal in every build: nothing works without the manager.
    if (nullptr == started) {
        std::fprintf(stderr, "%s:%d: void Init(): Assertion `nullptr != g_manager' failed.\n",
                     __FILE__, __LINE__);
        std::abort();
    }
    g_manager = started;
    // A host that exits from a thread without the watch above: registered after the
    // globals that start-up made, so it runs before they go; those made later may be
    // gone already, and the UI thread may have run into them.
    std::atexit([] { stopUiThread(false); });
    return g_manager;
}

// close_ui(-1): a host-owned manager is let go and deleted on its own thread; the
// next export makes a fresh one. The library's own manager stays: a second Qt
// application cannot be made in one process.
void retireHostManager(Manager* manager)
{
    {
        const std::lock_guard<std::mutex> lock(g_mutex);
        // Compared only: another close_ui(-1) may have let it go already.
        if (g_hThread || g_manager != manager)
            return;
        g_manager = nullptr;
    }
    // Unpublished by us, so only we retire it; it is alive until then.
    if (manager->thread() == QThread::currentThread())
        manager->retire();
    else
        QMetaObject::invokeMethod(QCoreApplication::instance(), [manager] { manager->retire(); },
                                  Qt::QueuedConnection);
}

// The configuration for a settings dialog, with a reference for the caller: until
// a configuration is loaded, an empty one (the default scheme only, no file).
gb::scanner_cfg* configurationForDialog()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    if (!scanner_cfg_)
        scanner_cfg_ = new gb::scanner_cfg();
    scanner_cfg_->add_ref();
    return scanner_cfg_;
}

// ---- configuration without a dialog ------------------------------------------

// The older single configuration file, converted once into one file per device.
constexpr char kOldConfigFile[] = "scanner.schm";
constexpr std::size_t kConfigPathBytes = 512;

// Text handed to the host, freed with twain_ui_free.
char* hostText(const std::string& text, std::size_t bytes)
{
    char* out = new char[std::max(bytes, text.size() + 4)]();
    std::memcpy(out, text.data(), text.size());
    return out;
}

// Whatever the driver calls its device, the name stays one file in the directory.
std::string standardised(const std::string& name)
{
    char buf[kConfigPathBytes];
    return ZyBase_StandardiseFileName(name.c_str(), buf, sizeof(buf)) == 0 ? buf : "_";
}

std::string hexId(SANE_Word pid)
{
    char hex[16];
    std::snprintf(hex, sizeof(hex), "%x", static_cast<unsigned int>(pid));
    return hex;
}

// The device's configuration file: "ABC 1a2b.cfg" for "ABC Scanner Model" with
// product id 0x1a2b, the whole name without an id. The converter names the files
// of older releases by model ("ZYTRASCAN G72S.cfg" for id 7203): such a file is
// taken over once by the name the id gives.
std::string deviceFile(const std::string& dir, const std::string& devName, SANE_Word pid)
{
    const std::string vendor = devName.substr(0, devName.find(' '));
    const std::string file =
        dir + standardised(pid != 0 ? vendor + " " + hexId(pid) : devName) + ".cfg";
    if (pid == 0 || access(file.c_str(), F_OK) == 0)
        return file;
    const std::string model = updater::converted_device_name(vendor.c_str(), hexId(pid).c_str());
    if (model.empty())
        return file;
    const std::string converted = dir + standardised(model) + ".cfg";
    if (renameat2(AT_FDCWD, converted.c_str(), AT_FDCWD, file.c_str(), RENAME_NOREPLACE) == 0
        || errno == ENOENT || errno == EEXIST)
        return file;
    return converted; // a file system that cannot rename: read it where it is
}

void convertOldConfiguration(const std::string& dir, SANE_Handle dev, const _sane_api& api)
{
    const std::string old = dir + kOldConfigFile;
    if (access(old.c_str(), F_OK) != 0)
        return;
    dev_que options(dev, &api);
    gb::scanner_cfg::_update_func func{dev_que::trans_number, dev_que::title_2_name, &options};
    const int err = gb::scanner_cfg::update(old.c_str(), &func);
    if (err != 0)
        ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "[apply_current_config] %s not converted: %d",
                         old.c_str(), err);
}

// The configuration directory, created; empty when there is none.
std::string configDirectory()
{
    char dir[kConfigPathBytes] = {};
    if (GetConfigPath(dir, sizeof(dir)) != 0)
        return std::string();
    ZyBase_CreateDir(dir);
    return dir;
}

// Applies cfg's selected scheme; its name, or empty when there is none.
std::string applySelected(gb::scanner_cfg* cfg, void* dev, _sane_api api)
{
    gb::sane_config_schm* scheme = cfg->get_scheme(nullptr);
    if (!scheme)
        return std::string();
    zy_settingdialog::apply_scheme(dev, &api, scheme);
    std::string name = scheme->get_scheme_name();
    scheme->release();
    return name;
}

// Every export starts the UI first; nothing is held afterwards.
void startUi()
{
    const ManagerAccess manager(ManagerAccess::Start);
}

} // namespace

void configurationSaved(const gb::scanner_cfg* cfg, std::string text)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    if (cfg == scanner_cfg_)
        scanner_cfg_text_ = std::move(text);
}

ManagerAccess::ManagerAccess(Mode mode) : m_lock(g_mutex)
{
    watchMainThreadExit();
    m_manager = mode == Start ? Init() : g_manager;
    // On its own thread nobody else deletes it, and the caller may run a modal loop.
    const bool onItsThread = g_hThread ? QThread::currentThreadId() == g_uiThreadId
                                       : m_manager && m_manager->thread() == QThread::currentThread();
    if (m_manager && onItsThread)
        m_lock.unlock();
}

extern "C" {

int show_messagebox_ui(void* parent, int kind, const char* message, int flags)
{
    const ManagerAccess manager(ManagerAccess::Start);
    return manager ? manager->showMessageBoxUi(parent, kind, message, flags) : 0;
}

int choose_scanner(const std::vector<_dev_que_ui>& devices)
{
    const ManagerAccess manager(ManagerAccess::Start);
    return manager ? manager->showDeviceSelect(devices) : -1;
}

int show_progress_ui(void* parent, ui_result_callback on_result, ui_event_callback* on_event)
{
    const ManagerAccess manager(ManagerAccess::Start);
    return manager ? manager->showProgressUi(parent, std::move(on_result), on_event) : 0;
}

int show_twain_srclist_ui(const TW_IDENTITY* sources, unsigned int count, const char* default_name,
                          QWidget* parent, TW_IDENTITY* chosen)
{
    const ManagerAccess manager(ManagerAccess::Start);
    if (!manager) {
        if (chosen)
            *chosen = TW_IDENTITY{};
        return 0;
    }
    return manager->showTwainSrcUi(sources, count, default_name, parent, chosen);
}

int show_srclist_ui(const char** manufacturers, const char** libraries, QWidget* parent,
                    ZyDll** dll, _sane_api* api, char* manufacturer, unsigned int manufacturer_size)
{
    const ManagerAccess manager(ManagerAccess::Start);
    return manager ? manager->showSaneSrcUi(manufacturers, libraries, parent, dll, api,
                                            manufacturer, manufacturer_size)
                   : 0;
}

int show_setting_ui(void* device, void* parent, _sane_api* api, const char* device_name,
                    bool with_scan, ui_result_callback on_result, ui_event_callback* on_event)
{
    gb::scanner_cfg* cfg = configurationForDialog();
    const ManagerAccess manager(ManagerAccess::Start);
    if (!manager) {
        cfg->release();
        return 0;
    }
    return manager->showSettingUi(device, parent, api, device_name, cfg, with_scan,
                                  std::move(on_result), on_event);
}

int close_ui(int which)
{
    Manager* current = nullptr;
    {
        const ManagerAccess manager;
        if (!manager)
            return 0;
        current = manager.get();
        if (which & 1)
            manager->closeProgressUi();
        if (which & 2)
            manager->closeSettingUi();
        if (which & 4) {
            manager->closeMessageBoxUi();
            if (which == -1)
                QMetaObject::invokeMethod(current, &Manager::clear_functions);
        }
    }
    if (which == -1)
        retireHostManager(current);
    return 0;
}

void pump_ui_message()
{
    {
        // The own UI thread's application is deleted at exit.
        const std::lock_guard<std::mutex> lock(g_mutex);
        if (g_uiStopping || !QCoreApplication::instance())
            return;
    }
    QCoreApplication::processEvents(QEventLoop::AllEvents);
}

void twain_ui_free(void* p)
{
    delete[] static_cast<char*>(p);
}

char* apply_current_config(const char* dev_name, void* dev, _sane_api* api)
{
    startUi();
    const _sane_api driver = api ? *api : _sane_api{};
    auto* cfg = new gb::scanner_cfg();
    const std::string dir = configDirectory();
    if (!dir.empty()) {
        convertOldConfiguration(dir, dev, driver);
        SANE_Word pid = 0;
        read_private_word(driver, dev, SANE_PRIVATE_PRODUCT_ID, &pid);
        cfg->load_file(deviceFile(dir, dev_name ? dev_name : "", pid).c_str());
    }
    std::string name = applySelected(cfg, dev, driver);
    if (name.empty())
        name = QCoreApplication::translate("scanner_cfg", "default_setting").toUtf8().toStdString();

    // Published only now: until here no other thread could see it.
    std::string text = cfg->to_text(true);
    gb::scanner_cfg* previous = nullptr;
    {
        const std::lock_guard<std::mutex> lock(g_mutex);
        previous = std::exchange(scanner_cfg_, cfg);
        scanner_cfg_text_ = std::move(text);
    }
    if (previous)
        previous->release();
    return hostText(name, 0);
}

int apply_given_config(const char* content, void* dev, _sane_api* api)
{
    startUi();
    const _sane_api driver = api ? *api : _sane_api{};
    auto* cfg = new gb::scanner_cfg();
    // Placed in the configuration directory (loading the directory reads nothing),
    // so that a copy of text that does not parse lands there and not wherever the
    // host happens to run.
    const std::string dir = configDirectory();
    if (!dir.empty())
        cfg->load_file(dir.c_str());
    cfg->load_mem(content ? content : "", true);
    applySelected(cfg, dev, driver);
    cfg->release();
    return 0;
}

char* get_config_content()
{
    startUi();
    std::string text;
    {
        const std::lock_guard<std::mutex> lock(g_mutex);
        text = scanner_cfg_text_;
    }
    // Before any configuration: empty JSON, which apply_given_config takes as such.
    return text.empty() ? hostText("{}", 20) : hostText(text, 0);
}

} // extern "C"

int abnormal_image(SANE_Image* image, QWidget*)
{
    const ManagerAccess manager(ManagerAccess::Start);
    return manager ? manager->showAbnormalImgUi(image) : 0;
}
