// What the scan-time windows cost: the image view repainting an A4 page at
// 600 dpi while zooming and panning, against a plain QPainter::drawImage of the
// same visible part ("x_drawImage"), and the scan events per second the
// progress dialog absorbs, against empty queued calls ("x_queued_call").
#include "ZyImgView.h"

#include "bench_support.h"

#include <benchmark/benchmark.h>
#include <veltwainui/twainui.h>

#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>

#include <chrono>
#include <memory>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kPageWidth = 5000;
constexpr int kPageHeight = 7000;
const QSize kViewSize(1200, 900);

struct image_deleter {
    void operator()(ZyImage_* image) const { ZyBase_DestroyImage(image); }
};

// A page with some structure, so that scaling has real work to do.
const ZyImage_* page()
{
    static const std::unique_ptr<ZyImage_, image_deleter> image = [] {
        ZyImage created = nullptr;
        ZyBase_CreateImage(kPageWidth, kPageHeight, ZY_IMAGE_TYPE_RGB, &created);
        ZyImageInfo info{};
        unsigned char* data = nullptr;
        ZyBase_GetImageInfo(created, &info);
        ZyBase_GetImageData(created, &data);
        for (int y = 0; y < kPageHeight; ++y)
            for (int x = 0; x < kPageWidth * 3; ++x)
                data[y * info.stride + x] = static_cast<unsigned char>((x ^ y) + (y % 97 < 9 ? 0 : 200));
        return std::unique_ptr<ZyImage_, image_deleter>(created);
    }();
    return image.get();
}

// The same pixels as the view paints them from, for the baseline.
const QImage& pageImage()
{
    static const QImage image = [] {
        ZyImageInfo info{};
        unsigned char* data = nullptr;
        ZyBase_GetImageInfo(const_cast<ZyImage>(page()), &info);
        ZyBase_GetImageData(const_cast<ZyImage>(page()), &data);
        return QImage(data, info.width, info.height, info.stride, QImage::Format_RGB888);
    }();
    return image;
}

