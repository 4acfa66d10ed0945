// Helpers shared by the files of zy_settingdialog: reading descriptors the way
// their type says, whatever the driver put in them.
#ifndef ZY_SETTINGDIALOG_P_H
#define ZY_SETTINGDIALOG_P_H

#include "sane_driver.h"

#include <lexipak.h>

#include <QString>
#include <QStringList>

#include <algorithm>
#include <cstring>
#include <vector>

namespace settings_ui {

// Longest list that is read from a descriptor, against a driver whose count
// word is garbage.
constexpr int kMaxListEntries = 65536;
// Highest option count taken from option 0.
constexpr SANE_Int kMaxOptions = 30000;
// The private tone-curve option. Its record is read and written through a
// zeroed buffer this large: a driver whose record is longer than ours then
// still reads and writes only our memory.
constexpr SANE_Int kToneCurveOption = SANE_PRIVATE_TONE_CURVE;
constexpr std::size_t kToneCurveBuffer = 4096;
// A fixed slider counts hundredths.
constexpr double kFixedToDouble = 1.0 / 65536.0;
constexpr double kSpinStep = 0.01;

inline bool name_is(const SANE_Option_Descriptor* d, const char* name)
{
    return d && d->name && std::strcmp(d->name, name) == 0;
}

// Whether a text the user sees means the driver's own (Simplified Chinese)
// text canonical, so that rules tied to a driver's texts hold for drivers that
// speak the user's language too.
inline bool means(const QString& text, const char* canonical)
{
    const QByteArray utf8 = text.toUtf8();
    const char* driverText = to_default_language(utf8.constData());
    return driverText && std::strcmp(driverText, canonical) == 0;
}

inline QString text_of(const char* text)
{
    return text ? QString::fromUtf8(text) : QString();
}

// A bool, int or fixed option of one word; arrays get no control.
inline bool holds_word(const SANE_Option_Descriptor* d)
{
    return d
        && (d->type == SANE_TYPE_BOOL || d->type == SANE_TYPE_INT || d->type == SANE_TYPE_FIXED)
        && d->size <= static_cast<SANE_Int>(sizeof(SANE_Word));
}

// An option that carries a value (not a button or a group).
inline bool holds_value(const SANE_Option_Descriptor* d)
{
    return d && d->type != SANE_TYPE_BUTTON && d->type != SANE_TYPE_GROUP;
}

// The constraint as its type says, and only when the driver gave one.
inline SANE_Constraint_Type constraint_of(const SANE_Option_Descriptor* d)
{
    if (!d)
        return SANE_CONSTRAINT_NONE;
    switch (d->constraint_type) {
    case SANE_CONSTRAINT_RANGE:
        return d->constraint.range ? SANE_CONSTRAINT_RANGE : SANE_CONSTRAINT_NONE;
    case SANE_CONSTRAINT_WORD_LIST:
        return d->constraint.word_list ? SANE_CONSTRAINT_WORD_LIST : SANE_CONSTRAINT_NONE;
    case SANE_CONSTRAINT_STRING_LIST:
        return d->constraint.string_list ? SANE_CONSTRAINT_STRING_LIST : SANE_CONSTRAINT_NONE;
    default:
        return SANE_CONSTRAINT_NONE;
    }
}

// The words of a word-list constraint (without the leading count).
inline std::vector<SANE_Word> word_list(const SANE_Option_Descriptor* d)
{
    std::vector<SANE_Word> words;
    if (constraint_of(d) != SANE_CONSTRAINT_WORD_LIST)
        return words;
    const SANE_Word count = std::min<SANE_Word>(d->constraint.word_list[0], kMaxListEntries);
    for (SANE_Word i = 1; i <= count; ++i)
        words.push_back(d->constraint.word_list[i]);
    return words;
}

inline QStringList string_list(const SANE_Option_Descriptor* d)
{
    QStringList list;
    if (constraint_of(d) != SANE_CONSTRAINT_STRING_LIST)
        return list;
    for (int i = 0; i < kMaxListEntries && d->constraint.string_list[i]; ++i)
        list << QString::fromUtf8(d->constraint.string_list[i]);
    return list;
}

struct word_range
{
    SANE_Word min;
    SANE_Word max;
};

// An int without constraint is offered from 1 to 1000, a fixed one from -1000
// to 1000, each widened to hold the current value.
constexpr word_range kIntNoneRange{1, 1000};
constexpr word_range kFixedNoneRange{-1000 * 65536, 1000 * 65536};

// A fixed value as a slider position: the slider counts hundredths.
inline int hundredths(SANE_Word fixed)
{
    return static_cast<int>(fixed * kFixedToDouble * 100);
}

// The range a slider or spin box offers: the range constraint, else the
// smallest and largest word of a list, else fallback widened to hold value.
inline word_range range_of(const SANE_Option_Descriptor* d, SANE_Word value, word_range fallback)
{
    switch (constraint_of(d)) {
    case SANE_CONSTRAINT_RANGE:
        if (d->constraint.range->min <= d->constraint.range->max)
            return {d->constraint.range->min, d->constraint.range->max};
        break;
    case SANE_CONSTRAINT_WORD_LIST: {
        const std::vector<SANE_Word> words = word_list(d);
        if (!words.empty()) {
            const auto [lo, hi] = std::minmax_element(words.begin(), words.end());
            return {*lo, *hi};
        }
        break;
    }
    default:
        break;
    }
    return {std::min(fallback.min, value), std::max(fallback.max, value)};
}

// A string value copied into buffer: at most the option's size less its
// terminator, cut at a character boundary, so that no driver reads past it.
inline void copy_text(const QByteArray& utf8, const SANE_Option_Descriptor& d, sane_value& buffer)
{
    std::size_t room = d.size > 1 ? static_cast<std::size_t>(d.size) - 1 : 0;
    room = std::min<std::size_t>(room, buffer.size() - 1);
    std::size_t n = std::min<std::size_t>(room, static_cast<std::size_t>(utf8.size()));
    // Do not split a UTF-8 sequence: back up over continuation bytes.
    if (n < static_cast<std::size_t>(utf8.size()))
        while (n > 0 && (static_cast<unsigned char>(utf8[int(n)]) & 0xC0) == 0x80)
            --n;
    std::memcpy(buffer.data(), utf8.constData(), n);
}

} // namespace settings_ui

#endif
