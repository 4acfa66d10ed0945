// The scheme panel beside the option pages: the device's schemes, adding,
// saving, deleting and restoring them, and the warning shown while the device
// differs from the scheme chosen.
#include "zy_settingdialog.h"
#include "zy_settingdialog_p.h"

#include "dialog_input.h"
#include "gb_json.h"
#include "module_config.h"

#include <lexipak.h>

#include <QComboBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QSet>
#include <QSignalBlocker>
#include <QVBoxLayout>

using namespace settings_ui;

namespace {

constexpr int kPanelItemWidth = 180;
constexpr int kPanelButtonWidth = 100;
// As long as the name input takes.
constexpr int kMaxSchemeName = 20;

// The default scheme's names: the file's own and its shown ones.
const char* const kReservedNames[] = {"Default setting", "default_setting", "默认设置", "預設設定"};

// What a control of the option shows, without blanks (names are typed without them).
QString shown_value(const _sane_api& api, SANE_Handle handle, int n,
                    const SANE_Option_Descriptor& d)
{
    static const QRegularExpression blanks(QStringLiteral("\\s"));
    sane_value value(d.type == SANE_TYPE_STRING && d.size > 0 ? std::size_t(d.size) * 2 + 4
                                                              : sizeof(SANE_Word));
    SANE_Int info = 0;
    if (!holds_value(&d) || (d.type != SANE_TYPE_STRING && !holds_word(&d))
        || api.sane_control_option(handle, n, SANE_ACTION_GET_VALUE, value.data(), &info)
            != SANE_STATUS_GOOD)
        return QString();
    QString text;
    if (d.type == SANE_TYPE_STRING) {
        const char* shown = from_default_language(value.text());
        text = QString::fromUtf8(shown ? shown : value.text());
    } else if (d.type == SANE_TYPE_FIXED) {
        text = QString::number(value.word() * kFixedToDouble);
    } else {
        text = QString::number(value.word());
    }
    return text.remove(blanks);
}

} // namespace

void zy_settingdialog::create_scheme_management_ui(QVBoxLayout* layout)
{
    auto* label = new QLabel(tr("existing configuration scheme"));
    label->setFixedWidth(kPanelItemWidth);
    label->setWordWrap(true);
    m_schemeCombo = new QComboBox;
    m_schemeCombo->setFixedWidth(kPanelItemWidth);
    // Long names are cut in the box; the list shows them whole.
    m_schemeCombo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    fill_scheme_list();
    layout->addWidget(label);
    layout->addWidget(m_schemeCombo);

    m_addButton = new QPushButton(tr("Add new"));
    m_saveButton = new QPushButton(tr("Save"));
    m_deleteButton = new QPushButton(tr("Delete"));
    m_deleteAllButton = new QPushButton(tr("Delete all"));
    for (QPushButton* button : {m_addButton, m_saveButton, m_deleteButton, m_deleteAllButton}) {
        button->setFixedWidth(kPanelButtonWidth);
        layout->addWidget(button, 0, Qt::AlignHCenter);
    }

    m_restoreLabel = new QLabel;
    m_restoreLabel->setWordWrap(true);
    m_restoreLabel->setStyleSheet(QStringLiteral("color:red;"));
    // The warning is long and the panel narrow: a size smaller keeps it whole.
    QFont small = m_restoreLabel->font();
    small.setPointSizeF(small.pointSizeF() * 0.9);
    m_restoreLabel->setFont(small);
    m_restoreButton = new QPushButton(tr("Restore"));
    m_restoreButton->setFixedWidth(kPanelButtonWidth);
    m_restoreLabel->hide();
    m_restoreButton->hide();
    layout->addWidget(m_restoreLabel);
    layout->addWidget(m_restoreButton, 0, Qt::AlignHCenter);
    layout->addStretch();

    for (QPushButton* button :
         {m_addButton, m_saveButton, m_deleteButton, m_deleteAllButton, m_restoreButton})
        connect(button, &QPushButton::clicked, this,
                &zy_settingdialog::slot_pushButton_scheme_management);
    updateSchemeManagerUi();
}

