/* libsane-fake: a scriptable SANE driver for tests.
 *
 * The library exports the SANE entry points with the manufacturer name "fake"
 * (sane_fake_init, sane_fake_open, sane_fake_control_option, ...) and the
 * scripting functions below. A test links the library directly and scripts it
 * with fakedriver_*; code under test reaches the same instance through
 * FindFunctions / LoadSaneDriver (the loader returns the already loaded copy)
 * or through fakedriver_sane_api() in fakedriver_api.h.
 *
 * The driver has one device and one option list. Option 0 (the option count)
 * is kept up to date by the driver; every option added gets the next number.
 * Descriptors live until fakedriver_reset() or fakedriver_load_default_script(),
 * so pointers that code under test keeps stay valid while a script runs.
 *
 * control_option behaves as a careful real driver:
 *  - GET_VALUE copies the option's value (strings up to their terminator);
 *    reading an inactive option is allowed.
 *  - SET_VALUE is refused with SANE_STATUS_INVAL for an inactive option, one
 *    without SANE_CAP_SOFT_SELECT, a bool other than 0 or 1, or a string
 *    outside its string list. A value
 *    outside a range or word list is brought to the nearest allowed value (range
 *    clamped and snapped to quant), written back into the caller's buffer and
 *    answered with SANE_INFO_INEXACT. Pressing a button named "restore" returns
 *    every option to its default and answers SANE_INFO_RELOAD_OPTIONS |
 *    SANE_INFO_RELOAD_PARAMS; other buttons only answer.
 *  - SET_AUTO sets the default when the option has SANE_CAP_AUTOMATIC.
 *  - Action 100 (SANE_ACTION_GET_DEFAULT_VALUE) copies the default value.
 *  - Option numbers without a descriptor answer SANE_STATUS_INVAL, unless a
 *    private option of that number was scripted (34906, 34899, ...).
 * A host that loads the library by path and initialises it before anything
 * scripted it (velscan --backend .../libsane-fake.so --manufacturer fake) finds
 * the ready-made scanner of fakedriver_load_default_script.
 *
 * A scripted result (fakedriver_queue_result, fakedriver_set_result) replaces
 * the status and info of a call; a call whose status is not SANE_STATUS_GOOD
 * leaves both the option and the caller's buffer alone.
 *
 * Every function is thread-safe; hooks run with the driver's lock held and may
 * call the fakedriver_* functions.
 */
#ifndef FAKEDRIVER_H
#define FAKEDRIVER_H

#include <sane/sane.h>
#include <stddef.h>

#define FAKEDRIVER_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* ---- the script ---------------------------------------------------------- */

/* Empties everything: options (only option 0 left), private options, devices,
 * scan pages, scripted results, rules, hooks and the call log. Closes the device.
 * Only the translation switch is kept. */
FAKEDRIVER_API void fakedriver_reset(void);

/* Resets and loads a Chinese document scanner (translated when the
 * translation switch is on). Its options, in number order:
 *   1 group  "基本设置"
 *   2 "mode"           string list "颜色模式": "彩色" (default), "灰度", "黑白"
 *   3 "resolution"     int word list "分辨率": 100, 150, 200 (default), 300, 600; unit DPI
 *   4 "paper"          string list "纸张尺寸": "A4" (default), "A5", "B5", "A3", "Letter", "匹配原始尺寸"
 *   5 "page"           string list "扫描页面": "单面", "双面" (default)
 *   6 "is-multiout"    bool "多流输出" (false)
 *   7 "multiout-type"  string list "多流输出类型": "彩色+灰度+黑白" (default), "彩色+灰度",
 *                      "彩色+黑白", "灰度+黑白"; active only while is-multiout is true
 *   8 "is-custom-area" bool "自定义区域" (false)
 *   9..12 "tl-x", "tl-y", "br-x", "br-y"  fixed ranges in mm (0..210 / 0..297, quant 0),
 *                      defaults 0, 0, 210, 297; active only while is-custom-area is true
 *  13 "scan-mode"      string list "扫描方式": "连续扫描" (default), "扫描指定张数"
 *  14 "scan-count"     int range 0..500 "扫描张数" (default 1); active only while
 *                      scan-mode is "扫描指定张数"
 *  15 group  "亮度调节"
 *  16 "brightness"     fixed range -100..100 quant 0 "亮度" (default 0)
 *  17 "contrast"       int range 1..7 quant 1 "对比度" (default 4)
 *  18 "gamma"          fixed range 0.01..5.0 quant 0 "伽马" (default 1.0)
 *  19 "is-custom-gamma" bool "色调曲线" (false)
 *  20 group  "图像处理"
 *  21 "direction"      string list "旋转": "0°" (default), "90°", "180°", "-90°", "自动文本方向识别°"
 *  22 "is-rid-morr"    bool "去除摩尔纹" (false)
 *  23 "is-rid-grid"    bool "除网纹" (false)
 *  24 "discard-blank"  bool "去除空白页" (false)
 *  25 "threshold"      int range 0..255 "阈值" (default 128); active only while mode is "黑白"
 *  26 "anti-noise-level" int range 10..50 "噪点优化尺寸" (default 30)
 *  27 "margin"         int range 0..30 "边缘缩进" (default 5)
 *  28 "sharpen"        string list "锐化与模糊": "无" (default), "锐化", "进一步锐化",
 *                      "模糊", "进一步模糊"
 *  29 "file-prefix"    string, no constraint, size 64 "文件名前缀" (default "scan")
 *  30 "restore"        button "恢复默认设置"
 * Private options: 34906 tone-curve record (1312 bytes: zero 32-byte header,
 * five identity tables), 34899 product id 0x1a2b, 34901 "FS-1000",
 * 34890 "1.0.3.20240105", 34903 "FW2.1.0305", 34902 "FS1000A0012345",
 * 39170 roller count 12345, 34889 history count 67890, 34918 "2023-05-06 09:30:00".
 * Device "fake:FS-1000" (vendor "Fake", model "FS-1000", type "sheetfed scanner").
 * Two pages: 8-bit grey, 32 x 16 pixels, byte (x + 8 * y) & 0xff, as
 * fakedriver_add_test_page makes them. */
