// The window shown while a scan runs: a status line, the number of images
// received, Cancel while scanning and Close afterwards. The host reports scan
// events from its own threads; widgets are only touched on the dialog's thread.
#ifndef DIALOG_PROGRESS_UI_H
#define DIALOG_PROGRESS_UI_H

#include <veltwainui/twainui.h>
#include <ZyBase.h>

#include <QDialog>

#include <memory>
#include <mutex>

namespace Ui {
class Dialog_progress_ui;
}
class QTimer;

// The host's result callback, shared with the workers that deliver results so
// that a close by the host also silences results already on their way.
class ProgressResultChannel
{
public:
    explicit ProgressResultChannel(ui_result_callback callback);
    void send(ui_result result) const;
    void revoke();

private:
    mutable std::mutex m_mutex;
    ui_result_callback m_callback;
};

class Dialog_progress_ui : public QDialog
{
    Q_OBJECT

public:
    explicit Dialog_progress_ui(ui_result_callback callback, QWidget* owner = nullptr);
    ~Dialog_progress_ui() override;

    // The host closes the dialog itself: no result is sent from now on.
    void setClosedByHost();

    // One scan event (8 scanning, 10 image received, 12 finished; others are
    // ignored), callable from any thread while the dialog exists. data is a
    // UTF-8 text or null and is read during the call only.
    void reportEvent(int event, const void* data, int status);

    // The same on the dialog's thread, acted on at once; event 10 counts images.
    void applyEvent(int event, const void* data, int status, int images = 1);

    // The handler stored into the host's event wrapper: hands the event to the
    // manager, which passes it to the dialog open when it arrives, if any.
    // Defined with the manager.
    static void FuncNotify(int event, void* data, int status);

signals:
    void scan_status(QString text, bool scanning);
    void scan_finish(int status, QString text);
    void image_recived();

private slots:
    void on_pbtn_cancelScan_clicked();
    void on_pbtn_close_clicked();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    // Reached through queued connections only, so not slots: the form's
    // connection by name would look for children called "scan" and "image".
    void on_scan_status(const QString& text, bool scanning);
    void on_scan_finish(int status, const QString& text);
    void on_image_recived();

    void addImages(int count);
    void showCount(const QString& text);
    static QString eventText(int event, const void* data, int status);
    // Worker bodies: the result goes to the host off the UI thread, so that a
    // host blocking in its callback cannot freeze the window.
    static void ThreadFunc(void* callback);
    static void CancelScanThreadFunc(void* callback);
    ZyThread startWorker(ZyThreadProc body) const;

    bool m_closedByHost = false;
    std::unique_ptr<Ui::Dialog_progress_ui> ui;
    int m_count = 0;
    std::shared_ptr<ProgressResultChannel> m_callback;
    QTimer* m_timer = nullptr;
    bool m_scanning = false;
    ZyThread m_closeThread = nullptr;
    ZyThread m_cancelThread = nullptr;
};

#endif
