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
    qRegisterMetaType<ZyImage>("ZyImage");

    connect(this, &Manager::init, this, &Manager::on_init);
    connect(this, &Manager::createMessageBoxUi, this, &Manager::on_createMessageBoxUi);
    connect(this, &Manager::deleteMessageBoxUi, this, &Manager::on_deleteMessageBoxUi);

    emit init();
}

Manager::~Manager()
{
    QCoreApplication::removeTranslator(&m_translator);
    QCoreApplication::removeTranslator(&m_qtTranslator);
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

int Manager::showMessageBoxUi(void* parent, int kind, void* text, int flags)
{
    {
        const std::lock_guard<std::mutex> lock(m_requestMutex);
        m_msgParent = parent;
        m_msgKind = kind;
        m_msgText = text ? static_cast<const char*>(text) : "";
        m_msgFlags = flags;
    }
    emit createMessageBoxUi(nullptr);
    return 0;
}

void Manager::on_createMessageBoxUi(void*)
{
    QString text;
    void* owner = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_requestMutex);
        text = QString::fromStdString(m_msgText);
        owner = m_msgParent;
    }
    QMessageBox box(QMessageBox::Critical, tr("Prompt"), text, QMessageBox::Ok, ownerWidget(owner));
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
    const std::lock_guard<std::mutex> lock(m_requestMutex);
    m_settingCallback = nullptr;
    m_progressCallback = nullptr;
    m_settingNotify = nullptr;
    m_progressNotify = nullptr;
}
