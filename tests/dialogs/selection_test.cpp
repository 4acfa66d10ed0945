#include "ZyImgView.h"
#include "dialog_abnormal_img_select.h"
#include "dialog_device_select.h"
#include "dialog_input.h"
#include "dialog_test_support.h"
#include "sane_driver.h"

#include <gtest/gtest.h>

#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QWindow>

#include <vector>

namespace {

void click(QDialog& dialog, const char* button)
{
    QTest::mouseClick(dialog.findChild<QPushButton*>(button), Qt::LeftButton);
}

// The title bar's close button, as the window system delivers it.
void closeFromTitleBar(QDialog& dialog)
{
    dialog.windowHandle()->close();
    QTest::qWait(0);
}

TEST(DeviceSelect, RenamesRowsOfTheSameNameAndReturnsTheChosenId)
{
    const struct {
        std::vector<_dev_que_ui> devices;
        int row; // -1: Cancel, -2: the title bar
        QStringList rows;
        int id;
    } cases[] = {
        {{}, 0, {}, -1},
        {{}, -1, {}, -1},
        {{{7, "A", "1"}}, 0, {"A"}, 7},
        {{{1, "S", "x"}, {2, "S", "y"}}, 1, {"S(S)", "S(S)"}, -1},
        {{{1, "S - 1", ""}, {2, "S - 2", ""}}, 0, {"S - 1()", "S - 2()"}, -1},
        {{{1, "S", ""}, {2, "S", ""}, {3, "S", ""}}, 2, {"S(S)", "S(S)", "S"}, 1},
        {{{4, "A", ""}, {5, "B", ""}, {6, "B", ""}}, 1, {"A", "B(B)", "B(B)"}, -1},
        {{{4, "A", ""}, {5, "B", ""}, {6, "A - B", ""}}, 0, {"A(A)", "B", "A - B(A)"}, -1},
        {{{4, "A", ""}, {5, "B", ""}}, 1, {"A", "B"}, 5},
        {{{4, "A", ""}, {5, "B", ""}}, -1, {"A", "B"}, -1},
        {{{4, "A", ""}, {5, "B", ""}}, -2, {"A", "B"}, -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rows.join(",").toStdString() + " row " + std::to_string(c.row));
        Dialog_device_select dialog(c.devices);
        dialog.show();
        auto* list = dialog.findChild<QListWidget*>("listWidget");
        QStringList rows;
        for (int row = 0; row < list->count(); ++row)
            rows << list->item(row)->text();
        EXPECT_EQ(rows, c.rows);
        EXPECT_EQ(list->currentRow(), c.devices.empty() ? -1 : 0);
        if (c.row == -2)
            closeFromTitleBar(dialog);
        else if (c.row == -1)
            click(dialog, "pbtn_cancel");
        else {
            list->setCurrentRow(c.row);
            click(dialog, "pbtn_ok");
        }
        EXPECT_FALSE(dialog.isVisible());
        EXPECT_EQ(dialog.result(), c.row < 0 ? QDialog::Rejected : QDialog::Accepted);
        EXPECT_EQ(dialog.getDevId(), c.id);
    }
}

TEST(AbnormalImage, KeepIsOneAndEveryOtherEndIsZero)
{
    const unique_image image = makeImage(40, 30, ZY_IMAGE_TYPE_GRAY, [](int x, int, int) {
        return static_cast<unsigned char>(x * 6);
    });
    const struct {
        const char* button; // null: the title bar
        int select;
        int result;
    } cases[] = {
        {"pushButton_reserve", 1, QDialog::Accepted},
        {"pushButton_discard", 0, QDialog::Rejected},
        {nullptr, 0, QDialog::Rejected},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.button ? c.button : "title bar");
        Dialog_abnormal_img_select dialog(image.get());
        dialog.show();
        EXPECT_EQ(dialog.size(), QSize(817, 551));
        EXPECT_TRUE(dialog.imageView()->hasShownImage());
        if (c.button)
            click(dialog, c.button);
        else
            closeFromTitleBar(dialog);
        EXPECT_FALSE(dialog.isVisible());
        EXPECT_EQ(dialog.getUserSelect(), c.select);
        EXPECT_EQ(dialog.result(), c.result);
    }
}

TEST(AbnormalImage, AnImageThatCannotBeShownShowsNothing)
{
    // Host records the base library cannot wrap: each arrives as no image at all.
    unsigned char pixels[64] = {};
    const struct {
        const char* name;
        SANE_Parameters header; // format, last_frame, bytes_per_line, pixels_per_line, lines, depth
    } cases[] = {
        {"grey of depth 16", {SANE_FRAME_GRAY, 1, 8, 4, 4, 16}},
        {"zero lines", {SANE_FRAME_GRAY, 1, 4, 4, 0, 8}},
        {"stride shorter than a row", {SANE_FRAME_RGB, 1, 5, 4, 4, 8}},
        {"red frame", {SANE_FRAME_RED, 1, 4, 4, 4, 8}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SANE_Image record{};
        record.header = c.header;
        record.data = pixels;
        ZyImage image = nullptr;
        EXPECT_NE(SaneImageToZyImage(&record, &image), 0);
        Dialog_abnormal_img_select dialog(image);
        dialog.show();
        EXPECT_FALSE(dialog.imageView()->hasShownImage());
        EXPECT_FALSE(dialog.grab().isNull());
        EXPECT_EQ(dialog.imageView()->zoomIn(), 1);
    }
}

TEST(InputDialog, TakesOneNameWithoutBlanks)
{
    const struct {
        QString initial; // set from outside, bypassing what typing allows
        const char* typed;
        QString field;
        bool accepted;
        QString value;
    } cases[] = {
        {"", "abc", "abc", true, "abc"},
        {"", "a b c", "abc", true, "abc"},
        {"", "123456789012345678901", "12345678901234567890", true, "12345678901234567890"},
        {"", "", "", false, ""},
        {"a b", "", "a b", true, "ab"},
        {"   ", "", "   ", false, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed);
        Dialog_Input dialog;
        dialog.show();
        auto* edit = dialog.findChild<QLineEdit*>("lineEdit");
        dialog.setEditText(c.initial);
        QTest::keyClicks(edit, c.typed);
        EXPECT_EQ(edit->text(), c.field);
        const shown_message shown = answerMessage([&] { click(dialog, "pushButton"); });
        EXPECT_EQ(shown.text, c.accepted ? "" : "The content can not be empty");
        EXPECT_EQ(dialog.isVisible(), !c.accepted);
        EXPECT_EQ(dialog.get_inputting_value(), c.value);
    }
}

TEST(InputDialog, AStartValueIsReplacedByTyping)
{
    Dialog_Input dialog;
    dialog.show();
    auto* edit = dialog.findChild<QLineEdit*>("lineEdit");
    dialog.init_value("abc");
    EXPECT_EQ(edit->selectedText(), "abc");
    EXPECT_EQ(dialog.get_inputting_value(), "abc");
    QTest::keyClicks(edit, "x");
    EXPECT_EQ(dialog.getText(), "x");
    dialog.setEditText(QString("ab") + QChar(0) + "cd");
    EXPECT_EQ(dialog.getText(), "ab");
    click(dialog, "pushButton_2");
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_EQ(dialog.get_inputting_value(), "abc");
}

} // namespace
