// Start-up of the library's own UI thread against a bare Qt application on a
// thread, each in a fresh process. Times are the probes' own readings.
#include <benchmark/benchmark.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

extern char** environ;

namespace {

struct Reading {
    double loadUs = 0;
    double readyUs = 0;
    long rssBeforeKb = 0;
    long rssLoadedKb = 0;
    long rssReadyKb = 0;
};

bool runProbe(const char* probe, const char* argument, Reading& r)
{
    int out[2];
    if (pipe(out) != 0)
        return false;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    char* argv[] = {const_cast<char*>(probe), const_cast<char*>(argument), nullptr};
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, probe, &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    bool ok = false;
    if (spawned == 0) {
        if (FILE* f = fdopen(out[0], "r")) {
            ok = std::fscanf(f, "%lf %lf %ld %ld %ld", &r.loadUs, &r.readyUs, &r.rssBeforeKb,
                             &r.rssLoadedKb, &r.rssReadyKb) == 5;
            std::fclose(f);
            out[0] = -1;
        }
        int status = 0;
        waitpid(pid, &status, 0);
        ok = ok && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }
    if (out[0] >= 0)
        close(out[0]);
    return ok;
}

void report(benchmark::State& state, const char* probe, const char* argument, bool loadOnly)
{
    Reading sum;
    int runs = 0;
    for (auto _ : state) {
        Reading r;
        if (!runProbe(probe, argument, r)) {
            state.SkipWithError("probe failed");
            return;
        }
        state.SetIterationTime((loadOnly ? r.loadUs : r.readyUs) / 1e6);
        sum.loadUs += r.loadUs;
        sum.readyUs += r.readyUs;
        sum.rssLoadedKb += r.rssLoadedKb - r.rssBeforeKb;
        sum.rssReadyKb += r.rssReadyKb - r.rssBeforeKb;
        ++runs;
    }
    if (runs == 0)
        return;
    state.counters["load_ms"] = sum.loadUs / runs / 1000;
    state.counters["ready_ms"] = sum.readyUs / runs / 1000;
    state.counters["rss_after_load_MiB"] = double(sum.rssLoadedKb) / runs / 1024;
    state.counters["rss_after_startup_MiB"] = double(sum.rssReadyKb) / runs / 1024;
}

void BM_LibraryLoad(benchmark::State& state)
{
    report(state, PROBE, TWAINUI_LIBRARY, true);
}

void BM_FirstExportToManagerReady(benchmark::State& state)
{
    report(state, PROBE, TWAINUI_LIBRARY, false);
}

// The floor: Qt's own cost of an application on a new thread.
void BM_BareQtApplicationOnThread(benchmark::State& state)
{
    report(state, PROBE_QT, nullptr, false);
}

} // namespace

BENCHMARK(BM_LibraryLoad)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FirstExportToManagerReady)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BareQtApplicationOnThread)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    // The probes draw nothing anyone needs to see.
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
