// Loads a device configuration from any text (base64 or plain by the first byte);
// whatever loads must be written back as text that loads again.
#include "gb_json.h"
#include "temp_dir.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const bool inBase64 = (data[0] & 1) != 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);

    gb::scanner_cfg* cfg = new gb::scanner_cfg();
    // A missing file only sets the directory for err_cfg.txt, which unparsable
    // text leaves behind: a directory of our own.
    cfg->load_file(veltest::processTempDir().file("none.cfg").c_str());
    if (cfg->load_mem(text.c_str(), inBase64) == 0) {
        const std::string written = cfg->to_text(true);
        cfg->to_text(false);
        gb::sane_config_schm* current = cfg->get_scheme(nullptr);
        if (!current)
            __builtin_trap();
        current->release();

        gb::scanner_cfg* again = new gb::scanner_cfg();
        if (again->load_mem(written.c_str(), true) != 0)
            __builtin_trap();
        again->release();
    }
    cfg->release();
    return 0;
}
