#include "twainui_library.h"

#include <dlfcn.h>

template <typename Fn>
bool TwainUiLibrary::resolve(Fn& fn, const char* name)
{
    fn = reinterpret_cast<Fn>(dlsym(m_handle, name));
    if (!fn)
        m_error = std::string("missing export ") + name;
    return fn != nullptr;
}

bool TwainUiLibrary::load(const std::string& path)
{
    m_handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_handle) {
        const char* why = dlerror();
        m_error = why ? why : "cannot load " + path;
        return false;
    }
    return resolve(show_messagebox_ui, "show_messagebox_ui")
        && resolve(show_setting_ui, "show_setting_ui") && resolve(close_ui, "close_ui")
        && resolve(pump_ui_message, "pump_ui_message") && resolve(twain_ui_free, "twain_ui_free")
        && resolve(apply_current_config, "apply_current_config");
}
