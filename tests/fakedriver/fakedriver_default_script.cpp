// The ready-made script: a Chinese sheet-fed document scanner, built through
// the public scripting functions only.
#include "fakedriver.h"

#include <cstring>
#include <vector>

namespace {

constexpr SANE_Fixed mm(double millimetres)
{
    return static_cast<SANE_Fixed>(millimetres * 65536.0);
}

// A 32-byte zero header, then five identity tables (RGB, gray, red, green, blue).
std::vector<unsigned char> identity_tone_curve()
{
    std::vector<unsigned char> record(32 + 5 * 256, 0);
    for (int table = 0; table < 5; ++table) {
        for (int level = 0; level < 256; ++level)
            record[32 + table * 256 + level] = static_cast<unsigned char>(level);
    }
    return record;
}

void add_basic_group()
{
    fakedriver_add_group("基本设置");

    static const char* const modes[] = {"彩色", "灰度", "黑白", nullptr};
    fakedriver_add_string_list("mode", "颜色模式", "选择扫描的颜色模式", modes, "彩色");

    static const SANE_Int resolutions[] = {100, 150, 200, 300, 600};
    const int resolution = fakedriver_add_int_list("resolution", "分辨率", "设置扫描分辨率",
                                                   resolutions, 5, 200);
    fakedriver_set_unit(resolution, SANE_UNIT_DPI);

    static const char* const papers[] = {"A4", "A5", "B5", "A3", "Letter", "匹配原始尺寸", nullptr};
    fakedriver_add_string_list("paper", "纸张尺寸", "设置纸张尺寸", papers, "A4");

    static const char* const sides[] = {"单面", "双面", nullptr};
    fakedriver_add_string_list("page", "扫描页面", "单面或双面扫描", sides, "双面");

    const int multiout = fakedriver_add_bool("is-multiout", "多流输出", "同时输出多种颜色模式", SANE_FALSE);
    static const char* const streams[] = {"彩色+灰度+黑白", "彩色+灰度", "彩色+黑白", "灰度+黑白", nullptr};
    const int multiout_type = fakedriver_add_string_list("multiout-type", "多流输出类型",
                                                         "多流输出的组合", streams, "彩色+灰度+黑白");
    fakedriver_active_when_word(multiout_type, multiout, SANE_TRUE);

    const int custom_area = fakedriver_add_bool("is-custom-area", "自定义区域", "使用自定义扫描区域", SANE_FALSE);
    const struct {
        const char* name;
        const char* title;
        double max;
        double value;
    } corners[] = {{"tl-x", "左上角X", 210.0, 0.0},
                   {"tl-y", "左上角Y", 297.0, 0.0},
                   {"br-x", "右下角X", 210.0, 210.0},
                   {"br-y", "右下角Y", 297.0, 297.0}};
    for (const auto& corner : corners) {
        const int n = fakedriver_add_fixed_range(corner.name, corner.title, "扫描区域的坐标",
                                                 mm(0.0), mm(corner.max), 0, mm(corner.value));
        fakedriver_set_unit(n, SANE_UNIT_MM);
        fakedriver_active_when_word(n, custom_area, SANE_TRUE);
    }

    static const char* const scan_modes[] = {"连续扫描", "扫描指定张数", nullptr};
    const int scan_mode = fakedriver_add_string_list("scan-mode", "扫描方式", "连续扫描或扫描指定张数",
                                                     scan_modes, "连续扫描");
    const int scan_count = fakedriver_add_int_range("scan-count", "扫描张数", "要扫描的张数", 0, 500, 1, 1);
    fakedriver_active_when_string(scan_count, scan_mode, "扫描指定张数");
}

void add_brightness_group()
{
    fakedriver_add_group("亮度调节");
    fakedriver_add_fixed_range("brightness", "亮度", "调节图像亮度", mm(-100.0), mm(100.0), 0, 0);
    fakedriver_add_int_range("contrast", "对比度", "调节图像对比度", 1, 7, 1, 4);
    fakedriver_add_fixed_range("gamma", "伽马", "调节伽马值", mm(0.01), mm(5.0), 0, mm(1.0));
    fakedriver_add_bool("is-custom-gamma", "色调曲线", "使用自定义色调曲线", SANE_FALSE);
}

void add_image_group(int mode)
{
    fakedriver_add_group("图像处理");

    static const char* const directions[] = {"0°", "90°", "180°", "-90°", "自动文本方向识别°", nullptr};
    fakedriver_add_string_list("direction", "旋转", "图像旋转方向", directions, "0°");
    fakedriver_add_bool("is-rid-morr", "去除摩尔纹", "去除图像中的摩尔纹", SANE_FALSE);
    fakedriver_add_bool("is-rid-grid", "除网纹", "去除图像中的网纹", SANE_FALSE);
    fakedriver_add_bool("discard-blank", "去除空白页", "丢弃空白页", SANE_FALSE);

    const int threshold = fakedriver_add_int_range("threshold", "阈值", "黑白图像的阈值", 0, 255, 1, 128);
    fakedriver_active_when_string(threshold, mode, "黑白");

    fakedriver_add_int_range("anti-noise-level", "噪点优化尺寸", "去除小于此尺寸的噪点", 10, 50, 1, 30);
    fakedriver_add_int_range("margin", "边缘缩进", "裁切时的边缘缩进", 0, 30, 1, 5);

    static const char* const sharpen[] = {"无", "锐化", "进一步锐化", "模糊", "进一步模糊", nullptr};
    fakedriver_add_string_list("sharpen", "锐化与模糊", "锐化或模糊图像", sharpen, "无");
    fakedriver_add_string("file-prefix", "文件名前缀", "保存文件的名称前缀", 64, "scan");
    fakedriver_add_button("restore", "恢复默认设置", "将所有设置恢复为默认值");
}

void add_device_facts()
{
    const std::vector<unsigned char> curve = identity_tone_curve();
    fakedriver_set_private_data(34906, curve.data(), curve.size());
    fakedriver_set_private_word(34899, 0x1a2b);
    fakedriver_set_private_text(34901, "FS-1000");
    fakedriver_set_private_text(34890, "1.0.3.20240105");
    fakedriver_set_private_text(34903, "FW2.1.0305");
    fakedriver_set_private_text(34902, "FS1000A0012345");
    fakedriver_set_private_word(39170, 12345);
    fakedriver_set_private_word(34889, 67890);
    fakedriver_set_private_text(34918, "2023-05-06 09:30:00");
}

} // namespace

extern "C" void fakedriver_load_default_script(void)
{
    fakedriver_reset();
    add_basic_group();
    add_brightness_group();
    add_image_group(fakedriver_find("mode"));
    add_device_facts();
    fakedriver_add_device("fake:FS-1000", "Fake", "FS-1000", "sheetfed scanner");
    fakedriver_add_test_page(32, 16);
    fakedriver_add_test_page(32, 16);
}
