// INI files: round trips of awkward text, defaults, sections, integers, concurrency.
#include "temp_home.h"

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
