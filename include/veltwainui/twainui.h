// Public interface of libVelTwainUI: what a TWAIN data source or a SANE front end
// calls to show the scanner driver's windows. The records below cross the library
// boundary by value, so their layout is part of the binary contract.
#ifndef VELTWAINUI_TWAINUI_H
#define VELTWAINUI_TWAINUI_H

#include <veltwainui/veltwainui_export.h>

#include <sane/sane.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class QWidget;
typedef struct ZyDll_ ZyDll;

// ---- results and events ---------------------------------------------------
enum ui_result : int32_t {
    UI_RESULT_CLOSE_NORMAL = 1,  // progress dialog closed, or settings closed after its scan
    UI_RESULT_CANCEL_SCAN = 2,   // user cancelled a running scan
    UI_RESULT_START_SCAN = 3,    // user pressed Scan in the settings dialog
    UI_RESULT_CLOSE_SETTING = 4  // user closed the settings dialog
};
static_assert(sizeof(ui_result) == 4, "ui_result is a 32-bit value");

enum ui_event : int {
    EVENT_SCAN_WORKING = 8,
    EVENT_IMAGE_RECEIVED = 10,
    EVENT_SCAN_FINISHED = 12
};

using ui_result_callback = std::function<void(ui_result)>;
// (event code, data, status)
using ui_event_callback = std::function<void(int, void*, int)>;

// ---- the driver's SANE entry points ---------------------------------------
struct _sane_api {
    SANE_Status (*sane_get_devices)(const SANE_Device*** device_list, SANE_Bool local_only);
    SANE_Status (*sane_open)(SANE_String_Const name, SANE_Handle* handle);
    void (*sane_close)(SANE_Handle handle);
    const SANE_Option_Descriptor* (*sane_get_option_descriptor)(SANE_Handle handle, SANE_Int option);
    SANE_Status (*sane_control_option)(SANE_Handle handle, SANE_Int option, SANE_Action action,
                                       void* value, SANE_Int* info);
    SANE_Status (*sane_get_parameters)(SANE_Handle handle, SANE_Parameters* params);
    SANE_Status (*sane_start)(SANE_Handle handle);
    SANE_Status (*sane_read)(SANE_Handle handle, SANE_Byte* data, SANE_Int max_length,
                             SANE_Int* length);
    void (*sane_cancel)(SANE_Handle handle);
    SANE_Status (*sane_set_io_mode)(SANE_Handle handle, SANE_Bool non_blocking);
    SANE_Status (*sane_get_select_fd)(SANE_Handle handle, SANE_Int* fd);
    SANE_String_Const (*sane_strstatus)(SANE_Status status);
    void (*sane_reserved)(void);
    SANE_Status (*sane_init)(SANE_Int* version_code, SANE_Auth_Callback authorize);
    void (*sane_exit)(void);
};
static_assert(sizeof(_sane_api) == 15 * sizeof(void*), "fifteen entry points");
static_assert(offsetof(_sane_api, sane_control_option) == 4 * sizeof(void*), "entry order");
static_assert(offsetof(_sane_api, sane_get_select_fd) == 10 * sizeof(void*), "entry order");
static_assert(offsetof(_sane_api, sane_init) == 13 * sizeof(void*), "entry order");

// Driver extension of sane_control_option: read an option's default value.
#define SANE_ACTION_GET_DEFAULT_VALUE 100

// ---- images handed to the abnormal-image dialog ---------------------------
struct SANE_Image {
    uint32_t reserved_head;
    SANE_Parameters header;    // format, last_frame, bytes_per_line, pixels_per_line, lines, depth
    uint32_t reserved_tail[3];
    unsigned char* data;       // lines rows of bytes_per_line bytes, top row first
};
static_assert(sizeof(SANE_Parameters) == 24, "SANE_Parameters is six 32-bit fields");
static_assert(offsetof(SANE_Image, header) == 4, "SANE_Image layout");
static_assert(offsetof(SANE_Image, data) == 40, "SANE_Image layout");
static_assert(sizeof(SANE_Image) == 48, "SANE_Image layout");

// ---- device list for choose_scanner ---------------------------------------
struct _dev_que_ui {
    int32_t id;
    std::string name;   // shown in the list
    std::string serial;
};

// ---- TWAIN identities, laid out as twain.h lays them out (2-byte packing) --
#pragma pack(push, 2)
typedef uint16_t TW_UINT16;
typedef uint32_t TW_UINT32;
typedef char TW_STR32[34];

struct TW_VERSION {
    TW_UINT16 MajorNum;
    TW_UINT16 MinorNum;
    TW_UINT16 Language;
    TW_UINT16 Country;
    TW_STR32 Info;
};