double seconds(Clock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

// Renders the view into target and, as the baseline, draws the part of the page
// it shows with drawImage; returns both times. Which runs first alternates, so
// that neither always finds the pixels in the cache.
std::pair<double, double> renderOnce(ZyImgView& view, QImage& target, bool smooth, bool oursFirst)
{
    const ZyRectF shown = view.showRect();
    const QRectF shownRect(shown.left, shown.top, shown.width(), shown.height());
    const int bar = 10;
    const QRectF usable(0, 0, kViewSize.width() - (view.vScrollShown() ? bar : 0),
                        kViewSize.height() - (view.hScrollShown() ? bar : 0));
    const QRectF visible = shownRect.intersected(usable);
    const double sx = kPageWidth / shownRect.width();
    const double sy = kPageHeight / shownRect.height();
    const QRectF source((visible.left() - shownRect.left()) * sx,
                        (visible.top() - shownRect.top()) * sy, visible.width() * sx,
                        visible.height() * sy);
    auto paintView = [&] {
        const auto start = Clock::now();
        view.render(&target);
        return seconds(Clock::now() - start);
    };
    auto paintBaseline = [&] {
        const auto start = Clock::now();
        QPainter painter(&target);
        painter.setRenderHint(QPainter::SmoothPixmapTransform, smooth);
        painter.drawImage(visible, pageImage(), source);
        painter.end();
        return seconds(Clock::now() - start);
    };
    if (oursFirst) {
        const double ours = paintView();
        return {ours, paintBaseline()};
    }
    const double baseline = paintBaseline();
    return {paintView(), baseline};
}

struct view_fixture {
    explicit view_fixture(bool smooth)
    {
        view.resize(kViewSize);
        view.enableHighQuality(smooth);
        view.addImage(const_cast<ZyImage>(page()));
    }
    ZyImgView view;
    QImage target{kViewSize, QImage::Format_RGB32};
};

void report(benchmark::State& state, double ours, double baseline)
{
    state.counters["x_drawImage"] = ours / baseline;
    state.counters["ms_per_frame"] = 1000 * ours / state.iterations();
}

// Zooming in and out about a point, between the whole page and twice its size.
void BM_view_zoom(benchmark::State& state)
{
    const bool smooth = state.range(0) != 0;
    view_fixture f(smooth);
    const ZyPoint anchor{700, 400};
    double ours = 0;
    double baseline = 0;
    int step = 0;
    for (auto _ : state) {
        // 12 steps of 1.2 go from the fit (about 0.13) to about 1.15 and back.
        (step++ / 12) % 2 == 0 ? f.view.zoomIn(&anchor) : f.view.zoomOut(&anchor);
        const auto [o, b] = renderOnce(f.view, f.target, smooth, step % 2 == 0);
        state.SetIterationTime(o);
        ours += o;
        baseline += b;
    }
    report(state, ours, baseline);
}
BENCHMARK(BM_view_zoom)->ArgName("smooth")->Arg(0)->Arg(1)->UseManualTime()->Iterations(96);

// Dragging the page at real size, 40 pixels per move, back and forth.
void BM_view_pan(benchmark::State& state)
{
    const bool smooth = state.range(0) != 0;
    view_fixture f(smooth);
    f.view.realSize();
    auto send = [&](QEvent::Type type, QPoint pos, Qt::MouseButtons held) {
        QMouseEvent event(type, pos, f.view.mapToGlobal(pos),
                          type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, held, {});
        QApplication::sendEvent(&f.view, &event);
    };
    send(QEvent::MouseButtonPress, {600, 450}, Qt::LeftButton);
    double ours = 0;
    double baseline = 0;
    int step = 0;
    for (auto _ : state) {
        const int offset = 40 * ((step % 20) < 10 ? step % 10 : 10 - step % 10);
        send(QEvent::MouseMove, {600 - offset, 450 - offset}, Qt::LeftButton);
        const auto [o, b] = renderOnce(f.view, f.target, smooth, ++step % 2 == 0);
        state.SetIterationTime(o);
        ours += o;
        baseline += b;
    }
    send(QEvent::MouseButtonRelease, {600, 450}, Qt::NoButton);
    report(state, ours, baseline);
}
BENCHMARK(BM_view_pan)->ArgName("smooth")->Arg(0)->Arg(1)->UseManualTime()->Iterations(100);

// Images reported from a host thread through the exported event handler until
// the dialog shows the last one; the application is the host's (this program's).
void BM_progress_events(benchmark::State& state)
{
    const int events = static_cast<int>(state.range(0));
    ui_event_callback notify;
    show_progress_ui(nullptr, nullptr, &notify);
    const QLabel* count = nullptr;
    for (QWidget* w : QApplication::topLevelWidgets()) {
        if (w->inherits("Dialog_progress_ui"))
            count = w->findChild<QLabel*>("label_imageCount");
    }
    const QString last = ":" + QString::number(events);

    QObject receiver; // baseline: the same number of empty queued calls
    int received = 0;
    double ours = 0;
    double baseline = 0;
    for (auto _ : state) {
        notify(EVENT_SCAN_FINISHED, nullptr, 1); // the count starts again
        QApplication::processEvents();

        auto start = Clock::now();
        std::thread host([&] {
            for (int i = 0; i < events; ++i)
                notify(EVENT_IMAGE_RECEIVED, nullptr, 0);
        });
        while (!count->text().endsWith(last))
            QApplication::processEvents();
        host.join();
        const double elapsed = seconds(Clock::now() - start);
        state.SetIterationTime(elapsed);
        ours += elapsed;

        received = 0;
        start = Clock::now();
        std::thread caller([&] {
            for (int i = 0; i < events; ++i)
                QMetaObject::invokeMethod(&receiver, [&] { ++received; }, Qt::QueuedConnection);
        });
        while (received < events)
            QApplication::processEvents();
        caller.join();
        baseline += seconds(Clock::now() - start);
    }
    close_ui(-1);
    state.counters["events_per_s"] = events * state.iterations() / ours;
    state.counters["x_queued_call"] = ours / baseline;
}
BENCHMARK(BM_progress_events)->Arg(20000)->UseManualTime()->Iterations(5);

} // namespace

int main(int argc, char** argv)
{
    return velbench::runOffscreen(argc, argv);
}
