// The tone-curve editor: up to four key points per channel on a 256 x 256 grid,
// one polynomial through them, sampled at every input level.
#ifndef WIDGET_H
#define WIDGET_H

#include <QColor>
#include <QList>
#include <QPoint>
#include <QVector>
#include <QWidget>

#include <array>
#include <memory>

namespace Ui {
class Widget;
}

class Widget : public QWidget
{
    Q_OBJECT

public:
    // Channel numbers, also used as indexes by the tone-curve dialog.
    enum Channel { ChannelRgb = 0, ChannelGray = 1, ChannelRed = 2, ChannelBlue = 3, ChannelGreen = 4 };
    static constexpr int ChannelCount = 5;
    static constexpr int Levels = 256;

    explicit Widget(QWidget* parent = nullptr);
    ~Widget() override;

    QSize sizeHint() const override { return {556, 484}; }

    // Histograms shown behind the curve, one count per input level.
    void setHist_RGB(const QVector<int>& hist) { setHist(ChannelRgb, hist); }
    void setHist_RED(const QVector<int>& hist) { setHist(ChannelRed, hist); }
    void setHist_BLUE(const QVector<int>& hist) { setHist(ChannelBlue, hist); }
    void setHist_GREEN(const QVector<int>& hist) { setHist(ChannelGreen, hist); }
    void setHist_GRAY(const QVector<int>& hist) { setHist(ChannelGray, hist); }
    QVector<int> getHist_RGB() const { return m_hists[ChannelRgb]; }
    QVector<int> getHist_RED() const { return m_hists[ChannelRed]; }
    QVector<int> getHist_BLUE() const { return m_hists[ChannelBlue]; }
    QVector<int> getHist_GREEN() const { return m_hists[ChannelGreen]; }
    QVector<int> getHist_GRAY() const { return m_hists[ChannelGray]; }

    // Sample tables: the output for each input level, as last computed.
    QVector<int> getRgbALLPoint() const { return m_samples[ChannelRgb]; }
    QVector<int> getRedALLPoint() const { return m_samples[ChannelRed]; }
    QVector<int> getBlueALLPoint() const { return m_samples[ChannelBlue]; }
    QVector<int> getGreenALLPoint() const { return m_samples[ChannelGreen]; }
    QVector<int> getGrayALLPoint() const { return m_samples[ChannelGray]; }

    void SetAllLinePnt(QVector<int>& points) { m_allLinePnt = points; }
    QVector<unsigned char> getCurLinePntVec() const { return m_curLinePntVec; }

    // Checked setters: a list is taken only when it keeps the key-point rules
    // (two to four points on the grid, end points first, inner points strictly
    // between them, no two points on one input level); anything else is ignored.
    QList<QPoint> getRgbKeyPoint() const { return m_keyPoints[ChannelRgb]; }
    QList<QPoint> getRedKeyPoint() const { return m_keyPoints[ChannelRed]; }
    QList<QPoint> getBlueKeyPoint() const { return m_keyPoints[ChannelBlue]; }
    QList<QPoint> getGreenKeyPoint() const { return m_keyPoints[ChannelGreen]; }
    QList<QPoint> getGrayKeyPoint() const { return m_keyPoints[ChannelGray]; }
    void setRgbKeyPoint(const QList<QPoint>& points) { setKeyPoints(ChannelRgb, points, true); }
    void setRedKeyPoint(const QList<QPoint>& points) { setKeyPoints(ChannelRed, points, true); }
    void setBlueKeyPoint(const QList<QPoint>& points) { setKeyPoints(ChannelBlue, points, true); }
    void setGreenKeyPoint(const QList<QPoint>& points) { setKeyPoints(ChannelGreen, points, true); }
    void setGrayKeyPoint(const QList<QPoint>& points) { setKeyPoints(ChannelGray, points, true); }

