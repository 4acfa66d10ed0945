#include "sane_backend.h"

#include <dlfcn.h>

#include <algorithm>
#include <filesystem>

namespace {

template <typename Fn>
bool resolve(void* library, const std::string& manufacturer, const char* function, Fn& fn)
{
    const std::string symbol = "sane_" + manufacturer + "_" + function;
    fn = reinterpret_cast<Fn>(dlsym(library, symbol.c_str()));
    return fn != nullptr;
}

} // namespace

std::vector<std::pair<std::string, std::string>> installedBackends(const std::string& dir)
{
    const std::string prefix = "libsane-";
    const std::string suffix = ".so.1";
    std::vector<std::pair<std::string, std::string>> found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(dir, error)) {
        const std::string file = entry.path().filename().string();
        if (file.size() <= prefix.size() + suffix.size() || file.compare(0, prefix.size(), prefix) != 0
            || file.compare(file.size() - suffix.size(), suffix.size(), suffix) != 0)
            continue;
        found.emplace_back(file.substr(prefix.size(), file.size() - prefix.size() - suffix.size()),
                           entry.path().string());
    }
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
        return std::make_pair(a.first != "test", a.first) < std::make_pair(b.first != "test", b.first);
    });
    return found;
}

SaneBackend::~SaneBackend()
{
    if (m_handle)
        m_api.sane_close(m_handle);
    if (m_initialised)
        m_api.sane_exit();
    if (m_library)
        dlclose(m_library);
    if (m_unload)
        m_unload();
}

bool SaneBackend::fail(const std::string& what)
{
    m_error = what;
    return false;
}

bool SaneBackend::load(const std::string& path, const std::string& manufacturer)
{
    m_library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_library)
        return fail("cannot load " + path);

    const bool resolved = resolve(m_library, manufacturer, "init", m_api.sane_init)
        && resolve(m_library, manufacturer, "exit", m_api.sane_exit)
        && resolve(m_library, manufacturer, "get_devices", m_api.sane_get_devices)
        && resolve(m_library, manufacturer, "open", m_api.sane_open)
        && resolve(m_library, manufacturer, "close", m_api.sane_close)
        && resolve(m_library, manufacturer, "get_option_descriptor", m_api.sane_get_option_descriptor)
        && resolve(m_library, manufacturer, "control_option", m_api.sane_control_option)
        && resolve(m_library, manufacturer, "get_parameters", m_api.sane_get_parameters)
        && resolve(m_library, manufacturer, "start", m_api.sane_start)
        && resolve(m_library, manufacturer, "read", m_api.sane_read)
        && resolve(m_library, manufacturer, "cancel", m_api.sane_cancel)
        && resolve(m_library, manufacturer, "set_io_mode", m_api.sane_set_io_mode)
        && resolve(m_library, manufacturer, "get_select_fd", m_api.sane_get_select_fd);
    // Backends export the status text under the standard's plain name only.
    m_api.sane_strstatus = reinterpret_cast<decltype(m_api.sane_strstatus)>(
        dlsym(m_library, ("sane_" + manufacturer + "_strstatus").c_str()));
    if (!m_api.sane_strstatus)
        m_api.sane_strstatus = reinterpret_cast<decltype(m_api.sane_strstatus)>(
            dlsym(m_library, "sane_strstatus"));
    if (!resolved || !m_api.sane_strstatus)
        return fail(path + " is not a SANE backend named \"" + manufacturer + "\"");

    return init();
}

bool SaneBackend::adopt(const _sane_api& api, std::function<void()> unload)
{
    m_api = api;
    m_unload = std::move(unload);
    return init();
}

bool SaneBackend::init()
{
    SANE_Int version = 0;
    const SANE_Status status = m_api.sane_init(&version, nullptr);
    if (status != SANE_STATUS_GOOD)
        return fail(std::string("init failed: ") + m_api.sane_strstatus(status));
    m_initialised = true;
    return true;
}

bool SaneBackend::open(const std::string& device)
{
    const SANE_Status status = m_api.sane_open(device.c_str(), &m_handle);
    if (status != SANE_STATUS_GOOD) {
        m_handle = nullptr;
        return fail("cannot open " + device + ": " + m_api.sane_strstatus(status));
    }
    return true;
}

std::vector<DeviceEntry> SaneBackend::deviceEntries() const
{
    std::vector<DeviceEntry> entries;
    const SANE_Device** list = nullptr;
    if (m_api.sane_get_devices(&list, SANE_TRUE) != SANE_STATUS_GOOD || !list)
        return entries;
    for (; *list; ++list) {
        const SANE_Device& d = **list;
        // No " - " in a label: the device list marks rows that share the text before it.
        const std::string model = d.model ? d.model : "";
        entries.push_back({d.name, (model.empty() ? "" : model + " ") + "(" + d.name + ")"});
    }
    return entries;
}

const SANE_Option_Descriptor* SaneBackend::find(const std::string& name, SANE_Int* number) const
{
    const SANE_Option_Descriptor* first = m_api.sane_get_option_descriptor(m_handle, 0);
    if (!first)
        return nullptr;
    // Never smaller than the descriptor says.
    std::vector<char> countBuf(std::max<size_t>(sizeof(SANE_Int), size_t(std::max(first->size, 0))), 0);
    if (m_api.sane_control_option(m_handle, 0, SANE_ACTION_GET_VALUE, countBuf.data(), nullptr)
        != SANE_STATUS_GOOD)
        return nullptr;
    SANE_Int count = 0;
    std::copy_n(countBuf.data(), sizeof count, reinterpret_cast<char*>(&count));
    for (SANE_Int n = 1; n < count; ++n) {
        const SANE_Option_Descriptor* d = m_api.sane_get_option_descriptor(m_handle, n);
        if (d && d->name && name == d->name) {
            *number = n;
            return d;
        }
    }
    return nullptr;
}

bool SaneBackend::setString(const std::string& name, const std::string& value)
{
    SANE_Int number = 0;
    const SANE_Option_Descriptor* d = find(name, &number);
    if (!d || d->type != SANE_TYPE_STRING || d->size <= 0 || value.size() >= size_t(d->size))
        return false;
    std::vector<char> buffer(size_t(d->size), 0);
    std::copy(value.begin(), value.end(), buffer.begin());
    SANE_Int info = 0;
    return m_api.sane_control_option(m_handle, number, SANE_ACTION_SET_VALUE, buffer.data(), &info)
        == SANE_STATUS_GOOD;
}

bool SaneBackend::selectFeeder()
{
    SANE_Int number = 0;
    const SANE_Option_Descriptor* d = find("source", &number);
    if (!d || d->constraint_type != SANE_CONSTRAINT_STRING_LIST)
        return false;
    for (const SANE_String_Const* s = d->constraint.string_list; s && *s; ++s) {
        const std::string source = *s;
        if (source.find("Feeder") != std::string::npos || source.find("ADF") != std::string::npos)
            return setString("source", source);
    }
    return false;
}
