// INI files: round trips of awkward text, defaults, sections, integers, concurrency.
#include "temp_home.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <thread>
#include <utility>
#include <vector>

using veltest::readFile;
using veltest::writeFile;

namespace {

class IniTest : public veltest::HomeTest
{
protected:
    std::string get(const char* app, const char* key, const char* def = "DEFAULT",
                    unsigned int size = 4096, int* err = nullptr) const
    {
        std::vector<char> buf(size, 'Z');
        const int result = ZyBase_GetProfileString(file(), app, key, def, buf.data(), size);
        if (err)
            *err = result;
        else
            EXPECT_EQ(result, 0);
        return buf.data();
    }

    int getInt(const char* app, const char* key, int def) const
    {
        int value = def + 1;
        EXPECT_EQ(ZyBase_GetProfileInt(file(), app, key, def, &value), 0);
        return value;
    }

    int set(const char* app, const char* key, const char* value) const
    {
        return ZyBase_SetProfileString(file(), app, key, value);
    }

    bool has(const char* app, const char* key) const
    {
        const int result = ZyBase_SearchProfileConfig(file(), app, key);
        EXPECT_TRUE(result == 0 || result == ENOENT) << result;
        return result == 0;
    }

    const char* file() const { return m_file.c_str(); }

    const std::string m_file = m_home.dir() + "/settings.ini";
};

} // namespace

TEST_F(IniTest, AwkwardKeysAndValuesRoundTrip)
{
    const std::vector<std::pair<std::string, std::string>> pairs = {
        {"with space", "two words"},
        {"equals=key", "a=b=c"},
        {"semi;colon#hash", "x;y # not a comment"},
        {"中文键", "中文值 ünïcödé"},
        {"empty", ""},
        {"edges", "  padded  "},
        {"list", "a, b, c"},
        {"at", "@Variant(x)"},
        {"quotes", "\"quoted\" and \\backslash"},
        {"[brackets]", "[section]"},
    };
    for (const auto& [key, value] : pairs)
        ASSERT_EQ(set("section with space", key.c_str(), value.c_str()), 0) << key;
    for (const auto& [key, value] : pairs) {
        EXPECT_EQ(get("section with space", key.c_str()), value) << key;
        EXPECT_TRUE(has("section with space", key.c_str())) << key;
    }
    EXPECT_EQ(set("节=;#", "k", "v"), 0);
    EXPECT_EQ(get("节=;#", "k"), "v");
}

TEST_F(IniTest, MissingFileSectionOrKeyGivesTheDefault)
{
    EXPECT_EQ(get("default", "key", "fallback"), "fallback");
    EXPECT_EQ(getInt("default", "key", -7), -7);
    EXPECT_FALSE(has("default", "key"));
    EXPECT_FALSE(std::filesystem::exists(m_file));

    ASSERT_EQ(set("default", "key", "stored"), 0);
    EXPECT_EQ(get("other", "key", "fallback"), "fallback");
    EXPECT_EQ(get("default", "other", nullptr), "");
    EXPECT_EQ(get("default", "key", "fallback"), "stored");
}

TEST_F(IniTest, SmallBuffersAreTerminatedAndCutAtWholeCharacters)
{
    ASSERT_EQ(set("s", "k", "abcdef"), 0);
    ASSERT_EQ(set("s", "cjk", "中文"), 0);
    const struct {
        const char* key;
        unsigned int size;
        const char* expected;
        int err;
    } rows[] = {{"k", 4, "abc", ERANGE},
                {"cjk", 6, "中", ERANGE},
                {"cjk", 7, "中文", 0},
                {"missing", 5, "long", ERANGE}};
    for (const auto& row : rows) {
        int err = -1;
        EXPECT_EQ(get("s", row.key, "long default", row.size, &err), row.expected) << row.size;
        EXPECT_EQ(err, row.err) << row.key << " " << row.size;
    }
}

