// The device's options by title: what turns the settings of older releases,
// which were stored by option title and as value text, into today's.
#ifndef DEVICE_MENU_H
#define DEVICE_MENU_H

#include <veltwainui/twainui.h>

#include <string>
#include <vector>

class dev_que
{
public:
    // Reads the descriptors of the open device once.
    dev_que(SANE_Handle handle, const _sane_api* api);

    // The name of the option titled title (in the driver's words or in the user's
    // language), or null. param is a dev_que; the text lives as long as it does.
    static const char* title_2_name(const char* title, void* param);
    // An old value text ("300", "true", "1.50", a list entry) rewritten as the
    // value bytes of option name, as schemes keep them. Texts of options the
    // device does not have, or of arrays, stay as they are.
    static void trans_number(const char* name, std::string& value, void* param);

private:
    struct option
    {
        std::string name;
        std::string title; // in the driver's own language
        SANE_Value_Type type;
        SANE_Int size;
    };

    std::vector<option> m_options;
};

#endif
