// Writing a configuration scheme to the device: the application that works with
// and without the dialog, the stricter one, and the dialog's answers to choosing
// a scheme and to restoring the defaults.
#include "zy_settingdialog.h"
#include "zy_settingdialog_p.h"

#include "gb_json.h"

#include <lexipak.h>

#include <QComboBox>

#include <cstring>
#include <unordered_map>

using namespace settings_ui;

namespace {

constexpr std::size_t kToneCurveRecord = ToneCurveRecord::Size;
static_assert(kToneCurveRecord == 1312, "a 32-byte header and five 256-byte tables");
// The crop tool's units: millimetres, inches, pixels.
constexpr int kCropUnits = 3;

std::size_t size_of(const SANE_Option_Descriptor& d)
{
    return d.size > 0 ? static_cast<std::size_t>(d.size) : 0;
}

bool in_string_list(const SANE_Option_Descriptor& d, const char* text)
{
    if (constraint_of(&d) != SANE_CONSTRAINT_STRING_LIST)
        return false;
    for (int i = 0; i < kMaxListEntries && d.constraint.string_list[i]; ++i)
        if (std::strcmp(d.constraint.string_list[i], text) == 0)
            return true;
    return false;
}

// Writes a stored value to option n. The descriptor is asked for again: a write
// before may have changed the option. A word or array value must be exactly the
// option's size (anything else belongs to another option); a text is cut to the
// option's size.
void write_value(const _sane_api& api, SANE_Handle handle, int n, const std::string& name,
                 const std::string& value)
{
    const SANE_Option_Descriptor* d = api.sane_get_option_descriptor(handle, n);
    if (!holds_value(d) || !name_is(d, name.c_str()))
        return;
    SANE_Int info = 0;
    if (d->type == SANE_TYPE_STRING) {
        // Stored in the driver's own language; shown (and listed by drivers that
        // translate) in the user's. Whichever form the driver lists is written.
        const std::string stored(value.c_str());
        const char* shown = from_default_language(stored.c_str());
        if (!shown || (!in_string_list(*d, shown) && in_string_list(*d, stored.c_str())))
            shown = stored.c_str();
        sane_value buffer(size_of(*d) + 4);
        copy_text(QByteArray(shown), *d, buffer);
        api.sane_control_option(handle, n, SANE_ACTION_SET_VALUE, buffer.data(), &info);
        return;
    }
    const std::size_t size = std::max(size_of(*d), sizeof(SANE_Word));
    if (value.size() != size)
        return;
    sane_value buffer(size);
    std::memcpy(buffer.data(), value.data(), size);
    api.sane_control_option(handle, n, SANE_ACTION_SET_VALUE, buffer.data(), &info);
}

// Whatever length was stored, the driver reads a whole record: it gets one,
// zero-filled beyond the stored bytes and never longer.
void send_tone_record(const _sane_api& api, SANE_Handle handle, const std::string& record)
{
    sane_value buffer(kToneCurveRecord);
    std::memcpy(buffer.data(), record.data(), std::min(record.size(), kToneCurveRecord));
    SANE_Int info = 0;
    api.sane_control_option(handle, kToneCurveOption, SANE_ACTION_SET_VALUE, buffer.data(), &info);
}

int device_option_count(const _sane_api& api, SANE_Handle handle)
{
    SANE_Int count = 0;
    read_option_count(api, handle, &count);
    return std::min(count, kMaxOptions);
}

bool can_apply(const _sane_api* api)
{
    return api && api->sane_control_option && api->sane_get_option_descriptor;
}

} // namespace