TEST_F(IniTest, IntegersAreParsedFromTheStoredText)
{
    ASSERT_EQ(ZyBase_SetProfileInt(file(), "n", "negative", -2), 0);
    EXPECT_EQ(get("n", "negative"), "-2");
    EXPECT_EQ(getInt("n", "negative", 0), -2);
    const std::pair<const char*, int> rows[] = {
        {"2147483647", 2147483647}, {"12", 12}, {"twelve", 5}, {"12abc", 5},
        {"99999999999", 5},         {"010", 10}, {"0x1A", 5},  {" 42 ", 42}};
    for (const auto& [text, expected] : rows) {
        ASSERT_EQ(set("n", "k", text), 0);
        EXPECT_EQ(getInt("n", "k", 5), expected) << text;
    }
}

TEST_F(IniTest, RemoveSectionLeavesTheOthers)
{
    ASSERT_EQ(set("keep", "a", "1"), 0);
    ASSERT_EQ(set("drop", "a", "2"), 0);
    ASSERT_EQ(set("drop", "b", "3"), 0);
    ASSERT_EQ(set("General", "g", "4"), 0);

    EXPECT_EQ(ZyBase_RemoveProfileSection(file(), "drop"), 0);
    EXPECT_FALSE(has("drop", "a"));
    EXPECT_EQ(ZyBase_RemoveProfileSection(file(), "drop"), ENOENT);
    EXPECT_EQ(ZyBase_RemoveProfileSection(file(), "General"), 0);
    EXPECT_FALSE(has("General", "g"));
    EXPECT_EQ(get("keep", "a"), "1");
    EXPECT_EQ(readFile(m_file).find("drop"), std::string::npos);
}

TEST_F(IniTest, BadArgumentsAndUnreachableFilesAreRefused)
{
    char buf[16];
    int value = 0;
    EXPECT_EQ(ZyBase_GetProfileString(nullptr, "a", "k", "d", buf, sizeof(buf)), EINVAL);
    EXPECT_EQ(ZyBase_GetProfileString(file(), nullptr, "k", "d", buf, sizeof(buf)), EINVAL);
    EXPECT_EQ(ZyBase_GetProfileString(file(), "a", nullptr, "d", buf, sizeof(buf)), EINVAL);
    EXPECT_EQ(ZyBase_GetProfileString(file(), "a", "k", "d", nullptr, 16), EINVAL);
    EXPECT_EQ(ZyBase_GetProfileString(file(), "a", "k", "d", buf, 0), EINVAL);
    EXPECT_EQ(ZyBase_GetProfileInt(file(), "a", "k", 1, nullptr), EINVAL);
    EXPECT_EQ(ZyBase_GetProfileInt(nullptr, "a", "k", 1, &value), EINVAL);
    EXPECT_EQ(value, 1);
    EXPECT_EQ(ZyBase_SetProfileString(file(), "a", "k", nullptr), EINVAL);
    EXPECT_EQ(ZyBase_SetProfileString(file(), nullptr, "k", "v"), EINVAL);
    EXPECT_EQ(ZyBase_SetProfileString(file(), "a", "", "v"), EINVAL);
    EXPECT_EQ(ZyBase_SetProfileInt(nullptr, "a", "k", 1), EINVAL);
    EXPECT_EQ(ZyBase_RemoveProfileSection(file(), nullptr), EINVAL);
    EXPECT_EQ(ZyBase_SearchProfileConfig(file(), "a", nullptr), EINVAL);
    EXPECT_FALSE(std::filesystem::exists(m_file));

    const std::string notADir = m_home.dir() + "/file-not-dir";
    writeFile(notADir, "x");
    EXPECT_NE(ZyBase_SetProfileString((notADir + "/settings.ini").c_str(), "a", "k", "v"), 0);
    EXPECT_EQ(readFile(notADir), "x");
}

