// Images: creation, wrapping, cloning, pixels, resolution and rotations.
#include <ZyBase.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

namespace {

const int kTypes[] = {ZY_IMAGE_TYPE_BINARY, ZY_IMAGE_TYPE_GRAY, ZY_IMAGE_TYPE_RGB};

// An image handle that destroys itself.
class Image
{
public:
    Image() = default;
    ~Image() { ZyBase_DestroyImage(m_image); }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    ZyImage get() const { return m_image; }
    ZyImage* out() { return &m_image; }

    ZyImageInfo info() const
    {
        ZyImageInfo info{};
        EXPECT_EQ(ZyBase_GetImageInfo(m_image, &info), 0);
        return info;
    }

    unsigned char* data() const
    {
        unsigned char* data = nullptr;
        EXPECT_EQ(ZyBase_GetImageData(m_image, &data), 0);
        return data;
    }

    std::vector<unsigned char> bytes() const
    {
        const ZyImageInfo i = info();
        return std::vector<unsigned char>(data(), data() + static_cast<size_t>(i.stride) * i.height);
    }

    unsigned int pixel(int x, int y) const
    {
        unsigned int rgb = 0xDEADBEEF;
        EXPECT_EQ(ZyBase_GetImagePixel(m_image, x, y, &rgb), 0) << x << "," << y;
        return rgb;
    }

    // All pixels row by row, as the public pixel reader sees them.
    std::vector<unsigned int> pixels() const
    {
        const ZyImageInfo i = info();
        std::vector<unsigned int> all;
        for (int y = 0; y < i.height; ++y)
            for (int x = 0; x < i.width; ++x)
                all.push_back(pixel(x, y));
        return all;
    }

private:
    ZyImage m_image = nullptr;
};

int rowBytes(int width, int type)
{
    return type == ZY_IMAGE_TYPE_BINARY ? (width + 7) / 8 : width * (type == ZY_IMAGE_TYPE_RGB ? 3 : 1);
}

// Fills the pixel bytes of each row (not the padding) with a pattern unique per position.
void fillPattern(unsigned char* data, int width, int height, int type, int stride)
{
    for (int y = 0; y < height; ++y) {
        unsigned char* const row = data + static_cast<size_t>(y) * stride;
        const int bytes = rowBytes(width, type);
        for (int b = 0; b < bytes; ++b)
            row[b] = static_cast<unsigned char>(y * 37 + b * 11 + 5);
        if (type == ZY_IMAGE_TYPE_BINARY && width % 8)
            row[bytes - 1] &= static_cast<unsigned char>(0xFF << (8 - width % 8));
    }
}

void makePatterned(int width, int height, int type, Image& image)
{
    ASSERT_EQ(ZyBase_CreateImage(width, height, type, image.out()), 0);
    const ZyImageInfo info = image.info();
    fillPattern(image.data(), width, height, type, info.stride);
}

struct Shape
{
    int width;
    int height;
};

const Shape kShapes[] = {{1, 1}, {7, 3}, {8, 5}, {13, 9}, {17, 2}, {33, 20}};

} // namespace

TEST(ImageTest, CreatedImagesAreZeroedWithAlignedRows)
{
    const struct {
        int width;
        int type;
        int stride;
    } rows[] = {{1, ZY_IMAGE_TYPE_BINARY, 4}, {33, ZY_IMAGE_TYPE_BINARY, 8}, {3, ZY_IMAGE_TYPE_GRAY, 4},
                {4, ZY_IMAGE_TYPE_GRAY, 4},   {5, ZY_IMAGE_TYPE_RGB, 16},    {4, ZY_IMAGE_TYPE_RGB, 12}};
    for (const auto& row : rows) {
        Image image;
        ASSERT_EQ(ZyBase_CreateImage(row.width, 3, row.type, image.out()), 0);
        const ZyImageInfo info = image.info();
        const ZyImageInfo expected = {row.width, 3, row.type, row.stride, ZY_IMAGE_ORIGIN_TOP_LEFT, 0, 0};
        EXPECT_EQ(std::memcmp(&info, &expected, sizeof(info)), 0) << row.width << " " << row.type;
        const auto bytes = image.bytes();
        EXPECT_EQ(bytes, std::vector<unsigned char>(bytes.size(), 0));
    }
}

