// One SANE backend library loaded by path and one of its devices opened.
#ifndef VELSCAN_SANE_BACKEND_H
#define VELSCAN_SANE_BACKEND_H

#include <veltwainui/twainui.h>

#include <string>
#include <vector>

struct OptionSummary {
    int number = 0;
    std::string name;
    std::string title;
    SANE_Value_Type type = SANE_TYPE_INT;
    bool active = false;
    std::string value; // readable text of the current value
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
    bool open(const std::string& device);

    std::vector<std::string> devices() const;
    std::vector<OptionSummary> options() const;

    const _sane_api& api() const { return m_api; }
    SANE_Handle handle() const { return m_handle; }
    const std::string& error() const { return m_error; }

private:
    bool fail(const std::string& what);

    void* m_library = nullptr;
    _sane_api m_api{};
    bool m_initialised = false;
    SANE_Handle m_handle = nullptr;
    std::string m_error;
};

#endif