// Files written by earlier releases (through QSettings) and by hand read the same.
TEST_F(IniTest, EarlierReleasesFilesRead)
{
    const struct {
        const char* text;
        const char* section;
        const char* key;
        const char* expected;
    } rows[] = {
        {"; a comment\n[General]\ntop=1\n\n[default]\nname=Velmar Scan\n", "default", "name",
         "Velmar Scan"},
        {"[default]\ncurves=a, b\n", "default", "curves", "a, b"},
        {"[General]\ntop=1\n[default]\nk=v\n", "default", "top", "DEFAULT"},
        {"[a%20b]\nequals%3Dkey=\"a=b=c\"\n", "a b", "equals=key", "a=b=c"},
        {"[s]\n%U4E2D%U6587%U952E=中文值\n", "s", "中文键", "中文值"},
        {"[s]\n%E9t%E9=summer\n", "s", "été", "summer"},
        {"[s]\nat=@@Variant(x)\n", "s", "at", "@Variant(x)"},
        {"[s]\ntyped=@ByteArray(x)\n", "s", "typed", "@ByteArray(x)"},
        {"[s]\nedges=\"  padded  \"\n", "s", "edges", "  padded  "},
        {"[s]\nq=\\\"quoted\\\" and \\\\slash\n", "s", "q", "\"quoted\" and \\slash"},
        {"[s]\nctl=a\\tb\\nc\\x1\\x66\n", "s", "ctl", "a\tb\nc\x01" "f"},
        {"[%general]\nk=v\n", "general", "k", "v"},
        {"[s]\nsub\\key=v\n", "s", "sub/key", "v"},
        {"[s]\nk=v ; comment\n", "s", "k", "v"},
        {"[s]\r\nk=crlf\r\n", "s", "k", "crlf"},
        {"[s]\nk=first\nk=second\n", "s", "k", "second"},
        {"[s]\n  k =  spaced  \n", "s", "k", "spaced"},
        {"k=outside\n[s]\nk=inside\n[t]\nk=other\n[s]\nj=split\n", "s", "j", "split"},
        {"[s\nk=unclosed\n", "s", "k", "unclosed"},
    };
    for (const auto& row : rows) {
        writeFile(m_file, row.text);
        EXPECT_EQ(get(row.section, row.key), row.expected) << row.text;
    }
}

// What is written stays readable by earlier releases: their escapes, one line each.
TEST_F(IniTest, WrittenLinesUseTheEarlierEscapes)
{
    const struct {
        const char* section;
        const char* key;
        const char* value;
        const char* line;
    } rows[] = {
        {"s", "中文键", " x;y", "[s]\n%U4E2D%U6587%U952E=\" x;y\"\n"},
        {"a b", "k/e=y", "@at\ttab", "[a%20b]\nk\\e%3Dy=@@at\\ttab\n"},
        {"General", "k", "\x01" "f", "[General]\nk=\\x01\\x66\n"},
    };
    for (const auto& row : rows) {
        std::filesystem::remove(m_file);
        ASSERT_EQ(set(row.section, row.key, row.value), 0);
        EXPECT_EQ(readFile(m_file), row.line);
        EXPECT_EQ(get(row.section, row.key), row.value);
    }
}

// Several processes, each with several threads, write to one file: every value lands.
TEST_F(IniTest, ConcurrentWritersAllLand)
{
    constexpr int kProcesses = 3;
    constexpr int kThreads = 3;
    constexpr int kKeys = 8;
    const auto key = [](int p, int t, int k) {
        return "p" + std::to_string(p) + "t" + std::to_string(t) + "k" + std::to_string(k);
    };
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            std::atomic<int> failures{0};
            std::vector<std::thread> writers;
            for (int t = 0; t < kThreads; ++t) {
                writers.emplace_back([&, t] {
                    for (int k = 0; k < kKeys; ++k) {
                        const std::string name = key(p, t, k);
                        failures += set(t % 2 ? "odd" : "even", name.c_str(), name.c_str()) != 0;
                        failures += ZyBase_SetProfileInt(file(), "ints", name.c_str(), k) != 0;
                    }
                });
            }
            for (auto& writer : writers)
                writer.join();
            _exit(failures.load());
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
    for (int p = 0; p < kProcesses; ++p) {
        for (int t = 0; t < kThreads; ++t) {
            for (int k = 0; k < kKeys; ++k) {
                const std::string name = key(p, t, k);
                EXPECT_EQ(get(t % 2 ? "odd" : "even", name.c_str()), name);
                EXPECT_EQ(getInt("ints", name.c_str(), -1), k);
            }
        }
    }
}
