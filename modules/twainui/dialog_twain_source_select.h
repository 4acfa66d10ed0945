// Lets the user pick one TWAIN data source by its product name and version.
#ifndef DIALOG_TWAIN_SOURCE_SELECT_H
#define DIALOG_TWAIN_SOURCE_SELECT_H

#include <veltwainui/twainui.h>

#include <QDialog>

#include <memory>
#include <string>
#include <vector>

namespace Ui {
class Dialog_Twain_Source_Select;
}
class QListWidgetItem;

class Dialog_Twain_Source_Select : public QDialog
{
    Q_OBJECT

public:
    // The last source whose product name equals default_name is preselected,
    // else the first one.
    Dialog_Twain_Source_Select(const std::vector<TW_IDENTITY>& sources,
                               const std::string& default_name, QWidget* parent = nullptr);
    ~Dialog_Twain_Source_Select() override;

    // The picked identity; all zero unless OK picked one.
    void GetIdentify(TW_IDENTITY* out) const;

private slots:
    void on_pushButton_OK_clicked();
    void on_pushButton_Cancel_clicked();
    void on_listWidget_itemDoubleClicked(QListWidgetItem* item);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    std::unique_ptr<Ui::Dialog_Twain_Source_Select> ui;
    std::vector<TW_IDENTITY> m_sources;
    TW_IDENTITY m_picked{};
};

#endif
