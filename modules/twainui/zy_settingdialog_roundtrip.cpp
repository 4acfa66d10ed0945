// The round trip of every control: the changed value is written to the device at
// once, and the driver's answer decides what the controls show afterwards.
#include "zy_settingdialog.h"
#include "zy_settingdialog_p.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>

#include <cstdlib>
#include <cstring>

using namespace settings_ui;

namespace {

// Strings travel in twice their size plus 4 bytes.
sane_value text_buffer(const SANE_Option_Descriptor& d)
{
    return sane_value((d.size > 0 ? static_cast<std::size_t>(d.size) : 0) * 2 + 4);
}

void put_word(sane_value& buffer, SANE_Word word)
{
    std::memcpy(buffer.data(), &word, sizeof(word));
}

SANE_Word fixed_of(double value)
{
    return static_cast<SANE_Word>(value * 65536.0);
}

// A value as a control shows it: "%d", "%f" of the fixed value, or the text.
QString value_text(SANE_Value_Type type, const sane_value& value)
{
    switch (type) {
    case SANE_TYPE_INT:
        return QString::number(value.word());
    case SANE_TYPE_FIXED:
        return QString::asprintf("%f", value.word() * kFixedToDouble);
    default:
        return QString::fromUtf8(value.text());
    }
}

// Writes the number or text of a line edit or combo box as the option's type.
void put_text(sane_value& buffer, const SANE_Option_Descriptor& d, SANE_Value_Type as,
              const QByteArray& utf8)
{
    switch (as) {
    case SANE_TYPE_INT:
        put_word(buffer, static_cast<SANE_Word>(std::strtol(utf8.constData(), nullptr, 10)));
        break;
    case SANE_TYPE_FIXED:
        put_word(buffer, fixed_of(std::strtod(utf8.constData(), nullptr)));
        break;
    default:
        copy_text(utf8, d, buffer);
        break;
    }
}

int id_of(const QObject* control)
{
    return control ? control->property(zy_settingdialog::property_controls_id_).toInt() : 0;
}

void log_value(const char* method, const char* format, const QByteArray& value)
{
    ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "[zy_settingdialog::%s] %s", method,
                     QString::asprintf(format, value.constData()).toUtf8().constData());
}

} // namespace

SANE_Status zy_settingdialog::write_option(int id, void* value, SANE_Int* info)
{
    *info = 0;
    if (!m_saneApi.sane_control_option)
        return SANE_STATUS_INVAL;
    m_writtenIds.push_back(id);
    return m_saneApi.sane_control_option(m_devHandle, id, SANE_ACTION_SET_VALUE, value, info);
}

bool zy_settingdialog::read_back(int id, const SANE_Option_Descriptor& descriptor,
                                 sane_value& value)
{
    value = descriptor.type == SANE_TYPE_STRING ? text_buffer(descriptor)
                                                : sane_value::for_descriptor(descriptor);
    SANE_Int info = 0;
    return m_saneApi.sane_control_option
        && m_saneApi.sane_control_option(m_devHandle, id, SANE_ACTION_GET_VALUE, value.data(),
                                         &info)
        == SANE_STATUS_GOOD;
}

void zy_settingdialog::show_unsupported()
{
    // The source text is spelt so on purpose: the catalogues are keyed by it.
    const host_call modal(this);
    QMessageBox::information(this, tr("Prompt"), tr("The funtion is unsupported"),
                             QMessageBox::Ok);
}

void zy_settingdialog::warn_speed()
{
    const host_call modal(this);
    QMessageBox::information(this, tr("Prompt"),
                             tr("This function may cause a decrease in the speed of drawing."),
                             QMessageBox::Ok);
}

void zy_settingdialog::slot_checkedClicked()
{
    auto* box = qobject_cast<QCheckBox*>(sender());
    const int id = id_of(box);
    const SANE_Option_Descriptor* d = find_option_description(id);
    if (!box || !holds_word(d))
        return;
    if (box->underMouse())
        m_programChange = false;

    sane_value value = sane_value::for_descriptor(*d);
    put_word(value, box->isChecked() ? 1 : 0);
    SANE_Int info = 0;
    const SANE_Status status = write_option(id, value.data(), &info);
    if (status == SANE_STATUS_UNSUPPORTED) {
        sane_value back(sizeof(SANE_Word));
        if (read_back(id, *d, back)) {
            const QSignalBlocker blocker(box);
            box->setChecked(back.word() != 0);
        }
        show_unsupported();
        return;
    }
    if (info & SANE_INFO_RELOAD_OPTIONS) {
        updateUIStatus();
    } else if (info & SANE_INFO_INEXACT) {
        const QSignalBlocker blocker(box);
        box->setChecked(value.word() != 0);
    }

    d = find_option_description(id);
    if (name_is(d, "is-multiout"))
        m_multiOutput = box->isChecked();
    enable_tool_button(d, box->isChecked());
    if (!m_programChange && box->isChecked()
        && (name_is(d, "is-rid-morr") || name_is(d, "is-rid-grid")))
        warn_speed();
    updateRestorePushButton();
}