    // The same lists without the checks (the presets are known to be valid).
    QList<QPoint> getLstPnt_RGB() const { return m_keyPoints[ChannelRgb]; }
    QList<QPoint> getLstPnt_RED() const { return m_keyPoints[ChannelRed]; }
    QList<QPoint> getLstPnt_BLUE() const { return m_keyPoints[ChannelBlue]; }
    QList<QPoint> getLstPnt_GREEN() const { return m_keyPoints[ChannelGreen]; }
    QList<QPoint> getLstPnt_GRAY() const { return m_keyPoints[ChannelGray]; }
    void setLstPnt_RGB(const QList<QPoint>& points) { setKeyPoints(ChannelRgb, points, false); }
    void setLstPnt_RED(const QList<QPoint>& points) { setKeyPoints(ChannelRed, points, false); }
    void setLstPnt_BLUE(const QList<QPoint>& points) { setKeyPoints(ChannelBlue, points, false); }
    void setLstPnt_GREEN(const QList<QPoint>& points) { setKeyPoints(ChannelGreen, points, false); }
    void setLstPnt_GRAY(const QList<QPoint>& points) { setKeyPoints(ChannelGray, points, false); }

    void initAllLstPnt();
    void initSelectColLine(const int& channel);
    void updateCurLinePnt(const int& channel);

    // Fits and samples the curve through points; channel -1 only updates the
    // current curve and table, 0..4 also stores that channel's sample table.
    void drawLineFromPoint(QList<QPoint>& points, const int& channel);
    // Copies the current output table; at most 256 bytes are written.
    void getCurLineLUT(unsigned char* out, unsigned long len) const;

    // From the dialog's edit boxes; both act on the selected key point only.
    void setXCoorVal(const int& x);
    void setYCoorVal(const int& y);

    int currentChannel() const { return m_channel; }
    int selectedIndex() const { return m_selected; }

    // base^exp in 32 bits (1 for exp < 1), saturated instead of overflowing.
    static int caculateAllMi(int base, int exp);
    // The 256 output levels of the polynomial through the key points.
    static QVector<int> sampleCurve(const QList<QPoint>& points);
    static bool isValidKeyList(const QList<QPoint>& points);

signals:
    void dragPointChecked(bool selected);
    void mouseLeaveSig();
    void mouseCoordSig(QPoint coord);
    void lineChangeSig();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void enterEvent(QEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void setHist(int channel, const QVector<int>& hist);
    void setKeyPoints(int channel, const QList<QPoint>& points, bool checked);
    void initInterface();
    void clearSelection();
    void selectPoint(int index);
    // Stores the edited active list into the current channel and recomputes it.
    void commitActive();
    // x for key point k moved to x, kept inside the bounds a drag respects.
    int boundedX(int k, int x) const;
    bool acceptsX(int k, int x) const;
    bool toCurve(const QPointF& pos, QPoint& curve) const;

    void drawCoordinate(QPainter& painter) const;
    void drawBackColorBySlc(QPainter& painter) const;
    void drawBackgroudColor(QPainter& painter, const QVector<int>& hist) const;
    void drawCoorScale(QPainter& painter) const;
    void drawCurveByColor(QPainter& painter);
    void drawLineByVector(QPainter& painter, const QVector<int>& samples, const QColor& color) const;
    void drawAllPoint(QPainter& painter) const;

    std::unique_ptr<Ui::Widget> ui;
    std::array<QVector<int>, ChannelCount> m_hists;
    std::array<QVector<int>, ChannelCount> m_samples;
    QVector<int> m_allLinePnt;
    QVector<unsigned char> m_curLinePntVec;
    QList<QPoint> m_lstPnt;  // the key points being edited
    QList<QPoint> m_curLine; // the 256 points of the last computed curve
    std::array<QList<QPoint>, ChannelCount> m_keyPoints;
    QColor m_histColor;
    std::array<unsigned char, Levels> m_curLUT{};
    bool m_dragging = false;
    bool m_curveHit = false;
    bool m_pointSelected = false;
    int m_selected = -1;
    int m_channel = ChannelRgb;
};

#endif
