#include "cutpapertool.h"
#include "ui_cutpapertool.h"

#include <QRegularExpressionValidator>

#include <algorithm>
#include <cmath>

namespace {

// Whatever the display rounded away does not count as past the paper.
bool exceeds(double value, double limit)
{
    return value > limit + 1e-6 * std::max(1.0, std::abs(limit));
}

QString shortest(double value)
{
    return QString::number(value, 'g', 6);
}

} // namespace

CutPaperTool::CutPaperTool(int dpi, const QString& paper, int viewWidth, int unit, QWidget* parent)
    : QDialog(parent)
    , ui(new Ui::CutPaperTool)
    , m_dpi(dpi)
    , m_paper(paper)
{
    ui->setupUi(this);
    setWindowFlags(Qt::Dialog | Qt::WindowCloseButtonHint);
    cutDialog* canvas = ui->widget;
    canvas->setSizeType(MILLIM);

    connect(canvas, &cutDialog::cutRectX, this, &CutPaperTool::cutRectXSlot);
    connect(canvas, &cutDialog::cutRectY, this, &CutPaperTool::cutRectYSlot);
    connect(canvas, &cutDialog::cutRectWidth, this, &CutPaperTool::cutRectWidthSlot);
    connect(canvas, &cutDialog::cutRectHeight, this, &CutPaperTool::cutRectHeightSlot);
    connect(canvas, &cutDialog::lineEditEnableSig, this, &CutPaperTool::lineEditEnableSlot);

    ui->dpiLab->setText(QString::number(dpi));
    canvas->setDpiValue(dpi);
    ui->paperLab->setText(paper);
    canvas->setPaperSize(paper, viewWidth);

    setSizeLabel();
    // Wider only when a language's texts would not fit beside the sheet.
    setFixedWidth(std::max(canvas->width() + 41, minimumSizeHint().width()));
    // Tall papers scroll; the rest is shown whole.
    ui->scrollArea->setMinimumHeight(std::min(canvas->height() + 2 * ui->scrollArea->frameWidth(), 560));
    on_comboBox_2_currentIndexChanged(0);
    setSizeInit();
    ui->comboBox_2->setCurrentIndex(unit >= 0 && unit < ui->comboBox_2->count() ? unit : 0);
}

CutPaperTool::~CutPaperTool() = default;

QRectF CutPaperTool::getCutRectPixel() const
{
    return ui->widget->getCutRectPixel();
}

QRectF CutPaperTool::getCutRectMM() const
{
    return ui->widget->getCutRectMM();
}

void CutPaperTool::setCutRectPixel(QRectF& rect)
{
    ui->widget->setCutRectPixel(rect);
    ui->widget->refreshView();
}

void CutPaperTool::setCutRectMM(QRectF& rect)
{
    ui->widget->setCutRectMM(rect);
    ui->widget->refreshView();
}

int CutPaperTool::getUnit() const
{
    return ui->comboBox_2->currentIndex();
}

void CutPaperTool::cutRectXSlot(double x)
{
    ui->startXEdt->setText(shortest(x));
}

void CutPaperTool::cutRectYSlot(double y)
{
    ui->startYEdt->setText(shortest(y));
}

void CutPaperTool::cutRectWidthSlot(double width)
{
    ui->rectWidth->setText(shortest(width));
}

void CutPaperTool::cutRectHeightSlot(double height)
{
    ui->rectHeight->setText(shortest(height));
}

void CutPaperTool::lineEditEnableSlot(bool enable)
{
    for (QLineEdit* edit : {ui->startXEdt, ui->startYEdt, ui->rectWidth, ui->rectHeight})
        edit->setEnabled(enable);
}

void CutPaperTool::on_comboBox_2_currentIndexChanged(int index)
{
    const SIZETYPE unit = index == INCH ? INCH : index == PIXEL ? PIXEL : MILLIM;
    const QString name = unit == INCH ? QStringLiteral("in") : unit == PIXEL ? QStringLiteral("px") : QStringLiteral("mm");
    for (QLabel* label : {ui->xLabel, ui->yLabel, ui->wLabel, ui->hLabel})
        label->setText(name);

    // Whole pixels, or hundredths of a millimetre or an inch.
    const QRegularExpression pattern(unit == PIXEL ? QStringLiteral("\\d{0,6}")
                                                   : QStringLiteral("\\d{0,6}(\\.\\d{0,2})?"));
    for (QLineEdit* edit : {ui->startXEdt, ui->startYEdt, ui->rectWidth, ui->rectHeight}) {
        delete edit->validator();
        edit->setValidator(new QRegularExpressionValidator(pattern, edit));
    }

    m_unit = unit;
    ui->widget->setSizeType(unit);
    setSizeLabel();
    ui->widget->refreshView();
}

void CutPaperTool::setSizeLabel()
{
    const QSizeF size = ui->widget->getPaperSize();
    const auto text = [&](double value) {
        return m_unit == INCH ? QString::number(value, 'f', 2)
                              : QString::number(std::trunc(value + 0.001), 'f', 0);
    };
    ui->sizeLabel->setText(QStringLiteral("(%1 * %2)").arg(text(size.width()), text(size.height())));
}

void CutPaperTool::setSizeInit()
{
    ui->widget->selectWholePaper();
    ui->widget->refreshView();
}

void CutPaperTool::on_pbtn_init_clicked()
{
    setSizeInit();
}

bool CutPaperTool::readEdit(const QString& text, double& value) const
{
    bool ok = false;
    value = m_unit == PIXEL ? text.toInt(&ok) : text.toDouble(&ok);
    return ok && std::isfinite(value) && value >= 0;
}

void CutPaperTool::on_startXEdt_textEdited(const QString& text)
{
    double x = 0;
    if (readEdit(text, x) && !exceeds(x, ui->widget->getCutRectRight()))
        ui->widget->setCutRectStartX(x);
}

void CutPaperTool::on_startYEdt_textEdited(const QString& text)
{
    double y = 0;
    if (readEdit(text, y) && !exceeds(y, ui->widget->getCutRectBottom()))
        ui->widget->setCutRectStartY(y);
}

void CutPaperTool::on_rectWidth_textEdited(const QString& text)
{
    double width = 0;
    const double room = ui->widget->getPaperSize().width() - ui->widget->getCutRectStartPos().x();
    if (readEdit(text, width) && !exceeds(width, room))
        ui->widget->setCutRectWidth(width);
}

void CutPaperTool::on_rectHeight_textEdited(const QString& text)
{
    double height = 0;
    const double room = ui->widget->getPaperSize().height() - ui->widget->getCutRectStartPos().y();
    if (readEdit(text, height) && !exceeds(height, room))
        ui->widget->setCutRectHeight(height);
}

void CutPaperTool::on_buttonBox_accepted()
{
    accept();
}

void CutPaperTool::on_buttonBox_rejected()
{
    reject();
}
