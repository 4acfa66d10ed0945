#include "dialog_device_select.h"
#include "ui_dialog_device_select.h"

#include <string>

namespace {

// Window-type bits 0x1B with the stay-on-top hint, as the message box has.
constexpr int kWindowFlags = 0x0004001B;

std::string baseName(const QString& rowText)
{
    std::string text = rowText.toStdString();
    const std::size_t cut = text.rfind(" - ");
    if (cut != std::string::npos)
        text.resize(cut);
    return text;
}

} // namespace

Dialog_device_select::Dialog_device_select(const std::vector<_dev_que_ui>& devices,
                                           QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::Dialog_device_select>())
    , m_devices(devices)
{
    ui->setupUi(this);
    resize(342, 216);
    setWindowFlags(Qt::WindowFlags(kWindowFlags));
    for (const _dev_que_ui& device : m_devices)
        ui->listWidget->addItem(QString::fromStdString(device.name));
    if (ui->listWidget->count() > 0)
        ui->listWidget->setCurrentRow(0);
    if (ui->listWidget->count() > 1)
        processSameDeviceType();
}

Dialog_device_select::~Dialog_device_select() = default;

void Dialog_device_select::processSameDeviceType()
{
    // Every pair is visited and later pairs see earlier renames, so a name shared
    // by several rows collects one suffix per pair.
    const int count = ui->listWidget->count();
    for (int i = 0; i < count - 1; ++i) {
        for (int j = i + 1; j < count; ++j) {
            QListWidgetItem* first = ui->listWidget->item(i);
            QListWidgetItem* second = ui->listWidget->item(j);
            const std::string a = baseName(first->text());
            const std::string b = baseName(second->text());
            if (a != b)
                continue;
            std::string x;
            std::string y;
            for (const _dev_que_ui& device : m_devices) {
                if (device.name == a)
                    x = device.name;
                if (device.name == b)
                    y = device.name;
            }
            first->setText(first->text() + "(" + QString::fromStdString(x) + ")");
            second->setText(second->text() + "(" + QString::fromStdString(y) + ")");
        }
    }
}

void Dialog_device_select::on_pbtn_ok_clicked()
{
    m_devId = -1;
    if (const QListWidgetItem* item = ui->listWidget->currentItem()) {
        const std::string chosen = item->text().toStdString();
        for (const _dev_que_ui& device : m_devices) {
            if (device.name == chosen) {
                m_devId = device.id;
                break;
            }
        }
    }
    accept();
}

void Dialog_device_select::on_pbtn_cancel_clicked()
{
    m_devId = -1;
    reject();
}

void Dialog_device_select::on_listWidget_itemDoubleClicked(QListWidgetItem*)
{
    on_pbtn_ok_clicked();
}
