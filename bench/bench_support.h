// What the window benchmarks share: a wall-clock timer for a baseline measured
// in the same run, and a main that draws offscreen in a private home.
#ifndef VELBENCH_SUPPORT_H
#define VELBENCH_SUPPORT_H

#include <ZyBase.h>

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QTemporaryDir>

#include <chrono>
#include <functional>

namespace velbench {

inline double seconds(const std::function<void()>& fn)
{
    const auto start = std::chrono::steady_clock::now();
    fn();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Runs the registered benchmarks in an offscreen application; logs and
// configuration files stay out of the user's home. prepare runs in that home.
inline int runOffscreen(int argc, char** argv, const std::function<void()>& prepare = {})
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QTemporaryDir home;
    ZyBase_SetHomeDir(home.path().toUtf8().constData());
    if (prepare)
        prepare();
    benchmark::Initialize(&argc, argv);
    const bool unknown = benchmark::ReportUnrecognizedArguments(argc, argv);
    if (!unknown)
        benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    ZyBase_SetHomeDir(nullptr);
    return unknown ? 1 : 0;
}

} // namespace velbench

#endif
