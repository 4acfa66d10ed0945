// The crop tool: paper, resolution and unit, the crop canvas and four edit
// boxes; it hands back the chosen area in pixels or millimetres.
#ifndef CUTPAPERTOOL_H
#define CUTPAPERTOOL_H

#include <QDialog>
#include <QRectF>
#include <QString>

#include <memory>

namespace Ui {
class CutPaperTool;
}

class CutPaperTool : public QDialog
{
    Q_OBJECT

public:
    // viewWidth is the on-screen width of the sheet; unit 0 mm, 1 inch, 2 pixels.
    CutPaperTool(int dpi, const QString& paper, int viewWidth, int unit, QWidget* parent = nullptr);
    ~CutPaperTool() override;

    QRectF getCutRectPixel() const;
    QRectF getCutRectMM() const;
    void setCutRectPixel(QRectF& rect);
    void setCutRectMM(QRectF& rect);
    int getUnit() const;

public slots:
    void cutRectXSlot(double x);
    void cutRectYSlot(double y);
    void cutRectWidthSlot(double width);
    void cutRectHeightSlot(double height);
    void lineEditEnableSlot(bool enable);

private slots:
    void on_comboBox_2_currentIndexChanged(int index);
    void on_pbtn_init_clicked();
    void on_startXEdt_textEdited(const QString& text);
    void on_startYEdt_textEdited(const QString& text);
    void on_rectWidth_textEdited(const QString& text);
    void on_rectHeight_textEdited(const QString& text);
    void on_buttonBox_accepted();
    void on_buttonBox_rejected();

private:
    void setSizeLabel();
    void setSizeInit();
    bool readEdit(const QString& text, double& value) const;

    std::unique_ptr<Ui::CutPaperTool> ui;
    int m_dpi;
    QString m_paper;
    int m_unit = 0;
};

#endif
