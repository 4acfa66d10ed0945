#include "ZyImgView.h"
#include "dialog_test_support.h"

#include <gtest/gtest.h>

#include <QMimeData>
#include <QSignalSpy>
#include <QToolTip>
#include <QWheelEvent>

#include <functional>
#include <vector>

namespace {

struct rect {
    float left, top, right, bottom;
};

void expectRect(const ZyRectF& shown, const rect& expected)
{
    EXPECT_NEAR(shown.left, expected.left, 0.01);
    EXPECT_NEAR(shown.top, expected.top, 0.01);
    EXPECT_NEAR(shown.right, expected.right, 0.01);
    EXPECT_NEAR(shown.bottom, expected.bottom, 0.01);
}

// A 400 x 300 view, the bars 10 thick and sliders at least 8 long.
class ImageView : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_view.resize(400, 300);
        m_view.show();
    }
    void load(int width, int height, int type = ZY_IMAGE_TYPE_GRAY)
    {
        const unique_image image =
            makeImage(width, height, type, [](int x, int y, int c) { return x * 60 + y * 100 + c; });
        ASSERT_EQ(m_view.addImage(image.get()), 0);
    }
    void wheel(QPoint pos, int delta, Qt::KeyboardModifiers modifiers = {})
    {
        QWheelEvent event(pos, m_view.mapToGlobal(pos), {}, {0, delta}, Qt::NoButton, modifiers,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&m_view, &event);
    }
    // Straight to the view: moving the platform's cursor does not carry held buttons.
    void move(QPoint pos, Qt::MouseButtons held = Qt::NoButton)
    {
        QMouseEvent event(QEvent::MouseMove, pos, m_view.mapToGlobal(pos), Qt::NoButton, held, {});
        QCoreApplication::sendEvent(&m_view, &event);
    }
    double lastScale(const QSignalSpy& spy) { return spy.isEmpty() ? 0 : spy.last()[0].toDouble(); }

    ZyImgView m_view;
};

TEST_F(ImageView, FitsTheImageIntoTheWindow)
{
    const struct {
        int width, height;
        rect shown;
        double scale;
    } cases[] = {
        {200, 100, {100, 100, 300, 200}, 1.0}, // real size, centred
        {201, 101, {99, 99, 300, 200}, 1.0},   // in whole pixels
        {800, 200, {0, 100, 400, 200}, 0.5},   // the width fills
        {200, 600, {150, 0, 250, 300}, 0.5},   // the height fills
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.width) + "x" + std::to_string(c.height));
        QSignalSpy scale(&m_view, &ZyImgView::scaleChanged);
        load(c.width, c.height);
        expectRect(m_view.showRect(), c.shown);
        EXPECT_DOUBLE_EQ(lastScale(scale), c.scale);
        EXPECT_FALSE(m_view.hScrollShown() || m_view.vScrollShown());
    }
}

TEST_F(ImageView, AFittedImageFollowsTheWindowAndAZoomedOneKeepsItsSize)
{
    ZyImgView hidden; // zoomed before it is first laid out
    hidden.resize(400, 300);
    const unique_image image = makeImage(800, 200, ZY_IMAGE_TYPE_GRAY, [](int, int, int) { return 0; });
    hidden.addImage(image.get());
    ASSERT_EQ(hidden.realSize(), 0);
    hidden.show();
    EXPECT_FLOAT_EQ(hidden.showRect().width(), 800);

    load(800, 200);
    m_view.resize(200, 300);
    ASSERT_TRUE(waitUntil([&] { return m_view.width() == 200; }));
    expectRect(m_view.showRect(), {0, 125, 200, 175});
    m_view.zoomIn();
    m_view.resize(400, 300);
    ASSERT_TRUE(waitUntil([&] { return m_view.width() == 400; }));
    EXPECT_FLOAT_EQ(m_view.showRect().width(), 240);
}

