#include "Manager.h"

#include "dialog_abnormal_img_select.h"
#include "dialog_device_select.h"
#include "dialog_progress_ui.h"
#include "dialog_source_select.h"
#include "dialog_twain_source_select.h"
#include "gb_json.h"
#include "zy_settingdialog.h"

#include <lexipak.h>

#include <QApplication>
#include <QMessageBox>
#include <QWidget>

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

// Window flags of the message box: window-type bits 0x1B with the stay-on-top hint.
constexpr int kMessageBoxFlags = 0x0004001B;

struct Catalogues {
    const char* own;
    const char* qt; // null: English needs none of Qt's
};

Catalogues cataloguesFor(int codePage)
{
    switch (codePage) {
    case LEXIPAK_CP_SIMPLIFIED_CHINESE:
        return {":translation/TwainUI_zh_CN.qm", ":translation/qt_zh_CN.qm"};
    case LEXIPAK_CP_TRADITIONAL_CHINESE:
        return {":translation/TwainUI_zh_TW.qm", ":translation/qt_zh_TW.qm"};
    default:
        // The source texts are Chinese, so every other language reads English.
        return {":translation/TwainUI_zh_EN.qm", nullptr};
    }
}

// Hosts hand owners over as opaque handles: either one of our widgets or the
// native id of one of our windows. Anything else (a foreign window) gets no owner.
QWidget* ownerWidget(void* handle)
{
    if (!handle)
        return nullptr;
    const auto id = reinterpret_cast<quintptr>(handle);
    const auto widgets = QApplication::topLevelWidgets();
    for (QWidget* w : widgets) {
        if (w == handle || (w->internalWinId() != 0 && w->internalWinId() == id))
            return w;
    }
    return nullptr;
}

// The open settings dialog's window, which owns a progress dialog opened over it.
// A status text longer than this is the host's mistake; the rest is not read.
constexpr std::size_t kMaxEventText = 4096;

} // namespace

Manager::Manager()
{
    // A host thread may make the manager; it serves from the application's thread,
    // so it moves there before it builds anything.
    moveToThread(QCoreApplication::instance()->thread());
    registerRequestTypes();

    connect(this, &Manager::init, this, &Manager::on_init);
    connect(this, &Manager::createSettingUi, this, &Manager::on_createSettingUi);
    connect(this, &Manager::createMessageBoxUi, this, &Manager::on_createMessageBoxUi);
    connect(this, &Manager::deleteSettingUi, this, &Manager::on_deleteSettingUi);
    connect(this, &Manager::deleteMessageBoxUi, this, &Manager::on_deleteMessageBoxUi);
    connect(this, &Manager::createDeviceSelect, this, &Manager::on_createDeviceSelect);
    connect(this, &Manager::createProgressUi, this, &Manager::on_createProgressUi);
    connect(this, &Manager::deleteProgressUi, this, &Manager::on_deleteProgressUi);
    connect(this, &Manager::scanEventsArrived, this, &Manager::on_scanEventsArrived);
    connect(this, &Manager::createTwainSrcUi, this, &Manager::on_createTwainSrcUi);
    connect(this, &Manager::createSaneSrcUi, this, &Manager::on_createSaneSrcUi);
    connect(this, &Manager::createAbnormalImgUi, this, &Manager::on_createAbnormalImgUi);
    connect(this, &Manager::settingScanStatus, this, &Manager::on_settingScanStatus);

    // At once on the application's thread; queued from any other, ahead of every request.
    emit init();
}

Manager::~Manager()
{
    // Its result would go to a host that asked a manager which is gone.
    if (m_progressUi) {
        m_progressUi->setClosedByHost();
        delete m_progressUi.data();
    }
    if (m_settingUi)
        std::exchange(m_settingUi, nullptr)->closeByHost(true);
    QCoreApplication::removeTranslator(&m_translator);
    QCoreApplication::removeTranslator(&m_qtTranslator);
}

void Manager::registerRequestTypes()
{
    qRegisterMetaType<ZyImage>("ZyImage");
    qRegisterMetaType<MessageBoxRequest>();
    qRegisterMetaType<DeviceSelectRequest>();
    qRegisterMetaType<ProgressRequest>();
    qRegisterMetaType<TwainSourceRequest>();
    qRegisterMetaType<SaneSourceRequest>();
    qRegisterMetaType<AbnormalImageRequest>();
    qRegisterMetaType<SettingRequest>();
}

