// The tone-curve dialog: presets, a channel list and the curve editor; it hands
// back key points and lookup tables for a gray or a colour image.
#ifndef SETPICCLRTOOL_H
#define SETPICCLRTOOL_H

#include <QDialog>
#include <QList>
#include <QPoint>
#include <QVector>

#include <memory>

namespace Ui {
class setPicClrTool;
}

class setPicClrTool : public QDialog
{
    Q_OBJECT

public:
    // grayMode 0 edits the curves of a colour image, anything else the gray curve.
    explicit setPicClrTool(int grayMode, QWidget* parent = nullptr);
    ~setPicClrTool() override;

    bool isGrayMode() const { return m_grayMode != 0; }

    // Selects the preset and the channel as far as the mode allows them.
    void setRgbAndColorType(int preset, int channel);
    // [preset index, channel index]
    QVector<int> getRgbAndColorType() const;

    // Byte i is the output for input level i. len must be exactly 256 (gray) or
    // 1024 (planes RGB, Red, Green, Blue); any other length throws the const
    // char* "length is not 256." or "length is not 1024.". Callers inside the
    // library pass the right lengths, so nothing thrown here reaches a host.
    void getGrayTable(unsigned char* out, unsigned long len) const;
    void getRGBTable(unsigned char* out, unsigned long len) const;

    // Key points of RGB, Red, Green and Blue, in that order.
    QVector<QList<QPoint>> getRGBKeyTable() const;
    void setRGBKeyTable(QVector<QList<QPoint>>& table);
    QList<QPoint> getGrayKeyTable() const;
    void setGrayKeyTable(QList<QPoint>& points);

    QList<QPoint> getRgbKeyPoint() const;
    void setRgbKeyPoint(const QList<QPoint>& points);
    QList<QPoint> getRedKeyPoint() const;
    void setRedKeyPoint(const QList<QPoint>& points);
    QList<QPoint> getGreenKeyPoint() const;
    void setGreenKeyPoint(const QList<QPoint>& points);
    QList<QPoint> getBlueKeyPoint() const;
    void setBlueKeyPoint(const QList<QPoint>& points);
    QList<QPoint> getGrayKeyPoint() const;
    void setGrayKeyPoint(const QList<QPoint>& points);
    QVector<int> getRgbALLPoint() const;
    QVector<int> getRedALLPoint() const;
    QVector<int> getGreenALLPoint() const;
    QVector<int> getBlueALLPoint() const;
    QVector<int> getGrayALLPoint() const;

private slots:
    void mouseCoordSlot(QPoint coord);
    void lineEditEnable(bool enable);
    void lineChangeSlot();
    void on_inputEdt_textChanged(const QString& text);
    void on_outputEdt_textChanged(const QString& text);
    void on_colorSetCmb_currentIndexChanged(int index);
    void on_pushButton_clicked();
    void on_comboBox_currentIndexChanged(int index);
    void on_buttonBox_accepted();
    void on_buttonBox_rejected();

private:
    std::unique_ptr<Ui::setPicClrTool> ui;
    const int m_grayMode;
};

#endif
