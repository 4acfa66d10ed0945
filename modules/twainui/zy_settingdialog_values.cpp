// Reading every option from the driver, and bringing the controls and the
// visibility of their rows to what was read.
#include "zy_settingdialog.h"
#include "zy_settingdialog_p.h"

#include "gb_json.h"

#include <lexipak.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QTabWidget>

#include <cstring>

using namespace settings_ui;

namespace {

bool is_crop_area(const SANE_Option_Descriptor* d)
{
    return name_is(d, "tl-x") || name_is(d, "tl-y") || name_is(d, "br-x") || name_is(d, "br-y");
}

// Strings are read into twice their size: a driver that translates may need more.
std::size_t string_buffer_size(const SANE_Option_Descriptor& d)
{
    return (d.size > 0 ? static_cast<std::size_t>(d.size) : 0) * 2 + 4;
}

void set_items(QComboBox* combo, const QStringList& items)
{
    bool same = combo->count() == items.size();
    for (int i = 0; same && i < items.size(); ++i)
        same = combo->itemText(i) == items[i];
    if (same)
        return;
    combo->clear();
    combo->addItems(items);
}

QStringList word_texts(const SANE_Option_Descriptor* d)
{
    QStringList texts;
    for (const SANE_Word word : word_list(d))
        texts << QString::number(word);
    return texts;
}

} // namespace

int zy_settingdialog::option_count() const
{
    SANE_Int count = 0;
    read_option_count(m_saneApi, m_devHandle, &count);
    return std::min(count, kMaxOptions);
}

void zy_settingdialog::update_opt_value_from_driver()
{
    m_optionValues.clear();

    read_tone_curve();

    const int count = option_count();
    if (count < 2)
        return;
    if (m_defaultKnown.size() < static_cast<std::size_t>(count))
        m_defaultKnown.resize(static_cast<std::size_t>(count), false);
    m_optionValues.reserve(static_cast<std::size_t>(count) - 1);
    for (int n = 1; n < count; ++n)
        m_optionValues.push_back(read_option_entry(n));
}

zy_settingdialog::option_value zy_settingdialog::read_option_entry(int n)
{
    option_value entry;
    entry.value = 0;
    const SANE_Option_Descriptor* d = m_saneApi.sane_get_option_descriptor(m_devHandle, n);
    entry.descriptor = d;
    if (!d || !m_saneApi.sane_control_option)
        return entry;
    const bool named = d->name && *d->name;
    auto control = [&](SANE_Int action, sane_value& buffer, SANE_Int* info) {
        return m_saneApi.sane_control_option(m_devHandle, n, static_cast<SANE_Action>(action),
                                             buffer.data(), info);
    };

    switch (d->type) {
    case SANE_TYPE_BOOL:
    case SANE_TYPE_INT:
    case SANE_TYPE_FIXED: {
        sane_value value = sane_value::for_descriptor(*d);
        SANE_Int info = 0;
        entry.read = control(SANE_ACTION_GET_VALUE, value, &info) == SANE_STATUS_GOOD;
        entry.raw = QByteArray(static_cast<const char*>(value.data()), int(value.size()));
        if (!holds_word(d)) {
            entry.value = entry.raw;
            break; // arrays have no control and no place in a scheme
        }
        entry.value = static_cast<int>(value.word());
        if (!named)
            break;
        sane_value def = sane_value::for_descriptor(*d, sizeof(SANE_Word));
        const bool hasDefault = control(SANE_ACTION_GET_DEFAULT_VALUE, def, nullptr)
            == SANE_STATUS_GOOD;
        // A driver without defaults: the value met first stands in for it, so
        // that schemes record what the user changed.
        if (hasDefault || !m_defaultKnown[std::size_t(n)])
            m_driverDefaults->set_default_value(
                n, d->name, static_cast<const char*>((hasDefault ? def : value).data()),
                sizeof(SANE_Word));
        m_defaultKnown[std::size_t(n)] = true;
        break;
    }
    case SANE_TYPE_STRING: {
        sane_value value(string_buffer_size(*d));
        SANE_Int info = 0;
        entry.read = control(SANE_ACTION_GET_VALUE, value, &info) == SANE_STATUS_GOOD;
        entry.raw = QByteArray(value.text());
        const char* shown = from_default_language(value.text());
        entry.value = QString::fromUtf8(shown ? shown : value.text());
        if (!named)
            break;
        sane_value def(string_buffer_size(*d));
        const bool hasDefault = control(SANE_ACTION_GET_DEFAULT_VALUE, def, nullptr)
            == SANE_STATUS_GOOD;
        if (hasDefault || !m_defaultKnown[std::size_t(n)]) {
            const char* canonical = to_default_language((hasDefault ? def : value).text());
            if (!canonical)
                canonical = "";
            m_driverDefaults->set_default_value(n, d->name, canonical, std::strlen(canonical));
        }
        m_defaultKnown[std::size_t(n)] = true;
        break;
    }
    default:
        break;
    }
    return entry;
}

void zy_settingdialog::read_one_value(int id)
{
    if (id >= 1 && static_cast<std::size_t>(id) <= m_optionValues.size())
        m_optionValues[std::size_t(id) - 1] = read_option_entry(id);
}

void zy_settingdialog::updateUIStatus()
{
    // A write made while the pass refreshes controls asks for another pass; it
    // runs after this one rather than inside it.
    if (m_inStatusPass) {
        m_statusPassAgain = true;
        return;
    }
    m_inStatusPass = true;
    constexpr int kMaxPasses = 3;
    int passes = 0;
    do {
        m_statusPassAgain = false;
        update_opt_value_from_driver();
        visibility_pass();
    } while (m_statusPassAgain && ++passes < kMaxPasses);
    m_inStatusPass = false;
}

