// Leaving the dialog: OK keeps the device's values and records them, every other
// way out writes the start values back; and the scan that may run meanwhile.
#include "zy_settingdialog.h"
#include "zy_settingdialog_p.h"

#include "Manager.h"
#include "gb_json.h"

#include <lexipak.h>

#include <QCloseEvent>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include <climits>
#include <cstring>

using namespace settings_ui;

namespace {

// Writing the start values again stops when nothing differs, when a round
// makes no progress, or after this many rounds.
constexpr int kMaxWriteBackRounds = 8;

// Strings compare up to their terminator, words and arrays byte for byte.
bool same_value(const SANE_Option_Descriptor& d, const QByteArray& start, const sane_value& now)
{
    if (d.type == SANE_TYPE_STRING)
        return start == QByteArray(now.text());
    // now is at least as long as start.
    return start == QByteArray(static_cast<const char*>(now.data()), start.size());
}

} // namespace

void zy_settingdialog::slot_buttonScanClicked()
{
    m_closeCode = 3;
    if (!m_suppressResult && m_callback) {
        const host_call call(this);
        m_callback(UI_RESULT_START_SCAN);
    }
}

void zy_settingdialog::slot_buttonOkClicked()
{
    m_closeCode = 0;
    close();
}

void zy_settingdialog::slot_buttonCancelClicked()
{
    m_closeCode = 1;
    close();
}

void zy_settingdialog::done(int result)
{
    m_closeCode = result == QDialog::Accepted ? 0 : 1;
    close();
}

void zy_settingdialog::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return) {
        m_closeCode = 0;
        close();
        return;
    }
    QDialog::keyPressEvent(event);
}

void zy_settingdialog::closeEvent(QCloseEvent* event)
{
    if (m_isScanning) {
        event->ignore();
        return;
    }
    if (m_closeCode == 0) {
        gb::sane_config_schm* chosen = m_cfg->get_scheme(selected_scheme_name().c_str());
        if (!chosen)
            chosen = m_cfg->get_scheme(gb::scanner_cfg::user_default_scheme_name().c_str());
        take_scheme(chosen);
        // A named scheme changes only through the panel's Save.
        if (m_schemeCombo->currentIndex() <= 0)
            updateSchemeFromUi(m_curScheme);
        m_cfg->select_scheme(m_curScheme->get_scheme_name().c_str());
        save_configuration();
    } else {
        cancelScheme();
    }
    event->accept();
}

void zy_settingdialog::write_start_value(int id, const option_value& start)
{
    // The descriptor of now: the option may have grown since.
    const SANE_Option_Descriptor* d = m_saneApi.sane_get_option_descriptor(m_devHandle, id);
    if (!d)
        return;
    const std::size_t size = std::max<std::size_t>(d->size > 0 ? std::size_t(d->size) : 0,
                                                   std::size_t(start.raw.size()) + 1);
    sane_value buffer(size);
    std::memcpy(buffer.data(), start.raw.constData(), std::size_t(start.raw.size()));
    SANE_Int info = 0;
    m_saneApi.sane_control_option(m_devHandle, id, SANE_ACTION_SET_VALUE, buffer.data(), &info);
    if (name_is(start.descriptor, "is-custom-gamma"))
        write_tone_curve(m_gammaAtStart);
}

bool zy_settingdialog::differs_from_start(int id, const option_value& start) const
{
    const SANE_Option_Descriptor* d = m_saneApi.sane_get_option_descriptor(m_devHandle, id);
    if (!d || !holds_value(d))
        return false;
    sane_value now(std::max<std::size_t>(d->size > 0 ? std::size_t(d->size) : 0,
                                         std::size_t(start.raw.size())));
    SANE_Int info = 0;
    // What cannot be read cannot be compared.
    if (m_saneApi.sane_control_option(m_devHandle, id, SANE_ACTION_GET_VALUE, now.data(), &info)
        != SANE_STATUS_GOOD)
        return false;
    return !same_value(*d, start.raw, now);
}

void zy_settingdialog::cancelScheme()
{
    if (!m_saneApi.sane_control_option || !m_saneApi.sane_get_option_descriptor)
        return;
    // First the user's own changes, last to first: a switch turned on and the
    // option it revealed are then put back while that option can still be set.
    std::vector<bool> undone(m_optionValuesAtStart.size() + 1, false);
    for (auto it = m_writtenIds.crbegin(); it != m_writtenIds.crend(); ++it) {
        const std::size_t id = static_cast<std::size_t>(*it);
        if (id == 0 || id >= undone.size() || undone[id])
            continue;
        undone[id] = true;
        const option_value& start = m_optionValuesAtStart[id - 1];
        if (holds_value(start.descriptor) && start.read)
            write_start_value(int(id), start);
    }
    m_writtenIds.clear();

    for (std::size_t i = 0; i < m_optionValuesAtStart.size(); ++i) {
        const option_value& start = m_optionValuesAtStart[i];
        if (holds_value(start.descriptor) && start.read)
            write_start_value(static_cast<int>(i) + 1, start);
    }
    write_back_differences();
}

int zy_settingdialog::write_back_differences()
{
    // Writing in option order can leave options behind: a later write reloaded
    // them, one was inactive when its turn came, a range had moved. Those are
    // written again while that brings the count down.
    std::size_t before = SIZE_MAX;
    std::size_t first = 0;
    std::vector<int> differing;
    for (int round = 0; round <= kMaxWriteBackRounds; ++round) {
        differing.clear();
        for (std::size_t i = 0; i < m_optionValuesAtStart.size(); ++i) {
            const option_value& start = m_optionValuesAtStart[i];
            const int id = static_cast<int>(i) + 1;
            if (holds_value(start.descriptor) && start.read && differs_from_start(id, start))
                differing.push_back(id);
        }
        if (round == 0)
            first = differing.size();
        if (differing.empty() || differing.size() >= before || round == kMaxWriteBackRounds)
            break;
        before = differing.size();
        for (const int id : differing)
            write_start_value(id, m_optionValuesAtStart[std::size_t(id) - 1]);
    }
    ZyBase_WriteInfo(ZYBASE_LOG_DEBUG,
                     "[zy_settingdialog::cancelScheme] %zu option(s) differed after writing the "
                     "start values, %zu after writing them again",
                     first, differing.size());
    return static_cast<int>(differing.size());
}