Manager::Busy::Busy(Manager* manager) : m_manager(manager)
{
    ++m_manager->m_busy;
}

Manager::Busy::~Busy()
{
    if (--m_manager->m_busy > 0 || m_manager->m_state != State::Retired)
        return;
    // Still inside the outermost slot, and maybe inside the export that emitted it:
    // the deletion waits for the event loop.
    m_manager->m_state = State::Deleting;
    Manager* const manager = m_manager;
    QMetaObject::invokeMethod(QCoreApplication::instance(), [manager] { delete manager; },
                              Qt::QueuedConnection);
}

void Manager::retire()
{
    if (m_state != State::Serving)
        return;
    if (m_busy == 0)
        delete this;
    else
        m_state = State::Retired;
}

void Manager::on_init()
{
    m_codePage = lang_get_cur_code_page();
    const Catalogues catalogues = cataloguesFor(m_codePage);

    if (m_translator.load(QString::fromLatin1(catalogues.own)))
        QCoreApplication::installTranslator(&m_translator);
    else
        ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "[Manager::on_init] cannot load %s", catalogues.own);

    if (catalogues.qt) {
        if (m_qtTranslator.load(QString::fromLatin1(catalogues.qt)))
            QCoreApplication::installTranslator(&m_qtTranslator);
        else
            ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "[Manager::on_init] cannot load %s", catalogues.qt);
    }
}

int Manager::showMessageBoxUi(void* parent, int kind, const char* text, int flags)
{
    emit createMessageBoxUi(MessageBoxRequest{parent, kind, text ? text : "", flags});
    return 0;
}

void Manager::on_createMessageBoxUi(const MessageBoxRequest& request)
{
    const Busy busy(this);
    if (busy.retired())
        return;
    QMessageBox box(QMessageBox::Critical, tr("Prompt"), QString::fromStdString(request.text),
                    QMessageBox::Ok, ownerWidget(request.parent));
    box.setWindowFlags(Qt::WindowFlags(kMessageBoxFlags));
    box.exec();
}

int Manager::showSettingUi(void* device, void* parent, const _sane_api* api, const char* name,
                           gb::scanner_cfg* cfg, bool with_scan, ui_result_callback callback,
                           ui_event_callback* notify)
{
    // Set here, on the host's thread, before the host can report its first event.
    if (notify)
        *notify = &zy_settingdialog::FuncNotify;
    SettingRequest request;
    request.device = device;
    request.parent = parent;
    if (api)
        request.api = *api;
    request.name = name ? name : "";
    request.withScan = with_scan;
    request.cfg.reset(cfg, [](gb::scanner_cfg* c) { c->release(); });
    request.callback = std::move(callback);
    emit createSettingUi(request);
    ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "[Manager::showSettingUi] emit createSettingUi(ThreadId)");
    return 0;
}

void Manager::on_createSettingUi(const SettingRequest& request)
{
    const Busy busy(this);
    if (busy.retired())
        return;
    // A second request replaces the open dialog, which reports its closing.
    if (m_settingUi)
        std::exchange(m_settingUi, nullptr)->closeByHost(false);
    auto* dialog = new zy_settingdialog(this, request.device, &request.api, request.withScan,
                                        request.name.c_str(), request.cfg.get(),
                                        request.callback, nullptr, ownerWidget(request.parent));
    m_settingUi = dialog;
    dialog->setModal(true);
    // Without an owner the dialog stays on top; these flags replace all others.
    if (!request.parent)
        dialog->setWindowFlags(Qt::WindowStaysOnTopHint);
    dialog->show();
    ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "[Manager::on_createSettingUi] m_settingUi->show()");
}

void Manager::notifySettingUi(const QString& text, bool scanning)
{
    emit settingScanStatus(text, scanning);
}

void Manager::on_settingScanStatus(const QString& text, bool scanning)
{
    const Busy busy(this);
    if (!busy.retired() && m_settingUi)
        emit m_settingUi->scan_status(text, scanning);
}

void Manager::forgetSettingUi(const zy_settingdialog* dialog)
{
    if (m_settingUi == dialog)
        m_settingUi = nullptr;
}

void Manager::on_deleteSettingUi(void*)
{
    const Busy busy(this);
    if (!busy.retired() && m_settingUi)
        std::exchange(m_settingUi, nullptr)->closeByHost(true);
}

void Manager::closeSettingUi()
{
    emit deleteSettingUi(nullptr);
}

void Manager::closeProgressUi()
{
    emit deleteProgressUi(nullptr);
}

