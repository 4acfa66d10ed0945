// Construction of the settings dialog: the window, the scheme panel, one page per
// option group and one control per option.
#include "zy_settingdialog.h"
#include "zy_settingdialog_p.h"

#include "Manager.h"
#include "gb_json.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSlider>
#include <QSpinBox>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include <cstring>

using namespace settings_ui;

std::atomic<int> m_customCutAreaUnit{0};

const char* const zy_settingdialog::property_combox_data_type_ = "combox_value_type";
const char* const zy_settingdialog::property_controls_id_ = "controls_id";

namespace {

constexpr int kDialogWidth = 740;
constexpr int kPanelWidth = 195;
constexpr int kPanelHeight = 500;
constexpr int kSliderPairMinWidth = 300;
constexpr int kSliderMinWidth = 120;
constexpr int kSpinWidth = 150;
constexpr int kToolButtonWidth = 150;
constexpr int kToolContainerMaxWidth = 200;
// Labels longer than this wrap.
constexpr int kLabelMaxWidth = 180;
constexpr int kRowPadding = 3;
// Entries of very long lists stay readable without widening the page.
constexpr int kComboMinChars = 16;

enum combo_kind { kStringCombo = 0, kWordCombo = 1, kFixedCombo = 2 };

SANE_Word word_of(const std::string& bytes)
{
    SANE_Word word = 0;
    std::memcpy(&word, bytes.data(), std::min(bytes.size(), sizeof(word)));
    return word;
}

QComboBox* new_combo()
{
    auto* combo = new QComboBox;
    combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    combo->setMinimumContentsLength(kComboMinChars);
    return combo;
}

} // namespace

zy_settingdialog::zy_settingdialog(Manager* mgr, void* devHandle, const _sane_api* api,
                                   bool showScanButton, const char* devName,
                                   gb::scanner_cfg* cfg, std::function<void(ui_result)> callback,
                                   std::function<void(int, void*, int)>* eventCallback,
                                   QWidget* parent)
    : QDialog(parent)
    , m_manager(mgr)
    , m_devHandle(devHandle)
    , m_showScanButton(showScanButton)
    , m_devName(devName ? devName : "")
    , m_callback(std::move(callback))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setIcon();

    // The dialog keeps its own reference: the module may replace its
    // configuration while the dialog is open.
    if (cfg)
        cfg->add_ref();
    m_cfg = cfg ? cfg : new gb::scanner_cfg();
    m_curScheme = m_cfg->get_scheme(nullptr);
    if (!m_curScheme)
        m_curScheme = m_cfg->get_scheme(gb::scanner_cfg::user_default_scheme_name().c_str());
    m_curScheme->begin_setting(false);

    if (api)
        m_saneApi = *api;
    m_driverDefaults = new gb::sane_config_schm(nullptr);

    initUi();

    m_optionValuesAtStart = m_optionValues;
    m_gammaAtStart = m_gamma;

    connect(m_schemeCombo, &QComboBox::currentTextChanged, this,
            &zy_settingdialog::on_current_scheme_changed);
    connect(this, &zy_settingdialog::scan_status, this, &zy_settingdialog::on_scan_status,
            Qt::QueuedConnection);
    updateRestorePushButton();
    if (eventCallback)
        *eventCallback = &zy_settingdialog::FuncNotify;
}

zy_settingdialog::~zy_settingdialog()
{
    m_curScheme->release();
    m_driverDefaults->release();
    m_cfg->release();
    if (m_manager)
        m_manager->forgetSettingUi(this);
    deliver_result();
}

void zy_settingdialog::setIcon()
{
    setWindowIcon(QIcon(QStringLiteral(":logo/image_rsc/logo/logo.ico")));
    // The brand of this build.
    setWindowIcon(QIcon(QStringLiteral(":logo/image_rsc/logo/velmarscan.ico")));
}

void zy_settingdialog::initUi()
{
    update_opt_value_from_driver();
    createUI();
    setWindowTitle(QString::fromStdString(m_devName));
    setWindowFlags(Qt::Dialog | Qt::WindowCloseButtonHint);
    resize(kDialogWidth, height());
}

