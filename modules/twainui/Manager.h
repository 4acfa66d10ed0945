// The one object through which the exports reach the user interface. It lives on
// the thread that owns the Qt application (the library's own UI thread, or the
// host's GUI thread) and builds, shows and deletes every window there.
//
// Requests. Each kind of window has a request value below: copies of every
// argument the host passed (strings as std::string, lists as vectors, callbacks
// as std::function), registered as a meta type. A show* call builds the request
// and emits the create* signal with it; the connection is automatic, so the
// on_create* slot runs at once when the caller is on the manager's thread (a
// host-owned modal window has its result on return) and otherwise later, from the
// copy that the queued signal carries. Two requests in a row never share fields.
// To add a window: a request struct here, Q_DECLARE_METATYPE for it, its
// registration in registerRequestTypes(), the signal and slot taking it, and a
// slot that starts with `const Busy busy(this); if (busy.retired()) return;`.
//
// Reaching the manager from other code: see ManagerAccess at the end.
#ifndef MANAGER_H
#define MANAGER_H

#include "sane_driver.h"

#include <veltwainui/twainui.h>
#include <ZyBase.h>

#include <QMetaType>
#include <QObject>
#include <QPointer>
#include <QTranslator>

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace gb {
class scanner_cfg;
}
class zy_settingdialog;

Q_DECLARE_OPAQUE_POINTER(ZyImage)
Q_DECLARE_METATYPE(ZyImage)

class Dialog_progress_ui;

struct MessageBoxRequest {
    void* parent = nullptr; // the host's owner handle, only compared on the UI thread
    int kind = 0;           // reserved by the interface
    std::string text;       // UTF-8
    int flags = 0;          // reserved by the interface
};
Q_DECLARE_METATYPE(MessageBoxRequest)

struct DeviceSelectRequest {
    std::vector<_dev_que_ui> devices;
};
Q_DECLARE_METATYPE(DeviceSelectRequest)

struct ProgressRequest {
    void* parent = nullptr; // owner when no settings dialog is open
    ui_result_callback callback;
    unsigned long long generation = 0; // the events sent from now on are this dialog's
};
Q_DECLARE_METATYPE(ProgressRequest)

struct TwainSourceRequest {
    std::vector<TW_IDENTITY> sources;
    std::string defaultName;
    QWidget* parent = nullptr; // only compared with our windows on the UI thread
};
Q_DECLARE_METATYPE(TwainSourceRequest)

struct SaneSourceRequest {
    std::vector<std::pair<std::string, std::string>> libraries; // (manufacturer, path)
    QWidget* parent = nullptr; // only compared with our windows on the UI thread
};
Q_DECLARE_METATYPE(SaneSourceRequest)

struct image_destroyer {
    void operator()(ZyImage image) const { ZyBase_DestroyImage(image); }
};
// A copy of the host's pixels: the host may free its own once the call returns.
// Null when the host's image cannot be shown.
struct AbnormalImageRequest {
    std::shared_ptr<ZyImage_> image;
};
Q_DECLARE_METATYPE(AbnormalImageRequest)

struct SettingRequest {
    void* device = nullptr;  // the host's open SANE handle
    void* parent = nullptr;  // the host's owner handle, only compared on the UI thread
    _sane_api api{};
    std::string name;        // UTF-8, the window title
    bool withScan = false;
    std::shared_ptr<gb::scanner_cfg> cfg; // one reference to the module's configuration
    ui_result_callback callback;
};
Q_DECLARE_METATYPE(SettingRequest)

class Manager : public QObject
{
    Q_OBJECT

public:
    Manager();
    ~Manager() override;

    int showMessageBoxUi(void* parent, int kind, const char* text, int flags);
    // The device's id chosen in the last selection (the previous one while this
    // one is still queued for the UI thread).
    int showDeviceSelect(const std::vector<_dev_que_ui>& devices);
    // Also stores the dialog's event handler into *notify before it returns.
    int showProgressUi(void* parent, ui_result_callback callback, ui_event_callback* notify);
    int showTwainSrcUi(const TW_IDENTITY* list, unsigned int count, const char* default_name,
                       QWidget* parent, TW_IDENTITY* chosen);
    // The pick goes to the caller, who unloads the library.
    int showSaneSrcUi(const char** manus, const char** libs, QWidget* parent, ZyDll** dll,
                      _sane_api* api, char* manu, unsigned int size);
    int showAbnormalImgUi(const SANE_Image* image);
    // A scan event for the open progress dialog, from any thread; dropped when
    // none is open by the time it arrives.
    void notifyProgress(int code, const void* data, int status);
    // Takes over one reference to cfg. The host's event wrapper gets the dialog's
    // scan-event handler at once, on the caller's thread.
    int showSettingUi(void* device, void* parent, const _sane_api* api, const char* name,
                      gb::scanner_cfg* cfg, bool with_scan, ui_result_callback callback,
                      ui_event_callback* notify);
    // From any thread: a scan has started (true) or ended, with the host's text.
    void notifySettingUi(const QString& text, bool scanning);
    // The settings dialog is going: the manager forgets it.
    void forgetSettingUi(const zy_settingdialog* dialog);
    void closeSettingUi();
    void closeProgressUi();
    void closeMessageBoxUi();
    // Open windows forget the host's callbacks; runs on the manager's thread.
    void clear_functions();

