// Host images handed to the abnormal-image dialog, wrapped without a copy.
#include "sane_driver.h"
#include "test_support.h"

#include <cerrno>
#include <vector>

namespace {

SANE_Image host_image(SANE_Frame format, int depth, int width, int height, int stride,
                      std::vector<unsigned char>& pixels)
{
    SANE_Image image{};
    image.header.format = format;
    image.header.last_frame = SANE_TRUE;
    image.header.bytes_per_line = stride;
    image.header.pixels_per_line = width;
    image.header.lines = height;
    image.header.depth = depth;
    pixels.assign(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height > 0 ? height : 0), 0);
    image.data = pixels.data();
    return image;
}

class wrapped_image
{
public:
    explicit wrapped_image(const SANE_Image& image) { m_error = SaneImageToZyImage(&image, &m_image); }
    ~wrapped_image()
    {
        if (m_image)
            ZyBase_DestroyImage(m_image);
    }
    ZyImage get() const { return m_image; }
    int error() const { return m_error; }

    unsigned int pixel(int x, int y) const
    {
        unsigned int rgb = 0xdeadbeef;
        EXPECT_EQ(ZyBase_GetImagePixel(m_image, x, y, &rgb), 0);
        return rgb;
    }

private:
    ZyImage m_image = nullptr;
    int m_error = 0;
};

SANE_Parameters frame(SANE_Frame format, int depth)
{
    SANE_Parameters header{};
    header.format = format;
    header.depth = depth;
    return header;
}

} // namespace

TEST(SaneImage, TypeFromFormatAndDepth)
{
    EXPECT_EQ(SaneImageType(frame(SANE_FRAME_GRAY, 1)), ZY_IMAGE_TYPE_BINARY);
    EXPECT_EQ(SaneImageType(frame(SANE_FRAME_GRAY, 8)), ZY_IMAGE_TYPE_GRAY);
    EXPECT_EQ(SaneImageType(frame(SANE_FRAME_GRAY, 16)), ZY_IMAGE_TYPE_UNKNOWN);
    EXPECT_EQ(SaneImageType(frame(SANE_FRAME_GRAY, 4)), ZY_IMAGE_TYPE_UNKNOWN);
    EXPECT_EQ(SaneImageType(frame(SANE_FRAME_RGB, 8)), ZY_IMAGE_TYPE_RGB);
    EXPECT_EQ(SaneImageType(frame(SANE_FRAME_RGB, 16)), ZY_IMAGE_TYPE_RGB);
    EXPECT_EQ(SaneImageType(frame(SANE_FRAME_RGB, 1)), ZY_IMAGE_TYPE_RGB);
    EXPECT_EQ(SaneImageType(frame(SANE_FRAME_RED, 8)), ZY_IMAGE_TYPE_UNKNOWN);
    EXPECT_EQ(SaneImageType(frame(SANE_FRAME_BLUE, 8)), ZY_IMAGE_TYPE_UNKNOWN);
}

TEST(SaneImage, RgbWrapsTheHostPixelsWithoutCopy)
{
    std::vector<unsigned char> pixels;
    // 3 x 2 pixels, rows padded to 12 bytes.
    const SANE_Image image = host_image(SANE_FRAME_RGB, 8, 3, 2, 12, pixels);
    const unsigned char row0[] = {0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0x70, 0x80, 0x90};
    std::copy(std::begin(row0), std::end(row0), pixels.begin());
    pixels[12] = 0xff; // (0,1) red

    wrapped_image wrapped(image);
    ASSERT_EQ(wrapped.error(), 0);
    ZyImageInfo info{};
    ASSERT_EQ(ZyBase_GetImageInfo(wrapped.get(), &info), 0);
    EXPECT_EQ(info.width, 3);
    EXPECT_EQ(info.height, 2);
    EXPECT_EQ(info.stride, 12);
    EXPECT_EQ(info.type, ZY_IMAGE_TYPE_RGB);
    EXPECT_EQ(info.origin, ZY_IMAGE_ORIGIN_TOP_LEFT);

    unsigned char* data = nullptr;
    ASSERT_EQ(ZyBase_GetImageData(wrapped.get(), &data), 0);
    EXPECT_EQ(data, pixels.data());
    EXPECT_EQ(wrapped.pixel(0, 0), 0x102030u);
    EXPECT_EQ(wrapped.pixel(2, 0), 0x708090u);
    EXPECT_EQ(wrapped.pixel(0, 1), 0xff0000u);

    // A change to the host's buffer shows through: the image holds no copy.
    pixels[3] = 0x01;
    pixels[4] = 0x02;
    pixels[5] = 0x03;
    EXPECT_EQ(wrapped.pixel(1, 0), 0x010203u);
}

