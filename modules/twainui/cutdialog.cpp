#include "cutdialog.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kInchPerMm = 0.03937;
// The pointer grabs an edge closer than this, in view units.
constexpr double kGrabTolerance = 5;
// A drag never makes the rectangle this narrow or narrower.
constexpr double kMinimumSide = 10;
// Beyond these the sheet or its pixel counts stop being meaningful numbers.
constexpr int kMaxViewWidth = 10000;
constexpr double kMaxDpi = 1e6;

struct Paper
{
    const char* name; // UTF-8
    double widthMm;
    double ratio; // height / width
};

constexpr Paper kPapers[] = {
    {"A3", 297, 140.0 / 99},
    {"A4横向", 297, 70.0 / 99},
    {"A4", 210, 99.0 / 70},
    {"A5横向", 210, 74.0 / 105},
    {"A5", 148, 105.0 / 74},
    {"A6横向", 148, 105.0 / 148},
    {"A6", 105, 148.0 / 105},
    {"8开", 270, 13.0 / 9},
    {"16开", 190, 27.0 / 19},
    {"16开横向", 270, 19.0 / 27},
    {"B4", 250, 1.412},
    {"B5横向", 250, 0.704},
    {"B5", 176, 125.0 / 88},
    {"B6横向", 176, 125.0 / 176},
    {"B6", 125, 1.408},
    {"Letter", 216, 31.0 / 24},
    {"Letter横向", 279, 24.0 / 31},
    {"Double Letter", 216, 559.0 / 216},
    {"LEGAL", 216, 89.0 / 54},
    {"三联试卷", 270, 56.0 / 27},
    {"最大扫描尺寸", 297, 2.8289136013686913},
};

// "Match original size" follows the resolution; the figures are kept as the
// device family has always used them.
struct OriginalSize
{
    double dpi;
    double widthMm;
    double ratio;
};

constexpr OriginalSize kOriginalSizes[] = {
    {100, 0.46819253000000005, 1.509671993271657},
    {150, 0.4683237866666667, 1.0061659192825112},
    {200, 0.7022887950000001, 1.509671993271657},
    {240, 0.4682581583333334, 1.5094604064470918},
};

double twoDecimals(double value)
{
    return QString::number(value, 'f', 2).toDouble();
}

double wholeNumber(double value)
{
    return QString::number(value, 'f', 0).toDouble();
}

bool finite(const QRectF& r)
{
    return std::isfinite(r.x()) && std::isfinite(r.y()) && std::isfinite(r.width())
           && std::isfinite(r.height());
}

} // namespace

cutDialog::cutDialog(QWidget* parent)
    : QWidget(parent)
{
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setPaperSize(QStringLiteral("A4"), 300);
    selectWholePaper();
}

void cutDialog::selectWholePaper()
{
    m_left = m_paperRect.left();
    m_top = m_paperRect.top();
    m_right = m_paperRect.right();
    m_bottom = m_paperRect.bottom();
    syncRect();
    update();
}

void cutDialog::setPaperSize(QString paper, int viewWidth)
{
    if (viewWidth <= 0 || viewWidth > kMaxViewWidth)
        return;
    m_paperName = paper;

    double widthMm = 0;
    for (const Paper& p : kPapers) {
        if (paper == QString::fromUtf8(p.name)) {
            widthMm = p.widthMm;
            m_ratio = p.ratio;
        }
    }
    if (paper == QString::fromUtf8("匹配原始尺寸")) {
        for (const OriginalSize& s : kOriginalSizes) {
            if (s.dpi == m_dpi) {
                widthMm = s.widthMm;
                m_ratio = s.ratio;
            }
        }
    }

    if (paper.contains(QLatin1Char('3')))
        m_scaleStep = 2;
    else if (paper.contains(QLatin1Char('4')))
        m_scaleStep = 4;
    else if (paper.contains(QLatin1Char('5')))
        m_scaleStep = 6;
    else if (paper.contains(QLatin1Char('6')))
        m_scaleStep = 8;
    else
        m_scaleStep = 4;

    m_viewWidth = viewWidth;
    if (paper.contains(QString::fromUtf8("横向")))
        m_viewWidth = viewWidth * m_ratio * 1.5;
    if (widthMm > 0)
        m_mmPerView = widthMm / m_viewWidth;
    m_viewHeight = m_ratio * m_viewWidth;
    setFixedSize(int(m_viewWidth + 4), int(m_viewHeight + 4));

    // The extra half unit lets the bottom edge be reached with the pointer.
    m_paperRect = QRectF(0, 0, m_viewWidth, m_viewHeight + 0.5);
    clampToPaper();
    syncRect();
    update();
    refreshView();
}

