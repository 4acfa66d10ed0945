#include "dialog_twain_source_select.h"
#include "ui_dialog_twain_source_select.h"

#include <QKeyEvent>

#include <cstdio>
#include <cstring>

namespace {

// Dialog with a close button only: no help or minimise buttons.
constexpr int kWindowFlags = 0x08000003;

// A TWAIN name fills its field and may lack the terminator.
std::string productName(const TW_IDENTITY& identity)
{
    return std::string(identity.ProductName, strnlen(identity.ProductName, sizeof(TW_STR32)));
}

QString rowText(const TW_IDENTITY& identity)
{
    char text[256] = {};
    std::snprintf(text, sizeof(text), "%s %u.%u", productName(identity).c_str(),
                  unsigned(identity.Version.MajorNum), unsigned(identity.Version.MinorNum));
    return QString::fromUtf8(text);
}

} // namespace

Dialog_Twain_Source_Select::Dialog_Twain_Source_Select(const std::vector<TW_IDENTITY>& sources,
                                                       const std::string& default_name,
                                                       QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::Dialog_Twain_Source_Select>())
    , m_sources(sources)
{
    ui->setupUi(this);
    setWindowFlags(Qt::WindowFlags(kWindowFlags));
    for (const TW_IDENTITY& source : m_sources)
        ui->listWidget->addItem(rowText(source));
    for (std::size_t row = 0; row < m_sources.size(); ++row) {
        if (productName(m_sources[row]) == default_name)
            ui->listWidget->setCurrentRow(static_cast<int>(row));
    }
    if (ui->listWidget->currentRow() < 0)
        ui->listWidget->setCurrentRow(0);
}

Dialog_Twain_Source_Select::~Dialog_Twain_Source_Select() = default;

void Dialog_Twain_Source_Select::GetIdentify(TW_IDENTITY* out) const
{
    if (out)
        *out = m_picked;
}

void Dialog_Twain_Source_Select::on_pushButton_OK_clicked()
{
    const int row = ui->listWidget->currentRow();
    if (row < 0 || row >= static_cast<int>(m_sources.size()))
        return;
    m_picked = m_sources[row];
    accept();
}

void Dialog_Twain_Source_Select::on_pushButton_Cancel_clicked()
{
    reject();
}

void Dialog_Twain_Source_Select::on_listWidget_itemDoubleClicked(QListWidgetItem*)
{
    on_pushButton_OK_clicked();
}

void Dialog_Twain_Source_Select::keyPressEvent(QKeyEvent* event)
{
    // Neither Escape nor Enter closes the list: only its buttons, a double
    // click or the title bar do.
    if (event->key() == Qt::Key_Escape)
        event->ignore();
}
