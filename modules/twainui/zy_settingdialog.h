// The scan-settings dialog. It has no fixed form: it is built from the device's
// SANE option descriptors, one control per option and one page per option group,
// and every control writes its option to the device the moment it changes.
// Closing with OK keeps the device's values and records them in the device's
// configuration file; every other way of closing writes the start values back.
//
// The implementation is split by concern:
//   zy_settingdialog.cpp            construction: window, pages, controls, panel
//   zy_settingdialog_values.cpp     reading the driver, refresh and visibility
//   zy_settingdialog_roundtrip.cpp  the control slots and their conversions
//   zy_settingdialog_close.cpp      buttons, keys, closing, undo and scan status
//   zy_settingdialog_tools.cpp      the About box, the crop tool and the tone curve
//   zy_settingdialog_apply.cpp      writing a scheme to the device
//   zy_settingdialog_schemes.cpp    the scheme panel
#ifndef ZY_SETTINGDIALOG_H
#define ZY_SETTINGDIALOG_H

#include "tonecurverecord.h"

#include <veltwainui/twainui.h>

#include <QDialog>
#include <QHash>
#include <QString>
#include <QVariant>
#include <QVector>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

class Manager;
class QCloseEvent;
class QComboBox;
class QFormLayout;
class QHBoxLayout;
class QLabel;
class QPushButton;
class QScrollArea;
class QTabWidget;
class QVBoxLayout;
class sane_value;

namespace gb {
class sane_config_schm;
class scanner_cfg;
} // namespace gb

// The unit the crop tool ended with, shared by every dialog and set by schemes.
// Schemes may be applied on a host thread, hence atomic.
extern std::atomic<int> m_customCutAreaUnit;

class zy_settingdialog : public QDialog
{
    Q_OBJECT

public:
    // What the dialog knows of one option: its descriptor (null when the driver
    // gives none), the value the controls show (an int for a bool, int or fixed
    // word, the text in the user's language for a string, the bytes of an
    // array) and the bytes the driver gave, which the undo writes back.
    struct option_value
    {
        const SANE_Option_Descriptor* descriptor = nullptr;
        QVariant value;
        QByteArray raw;
        bool read = false; // false: the driver refused the read
    };

    zy_settingdialog(Manager* mgr, void* devHandle, const _sane_api* api, bool showScanButton,
                     const char* devName, gb::scanner_cfg* cfg,
                     std::function<void(ui_result)> callback,
                     std::function<void(int, void*, int)>* eventCallback,
                     QWidget* parent = nullptr);
    ~zy_settingdialog() override;

    // The driver's scan events, from any thread: 8 a scan runs, 12 it ended; data
    // is the host's UTF-8 text, shown when status is non-zero. Reaches the open
    // dialog through the manager; does nothing while none is open.
    static void FuncNotify(int event, void* data, int status);

    // The manager lets the dialog go without the user: it disappears at once and
    // is deleted as soon as no call into the host is under way from it. With
    // silently, the host hears nothing more from it.
    void closeByHost(bool silently);
    // The host's callback is forgotten: the dialog reports nothing any more.
    void forgetHost();

    // The dynamic property that tells a word-list combo box (1), a fixed one (2)
    // and a string-list one (otherwise) apart: "combox_value_type".
    static const char* const property_combox_data_type_;
    // The dynamic property holding a control's option number: "controls_id".
    static const char* const property_controls_id_;

    // The controls carrying option id (a slider and its spin box both), without
    // scanning every control.
    QVector<QWidget*> find_control(int id) const;
    const SANE_Option_Descriptor* find_option_description(int id) const;
    // Asks the driver for the descriptor called name; *id receives its number.
    const SANE_Option_Descriptor* find_option_description(const std::string& name, int* id) const;

    // Brings the controls of option id to its last read value without
    // triggering their slots (the double spin box's slot stays connected).
    void refresh_control_value(int id);
    // Captures the device's current values into scheme (null: the scheme in use).
    void updateSchemeFromUi(gb::sane_config_schm* scheme);
    // Shows the panel's warning and Restore button while the device differs from
    // the scheme selected in the panel.
    void updateRestorePushButton();

