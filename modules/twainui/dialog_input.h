// Asks for one short name without whitespace, such as a scheme's name.
#ifndef DIALOG_INPUT_H
#define DIALOG_INPUT_H

#include <QDialog>

#include <memory>

namespace Ui {
class Dialog_Input;
}

class Dialog_Input : public QDialog
{
    Q_OBJECT

public:
    explicit Dialog_Input(QWidget* parent = nullptr);
    ~Dialog_Input() override;

    // Starts with v, fully selected so that typing replaces it.
    void init_value(const QString& v);
    void setEditText(const QString& v);
    // The accepted text.
    QString get_inputting_value() const { return m_value; }
    // The field's current text up to its first zero character.
    QString getText() const;

private slots:
    void on_pushButton_clicked();
    void on_pushButton_2_clicked();

private:
    std::unique_ptr<Ui::Dialog_Input> ui;
    QString m_value;
};

#endif