FAKEDRIVER_API void fakedriver_load_default_script(void);

/* When on, every text given to the functions below afterwards (titles,
 * descriptions, string lists and string values) goes through the language
 * library's from_default_language first, as a driver that speaks the user's
 * language would show it, in the language library's code page at that time.
 * Off until switched on; a reset keeps it. */
FAKEDRIVER_API void fakedriver_translate_texts(int on);

/* ---- options ------------------------------------------------------------- */

/* Adds any option; the descriptor (strings and constraint included) and the
 * default value (size bytes, or the text for a string; null means zeros) are
 * copied. The current value starts at the default. Returns the option number. */
FAKEDRIVER_API int fakedriver_add_option(const SANE_Option_Descriptor* descriptor,
                                         const void* default_value);

/* Shorthands. Each is settable and detectable (SANE_CAP_SOFT_SELECT |
 * SANE_CAP_SOFT_DETECT) and returns the new option number. */
FAKEDRIVER_API int fakedriver_add_group(const char* title);
FAKEDRIVER_API int fakedriver_add_button(const char* name, const char* title, const char* desc);
FAKEDRIVER_API int fakedriver_add_bool(const char* name, const char* title, const char* desc,
                                       SANE_Bool value);
FAKEDRIVER_API int fakedriver_add_int(const char* name, const char* title, const char* desc,
                                      SANE_Int value);
FAKEDRIVER_API int fakedriver_add_int_range(const char* name, const char* title, const char* desc,
                                            SANE_Int min, SANE_Int max, SANE_Int quant,
                                            SANE_Int value);
/* words: count values (without the leading count word that SANE puts first). */
FAKEDRIVER_API int fakedriver_add_int_list(const char* name, const char* title, const char* desc,
                                           const SANE_Int* words, int count, SANE_Int value);
/* A SANE_TYPE_INT array of count words with a range constraint for each. */
FAKEDRIVER_API int fakedriver_add_int_array(const char* name, const char* title, const char* desc,
                                            int count, SANE_Int min, SANE_Int max,
                                            const SANE_Int* values);
FAKEDRIVER_API int fakedriver_add_fixed_range(const char* name, const char* title,
                                              const char* desc, SANE_Fixed min, SANE_Fixed max,
                                              SANE_Fixed quant, SANE_Fixed value);
/* list: null-terminated. The option's size is the longest entry (or value) + 1. */
FAKEDRIVER_API int fakedriver_add_string_list(const char* name, const char* title,
                                              const char* desc, const char* const* list,
                                              const char* value);
/* A string without constraint, size bytes including the terminator. */
FAKEDRIVER_API int fakedriver_add_string(const char* name, const char* title, const char* desc,
                                         int size, const char* value);

/* The number of the option called name, or -1. */
FAKEDRIVER_API int fakedriver_find(const char* name);
/* The number of options, option 0 included. */
FAKEDRIVER_API int fakedriver_option_count(void);

/* Changes an option's capabilities or unit in place (the descriptor pointer
 * stays the same). Return 0, or -1 for an unknown option. */
FAKEDRIVER_API int fakedriver_set_cap(int option, SANE_Int cap);
FAKEDRIVER_API SANE_Int fakedriver_get_cap(int option);
FAKEDRIVER_API int fakedriver_set_active(int option, int active);
FAKEDRIVER_API int fakedriver_set_unit(int option, SANE_Unit unit);
/* Withholds the option's descriptor (get_option_descriptor answers null) while on. */
FAKEDRIVER_API int fakedriver_hide_descriptor(int option, int hidden);