void Manager::closeMessageBoxUi()
{
    emit deleteMessageBoxUi(nullptr);
}

void Manager::on_deleteMessageBoxUi(void*)
{
    // A message box runs to its own end.
}

void Manager::clear_functions()
{
    // A message box holds no callback of the host's.
    if (m_settingUi)
        m_settingUi->forgetHost();
    if (m_progressUi)
        m_progressUi->setClosedByHost();
}

// ---- device selection ----------------------------------------------------

int Manager::showDeviceSelect(const std::vector<_dev_que_ui>& devices)
{
    emit createDeviceSelect(DeviceSelectRequest{devices});
    const std::lock_guard<std::mutex> lock(m_resultMutex);
    return m_devId;
}

void Manager::on_createDeviceSelect(const DeviceSelectRequest& request)
{
    const Busy busy(this);
    if (busy.retired())
        return;
    Dialog_device_select dialog(request.devices);
    dialog.exec();
    const std::lock_guard<std::mutex> lock(m_resultMutex);
    m_devId = dialog.getDevId();
}

// ---- progress ------------------------------------------------------------

int Manager::showProgressUi(void* parent, ui_result_callback callback, ui_event_callback* notify)
{
    // Set on the host's own thread before it returns, so that the host never
    // calls its wrapper while we write it; events before the dialog exists are dropped.
    if (notify)
        *notify = Dialog_progress_ui::FuncNotify;
    unsigned long long generation = 0;
    {
        const std::lock_guard<std::mutex> lock(m_eventMutex);
        generation = ++m_progressGeneration;
    }
    emit createProgressUi(ProgressRequest{parent, std::move(callback), generation});
    ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "[Manager::showProgressUi] emit createProgressUi(ThreadId)");
    ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "[Manager::showProgressUi] Exit Message Loop");
    return 0;
}

void Manager::on_createProgressUi(const ProgressRequest& request)
{
    const Busy busy(this);
    if (busy.retired())
        return;
    // An open settings dialog owns the progress: it stays above it.
    QWidget* owner = m_settingUi ? static_cast<QWidget*>(m_settingUi) : ownerWidget(request.parent);
    on_deleteProgressUi(nullptr);
    m_progressUi = new Dialog_progress_ui(request.callback, owner);
    m_progressUiGeneration = request.generation;
    m_progressUi->setModal(true);
    m_progressUi->show();
    ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "[Manager::on_createProgressUi] m_progressUi->show()");
    // Events the host sent right after its request may have been drained before it.
    on_scanEventsArrived();
}

void Manager::on_deleteProgressUi(void*)
{
    if (!m_progressUi)
        return;
    m_progressUi->setClosedByHost();
    delete m_progressUi.data();
}

void Manager::notifyProgress(int code, const void* data, int status)
{
    if (code != EVENT_SCAN_WORKING && code != EVENT_IMAGE_RECEIVED && code != EVENT_SCAN_FINISHED)
        return;
    ScanEvent event;
    event.code = code;
    event.status = status;
    if (status != 0 && data && code != EVENT_IMAGE_RECEIVED) {
        const auto* text = static_cast<const char*>(data);
        event.hasText = true;
        event.text.assign(text, strnlen(text, kMaxEventText));
    }
    bool first = false;
    {
        const std::lock_guard<std::mutex> lock(m_eventMutex);
        event.generation = m_progressGeneration;
        first = m_pendingEvents.empty();
        ScanEvent* last = first ? nullptr : &m_pendingEvents.back();
        if (last && code == EVENT_IMAGE_RECEIVED && last->code == code
            && last->generation == event.generation)
            ++last->images;
        else
            m_pendingEvents.push_back(std::move(event));
    }
    if (first)
        emit scanEventsArrived();
}

void Manager::on_scanEventsArrived()
{
    std::vector<ScanEvent> events;
    {
        const std::lock_guard<std::mutex> lock(m_eventMutex);
        events.swap(m_pendingEvents);
    }
    auto later = events.begin();
    for (auto it = events.begin(); it != events.end(); ++it) {
        // A newer dialog is still being asked for: its events wait for it.
        if (it->generation > m_progressUiGeneration) {
            *later++ = std::move(*it);
            continue;
        }
        // Events of a dialog that has gone have nobody left to tell.
        if (it->generation == m_progressUiGeneration && m_progressUi)
            m_progressUi->applyEvent(it->code, it->hasText ? it->text.c_str() : nullptr,
                                     it->status, it->images);
    }
    events.erase(later, events.end());
    if (events.empty())
        return;
    const std::lock_guard<std::mutex> lock(m_eventMutex);
    m_pendingEvents.insert(m_pendingEvents.begin(), std::make_move_iterator(events.begin()),
                           std::make_move_iterator(events.end()));
}

