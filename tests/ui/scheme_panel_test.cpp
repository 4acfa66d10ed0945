// The scheme panel of the settings dialog on the fake driver: its buttons, what
// they write to the device and to the configuration file, in every language.
#include "settings_support.h"

#include "dialog_input.h"

#include <lexipak.h>

#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>

#include <functional>

namespace {

std::string word(SANE_Word value)
{
    return std::string(reinterpret_cast<const char*>(&value), sizeof(value));
}

int id(const char* name)
{
    return fakedriver_find(name);
}

// The values the driver was sent since the log was last cleared, by option.
std::vector<int> written()
{
    std::vector<int> options;
    for (int i = 0; i < fakedriver_log_count(); ++i) {
        fakedriver_call call{};
        fakedriver_log_get(i, &call);
        if (call.entry == FAKEDRIVER_CONTROL_OPTION && call.action == SANE_ACTION_SET_VALUE)
            options.push_back(call.option);
    }
    return options;
}

// Types name into the name input when it opens and presses OK; an empty name
// keeps the proposal.
class NameTyper : public QObject
{
public:
    explicit NameTyper(QString name) : m_name(std::move(name))
    {
        connect(&m_timer, &QTimer::timeout, this, [this] {
            for (QWidget* w : QApplication::topLevelWidgets()) {
                auto* input = qobject_cast<Dialog_Input*>(w);
                if (!input || !input->isVisible())
                    continue;
                auto* edit = input->findChild<QLineEdit*>();
                proposed = edit->text();
                if (!m_name.isEmpty())
                    edit->setText(m_name);
                input->findChild<QPushButton*>("pushButton")->click();
            }
        });
        m_timer.start(5);
    }
    QString proposed;

private:
    QString m_name;
    QTimer m_timer;
};

// The dialog on the fake device with a file holding "Office" (contrast 6) and
// "Photo" (contrast 2), the default scheme storing contrast 5.
class SchemePanel : public ::testing::Test
{
protected:
    void open(const char* selected = nullptr, bool withSchemes = true)
    {
        if (withSchemes) {
            for (auto [name, contrast] : {std::pair<const char*, int>{"Office", 6}, {"Photo", 2}}) {
                auto* s = new gb::sane_config_schm(nullptr);
                s->set_value("contrast", word(contrast).data(), 4);
                ui.cfg()->add_scheme(s, name);
                s->release();
            }
            gb::sane_config_schm* def = ui.cfg()->get_scheme("默认设置");
            def->set_value("contrast", word(5).data(), 4);
            def->release();
        }
        ui.cfg()->select_scheme(selected);
        ui.open(device.api(), device.handle());
        combo = ui.dialog()->findChild<QComboBox*>();
        fakedriver_log_clear();
    }
    QPushButton* button(const QString& text) const
    {
        for (QPushButton* b : ui.dialog()->findChildren<QPushButton*>())
            if (b->text() == text)
                return b;
        return nullptr;
    }
    QLabel* warning() const
    {
        for (QLabel* l : ui.dialog()->findChildren<QLabel*>())
            if (l->styleSheet() == "color:red;")
                return l;
        return nullptr;
    }
    // The schemes in the file as saved.
    std::vector<std::string> saved(std::string* current = nullptr) const
    {
        cfg_ptr file(new gb::scanner_cfg());
        file->load_file(ui.cfgPath().c_str());
        std::vector<std::string> names;
        file->get_all_schemes(names);
        if (current)
            *current = file->get_current_scheme_name();
        return std::vector<std::string>(names.begin() + 1, names.end());
    }
    void setContrast(int value) { ui.control<QSlider>(id("contrast"))->setValue(value); }
    static SANE_Word contrast() { return fakedriver_get_word(id("contrast")); }

