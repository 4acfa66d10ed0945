// The settings dialog's Scan button, About box and tool launchers on the fake
// driver: what they read, what they write, and what they leave alone.
#include "settings_support.h"

#include "cutpapertool.h"
#include "setpicclrtool.h"
#include "tonecurverecord.h"
#include "widget.h"

#include <lexipak.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>

#include <cstring>

namespace {

using Points = QList<QPoint>;
constexpr int kTone = 34906;
int id(const char* name) { return fakedriver_find(name); }

// What the tone editor shows: selectors, key points and the drawn curve.
struct Shown {
    QVector<int> selectors;
    QVector<Points> colour;
    Points gray;
    QImage look;
    bool operator==(const Shown& o) const
    {
        return selectors == o.selectors && colour == o.colour && gray == o.gray && look == o.look;
    }
};
Shown shown(setPicClrTool* tool)
{
    return {tool->getRgbAndColorType(), tool->getRGBKeyTable(), tool->getGrayKeyTable(),
            tool->findChild<Widget*>()->grab().toImage()};
}

// Checks the box beside a tool's button, presses the button and lets act work
// in the tool once it is open; act says whether to accept. False if it never opened.
template <typename Tool>
bool useTool(SettingsHarness& ui, const char* box, const std::function<bool(Tool*)>& act)
{
    auto* check = ui.control<QCheckBox>(id(box));
    auto* button = check->parentWidget()->findChild<QPushButton*>();
    EXPECT_EQ(button->isEnabled(), check->isChecked()) << box;
    if (!check->isChecked())
        QTest::mouseClick(check, Qt::LeftButton);
    bool opened = false;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        auto* tool = qobject_cast<Tool*>(QApplication::activeModalWidget());
        if (!tool || opened)
            return;
        opened = true;
        const bool accept = act(tool);
        tool->template findChild<QDialogButtonBox*>()
            ->button(accept ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel)->click();
    });
    poll.start(5);
    button->click();
    return opened;
}

// The words written to the options, in the order written.
std::vector<std::pair<int, SANE_Word>> writes(std::initializer_list<int> options)
{
    std::vector<std::pair<int, SANE_Word>> out;
    for (int i = 0; i < fakedriver_log_count(); ++i) {
        fakedriver_call call{};
        fakedriver_log_get(i, &call);
        if (call.action == SANE_ACTION_SET_VALUE && call.value
            && std::count(options.begin(), options.end(), call.option)) {
            SANE_Word word = 0;
            std::memcpy(&word, call.value, std::min(call.value_size, sizeof(word)));
            out.emplace_back(call.option, word);
        }
    }
    return out;
}

std::vector<unsigned char> deviceRecord()
{
    std::vector<unsigned char> record(4096);
    record.resize(std::size_t(std::max(0, fakedriver_get_private(kTone, record.data(), record.size()))));
    return record;
}

class SettingsTools : public ::testing::Test
{
protected:
    SettingsTools() { m_customCutAreaUnit = 0; }
    zy_settingdialog* open() { return ui.open(device.api(), device.handle()); }

    fakedriver_device device;
    SettingsHarness ui;
};

TEST_F(SettingsTools, ScanReportsAtOnceAndTheCloseAfterItUndoes)
{
    open();
    QTest::mouseClick(ui.control<QCheckBox>(id("is-custom-area")), Qt::LeftButton);
    for (QPushButton* b : ui.dialog()->findChildren<QPushButton*>())
        if (b->text() == "scan")
            b->click();
    EXPECT_EQ(ui.results, std::vector<ui_result>{UI_RESULT_START_SCAN});
    EXPECT_TRUE(ui.dialog()->isVisible());
    ui.closeDialog();
    EXPECT_EQ(ui.results, (std::vector<ui_result>{UI_RESULT_START_SCAN, UI_RESULT_CLOSE_SETTING}));
    EXPECT_EQ(fakedriver_get_word(id("is-custom-area")), 0);
}

