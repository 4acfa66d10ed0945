#include "tonecurverecord.h"

#include "setpicclrtool.h"
#include "widget.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t kSelectors = 0;
constexpr std::size_t kVersion = 1;
constexpr std::size_t kCounts = 2;
constexpr std::size_t kXs = 8;
constexpr unsigned char kLayoutVersion = 1;
constexpr int kSlots = 4;
constexpr std::size_t kColourTables = ToneCurveRecord::HeaderSize;
constexpr std::size_t kGrayTable = kColourTables + 4 * ToneCurveRecord::TableSize;

// Where each channel's table lies in the record.
std::size_t tableOffset(int channel)
{
    switch (channel) {
    case Widget::ChannelGray:
        return kGrayTable;
    case Widget::ChannelRed:
        return kColourTables + 1 * ToneCurveRecord::TableSize;
    case Widget::ChannelGreen:
        return kColourTables + 2 * ToneCurveRecord::TableSize;
    case Widget::ChannelBlue:
        return kColourTables + 3 * ToneCurveRecord::TableSize;
    default:
        return kColourTables;
    }
}

QList<QPoint> identity()
{
    return {QPoint(0, 0), QPoint(255, 255)};
}

} // namespace

ToneCurveRecord::ToneCurveRecord()
{
    for (std::size_t table = 0; table < 5; ++table) {
        for (std::size_t level = 0; level < TableSize; ++level)
            m_bytes[HeaderSize + table * TableSize + level] = static_cast<unsigned char>(level);
    }
}

bool ToneCurveRecord::assign(const void* bytes, std::size_t size)
{
    if (!bytes || size != Size)
        return false;
    std::memcpy(m_bytes.data(), bytes, Size);
    return true;
}

QList<QPoint> ToneCurveRecord::keyPoints(int channel) const
{
    if (channel < 0 || channel >= Widget::ChannelCount || m_bytes[kVersion] != kLayoutVersion)
        return identity();
    const int count = m_bytes[kCounts + channel];
    if (count < 2 || count > kSlots)
        return identity();
    const unsigned char* table = m_bytes.data() + tableOffset(channel);
    QList<QPoint> points;
    for (int i = 0; i < count; ++i) {
        const int x = m_bytes[kXs + channel * kSlots + i];
        points.append(QPoint(x, table[x]));
    }
    return Widget::isValidKeyList(points) ? points : identity();
}

void ToneCurveRecord::loadInto(setPicClrTool& tool) const
{
    // Selecting a preset rewrites the curves, so the stored points come after it.
    const unsigned char selectors = m_bytes[kSelectors];
    tool.setRgbAndColorType(selectors & 0x0F, selectors >> 4);
    QVector<QList<QPoint>> colour = {keyPoints(Widget::ChannelRgb), keyPoints(Widget::ChannelRed),
                                     keyPoints(Widget::ChannelGreen), keyPoints(Widget::ChannelBlue)};
    tool.setRGBKeyTable(colour);
    QList<QPoint> gray = keyPoints(Widget::ChannelGray);
    tool.setGrayKeyTable(gray);
}

void ToneCurveRecord::storeFrom(const setPicClrTool& tool)
{
    std::fill_n(m_bytes.begin(), HeaderSize, 0);
    const QVector<int> selectors = tool.getRgbAndColorType();
    m_bytes[kSelectors] = static_cast<unsigned char>((selectors.value(0) & 0x0F) | (selectors.value(1) & 0x0F) << 4);
    m_bytes[kVersion] = kLayoutVersion;

    const QVector<QList<QPoint>> colour = tool.getRGBKeyTable();
    const QList<QPoint> lists[Widget::ChannelCount] = {colour.value(0), tool.getGrayKeyTable(), colour.value(1),
                                                       colour.value(3), colour.value(2)};
    for (int channel = 0; channel < Widget::ChannelCount; ++channel) {
        const QList<QPoint>& points = lists[channel];
        if (!Widget::isValidKeyList(points))
            continue;
        m_bytes[kCounts + channel] = static_cast<unsigned char>(points.size());
        for (int i = 0; i < points.size(); ++i)
            m_bytes[kXs + channel * kSlots + i] = static_cast<unsigned char>(points[i].x());
    }

    tool.getRGBTable(m_bytes.data() + kColourTables, 4 * TableSize);
    tool.getGrayTable(m_bytes.data() + kGrayTable, TableSize);
}
