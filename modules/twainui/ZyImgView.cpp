#include "ZyImgView.h"

#include <QGuiApplication>
#include <QResizeEvent>

#include <algorithm>
#include <cerrno>
#include <cmath>

namespace {

constexpr float kMaxScale = 20.0f;
constexpr float kZoomFactor = 1.2f;
constexpr float kFineStep = 0.01f; // of the image size, with Ctrl
constexpr float kSame = 0.001f;

} // namespace

ZyImgView::ZyImgView(QWidget* parent)
    : QWidget(parent)
{
    // Every pixel is painted here: Qt need not clear the background first.
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::ClickFocus);
    setMouseTracking(true);
    setAcceptDrops(true);
    makeDefaultSkin();
}

ZyImgView::~ZyImgView()
{
    destroyImage();
}

bool ZyImgView::busy() const
{
    return m_panning || m_draggingHSlider || m_draggingVSlider || m_pressedPart != StatusNone;
}

bool ZyImgView::refused() const
{
    return busy() || !m_image;
}

bool ZyImgView::hasShownImage() const
{
    return m_image && m_showRectValid;
}

int ZyImgView::imageWidth() const
{
    return m_qimage.width();
}

int ZyImgView::imageHeight() const
{
    return m_qimage.height();
}

void ZyImgView::destroyImage()
{
    m_qimage = QImage();
    if (m_image)
        ZyBase_DestroyImage(m_image);
    m_image = nullptr;
    m_showRectValid = false;
    m_hBarShown = false;
    m_vBarShown = false;
}

bool ZyImgView::rebuildQImage()
{
    ZyImageInfo info{};
    unsigned char* data = nullptr;
    m_qimage = QImage();
    if (ZyBase_GetImageInfo(m_image, &info) != 0 || ZyBase_GetImageData(m_image, &data) != 0)
        return false;
    QImage wrapped;
    switch (info.type) {
    case ZY_IMAGE_TYPE_RGB:
        wrapped = QImage(data, info.width, info.height, info.stride, QImage::Format_RGB888);
        break;
    case ZY_IMAGE_TYPE_GRAY:
        wrapped = QImage(data, info.width, info.height, info.stride, QImage::Format_Grayscale8);
        break;
    case ZY_IMAGE_TYPE_BINARY:
        wrapped = QImage(data, info.width, info.height, info.stride, QImage::Format_Mono);
        wrapped.setColorTable({qRgb(255, 255, 255), qRgb(0, 0, 0)}); // 1 is black
        break;
    default:
        return false; // nothing we know how to show
    }
    // The QImage paints straight from our copy's pixels unless rows lie bottom-up.
    m_qimage = info.origin == ZY_IMAGE_ORIGIN_BOTTOM_LEFT ? wrapped.mirrored() : wrapped;
    return !m_qimage.isNull();
}

int ZyImgView::addImage(ZyImage image)
{
    if (busy())
        return 1;
    if (!image)
        return 3;
    ZyImage copy = nullptr;
    if (const int err = ZyBase_CloneImage(image, &copy))
        return err;

    const QSize oldSize = m_image ? m_qimage.size() : QSize();
    const bool keepView = m_showRectValid;
    destroyImage();
    m_image = copy;
    if (!rebuildQImage()) {
        destroyImage();
        update();
        return EINVAL;
    }
    if (keepView && m_qimage.size() == oldSize) {
        m_showRectValid = true;
        decideScrollBars(m_showRect.width(), m_showRect.height());
        placeShowRect();
    } else {
        applyFit();
    }
    updateCursor();
    update();
    return 0;
}

int ZyImgView::getImage(ZyImage* image) const
{
    if (!image || refused())
        return 1;
    return ZyBase_CloneImage(m_image, image);
}

int ZyImgView::clearImage()
{
    if (busy())
        return 1;
    destroyImage();
    updateCursor();
    update();
    return 0;
}

int ZyImgView::reset()
{
    if (refused())
        return 1;
    applyFit();
    update();
    return 0;
}

int ZyImgView::Show()
{
    if (refused())
        return 1;
    repaint();
    return 0;
}

void ZyImgView::applyFit()
{
    m_fitted = true;
    m_showRectValid =
        GetMinShowImageRect(width(), height(), imageWidth(), imageHeight(), m_showRect);
    m_hBarShown = false;
    m_vBarShown = false;
    if (m_showRectValid)
        emit scaleChanged(double(m_showRect.width()) / imageWidth());
}

void ZyImgView::setShownSize(float width, float height, const ZyPoint* anchor, bool decideBars)
{
    m_fitted = false;
    if (decideBars)
        decideScrollBars(width, height);
    m_showRectValid = ResizeShowImageRect(m_showRect, width, height, anchor);
    placeShowRect();
    updateCursor();
    update();
    if (m_showRectValid)
        emit scaleChanged(double(m_showRect.width()) / imageWidth());
}

int ZyImgView::realSize()
{
    if (refused())
        return 1;
    const float w = imageWidth();
    const float h = imageHeight();
    const float left = float((width() - imageWidth()) / 2);
    const float top = float((height() - imageHeight()) / 2);
    m_showRect = {left, top, left + w, top + h};
    setShownSize(w, h, nullptr);
    return 0;
}

int ZyImgView::fitWndSize()
{
    if (refused())
        return 1;
    applyFit();
    updateCursor();
    update();
    return 0;
}