TEST_F(SettingsTools, AboutBoxShowsEachFactOrNotSupported)
{
    const QString all = "<p>Device model: %1</p><p>Driver version: %2</p><p>Firmware number: %3</p>"
                        "<p>Serial number: %4</p><p>Roller count: %5</p><p>History count: %6</p>"
                        "<p>Initial startup time: %7</p>";
    const QString no = "Not supported";
    const struct { std::vector<int> removed; const char* model; QString text; } cases[] = {
        {{}, "FS-1000", all.arg("FS-1000", "1.0.3.20240105", "FW2.1.0305", "FS1000A0012345", "12345",
                                "67890", "2023-05-06 09:30:00")},
        {{34902, 39170}, "<FS>&1", all.arg("&lt;FS&gt;&amp;1", "1.0.3.20240105", "FW2.1.0305", no, no,
                                           "67890", "2023-05-06 09:30:00")},
        {{34901, 34890, 34903, 34889, 34918}, "", all.arg(no, no, no, no, no, no, no)},
    };
    for (const auto& c : cases) {
        fakedriver_set_private_text(34901, c.model);
        for (const int option : c.removed)
            fakedriver_remove_private(option);
        QString title;
        ui.boxes.inspect = [&](QMessageBox* box) { title = box->windowTitle(); };
        ui.boxes.texts.clear();
        QMetaObject::invokeMethod(open(), "slot_buttonAboutClicked");
        EXPECT_EQ(title, "about FS-1000");
        EXPECT_EQ(ui.boxes.texts, QStringList{c.text});
        ui.closeDialog();
    }
}

TEST_F(SettingsTools, CropToolWritesTheCornersInOrderOnlyWhenAccepted)
{
    const int corners[] = {id("tl-x"), id("tl-y"), id("br-x"), id("br-y")};
    for (const bool accept : {true, false}) {
        SCOPED_TRACE(accept);
        m_customCutAreaUnit = 0;
        open();
        QTest::mouseClick(ui.control<QCheckBox>(id("is-custom-area")), Qt::LeftButton);
        fakedriver_log_clear();
        EXPECT_TRUE(useTool<CutPaperTool>(ui, "is-custom-area", [&](CutPaperTool* tool) {
            auto* x = tool->findChild<QLineEdit*>("startXEdt");
            x->selectAll();
            QTest::keyClicks(x, "10");
            tool->findChild<QComboBox*>("comboBox_2")->setCurrentIndex(1); // inches
            return accept;
        }));
        const std::vector<std::pair<int, SANE_Word>> written = {
            {corners[0], 655360}, {corners[1], 0}, {corners[2], 210 * 65536}, {corners[3], 297 * 65536}};
        EXPECT_EQ(writes({corners[0], corners[1], corners[2], corners[3]}),
                  accept ? written : decltype(written){});
        EXPECT_EQ(m_customCutAreaUnit, accept ? 1 : 0);
        ui.closeDialog();
    }
}

TEST_F(SettingsTools, ToneEditorModeFollowsTheColourModeAndItsTablesAreWritten)
{
    const struct { const char* mode; bool gray; } cases[] = {{"彩色", false}, {"灰度", false}, {"黑白", true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mode);
        open();
        ui.control<QComboBox>(id("mode"))->setCurrentText(QString::fromUtf8(c.mode));
        EXPECT_TRUE(useTool<setPicClrTool>(ui, "is-custom-gamma", [&](setPicClrTool* tool) {
            EXPECT_EQ(tool->isGrayMode(), c.gray);
            tool->setRgbAndColorType(1, 0); // negative
            return true;
        }));
        const std::vector<unsigned char> record = deviceRecord();
        ASSERT_EQ(record.size(), ToneCurveRecord::Size);
        const std::size_t plane = c.gray ? 1056 : 32;
        for (int level = 0; level < 256; ++level)
            ASSERT_EQ(record[plane + level], 255 - level) << level;
        ui.closeDialog();
    }
}

TEST_F(SettingsTools, ToneRecordLoadsBackAsSavedAndCancelRestoresIt)
{
    setPicClrTool source(0);
    source.setRgbAndColorType(3, 2);
    source.setRedKeyPoint({{10, 30}, {240, 220}, {60, 40}});
    source.setGrayKeyPoint({{0, 40}, {255, 255}});
    ToneCurveRecord start;
    start.storeFrom(source);
    const std::vector<unsigned char> startBytes(start.data(), start.data() + start.size());

    for (const bool ok : {true, false}) {
        SCOPED_TRACE(ok);
        fakedriver_set_word(id("is-custom-gamma"), 1);
        fakedriver_set_private_data(kTone, start.data(), start.size());
        open();
        Shown loaded, edited;
        useTool<setPicClrTool>(ui, "is-custom-gamma", [&](setPicClrTool* tool) {
            loaded = shown(tool);
            const Shown saved = shown(&source);
            EXPECT_EQ(loaded.selectors, saved.selectors);
            EXPECT_EQ(loaded.colour, saved.colour);
            EXPECT_EQ(loaded.gray, saved.gray);
            tool->setRgbAndColorType(0, 3);
            tool->setBlueKeyPoint({{5, 250}, {250, 3}});
            tool->setGrayKeyPoint({{0, 0}, {255, 255}, {64, 100}, {192, 150}});
            edited = shown(tool);
            return true;
        });
        const std::vector<unsigned char> written = deviceRecord();
        EXPECT_NE(written, startBytes);
        QMetaObject::invokeMethod(ui.dialog(), ok ? "slot_buttonOkClicked" : "slot_buttonCancelClicked");
        SettingsHarness::settle();
        EXPECT_EQ(deviceRecord(), ok ? written : startBytes);
        open();
        EXPECT_TRUE(useTool<setPicClrTool>(ui, "is-custom-gamma", [&](setPicClrTool* tool) {
            EXPECT_TRUE(shown(tool) == (ok ? edited : loaded));
            return false;
        }));
        ui.closeDialog();
    }
}

