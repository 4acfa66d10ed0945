// The host owns the Qt application: dialogs are built inside the export call.
#include "ui_test_support.h"

#include "fakedriver_api.h"

#include <veltwainui/twainui.h>
#include <lexipak.h>

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QDir>
#include <QLabel>
#include <QDialog>
#include <QTimer>

#include <functional>

namespace {

struct BoxLook {
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    Qt::WindowFlags flags;
    QStringList buttons;
    bool modal = false;
    QWidget* parent = nullptr;
};

class HostApp : public ::testing::Test
{
protected:
    void TearDown() override
    {
        close_ui(-1);
        lang_set_code_page(0);
    }

    // Shows a message box through the export and answers it from a timer,
    // since the call itself runs the box to its end.
    BoxLook showAndRead(const char* message, void* parent = nullptr,
                        const std::function<void(QMessageBox*)>& inspect = {})
    {
        BoxLook look;
        bool seen = false;
        QTimer::singleShot(0, [&] {
            ASSERT_TRUE(waitFor([] { return QApplication::activeModalWidget() != nullptr; }));
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            ASSERT_NE(box, nullptr);
            seen = true;
            look.title = box->windowTitle();
            look.text = box->text();
            look.icon = box->icon();
            look.flags = box->windowFlags();
            look.modal = box->isModal();
            look.parent = box->parentWidget();
            for (QAbstractButton* b : box->buttons())
                look.buttons << b->text();
            if (inspect)
                inspect(box);
            box->button(QMessageBox::Ok)->click();
        });
        EXPECT_EQ(show_messagebox_ui(parent, 1, message, 2), 0);
        EXPECT_TRUE(seen) << "the box was not shown inside the call";
        return look;
    }

