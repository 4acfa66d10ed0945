// What the settings dialog costs on drivers of 50, 200 and 1000 options (a tenth
// of them groups) and on SANE's test backend: opening it, one change that makes
// the driver ask for a full reload, and Cancel's write-back.
//
// Each step is timed three ways in the same run: the dialog itself, the bare
// driver calls the step has to make, and a plain Qt form with the same widgets
// built without any driver. The reported time is the dialog's own cost (the
// dialog less its driver calls), fitted against the option count; the counters
// give the ratios to both baselines.
#include "fakedriver_api.h"
#include "gb_json.h"
#include "sane_driver.h"
#include "temp_dir.h"
#include "zy_settingdialog.h"

#include "bench_support.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QScrollArea>
#include <QSlider>
#include <QSpinBox>
#include <QTabWidget>
#include <QVBoxLayout>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>

namespace {

using velbench::seconds;

// ---- the drivers ------------------------------------------------------------

// n options after option 0: every tenth a group, the rest in turn a bool, an
// int range, a string list, a fixed range and an int word list. The first bool
// answers every write with a request to reload all options.
int loadScript(int n)
{
    fakedriver_reset();
    fakedriver_add_device("fake:bench", "Fake", "Bench", "sheetfed scanner");
    static const char* const strings[] = {"one", "two", "three", "four", "five", nullptr};
    static const SANE_Int words[] = {100, 200, 300, 600};
    int trigger = -1;
    for (int i = 0; i < n; ++i) {
        const std::string name = "option-" + std::to_string(i);
        const char* title = name.c_str();
        if (i % 10 == 0) {
            fakedriver_add_group(title);
            continue;
        }
        switch (i % 5) {
        case 0: {
            const int option = fakedriver_add_bool(title, title, title, SANE_FALSE);
            if (trigger < 0)
                trigger = option;
            break;
        }
        case 1:
            fakedriver_add_int_range(title, title, title, 0, 255, 1, 128);
            break;
        case 2:
            fakedriver_add_string_list(title, title, title, strings, "one");
            break;
        case 3:
            fakedriver_add_fixed_range(title, title, title, 0, 100 << 16, 0, 50 << 16);
            break;
        default:
            fakedriver_add_int_list(title, title, title, words, 4, 300);
            break;
        }
    }
    fakedriver_set_result(trigger, SANE_ACTION_SET_VALUE, SANE_STATUS_GOOD,
                          SANE_INFO_RELOAD_OPTIONS);
    return trigger;
}

class Driver
{
public:
    virtual ~Driver() = default;
    virtual const _sane_api& api() const = 0;
    virtual SANE_Handle handle() const = 0;
    int count() const
    {
        SANE_Int count = 0;
        readOptionCount(api(), handle(), &count);
        return count;
    }
};

class FakeDriver : public Driver
{
public:
    explicit FakeDriver(int options) : m_device(false) { m_trigger = loadScript(options); sane_fake_open("", &m_handle); }
    const _sane_api& api() const override { return m_device.api(); }
    SANE_Handle handle() const override { return m_handle; }
    int trigger() const { return m_trigger; }

private:
    fakedriver_device m_device;
    SANE_Handle m_handle = nullptr;
    int m_trigger = -1;
};

class BackendDriver : public Driver
{
public:
    BackendDriver()
    {
        veltest::writeFile(m_config.file("test.conf"), "number_of_devices 1\nenable-test-options true\n");
        setenv("SANE_CONFIG_DIR", m_config.path().c_str(), 1);
        const SANE_Device** devices = nullptr;
        m_ok = ZyBase_CreateDll(SANE_TEST_BACKEND, &m_dll) == 0 && FindFunctions(m_dll, "test", &m_api) == 0
            && m_api.sane_init(nullptr, nullptr) == SANE_STATUS_GOOD
            && m_api.sane_get_devices(&devices, SANE_TRUE) == SANE_STATUS_GOOD && devices[0]
            && m_api.sane_open(devices[0]->name, &m_handle) == SANE_STATUS_GOOD;
    }
    ~BackendDriver() override
    {
        if (m_handle)
            m_api.sane_close(m_handle);
        if (m_dll) {
            if (m_api.sane_exit)
                m_api.sane_exit();
            ZyBase_DestroyDll(m_dll);
        }
    }
    bool ok() const { return m_ok; }
    const _sane_api& api() const override { return m_api; }
    SANE_Handle handle() const override { return m_handle; }

private:
    veltest::TempDir m_config;
    ZyDll* m_dll = nullptr;
    _sane_api m_api{};
    SANE_Handle m_handle = nullptr;
    bool m_ok = false;
};

// ---- the baselines ------------------------------------------------------------

// Every descriptor and value, and each default, read as the dialog reads them.
void readEverything(const Driver& driver, bool defaults)
{
    const int count = driver.count();
    for (int n = 1; n < count; ++n) {
        const SANE_Option_Descriptor* d = driver.api().sane_get_option_descriptor(driver.handle(), n);
        if (!d || d->type == SANE_TYPE_GROUP || d->type == SANE_TYPE_BUTTON)
            continue;
        std::vector<char> value;
        readOptionValue(driver.api(), driver.handle(), n, value);
        if (defaults)
            readDefaultValue(driver.api(), driver.handle(), n, value);
    }
}

void writeEverything(const Driver& driver, const std::vector<std::vector<char>>& values)
{
    for (std::size_t n = 1; n < values.size(); ++n) {
        if (values[n].empty())
            continue;
        std::vector<char> buffer = values[n];
        buffer.resize(buffer.size() + 1);
        SANE_Int info = 0;
        driver.api().sane_control_option(driver.handle(), SANE_Int(n), SANE_ACTION_SET_VALUE,
                                         buffer.data(), &info);
    }
}

std::vector<std::vector<char>> values(const Driver& driver)
{
    std::vector<std::vector<char>> all(std::size_t(std::max(driver.count(), 1)));
    for (std::size_t n = 1; n < all.size(); ++n) {
        const SANE_Option_Descriptor* d = driver.api().sane_get_option_descriptor(driver.handle(), SANE_Int(n));
        if (d && d->type != SANE_TYPE_GROUP && d->type != SANE_TYPE_BUTTON)
            readOptionValue(driver.api(), driver.handle(), SANE_Int(n), all[n]);
    }
    return all;
}

// The same widgets as the dialog makes for the driver's options, without it.
struct PlainForm
{
    std::unique_ptr<QDialog> dialog{new QDialog};
    std::vector<QWidget*> controls;

