// Reading option values through the entry table with buffers sized from the
// descriptors, defaults through action 100, and private options.
#include "fakedriver_api.h"
#include "sane_driver.h"
#include "test_support.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

SANE_Word word_at(const std::vector<char>& value, std::size_t index = 0)
{
    SANE_Word word = 0;
    std::memcpy(&word, value.data() + index * sizeof(word), sizeof(word));
    return word;
}

} // namespace

TEST(SaneValue, ZeroedAtLeastOneWordAndTerminated)
{
    const sane_value small(1);
    EXPECT_EQ(small.size(), 4u);
    EXPECT_EQ(small.word(), 0);

    SANE_Option_Descriptor text{};
    text.size = 6;
    sane_value buffer = sane_value::for_descriptor(text, 4);
    EXPECT_EQ(buffer.size(), 10u);
    // A driver filling every byte still leaves a terminated text.
    std::memset(buffer.data(), 'x', buffer.size());
    EXPECT_EQ(std::string(buffer.text()), std::string(10, 'x'));
    EXPECT_EQ(buffer.bytes().size(), 10u);

    SANE_Option_Descriptor broken{};
    broken.size = -8;
    EXPECT_EQ(sane_value::for_descriptor(broken).size(), 4u);
}

// Whole values of every size: a string, a word and an int array.
TEST(OptionAccess, CountAndValuesSizedFromDescriptors)
{
    fakedriver_device device;
    const SANE_Int table[] = {0, 64, 128, 192, 255, 7, 8, 9};
    const int gamma = fakedriver_add_int_array("gamma-table", "Gamma table", "", 8, 0, 255, table);
    SANE_Int count = 0;
    ASSERT_EQ(read_option_count(device.api(), device.handle(), &count), SANE_STATUS_GOOD);
    EXPECT_EQ(count, fakedriver_option_count());

    std::vector<char> value;
    const int mode = fakedriver_find("mode");
    ASSERT_EQ(read_option_value(device.api(), device.handle(), mode, value), SANE_STATUS_GOOD);
    EXPECT_EQ(value.size(), size_t(device.api().sane_get_option_descriptor(device.handle(), mode)->size));
    EXPECT_STREQ(value.data(), "彩色");
    ASSERT_EQ(read_option_value(device.api(), device.handle(), fakedriver_find("resolution"), value),
              SANE_STATUS_GOOD);
    EXPECT_EQ(value.size(), 4u);
    EXPECT_EQ(word_at(value), 200);
    ASSERT_EQ(read_option_value(device.api(), device.handle(), gamma, value), SANE_STATUS_GOOD);
    ASSERT_EQ(value.size(), sizeof(table));
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(word_at(value, i), table[i]) << i;
}

TEST(OptionAccess, FailuresLeaveTheValueEmpty)
{
    fakedriver_device device;
    const _sane_api& api = device.api();
    const int paper = fakedriver_find("paper");
    std::vector<char> value(3, 'x');

    fakedriver_hide_descriptor(paper, 1);
    EXPECT_EQ(read_option_value(api, device.handle(), paper, value), SANE_STATUS_INVAL);
    EXPECT_TRUE(value.empty());
    EXPECT_EQ(fakedriver_log_count_of(paper, -1), 0) << "no read without a descriptor";
    fakedriver_hide_descriptor(paper, 0);

    fakedriver_queue_result(paper, SANE_ACTION_GET_VALUE, SANE_STATUS_IO_ERROR, 0);
    value.assign(3, 'x');
    EXPECT_EQ(read_option_value(api, device.handle(), paper, value), SANE_STATUS_IO_ERROR);
    EXPECT_TRUE(value.empty());

    _sane_api incomplete = api;
    incomplete.sane_control_option = nullptr;
    SANE_Int count = 99;
    EXPECT_EQ(read_option_value(incomplete, device.handle(), paper, value), SANE_STATUS_INVAL);
    EXPECT_EQ(read_option_count(incomplete, device.handle(), &count), SANE_STATUS_INVAL);
    EXPECT_EQ(count, 0);
    SANE_Word id = 5;
    EXPECT_EQ(read_private_word(incomplete, device.handle(), SANE_PRIVATE_PRODUCT_ID, &id),
              SANE_STATUS_INVAL);
    EXPECT_EQ(id, 0);
}

