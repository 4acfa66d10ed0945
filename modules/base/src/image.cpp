// Images: binary (1 bpp, MSB first, 1 = black), grey (8 bpp) and RGB (24 bpp).
// Pixel coordinates are always top-left based; the origin only says in which
// order the rows lie in memory.
#include "ZyBase.h"

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

struct ZyImage_
{
    int width = 0;
    int height = 0;
    int type = ZY_IMAGE_TYPE_UNKNOWN;
    int stride = 0;
    int origin = ZY_IMAGE_ORIGIN_TOP_LEFT;
    int dpiX = 0;
    int dpiY = 0;
    unsigned char* data = nullptr;        // the pixels, owned or the caller's
    std::unique_ptr<unsigned char[]> own; // set when the library allocated them
};

namespace {

int bitsPerPixel(int type)
{
    switch (type) {
    case ZY_IMAGE_TYPE_BINARY:
        return 1;
    case ZY_IMAGE_TYPE_GRAY:
        return 8;
    case ZY_IMAGE_TYPE_RGB:
        return 24;
    default:
        return 0;
    }
}

int64_t rowBytes(int width, int type)
{
    return (static_cast<int64_t>(width) * bitsPerPixel(type) + 7) / 8;
}

bool validShape(int width, int height, int type)
{
    return width > 0 && height > 0 && bitsPerPixel(type) != 0;
}

unsigned char* rowAt(const ZyImage_& image, int y)
{
    const int memoryRow = image.origin == ZY_IMAGE_ORIGIN_BOTTOM_LEFT ? image.height - 1 - y : y;
    return image.data + static_cast<ptrdiff_t>(memoryRow) * image.stride;
}

// A zeroed buffer of width x height with rows padded to 4 bytes.
int allocatePixels(int width, int height, int type, ZyImage_& image)
{
    const int64_t stride = (rowBytes(width, type) + 3) & ~int64_t(3);
    if (stride > INT_MAX || static_cast<uint64_t>(stride) * height > PTRDIFF_MAX)
        return ENOMEM;
    const size_t bytes = static_cast<size_t>(stride) * static_cast<size_t>(height);
    std::unique_ptr<unsigned char[]> pixels(new (std::nothrow) unsigned char[bytes]);
    if (!pixels)
        return ENOMEM;
    std::memset(pixels.get(), 0, bytes);
    image.width = width;
    image.height = height;
    image.type = type;
    image.stride = static_cast<int>(stride);
    image.own = std::move(pixels);
    image.data = image.own.get();
    return 0;
}

bool blackAt(const ZyImage_& image, int x, int y)
{
    return (rowAt(image, y)[x >> 3] >> (7 - (x & 7))) & 1;
}

// Fills dst, pixel by pixel, from the source pixel that sourceOf(x, y) names.
template <typename SourceOf>
void remap(const ZyImage_& src, ZyImage_& dst, SourceOf sourceOf)
{
    for (int y = 0; y < dst.height; ++y) {
        unsigned char* const row = rowAt(dst, y);
        for (int x = 0; x < dst.width; ++x) {
            const auto [sx, sy] = sourceOf(x, y);
            switch (src.type) {
            case ZY_IMAGE_TYPE_BINARY:
                if (blackAt(src, sx, sy))
                    row[x >> 3] |= static_cast<unsigned char>(0x80 >> (x & 7));
                break;
            case ZY_IMAGE_TYPE_GRAY:
                row[x] = rowAt(src, sy)[sx];
                break;
            default:
                std::memcpy(row + 3 * x, rowAt(src, sy) + 3 * sx, 3);
                break;
            }
        }
    }
}

struct Point
{
    int x;
    int y;
};

// Rotates into a new buffer of the library's own; the caller's pixels stay as they were.
template <typename SourceOf>
int rotate(ZyImage image, bool quarterTurn, SourceOf sourceOf)
{
    if (!image)
        return EINVAL;
    ZyImage_ turned;
    const int err = quarterTurn ? allocatePixels(image->height, image->width, image->type, turned)
                                : allocatePixels(image->width, image->height, image->type, turned);
    if (err != 0)
        return err;
    turned.origin = image->origin;
    remap(*image, turned, [&](int x, int y) { return sourceOf(*image, x, y); });
    image->width = turned.width;
    image->height = turned.height;
    image->stride = turned.stride;
    image->own = std::move(turned.own);
    image->data = image->own.get();
    if (quarterTurn)
        std::swap(image->dpiX, image->dpiY);
    return 0;
}

} // namespace