void zy_settingdialog::updateSchemeFromUi(gb::sane_config_schm* scheme)
{
    if (!scheme)
        scheme = m_curScheme;
    scheme->copy_default_value(m_driverDefaults);

    bool customArea = false;
    bool customGamma = false;
    const int count = option_count();
    for (int n = 1; n < count; ++n) {
        const SANE_Option_Descriptor* d = m_saneApi.sane_get_option_descriptor(m_devHandle, n);
        if (!holds_value(d) || !d->name || !*d->name)
            continue;
        SANE_Int info = 0;
        if (holds_word(d)) {
            sane_value value = sane_value::for_descriptor(*d);
            m_saneApi.sane_control_option(m_devHandle, n, SANE_ACTION_GET_VALUE, value.data(),
                                          &info);
            scheme->config_changed(n, static_cast<const char*>(value.data()), sizeof(SANE_Word));
            if (name_is(d, "is-custom-area"))
                customArea = value.word() != 0;
            else if (name_is(d, "is-custom-gamma"))
                customGamma = value.word() != 0;
        } else if (d->type == SANE_TYPE_STRING) {
            sane_value value((d->size > 0 ? std::size_t(d->size) : 0) * 2 + 4);
            m_saneApi.sane_control_option(m_devHandle, n, SANE_ACTION_GET_VALUE, value.data(),
                                          &info);
            const char* canonical = to_default_language(value.text());
            if (!canonical)
                canonical = "";
            scheme->config_changed(n, canonical, std::strlen(canonical));
        }
    }

    if (customArea) {
        const int unit = m_customCutAreaUnit;
        scheme->config_changed("is-custom-area", reinterpret_cast<const char*>(&unit),
                               sizeof(unit), true);
    } else {
        // A scheme without a custom area never carries one.
        for (const char* name : {"tl-x", "tl-y", "br-x", "br-y"})
            scheme->remove_config(name);
    }
    if (customGamma && read_tone_curve())
        scheme->config_changed("is-custom-gamma", reinterpret_cast<const char*>(m_gamma.data()),
                               ToneCurveRecord::Size, true);
}

void zy_settingdialog::on_scan_status(QString info, bool isScanning)
{
    // A prompt runs its own loop; states arriving meanwhile wait for it.
    m_pendingStatus.emplace_back(std::move(info), isScanning);
    if (m_showingStatus)
        return;
    m_showingStatus = true;
    while (!m_pendingStatus.empty()) {
        const auto [text, scanning] = m_pendingStatus.front();
        m_pendingStatus.erase(m_pendingStatus.begin());
        if (!text.isEmpty()) {
            const host_call modal(this);
            QMessageBox::information(this, tr("Prompt"), text, QMessageBox::Ok);
        }
        if (m_closedByHost)
            return;
        m_isScanning = scanning;
        set_contents_enabled(!scanning);
        // While scanning the dialog must outlive any close attempt.
        setAttribute(Qt::WA_DeleteOnClose, !scanning);
        if (!scanning) {
            m_pendingStatus.clear();
            m_closedAfterScan = true;
            m_showingStatus = false;
            close();
            return;
        }
    }
    m_showingStatus = false;
}

void zy_settingdialog::set_contents_enabled(bool enabled)
{
    // The window itself stays enabled, so that a prompt shown over it can be
    // answered.
    for (QWidget* w : findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (!w->isWindow())
            w->setEnabled(enabled);
    }
}

void zy_settingdialog::FuncNotify(int event, void* data, int status)
{
    if (event != EVENT_SCAN_WORKING && event != EVENT_SCAN_FINISHED)
        return;
    // Copied now: the host's buffer may be gone when the UI thread gets to it.
    const QString text =
        status && data ? QString::fromUtf8(static_cast<const char*>(data)) : QString();
    const ManagerAccess manager;
    if (manager)
        manager->notifySettingUi(text, event == EVENT_SCAN_WORKING);
}

void zy_settingdialog::closeByHost(bool silently)
{
    m_manager = nullptr;
    if (silently)
        forgetHost();
    // No close event: the host asked, so nothing is undone or saved.
    m_isScanning = false;
    hide();
    if (m_hostCalls == 0) {
        delete this;
        return;
    }
    // Deleted inside a modal window's loop, the dialog would take the window
    // from under the call running it: the windows end, and the last call to
    // return lets the dialog go.
    m_closedByHost = true;
    for (QDialog* window : findChildren<QDialog*>()) {
        if (window->isVisible())
            window->reject();
    }
}

zy_settingdialog::host_call::~host_call()
{
    if (--m_dialog->m_hostCalls == 0 && m_dialog->m_closedByHost)
        m_dialog->deleteLater();
}

void zy_settingdialog::forgetHost()
{
    m_suppressResult = true;
    m_callback = nullptr;
}

void zy_settingdialog::deliver_result()
{
    if (!m_callback)
        return;
    if (m_closedAfterScan)
        m_callback(UI_RESULT_CLOSE_NORMAL);
    else if (!m_suppressResult)
        m_callback(UI_RESULT_CLOSE_SETTING);
}
