// The crop canvas: a sheet of the chosen paper at a fixed on-screen width, on
// which one crop rectangle is drawn, moved and resized with the mouse.
#ifndef CUTDIALOG_H
#define CUTDIALOG_H

#include <QRectF>
#include <QString>
#include <QWidget>

enum SIZETYPE { MILLIM = 0, INCH = 1, PIXEL = 2 };

class cutDialog : public QWidget
{
    Q_OBJECT

public:
    explicit cutDialog(QWidget* parent = nullptr);

    // Paper names are matched exactly; an unknown name keeps the paper's
    // proportions and scale and only takes the new width (1 to 10000).
    void setPaperSize(QString paper, int viewWidth);
    // 0 to 1e6; at 0 nothing converts to or from pixels.
    void setDpiValue(double dpi);
    void setSizeType(const SIZETYPE& type);
    SIZETYPE sizeType() const { return m_unit; }

    // One side of the rectangle from a value in the current unit; values that
    // are not finite or cannot be converted are ignored.
    void setCutRectWidth(double width);
    void setCutRectHeight(double height);
    void setCutRectStartX(double x);
    void setCutRectStartY(double y);

    // Sizes and positions in the current unit.
    QSizeF getPaperSize() const;
    QSizeF getCutRectSize() const;
    QPointF getCutRectStartPos() const;
    double getCutRectRight() const;
    double getCutRectBottom() const;

    // (x, y, width, height): whole pixels at the dpi, millimetres to two decimals.
    QRectF getCutRectPixel() const;
    void setCutRectPixel(QRectF& rect);
    QRectF getCutRectMM() const;
    void setCutRectMM(QRectF& rect);

    void selectWholePaper();
    // Reports the rectangle through the four cutRect signals.
    void refreshView();
    void initAllCorner();

signals:
    void cutRectX(double x);
    void cutRectY(double y);
    void cutRectWidth(double width);
    void cutRectHeight(double height);
    // False while the rectangle is dragged, true once it is let go.
    void lineEditEnableSig(bool enable);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    enum class Grab { None, Left, Right, Top, Bottom, TopLeft, TopRight, BottomLeft, BottomRight, Whole };

    void mousePosition(const QPoint& pos);
    void dragTo(const QPoint& pos);
    void syncRect();
    void clampToPaper();
    void updateUnitFactor();
    void report(bool wholeXY);

    // View units <-> millimetres <-> the current unit.
    double mmX(double view) const;
    double mmY(double view) const;
    double viewX(double mm) const;
    double viewY(double mm) const;
    bool canConvert() const;

    void drawScale(QPainter& painter) const;
    void drawCutRect(QPainter& painter) const;
    void drawTransparentColor(QPainter& painter) const;

    double m_left = 0;
    double m_top = 0;
    double m_right = 0;
    double m_bottom = 0;
    QRectF m_cutRect;
    QRectF m_paperRect;
    QString m_paperName;
    double m_viewWidth = 0;
    double m_viewHeight = 0;
    int m_scaleStep = 4;
    SIZETYPE m_unit = MILLIM;
    double m_dpi = 200;
    double m_ratio = 99.0 / 70.0;
    double m_mmPerView = 0.7;
    double m_unitFactor = 1.0;
    bool m_dragging = false; // also: report the rectangle while painting
    bool m_onLeft = false;
    bool m_onRight = false;
    bool m_onBottom = false;
    bool m_onTop = false;
    Grab m_grab = Grab::None;
    QPoint m_lastPos;
};

#endif
