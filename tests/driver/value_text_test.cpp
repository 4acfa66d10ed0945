// Option values as the dialogs show and log them.
#include "sane_driver.h"
#include "test_support.h"

#include <climits>

namespace {

std::string word_text(SANE_Word word, SANE_Value_Type type)
{
    return sane_val_to_string(reinterpret_cast<const char*>(&word), type);
}

} // namespace

TEST(SaneValToString, BoolIsTrueOnlyForExactlyOne)
{
    EXPECT_EQ(word_text(1, SANE_TYPE_BOOL), "true");
    EXPECT_EQ(word_text(0, SANE_TYPE_BOOL), "false");
    EXPECT_EQ(word_text(2, SANE_TYPE_BOOL), "false");
    EXPECT_EQ(word_text(-1, SANE_TYPE_BOOL), "false");
    EXPECT_EQ(word_text(0x101, SANE_TYPE_BOOL), "false");
}

TEST(SaneValToString, IntegersInDecimal)
{
    EXPECT_EQ(word_text(300, SANE_TYPE_INT), "300");
    EXPECT_EQ(word_text(-42, SANE_TYPE_INT), "-42");
    EXPECT_EQ(word_text(INT_MIN, SANE_TYPE_INT), "-2147483648");
    EXPECT_EQ(word_text(INT_MAX, SANE_TYPE_INT), "2147483647");
}

TEST(SaneValToString, FixedWithFourDecimals)
{
    EXPECT_EQ(word_text(98304, SANE_TYPE_FIXED), "1.5000");
    EXPECT_EQ(word_text(-98304, SANE_TYPE_FIXED), "-1.5000");
    EXPECT_EQ(word_text(SANE_FIX(210.0), SANE_TYPE_FIXED), "210.0000");
    EXPECT_EQ(word_text(0, SANE_TYPE_FIXED), "0.0000");
    EXPECT_EQ(word_text(1, SANE_TYPE_FIXED), "0.0000");
    EXPECT_EQ(word_text(808714, SANE_TYPE_FIXED), "12.3400");
    EXPECT_EQ(word_text(INT_MIN, SANE_TYPE_FIXED), "-32768.0000");
}

TEST(SaneValToString, OtherTypesReadAsText)
{
    const char colour[] = "彩色";
    EXPECT_EQ(sane_val_to_string(colour, SANE_TYPE_STRING), "彩色");
    EXPECT_EQ(sane_val_to_string("A4\0garbage", SANE_TYPE_STRING), "A4");
    EXPECT_EQ(sane_val_to_string("", SANE_TYPE_STRING), "");
    EXPECT_EQ(sane_val_to_string("odd", static_cast<SANE_Value_Type>(99)), "odd");
    EXPECT_EQ(sane_val_to_string("press", SANE_TYPE_BUTTON), "press");
}

TEST(SaneValToString, NullValueIsEmpty)
{
    EXPECT_EQ(sane_val_to_string(nullptr, SANE_TYPE_INT), "");
    EXPECT_EQ(sane_val_to_string(nullptr, SANE_TYPE_STRING), "");
}
