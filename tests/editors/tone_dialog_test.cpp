// The tone-curve dialog: presets, modes, edits and the lookup tables.
#include "editors_test_support.h"

#include "setpicclrtool.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

const Points kIdentity{{0, 0}, {255, 255}};

// Planes RGB, Red, Green, Blue, then gray.
std::vector<QVector<int>> planes(const setPicClrTool& tool)
{
    unsigned char bytes[1280];
    tool.getRGBTable(bytes, 1024);
    tool.getGrayTable(bytes + 1024, 256);
    std::vector<QVector<int>> out(5);
    for (int i = 0; i < 1280; ++i)
        out[i / 256].append(bytes[i]);
    return out;
}

std::string thrown(const std::function<void()>& call)
{
    try {
        call();
    } catch (const char* message) {
        return message;
    }
    return "nothing";
}

bool contains(const std::vector<int>& v, int i)
{
    return std::find(v.begin(), v.end(), i) != v.end();
}

bool enabled(const QComboBox* combo, int row)
{
    return combo->model()->flags(combo->model()->index(row, 0)) & Qt::ItemIsEnabled;
}

} // namespace

TEST(ToneDialog, PresetsFillTheirPlanes)
{
    // Planes RGB, Red, Green, Blue, then gray; empty means the identity.
    const struct { int grayMode; int preset; std::vector<Points> curves; } cases[] = {
        {0, 0, {}},
        {0, 1, {{{0, 255}, {255, 0}}}},
        {0, 2, {{}, {{33, 255}, {185, 0}, {119, 127}}, {{28, 255}, {132, 0}, {77, 127}}, {{25, 255}, {108, 0}, {60, 127}}}},
        {0, 3, {{{0, 0}, {255, 255}, {130, 101}}}},
        {0, 4, {{{0, 0}, {255, 255}, {103, 125}}}},
        {1, 1, {{{0, 255}, {255, 0}}, {}, {}, {}, {{0, 255}, {255, 0}}}},
        {1, 3, {{{0, 0}, {255, 255}, {130, 101}}, {}, {}, {}, {{0, 0}, {255, 255}, {130, 101}}}},
    };
    for (const auto& c : cases) {
        setPicClrTool tool(c.grayMode);
        tool.setRgbAndColorType(c.preset, 0);
        const auto got = planes(tool);
        for (int p = 0; p < 5; ++p) {
            const Points curve = p < int(c.curves.size()) && !c.curves[p].isEmpty() ? c.curves[p] : kIdentity;
            EXPECT_EQ(got[p], Widget::sampleCurve(curve)) << "preset " << c.preset << " plane " << p;
        }
    }
    setPicClrTool negative(0);
    negative.setRgbAndColorType(1, 0);
    const auto got = planes(negative);
    for (int i = 0; i < 256; ++i)
        ASSERT_EQ(got[0][i], 255 - i);
}

TEST(ToneDialog, ModesOfferTheirItems)
{
    const struct { int grayMode; std::vector<int> offPresets, offChannels; } modes[] = {{0, {}, {1}}, {1, {2}, {0, 2, 3, 4}}};
    for (const auto& m : modes) {
        setPicClrTool tool(m.grayMode);
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(enabled(tool.findChild<QComboBox*>("comboBox"), i), !contains(m.offPresets, i)) << i;
            EXPECT_EQ(enabled(tool.findChild<QComboBox*>("colorSetCmb"), i), !contains(m.offChannels, i)) << i;
        }
    }
    // Mode, preset and channel asked for, then what is selected.
    const struct { int grayMode, preset, channel; QVector<int> want; } selections[] = {
        {0, 0, 0, {0, 0}}, {0, 3, 4, {3, 4}}, {0, 4, 1, {4, 0}}, {0, 5, 2, {0, 2}},
        {0, -1, 9, {0, 0}}, {1, 0, 0, {0, 1}}, {1, 2, 0, {0, 1}}, {1, 4, 3, {4, 1}},
    };
    for (const auto& c : selections) {
        setPicClrTool tool(c.grayMode);
        tool.setRgbAndColorType(c.preset, c.channel);
        EXPECT_EQ(tool.getRgbAndColorType(), c.want) << c.grayMode << " " << c.preset << " " << c.channel;
    }
}

TEST(ToneDialog, EditingFallsBackToCustomAndKeepsTheCurve)
{
    setPicClrTool tool(0);
    tool.setRgbAndColorType(3, 0);
    showExposed(tool);
    auto* w = tool.findChild<Widget*>("widget");
    auto* input = tool.findChild<QLineEdit*>("inputEdt");
    auto* output = tool.findChild<QLineEdit*>("outputEdt");
    ASSERT_FALSE(input->isEnabled());

    QTest::mouseClick(w, Qt::LeftButton, {}, curvePos(*w, 130, 101));
    ASSERT_EQ(w->selectedIndex(), 2);
    EXPECT_TRUE(input->isEnabled());
    EXPECT_EQ(input->text(), "130");
    EXPECT_EQ(tool.getRgbKeyPoint(), (Points{{0, 0}, {255, 255}, {130, 101}})); // showing it moved nothing

    output->selectAll();
    QTest::keyClicks(output, "60");
    input->selectAll();
    QTest::keyClicks(input, "140");
    EXPECT_EQ(tool.getRgbAndColorType()[0], 0);
    EXPECT_EQ(tool.getRgbKeyPoint(), (Points{{0, 0}, {255, 255}, {140, 60}}));
}

TEST(ToneDialog, ButtonsAndWrongLengths)
{
    setPicClrTool tool(0);
    unsigned char buffer[2048];
    for (unsigned long len : {0ul, 255ul, 257ul, 1024ul})
        EXPECT_EQ(thrown([&] { tool.getGrayTable(buffer, len); }), "length is not 256.") << len;
    for (unsigned long len : {256ul, 1023ul, 1025ul})
        EXPECT_EQ(thrown([&] { tool.getRGBTable(buffer, len); }), "length is not 1024.") << len;

    tool.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    EXPECT_EQ(tool.result(), QDialog::Accepted);
    for (const QVector<int>& plane : planes(tool))
        EXPECT_EQ(plane, Widget::sampleCurve(kIdentity));

    tool.setRedKeyPoint({{0, 0}, {255, 255}, {50, 200}});
    tool.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel)->click();
    EXPECT_EQ(tool.result(), QDialog::Rejected);
    EXPECT_EQ(tool.getRedKeyPoint(), kIdentity);
}