TEST(ImageTest, PixelsOfEachTypeReadAsRgb)
{
    unsigned char binary[2][4] = {{0x80, 0x01, 0, 0}, {0x40, 0, 0, 0}};
    Image bin;
    ASSERT_EQ(ZyBase_CreateImageWithData(16, 2, ZY_IMAGE_TYPE_BINARY, 4, ZY_IMAGE_ORIGIN_TOP_LEFT,
                                         binary, bin.out()),
              0);
    EXPECT_EQ(bin.pixel(0, 0), 0x000000u);
    EXPECT_EQ(bin.pixel(1, 0), 0xFFFFFFu);
    EXPECT_EQ(bin.pixel(15, 0), 0x000000u);
    EXPECT_EQ(bin.pixel(1, 1), 0x000000u);
    EXPECT_EQ(bin.pixel(0, 1), 0xFFFFFFu);

    unsigned char grey[2] = {0x00, 0x7F};
    Image gray;
    ASSERT_EQ(ZyBase_CreateImageWithData(2, 1, ZY_IMAGE_TYPE_GRAY, 2, ZY_IMAGE_ORIGIN_TOP_LEFT, grey,
                                         gray.out()),
              0);
    EXPECT_EQ(gray.pixel(1, 0), 0x7F7F7Fu);

    unsigned char colour[6] = {0x12, 0x34, 0x56, 0xAB, 0xCD, 0xEF};
    Image rgb;
    ASSERT_EQ(ZyBase_CreateImageWithData(2, 1, ZY_IMAGE_TYPE_RGB, 6, ZY_IMAGE_ORIGIN_TOP_LEFT, colour,
                                         rgb.out()),
              0);
    EXPECT_EQ(rgb.pixel(0, 0), 0x123456u);
    EXPECT_EQ(rgb.pixel(1, 0), 0xABCDEFu);
}

TEST(ImageTest, WrappedDataIsUsedInPlaceAndCloneCopies)
{
    std::vector<unsigned char> pixels(10 * 4);
    fillPattern(pixels.data(), 3, 4, ZY_IMAGE_TYPE_RGB, 10);
    Image wrapped;
    ASSERT_EQ(ZyBase_CreateImageWithData(3, 4, ZY_IMAGE_TYPE_RGB, 10, ZY_IMAGE_ORIGIN_TOP_LEFT,
                                         pixels.data(), wrapped.out()),
              0);
    EXPECT_EQ(wrapped.data(), pixels.data());
    pixels[0] = 0xEE;
    EXPECT_EQ(wrapped.pixel(0, 0) >> 16, 0xEEu);

    ASSERT_EQ(ZyBase_SetImageDpi(wrapped.get(), 300, 200), 0);
    Image clone;
    ASSERT_EQ(ZyBase_CloneImage(wrapped.get(), clone.out()), 0);
    EXPECT_NE(clone.data(), pixels.data());
    EXPECT_EQ(clone.info().stride, 12);
    EXPECT_EQ(clone.pixels(), wrapped.pixels());
    int dpiX = 0;
    int dpiY = 0;
    ASSERT_EQ(ZyBase_GetImageDpi(clone.get(), &dpiX, &dpiY), 0);
    EXPECT_EQ(dpiX, 300);
    EXPECT_EQ(dpiY, 200);

    clone.data()[0] = 0x01;
    EXPECT_EQ(pixels[0], 0xEE);
}

