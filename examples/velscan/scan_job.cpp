#include "scan_job.h"

#include <QImage>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t kReadChunk = 64 * 1024;
// A page with fewer dark pixels than this share is taken for a blank sheet.
constexpr double kBlankDarkShare = 0.005;

// The first (or only) sample of pixel x in row, as 8 bits; 1-bit lineart is 1 for black.
int sample(const unsigned char* row, int x, const SANE_Parameters& p, int channel)
{
    const int channels = p.format == SANE_FRAME_RGB ? 3 : 1;
    switch (p.depth) {
    case 1:
        return (row[x / 8] >> (7 - x % 8)) & 1 ? 0 : 255;
    case 16: {
        uint16_t value = 0;
        std::memcpy(&value, row + 2 * (x * channels + channel), 2);
        return value >> 8;
    }
    default:
        return row[x * channels + channel];
    }
}

bool looksBlank(const std::vector<unsigned char>& data, const SANE_Parameters& p)
{
    long dark = 0;
    const long pixels = long(p.pixels_per_line) * p.lines;
    for (int y = 0; y < p.lines; ++y) {
        const unsigned char* row = data.data() + std::size_t(y) * p.bytes_per_line;
        for (int x = 0; x < p.pixels_per_line; ++x) {
            const int level = p.format == SANE_FRAME_RGB
                ? (sample(row, x, p, 0) * 30 + sample(row, x, p, 1) * 59 + sample(row, x, p, 2) * 11) / 100
                : sample(row, x, p, 0);
            dark += level < 200;
        }
    }
    return pixels > 0 && dark < pixels * kBlankDarkShare;
}

} // namespace

ScanJob::ScanJob(const _sane_api& api, SANE_Handle handle, std::string outDir, Hooks hooks)
    : m_api(api)
    , m_handle(handle)
    , m_outDir(std::move(outDir))
    , m_hooks(std::move(hooks))
{
}

ScanJob::~ScanJob()
{
    cancel();
    if (m_thread.joinable())
        m_thread.join();
}

void ScanJob::start(bool feeder)
{
    m_thread = std::thread([this, feeder] { run(feeder); });
}

void ScanJob::cancel()
{
    // SANE lets sane_cancel come from another thread to stop a running read.
    if (!m_cancelled.exchange(true) && m_thread.joinable() && !m_finished)
        m_api.sane_cancel(m_handle);
}

void ScanJob::run(bool feeder)
{
    SANE_Status status = SANE_STATUS_GOOD;
    for (int page = 1; !m_cancelled; ++page) {
        const std::string text = "Scanning page " + std::to_string(page);
        m_hooks.event(EVENT_SCAN_WORKING, const_cast<char*>(text.c_str()), 1);
        if (m_hooks.beforePage)
            m_hooks.beforePage(page);
        SANE_Parameters params{};
        status = readPage(params);
        if (status != SANE_STATUS_GOOD)
            break;
        m_hooks.event(EVENT_IMAGE_RECEIVED, nullptr, 0);

        SANE_Image image{};
        image.header = params;
        image.data = m_page.data();
        if (looksBlank(m_page, params) && !m_hooks.keep(&image))
            ++m_dropped;
        else if (save(params, page))
            ++m_written;
        if (!feeder)
            break;
    }
    m_api.sane_cancel(m_handle); // ends the batch
    if (m_cancelled)
        status = SANE_STATUS_CANCELLED;

    std::string text;
    int code = 0; // the progress dialog closes itself after a good scan
    if (status == SANE_STATUS_CANCELLED) {
        code = status;
        text = "Scan cancelled: " + std::to_string(m_written) + " page(s) kept";
    } else if (status != SANE_STATUS_GOOD && status != SANE_STATUS_EOF
               && status != SANE_STATUS_NO_DOCS) {
        code = status;
        text = std::string("Scan failed: ") + m_api.sane_strstatus(status);
    }
    m_finished = true;
    m_hooks.event(EVENT_SCAN_FINISHED, code ? const_cast<char*>(text.c_str()) : nullptr, code);
}

SANE_Status ScanJob::readPage(SANE_Parameters& params)
{
    SANE_Status status = m_api.sane_start(m_handle);
    if (status != SANE_STATUS_GOOD)
        return status;
    status = m_api.sane_get_parameters(m_handle, &params);
    if (status != SANE_STATUS_GOOD)
        return status;
    if ((params.format != SANE_FRAME_GRAY && params.format != SANE_FRAME_RGB)
        || params.bytes_per_line <= 0)
        return SANE_STATUS_UNSUPPORTED; // three-pass colour is not for this example

    m_page.clear();
    if (params.lines > 0)
        m_page.reserve(std::size_t(params.bytes_per_line) * params.lines);
    std::vector<SANE_Byte> chunk(kReadChunk);
    SANE_Int length = 0;
    while ((status = m_api.sane_read(m_handle, chunk.data(), SANE_Int(chunk.size()), &length))
           == SANE_STATUS_GOOD)
        m_page.insert(m_page.end(), chunk.begin(), chunk.begin() + length);
    if (status != SANE_STATUS_EOF)
        return status;
    // Hand scanners do not know their length in advance.
    params.lines = int(m_page.size() / std::size_t(params.bytes_per_line));
    return params.lines > 0 ? SANE_STATUS_GOOD : SANE_STATUS_IO_ERROR;
}

bool ScanJob::save(const SANE_Parameters& p, int page) const
{
    const bool rgb = p.format == SANE_FRAME_RGB;
    QImage image(p.pixels_per_line, p.lines, rgb ? QImage::Format_RGB888 : QImage::Format_Grayscale8);
    for (int y = 0; y < p.lines; ++y) {
        const unsigned char* row = m_page.data() + std::size_t(y) * p.bytes_per_line;
        unsigned char* out = image.scanLine(y);
        for (int x = 0; x < p.pixels_per_line; ++x)
            for (int c = 0; c < (rgb ? 3 : 1); ++c)
                out[x * (rgb ? 3 : 1) + c] = static_cast<unsigned char>(sample(row, x, p, c));
    }
    char name[32];
    std::snprintf(name, sizeof(name), "/page-%03d.png", page);
    return image.save(QString::fromStdString(m_outDir + name), "PNG");
}
