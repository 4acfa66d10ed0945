// The solver, the sampled curve and the key-point rules of the curve editor.
#include "editors_test_support.h"

#include "gaosixy.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <random>
#include <vector>

namespace {

// The polynomial through the points in exact integer arithmetic (Lagrange over
// one common denominator), truncated, clamped and flat outside the end points.
QVector<int> exactCurve(const Points& p)
{
    using Big = __int128;
    QVector<int> out(256);
    for (int x = 0; x < 256; ++x) {
        std::vector<Big> n(p.size(), 1), d(p.size(), 1);
        Big den = 1;
        for (int i = 0; i < p.size(); ++i) {
            for (int j = 0; j < p.size(); ++j) {
                if (j != i) {
                    n[i] *= x - p[j].x();
                    d[i] *= p[i].x() - p[j].x();
                }
            }
            den *= d[i];
        }
        Big num = 0;
        for (int i = 0; i < p.size(); ++i)
            num += p[i].y() * n[i] * (den / d[i]);
        const Big v = num / den;
        int y = v < 0 ? 0 : v > 255 ? 255 : int(v);
        if (x < p[0].x() || x > p[1].x())
            y = std::clamp(p[x < p[0].x() ? 0 : 1].y(), 0, 255);
        out[x] = y;
    }
    return out;
}

} // namespace

TEST(GaoSiXY, SolvesKnownSystems)
{
    const std::vector<std::vector<std::vector<double>>> systems = {
        {{2, 1, 5}, {1, 3, 10}},                    // x = 1, 3
        {{0, 2, 1, 7}, {1, 1, 1, 6}, {2, 1, 3, 13}}, // pivot in the last row: 1, 2, 3
        {{-1, 0, 0, -3}, {0, 0, 2, 8}, {0, 5, 0, 10}}, // 3, 2, 4
    };
    const std::vector<std::vector<double>> solutions = {{1, 3}, {1, 2, 3}, {3, 2, 4}};
    for (size_t s = 0; s < systems.size(); ++s) {
        auto a = systems[s];
        std::vector<double*> rows;
        for (auto& row : a)
            rows.push_back(row.data());
        std::vector<double> x(rows.size(), -99);
        GaoSiXY::solve(rows.data(), int(rows.size()), x.data());
        for (size_t i = 0; i < x.size(); ++i)
            EXPECT_NEAR(x[i], solutions[s][i], 1e-12) << "system " << s << " unknown " << i;
    }
    EXPECT_EQ(Widget::caculateAllMi(1000, 5), INT_MAX); // powers saturate instead of wrapping
}

TEST(Curve, SamplesTheExactPolynomial)
{
    std::vector<Points> lists = {
        {{0, 0}, {255, 255}},
        {{0, 255}, {255, 0}},
        {{0, 0}, {255, 255}, {128, 200}},
        {{0, 0}, {255, 255}, {64, 100}, {192, 150}},
        {{0, 0}, {255, 255}, {40, 250}},             // overshoots: clamped
        {{30, 10}, {200, 240}, {100, 128}},          // flat ends
        {{33, 255}, {185, 0}, {119, 127}},           // a falling preset
        {{0, 0}, {255, 255}, {1, 255}, {2, 0}},      // wild cubic
    };
    std::mt19937 rng(9);
    for (int i = 0; i < 400; ++i)
        lists.push_back(randomKeyList(rng));

    for (const Points& p : lists) {
        const QVector<int> got = Widget::sampleCurve(p);
        const QVector<int> want = exactCurve(p);
        for (int x = 0; x < 256; ++x)
            ASSERT_EQ(got[x], want[x]) << "level " << x << " of " << str(p);
    }
    const QVector<int> parabola = Widget::sampleCurve({{0, 0}, {255, 255}, {128, 200}});
    EXPECT_EQ(parabola[128], 200);
    EXPECT_EQ(parabola[255], 255);
}

TEST(Curve, DegenerateListsGiveUsableCurves)
{
    // A second point on a level is ignored rather than dividing by zero.
    EXPECT_EQ(Widget::sampleCurve({{0, 0}, {255, 255}, {100, 50}, {100, 200}}),
              Widget::sampleCurve({{0, 0}, {255, 255}, {100, 50}}));
    for (const Points& p : {Points{{5, 9}}, Points{}, Points{{-400, 7}, {9000, -3}, {100000, 300}}}) {
        for (int y : Widget::sampleCurve(p))
            ASSERT_TRUE(y >= 0 && y <= 255) << str(p);
    }
}

