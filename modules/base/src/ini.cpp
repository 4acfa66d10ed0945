// INI files as plain text: sections of keys with text values, nothing typed.
//
// The syntax is the one earlier releases wrote through QSettings, so that their
// files read the same: keys and section names escape what is not a letter,
// digit, "_", "-" or "." as %XX or %UXXXX ("/" as "\"); values are quoted when
// they hold ";", ",", "=" or edge spaces, and escape controls, quotes and
// backslashes. "@Variant(...)" and its kin are ordinary text here.
//
// QSettings itself is not used: it turns such text into typed data, follows a
// symlinked file when it saves, rewrites files it failed to read, and keeps a
// failed write's values in a process-wide cache that no longer matches the file.
// Here every read parses the file afresh, and a write edits only the lines it
// changes (comments and lines we do not understand stay), under the lock file
// QSettings uses too, and replaces the file atomically: on failure the file is
// as it was.
#include "ZyBase.h"

#include "files.h"

#include <QByteArray>
#include <QFile>
#include <QLockFile>
#include <QString>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace {

// Settings files are a few kilobytes; the cap keeps a wrong file from being
// read without bound.
constexpr size_t kMaxIniBytes = 16u << 20;
constexpr int kLockWaitMs = 10000;
constexpr char kHexDigits[] = "0123456789ABCDEF";

