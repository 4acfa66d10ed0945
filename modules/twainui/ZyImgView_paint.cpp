// Painting the image and the scroll bars.
#include "ZyImgView.h"

#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

namespace {

constexpr int kSkinSize = 20; // default skin images are drawn at this size and scaled
const QColor kBackground(0x50, 0x50, 0x50);

// Keeps the border outside stretch and stretches the inside; a target thinner
// than the image shrinks the border in proportion.
void drawStretched(QPainter& painter, const QRect& target, const QImage& image,
                   const QRect& stretch)
{
    if (image.isNull() || target.isEmpty())
        return;
    if (stretch.isNull()) {
        painter.drawImage(target, image);
        return;
    }
    const double scale = std::min({1.0, double(target.width()) / image.width(),
                                   double(target.height()) / image.height()});
    const int sx[] = {0, stretch.left(), stretch.right() + 1, image.width()};
    const int sy[] = {0, stretch.top(), stretch.bottom() + 1, image.height()};
    auto border = [scale](int pixels) { return static_cast<int>(std::lround(pixels * scale)); };
    const int tx[] = {target.left(), target.left() + border(sx[1]),
                      target.right() + 1 - border(sx[3] - sx[2]), target.right() + 1};
    const int ty[] = {target.top(), target.top() + border(sy[1]),
                      target.bottom() + 1 - border(sy[3] - sy[2]), target.bottom() + 1};
    for (int row = 0; row < 3; ++row) {
        for (int col = 0; col < 3; ++col) {
            const QRect from(sx[col], sy[row], sx[col + 1] - sx[col], sy[row + 1] - sy[row]);
            const QRect to(tx[col], ty[row], tx[col + 1] - tx[col], ty[row + 1] - ty[row]);
            if (!from.isEmpty() && !to.isEmpty())
                painter.drawImage(to, image, from);
        }
    }
}

QImage blankSkin(const QColor& fill)
{
    QImage image(kSkinSize, kSkinSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(fill);
    return image;
}

// An arrow button: a triangle pointing at angle degrees (0 = up), clockwise.
QImage arrowSkin(int angle, const QColor& background, const QColor& arrow)
{
    QImage image = blankSkin(background);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(kSkinSize / 2.0, kSkinSize / 2.0);
    painter.rotate(angle);
    QPainterPath path;
    path.moveTo(0, -4);
    path.lineTo(5, 3);
    path.lineTo(-5, 3);
    path.closeSubpath();
    painter.fillPath(path, arrow);
    return image;
}

QImage sliderSkin(const QColor& track, const QColor& slider)
{
    QImage image = blankSkin(track);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(slider);
    painter.drawRoundedRect(QRectF(2, 2, kSkinSize - 4, kSkinSize - 4), 5, 5);
    return image;
}

} // namespace

void ZyImgView::makeDefaultSkin()
{
    const QColor track(0xe8, 0xe8, 0xe8);
    const QColor states[] = {QColor(0xb8, 0xb8, 0xb8), QColor(0x98, 0x98, 0x98),
                             QColor(0x70, 0x70, 0x70)};
    const std::pair<int, int> arrows[] = {{StatusLeftArrow, 270},
                                          {StatusRightArrow, 90},
                                          {StatusTopArrow, 0},
                                          {StatusBottomArrow, 180}};
    for (const auto& [status, angle] : arrows) {
        for (int state = 0; state < 3; ++state)
            m_skin[status].states[state] = arrowSkin(angle, track, states[state].darker(150));
    }
    for (int status : {StatusHSlider, StatusVSlider}) {
        for (int state = 0; state < 3; ++state)
            m_skin[status].states[state] = sliderSkin(track, states[state]);
        m_skin[status].stretch = QRect(7, 7, kSkinSize - 14, kSkinSize - 14);
    }
    for (int status : {StatusHTrack, StatusVTrack, StatusCorner})
        m_skin[status].states[StateNormal] = blankSkin(track);
}

void ZyImgView::setHScrollLeftImage(const QImage& normal, const QImage& hover,
                                    const QImage& pressed)
{
    m_skin[StatusLeftArrow].states = {normal, hover, pressed};
    update();
}

void ZyImgView::setHScrollRightImage(const QImage& normal, const QImage& hover,
                                     const QImage& pressed)
{
    m_skin[StatusRightArrow].states = {normal, hover, pressed};
    update();
}

void ZyImgView::setVScrollTopImage(const QImage& normal, const QImage& hover,
                                   const QImage& pressed)
{
    m_skin[StatusTopArrow].states = {normal, hover, pressed};
    update();
}

void ZyImgView::setVScrollBottomImage(const QImage& normal, const QImage& hover,
                                      const QImage& pressed)
{
    m_skin[StatusBottomArrow].states = {normal, hover, pressed};
    update();
}

void ZyImgView::setHScrollImage(const QImage& track, const QRect& stretch)
{
    m_skin[StatusHTrack] = {{track, QImage(), QImage()}, stretch};
    update();
}

void ZyImgView::setVScrollImage(const QImage& track, const QRect& stretch)
{
    m_skin[StatusVTrack] = {{track, QImage(), QImage()}, stretch};
    update();
}

void ZyImgView::setHScrollSliderImage(const QImage& normal, const QImage& hover,
                                      const QImage& pressed, const QRect& stretch)
{
    m_skin[StatusHSlider] = {{normal, hover, pressed}, stretch};
    update();
}

void ZyImgView::setVScrollSliderImage(const QImage& normal, const QImage& hover,
                                      const QImage& pressed, const QRect& stretch)
{
    m_skin[StatusVSlider] = {{normal, hover, pressed}, stretch};
    update();
}

void ZyImgView::setNullScrollImage(const QImage& corner)
{
    m_skin[StatusCorner] = {{corner, QImage(), QImage()}, QRect()};
    update();
}

void ZyImgView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    QRegion background(rect());
    if (hasShownImage()) {
        // Only the visible part of the image is drawn, scaled from its source pixels.
        const QRectF shown(m_showRect.left, m_showRect.top, m_showRect.width(),
                           m_showRect.height());
        const QRectF visible = shown.intersected(usableArea());
        if (!visible.isEmpty()) {
            const double sx = imageWidth() / shown.width();
            const double sy = imageHeight() / shown.height();
            const QRectF source((visible.left() - shown.left()) * sx,
                                (visible.top() - shown.top()) * sy, visible.width() * sx,
                                visible.height() * sy);
            painter.setRenderHint(QPainter::SmoothPixmapTransform, m_highQuality);
            painter.drawImage(visible, m_qimage, source);
            background -= QRect(QPoint(int(std::ceil(visible.left())), int(std::ceil(visible.top()))),
                                QPoint(int(std::floor(visible.right())) - 1,
                                       int(std::floor(visible.bottom())) - 1));
        }
    }
    // The margins come after the image: a fill before it sends Qt's smooth
    // scaling down a path twice as slow.
    for (const QRect& margin : background)
        painter.fillRect(margin, kBackground);
    paintScrollBars(painter);
}

