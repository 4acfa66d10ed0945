// gb::base64: encoding rules, round trips across alphabets and line lengths,
// and input that is not base64 at all.
#include "config_test_support.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

const char kStandard[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
const char kUrlSafe[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
// Contains "=" but not "!": the padding becomes "!".
const char kWithEquals[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789=/";
// Contains "=" and "!": the first free character from '"' on is '"' itself.
const char kWithBoth[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz01234567!=+/";

std::string encode(const gb::base64& codec, const std::string& data, unsigned int line = -1,
                   bool padding = true)
{
    return codec.encode(data.data(), data.size(), line, padding);
}

std::string decode(const gb::base64& codec, const std::string& text)
{
    return codec.decode(text.data(), text.size());
}

} // namespace

TEST(Base64, KnownEncodingsAndLineBreaks)
{
    const struct {
        std::string data;
        unsigned int line;
        bool padding;
        const char* text;
    } rows[] = {
        {"a", -1u, true, "YQ=="},
        {"a", -1u, false, "YQ"},
        {"ab", -1u, true, "YWI="},
        {"ab", -1u, false, "YWI"},
        {"", -1u, true, ""},
        {std::string("\0\xff", 2), -1u, true, "AP8="},
        {"abc", 4, true, "YWJj\r\n"},
        // The tail does not count toward the line length; below four, no breaks at all.
        {"abcdefghi", 8, true, "YWJjZGVm\r\nZ2hp"},
        {"abcdefghijk", 8, true, "YWJjZGVm\r\nZ2hpams="},
        {"abcdef", 3, true, "YWJjZGVm"},
        {"abcdef", 0, true, "YWJjZGVm"},
    };
    const gb::base64 codec;
    for (const auto& row : rows)
        EXPECT_EQ(encode(codec, row.data, row.line, row.padding), row.text) << row.data << " " << row.line;
    EXPECT_EQ(codec.encode(nullptr, 5), "");
}

TEST(Base64, DecodingIsLenient)
{
    std::string high;
    for (int c = 128; c < 256; ++c)
        high += char(c);
    const std::pair<std::string, std::string> rows[] = {
        {"YQ==", "a"},
        {"YQ", "a"},
        {"Y", "\x60"},
        {"YW\r\nJj", "abc"},
        {"YWJj=ZGVm", "abc"},
        {"====", ""},
        // Characters outside the alphabet count as 0, bytes past 127 too.
        {"#$%&", std::string(3, '\0')},
        {high, std::string(96, '\0')},
        {std::string("\x80Q\xffQ", 4), std::string("\x01\x00\x10", 3)},
    };
    const gb::base64 codec;
    for (const auto& [text, data] : rows)
        EXPECT_EQ(decode(codec, text), data) << text;
    EXPECT_EQ(codec.decode(nullptr, 4), "");

    // The length is a signed 32-bit number.
    const char text[] = "YWJj";
    EXPECT_EQ(codec.decode(text, size_t(1) << 32), "");
    EXPECT_EQ(codec.decode(text, size_t(0x80000000u)), "");
    EXPECT_EQ(codec.decode(text, (size_t(1) << 32) + 4), "abc");
}

TEST(Base64, RoundTripsAcrossAlphabetsAndLineLengths)
{
    std::mt19937 random(7);
    std::string data;
    for (int i = 0; i < 301; ++i)
        data += static_cast<char>(random() & 0xFF);

    for (const char* alphabet : {kStandard, kUrlSafe, kWithEquals, kWithBoth}) {
        gb::base64 codec;
        ASSERT_TRUE(codec.set_base64_table(alphabet));
        for (unsigned int line : {unsigned(-1), 0u, 3u, 4u, 5u, 8u, 76u}) {
            for (bool padding : {true, false}) {
                for (size_t size : {0, 1, 2, 3, 4, 5, 57, 300, 301}) {
                    const std::string part = data.substr(0, size);
                    ASSERT_EQ(decode(codec, encode(codec, part, line, padding)), part)
                        << alphabet << " line " << line << " size " << size;
                }
            }
        }
    }
}

TEST(Base64, AlphabetsChooseThePaddingAndBadOnesAreRefused)
{
    gb::base64 codec;
    ASSERT_TRUE(codec.set_base64_table(kWithEquals));
    EXPECT_EQ(encode(codec, "a"), "YQ!!");
    ASSERT_TRUE(codec.set_base64_table(kWithBoth));
    EXPECT_EQ(encode(codec, "a"), "YQ\"\"");
    ASSERT_TRUE(codec.set_base64_table(kUrlSafe));
    EXPECT_EQ(encode(codec, "\xfb\xff"), "-_8=");

    std::string repeated(kStandard);
    repeated[10] = 'A';
    std::string eightBit(kStandard);
    eightBit[5] = '\xe9';
    for (const std::string& bad : {repeated, eightBit}) {
        EXPECT_FALSE(gb::base64::is_valid_base64_table(bad.c_str())) << bad;
        EXPECT_FALSE(codec.set_base64_table(bad.c_str())) << bad;
    }
    EXPECT_EQ(encode(codec, "\xfb\xff"), "-_8=");
    // A repeat past the 64th character counts as well.
    EXPECT_FALSE(gb::base64::is_valid_base64_table((std::string(kUrlSafe) + "A").c_str()));
    EXPECT_FALSE(gb::base64::is_valid_base64_table(nullptr));

    // A short table brings back the default; with the default in force it is refused.
    EXPECT_TRUE(codec.set_base64_table("ABC"));
    EXPECT_EQ(encode(codec, "\xfb\xff"), "+/8=");
    EXPECT_FALSE(codec.set_base64_table("ABC"));
    ASSERT_TRUE(codec.set_base64_table(kUrlSafe));
    EXPECT_TRUE(codec.set_base64_table(nullptr));
    EXPECT_EQ(encode(codec, "a"), "YQ==");
}
