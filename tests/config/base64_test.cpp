// gb::base64: encoding rules, round trips across alphabets and line lengths,
// and input that is not base64 at all.
#include "config_test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
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

TEST(Base64, KnownEncodings)
{
    const gb::base64 codec;
    EXPECT_EQ(encode(codec, "a"), "YQ==");
    EXPECT_EQ(encode(codec, "a", -1, false), "YQ");
    EXPECT_EQ(encode(codec, "ab"), "YWI=");
    EXPECT_EQ(encode(codec, "ab", -1, false), "YWI");
    EXPECT_EQ(encode(codec, "abc"), "YWJj");
    EXPECT_EQ(encode(codec, ""), "");
    EXPECT_EQ(encode(codec, std::string("\0\xff", 2)), "AP8=");
    EXPECT_EQ(codec.encode(nullptr, 5), "");
}

TEST(Base64, LineBreaksFollowTheLineLength)
{
    const gb::base64 codec;
    EXPECT_EQ(encode(codec, "abc", 4), "YWJj\r\n");
    // Eight characters a line; the tail does not count toward the length.
    EXPECT_EQ(encode(codec, "abcdefghi", 8), "YWJjZGVm\r\nZ2hp");
    EXPECT_EQ(encode(codec, "abcdefghijk", 8), "YWJjZGVm\r\nZ2hpams=");
    // Below four, no breaks at all.
    EXPECT_EQ(encode(codec, "abcdef", 3), "YWJjZGVm");
    EXPECT_EQ(encode(codec, "abcdef", 0), "YWJjZGVm");
}

TEST(Base64, DecodingIsLenient)
{
    const gb::base64 codec;
    EXPECT_EQ(decode(codec, "YQ=="), "a");
    EXPECT_EQ(decode(codec, "YQ"), "a");
    EXPECT_EQ(decode(codec, "Y"), std::string("\x60", 1));
    EXPECT_EQ(decode(codec, "YW\r\nJj"), "abc");
    EXPECT_EQ(decode(codec, "YWJj=ZGVm"), "abc");
    EXPECT_EQ(decode(codec, ""), "");
    EXPECT_EQ(decode(codec, "===="), "");
    EXPECT_EQ(codec.decode(nullptr, 4), "");
    // Characters outside the alphabet count as 0.
    EXPECT_EQ(decode(codec, "#$%&"), std::string(3, '\0'));
}

TEST(Base64, BytesOutsideTheTableDecodeAsZero)
{
    const gb::base64 codec;
    std::string high;
    for (int c = 128; c < 256; ++c)
        high += static_cast<char>(c);
    const std::string out = decode(codec, high);
    EXPECT_EQ(out, std::string(96, '\0'));

    // Mixed with valid characters: only their values remain.
    const std::string mixed = std::string("\x80Q\xffQ", 4);
    EXPECT_EQ(decode(codec, mixed), decode(codec, "AQAQ"));
}

TEST(Base64, LengthIsASigned32BitNumber)
{
    const gb::base64 codec;
    const char text[] = "YWJj";
    EXPECT_EQ(codec.decode(text, size_t(1) << 32), "");
    EXPECT_EQ(codec.decode(text, size_t(0x80000000u)), "");
    EXPECT_EQ(codec.decode(text, size_t(0xFFFFFFFFu)), "");
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
                    const std::string text = encode(codec, part, line, padding);
                    ASSERT_EQ(decode(codec, text), part)
                        << alphabet << " line " << line << " size " << size;
                }
            }
        }
    }
}

TEST(Base64, PaddingCharacterFollowsTheAlphabet)
{
    gb::base64 codec;
    ASSERT_TRUE(codec.set_base64_table(kWithEquals));
    EXPECT_EQ(encode(codec, "a"), "YQ!!");
    ASSERT_TRUE(codec.set_base64_table(kWithBoth));
    EXPECT_EQ(encode(codec, "a"), "YQ\"\"");
    ASSERT_TRUE(codec.set_base64_table(nullptr));
    EXPECT_EQ(encode(codec, "a"), "YQ==");
}

TEST(Base64, BadAlphabetsAreRefused)
{
    gb::base64 codec;
    ASSERT_TRUE(codec.set_base64_table(kUrlSafe));
    const std::string before = encode(codec, "\xfb\xff");

    std::string repeated(kStandard);
    repeated[10] = 'A';
    EXPECT_FALSE(gb::base64::is_valid_base64_table(repeated.c_str()));
    EXPECT_FALSE(codec.set_base64_table(repeated.c_str()));
    // A repeat past the 64th character counts as well.
    EXPECT_FALSE(gb::base64::is_valid_base64_table((std::string(kUrlSafe) + "A").c_str()));
    std::string eightBit(kStandard);
    eightBit[5] = '\xe9';
    EXPECT_FALSE(codec.set_base64_table(eightBit.c_str()));
    EXPECT_EQ(encode(codec, "\xfb\xff"), before);
    EXPECT_EQ(before, "-_8=");

    // A short table brings back the default; with the default in force it is
    // refused.
    EXPECT_TRUE(codec.set_base64_table("ABC"));
    EXPECT_EQ(encode(codec, "\xfb\xff"), "+/8=");
    EXPECT_FALSE(codec.set_base64_table("ABC"));
    EXPECT_TRUE(codec.set_base64_table(nullptr));
    EXPECT_FALSE(gb::base64::is_valid_base64_table(nullptr));
    EXPECT_TRUE(gb::base64::is_valid_base64_table(kStandard));
}
