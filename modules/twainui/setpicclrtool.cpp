#include "setpicclrtool.h"
#include "ui_setpicclrtool.h"

#include <ZyBase.h>

#include <QComboBox>
#include <QIntValidator>
#include <QSignalBlocker>

#include <array>

namespace {

enum Preset { PresetCustom = 0, PresetNegative = 1, PresetColorNegative = 2, PresetDarker = 3, PresetBrighter = 4, PresetCount = 5 };

// Key points of each preset, end points first; empty lists stay at the identity.
struct PresetCurves
{
    QList<QPoint> rgb, red, green, blue;
};

const std::array<PresetCurves, PresetCount>& presetCurves()
{
    static const std::array<PresetCurves, PresetCount> curves = {{
        {},
        {{QPoint(0, 255), QPoint(255, 0)}, {}, {}, {}},
        {{},
         {QPoint(33, 255), QPoint(185, 0), QPoint(119, 127)},
         {QPoint(28, 255), QPoint(132, 0), QPoint(77, 127)},
         {QPoint(25, 255), QPoint(108, 0), QPoint(60, 127)}},
        {{QPoint(0, 0), QPoint(255, 255), QPoint(130, 101)}, {}, {}, {}},
        {{QPoint(0, 0), QPoint(255, 255), QPoint(103, 125)}, {}, {}, {}},
    }};
    return curves;
}

// Combo items are disabled through the item-flags role of the standard model.
void disableItem(QComboBox* combo, int index)
{
    combo->setItemData(index, 6, Qt::UserRole - 1);
}

void logPoints(const char* where, const QList<QPoint>& points)
{
    QString text;
    for (const QPoint& p : points)
        text += QStringLiteral(" (%1,%2)").arg(p.x()).arg(p.y());
    ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "[setPicClrTool::%s]%s", where, qUtf8Printable(text));
}

void copyLowBytes(const QVector<int>& samples, unsigned char* out)
{
    for (int i = 0; i < Widget::Levels; ++i)
        out[i] = static_cast<unsigned char>(samples.value(i));
}

} // namespace

setPicClrTool::setPicClrTool(int grayMode, QWidget* parent)
    : QDialog(parent)
    , ui(new Ui::setPicClrTool)
    , m_grayMode(grayMode)
{
    ui->setupUi(this);
    setWindowFlags(Qt::Dialog | Qt::WindowCloseButtonHint);

    auto* levels = new QIntValidator(0, Widget::Levels - 1, this);
    ui->inputEdt->setValidator(levels);
    ui->outputEdt->setValidator(levels);

    connect(ui->widget, &Widget::mouseCoordSig, this, &setPicClrTool::mouseCoordSlot);
    connect(ui->widget, &Widget::dragPointChecked, this, &setPicClrTool::lineEditEnable);
    connect(ui->widget, &Widget::lineChangeSig, this, &setPicClrTool::lineChangeSlot);

    if (isGrayMode()) {
        disableItem(ui->comboBox, PresetColorNegative);
        for (int channel : {Widget::ChannelRgb, Widget::ChannelRed, Widget::ChannelBlue, Widget::ChannelGreen})
            disableItem(ui->colorSetCmb, channel);
        ui->colorSetCmb->setCurrentIndex(Widget::ChannelGray);
    } else {
        disableItem(ui->colorSetCmb, Widget::ChannelGray);
        ui->widget->updateCurLinePnt(ui->colorSetCmb->currentIndex());
    }
}

setPicClrTool::~setPicClrTool() = default;

void setPicClrTool::setRgbAndColorType(int preset, int channel)
{
    if (isGrayMode()) {
        if (preset >= 0 && preset < PresetCount && preset != PresetColorNegative)
            ui->comboBox->setCurrentIndex(preset);
        return;
    }
    if (preset >= 0 && preset < PresetCount)
        ui->comboBox->setCurrentIndex(preset);
    if (channel >= 0 && channel < Widget::ChannelCount && channel != Widget::ChannelGray)
        ui->colorSetCmb->setCurrentIndex(channel);
}

QVector<int> setPicClrTool::getRgbAndColorType() const
{
    return {ui->comboBox->currentIndex(), ui->colorSetCmb->currentIndex()};
}

void setPicClrTool::getGrayTable(unsigned char* out, unsigned long len) const
{
    if (len != Widget::Levels)
        throw "length is not 256.";
    copyLowBytes(ui->widget->getGrayALLPoint(), out);
}

void setPicClrTool::getRGBTable(unsigned char* out, unsigned long len) const
{
    if (len != 4 * Widget::Levels)
        throw "length is not 1024.";
    // Computed from the key points rather than read from the sample tables:
    // the RGB view reuses the Blue table while it draws the Green curve.
    const QVector<QList<QPoint>> planes = getRGBKeyTable();
    for (int plane = 0; plane < planes.size(); ++plane)
        copyLowBytes(Widget::sampleCurve(planes[plane]), out + plane * Widget::Levels);
}

QVector<QList<QPoint>> setPicClrTool::getRGBKeyTable() const
{
    const Widget* w = ui->widget;
    return {w->getRgbKeyPoint(), w->getRedKeyPoint(), w->getGreenKeyPoint(), w->getBlueKeyPoint()};
}

