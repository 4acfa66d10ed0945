// Mouse, wheel, keys and dropped files.
#include "ZyImgView.h"

#include <QDragEnterEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QToolTip>
#include <QUrl>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace {

constexpr float kWheelStep = 0.1f;   // of the shown size, over a bar
constexpr float kArrowStep = 0.05f;  // of the visible size, per arrow press

bool isHorizontalPart(int status)
{
    return status >= ZyImgView::StatusHTrack && status <= ZyImgView::StatusRightArrow;
}

bool isVerticalPart(int status)
{
    return status >= ZyImgView::StatusVTrack && status <= ZyImgView::StatusBottomArrow;
}

} // namespace

bool ZyImgView::imagePixelAt(const QPointF& pos, int& x, int& y) const
{
    if (!hasShownImage())
        return false;
    const double fx = (std::round(pos.x()) - m_showRect.left) * imageWidth() / m_showRect.width();
    const double fy = (std::round(pos.y()) - m_showRect.top) * imageHeight() / m_showRect.height();
    if (fx < 0 || fy < 0 || fx >= imageWidth() || fy >= imageHeight())
        return false;
    x = static_cast<int>(fx);
    y = static_cast<int>(fy);
    return true;
}

void ZyImgView::pressScrollPart(int status, const QPoint& pos)
{
    m_pressedPart = status;
    m_pressPoint = pos;
    m_pressRect = m_showRect;
    const QRectF usable = usableArea();
    switch (status) {
    case StatusHSlider:
        m_draggingHSlider = true;
        break;
    case StatusVSlider:
        m_draggingVSlider = true;
        break;
    case StatusLeftArrow:
    case StatusRightArrow: {
        const float step = std::max(1.0f, float(usable.width()) * kArrowStep);
        scrollBy(status == StatusLeftArrow ? step : -step, 0);
        break;
    }
    case StatusTopArrow:
    case StatusBottomArrow: {
        const float step = std::max(1.0f, float(usable.height()) * kArrowStep);
        scrollBy(0, status == StatusTopArrow ? step : -step);
        break;
    }
    case StatusHTrack: {
        // A page towards the press.
        const bool before = pos.x() < scrollPartRect(StatusHSlider).left();
        const float page = float(usable.width());
        scrollBy(before ? page : -page, 0);
        break;
    }
    case StatusVTrack: {
        const bool before = pos.y() < scrollPartRect(StatusVSlider).top();
        const float page = float(usable.height());
        scrollBy(0, before ? page : -page);
        break;
    }
    default:
        break;
    }
}

void ZyImgView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    m_mouseInside = true;
    const int status = getMouseStatus(event->pos());
    if (status >= StatusHTrack) {
        pressScrollPart(status, event->pos());
    } else if (status == StatusImage && hasShownImage()) {
        m_panning = true;
        m_pressPoint = event->pos();
        m_pressRect = m_showRect;
    }
    updateCursor();
    update();
}

void ZyImgView::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint pos = event->pos();
    const float dx = float(pos.x() - m_pressPoint.x());
    const float dy = float(pos.y() - m_pressPoint.y());
    if (m_panning) {
        m_showRect = m_pressRect;
        scrollBy(dx, dy);
        return;
    }
    if (m_draggingHSlider || m_draggingVSlider) {
        // The slider runs the track as the image runs its shown size.
        const int t = m_scrollSize;
        const bool both = m_hBarShown && m_vBarShown;
        m_showRect = m_pressRect;
        if (m_draggingHSlider) {
            const float track = float(width() - 2 * t - (both ? t : 0));
            scrollBy(track > 0 ? -dx * m_showRect.width() / track : 0, 0);
        } else {
            const float track = float(height() - 2 * t - (both ? t : 0));
            scrollBy(0, track > 0 ? -dy * m_showRect.height() / track : 0);
        }
        return;
    }
    if (m_pressedPart != StatusNone)
        return;

    m_mouseInside = true;
    const int hover = getMouseStatus(pos);
    if (hover != m_hoverPart) {
        m_hoverPart = hover;
        update();
    }
    int x = 0;
    int y = 0;
    if (hover == StatusImage && imagePixelAt(event->localPos(), x, y)) {
        emit mousePos(x, y);
        if (m_colorInfo)
            showColorTooltip(pos, x, y);
    } else if (m_colorInfo) {
        QToolTip::hideText();
    }
}

void ZyImgView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    m_panning = false;
    m_draggingHSlider = false;
    m_draggingVSlider = false;
    m_pressedPart = StatusNone;
    updateCursor();
    update();
}

void ZyImgView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (partAt(event->pos()) == StatusImage)
        emit doubleClicked();
    else
        QWidget::mouseDoubleClickEvent(event);
}

void ZyImgView::wheelEvent(QWheelEvent* event)
{
    const QPoint delta = event->angleDelta();
    const int steps = delta.y() != 0 ? delta.y() : delta.x();
    if (steps == 0 || busy() || !hasShownImage()) {
        event->ignore();
        return;
    }
    const QPointF pos = event->position();
    const int status = partAt(pos.toPoint());
    const float sign = steps > 0 ? 1.0f : -1.0f;
    if (status == StatusImage) {
        const ZyPoint anchor{float(pos.x()), float(pos.y())};
        zoom(steps > 0, &anchor, event->modifiers() & Qt::ControlModifier);
    } else if (isVerticalPart(status)) {
        scrollBy(0, sign * m_showRect.height() * kWheelStep);
    } else if (isHorizontalPart(status)) {
        scrollBy(sign * m_showRect.width() * kWheelStep, 0);
    }
    event->accept();
}

void ZyImgView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && !busy())
        emit escape();
    else
        QWidget::keyPressEvent(event);
}

void ZyImgView::enterEvent(QEvent* event)
{
    m_mouseInside = true;
    QWidget::enterEvent(event);
}

void ZyImgView::leaveEvent(QEvent* event)
{
    m_mouseInside = false;
    m_hoverPart = StatusNone;
    update();
    emit mousePos(0, 0);
    QWidget::leaveEvent(event);
}

void ZyImgView::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void ZyImgView::dragMoveEvent(QDragMoveEvent* event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void ZyImgView::dropEvent(QDropEvent* event)
{
    QStringList files;
    for (const QUrl& url : event->mimeData()->urls()) {
        if (url.isLocalFile())
            files << url.toLocalFile();
    }
    event->acceptProposedAction();
    emit drop(event->source(), files);
}
