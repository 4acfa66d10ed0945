// Where the library keeps its own settings, and typed access to "default.ini",
// the factory-style values that seed the default scheme of every device.
#ifndef APP_CFG_H
#define APP_CFG_H

#include <QString>

// Writes "<home>/.VelmarScan/Cfg/" into buf. Returns 3 for a null buffer or a
// zero size, 1 when the path and its terminating zero do not fit (buf is left
// as it was), 0 on success, or the base library's error when there is no home.
int GetConfigPath(char* buf, unsigned int size);

// A missing file or key yields def.
QString getDefaultCfgValue(const char* app, const char* key, const QString& def);
int getDefaultCfgValue(const char* app, const char* key, int def);
bool getDefaultCfgValue(const char* app, const char* key, bool def);
// A string literal would silently pick the bool overload; say QString instead.
QString getDefaultCfgValue(const char* app, const char* key, const char* def) = delete;

// Write failures are not reported.
void saveDefaultCfgValue(const char* app, const char* key, const QString& value);
void saveDefaultCfgValue(const char* app, const char* key, int value);
// Stored as an integer truncated toward zero: 1.9 is kept as 1, -2.7 as -2.
void saveDefaultCfgValue(const char* app, const char* key, float value);
void saveDefaultCfgValue(const char* app, const char* key, bool value);
void saveDefaultCfgValue(const char* app, const char* key, const char* value) = delete;

bool removeSection(const char* app);
bool searchKeyName(const char* app, const char* key);

#endif
