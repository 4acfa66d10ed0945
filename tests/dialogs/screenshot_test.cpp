// Every dialog drawn in English and in Chinese, written where the build keeps
// its test artifacts, so that people can look at them.
#include "ZyImgView.h"
#include "dialog_abnormal_img_select.h"
#include "dialog_device_select.h"
#include "dialog_input.h"
#include "dialog_progress_ui.h"
#include "dialog_source_select.h"
#include "dialog_test_support.h"
#include "dialog_twain_source_select.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QPushButton>
#include <QTranslator>

#include <cstring>
#include <functional>
#include <memory>

namespace {

using sources = std::vector<std::pair<std::string, std::string>>;
using devices = std::vector<_dev_que_ui>;

std::unique_ptr<QDialog> progress()
{
    auto dialog = std::make_unique<Dialog_progress_ui>(nullptr);
    dialog->setAttribute(Qt::WA_DeleteOnClose, false);
    for (const int event : {EVENT_SCAN_WORKING, EVENT_IMAGE_RECEIVED, EVENT_IMAGE_RECEIVED})
        dialog->reportEvent(event, nullptr, 0);
    return dialog;
}

std::unique_ptr<QDialog> twainSources()
{
    std::vector<TW_IDENTITY> list(2);
    std::strcpy(list[0].ProductName, "Velmar DS-200");
    std::strcpy(list[1].ProductName, "Velmar DS-300");
    list[1].Version.MajorNum = 2;
    return std::make_unique<Dialog_Twain_Source_Select>(list, "Velmar DS-300");
}

std::unique_ptr<QDialog> abnormalPage()
{
    // Dark text lines and a smudge down the side.
    const unique_image page = makeImage(600, 840, ZY_IMAGE_TYPE_RGB, [](int x, int y, int c) {
        const bool line = y > 80 && y < 700 && y % 40 < 8 && x > 60 && x < 540 - (y % 120);
        return static_cast<unsigned char>(line ? 30 : x > 480 && x < 520 ? 120 + 40 * c : 250);
    });
    return std::make_unique<Dialog_abnormal_img_select>(page.get());
}

// Zoomed in, so that both painted scroll bars show.
std::unique_ptr<QDialog> abnormalZoomed()
{
    auto dialog = abnormalPage();
    dialog->show(); // laid out first, so that the zoom starts from the fitted page
    auto* view = static_cast<Dialog_abnormal_img_select*>(dialog.get())->imageView();
    for (int i = 0; i < 4; ++i)
        view->zoomIn();
    return dialog;
}

std::unique_ptr<QDialog> input()
{
    auto dialog = std::make_unique<Dialog_Input>();
    dialog->init_value(QString::fromUtf8("方案1"));
    return dialog;
}

const struct {
    const char* name;
    std::function<std::unique_ptr<QDialog>()> make;
    QString english;
    const char* chinese;
} k_dialogs[] = {
    {"progress", progress, "Scan status", "扫描状态"},
    {"sane_sources", [] { return std::make_unique<Dialog_Source_Select>(sources{{"test", ""}, {"velmar", ""}}); },
     "Select source", "选择源"},
    {"twain_sources", twainSources, "Select source", "选择源"},
    {"device",
     [] { return std::make_unique<Dialog_device_select>(devices{{1, "DS-300", ""}, {2, "DS-300", ""}, {3, "DS-200", ""}}); },
     "Select device", "选择设备"},
    {"abnormal", abnormalPage, "Abnormal image", "异常图像"},
    {"abnormal_zoomed", abnormalZoomed, "Abnormal image", "异常图像"},
    {"input", input, "Dialog", "输入名称"},
};

TEST(Screenshots, EveryDialogInEnglishAndChinese)
{
    const QString dir = QStringLiteral(UI_ARTIFACT_DIR "/dialogs");
    ASSERT_TRUE(QDir().mkpath(dir));
    for (const char* language : {"EN", "CN"}) {
        QTranslator translator;
        ASSERT_TRUE(translator.load(QString(DIALOG_TESTS_QM_DIR "/TwainUI_zh_%1.qm").arg(language)));
        QCoreApplication::installTranslator(&translator);
        for (const auto& d : k_dialogs) {
            SCOPED_TRACE(std::string(language) + " " + d.name);
            const std::unique_ptr<QDialog> dialog = d.make();
            dialog->show();
            QTest::qWait(20);
            EXPECT_EQ(dialog->windowTitle(), language[0] == 'E' ? d.english : QString::fromUtf8(d.chinese));
            for (const QPushButton* button : dialog->findChildren<QPushButton*>())
                EXPECT_FALSE(button->text().isEmpty());
            const QString file = QString("%1/%2_%3.png").arg(dir, d.name, language);
            EXPECT_TRUE(dialog->grab().save(file));
        }
        QCoreApplication::removeTranslator(&translator);
    }
}

} // namespace
