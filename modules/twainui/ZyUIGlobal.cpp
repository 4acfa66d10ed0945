#include "ZyUIGlobal.h"

#include <ZyBase.h>

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace {

constexpr unsigned int kPathBytes = 512;
constexpr unsigned int kValueBytes = 512;
constexpr size_t kMaxValueBytes = 1u << 30;

IniFile configIni()
{
    char dir[kPathBytes];
    const bool found = ZyBase_GetConfigPath(dir, sizeof(dir)) == 0;
    return IniFile(found ? std::string(dir) : std::string(), "config.ini");
}

} // namespace

IniFile::IniFile(const std::string& dir, const char* name)
    : m_dir(dir)
    , m_path(dir.empty() ? std::string() : dir + name)
{
}

QString IniFile::value(const char* app, const char* key, const QString& def,
                       unsigned int bufBytes) const
{
    if (!available())
        return def;
    const std::string defText = getStdString(def);
    // bufBytes is only where the search starts: a value longer than it is read
    // again into a bigger buffer, never taken for a failure.
    std::vector<char> buf(std::max(bufBytes, 64u));
    for (;;) {
        const int err = ZyBase_GetProfileString(m_path.c_str(), app, key, defText.c_str(),
                                                buf.data(), unsigned(buf.size()));
        if (err == 0)
            return QString::fromUtf8(buf.data());
        if (err != ERANGE || buf.size() >= kMaxValueBytes)
            return def;
        buf.resize(buf.size() * 2);
    }
}

int IniFile::value(const char* app, const char* key, int def) const
{
    int result = def;
    if (!available() || ZyBase_GetProfileInt(m_path.c_str(), app, key, def, &result) != 0)
        return def;
    return result;
}

void IniFile::setValue(const char* app, const char* key, const QString& value) const
{
    if (!available())
        return;
    ZyBase_CreateDir(m_dir.c_str());
    ZyBase_SetProfileString(m_path.c_str(), app, key, getStdString(value).c_str());
}

void IniFile::setValue(const char* app, const char* key, int value) const
{
    if (!available())
        return;
    ZyBase_CreateDir(m_dir.c_str());
    ZyBase_SetProfileInt(m_path.c_str(), app, key, value);
}

bool IniFile::removeSection(const char* app) const
{
    return available() && ZyBase_RemoveProfileSection(m_path.c_str(), app) == 0;
}

bool IniFile::hasKey(const char* app, const char* key) const
{
    return available() && ZyBase_SearchProfileConfig(m_path.c_str(), app, key) == 0;
}

QString getCfgValue(const char* app, const char* key, const QString& def)
{
    return configIni().value(app, key, def, kValueBytes);
}

int getCfgValue(const char* app, const char* key, int def)
{
    return configIni().value(app, key, def);
}

bool getCfgValue(const char* app, const char* key, bool def)
{
    return configIni().value(app, key, def ? 1 : 0) != 0;
}

void saveCfgValue(const char* app, const char* key, const QString& value)
{
    configIni().setValue(app, key, value);
}

void saveCfgValue(const char* app, const char* key, int value)
{
    configIni().setValue(app, key, value);
}

void saveCfgValue(const char* app, const char* key, bool value)
{
    configIni().setValue(app, key, value ? 1 : 0);
}

std::string getStdString(const QString& text)
{
    return text.toUtf8().toStdString();
}

std::string getStdFileName(const QString& text)
{
    return QFile::encodeName(text).toStdString();
}
