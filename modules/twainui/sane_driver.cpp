#include "sane_driver.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace {

struct EntryPoint {
    const char* name;
    std::size_t offset;
};

#define SANE_ENTRY(name) {#name, offsetof(_sane_api, sane_##name)}
// The order in which the entry points are resolved; a missing one stops the walk.
const EntryPoint kEntryPoints[] = {
    SANE_ENTRY(init),        SANE_ENTRY(exit),           SANE_ENTRY(get_devices),
    SANE_ENTRY(open),        SANE_ENTRY(close),          SANE_ENTRY(start),
    SANE_ENTRY(read),        SANE_ENTRY(cancel),         SANE_ENTRY(set_io_mode),
    SANE_ENTRY(strstatus),   SANE_ENTRY(get_parameters), SANE_ENTRY(get_option_descriptor),
    SANE_ENTRY(control_option),
};
#undef SANE_ENTRY

constexpr std::size_t kSymbolBuffer = 256;
constexpr unsigned int kFileNameBuffer = 260;
constexpr std::size_t kPrivateWordBuffer = 64;
// The about box expects at most 256 bytes; a driver may send more.
constexpr std::size_t kPrivateTextBuffer = 1024;

// Whether every symbol name fits its buffer: checked before anything is
// filled, so an oversized name changes nothing.
bool symbolNamesFit(const char* manufacturer)
{
    std::size_t longest = 0;
    for (const EntryPoint& entry : kEntryPoints)
        longest = std::max(longest, std::strlen(entry.name));
    // "sane_" + manufacturer + "_" + name + terminator
    return std::strlen(manufacturer) + longest + 7 <= kSymbolBuffer;
}

bool canControl(const _sane_api& api)
{
    return api.sane_get_option_descriptor && api.sane_control_option;
}

std::size_t descriptorSize(const SANE_Option_Descriptor& descriptor)
{
    return descriptor.size > 0 ? static_cast<std::size_t>(descriptor.size) : 0;
}

SANE_Word firstWord(const void* bytes)
{
    SANE_Word word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

// Reads option n with action into value; the result keeps size bytes.
SANE_Status readDescribed(const _sane_api& api, SANE_Handle handle, SANE_Int n,
                           SANE_Action action, std::size_t extra, bool with_info,
                           std::vector<char>& value)
{
    value.clear();
    if (!canControl(api))
        return SANE_STATUS_INVAL;
    const SANE_Option_Descriptor* descriptor = api.sane_get_option_descriptor(handle, n);
    if (!descriptor)
        return SANE_STATUS_INVAL;
    SaneValue buffer = SaneValue::forDescriptor(*descriptor, extra);
    SANE_Int info = 0;
    const SANE_Status status =
        api.sane_control_option(handle, n, action, buffer.data(), with_info ? &info : nullptr);
    if (status == SANE_STATUS_GOOD)
        value = buffer.bytes();
    return status;
}

} // namespace

int FindFunctions(ZyDll* dll, const char* manufacturer, _sane_api* api)
{
    if (!dll || !manufacturer || !api)
        return EINVAL;
    if (!symbolNamesFit(manufacturer))
        return ENAMETOOLONG;

    char symbol[kSymbolBuffer];
    for (const EntryPoint& entry : kEntryPoints) {
        std::snprintf(symbol, sizeof(symbol), "sane_%s_%s", manufacturer, entry.name);
        void** slot = reinterpret_cast<void**>(reinterpret_cast<char*>(api) + entry.offset);
        int error = ZyBase_GetDllProcAddress(dll, symbol, slot);
        // SANE backends export the status text under the standard's plain name
        // only: it depends on no device, so any backend's will do.
        if (error != 0 && entry.offset == offsetof(_sane_api, sane_strstatus))
            error = ZyBase_GetDllProcAddress(dll, "sane_strstatus", slot);
        if (error != 0)
            return error;
    }
    return 0;
}

SaneLoadResult LoadSaneDriver(const char* manufacturer, const char* library_path, ZyDll** dll,
                                _sane_api* api, int* error)
{
    int ignored = 0;
    int& base_error = error ? *error : ignored;
    base_error = 0;
    if (!manufacturer || !library_path || !dll || !api) {
        base_error = EINVAL;
        return SANE_LOAD_BAD_ARGUMENT;
    }
    *dll = nullptr;

    // The bare name lets the system's search path win over the given folder.
    ZyDll* loaded = nullptr;
    char file_name[kFileNameBuffer] = {};
    const bool have_name = ZyBase_GetFileName(library_path, file_name, sizeof(file_name)) == 0;
    base_error = have_name ? ZyBase_CreateDll(file_name, &loaded) : ENOENT;
    if (base_error != 0 && (!have_name || std::strcmp(file_name, library_path) != 0))
        base_error = ZyBase_CreateDll(library_path, &loaded);
    if (base_error != 0)
        return SANE_LOAD_LIBRARY_FAILED;

    UniqueZyDll library(loaded);
    _sane_api resolved = *api;
    base_error = FindFunctions(library.get(), manufacturer, &resolved);
    if (base_error != 0)
        return SANE_LOAD_FUNCTION_FAILED;

    *api = resolved;
    *dll = library.release();
    return SANE_LOAD_OK;
}

