#include "Manager.h"

#include "gb_json.h"
#include "zy_settingdialog.h"

#include <lexipak.h>

#include <QApplication>
#include <QMessageBox>
#include <QWidget>

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
    connect(this, &Manager::settingScanStatus, this, &Manager::on_settingScanStatus);

    // At once on the application's thread; queued from any other, ahead of every request.
    emit init();
}

Manager::~Manager()
{
    if (m_settingUi)
        std::exchange(m_settingUi, nullptr)->closeByHost(true);
    QCoreApplication::removeTranslator(&m_translator);
    QCoreApplication::removeTranslator(&m_qtTranslator);
}

void Manager::registerRequestTypes()
{
    qRegisterMetaType<ZyImage>("ZyImage");
    qRegisterMetaType<MessageBoxRequest>();
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
}
