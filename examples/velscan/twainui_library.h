// libVelTwainUI loaded at run time, with its exports resolved.
#ifndef VELSCAN_TWAINUI_LIBRARY_H
#define VELSCAN_TWAINUI_LIBRARY_H

#include <veltwainui/twainui.h>

#include <string>

class TwainUiLibrary
{
public:
    // The library is never unloaded: its UI thread may run until the process ends.
    TwainUiLibrary() = default;
    TwainUiLibrary(const TwainUiLibrary&) = delete;
    TwainUiLibrary& operator=(const TwainUiLibrary&) = delete;

    // Loads the library and resolves every export; false with error() set otherwise.
    bool load(const std::string& path);
    const std::string& error() const { return m_error; }

    decltype(&::show_messagebox_ui) show_messagebox_ui = nullptr;
    decltype(&::show_setting_ui) show_setting_ui = nullptr;
    decltype(&::close_ui) close_ui = nullptr;
    decltype(&::pump_ui_message) pump_ui_message = nullptr;
    decltype(&::twain_ui_free) twain_ui_free = nullptr;
    decltype(&::apply_current_config) apply_current_config = nullptr;
    decltype(&::choose_scanner) choose_scanner = nullptr;
    decltype(&::show_progress_ui) show_progress_ui = nullptr;
    decltype(&::show_srclist_ui) show_srclist_ui = nullptr;
    decltype(&::abnormal_image) abnormal_image = nullptr;
    // From the base library beside it: unloads the driver that show_srclist_ui loaded.
    int (*destroy_dll)(ZyDll*) = nullptr;

private:
    template <typename Fn>
    bool resolve(void* handle, Fn& fn, const char* name);

    void* m_handle = nullptr;
    std::string m_error;
};

#endif