/* ---- values -------------------------------------------------------------- */

/* Sets the current (or default) value without a driver call: size bytes, at
 * most the option's size (a string is copied up to its terminator).
 * Return 0, or -1 for an unknown option or a value that does not fit. */
FAKEDRIVER_API int fakedriver_set_value(int option, const void* value, size_t size);
FAKEDRIVER_API int fakedriver_set_default(int option, const void* value, size_t size);
FAKEDRIVER_API int fakedriver_set_word(int option, SANE_Word value);
FAKEDRIVER_API int fakedriver_set_string(int option, const char* value);

/* Copies the current value into buffer (at most size bytes); returns the
 * option's size, or -1 for an unknown option. */
FAKEDRIVER_API int fakedriver_get_value(int option, void* buffer, size_t size);
/* The first word of the current value (0 for an unknown option). */
FAKEDRIVER_API SANE_Word fakedriver_get_word(int option);
/* The current string value; valid until the value changes or the script is reset.
 * "" for an unknown option. */
FAKEDRIVER_API const char* fakedriver_get_string(int option);
FAKEDRIVER_API SANE_Word fakedriver_get_default_word(int option);
FAKEDRIVER_API const char* fakedriver_get_default_string(int option);

/* Sets every option to its default, as the "restore" button does. */
FAKEDRIVER_API void fakedriver_restore_defaults(void);

/* ---- private options (no descriptor) ------------------------------------- */

/* A get copies the stored bytes into the caller's buffer (a text with its
 * terminator); a set stores as many bytes as the option holds now (a data
 * record keeps its length, a word reads 4 bytes, a text reads up to its
 * terminator, at most 4096 bytes). Like a real driver, a set of the 1312-byte
 * tone curve reads 1312 bytes whatever the caller's buffer holds. */
FAKEDRIVER_API void fakedriver_set_private_data(int option, const void* data, size_t size);
FAKEDRIVER_API void fakedriver_set_private_word(int option, SANE_Word value);
FAKEDRIVER_API void fakedriver_set_private_text(int option, const char* text);
FAKEDRIVER_API void fakedriver_remove_private(int option);
/* Copies the stored bytes; returns their count, or -1 when there is no such option. */
FAKEDRIVER_API int fakedriver_get_private(int option, void* buffer, size_t size);

/* ---- scripted answers ---------------------------------------------------- */

/* The next control_option(option, action) answers status with info (one-shot,
 * first in first out per option and action). With SANE_STATUS_GOOD the call
 * still does its work and the info bits are added to its own. */
FAKEDRIVER_API void fakedriver_queue_result(int option, SANE_Action action, SANE_Status status,
                                            SANE_Int info);
/* Every control_option(option, action) answers so until cleared; queued
 * results go first. */
FAKEDRIVER_API void fakedriver_set_result(int option, SANE_Action action, SANE_Status status,
                                          SANE_Int info);
FAKEDRIVER_API void fakedriver_clear_result(int option, SANE_Action action);

/* The next SET_VALUE of option stores value (size bytes) instead of what the
 * caller sent, writes it back into the caller's buffer and answers
 * SANE_INFO_INEXACT: a driver adjusting a value its own way. */
FAKEDRIVER_API void fakedriver_queue_inexact(int option, const void* value, size_t size);

/* Option target is active exactly while option holds the string value (or the
 * word value). Rules are applied when the controlling option is set, when
 * defaults are restored and when the rule is added; a set of a controlling
 * option answers SANE_INFO_RELOAD_OPTIONS. Several rules for one target: active
 * while any holds. */
FAKEDRIVER_API void fakedriver_active_when_string(int target, int option, const char* value);
FAKEDRIVER_API void fakedriver_active_when_word(int target, int option, SANE_Word value);

/* Called after every control_option that the driver carried out (status GOOD),
 * with the caller's buffer (value may be null) and the info bits so far, which
 * the hook may change. Set SANE_INFO_RELOAD_OPTIONS after changing caps. */
typedef void (*fakedriver_hook)(void* context, int option, SANE_Action action, void* value,
                                SANE_Int* info);
FAKEDRIVER_API void fakedriver_set_hook(fakedriver_hook hook, void* context);

/* Entry points whose status can be scripted, and log entries. */
enum fakedriver_entry {
    FAKEDRIVER_INIT = 0,
    FAKEDRIVER_EXIT,
    FAKEDRIVER_GET_DEVICES,
    FAKEDRIVER_OPEN,
    FAKEDRIVER_CLOSE,
    FAKEDRIVER_GET_PARAMETERS,
    FAKEDRIVER_START,
    FAKEDRIVER_READ,
    FAKEDRIVER_CANCEL,
    FAKEDRIVER_SET_IO_MODE,
    FAKEDRIVER_GET_SELECT_FD,
    FAKEDRIVER_CONTROL_OPTION
};