    explicit PlainForm(const Driver& driver)
    {
        auto* tabs = new QTabWidget;
        auto* layout = new QHBoxLayout(dialog.get());
        auto* panel = new QGroupBox("schemes");
        panel->setFixedSize(195, 500);
        layout->addWidget(panel);
        layout->addWidget(tabs);
        QFormLayout* form = nullptr;
        const int count = driver.count();
        for (int n = 1; n < count; ++n) {
            const SANE_Option_Descriptor* d = driver.api().sane_get_option_descriptor(driver.handle(), n);
            if (!d)
                continue;
            if (!form || d->type == SANE_TYPE_GROUP) {
                auto* area = new QScrollArea;
                auto* page = new QWidget;
                form = new QFormLayout(page);
                area->setWidget(page);
                area->setWidgetResizable(true);
                tabs->addTab(area, d->title);
            }
            QWidget* field = nullptr;
            if (d->type == SANE_TYPE_BOOL)
                field = new QCheckBox;
            else if (d->constraint_type == SANE_CONSTRAINT_RANGE && d->size == 4) {
                field = new QWidget;
                auto* row = new QHBoxLayout(field);
                row->addWidget(new QSlider(Qt::Horizontal));
                row->addWidget(d->type == SANE_TYPE_FIXED ? static_cast<QWidget*>(new QDoubleSpinBox)
                                                          : new QSpinBox);
            } else if (d->constraint_type == SANE_CONSTRAINT_STRING_LIST) {
                auto* combo = new QComboBox;
                for (int i = 0; d->constraint.string_list[i]; ++i)
                    combo->addItem(d->constraint.string_list[i]);
                field = combo;
            } else if (d->constraint_type == SANE_CONSTRAINT_WORD_LIST) {
                auto* combo = new QComboBox;
                for (int i = 1; i <= d->constraint.word_list[0]; ++i)
                    combo->addItem(QString::number(d->constraint.word_list[i]));
                field = combo;
            } else if (d->type == SANE_TYPE_STRING)
                field = new QLineEdit;
            if (field) {
                form->addRow(QString(d->title) + " : ", field);
                controls.push_back(field);
            }
        }
        dialog->resize(740, dialog->height());
    }

    // What a refresh does to every control: set it again.
    void refresh()
    {
        for (QWidget* w : controls) {
            if (auto* box = qobject_cast<QCheckBox*>(w))
                box->setChecked(!box->isChecked());
            else if (auto* combo = qobject_cast<QComboBox*>(w))
                combo->setCurrentIndex(combo->count() - 1 - combo->currentIndex());
            else if (auto* edit = qobject_cast<QLineEdit*>(w))
                edit->setText(edit->text() + "x");
            else
                for (QSlider* s : w->findChildren<QSlider*>())
                    s->setValue(s->maximum() - s->value());
        }
    }
};

void showAndSettle(QWidget* w)
{
    w->show();
    QCoreApplication::processEvents();
}

// ---- the steps ----------------------------------------------------------------

struct Totals
{
    double dialog = 0, driver = 0, form = 0; // form stays 0 where a form has nothing to do