void zy_settingdialog::fill_scheme_list()
{
    const QSignalBlocker blocker(m_schemeCombo);
    std::vector<std::string> names;
    m_cfg->get_all_schemes(names);
    m_schemeCombo->clear();
    for (const std::string& name : names)
        m_schemeCombo->addItem(QString::fromStdString(name));
    // The file's selection, found by index: shown names may repeat.
    const std::string current = m_cfg->get_current_scheme_name();
    int index = 0;
    for (int i = 1; i < m_schemeCombo->count(); ++i) {
        if (names[std::size_t(i)] == current) {
            index = i;
            break;
        }
    }
    m_schemeCombo->setCurrentIndex(index);
}

std::string zy_settingdialog::scheme_name_at(int index) const
{
    return index <= 0 ? gb::scanner_cfg::user_default_scheme_name()
                      : m_schemeCombo->itemText(index).toStdString();
}

std::string zy_settingdialog::selected_scheme_name() const
{
    return scheme_name_at(m_schemeCombo->currentIndex());
}

void zy_settingdialog::take_scheme(gb::sane_config_schm* scheme)
{
    if (!scheme)
        return;
    // Saved values stay: Save may have changed the scheme since its session began.
    m_curScheme->end_setting(false);
    m_curScheme->release();
    m_curScheme = scheme;
}

void zy_settingdialog::save_configuration()
{
    m_cfg->save();
    configurationSaved(m_cfg, m_cfg->to_text(true));
}

void zy_settingdialog::updateSchemeManagerUi()
{
    for (QPushButton* button : {m_addButton, m_saveButton, m_deleteButton, m_deleteAllButton})
        button->setEnabled(true);
    if (m_schemeCombo->currentIndex() <= 0) {
        m_deleteButton->setEnabled(false);
        m_saveButton->setEnabled(false);
    }
    if (m_schemeCombo->count() == 1)
        m_deleteAllButton->setEnabled(false);
}

bool zy_settingdialog::name_taken(const QString& name) const
{
    for (const char* reserved : kReservedNames)
        if (name == QString::fromUtf8(reserved))
            return true;
    return m_schemeCombo->findText(name, Qt::MatchFixedString | Qt::MatchCaseSensitive) >= 0;
}

QString zy_settingdialog::find_current_scheme_menu(int* index)
{
    QStringList parts;
    for (const char* option : {"mode", "resolution", "paper"}) {
        int n = -1;
        const SANE_Option_Descriptor* d = find_option_description(std::string(option), &n);
        const QString text = d ? shown_value(m_saneApi, m_devHandle, n, *d) : QString();
        if (!text.isEmpty())
            parts << (name_is(d, "resolution") ? tr("%1dpi").arg(text) : text);
    }
    QString base = parts.join(QLatin1Char('-'));
    while (base.size() > kMaxSchemeName && parts.size() > 1) {
        parts.removeLast();
        base = parts.join(QLatin1Char('-'));
    }
    if (base.isEmpty())
        base = tr("scheme");
    base.truncate(kMaxSchemeName);

    QSet<QString> taken;
    for (int i = 0; i < m_schemeCombo->count(); ++i)
        taken.insert(m_schemeCombo->itemText(i));
    for (const char* reserved : kReservedNames)
        taken.insert(QString::fromUtf8(reserved));
    QString name = base;
    for (int k = 2; taken.contains(name); ++k) {
        const QString suffix = QStringLiteral("-%1").arg(k);
        name = base.left(kMaxSchemeName - suffix.size()) + suffix;
    }
    if (index)
        *index = m_schemeCombo->count();
    return name;
}

void zy_settingdialog::slot_pushButton_scheme_management()
{
    QObject* button = sender();
    if (button == m_addButton)
        add_scheme();
    else if (button == m_saveButton)
        save_scheme();
    else if (button == m_deleteButton)
        delete_scheme();
    else if (button == m_deleteAllButton)
        delete_all_schemes();
    else if (button == m_restoreButton)
        restore_scheme();
    else
        updateSchemeManagerUi();
}