    // Writes scheme to the device without any widget, from any thread: every
    // "restore" button is pressed first, then each stored value is written to
    // the option of its name. A null scheme only restores the defaults.
    static void apply_scheme(void* devHandle, _sane_api* api, gb::sane_config_schm* scheme);
    // The stricter way: every option set to automatic, then the scheme's values
    // by its own option numbers; a tone curve only when it is a whole record.
    void apply_current_scheme();
    // Enables the panel's buttons that may act on the selected entry.
    void updateSchemeManagerUi();
    // A name for the device's current settings, unique within the file, in the
    // user's language ("Color-300dpi-A4"); *index is where it would be listed.
    QString find_current_scheme_menu(int* index);

signals:
    // May be emitted from any thread; reaches on_scan_status queued.
    void scan_status(QString info, bool isScanning);

public slots:
    void on_scan_status(QString info, bool isScanning);
    void slot_checkedClicked();
    void slot_sliderClicked(int value);
    void slot_spinBoxClicked(int value);
    void slot_doubleSpinboxClicked(double value);
    void slot_string_list_comboBoxClicked();
    void slot_pushButtonClicked();
    // The same round trip as slot_string_list_comboBoxClicked for a word-list
    // combo box, for code that connects the index signal instead.
    void slot_word_list_comboBoxClicked(int);
    void slot_lineEditInput();
    void slot_buttonScanClicked();
    void slot_buttonOkClicked();
    void slot_buttonCancelClicked();
    void slot_buttonAboutClicked();
    // The tools: enabled only while their option's box is checked.
    void slot_cutButtonClicked();
    void slot_gammaButtonClicked();
    void slot_pushButton_scheme_management();
    // The scheme chosen in the list is applied and every row refreshed.
    void on_current_scheme_changed();
    // Presses the device's "restore" (again, after its own button) and updates
    // the warning.
    void restore_2_default_settings();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    // Escape, accept() and reject() come here: accepting is OK, all else Cancel.
    void done(int result) override;

private:
    // The controls of one option and the form row holding them.
    struct option_controls
    {
        QVector<QWidget*> widgets;
        QWidget* label = nullptr;
        QWidget* field = nullptr;
        int page = 0;        // index of its page among the tabs
        bool hidden = false; // as the last visibility pass left it
    };

    // A page under construction.
    struct page
    {
        QScrollArea* area = nullptr;
        QWidget* form_widget = nullptr;
        QFormLayout* form = nullptr;
        QString title;
    };

    // construction (zy_settingdialog.cpp)
    void setIcon();
    void initUi();
    void createUI();
    void create_scheme_management_ui(QVBoxLayout* layout);
    page new_page(const QString& title) const;
    void create_controls(int id, const option_value& entry, page& current);
    void capture_special_value(int id, const option_value& entry);

    // reading the driver and refreshing (zy_settingdialog_values.cpp)
    void update_opt_value_from_driver();
    option_value read_option_entry(int n);
    void updateUIStatus();
    void visibility_pass();
    // Hides the pages that show no row.
    void update_page_visibility();
    void read_one_value(int id);
    int option_count() const;

    // the round trip (zy_settingdialog_roundtrip.cpp)
    SANE_Status write_option(int id, void* value, SANE_Int* info);
    bool read_back(int id, const SANE_Option_Descriptor& descriptor, sane_value& value);
    void show_unsupported();
    void warn_speed();
    void combo_round_trip(QComboBox* combo);
    void after_scan_mode_change();

    // the tools (zy_settingdialog_tools.cpp)
    // Runs a window of the dialog's modally; true when the user accepted it.
    bool run_modal(QDialog& window);
    void enable_tool_button(const SANE_Option_Descriptor* d, bool checked);
    // The tone-curve record between the device and m_gamma. A record from
    // elsewhere (a scheme) goes through m_gamma.assign(), which refuses a wrong
    // length, then write_tone_curve(m_gamma); read_tone_curve() is false when
    // the device gave none.
    bool read_tone_curve();
    void write_tone_curve(const ToneCurveRecord& record);

    // the scheme panel (zy_settingdialog_schemes.cpp)
    void fill_scheme_list();
    // The file's name of the listed entry: the first entry is the default scheme
    // whatever its shown (translated) name.
    std::string scheme_name_at(int index) const;
    std::string selected_scheme_name() const;
    // Makes scheme (one reference taken over) the scheme in use.
    void take_scheme(gb::sane_config_schm* scheme);
    void save_configuration();
    bool confirm_deletion(const QString& text);
    bool name_taken(const QString& name) const;
    void add_scheme();
    void save_scheme();
    void delete_scheme();
    void delete_all_schemes();
    void restore_scheme();