void zy_settingdialog::createUI()
{
    m_tabs = new QTabWidget;

    auto* buttons = new QWidget;
    m_buttonRow = new QHBoxLayout(buttons);
    m_buttonRow->setContentsMargins(0, 0, 0, 0);
    m_aboutButton = new QPushButton(tr("about..."));
    m_aboutButton->setObjectName(QStringLiteral("pbtn_about"));
    m_scanButton = new QPushButton(tr("scan"));
    m_scanButton->setObjectName(QStringLiteral("pbtn_scan"));
    m_okButton = new QPushButton(tr("ok"));
    m_cancelButton = new QPushButton(tr("cancel"));
    m_okButton->setDefault(true);
    m_cancelButton->setShortcut(QKeySequence(Qt::Key_Escape));
    m_buttonRow->addStretch();
    for (QPushButton* button : {m_aboutButton, m_scanButton, m_okButton, m_cancelButton})
        m_buttonRow->addWidget(button);
    connect(m_scanButton, &QPushButton::clicked, this, &zy_settingdialog::slot_buttonScanClicked);
    connect(m_okButton, &QPushButton::clicked, this, &zy_settingdialog::slot_buttonOkClicked);
    connect(m_cancelButton, &QPushButton::clicked, this,
            &zy_settingdialog::slot_buttonCancelClicked);
    connect(m_aboutButton, &QPushButton::clicked, this,
            &zy_settingdialog::slot_buttonAboutClicked);
    if (!m_showScanButton)
        m_scanButton->hide();

    auto* schemeBox = new QGroupBox(tr("configuration scheme management"));
    schemeBox->setFixedSize(kPanelWidth, kPanelHeight);
    auto* schemeLayout = new QVBoxLayout(schemeBox);
    schemeLayout->setSpacing(4);
    create_scheme_management_ui(schemeLayout);

    auto* top = new QHBoxLayout;
    top->addWidget(schemeBox);
    top->addWidget(m_tabs, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top, 1);
    layout->addWidget(buttons);

    page current = new_page(QString());
    bool groupSeen = false;
    for (std::size_t i = 0; i < m_optionValues.size(); ++i) {
        const int id = static_cast<int>(i) + 1;
        const option_value& entry = m_optionValues[i];
        const SANE_Option_Descriptor* d = entry.descriptor;
        if (!d)
            continue;
        if (d->type == SANE_TYPE_GROUP) {
            const QString title = text_of(d->title);
            if (!groupSeen) {
                current.title = title;
                groupSeen = true;
            } else {
                m_tabs->addTab(current.area, current.title);
                current = new_page(title);
            }
            continue;
        }
        create_controls(id, entry, current);
        capture_special_value(id, entry);
    }

    // The row reads: About, the device's buttons, stretch, Scan, OK, Cancel.
    m_buttonRow->removeWidget(m_aboutButton);
    m_buttonRow->insertWidget(0, m_aboutButton);
    updateUIStatus();
    m_tabs->addTab(current.area, current.title);
    update_page_visibility();
    // A driver without groups has one page without a name: no tab for it.
    m_tabs->tabBar()->setVisible(m_tabs->count() > 1 || !current.title.isEmpty());
}

zy_settingdialog::page zy_settingdialog::new_page(const QString& title) const
{
    page p;
    p.title = title;
    p.area = new QScrollArea;
    p.area->setWidgetResizable(true);
    p.area->setAlignment(Qt::AlignHCenter);
    p.form_widget = new QWidget;
    p.form = new QFormLayout(p.form_widget);
    p.form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    // The rows bring their own padding: hidden rows then take no room.
    p.form->setVerticalSpacing(0);
    p.area->setWidget(p.form_widget);
    return p;
}

