#include "device_menu.h"

#include "sane_driver.h"

#include <lexipak.h>

#include <cstdlib>
#include <cstring>

namespace {

constexpr SANE_Int kMaxOptions = 30000;

// A text in the driver's own language, which older releases stored too.
std::string canonical(const char* text)
{
    const char* own = to_default_language(text);
    return own ? own : (text ? text : "");
}

std::string word_bytes(SANE_Word word)
{
    return std::string(reinterpret_cast<const char*>(&word), sizeof(word));
}

} // namespace

dev_que::dev_que(SANE_Handle handle, const _sane_api* api)
{
    if (!api || !api->sane_get_option_descriptor)
        return;
    SANE_Int count = 0;
    read_option_count(*api, handle, &count);
    for (SANE_Int n = 1; n < std::min(count, kMaxOptions); ++n) {
        const SANE_Option_Descriptor* d = api->sane_get_option_descriptor(handle, n);
        if (d && d->name && *d->name && d->title && d->type != SANE_TYPE_BUTTON
            && d->type != SANE_TYPE_GROUP)
            m_options.push_back({d->name, canonical(d->title), d->type, d->size});
    }
}

const char* dev_que::title_2_name(const char* title, void* param)
{
    const auto* self = static_cast<const dev_que*>(param);
    if (!self || !title)
        return nullptr;
    const std::string wanted = canonical(title);
    for (const option& o : self->m_options)
        if (o.title == wanted)
            return o.name.c_str();
    return nullptr;
}

void dev_que::trans_number(const char* name, std::string& value, void* param)
{
    const auto* self = static_cast<const dev_que*>(param);
    if (!self || !name)
        return;
    for (const option& o : self->m_options) {
        if (o.name != name)
            continue;
        if (o.size > static_cast<SANE_Int>(sizeof(SANE_Word)) && o.type != SANE_TYPE_STRING)
            return; // an array has no one number
        switch (o.type) {
        case SANE_TYPE_BOOL:
            value = word_bytes(value == "true" || std::atoi(value.c_str()) != 0);
            break;
        case SANE_TYPE_INT:
            value = word_bytes(static_cast<SANE_Word>(std::strtol(value.c_str(), nullptr, 10)));
            break;
        case SANE_TYPE_FIXED:
            value = word_bytes(static_cast<SANE_Word>(std::strtod(value.c_str(), nullptr) * 65536.0));
            break;
        default:
            value = canonical(value.c_str());
            break;
        }
        return;
    }
}
