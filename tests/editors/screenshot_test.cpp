// What people see: both editors drawn, saved for a look, and their language.
#include "editors_test_support.h"

#include "cutdialog.h"
#include "cutpapertool.h"
#include "setpicclrtool.h"

#include <QComboBox>
#include <QDir>
#include <QImage>
#include <QTranslator>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

// Qt derives light texts and dark fields from a dark button and window colour.
const QPalette kDark(QColor(55, 55, 58), QColor(37, 37, 38));

// The widget drawn at twice its size, as on a high-density screen.
QImage renderTwice(QWidget* w)
{
    QImage image(w->size() * 2, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(2);
    image.fill(Qt::transparent);
    w->render(&image);
    return image;
}

void save(const QImage& image, const char* name)
{
    EXPECT_TRUE(image.save(QDir(EDITORS_ARTIFACT_DIR).filePath(name))) << name;
}

bool near(QRgb got, QColor want, int tolerance = 6)
{
    return std::abs(qRed(got) - want.red()) <= tolerance && std::abs(qGreen(got) - want.green()) <= tolerance
           && std::abs(qBlue(got) - want.blue()) <= tolerance;
}

// Device pixel of curve grid point (gx, gy) in an image of the editor at scale s.
QPoint gridPixel(const Widget& w, double gx, double gy, int s = 1)
{
    const QWidget* table = w.findChild<QWidget*>("table");
    return QPoint(int((table->x() + gx * table->width() / 258.0) * s),
                  int((table->height() - gy * table->height() / 258.0) * s));
}

} // namespace

TEST(Screenshots, ToneCurveEditor)
{
    for (const bool dark : {false, true}) {
        setPicClrTool tool(0);
        if (dark)
            tool.setPalette(kDark);
        auto* w = tool.findChild<Widget*>("widget");
        QVector<int> hist(256);
        for (int i = 100; i < 160; ++i)
            hist[i] = 4000 - (i - 130) * (i - 130) * 4;
        w->setHist_RGB(hist);
        tool.setRgbKeyPoint({{0, 0}, {255, 255}, {128, 170}});
        tool.setRedKeyPoint({{0, 0}, {255, 255}, {128, 80}});
        tool.setBlueKeyPoint({{0, 20}, {235, 255}});
        tool.resize(580, 600);
        showExposed(tool);
        QTest::mouseClick(w, Qt::LeftButton, {}, curvePos(*w, 128, 170));

        const QImage shot = tool.grab().toImage();
        save(shot, dark ? "tone_curve_dark.png" : "tone_curve.png");
        const QImage editor = w->grab().toImage();
        EXPECT_TRUE(near(editor.pixel(gridPixel(*w, 25, 230)), QColor(79, 79, 79))) << "plot background";
        EXPECT_TRUE(near(editor.pixel(gridPixel(*w, 130.5, 120)), QColor(Qt::gray))) << "histogram";
        EXPECT_TRUE(near(editor.pixel(gridPixel(*w, 127.5, 169.5)), Qt::white, 40)) << "selected key point";

        const QImage twice = renderTwice(w);
        save(twice, dark ? "tone_curve_dark_2x.png" : "tone_curve_2x.png");
        EXPECT_TRUE(near(twice.pixel(gridPixel(*w, 25, 230, 2)), QColor(79, 79, 79)));
    }
}

TEST(Screenshots, CropTool)
{
    for (const bool dark : {false, true}) {
        CutPaperTool tool(200, "A4", 300, 0);
        if (dark)
            tool.setPalette(kDark);
        QRectF area(30, 40, 120, 150);
        tool.setCutRectMM(area);
        showExposed(tool);
        auto* canvas = tool.findChild<cutDialog*>("widget");

        save(tool.grab().toImage(), dark ? "crop_tool_dark.png" : "crop_tool.png");
        const QImage sheet = canvas->grab().toImage();
        // 30 mm = 42.9 units across; the crop area stays white, the rest is veiled.
        EXPECT_TRUE(near(sheet.pixel(100, 150), Qt::white)) << "crop area";
        EXPECT_TRUE(near(sheet.pixel(20, 150), QColor(188, 188, 190), 8)) << "veiled sheet";
        EXPECT_TRUE(near(sheet.pixel(0, 150), QColor(112, 112, 115), 8)) << "veiled outline";
        save(renderTwice(canvas), dark ? "crop_canvas_dark_2x.png" : "crop_canvas_2x.png");
    }
}

TEST(Screenshots, EditorsSpeakTheCataloguesLanguage)
{
    const struct { const char* catalogue; const char *tone, *negative, *crop, *axes; } cases[] = {
        {"TwainUI_zh_EN.qm", "Custom tone curve", "Negative(RGB)", "Custom scan area", "Coordinate axis"},
        {"TwainUI_zh_TW.qm", "自訂色調曲線", "負片（RGB）", "自訂掃描區域", "座標軸"},
        {"TwainUI_zh_CN.qm", "自定义色调曲线", "负片（RGB）", "自定义扫描区域", "坐标轴"},
    };
    for (const auto& c : cases) {
        QTranslator translator;
        ASSERT_TRUE(translator.load(QString(EDITORS_QM_DIR "/") + c.catalogue)) << c.catalogue;
        QCoreApplication::installTranslator(&translator);
        setPicClrTool tone(0);
        CutPaperTool crop(200, "A4", 300, 1);
        const Widget axes;
        EXPECT_EQ(tone.windowTitle(), QString::fromUtf8(c.tone)) << c.catalogue;
        EXPECT_EQ(tone.findChild<QComboBox*>("comboBox")->itemText(1), QString::fromUtf8(c.negative));
        EXPECT_EQ(crop.windowTitle(), QString::fromUtf8(c.crop)) << c.catalogue;
        EXPECT_EQ(axes.windowTitle(), QString::fromUtf8(c.axes)) << c.catalogue;
        if (std::string(c.catalogue) == "TwainUI_zh_EN.qm") {
            showExposed(tone);
            showExposed(crop);
            save(tone.grab().toImage(), "tone_curve_en.png");
            save(crop.grab().toImage(), "crop_tool_en.png");
        }
        QCoreApplication::removeTranslator(&translator);
    }
}