TEST(KeyPoints, CheckedSettersKeepTheRules)
{
    const struct { Points points; bool taken; } cases[] = {
        {{{0, 0}, {255, 255}, {60, 40}, {180, 200}}, true},
        {{{0, 0}, {255, 255}, {60, 40}, {180, 200}, {90, 90}}, false}, // five points
        {{{0, 0}}, false},
        {{{0, 0}, {255, 255}, {60, 40}, {60, 200}}, false}, // one level twice
        {{{200, 0}, {100, 255}}, false},                     // end points swapped
        {{{10, 0}, {255, 255}, {5, 9}}, false},              // inner point outside
        {{{0, 0}, {256, 255}}, false},                       // off the grid
    };
    for (const auto& c : cases) {
        Widget w;
        w.setRedKeyPoint(c.points);
        const Points want = c.taken ? c.points : Points{{0, 0}, {255, 255}};
        EXPECT_EQ(w.getRedKeyPoint(), want) << str(c.points);
        EXPECT_EQ(w.getRedALLPoint(), Widget::sampleCurve(want));
    }
}

TEST(KeyPoints, MouseAndKeys)
{
    using Act = std::function<void(Widget&)>;
    const auto click = [](Qt::MouseButton b, int cx, int cy) {
        return [=](Widget& w) { QTest::mouseClick(&w, b, {}, curvePos(w, cx, cy)); };
    };
    const auto dragTo = [](int fx, int fy, int tx, int ty) {
        return [=](Widget& w) { drag(&w, curvePos(w, fx, fy), curvePos(w, tx, ty)); };
    };
    const Points id{{0, 0}, {255, 255}};
    const Points three{{0, 0}, {255, 255}, {100, 100}};
    const Points four{{0, 0}, {255, 255}, {80, 80}, {160, 160}};
    const struct { const char* name; Points start; Act act; Points want; } cases[] = {
        {"click on the curve adds", id, click(Qt::LeftButton, 100, 100), three},
        {"click off the curve adds nothing", id, click(Qt::LeftButton, 100, 180), id},
        {"click beside the end points adds nothing", {{20, 20}, {200, 200}}, click(Qt::LeftButton, 10, 20),
         {{20, 20}, {200, 200}}},
        {"a fifth point is not added", four, click(Qt::LeftButton, 120, 120), four},
        {"end points are not removed", three, click(Qt::RightButton, 255, 255), three},
        {"right click removes an inner point", three, click(Qt::RightButton, 100, 100), id},
        {"left end stops before the next point", three, dragTo(0, 0, 150, 0), {{99, 0}, {255, 255}, {100, 100}}},
        {"right end stops after the inner point", three, dragTo(255, 255, 40, 255), {{0, 0}, {101, 255}, {100, 100}}},
        {"inner point stays inside the ends", three, dragTo(100, 100, 255, 30), {{0, 0}, {255, 255}, {254, 30}}},
        {"inner points do not cross", four, dragTo(80, 80, 200, 90), {{0, 0}, {255, 255}, {159, 90}, {160, 160}}},
        {"arrow keys nudge the selected point", three, [&](Widget& w) {
             click(Qt::LeftButton, 100, 100)(w);
             for (Qt::Key key : {Qt::Key_Right, Qt::Key_Up, Qt::Key_Up})
                 QTest::keyClick(&w, key);
         }, {{0, 0}, {255, 255}, {101, 102}}},
        // The right end and a level off the grid are refused.
        {"edits move the selected point within bounds", three, [&](Widget& w) {
             click(Qt::LeftButton, 100, 100)(w);
             for (int x : {255, 120})
                 w.setXCoorVal(x);
             for (int y : {300, 7})
                 w.setYCoorVal(y);
         }, {{0, 0}, {255, 255}, {120, 7}}},
    };
    for (const auto& c : cases) {
        Widget w;
        w.resize(556, 484);
        showExposed(w);
        w.setRgbKeyPoint(c.start);
        c.act(w);
        EXPECT_EQ(w.getRgbKeyPoint(), c.want) << c.name;
        EXPECT_EQ(w.getRgbALLPoint(), Widget::sampleCurve(c.want)) << c.name;
    }
}

TEST(KeyPoints, GreenCurveInTheRgbViewLandsInTheBlueTable)
{
    Widget w;
    w.resize(556, 484);
    showExposed(w);
    w.setGreenKeyPoint({{0, 0}, {255, 255}, {100, 180}});
    w.updateCurLinePnt(Widget::ChannelRgb);
    w.repaint();
    EXPECT_EQ(w.getBlueALLPoint(), Widget::sampleCurve(w.getGreenKeyPoint()));
    EXPECT_EQ(w.getBlueKeyPoint(), (Points{{0, 0}, {255, 255}}));
}
