// The settings dialog on the fake driver: its controls, their round trip to the
// device, and what closing keeps or undoes.
#include "settings_support.h"

#include <lexipak.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSlider>
#include <QSpinBox>
#include <QTabWidget>

#include <cstring>
#include <functional>

namespace {

using action = std::function<void(SettingsHarness&, int id)>;

// The bytes of the last value written to option.
std::string lastSet(int option)
{
    for (int i = fakedriver_log_count() - 1; i >= 0; --i) {
        fakedriver_call call{};
        fakedriver_log_get(i, &call);
        if (call.option == option && call.action == SANE_ACTION_SET_VALUE && call.value)
            return std::string(reinterpret_cast<const char*>(call.value), call.value_size);
    }
    return std::string();
}

std::string word(SANE_Word value)
{
    return std::string(reinterpret_cast<const char*>(&value), sizeof(value));
}

// The option's current value in the fake driver.
std::string lastValue(int option)
{
    char value[256] = {};
    fakedriver_get_value(option, value, sizeof(value));
    return std::string(value, sizeof(value));
}

// A string value with its terminator, as a driver stores it.
std::string text(const char* value)
{
    return std::string(value, std::strlen(value) + 1);
}

// Whether the row of a control is shown on its page (pages not in front count too).
bool rowShown(QWidget* w)
{
    QWidget* page = w;
    while (page->parentWidget() && !qobject_cast<QScrollArea*>(page->parentWidget()->parentWidget()))
        page = page->parentWidget();
    return w->isVisibleTo(page);
}

// What the option's first control shows, as text.
QString shown(SettingsHarness& ui, int id)
{
    QWidget* w = ui.dialog()->find_control(id).value(0);
    if (auto* box = qobject_cast<QCheckBox*>(w))
        return box->isChecked() ? "1" : "0";
    if (auto* slider = qobject_cast<QSlider*>(w)) {
        const QWidget* spin = ui.dialog()->find_control(id).value(1);
        const QString partner = qobject_cast<const QSpinBox*>(spin)
            ? qobject_cast<const QSpinBox*>(spin)->text()
            : qobject_cast<const QDoubleSpinBox*>(spin)->text();
        return QString::number(slider->value()) + "/" + partner;
    }
    if (auto* spin = qobject_cast<QSpinBox*>(w))
        return spin->text();
    if (auto* combo = qobject_cast<QComboBox*>(w))
        return combo->currentText();
    if (auto* edit = qobject_cast<QLineEdit*>(w))
        return edit->text();
    return QString();
}

const action slideTo(int position)
{
    return [=](SettingsHarness& ui, int id) { ui.control<QSlider>(id)->setValue(position); };
}
const action spinTo(int value)
{
    return [=](SettingsHarness& ui, int id) {
        ui.dialog()->find_control(id).size() == 2 ? ui.control<QSpinBox>(id, 1)->setValue(value)
                                                  : ui.control<QSpinBox>(id)->setValue(value);
    };
}
const action doubleSpinTo(double value)
{
    return [=](SettingsHarness& ui, int id) { ui.control<QDoubleSpinBox>(id, 1)->setValue(value); };
}
// As a spin box reports a value it did not round itself.
const action doubleSpinReports(double value)
{
    return [=](SettingsHarness& ui, int id) { emit ui.control<QDoubleSpinBox>(id, 1)->valueChanged(value); };
}
const action choose(const char* text)
{
    return [=](SettingsHarness& ui, int id) {
        ui.control<QComboBox>(id)->setCurrentText(QString::fromUtf8(text));
    };
}
const action type(const char* text)
{
    return [=](SettingsHarness& ui, int id) { ui.control<QLineEdit>(id)->setText(text); };
}
const action click()
{
    return [](SettingsHarness& ui, int id) { QTest::mouseClick(ui.control<QCheckBox>(id), Qt::LeftButton); };
}

class SettingsDialog : public ::testing::Test
{
protected:
    SettingsDialog()
    {
        lang_set_code_page(LEXIPAK_CP_SIMPLIFIED_CHINESE);
        // Options beyond the ready-made scanner: an int without constraint, an int
        // array, and a fixed option whose constraint is a word list.
        fakedriver_add_int("plain-int", "整数", "", 10);
        const SANE_Int words[] = {1, 2, 3, 4};
        fakedriver_add_int_array("table", "表", "", 4, 0, 255, words);
        const SANE_Word fixedWords[] = {3, 65536, 2 * 65536, 10 * 65536};
        SANE_Option_Descriptor listed{"fixed-list", "列表", "", SANE_TYPE_FIXED, SANE_UNIT_NONE,
                                      sizeof(SANE_Word), SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT,
                                      SANE_CONSTRAINT_WORD_LIST, {nullptr}};
        listed.constraint.word_list = fixedWords;
        fakedriver_add_option(&listed, &fixedWords[2]);
        fakedriver_log_clear();
    }
    ~SettingsDialog() override { lang_set_code_page(0); }

