// C++ conveniences over libsane-fake for tests: the entry table without any
// library loading, and an open device that is closed and forgotten again.
#ifndef FAKEDRIVER_API_H
#define FAKEDRIVER_API_H

#include "fakedriver.h"
#include "veltwainui/twainui.h"

// The driver's entry table, as FindFunctions would fill it for "fake"
// (sane_get_select_fd filled too; sane_reserved null).
inline _sane_api fakedriver_sane_api()
{
    _sane_api api{};
    api.sane_get_devices = sane_fake_get_devices;
    api.sane_open = sane_fake_open;
    api.sane_close = sane_fake_close;
    api.sane_get_option_descriptor = sane_fake_get_option_descriptor;
    api.sane_control_option = sane_fake_control_option;
    api.sane_get_parameters = sane_fake_get_parameters;
    api.sane_start = sane_fake_start;
    api.sane_read = sane_fake_read;
    api.sane_cancel = sane_fake_cancel;
    api.sane_set_io_mode = sane_fake_set_io_mode;
    api.sane_get_select_fd = sane_fake_get_select_fd;
    api.sane_strstatus = sane_fake_strstatus;
    api.sane_init = sane_fake_init;
    api.sane_exit = sane_fake_exit;
    return api;
}

// Loads the default script (or starts empty) and opens the device; the
// destructor closes it and resets the driver, so each test starts clean.
class fakedriver_device
{
public:
    explicit fakedriver_device(bool default_script = true)
    {
        if (default_script)
            fakedriver_load_default_script();
        else {
            fakedriver_reset();
            fakedriver_add_device("fake:0", "Fake", "Empty", "sheetfed scanner");
        }
        sane_fake_init(nullptr, nullptr);
        sane_fake_open("", &m_handle);
        fakedriver_log_clear();
    }
    ~fakedriver_device()
    {
        sane_fake_exit();
        fakedriver_translate_texts(0);
        fakedriver_reset();
    }
    fakedriver_device(const fakedriver_device&) = delete;
    fakedriver_device& operator=(const fakedriver_device&) = delete;

    SANE_Handle handle() const { return m_handle; }
    const _sane_api& api() const { return m_api; }

private:
    SANE_Handle m_handle = nullptr;
    _sane_api m_api = fakedriver_sane_api();
};

#endif