    TestHome m_home;
};

TEST_F(HostApp, CloseBeforeStartUpDoesNothing)
{
    for (int which : {0, 1, 2, 4, 3, -1})
        EXPECT_EQ(close_ui(which), 0);
    pump_ui_message();
}

TEST_F(HostApp, MessageBoxIsBuiltInsideTheCall)
{
    lang_set_code_page(LEXIPAK_CP_ENGLISH);
    const BoxLook look = showAndRead("Cover open");
    EXPECT_EQ(look.title, "Prompt");
    EXPECT_EQ(look.text, "Cover open");
    EXPECT_EQ(look.icon, QMessageBox::Critical);
    // Qt adds the title-bar hints it needs; the type and stay-on-top are ours.
    EXPECT_EQ(int(look.flags & Qt::WindowType_Mask), 0x1B);
    EXPECT_TRUE(look.flags.testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(look.modal);
    EXPECT_EQ(look.buttons, QStringList{"OK"});
}

TEST_F(HostApp, MessageTextIsUtf8)
{
    lang_set_code_page(LEXIPAK_CP_ENGLISH);
    EXPECT_EQ(showAndRead("卡纸 — Ümlaut").text, QString::fromUtf8("卡纸 — Ümlaut"));
    EXPECT_EQ(showAndRead(nullptr).text, QString());
}

TEST_F(HostApp, OwnerIsTheHostWidget)
{
    QWidget hostWindow;
    hostWindow.show();
    EXPECT_EQ(showAndRead("owned", &hostWindow).parent, &hostWindow);
    // A handle that is none of ours gives no owner rather than a crash.
    int notAWindow = 0;
    EXPECT_EQ(showAndRead("stray", &notAWindow).parent, nullptr);
}

struct CataloguePick {
    int codePage;
    const char* title;
    const char* okButton;
    const char* defaultScheme;
};

void PrintTo(const CataloguePick& pick, std::ostream* os)
{
    *os << "code page " << pick.codePage;
}

class Catalogues : public HostApp, public ::testing::WithParamInterface<CataloguePick>
{
};

TEST_P(Catalogues, TextsFollowTheCodePage)
{
    const CataloguePick pick = GetParam();
    lang_set_code_page(pick.codePage);
    const BoxLook look = showAndRead("x");
    EXPECT_EQ(look.title, QString::fromUtf8(pick.title));
    EXPECT_EQ(look.buttons, QStringList{QString::fromUtf8(pick.okButton)});
    EXPECT_EQ(QCoreApplication::translate("scanner_cfg", "default_setting"),
              QString::fromUtf8(pick.defaultScheme));
}

INSTANTIATE_TEST_SUITE_P(CodePages, Catalogues,
                         ::testing::Values(CataloguePick{936, "提示", "确定", "默认设置"},
                                           CataloguePick{950, "提示", "確定", "預設設定"},
                                           CataloguePick{1252, "Prompt", "OK", "Default setting"}),
                         [](const auto& info) { return "cp" + std::to_string(info.param.codePage); });

TEST_F(HostApp, CloseAllMakesAFreshManager)
{
    lang_set_code_page(LEXIPAK_CP_SIMPLIFIED_CHINESE);
    EXPECT_EQ(showAndRead("a").title, QString::fromUtf8("提示"));

    // Partial closes leave the manager (and its catalogue) alone.
    lang_set_code_page(LEXIPAK_CP_ENGLISH);
    for (int which : {0, 1, 2, 3, 4, 7})
        EXPECT_EQ(close_ui(which), 0);
    EXPECT_EQ(showAndRead("b").title, QString::fromUtf8("提示"));

    // -1 deletes it; the next call makes a new one that reads the code page again.
    EXPECT_EQ(close_ui(-1), 0);
    EXPECT_EQ(QCoreApplication::translate("Manager", "Prompt"), "Prompt")
        << "the old manager's catalogue must be removed with it";
    EXPECT_EQ(showAndRead("c").title, "Prompt");
}

TEST_F(HostApp, PumpRunsPendingEvents)
{
    bool ran = false;
    QTimer::singleShot(0, [&] { ran = true; });
    EXPECT_FALSE(ran);
    pump_ui_message();
    EXPECT_TRUE(ran);
}

// Kept as an artifact so that a person can look at the box.
TEST_F(HostApp, MessageBoxScreenshot)
{
    lang_set_code_page(LEXIPAK_CP_SIMPLIFIED_CHINESE);
    QImage shot;
    showAndRead("扫描仪卡纸，请打开盖板取出纸张。", nullptr, [&](QMessageBox* box) {
        waitFor([box] { return box->isVisible() && box->width() > 0; }, 1000);
        QCoreApplication::processEvents();
        shot = box->grab().toImage();
    });
    ASSERT_FALSE(shot.isNull());
    EXPECT_GT(shot.width(), 100);
    // Something was drawn: a blank grab is one colour.
    const QRgb corner = shot.pixel(shot.width() / 2, shot.height() / 2);
    bool varied = false;
    for (int y = 0; y < shot.height() && !varied; y += 3)
        for (int x = 0; x < shot.width() && !varied; x += 3)
            varied = shot.pixel(x, y) != corner;
    EXPECT_TRUE(varied);
    const QString file = QDir(UI_ARTIFACT_DIR).filePath(
        QString("messagebox_%1.png").arg(QGuiApplication::platformName()));
    EXPECT_TRUE(shot.save(file));
}

// The settings dialog is built inside the call, and a host-owned one that is
// given an owner does not stay on top.
TEST_F(HostApp, SettingsDialogIsBuiltInsideTheCall)
{
    const fakedriver_device device;
    _sane_api api = device.api();
    QWidget owner;
    owner.show();
    std::vector<ui_result> results;
    EXPECT_EQ(show_setting_ui(device.handle(), &owner, &api, "FS-1000", false,
                              [&](ui_result r) { results.push_back(r); }, nullptr),
              0);
    QDialog* dialog = nullptr;
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w->inherits("zy_settingdialog") && w->isVisible())
            dialog = qobject_cast<QDialog*>(w);
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->parentWidget(), &owner);
    EXPECT_FALSE(dialog->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    // As a click arrives: from the event loop the host pumps.
    QMetaObject::invokeMethod(dialog, "slot_buttonOkClicked", Qt::QueuedConnection);
    EXPECT_TRUE(waitFor([&] { return !results.empty(); }));
    EXPECT_EQ(results, std::vector<ui_result>{UI_RESULT_CLOSE_SETTING});
}

} // namespace