void cutDialog::setDpiValue(double dpi)
{
    if (!(dpi >= 0 && dpi <= kMaxDpi))
        return;
    m_dpi = dpi;
    updateUnitFactor();
    update();
}

void cutDialog::setSizeType(const SIZETYPE& type)
{
    m_unit = type;
    updateUnitFactor();
    update();
}

void cutDialog::updateUnitFactor()
{
    switch (m_unit) {
    case INCH:
        m_unitFactor = kInchPerMm;
        break;
    case PIXEL:
        m_unitFactor = kInchPerMm * m_dpi;
        break;
    default:
        m_unitFactor = 1.0;
        break;
    }
}

double cutDialog::mmX(double view) const
{
    return view * (m_viewWidth * m_mmPerView) / m_paperRect.width();
}

double cutDialog::mmY(double view) const
{
    return view * (m_viewHeight * m_mmPerView) / m_paperRect.height();
}

double cutDialog::viewX(double mm) const
{
    return mm * m_paperRect.width() / (m_viewWidth * m_mmPerView);
}

double cutDialog::viewY(double mm) const
{
    return mm * m_paperRect.height() / (m_viewHeight * m_mmPerView);
}

bool cutDialog::canConvert() const
{
    // A zero or negative resolution has no pixels to convert from.
    return m_unitFactor > 0 && m_mmPerView > 0 && m_viewWidth > 0 && m_viewHeight > 0;
}

void cutDialog::syncRect()
{
    m_cutRect = QRectF(m_left, m_top, m_right - m_left, m_bottom - m_top);
}

void cutDialog::clampToPaper()
{
    m_left = std::clamp(m_left, 0.0, m_paperRect.right());
    m_right = std::clamp(m_right, m_left, m_paperRect.right());
    m_top = std::clamp(m_top, 0.0, m_paperRect.bottom());
    m_bottom = std::clamp(m_bottom, m_top, m_paperRect.bottom());
}

void cutDialog::setCutRectStartX(double x)
{
    if (!std::isfinite(x) || x < 0 || !canConvert())
        return;
    m_left = std::min(viewX(x / m_unitFactor), m_right);
    clampToPaper();
    syncRect();
    update();
}

void cutDialog::setCutRectStartY(double y)
{
    if (!std::isfinite(y) || y < 0 || !canConvert())
        return;
    m_top = std::min(viewY(y / m_unitFactor), m_bottom);
    clampToPaper();
    syncRect();
    update();
}

void cutDialog::setCutRectWidth(double width)
{
    if (!std::isfinite(width) || width < 0 || !canConvert())
        return;
    m_right = m_left + viewX(width / m_unitFactor);
    clampToPaper();
    syncRect();
    update();
}

void cutDialog::setCutRectHeight(double height)
{
    if (!std::isfinite(height) || height < 0 || !canConvert())
        return;
    m_bottom = m_top + viewY(height / m_unitFactor);
    clampToPaper();
    syncRect();
    update();
}

QSizeF cutDialog::getPaperSize() const
{
    return QSizeF(m_viewWidth * m_mmPerView, m_viewHeight * m_mmPerView) * m_unitFactor;
}

