// libVelBase: events, threads, logging, library loading, INI files, paths and images.
// Every function returns 0 on success or an errno value (EINVAL for a null or bad
// argument, ENOENT for a missing file, library, symbol, section or key, ENOMEM,
// ETIMEDOUT for a wait that ran out, ERANGE when a buffer is too small).
#ifndef ZYBASE_H
#define ZYBASE_H

#include "velbase_export.h"

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

// ---- events and threads ---------------------------------------------------
typedef struct ZyEvent_* ZyEvent;
typedef struct ZyThread_* ZyThread;
typedef void (*ZyThreadProc)(void* param);

#define ZYBASE_INFINITE (-1)

ZYBASE_API int ZyBase_CreateEvent(int manual_reset, int initially_set, ZyEvent* event);
ZYBASE_API int ZyBase_SetEvent(ZyEvent event);
ZYBASE_API int ZyBase_ResetEvent(ZyEvent event);
// timeout_ms < 0 waits for ever. An auto-reset event is reset by the wait that sees it.
ZYBASE_API int ZyBase_WaitEvent(ZyEvent event, int timeout_ms);
ZYBASE_API int ZyBase_DestroyEvent(ZyEvent event);

ZYBASE_API int ZyBase_OpenThread(ZyThreadProc proc, void* param, ZyThread* thread);
// Waits until the thread has returned; timeout_ms < 0 waits for ever.
ZYBASE_API int ZyBase_WaitThread(ZyThread thread, int timeout_ms);
// Releases the handle; a thread still running goes on to its end on its own.
ZYBASE_API int ZyBase_CloseThread(ZyThread thread);

// ---- logging --------------------------------------------------------------
// Levels are bits; a line is written when its level is in the mask (all by default).
#define ZYBASE_LOG_ERROR 1
#define ZYBASE_LOG_WARNING 2
#define ZYBASE_LOG_INFO 4
#define ZYBASE_LOG_DEBUG 8

ZYBASE_API int ZyBase_WriteInfo(int level, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
ZYBASE_API int ZyBase_SetLogMask(int mask);
// Also copy log lines to stderr; off unless the host asks for it.
ZYBASE_API int ZyBase_SetLogEcho(int on);
// The log file: <config path>log/<process name>.log
ZYBASE_API int ZyBase_GetLogFile(char* buf, unsigned int size);

// ---- driver libraries -----------------------------------------------------
typedef struct ZyDll_ ZyDll;

ZYBASE_API int ZyBase_CreateDll(const char* path, ZyDll** dll);
ZYBASE_API int ZyBase_GetDllProcAddress(ZyDll* dll, const char* name, void** proc);
ZYBASE_API int ZyBase_DestroyDll(ZyDll* dll);

// ---- paths, directories and files -----------------------------------------
// The user's home directory from the password database, unless overridden.
ZYBASE_API int ZyBase_GetHomeDir(char* buf, unsigned int size);
// Test seam: replaces the home directory for this process (null restores it).
ZYBASE_API int ZyBase_SetHomeDir(const char* dir);
// <home>/.VelmarScan/ with the trailing "/".
ZYBASE_API int ZyBase_GetConfigPath(char* buf, unsigned int size);
// Creates a directory and its missing parents; an existing directory is success.
ZYBASE_API int ZyBase_CreateDir(const char* path);
// The part of path after its last "/".
ZYBASE_API int ZyBase_GetFileName(const char* path, char* buf, unsigned int size);
// Makes any text a safe single file name: no "/", no "..", no control characters,
// never empty, at most 200 bytes, UTF-8 kept whole.
ZYBASE_API int ZyBase_StandardiseFileName(const char* name, char* buf, unsigned int size);
// Replaces path with data via a flushed temporary file and a rename, so that a
// crash leaves either the old or the new content.
ZYBASE_API int ZyBase_WriteFileAtomic(const char* path, const void* data, size_t bytes);

// ---- INI files ------------------------------------------------------------
ZYBASE_API int ZyBase_GetProfileString(const char* file, const char* app, const char* key,
                                       const char* def, char* buf, unsigned int size);
ZYBASE_API int ZyBase_GetProfileInt(const char* file, const char* app, const char* key,
                                    int def, int* value);
ZYBASE_API int ZyBase_SetProfileString(const char* file, const char* app, const char* key,
                                       const char* value);
ZYBASE_API int ZyBase_SetProfileInt(const char* file, const char* app, const char* key,
                                    int value);
ZYBASE_API int ZyBase_RemoveProfileSection(const char* file, const char* app);
// 0 when the key exists in the section, ENOENT otherwise.
ZYBASE_API int ZyBase_SearchProfileConfig(const char* file, const char* app, const char* key);

// ---- images ---------------------------------------------------------------
typedef struct ZyImage_* ZyImage;

enum {
    ZY_IMAGE_TYPE_UNKNOWN = 0,
    ZY_IMAGE_TYPE_BINARY = 1, // 1 bit per pixel, most significant bit first, 1 is black
    ZY_IMAGE_TYPE_GRAY = 2,   // 8 bits per pixel
    ZY_IMAGE_TYPE_RGB = 4     // 24 bits per pixel, R G B
};

enum { ZY_IMAGE_ORIGIN_TOP_LEFT = 0, ZY_IMAGE_ORIGIN_BOTTOM_LEFT = 1 };

typedef struct ZyImageInfo {
    int width;
    int height;
    int type;
    int stride; // bytes per row
    int origin;
    int dpi_x;
    int dpi_y;
} ZyImageInfo;

// A new zeroed image (white for grey and RGB is up to the caller), rows 4-byte aligned.
ZYBASE_API int ZyBase_CreateImage(int width, int height, int type, ZyImage* image);
// Wraps data without copying; the caller keeps data alive while the image lives.
ZYBASE_API int ZyBase_CreateImageWithData(int width, int height, int type, int stride,
                                          int origin, void* data, ZyImage* image);
ZYBASE_API int ZyBase_CloneImage(ZyImage src, ZyImage* copy);
ZYBASE_API int ZyBase_DestroyImage(ZyImage image);
ZYBASE_API int ZyBase_GetImageInfo(ZyImage image, ZyImageInfo* info);
ZYBASE_API int ZyBase_GetImageData(ZyImage image, unsigned char** data);
// The pixel as 0xRRGGBB; (0,0) is the top-left pixel whatever the origin.
ZYBASE_API int ZyBase_GetImagePixel(ZyImage image, int x, int y, unsigned int* rgb);
ZYBASE_API int ZyBase_GetImageDpi(ZyImage image, int* dpi_x, int* dpi_y);
ZYBASE_API int ZyBase_SetImageDpi(ZyImage image, int dpi_x, int dpi_y);
// Rotations happen in place (a wrapped image gets a buffer of its own).
ZYBASE_API int ZyBase_ImageRotateLeft(ZyImage image);
ZYBASE_API int ZyBase_ImageRotateRight(ZyImage image);
ZYBASE_API int ZyBase_ImageRotate180(ZyImage image);

#ifdef __cplusplus
}
#endif

#endif