/* The next call of entry (one of INIT, GET_DEVICES, OPEN, GET_PARAMETERS,
 * START, READ) answers status without doing anything else. */
FAKEDRIVER_API void fakedriver_queue_status(enum fakedriver_entry entry, SANE_Status status);

/* ---- devices and scanning ------------------------------------------------ */

FAKEDRIVER_API void fakedriver_add_device(const char* name, const char* vendor, const char* model,
                                          const char* type);

/* Queues one page: its parameters and its bytes (copied). sane_start takes the
 * next page (SANE_STATUS_NO_DOCS when none is left), sane_read hands out its
 * bytes in pieces of at most max_length (and at most the read chunk) and then
 * answers SANE_STATUS_EOF. */
FAKEDRIVER_API void fakedriver_add_page(const SANE_Parameters* parameters, const void* data,
                                        size_t size);
/* A grey 8-bit page of width x height with byte (x + 8 * y) & 0xff. */
FAKEDRIVER_API void fakedriver_add_test_page(int width, int height);
FAKEDRIVER_API int fakedriver_pages_left(void);
/* Largest piece one sane_read returns (0: no limit, the default). */
FAKEDRIVER_API void fakedriver_set_read_chunk(int bytes);

/* 1 while a device is open. */
FAKEDRIVER_API int fakedriver_is_open(void);

/* ---- call log ------------------------------------------------------------ */

typedef struct fakedriver_call {
    enum fakedriver_entry entry;
    SANE_Int option;                /* control_option only, else -1 */
    SANE_Int action;                /* control_option only, else -1 */
    SANE_Status status;             /* what the call answered */
    SANE_Int info;                  /* info bits answered (control_option) */
    int info_given;                 /* the caller passed an info pointer */
    int value_given;                /* the caller passed a value buffer */
    size_t value_size;
    const unsigned char* value;     /* set: the bytes the caller sent, as far as the option's
                                       size reaches (a string up to its terminator); get: the
                                       bytes the driver wrote; null when none; valid until
                                       the log is cleared */
} fakedriver_call;

/* Calls of every entry point except get_option_descriptor and strstatus. */
FAKEDRIVER_API int fakedriver_log_count(void);
/* Copies entry index into call; returns 0, or -1 when there is none. */
FAKEDRIVER_API int fakedriver_log_get(int index, fakedriver_call* call);
/* The index of the first control_option call of option with action at or after
 * from (action -1: any action), or -1. */
FAKEDRIVER_API int fakedriver_log_find(int option, int action, int from);
/* The number of control_option calls of option with action (-1: any). */
FAKEDRIVER_API int fakedriver_log_count_of(int option, int action);
FAKEDRIVER_API void fakedriver_log_clear(void);

/* ---- the SANE entry points ----------------------------------------------- */

FAKEDRIVER_API SANE_Status sane_fake_init(SANE_Int* version_code, SANE_Auth_Callback authorize);
FAKEDRIVER_API void sane_fake_exit(void);
FAKEDRIVER_API SANE_Status sane_fake_get_devices(const SANE_Device*** device_list,
                                                 SANE_Bool local_only);
FAKEDRIVER_API SANE_Status sane_fake_open(SANE_String_Const name, SANE_Handle* handle);
FAKEDRIVER_API void sane_fake_close(SANE_Handle handle);
FAKEDRIVER_API const SANE_Option_Descriptor* sane_fake_get_option_descriptor(SANE_Handle handle,
                                                                             SANE_Int option);
FAKEDRIVER_API SANE_Status sane_fake_control_option(SANE_Handle handle, SANE_Int option,
                                                    SANE_Action action, void* value,
                                                    SANE_Int* info);
FAKEDRIVER_API SANE_Status sane_fake_get_parameters(SANE_Handle handle, SANE_Parameters* params);
FAKEDRIVER_API SANE_Status sane_fake_start(SANE_Handle handle);
FAKEDRIVER_API SANE_Status sane_fake_read(SANE_Handle handle, SANE_Byte* data,
                                          SANE_Int max_length, SANE_Int* length);
FAKEDRIVER_API void sane_fake_cancel(SANE_Handle handle);
FAKEDRIVER_API SANE_Status sane_fake_set_io_mode(SANE_Handle handle, SANE_Bool non_blocking);
FAKEDRIVER_API SANE_Status sane_fake_get_select_fd(SANE_Handle handle, SANE_Int* fd);
FAKEDRIVER_API SANE_String_Const sane_fake_strstatus(SANE_Status status);

#ifdef __cplusplus
}
#endif

#endif