int ZyImgView::fitWndWidth()
{
    if (refused())
        return 1;
    ZyRectF fit{};
    if (!m_showRectValid || !GetMinShowImageRect(width(), height(), imageWidth(), imageHeight(), fit))
        return 1;
    const float w = imageWidth();
    const float h = imageHeight();
    // Width and height stay between the fit size and the largest zoom.
    auto sizeFor = [&](float shownWidth, float& shownHeight) {
        const float clamped = std::clamp(shownWidth, fit.width(), kMaxScale * w);
        shownHeight = std::clamp(clamped * h / w, fit.height(), kMaxScale * h);
        return clamped;
    };
    float shownHeight = 0;
    float shownWidth = sizeFor(float(width()), shownHeight);
    m_hBarShown = false;
    m_vBarShown = false;
    if (m_scrollEnabled && shownHeight > height()) {
        // Room for the vertical bar, unless the image then fits after all.
        m_vBarShown = true;
        shownWidth = sizeFor(float(width() - m_scrollSize), shownHeight);
        if (shownHeight <= height()) {
            m_vBarShown = false;
            shownWidth = sizeFor(float(width()), shownHeight);
        }
    }
    setShownSize(shownWidth, shownHeight, nullptr, false);
    return 0;
}

int ZyImgView::zoomIn(const ZyPoint* anchor)
{
    return zoom(true, anchor, QGuiApplication::keyboardModifiers() & Qt::ControlModifier);
}

int ZyImgView::zoomOut(const ZyPoint* anchor)
{
    return zoom(false, anchor, QGuiApplication::keyboardModifiers() & Qt::ControlModifier);
}

int ZyImgView::zoom(bool in, const ZyPoint* anchor, bool fine)
{
    if (refused() || !m_showRectValid)
        return 1;
    const float w = imageWidth();
    const float h = imageHeight();
    float limitWidth = kMaxScale * w;
    float limitHeight = kMaxScale * h;
    if (!in) {
        ZyRectF fit{};
        if (!GetMinShowImageRect(width(), height(), imageWidth(), imageHeight(), fit))
            return 1;
        limitWidth = fit.width();
        limitHeight = fit.height();
    }
    const float current = m_showRect.width();
    if (std::fabs(current - limitWidth) < kSame)
        return 0;

    const float sign = in ? 1.0f : -1.0f;
    float newWidth;
    float newHeight;
    if (fine) {
        newWidth = current + sign * std::max(1.0f, kFineStep * w);
        newHeight = m_showRect.height() + sign * std::max(1.0f, kFineStep * h);
    } else {
        const float factor = in ? kZoomFactor : 1 / kZoomFactor;
        newWidth = current * factor;
        newHeight = m_showRect.height() * factor;
    }
    const bool beyond = in ? (newWidth > limitWidth || newHeight > limitHeight)
                           : (newWidth < limitWidth || newHeight < limitHeight);
    if (beyond) {
        newWidth = limitWidth;
        newHeight = limitHeight;
    }
    setShownSize(newWidth, newHeight, anchor);
    return 0;
}

int ZyImgView::rotate(int (*turn)(ZyImage))
{
    if (refused())
        return 1;
    if (const int err = turn(m_image))
        return err;
    rebuildQImage();
    applyFit();
    updateCursor();
    update();
    return 0;
}

int ZyImgView::rotateLeft()
{
    return rotate(ZyBase_ImageRotateLeft);
}

int ZyImgView::rotateRight()
{
    return rotate(ZyBase_ImageRotateRight);
}

int ZyImgView::rotate180()
{
    return rotate(ZyBase_ImageRotate180);
}

int ZyImgView::showColorInfo(bool show)
{
    if (refused())
        return 1;
    m_colorInfo = show;
    return 0;
}

int ZyImgView::enableScroll(bool enable)
{
    if (busy())
        return 1;
    m_scrollEnabled = enable;
    if (hasShownImage()) {
        decideScrollBars(m_showRect.width(), m_showRect.height());
        placeShowRect();
    }
    update();
    return 0;
}

int ZyImgView::enableHighQuality(bool enable)
{
    if (busy())
        return 1;
    m_highQuality = enable;
    update();
    return 0;
}

int ZyImgView::setScrollSize(int size)
{
    if (busy() || m_image || size < 10 || size > 20)
        return 1;
    m_scrollSize = size;
    return 0;
}

int ZyImgView::setMinScrollSliderSize(int size)
{
    if (busy() || m_image || size < 8 || size > 64)
        return 1;
    m_minSliderSize = size;
    return 0;
}

void ZyImgView::scrollBy(float dx, float dy)
{
    m_showRect = {m_showRect.left + dx, m_showRect.top + dy, m_showRect.right + dx,
                  m_showRect.bottom + dy};
    placeShowRect();
    update();
}

void ZyImgView::updateCursor()
{
    if (m_panning) {
        setCursor(Qt::ClosedHandCursor);
        return;
    }
    const QRectF usable = usableArea();
    const bool canPan = hasShownImage()
        && (m_showRect.width() > usable.width() || m_showRect.height() > usable.height());
    setCursor(canPan ? Qt::OpenHandCursor : Qt::ArrowCursor);
}

void ZyImgView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    if (!hasShownImage())
        return;
    // A view showing the whole image keeps doing so; a zoomed one keeps its size.
    if (m_fitted) {
        applyFit();
    } else {
        decideScrollBars(m_showRect.width(), m_showRect.height());
        placeShowRect();
    }
    updateCursor();
}
