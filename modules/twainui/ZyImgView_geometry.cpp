// Where the image and the scroll bars lie in the widget.
#include "ZyImgView.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {
constexpr float kSmallest = 0.001f;
} // namespace

bool ZyImgView::GetMinShowImageRect(int W, int H, int w, int h, ZyRectF& rect)
{
    W = std::max(W, 1);
    H = std::max(H, 1);
    if (w <= 0 || h <= 0)
        return false;
    if (W >= w && H >= h) {
        const float left = static_cast<float>((W - w) / 2);
        const float top = static_cast<float>((H - h) / 2);
        rect = {left, top, left + w, top + h};
        return true;
    }
    if (int64_t(H) * w >= int64_t(W) * h) {
        const float height = static_cast<float>(double(h) * W / w);
        const float top = (H - height) / 2;
        rect = {0, top, float(W), top + height};
    } else {
        const float width = static_cast<float>(double(w) * H / h);
        const float left = (W - width) / 2;
        rect = {left, 0, left + width, float(H)};
    }
    return rect.width() >= kSmallest && rect.height() >= kSmallest;
}

bool ZyImgView::ResizeShowImageRect(ZyRectF& rect, float width, float height,
                                    const ZyPoint* anchor)
{
    const float oldWidth = rect.width();
    const float oldHeight = rect.height();
    if (width <= 0 || height <= 0 || oldWidth <= 0 || oldHeight <= 0)
        return false;
    float left;
    float top;
    if (anchor) {
        left = anchor->x - (anchor->x - rect.left) * width / oldWidth;
        top = anchor->y - (anchor->y - rect.top) * height / oldHeight;
    } else {
        left = (rect.left + rect.right) / 2 - width / 2;
        top = (rect.top + rect.bottom) / 2 - height / 2;
    }
    rect = {left, top, left + width, top + height};
    return rect.width() >= kSmallest && rect.height() >= kSmallest;
}

void ZyImgView::recalcShowRect(int W, int H, int t, bool hBar, bool vBar, ZyRectF& rect)
{
    // One axis: centre what fits, else keep the usable length covered.
    auto place = [](float usable, float& low, float& high) {
        const float length = high - low;
        if (length <= usable) {
            low = (usable - length) / 2;
        } else if (high < usable) {
            low = usable - length;
        } else if (low > 0) {
            low = 0;
        }
        high = low + length;
    };
    place(float(vBar ? W - t : W), rect.left, rect.right);
    place(float(hBar ? H - t : H), rect.top, rect.bottom);
}

ZyImgView::Slider ZyImgView::sliderOf(int extent, int t, int minLength, float offset, float shown,
                                      bool bothBars)
{
    const int track = std::max(extent - 2 * t - (bothBars ? t : 0), 0);
    const float visible = extent - offset - (bothBars ? t : 0);
    Slider slider;
    slider.start = static_cast<int>(std::lround(track * -offset / shown));
    slider.length = static_cast<int>(std::lround(visible * track / shown)) - slider.start;
    if (slider.length < minLength) {
        slider.length = minLength;
        const float hidden = shown - extent + (bothBars ? t : 0);
        slider.start = static_cast<int>(std::lround((track - minLength) * -offset / hidden));
    }
    // A track shorter than the minimum, or rounding, must not push it off the track.
    slider.length = std::min(slider.length, track);
    slider.start = std::clamp(slider.start, 0, track - slider.length);
    return slider;
}

void ZyImgView::decideScrollBars(float width, float height)
{
    const int W = this->width();
    const int H = this->height();
    const int t = m_scrollSize;
    m_hBarShown = false;
    m_vBarShown = false;
    if (!m_scrollEnabled)
        return;
    if (width > W) {
        m_hBarShown = true;
        m_vBarShown = height > H - t;
    } else {
        m_vBarShown = height > H;
        m_hBarShown = m_vBarShown && width > W - t;
    }
}

void ZyImgView::placeShowRect()
{
    recalcShowRect(width(), height(), m_scrollSize, m_hBarShown, m_vBarShown, m_showRect);
}

QRectF ZyImgView::usableArea() const
{
    return QRectF(0, 0, width() - (m_vBarShown ? m_scrollSize : 0),
                  height() - (m_hBarShown ? m_scrollSize : 0));
}

QRect ZyImgView::scrollPartRect(int status) const
{
    const int W = width();
    const int H = height();
    const int t = m_scrollSize;
    const bool both = m_hBarShown && m_vBarShown;
    const int corner = both ? t : 0;
    if (!m_showRectValid)
        return QRect();

    switch (status) {
    case StatusHTrack:
    case StatusHSlider:
    case StatusLeftArrow:
    case StatusRightArrow:
        if (!m_hBarShown)
            return QRect();
        break;
    case StatusVTrack:
    case StatusVSlider:
    case StatusTopArrow:
    case StatusBottomArrow:
        if (!m_vBarShown)
            return QRect();
        break;
    case StatusCorner:
        return both ? QRect(W - t, H - t, t, t) : QRect();
    default:
        return QRect();
    }

    switch (status) {
    case StatusHTrack:
        return QRect(t, H - t, W - 2 * t - corner, t);
    case StatusLeftArrow:
        return QRect(0, H - t, t, t);
    case StatusRightArrow:
        return QRect(W - corner - t, H - t, t, t);
    case StatusHSlider: {
        const Slider s = sliderOf(W, t, m_minSliderSize, m_showRect.left, m_showRect.width(), both);
        return QRect(t + s.start, H - t, s.length, t);
    }
    case StatusVTrack:
        return QRect(W - t, t, t, H - 2 * t - corner);
    case StatusTopArrow:
        return QRect(W - t, 0, t, t);
    case StatusBottomArrow:
        return QRect(W - t, H - corner - t, t, t);
    default: { // StatusVSlider
        const Slider s = sliderOf(H, t, m_minSliderSize, m_showRect.top, m_showRect.height(), both);
        return QRect(W - t, t + s.start, t, s.length);
    }
    }
}

int ZyImgView::partAt(const QPoint& pos) const
{
    // The slider lies on its track, so it is asked first.
    static constexpr int kOrder[] = {StatusHSlider,  StatusLeftArrow, StatusRightArrow,
                                     StatusHTrack,   StatusVSlider,   StatusTopArrow,
                                     StatusBottomArrow, StatusVTrack, StatusCorner};
    for (int status : kOrder) {
        if (scrollPartRect(status).contains(pos))
            return status;
    }
    return StatusImage;
}

int ZyImgView::getMouseStatus(const QPoint& pos) const
{
    if (!m_mouseInside || busy())
        return StatusNone;
    return partAt(pos);
}
