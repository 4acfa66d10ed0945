// INI files: round trips of awkward text, defaults, sections, integers, concurrency.
#include "temp_home.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <thread>
#include <utility>
#include <vector>

namespace {

class IniTest : public HomeTest
{
protected:
    void SetUp() override
    {
        HomeTest::SetUp();
        m_file = m_home.dir() + "/settings.ini";
    }

    std::string get(const char* app, const char* key, const char* def = "DEFAULT",
                    unsigned int size = 4096, int* err = nullptr) const
    {
        std::vector<char> buf(size, 'Z');
        const int result = ZyBase_GetProfileString(m_file.c_str(), app, key, def, buf.data(), size);
        if (err)
            *err = result;
        else
            EXPECT_EQ(result, 0);
        return buf.data();
    }

    int getInt(const char* app, const char* key, int def) const
    {
        int value = def + 1;
        EXPECT_EQ(ZyBase_GetProfileInt(m_file.c_str(), app, key, def, &value), 0);
        return value;
    }

    int set(const char* app, const char* key, const char* value) const
    {
        return ZyBase_SetProfileString(m_file.c_str(), app, key, value);
    }

    bool has(const char* app, const char* key) const
    {
        const int result = ZyBase_SearchProfileConfig(m_file.c_str(), app, key);
        EXPECT_TRUE(result == 0 || result == ENOENT) << result;
        return result == 0;
    }

    std::string m_file;
};

} // namespace

