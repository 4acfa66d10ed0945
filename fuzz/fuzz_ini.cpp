// INI operations on any file content. Input: one operation byte, then section,
// key and value each ending in a zero byte, then the file's content.
// A write that succeeds must read back exactly and leave other entries alone;
// a write that fails must leave the file as it was.
#include "temp_dir.h"

#include <ZyBase.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

// Splits off the next zero-terminated field; false when there is none.
bool field(const char*& at, const char* end, std::string& out)
{
    const void* zero = std::memchr(at, '\0', size_t(end - at));
    if (!zero)
        return false;
    out.assign(at, static_cast<const char*>(zero));
    at = static_cast<const char*>(zero) + 1;
    return true;
}

struct Probe
{
    int found;
    std::string value;
};

Probe probe(const std::string& file, const std::string& app, const std::string& key)
{
    std::vector<char> buf(1 << 16);
    const int found = ZyBase_SearchProfileConfig(file.c_str(), app.c_str(), key.c_str());
    ZyBase_GetProfileString(file.c_str(), app.c_str(), key.c_str(), "", buf.data(),
                            unsigned(buf.size()));
    return {found, buf.data()};
}

bool operator!=(const Probe& a, const Probe& b)
{
    return a.found != b.found || a.value != b.value;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const char* at = reinterpret_cast<const char*>(data) + 1;
    const char* const end = reinterpret_cast<const char*>(data) + size;
    std::string app, key, value;
    if (!field(at, end, app) || !field(at, end, key) || !field(at, end, value))
        return 0;
    const std::string content(at, end);
    const std::string file = veltest::processTempDir().file("fuzz.ini");
    if (ZyBase_WriteFileAtomic(file.c_str(), content.data(), content.size()) != 0)
        return 0;

    // Whatever the content, reads end without harm, in any buffer size.
    char small[8];
    int number = 0;
    ZyBase_GetProfileString(file.c_str(), app.c_str(), key.c_str(), value.c_str(), small,
                            sizeof(small));
    ZyBase_GetProfileInt(file.c_str(), app.c_str(), key.c_str(), 7, &number);

    const std::string otherApp = app + "~";
    const std::string otherKey = key + "~";
    const Probe sameSection = probe(file, app, otherKey);
    const Probe sameKey = probe(file, otherApp, key);
    const auto kept = [&](bool section) {
        return !(probe(file, otherApp, key) != sameKey)
            && (!section || !(probe(file, app, otherKey) != sameSection));
    };

    int rc = 0;
    bool ok = true;
    switch (data[0] & 3) {
    case 0:
        rc = ZyBase_SetProfileString(file.c_str(), app.c_str(), key.c_str(), value.c_str());
        if (rc == 0) {
            const Probe stored = probe(file, app, key);
            ok = stored.found == 0 && stored.value == value && kept(true);
        }
        break;
    case 1:
        rc = ZyBase_SetProfileInt(file.c_str(), app.c_str(), key.c_str(), std::atoi(value.c_str()));
        if (rc == 0) {
            ZyBase_GetProfileInt(file.c_str(), app.c_str(), key.c_str(), 7, &number);
            ok = number == std::atoi(value.c_str()) && kept(true);
        }
        break;
    case 2:
        rc = ZyBase_RemoveProfileSection(file.c_str(), app.c_str());
        if (rc == 0)
            ok = probe(file, app, key).found != 0 && kept(false);
        break;
    default:
        return 0;
    }
    if (!ok || (rc != 0 && veltest::readFile(file) != content))
        __builtin_trap();
    return 0;
}
