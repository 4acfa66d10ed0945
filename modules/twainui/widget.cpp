#include "widget.h"
#include "ui_widget.h"

#include "gaosixy.h"

#include <ZyBase.h>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// The plotting area spans 258 units, a little more than the 256 levels.
constexpr int kGridSpan = 258;
constexpr int kMaxLevel = Widget::Levels - 1;
// Clicks within this many units of the curve or of a key point hit it.
constexpr int kPickRadius = 6;

struct ChannelLook
{
    QColor pen;
    QColor histogram;
};

ChannelLook lookOf(int channel)
{
    switch (channel) {
    case Widget::ChannelRed:
        return {QColor(255, 0, 0), QColor(255, 160, 122)};
    case Widget::ChannelBlue:
        return {QColor(0, 0, 255), QColor(131, 111, 255)};
    case Widget::ChannelGreen:
        return {QColor(0, 255, 0), QColor(202, 255, 112)};
    default:
        return {QColor(255, 255, 255), QColor(Qt::gray)};
    }
}

QList<QPoint> identityList()
{
    return {QPoint(0, 0), QPoint(kMaxLevel, kMaxLevel)};
}

bool isIdentity(const QList<QPoint>& points)
{
    return points == identityList();
}

int clampLevel(int value)
{
    return std::clamp(value, 0, kMaxLevel);
}

QString barStyle(bool vertical, const QColor& end)
{
    const char* direction = vertical ? "x1:0, y1:1, x2:0, y2:0" : "x1:0, y1:0, x2:1, y2:0";
    return QStringLiteral("QWidget{background-color:qlineargradient(spread:pad, %1, "
                          "stop:0 rgba(0, 0, 0, 255), stop:1 rgba(%2, %3, %4, 255))}")
        .arg(QLatin1String(direction))
        .arg(end.red())
        .arg(end.green())
        .arg(end.blue());
}

} // namespace

Widget::Widget(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::Widget)
{
    ui->setupUi(this);
    setFocusPolicy(Qt::StrongFocus);
    initAllLstPnt();
    initInterface();
}

Widget::~Widget() = default;

void Widget::initInterface()
{
    ui->widget->setStyleSheet(barStyle(true, Qt::white));
    ui->widget_2->setStyleSheet(barStyle(false, Qt::white));
    m_histColor = lookOf(m_channel).histogram;
}

int Widget::caculateAllMi(int base, int exp)
{
    constexpr qint64 lo = std::numeric_limits<int>::min();
    constexpr qint64 hi = std::numeric_limits<int>::max();
    qint64 result = 1;
    for (int i = 0; i < exp; ++i)
        result = std::clamp(result * base, lo, hi);
    return static_cast<int>(result);
}

QVector<int> Widget::sampleCurve(const QList<QPoint>& points)
{
    // One node per input level: a repeated level would leave the system without
    // a solution, so the first point on a level wins. At most a cubic.
    QVector<QPoint> nodes;
    for (const QPoint& p : points) {
        const QPoint node(clampLevel(p.x()), p.y());
        const bool repeated = std::any_of(nodes.cbegin(), nodes.cend(),
                                          [&](const QPoint& q) { return q.x() == node.x(); });
        if (!repeated && nodes.size() < 4)
            nodes.append(node);
    }
    if (nodes.isEmpty())
        nodes = identityList().toVector();

    const int n = nodes.size();
    double matrix[4][5];
    double* rows[4];
    double coefficients[4];
    for (int i = 0; i < n; ++i) {
        for (int k = 0; k < n; ++k)
            matrix[i][k] = caculateAllMi(nodes[i].x(), n - 1 - k);
        matrix[i][n] = nodes[i].y();
        rows[i] = matrix[i];
    }
    GaoSiXY::solve(rows, n, coefficients);

    // A sum that lands a rounding error below a whole number keeps that number,
    // so the sampled curve passes exactly through its key points.
    constexpr double tolerance = 1e-6;
    const QPoint left = nodes[0];
    const QPoint right = nodes[n > 1 ? 1 : 0];
    QVector<int> samples(Levels);
    for (int x = 0; x < Levels; ++x) {
        double y = 0.0;
        for (int k = 0; k < n; ++k)
            y += coefficients[k] * caculateAllMi(x, n - 1 - k);
        y = std::trunc(y + (y < 0.0 ? -tolerance : tolerance));
        int level = static_cast<int>(std::clamp(y, 0.0, double(kMaxLevel)));
        if (x < left.x())
            level = clampLevel(left.y());
        else if (x > right.x())
            level = clampLevel(right.y());
        samples[x] = level;
    }
    // Exact arithmetic meets every node; pinning them keeps that promise whatever
    // the rounding, so a key point can be read back from its table.
    for (const QPoint& node : qAsConst(nodes))
        samples[node.x()] = clampLevel(node.y());
    return samples;
}