TEST_F(IniTest, AwkwardKeysAndValuesRoundTrip)
{
    const std::vector<std::pair<std::string, std::string>> pairs = {
        {"plain", "value"},
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
    EXPECT_EQ(get("default", "other", "fallback"), "fallback");
    EXPECT_EQ(get("default", "other", nullptr), "");
    EXPECT_EQ(get("default", "key", "fallback"), "stored");
}

TEST_F(IniTest, SmallBuffersAreTerminatedAndCutAtWholeCharacters)
{
    ASSERT_EQ(set("s", "k", "abcdef"), 0);
    int err = 0;
    EXPECT_EQ(get("s", "k", "", 4, &err), "abc");
    EXPECT_EQ(err, ERANGE);

    ASSERT_EQ(set("s", "cjk", "中文"), 0);
    EXPECT_EQ(get("s", "cjk", "", 6, &err), "中");
    EXPECT_EQ(err, ERANGE);
    EXPECT_EQ(get("s", "cjk", "", 7, &err), "中文");
    EXPECT_EQ(err, 0);

    EXPECT_EQ(get("s", "missing", "long default", 5, &err), "long");
    EXPECT_EQ(err, ERANGE);
}

TEST_F(IniTest, IntegersAreParsedFromTheStoredText)
{
    ASSERT_EQ(ZyBase_SetProfileInt(m_file.c_str(), "n", "negative", -2), 0);
    ASSERT_EQ(ZyBase_SetProfileInt(m_file.c_str(), "n", "max", 2147483647), 0);
    ASSERT_EQ(set("n", "text", "12"), 0);
    ASSERT_EQ(set("n", "word", "twelve"), 0);
    ASSERT_EQ(set("n", "mixed", "12abc"), 0);
    ASSERT_EQ(set("n", "huge", "99999999999"), 0);
    ASSERT_EQ(set("n", "leadingZero", "010"), 0);
    ASSERT_EQ(set("n", "hex", "0x1A"), 0);
    ASSERT_EQ(set("n", "padded", " 42 "), 0);
    EXPECT_EQ(getInt("n", "negative", 0), -2);
    EXPECT_EQ(getInt("n", "max", 0), 2147483647);
    EXPECT_EQ(getInt("n", "text", 0), 12);
    EXPECT_EQ(getInt("n", "word", 5), 5);
    EXPECT_EQ(getInt("n", "mixed", 5), 5);
    EXPECT_EQ(getInt("n", "huge", 5), 5);
    EXPECT_EQ(getInt("n", "leadingZero", 5), 10);
    EXPECT_EQ(getInt("n", "hex", 5), 5);
    EXPECT_EQ(getInt("n", "padded", 5), 42);
    EXPECT_EQ(get("n", "negative"), "-2");
}

TEST_F(IniTest, HandWrittenFilesAreRead)
{
    writeFile(m_file, "; a comment\n[General]\ntop=1\n\n[default]\ncutLeftvalue = 42\nname=Velmar Scan\n"
                      "curves=a, b\n");
    EXPECT_EQ(getInt("default", "cutLeftvalue", 0), 42);
    EXPECT_EQ(get("default", "name"), "Velmar Scan");
    EXPECT_EQ(get("default", "curves"), "a, b");
    EXPECT_EQ(get("General", "top"), "1");
    EXPECT_FALSE(has("default", "top"));
}

TEST_F(IniTest, RemoveSectionLeavesTheOthers)
{
    ASSERT_EQ(set("keep", "a", "1"), 0);
    ASSERT_EQ(set("drop", "a", "2"), 0);
    ASSERT_EQ(set("drop", "b", "3"), 0);
    ASSERT_EQ(set("General", "g", "4"), 0);

    EXPECT_EQ(ZyBase_RemoveProfileSection(m_file.c_str(), "drop"), 0);
    EXPECT_FALSE(has("drop", "a"));
    EXPECT_FALSE(has("drop", "b"));
    EXPECT_EQ(get("keep", "a"), "1");
    EXPECT_EQ(ZyBase_RemoveProfileSection(m_file.c_str(), "drop"), ENOENT);

    EXPECT_EQ(ZyBase_RemoveProfileSection(m_file.c_str(), "General"), 0);
    EXPECT_FALSE(has("General", "g"));
    EXPECT_EQ(get("keep", "a"), "1");
    EXPECT_EQ(readFile(m_file).find("drop"), std::string::npos);
}

TEST_F(IniTest, NullArgumentsAreRefused)
{
    char buf[16];
    int value = 0;
    const char* const file = m_file.c_str();
    EXPECT_EQ(ZyBase_GetProfileString(nullptr, "a", "k", "d", buf, sizeof(buf)), EINVAL);
    EXPECT_EQ(ZyBase_GetProfileString(file, nullptr, "k", "d", buf, sizeof(buf)), EINVAL);
    EXPECT_EQ(ZyBase_GetProfileString(file, "a", nullptr, "d", buf, sizeof(buf)), EINVAL);
    EXPECT_EQ(ZyBase_GetProfileString(file, "a", "k", "d", nullptr, 16), EINVAL);
    EXPECT_EQ(ZyBase_GetProfileString(file, "a", "k", "d", buf, 0), EINVAL);
    EXPECT_EQ(ZyBase_GetProfileInt(file, "a", "k", 1, nullptr), EINVAL);
    EXPECT_EQ(ZyBase_GetProfileInt(nullptr, "a", "k", 1, &value), EINVAL);
    EXPECT_EQ(value, 1);
    EXPECT_EQ(ZyBase_SetProfileString(file, "a", "k", nullptr), EINVAL);
    EXPECT_EQ(ZyBase_SetProfileString(file, nullptr, "k", "v"), EINVAL);
    EXPECT_EQ(ZyBase_SetProfileString(file, "a", "", "v"), EINVAL);
    EXPECT_EQ(ZyBase_SetProfileInt(nullptr, "a", "k", 1), EINVAL);
    EXPECT_EQ(ZyBase_RemoveProfileSection(file, nullptr), EINVAL);
    EXPECT_EQ(ZyBase_SearchProfileConfig(file, "a", nullptr), EINVAL);
    EXPECT_FALSE(std::filesystem::exists(m_file));
}

TEST_F(IniTest, WritesBelowAFileFailWithoutCrashing)
{
    const std::string unreachable = m_home.dir() + "/file-not-dir";
    writeFile(unreachable, "x");
    const std::string inside = unreachable + "/settings.ini";
    EXPECT_NE(ZyBase_SetProfileString(inside.c_str(), "a", "k", "v"), 0);
    EXPECT_EQ(readFile(unreachable), "x");
}

TEST_F(IniTest, ConcurrentWritersToOneFileAllLand)
{
    constexpr int kThreads = 6;
    constexpr int kKeys = 15;
    std::vector<std::thread> writers;
    for (int t = 0; t < kThreads; ++t) {
        writers.emplace_back([this, t] {
            for (int k = 0; k < kKeys; ++k) {
                const std::string key = "t" + std::to_string(t) + "k" + std::to_string(k);
                ZyBase_SetProfileString(m_file.c_str(), t % 2 ? "odd" : "even", key.c_str(), key.c_str());
                ZyBase_SetProfileInt(m_file.c_str(), "ints", key.c_str(), t * 100 + k);
            }
        });
    }
    for (auto& writer : writers)
        writer.join();
    for (int t = 0; t < kThreads; ++t) {
        for (int k = 0; k < kKeys; ++k) {
            const std::string key = "t" + std::to_string(t) + "k" + std::to_string(k);
            EXPECT_EQ(get(t % 2 ? "odd" : "even", key.c_str()), key);
            EXPECT_EQ(getInt("ints", key.c_str(), -1), t * 100 + k);
        }
    }
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

TEST_F(IniTest, WritersInOtherProcessesAllLand)
{
    constexpr int kProcesses = 3;
    constexpr int kKeys = 10;
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            int failures = 0;
            for (int k = 0; k < kKeys; ++k) {
                const std::string key = "p" + std::to_string(p) + "k" + std::to_string(k);
                failures += set("procs", key.c_str(), key.c_str()) != 0;
            }
            _exit(failures);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
    for (int p = 0; p < kProcesses; ++p) {
        for (int k = 0; k < kKeys; ++k) {
            const std::string key = "p" + std::to_string(p) + "k" + std::to_string(k);
            EXPECT_EQ(get("procs", key.c_str()), key);
        }
    }
}
