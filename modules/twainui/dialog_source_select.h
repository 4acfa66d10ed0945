// Lets the user pick a SANE driver library by its manufacturer; on OK the
// library is loaded and its entry points resolved, or the user is told why not.
#ifndef DIALOG_SOURCE_SELECT_H
#define DIALOG_SOURCE_SELECT_H

#include <veltwainui/twainui.h>
#include <ZyBase.h>

#include <QDialog>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Ui {
class Dialog_Source_Select;
}
class QListWidgetItem;

class Dialog_Source_Select : public QDialog
{
    Q_OBJECT

public:
    // entries: (manufacturer name, library path)
    Dialog_Source_Select(const std::vector<std::pair<std::string, std::string>>& entries,
                         QWidget* parent = nullptr);
    ~Dialog_Source_Select() override;

    // After acceptance: the picked manufacturer, its loaded library (the caller
    // owns it from then on and unloads it) and the resolved entry points.
    std::string GetManuName() const { return m_manuName; }
    ZyDll* GetDll() const { return m_dll; }
    void GetSaneAPI(_sane_api* out) const;

private slots:
    void on_pushButton_OK_clicked();
    void on_pushButton_Cancel_clicked();
    void on_listWidget_itemDoubleClicked(QListWidgetItem* item);

private:
    void refuse(const QString& text);

    std::unique_ptr<Ui::Dialog_Source_Select> ui;
    std::vector<std::pair<std::string, std::string>> m_entries;
    std::string m_manuName;
    ZyDll* m_dll = nullptr;
    _sane_api m_api{};
};

#endif
