#include "dialog_input.h"
#include "ui_dialog_input.h"

#include <QMessageBox>
#include <QRegularExpression>
#include <QRegularExpressionValidator>

namespace {
// Dialog with a close button only: no help or minimise buttons.
constexpr int kWindowFlags = 0x08000003;
constexpr int kMaxLength = 20;
} // namespace

Dialog_Input::Dialog_Input(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::Dialog_Input>())
{
    ui->setupUi(this);
    setWindowFlags(Qt::WindowFlags(kWindowFlags));
    ui->lineEdit->setMaxLength(kMaxLength);
    ui->lineEdit->setValidator(
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[^\\s]+$")), this));
}

Dialog_Input::~Dialog_Input() = default;

void Dialog_Input::init_value(const QString& v)
{
    m_value = v;
    ui->lineEdit->setText(v);
    ui->lineEdit->selectAll();
}

void Dialog_Input::setEditText(const QString& v)
{
    ui->lineEdit->setText(v);
}

QString Dialog_Input::getText() const
{
    const QByteArray utf8 = ui->lineEdit->text().toUtf8();
    return QString::fromUtf8(utf8.constData());
}

void Dialog_Input::on_pushButton_clicked()
{
    static const QRegularExpression whitespace(QStringLiteral("\\s"));
    const QByteArray cleaned = ui->lineEdit->text().remove(whitespace).toUtf8().trimmed();
    // A text set from outside may hold nothing but blanks: that is empty too.
    if (cleaned.isEmpty()) {
        QMessageBox::information(this, tr("tips"), tr("The content can not be empty"));
        return;
    }
    m_value = QString::fromUtf8(cleaned);
    accept();
}

void Dialog_Input::on_pushButton_2_clicked()
{
    reject();
}
