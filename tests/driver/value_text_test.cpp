// Option values as the dialogs show and log them.
#include "sane_driver.h"
#include "test_support.h"

#include <climits>

TEST(SaneValToString, EachTypeReadsAsItsText)
{
    const struct {
        SANE_Word word;
        SANE_Value_Type type;
        const char* text;
    } rows[] = {
        {1, SANE_TYPE_BOOL, "true"},          {0, SANE_TYPE_BOOL, "false"},
        {2, SANE_TYPE_BOOL, "false"},         {-1, SANE_TYPE_BOOL, "false"},
        {0x101, SANE_TYPE_BOOL, "false"},     {300, SANE_TYPE_INT, "300"},
        {-42, SANE_TYPE_INT, "-42"},          {INT_MIN, SANE_TYPE_INT, "-2147483648"},
        {98304, SANE_TYPE_FIXED, "1.5000"},   {-98304, SANE_TYPE_FIXED, "-1.5000"},
        {1, SANE_TYPE_FIXED, "0.0000"},       {808714, SANE_TYPE_FIXED, "12.3400"},
        {INT_MIN, SANE_TYPE_FIXED, "-32768.0000"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(sane_val_to_string(reinterpret_cast<const char*>(&row.word), row.type), row.text) << row.word;

    EXPECT_EQ(sane_val_to_string("彩色", SANE_TYPE_STRING), "彩色");
    EXPECT_EQ(sane_val_to_string("A4\0garbage", SANE_TYPE_STRING), "A4");
    EXPECT_EQ(sane_val_to_string("odd", static_cast<SANE_Value_Type>(99)), "odd");
    EXPECT_EQ(sane_val_to_string("press", SANE_TYPE_BUTTON), "press");
    EXPECT_EQ(sane_val_to_string(nullptr, SANE_TYPE_INT), "");
    EXPECT_EQ(sane_val_to_string(nullptr, SANE_TYPE_STRING), "");
}
