// What the editors cost per mouse move: recomputing the five tone curves and one
// full repaint of each editor at its default size. Each is set against a
// baseline measured in the same run; the "x_baseline" counter is the ratio.
#include "cutdialog.h"
#include "widget.h"

#include "bench_support.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <QPainter>

#include <array>
#include <chrono>
#include <functional>

namespace {

using Clock = std::chrono::steady_clock;

// Four key points in every channel: the most work a curve can take.
const std::array<QList<QPoint>, Widget::ChannelCount> kCurves = {{
    {{0, 0}, {255, 255}, {60, 90}, {190, 170}},
    {{0, 10}, {250, 255}, {90, 60}, {170, 200}},
    {{5, 0}, {255, 240}, {70, 100}, {200, 180}},
    {{0, 30}, {255, 220}, {40, 50}, {128, 160}},
    {{10, 0}, {245, 255}, {100, 80}, {150, 190}},
}};

// Mean seconds of one call, measured outside the benchmark loop.
double meanSeconds(const std::function<void()>& call, int runs)
{
    call();
    const auto start = Clock::now();
    for (int i = 0; i < runs; ++i)
        call();
    return std::chrono::duration<double>(Clock::now() - start).count() / runs;
}

void reportRatio(benchmark::State& state, const std::function<void()>& subject,
                 const std::function<void()>& baseline, int runs)
{
    state.counters["x_baseline"] = meanSeconds(subject, runs) / meanSeconds(baseline, runs);
}

// Baseline for the curves: the same five tables drawn as straight segments.
void linearCurves(std::array<QVector<int>, Widget::ChannelCount>& out)
{
    for (int c = 0; c < Widget::ChannelCount; ++c) {
        const QPoint a = kCurves[c][0];
        const QPoint b = kCurves[c][1];
        out[c].resize(Widget::Levels);
        for (int x = 0; x < Widget::Levels; ++x) {
            const int t = std::clamp(x, a.x(), b.x());
            out[c][x] = a.y() + (b.y() - a.y()) * (t - a.x()) / (b.x() - a.x());
        }
    }
}

void polynomialCurves(std::array<QVector<int>, Widget::ChannelCount>& out)
{
    for (int c = 0; c < Widget::ChannelCount; ++c)
        out[c] = Widget::sampleCurve(kCurves[c]);
}

void BM_RecomputeFiveCurves(benchmark::State& state)
{
    std::array<QVector<int>, Widget::ChannelCount> tables;
    for (auto _ : state) {
        polynomialCurves(tables);
        benchmark::DoNotOptimize(tables);
    }
    reportRatio(state, [&] { polynomialCurves(tables); }, [&] { linearCurves(tables); }, 2000);
}
BENCHMARK(BM_RecomputeFiveCurves);

void BM_FiveStraightCurvesBaseline(benchmark::State& state)
{
    std::array<QVector<int>, Widget::ChannelCount> tables;
    for (auto _ : state) {
        linearCurves(tables);
        benchmark::DoNotOptimize(tables);
    }
}
BENCHMARK(BM_FiveStraightCurvesBaseline);

// Renders the widget into an image of its own size, as a repaint does.
void render(QWidget& w, QImage& image)
{
    w.render(&image);
}

void fill(QImage& image)
{
    QPainter painter(&image);
    painter.fillRect(image.rect(), QColor(79, 79, 79));
}

void repaintBenchmark(benchmark::State& state, QWidget& w)
{
    w.show();
    QCoreApplication::processEvents();
    QImage image(w.size(), QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        render(w, image);
        benchmark::DoNotOptimize(image.constBits());
    }
    QImage area(w.size(), QImage::Format_ARGB32_Premultiplied);
    reportRatio(state, [&] { render(w, image); }, [&] { fill(area); }, 200);
    state.SetLabel(QStringLiteral("%1x%2").arg(w.width()).arg(w.height()).toStdString());
}

void BM_RepaintCurveEditor(benchmark::State& state)
{
    Widget w;
    w.resize(w.sizeHint());
    QVector<int> hist(Widget::Levels);
    for (int i = 0; i < hist.size(); ++i)
        hist[i] = 1000 + (i * 7919) % 5000;
    w.setHist_RGB(hist);
    w.setRgbKeyPoint(kCurves[Widget::ChannelRgb]);
    w.setRedKeyPoint(kCurves[Widget::ChannelRed]);
    w.setBlueKeyPoint(kCurves[Widget::ChannelBlue]);
    w.setGreenKeyPoint(kCurves[Widget::ChannelGreen]);
    w.updateCurLinePnt(Widget::ChannelRgb); // the RGB view draws all four curves
    repaintBenchmark(state, w);
}
BENCHMARK(BM_RepaintCurveEditor)->Unit(benchmark::kMicrosecond);

void BM_RepaintCropCanvas(benchmark::State& state)
{
    cutDialog c;
    QRectF area(30, 40, 120, 150);
    c.setCutRectMM(area);
    repaintBenchmark(state, c);
}
BENCHMARK(BM_RepaintCropCanvas)->Unit(benchmark::kMicrosecond);

template <int W, int H>
void BM_FillAreaBaseline(benchmark::State& state)
{
    QImage image(W, H, QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        fill(image);
        benchmark::DoNotOptimize(image.constBits());
    }
}
BENCHMARK_TEMPLATE(BM_FillAreaBaseline, 556, 484)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_FillAreaBaseline, 304, 428)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    return velbench::runOffscreen(argc, argv);
}