void zy_settingdialog::create_controls(int id, const option_value& entry, page& current)
{
    const SANE_Option_Descriptor* d = entry.descriptor;
    std::string stored;
    if (d->name && *d->name)
        m_curScheme->get_config(d->name, stored);
    const SANE_Word driverWord = entry.value.toInt();

    // Every field sits in a padded row of its own, so that a hidden row leaves
    // no gap behind.
    auto* field = new QWidget;
    auto* row = new QHBoxLayout(field);
    row->setContentsMargins(0, kRowPadding, 0, kRowPadding);
    QVector<QWidget*> widgets;

    switch (d->type) {
    case SANE_TYPE_BOOL: {
        if (!holds_word(d))
            break;
        auto* box = new QCheckBox;
        box->setChecked(!stored.empty() && stored[0] != 0);
        connect(box, &QCheckBox::stateChanged, this, &zy_settingdialog::slot_checkedClicked);
        widgets << box;
        row->addWidget(box);
        const bool area = name_is(d, "is-custom-area");
        if (area || name_is(d, "is-custom-gamma")) {
            // The tool opens from the button beside the box, while it is checked.
            auto* tool = new QPushButton(area ? tr("regional crop") : tr("custom tone curve"));
            tool->setObjectName(area ? QStringLiteral("pbtn_crop") : QStringLiteral("pbtn_toneCurve"));
            tool->setFixedWidth(kToolButtonWidth);
            field->setMaximumWidth(kToolContainerMaxWidth);
            row->addWidget(tool);
            connect(tool, &QPushButton::clicked, this,
                    area ? &zy_settingdialog::slot_cutButtonClicked
                         : &zy_settingdialog::slot_gammaButtonClicked);
            (area ? m_cropButton : m_gammaButton) = tool;
            enable_tool_button(d, box->isChecked());
        }
        row->addStretch();
        break;
    }
    case SANE_TYPE_INT: {
        if (!holds_word(d))
            break;
        const SANE_Constraint_Type constraint = constraint_of(d);
        if (constraint == SANE_CONSTRAINT_RANGE) {
            const word_range range = range_of(d, driverWord, kIntNoneRange);
            auto* slider = new QSlider(Qt::Horizontal);
            auto* spin = new QSpinBox;
            slider->setRange(range.min, range.max);
            spin->setRange(range.min, range.max);
            spin->setSingleStep(1);
            slider->setValue(driverWord);
            spin->setValue(driverWord);
            slider->setValue(word_of(stored));
            spin->setValue(word_of(stored));
            connect(slider, &QSlider::valueChanged, this, &zy_settingdialog::slot_sliderClicked);
            connect(spin, QOverload<int>::of(&QSpinBox::valueChanged), this,
                    &zy_settingdialog::slot_spinBoxClicked);
            if (name_is(d, "threshold") || name_is(d, "anti-noise-level") || name_is(d, "margin"))
                slider->installEventFilter(this);
            widgets << slider << spin;
        } else if (constraint == SANE_CONSTRAINT_NONE) {
            const word_range range = range_of(d, word_of(stored), kIntNoneRange);
            auto* spin = new QSpinBox;
            spin->setRange(range.min, range.max);
            spin->setValue(word_of(stored));
            spin->setFixedWidth(kSpinWidth);
            connect(spin, QOverload<int>::of(&QSpinBox::valueChanged), this,
                    &zy_settingdialog::slot_spinBoxClicked);
            row->addWidget(spin);
            row->addStretch();
            widgets << spin;
        } else if (constraint == SANE_CONSTRAINT_WORD_LIST) {
            auto* combo = new_combo();
            for (const SANE_Word word : word_list(d))
                combo->addItem(QString::number(word));
            combo->setProperty(property_combox_data_type_, kWordCombo);
            combo->setCurrentText(QString::number(word_of(stored)));
            connect(combo, &QComboBox::currentTextChanged, this,
                    &zy_settingdialog::slot_string_list_comboBoxClicked);
            row->addWidget(combo);
            widgets << combo;
        }
        break;
    }
    case SANE_TYPE_FIXED: {
        if (!holds_word(d))
            break;
        // Whatever the constraint, a fixed option gets a slider in hundredths.
        const word_range range = range_of(d, driverWord, kFixedNoneRange);
        auto* slider = new QSlider(Qt::Horizontal);
        auto* spin = new QDoubleSpinBox;
        slider->setRange(hundredths(range.min), hundredths(range.max));
        spin->setDecimals(2);
        spin->setSingleStep(kSpinStep);
        spin->setRange(range.min * kFixedToDouble, range.max * kFixedToDouble);
        slider->setValue(static_cast<int>(
            static_cast<float>(word_of(stored) * kFixedToDouble) * 100));
        spin->setValue(slider->value() * spin->singleStep());
        connect(spin, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
                &zy_settingdialog::slot_doubleSpinboxClicked);
        connect(slider, &QSlider::valueChanged, this, &zy_settingdialog::slot_sliderClicked);
        widgets << slider << spin;
        break;
    }
    case SANE_TYPE_STRING: {
        const SANE_Constraint_Type constraint = constraint_of(d);
        if (constraint == SANE_CONSTRAINT_NONE) {
            auto* edit = new QLineEdit(QString::fromStdString(stored));
            if (d->size > 1)
                edit->setMaxLength(d->size - 1);
            connect(edit, &QLineEdit::textChanged, this, &zy_settingdialog::slot_lineEditInput);
            row->addWidget(edit);
            widgets << edit;
        } else if (constraint == SANE_CONSTRAINT_STRING_LIST) {
            auto* combo = new_combo();
            combo->addItems(string_list(d));
            combo->setProperty(property_combox_data_type_, kStringCombo);
            combo->setCurrentText(entry.value.toString());
            combo->setCurrentText(QString::fromStdString(stored));
            if (name_is(d, "direction"))
                combo->installEventFilter(this);
            connect(combo, &QComboBox::currentTextChanged, this,
                    &zy_settingdialog::slot_string_list_comboBoxClicked);
            row->addWidget(combo);
            widgets << combo;
        }
        break;
    }
    case SANE_TYPE_BUTTON: {
        auto* button = new QPushButton(text_of(d->title));
        button->setToolTip(text_of(d->desc));
        button->setProperty(property_controls_id_, id);
        connect(button, &QPushButton::clicked, this, &zy_settingdialog::slot_pushButtonClicked);
        m_buttonRow->insertWidget(0, button);
        break;
    }
    default:
        break;
    }

    if (widgets.isEmpty()) {
        delete field;
        return;
    }
    if (widgets.size() == 2) {
        // A slider with its spin box.
        m_sliderPairs.insert(widgets[0], widgets[1]);
        m_sliderPairs.insert(widgets[1], widgets[0]);
        field->setMinimumWidth(kSliderPairMinWidth);
        widgets[0]->setMinimumWidth(kSliderMinWidth);
        widgets[1]->setFixedWidth(kSpinWidth);
        row->addWidget(widgets[0], 1);
        row->addWidget(widgets[1]);
    }
    const bool settable = d->cap & SANE_CAP_SOFT_SELECT;
    for (QWidget* w : widgets) {
        w->setToolTip(text_of(d->desc));
        w->setProperty(property_controls_id_, id);
        // Only what software may set can be changed from here.
        w->setEnabled(settable);
    }

    auto* label = new QLabel(text_of(d->title) + QStringLiteral(" : "));
    label->setContentsMargins(0, kRowPadding, 0, kRowPadding);
    if (label->sizeHint().width() > kLabelMaxWidth) {
        label->setWordWrap(true);
        label->setMinimumWidth(kLabelMaxWidth);
    }
    current.form->addRow(label, field);
    m_controls.insert(id, option_controls{widgets, label, field, m_tabs->count(), false});
}

