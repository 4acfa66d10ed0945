// INI files through QSettings: it escapes keys and values, writes via a save file
// and locks the file against other processes. One QSettings per call keeps the
// functions usable from any thread, with or without a QCoreApplication.
// Separate QSettings objects may run in parallel, but their shared file cache is
// guarded by a QMutex that thread sanitizers cannot see; a lock of our own keeps
// sanitizer builds quiet and costs nothing next to the file I/O.
#include "ZyBase.h"

#include <QFile>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QTextCodec>
#include <QVariant>

#include <cerrno>
#include <cstring>
#include <mutex>

namespace {

// QSettings keeps the keys of the section "General" at its top level, so that
// section is reached without a group; any other section is a group.
bool isTopLevel(const QString& section)
{
    return section == QLatin1String("General");
}

int statusError(QSettings::Status status)
{
    switch (status) {
    case QSettings::NoError:
        return 0;
    case QSettings::AccessError:
        return EACCES;
    case QSettings::FormatError:
        return EIO;
    }
    return EIO;
}

std::mutex& iniMutex()
{
    static std::mutex mutex;
    return mutex;
}

// One section of one INI file, open for the duration of a call.
class IniSection
{
public:
    IniSection(const char* file, const char* app)
        : m_lock(iniMutex())
        , m_settings(QFile::decodeName(file), QSettings::IniFormat)
        , m_topLevel(isTopLevel(QString::fromUtf8(app)))
    {
        m_settings.setIniCodec(QTextCodec::codecForName("UTF-8"));
        if (!m_topLevel)
            m_settings.beginGroup(QString::fromUtf8(app));
    }

    bool contains(const char* key) const { return m_settings.contains(QString::fromUtf8(key)); }

    // The stored text; a list (a hand-written value with bare commas) is joined again.
    QString text(const char* key) const
    {
        const QVariant value = m_settings.value(QString::fromUtf8(key));
        if (value.type() == QVariant::StringList)
            return value.toStringList().join(QLatin1String(", "));
        if (value.type() == QVariant::ByteArray)
            return QString::fromUtf8(value.toByteArray());
        return value.toString();
    }

    void setText(const char* key, const QString& value)
    {
        m_settings.setValue(QString::fromUtf8(key), value);
    }

    bool isEmpty() const
    {
        return m_settings.childKeys().isEmpty() && (m_topLevel || m_settings.childGroups().isEmpty());
    }

    // Removes the section's keys; the top level keeps the other sections.
    void clear()
    {
        if (!m_topLevel) {
            m_settings.remove(QString());
            return;
        }
        for (const QString& key : m_settings.childKeys())
            m_settings.remove(key);
    }

    int readError() const { return statusError(m_settings.status()); }

    int sync()
    {
        m_settings.sync();
        return statusError(m_settings.status());
    }

private:
    const std::lock_guard<std::mutex> m_lock; // held until m_settings has synced and gone
    QSettings m_settings;
    const bool m_topLevel;
};

bool validNames(const char* file, const char* app)
{
    return file && *file && app && *app;
}

bool validKey(const char* key)
{
    // A key made of "/" only names no key at all once QSettings has normalised it.
    return key && std::strspn(key, "/") != std::strlen(key);
}

// Copies text, truncated at a whole UTF-8 character when buf is too small.
int copyTruncated(const QByteArray& text, char* buf, unsigned int size)
{
    if (static_cast<unsigned int>(text.size()) < size) {
        std::memcpy(buf, text.constData(), static_cast<size_t>(text.size()) + 1);
        return 0;
    }
    size_t keep = size - 1;
    while (keep > 0 && (static_cast<unsigned char>(text[static_cast<int>(keep)]) & 0xC0) == 0x80)
        --keep;
    std::memcpy(buf, text.constData(), keep);
    buf[keep] = '\0';
    return ERANGE;
}

} // namespace

extern "C" {

int ZyBase_GetProfileString(const char* file, const char* app, const char* key, const char* def,
                            char* buf, unsigned int size)
{
    if (!buf || size == 0)
        return EINVAL;
    buf[0] = '\0';
    if (!validNames(file, app) || !validKey(key))
        return EINVAL;
    const IniSection section(file, app);
    if (!section.contains(key)) {
        const int err = copyTruncated(QByteArray(def ? def : ""), buf, size);
        return section.readError() != 0 ? section.readError() : err;
    }
    return copyTruncated(section.text(key).toUtf8(), buf, size);
}

int ZyBase_GetProfileInt(const char* file, const char* app, const char* key, int def, int* value)
{
    if (!value)
        return EINVAL;
    *value = def;
    if (!validNames(file, app) || !validKey(key))
        return EINVAL;
    const IniSection section(file, app);
    if (!section.contains(key))
        return section.readError();
    bool ok = false;
    const int stored = section.text(key).trimmed().toInt(&ok, 10);
    if (ok)
        *value = stored;
    return 0;
}

int ZyBase_SetProfileString(const char* file, const char* app, const char* key, const char* value)
{
    if (!validNames(file, app) || !validKey(key) || !value)
        return EINVAL;
    IniSection section(file, app);
    section.setText(key, QString::fromUtf8(value));
    return section.sync();
}

int ZyBase_SetProfileInt(const char* file, const char* app, const char* key, int value)
{
    if (!validNames(file, app) || !validKey(key))
        return EINVAL;
    IniSection section(file, app);
    section.setText(key, QString::number(value));
    return section.sync();
}

int ZyBase_RemoveProfileSection(const char* file, const char* app)
{
    if (!validNames(file, app))
        return EINVAL;
    IniSection section(file, app);
    if (section.isEmpty())
        return section.readError() != 0 ? section.readError() : ENOENT;
    section.clear();
    return section.sync();
}

int ZyBase_SearchProfileConfig(const char* file, const char* app, const char* key)
{
    if (!validNames(file, app) || !validKey(key))
        return EINVAL;
    const IniSection section(file, app);
    if (section.contains(key))
        return 0;
    return section.readError() != 0 ? section.readError() : ENOENT;
}

} // extern "C"
