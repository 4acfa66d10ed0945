// What configuration schemes cost on drivers of 50, 200 and 1000 options:
// apply_current_config against the bare driver calls it has to make, and a
// switch of schemes in the open dialog (apply, reread, refresh) against the
// same calls plus the reread; then the scheme panel holding 250 to 1000 schemes:
// opening the dialog, Add new and Delete, each of which saves the whole file.
//
// The reported time is the library's; the counters give the driver's share and
// the ratio to it, measured in the same run.
#include "app_cfg.h"
#include "fakedriver_api.h"
#include "gb_json.h"
#include "sane_driver.h"
#include "zy_settingdialog.h"

#include "bench_support.h"

#include <benchmark/benchmark.h>

#include <ZyBase.h>

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

using velbench::seconds;

std::string word(SANE_Word value)
{
    return std::string(reinterpret_cast<const char*>(&value), sizeof(value));
}

// A device of n options after option 0: "restore" first, then in turn an int
// range, a string list and a bool.
class Device
{
public:
    explicit Device(int n) : m_device(false)
    {
        static const char* const strings[] = {"one", "two", "three", nullptr};
        fakedriver_add_button("restore", "restore", "");
        for (int i = 1; i < n; ++i) {
            const std::string name = "option-" + std::to_string(i);
            switch (i % 3) {
            case 0:
                fakedriver_add_int_range(name.c_str(), name.c_str(), "", 0, 255, 1, 128);
                break;
            case 1:
                fakedriver_add_string_list(name.c_str(), name.c_str(), "", strings, "one");
                break;
            default:
                fakedriver_add_bool(name.c_str(), name.c_str(), "", SANE_FALSE);
                break;
            }
        }
    }
    const _sane_api& api() const { return m_device.api(); }
    SANE_Handle handle() const { return m_device.handle(); }

    // A scheme holding a value other than the default for every option.
    gb::sane_config_schm* scheme(int variant) const
    {
        auto* scheme = new gb::sane_config_schm(nullptr);
        for (int n = 2; n < fakedriver_option_count(); ++n) {
            const SANE_Option_Descriptor* d = api().sane_get_option_descriptor(handle(), n);
            std::string value;
            if (d->type == SANE_TYPE_INT)
                value = word(variant * 10 + n % 100);
            else if (d->type == SANE_TYPE_BOOL)
                value = word(variant % 2);
            else
                value = variant % 2 ? "two" : "three";
            scheme->set_value(d->name, value.data(), value.size());
        }
        return scheme;
    }

private:
    fakedriver_device m_device;
};

// What applying a scheme must ask of the driver: every descriptor, the press of
// "restore" and one write per stored value.
void bareApply(const Device& device, const std::vector<std::pair<int, std::string>>& values)
{
    const _sane_api& api = device.api();
    SANE_Int count = 0;
    readOptionCount(api, device.handle(), &count);
    for (int n = 1; n < count; ++n)
        api.sane_get_option_descriptor(device.handle(), n);
    api.sane_control_option(device.handle(), 1, SANE_ACTION_SET_VALUE, nullptr, nullptr);
    for (const auto& [n, value] : values) {
        std::vector<char> buffer(value.begin(), value.end());
        buffer.resize(std::max<std::size_t>(buffer.size(), 8) + 4);
        SANE_Int info = 0;
        api.sane_control_option(device.handle(), n, SANE_ACTION_SET_VALUE, buffer.data(), &info);
    }
}

std::vector<std::pair<int, std::string>> valuesOf(gb::sane_config_schm* scheme)
{
    std::vector<std::pair<int, std::string>> values;
    std::string name, value;
    for (bool more = scheme->first_config(name, value); more; more = scheme->next_config(name, value))
        values.emplace_back(fakedriver_find(name.c_str()), value);
    return values;
}

void rereadAll(const Device& device)
{
    SANE_Int count = 0;
    readOptionCount(device.api(), device.handle(), &count);
    for (int n = 1; n < count; ++n) {
        std::vector<char> value;
        readOptionValue(device.api(), device.handle(), n, value);
    }
}

void report(benchmark::State& state, int n, double library, double driver)
{
    const double runs = static_cast<double>(state.iterations());
    state.SetComplexityN(n);
    state.counters["driver_us"] = driver / runs * 1e6;
    state.counters["x_driver"] = library / driver;
}

std::string configDir()
{
    char dir[512] = {};
    GetConfigPath(dir, sizeof(dir));
    return dir;
}

// ---- apply_current_config --------------------------------------------------

void BM_apply_current_config(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    const Device device(n);
    gb::sane_config_schm* scheme = device.scheme(1);
    const auto values = valuesOf(scheme);
    {
        auto* cfg = new gb::scanner_cfg();
        cfg->add_scheme(scheme, "bench");
        cfg->select_scheme("bench");
        cfg->save((configDir() + "bench.cfg").c_str());
        cfg->release();
    }
    scheme->release();
    _sane_api api = device.api();
    double library = 0, driver = 0;
    for (auto _ : state) {
        const double t = seconds([&] { twain_ui_free(apply_current_config("bench", device.handle(), &api)); });
        driver += seconds([&] { bareApply(device, values); });
        library += t;
        state.SetIterationTime(t);
    }
    report(state, n, library, driver);
}

