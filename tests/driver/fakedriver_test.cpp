// The fake driver's scripting, which the settings-dialog tests rely on.
#include "fakedriver_api.h"
#include "lexipak.h"
#include "test_support.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

class fake_driver : public ::testing::Test
{
protected:
    SANE_Status set_word(int n, SANE_Word* word, SANE_Int* info)
    {
        return api().sane_control_option(handle(), n, SANE_ACTION_SET_VALUE, word, info);
    }
    SANE_Status set_text(int n, char* text, SANE_Int* info)
    {
        return api().sane_control_option(handle(), n, SANE_ACTION_SET_VALUE, text, info);
    }
    SANE_Status press(int n, SANE_Int* info)
    {
        return api().sane_control_option(handle(), n, SANE_ACTION_SET_VALUE, nullptr, info);
    }
    SANE_Word get_word(int n, SANE_Action action = SANE_ACTION_GET_VALUE)
    {
        SANE_Word word = -12345;
        EXPECT_EQ(api().sane_control_option(handle(), n, action, &word, nullptr), SANE_STATUS_GOOD);
        return word;
    }
    const SANE_Option_Descriptor* descriptor(int n)
    {
        return api().sane_get_option_descriptor(handle(), n);
    }
    const _sane_api& api() const { return m_device.api(); }
    SANE_Handle handle() const { return m_device.handle(); }

    fakedriver_device m_device;
};

} // namespace

TEST_F(fake_driver, DefaultScriptDescribesADocumentScanner)
{
    EXPECT_EQ(get_word(0), 31);
    EXPECT_EQ(fakedriver_option_count(), 31);

    const SANE_Option_Descriptor* basic = descriptor(1);
    ASSERT_NE(basic, nullptr);
    EXPECT_EQ(basic->type, SANE_TYPE_GROUP);
    EXPECT_STREQ(basic->title, "基本设置");
    EXPECT_STREQ(descriptor(15)->title, "亮度调节");
    EXPECT_STREQ(descriptor(20)->title, "图像处理");

    const SANE_Option_Descriptor* mode = descriptor(fakedriver_find("mode"));
    ASSERT_EQ(mode->constraint_type, SANE_CONSTRAINT_STRING_LIST);
    EXPECT_STREQ(mode->title, "颜色模式");
    EXPECT_STREQ(mode->constraint.string_list[0], "彩色");
    EXPECT_STREQ(mode->constraint.string_list[1], "灰度");
    EXPECT_STREQ(mode->constraint.string_list[2], "黑白");
    EXPECT_EQ(mode->constraint.string_list[3], nullptr);
    EXPECT_GE(mode->size, static_cast<SANE_Int>(std::strlen("彩色") + 1));

    const SANE_Option_Descriptor* resolution = descriptor(fakedriver_find("resolution"));
    ASSERT_EQ(resolution->constraint_type, SANE_CONSTRAINT_WORD_LIST);
    EXPECT_EQ(resolution->constraint.word_list[0], 5);
    EXPECT_EQ(resolution->constraint.word_list[5], 600);
    EXPECT_EQ(resolution->unit, SANE_UNIT_DPI);

    const SANE_Option_Descriptor* brightness = descriptor(fakedriver_find("brightness"));
    EXPECT_EQ(brightness->type, SANE_TYPE_FIXED);
    ASSERT_EQ(brightness->constraint_type, SANE_CONSTRAINT_RANGE);
    EXPECT_EQ(brightness->constraint.range->min, SANE_FIX(-100.0));
    EXPECT_EQ(brightness->constraint.range->max, SANE_FIX(100.0));

    EXPECT_EQ(descriptor(fakedriver_find("restore"))->type, SANE_TYPE_BUTTON);
    EXPECT_EQ(descriptor(fakedriver_find("is-rid-morr"))->type, SANE_TYPE_BOOL);
    EXPECT_EQ(descriptor(fakedriver_find("file-prefix"))->constraint_type, SANE_CONSTRAINT_NONE);
    EXPECT_EQ(descriptor(31), nullptr);
}

