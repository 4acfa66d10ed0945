#include "gb_json.h"

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

constexpr char kDefaultAlphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

} // namespace

namespace gb {

base64::base64()
{
    base64_str_[0] = '\0';
    initialize_base64_table(kDefaultAlphabet);
}

bool base64::set_base64_table(const char* table)
{
    return initialize_base64_table(table ? table : kDefaultAlphabet);
}

bool base64::is_valid_base64_table(const char* table)
{
    if (!table || strlen(table) < 64)
        return false;
    for (int i = 0; i < 64; ++i) {
        // The reverse table has 128 entries.
        if (static_cast<unsigned char>(table[i]) >= 128)
            return false;
    }
    for (int i = 0; i < 63; ++i) {
        if (strchr(table + i + 1, table[i]))
            return false;
    }
    return true;
}

bool base64::initialize_base64_table(const char* table)
{
    if (table && strlen(table) >= 64) {
        if (strncmp(table, base64_str_, 64) == 0)
            return true;
        if (!is_valid_base64_table(table))
            return false;
        memcpy(base64_str_, table, 64);
        base64_str_[64] = '\0';
    } else {
        if (strcmp(base64_str_, kDefaultAlphabet) == 0)
            return table == nullptr;
        memcpy(base64_str_, kDefaultAlphabet, sizeof(kDefaultAlphabet));
    }

    memset(base64_ind_, 0, sizeof(base64_ind_));
    for (int i = 0; i < 64; ++i)
        base64_ind_[static_cast<unsigned char>(base64_str_[i])] = static_cast<signed char>(i);

    // An entry of 0 means absent or the alphabet's first character; both are
    // accepted as padding, deliberately.
    for (const char candidate : {'=', '!'}) {
        if (base64_ind_[static_cast<unsigned char>(candidate)] == 0) {
            padding_char_ = candidate;
            return true;
        }
    }
    for (int candidate = '"'; candidate <= '}'; ++candidate) {
        if (base64_ind_[candidate] == 0) {
            padding_char_ = static_cast<char>(candidate);
            return true;
        }
    }
    return false;
}

std::string base64::encode(const char* data, size_t bytes, unsigned int line_bytes,
                           bool need_padding) const
{
    std::string out;
    if (!data || bytes == 0)
        return out;
    const bool breaks = line_bytes >= 4 && line_bytes != UINT_MAX;
    const size_t groups = bytes / 3;
    out.reserve(groups * (breaks ? 6 : 4) + 4);

    const unsigned char* in = reinterpret_cast<const unsigned char*>(data);
    size_t line = 0;
    for (size_t g = 0; g < groups; ++g, in += 3) {
        const uint32_t v = uint32_t(in[0]) << 16 | uint32_t(in[1]) << 8 | in[2];
        out += base64_str_[v >> 18 & 63];
        out += base64_str_[v >> 12 & 63];
        out += base64_str_[v >> 6 & 63];
        out += base64_str_[v & 63];
        line += 4;
        if (breaks && line > line_bytes - 4) {
            out += "\r\n";
            line = 0;
        }
    }

    const size_t rest = bytes % 3;
    if (rest == 1) {
        const uint32_t v = uint32_t(in[0]) << 16;
        out += base64_str_[v >> 18 & 63];
        out += base64_str_[v >> 12 & 63];
        if (need_padding)
            out.append(2, padding_char_);
    } else if (rest == 2) {
        const uint32_t v = uint32_t(in[0]) << 16 | uint32_t(in[1]) << 8;
        out += base64_str_[v >> 18 & 63];
        out += base64_str_[v >> 12 & 63];
        out += base64_str_[v >> 6 & 63];
        if (need_padding)
            out += padding_char_;
    }
    return out;
}

std::string base64::decode(const char* data, size_t bytes) const
{
    // The length is a signed 32-bit number; what wraps to 0 or below is empty.
    const int32_t length = static_cast<int32_t>(static_cast<uint32_t>(bytes));
    std::string out;
    if (!data || length <= 0)
        return out;
    out.reserve(size_t(length) / 4 * 3 + 2);

    const unsigned char* in = reinterpret_cast<const unsigned char*>(data);
    const unsigned char padding = static_cast<unsigned char>(padding_char_);
    uint32_t acc = 0;
    int pending = 0;
    for (int32_t i = 0; i < length; ++i) {
        const unsigned char ch = in[i];
        if (ch == '\r' || ch == '\n')
            continue;
        if (ch == padding)
            break;
        const uint32_t value = ch < 128 ? uint32_t(base64_ind_[ch]) : 0;
        acc |= value << (18 - 6 * pending);
        if (++pending == 4) {
            out += static_cast<char>(acc >> 16);
            out += static_cast<char>(acc >> 8);
            out += static_cast<char>(acc);
            acc = 0;
            pending = 0;
        }
    }
    if (pending == 1 || pending == 2) {
        out += static_cast<char>(acc >> 16);
    } else if (pending == 3) {
        out += static_cast<char>(acc >> 16);
        out += static_cast<char>(acc >> 8);
    }
    return out;
}

} // namespace gb
