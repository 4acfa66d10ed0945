// The fake driver's scripting: the behaviours other tests rely on, so that a
// broken fake cannot make their checks pass for nothing.
#include "fakedriver_api.h"
#include "lexipak.h"
#include "sane_driver.h"
#include "test_support.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

class fake_driver : public ::testing::Test
{
protected:
    SANE_Status set(int n, void* value, SANE_Int* info = nullptr)
    {
        return api().sane_control_option(handle(), n, SANE_ACTION_SET_VALUE, value, info);
    }
    SANE_Status set_word(int n, SANE_Word word, SANE_Int* info = nullptr) { return set(n, &word, info); }
    SANE_Word get_word(int n, int action = SANE_ACTION_GET_VALUE)
    {
        SANE_Word word = -12345;
        EXPECT_EQ(api().sane_control_option(handle(), n, SANE_Action(action), &word, nullptr), SANE_STATUS_GOOD);
        return word;
    }
    bool inactive(const char* name) { return fakedriver_get_cap(fakedriver_find(name)) & SANE_CAP_INACTIVE; }
    const _sane_api& api() const { return m_device.api(); }
    SANE_Handle handle() const { return m_device.handle(); }

    fakedriver_device m_device;
};

} // namespace

// Values are brought into their constraints and the adjusted value written back.
TEST_F(fake_driver, ValuesAreBroughtIntoTheirConstraints)
{
    const struct {
        const char* option;
        SANE_Word sent;
        SANE_Status status;
        SANE_Word stored;
        SANE_Int info;
    } rows[] = {
        {"resolution", 280, SANE_STATUS_GOOD, 300, SANE_INFO_INEXACT},
        {"contrast", 9, SANE_STATUS_GOOD, 7, SANE_INFO_INEXACT},
        {"brightness", 808714, SANE_STATUS_GOOD, 808714, 0},
        {"is-rid-morr", 2, SANE_STATUS_INVAL, SANE_FALSE, 0},
    };
    for (const auto& row : rows) {
        SANE_Word word = row.sent;
        SANE_Int info = -1;
        EXPECT_EQ(set(fakedriver_find(row.option), &word, &info), row.status) << row.option;
        EXPECT_EQ(fakedriver_get_word(fakedriver_find(row.option)), row.stored) << row.option;
        if (row.status == SANE_STATUS_GOOD) {
            EXPECT_EQ(word, row.stored) << row.option;
            EXPECT_EQ(info, row.info) << row.option;
        }
    }
    char unknown[16] = "sepia";
    EXPECT_EQ(set(fakedriver_find("mode"), unknown), SANE_STATUS_INVAL);
    EXPECT_STREQ(fakedriver_get_string(fakedriver_find("mode")), "彩色");
}