    zy_settingdialog* open(bool withScan = true) { return ui.open(device.api(), device.handle(), withScan); }
    static int id(const char* name) { return fakedriver_find(name); }

    fakedriver_device device; // outlives the dialog, which writes to it when it goes
    SettingsHarness ui;
};

TEST_F(SettingsDialog, OneControlPerOptionByTypeAndConstraintScanOnlyWhenAsked)
{
    struct row {
        const char* name;
        QStringList classes;
        int comboKind; // "combox_value_type", -1 for none
        bool visible;
    };
    const row rows[] = {
        {"mode", {"QComboBox"}, 0, true},
        {"resolution", {"QComboBox"}, 1, true},
        {"is-multiout", {"QCheckBox"}, -1, true},
        {"multiout-type", {"QComboBox"}, 0, false}, // inactive
        {"tl-x", {"QSlider", "QDoubleSpinBox"}, -1, false}, // the crop area is never shown
        {"scan-count", {"QSlider", "QSpinBox"}, -1, false},
        {"brightness", {"QSlider", "QDoubleSpinBox"}, -1, true},
        {"contrast", {"QSlider", "QSpinBox"}, -1, true},
        {"file-prefix", {"QLineEdit"}, -1, true},
        {"plain-int", {"QSpinBox"}, -1, true},
        {"fixed-list", {"QSlider", "QDoubleSpinBox"}, -1, true},
        {"table", {}, -1, false}, // an array gets no control
        {"restore", {}, -1, false}, // a button sits in the button row
    };
    zy_settingdialog* dialog = open();
    for (const row& r : rows) {
        SCOPED_TRACE(r.name);
        const QVector<QWidget*> controls = dialog->find_control(id(r.name));
        QStringList classes;
        for (QWidget* w : controls) {
            classes << w->metaObject()->className();
            EXPECT_EQ(w->property("controls_id").toInt(), id(r.name));
            EXPECT_EQ(rowShown(w), r.visible);
        }
        EXPECT_EQ(classes, r.classes);
        if (r.comboKind >= 0) {
            EXPECT_EQ(controls[0]->property("combox_value_type").toInt(), r.comboKind);
        }
    }
    // The fixed list's range runs from its smallest to its largest word.
    EXPECT_EQ(ui.control<QSlider>(id("fixed-list"))->maximum(), 1000);
    EXPECT_EQ(shown(ui, id("fixed-list")), "200/2.00");

    auto* tabs = dialog->findChild<QTabWidget*>();
    ASSERT_EQ(tabs->count(), 3);
    EXPECT_EQ(tabs->tabText(2), QString::fromUtf8("图像处理"));
    int restoreButtons = 0;
    for (QPushButton* b : dialog->findChildren<QPushButton*>())
        restoreButtons += b->text() == QString::fromUtf8("恢复默认设置")
            && b->property("controls_id").toInt() == id("restore");
    EXPECT_EQ(restoreButtons, 1);
    EXPECT_EQ(dialog->windowTitle(), "FS-1000");
    ui.closeDialog();

    for (const bool withScan : {true, false}) {
        bool scanShown = false;
        for (QPushButton* b : open(withScan)->findChildren<QPushButton*>())
            scanShown |= b->text() == "scan" && b->isVisible();
        EXPECT_EQ(scanShown, withScan);
        ui.closeDialog();
    }
}

struct write_case {
    const char* name;
    action act;
    std::string sent; // bytes the driver receives
};

TEST_F(SettingsDialog, EachControlWritesOnceWithItsConversion)
{
    const write_case cases[] = {
        {"brightness", slideTo(1234), word(808714)}, // 12.34 mm in 16.16 fixed point
        {"brightness", doubleSpinTo(0.25), word(16384)},
        {"brightness", doubleSpinReports(0.015), word(1310)}, // position 0.5 + 1.5 truncated: 0.02
        {"contrast", spinTo(6), word(6)},
        {"plain-int", spinTo(42), word(42)},
        {"resolution", choose("300"), word(300)},
        {"mode", choose("灰度"), text("灰度")},
        {"file-prefix", type("abc"), text("abc")},
        {"discard-blank", click(), word(1)},
    };
    for (const write_case& c : cases) {
        SCOPED_TRACE(c.name);
        open();
        fakedriver_log_clear();
        c.act(ui, id(c.name));
        EXPECT_EQ(lastSet(id(c.name)), c.sent);
        // Neither the round trip nor the refresh after it writes again.
        EXPECT_EQ(fakedriver_log_count_of(id(c.name), SANE_ACTION_SET_VALUE), 1);
        ui.closeDialog();
    }
}

struct answer_case {
    const char* name;
    action act;
    QString unsupported; // shown after the driver refuses
    QString inexact;     // shown after the driver adjusts (to the value below)
    std::string adjusted;
};

TEST_F(SettingsDialog, RefusedAndAdjustedValuesShowTheDevice)
{
    const answer_case cases[] = {
        {"discard-blank", click(), "0", "0", word(0)},
        {"contrast", slideTo(6), "4/4", "5/5", word(5)},
        // The slider takes the raw fixed value read back, unscaled, as it always has.
        {"brightness", slideTo(1234), "0/12.34", "1050/10.50", word(10 * 65536 + 32768)},
        {"resolution", choose("300"), "200", "150", word(150)},
        {"mode", choose("灰度"), "彩色", "黑白", text("黑白")},
        {"plain-int", spinTo(42), "42", "40", word(40)}, // a lone spin box keeps the refused number
        {"file-prefix", type("abc"), "abc", "abd", text("abd")},
    };
    for (const answer_case& c : cases) {
        SCOPED_TRACE(c.name);
        const int option = id(c.name);
        open();
        ui.boxes.texts.clear();
        fakedriver_queue_result(option, SANE_ACTION_SET_VALUE, SANE_STATUS_UNSUPPORTED, 0);
        c.act(ui, option);
        EXPECT_EQ(shown(ui, option), c.unsupported);
        EXPECT_TRUE(waitFor([&] { return ui.boxes.texts.contains("The funtion is unsupported"); }));
        ui.closeDialog();

        open();
        fakedriver_queue_inexact(option, c.adjusted.data(), c.adjusted.size());
        c.act(ui, option);
        EXPECT_EQ(shown(ui, option), c.inexact);
        ui.closeDialog();
    }
}

TEST_F(SettingsDialog, ReloadShowsActiveRowsAndNeverTheCropArea)
{
    fakedriver_active_when_string(id("sharpen"), id("mode"), "彩色");
    open();
    auto visible = [&](const char* name) { return rowShown(ui.dialog()->find_control(id(name))[0]); };

    QTest::mouseClick(ui.control<QCheckBox>(id("is-custom-area")), Qt::LeftButton);
    EXPECT_EQ(fakedriver_get_cap(id("tl-x")) & SANE_CAP_INACTIVE, 0);
    for (const char* corner : {"tl-x", "tl-y", "br-x", "br-y"})
        EXPECT_FALSE(visible(corner)) << corner;

    choose("黑白")(ui, id("mode"));
    EXPECT_TRUE(visible("threshold"));
    EXPECT_FALSE(visible("sharpen")) << "its descriptor became inactive";
    choose("彩色")(ui, id("mode"));
    EXPECT_FALSE(visible("threshold"));
    EXPECT_TRUE(visible("sharpen"));
}

TEST_F(SettingsDialog, CountingSheetsNeedsAtLeastOne)
{
    for (const auto& [before, after] : {std::pair{0, 1}, std::pair{5, 5}}) {
        fakedriver_set_word(id("scan-count"), before);
        open();
        choose("扫描指定张数")(ui, id("scan-mode"));
        EXPECT_EQ(fakedriver_get_word(id("scan-count")), after);
        EXPECT_EQ(shown(ui, id("scan-count")), QString("%1/%1").arg(after));
        ui.closeDialog();
    }
}

TEST_F(SettingsDialog, SlowFeaturesAreAnnounced)
{
    const std::pair<const char*, action> cases[] = {
        {"is-rid-morr", click()}, {"is-rid-grid", click()}, {"direction", choose("自动文本方向识别°")}};
    for (const auto& [name, act] : cases) {
        open();
        ui.boxes.texts.clear();
        act(ui, id(name));
        EXPECT_TRUE(waitFor([&] {
            return ui.boxes.texts.contains("This function may cause a decrease in the speed of drawing.");
        })) << name;
        ui.closeDialog();
    }
}

struct close_case {
    const char* how;
    std::function<void(zy_settingdialog*)> close;
    bool keeps;
};

TEST_F(SettingsDialog, OkKeepsAndRecordsEverythingElseUndoes)
{
    const close_case cases[] = {
        {"ok", [](zy_settingdialog* d) { QMetaObject::invokeMethod(d, "slot_buttonOkClicked"); }, true},
        {"return", [](zy_settingdialog* d) { QTest::keyClick(d, Qt::Key_Return); }, true},
        {"cancel", [](zy_settingdialog* d) { QMetaObject::invokeMethod(d, "slot_buttonCancelClicked"); }, false},
        {"escape", [](zy_settingdialog* d) { QTest::keyClick(d, Qt::Key_Escape); }, false},
        {"close button", [](zy_settingdialog* d) { d->close(); }, false},
    };
    int valueOptions = 0;
    for (int n = 1; n < fakedriver_option_count(); ++n) {
        const SANE_Option_Descriptor* d = device.api().sane_get_option_descriptor(device.handle(), n);
        valueOptions += d->type != SANE_TYPE_GROUP && d->type != SANE_TYPE_BUTTON;
    }
    for (const close_case& c : cases) {
        SCOPED_TRACE(c.how);
        fakedriver_restore_defaults();
        std::remove(ui.cfgPath().c_str());
        ui.results.clear();
        open();
        QTest::mouseClick(ui.control<QCheckBox>(id("is-custom-gamma")), Qt::LeftButton);
        spinTo(6)(ui, id("contrast"));
        choose("灰度")(ui, id("mode"));
        fakedriver_log_clear();
        c.close(ui.dialog());
        QTest::qWait(150); // Escape reaches Cancel through an animated click
        SettingsHarness::settle();
        EXPECT_EQ(ui.dialog(), nullptr);
        EXPECT_EQ(ui.results, std::vector<ui_result>{UI_RESULT_CLOSE_SETTING});
        EXPECT_EQ(fakedriver_get_word(id("contrast")), c.keeps ? 6 : 4);
        EXPECT_STREQ(fakedriver_get_string(id("mode")), c.keeps ? "灰度" : "彩色");

        gb::scanner_cfg* file = new gb::scanner_cfg();
        file->load_file(ui.cfgPath().c_str());
        gb::sane_config_schm* scheme = file->get_scheme(nullptr);
        std::string contrast;
        EXPECT_EQ(scheme->get_config("contrast", contrast), c.keeps) << "only OK saves the file";
        if (c.keeps) {
            EXPECT_EQ(contrast, word(6));
        }
        scheme->release();
        file->release();

        if (!c.keeps) {
            // Every option is written back, and the tone curve right after its switch.
            int written = 0;
            for (int n = 1; n < fakedriver_option_count(); ++n)
                written += fakedriver_log_count_of(n, SANE_ACTION_SET_VALUE) > 0;
            EXPECT_EQ(written, valueOptions);
            const int gammaSwitch = fakedriver_log_find(id("is-custom-gamma"), SANE_ACTION_SET_VALUE, 0);
            EXPECT_EQ(fakedriver_log_find(34906, SANE_ACTION_SET_VALUE, 0), gammaSwitch + 1);
        }
    }
}

// A driver that resets contrast whenever sharpening is set.
void resetContrast(void*, int option, SANE_Action action, void*, SANE_Int*)
{
    if (action == SANE_ACTION_SET_VALUE && option == fakedriver_find("sharpen"))
        fakedriver_set_word(fakedriver_find("contrast"), 1);
}

TEST_F(SettingsDialog, CancelPutsBackWhatWritingInOptionOrderWouldMiss)
{
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"a switch, then the option it reveals",
         [&] {
             QTest::mouseClick(ui.control<QCheckBox>(id("is-multiout")), Qt::LeftButton);
             choose("彩色+灰度")(ui, id("multiout-type"));
         }},
        {"a later option whose write resets an earlier one",
         [&] {
             fakedriver_set_hook(resetContrast, nullptr);
             spinTo(6)(ui, id("contrast"));
             choose("锐化")(ui, id("sharpen"));
         }},
    };
    for (const auto& [what, change] : cases) {
        SCOPED_TRACE(what);
        fakedriver_restore_defaults();
        open();
        change();
        ui.closeDialog();
        fakedriver_set_hook(nullptr, nullptr);
        std::vector<std::string> now;
        for (int n = 1; n < fakedriver_option_count(); ++n)
            now.push_back(lastValue(n));
        fakedriver_restore_defaults();
        for (int n = 1; n < fakedriver_option_count(); ++n)
            EXPECT_EQ(now[std::size_t(n) - 1], lastValue(n)) << "option " << n;
    }
}

} // namespace
