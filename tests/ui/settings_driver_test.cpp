// Drivers never written for the dialog: Debian's SANE test backend, and a driver
// whose descriptors carry every oddity the standard allows or a bug produces.
#include "settings_support.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QSlider>
#include <QSpinBox>

#include <cstring>
#include <map>

namespace {

// Changes every control that can be changed, the way a user would; from the
// last to the first, so that switches which hide options come last.
void changeEveryControl(zy_settingdialog* dialog, int options)
{
    for (int id = options - 1; id >= 1; --id) {
        for (QWidget* w : dialog->find_control(id)) {
            // Switching the test backend's test options off would hide the rest.
            const char* name = dialog->find_option_description(id)->name;
            if (!w->isEnabled() || w->parentWidget()->isHidden()
                || (name && std::strcmp(name, "enable-test-options") == 0))
                continue;
            if (auto* box = qobject_cast<QCheckBox*>(w))
                box->setChecked(!box->isChecked());
            else if (auto* slider = qobject_cast<QSlider*>(w))
                slider->setValue(slider->value() == slider->maximum() ? slider->minimum()
                                                                      : slider->maximum());
            else if (auto* spin = qobject_cast<QSpinBox*>(w); spin && dialog->find_control(id).size() == 1)
                spin->setValue(spin->value() + 1);
            else if (auto* combo = qobject_cast<QComboBox*>(w); combo && combo->count() > 1)
                combo->setCurrentIndex((combo->currentIndex() + 1) % combo->count());
            else if (auto* edit = qobject_cast<QLineEdit*>(w))
                edit->setText(edit->text() + "x");
        }
    }
}

// Every readable value of every option of the backend, by option number.
std::vector<std::vector<char>> values(const TestBackend& backend)
{
    std::vector<std::vector<char>> all;
    SANE_Int count = 0;
    read_option_count(backend.api(), backend.handle(), &count);
    for (SANE_Int n = 0; n < count; ++n) {
        all.emplace_back();
        read_option_value(backend.api(), backend.handle(), n, all.back());
    }
    return all;
}

// The names of the options whose readable values differ.
QStringList differing(const TestBackend& backend, const std::vector<std::vector<char>>& a,
                      const std::vector<std::vector<char>>& b)
{
    QStringList names;
    for (std::size_t n = 0; n < std::min(a.size(), b.size()); ++n) {
        if (!a[n].empty() && !b[n].empty() && a[n] != b[n])
            names << backend.api().sane_get_option_descriptor(backend.handle(), SANE_Int(n))->name;
    }
    return names;
}

TEST(SettingsOnTestBackend, CancelGivesTheDeviceBackAndOkRecordsIt)
{
    for (const bool ok : {false, true}) {
        SCOPED_TRACE(ok ? "OK" : "Cancel");
        TestBackend backend;
        if (!backend.open())
            GTEST_SKIP() << "no SANE test backend";
        const auto before = values(backend);
        SettingsHarness ui;
        zy_settingdialog* dialog = ui.open(backend.api(), backend.handle());
        changeEveryControl(dialog, int(before.size()));
        const auto changed = values(backend);
        EXPECT_GT(differing(backend, before, changed).size(), 20);
        QMetaObject::invokeMethod(dialog, ok ? "slot_buttonOkClicked" : "slot_buttonCancelClicked");
        SettingsHarness::settle();
        ASSERT_EQ(ui.dialog(), nullptr);

        const auto after = values(backend);
        if (ok) {
            EXPECT_EQ(differing(backend, changed, after), QStringList());
            cfg_ptr file(new gb::scanner_cfg());
            file->load_file(ui.cfgPath().c_str());
            gb::sane_config_schm* scheme = file->get_scheme(nullptr);
            int recorded = 0;
            std::string name, value;
            for (bool more = scheme->first_config(name, value); more; more = scheme->next_config(name, value))
                ++recorded;
            EXPECT_GT(recorded, 10);
            scheme->release();
        } else {
            // What the backend will not take back: a start resolution below its own
            // range, a start value off its own step, and an option that adjusts
            // every value it is given.
            EXPECT_EQ(differing(backend, before, after),
                      QStringList({"resolution", "int-inexact", "fixed-constraint-range"}));
        }
    }
}

// ---- a driver full of oddities ----------------------------------------------

struct odd_option {
    SANE_Option_Descriptor descriptor;
    std::vector<char> value;
    bool gap = false; // no descriptor for this number
};

std::vector<odd_option>& oddOptions()
{
    static std::vector<odd_option> options;
    return options;
}

const SANE_Range kNoRange{0, 0, 0};
const SANE_Word kEmptyWords[] = {0};
const SANE_Word kFixedWords[] = {2, 65536, 5 * 65536};
const SANE_String_Const kNoStrings[] = {nullptr};
std::vector<SANE_Word> g_longList;

const SANE_Option_Descriptor* oddDescriptor(SANE_Handle, SANE_Int n)
{
    auto& options = oddOptions();
    if (n < 0 || n >= int(options.size()) || options[n].gap)
        return nullptr;
    return &options[n].descriptor;
}

// Copies exactly the descriptor's size both ways, as a careless driver does.
SANE_Status oddControl(SANE_Handle h, SANE_Int n, SANE_Action action, void* value, SANE_Int* info)
{
    const SANE_Option_Descriptor* d = oddDescriptor(h, n);
    if (!d || !value)
        return SANE_STATUS_INVAL;
    if (info)
        *info = 0;
    std::vector<char>& stored = oddOptions()[n].value;
    if (stored.empty())
        return SANE_STATUS_GOOD;
    if (action == SANE_ACTION_GET_VALUE)
        std::memcpy(value, stored.data(), stored.size());
    else if (action == SANE_ACTION_SET_VALUE)
        std::memcpy(stored.data(), value, stored.size());
    else
        return SANE_STATUS_UNSUPPORTED;
    return SANE_STATUS_GOOD;
}

void addOdd(const char* name, const char* title, SANE_Value_Type type, SANE_Int size,
            SANE_Constraint_Type constraint = SANE_CONSTRAINT_NONE, const void* pointer = nullptr,
            const char* text = "")
{
    SANE_Option_Descriptor d{name, title, nullptr, type, SANE_UNIT_NONE, size,
                             SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT, constraint, {nullptr}};
    d.constraint.range = static_cast<const SANE_Range*>(pointer);
    std::vector<char> value(std::size_t(std::max(size, 0)), 0);
    std::copy_n(text, std::min(value.size(), std::strlen(text)), value.begin());
    oddOptions().push_back({d, value, false});
}

TEST(SettingsOnOddDriver, EveryOddityStillGivesAUsableWindow)
{
    auto& options = oddOptions();
    options.clear();
    addOdd("", "", SANE_TYPE_INT, 4); // option 0: the count, set below
    addOdd(nullptr, nullptr, SANE_TYPE_GROUP, 0);
    addOdd(nullptr, nullptr, SANE_TYPE_BOOL, 4);
    addOdd("null-range", "range", SANE_TYPE_INT, 4, SANE_CONSTRAINT_RANGE);
    addOdd("empty-words", "words", SANE_TYPE_INT, 4, SANE_CONSTRAINT_WORD_LIST, kEmptyWords);
    addOdd("null-words", "words", SANE_TYPE_INT, 4, SANE_CONSTRAINT_WORD_LIST);
    addOdd("inverted", "range", SANE_TYPE_INT, 4, SANE_CONSTRAINT_RANGE, &kNoRange);
    addOdd("fixed-none", "fixed", SANE_TYPE_FIXED, 4);
    addOdd("fixed-words", "fixed", SANE_TYPE_FIXED, 4, SANE_CONSTRAINT_WORD_LIST, kFixedWords);
    addOdd("fixed-strings", "fixed", SANE_TYPE_FIXED, 4, SANE_CONSTRAINT_STRING_LIST);
    addOdd("no-room", "string", SANE_TYPE_STRING, 0);
    addOdd("full", "string", SANE_TYPE_STRING, 8, SANE_CONSTRAINT_NONE, nullptr, "12345678");
    addOdd("no-strings", "list", SANE_TYPE_STRING, 8, SANE_CONSTRAINT_STRING_LIST, kNoStrings);
    addOdd("null-strings", "list", SANE_TYPE_STRING, 8, SANE_CONSTRAINT_STRING_LIST);
    addOdd("array", "array", SANE_TYPE_INT, 64, SANE_CONSTRAINT_RANGE, &kNoRange);
    addOdd("unknown", "type", SANE_Value_Type(7), 4); // beyond the standard's types
    addOdd("gap", "gap", SANE_TYPE_INT, 4);
    options.back().gap = true;
    addOdd(nullptr, nullptr, SANE_TYPE_BUTTON, 0);
    g_longList.assign(1, 5000);
    for (int i = 0; i < 5000; ++i)
        g_longList.push_back(i);
    addOdd("long-list", "list", SANE_TYPE_INT, 4, SANE_CONSTRAINT_WORD_LIST, g_longList.data());
    for (int i = 0; i < 2000; ++i) {
        if (i % 10 == 0)
            addOdd("", "group", SANE_TYPE_GROUP, 0);
        static const SANE_Range range{0, 100, 1};
        addOdd("n", "number", SANE_TYPE_INT, 4, SANE_CONSTRAINT_RANGE, &range);
    }
    const SANE_Word count = SANE_Word(options.size());
    std::memcpy(options[0].value.data(), &count, sizeof(count));

    _sane_api api{};
    api.sane_get_option_descriptor = oddDescriptor;
    api.sane_control_option = oddControl;
    std::vector<std::vector<char>> before;
    for (const odd_option& o : options)
        before.push_back(o.value);

    SettingsHarness ui;
    zy_settingdialog* dialog = ui.open(api, nullptr);
    auto kinds = [&](int id) {
        QStringList names;
        for (QWidget* w : dialog->find_control(id))
            names << w->metaObject()->className();
        return names.join('+');
    };
    EXPECT_EQ(kinds(2), "QCheckBox");
    EXPECT_EQ(kinds(3), "QSpinBox") << "a range without its range is no range";
    EXPECT_EQ(kinds(4), "QComboBox");
    EXPECT_EQ(kinds(7), "QSlider+QDoubleSpinBox");
    EXPECT_EQ(kinds(8), "QSlider+QDoubleSpinBox");
    EXPECT_EQ(kinds(11), "QLineEdit");
    EXPECT_EQ(kinds(14), "") << "an array gets no control";
    EXPECT_EQ(kinds(15), "");
    EXPECT_EQ(qobject_cast<QComboBox*>(dialog->find_control(18)[0])->count(), 5000);

    // The odd ones; the thousands of plain options after them are only built.
    changeEveryControl(dialog, 20);
    QMetaObject::invokeMethod(dialog, "slot_buttonCancelClicked");
    SettingsHarness::settle();
    ASSERT_EQ(ui.dialog(), nullptr);
    for (std::size_t n = 1; n < options.size(); ++n)
        EXPECT_EQ(options[n].value, before[n]) << "option " << n;
}

} // namespace
