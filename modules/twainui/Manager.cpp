#include "Manager.h"

#include <lexipak.h>

#include <QApplication>
#include <QMessageBox>
#include <QWidget>

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
    connect(this, &Manager::createMessageBoxUi, this, &Manager::on_createMessageBoxUi);
    connect(this, &Manager::deleteMessageBoxUi, this, &Manager::on_deleteMessageBoxUi);

    // At once on the application's thread; queued from any other, ahead of every request.
    emit init();
}

Manager::~Manager()
{
    QCoreApplication::removeTranslator(&m_translator);
    QCoreApplication::removeTranslator(&m_qtTranslator);
}

void Manager::registerRequestTypes()
{
    qRegisterMetaType<ZyImage>("ZyImage");
    qRegisterMetaType<MessageBoxRequest>();
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
}