std::string sane_val_to_string(const char* value, SANE_Value_Type type)
{
    if (!value)
        return std::string();

    char text[128] = {};
    switch (type) {
    case SANE_TYPE_BOOL:
        return firstWord(value) == 1 ? "true" : "false";
    case SANE_TYPE_INT:
        std::snprintf(text, sizeof(text), "%d", firstWord(value));
        return text;
    case SANE_TYPE_FIXED:
        std::snprintf(text, sizeof(text), "%.4f", firstWord(value) / 65536.0);
        return text;
    default:
        return value;
    }
}

SaneValue::SaneValue(std::size_t size)
    : m_bytes(std::max<std::size_t>(size, sizeof(SANE_Word)) + 1, '\0')
{
}

SaneValue SaneValue::forDescriptor(const SANE_Option_Descriptor& descriptor, std::size_t extra)
{
    return SaneValue(descriptorSize(descriptor) + extra);
}

SANE_Word SaneValue::word() const
{
    return firstWord(m_bytes.data());
}

SANE_Status readOptionCount(const _sane_api& api, SANE_Handle handle, SANE_Int* count)
{
    if (!count)
        return SANE_STATUS_INVAL;
    *count = 0;
    if (!canControl(api))
        return SANE_STATUS_INVAL;
    // Option 0 should have a descriptor; a driver that gives none is still read
    // through a buffer that any 32-bit answer fits.
    if (!api.sane_get_option_descriptor(handle, 0))
        return readPrivateWord(api, handle, 0, count);
    std::vector<char> value;
    const SANE_Status status = readOptionValue(api, handle, 0, value);
    if (status == SANE_STATUS_GOOD)
        *count = firstWord(value.data());
    return status;
}

SANE_Status readOptionValue(const _sane_api& api, SANE_Handle handle, SANE_Int n,
                              std::vector<char>& value)
{
    return readDescribed(api, handle, n, SANE_ACTION_GET_VALUE, 0, true, value);
}

SANE_Status readDefaultValue(const _sane_api& api, SANE_Handle handle, SANE_Int n,
                               std::vector<char>& value)
{
    return readDescribed(api, handle, n, static_cast<SANE_Action>(SANE_ACTION_GET_DEFAULT_VALUE),
                          sizeof(SANE_Word), false, value);
}

SANE_Status readPrivateWord(const _sane_api& api, SANE_Handle handle, SANE_Int n,
                              SANE_Word* value)
{
    if (!value)
        return SANE_STATUS_INVAL;
    *value = 0;
    if (!api.sane_control_option)
        return SANE_STATUS_INVAL;
    SaneValue buffer(kPrivateWordBuffer);
    const SANE_Status status =
        api.sane_control_option(handle, n, SANE_ACTION_GET_VALUE, buffer.data(), nullptr);
    if (status == SANE_STATUS_GOOD)
        *value = buffer.word();
    return status;
}

SANE_Status readPrivateText(const _sane_api& api, SANE_Handle handle, SANE_Int n,
                              std::string& text)
{
    text.clear();
    if (!api.sane_control_option)
        return SANE_STATUS_INVAL;
    SaneValue buffer(kPrivateTextBuffer);
    const SANE_Status status =
        api.sane_control_option(handle, n, SANE_ACTION_GET_VALUE, buffer.data(), nullptr);
    if (status == SANE_STATUS_GOOD)
        text = buffer.text();
    return status;
}

SANE_Int findOptionByName(const _sane_api& api, SANE_Handle handle, const char* name)
{
    SANE_Int count = 0;
    if (!name || !*name || readOptionCount(api, handle, &count) != SANE_STATUS_GOOD)
        return -1;
    for (SANE_Int n = 1; n < count; ++n) {
        const SANE_Option_Descriptor* descriptor = api.sane_get_option_descriptor(handle, n);
        if (descriptor && descriptor->name && std::strcmp(descriptor->name, name) == 0)
            return n;
    }
    return -1;
}

int SaneImageType(const SANE_Parameters& header)
{
    if (header.format == SANE_FRAME_GRAY && header.depth == 1)
        return ZY_IMAGE_TYPE_BINARY;
    if (header.format == SANE_FRAME_GRAY && header.depth == 8)
        return ZY_IMAGE_TYPE_GRAY;
    if (header.format == SANE_FRAME_RGB)
        return ZY_IMAGE_TYPE_RGB;
    return ZY_IMAGE_TYPE_UNKNOWN;
}

int DescribeSaneImage(const SANE_Image* image, ZyImageInfo* info)
{
    if (!image || !info)
        return EINVAL;
    *info = ZyImageInfo{};
    info->width = image->header.pixels_per_line;
    info->height = image->header.lines;
    info->type = SaneImageType(image->header);
    info->stride = image->header.bytes_per_line;
    info->origin = ZY_IMAGE_ORIGIN_TOP_LEFT;
    return 0;
}

int SaneImageToZyImage(const SANE_Image* image, ZyImage* out)
{
    if (!out)
        return EINVAL;
    *out = nullptr;
    ZyImageInfo info;
    if (DescribeSaneImage(image, &info) != 0)
        return EINVAL;
    // The base library refuses type 0, an empty size, null pixels and rows
    // shorter than the width needs.
    return ZyBase_CreateImageWithData(info.width, info.height, info.type, info.stride,
                                      info.origin, image->data, out);
}
