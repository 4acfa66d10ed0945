// The About box and the two tools of the settings dialog on the fake driver:
// what they read, what they write, and what they leave alone.
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
#include <random>

namespace {

using Points = QList<QPoint>;
constexpr int kTone = 34906;

int id(const char* name) { return fakedriver_find(name); }

// What the tone editor shows.
struct Shown
{
    QVector<int> selectors;
    QVector<Points> colour;
    Points gray;
    QImage look;
    bool operator==(const Shown& o) const
    {
        return selectors == o.selectors && colour == o.colour && gray == o.gray && look == o.look;
    }
};

Shown shown(setPicClrTool* tool, bool look = true)
{
    return {tool->getRgbAndColorType(), tool->getRGBKeyTable(), tool->getGrayKeyTable(),
            look ? tool->findChild<Widget*>()->grab().toImage() : QImage()};
}

void edit(setPicClrTool* tool, int preset, int channel, const Points& red, const Points& gray)
{
    tool->setRgbAndColorType(preset, channel);
    tool->setRedKeyPoint(red);
    tool->setGrayKeyPoint(gray);
}

// Presses the tool button beside the box (checking it first); act runs in the
// tool once it is open and says whether to accept it.
template <typename Tool>
void useTool(SettingsHarness& ui, const char* box, const std::function<bool(Tool*)>& act)
{
    auto* check = ui.control<QCheckBox>(id(box));
    auto* button = check->parentWidget()->findChild<QPushButton*>();
    if (!check->isChecked()) {
        EXPECT_FALSE(button->isEnabled()) << box;
        QTest::mouseClick(check, Qt::LeftButton);
    }
    ASSERT_TRUE(button->isEnabled()) << box;
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
    EXPECT_TRUE(opened) << box;
}

void crop(SettingsHarness& ui, const std::function<bool(CutPaperTool*)>& act)
{
    useTool<CutPaperTool>(ui, "is-custom-area", act);
}
void tone(SettingsHarness& ui, const std::function<bool(setPicClrTool*)>& act)
{
    useTool<setPicClrTool>(ui, "is-custom-gamma", act);
}

// The words written to options (none given: to any), in the order written.
std::vector<std::pair<int, SANE_Word>> writes(std::initializer_list<int> options)
{
    std::vector<std::pair<int, SANE_Word>> out;
    for (int i = 0; i < fakedriver_log_count(); ++i) {
        fakedriver_call call{};
        fakedriver_log_get(i, &call);
        if (call.action == SANE_ACTION_SET_VALUE && call.value
            && (options.size() == 0 || std::count(options.begin(), options.end(), call.option))) {
            SANE_Word word = 0;
            std::memcpy(&word, call.value, std::min(call.value_size, sizeof(word)));
            out.emplace_back(call.option, word);
        }
    }
    return out;
}

// The tone record kept in the file's default scheme.
std::string schemeRecord(gb::scanner_cfg* cfg)
{
    gb::sane_config_schm* scheme = cfg->get_scheme(gb::scanner_cfg::user_default_scheme_name().c_str());
    std::string name, value, record;
    for (bool more = scheme->first_config(name, value); more; more = scheme->next_config(name, value))
        if (gb::sane_config_schm::is_option_data(name) && name == "is-custom-gamma")
            record = value;
    scheme->release();
    return record;
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

TEST_F(SettingsTools, AboutBoxReadsEachFactOrSaysNotSupported)
{
    const int facts[] = {34901, 34890, 34903, 34902, 39170, 34889, 34918};
    const struct { const char* driver; std::vector<int> missing; const char* model; QString text; } cases[] = {
        {"all facts", {}, "FS-1000",
         "<p>Device model: FS-1000</p><p>Driver version: 1.0.3.20240105</p><p>Firmware number: FW2.1.0305</p>"
         "<p>Serial number: FS1000A0012345</p><p>Roller count: 12345</p><p>History count: 67890</p>"
         "<p>Initial startup time: 2023-05-06 09:30:00</p>"},
        {"none", std::vector<int>(std::begin(facts), std::end(facts)), "",
         QString("<p>Device model: %1</p><p>Driver version: %1</p><p>Firmware number: %1</p><p>Serial number: %1</p>"
                 "<p>Roller count: %1</p><p>History count: %1</p><p>Initial startup time: %1</p>").arg("Not supported")},
        {"some, with markup in a text", {34902, 39170}, "<FS>&1",
         "<p>Device model: &lt;FS&gt;&amp;1</p><p>Driver version: 1.0.3.20240105</p><p>Firmware number: FW2.1.0305</p>"
         "<p>Serial number: Not supported</p><p>Roller count: Not supported</p><p>History count: 67890</p>"
         "<p>Initial startup time: 2023-05-06 09:30:00</p>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.driver);
        fakedriver_load_default_script();
        fakedriver_set_private_text(34901, c.model);
        for (int option : c.missing)
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
    for (const bool accept : {true, false}) {
        SCOPED_TRACE(accept ? "accepted" : "rejected");
        open();
        fakedriver_log_clear();
        crop(ui, [&](CutPaperTool* tool) {
            auto* x = tool->findChild<QLineEdit*>("startXEdt");
            x->selectAll();
            QTest::keyClicks(x, "10");
            tool->findChild<QComboBox*>("comboBox_2")->setCurrentIndex(1); // inches
            return accept;
        });
        const std::vector<std::pair<int, SANE_Word>> corners = {
            {id("tl-x"), 655360}, {id("tl-y"), 0}, {id("br-x"), 210 * 65536}, {id("br-y"), 297 * 65536}};
        EXPECT_EQ(writes({id("tl-x"), id("tl-y"), id("br-x"), id("br-y")}),
                  accept ? corners : decltype(corners){});
        EXPECT_EQ(writes({}).size(), accept ? 5u : 1u) << "the box, and the corners when accepted";
        // The tool opens again on the area and unit it was left with.
        crop(ui, [&](CutPaperTool* tool) {
            EXPECT_EQ(tool->getUnit(), accept ? 1 : 0);
            EXPECT_EQ(tool->getCutRectMM(), QRectF(accept ? 10 : 0, 0, accept ? 200 : 210, 297));
            return false;
        });
        ui.closeDialog();
    }
}

TEST_F(SettingsTools, ToneEditorModeFollowsTheColourModeAndItsTableIsWritten)
{
    const std::function<void()> none = [] {};
    const struct { const char* mode; std::function<void()> also; bool gray; } cases[] = {
        {"彩色", none, false},
        {"灰度", none, false},
        {"黑白", none, true},
        // With multi-stream output on, the last list changed names the mode.
        {"彩色", [&] { QTest::mouseClick(ui.control<QCheckBox>(id("is-multiout")), Qt::LeftButton);
                       ui.control<QComboBox>(id("multiout-type"))->setCurrentText("灰度+黑白"); }, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mode);
        open();
        ui.control<QComboBox>(id("mode"))->setCurrentText(QString::fromUtf8(c.mode));
        c.also();
        tone(ui, [&](setPicClrTool* tool) {
            EXPECT_EQ(tool->isGrayMode(), c.gray);
            tool->setRgbAndColorType(1, 0); // negative
            return true;
        });
        const std::vector<unsigned char> record = deviceRecord();
        ASSERT_EQ(record.size(), ToneCurveRecord::Size);
        const std::size_t plane = c.gray ? 1056 : 32;
        for (int level = 0; level < 256; ++level)
            ASSERT_EQ(record[plane + level], 255 - level) << level;
        ui.closeDialog();
    }
}

TEST_F(SettingsTools, ToneRecordComesBackAsSaved)
{
    // The device starts with a saved curve of its own.
    setPicClrTool source(0);
    edit(&source, 3, 2, {{10, 30}, {240, 220}, {60, 40}}, {{0, 40}, {255, 255}});
    ToneCurveRecord start;
    start.storeFrom(source);
    const Shown atStart = shown(&source, false);

    enum way { reopened, settingsCancel, savedScheme };
    for (const way how : {reopened, settingsCancel, savedScheme}) {
        SCOPED_TRACE(how);
        fakedriver_restore_defaults();
        fakedriver_set_word(id("is-custom-gamma"), 1);
        fakedriver_set_private_data(kTone, start.data(), start.size());
        std::remove(ui.cfgPath().c_str());
        open();
        Shown loaded, edited;
        tone(ui, [&](setPicClrTool* tool) {
            loaded = shown(tool);
            EXPECT_EQ(shown(tool, false), atStart);
            edit(tool, 0, 3, {{5, 250}, {250, 3}}, {{0, 0}, {255, 255}, {64, 100}, {192, 150}});
            edited = shown(tool);
            return true;
        });
        if (how == settingsCancel) {
            QMetaObject::invokeMethod(ui.dialog(), "slot_buttonCancelClicked");
            SettingsHarness::settle();
            EXPECT_EQ(deviceRecord(), std::vector<unsigned char>(start.data(), start.data() + start.size()));
            open();
        } else if (how == savedScheme) {
            const std::vector<unsigned char> saved = deviceRecord();
            QMetaObject::invokeMethod(ui.dialog(), "slot_buttonOkClicked");
            SettingsHarness::settle();
            const cfg_ptr file(new gb::scanner_cfg());
            file->load_file(ui.cfgPath().c_str());
            std::string record = schemeRecord(file.get());
            EXPECT_EQ(record, std::string(saved.begin(), saved.end()));
            // Applying the scheme puts its record on the device.
            fakedriver_set_private_data(kTone, ToneCurveRecord().data(), ToneCurveRecord::Size);
            SANE_Int info = 0;
            device.api().sane_control_option(device.handle(), kTone, SANE_ACTION_SET_VALUE, record.data(), &info);
            open();
        }
        const Shown expected = how == settingsCancel ? loaded : edited;
        tone(ui, [&](setPicClrTool* tool) {
            EXPECT_TRUE(shown(tool) == expected);
            return false;
        });
        ui.closeDialog();
    }
}

TEST_F(SettingsTools, RecordsOfAnyLengthLoadAsValidCurves)
{
    std::mt19937 rng(5);
    for (const std::size_t length : {std::size_t(0), std::size_t(100), std::size_t(1311), std::size_t(1313),
                                     std::size_t(4096)}) {
        SCOPED_TRACE(length);
        std::vector<unsigned char> junk(length);
        std::generate(junk.begin(), junk.end(), [&] { return static_cast<unsigned char>(rng()); });
        if (length > 1)
            junk[1] = 1; // a header of the current layout, full of nonsense
        fakedriver_set_private_data(kTone, junk.data(), junk.size());
        // The scheme's record has a wrong length too.
        gb::sane_config_schm* scheme =
            ui.cfg()->get_scheme(gb::scanner_cfg::user_default_scheme_name().c_str());
        scheme->config_changed("is-custom-gamma", reinterpret_cast<const char*>(junk.data()), junk.size(), true);
        scheme->release();
        open();
        tone(ui, [&](setPicClrTool* tool) {
            for (const Points& points : tool->getRGBKeyTable() << tool->getGrayKeyTable())
                EXPECT_TRUE(Widget::isValidKeyList(points));
            tool->findChild<Widget*>()->grab();
            return true;
        });
        // A longer record is written from a buffer that covers it, zeros after ours.
        const std::vector<unsigned char> written = deviceRecord();
        for (std::size_t i = ToneCurveRecord::Size; i < written.size(); ++i)
            ASSERT_EQ(written[i], 0) << i;
        QMetaObject::invokeMethod(ui.dialog(), "slot_buttonOkClicked");
        SettingsHarness::settle();
        EXPECT_EQ(schemeRecord(ui.cfg()).size(), ToneCurveRecord::Size);
    }
}

TEST_F(SettingsTools, HostClosingTheDialogEndsAnOpenToolAndNothingIsWritten)
{
    const std::function<void(zy_settingdialog*)> cases[] = {
        [&](zy_settingdialog* d) {
            ui.boxes.inspect = [d](QMessageBox*) { d->closeByHost(false); };
            QMetaObject::invokeMethod(d, "slot_buttonAboutClicked");
        },
        [&](zy_settingdialog* d) { crop(ui, [d](CutPaperTool*) { d->closeByHost(false); return true; }); },
        [&](zy_settingdialog* d) { tone(ui, [d](setPicClrTool*) { d->closeByHost(false); return true; }); },
    };
    for (const auto& useAndClose : cases) {
        ui.results.clear();
        zy_settingdialog* dialog = open();
        QTest::mouseClick(ui.control<QCheckBox>(id("is-custom-area")), Qt::LeftButton);
        QTest::mouseClick(ui.control<QCheckBox>(id("is-custom-gamma")), Qt::LeftButton);
        fakedriver_log_clear();
        useAndClose(dialog);
        SettingsHarness::settle();
        EXPECT_EQ(ui.dialog(), nullptr);
        EXPECT_EQ(ui.results, std::vector<ui_result>{UI_RESULT_CLOSE_SETTING});
        EXPECT_EQ(writes({kTone, id("tl-x"), id("br-y")}).size(), 0u);
        ui.boxes.inspect = nullptr;
    }
}

class SettingsToolsLook : public SettingsTools, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(SettingsToolsLook, AboutBoxAndToolsInTheUsersLanguage)
{
    const bool english = std::string(GetParam()) == "zh_EN";
    lang_set_code_page(english ? LEXIPAK_CP_ENGLISH : LEXIPAK_CP_SIMPLIFIED_CHINESE);
    fakedriver_translate_texts(1); // the driver speaks the user's language
    fakedriver_load_default_script();
    SANE_Handle reopened = nullptr;
    ASSERT_EQ(sane_fake_open("", &reopened), SANE_STATUS_GOOD);
    const Catalogue catalogue(GetParam());
    const QString dir = QString(UI_ARTIFACT_DIR) + "/settings-tools";
    QDir().mkpath(dir);
    const auto save = [&](QWidget* w, const char* what) {
        w->grab().save(QString("%1/%2-%3.png").arg(dir, what, GetParam()));
    };
    QString title;
    ui.boxes.inspect = [&](QMessageBox* box) { title = box->windowTitle(); save(box, "about"); };
    QMetaObject::invokeMethod(open(), "slot_buttonAboutClicked");
    EXPECT_EQ(title, QString::fromUtf8(english ? "About FS-1000" : "关于 FS-1000"));
    crop(ui, [&](CutPaperTool* tool) { save(tool, "crop"); return false; });
    ui.control<QComboBox>(id("mode"))->setCurrentIndex(2); // black and white
    tone(ui, [&](setPicClrTool* tool) {
        EXPECT_TRUE(tool->isGrayMode());
        save(tool, "tone");
        return false;
    });
    lang_set_code_page(0);
}

INSTANTIATE_TEST_SUITE_P(Languages, SettingsToolsLook, ::testing::Values("zh_EN", "zh_CN"));

} // namespace