void zy_settingdialog::capture_special_value(int id, const option_value& entry)
{
    const SANE_Option_Descriptor* d = entry.descriptor;
    const SANE_Word word = entry.value.toInt();
    const double mm = word * kFixedToDouble;
    if (name_is(d, "resolution")) {
        m_resolutionId = id;
        m_dpi = d->type == SANE_TYPE_FIXED ? static_cast<int>(mm) : word;
    } else if (name_is(d, "paper")) {
        m_paperId = id;
        m_paper = entry.value.toString();
    } else if (name_is(d, "mode")) {
        m_modeId = id;
        m_colorMode = entry.value.toString();
    } else if (name_is(d, "tl-x")) {
        m_areaIds[0] = id;
        m_cutLeft = mm;
        if (constraint_of(d) == SANE_CONSTRAINT_RANGE)
            m_maxWidthMM = d->constraint.range->max * kFixedToDouble;
    } else if (name_is(d, "tl-y")) {
        m_areaIds[1] = id;
        m_cutTop = mm;
        if (constraint_of(d) == SANE_CONSTRAINT_RANGE)
            m_maxHeightMM = d->constraint.range->max * kFixedToDouble;
    } else if (name_is(d, "br-x")) {
        m_areaIds[2] = id;
        m_cutRight = mm;
    } else if (name_is(d, "br-y")) {
        m_areaIds[3] = id;
        m_cutBottom = mm;
    }
}

bool zy_settingdialog::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Wheel && qobject_cast<QSlider*>(watched))
        return true; // these sliders ignore the wheel: scrolling the page must not change them
    if (event->type() == QEvent::MouseButtonPress && qobject_cast<QComboBox*>(watched))
        m_programChange = false;
    return QDialog::eventFilter(watched, event);
}
