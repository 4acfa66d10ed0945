// One SANE backend library loaded by path and one of its devices opened.
#ifndef VELSCAN_SANE_BACKEND_H
#define VELSCAN_SANE_BACKEND_H

#include <veltwainui/twainui.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

// The SANE backends installed in dir as (manufacturer, library path), the
// "test" backend first: libsane-<manufacturer>.so.1.
std::vector<std::pair<std::string, std::string>> installedBackends(const std::string& dir);

struct DeviceEntry {
    std::string name;  // what sane_open takes
    std::string label; // what people read
};

class SaneBackend
{
public:
    SaneBackend() = default;
    ~SaneBackend();
    SaneBackend(const SaneBackend&) = delete;
    SaneBackend& operator=(const SaneBackend&) = delete;

    // Loads the backend and calls its init; "test" resolves sane_test_init ...
    bool load(const std::string& path, const std::string& manufacturer);
    // Takes a backend that someone else loaded and resolved, and calls its init;
    // unload runs after its exit.
    bool adopt(const _sane_api& api, std::function<void()> unload);
    bool open(const std::string& device);

    std::vector<DeviceEntry> deviceEntries() const;

    // Sets a string option by name, if the device has it.
    bool setString(const std::string& name, const std::string& value);
    // Feeds from the document feeder when the "source" option offers one.
    bool selectFeeder();

    const _sane_api& api() const { return m_api; }
    SANE_Handle handle() const { return m_handle; }
    const std::string& error() const { return m_error; }

private:
    bool fail(const std::string& what);
    bool init();
    const SANE_Option_Descriptor* find(const std::string& name, SANE_Int* number) const;

    void* m_library = nullptr;
    std::function<void()> m_unload;
    _sane_api m_api{};
    bool m_initialised = false;
    SANE_Handle m_handle = nullptr;
    std::string m_error;
};

#endif