void zy_settingdialog::slot_sliderClicked(int value)
{
    auto* slider = qobject_cast<QSlider*>(sender());
    const int id = id_of(slider);
    if (id == m_resolutionId) {
        m_dpi = value;
        ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "[zy_settingdialog::slot_sliderClicked] dpi=%d", value);
    }
    QWidget* partner = m_sliderPairs.value(slider);
    const SANE_Option_Descriptor* d = find_option_description(id);
    if (!partner || !holds_word(d))
        return;

    sane_value buffer = sane_value::for_descriptor(*d);
    SANE_Int info = 0;
    if (auto* spin = qobject_cast<QSpinBox*>(partner)) {
        spin->setValue(value); // its own slot only mirrors the slider
        put_word(buffer, value);
        const SANE_Status status = write_option(id, buffer.data(), &info);
        if (status == SANE_STATUS_UNSUPPORTED) {
            sane_value back(sizeof(SANE_Word));
            if (read_back(id, *d, back)) {
                const QSignalBlocker sliderBlocker(slider);
                const QSignalBlocker spinBlocker(spin);
                slider->setValue(back.word());
                spin->setValue(back.word());
            }
            show_unsupported();
            return;
        }
        if (info & SANE_INFO_RELOAD_OPTIONS) {
            updateUIStatus();
        } else if (info & SANE_INFO_INEXACT) {
            const QSignalBlocker sliderBlocker(slider);
            const QSignalBlocker spinBlocker(spin);
            spin->setValue(buffer.word());
            slider->setValue(spin->value() / spin->singleStep());
        }
    } else if (auto* spin = qobject_cast<QDoubleSpinBox*>(partner)) {
        const double d2 = value * spin->singleStep();
        if (d2 != spin->value())
            spin->setValue(d2);
        put_word(buffer, fixed_of(d2));
        const SANE_Status status = write_option(id, buffer.data(), &info);
        if (status == SANE_STATUS_UNSUPPORTED) {
            sane_value back(sizeof(SANE_Word));
            if (read_back(id, *d, back)) {
                // The raw fixed value, as the slider has always been given it.
                const QSignalBlocker blocker(slider);
                slider->setValue(back.word());
            }
            show_unsupported();
            return;
        }
        if (info & SANE_INFO_RELOAD_OPTIONS) {
            updateUIStatus();
        } else if (info & SANE_INFO_INEXACT) {
            const QSignalBlocker sliderBlocker(slider);
            const QSignalBlocker spinBlocker(spin);
            spin->setValue(buffer.word() * kFixedToDouble);
            slider->setValue(static_cast<int>(spin->value() / spin->singleStep()));
        }
    } else {
        return;
    }
    updateRestorePushButton();
}

void zy_settingdialog::slot_spinBoxClicked(int value)
{
    auto* spin = qobject_cast<QSpinBox*>(sender());
    if (auto* slider = qobject_cast<QSlider*>(m_sliderPairs.value(spin))) {
        slider->setValue(value); // the slider's slot writes
        return;
    }
    const int id = id_of(spin);
    const SANE_Option_Descriptor* d = find_option_description(id);
    if (!spin || !holds_word(d))
        return;

    sane_value buffer = sane_value::for_descriptor(*d);
    put_word(buffer, value);
    SANE_Int info = 0;
    const SANE_Status status = write_option(id, buffer.data(), &info);
    if (status == SANE_STATUS_UNSUPPORTED) {
        show_unsupported(); // the box keeps the rejected number
        return;
    }
    if (info & SANE_INFO_RELOAD_OPTIONS) {
        updateUIStatus();
    } else if (buffer.word() != value) {
        const QSignalBlocker blocker(spin);
        spin->setValue(buffer.word());
    }
    updateRestorePushButton();
}

void zy_settingdialog::slot_doubleSpinboxClicked(double value)
{
    auto* spin = qobject_cast<QDoubleSpinBox*>(sender());
    auto* slider = qobject_cast<QSlider*>(m_sliderPairs.value(spin));
    if (!slider)
        return;
    // Rounded to the nearest hundredth; the slider's slot does the write.
    const int position = static_cast<int>(0.5 + value / spin->singleStep());
    if (position != slider->value())
        slider->setValue(position);
}

void zy_settingdialog::slot_string_list_comboBoxClicked()
{
    combo_round_trip(qobject_cast<QComboBox*>(sender()));
}

