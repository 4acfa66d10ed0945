// Shared by the dialog tests: waiting on the event loop, answering message
// boxes and making images.
#ifndef DIALOG_TEST_SUPPORT_H
#define DIALOG_TEST_SUPPORT_H

#include <ZyBase.h>

#include <QApplication>
#include <QDeadlineTimer>
#include <QMessageBox>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>
#include <ostream>

// Readable failures for Qt's text types.
inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QStringList& texts, std::ostream* os)
{
    *os << '[' << texts.join("|").toStdString() << ']';
}

// Runs events (deferred deletes too) until pred holds or ms have passed.
inline bool waitUntil(const std::function<bool()>& pred, int ms = 3000)
{
    QDeadlineTimer deadline(ms);
    while (!pred()) {
        if (deadline.hasExpired())
            return false;
        QTest::qWait(5);
    }
    return true;
}

// Title and text of the message box that action opens, which is then closed.
struct shown_message {
    QString title;
    QString text;
};
inline shown_message answerMessage(const std::function<void()>& action)
{
    shown_message shown;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            auto* box = qobject_cast<QMessageBox*>(w);
            if (box && box->isVisible()) {
                shown = {box->windowTitle(), box->text()};
                box->done(QMessageBox::Ok);
            }
        }
    });
    poll.start(10);
    action();
    return shown;
}

struct image_deleter {
    void operator()(ZyImage_* image) const { ZyBase_DestroyImage(image); }
};
using unique_image = std::unique_ptr<ZyImage_, image_deleter>;

// A grey or RGB image whose pixel (x, y) has the bytes pixel(x, y, channel).
inline unique_image makeImage(int width, int height, int type,
                              const std::function<unsigned char(int, int, int)>& pixel)
{
    ZyImage image = nullptr;
    if (ZyBase_CreateImage(width, height, type, &image) != 0)
        return nullptr;
    ZyImageInfo info{};
    unsigned char* data = nullptr;
    ZyBase_GetImageInfo(image, &info);
    ZyBase_GetImageData(image, &data);
    const int channels = type == ZY_IMAGE_TYPE_RGB ? 3 : 1;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width * channels; ++x)
            data[y * info.stride + x] = pixel(x / channels, y, x % channels);
    return unique_image(image);
}

#endif