TEST_F(ImageView, ScrollBarsFollowTheShownPart)
{
    const struct {
        int width, height;
        std::vector<std::pair<int, QRect>> parts;
    } cases[] = {
        {1000, 1000, {{ZyImgView::StatusHSlider, {121, 290, 144, 10}},
                      {ZyImgView::StatusVSlider, {390, 105, 10, 78}},
                      {ZyImgView::StatusHTrack, {10, 290, 370, 10}},
                      {ZyImgView::StatusLeftArrow, {0, 290, 10, 10}},
                      {ZyImgView::StatusRightArrow, {380, 290, 10, 10}},
                      {ZyImgView::StatusTopArrow, {390, 0, 10, 10}},
                      {ZyImgView::StatusBottomArrow, {390, 280, 10, 10}},
                      {ZyImgView::StatusCorner, {390, 290, 10, 10}}}},
        // The slider would be 4 long: it keeps 8 and still runs the whole track.
        {40000, 100, {{ZyImgView::StatusHSlider, {196, 290, 8, 10}},
                      {ZyImgView::StatusHTrack, {10, 290, 380, 10}},
                      {ZyImgView::StatusRightArrow, {390, 290, 10, 10}},
                      {ZyImgView::StatusVSlider, {}},
                      {ZyImgView::StatusCorner, {}}}},
    };
    move({1, 1});
    for (const auto& c : cases) {
        SCOPED_TRACE(c.width);
        load(c.width, c.height);
        ASSERT_EQ(m_view.realSize(), 0);
        for (const auto& [status, expected] : c.parts) {
            EXPECT_EQ(m_view.scrollPartRect(status), expected) << status;
            if (!expected.isEmpty()) { // its corner: the slider covers the track's middle
                EXPECT_EQ(m_view.getMouseStatus(expected.topLeft() + QPoint(1, 1)), status);
            }
        }
        EXPECT_EQ(m_view.getMouseStatus({100, 100}), ZyImgView::StatusImage);
    }
}

TEST_F(ImageView, WheelZoomsAboutThePointer)
{
    const struct {
        int delta;
        Qt::KeyboardModifiers modifiers;
        rect shown;
    } cases[] = {
        {120, {}, {-380, -440, 820, 760}},                   // x 1.2
        {120, Qt::ControlModifier, {-304, -354.5, 706, 655.5}}, // + 1 % of the image
        {-120, {}, {-233.33f, -275, 600, 558.33f}},          // / 1.2
    };
    load(1000, 1000);
    for (const auto& c : cases) {
        m_view.realSize();
        wheel({100, 100}, c.delta, c.modifiers);
        expectRect(m_view.showRect(), c.shown);
    }
}

TEST_F(ImageView, ZoomStaysBetweenTheFitAndTwentyTimes)
{
    for (const auto& [width, height, fit] : {std::tuple{200, 100, 1.0}, {800, 200, 0.5}}) {
        QSignalSpy scale(&m_view, &ZyImgView::scaleChanged);
        load(width, height);
        for (int i = 0; i < 30; ++i)
            EXPECT_EQ(m_view.zoomIn(), 0);
        EXPECT_NEAR(m_view.showRect().width(), 20.0 * width, 0.01);
        EXPECT_NEAR(lastScale(scale), 20.0, 1e-4);
        for (int i = 0; i < 30; ++i)
            EXPECT_EQ(m_view.zoomOut(), 0);
        EXPECT_NEAR(lastScale(scale), fit, 1e-4);
        EXPECT_NEAR(m_view.showRect().height(), fit * height, 0.01);
    }
}

TEST_F(ImageView, FitWidthMakesRoomForTheBarOnlyWhenNeeded)
{
    const struct {
        int width, height;
        float shownWidth, shownHeight;
        bool bar;
    } cases[] = {
        {200, 600, 390, 1170, true},
        {400, 301, 400, 301, false}, // fits beside a bar, so none and the full width
        {100, 50, 400, 200, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.width);
        load(c.width, c.height);
        ASSERT_EQ(m_view.fitWndWidth(), 0);
        EXPECT_NEAR(m_view.showRect().width(), c.shownWidth, 0.01);
        EXPECT_NEAR(m_view.showRect().height(), c.shownHeight, 0.01);
        EXPECT_EQ(m_view.vScrollShown(), c.bar);
        EXPECT_FALSE(m_view.hScrollShown());
    }
}