bool Widget::isValidKeyList(const QList<QPoint>& points)
{
    if (points.size() < 2 || points.size() > 4)
        return false;
    for (const QPoint& p : points) {
        if (p.x() != clampLevel(p.x()) || p.y() != clampLevel(p.y()))
            return false;
    }
    const int left = points[0].x();
    const int right = points[1].x();
    if (left >= right)
        return false;
    for (int i = 2; i < points.size(); ++i) {
        if (points[i].x() <= left || points[i].x() >= right)
            return false;
    }
    return points.size() < 4 || points[2].x() != points[3].x();
}

void Widget::setHist(int channel, const QVector<int>& hist)
{
    m_hists[channel] = hist;
    if (channel == m_channel)
        update();
}

void Widget::setKeyPoints(int channel, const QList<QPoint>& points, bool checked)
{
    // Even unchecked lists need both end points: the editor indexes them.
    if (checked ? !isValidKeyList(points) : points.size() < 2)
        return;
    m_keyPoints[channel] = points;
    m_samples[channel] = sampleCurve(points);
    if (channel == m_channel) {
        clearSelection();
        m_lstPnt = points;
        drawLineFromPoint(m_lstPnt, -1);
        update();
    }
}

void Widget::clearSelection()
{
    m_dragging = false;
    m_curveHit = false;
    m_pointSelected = false;
    m_selected = -1;
}

void Widget::initAllLstPnt()
{
    clearSelection();
    m_lstPnt = identityList();
    for (QList<QPoint>& points : m_keyPoints)
        points = identityList();
    for (int channel : {ChannelRed, ChannelRgb, ChannelGreen, ChannelBlue, ChannelGray})
        drawLineFromPoint(m_keyPoints[channel], channel);
    update();
}

void Widget::initSelectColLine(const int& channel)
{
    if (channel < 0 || channel >= ChannelCount)
        return;
    m_lstPnt = identityList();
    if (channel == ChannelRgb) {
        initAllLstPnt();
    } else {
        m_keyPoints[channel] = identityList();
        m_samples[channel] = sampleCurve(m_keyPoints[channel]);
    }
    clearSelection();
    setMouseTracking(true);
    ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "[Widget::initSelectColLine] init");
    updateCurLinePnt(channel);
}

void Widget::updateCurLinePnt(const int& channel)
{
    if (channel < 0 || channel >= ChannelCount)
        return;
    clearSelection();
    m_channel = channel;
    const ChannelLook look = lookOf(channel);
    m_histColor = look.histogram;
    m_lstPnt = m_keyPoints[channel];
    ui->widget_2->setStyleSheet(barStyle(false, look.pen));
    ui->widget->setStyleSheet(barStyle(true, look.pen));
    drawLineFromPoint(m_lstPnt, -1);
    update();
}

void Widget::drawLineFromPoint(QList<QPoint>& points, const int& channel)
{
    const QVector<int> samples = sampleCurve(points);
    m_curLine.clear();
    m_curLinePntVec.clear();
    for (int x = 0; x < Levels; ++x) {
        const int y = samples[x];
        m_curLUT[x] = static_cast<unsigned char>(y);
        m_curLinePntVec.append(static_cast<unsigned char>(y));
        m_curLine.append(QPoint(x, y));
    }
    if (channel >= 0 && channel < ChannelCount)
        m_samples[channel] = samples;
}

void Widget::getCurLineLUT(unsigned char* out, unsigned long len) const
{
    std::copy_n(m_curLUT.cbegin(), std::min<unsigned long>(len, Levels), out);
}

void Widget::commitActive()
{
    m_keyPoints[m_channel] = m_lstPnt;
    drawLineFromPoint(m_lstPnt, m_channel);
    update();
}

int Widget::boundedX(int k, int x) const
{
    const QList<QPoint>& p = m_lstPnt;
    if (k == 0) {
        int smallest = 999;
        for (int i = 1; i < p.size(); ++i)
            smallest = std::min(smallest, p[i].x());
        return x >= smallest ? smallest - 1 : x;
    }
    if (k == 1) {
        if (p.size() == 2)
            return x <= p[0].x() ? p[0].x() + 1 : x;
        int largest = 0;
        for (int i = 2; i < p.size(); ++i)
            largest = std::max(largest, p[i].x());
        return x <= largest ? largest + 1 : x;
    }
    x = std::min(std::max(x, p[0].x() + 1), p[1].x() - 1);
    if (p.size() == 4) {
        // The two inner points never cross: each stays on the side it started.
        const int other = p[k == 2 ? 3 : 2].x();
        x = p[k].x() < other ? std::min(x, other - 1) : std::max(x, other + 1);
    }
    return x;
}

bool Widget::acceptsX(int k, int x) const
{
    return x == clampLevel(x) && boundedX(k, x) == x;
}