QSizeF cutDialog::getCutRectSize() const
{
    return QSizeF(mmX(m_cutRect.width()), mmY(m_cutRect.height())) * m_unitFactor;
}

QPointF cutDialog::getCutRectStartPos() const
{
    return QPointF(mmX(m_left), mmY(m_top)) * m_unitFactor;
}

double cutDialog::getCutRectRight() const
{
    return mmX(m_right) * m_unitFactor;
}

double cutDialog::getCutRectBottom() const
{
    return mmY(m_bottom) * m_unitFactor;
}

QRectF cutDialog::getCutRectMM() const
{
    return QRectF(twoDecimals(mmX(m_left)), twoDecimals(mmY(m_top)),
                  twoDecimals(mmX(m_cutRect.width())), twoDecimals(mmY(m_cutRect.height())));
}

void cutDialog::setCutRectMM(QRectF& rect)
{
    if (!finite(rect) || rect.x() < 0 || rect.y() < 0 || rect.width() < 0 || rect.height() < 0
        || m_mmPerView <= 0)
        return;
    m_left = viewX(rect.x());
    m_top = viewY(rect.y());
    m_right = m_left + viewX(rect.width());
    m_bottom = m_top + viewY(rect.height());
    clampToPaper();
    syncRect();
    update();
}

QRectF cutDialog::getCutRectPixel() const
{
    const double perMm = kInchPerMm * m_dpi;
    return QRectF(std::round(mmX(m_left) * perMm), std::round(mmY(m_top) * perMm),
                  std::round(mmX(m_cutRect.width()) * perMm), std::round(mmY(m_cutRect.height()) * perMm));
}

void cutDialog::setCutRectPixel(QRectF& rect)
{
    if (!(m_dpi > 0))
        return;
    const double perMm = kInchPerMm * m_dpi;
    QRectF mm(rect.x() / perMm, rect.y() / perMm, rect.width() / perMm, rect.height() / perMm);
    setCutRectMM(mm);
}

void cutDialog::report(bool wholeXY)
{
    double x = mmX(m_left) * m_unitFactor;
    double y = mmY(m_top) * m_unitFactor;
    double w = mmX(m_cutRect.width()) * m_unitFactor;
    double h = mmY(m_cutRect.height()) * m_unitFactor;
    if (m_unit == PIXEL) {
        x = wholeXY ? wholeNumber(x) : std::trunc(x);
        y = wholeXY ? wholeNumber(y) : std::trunc(y);
        w = std::trunc(w);
        h = std::trunc(h);
    } else {
        x = twoDecimals(x);
        y = twoDecimals(y);
        w = twoDecimals(w);
        h = twoDecimals(h);
    }
    emit cutRectX(x);
    emit cutRectY(y);
    emit cutRectWidth(w);
    emit cutRectHeight(h);
}

void cutDialog::refreshView()
{
    report(true);
}

void cutDialog::initAllCorner()
{
    m_onLeft = m_onRight = m_onTop = m_onBottom = false;
    m_grab = Grab::None;
}