TEST_F(ImageView, FourTurnsGiveTheImageBack)
{
    load(3, 2, ZY_IMAGE_TYPE_RGB);
    const std::function<int()> turns[] = {[&] { return m_view.rotateLeft(); },
                                          [&] { return m_view.rotateRight(); },
                                          [&] { return m_view.rotate180(); }};
    for (int turn = 0; turn < 3; ++turn) {
        for (int i = 0; i < 4; ++i) {
            ASSERT_EQ(turns[turn](), 0);
            const float expectedWidth = turn < 2 && i % 2 == 0 ? 2 : 3;
            EXPECT_FLOAT_EQ(m_view.showRect().width(), expectedWidth);
        }
        ZyImage back = nullptr;
        ASSERT_EQ(m_view.getImage(&back), 0);
        const unique_image owned(back);
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x) {
                unsigned int rgb = 0;
                ZyBase_GetImagePixel(back, x, y, &rgb);
                EXPECT_EQ(rgb >> 16, unsigned(x * 60 + y * 100)) << x << "," << y;
            }
    }
}

TEST_F(ImageView, PointerReportsThePixelAndItsColour)
{
    load(4, 2, ZY_IMAGE_TYPE_RGB); // shown at (198, 149)
    QSignalSpy pos(&m_view, &ZyImgView::mousePos);
    ASSERT_EQ(m_view.showColorInfo(true), 0);
    move({199, 149});
    ASSERT_FALSE(pos.isEmpty());
    EXPECT_EQ(pos.last(), (QList<QVariant>{1, 0}));
    EXPECT_EQ(QToolTip::text(), "X: 1, Y: 0\nRGB(60, 61, 62)\nHTML(#3C3D3E)");

    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(&m_view, &leave);
    EXPECT_EQ(pos.last(), (QList<QVariant>{0, 0}));
}

TEST_F(ImageView, RefusesWithoutImageAndWhileDragging)
{
    const std::function<int()> operations[] = {
        [&] { return m_view.realSize(); },     [&] { return m_view.fitWndSize(); },
        [&] { return m_view.fitWndWidth(); },  [&] { return m_view.zoomIn(); },
        [&] { return m_view.zoomOut(); },      [&] { return m_view.rotateLeft(); },
        [&] { return m_view.rotateRight(); },  [&] { return m_view.rotate180(); },
        [&] { return m_view.showColorInfo(true); }, [&] { return m_view.reset(); },
    };
    for (const auto& operation : operations)
        EXPECT_EQ(operation(), 1);
    EXPECT_EQ(m_view.addImage(nullptr), 3);

    load(1000, 1000);
    m_view.realSize();
    EXPECT_EQ(m_view.setScrollSize(12), 1); // only without image
    QTest::mousePress(&m_view, Qt::LeftButton, {}, {200, 150});
    for (const auto& operation : operations)
        EXPECT_EQ(operation(), 1);
    move({150, 100}, Qt::LeftButton);
    expectRect(m_view.showRect(), {-350, -400, 650, 600});
    move({-2000, -2000}, Qt::LeftButton); // held at the far edges
    expectRect(m_view.showRect(), {-610, -710, 390, 290});
    QTest::mouseRelease(&m_view, Qt::LeftButton, {}, {-2000, -2000});
    for (const auto& operation : operations)
        EXPECT_EQ(operation(), 0);
}

TEST_F(ImageView, ReportsKeysClicksAndDroppedFiles)
{
    load(200, 100);
    QSignalSpy escape(&m_view, &ZyImgView::escape);
    QSignalSpy doubleClicked(&m_view, &ZyImgView::doubleClicked);
    QStringList dropped;
    QObject::connect(&m_view, &ZyImgView::drop,
                     [&](const QObject*, const QStringList& files) { dropped << files; });
    QTest::keyClick(&m_view, Qt::Key_Escape);
    QTest::mouseDClick(&m_view, Qt::LeftButton, {}, {150, 150});
    EXPECT_EQ(escape.size(), 1);
    EXPECT_EQ(doubleClicked.size(), 1);

    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile("/tmp/a b.png"), QUrl("https://example.com/c.png")});
    // A drop reaches the widget that accepted the drag's entry.
    QDragEnterEvent enter({10, 10}, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&m_view, &enter);
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&m_view, &drop);
    EXPECT_EQ(dropped, QStringList{"/tmp/a b.png"});
}

} // namespace
