// The driver's tone-curve record: what the tone-curve dialog edits, as the
// device and the schemes keep it. 1312 bytes: a 32-byte header, then five
// 256-byte tables in which byte i is the output for input level i.
//
//  offset  size  contents
//       0     1  selectors: bits 0-3 the preset, bits 4-7 the channel, as
//                setPicClrTool::setRgbAndColorType takes them
//       1     1  layout version, 1; a zeroed header (version 0) stores no key
//                points and means the identity for every channel
//       2     5  number of key points per channel, indexed by channel number
//                (0 RGB, 1 Gray, 2 Red, 3 Blue, 4 Green): 2 to 4, 0 = identity
//       7     1  reserved, 0
//       8    20  x of the key points: four slots per channel in channel-number
//                order, in the editor's list order (end points first); unused 0
//      28     4  reserved, 0
//      32  1024  colour tables, planes RGB, Red, Green, Blue (getRGBTable)
//    1056   256  gray table (getGrayTable)
//
// A key point's y is its channel's table at the point's x: a sampled curve
// passes exactly through its key points, so the header needs only the x.
// Records of another length are refused; a header that breaks these rules
// loads as the identity for the channels it breaks.
#ifndef TONECURVERECORD_H
#define TONECURVERECORD_H

#include <QList>
#include <QPoint>

#include <array>
#include <cstddef>

class setPicClrTool;

class ToneCurveRecord
{
public:
    static constexpr std::size_t HeaderSize = 32;
    static constexpr std::size_t TableSize = 256;
    static constexpr std::size_t Size = HeaderSize + 5 * TableSize;

    // A zeroed header and identity tables.
    ToneCurveRecord();

    // Takes a record read from the device or from a scheme; anything but
    // exactly Size bytes is refused and leaves the record as it was.
    bool assign(const void* bytes, std::size_t size);
    const unsigned char* data() const { return m_bytes.data(); }
    unsigned char* data() { return m_bytes.data(); }
    static constexpr std::size_t size() { return Size; }

    // Hands the selectors and all five channels' key points to the dialog.
    void loadInto(setPicClrTool& tool) const;
    // Takes selectors, key points and tables from the (accepted) dialog.
    void storeFrom(const setPicClrTool& tool);

    // The key points of a channel as stored; the identity when absent or broken.
    QList<QPoint> keyPoints(int channel) const;

    bool operator==(const ToneCurveRecord& other) const { return m_bytes == other.m_bytes; }

private:
    std::array<unsigned char, Size> m_bytes{};
};

#endif