void ZyImgView::paintScrollBars(QPainter& painter) const
{
    // Tracks first: sliders and arrows lie on them.
    for (int status : {StatusHTrack, StatusVTrack, StatusHSlider, StatusVSlider, StatusLeftArrow,
                       StatusRightArrow, StatusTopArrow, StatusBottomArrow, StatusCorner})
        paintPart(painter, status);
}

void ZyImgView::paintPart(QPainter& painter, int status) const
{
    QRect target = scrollPartRect(status);
    if (target.isEmpty())
        return;
    if (status == StatusHTrack || status == StatusVTrack) {
        // The track is drawn under its arrows too, so that the bar is one strip.
        target = status == StatusHTrack
            ? QRect(0, target.top(), width() - (m_vBarShown ? m_scrollSize : 0), m_scrollSize)
            : QRect(target.left(), 0, m_scrollSize, height() - (m_hBarShown ? m_scrollSize : 0));
    }
    const SkinPart& part = m_skin[status];
    const int state = m_pressedPart == status ? StatePressed
        : m_hoverPart == status               ? StateHover
                                              : StateNormal;
    const QImage& image = part.states[state].isNull() ? part.states[StateNormal]
                                                      : part.states[state];
    drawStretched(painter, target, image, part.stretch);
}

void ZyImgView::showColorTooltip(const QPoint& pos, int x, int y)
{
    unsigned int rgb = 0;
    if (ZyBase_GetImagePixel(m_image, x, y, &rgb) != 0)
        return;
    const int red = (rgb >> 16) & 0xff;
    const int green = (rgb >> 8) & 0xff;
    const int blue = rgb & 0xff;
    char text[1024] = {};
    std::snprintf(text, sizeof(text), "X: %d, Y: %d\nRGB(%d, %d, %d)\nHTML(#%02X%02X%02X)", x, y,
                  red, green, blue, red, green, blue);
    QToolTip::showText(mapToGlobal(pos), QString::fromLatin1(text), this);
}
