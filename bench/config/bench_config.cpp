// What configuration files cost: loading and writing device files of growing size,
// the base64 codec against a plain copy of the same bytes, and the per-change and
// comparison work of one scheme.
#include "gb_json.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kOptionsPerScheme = 60;
constexpr size_t kCodecBytes = 1 << 20;
constexpr int kSchemeOptions = 1000;

using Clock = std::chrono::steady_clock;

std::string optionName(int i)
{
    return "option-" + std::to_string(i);
}

// Mostly 4-byte words as the settings dialog stores them, every tenth a string.
void fillScheme(gb::sane_config_schm* schm, int seed, int options)
{
    for (int i = 0; i < options; ++i) {
        const std::string name = optionName(i);
        if (i % 10 == 0) {
            const std::string text = "Color " + std::to_string(seed + i);
            schm->set_value(name.c_str(), text.data(), text.size());
        } else {
            const uint32_t word = static_cast<uint32_t>(seed * 131 + i);
            schm->set_value(name.c_str(), reinterpret_cast<const char*>(&word), sizeof(word));
        }
    }
}

std::string buildConfigText(int schemes)
{
    gb::scanner_cfg* cfg = new gb::scanner_cfg();
    for (int s = 0; s < schemes; ++s) {
        gb::sane_config_schm* schm = new gb::sane_config_schm();
        fillScheme(schm, s, kOptionsPerScheme);
        cfg->add_scheme(schm, ("scheme " + std::to_string(s)).c_str());
        schm->release();
    }
    cfg->select_scheme("scheme 0");
    std::string text = cfg->to_text(true);
    cfg->release();
    return text;
}

// Building the 10000-scheme file takes a while; do it once per size.
const std::string& configText(int schemes)
{
    static std::map<int, std::string> texts;
    auto it = texts.find(schemes);
    if (it == texts.end())
        it = texts.emplace(schemes, buildConfigText(schemes)).first;
    return it->second;
}

void reportPerScheme(benchmark::State& state, int schemes, size_t bytes)
{
    state.SetComplexityN(schemes);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    state.counters["per_scheme"] = benchmark::Counter(
        schemes, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_scanner_cfg_load_mem(benchmark::State& state)
{
    const int schemes = static_cast<int>(state.range(0));
    const std::string& text = configText(schemes);
    gb::scanner_cfg* cfg = new gb::scanner_cfg();
    int rc = 0;
    for (auto _ : state) {
        rc |= cfg->load_mem(text.c_str(), true);
        benchmark::ClobberMemory();
    }
    if (rc != 0)
        state.SkipWithError("load_mem refused the file");
    cfg->release();
    reportPerScheme(state, schemes, text.size());
}

void BM_scanner_cfg_to_text(benchmark::State& state)
{
    const int schemes = static_cast<int>(state.range(0));
    const std::string& text = configText(schemes);
    gb::scanner_cfg* cfg = new gb::scanner_cfg();
    if (cfg->load_mem(text.c_str(), true) != 0)
        state.SkipWithError("load_mem refused the file");
    for (auto _ : state) {
        std::string out = cfg->to_text(true);
        benchmark::DoNotOptimize(out);
    }
    cfg->release();
    reportPerScheme(state, schemes, text.size());
}

BENCHMARK(BM_scanner_cfg_load_mem)
    ->RangeMultiplier(10)
    ->Range(10, 10000)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_scanner_cfg_to_text)
    ->RangeMultiplier(10)
    ->Range(10, 10000)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMillisecond);

const std::string& codecInput()
{
    static const std::string bytes = [] {
        std::mt19937 rng(7);
        std::string b(kCodecBytes, '\0');
        for (char& c : b)
            c = static_cast<char>(rng());
        return b;
    }();
    return bytes;
}

const std::string& codecText()
{
    static const std::string text = gb::base64().encode(codecInput().data(), kCodecBytes);
    return text;
}