    fakedriver_device device;
    SettingsHarness ui;
    QComboBox* combo = nullptr;
};

struct enabling_case
{
    const char* name;
    bool withSchemes;
    const char* selected;
    bool save, remove, removeAll;
};

class SchemePanelEnabling : public SchemePanel, public ::testing::WithParamInterface<enabling_case>
{
};

TEST_P(SchemePanelEnabling, ButtonsActOnlyWhereTheyMay)
{
    const enabling_case& c = GetParam();
    open(c.selected, c.withSchemes);
    EXPECT_TRUE(button("Add new")->isEnabled());
    EXPECT_EQ(button("Save")->isEnabled(), c.save);
    EXPECT_EQ(button("Delete")->isEnabled(), c.remove);
    EXPECT_EQ(button("Delete all")->isEnabled(), c.removeAll);
}

INSTANTIATE_TEST_SUITE_P(
    States, SchemePanelEnabling,
    ::testing::Values(enabling_case{"DefaultOnly", false, nullptr, false, false, false},
                      enabling_case{"DefaultChosen", true, nullptr, false, false, true},
                      enabling_case{"NamedChosen", true, "Photo", true, true, true}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(SchemePanel, ChoosingWritesAddingDoesNot)
{
    open();
    combo->setCurrentText("Office");
    ASSERT_FALSE(written().empty());
    EXPECT_EQ(written().front(), id("restore"));
    EXPECT_EQ(contrast(), 6);

    fakedriver_log_clear();
    auto typer = std::make_unique<NameTyper>("Mine");
    button("Add new")->click();
    EXPECT_TRUE(written().empty());
    EXPECT_EQ(combo->currentText(), "Mine");
    EXPECT_EQ(saved(), (std::vector<std::string>{"Office", "Photo", "Mine"}));
    EXPECT_FALSE(warning()->isVisible());
    // The proposal tells the settings and is never taken twice.
    EXPECT_TRUE(typer->proposed.contains("200dpi")) << typer->proposed.toStdString();
    typer.reset();
    const QString first = ui.dialog()->find_current_scheme_menu(nullptr);
    NameTyper accept(QString{});
    button("Add new")->click();
    EXPECT_EQ(combo->currentText(), first);
    EXPECT_NE(ui.dialog()->find_current_scheme_menu(nullptr), first);
    EXPECT_EQ(saved().size(), 4u);
}

TEST_F(SchemePanel, AddRefusesTakenAndReservedNames)
{
    open();
    // "Default setting" cannot be typed: the input takes no blanks.
    for (const char* name : {"Office", "默认设置", "default_setting", "global"}) {
        NameTyper typer(QString::fromUtf8(name));
        ui.boxes.texts.clear();
        button("Add new")->click();
        EXPECT_EQ(ui.boxes.texts, QStringList{"The configuration scheme already exists"}) << name;
        EXPECT_EQ(combo->count(), 3) << name;
    }
    EXPECT_TRUE(written().empty());
}

TEST_F(SchemePanel, DeletingTheSchemeInUseResetsTheDeviceFirst)
{
    open("Office");
    combo->setCurrentText("Office");
    ui.boxes.answer = QMessageBox::No;
    fakedriver_log_clear();
    button("Delete")->click();
    EXPECT_EQ(combo->count(), 3);
    EXPECT_TRUE(written().empty());

    ui.boxes.answer = QMessageBox::Yes;
    button("Delete")->click();
    ASSERT_FALSE(written().empty());
    EXPECT_EQ(written().front(), id("restore"));
    EXPECT_EQ(combo->findText("Office"), -1);
    EXPECT_EQ(saved(), std::vector<std::string>{"Photo"});
    // The list moved on to the next entry, which the device now holds.
    EXPECT_EQ(combo->currentText(), "Photo");
    EXPECT_EQ(contrast(), 2);
}

TEST_F(SchemePanel, DeleteAllLeavesTheDefaultOnly)
{
    open("Photo");
    ui.boxes.answer = QMessageBox::Yes;
    button("Delete all")->click();
    EXPECT_EQ(combo->count(), 1);
    EXPECT_TRUE(saved().empty());
    EXPECT_EQ(written().front(), id("restore"));
    EXPECT_FALSE(button("Delete all")->isEnabled());
}

TEST_F(SchemePanel, SaveAndRestoreFollowTheWarning)
{
    open("Office");
    combo->setCurrentText("Office");
    setContrast(3);
    EXPECT_TRUE(warning()->isVisible());
    EXPECT_TRUE(warning()->text().contains("Office"));
    button("Restore")->click();
    EXPECT_EQ(contrast(), 6);
    EXPECT_FALSE(warning()->isVisible());

    setContrast(1);
    button("Save")->click();
    EXPECT_FALSE(warning()->isVisible());
    cfg_ptr file(new gb::scanner_cfg());
    file->load_file(ui.cfgPath().c_str());
    gb::sane_config_schm* office = file->get_scheme("Office");
    std::string value;
    ASSERT_TRUE(office && office->get_config("contrast", value));
    EXPECT_EQ(value, word(1));
    office->release();
}

// Files the panel may meet: it lists what parses, and a long name never
// stretches the warning.
struct file_case
{
    const char* name;
    std::function<std::string()> text;
    int entries;
};

std::string schemesNamed(const std::vector<std::string>& names)
{
    cfg_ptr cfg(new gb::scanner_cfg());
    for (const std::string& name : names) {
        auto* s = new gb::sane_config_schm(nullptr);
        s->set_value("contrast", word(6).data(), 4);
        cfg->add_scheme(s, name.c_str());
        s->release();
    }
    return cfg->to_text(true);
}

const file_case kFiles[] = {
    {"Empty", [] { return std::string(); }, 1},
    {"Unparsable", [] { return std::string("e3sie30="); }, 1},
    {"NameOf10kBytes", [] { return schemesNamed({std::string(10000, 'x')}); }, 2},
    {"ThousandsOfSchemes",
     [] {
         std::vector<std::string> names;
         for (int i = 0; i < 3000; ++i)
             names.push_back("s" + std::to_string(i));
         return schemesNamed(names);
     },
     3001},
};

class SchemePanelFiles : public SchemePanel, public ::testing::WithParamInterface<file_case>
{
};

TEST_P(SchemePanelFiles, ListsWhatParses)
{
    veltest::writeFile(ui.cfgPath(), GetParam().text());
    ui.cfg()->load_file(ui.cfgPath().c_str());
    open(nullptr, false);
    ASSERT_EQ(combo->count(), GetParam().entries);
    combo->setCurrentIndex(combo->count() - 1);
    setContrast(1);
    EXPECT_LT(warning()->text().size(), 1000);
    EXPECT_TRUE(warning()->isVisible());
}

INSTANTIATE_TEST_SUITE_P(Files, SchemePanelFiles, ::testing::ValuesIn(kFiles),
                         [](const auto& info) { return std::string(info.param.name); });

// The first entry is the default scheme whatever its shown name.
struct language_case
{
    const char* catalogue;
    int code_page;
    const char* shown;
};

class SchemePanelLanguage : public SchemePanel, public ::testing::WithParamInterface<language_case>
{
};

TEST_P(SchemePanelLanguage, FirstEntryIsTheDefaultScheme)
{
    const language_case& c = GetParam();
    lang_set_code_page(c.code_page);
    const Catalogue catalogue(c.catalogue);
    open("Office");
    ASSERT_EQ(combo->itemText(0), QString::fromUtf8(c.shown));
    combo->setCurrentIndex(0);
    EXPECT_EQ(contrast(), 5);
    setContrast(2);
    EXPECT_TRUE(warning()->text().contains(QString::fromUtf8(c.shown)));
    QPushButton* restore = button(QCoreApplication::translate("zy_settingdialog", "Restore"));
    ASSERT_NE(restore, nullptr);
    restore->click();
    EXPECT_EQ(contrast(), 5);

    // What people see: several schemes and the warning for one of them.
    combo->setCurrentText("Photo");
    setContrast(7);
    QTest::qWait(30);
    EXPECT_TRUE(warning()->isVisible());
    const QString dir = QString(UI_ARTIFACT_DIR) + "/settings";
    QDir().mkpath(dir);
    warning()->parentWidget()->grab().save(QString("%1/schemes-%2.png").arg(dir, c.catalogue));

    combo->setCurrentIndex(0);
    ui.dialog()->accept();
    std::string current;
    saved(&current);
    EXPECT_EQ(current, "默认设置");
    lang_set_code_page(0);
}

INSTANTIATE_TEST_SUITE_P(
    Languages, SchemePanelLanguage,
    ::testing::Values(language_case{"zh_EN", LEXIPAK_CP_ENGLISH, "Default setting"},
                      language_case{"zh_CN", LEXIPAK_CP_SIMPLIFIED_CHINESE, "默认设置"},
                      language_case{"zh_TW", LEXIPAK_CP_TRADITIONAL_CHINESE, "預設設定"}),
    [](const auto& info) { return std::string(info.param.catalogue); });

} // namespace
