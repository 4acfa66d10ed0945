// Loads one scheme from any text (base64 or plain by the first byte) and runs the
// upgrade of stored values over it, as the settings dialog does on old files.
#include "gb_json.h"

#include <cjson/cJSON.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

namespace {

const char* const kOptionNames[] = {"resolution", "mode", "source", "page-width", "gamma"};

bool discardOdd(int sn, void*)
{
    return (sn & 1) != 0;
}

// Old releases stored titles; any title becomes a name with a fixed prefix.
const char* titleToName(const char* title)
{
    static std::string name;
    name = std::string("opt-") + title;
    return name.c_str();
}

// Only string members under distinct keys. Other documents cannot be copied
// through text faithfully: cJSON prints numbers to 15 digits when that reads back
// as nearly the same double, and infinity as null; and a repeated key makes a
// document unequal even to itself.
bool inWrittenForm(const std::string& text)
{
    cJSON* root = cJSON_Parse(text.c_str());
    std::set<std::string> keys;
    bool ok = root != nullptr;
    for (const cJSON* item = root ? root->child : nullptr; ok && item; item = item->next)
        ok = cJSON_IsString(item) && item->string && keys.insert(item->string).second;
    cJSON_Delete(root);
    return ok;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const bool inBase64 = (data[0] & 1) != 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);

    gb::sane_config_schm* schm = new gb::sane_config_schm();
    int sn = 0;
    for (const char* name : kOptionNames) {
        const uint32_t def = 100u + sn;
        schm->set_default_value(sn++, name, reinterpret_cast<const char*>(&def), sizeof(def));
    }
    if (schm->load_from_mem(text.c_str(), inBase64)) {
        std::string discarded;
        schm->update(discardOdd, nullptr, titleToName, &discarded);
        std::string name;
        std::string value;
        for (bool more = schm->first_config(name, value); more;
             more = schm->next_config(name, value))
            gb::sane_config_schm::is_option_data(name);
        // A scheme in the form the library writes equals its copy.
        gb::sane_config_schm* copy = schm->copy();
        if (inWrittenForm(schm->to_text_stream(false, false)) && !copy->is_equal(schm))
            __builtin_trap();
        copy->release();
        schm->to_text_stream(true, true);
    }
    schm->release();
    return 0;
}