// Best of many copies of the 1 MB input: the floor any codec pass is held against.
double memcpySecondsPerPass()
{
    static const double seconds = [] {
        std::vector<char> dst(kCodecBytes);
        double best = 1e9;
        for (int i = 0; i < 200; ++i) {
            const auto start = Clock::now();
            std::memcpy(dst.data(), codecInput().data(), kCodecBytes);
            benchmark::DoNotOptimize(dst.data());
            benchmark::ClobberMemory();
            best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
        }
        return best;
    }();
    return seconds;
}

// "x_memcpy": how many times longer one pass takes than copying the same bytes.
void reportAgainstMemcpy(benchmark::State& state, Clock::duration elapsed)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kCodecBytes));
    const double perPass =
        std::chrono::duration<double>(elapsed).count() / static_cast<double>(state.iterations());
    state.counters["x_memcpy"] = perPass / memcpySecondsPerPass();
}

void BM_memcpy_1MB(benchmark::State& state)
{
    std::vector<char> dst(kCodecBytes);
    const std::string& src = codecInput();
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), kCodecBytes);
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kCodecBytes));
}

void BM_base64_encode_1MB(benchmark::State& state)
{
    const std::string& src = codecInput();
    gb::base64 codec;
    memcpySecondsPerPass();
    const auto start = Clock::now();
    for (auto _ : state) {
        std::string text = codec.encode(src.data(), src.size());
        benchmark::DoNotOptimize(text);
    }
    reportAgainstMemcpy(state, Clock::now() - start);
}

void BM_base64_decode_1MB(benchmark::State& state)
{
    const std::string& text = codecText();
    gb::base64 codec;
    memcpySecondsPerPass();
    const auto start = Clock::now();
    for (auto _ : state) {
        std::string bytes = codec.decode(text.data(), text.size());
        benchmark::DoNotOptimize(bytes);
    }
    reportAgainstMemcpy(state, Clock::now() - start);
}

BENCHMARK(BM_memcpy_1MB)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_base64_encode_1MB)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_base64_decode_1MB)->Unit(benchmark::kMicrosecond);

void reportPerOption(benchmark::State& state)
{
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kSchemeOptions));
    state.counters["per_option"] = benchmark::Counter(
        kSchemeOptions,
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// Every pass changes all 1000 options; half of them return to their default (the
// member is removed), the other half leave it (the member is stored), and the
// halves swap on the next pass.
void BM_sane_config_schm_config_changed(benchmark::State& state)
{
    gb::sane_config_schm* schm = new gb::sane_config_schm();
    std::vector<std::string> names;
    for (int i = 0; i < kSchemeOptions; ++i) {
        names.push_back(optionName(i));
        const uint32_t def = static_cast<uint32_t>(i);
        schm->set_default_value(i, names.back().c_str(), reinterpret_cast<const char*>(&def),
                                sizeof(def));
    }
    uint32_t pass = 0;
    for (auto _ : state) {
        for (int i = 0; i < kSchemeOptions; ++i) {
            const uint32_t value = ((i + pass) & 1) ? static_cast<uint32_t>(i) : 0xFFFF0000u + i;
            schm->config_changed(names[i].c_str(), reinterpret_cast<const char*>(&value),
                                 sizeof(value));
        }
        ++pass;
    }
    schm->release();
    reportPerOption(state);
}

// Equal schemes: the comparison has to look at every member.
void BM_sane_config_schm_is_equal(benchmark::State& state)
{
    gb::sane_config_schm* a = new gb::sane_config_schm();
    gb::sane_config_schm* b = new gb::sane_config_schm();
    fillScheme(a, 1, kSchemeOptions);
    fillScheme(b, 1, kSchemeOptions);
    bool equal = true;
    for (auto _ : state)
        equal &= a->is_equal(b);
    if (!equal)
        state.SkipWithError("equal schemes compared unequal");
    a->release();
    b->release();
    reportPerOption(state);
}

BENCHMARK(BM_sane_config_schm_config_changed)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_sane_config_schm_is_equal)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