void cutDialog::mousePosition(const QPoint& pos)
{
    initAllCorner();
    const QRectF r = m_cutRect;
    const double mx = pos.x();
    const double my = pos.y();
    const bool nearX = mx > r.left() - kGrabTolerance && mx < r.right() + kGrabTolerance;
    const bool nearY = my > r.top() - kGrabTolerance && my < r.bottom() + kGrabTolerance;
    if (!nearX || !nearY) {
        setCursor(Qt::ArrowCursor);
        return;
    }
    m_onLeft = std::abs(mx - r.left()) < kGrabTolerance;
    m_onRight = std::abs(mx - r.right()) < kGrabTolerance;
    m_onTop = std::abs(my - r.top()) < kGrabTolerance;
    m_onBottom = std::abs(my - r.bottom()) < kGrabTolerance;

    Qt::CursorShape shape = Qt::SizeAllCursor;
    m_grab = Grab::Whole;
    if (m_onLeft && m_onTop) {
        m_grab = Grab::TopLeft;
        shape = Qt::SizeFDiagCursor;
    } else if (m_onLeft && m_onBottom) {
        m_grab = Grab::BottomLeft;
        shape = Qt::SizeBDiagCursor;
    } else if (m_onRight && m_onTop) {
        m_grab = Grab::TopRight;
        shape = Qt::SizeBDiagCursor;
    } else if (m_onRight && m_onBottom) {
        m_grab = Grab::BottomRight;
        shape = Qt::SizeFDiagCursor;
    } else if (m_onLeft || m_onRight) {
        m_grab = m_onLeft ? Grab::Left : Grab::Right;
        shape = Qt::SizeHorCursor;
    } else if (m_onTop || m_onBottom) {
        m_grab = m_onTop ? Grab::Top : Grab::Bottom;
        shape = Qt::SizeVerCursor;
    }
    setCursor(shape);
}

void cutDialog::dragTo(const QPoint& pos)
{
    const QPoint previous = m_lastPos;
    m_lastPos = pos;
    const double mx = pos.x();
    const double my = pos.y();
    const QRectF r = m_cutRect;

    switch (m_grab) {
    case Grab::None:
        return;
    case Grab::Left:
        m_left = mx;
        break;
    case Grab::Right:
        m_right = mx;
        break;
    case Grab::Top:
        m_top = my;
        break;
    case Grab::Bottom:
        m_bottom = my;
        break;
    case Grab::TopLeft:
        m_left = mx;
        m_top = my;
        break;
    case Grab::TopRight:
        m_right = mx;
        m_top = my;
        break;
    case Grab::BottomLeft:
        m_left = mx;
        m_bottom = my;
        break;
    case Grab::BottomRight:
        m_right = mx;
        m_bottom = my;
        break;
    case Grab::Whole: {
        // A step that would push the rectangle off the sheet is not taken.
        int dx = previous.x() - pos.x();
        int dy = previous.y() - pos.y();
        if (m_left - dx < 0 || m_right - dx > m_paperRect.right())
            dx = 0;
        if (m_top - dy < 0 || m_bottom - dy > m_paperRect.bottom())
            dy = 0;
        m_left = r.x() - dx;
        m_right = r.x() + r.width() - dx;
        m_top = r.y() - dy;
        m_bottom = r.y() + r.height() - dy;
        break;
    }
    }

    if (m_left <= 0)
        m_left = 0;
    if (m_top <= 0)
        m_top = 0;
    if (m_right >= m_paperRect.width())
        m_right = m_paperRect.x() + m_paperRect.width();
    if (m_bottom >= m_paperRect.height())
        m_bottom = m_paperRect.y() + m_paperRect.height();
    if (std::abs(m_left - m_right) <= kMinimumSide || m_left > m_right) {
        m_left = r.left();
        m_right = r.right();
    }
    if (std::abs(m_top - m_bottom) <= kMinimumSide || m_top > m_bottom) {
        m_top = r.top();
        m_bottom = r.bottom();
    }
    syncRect();
    update();
}

void cutDialog::mousePressEvent(QMouseEvent* event)
{
    const QPoint pos(int(std::lround(event->localPos().x())), int(std::lround(event->localPos().y())));
    m_dragging = event->button() == Qt::LeftButton;
    m_lastPos = pos;
    // Also here, so that a press without a hover before it grabs what it hits.
    mousePosition(pos);
    if (m_dragging)
        emit lineEditEnableSig(false);
    update();
}

void cutDialog::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint pos(int(std::lround(event->localPos().x())), int(std::lround(event->localPos().y())));
    if (m_dragging)
        dragTo(pos);
    else
        mousePosition(pos);
}

void cutDialog::mouseReleaseEvent(QMouseEvent*)
{
    if (m_dragging)
        emit lineEditEnableSig(true);
    m_dragging = false;
    update();
}

