// The one object through which the exports reach the user interface. It lives on
// the UI thread; requests store their arguments here and emit a signal, and the
// matching slot builds the window on the manager's thread.
#ifndef MANAGER_H
#define MANAGER_H

#include <veltwainui/twainui.h>
#include <ZyBase.h>

#include <QMetaType>
#include <QObject>
#include <QTranslator>

#include <mutex>
#include <string>
#include <utility>
#include <vector>

Q_DECLARE_OPAQUE_POINTER(ZyImage)
Q_DECLARE_METATYPE(ZyImage)

namespace gb {
class scanner_cfg;
}
class zy_settingdialog;
class Dialog_progress_ui;

class Manager : public QObject
{
    Q_OBJECT

public:
    Manager();
    ~Manager() override;

    int showMessageBoxUi(void* parent, int kind, void* text, int flags);
    void closeSettingUi();
    void closeProgressUi();
    void closeMessageBoxUi();
    void clear_functions();

    int codePage() const { return m_codePage; }

signals:
    void init();
    void createDeviceSelect(void*);
    void createSettingUi(void*);
    void createProgressUi(void*);
    void createMessageBoxUi(void*);
    void createTwainSrcUi(void*);
    void createSaneSrcUi(void*);
    void createAbnormalImgUi(void*, ZyImage);
    void deleteSettingUi(void*);
    void deleteProgressUi(void*);
    void deleteMessageBoxUi(void*);

private slots:
    void on_init();
    void on_createMessageBoxUi(void*);
    void on_deleteMessageBoxUi(void*);

private:
    QTranslator m_translator;
    QTranslator m_qtTranslator;
    int m_codePage = 0;

    std::vector<_dev_que_ui> m_devices;
    int m_devId = 0;

    zy_settingdialog* m_settingUi = nullptr;
    void* m_device = nullptr;
    void* m_parent = nullptr;
    _sane_api m_saneApi{};
    std::string m_devName;
    bool m_withScan = false;
    gb::scanner_cfg* m_scannerCfg = nullptr;
    ui_result_callback m_settingCallback;
    ui_event_callback* m_settingNotify = nullptr;

    Dialog_progress_ui* m_progressUi = nullptr;
    quintptr m_progressParent = 0;
    ui_result_callback m_progressCallback;
    ui_event_callback* m_progressNotify = nullptr;

    void* m_msgParent = nullptr;
    int m_msgKind = 0;
    std::string m_msgText;
    int m_msgFlags = 0;

    std::vector<TW_IDENTITY> m_twainSources;
    std::string m_twainDefault;
    QWidget* m_twainParent = nullptr;
    TW_IDENTITY m_twainChosen{};

    std::vector<std::pair<std::string, std::string>> m_saneLibs;
    QWidget* m_saneParent = nullptr;
    ZyDll* m_saneDll = nullptr;
    _sane_api m_saneLibApi{};
    std::string m_saneManuName;

    int m_abnormalResult = 0;

    // Host threads write the request fields while the UI thread reads them; a
    // torn string would crash, so each hand-over holds this briefly.
    std::mutex m_requestMutex;
};

#endif