void Dialog_progress_ui::FuncNotify(int event, void* data, int status)
{
    const ManagerAccess manager;
    if (manager)
        manager->notifyProgress(event, data, status);
}

// ---- source lists --------------------------------------------------------

int Manager::showTwainSrcUi(const TW_IDENTITY* list, unsigned int count, const char* default_name,
                            QWidget* parent, TW_IDENTITY* chosen)
{
    TwainSourceRequest request;
    if (list)
        request.sources.assign(list, list + count);
    request.defaultName = default_name ? default_name : "";
    request.parent = parent;
    {
        const std::lock_guard<std::mutex> lock(m_resultMutex);
        m_twainChosen = TW_IDENTITY{};
    }
    emit createTwainSrcUi(request);
    const std::lock_guard<std::mutex> lock(m_resultMutex);
    if (chosen)
        *chosen = m_twainChosen;
    return 0;
}

void Manager::on_createTwainSrcUi(const TwainSourceRequest& request)
{
    const Busy busy(this);
    if (busy.retired())
        return;
    Dialog_Twain_Source_Select dialog(request.sources, request.defaultName,
                                      ownerWidget(request.parent));
    if (dialog.exec() != QDialog::Accepted)
        return;
    const std::lock_guard<std::mutex> lock(m_resultMutex);
    dialog.GetIdentify(&m_twainChosen);
}

int Manager::showSaneSrcUi(const char** manus, const char** libs, QWidget* parent, ZyDll** dll,
                           _sane_api* api, char* manu, unsigned int size)
{
    SaneSourceRequest request;
    for (std::size_t i = 0; manus && libs && manus[i] && libs[i]; ++i)
        request.libraries.emplace_back(manus[i], libs[i]);
    request.parent = parent;
    {
        // A pick that arrived after the last call returned never reached the host.
        const std::lock_guard<std::mutex> lock(m_resultMutex);
        m_saneDll.reset();
        m_saneLibApi = _sane_api{};
        m_saneManuName.clear();
    }
    emit createSaneSrcUi(request);

    const std::lock_guard<std::mutex> lock(m_resultMutex);
    if (dll)
        *dll = m_saneDll.release();
    if (api)
        *api = m_saneLibApi;
    if (manu) {
        // The host promises room for the longest name; a size it gives is kept to.
        const std::size_t room = size > 0 ? std::min<std::size_t>(size - 1, m_saneManuName.size())
                                          : m_saneManuName.size();
        std::memcpy(manu, m_saneManuName.data(), room);
        manu[room] = '\0';
    }
    return 0;
}

void Manager::on_createSaneSrcUi(const SaneSourceRequest& request)
{
    const Busy busy(this);
    if (busy.retired())
        return;
    Dialog_Source_Select dialog(request.libraries, ownerWidget(request.parent));
    if (dialog.exec() != QDialog::Accepted)
        return;
    const std::lock_guard<std::mutex> lock(m_resultMutex);
    m_saneDll.reset(dialog.GetDll());
    dialog.GetSaneAPI(&m_saneLibApi);
    m_saneManuName = dialog.GetManuName();
}

// ---- abnormal image ------------------------------------------------------

int Manager::showAbnormalImgUi(const SANE_Image* image)
{
    AbnormalImageRequest request;
    ZyImage wrapped = nullptr;
    if (SaneImageToZyImage(image, &wrapped) == 0) {
        ZyImage copy = nullptr;
        if (ZyBase_CloneImage(wrapped, &copy) == 0)
            request.image.reset(copy, image_destroyer());
        ZyBase_DestroyImage(wrapped);
    }
    emit createAbnormalImgUi(request);
    const std::lock_guard<std::mutex> lock(m_resultMutex);
    return m_abnormalResult;
}

void Manager::on_createAbnormalImgUi(const AbnormalImageRequest& request)
{
    const Busy busy(this);
    if (busy.retired())
        return;
    Dialog_abnormal_img_select dialog(request.image.get(), m_progressUi);
    dialog.exec();
    const std::lock_guard<std::mutex> lock(m_resultMutex);
    m_abnormalResult = dialog.getUserSelect();
}