TEST(SaneImage, GreyAndBinaryPixelsReadBack)
{
    std::vector<unsigned char> grey_pixels;
    const SANE_Image grey = host_image(SANE_FRAME_GRAY, 8, 4, 2, 4, grey_pixels);
    grey_pixels[5] = 0x80;
    wrapped_image wrapped_grey(grey);
    ASSERT_EQ(wrapped_grey.error(), 0);
    EXPECT_EQ(wrapped_grey.pixel(1, 1), 0x808080u);
    EXPECT_EQ(wrapped_grey.pixel(0, 0), 0u);

    std::vector<unsigned char> bits;
    const SANE_Image binary = host_image(SANE_FRAME_GRAY, 1, 10, 2, 2, bits);
    bits[0] = 0x80; // (0,0) black, most significant bit first
    bits[3] = 0x40; // (9,1) black
    wrapped_image wrapped_binary(binary);
    ASSERT_EQ(wrapped_binary.error(), 0);
    ZyImageInfo info{};
    ASSERT_EQ(ZyBase_GetImageInfo(wrapped_binary.get(), &info), 0);
    EXPECT_EQ(info.type, ZY_IMAGE_TYPE_BINARY);
    EXPECT_EQ(wrapped_binary.pixel(0, 0), 0x000000u);
    EXPECT_EQ(wrapped_binary.pixel(1, 0), 0xffffffu);
    EXPECT_EQ(wrapped_binary.pixel(9, 1), 0x000000u);
}

TEST(SaneImage, UnknownTypeIsDescribedButNotWrapped)
{
    std::vector<unsigned char> pixels;
    const SANE_Image deep = host_image(SANE_FRAME_GRAY, 16, 5, 3, 10, pixels);

    ZyImageInfo info{};
    ASSERT_EQ(DescribeSaneImage(&deep, &info), 0);
    EXPECT_EQ(info.type, ZY_IMAGE_TYPE_UNKNOWN);
    EXPECT_EQ(info.width, 5);
    EXPECT_EQ(info.height, 3);
    EXPECT_EQ(info.stride, 10);
    EXPECT_EQ(info.origin, ZY_IMAGE_ORIGIN_TOP_LEFT);

    ZyImage image = reinterpret_cast<ZyImage>(&info);
    EXPECT_EQ(SaneImageToZyImage(&deep, &image), EINVAL);
    EXPECT_EQ(image, nullptr);
}

TEST(SaneImage, MalformedRecordsAreRefused)
{
    std::vector<unsigned char> pixels;
    ZyImage image = nullptr;

    SANE_Image no_data = host_image(SANE_FRAME_GRAY, 8, 4, 4, 4, pixels);
    no_data.data = nullptr;
    EXPECT_EQ(SaneImageToZyImage(&no_data, &image), EINVAL);

    const SANE_Image short_rows = host_image(SANE_FRAME_RGB, 8, 4, 2, 11, pixels);
    EXPECT_EQ(SaneImageToZyImage(&short_rows, &image), EINVAL);

    const SANE_Image short_bits = host_image(SANE_FRAME_GRAY, 1, 9, 2, 1, pixels);
    EXPECT_EQ(SaneImageToZyImage(&short_bits, &image), EINVAL);

    const SANE_Image empty = host_image(SANE_FRAME_GRAY, 8, 0, 4, 4, pixels);
    EXPECT_EQ(SaneImageToZyImage(&empty, &image), EINVAL);

    SANE_Image negative = host_image(SANE_FRAME_GRAY, 8, 4, 1, 4, pixels);
    negative.header.lines = -1;
    EXPECT_EQ(SaneImageToZyImage(&negative, &image), EINVAL);
    EXPECT_EQ(image, nullptr);

    EXPECT_EQ(SaneImageToZyImage(nullptr, &image), EINVAL);
    EXPECT_EQ(SaneImageToZyImage(&no_data, nullptr), EINVAL);
    ZyImageInfo info{};
    EXPECT_EQ(DescribeSaneImage(nullptr, &info), EINVAL);
}
