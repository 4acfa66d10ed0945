// Host images handed to the abnormal-image dialog, wrapped without a copy.
#include "sane_driver.h"
#include "test_support.h"

#include <cerrno>
#include <cstring>
#include <vector>

namespace {

SANE_Image host_image(SANE_Frame format, int depth, int width, int height, int stride,
                      std::vector<unsigned char>& pixels)
{
    SANE_Image image{};
    image.header = {format, SANE_TRUE, stride, width, height, depth};
    pixels.assign(std::size_t(stride) * std::size_t(height > 0 ? height : 0), 0);
    image.data = pixels.data();
    return image;
}

} // namespace

TEST(SaneImage, TypeFromFormatAndDepth)
{
    const struct {
        SANE_Frame format;
        int depth;
        int type;
    } rows[] = {
        {SANE_FRAME_GRAY, 1, ZY_IMAGE_TYPE_BINARY}, {SANE_FRAME_GRAY, 8, ZY_IMAGE_TYPE_GRAY},
        {SANE_FRAME_GRAY, 16, ZY_IMAGE_TYPE_UNKNOWN}, {SANE_FRAME_GRAY, 4, ZY_IMAGE_TYPE_UNKNOWN},
        {SANE_FRAME_RGB, 8, ZY_IMAGE_TYPE_RGB},     {SANE_FRAME_RGB, 16, ZY_IMAGE_TYPE_RGB},
        {SANE_FRAME_RGB, 1, ZY_IMAGE_TYPE_RGB},     {SANE_FRAME_RED, 8, ZY_IMAGE_TYPE_UNKNOWN},
        {SANE_FRAME_BLUE, 8, ZY_IMAGE_TYPE_UNKNOWN},
    };
    for (const auto& row : rows) {
        SANE_Parameters header{};
        header.format = row.format;
        header.depth = row.depth;
        EXPECT_EQ(SaneImageType(header), row.type) << row.format << " " << row.depth;
    }
}

// Each kind of frame is wrapped in place, with the host's geometry.
TEST(SaneImage, FramesAreWrappedWithoutCopy)
{
    const struct {
        SANE_Frame format;
        int depth;
        int width;
        int stride;
        int type;
    } rows[] = {
        {SANE_FRAME_RGB, 8, 3, 12, ZY_IMAGE_TYPE_RGB},
        {SANE_FRAME_GRAY, 8, 4, 4, ZY_IMAGE_TYPE_GRAY},
        {SANE_FRAME_GRAY, 1, 10, 2, ZY_IMAGE_TYPE_BINARY},
    };
    for (const auto& row : rows) {
        std::vector<unsigned char> pixels;
        const SANE_Image host = host_image(row.format, row.depth, row.width, 2, row.stride, pixels);
        ZyImage image = nullptr;
        ASSERT_EQ(SaneImageToZyImage(&host, &image), 0) << row.type;
        ZyImageInfo info{};
        unsigned char* data = nullptr;
        ASSERT_EQ(ZyBase_GetImageInfo(image, &info), 0);
        ASSERT_EQ(ZyBase_GetImageData(image, &data), 0);
        const ZyImageInfo expected = {row.width, 2, row.type, row.stride, ZY_IMAGE_ORIGIN_TOP_LEFT, 0, 0};
        EXPECT_EQ(std::memcmp(&info, &expected, sizeof(info)), 0) << row.type;
        EXPECT_EQ(data, pixels.data());
        ZyBase_DestroyImage(image);
    }
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
    EXPECT_EQ(DescribeSaneImage(nullptr, &info), EINVAL);

    ZyImage image = reinterpret_cast<ZyImage>(&info);
    EXPECT_EQ(SaneImageToZyImage(&deep, &image), EINVAL);
    EXPECT_EQ(image, nullptr);
}

TEST(SaneImage, MalformedRecordsAreRefused)
{
    std::vector<unsigned char> pixels[5];
    SANE_Image no_data = host_image(SANE_FRAME_GRAY, 8, 4, 4, 4, pixels[0]);
    no_data.data = nullptr;
    SANE_Image negative = host_image(SANE_FRAME_GRAY, 8, 4, 1, 4, pixels[1]);
    negative.header.lines = -1;
    const SANE_Image rows[] = {
        no_data,
        negative,
        host_image(SANE_FRAME_RGB, 8, 4, 2, 11, pixels[2]),  // rows too short
        host_image(SANE_FRAME_GRAY, 1, 9, 2, 1, pixels[3]),  // bit rows too short
        host_image(SANE_FRAME_GRAY, 8, 0, 4, 4, pixels[4]),  // empty
    };
    for (const SANE_Image& row : rows) {
        ZyImage image = reinterpret_cast<ZyImage>(&pixels);
        EXPECT_EQ(SaneImageToZyImage(&row, &image), EINVAL) << row.header.pixels_per_line;
        EXPECT_EQ(image, nullptr);
    }
    ZyImage image = nullptr;
    EXPECT_EQ(SaneImageToZyImage(nullptr, &image), EINVAL);
    EXPECT_EQ(SaneImageToZyImage(&no_data, nullptr), EINVAL);
}
