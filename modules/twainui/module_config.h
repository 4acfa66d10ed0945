// The module's configuration: the device file that apply_current_config loaded
// last, which the settings dialog edits and get_config_content hands out.
#ifndef MODULE_CONFIG_H
#define MODULE_CONFIG_H

#include <string>

namespace gb {
class scanner_cfg;
}

// The dialog has saved cfg, whose file text is now text. When cfg is the
// module's configuration, get_config_content answers text from now on: host
// threads never read the object that the dialog edits.
void configurationSaved(const gb::scanner_cfg* cfg, std::string text);

#endif
