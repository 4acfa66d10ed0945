#include "dialog_source_select.h"
#include "dialog_test_support.h"
#include "dialog_twain_source_select.h"

#include <gtest/gtest.h>

#include <QListWidget>
#include <QPushButton>

#include <cstring>
#include <string>
#include <vector>

namespace {

using entries = std::vector<std::pair<std::string, std::string>>;

template <typename Dialog>
void click(Dialog& dialog, const char* button)
{
    QTest::mouseClick(dialog.template findChild<QPushButton*>(button), Qt::LeftButton);
}

QStringList rows(const QDialog& dialog)
{
    QStringList texts;
    const auto* list = dialog.findChild<QListWidget*>("listWidget");
    for (int row = 0; row < list->count(); ++row)
        texts << list->item(row)->text();
    return texts;
}

TEST(SaneSourceSelect, OkLoadsThePickedDriverOrSaysWhyNot)
{
    const std::string longName(300, 'm');
    const struct {
        const char* name;
        entries list;
        bool accepted;
        QString message;
    } cases[] = {
        {"empty list", {}, false, ""},
        {"real test backend", {{"test", SANE_TEST_BACKEND}}, true, ""},
        {"no control entry", {{"nocontrol", NOCONTROL_DRIVER_PATH}}, false, "Find function failed"},
        {"no such library", {{"test", "/nonexistent/libsane-test.so.1"}}, false, "Load library failed"},
        {"very long name", {{longName, SANE_TEST_BACKEND}}, false, "Find function failed"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        if (!c.list.empty() && c.list[0].second.empty())
            continue; // libsane1's test backend is not installed
        Dialog_Source_Select dialog(c.list);
        dialog.show();
        EXPECT_EQ(rows(dialog).size(), int(c.list.size()));
        const shown_message shown = answerMessage([&] { click(dialog, "pushButton_OK"); });
        EXPECT_EQ(shown.text, c.message);
        EXPECT_EQ(shown.title, c.message.isEmpty() ? "" : "tips");
        EXPECT_EQ(dialog.result() == QDialog::Accepted, c.accepted);
        EXPECT_EQ(dialog.isVisible(), !c.accepted);

        _sane_api api{};
        dialog.GetSaneAPI(&api);
        EXPECT_EQ(dialog.GetDll() != nullptr, c.accepted);
        EXPECT_EQ(api.sane_control_option != nullptr, c.accepted);
        EXPECT_EQ(dialog.GetManuName(), c.accepted ? c.list[0].first : "");
        if (dialog.GetDll())
            ZyBase_DestroyDll(dialog.GetDll());
    }
}

TW_IDENTITY identity(TW_UINT32 id, const char* product, TW_UINT16 major, TW_UINT16 minor)
{
    TW_IDENTITY source{};
    source.Id = id;
    source.Version.MajorNum = major;
    source.Version.MinorNum = minor;
    std::memcpy(source.ProductName, product, std::min(std::strlen(product), sizeof(TW_STR32)));
    return source;
}

TEST(TwainSourceSelect, ListsSourcesAndPreselectsTheLastDefault)
{
    const std::string full(sizeof(TW_STR32), 'F'); // no room for a terminator
    const struct {
        std::vector<TW_IDENTITY> sources;
        std::string defaultName;
        QStringList rows;
        TW_UINT32 picked; // 0: OK picks nothing
    } cases[] = {
        {{}, "A", {}, 0},
        {{identity(1, "A", 1, 0), identity(2, "B", 2, 10), identity(3, "A", 3, 1)}, "A",
         {"A 1.0", "B 2.10", "A 3.1"}, 3},
        {{identity(1, "A", 1, 0), identity(2, "B", 1, 0)}, "Z", {"A 1.0", "B 1.0"}, 1},
        {{identity(1, "A", 1, 0), identity(2, full.c_str(), 0, 1)}, full,
         {"A 1.0", QString::fromStdString(full) + " 0.1"}, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rows.join(",").toStdString());
        Dialog_Twain_Source_Select dialog(c.sources, c.defaultName);
        dialog.show();
        EXPECT_EQ(rows(dialog), c.rows);
        click(dialog, "pushButton_OK");
        TW_IDENTITY picked{};
        dialog.GetIdentify(&picked);
        EXPECT_EQ(picked.Id, c.picked);
        EXPECT_EQ(dialog.isVisible(), c.picked == 0);
    }
}

TEST(TwainSourceSelect, KeysNeverCloseItButADoubleClickPicks)
{
    Dialog_Twain_Source_Select dialog({identity(1, "A", 1, 0), identity(2, "B", 1, 0)}, "");
    dialog.show();
    auto* list = dialog.findChild<QListWidget*>("listWidget");
    for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter}) {
        QTest::keyClick(list, key);
        QTest::keyClick(&dialog, key);
    }
    EXPECT_TRUE(dialog.isVisible());

    const QRect second = list->visualItemRect(list->item(1));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, second.center());
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, second.center());
    TW_IDENTITY picked{};
    dialog.GetIdentify(&picked);
    EXPECT_EQ(picked.Id, 2u);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

} // namespace
