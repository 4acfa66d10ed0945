// What people see: screenshots of the dialog in English and Chinese, which must
// fit a 1366 x 768 screen with nothing cut off.
#include "settings_support.h"

#include <lexipak.h>

#include <QDir>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTabWidget>

namespace {

struct look_case {
    const char* name;
    const char* language; // catalogue
    int code_page;
    bool backend;         // Debian's test backend, else the fake driver
};

class SettingsLook : public ::testing::TestWithParam<look_case>
{
};

TEST_P(SettingsLook, FitsTheScreenAndShowsEveryPage)
{
    const look_case& c = GetParam();
    lang_set_code_page(c.code_page);
    const Catalogue catalogue(c.language);
    std::unique_ptr<fakedriver_device> fake;
    std::unique_ptr<TestBackend> backend;
    _sane_api api{};
    SANE_Handle handle = nullptr;
    if (c.backend) {
        backend = std::make_unique<TestBackend>();
        if (!backend->open())
            GTEST_SKIP() << "no SANE test backend";
        api = backend->api();
        handle = backend->handle();
    } else {
        fake = std::make_unique<fakedriver_device>();
        api = fake->api();
        handle = fake->handle();
    }
    SettingsHarness harness;
    zy_settingdialog* dialog = harness.open(api, handle);
    QTest::qWait(50);

    EXPECT_LE(dialog->frameGeometry().width(), 1366);
    EXPECT_LE(dialog->frameGeometry().height(), 768);
    auto* tabs = dialog->findChild<QTabWidget*>();
    ASSERT_NE(tabs, nullptr);
    const QString dir = QString(UI_ARTIFACT_DIR) + "/settings";
    QDir().mkpath(dir);
    for (int i = 0; i < tabs->count(); ++i) {
        if (!tabs->isTabVisible(i))
            continue;
        tabs->setCurrentIndex(i);
        QTest::qWait(20);
        auto* page = qobject_cast<QScrollArea*>(tabs->widget(i));
        ASSERT_NE(page, nullptr);
        // Labels wrap instead of pushing the fields out of sight.
        EXPECT_FALSE(page->horizontalScrollBar()->isVisible()) << tabs->tabText(i).toStdString();
        dialog->grab().save(QString("%1/%2-page%3.png").arg(dir, c.name).arg(i + 1));
    }
    lang_set_code_page(0);
}

INSTANTIATE_TEST_SUITE_P(
    Languages, SettingsLook,
    ::testing::Values(look_case{"fake-zh_CN", "zh_CN", LEXIPAK_CP_SIMPLIFIED_CHINESE, false},
                      look_case{"test-en", "zh_EN", LEXIPAK_CP_ENGLISH, true},
                      look_case{"test-zh_CN", "zh_CN", LEXIPAK_CP_SIMPLIFIED_CHINESE, true}),
    [](const ::testing::TestParamInfo<look_case>& info) {
        std::string name = info.param.name;
        for (char& ch : name)
            if (ch == '-')
                ch = '_';
        return name;
    });

} // namespace
