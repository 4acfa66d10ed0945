// The crop canvas and the crop tool around it.
#include "editors_test_support.h"

#include "cutdialog.h"
#include "cutpapertool.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

// A4 at 300 units: 0.7 mm per unit across, the sheet 0.5 unit taller than drawn.
const double kMmPerUnitY = 297.0 / (300 * 99.0 / 70 + 0.5);

QRectF mmOfView(double l, double t, double r, double b)
{
    const auto two = [](double v) { return std::round(v * 100) / 100; };
    return {two(l * 0.7), two(t * kMmPerUnitY), two((r - l) * 0.7), two((b - t) * kMmPerUnitY)};
}

// The rectangle (50, 100)-(200, 300) in view units, set with the mouse.
void dragToStartRect(cutDialog& c)
{
    drag(&c, {0, 200}, {50, 200});
    drag(&c, {300, 200}, {200, 200});
    drag(&c, {150, 0}, {150, 100});
    drag(&c, {150, 424}, {150, 300});
}

std::vector<double> reported(cutDialog& c)
{
    std::vector<double> values;
    for (auto signal : {&cutDialog::cutRectX, &cutDialog::cutRectY, &cutDialog::cutRectWidth, &cutDialog::cutRectHeight}) {
        QSignalSpy spy(&c, signal);
        c.refreshView();
        values.push_back(spy.value(0).value(0).toDouble());
    }
    return values;
}

void typeInto(QLineEdit* edit, const QString& text)
{
    edit->setText(text);
    emit edit->textEdited(text);
}

} // namespace

TEST(CropCanvas, EveryPaperHasItsSize)
{
    const struct { const char* name; double widthMm, heightMm; int width, height; } papers[] = {
        {"A3", 297, 420.0, 304, 428},         {"A4横向", 297, 210.0, 322, 228},
        {"A4", 210, 297.0, 304, 428},         {"A5横向", 210, 148.0, 321, 227},
        {"A5", 148, 210.0, 304, 429},         {"A6横向", 148, 105.0, 323, 230},
        {"A6", 105, 148.0, 304, 426},         {"8开", 270, 390.0, 304, 437},
        {"16开", 190, 270.0, 304, 430},       {"16开横向", 270, 190.0, 320, 226},
        {"B4", 250, 353.0, 304, 427},         {"B5横向", 250, 176.0, 320, 227},
        {"B5", 176, 250.0, 304, 430},         {"B6横向", 176, 125.0, 323, 230},
        {"B6", 125, 176.0, 304, 426},         {"Letter", 216, 279.0, 304, 391},
        {"Letter横向", 279, 216.0, 352, 273}, {"Double Letter", 216, 559.0, 304, 780},
        {"LEGAL", 216, 356.0, 304, 498},      {"三联试卷", 270, 560.0, 304, 626},
        {"最大扫描尺寸", 297, 840.2, 304, 852},
    };
    for (const auto& p : papers) {
        cutDialog c;
        c.setPaperSize(QString::fromUtf8(p.name), 300);
        EXPECT_EQ(c.size(), QSize(p.width, p.height)) << p.name;
        EXPECT_NEAR(c.getPaperSize().width(), p.widthMm, 1e-9) << p.name;
        EXPECT_NEAR(c.getPaperSize().height(), p.heightMm, 0.05) << p.name;
    }

    cutDialog c;
    c.setPaperSize("A4", 200);
    EXPECT_EQ(c.size(), QSize(204, 286));
    c.setPaperSize("Postcard", 150); // unknown: the A4 proportions and scale stay
    EXPECT_EQ(c.size(), QSize(154, 216));
    EXPECT_NEAR(c.getPaperSize().width(), 150 * 210.0 / 200, 1e-9);
    c.setDpiValue(200);
    c.setPaperSize(QString::fromUtf8("匹配原始尺寸"), 300);
    EXPECT_EQ(c.size(), QSize(304, 456));
    EXPECT_NEAR(c.getPaperSize().width(), 0.7022887950000001, 1e-12);
}