TEST_F(SettingsTools, DeviceRecordsOfAnyLengthOpenAsValidCurves)
{
    for (const std::size_t length : {0, 100, 1311, 1313, 4096}) {
        SCOPED_TRACE(length);
        std::vector<unsigned char> junk(length);
        for (std::size_t i = 0; i < length; ++i)
            junk[i] = static_cast<unsigned char>(i * 37 + 11);
        if (length > 1)
            junk[1] = 1; // the current layout's header, full of nonsense
        fakedriver_set_private_data(kTone, junk.data(), junk.size());
        open();
        EXPECT_TRUE(useTool<setPicClrTool>(ui, "is-custom-gamma", [&](setPicClrTool* tool) {
            QVector<Points> lists = tool->getRGBKeyTable();
            lists << tool->getGrayKeyTable();
            for (const Points& points : lists)
                EXPECT_TRUE(Widget::isValidKeyList(points));
            return true;
        }));
        ui.closeDialog();
    }
}

TEST_F(SettingsTools, HostClosingTheDialogEndsItsOpenWindowAndNothingIsWritten)
{
    const std::function<void(zy_settingdialog*)> uses[] = {
        [&](zy_settingdialog* d) {
            ui.boxes.inspect = [d](QMessageBox*) { d->closeByHost(false); };
            QMetaObject::invokeMethod(d, "slot_buttonAboutClicked");
        },
        [&](zy_settingdialog* d) {
            useTool<CutPaperTool>(ui, "is-custom-area", [d](CutPaperTool*) { d->closeByHost(false); return true; });
        },
        [&](zy_settingdialog* d) {
            useTool<setPicClrTool>(ui, "is-custom-gamma", [d](setPicClrTool*) { d->closeByHost(false); return true; });
        },
    };
    for (const auto& useAndClose : uses) {
        ui.results.clear();
        fakedriver_log_clear();
        useAndClose(open());
        SettingsHarness::settle();
        EXPECT_EQ(ui.dialog(), nullptr);
        EXPECT_EQ(ui.results, std::vector<ui_result>{UI_RESULT_CLOSE_SETTING});
        EXPECT_TRUE(writes({kTone, id("tl-x"), id("br-y")}).empty());
        ui.boxes.inspect = nullptr;
    }
}

// Screenshots of what the user sees, in English.
TEST_F(SettingsTools, AboutBoxAndToolsLook)
{
    lang_set_code_page(LEXIPAK_CP_ENGLISH);
    const Catalogue catalogue("zh_EN");
    const QString dir = QString(UI_ARTIFACT_DIR) + "/settings-tools";
    QDir().mkpath(dir);
    const auto save = [&](QWidget* w, const char* what) { w->grab().save(dir + "/" + what + ".png"); };
    QString title;
    ui.boxes.inspect = [&](QMessageBox* box) { title = box->windowTitle(); save(box, "about"); };
    QMetaObject::invokeMethod(open(), "slot_buttonAboutClicked");
    EXPECT_EQ(title, "About FS-1000");
    EXPECT_TRUE(ui.boxes.texts.value(0).startsWith("<p>Model: FS-1000</p>"));
    EXPECT_TRUE(useTool<CutPaperTool>(ui, "is-custom-area", [&](CutPaperTool* t) { save(t, "crop"); return false; }));
    EXPECT_TRUE(useTool<setPicClrTool>(ui, "is-custom-gamma", [&](setPicClrTool* t) { save(t, "tone"); return false; }));
    ui.closeDialog();
    lang_set_code_page(0);
}

} // namespace
