#include "dialog_source_select.h"
#include "ui_dialog_source_select.h"

#include "sane_driver.h"

#include <QMessageBox>

namespace {
// Dialog with a close button only: no help or minimise buttons.
constexpr int kWindowFlags = 0x08000003;
} // namespace

Dialog_Source_Select::Dialog_Source_Select(
    const std::vector<std::pair<std::string, std::string>>& entries, QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::Dialog_Source_Select>())
    , m_entries(entries)
{
    ui->setupUi(this);
    setWindowFlags(Qt::WindowFlags(kWindowFlags));
    for (const auto& entry : m_entries)
        ui->listWidget->addItem(QString::fromLatin1(entry.first.c_str()));
    ui->listWidget->setCurrentRow(0);
}

Dialog_Source_Select::~Dialog_Source_Select() = default;

void Dialog_Source_Select::GetSaneAPI(_sane_api* out) const
{
    if (out)
        *out = m_api;
}

void Dialog_Source_Select::on_pushButton_OK_clicked()
{
    const int row = ui->listWidget->currentRow();
    if (row < 0 || row >= static_cast<int>(m_entries.size()))
        return;
    const auto& [manufacturer, library] = m_entries[row];

    ZyDll* dll = nullptr;
    _sane_api api = m_api;
    switch (LoadSaneDriver(manufacturer.c_str(), library.c_str(), &dll, &api)) {
    case SANE_LOAD_OK:
        break;
    case SANE_LOAD_FUNCTION_FAILED:
        refuse(tr("Find function failed"));
        return;
    default:
        refuse(tr("Load library failed"));
        return;
    }
    m_dll = dll;
    m_api = api;
    m_manuName = manufacturer;
    accept();
}

void Dialog_Source_Select::on_pushButton_Cancel_clicked()
{
    reject();
}

void Dialog_Source_Select::on_listWidget_itemDoubleClicked(QListWidgetItem*)
{
    on_pushButton_OK_clicked();
}

void Dialog_Source_Select::refuse(const QString& text)
{
    QMessageBox::information(this, tr("tips"), text);
}