struct TW_IDENTITY {
    TW_UINT32 Id;
    TW_VERSION Version;
    TW_UINT16 ProtocolMajor;
    TW_UINT16 ProtocolMinor;
    TW_UINT32 SupportedGroups;
    TW_STR32 Manufacturer;
    TW_STR32 ProductFamily;
    TW_STR32 ProductName;
};
#pragma pack(pop)
static_assert(sizeof(TW_VERSION) == 42, "TW_VERSION layout");
static_assert(offsetof(TW_IDENTITY, Version) == 4, "TW_IDENTITY layout");
static_assert(offsetof(TW_IDENTITY, SupportedGroups) == 50, "TW_IDENTITY layout");
static_assert(offsetof(TW_IDENTITY, Manufacturer) == 54, "TW_IDENTITY layout");
static_assert(offsetof(TW_IDENTITY, ProductName) == 122, "TW_IDENTITY layout");
static_assert(sizeof(TW_IDENTITY) == 156, "TW_IDENTITY layout");

// ---- exports --------------------------------------------------------------
extern "C" {

// Modal message box with the UTF-8 text; kind and flags are reserved.
VELTWAINUI_EXPORT int show_messagebox_ui(void* parent, int kind, const char* message, int flags);

// Opens the settings dialog for the open device handle, whose driver entry points
// api holds (copied), titled device_name. Every change is written to the device at
// once; OK keeps the settings, every other way out writes the start values back.
// A null parent makes the dialog stay on top; with_scan shows its Scan button.
// on_result hears 3 for Scan, 4 when the dialog closes, 1 when it closes because
// a scan ended. *on_event (when not null) receives the handler to which the host
// reports scan events (8 scanning, 12 finished) from any thread. Returns 0.
VELTWAINUI_EXPORT int show_setting_ui(void* device, void* parent, _sane_api* api,
                                      const char* device_name, bool with_scan,
                                      ui_result_callback on_result, ui_event_callback* on_event);

// The selection calls below have their result on return when the host owns the
// Qt application and calls from its thread; on the library's own UI thread they
// return at once, with the result of the previous selection.

// Lets the user pick one of the devices; returns its id, -1 when none was picked.
VELTWAINUI_EXPORT int choose_scanner(const std::vector<_dev_que_ui>& devices);

// Opens the progress dialog and stores its handler into *on_event: call it from
// any thread with (event code, UTF-8 text or null, status). on_result hears 2
// when the user cancels and 1 once the dialog has closed, from a worker thread.
// parent owns the dialog unless a settings dialog is open.
VELTWAINUI_EXPORT int show_progress_ui(void* parent, ui_result_callback on_result,
                                       ui_event_callback* on_event);

// Lets the user pick one of count TWAIN sources, preselecting the last one whose
// product name is default_name; *chosen is all zero when none was picked.
VELTWAINUI_EXPORT int show_twain_srclist_ui(const TW_IDENTITY* sources, unsigned int count,
                                            const char* default_name, QWidget* parent,
                                            TW_IDENTITY* chosen);

// Lets the user pick a SANE driver library from the parallel lists (read up to
// the first null entry of either) and loads it: *dll (unloaded by the caller
// with the base library), *api and the manufacturer's name, or null, all null
// and "" when none was picked. manufacturer must hold the longest name given;
// a non-zero manufacturer_size bounds the copy.
VELTWAINUI_EXPORT int show_srclist_ui(const char** manufacturers, const char** libraries,
                                      QWidget* parent, ZyDll** dll, _sane_api* api,
                                      char* manufacturer, unsigned int manufacturer_size);

// Closes windows by bit: 1 progress, 2 settings, 4 message box; -1 closes all,
// forgets every callback and, on a host-owned application, deletes the manager.
VELTWAINUI_EXPORT int close_ui(int which);

// Runs the calling thread's pending Qt events once, without waiting.
VELTWAINUI_EXPORT void pump_ui_message();

// Frees text that the library handed to the host.
VELTWAINUI_EXPORT void twain_ui_free(void* p);

// ---- configuration without a dialog ----------------------------------------
// Applies the scheme selected in the device's configuration file to the open
// device: its "restore" option is pressed, then each stored value written. The
// file is "<first word of dev_name> <product id in hex>.cfg" in the library's
// configuration directory (the whole dev_name when the driver reports no
// product id); without one the device is only restored to its defaults. The
// configuration stays loaded for show_setting_ui. Returns the scheme's name
// (the default scheme is "默认设置"), to be freed with twain_ui_free.
VELTWAINUI_EXPORT char* apply_current_config(const char* dev_name, void* dev, _sane_api* api);
// The same with a configuration handed over as text, as get_config_content gave
// it; text that does not parse restores the defaults. Returns 0.
VELTWAINUI_EXPORT int apply_given_config(const char* content, void* dev, _sane_api* api);
// The text of the loaded configuration as last loaded or saved, or "{}" before
// any; to be freed with twain_ui_free.
VELTWAINUI_EXPORT char* get_config_content();

} // extern "C"

// Shows an image the driver found abnormal: 1 keep it, 0 discard it. The pixels
// are copied during the call; parent is not used. Ordinary C++ linkage.
VELTWAINUI_EXPORT int abnormal_image(SANE_Image* image, QWidget* parent);

#endif
