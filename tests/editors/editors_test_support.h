// Shared by the editor tests: placing the pointer on the curve grid.
#ifndef EDITORS_TEST_SUPPORT_H
#define EDITORS_TEST_SUPPORT_H

#include "widget.h"

#include <QApplication>
#include <QList>
#include <QMouseEvent>
#include <QPoint>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

using Points = QList<QPoint>;

// The widget position that the editor maps to curve point (cx, cy), cx, cy >= 0.
inline QPoint curvePos(const Widget& w, int cx, int cy)
{
    const QWidget* bar = w.findChild<QWidget*>("widget");
    const QWidget* table = w.findChild<QWidget*>("table");
    const QWidget* bottomBar = w.findChild<QWidget*>("widget_2");
    const int x = bar->width() + (cx * table->width() + 257) / 258;
    const int y = w.height() - bottomBar->height() - (cy * table->height() + 257) / 258;
    return {x, y};
}

// QTest moves the pointer through the window system; this reaches the widget itself.
inline void moveMouse(QWidget* w, QPoint pos, Qt::MouseButtons held = Qt::NoButton)
{
    QMouseEvent move(QEvent::MouseMove, pos, w->mapToGlobal(pos), Qt::NoButton, held, Qt::NoModifier);
    QApplication::sendEvent(w, &move);
}

inline void drag(QWidget* w, QPoint from, QPoint to)
{
    QTest::mousePress(w, Qt::LeftButton, {}, from);
    moveMouse(w, to, Qt::LeftButton);
    QTest::mouseRelease(w, Qt::LeftButton, {}, to);
}

inline std::string str(const Points& points)
{
    std::string text;
    for (const QPoint& p : points)
        text += "(" + std::to_string(p.x()) + "," + std::to_string(p.y()) + ")";
    return text;
}

// Two to four key points that keep the editor's rules.
inline Points randomKeyList(std::mt19937& rng)
{
    std::vector<int> xs;
    for (int n = 2 + int(rng() % 3); int(xs.size()) < n;) {
        const int x = int(rng() % 256);
        if (std::find(xs.begin(), xs.end(), x) == xs.end())
            xs.push_back(x);
    }
    std::sort(xs.begin(), xs.end());
    Points p{{xs.front(), int(rng() % 256)}, {xs.back(), int(rng() % 256)}};
    for (size_t i = 1; i + 1 < xs.size(); ++i)
        p.append({xs[i], int(rng() % 256)});
    return p;
}

inline void showExposed(QWidget& w)
{
    w.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&w));
}

#endif