void zy_settingdialog::slot_word_list_comboBoxClicked(int)
{
    combo_round_trip(qobject_cast<QComboBox*>(sender()));
}

void zy_settingdialog::combo_round_trip(QComboBox* combo)
{
    const int id = id_of(combo);
    const SANE_Option_Descriptor* d = find_option_description(id);
    if (!combo || !d)
        return;
    const QString text = combo->currentText();
    const QByteArray utf8 = text.toUtf8();
    const int kind = combo->property(property_combox_data_type_).toInt();
    const SANE_Value_Type as = kind == 1 ? SANE_TYPE_INT
        : kind == 2                      ? SANE_TYPE_FIXED
                                         : SANE_TYPE_STRING;

    if (id == m_resolutionId) {
        m_dpi = static_cast<int>(std::strtol(utf8.constData(), nullptr, 10));
        ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "[zy_settingdialog::combo_round_trip] dpi=%d", m_dpi);
    } else if (id == m_paperId) {
        m_paper = text;
        log_value("combo_round_trip", "paperSize=%s", utf8);
    } else if (id == m_modeId) {
        m_colorMode = text;
        log_value("combo_round_trip", "colorMode=%s", utf8);
    }
    // With multi-stream output on, the last list that changed names the colour mode.
    if (m_multiOutput) {
        m_colorMode = text;
        log_value("combo_round_trip", "colorMode=%s", utf8);
    }

    sane_value buffer = text_buffer(*d);
    put_text(buffer, *d, as, utf8);
    SANE_Int info = 0;
    const SANE_Status status = write_option(id, buffer.data(), &info);
    if (status == SANE_STATUS_UNSUPPORTED) {
        sane_value back(sizeof(SANE_Word));
        if (read_back(id, *d, back)) {
            const QSignalBlocker blocker(combo);
            combo->setCurrentText(value_text(as, back));
        }
        show_unsupported();
        return;
    }
    if (info & SANE_INFO_RELOAD_OPTIONS) {
        updateUIStatus();
    } else if (info & SANE_INFO_INEXACT) {
        const QSignalBlocker blocker(combo);
        combo->setCurrentText(value_text(as, buffer));
    }

    d = find_option_description(id);
    if (name_is(d, "direction") && means(text, "自动文本方向识别°") && !m_programChange)
        warn_speed();
    if (name_is(d, "scan-mode") && means(text, "扫描指定张数"))
        after_scan_mode_change();
    updateRestorePushButton();
}

void zy_settingdialog::after_scan_mode_change()
{
    // Scanning a given number of sheets needs at least one.
    int countId = -1;
    const SANE_Option_Descriptor* d = find_option_description(std::string("scan-count"), &countId);
    if (!holds_word(d))
        return;
    sane_value count(sizeof(SANE_Word));
    if (!read_back(countId, *d, count) || count.word() >= 2)
        return;
    put_word(count, 1);
    SANE_Int info = 0;
    write_option(countId, count.data(), &info);
    read_one_value(countId);
    refresh_control_value(countId);
}

void zy_settingdialog::slot_lineEditInput()
{
    auto* edit = qobject_cast<QLineEdit*>(sender());
    const int id = id_of(edit);
    const SANE_Option_Descriptor* d = find_option_description(id);
    if (!edit || !d || (d->type != SANE_TYPE_STRING && !holds_word(d)))
        return;

    sane_value buffer = text_buffer(*d);
    put_text(buffer, *d, d->type, edit->text().toUtf8());
    SANE_Int info = 0;
    const SANE_Status status = write_option(id, buffer.data(), &info);
    if (status == SANE_STATUS_UNSUPPORTED) {
        show_unsupported(); // the text stays
        return;
    }
    if (info & SANE_INFO_RELOAD_OPTIONS) {
        updateUIStatus();
    } else if (info & SANE_INFO_INEXACT) {
        const QSignalBlocker blocker(edit);
        edit->setText(value_text(d->type, buffer));
    }
    updateRestorePushButton();
}

void zy_settingdialog::slot_pushButtonClicked()
{
    const int id = id_of(sender());
    if (!find_option_description(id))
        return;
    // A button carries no value; a zeroed word serves drivers that read one anyway.
    sane_value none(sizeof(SANE_Word));
    SANE_Int info = 0;
    const SANE_Status status = write_option(id, none.data(), &info);
    if (status == SANE_STATUS_UNSUPPORTED) {
        show_unsupported();
        return;
    }
    if (info & SANE_INFO_RELOAD_OPTIONS)
        updateUIStatus();
    // Pressed once more, deliberately, by the same path as the scheme panel's reset.
    if (name_is(find_option_description(id), "restore"))
        restore_2_default_settings();
    else
        updateRestorePushButton();
}
