// The library's own settings in "config.ini" (in the base library's configuration
// directory) and the text conversions used when talking to the base library.
#ifndef ZYUIGLOBAL_H
#define ZYUIGLOBAL_H

#include <QString>

#include <string>

// A missing file or key yields def.
QString getCfgValue(const char* app, const char* key, const QString& def);
int getCfgValue(const char* app, const char* key, int def);
bool getCfgValue(const char* app, const char* key, bool def);
// A string literal would silently pick the bool overload; say QString instead.
QString getCfgValue(const char* app, const char* key, const char* def) = delete;

// Write failures are not reported.
void saveCfgValue(const char* app, const char* key, const QString& value);
void saveCfgValue(const char* app, const char* key, int value);
void saveCfgValue(const char* app, const char* key, bool value);
void saveCfgValue(const char* app, const char* key, const char* value) = delete;

// UTF-8 bytes of text.
std::string getStdString(const QString& text);
// text encoded the way the file system expects names (QFile's locale codec).
std::string getStdFileName(const QString& text);

// One INI file of the library, read and written through the base library.
// Built with an empty directory it stands for a file that cannot be had:
// reads give the default and writes do nothing.
class IniFile
{
public:
    IniFile(const std::string& dir, const char* name);

    // Values of any length: bufBytes is the first buffer tried.
    QString value(const char* app, const char* key, const QString& def,
                  unsigned int bufBytes) const;
    int value(const char* app, const char* key, int def) const;
    // Both create the directory first.
    void setValue(const char* app, const char* key, const QString& value) const;
    void setValue(const char* app, const char* key, int value) const;
    bool removeSection(const char* app) const;
    bool hasKey(const char* app, const char* key) const;

private:
    bool available() const { return !m_dir.empty(); }

    const std::string m_dir;
    const std::string m_path;
};

#endif
