// A custom-painted view of one image: fit, real size and fit-width, zoom about
// a point, panning, its own painted scroll bars, rotation, a colour tooltip and
// dropped files. The view keeps its own copy of the image.
#ifndef ZYIMGVIEW_H
#define ZYIMGVIEW_H

#include <ZyBase.h>

#include <QImage>
#include <QWidget>

#include <array>

struct ZyPoint
{
    float x;
    float y;
};

struct ZyRectF
{
    float left;
    float top;
    float right;
    float bottom;

    float width() const { return right - left; }
    float height() const { return bottom - top; }
};

class ZyImgView : public QWidget
{
    Q_OBJECT

public:
    // Pointer regions: what lies under a point of the widget.
    enum MouseStatus {
        StatusNone = -1,
        StatusImage = 0,
        StatusHTrack = 1,
        StatusHSlider = 2,
        StatusLeftArrow = 3,
        StatusRightArrow = 4,
        StatusVTrack = 5,
        StatusVSlider = 6,
        StatusTopArrow = 7,
        StatusBottomArrow = 8,
        StatusCorner = 9
    };
    // The states a scroll bar part is painted in.
    enum PartState { StateNormal = 0, StateHover = 1, StatePressed = 2 };

    explicit ZyImgView(QWidget* parent = nullptr);
    ~ZyImgView() override;

    // Unless said otherwise, operations return 0, or 1 when refused: while a
    // scroll bar part is pressed or the image is being panned, or without image.

    // Shows a copy of image: 3 for a null handle, the base library's error when
    // the copy fails. An image of the old size keeps the zoom and position;
    // any other is fitted into the window.
    int addImage(ZyImage image);
    // A copy of the shown image, which the caller destroys.
    int getImage(ZyImage* image) const;
    int clearImage();
    // Fits the image into the window again.
    int reset();
    // Repaints at once.
    int Show();

    int realSize();
    int fitWndSize();
    int fitWndWidth();
    // Zoom keeping the image point under anchor in place (the centre without one);
    // with Ctrl held the step is 1 % of the image size instead of 20 %.
    int zoomIn(const ZyPoint* anchor = nullptr);
    int zoomOut(const ZyPoint* anchor = nullptr);
    int rotateLeft();
    int rotateRight();
    int rotate180();
    // A tooltip with the position and colour of the pixel under the pointer.
    int showColorInfo(bool show);

    // Refused (1) while dragging.
    int enableScroll(bool enable);
    int enableHighQuality(bool enable);
    // Bar thickness 10..20 and minimum slider length 8..64; refused (1) while
    // an image is loaded or outside those ranges.
    int setScrollSize(int size);
    int setMinScrollSliderSize(int size);

    // The look of the scroll bars. Images of a part with a stretch rectangle
    // keep their border outside it and stretch the inside; a null state image
    // falls back to the normal one.
    void setHScrollLeftImage(const QImage& normal, const QImage& hover, const QImage& pressed);
    void setHScrollRightImage(const QImage& normal, const QImage& hover, const QImage& pressed);
    void setVScrollTopImage(const QImage& normal, const QImage& hover, const QImage& pressed);
    void setVScrollBottomImage(const QImage& normal, const QImage& hover, const QImage& pressed);
    void setHScrollImage(const QImage& track, const QRect& stretch);
    void setVScrollImage(const QImage& track, const QRect& stretch);
    void setHScrollSliderImage(const QImage& normal, const QImage& hover, const QImage& pressed,
                               const QRect& stretch);
    void setVScrollSliderImage(const QImage& normal, const QImage& hover, const QImage& pressed,
                               const QRect& stretch);
    void setNullScrollImage(const QImage& corner);

    // What is shown: the image's rectangle in widget coordinates (valid only
    // with an image), the bars and the rectangle of a scroll bar part (empty
    // when that bar is hidden).
    bool hasShownImage() const;
    ZyRectF showRect() const { return m_showRect; }
    bool hScrollShown() const { return m_hBarShown; }
    bool vScrollShown() const { return m_vBarShown; }
    QRect scrollPartRect(int status) const;
    // The region under pos while the pointer is inside and nothing is dragged, else -1.
    int getMouseStatus(const QPoint& pos) const;

signals:
    void escape();
    void doubleClicked();
    void mousePos(int x, int y);
    void scaleChanged(double scale);
    void drop(const QObject* source, const QStringList& files);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void enterEvent(QEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    struct SkinPart
    {
        std::array<QImage, 3> states;
        QRect stretch;
    };
    struct Slider
    {
        int start;
        int length;
    };

    // ---- geometry (ZyImgView_geometry.cpp) ----
    // The rectangle that fits the image into W x H: real size when it fits,
    // else scaled keeping its aspect; false when too small to show.
    static bool GetMinShowImageRect(int W, int H, int w, int h, ZyRectF& rect);
    // Resizes rect keeping the point under anchor (or the centre) in place.
    static bool ResizeShowImageRect(ZyRectF& rect, float width, float height,
                                    const ZyPoint* anchor);
    // Centres an image that fits the usable area, else keeps it covering the area.
    static void recalcShowRect(int W, int H, int t, bool hBar, bool vBar, ZyRectF& rect);
    // Where the slider of one bar lies on its track.
    static Slider sliderOf(int extent, int t, int minLength, float offset, float shown,
                           bool bothBars);
    void decideScrollBars(float width, float height);
    void placeShowRect();
    int partAt(const QPoint& pos) const;
    QRectF usableArea() const;

    // ---- state changes (ZyImgView.cpp) ----
    bool busy() const;
    bool refused() const;
    int imageWidth() const;
    int imageHeight() const;
    // Resizes the shown image about anchor and places it; the bars are decided
    // anew unless the caller already did.
    void setShownSize(float width, float height, const ZyPoint* anchor, bool decideBars = true);
    void applyFit();
    int zoom(bool in, const ZyPoint* anchor, bool fine);
    int rotate(int (*turn)(ZyImage));
    bool rebuildQImage();
    void destroyImage();
    void updateCursor();
    void scrollBy(float dx, float dy);

    // ---- painting (ZyImgView_paint.cpp) ----
    void makeDefaultSkin();
    void paintScrollBars(QPainter& painter) const;
    void paintPart(QPainter& painter, int status) const;
    void showColorTooltip(const QPoint& pos, int x, int y);

    // ---- pointer (ZyImgView_input.cpp) ----
    bool imagePixelAt(const QPointF& pos, int& x, int& y) const;
    void pressScrollPart(int status, const QPoint& pos);

    int m_scrollSize = 10;
    int m_minSliderSize = 8;
    std::array<SkinPart, 10> m_skin; // by pointer region; 0 unused

    bool m_scrollEnabled = true;
    bool m_highQuality = false;
    bool m_mouseInside = false;
    bool m_hBarShown = false;
    bool m_vBarShown = false;

    ZyImage m_image = nullptr;
    QImage m_qimage;

    ZyRectF m_showRect{};
    bool m_showRectValid = false;
    bool m_fitted = false; // follows the window's size until zoomed

    bool m_panning = false;
    bool m_draggingHSlider = false;
    bool m_draggingVSlider = false;
    int m_hoverPart = StatusNone;
    int m_pressedPart = StatusNone;
    QPoint m_pressPoint;
    ZyRectF m_pressRect{};

    bool m_colorInfo = false;
};

#endif