TEST_F(fake_driver, ValuesAreBroughtIntoTheirConstraints)
{
    const int resolution = fakedriver_find("resolution");
    SANE_Word word = 280;
    SANE_Int info = 0;
    ASSERT_EQ(set_word(resolution, &word, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info & SANE_INFO_INEXACT, SANE_INFO_INEXACT);
    EXPECT_EQ(word, 300) << "the adjusted value is written back";
    EXPECT_EQ(fakedriver_get_word(resolution), 300);

    const int contrast = fakedriver_find("contrast");
    word = 9;
    ASSERT_EQ(set_word(contrast, &word, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 7);
    EXPECT_TRUE(info & SANE_INFO_INEXACT);

    const int brightness = fakedriver_find("brightness");
    word = 808714; // 12.34
    ASSERT_EQ(set_word(brightness, &word, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(fakedriver_get_word(brightness), 808714);

    const int mode = fakedriver_find("mode");
    char unknown[16] = "sepia";
    EXPECT_EQ(set_text(mode, unknown, &info), SANE_STATUS_INVAL);
    EXPECT_STREQ(fakedriver_get_string(mode), "彩色");

    const int morr = fakedriver_find("is-rid-morr");
    word = 2;
    EXPECT_EQ(set_word(morr, &word, &info), SANE_STATUS_INVAL);
}

TEST_F(fake_driver, ActivationRulesAskForAReload)
{
    const int mode = fakedriver_find("mode");
    const int threshold = fakedriver_find("threshold");
    const SANE_Option_Descriptor* before = descriptor(threshold);
    EXPECT_TRUE(before->cap & SANE_CAP_INACTIVE);

    SANE_Word word = 100;
    SANE_Int info = 0;
    EXPECT_EQ(set_word(threshold, &word, &info), SANE_STATUS_INVAL) << "inactive options refuse";

    char black_white[16] = "黑白";
    ASSERT_EQ(set_text(mode, black_white, &info), SANE_STATUS_GOOD);
    EXPECT_TRUE(info & SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(descriptor(threshold), before) << "descriptors stay where they are";
    EXPECT_FALSE(before->cap & SANE_CAP_INACTIVE);
    EXPECT_EQ(set_word(threshold, &word, &info), SANE_STATUS_GOOD);

    const int area = fakedriver_find("is-custom-area");
    const int tl_x = fakedriver_find("tl-x");
    EXPECT_TRUE(fakedriver_get_cap(tl_x) & SANE_CAP_INACTIVE);
    word = SANE_TRUE;
    ASSERT_EQ(set_word(area, &word, &info), SANE_STATUS_GOOD);
    EXPECT_TRUE(info & SANE_INFO_RELOAD_OPTIONS);
    EXPECT_FALSE(fakedriver_get_cap(tl_x) & SANE_CAP_INACTIVE);
    EXPECT_FALSE(fakedriver_get_cap(fakedriver_find("br-y")) & SANE_CAP_INACTIVE);
}

TEST_F(fake_driver, DefaultsThroughAction100AndRestoreButton)
{
    const int resolution = fakedriver_find("resolution");
    const int mode = fakedriver_find("mode");
    const int threshold = fakedriver_find("threshold");
    SANE_Word word = 600;
    SANE_Int info = 0;
    set_word(resolution, &word, &info);
    char black_white[16] = "黑白";
    set_text(mode, black_white, &info);
    EXPECT_EQ(get_word(resolution, static_cast<SANE_Action>(SANE_ACTION_GET_DEFAULT_VALUE)), 200);
    EXPECT_EQ(get_word(resolution), 600);

    char text[64] = {};
    ASSERT_EQ(api().sane_control_option(handle(), mode, static_cast<SANE_Action>(SANE_ACTION_GET_DEFAULT_VALUE),
                                        text, nullptr),
              SANE_STATUS_GOOD);
    EXPECT_STREQ(text, "彩色");

    info = 0;
    ASSERT_EQ(press(fakedriver_find("restore"), &info), SANE_STATUS_GOOD);
    EXPECT_TRUE(info & SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(get_word(resolution), 200);
    EXPECT_STREQ(fakedriver_get_string(mode), "彩色");
    EXPECT_TRUE(fakedriver_get_cap(threshold) & SANE_CAP_INACTIVE) << "rules follow the restore";

    // An ordinary button only answers.
    const int scan_button = fakedriver_add_button("calibrate", "校准", "");
    set_word(resolution, &word, &info);
    info = 0;
    EXPECT_EQ(press(scan_button, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(get_word(resolution), 600);
}

TEST_F(fake_driver, ScriptedStatusAndInfo)
{
    const int contrast = fakedriver_find("contrast");
    fakedriver_queue_result(contrast, SANE_ACTION_SET_VALUE, SANE_STATUS_UNSUPPORTED, 0);
    SANE_Word word = 6;
    SANE_Int info = 99;
    EXPECT_EQ(set_word(contrast, &word, &info), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(word, 6) << "a refused set leaves the buffer alone";
    EXPECT_EQ(fakedriver_get_word(contrast), 4);
    EXPECT_EQ(set_word(contrast, &word, &info), SANE_STATUS_GOOD) << "queued results are one-shot";
    EXPECT_EQ(fakedriver_get_word(contrast), 6);

    // A good answer with extra info bits still does its work.
    fakedriver_queue_result(contrast, SANE_ACTION_SET_VALUE, SANE_STATUS_GOOD, SANE_INFO_RELOAD_OPTIONS);
    word = 2;
    ASSERT_EQ(set_word(contrast, &word, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(fakedriver_get_word(contrast), 2);

    // A standing answer lasts until cleared; queued ones go first.
    fakedriver_set_result(contrast, SANE_ACTION_SET_VALUE, SANE_STATUS_UNSUPPORTED, 0);
    fakedriver_queue_result(contrast, SANE_ACTION_SET_VALUE, SANE_STATUS_JAMMED, 0);
    EXPECT_EQ(set_word(contrast, &word, &info), SANE_STATUS_JAMMED);
    EXPECT_EQ(set_word(contrast, &word, &info), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(set_word(contrast, &word, &info), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(get_word(contrast), 2) << "other actions are not affected";
    fakedriver_clear_result(contrast, SANE_ACTION_SET_VALUE);
    word = 5;
    EXPECT_EQ(set_word(contrast, &word, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(fakedriver_get_word(contrast), 5);
}

TEST_F(fake_driver, DriverAdjustedValueIsInexact)
{
    const int mode = fakedriver_find("mode");
    fakedriver_queue_inexact(mode, "黑白", sizeof("黑白"));
    char grey[32] = "灰度";
    SANE_Int info = 0;
    ASSERT_EQ(set_text(mode, grey, &info), SANE_STATUS_GOOD);
    EXPECT_TRUE(info & SANE_INFO_INEXACT);
    EXPECT_STREQ(grey, "黑白");
    EXPECT_STREQ(fakedriver_get_string(mode), "黑白");
    // The rule on "threshold" saw the adjusted value.
    EXPECT_FALSE(fakedriver_get_cap(fakedriver_find("threshold")) & SANE_CAP_INACTIVE);
}

namespace {

struct hook_record {
    int calls = 0;
    int grid = -1;
};

void grid_follows_moire(void* context, int option, SANE_Action action, void* value, SANE_Int* info)
{
    auto* record = static_cast<hook_record*>(context);
    ++record->calls;
    if (option != fakedriver_find("is-rid-morr") || action != SANE_ACTION_SET_VALUE)
        return;
    SANE_Word on = 0;
    std::memcpy(&on, value, sizeof(on));
    fakedriver_set_active(record->grid, !on);
    *info |= SANE_INFO_RELOAD_OPTIONS;
}

} // namespace

TEST_F(fake_driver, HookChangesOtherOptions)
{
    hook_record record;
    record.grid = fakedriver_find("is-rid-grid");
    fakedriver_set_hook(&grid_follows_moire, &record);

    SANE_Word on = SANE_TRUE;
    SANE_Int info = 0;
    ASSERT_EQ(set_word(fakedriver_find("is-rid-morr"), &on, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_RELOAD_OPTIONS);
    EXPECT_TRUE(fakedriver_get_cap(record.grid) & SANE_CAP_INACTIVE);
    EXPECT_EQ(record.calls, 1);

    fakedriver_queue_result(record.grid, SANE_ACTION_GET_VALUE, SANE_STATUS_IO_ERROR, 0);
    SANE_Word value = 0;
    api().sane_control_option(handle(), record.grid, SANE_ACTION_GET_VALUE, &value, nullptr);
    EXPECT_EQ(record.calls, 1) << "failed calls do not reach the hook";
    fakedriver_set_hook(nullptr, nullptr);
}

TEST_F(fake_driver, PrivateOptionsWithoutDescriptors)
{
    EXPECT_EQ(descriptor(34906), nullptr);
    std::vector<unsigned char> curve(1312, 0xee);
    ASSERT_EQ(api().sane_control_option(handle(), 34906, SANE_ACTION_GET_VALUE, curve.data(), nullptr),
              SANE_STATUS_GOOD);
    EXPECT_EQ(curve[0], 0);
    EXPECT_EQ(curve[31], 0);
    EXPECT_EQ(curve[32], 0);
    EXPECT_EQ(curve[32 + 200], 200);
    EXPECT_EQ(curve[32 + 4 * 256 + 255], 255);

    std::vector<unsigned char> inverted(1312, 0);
    for (int i = 0; i < 1280; ++i)
        inverted[32 + i] = static_cast<unsigned char>(255 - i % 256);
    ASSERT_EQ(api().sane_control_option(handle(), 34906, SANE_ACTION_SET_VALUE, inverted.data(), nullptr),
              SANE_STATUS_GOOD);
    std::vector<unsigned char> stored(1312);
    EXPECT_EQ(fakedriver_get_private(34906, stored.data(), stored.size()), 1312);
    EXPECT_EQ(stored, inverted);

    SANE_Word id = 0;
    ASSERT_EQ(api().sane_control_option(handle(), 34899, SANE_ACTION_GET_VALUE, &id, nullptr),
              SANE_STATUS_GOOD);
    EXPECT_EQ(id, 0x1a2b);
    char model[256] = {};
    ASSERT_EQ(api().sane_control_option(handle(), 34901, SANE_ACTION_GET_VALUE, model, nullptr),
              SANE_STATUS_GOOD);
    EXPECT_STREQ(model, "FS-1000");

    SANE_Word untouched = 77;
    EXPECT_EQ(api().sane_control_option(handle(), 40000, SANE_ACTION_GET_VALUE, &untouched, nullptr),
              SANE_STATUS_INVAL);
    EXPECT_EQ(untouched, 77);
}

TEST_F(fake_driver, CallLogRecordsWhatWasSent)
{
    const int resolution = fakedriver_find("resolution");
    const int mode = fakedriver_find("mode");
    SANE_Word word = 300;
    SANE_Int info = 0;
    set_word(resolution, &word, &info);
    char grey[32] = "灰度";
    set_text(mode, grey, nullptr);
    get_word(resolution);

    ASSERT_EQ(fakedriver_log_count(), 3);
    fakedriver_call call{};
    ASSERT_EQ(fakedriver_log_get(0, &call), 0);
    EXPECT_EQ(call.entry, FAKEDRIVER_CONTROL_OPTION);
    EXPECT_EQ(call.option, resolution);
    EXPECT_EQ(call.action, SANE_ACTION_SET_VALUE);
    EXPECT_TRUE(call.info_given);
    ASSERT_EQ(call.value_size, 4u);
    SANE_Word sent = 0;
    std::memcpy(&sent, call.value, 4);
    EXPECT_EQ(sent, 300);

    ASSERT_EQ(fakedriver_log_get(1, &call), 0);
    EXPECT_FALSE(call.info_given);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(call.value), call.value_size - 1), "灰度");

    EXPECT_EQ(fakedriver_log_find(resolution, SANE_ACTION_GET_VALUE, 0), 2);
    EXPECT_EQ(fakedriver_log_find(resolution, -1, 1), 2);
    EXPECT_EQ(fakedriver_log_count_of(resolution, -1), 2);
    EXPECT_EQ(fakedriver_log_count_of(resolution, SANE_ACTION_SET_VALUE), 1);
    EXPECT_EQ(fakedriver_log_get(3, &call), -1);

    fakedriver_log_clear();
    EXPECT_EQ(fakedriver_log_count(), 0);
    EXPECT_EQ(fakedriver_log_find(resolution, -1, 0), -1);
}

TEST_F(fake_driver, DevicesAndHandles)
{
    const SANE_Device** list = nullptr;
    ASSERT_EQ(api().sane_get_devices(&list, SANE_FALSE), SANE_STATUS_GOOD);
    ASSERT_NE(list[0], nullptr);
    EXPECT_STREQ(list[0]->name, "fake:FS-1000");
    EXPECT_STREQ(list[0]->model, "FS-1000");
    EXPECT_EQ(list[1], nullptr);

    SANE_Handle second = nullptr;
    EXPECT_EQ(api().sane_open("fake:FS-1000", &second), SANE_STATUS_DEVICE_BUSY);
    api().sane_close(handle());
    EXPECT_EQ(descriptor(1), nullptr) << "a closed handle has no options";
    SANE_Word count = 0;
    EXPECT_EQ(api().sane_control_option(handle(), 0, SANE_ACTION_GET_VALUE, &count, nullptr),
              SANE_STATUS_INVAL);
    EXPECT_EQ(api().sane_open("fake:other", &second), SANE_STATUS_INVAL);
    fakedriver_queue_status(FAKEDRIVER_OPEN, SANE_STATUS_ACCESS_DENIED);
    EXPECT_EQ(api().sane_open("fake:FS-1000", &second), SANE_STATUS_ACCESS_DENIED);
    ASSERT_EQ(api().sane_open("fake:FS-1000", &second), SANE_STATUS_GOOD);
    EXPECT_TRUE(fakedriver_is_open());
}

TEST_F(fake_driver, ScanningHandsOutPagesThenNoDocs)
{
    fakedriver_set_read_chunk(100);
    SANE_Parameters parameters{};
    for (int page = 0; page < 2; ++page) {
        ASSERT_EQ(api().sane_start(handle()), SANE_STATUS_GOOD);
        ASSERT_EQ(api().sane_get_parameters(handle(), &parameters), SANE_STATUS_GOOD);
        EXPECT_EQ(parameters.format, SANE_FRAME_GRAY);
        EXPECT_EQ(parameters.pixels_per_line, 32);
        EXPECT_EQ(parameters.lines, 16);

        std::vector<unsigned char> received;
        SANE_Byte piece[256];
        SANE_Int length = 0;
        SANE_Status status = SANE_STATUS_GOOD;
        int reads = 0;
        while ((status = api().sane_read(handle(), piece, sizeof(piece), &length)) == SANE_STATUS_GOOD) {
            EXPECT_LE(length, 100);
            received.insert(received.end(), piece, piece + length);
            ASSERT_LT(++reads, 100);
        }
        EXPECT_EQ(status, SANE_STATUS_EOF);
        EXPECT_EQ(length, 0);
        ASSERT_EQ(received.size(), 32u * 16u);
        EXPECT_EQ(received[1], 1);
        EXPECT_EQ(received[32 * 3 + 5], (5 + 8 * 3) & 0xff);
    }
    EXPECT_EQ(api().sane_start(handle()), SANE_STATUS_NO_DOCS);

    fakedriver_add_test_page(4, 4);
    fakedriver_queue_status(FAKEDRIVER_START, SANE_STATUS_JAMMED);
    EXPECT_EQ(api().sane_start(handle()), SANE_STATUS_JAMMED);
    EXPECT_EQ(fakedriver_pages_left(), 1);
    ASSERT_EQ(api().sane_start(handle()), SANE_STATUS_GOOD);
    api().sane_cancel(handle());
    SANE_Byte byte = 0;
    SANE_Int length = 0;
    EXPECT_EQ(api().sane_read(handle(), &byte, 1, &length), SANE_STATUS_CANCELLED);
}

TEST(FakeDriverTranslation, TextsInTheUsersLanguage)
{
    lang_set_code_page(LEXIPAK_CP_ENGLISH);
    fakedriver_translate_texts(1);
    {
        fakedriver_device device;
        const int mode = fakedriver_find("mode");
        const SANE_Option_Descriptor* d = device.api().sane_get_option_descriptor(device.handle(), mode);
        EXPECT_STREQ(d->title, "Color Mode");
        EXPECT_STREQ(d->constraint.string_list[2], "Black & White");
        EXPECT_GE(d->size, static_cast<SANE_Int>(sizeof("Black & White")));
        EXPECT_STREQ(fakedriver_get_string(mode), "Color");
        EXPECT_STREQ(device.api().sane_get_option_descriptor(device.handle(), 1)->title, "Basic Settings");

        char black_white[32] = "Black & White";
        SANE_Int info = 0;
        ASSERT_EQ(device.api().sane_control_option(device.handle(), mode, SANE_ACTION_SET_VALUE,
                                                   black_white, &info),
                  SANE_STATUS_GOOD);
        EXPECT_FALSE(fakedriver_get_cap(fakedriver_find("threshold")) & SANE_CAP_INACTIVE);
    }
    lang_set_code_page(0);
    fakedriver_load_default_script();
    EXPECT_STREQ(fakedriver_get_string(fakedriver_find("mode")), "彩色") << "the device switched it off";
    fakedriver_reset();
}
