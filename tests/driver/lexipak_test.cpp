// The language library: code page from the locale, and option texts both ways.
#include "lexipak.h"
#include "lexipak_table.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// Clears the locale variables for each test and puts them back afterwards.
class language : public ::testing::Test
{
protected:
    void SetUp() override { lang_set_code_page(0); }
    void TearDown() override { lang_set_code_page(0); }

    const veltest::ScopedEnv m_all{"LC_ALL"};
    const veltest::ScopedEnv m_messages{"LC_MESSAGES"};
    const veltest::ScopedEnv m_lang{"LANG"};
};

} // namespace

TEST_F(language, CodePageFromTheLocaleVariables)
{
    const std::pair<const char*, int> langs[] = {
        {"zh_CN.UTF-8", 936}, {"zh_CN", 936},      {"zh_SG.GBK", 936},        {"zh_cn.utf8", 936},
        {"zh_Hans", 936},     {"zh-Hans-CN", 936}, {"zh_TW.UTF-8", 950},      {"zh_HK.BIG5-HKSCS", 950},
        {"zh_MO", 950},       {"zh_TW@radical", 950}, {"zh_Hant", 950},
        {"zh-Hant-CN", 950}, // the script decides over the territory
        {"en_US.UTF-8", 1252}, {"de_DE", 1252},    {"zh", 1252},              {"zhx_CN", 1252},
        {"C", 1252},          {"", 1252}};
    for (const auto& [lang, code_page] : langs) {
        setenv("LANG", lang, 1);
        EXPECT_EQ(lang_get_cur_code_page(), code_page) << lang;
    }
    unsetenv("LANG");
    EXPECT_EQ(lang_get_cur_code_page(), 1252);

    // LC_ALL, then LC_MESSAGES, then LANG; an empty variable is skipped.
    setenv("LANG", "zh_CN.UTF-8", 1);
    setenv("LC_MESSAGES", "zh_TW.UTF-8", 1);
    EXPECT_EQ(lang_get_cur_code_page(), 950);
    setenv("LC_ALL", "en_GB.UTF-8", 1);
    EXPECT_EQ(lang_get_cur_code_page(), 1252);
    setenv("LC_ALL", "", 1);
    EXPECT_EQ(lang_get_cur_code_page(), 950);
    unsetenv("LC_MESSAGES");
    EXPECT_EQ(lang_get_cur_code_page(), 936);

    // A fixed code page overrides the locale; 0 or less follows it again.
    lang_set_code_page(950);
    setenv("LANG", "en_US.UTF-8", 1);
    EXPECT_EQ(lang_get_cur_code_page(), 950);
    lang_set_code_page(-5);
    EXPECT_EQ(lang_get_cur_code_page(), 1252);
}

TEST_F(language, LocaleSetByTheProcessWins)
{
    setenv("LANG", "zh_CN.UTF-8", 1);
    const std::string before = std::setlocale(LC_MESSAGES, nullptr);
    if (!std::setlocale(LC_MESSAGES, "C.UTF-8"))
        GTEST_SKIP() << "C.UTF-8 locale not available";
    EXPECT_EQ(lang_get_cur_code_page(), 1252);
    std::setlocale(LC_MESSAGES, before.c_str());
    EXPECT_EQ(lang_get_cur_code_page(), 936) << "back to the environment";
}

// The phrase table itself is checked entry by entry below; these are the rules around it.
TEST_F(language, TranslationFollowsTheCodePage)
{
    const char* grey = "灰度";
    lang_set_code_page(936);
    EXPECT_EQ(from_default_language(grey), grey) << "the driver's own language is returned as is";
    EXPECT_EQ(to_default_language(grey), grey);
    EXPECT_STREQ(to_default_language("Black & White"), "黑白") << "English is understood in any language";
    lang_set_code_page(437);
    EXPECT_STREQ(from_default_language("分辨率"), "Resolution") << "any other code page is English";
    EXPECT_STREQ(to_default_language("灰階"), "灰度");
    EXPECT_STREQ(to_default_language("gray"), "gray") << "lookups are exact";
    setenv("LANG", "zh_TW.UTF-8", 1);
    lang_set_code_page(0);
    EXPECT_STREQ(from_default_language("分辨率"), "解析度");
}

TEST_F(language, UnknownAndNullTexts)
{
    const char* unknown = "A4";
    const char* mixed = "灰度 ";
    for (int code_page : {936, 950, 1252}) {
        lang_set_code_page(code_page);
        EXPECT_EQ(from_default_language(unknown), unknown) << code_page;
        EXPECT_EQ(from_default_language(mixed), mixed) << code_page;
        EXPECT_EQ(to_default_language(unknown), unknown) << code_page;
        EXPECT_EQ(from_default_language(""), to_default_language("")) << code_page;
        EXPECT_EQ(from_default_language(nullptr), nullptr);
        EXPECT_EQ(to_default_language(nullptr), nullptr);
    }
}

// Each column must be unique, or some text would translate to the wrong entry.
TEST_F(language, EveryPhraseTranslatesBothWays)
{
    for (std::size_t i = 0; i < lexipak::k_phrase_count; ++i) {
        const lexipak::phrase& p = lexipak::k_phrases[i];
        lang_set_code_page(1252);
        EXPECT_STREQ(from_default_language(p.simplified), p.english) << p.simplified;
        lang_set_code_page(950);
        EXPECT_STREQ(from_default_language(p.simplified), p.traditional) << p.simplified;
        EXPECT_STREQ(to_default_language(p.english), p.simplified) << p.english;
        EXPECT_STREQ(to_default_language(p.traditional), p.simplified) << p.traditional;
    }
}
