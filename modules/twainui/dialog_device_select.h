// Lists the connected devices and returns the id of the one the user picks.
#ifndef DIALOG_DEVICE_SELECT_H
#define DIALOG_DEVICE_SELECT_H

#include <veltwainui/twainui.h>

#include <QDialog>

#include <memory>
#include <vector>

namespace Ui {
class Dialog_device_select;
}
class QListWidgetItem;

class Dialog_device_select : public QDialog
{
    Q_OBJECT

public:
    explicit Dialog_device_select(const std::vector<_dev_que_ui>& devices,
                                  QWidget* parent = nullptr);
    ~Dialog_device_select() override;

    // The chosen device's id, -1 when none was chosen.
    int getDevId() const { return m_devId; }

private slots:
    void on_pbtn_ok_clicked();
    void on_pbtn_cancel_clicked();
    void on_listWidget_itemDoubleClicked(QListWidgetItem* item);

private:
    // Marks rows of the same name with the device name in brackets.
    void processSameDeviceType();

    std::unique_ptr<Ui::Dialog_device_select> ui;
    std::vector<_dev_que_ui> m_devices;
    int m_devId = -1;
};

#endif