// A bottom-left image reads its last memory row first, and turning it never
// writes into the wrapped memory (nor into the reference's).
TEST(ImageTest, BottomLeftImagesReadUpwardsAndTurnOnACopy)
{
    for (const int type : kTypes) {
        SCOPED_TRACE(type);
        const int stride = rowBytes(13, type) + 5;
        std::vector<unsigned char> pixels(size_t(stride) * 9);
        fillPattern(pixels.data(), 13, 9, type, stride);
        const std::vector<unsigned char> original = pixels;
        std::vector<unsigned char> upwards;
        for (int y = 8; y >= 0; --y)
            upwards.insert(upwards.end(), original.begin() + y * stride, original.begin() + (y + 1) * stride);

        Image wrapped;
        Image reference;
        ASSERT_EQ(ZyBase_CreateImageWithData(13, 9, type, stride, ZY_IMAGE_ORIGIN_BOTTOM_LEFT, pixels.data(),
                                             wrapped.out()),
                  0);
        ASSERT_EQ(ZyBase_CreateImageWithData(13, 9, type, stride, ZY_IMAGE_ORIGIN_TOP_LEFT, upwards.data(),
                                             reference.out()),
                  0);
        EXPECT_EQ(wrapped.pixels(), reference.pixels());
        // Each turn does to it what it does to the same picture stored top-down.
        for (const auto turn : {ZyBase_ImageRotate180, ZyBase_ImageRotateLeft, ZyBase_ImageRotateRight}) {
            ASSERT_EQ(turn(wrapped.get()), 0);
            ASSERT_EQ(turn(reference.get()), 0);
            EXPECT_EQ(wrapped.pixels(), reference.pixels());
        }
        EXPECT_NE(wrapped.data(), pixels.data());
        EXPECT_EQ(pixels, original);
        EXPECT_EQ(wrapped.info().origin, ZY_IMAGE_ORIGIN_BOTTOM_LEFT);
    }
}

// Each turn puts every pixel where it belongs; the opposite turn restores every bit.
TEST(ImageTest, TurnsMoveEveryPixelAndTurnBackExactly)
{
    using Target = std::pair<int, int> (*)(int x, int y, int w, int h);
    const struct {
        int (*rotate)(ZyImage);
        int (*back)(ZyImage);
        bool quarter;
        Target target; // where the pixel (x, y) of a w x h image lands
    } turns[] = {
        {ZyBase_ImageRotateLeft, ZyBase_ImageRotateRight, true,
         [](int x, int y, int w, int) { return std::make_pair(y, w - 1 - x); }},
        {ZyBase_ImageRotateRight, ZyBase_ImageRotateLeft, true,
         [](int x, int y, int, int h) { return std::make_pair(h - 1 - y, x); }},
        {ZyBase_ImageRotate180, ZyBase_ImageRotate180, false,
         [](int x, int y, int w, int h) { return std::make_pair(w - 1 - x, h - 1 - y); }},
    };
    for (const int type : kTypes) {
        for (const Shape& shape : kShapes) {
            for (const auto& turn : turns) {
                const int w = shape.width;
                const int h = shape.height;
                SCOPED_TRACE(::testing::Message() << "type " << type << " " << w << "x" << h
                                                  << (turn.quarter ? " quarter" : " half"));
                Image image;
                makePatterned(w, h, type, image);
                ASSERT_EQ(ZyBase_SetImageDpi(image.get(), 300, 150), 0);
                const auto original = image.bytes();
                const auto before = image.pixels();
                ASSERT_EQ(turn.rotate(image.get()), 0);
                const ZyImageInfo info = image.info();
                EXPECT_EQ(info.width, turn.quarter ? h : w);
                EXPECT_EQ(info.height, turn.quarter ? w : h);
                EXPECT_EQ(info.stride % 4, 0);
                EXPECT_EQ(info.dpi_x, turn.quarter ? 150 : 300);
                EXPECT_EQ(info.dpi_y, turn.quarter ? 300 : 150);
                for (int y = 0; y < h; ++y) {
                    for (int x = 0; x < w; ++x) {
                        const auto [tx, ty] = turn.target(x, y, w, h);
                        ASSERT_EQ(image.pixel(tx, ty), before[size_t(y) * w + x]) << x << "," << y;
                    }
                }
                ASSERT_EQ(turn.back(image.get()), 0);
                EXPECT_EQ(image.bytes(), original);
            }
        }
    }
}

