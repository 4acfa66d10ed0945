// liblexipak: the user's code page and translation of driver option texts.
#ifndef LEXIPAK_H
#define LEXIPAK_H

#include "lexipak_export.h"

#define LEXIPAK_CP_SIMPLIFIED_CHINESE 936
#define LEXIPAK_CP_TRADITIONAL_CHINESE 950
#define LEXIPAK_CP_ENGLISH 1252

#ifdef __cplusplus
extern "C" {
#endif

// 936 for zh_CN/zh_SG/zh_Hans, 950 for zh_TW/zh_HK/zh_MO/zh_Hant, else 1252.
// Read from the locale the process set (setlocale, LC_MESSAGES) or, when it set
// none, from the environment (LC_ALL, LC_MESSAGES, LANG), unless a code page was
// fixed with lang_set_code_page. Evaluated on every call.
LEXIPAK_API int lang_get_cur_code_page(void);
// Test and host seam: fixes the code page (0 or less returns to the locale).
LEXIPAK_API void lang_set_code_page(int code_page);

// Driver text (UTF-8 Simplified Chinese) in the user's language: unchanged for
// 936, Traditional Chinese for 950, English otherwise. Unknown texts, and all
// texts under 936, come back as the same pointer; null gives null. The result
// stays valid for the life of the process.
LEXIPAK_API const char* from_default_language(const char* text);
// The reverse: an English or Traditional Chinese text back to the driver's
// Simplified Chinese, whatever the code page. Simplified and unknown texts come
// back as the same pointer; null gives null.
LEXIPAK_API const char* to_default_language(const char* text);

#ifdef __cplusplus
}
#endif

#endif
