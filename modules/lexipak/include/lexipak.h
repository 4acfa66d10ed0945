// liblexipak: the user's code page and translation of driver option texts.
#ifndef LEXIPAK_H
#define LEXIPAK_H

#define LEXIPAK_API __attribute__((visibility("default")))

#define LEXIPAK_CP_SIMPLIFIED_CHINESE 936
#define LEXIPAK_CP_TRADITIONAL_CHINESE 950
#define LEXIPAK_CP_ENGLISH 1252

#ifdef __cplusplus
extern "C" {
#endif

// 936 for zh_CN/zh_SG, 950 for zh_TW/zh_HK/zh_MO, else 1252; read from the
// process locale (LC_ALL, LC_MESSAGES, LANG) unless a code page was set.
LEXIPAK_API int lang_get_cur_code_page(void);
// Test and host seam: fixes the code page (0 returns to the process locale).
LEXIPAK_API void lang_set_code_page(int code_page);

// Driver text (UTF-8 Chinese) in the user's language; unknown texts come back
// as the same pointer. The result stays valid for the life of the process.
LEXIPAK_API const char* from_default_language(const char* text);
// The reverse: a text in the user's language back to the driver's Chinese.
LEXIPAK_API const char* to_default_language(const char* text);

#ifdef __cplusplus
}
#endif

#endif