void zy_settingdialog::apply_scheme(void* devHandle, _sane_api* api, gb::sane_config_schm* scheme)
{
    if (!can_apply(api))
        return;
    int count = device_option_count(*api, devHandle);
    bool pressed = false;
    for (int n = 1; n < count; ++n) {
        const SANE_Option_Descriptor* d = api->sane_get_option_descriptor(devHandle, n);
        if (d && d->type == SANE_TYPE_BUTTON && name_is(d, "restore")) {
            api->sane_control_option(devHandle, n, SANE_ACTION_SET_VALUE, nullptr, nullptr);
            pressed = true;
        }
    }
    if (!scheme)
        return;
    // The defaults may have brought other options.
    if (pressed)
        count = device_option_count(*api, devHandle);
    std::unordered_map<std::string, int> options; // the first option of each name
    for (int n = 1; n < count; ++n) {
        const SANE_Option_Descriptor* d = api->sane_get_option_descriptor(devHandle, n);
        if (holds_value(d) && d->name && *d->name)
            options.emplace(d->name, n);
    }

    std::string name;
    std::string value;
    for (bool more = scheme->first_config(name, value); more;
         more = scheme->next_config(name, value)) {
        if (gb::sane_config_schm::is_option_data(name)) {
            if (name == "is-custom-gamma") {
                send_tone_record(*api, devHandle, value);
            } else if (name == "is-custom-area" && !value.empty()) {
                int unit = 0;
                std::memcpy(&unit, value.data(), std::min(value.size(), sizeof(unit)));
                if (unit >= 0 && unit < kCropUnits)
                    m_customCutAreaUnit = unit;
            }
            continue;
        }
        if (name == "ver") // the scheme's format, not a setting
            continue;
        const auto option = options.find(name);
        if (option != options.end())
            write_value(*api, devHandle, option->second, name, value);
    }
}

void zy_settingdialog::apply_current_scheme()
{
    if (!can_apply(&m_saneApi))
        return;
    const int count = device_option_count(m_saneApi, m_devHandle);
    for (int n = 1; n < count; ++n) {
        if (holds_value(m_saneApi.sane_get_option_descriptor(m_devHandle, n)))
            m_saneApi.sane_control_option(m_devHandle, n, SANE_ACTION_SET_AUTO, nullptr, nullptr);
    }
    if (!m_curScheme)
        return;

    // A scheme that never met this device learns its option numbers first.
    if (m_curScheme->id_from_name("mode") == -1) {
        for (int n = 1; n < count; ++n) {
            const SANE_Option_Descriptor* d = m_saneApi.sane_get_option_descriptor(m_devHandle, n);
            if (!holds_value(d) || !d->name || !*d->name)
                continue;
            const auto action = static_cast<SANE_Action>(SANE_ACTION_GET_DEFAULT_VALUE);
            if (d->type == SANE_TYPE_STRING) {
                sane_value def(size_of(*d) + 4);
                m_saneApi.sane_control_option(m_devHandle, n, action, def.data(), nullptr);
                const char* canonical = to_default_language(def.text());
                if (!canonical)
                    canonical = "";
                m_curScheme->set_default_value(n, d->name, canonical, std::strlen(canonical));
            } else {
                sane_value def = sane_value::for_descriptor(*d);
                m_saneApi.sane_control_option(m_devHandle, n, action, def.data(), nullptr);
                m_curScheme->set_default_value(n, d->name, static_cast<const char*>(def.data()),
                                               std::max(size_of(*d), sizeof(SANE_Word)));
            }
        }
    }

    std::string name;
    std::string value;
    for (bool more = m_curScheme->first_config(name, value); more;
         more = m_curScheme->next_config(name, value)) {
        const int n = m_curScheme->id_from_name(name.c_str());
        if (n != -1) {
            write_value(m_saneApi, m_devHandle, n, name, value);
            continue;
        }
        std::string option = name;
        if (gb::sane_config_schm::is_option_data(option) && option == "is-custom-gamma"
            && value.size() == kToneCurveRecord)
            send_tone_record(m_saneApi, m_devHandle, value);
    }
}

void zy_settingdialog::restore_2_default_settings()
{
    apply_scheme(m_devHandle, &m_saneApi, nullptr);
    updateRestorePushButton();
}

void zy_settingdialog::on_current_scheme_changed()
{
    updateSchemeManagerUi();
    gb::sane_config_schm* chosen = m_cfg->get_scheme(selected_scheme_name().c_str());
    if (!chosen)
        chosen = m_cfg->get_scheme(gb::scanner_cfg::user_default_scheme_name().c_str());
    take_scheme(chosen);
    apply_scheme(m_devHandle, &m_saneApi, m_curScheme);
    updateUIStatus();
    updateRestorePushButton();
}
