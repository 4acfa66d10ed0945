// The language library: code page from the locale, and option texts both ways.
#include "lexipak.h"
#include "lexipak_table.h"

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
    void SetUp() override
    {
        for (int i = 0; i < 3; ++i) {
            const char* value = std::getenv(k_variables[i]);
            m_saved[i] = value ? value : "";
            m_had[i] = value != nullptr;
            unsetenv(k_variables[i]);
        }
        lang_set_code_page(0);
    }
    void TearDown() override
    {
        for (int i = 0; i < 3; ++i) {
            if (m_had[i])
                setenv(k_variables[i], m_saved[i].c_str(), 1);
            else
                unsetenv(k_variables[i]);
        }
        lang_set_code_page(0);
    }

    static constexpr const char* k_variables[3] = {"LC_ALL", "LC_MESSAGES", "LANG"};
    std::string m_saved[3];
    bool m_had[3] = {};
};

int code_page_for_lang(const char* lang)
{
    setenv("LANG", lang, 1);
    return lang_get_cur_code_page();
}

} // namespace

TEST_F(language, CodePageFromLang)
{
    EXPECT_EQ(code_page_for_lang("zh_CN.UTF-8"), 936);
    EXPECT_EQ(code_page_for_lang("zh_CN"), 936);
    EXPECT_EQ(code_page_for_lang("zh_SG.GBK"), 936);
    EXPECT_EQ(code_page_for_lang("zh_cn.utf8"), 936);
    EXPECT_EQ(code_page_for_lang("zh_Hans"), 936);
    EXPECT_EQ(code_page_for_lang("zh-Hans-CN"), 936);
    EXPECT_EQ(code_page_for_lang("zh_TW.UTF-8"), 950);
    EXPECT_EQ(code_page_for_lang("zh_HK.BIG5-HKSCS"), 950);
    EXPECT_EQ(code_page_for_lang("zh_MO"), 950);
    EXPECT_EQ(code_page_for_lang("zh_TW@radical"), 950);
    EXPECT_EQ(code_page_for_lang("zh_Hant"), 950);
    EXPECT_EQ(code_page_for_lang("zh-Hant-CN"), 950) << "the script decides over the territory";
    EXPECT_EQ(code_page_for_lang("en_US.UTF-8"), 1252);
    EXPECT_EQ(code_page_for_lang("de_DE"), 1252);
    EXPECT_EQ(code_page_for_lang("zh"), 1252);
    EXPECT_EQ(code_page_for_lang("zhx_CN"), 1252);
    EXPECT_EQ(code_page_for_lang("C"), 1252);
    EXPECT_EQ(code_page_for_lang(""), 1252);
    unsetenv("LANG");
    EXPECT_EQ(lang_get_cur_code_page(), 1252);
}

TEST_F(language, LcAllThenLcMessagesThenLang)
{
    setenv("LANG", "zh_CN.UTF-8", 1);
    setenv("LC_MESSAGES", "zh_TW.UTF-8", 1);
    EXPECT_EQ(lang_get_cur_code_page(), 950);
    setenv("LC_ALL", "en_GB.UTF-8", 1);
    EXPECT_EQ(lang_get_cur_code_page(), 1252);
    setenv("LC_ALL", "", 1);
    EXPECT_EQ(lang_get_cur_code_page(), 950) << "an empty variable is skipped";
    unsetenv("LC_MESSAGES");
    EXPECT_EQ(lang_get_cur_code_page(), 936);
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

TEST_F(language, FixedCodePageOverridesTheLocale)
{
    setenv("LANG", "en_US.UTF-8", 1);
    lang_set_code_page(950);
    EXPECT_EQ(lang_get_cur_code_page(), 950);
    lang_set_code_page(936);
    EXPECT_EQ(lang_get_cur_code_page(), 936);
    lang_set_code_page(0);
    EXPECT_EQ(lang_get_cur_code_page(), 1252);
    lang_set_code_page(-5);
    EXPECT_EQ(lang_get_cur_code_page(), 1252);
}

TEST_F(language, FromDefaultLanguageFollowsTheCodePage)
{
    const char* grey = "灰度";
    lang_set_code_page(936);
    EXPECT_EQ(from_default_language(grey), grey) << "the driver's own language is returned as is";
    lang_set_code_page(950);
    EXPECT_STREQ(from_default_language(grey), "灰階");
    EXPECT_STREQ(from_default_language("恢复默认设置"), "恢復預設設定");
    lang_set_code_page(1252);
    EXPECT_STREQ(from_default_language(grey), "Gray");
    EXPECT_STREQ(from_default_language("基本设置"), "Basic Settings");
    EXPECT_STREQ(from_default_language("自动文本方向识别°"), "Auto Text Orientation°");
    lang_set_code_page(437);
    EXPECT_STREQ(from_default_language("分辨率"), "Resolution") << "any other code page is English";

    setenv("LANG", "zh_TW.UTF-8", 1);
    lang_set_code_page(0);
    EXPECT_STREQ(from_default_language("分辨率"), "解析度");
}

TEST_F(language, ToDefaultLanguageFromEitherLanguage)
{
    lang_set_code_page(1252);
    EXPECT_STREQ(to_default_language("Gray"), "灰度");
    EXPECT_STREQ(to_default_language("灰階"), "灰度");
    EXPECT_STREQ(to_default_language("Restore Defaults"), "恢复默认设置");
    lang_set_code_page(936);
    EXPECT_STREQ(to_default_language("Black & White"), "黑白");
    const char* simplified = "颜色模式";
    EXPECT_EQ(to_default_language(simplified), simplified);
    EXPECT_STREQ(to_default_language("gray"), "gray") << "lookups are exact";
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