    // closing (zy_settingdialog_close.cpp)
    void cancelScheme();
    void write_start_value(int id, const option_value& start);
    bool differs_from_start(int id, const option_value& start) const;
    int write_back_differences();
    void set_contents_enabled(bool enabled);
    void deliver_result();

    // Counts the calls into the host (results) and the modal windows under way
    // from the dialog: inside them the host may close the dialog, which must then
    // outlive the call. A dialog closed meanwhile goes when the last one returns.
    class host_call
    {
    public:
        explicit host_call(zy_settingdialog* dialog) : m_dialog(dialog) { ++m_dialog->m_hostCalls; }
        ~host_call();
        host_call(const host_call&) = delete;
        host_call& operator=(const host_call&) = delete;

    private:
        zy_settingdialog* m_dialog;
    };

    Manager* m_manager = nullptr;
    int m_closeCode = 2;
    _sane_api m_saneApi{};
    void* m_devHandle = nullptr;
    bool m_showScanButton = false;
    std::string m_devName;
    gb::scanner_cfg* m_cfg = nullptr;
    gb::sane_config_schm* m_curScheme = nullptr;
    gb::sane_config_schm* m_driverDefaults = nullptr;

    std::vector<option_value> m_optionValues;
    std::vector<option_value> m_optionValuesAtStart;
    // Options whose default has been recorded (by option number).
    std::vector<bool> m_defaultKnown;
    // Each slider with its spin box and each spin box with its slider.
    QHash<const QObject*, QWidget*> m_sliderPairs;
    // Option id to its controls: the index every lookup goes through.
    QHash<int, option_controls> m_controls;

    int m_resolutionId = -1;
    int m_dpi = 200;
    int m_paperId = -1;
    QString m_paper;
    int m_areaIds[4] = {-1, -1, -1, -1};
    double m_maxWidthMM = 210.0;
    double m_maxHeightMM = 297.0;
    double m_cutLeft = 0.0;
    double m_cutTop = 0.0;
    double m_cutRight = 210.0;
    double m_cutBottom = 297.0;
    int m_modeId = -1;
    QString m_colorMode;
    // The device's tone curve as last read or written, and as it was at the start.
    ToneCurveRecord m_gamma;
    ToneCurveRecord m_gammaAtStart;

    // The tool buttons beside "is-custom-area" and "is-custom-gamma"; the row
    // label and the button follow their row's visibility.
    QWidget* m_cropButton = nullptr;
    QWidget* m_gammaButton = nullptr;

    QTabWidget* m_tabs = nullptr;
    QHBoxLayout* m_buttonRow = nullptr;
    QPushButton* m_aboutButton = nullptr;
    QPushButton* m_scanButton = nullptr;
    QPushButton* m_okButton = nullptr;
    QPushButton* m_cancelButton = nullptr;

    QComboBox* m_schemeCombo = nullptr;
    QPushButton* m_addButton = nullptr;
    QPushButton* m_saveButton = nullptr;
    QPushButton* m_deleteButton = nullptr;
    QPushButton* m_deleteAllButton = nullptr;
    QLabel* m_restoreLabel = nullptr;
    QPushButton* m_restoreButton = nullptr;
    int m_addedCount = 0;

    std::function<void(ui_result)> m_callback;
    bool m_isScanning = false;
    bool m_closedAfterScan = false;
    bool m_suppressResult = false;
    bool m_programChange = false;
    bool m_multiOutput = false;

    // A visibility pass that a write inside it asks for again runs once more
    // after the current one instead of inside it.
    bool m_inStatusPass = false;
    bool m_statusPassAgain = false;
    // The options the dialog wrote, in the order it wrote them.
    std::vector<int> m_writtenIds;
    // Scan states that arrive while a prompt about the last one is open.
    std::vector<std::pair<QString, bool>> m_pendingStatus;
    bool m_showingStatus = false;
    int m_hostCalls = 0;
    bool m_closedByHost = false;
};

#endif
