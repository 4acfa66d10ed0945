#include "app_cfg.h"

#include "ZyUIGlobal.h"

#include <ZyBase.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <string>

namespace {

constexpr unsigned int kBaseDirBytes = 4096;
constexpr unsigned int kPathBytes = 512;
constexpr unsigned int kValueBytes = 2048;
const char kConfigSubDir[] = "Cfg/";

IniFile defaultIni()
{
    char dir[kPathBytes];
    const bool found = GetConfigPath(dir, sizeof(dir)) == 0;
    return IniFile(found ? std::string(dir) : std::string(), "default.ini");
}

// A plain cast is undefined outside the int range; NaN has no integer at all.
int truncateTowardZero(float value)
{
    if (std::isnan(value))
        return 0;
    if (value >= static_cast<float>(INT_MAX))
        return INT_MAX;
    if (value <= static_cast<float>(INT_MIN))
        return INT_MIN;
    return static_cast<int>(value);
}

} // namespace

int GetConfigPath(char* buf, unsigned int size)
{
    if (!buf || size == 0)
        return 3;
    char base[kBaseDirBytes];
    const int err = ZyBase_GetConfigPath(base, sizeof(base));
    if (err != 0)
        return err;
    const std::string path = std::string(base) + kConfigSubDir;
    if (size < path.size() + 1)
        return 1;
    std::memcpy(buf, path.c_str(), path.size() + 1);
    return 0;
}

QString getDefaultCfgValue(const char* app, const char* key, const QString& def)
{
    return defaultIni().value(app, key, def, kValueBytes);
}

int getDefaultCfgValue(const char* app, const char* key, int def)
{
    return defaultIni().value(app, key, def);
}

bool getDefaultCfgValue(const char* app, const char* key, bool def)
{
    return defaultIni().value(app, key, def ? 1 : 0) != 0;
}

void saveDefaultCfgValue(const char* app, const char* key, const QString& value)
{
    defaultIni().setValue(app, key, value);
}

void saveDefaultCfgValue(const char* app, const char* key, int value)
{
    defaultIni().setValue(app, key, value);
}

void saveDefaultCfgValue(const char* app, const char* key, float value)
{
    defaultIni().setValue(app, key, truncateTowardZero(value));
}

void saveDefaultCfgValue(const char* app, const char* key, bool value)
{
    defaultIni().setValue(app, key, value ? 1 : 0);
}

bool removeSection(const char* app)
{
    return defaultIni().removeSection(app);
}

bool searchKeyName(const char* app, const char* key)
{
    return defaultIni().hasKey(app, key);
}