TEST(OptionAccess, DefaultValueThroughAction100WithoutInfo)
{
    fakedriver_device device;
    const _sane_api& api = device.api();
    const int resolution = fakedriver_find("resolution");
    const int mode = fakedriver_find("mode");
    fakedriver_set_word(resolution, 600);
    fakedriver_set_string(mode, "黑白");
    fakedriver_log_clear();

    std::vector<char> value;
    ASSERT_EQ(read_default_value(api, device.handle(), resolution, value), SANE_STATUS_GOOD);
    EXPECT_EQ(value.size(), 8u) << "descriptor size plus 4";
    EXPECT_EQ(word_at(value), 200);

    ASSERT_EQ(read_default_value(api, device.handle(), mode, value), SANE_STATUS_GOOD);
    EXPECT_STREQ(value.data(), "彩色");

    fakedriver_call call{};
    ASSERT_EQ(fakedriver_log_get(0, &call), 0);
    EXPECT_EQ(call.option, resolution);
    EXPECT_EQ(call.action, SANE_ACTION_GET_DEFAULT_VALUE);
    EXPECT_FALSE(call.info_given);
    EXPECT_TRUE(call.value_given);
}

TEST(OptionAccess, PrivateWordsAndTexts)
{
    fakedriver_device device;
    const _sane_api& api = device.api();
    const std::string long_serial(600, 'S');
    fakedriver_set_private_text(SANE_PRIVATE_SERIAL, long_serial.c_str());
    const std::pair<sane_private_option, const char*> texts[] = {
        {SANE_PRIVATE_MODEL, "FS-1000"},
        {SANE_PRIVATE_STARTUP_TIME, "2023-05-06 09:30:00"},
        {SANE_PRIVATE_SERIAL, long_serial.c_str()}};
    for (const auto& [option, expected] : texts) {
        std::string text;
        ASSERT_EQ(read_private_text(api, device.handle(), option, text), SANE_STATUS_GOOD) << option;
        EXPECT_EQ(text, expected);
    }
    SANE_Word id = 0;
    ASSERT_EQ(read_private_word(api, device.handle(), SANE_PRIVATE_ROLLER_COUNT, &id), SANE_STATUS_GOOD);
    EXPECT_EQ(id, 12345);
    // A driver that answers with a 64-bit number: only the first word is taken.
    const unsigned char wide[8] = {0x78, 0x56, 0x34, 0x12, 0xff, 0xff, 0xff, 0xff};
    fakedriver_set_private_data(SANE_PRIVATE_PRODUCT_ID, wide, sizeof(wide));
    ASSERT_EQ(read_private_word(api, device.handle(), SANE_PRIVATE_PRODUCT_ID, &id), SANE_STATUS_GOOD);
    EXPECT_EQ(id, 0x12345678);

    // Options the driver does not have leave nothing behind.
    fakedriver_remove_private(SANE_PRIVATE_PRODUCT_ID);
    fakedriver_remove_private(SANE_PRIVATE_FIRMWARE);
    EXPECT_EQ(read_private_word(api, device.handle(), SANE_PRIVATE_PRODUCT_ID, &id), SANE_STATUS_INVAL);
    EXPECT_EQ(id, 0);
    std::string text = "stale";
    EXPECT_NE(read_private_text(api, device.handle(), SANE_PRIVATE_FIRMWARE, text), SANE_STATUS_GOOD);
    EXPECT_TRUE(text.empty());
}

TEST(OptionAccess, FindOptionByName)
{
    fakedriver_device device;
    const std::pair<const char*, SANE_Int> rows[] = {
        {"restore", fakedriver_find("restore")}, {"mode", 2}, {"no-such-option", -1}, {nullptr, -1},
        {"", -1}, // groups have empty names; an empty name must not match them
    };
    for (const auto& [name, option] : rows)
        EXPECT_EQ(find_option_by_name(device.api(), device.handle(), name), option) << (name ? name : "null");
}