// ---- switching schemes in the open dialog ----------------------------------

std::unique_ptr<zy_settingdialog> openDialog(const Device& device, gb::scanner_cfg* cfg)
{
    std::unique_ptr<zy_settingdialog> dialog(new zy_settingdialog(
        nullptr, device.handle(), &device.api(), true, "bench", cfg, [](ui_result) {}, nullptr));
    dialog->setAttribute(Qt::WA_DeleteOnClose, false);
    dialog->show();
    QCoreApplication::processEvents();
    return dialog;
}

void BM_switch_scheme(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    const Device device(n);
    auto* cfg = new gb::scanner_cfg();
    std::vector<std::vector<std::pair<int, std::string>>> values;
    for (int variant : {1, 2}) {
        gb::sane_config_schm* scheme = device.scheme(variant);
        values.push_back(valuesOf(scheme));
        cfg->add_scheme(scheme, ("scheme-" + std::to_string(variant)).c_str());
        scheme->release();
    }
    auto dialog = openDialog(device, cfg);
    auto* combo = dialog->findChild<QComboBox*>();
    double library = 0, driver = 0;
    int next = 1;
    for (auto _ : state) {
        const double t = seconds([&] { combo->setCurrentIndex(next); });
        driver += seconds([&] {
            bareApply(device, values[std::size_t(next - 1)]);
            rereadAll(device);
        });
        next = 3 - next;
        library += t;
        state.SetIterationTime(t);
    }
    report(state, n, library, driver);
    dialog->close();
    dialog.reset();
    cfg->release();
}

// ---- the panel with many schemes -------------------------------------------

constexpr int kPanelOptions = 50;

gb::scanner_cfg* fileWith(const Device& device, int schemes)
{
    // A new file each time: the panel saves into it.
    const std::string file = configDir() + "panel.cfg";
    std::remove(file.c_str());
    auto* cfg = new gb::scanner_cfg();
    cfg->load_file(file.c_str());
    for (int i = 0; i < schemes; ++i) {
        gb::sane_config_schm* scheme = device.scheme(i);
        cfg->add_scheme(scheme, ("scheme-" + std::to_string(i)).c_str());
        scheme->release();
    }
    return cfg;
}

// Answers the modal dialog that the next click opens, as soon as it shows.
void answerNextModal(const QString& name)
{
    QTimer::singleShot(0, [name] {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            box->done(QMessageBox::Yes);
        } else if (modal) {
            modal->findChild<QLineEdit*>()->setText(name);
            modal->findChild<QPushButton*>("pushButton")->click();
        } else {
            answerNextModal(name);
        }
    });
}

QPushButton* button(QWidget* dialog, const char* text)
{
    for (QPushButton* b : dialog->findChildren<QPushButton*>())
        if (b->text() == QLatin1String(text))
            return b;
    return nullptr;
}

void BM_panel_open(benchmark::State& state)
{
    const Device device(kPanelOptions);
    gb::scanner_cfg* cfg = fileWith(device, static_cast<int>(state.range(0)));
    for (auto _ : state) {
        const auto start = Clock::now();
        auto dialog = openDialog(device, cfg);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        dialog->close();
    }
    state.SetComplexityN(state.range(0));
    cfg->release();
}

void BM_panel_add(benchmark::State& state)
{
    const Device device(kPanelOptions);
    gb::scanner_cfg* cfg = fileWith(device, static_cast<int>(state.range(0)));
    auto dialog = openDialog(device, cfg);
    int added = 0;
    for (auto _ : state) {
        answerNextModal(QStringLiteral("added-%1").arg(++added));
        state.SetIterationTime(seconds([&] { button(dialog.get(), "Add new")->click(); }));
    }
    state.SetComplexityN(state.range(0));
    dialog->close();
    dialog.reset();
    cfg->release();
}

void BM_panel_delete(benchmark::State& state)
{
    const Device device(kPanelOptions);
    gb::scanner_cfg* cfg = fileWith(device, static_cast<int>(state.range(0)) + 100);
    auto dialog = openDialog(device, cfg);
    auto* combo = dialog->findChild<QComboBox*>();
    for (auto _ : state) {
        state.PauseTiming();
        combo->setCurrentIndex(combo->count() - 1);
        state.ResumeTiming();
        answerNextModal(QString());
        state.SetIterationTime(seconds([&] { button(dialog.get(), "Delete")->click(); }));
    }
    state.SetComplexityN(state.range(0));
    dialog->close();
    dialog.reset();
    cfg->release();
}

#define SIZES Arg(50)->Arg(200)->Arg(1000)->Complexity(benchmark::oN)
#define SCHEMES Arg(250)->Arg(500)->Arg(1000)->Complexity(benchmark::oN)
BENCHMARK(BM_apply_current_config)->SIZES->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_switch_scheme)->SIZES->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_panel_open)->SCHEMES->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_panel_add)->SCHEMES->Iterations(20)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_panel_delete)->SCHEMES->Iterations(20)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    return velbench::runOffscreen(argc, argv, [] { ZyBase_CreateDir(configDir().c_str()); });
}
