#include "lexipak.h"

#include "lexipak_table.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::atomic<int> g_fixedCodePage{0};

bool sameToken(const std::string& token, const char* expected)
{
    if (token.size() != std::strlen(expected))
        return false;
    for (std::size_t i = 0; i < token.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(token[i])) != expected[i])
            return false;
    }
    return true;
}

// "zh_CN.UTF-8", "zh_TW@euro", "zh-Hant-HK": language, then script and/or
// territory. A script decides before a territory (zh_Hant_CN is traditional).
int codePageOfLocale(const char* name)
{
    std::string locale(name);
    locale = locale.substr(0, locale.find_first_of(".@"));

    std::vector<std::string> tokens;
    std::size_t start = 0;
    while (start <= locale.size()) {
        const std::size_t end = std::min(locale.find_first_of("_-", start), locale.size());
        tokens.push_back(locale.substr(start, end - start));
        start = end + 1;
    }
    if (tokens.empty() || !sameToken(tokens.front(), "zh"))
        return LEXIPAK_CP_ENGLISH;

    for (const std::string& token : tokens) {
        if (sameToken(token, "hans"))
            return LEXIPAK_CP_SIMPLIFIED_CHINESE;
        if (sameToken(token, "hant"))
            return LEXIPAK_CP_TRADITIONAL_CHINESE;
    }
    for (const std::string& token : tokens) {
        if (sameToken(token, "cn") || sameToken(token, "sg"))
            return LEXIPAK_CP_SIMPLIFIED_CHINESE;
        if (sameToken(token, "tw") || sameToken(token, "hk") || sameToken(token, "mo"))
            return LEXIPAK_CP_TRADITIONAL_CHINESE;
    }
    return LEXIPAK_CP_ENGLISH;
}

bool isDefaultLocale(const char* name)
{
    return std::strcmp(name, "C") == 0 || std::strcmp(name, "POSIX") == 0;
}

// A host that called setlocale() has said what it wants; otherwise the
// environment says it, in the order the C library itself would read it.
const char* effectiveLocale()
{
    const char* set = std::setlocale(LC_MESSAGES, nullptr);
    if (set && *set && !isDefaultLocale(set))
        return set;
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(variable);
        if (value && *value)
            return value;
    }
    return "C";
}

using lexipak::Phrase;
using Column = const char* Phrase::*;

class PhraseIndex
{
public:
    explicit PhraseIndex(Column key)
        : m_key(key)
    {
        m_sorted.reserve(lexipak::kPhraseCount);
        for (std::size_t i = 0; i < lexipak::kPhraseCount; ++i)
            m_sorted.push_back(&lexipak::kPhrases[i]);
        std::sort(m_sorted.begin(), m_sorted.end(), [key](const Phrase* a, const Phrase* b) {
            return std::strcmp(a->*key, b->*key) < 0;
        });
    }

    const Phrase* find(const char* text) const
    {
        const Column key = m_key;
        const auto it = std::lower_bound(m_sorted.begin(), m_sorted.end(), text,
                                         [key](const Phrase* p, const char* t) {
                                             return std::strcmp(p->*key, t) < 0;
                                         });
        if (it == m_sorted.end() || std::strcmp((*it)->*key, text) != 0)
            return nullptr;
        return *it;
    }

private:
    Column m_key;
    std::vector<const Phrase*> m_sorted;
};

struct PhraseBook {
    PhraseIndex simplified{&Phrase::simplified};
    PhraseIndex traditional{&Phrase::traditional};
    PhraseIndex english{&Phrase::english};
};

// Built on first use; the language rules make this initialisation thread-safe.
const PhraseBook& book()
{
    static const PhraseBook instance;
    return instance;
}

} // namespace

extern "C" {

int lang_get_cur_code_page(void)
{
    const int fixed = g_fixedCodePage.load(std::memory_order_relaxed);
    if (fixed > 0)
        return fixed;
    return codePageOfLocale(effectiveLocale());
}

void lang_set_code_page(int code_page)
{
    g_fixedCodePage.store(code_page > 0 ? code_page : 0, std::memory_order_relaxed);
}

const char* from_default_language(const char* text)
{
    if (!text)
        return nullptr;
    const int code_page = lang_get_cur_code_page();
    if (code_page == LEXIPAK_CP_SIMPLIFIED_CHINESE)
        return text;
    const Phrase* entry = book().simplified.find(text);
    if (!entry)
        return text;
    return code_page == LEXIPAK_CP_TRADITIONAL_CHINESE ? entry->traditional : entry->english;
}

const char* to_default_language(const char* text)
{
    if (!text)
        return nullptr;
    // Already the driver's language: nothing to do.
    if (book().simplified.find(text))
        return text;
    if (const Phrase* entry = book().english.find(text))
        return entry->simplified;
    if (const Phrase* entry = book().traditional.find(text))
        return entry->simplified;
    return text;
}

} // extern "C"
