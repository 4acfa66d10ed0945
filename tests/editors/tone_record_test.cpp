// The tone-curve record: stored from the dialog, loaded back, and what it refuses.
#include "editors_test_support.h"

#include "setpicclrtool.h"
#include "tonecurverecord.h"

#include <gtest/gtest.h>

namespace {

const Points kIdentity{{0, 0}, {255, 255}};

struct State
{
    int grayMode, preset, channel;
    Points rgb, red, green, blue, gray;
};

void apply(setPicClrTool& tool, const State& s)
{
    tool.setRgbAndColorType(s.preset, s.channel);
    tool.setRgbKeyPoint(s.rgb);
    tool.setRedKeyPoint(s.red);
    tool.setGreenKeyPoint(s.green);
    tool.setBlueKeyPoint(s.blue);
    tool.setGrayKeyPoint(s.gray);
}

void expectSameCurves(const setPicClrTool& a, const setPicClrTool& b)
{
    EXPECT_EQ(b.getRgbAndColorType(), a.getRgbAndColorType());
    EXPECT_EQ(b.getRGBKeyTable(), a.getRGBKeyTable());
    EXPECT_EQ(b.getGrayKeyTable(), a.getGrayKeyTable());
}

const State kCustom{0, 0, 3, {{0, 0}, {255, 255}, {128, 200}}, {{10, 30}, {240, 220}, {60, 40}, {180, 200}},
                    {{5, 250}, {250, 3}}, {{0, 0}, {255, 255}, {1, 255}}, {{0, 40}, {255, 255}}};

} // namespace

TEST(ToneRecord, StoredRecordLoadsBackExactly)
{
    std::vector<State> states = {
        kCustom,
        {1, 4, 1, {}, {}, {}, {}, {{0, 0}, {255, 255}, {64, 100}, {192, 150}}},
        {0, 1, 2, {{0, 255}, {255, 0}}, kIdentity, kIdentity, kIdentity, kIdentity},
    };
    std::mt19937 rng(42);
    for (int i = 0; i < 30; ++i) {
        const int channels[] = {0, 2, 3, 4};
        states.push_back({i % 3 == 0, int(rng() % 5), channels[rng() % 4], randomKeyList(rng), randomKeyList(rng),
                          randomKeyList(rng), randomKeyList(rng), randomKeyList(rng)});
    }
    for (const State& s : states) {
        setPicClrTool original(s.grayMode);
        apply(original, s);
        ToneCurveRecord stored;
        stored.storeFrom(original);

        ToneCurveRecord read;
        ASSERT_TRUE(read.assign(stored.data(), stored.size()));
        setPicClrTool reloaded(s.grayMode);
        read.loadInto(reloaded);
        expectSameCurves(original, reloaded);
        ToneCurveRecord again;
        again.storeFrom(reloaded);
        EXPECT_TRUE(again == stored) << str(s.rgb) << " " << str(s.gray);
    }

    // And the user sees the same picture.
    setPicClrTool shown(0);
    apply(shown, kCustom);
    ToneCurveRecord stored;
    stored.storeFrom(shown);
    setPicClrTool reloaded(0);
    stored.loadInto(reloaded);
    for (setPicClrTool* tool : {&shown, &reloaded}) {
        tool->resize(580, 600);
        showExposed(*tool);
    }
    EXPECT_EQ(shown.findChild<Widget*>()->grab().toImage(), reloaded.findChild<Widget*>()->grab().toImage());
}

TEST(ToneRecord, FreshRecordsAndWrongLengths)
{
    ToneCurveRecord record;
    for (size_t i = 0; i < ToneCurveRecord::Size; ++i)
        ASSERT_EQ(record.data()[i], i < 32 ? 0 : (i - 32) % 256) << i;
    setPicClrTool tool(0);
    apply(tool, {0, 3, 2, {{0, 9}, {200, 255}}, {}, {}, {}, {}});
    record.loadInto(tool);
    expectSameCurves(setPicClrTool(0), tool);

    const std::vector<unsigned char> junk(2000, 0xAB);
    for (size_t length : {0, 32, 1280, 1311, 1313, 2000})
        EXPECT_FALSE(record.assign(junk.data(), length)) << length;
    EXPECT_FALSE(record.assign(nullptr, ToneCurveRecord::Size));
    EXPECT_TRUE(record == ToneCurveRecord());
}

TEST(ToneRecord, BrokenHeadersLoadAsTheIdentity)
{
    setPicClrTool source(0);
    apply(source, kCustom);
    ToneCurveRecord good;
    good.storeFrom(source);
    // Byte to break, its new value, channels that then load as the identity.
    const struct { size_t offset; unsigned char value; std::vector<int> identity; } cases[] = {
        {1, 9, {0, 1, 2, 3, 4}}, // unknown layout version
        {2, 7, {0}},             // too many RGB points
        {4, 1, {2}},             // one Red point
        {16, 250, {2}},          // Red's left end right of its right end
        {18, 5, {2}},            // Red's inner point outside its ends
        {20, 1, {3}},            // Blue's left end on its inner point's level
    };
    for (const auto& c : cases) {
        ToneCurveRecord broken = good;
        broken.data()[c.offset] = c.value;
        for (int channel = 0; channel < 5; ++channel) {
            const bool reset = std::count(c.identity.begin(), c.identity.end(), channel) > 0;
            EXPECT_EQ(broken.keyPoints(channel), reset ? kIdentity : good.keyPoints(channel))
                << "byte " << c.offset << " channel " << channel;
        }
    }

    // Random bytes from a device or a scheme: every curve loads by the rules.
    std::mt19937 rng(7);
    for (int i = 0; i < 200; ++i) {
        std::vector<unsigned char> bytes(ToneCurveRecord::Size);
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<unsigned char>(rng()); });
        bytes[1] = i % 2 ? 1 : bytes[1];
        ToneCurveRecord record;
        ASSERT_TRUE(record.assign(bytes.data(), bytes.size()));
        setPicClrTool tool(i % 3 == 0);
        record.loadInto(tool);
        const QVector<Points> lists = tool.getRGBKeyTable() << tool.getGrayKeyTable();
        for (const Points& p : lists)
            ASSERT_TRUE(Widget::isValidKeyList(p)) << str(p);
        for (int selector : tool.getRgbAndColorType())
            ASSERT_TRUE(selector >= 0 && selector < 5);
    }
}