TEST_F(fake_driver, ActivationRulesAskForAReloadAndRestoreFollows)
{
    const int mode = fakedriver_find("mode");
    const int threshold = fakedriver_find("threshold");
    const SANE_Option_Descriptor* before = api().sane_get_option_descriptor(handle(), threshold);
    EXPECT_TRUE(inactive("threshold"));
    EXPECT_EQ(set_word(threshold, 100), SANE_STATUS_INVAL) << "inactive options refuse";

    char black_white[16] = "黑白";
    SANE_Int info = 0;
    ASSERT_EQ(set(mode, black_white, &info), SANE_STATUS_GOOD);
    EXPECT_TRUE(info & SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(api().sane_get_option_descriptor(handle(), threshold), before) << "descriptors stay put";
    EXPECT_FALSE(inactive("threshold"));
    EXPECT_EQ(set_word(threshold, 100), SANE_STATUS_GOOD);

    EXPECT_TRUE(inactive("tl-x"));
    ASSERT_EQ(set_word(fakedriver_find("is-custom-area"), SANE_TRUE, &info), SANE_STATUS_GOOD);
    EXPECT_TRUE(info & SANE_INFO_RELOAD_OPTIONS);
    EXPECT_FALSE(inactive("tl-x") || inactive("br-y"));

    // Defaults through action 100; the restore button brings them back, rules and all.
    const int resolution = fakedriver_find("resolution");
    set_word(resolution, 600);
    EXPECT_EQ(get_word(resolution, SANE_ACTION_GET_DEFAULT_VALUE), 200);
    char text[64] = {};
    ASSERT_EQ(api().sane_control_option(handle(), mode, SANE_Action(SANE_ACTION_GET_DEFAULT_VALUE), text, nullptr),
              SANE_STATUS_GOOD);
    EXPECT_STREQ(text, "彩色");
    info = 0;
    ASSERT_EQ(set(fakedriver_find("restore"), nullptr, &info), SANE_STATUS_GOOD);
    EXPECT_TRUE(info & SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(get_word(resolution), 200);
    EXPECT_STREQ(fakedriver_get_string(mode), "彩色");
    EXPECT_TRUE(inactive("threshold"));
}

TEST_F(fake_driver, ScriptedResultsInexactValuesAndHooks)
{
    const int contrast = fakedriver_find("contrast");
    SANE_Word word = 6;
    SANE_Int info = 99;
    fakedriver_queue_result(contrast, SANE_ACTION_SET_VALUE, SANE_STATUS_UNSUPPORTED, 0);
    EXPECT_EQ(set(contrast, &word, &info), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(fakedriver_get_word(contrast), 4) << "a refused set changes nothing";
    EXPECT_EQ(set(contrast, &word, &info), SANE_STATUS_GOOD) << "queued results are one-shot";
    EXPECT_EQ(fakedriver_get_word(contrast), 6);

    // A good answer with extra info bits still does its work.
    fakedriver_queue_result(contrast, SANE_ACTION_SET_VALUE, SANE_STATUS_GOOD, SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(set_word(contrast, 2, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(fakedriver_get_word(contrast), 2);

    // A standing answer lasts until cleared; queued ones go first; other actions are not affected.
    fakedriver_set_result(contrast, SANE_ACTION_SET_VALUE, SANE_STATUS_UNSUPPORTED, 0);
    fakedriver_queue_result(contrast, SANE_ACTION_SET_VALUE, SANE_STATUS_JAMMED, 0);
    EXPECT_EQ(set_word(contrast, 5), SANE_STATUS_JAMMED);
    EXPECT_EQ(set_word(contrast, 5), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(set_word(contrast, 5), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(get_word(contrast), 2);
    fakedriver_clear_result(contrast, SANE_ACTION_SET_VALUE);
    EXPECT_EQ(set_word(contrast, 5), SANE_STATUS_GOOD);

    // The driver's own adjustment reaches the caller and the rules.
    const int mode = fakedriver_find("mode");
    fakedriver_queue_inexact(mode, "黑白", sizeof("黑白"));
    char grey[32] = "灰度";
    ASSERT_EQ(set(mode, grey, &info), SANE_STATUS_GOOD);
    EXPECT_TRUE(info & SANE_INFO_INEXACT);
    EXPECT_STREQ(grey, "黑白");
    EXPECT_FALSE(inactive("threshold"));
    char again[32] = "灰度";
    ASSERT_EQ(set(mode, again), SANE_STATUS_GOOD);
    EXPECT_STREQ(fakedriver_get_string(mode), "灰度") << "an adjustment is one-shot";

    // A hook sees successful calls only and may change other options.
    static int calls = 0;
    fakedriver_set_hook(
        [](void*, int option, SANE_Action action, void*, SANE_Int* info) {
            ++calls;
            if (option == fakedriver_find("is-rid-morr") && action == SANE_ACTION_SET_VALUE) {
                fakedriver_set_active(fakedriver_find("is-rid-grid"), 0);
                *info |= SANE_INFO_RELOAD_OPTIONS;
            }
        },
        nullptr);
    EXPECT_EQ(set_word(fakedriver_find("is-rid-morr"), SANE_TRUE, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_RELOAD_OPTIONS);
    EXPECT_TRUE(inactive("is-rid-grid"));
    fakedriver_queue_result(contrast, SANE_ACTION_GET_VALUE, SANE_STATUS_IO_ERROR, 0);
    api().sane_control_option(handle(), contrast, SANE_ACTION_GET_VALUE, &word, nullptr);
    EXPECT_EQ(calls, 1);
    fakedriver_set_hook(nullptr, nullptr);
}

TEST_F(fake_driver, PrivateOptionsWithoutDescriptors)
{
    EXPECT_EQ(api().sane_get_option_descriptor(handle(), SANE_PRIVATE_TONE_CURVE), nullptr);
    std::vector<unsigned char> curve(1312, 0xee);
    ASSERT_EQ(set(SANE_PRIVATE_TONE_CURVE, curve.data()), SANE_STATUS_GOOD);
    std::vector<unsigned char> stored(1312);
    EXPECT_EQ(fakedriver_get_private(SANE_PRIVATE_TONE_CURVE, stored.data(), stored.size()), 1312);
    EXPECT_EQ(stored, curve);
    SANE_Word untouched = 77;
    EXPECT_EQ(api().sane_control_option(handle(), 40000, SANE_ACTION_GET_VALUE, &untouched, nullptr),
              SANE_STATUS_INVAL);
    EXPECT_EQ(untouched, 77);
}

TEST_F(fake_driver, CallLogRecordsWhatWasSent)
{
    const int resolution = fakedriver_find("resolution");
    SANE_Int info = 0;
    set_word(resolution, 300, &info);
    char grey[32] = "灰度";
    set(fakedriver_find("mode"), grey);
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
}

TEST_F(fake_driver, OneDeviceOpenAtATimeThenPagesThenNoDocs)
{
    SANE_Handle second = nullptr;
    EXPECT_EQ(api().sane_open("fake:FS-1000", &second), SANE_STATUS_DEVICE_BUSY);
    api().sane_close(handle());
    EXPECT_EQ(api().sane_get_option_descriptor(handle(), 1), nullptr) << "a closed handle has no options";
    fakedriver_queue_status(FAKEDRIVER_OPEN, SANE_STATUS_ACCESS_DENIED);
    EXPECT_EQ(api().sane_open("fake:FS-1000", &second), SANE_STATUS_ACCESS_DENIED);
    ASSERT_EQ(api().sane_open("fake:FS-1000", &second), SANE_STATUS_GOOD);

    fakedriver_set_read_chunk(100);
    for (int page = 0; page < 2; ++page) {
        ASSERT_EQ(api().sane_start(second), SANE_STATUS_GOOD);
        SANE_Parameters parameters{};
        ASSERT_EQ(api().sane_get_parameters(second, &parameters), SANE_STATUS_GOOD);
        std::vector<unsigned char> received;
        SANE_Byte piece[256];
        SANE_Int length = 0;
        SANE_Status status;
        while ((status = api().sane_read(second, piece, sizeof(piece), &length)) == SANE_STATUS_GOOD) {
            ASSERT_LE(length, 100);
            received.insert(received.end(), piece, piece + length);
        }
        EXPECT_EQ(status, SANE_STATUS_EOF);
        ASSERT_EQ(received.size(), size_t(parameters.bytes_per_line * parameters.lines));
        EXPECT_EQ(received[32 * 3 + 5], (5 + 8 * 3) & 0xff);
    }
    EXPECT_EQ(api().sane_start(second), SANE_STATUS_NO_DOCS);
    fakedriver_add_test_page(4, 4);
    fakedriver_queue_status(FAKEDRIVER_START, SANE_STATUS_JAMMED);
    EXPECT_EQ(api().sane_start(second), SANE_STATUS_JAMMED);
    ASSERT_EQ(api().sane_start(second), SANE_STATUS_GOOD);
    api().sane_cancel(second);
    SANE_Byte byte = 0;
    SANE_Int length = 0;
    EXPECT_EQ(api().sane_read(second, &byte, 1, &length), SANE_STATUS_CANCELLED);
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
        EXPECT_GE(d->size, SANE_Int(sizeof("Black & White")));
        EXPECT_STREQ(fakedriver_get_string(mode), "Color");
        char black_white[32] = "Black & White";
        ASSERT_EQ(device.api().sane_control_option(device.handle(), mode, SANE_ACTION_SET_VALUE, black_white,
                                                   nullptr),
                  SANE_STATUS_GOOD);
        EXPECT_FALSE(fakedriver_get_cap(fakedriver_find("threshold")) & SANE_CAP_INACTIVE);
    }
    lang_set_code_page(0);
    fakedriver_load_default_script();
    EXPECT_STREQ(fakedriver_get_string(fakedriver_find("mode")), "彩色") << "the device switched it off";
    fakedriver_reset();
}
