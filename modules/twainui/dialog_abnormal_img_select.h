// Shows an image the driver found abnormal and asks whether to keep it.
#ifndef DIALOG_ABNORMAL_IMG_SELECT_H
#define DIALOG_ABNORMAL_IMG_SELECT_H

#include <ZyBase.h>

#include <QDialog>

#include <memory>

namespace Ui {
class Dialog_abnormal_img_select;
}
class ZyImgView;

class Dialog_abnormal_img_select : public QDialog
{
    Q_OBJECT

public:
    // The view takes a copy of image; a null image shows nothing.
    explicit Dialog_abnormal_img_select(ZyImage image, QWidget* parent = nullptr);
    ~Dialog_abnormal_img_select() override;

    // 1 keep the image, 0 discard it (also when the window was closed).
    int getUserSelect() const { return m_userSelect; }
    ZyImgView* imageView() const;

private slots:
    void on_pushButton_reserve_clicked();
    void on_pushButton_discard_clicked();

private:
    std::unique_ptr<Ui::Dialog_abnormal_img_select> ui;
    int m_userSelect = 0;
};

#endif