void Widget::setXCoorVal(const int& x)
{
    if (m_selected < 0)
        return;
    if (acceptsX(m_selected, x) && m_lstPnt[m_selected].x() != x) {
        m_lstPnt[m_selected].setX(x);
        commitActive();
        emit lineChangeSig();
    }
    update();
}

void Widget::setYCoorVal(const int& y)
{
    if (m_selected < 0)
        return;
    if (y == clampLevel(y) && m_lstPnt[m_selected].y() != y) {
        m_lstPnt[m_selected].setY(y);
        commitActive();
        emit lineChangeSig();
    }
    update();
}

bool Widget::toCurve(const QPointF& pos, QPoint& curve) const
{
    const qint64 w = ui->table->width();
    const qint64 h = ui->table->height();
    if (w <= 0 || h <= 0)
        return false;
    const qint64 mx = std::lround(pos.x());
    const qint64 my = std::lround(pos.y());
    curve.setX(static_cast<int>((mx - ui->widget->width()) * kGridSpan / w));
    curve.setY(static_cast<int>(((height() - my) - ui->widget_2->height()) * kGridSpan / h));
    return true;
}

void Widget::selectPoint(int index)
{
    m_selected = index;
    m_pointSelected = true;
    m_dragging = true;
    emit dragPointChecked(true);
    setMouseTracking(false);
    update();
}

void Widget::mousePressEvent(QMouseEvent* event)
{
    QPoint c;
    if (!toCurve(event->localPos(), c))
        return;
    const auto near = [&](int dx, int dy) {
        for (int i = 0; i < m_lstPnt.size(); ++i) {
            if (std::abs(c.x() - m_lstPnt[i].x()) <= dx && std::abs(c.y() - m_lstPnt[i].y()) <= dy)
                return i;
        }
        return -1;
    };

    if (event->button() == Qt::LeftButton) {
        clearSelection();
        for (const QPoint& q : qAsConst(m_curLine)) {
            if (std::abs(c.x() - q.x()) > kPickRadius || std::abs(c.y() - q.y()) > kPickRadius)
                continue;
            m_curveHit = true;
            int hit = near(kPickRadius, kPickRadius);
            // A new point needs a level of its own strictly between the end points.
            const bool levelFree = std::none_of(m_lstPnt.cbegin(), m_lstPnt.cend(),
                                                [&](const QPoint& p) { return p.x() == c.x(); });
            if (hit < 0 && m_lstPnt.size() <= 3 && levelFree && m_lstPnt[0].x() < c.x()
                && c.x() < m_lstPnt[1].x()) {
                m_lstPnt.append(QPoint(c.x(), clampLevel(c.y())));
                hit = m_lstPnt.size() - 1;
                commitActive();
                emit lineChangeSig();
            }
            if (hit >= 0)
                selectPoint(hit);
            break;
        }
    } else if (event->button() == Qt::RightButton) {
        const int hit = near(7, 5);
        if (hit > 1) {
            m_lstPnt.removeAt(hit);
            if (hit == m_selected) {
                clearSelection();
                emit dragPointChecked(false);
            } else if (hit < m_selected) {
                --m_selected;
            }
            commitActive();
            emit lineChangeSig();
        }
        update();
    }

    if (m_selected < 0) {
        setMouseTracking(true);
        emit dragPointChecked(false);
    }
    emit mouseCoordSig(c);
}

void Widget::mouseMoveEvent(QMouseEvent* event)
{
    QPoint c;
    if (!toCurve(event->localPos(), c))
        return;
    c = QPoint(clampLevel(c.x()), clampLevel(c.y()));
    if (!m_dragging || m_selected < 0) {
        emit mouseCoordSig(c);
        return;
    }
    c.setX(boundedX(m_selected, c.x()));
    m_lstPnt[m_selected] = c;
    commitActive();
    emit lineChangeSig();
    emit mouseCoordSig(c);
}

void Widget::mouseReleaseEvent(QMouseEvent*)
{
    m_dragging = false;
}

void Widget::keyPressEvent(QKeyEvent* event)
{
    if (m_selected < 0) {
        QWidget::keyPressEvent(event);
        return;
    }
    QPoint p = m_lstPnt[m_selected];
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Right: {
        const int x = clampLevel(p.x() + (event->key() == Qt::Key_Left ? -1 : 1));
        p.setX(boundedX(m_selected, x));
        break;
    }
    case Qt::Key_Up:
    case Qt::Key_Down:
        p.setY(clampLevel(p.y() + (event->key() == Qt::Key_Down ? -1 : 1)));
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    if (p != m_lstPnt[m_selected]) {
        m_lstPnt[m_selected] = p;
        commitActive();
        emit lineChangeSig();
        emit mouseCoordSig(p);
    }
    event->accept();
}

void Widget::enterEvent(QEvent*)
{
    setFocus();
}

