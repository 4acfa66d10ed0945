#include "dialog_progress_ui.h"
#include "ui_dialog_progress_ui.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QTimer>

#include <chrono>
#include <cstring>
#include <thread>

namespace {

// Dialog, stays-on-top and close-button hints.
constexpr int kWindowFlags = 0x08040003;
// A status line longer than this is the host's mistake; the rest is not read.
constexpr std::size_t kMaxEventText = 4096;
constexpr int kAutoCloseMs = 1000;
constexpr auto kCloseResultDelay = std::chrono::milliseconds(500);

bool finishedWell(int status)
{
    return status == 0 || status == 257;
}

QString hostText(const void* data)
{
    const auto* text = static_cast<const char*>(data);
    return QString::fromUtf8(text, static_cast<int>(strnlen(text, kMaxEventText)));
}

void releaseThread(ZyThread& thread)
{
    if (thread)
        ZyBase_CloseThread(thread);
    thread = nullptr;
}

using shared_channel = std::shared_ptr<progress_result_channel>;

} // namespace

progress_result_channel::progress_result_channel(ui_result_callback callback)
    : m_callback(std::move(callback))
{
}

void progress_result_channel::send(ui_result result) const
{
    ui_result_callback callback;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        callback = m_callback;
    }
    // Called unlocked: the host may call back into the library from here.
    if (callback)
        callback(result);
}

void progress_result_channel::revoke()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_callback = nullptr;
}

Dialog_progress_ui::Dialog_progress_ui(ui_result_callback callback, QWidget* owner)
    : QDialog(owner)
    , ui(std::make_unique<Ui::Dialog_progress_ui>())
    , m_callback(std::make_shared<progress_result_channel>(std::move(callback)))
    , m_timer(new QTimer(this))
{
    ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowFlags(Qt::WindowFlags(kWindowFlags));
    ui->pbtn_cancelScan->hide();
    ui->pbtn_close->hide();
    ui->label_status->setText(tr("start scanning"));
    ui->label_imageCount->setText(tr("image recived:") + QString::number(0));

    m_timer->setSingleShot(true);
    connect(this, &Dialog_progress_ui::scan_status, this, &Dialog_progress_ui::on_scan_status,
            Qt::QueuedConnection);
    connect(this, &Dialog_progress_ui::scan_finish, this, &Dialog_progress_ui::on_scan_finish,
            Qt::QueuedConnection);
    connect(this, &Dialog_progress_ui::image_recived, this, &Dialog_progress_ui::on_image_recived,
            Qt::QueuedConnection);
}

Dialog_progress_ui::~Dialog_progress_ui()
{
    // Deleted with its owner (settings closing at the end of a scan) before it
    // closed: the host still hears that the window has gone.
    if (!m_closedByHost && !m_closeThread)
        m_closeThread = startWorker(ThreadFunc);
    // The workers hold their own copy of the callback and run on to their end.
    releaseThread(m_closeThread);
    releaseThread(m_cancelThread);
}

void Dialog_progress_ui::setClosedByHost()
{
    m_closedByHost = true;
    m_callback->revoke();
}

QString Dialog_progress_ui::eventText(int event, const void* data, int status)
{
    if (status != 0 && data)
        return hostText(data);
    return event == EVENT_SCAN_WORKING ? tr("Start scan...") : tr("Scan completed");
}

void Dialog_progress_ui::reportEvent(int event, const void* data, int status)
{
    switch (event) {
    case EVENT_SCAN_WORKING:
        emit scan_status(eventText(event, data, status), true);
        break;
    case EVENT_IMAGE_RECEIVED:
        emit image_recived();
        break;
    case EVENT_SCAN_FINISHED:
        emit scan_finish(status, eventText(event, data, status));
        break;
    default:
        break;
    }
}

void Dialog_progress_ui::applyEvent(int event, const void* data, int status, int images)
{
    switch (event) {
    case EVENT_SCAN_WORKING:
        on_scan_status(eventText(event, data, status), true);
        break;
    case EVENT_IMAGE_RECEIVED:
        addImages(images);
        break;
    case EVENT_SCAN_FINISHED:
        on_scan_finish(status, eventText(event, data, status));
        break;
    default:
        break;
    }
}

void Dialog_progress_ui::on_scan_status(const QString& text, bool scanning)
{
    // A new scan must not be cut short by the previous one's auto-close.
    if (scanning)
        m_timer->stop();
    m_scanning = scanning;
    ui->label_status->setText(text);
    ui->pbtn_cancelScan->setVisible(scanning);
    ui->pbtn_close->setVisible(!scanning);
}

void Dialog_progress_ui::on_image_recived()
{
    addImages(1);
}

void Dialog_progress_ui::addImages(int count)
{
    m_count += count;
    showCount(tr("image recived:") + QString::number(m_count));
}

void Dialog_progress_ui::on_scan_finish(int status, const QString& text)
{
    on_scan_status(text, false);
    showCount(tr("Total scanned images: %1").arg(m_count));
    m_count = 0;
    if (finishedWell(status)) {
        m_timer->start(kAutoCloseMs);
        connect(m_timer, &QTimer::timeout, this, &Dialog_progress_ui::on_pbtn_close_clicked,
                Qt::ConnectionType(Qt::QueuedConnection | Qt::UniqueConnection));
    }
}

void Dialog_progress_ui::showCount(const QString& text)
{
    ui->label_imageCount->setText(text);
    ui->label_imageCount->repaint();
    repaint();
}

void Dialog_progress_ui::on_pbtn_cancelScan_clicked()
{
    if (!m_scanning)
        return;
    // Stopping: a second press waits for the host's next scan event.
    m_scanning = false;
    if (!m_closedByHost) {
        releaseThread(m_cancelThread);
        m_cancelThread = startWorker(CancelScanThreadFunc);
    }
    ui->pbtn_cancelScan->hide();
    ui->label_status->setText(tr("stop scanning"));
}

void Dialog_progress_ui::on_pbtn_close_clicked()
{
    disconnect(m_timer, &QTimer::timeout, this, &Dialog_progress_ui::on_pbtn_close_clicked);
    if (!m_closedByHost) {
        releaseThread(m_closeThread);
        m_closeThread = startWorker(ThreadFunc);
    }
    close();
}

ZyThread Dialog_progress_ui::startWorker(ZyThreadProc body) const
{
    auto* callback = new shared_channel(m_callback);
    ZyThread thread = nullptr;
    if (ZyBase_OpenThread(body, callback, &thread) != 0) {
        delete callback;
        return nullptr;
    }
    return thread;
}

void Dialog_progress_ui::ThreadFunc(void* callback)
{
    const std::unique_ptr<shared_channel> channel(static_cast<shared_channel*>(callback));
    // Let the window go before the host hears of it.
    std::this_thread::sleep_for(kCloseResultDelay);
    (*channel)->send(UI_RESULT_CLOSE_NORMAL);
}

void Dialog_progress_ui::CancelScanThreadFunc(void* callback)
{
    const std::unique_ptr<shared_channel> channel(static_cast<shared_channel*>(callback));
    (*channel)->send(UI_RESULT_CANCEL_SCAN);
}

void Dialog_progress_ui::keyPressEvent(QKeyEvent* event)
{
    // No key closes it, not even Escape: only its buttons and the auto-close do.
    event->ignore();
}

void Dialog_progress_ui::closeEvent(QCloseEvent* event)
{
    // The title bar's close comes from the window system; the program's own closes proceed.
    if (event->spontaneous())
        event->ignore();
    else
        QDialog::closeEvent(event);
}