extern "C" {

int ZyBase_CreateImage(int width, int height, int type, ZyImage* image)
{
    if (!image)
        return EINVAL;
    *image = nullptr;
    if (!validShape(width, height, type))
        return EINVAL;
    std::unique_ptr<ZyImage_> created(new (std::nothrow) ZyImage_);
    if (!created)
        return ENOMEM;
    const int err = allocatePixels(width, height, type, *created);
    if (err != 0)
        return err;
    *image = created.release();
    return 0;
}

int ZyBase_CreateImageWithData(int width, int height, int type, int stride, int origin, void* data,
                               ZyImage* image)
{
    if (!image)
        return EINVAL;
    *image = nullptr;
    if (!validShape(width, height, type) || !data || stride < rowBytes(width, type) ||
        (origin != ZY_IMAGE_ORIGIN_TOP_LEFT && origin != ZY_IMAGE_ORIGIN_BOTTOM_LEFT))
        return EINVAL;
    std::unique_ptr<ZyImage_> wrapped(new (std::nothrow) ZyImage_);
    if (!wrapped)
        return ENOMEM;
    wrapped->width = width;
    wrapped->height = height;
    wrapped->type = type;
    wrapped->stride = stride;
    wrapped->origin = origin;
    wrapped->data = static_cast<unsigned char*>(data);
    *image = wrapped.release();
    return 0;
}

int ZyBase_CloneImage(ZyImage src, ZyImage* copy)
{
    if (!copy)
        return EINVAL;
    *copy = nullptr;
    if (!src)
        return EINVAL;
    std::unique_ptr<ZyImage_> clone(new (std::nothrow) ZyImage_);
    if (!clone)
        return ENOMEM;
    const int err = allocatePixels(src->width, src->height, src->type, *clone);
    if (err != 0)
        return err;
    clone->origin = src->origin;
    clone->dpiX = src->dpiX;
    clone->dpiY = src->dpiY;
    const size_t bytes = static_cast<size_t>(rowBytes(src->width, src->type));
    for (int y = 0; y < src->height; ++y)
        std::memcpy(rowAt(*clone, y), rowAt(*src, y), bytes);
    *copy = clone.release();
    return 0;
}

int ZyBase_DestroyImage(ZyImage image)
{
    if (!image)
        return EINVAL;
    delete image;
    return 0;
}

int ZyBase_GetImageInfo(ZyImage image, ZyImageInfo* info)
{
    if (!image || !info)
        return EINVAL;
    info->width = image->width;
    info->height = image->height;
    info->type = image->type;
    info->stride = image->stride;
    info->origin = image->origin;
    info->dpi_x = image->dpiX;
    info->dpi_y = image->dpiY;
    return 0;
}

int ZyBase_GetImageData(ZyImage image, unsigned char** data)
{
    if (!image || !data)
        return EINVAL;
    *data = image->data;
    return 0;
}

int ZyBase_GetImagePixel(ZyImage image, int x, int y, unsigned int* rgb)
{
    if (!image || !rgb || x < 0 || y < 0 || x >= image->width || y >= image->height)
        return EINVAL;
    const unsigned char* const row = rowAt(*image, y);
    switch (image->type) {
    case ZY_IMAGE_TYPE_BINARY:
        *rgb = blackAt(*image, x, y) ? 0x000000u : 0xFFFFFFu;
        break;
    case ZY_IMAGE_TYPE_GRAY:
        *rgb = row[x] * 0x010101u;
        break;
    default:
        *rgb = (unsigned(row[3 * x]) << 16) | (unsigned(row[3 * x + 1]) << 8) | row[3 * x + 2];
        break;
    }
    return 0;
}

int ZyBase_GetImageDpi(ZyImage image, int* dpi_x, int* dpi_y)
{
    if (!image || !dpi_x || !dpi_y)
        return EINVAL;
    *dpi_x = image->dpiX;
    *dpi_y = image->dpiY;
    return 0;
}

int ZyBase_SetImageDpi(ZyImage image, int dpi_x, int dpi_y)
{
    if (!image || dpi_x < 0 || dpi_y < 0)
        return EINVAL;
    image->dpiX = dpi_x;
    image->dpiY = dpi_y;
    return 0;
}

int ZyBase_ImageRotateLeft(ZyImage image)
{
    // Counter-clockwise: the new row y is the old column width - 1 - y.
    return rotate(image, true, [](const ZyImage_& src, int x, int y) {
        return Point{src.width - 1 - y, x};
    });
}

int ZyBase_ImageRotateRight(ZyImage image)
{
    // Clockwise: the new row y is the old column y, read bottom to top.
    return rotate(image, true, [](const ZyImage_& src, int x, int y) {
        return Point{y, src.height - 1 - x};
    });
}

int ZyBase_ImageRotate180(ZyImage image)
{
    return rotate(image, false, [](const ZyImage_& src, int x, int y) {
        return Point{src.width - 1 - x, src.height - 1 - y};
    });
}

} // extern "C"