void cutDialog::keyPressEvent(QKeyEvent* event)
{
    double dx = 0;
    double dy = 0;
    switch (event->key()) {
    case Qt::Key_Left:
        dx = -1;
        break;
    case Qt::Key_Right:
        dx = 1;
        break;
    case Qt::Key_Up:
        dy = -1;
        break;
    case Qt::Key_Down:
        dy = 1;
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    event->accept();
    if (m_left + dx < 0 || m_right + dx > m_paperRect.right() || m_top + dy < 0
        || m_bottom + dy > m_paperRect.bottom())
        return;
    m_left += dx;
    m_right += dx;
    m_top += dy;
    m_bottom += dy;
    syncRect();
    update();
    refreshView();
}

void cutDialog::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    // The sheet is white whatever the palette, so the black scale stays readable.
    painter.fillRect(m_paperRect, Qt::white);
    drawScale(painter);
    drawCutRect(painter);
    drawTransparentColor(painter);
    if (m_dragging)
        report(false);
}

void cutDialog::drawScale(QPainter& painter) const
{
    const double w = m_paperRect.width();
    const double h = m_paperRect.height();
    painter.setPen(QPen(Qt::black, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(m_paperRect);

    // Ticks on both opposite edges: short at each step, long at every fifth.
    QVector<QLineF> ticks;
    const auto tickLength = [&](int pos) { return pos % (5 * m_scaleStep) == 0 ? 8.0 : 4.0; };
    for (int x = 6; x <= int(w - 6); ++x) {
        if (x % m_scaleStep == 0)
            ticks << QLineF(x, 0, x, tickLength(x)) << QLineF(x, h, x, h - tickLength(x));
    }
    for (int y = 6; y <= int(h - 6); ++y) {
        if (y % m_scaleStep == 0)
            ticks << QLineF(0, y, tickLength(y), y) << QLineF(w, y, w - tickLength(y), y);
    }
    painter.drawLines(ticks);

    QVector<QLineF> quarters;
    constexpr double markLength = 14;
    for (double q : {0.25, 0.5, 0.75}) {
        const double x = std::round(w * q);
        const double y = std::round(h * q);
        quarters << QLineF(x, 0, x, markLength) << QLineF(x, h, x, h - markLength)
                 << QLineF(0, y, markLength, y) << QLineF(w, y, w - markLength, y);
    }
    painter.setPen(QPen(Qt::gray, 3));
    painter.drawLines(quarters);
}

void cutDialog::drawCutRect(QPainter& painter) const
{
    const QRectF inner = m_paperRect.adjusted(2, 2, -2, -2);
    const auto inside = [&](double x, double y) {
        return QPointF(std::clamp(x, inner.left(), inner.right()), std::clamp(y, inner.top(), inner.bottom()));
    };
    const QRectF shown(inside(m_cutRect.left(), m_cutRect.top()),
                       inside(m_cutRect.right(), m_cutRect.bottom()));
    painter.setPen(QPen(Qt::green, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(shown);

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::red, 1));
    painter.setBrush(Qt::red);
    const QPointF c = shown.center();
    for (const QPointF& p : {shown.topLeft(), shown.topRight(), shown.bottomLeft(), shown.bottomRight(),
                             QPointF(c.x(), shown.top()), QPointF(c.x(), shown.bottom()),
                             QPointF(shown.left(), c.y()), QPointF(shown.right(), c.y())})
        painter.drawEllipse(QRectF(p.x() - 2, p.y() - 2, 4, 4));
    painter.restore();
}

void cutDialog::drawTransparentColor(QPainter& painter) const
{
    QPainterPath veil;
    veil.setFillRule(Qt::OddEvenFill);
    veil.addRect(m_paperRect);
    veil.addRect(m_cutRect.intersected(m_paperRect));
    painter.save();
    painter.setOpacity(0.7);
    painter.fillPath(veil, Qt::gray);
    painter.restore();
}