void Widget::leaveEvent(QEvent*)
{
    if (m_selected < 0)
        emit mouseLeaveSig();
}

void Widget::paintEvent(QPaintEvent*)
{
    const int w = ui->table->width();
    const int h = ui->table->height();
    if (w > 0 && h > 0) {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(ui->widget->width(), ui->widget->height());
        painter.scale(double(w) / kGridSpan, double(h) / kGridSpan);
        painter.scale(1, -1);
        drawCoordinate(painter);
        drawBackColorBySlc(painter);
        drawCoorScale(painter);
        drawCurveByColor(painter);
        drawAllPoint(painter);
    }
    if (m_selected < 0) {
        setMouseTracking(true);
        emit dragPointChecked(false);
    }
}

void Widget::drawCoordinate(QPainter& painter) const
{
    painter.fillRect(QRectF(0, 0, 259, 259), QColor(79, 79, 79));
    painter.setPen(QPen(QColor(160, 160, 160), 1));
    painter.drawLine(QLineF(-2000, 0, 2000, 0));
    painter.drawLine(QLineF(0, 1500, 0, -1500));
}

void Widget::drawBackColorBySlc(QPainter& painter) const
{
    drawBackgroudColor(painter, m_hists[m_channel]);
}

void Widget::drawBackgroudColor(QPainter& painter, const QVector<int>& hist) const
{
    const int bins = std::min(hist.size(), int(Levels));
    const qint64 largest = bins > 0 ? *std::max_element(hist.cbegin(), hist.cbegin() + bins) : 0;
    if (largest <= 0)
        return;
    // Axis-aligned bars need no antialiasing; without it they are crisp and
    // an order of magnitude cheaper.
    QVector<QRectF> bars;
    bars.reserve(bins);
    for (int i = 0; i < bins; ++i) {
        const qint64 bar = std::max<qint64>(hist[i], 0) * 255 / largest;
        if (bar > 0)
            bars.append(QRectF(i, 0, 1, double(bar)));
    }
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_histColor);
    painter.drawRects(bars);
    painter.restore();
}

void Widget::drawCoorScale(QPainter& painter) const
{
    QPen pen(Qt::gray, 1);
    pen.setDashPattern({5, 3, 5, 3});
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    for (int v = 50; v <= 250; v += 50) {
        painter.drawLine(QLineF(v, 300, v, 0));
        painter.drawLine(QLineF(0, v, 300, v));
    }
    painter.drawLine(QLineF(0, 0, kMaxLevel, kMaxLevel));
    painter.restore();
}

void Widget::drawCurveByColor(QPainter& painter)
{
    drawLineFromPoint(m_lstPnt, m_channel);
    drawLineByVector(painter, m_samples[m_channel], lookOf(m_channel).pen);
    if (m_channel == ChannelRgb) {
        if (!isIdentity(m_keyPoints[ChannelRed])) {
            drawLineFromPoint(m_keyPoints[ChannelRed], ChannelRed);
            drawLineByVector(painter, m_samples[ChannelRed], lookOf(ChannelRed).pen);
        }
        if (!isIdentity(m_keyPoints[ChannelBlue])) {
            drawLineFromPoint(m_keyPoints[ChannelBlue], ChannelBlue);
            drawLineByVector(painter, m_samples[ChannelBlue], lookOf(ChannelBlue).pen);
        }
        if (!isIdentity(m_keyPoints[ChannelGreen])) {
            // Kept on purpose: the Green curve is computed into the Blue table,
            // and the green line shows the Green table as last computed.
            drawLineFromPoint(m_keyPoints[ChannelGreen], ChannelBlue);
            drawLineByVector(painter, m_samples[ChannelGreen], lookOf(ChannelGreen).pen);
        }
    }
    drawLineFromPoint(m_lstPnt, -1);
}

void Widget::drawLineByVector(QPainter& painter, const QVector<int>& samples,
                              const QColor& color) const
{
    QPolygonF line;
    line.reserve(samples.size());
    for (int i = 0; i < samples.size(); ++i)
        line << QPointF(i, samples[i]);
    painter.setPen(QPen(color, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(line);
}

void Widget::drawAllPoint(QPainter& painter) const
{
    painter.setPen(QPen(Qt::white, 1));
    painter.setBrush(Qt::white);
    for (const QPoint& p : m_lstPnt)
        painter.drawEllipse(QRectF(QPointF(p.x() - 3, p.y() - 3), QPointF(p.x() + 2, p.y() + 2)));
    if (m_selected >= 0 && m_selected < m_lstPnt.size()) {
        const QPoint p = m_lstPnt[m_selected];
        painter.setPen(QPen(QColor(0, 245, 255), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(QRectF(QPointF(p.x() - 4, p.y() - 4), QPointF(p.x() + 3, p.y() + 3)));
    }
}