    // On the manager's thread, once no ManagerAccess can reach it any more: deleted
    // at once when no slot is running, else as soon as the outermost slot returns.
    // Requests that arrive in between are dropped.
    void retire();

    int codePage() const { return m_codePage; }

signals:
    void init();
    void createDeviceSelect(const DeviceSelectRequest&);
    void createSettingUi(const SettingRequest&);
    void settingScanStatus(const QString& text, bool scanning);
    void createProgressUi(const ProgressRequest&);
    void createMessageBoxUi(const MessageBoxRequest&);
    void createTwainSrcUi(const TwainSourceRequest&);
    void createSaneSrcUi(const SaneSourceRequest&);
    void createAbnormalImgUi(const AbnormalImageRequest&);
    void scanEventsArrived();
    void deleteSettingUi(void*);
    void deleteProgressUi(void*);
    void deleteMessageBoxUi(void*);

private slots:
    void on_init();
    void on_createMessageBoxUi(const MessageBoxRequest& request);
    void on_createSettingUi(const SettingRequest& request);
    void on_settingScanStatus(const QString& text, bool scanning);
    void on_deleteSettingUi(void*);
    void on_deleteMessageBoxUi(void*);
    void on_createDeviceSelect(const DeviceSelectRequest& request);
    void on_createProgressUi(const ProgressRequest& request);
    void on_deleteProgressUi(void*);
    void on_scanEventsArrived();
    void on_createTwainSrcUi(const TwainSourceRequest& request);
    void on_createSaneSrcUi(const SaneSourceRequest& request);
    void on_createAbnormalImgUi(const AbnormalImageRequest& request);

private:
    // Held by every slot for as long as it (and the modal loop it may run) is on
    // the stack: a retired manager is deleted only when none is.
    class Busy
    {
    public:
        explicit Busy(Manager* manager);
        ~Busy();
        Busy(const Busy&) = delete;
        Busy& operator=(const Busy&) = delete;
        bool retired() const { return m_manager->m_state != State::Serving; }

    private:
        Manager* const m_manager;
    };
    enum class State { Serving, Retired, Deleting };

    static void registerRequestTypes();

    // One scan event of the host's, its text copied while the host's buffer lived,
    // for the progress dialog opened by the request of that generation.
    struct ScanEvent {
        int code = 0;
        int status = 0;
        bool hasText = false;
        std::string text;
        int images = 1; // a run of image events counts as one entry
        unsigned long long generation = 0;
    };

    QTranslator m_translator{this};
    QTranslator m_qtTranslator{this};
    int m_codePage = 0;

    // Fields only for results that the exports read back (a modal window's choice)
    // and for the open windows; requests carry everything else.
    zy_settingdialog* m_settingUi = nullptr;

    // The open progress dialog; it may also close and delete itself. UI thread only.
    QPointer<Dialog_progress_ui> m_progressUi;
    unsigned long long m_progressUiGeneration = 0;

    // Scan events waiting for the UI thread, in the order the host sent them. One
    // signal drains them all, so that a host reporting faster than the window
    // repaints queues entries (images merged into runs) rather than Qt events.
    std::mutex m_eventMutex;
    std::vector<ScanEvent> m_pendingEvents;
    unsigned long long m_progressGeneration = 0; // of the latest request

    // Written by the slots on the UI thread, read by the exports on host threads.
    std::mutex m_resultMutex;
    int m_devId = -1;
    TW_IDENTITY m_twainChosen{};
    unique_zy_dll m_saneDll; // a pick that no export has handed out yet
    _sane_api m_saneLibApi{};
    std::string m_saneManuName;
    int m_abnormalResult = 0;

    int m_busy = 0;
    State m_state = State::Serving;
};

// How code on any thread reaches the manager: the exports, and the handlers of
// scan events that the host calls from its scanning thread at any moment.
//
// The manager is deleted only on its own thread, and only once nobody can reach
// it: close_ui(-1) on a host-owned application and process exit first unpublish
// it under the lock this class takes. So while a ManagerAccess is held, the
// manager it names stays alive.
//
//   void Dialog_progress_ui::FuncNotify(int code, void* data, int status)
//   {
//       const ManagerAccess manager;  // no manager: nothing is open to notify
//       if (manager)                  // copy data now: the host's buffer is gone later
//           manager->notifyProgress(code, data, status);
//   }
//
// where notifyProgress queues a copy of the event and signals, and the slot, on
// the manager's thread, looks the open dialog up (m_progressUi) and acts on it if
// it is still there. Never read a dialog pointer off the manager's thread.
//
// On the manager's own thread the access holds no lock: the caller may run a
// modal window (even one inside which close_ui(-1) is called; Busy defers the
// deletion). On any other thread it holds the lock until it goes out of scope:
// only emit signals then (they are queued and return at once); never wait for
// the UI thread, call into the host, or take a second access.
class ManagerAccess
{
public:
    enum Mode {
        Find, // the current manager, or none
        Start // the exports: start the UI first if it has not started (Init)
    };
    explicit ManagerAccess(Mode mode = Find);
    ManagerAccess(const ManagerAccess&) = delete;
    ManagerAccess& operator=(const ManagerAccess&) = delete;

    explicit operator bool() const { return m_manager != nullptr; }
    Manager* operator->() const { return m_manager; }
    Manager* get() const { return m_manager; }

private:
    std::unique_lock<std::mutex> m_lock;
    Manager* m_manager = nullptr;
};

#endif