void zy_settingdialog::visibility_pass()
{
    const int count = static_cast<int>(m_optionValues.size()) + 1;
    for (int n = 1; n < count; ++n) {
        const auto row = m_controls.find(n);
        if (row == m_controls.end())
            continue;
        const SANE_Option_Descriptor* d = m_optionValues[std::size_t(n) - 1].descriptor;
        // The crop area is edited only through the crop tool.
        const bool hidden = !d || is_crop_area(d) || (d->cap & SANE_CAP_INACTIVE);
        refresh_control_value(n);
        if (d) {
            const bool settable = d->cap & SANE_CAP_SOFT_SELECT;
            for (QWidget* w : row->widgets)
                w->setEnabled(settable);
        }
        row->label->setVisible(!hidden);
        row->field->setVisible(!hidden);
        row->hidden = hidden;
    }
    update_page_visibility();
}

void zy_settingdialog::update_page_visibility()
{
    std::vector<int> shown(static_cast<std::size_t>(m_tabs->count()), 0);
    for (const option_controls& row : qAsConst(m_controls)) {
        if (!row.hidden && row.page < m_tabs->count())
            ++shown[std::size_t(row.page)];
    }
    for (int page = 0; page < m_tabs->count(); ++page)
        m_tabs->setTabVisible(page, shown[std::size_t(page)] > 0);
}

QVector<QWidget*> zy_settingdialog::find_control(int id) const
{
    return m_controls.value(id).widgets;
}

const SANE_Option_Descriptor* zy_settingdialog::find_option_description(int id) const
{
    if (id < 1 || static_cast<std::size_t>(id) > m_optionValues.size())
        return nullptr;
    return m_optionValues[std::size_t(id) - 1].descriptor;
}

const SANE_Option_Descriptor* zy_settingdialog::find_option_description(const std::string& name,
                                                                        int* id) const
{
    const int count = option_count();
    for (int n = 1; n < count; ++n) {
        const SANE_Option_Descriptor* d = m_saneApi.sane_get_option_descriptor(m_devHandle, n);
        if (d && d->name && name == d->name) {
            if (id)
                *id = n;
            return d;
        }
    }
    if (id)
        *id = -1;
    return nullptr;
}

void zy_settingdialog::refresh_control_value(int id)
{
    if (id < 1 || static_cast<std::size_t>(id) > m_optionValues.size())
        return;
    // A copy: a write that the double spin box makes below rereads the options.
    const option_value entry = m_optionValues[std::size_t(id) - 1];
    const SANE_Option_Descriptor* d = entry.descriptor;
    if (!d)
        return;
    const SANE_Word word = entry.value.toInt();

    for (QWidget* w : find_control(id)) {
        switch (d->type) {
        case SANE_TYPE_BOOL:
            if (auto* box = qobject_cast<QCheckBox*>(w)) {
                const QSignalBlocker blocker(box);
                box->setChecked(word != 0);
                if (name_is(d, "is-multiout"))
                    m_multiOutput = box->isChecked();
                enable_tool_button(d, box->isChecked());
            }
            break;
        case SANE_TYPE_INT:
            if (auto* combo = qobject_cast<QComboBox*>(w)) {
                const QSignalBlocker blocker(combo);
                set_items(combo, word_texts(d));
                combo->setCurrentText(QString::number(word));
            } else if (auto* slider = qobject_cast<QSlider*>(w)) {
                const QSignalBlocker blocker(slider);
                if (constraint_of(d) == SANE_CONSTRAINT_RANGE)
                    slider->setRange(d->constraint.range->min, d->constraint.range->max);
                slider->setValue(word);
            } else if (auto* spin = qobject_cast<QSpinBox*>(w)) {
                const QSignalBlocker blocker(spin);
                const bool paired = m_sliderPairs.contains(spin);
                const word_range range =
                    range_of(d, word, paired ? word_range{spin->minimum(), spin->maximum()}
                                             : kIntNoneRange);
                spin->setRange(range.min, range.max);
                spin->setValue(word);
            }
            break;
        case SANE_TYPE_FIXED:
            if (auto* combo = qobject_cast<QComboBox*>(w)) {
                const QSignalBlocker blocker(combo);
                combo->setCurrentText(QString::asprintf("%f", word * kFixedToDouble));
            } else if (auto* slider = qobject_cast<QSlider*>(w)) {
                const QSignalBlocker blocker(slider);
                const word_range range = range_of(d, word, kFixedNoneRange);
                slider->setRange(hundredths(range.min), hundredths(range.max));
                slider->setValue(static_cast<int>(100 * (word * kFixedToDouble)));
            } else if (auto* spin = qobject_cast<QDoubleSpinBox*>(w)) {
                // Deliberately left connected: a value whose rounding differs from
                // the slider's truncation moves the slider, which writes it.
                const word_range range = range_of(d, word, kFixedNoneRange);
                spin->setRange(range.min * kFixedToDouble, range.max * kFixedToDouble);
                spin->setValue(word * kFixedToDouble);
            }
            break;
        case SANE_TYPE_STRING: {
            const QString text = entry.value.toString();
            if (auto* combo = qobject_cast<QComboBox*>(w)) {
                const QSignalBlocker blocker(combo);
                set_items(combo, string_list(d));
                combo->setCurrentText(text);
            } else if (auto* edit = qobject_cast<QLineEdit*>(w)) {
                // Same text: leave the cursor where the user types.
                if (edit->text() != text) {
                    const QSignalBlocker blocker(edit);
                    edit->setText(text);
                }
            }
            if (name_is(d, "mode") || (m_multiOutput && name_is(d, "multiout-type")))
                m_colorMode = text;
            break;
        }
        default:
            break;
        }
    }
}