    void report(benchmark::State& state, int options)
    {
        const double n = static_cast<double>(state.iterations());
        state.SetComplexityN(options);
        state.counters["dialog_us"] = dialog / n * 1e6;
        state.counters["driver_us"] = driver / n * 1e6;
        state.counters["x_driver"] = dialog / driver;
        if (form > 0) {
            state.counters["form_us"] = form / n * 1e6;
            state.counters["x_form"] = dialog / form;
        }
    }
    // The time benchmark reports and fits: the dialog less its driver calls.
    static double own(double dialog, double driver) { return std::max(dialog - driver, 1e-9); }
};

zy_settingdialog* newDialog(const Driver& driver, gb::scanner_cfg* cfg)
{
    auto* dialog = new zy_settingdialog(nullptr, driver.handle(), &driver.api(), true, "bench",
                                        cfg, [](ui_result) {}, nullptr);
    dialog->setAttribute(Qt::WA_DeleteOnClose, false);
    return dialog;
}

void openStep(benchmark::State& state, const Driver& driver)
{
    gb::scanner_cfg* cfg = new gb::scanner_cfg();
    Totals totals;
    for (auto _ : state) {
        std::unique_ptr<zy_settingdialog> dialog;
        const double d = seconds([&] {
            dialog.reset(newDialog(driver, cfg));
            showAndSettle(dialog.get());
        });
        const double r = seconds([&] { readEverything(driver, true); });
        std::unique_ptr<PlainForm> form;
        const double f = seconds([&] {
            form = std::make_unique<PlainForm>(driver);
            showAndSettle(form->dialog.get());
        });
        state.SetIterationTime(Totals::own(d, r));
        totals.dialog += d;
        totals.driver += r;
        totals.form += f;
    }
    totals.report(state, driver.count());
    cfg->release();
}

void reloadStep(benchmark::State& state, const Driver& driver, QCheckBox* trigger,
                zy_settingdialog* dialog)
{
    showAndSettle(dialog);
    PlainForm form(driver);
    showAndSettle(form.dialog.get());
    Totals totals;
    for (auto _ : state) {
        const double d = seconds([&] {
            trigger->setChecked(!trigger->isChecked());
            QCoreApplication::processEvents();
        });
        // The reload rereads values and defaults; the restore check reads values again.
        const double r = seconds([&] {
            readEverything(driver, true);
            readEverything(driver, false);
        });
        const double f = seconds([&] {
            form.refresh();
            QCoreApplication::processEvents();
        });
        state.SetIterationTime(Totals::own(d, r));
        totals.dialog += d;
        totals.driver += r;
        totals.form += f;
    }
    totals.report(state, driver.count());
}

void cancelStep(benchmark::State& state, const Driver& driver)
{
    gb::scanner_cfg* cfg = new gb::scanner_cfg();
    const auto start = values(driver);
    Totals totals;
    for (auto _ : state) {
        state.PauseTiming();
        std::unique_ptr<zy_settingdialog> dialog(newDialog(driver, cfg));
        state.ResumeTiming();
        const double d = seconds([&] { QMetaObject::invokeMethod(dialog.get(), "slot_buttonCancelClicked"); });
        // Every start value written, then every value read to see what differs.
        const double r = seconds([&] {
            writeEverything(driver, start);
            values(driver);
        });
        state.SetIterationTime(Totals::own(d, r));
        totals.dialog += d;
        totals.driver += r;
    }
    totals.report(state, driver.count());
    cfg->release();
}

QCheckBox* triggerBox(zy_settingdialog* dialog, int trigger)
{
    return qobject_cast<QCheckBox*>(dialog->find_control(trigger).value(0));
}

void BM_open(benchmark::State& state)
{
    const FakeDriver driver(static_cast<int>(state.range(0)));
    openStep(state, driver);
}

void BM_reload(benchmark::State& state)
{
    const FakeDriver driver(static_cast<int>(state.range(0)));
    gb::scanner_cfg* cfg = new gb::scanner_cfg();
    std::unique_ptr<zy_settingdialog> dialog(newDialog(driver, cfg));
    reloadStep(state, driver, triggerBox(dialog.get(), driver.trigger()), dialog.get());
    dialog.reset();
    cfg->release();
}

void BM_cancel(benchmark::State& state)
{
    const FakeDriver driver(static_cast<int>(state.range(0)));
    cancelStep(state, driver);
}

void BM_open_test_backend(benchmark::State& state)
{
    const BackendDriver driver;
    if (!driver.ok())
        return state.SkipWithError("no SANE test backend");
    openStep(state, driver);
}

void BM_reload_test_backend(benchmark::State& state)
{
    const BackendDriver driver;
    if (!driver.ok())
        return state.SkipWithError("no SANE test backend");
    gb::scanner_cfg* cfg = new gb::scanner_cfg();
    std::unique_ptr<zy_settingdialog> dialog(newDialog(driver, cfg));
    // "read-limit" reveals "read-limit-size": the backend asks for a reload.
    QCheckBox* trigger = triggerBox(dialog.get(), findOptionByName(driver.api(), driver.handle(), "read-limit"));
    reloadStep(state, driver, trigger, dialog.get());
    dialog.reset();
    cfg->release();
}

void BM_cancel_test_backend(benchmark::State& state)
{
    const BackendDriver driver;
    if (!driver.ok())
        return state.SkipWithError("no SANE test backend");
    cancelStep(state, driver);
}

#define SIZES Arg(50)->Arg(200)->Arg(1000)->Complexity(benchmark::oN)
BENCHMARK(BM_open)->SIZES->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_reload)->SIZES->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_cancel)->SIZES->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_open_test_backend)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_reload_test_backend)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_cancel_test_backend)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    return velbench::runOffscreen(argc, argv);
}