TEST(CropCanvas, UnitsConvertBothWays)
{
    cutDialog c;
    c.setDpiValue(200);
    QRectF mm(10, 20.5, 100.3, 140);
    c.setCutRectMM(mm);
    EXPECT_EQ(c.getCutRectMM(), mm);
    EXPECT_EQ(c.getCutRectPixel(), QRectF(79, 161, 790, 1102));

    const struct { SIZETYPE unit; std::vector<double> values; } reports[] = {
        {MILLIM, {10, 20.5, 100.3, 140}},
        {INCH, {0.39, 0.81, 3.95, 5.51}},
        {PIXEL, {79, 161, 789, 1102}}, // x, y rounded; width, height truncated
    };
    for (const auto& r : reports) {
        c.setSizeType(r.unit);
        EXPECT_EQ(reported(c), r.values) << r.unit;
    }

    QRectF px(400, 800, 1000, 1200);
    c.setCutRectPixel(px);
    EXPECT_EQ(c.getCutRectPixel(), px);
}

TEST(CropCanvas, BadNumbersChangeNothing)
{
    cutDialog c;
    const QSize size = c.size();
    c.setPaperSize("A3", 0);
    c.setPaperSize("A3", 1 << 30);
    EXPECT_EQ(c.size(), size);
    c.setDpiValue(0);
    c.setDpiValue(-300);
    c.setSizeType(PIXEL);
    QRectF mm(10, 20, 30, 40);
    c.setCutRectMM(mm);
    QRectF px(100, 100, 100, 100);
    QRectF nan(std::numeric_limits<double>::quiet_NaN(), 0, 1, 1);
    c.setCutRectPixel(px);
    c.setCutRectMM(nan);
    c.setCutRectWidth(5);
    c.setCutRectStartX(std::numeric_limits<double>::infinity());
    EXPECT_EQ(c.getCutRectMM(), mm);
    EXPECT_EQ(c.getCutRectPixel(), QRectF(0, 0, 0, 0));
    for (double v : reported(c))
        EXPECT_TRUE(std::isfinite(v));
}

TEST(CropCanvas, HitTestHasAStrictFiveUnitReach)
{
    cutDialog c;
    showExposed(c);
    dragToStartRect(c);
    ASSERT_EQ(c.getCutRectMM(), mmOfView(50, 100, 200, 300));
    const struct { QPoint at; Qt::CursorShape cursor; } cases[] = {
        {{45, 200}, Qt::ArrowCursor},     {{46, 200}, Qt::SizeHorCursor},   {{54, 200}, Qt::SizeHorCursor},
        {{55, 200}, Qt::SizeAllCursor},   {{195, 200}, Qt::SizeAllCursor},  {{204, 200}, Qt::SizeHorCursor},
        {{205, 200}, Qt::ArrowCursor},    {{125, 96}, Qt::SizeVerCursor},   {{125, 95}, Qt::ArrowCursor},
        {{50, 100}, Qt::SizeFDiagCursor}, {{200, 100}, Qt::SizeBDiagCursor}, {{50, 300}, Qt::SizeBDiagCursor},
        {{200, 300}, Qt::SizeFDiagCursor},
    };
    for (const auto& h : cases) {
        moveMouse(&c, h.at);
        EXPECT_EQ(c.cursor().shape(), h.cursor) << h.at.x() << "," << h.at.y();
    }
}

