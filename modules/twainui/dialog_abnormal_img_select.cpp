#include "dialog_abnormal_img_select.h"
#include "ui_dialog_abnormal_img_select.h"

namespace {
// Dialog with a close button only: no help or minimise buttons.
constexpr int kWindowFlags = 0x08000003;
} // namespace

Dialog_abnormal_img_select::Dialog_abnormal_img_select(ZyImage image, QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::Dialog_abnormal_img_select>())
{
    ui->setupUi(this);
    resize(817, 551);
    setWindowFlags(Qt::WindowFlags(kWindowFlags));
    // Fitted to the view's size now and again when the layout gives it its own.
    ui->imageView->addImage(image);
}

Dialog_abnormal_img_select::~Dialog_abnormal_img_select() = default;

ZyImgView* Dialog_abnormal_img_select::imageView() const
{
    return ui->imageView;
}

void Dialog_abnormal_img_select::on_pushButton_reserve_clicked()
{
    m_userSelect = 1;
    accept();
}

void Dialog_abnormal_img_select::on_pushButton_discard_clicked()
{
    reject();
}