// Writers in this process take turns before they contend for the lock file.
std::mutex& iniMutex()
{
    static std::mutex mutex;
    return mutex;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

std::string trimmed(const std::string& text, size_t from, size_t to)
{
    while (from < to && isBlank(text[from]))
        ++from;
    while (to > from && isBlank(text[to - 1]))
        --to;
    return text.substr(from, to - from);
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool readHex(const std::string& text, size_t at, size_t digits, unsigned& value)
{
    if (at + digits > text.size())
        return false;
    value = 0;
    for (size_t i = at; i < at + digits; ++i) {
        const int digit = hexValue(text[i]);
        if (digit < 0)
            return false;
        value = value * 16 + unsigned(digit);
    }
    return true;
}

void appendUtf8(std::string& out, unsigned code)
{
    if (code == 0)
        return; // a C string cannot carry it
    if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        code = 0xFFFD;
    if (code < 0x80) {
        out += char(code);
    } else if (code < 0x800) {
        out += char(0xC0 | code >> 6);
        out += char(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += char(0xE0 | code >> 12);
        out += char(0x80 | (code >> 6 & 0x3F));
        out += char(0x80 | (code & 0x3F));
    } else {
        out += char(0xF0 | code >> 18);
        out += char(0x80 | (code >> 12 & 0x3F));
        out += char(0x80 | (code >> 6 & 0x3F));
        out += char(0x80 | (code & 0x3F));
    }
}

// The form a name is compared in: what an escaped name reads back as.
std::string canonicalName(const char* name)
{
    return QString::fromUtf8(name).toUtf8().toStdString();
}

std::string escapeName(const std::string& name)
{
    std::string out;
    for (const QChar qc : QString::fromUtf8(name.data(), int(name.size()))) {
        const ushort ch = qc.unicode();
        if ((ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9')
            || ch == '_' || ch == '-' || ch == '.') {
            out += char(ch);
        } else if (ch == '/') {
            out += '\\';
        } else if (ch <= 0xFF) {
            out += '%';
            out += kHexDigits[ch >> 4];
            out += kHexDigits[ch & 15];
        } else {
            out += "%U";
            for (int shift = 12; shift >= 0; shift -= 4)
                out += kHexDigits[ch >> shift & 15];
        }
    }
    return out;
}

std::string unescapeName(const std::string& raw)
{
    QString name;
    QByteArray plain; // raw bytes are UTF-8
    const auto flush = [&] {
        name += QString::fromUtf8(plain);
        plain.clear();
    };
    for (size_t i = 0; i < raw.size();) {
        unsigned unit = 0;
        if (raw[i] == '\\') {
            plain += '/';
            ++i;
        } else if (raw[i] == '%' && i + 1 < raw.size() && raw[i + 1] == 'U'
                   && readHex(raw, i + 2, 4, unit)) {
            flush();
            name += QChar(ushort(unit));
            i += 6;
        } else if (raw[i] == '%' && readHex(raw, i + 1, 2, unit)) {
            flush();
            name += QChar(ushort(unit));
            i += 3;
        } else {
            plain += raw[i++];
        }
    }
    flush();
    return name.toUtf8().toStdString();
}

bool isGeneral(const std::string& name)
{
    return name.size() == 7 && strncasecmp(name.c_str(), "general", 7) == 0;
}

// "[General]" stands for QSettings' top level and QSettings writes every other
// spelling of it as "[%General]"; "[%general]" keeps the spelling for both readers.
std::string sectionHeader(const std::string& name)
{
    if (isGeneral(name) && name != "General")
        return "[%" + name + "]";
    return "[" + escapeName(name) + "]";
}

std::string sectionName(const std::string& line, size_t open)
{
    const size_t close = line.find(']', open + 1);
    const std::string inner =
        trimmed(line, open + 1, close == std::string::npos ? line.size() : close);
    if (inner.size() == 8 && inner[0] == '%' && isGeneral(inner.substr(1)))
        return inner.substr(1);
    return unescapeName(inner);
}

std::string escapeValue(const std::string& value)
{
    std::string out;
    bool quote = false;
    bool escapeHexDigit = false; // a \x escape swallows the hex digits after it
    // QSettings reads a leading "@" as the start of typed data; "@@" is plain "@".
    if (!value.empty() && value[0] == '@')
        out += '@';
    for (const char c : value) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == ';' || c == ',' || c == '=')
            quote = true;
        if (escapeHexDigit && hexValue(c) >= 0) {
            out += "\\x";
            out += kHexDigits[byte >> 4];
            out += kHexDigits[byte & 15];
            continue;
        }
        escapeHexDigit = false;
        switch (c) {
        case '\a': out += "\\a"; break;
        case '\b': out += "\\b"; break;
        case '\f': out += "\\f"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        case '\v': out += "\\v"; break;
        case '"':
        case '\\':
            out += '\\';
            out += c;
            break;
        default:
            if (byte < 0x20 || byte == 0x7F) {
                out += "\\x";
                out += kHexDigits[byte >> 4];
                out += kHexDigits[byte & 15];
                escapeHexDigit = true;
            } else {
                out += c;
            }
        }
    }
    if (quote || (!out.empty() && (out.front() == ' ' || out.back() == ' ')))
        return '"' + out + '"';
    return out;
}

// Reads the escape after a backslash at line[i - 1]; returns the position after it.
size_t unescapeOne(const std::string& line, size_t i, std::string& out)
{
    const char e = line[i++];
    switch (e) {
    case 'a': out += '\a'; return i;
    case 'b': out += '\b'; return i;
    case 'f': out += '\f'; return i;
    case 'n': out += '\n'; return i;
    case 'r': out += '\r'; return i;
    case 't': out += '\t'; return i;
    case 'v': out += '\v'; return i;
    case 'x': {
        unsigned code = 0;
        for (int digit; i < line.size() && (digit = hexValue(line[i])) >= 0; ++i)
            code = std::min(code * 16 + unsigned(digit), 0x110000u);
        appendUtf8(out, code);
        return i;
    }
    default:
        break;
    }
    if (e >= '0' && e <= '7') {
        unsigned code = unsigned(e - '0');
        for (; i < line.size() && line[i] >= '0' && line[i] <= '7'; ++i)
            code = std::min(code * 8 + unsigned(line[i] - '0'), 0x110000u);
        appendUtf8(out, code);
        return i;
    }
    out += e;
    return i;
}

// The value after "=": quotes group text and are dropped, ";" outside quotes
// starts a comment, unquoted blanks at either end are dropped.
std::string unescapeValue(const std::string& line, size_t from)
{
    std::string out;
    size_t keep = 0; // out without its trailing unquoted blanks
    bool quoted = false;
    size_t i = from;
    while (i < line.size() && isBlank(line[i]))
        ++i;
    while (i < line.size()) {
        const char c = line[i++];
        if (c == '"') {
            quoted = !quoted;
            keep = out.size();
        } else if (c == ';' && !quoted) {
            break;
        } else if (c == '\\') {
            if (i < line.size())
                i = unescapeOne(line, i, out);
            keep = out.size();
        } else {
            out += c;
            if (quoted || !isBlank(c))
                keep = out.size();
        }
    }
    out.resize(keep);
    if (out.compare(0, 2, "@@") == 0)
        out.erase(0, 1);
    return out;
}

// One INI file as its lines. Lines that are neither a section header nor a
// key=value pair are kept as they are and otherwise ignored. A key repeated in a
// section reads as its last occurrence; sections may be split into blocks.
class IniText
{
public:
    explicit IniText(const std::string& text)
    {
        size_t start = 0;
        while (start < text.size()) {
            size_t end = text.find('\n', start);
            if (end == std::string::npos)
                end = text.size();
            m_lines.push_back(parse(text.substr(start, end - start)));
            start = end + 1;
        }
    }

    std::string text() const
    {
        std::string out;
        for (const Line& line : m_lines)
            out.append(line.raw).append(1, '\n');
        return out;
    }

    std::optional<std::string> value(const std::string& section, const std::string& key) const
    {
        const Line* found = nullptr;
        forEachInSection(section, [&](size_t i) {
            if (m_lines[i].kind == Kind::Entry && m_lines[i].name == key)
                found = &m_lines[i];
        });
        if (!found)
            return std::nullopt;
        return unescapeValue(found->raw, found->valueAt);
    }

    void setValue(const std::string& section, const std::string& key, const std::string& value)
    {
        const Line entry = parse(escapeName(key) + "=" + escapeValue(value));
        std::vector<size_t> matches;
        std::optional<size_t> blockEnd;
        forEachInSection(section, [&](size_t i) {
            if (m_lines[i].kind != Kind::Other)
                blockEnd = i;
            if (m_lines[i].kind == Kind::Entry && m_lines[i].name == key)
                matches.push_back(i);
        });
        if (!matches.empty()) {
            m_lines[matches.back()] = entry;
            for (auto it = matches.rbegin() + 1; it != matches.rend(); ++it)
                m_lines.erase(m_lines.begin() + long(*it));
        } else if (blockEnd) {
            m_lines.insert(m_lines.begin() + long(*blockEnd) + 1, entry);
        } else {
            if (!m_lines.empty() && !trimmed(m_lines.back().raw, 0, m_lines.back().raw.size()).empty())
                m_lines.push_back(parse(std::string()));
            m_lines.push_back(parse(sectionHeader(section)));
            m_lines.push_back(entry);
        }
    }

    // Removes every block of the section; false when there is none.
    bool removeSection(const std::string& section)
    {
        std::vector<size_t> doomed;
        forEachInSection(section, [&](size_t i) { doomed.push_back(i); });
        for (auto it = doomed.rbegin(); it != doomed.rend(); ++it)
            m_lines.erase(m_lines.begin() + long(*it));
        return !doomed.empty();
    }

private:
    enum class Kind { Other, Section, Entry };

    struct Line
    {
        std::string raw;
        Kind kind = Kind::Other;
        std::string name;   // of the section or the key
        size_t valueAt = 0; // after the "=" of an entry
    };

    static Line parse(std::string raw)
    {
        Line line;
        size_t start = 0;
        while (start < raw.size() && isBlank(raw[start]))
            ++start;
        const size_t equals = raw.find('=', start);
        if (start < raw.size() && raw[start] == '[') {
            line.kind = Kind::Section;
            line.name = sectionName(raw, start);
        } else if (start < raw.size() && raw[start] != ';' && raw[start] != '#'
                   && equals != std::string::npos) {
            line.name = unescapeName(trimmed(raw, start, equals));
            line.kind = line.name.empty() ? Kind::Other : Kind::Entry;
            line.valueAt = equals + 1;
        }
        line.raw = std::move(raw);
        return line;
    }

    // Calls visit with the index of every line in a block of the section,
    // its header included.
    template <class Visit>
    void forEachInSection(const std::string& section, Visit visit) const
    {
        bool inside = false;
        for (size_t i = 0; i < m_lines.size(); ++i) {
            if (m_lines[i].kind == Kind::Section)
                inside = m_lines[i].name == section;
            if (inside)
                visit(i);
        }
    }

    std::vector<Line> m_lines;
};

// Missing files read as empty ones.
int readIni(const char* file, std::string& text, bool* exists = nullptr)
{
    const int err = velbase::readSmallFile(file, kMaxIniBytes, text);
    if (exists)
        *exists = err == 0;
    if (err == ENOENT) {
        text.clear();
        return 0;
    }
    return err;
}

int directoryError(const std::string& file)
{
    const size_t slash = file.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : file.substr(0, slash + 1);
    struct stat st{};
    if (stat(dir.c_str(), &st) != 0)
        return errno;
    return S_ISDIR(st.st_mode) ? EIO : ENOTDIR;
}

// The lock other writers of the file, QSettings among them, take too. A path
// that Qt cannot name (bytes that are not text in the locale's encoding) is
// written under the process lock alone.
class WriteLock
{
public:
    explicit WriteLock(const std::string& file) : m_processLock(iniMutex())
    {
        const QByteArray path = QByteArray::fromStdString(velbase::siblingPath(file, "", ".lock"));
        const QString name = QFile::decodeName(path);
        if (QFile::encodeName(name) != path)
            return;
        m_fileLock.emplace(name);
        if (m_fileLock->tryLock(kLockWaitMs))
            return;
        switch (m_fileLock->error()) {
        case QLockFile::LockFailedError:
            m_error = EBUSY;
            break;
        case QLockFile::PermissionError:
            m_error = EACCES;
            break;
        default:
            m_error = directoryError(file);
        }
    }

    int error() const { return m_error; }

private:
    const std::lock_guard<std::mutex> m_processLock;
    std::optional<QLockFile> m_fileLock;
    int m_error = 0;
};

// Reads, edits and writes the file back in one piece. edit returns 0 or the
// error to report, in which case nothing is written.
template <class Edit>
int editIni(const char* file, Edit edit)
{
    const WriteLock lock(file);
    if (lock.error() != 0)
        return lock.error();
    std::string before;
    bool exists = false;
    const int err = readIni(file, before, &exists);
    if (err != 0)
        return err;
    IniText ini(before);
    const int refused = edit(ini);
    if (refused != 0)
        return refused;
    const std::string after = ini.text();
    if (exists && after == before)
        return 0;
    return ZyBase_WriteFileAtomic(file, after.data(), after.size());
}

std::optional<std::string> lookUp(const char* file, const char* app, const char* key, int& err)
{
    std::string text;
    err = readIni(file, text);
    if (err != 0)
        return std::nullopt;
    return IniText(text).value(canonicalName(app), canonicalName(key));
}

bool validNames(const char* file, const char* app)
{
    return file && *file && app && *app;
}

bool validKey(const char* key)
{
    return key && *key;
}

// Copies text, truncated at a whole UTF-8 character when buf is too small.
int copyTruncated(const std::string& text, char* buf, unsigned int size)
{
    if (text.size() < size) {
        std::memcpy(buf, text.c_str(), text.size() + 1);
        return 0;
    }
    size_t keep = size - 1;
    while (keep > 0 && (static_cast<unsigned char>(text[keep]) & 0xC0) == 0x80)
        --keep;
    std::memcpy(buf, text.data(), keep);
    buf[keep] = '\0';
    return ERANGE;
}

// Decimal with an optional sign and blanks around it, within the int range.
bool parseInt(const std::string& raw, int& value)
{
    const std::string text = trimmed(raw, 0, raw.size());
    size_t i = text[0] == '-' || text[0] == '+' ? 1 : 0;
    if (i == text.size())
        return false;
    long long number = 0;
    for (; i < text.size(); ++i) {
        if (text[i] < '0' || text[i] > '9')
            return false;
        number = std::min(number * 10 + (text[i] - '0'), 1LL << 32);
    }
    if (text[0] == '-')
        number = -number;
    if (number < INT_MIN || number > INT_MAX)
        return false;
    value = int(number);
    return true;
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
    int err = 0;
    const std::optional<std::string> found = lookUp(file, app, key, err);
    const int copied = copyTruncated(found ? *found : std::string(def ? def : ""), buf, size);
    return err != 0 ? err : copied;
}

int ZyBase_GetProfileInt(const char* file, const char* app, const char* key, int def, int* value)
{
    if (!value)
        return EINVAL;
    *value = def;
    if (!validNames(file, app) || !validKey(key))
        return EINVAL;
    int err = 0;
    const std::optional<std::string> found = lookUp(file, app, key, err);
    if (found)
        parseInt(*found, *value);
    return err;
}

int ZyBase_SetProfileString(const char* file, const char* app, const char* key, const char* value)
{
    if (!validNames(file, app) || !validKey(key) || !value)
        return EINVAL;
    return editIni(file, [&](IniText& ini) {
        ini.setValue(canonicalName(app), canonicalName(key), value);
        return 0;
    });
}

int ZyBase_SetProfileInt(const char* file, const char* app, const char* key, int value)
{
    return ZyBase_SetProfileString(file, app, key, std::to_string(value).c_str());
}

int ZyBase_RemoveProfileSection(const char* file, const char* app)
{
    if (!validNames(file, app))
        return EINVAL;
    return editIni(file, [&](IniText& ini) {
        return ini.removeSection(canonicalName(app)) ? 0 : ENOENT;
    });
}

int ZyBase_SearchProfileConfig(const char* file, const char* app, const char* key)
{
    if (!validNames(file, app) || !validKey(key))
        return EINVAL;
    int err = 0;
    const std::optional<std::string> found = lookUp(file, app, key, err);
    if (err != 0)
        return err;
    return found ? 0 : ENOENT;
}

} // extern "C"
