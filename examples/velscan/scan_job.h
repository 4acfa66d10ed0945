// Scans pages from an open SANE device on a thread of its own, writes each as
// a PNG, reports to the progress dialog through the library's event handler
// and asks about pages that look blank.
#ifndef VELSCAN_SCAN_JOB_H
#define VELSCAN_SCAN_JOB_H

#include <veltwainui/twainui.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>

class ScanJob
{
public:
    struct Hooks {
        ui_event_callback event;                // the progress dialog's handler
        std::function<bool(SANE_Image*)> keep;  // asked for a page that looks blank
        std::function<void(int)> beforePage;    // page number from 1, before it starts
    };

    ScanJob(const _sane_api& api, SANE_Handle handle, std::string outDir, Hooks hooks);
    ~ScanJob(); // waits for the scan to end
    ScanJob(const ScanJob&) = delete;
    ScanJob& operator=(const ScanJob&) = delete;

    // Scans until the feeder is empty, or one page when feeder is false.
    void start(bool feeder);
    // From any thread: stops the scan at the next read.
    void cancel();

    bool finished() const { return m_finished; }
    int written() const { return m_written; }
    int dropped() const { return m_dropped; }

private:
    void run(bool feeder);
    // One page into m_page; SANE_STATUS_EOF when the feeder is empty.
    SANE_Status readPage(SANE_Parameters& params);
    bool save(const SANE_Parameters& params, int page) const;

    const _sane_api m_api;
    const SANE_Handle m_handle;
    const std::string m_outDir;
    const Hooks m_hooks;
    std::vector<unsigned char> m_page;
    std::atomic<bool> m_cancelled{false};
    std::atomic<bool> m_finished{false};
    std::atomic<int> m_written{0};
    std::atomic<int> m_dropped{0};
    std::thread m_thread;
};

#endif