TEST(CropCanvas, DragsStayOnThePaperAndAboveTheMinimum)
{
    const double paperBottom = 300 * 99.0 / 70 + 0.5;
    // The rectangle wanted, in view units: left, top, right, bottom.
    const struct { const char* name; QPoint from, to; QRectF want; } cases[] = {
        {"left edge off the paper", {50, 200}, {-40, 200}, {0, 100, 200, 300}},
        {"right edge 5 units from the left", {200, 200}, {55, 200}, {50, 100, 200, 300}},
        {"right edge 11 units from the left", {200, 200}, {61, 200}, {50, 100, 61, 300}},
        {"right edge across the left", {200, 200}, {20, 200}, {50, 100, 200, 300}},
        {"top edge 10 units from the bottom", {125, 100}, {125, 290}, {50, 100, 200, 300}},
        {"whole rectangle", {125, 200}, {95, 240}, {20, 140, 170, 340}},
        {"whole rectangle off the left", {125, 200}, {-100, 200}, {50, 100, 200, 300}},
        {"corner past the paper", {200, 300}, {400, 500}, {50, 100, 300, paperBottom}},
    };
    for (const auto& d : cases) {
        cutDialog c;
        showExposed(c);
        dragToStartRect(c);
        drag(&c, d.from, d.to);
        EXPECT_EQ(c.getCutRectMM(), mmOfView(d.want.x(), d.want.y(), d.want.width(), d.want.height())) << d.name;
    }

    cutDialog c;
    dragToStartRect(c);
    for (int i = 0; i < 60; ++i)
        QTest::keyClick(&c, Qt::Key_Left);
    QTest::keyClick(&c, Qt::Key_Down);
    EXPECT_EQ(c.getCutRectMM(), mmOfView(0, 101, 150, 301));
}

TEST(CropTool, ShowsThePaperInEachUnit)
{
    const struct { int unit; const char* size; const char* name; } cases[] = {
        {0, "(210 * 297)", "mm"}, {1, "(8.27 * 11.69)", "in"}, {2, "(1653 * 2338)", "px"}, {7, "(210 * 297)", "mm"}};
    for (const auto& c : cases) {
        CutPaperTool tool(200, "A4", 300, c.unit);
        EXPECT_EQ(tool.findChild<QLabel*>("sizeLabel")->text(), c.size) << c.unit;
        EXPECT_EQ(tool.findChild<QLabel*>("hLabel")->text(), c.name) << c.unit;
        EXPECT_EQ(tool.getUnit(), c.unit == 7 ? 0 : c.unit);
        EXPECT_EQ(tool.width(), 304 + 41);
    }
    CutPaperTool noDpi(0, "A4", 300, 2);
    EXPECT_EQ(noDpi.findChild<QLabel*>("sizeLabel")->text(), "(0 * 0)");
}

TEST(CropTool, EditsRefuseWhatLeavesThePaper)
{
    CutPaperTool tool(200, "A4", 300, 0);
    const auto edit = [&](const char* name) { return tool.findChild<QLineEdit*>(name); };
    EXPECT_EQ(edit("rectWidth")->text(), "210");
    EXPECT_EQ(edit("rectHeight")->text(), "297");
    const struct { const char* edit; const char* text; QRectF want; } steps[] = {
        {"startXEdt", "10", {10, 0, 200, 297}},
        {"rectWidth", "250", {10, 0, 200, 297}}, // more than the 200 mm right of x
        {"rectWidth", "150", {10, 0, 150, 297}},
        {"startXEdt", "170", {10, 0, 150, 297}}, // past the right edge at 160
        {"startYEdt", "300", {10, 0, 150, 297}},
        {"rectHeight", "abc", {10, 0, 150, 297}},
        {"startYEdt", "20.5", {10, 20.5, 150, 276.5}},
    };
    for (const auto& s : steps) {
        typeInto(edit(s.edit), s.text);
        EXPECT_EQ(tool.getCutRectMM(), s.want) << s.edit << " " << s.text;
    }
    // What the settings dialog will write for tl-x: a SANE_Fixed of 10 mm.
    EXPECT_EQ(static_cast<int>(tool.getCutRectMM().x() * 65536.0), 655360);

    tool.findChild<QPushButton*>("pbtn_init")->click();
    EXPECT_EQ(tool.getCutRectMM(), QRectF(0, 0, 210, 297));
    EXPECT_EQ(edit("startXEdt")->text(), "0");
}
