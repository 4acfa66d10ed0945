// Access to a scanner driver through its SANE entry points: loading a driver
// library, resolving its entry table, reading option values safely and turning
// values and host images into what the dialogs show.
#ifndef SANE_DRIVER_H
#define SANE_DRIVER_H

#include "ZyBase.h"
#include "veltwainui/twainui.h"

#include <memory>
#include <string>
#include <vector>

// ---- loading a driver library ---------------------------------------------

// Resolves the entry points "sane_<manufacturer>_<name>" of a loaded library
// into api, in the order init, exit, get_devices, open, close, start, read,
// cancel, set_io_mode, strstatus, get_parameters, get_option_descriptor,
// control_option. Returns 0, EINVAL for a null argument, ENAMETOOLONG when a
// symbol name does not fit its 256-byte buffer, or the base library's error
// for the first entry point it could not find; the positions before that one
// stay filled. sane_get_select_fd and sane_reserved are never touched.
int FindFunctions(ZyDll* dll, const char* manufacturer, _sane_api* api);

enum SaneLoadResult {
    SANE_LOAD_OK = 0,
    SANE_LOAD_BAD_ARGUMENT = 1,   // a null argument
    SANE_LOAD_LIBRARY_FAILED = 2, // "Load library failed"
    SANE_LOAD_FUNCTION_FAILED = 3 // "Find function failed"
};

// Loads a driver library by its bare file name (the system's search path
// first), then by the path as given, and resolves its entry table. On success
// *dll owns the library (unload it with ZyBase_DestroyDll) and *api holds the
// table; positions 11 and 13 keep what *api had. On any failure *dll is null,
// *api is untouched and no library stays loaded. The base library's error code
// goes to *error when error is not null.
SaneLoadResult LoadSaneDriver(const char* manufacturer, const char* library_path, ZyDll** dll,
                                _sane_api* api, int* error = nullptr);

struct ZyDllUnloader {
    void operator()(ZyDll* dll) const { ZyBase_DestroyDll(dll); }
};
// A driver library unloaded when it goes out of scope.
using UniqueZyDll = std::unique_ptr<ZyDll, ZyDllUnloader>;

// ---- values as text -------------------------------------------------------

// "true"/"false" (true only for exactly 1), "%d", "%.4f" of value/65536, or the
// bytes up to the terminator for any other type. A null value gives "".
std::string sane_val_to_string(const char* value, SANE_Value_Type type);

// ---- reading option values ------------------------------------------------

// A zeroed value buffer of max(size, 4) bytes with a hidden terminator after
// them, so that a string the driver left unterminated still reads safely.
class SaneValue
{
public:
    explicit SaneValue(std::size_t size);
    // Room for one value of the option: its descriptor's size plus extra bytes.
    static SaneValue forDescriptor(const SANE_Option_Descriptor& descriptor,
                                     std::size_t extra = 0);

    void* data() { return m_bytes.data(); }
    const void* data() const { return m_bytes.data(); }
    std::size_t size() const { return m_bytes.size() - 1; }

    SANE_Word word() const;
    const char* text() const { return m_bytes.data(); }
    std::vector<char> bytes() const { return {m_bytes.begin(), m_bytes.end() - 1}; }

private:
    std::vector<char> m_bytes;
};

// Option 0, the number of options including itself.
SANE_Status readOptionCount(const _sane_api& api, SANE_Handle handle, SANE_Int* count);

// The current value of option n as max(descriptor size, 4) bytes. SANE_STATUS_INVAL
// when the option has no descriptor or the table lacks the entry points; on a
// failure the value is left empty.
SANE_Status readOptionValue(const _sane_api& api, SANE_Handle handle, SANE_Int n,
                              std::vector<char>& value);

// The driver's default for option n (action 100, null info pointer), read into a
// zeroed buffer of the descriptor's size plus 4 bytes, which value then holds.
SANE_Status readDefaultValue(const _sane_api& api, SANE_Handle handle, SANE_Int n,
                               std::vector<char>& value);

// The first 32 bits of a private option that has no descriptor (34899 product
// id, 39170 roller count, 34889 history count). The driver writes into a
// generous zeroed buffer, so a driver that writes more than 4 bytes is harmless.
// value is 0 unless the read succeeds.
SANE_Status readPrivateWord(const _sane_api& api, SANE_Handle handle, SANE_Int n,
                              SANE_Word* value);

// A private text option without descriptor (34901 model, 34890 driver version,
// 34903 firmware, 34902 serial number, 34918 start-up time), read into a zeroed
// 1024-byte buffer (the texts are meant to fit 256). text is empty unless the
// read succeeds.
SANE_Status readPrivateText(const _sane_api& api, SANE_Handle handle, SANE_Int n,
                              std::string& text);

// The number of the first option (from 1) whose descriptor's name equals name,
// or -1; an empty name (as groups have) matches nothing.
SANE_Int findOptionByName(const _sane_api& api, SANE_Handle handle, const char* name);

// The driver's private options beyond its descriptor list.
enum SanePrivateOption : SANE_Int {
    SANE_PRIVATE_HISTORY_COUNT = 34889,
    SANE_PRIVATE_DRIVER_VERSION = 34890,
    SANE_PRIVATE_PRODUCT_ID = 34899,
    SANE_PRIVATE_MODEL = 34901,
    SANE_PRIVATE_SERIAL = 34902,
    SANE_PRIVATE_FIRMWARE = 34903,
    SANE_PRIVATE_TONE_CURVE = 34906,
    SANE_PRIVATE_STARTUP_TIME = 34918,
    SANE_PRIVATE_ROLLER_COUNT = 39170
};

// ---- host images ----------------------------------------------------------

// The base library's image type of a SANE frame: grey depth 1 → binary, grey
// depth 8 → grey, RGB of any depth → RGB, anything else unknown (0).
int SaneImageType(const SANE_Parameters& header);

// The geometry of a host image: width pixels_per_line, height lines, stride
// bytes_per_line, origin top-left, type as SaneImageType (possibly 0), no dpi.
int DescribeSaneImage(const SANE_Image* image, ZyImageInfo* info);

// Wraps the host's pixels in a base-library image without copying; the image
// must not outlive image->data. EINVAL for a null argument, null pixels, an
// empty or negative size, a row stride too short for the width, or a frame of
// unknown type (there is no pixel layout to read it by), as the base library
// refuses them; then *out is null.
int SaneImageToZyImage(const SANE_Image* image, ZyImage* out);

#endif