TEST(ImageTest, BadArgumentsAreRefused)
{
    ZyImage image = reinterpret_cast<ZyImage>(&image);
    unsigned char data[64] = {};
    EXPECT_EQ(ZyBase_CreateImage(0, 5, ZY_IMAGE_TYPE_GRAY, &image), EINVAL);
    EXPECT_EQ(image, nullptr);
    EXPECT_EQ(ZyBase_CreateImage(5, -1, ZY_IMAGE_TYPE_GRAY, &image), EINVAL);
    EXPECT_EQ(ZyBase_CreateImage(5, 5, ZY_IMAGE_TYPE_UNKNOWN, &image), EINVAL);
    EXPECT_EQ(ZyBase_CreateImage(5, 5, 3, &image), EINVAL);
    EXPECT_EQ(ZyBase_CreateImage(5, 5, ZY_IMAGE_TYPE_GRAY, nullptr), EINVAL);
    EXPECT_EQ(ZyBase_CreateImage(1 << 30, 1 << 30, ZY_IMAGE_TYPE_RGB, &image), ENOMEM);
    EXPECT_EQ(ZyBase_CreateImageWithData(4, 4, ZY_IMAGE_TYPE_RGB, 11, 0, data, &image), EINVAL);
    EXPECT_EQ(ZyBase_CreateImageWithData(4, 4, ZY_IMAGE_TYPE_GRAY, 4, 2, data, &image), EINVAL);
    EXPECT_EQ(ZyBase_CreateImageWithData(4, 4, ZY_IMAGE_TYPE_GRAY, 4, 0, nullptr, &image), EINVAL);
    EXPECT_EQ(ZyBase_CreateImageWithData(4, 4, ZY_IMAGE_TYPE_UNKNOWN, 4, 0, data, &image), EINVAL);
    EXPECT_EQ(image, nullptr);

    Image valid;
    ASSERT_EQ(ZyBase_CreateImageWithData(4, 4, ZY_IMAGE_TYPE_GRAY, 4, 0, data, valid.out()), 0);
    unsigned int rgb = 0;
    EXPECT_EQ(ZyBase_GetImagePixel(valid.get(), 4, 0, &rgb), EINVAL);
    EXPECT_EQ(ZyBase_GetImagePixel(valid.get(), 0, 4, &rgb), EINVAL);
    EXPECT_EQ(ZyBase_GetImagePixel(valid.get(), -1, 0, &rgb), EINVAL);
    EXPECT_EQ(ZyBase_GetImagePixel(valid.get(), 0, 0, nullptr), EINVAL);
    EXPECT_EQ(ZyBase_SetImageDpi(valid.get(), -1, 300), EINVAL);
    int dpi = 0;
    EXPECT_EQ(ZyBase_GetImageDpi(valid.get(), &dpi, nullptr), EINVAL);
    EXPECT_EQ(ZyBase_GetImageInfo(valid.get(), nullptr), EINVAL);
    EXPECT_EQ(ZyBase_GetImageData(valid.get(), nullptr), EINVAL);
    EXPECT_EQ(ZyBase_CloneImage(valid.get(), nullptr), EINVAL);

    ZyImage none = nullptr;
    ZyImageInfo info{};
    unsigned char* pixels = nullptr;
    EXPECT_EQ(ZyBase_CloneImage(none, &image), EINVAL);
    EXPECT_EQ(ZyBase_DestroyImage(none), EINVAL);
    EXPECT_EQ(ZyBase_GetImageInfo(none, &info), EINVAL);
    EXPECT_EQ(ZyBase_GetImageData(none, &pixels), EINVAL);
    EXPECT_EQ(ZyBase_GetImagePixel(none, 0, 0, &rgb), EINVAL);
    EXPECT_EQ(ZyBase_GetImageDpi(none, &dpi, &dpi), EINVAL);
    EXPECT_EQ(ZyBase_SetImageDpi(none, 1, 1), EINVAL);
    EXPECT_EQ(ZyBase_ImageRotateLeft(none), EINVAL);
    EXPECT_EQ(ZyBase_ImageRotateRight(none), EINVAL);
    EXPECT_EQ(ZyBase_ImageRotate180(none), EINVAL);
}