void setPicClrTool::setRGBKeyTable(QVector<QList<QPoint>>& table)
{
    ui->widget->setRgbKeyPoint(table.value(0));
    ui->widget->setRedKeyPoint(table.value(1));
    ui->widget->setGreenKeyPoint(table.value(2));
    ui->widget->setBlueKeyPoint(table.value(3));
}

QList<QPoint> setPicClrTool::getGrayKeyTable() const
{
    return ui->widget->getGrayKeyPoint();
}

void setPicClrTool::setGrayKeyTable(QList<QPoint>& points)
{
    ui->widget->setGrayKeyPoint(points);
}

QList<QPoint> setPicClrTool::getRgbKeyPoint() const
{
    const QList<QPoint> points = ui->widget->getRgbKeyPoint();
    logPoints("getRgbKeyPoint", points);
    return points;
}

void setPicClrTool::setRgbKeyPoint(const QList<QPoint>& points)
{
    logPoints("setRgbKeyPoint", points);
    ui->widget->setRgbKeyPoint(points);
}

QList<QPoint> setPicClrTool::getRedKeyPoint() const { return ui->widget->getRedKeyPoint(); }
void setPicClrTool::setRedKeyPoint(const QList<QPoint>& points) { ui->widget->setRedKeyPoint(points); }
QList<QPoint> setPicClrTool::getGreenKeyPoint() const { return ui->widget->getGreenKeyPoint(); }
void setPicClrTool::setGreenKeyPoint(const QList<QPoint>& points) { ui->widget->setGreenKeyPoint(points); }
QList<QPoint> setPicClrTool::getBlueKeyPoint() const { return ui->widget->getBlueKeyPoint(); }
void setPicClrTool::setBlueKeyPoint(const QList<QPoint>& points) { ui->widget->setBlueKeyPoint(points); }
QList<QPoint> setPicClrTool::getGrayKeyPoint() const { return ui->widget->getGrayKeyPoint(); }
void setPicClrTool::setGrayKeyPoint(const QList<QPoint>& points) { ui->widget->setGrayKeyPoint(points); }
QVector<int> setPicClrTool::getRgbALLPoint() const { return ui->widget->getRgbALLPoint(); }
QVector<int> setPicClrTool::getRedALLPoint() const { return ui->widget->getRedALLPoint(); }
QVector<int> setPicClrTool::getGreenALLPoint() const { return ui->widget->getGreenALLPoint(); }
QVector<int> setPicClrTool::getBlueALLPoint() const { return ui->widget->getBlueALLPoint(); }
QVector<int> setPicClrTool::getGrayALLPoint() const { return ui->widget->getGrayALLPoint(); }

void setPicClrTool::mouseCoordSlot(QPoint coord)
{
    // Showing the pointer's coordinates must not move the selected point.
    const QSignalBlocker blockInput(ui->inputEdt);
    const QSignalBlocker blockOutput(ui->outputEdt);
    ui->inputEdt->setText(QString::number(coord.x()));
    ui->outputEdt->setText(QString::number(coord.y()));
}

void setPicClrTool::lineEditEnable(bool enable)
{
    ui->inputEdt->setEnabled(enable);
    ui->outputEdt->setEnabled(enable);
}

void setPicClrTool::lineChangeSlot()
{
    // The edited curve is no longer the preset; the curves must stay as they are.
    const QSignalBlocker block(ui->comboBox);
    ui->comboBox->setCurrentIndex(PresetCustom);
}

void setPicClrTool::on_inputEdt_textChanged(const QString& text)
{
    bool ok = false;
    const int x = text.toInt(&ok);
    if (ok)
        ui->widget->setXCoorVal(x);
}

void setPicClrTool::on_outputEdt_textChanged(const QString& text)
{
    bool ok = false;
    const int y = text.toInt(&ok);
    if (ok)
        ui->widget->setYCoorVal(y);
}

void setPicClrTool::on_colorSetCmb_currentIndexChanged(int index)
{
    ui->widget->updateCurLinePnt(index);
}

void setPicClrTool::on_pushButton_clicked()
{
    ui->widget->initSelectColLine(ui->colorSetCmb->currentIndex());
    lineChangeSlot();
}

void setPicClrTool::on_comboBox_currentIndexChanged(int index)
{
    Widget* w = ui->widget;
    w->initAllLstPnt();
    if (index > PresetCustom && index < PresetCount) {
        const PresetCurves& preset = presetCurves()[index];
        w->setLstPnt_RGB(preset.rgb);
        w->setLstPnt_RED(preset.red);
        w->setLstPnt_GREEN(preset.green);
        w->setLstPnt_BLUE(preset.blue);
        // A gray image has only the one curve: the RGB presets shape it.
        if (isGrayMode())
            w->setLstPnt_GRAY(preset.rgb);
    }
    w->updateCurLinePnt(ui->colorSetCmb->currentIndex());
}

void setPicClrTool::on_buttonBox_accepted()
{
    accept();
}

void setPicClrTool::on_buttonBox_rejected()
{
    ui->widget->initAllLstPnt();
    reject();
}
