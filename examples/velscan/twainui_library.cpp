#include "twainui_library.h"

#include <dlfcn.h>

template <typename Fn>
bool TwainUiLibrary::resolve(void* handle, Fn& fn, const char* name)
{
    fn = reinterpret_cast<Fn>(dlsym(handle, name));
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
    // Loaded with the UI library already; this only finds it.
    void* base = dlopen("libVelBase.so.1", RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    if (!base) {
        m_error = "libVelBase.so.1 did not come with " + path;
        return false;
    }
    return resolve(m_handle, show_messagebox_ui, "show_messagebox_ui")
        && resolve(m_handle, close_ui, "close_ui")
        && resolve(m_handle, pump_ui_message, "pump_ui_message")
        && resolve(m_handle, twain_ui_free, "twain_ui_free")
        && resolve(m_handle, show_setting_ui, "show_setting_ui")
        && resolve(m_handle, apply_current_config, "apply_current_config")
        && resolve(m_handle, choose_scanner, "choose_scanner")
        && resolve(m_handle, show_progress_ui, "show_progress_ui")
        && resolve(m_handle, show_srclist_ui, "show_srclist_ui")
        // The one export with C++ linkage: int abnormal_image(SANE_Image*, QWidget*).
        && resolve(m_handle, abnormal_image, "_Z14abnormal_imageP10SANE_ImageP7QWidget")
        && resolve(base, destroy_dll, "ZyBase_DestroyDll");
}