void zy_settingdialog::add_scheme()
{
    int index = -1;
    const QString proposed = find_current_scheme_menu(&index);
    if (proposed.isEmpty() || index < 0)
        return;
    Dialog_Input input(this);
    input.setWindowTitle(tr("Add new scheme"));
    input.init_value(proposed);
    int answer = QDialog::Rejected;
    {
        const host_call modal(this);
        answer = input.exec();
    }
    // The host may have closed the dialog meanwhile.
    if (answer != QDialog::Accepted || !isVisible())
        return;
    const QString name = input.get_inputting_value();
    const std::string utf8 = name.toStdString();
    auto* scheme = new gb::sane_config_schm(nullptr);
    scheme->set_scheme_name(utf8.c_str());
    // The file refuses a few names of its own ("global") as well.
    if (name_taken(name) || !m_cfg->add_scheme(scheme, utf8.c_str())) {
        scheme->release();
        const host_call modal(this);
        QMessageBox::information(this, tr("tips"), tr("The configuration scheme already exists"));
        return;
    }
    take_scheme(scheme);
    // The device holds these values already: it is not written again.
    updateSchemeFromUi(scheme);
    save_configuration();
    {
        const QSignalBlocker blocker(m_schemeCombo);
        m_schemeCombo->addItem(name);
        m_schemeCombo->setCurrentIndex(m_schemeCombo->count() - 1);
    }
    updateRestorePushButton();
    updateSchemeManagerUi();
    ++m_addedCount;
}

void zy_settingdialog::save_scheme()
{
    gb::sane_config_schm* scheme = m_cfg->get_scheme(selected_scheme_name().c_str());
    if (scheme) {
        updateSchemeFromUi(scheme);
        save_configuration();
        scheme->release();
    }
    updateRestorePushButton();
    updateSchemeManagerUi();
}

bool zy_settingdialog::confirm_deletion(const QString& text)
{
    QMessageBox box(QMessageBox::Question, tr("be sure to delete the configuration"), text,
                    QMessageBox::Yes | QMessageBox::No, this);
    box.setWindowFlags(Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);
    int answer = QMessageBox::No;
    {
        const host_call modal(this);
        answer = box.exec();
    }
    // The host may have closed the dialog meanwhile.
    return answer == QMessageBox::Yes && isVisible();
}

void zy_settingdialog::delete_scheme()
{
    const int index = m_schemeCombo->currentIndex();
    if (index > 0) {
        const QString shown = m_schemeCombo->itemText(index);
        if (confirm_deletion(tr("Are you sure you want to delete the configuration \"") + shown
                             + tr("\" ?"))) {
            const std::string name = scheme_name_at(index);
            gb::sane_config_schm* scheme = m_cfg->get_scheme(name.c_str());
            const bool inUse = scheme == m_curScheme;
            m_cfg->remove_scheme(name.c_str());
            {
                const QSignalBlocker blocker(m_schemeCombo);
                m_schemeCombo->removeItem(index);
            }
            if (scheme)
                scheme->release();
            // The device leaves the deleted scheme before the list moves on.
            if (inUse) {
                restore_2_default_settings();
                updateUIStatus();
            }
            on_current_scheme_changed();
            save_configuration();
        }
    }
    updateSchemeManagerUi();
}

void zy_settingdialog::delete_all_schemes()
{
    if (confirm_deletion(tr("Are you sure you want to delete the configuration?"))) {
        restore_2_default_settings();
        updateUIStatus();
        m_cfg->remove_all_schemes();
        save_configuration();
        fill_scheme_list();
        take_scheme(m_cfg->get_scheme(selected_scheme_name().c_str()));
        updateRestorePushButton();
    }
    updateSchemeManagerUi();
}

void zy_settingdialog::restore_scheme()
{
    take_scheme(m_cfg->get_scheme(selected_scheme_name().c_str()));
    apply_scheme(m_devHandle, &m_saneApi, m_curScheme);
    updateUIStatus();
    updateRestorePushButton();
    updateSchemeManagerUi();
}

void zy_settingdialog::updateRestorePushButton()
{
    gb::sane_config_schm* selected = m_cfg->get_scheme(selected_scheme_name().c_str());
    bool differs = false;
    if (selected) {
        // The selected scheme as it would be if captured now: what it holds
        // beyond this device's options does not count as a difference.
        gb::sane_config_schm* now = selected->copy();
        updateSchemeFromUi(now);
        differs = !now->is_equal(selected);
        now->release();
        selected->release();
    }
    // A name of any length leaves the warning readable in the narrow panel.
    const QString name = fontMetrics().elidedText(m_schemeCombo->currentText(), Qt::ElideMiddle,
                                                  kPanelItemWidth * 2);
    m_restoreLabel->setText(
        tr("The current parameter settings are inconsistent with the configuration scheme "
           "'%1'. To use the configuration scheme '%1' parameters, please click the restore "
           "button")
            .arg(name));
    m_restoreLabel->setVisible(differs);
    m_restoreButton->setVisible(differs);
}
