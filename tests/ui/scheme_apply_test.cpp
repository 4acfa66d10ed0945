// Writing a scheme to the device with and without the dialog, and the headless
// exports on the configuration directory of the test's own home.
#include "settings_support.h"

#include <lexipak.h>

#include "app_cfg.h"

#include <ZyBase.h>

#include <QDir>
#include <QFile>

#include <cstring>
#include <filesystem>
#include <utility>

namespace {

using call_list = std::vector<std::pair<int, std::string>>;

std::string word(SANE_Word value)
{
    return std::string(reinterpret_cast<const char*>(&value), sizeof(value));
}

// Every value the driver was sent, in order: (option, bytes; empty for a press).
call_list sets()
{
    call_list out;
    for (int i = 0; i < fakedriver_log_count(); ++i) {
        fakedriver_call call{};
        fakedriver_log_get(i, &call);
        if (call.entry == FAKEDRIVER_CONTROL_OPTION && call.action == SANE_ACTION_SET_VALUE)
            out.emplace_back(call.option, call.value ? std::string(reinterpret_cast<const char*>(
                                                                       call.value),
                                                                   call.value_size)
                                                     : std::string());
    }
    return out;
}

std::string text(const char* value)
{
    return std::string(value, std::strlen(value) + 1);
}

struct entry
{
    const char* name;
    std::string value;
    bool data = false;
};

gb::sane_config_schm* scheme_of(const std::vector<entry>& entries)
{
    auto* scheme = new gb::sane_config_schm(nullptr);
    for (const entry& e : entries)
        scheme->set_value(e.name, e.value.data(), e.value.size(), e.data);
    return scheme;
}

std::string config_dir()
{
    char dir[512] = {};
    GetConfigPath(dir, sizeof(dir));
    return dir;
}

// A configuration file with schemes "Office" (contrast 6, selected) and "Photo".
std::string office_file()
{
    cfg_ptr cfg(new gb::scanner_cfg());
    for (auto [name, contrast] : {std::pair<const char*, int>{"Office", 6}, {"Photo", 2}}) {
        gb::sane_config_schm* s = scheme_of({{"contrast", word(contrast)}});
        cfg->add_scheme(s, name);
        s->release();
    }
    cfg->select_scheme("Office");
    return cfg->to_text(true);
}

std::string take(char* host_text)
{
    std::string out = host_text ? host_text : "(null)";
    twain_ui_free(host_text);
    return out;
}

// ---- apply_scheme ----------------------------------------------------------

struct apply_case
{
    const char* name;
    std::function<void()> device; // scripts the device after the default one
    std::vector<entry> scheme;
    // The expected writes: option name ("" for the tone record) and bytes.
    std::vector<std::pair<const char*, std::string>> writes;
};

std::string tone(std::size_t stored)
{
    std::string record(stored, '\x7f');
    record.resize(1312, '\0');
    return record;
}

const SANE_Int kArray[3] = {1, 2, 3};

const apply_case kApplyCases[] = {
    {"RestoreFirstThenByName", [] {},
     {{"resolution", word(300)}, {"mode", text("灰度")}},
     {{"restore", ""}, {"resolution", word(300)}, {"mode", text("灰度")}}},
    {"WhateverTheNumber",
     [] {
         fakedriver_reset();
         fakedriver_add_device("fake:0", "Fake", "Moved", "sheetfed scanner");
         fakedriver_add_button("restore", "restore", "");
         fakedriver_add_int("contrast", "c", "", 4);
         fakedriver_add_int("resolution", "r", "", 200);
     },
     {{"resolution", word(300)}},
     {{"restore", ""}, {"resolution", word(300)}}},
    {"NoRestoreOption", [] { fakedriver_hide_descriptor(fakedriver_find("restore"), 1); },
     {{"contrast", word(6)}},
     {{"contrast", word(6)}}},
    {"OptionTheDeviceLacks", [] {},
     {{"no-such-option", word(1)}, {"contrast", word(6)}},
     {{"restore", ""}, {"contrast", word(6)}}},
    {"WrongLengths", [] { fakedriver_add_int_array("arr", "a", "", 3, 0, 9, kArray); },
     {{"contrast", std::string(2, '\1')}, {"file-prefix", word(0x41414141)}, {"arr", word(5)}},
     {{"restore", ""}, {"file-prefix", text("AAAA")}}},
    {"ArrayOfItsSize", [] { fakedriver_add_int_array("arr", "a", "", 3, 0, 9, kArray); },
     {{"arr", std::string(12, '\0')}},
     {{"restore", ""}, {"arr", std::string(12, '\0')}}},
    {"ShortToneRecordSentWhole", [] {},
     {{"is-custom-gamma", std::string(100, '\x7f'), true}},
     {{"restore", ""}, {"", tone(100)}}},
    {"LongToneRecordCut", [] {},
     {{"is-custom-gamma", std::string(2000, '\x7f'), true}},
     {{"restore", ""}, {"", tone(1312)}}},
};

class ApplyScheme : public ::testing::TestWithParam<apply_case>
{
};

TEST_P(ApplyScheme, WritesExactlyTheseValues)
{
    const apply_case& c = GetParam();
    fakedriver_device device;
    c.device();
    SANE_Handle handle = device.handle();
    if (!fakedriver_is_open())
        sane_fake_open("", &handle);
    fakedriver_log_clear();
    gb::sane_config_schm* scheme = scheme_of(c.scheme);
    _sane_api api = device.api();
    zy_settingdialog::apply_scheme(handle, &api, scheme);
    scheme->release();

    call_list expected;
    for (const auto& [name, bytes] : c.writes)
        expected.emplace_back(*name ? fakedriver_find(name) : SANE_PRIVATE_TONE_CURVE, bytes);
    EXPECT_EQ(sets(), expected);
}

INSTANTIATE_TEST_SUITE_P(Schemes, ApplyScheme, ::testing::ValuesIn(kApplyCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ApplyScheme, CropUnitComesFromItsDataEntry)
{
    fakedriver_device device;
    _sane_api api = device.api();
    for (int unit : {2, 1}) {
        gb::sane_config_schm* scheme = scheme_of({{"is-custom-area", word(unit), true}});
        zy_settingdialog::apply_scheme(device.handle(), &api, scheme);
        scheme->release();
        EXPECT_EQ(m_customCutAreaUnit.load(), unit);
    }
    m_customCutAreaUnit = 0;
}

TEST(ApplyScheme, TestBackendTakesMatchingValuesOnly)
{
    TestBackend backend;
    if (!backend.open())
        GTEST_SKIP() << "no SANE test backend";
    _sane_api api = backend.api();
    const SANE_Int array = find_option_by_name(api, backend.handle(), "int-constraint-array");
    const SANE_Option_Descriptor* d = api.sane_get_option_descriptor(backend.handle(), array);
    ASSERT_NE(d, nullptr);
    const std::size_t size = std::size_t(d->size);
    std::vector<char> before(size);
    api.sane_control_option(backend.handle(), array, SANE_ACTION_GET_VALUE, before.data(), nullptr);

    for (const bool whole : {false, true}) {
        std::string value(whole ? size : size - sizeof(SANE_Word), '\0');
        for (std::size_t i = 0; i < value.size(); i += sizeof(SANE_Word))
            std::memcpy(&value[i], word(7).data(), sizeof(SANE_Word));
        gb::sane_config_schm* scheme = scheme_of({{"mode", text("Color")},
                                                  {"resolution", word(150 << 16)},
                                                  {"int-constraint-array", value}});
        zy_settingdialog::apply_scheme(backend.handle(), &api, scheme);
        scheme->release();

        std::vector<char> now(size);
        api.sane_control_option(backend.handle(), array, SANE_ACTION_GET_VALUE, now.data(), nullptr);
        EXPECT_EQ(std::string(now.data(), size), whole ? value : std::string(before.data(), size));
        char mode[64] = {};
        api.sane_control_option(backend.handle(), find_option_by_name(api, backend.handle(), "mode"),
                                SANE_ACTION_GET_VALUE, mode, nullptr);
        EXPECT_STREQ(mode, "Color");
        SANE_Word resolution = 0;
        api.sane_control_option(backend.handle(),
                                find_option_by_name(api, backend.handle(), "resolution"),
                                SANE_ACTION_GET_VALUE, &resolution, nullptr);
        EXPECT_EQ(resolution, 150 << 16);
    }
}

// ---- apply_current_scheme --------------------------------------------------

TEST(ApplyCurrentScheme, ToneRecordOnlyWhenWhole)
{
    for (const std::size_t stored : {std::size_t(100), std::size_t(1312)}) {
        fakedriver_device device;
        SettingsHarness harness;
        gb::sane_config_schm* scheme = harness.cfg()->get_scheme(nullptr);
        const std::string record(stored, '\x11');
        scheme->set_value("is-custom-gamma", record.data(), record.size(), true);
        scheme->set_value("contrast", word(6).data(), 4);
        scheme->release();
        harness.open(device.api(), device.handle());
        fakedriver_log_clear();
        harness.dialog()->apply_current_scheme();

        EXPECT_EQ(fakedriver_log_count_of(fakedriver_find("contrast"), SANE_ACTION_SET_AUTO), 1);
        EXPECT_EQ(fakedriver_get_word(fakedriver_find("contrast")), 6);
        EXPECT_EQ(fakedriver_log_count_of(SANE_PRIVATE_TONE_CURVE, SANE_ACTION_SET_VALUE),
                  stored == 1312 ? 1 : 0)
            << stored;
        harness.closeDialog();
    }
}

// ---- the exports -----------------------------------------------------------

class Headless : public ::testing::Test
{
protected:
    Headless() { QDir().mkpath(QString::fromStdString(config_dir())); }
    ~Headless() override { QDir(QString::fromStdString(config_dir())).removeRecursively(); }

    std::string apply(const char* devName)
    {
        fakedriver_log_clear();
        return take(apply_current_config(devName, m_device.handle(), &m_api));
    }

    fakedriver_device m_device;
    _sane_api m_api = m_device.api();
};

// First of the exports' tests: before any configuration was loaded.
TEST_F(Headless, ContentBeforeAnyIsEmptyJson)
{
    EXPECT_EQ(take(get_config_content()), "{}");
    fakedriver_log_clear();
    EXPECT_EQ(apply_given_config("{}", m_device.handle(), &m_api), 0);
    EXPECT_EQ(sets(), (call_list{{fakedriver_find("restore"), ""}}));
}

struct naming_case
{
    const char* name;
    const char* device;
    SANE_Word pid; // 0: the driver has no product id
    const char* file;     // where the configuration is put, under the directory
    const char* expected; // the scheme applied
};

const naming_case kNamingCases[] = {
    {"ProductIdInHex", "ABC Scanner Model", 0x1a2b, "ABC 1a2b.cfg", "Office"},
    {"NoProductId", "FS-1000 Duplex", 0, "FS-1000 Duplex.cfg", "Office"},
    {"WordlessName", "FS1000", 0x7, "FS1000 7.cfg", "Office"},
    {"ParentDirectory", "../../outside", 0, "../../outside.cfg", "默认设置"},
    {"Slash", "a/b", 0, "a/b.cfg", "默认设置"},
    {"ControlCharacters", "a\x01\n/b", 0, "a\x01\n/b.cfg", "默认设置"},
};

class HeadlessNaming : public Headless, public ::testing::WithParamInterface<naming_case>
{
};

TEST_P(HeadlessNaming, FindsTheDeviceFileInsideTheDirectoryOnly)
{
    const naming_case& c = GetParam();
    if (c.pid)
        fakedriver_set_private_word(SANE_PRIVATE_PRODUCT_ID, c.pid);
    else
        fakedriver_remove_private(SANE_PRIVATE_PRODUCT_ID);
    const std::string path = config_dir() + c.file;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    veltest::writeFile(path, office_file());

    EXPECT_EQ(apply(c.device), c.expected);
    const call_list restore{{fakedriver_find("restore"), ""}};
    if (std::string(c.expected) == "Office")
        EXPECT_EQ(sets(), (call_list{restore[0], {fakedriver_find("contrast"), word(6)}}));
    else
        EXPECT_EQ(sets(), restore);
    std::filesystem::remove(path);
}

INSTANTIATE_TEST_SUITE_P(Names, HeadlessNaming, ::testing::ValuesIn(kNamingCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(Headless, HugeNameIsNoFile)
{
    fakedriver_remove_private(SANE_PRIVATE_PRODUCT_ID);
    EXPECT_EQ(apply(std::string(10000, 'n').c_str()), "默认设置");
    EXPECT_EQ(apply(nullptr), "默认设置");
}

TEST_F(Headless, GivenTextThatIsNoConfigurationRestoresDefaults)
{
    for (const char* content : {"", "%%% not base64 %%%", static_cast<const char*>(nullptr)}) {
        fakedriver_set_word(fakedriver_find("contrast"), 2);
        fakedriver_log_clear();
        EXPECT_EQ(apply_given_config(content, m_device.handle(), &m_api), 0);
        EXPECT_EQ(sets(), (call_list{{fakedriver_find("restore"), ""}}));
        EXPECT_EQ(fakedriver_get_word(fakedriver_find("contrast")), 4);
    }
}

TEST_F(Headless, ContentGivenBackAppliesTheSameScheme)
{
    veltest::writeFile(config_dir() + "FS-1000 1a2b.cfg", office_file());
    ASSERT_EQ(apply("FS-1000"), "Office");
    const call_list first = sets();
    const std::string content = take(get_config_content());
    fakedriver_restore_defaults();
    fakedriver_log_clear();
    EXPECT_EQ(apply_given_config(content.c_str(), m_device.handle(), &m_api), 0);
    EXPECT_EQ(sets(), first);
    EXPECT_EQ(fakedriver_get_word(fakedriver_find("contrast")), 6);
}

TEST_F(Headless, UnparsableFileRestoresAndIsKeptForDiagnosis)
{
    veltest::writeFile(config_dir() + "FS-1000 1a2b.cfg", "bm90IGpzb24=");
    EXPECT_EQ(apply("FS-1000"), "默认设置");
    EXPECT_EQ(sets(), (call_list{{fakedriver_find("restore"), ""}}));
    EXPECT_TRUE(QFile::exists(QString::fromStdString(config_dir() + "err_cfg.txt")));
}

// An old single file from before per-device files: the user's selected scheme
// is found again on the device that reports the model's product id.
TEST_F(Headless, OldSettingsAreFoundAgain)
{
    const char* old = R"({"中晶扫描仪—G7203":[{"cur_sel":1},)"
                      R"({"scheme":"Draft","opts":[{"name":"对比度","value":"2"}]},)"
                      R"({"scheme":"Office","opts":[{"name":"对比度","value":"6"},)"
                      R"({"name":"分辨率","value":"300"}]}]})";
    const std::string encoded = gb::base64().encode(old, std::strlen(old));
    veltest::writeFile(config_dir() + "scanner.schm", encoded);
    fakedriver_set_private_word(SANE_PRIVATE_PRODUCT_ID, 0x7203);

    EXPECT_EQ(apply("ZYTRASCAN Document Scanner"), "Office");
    EXPECT_EQ(fakedriver_get_word(fakedriver_find("contrast")), 6);
    EXPECT_EQ(fakedriver_get_word(fakedriver_find("resolution")), 300);
    EXPECT_TRUE(QFile::exists(QString::fromStdString(config_dir() + "scanner.schm_bk")));
    // Converted once: from now on the file goes by the product id.
    EXPECT_TRUE(QFile::exists(QString::fromStdString(config_dir() + "ZYTRASCAN 7203.cfg")));
    EXPECT_EQ(apply("ZYTRASCAN Document Scanner"), "Office");
}

} // namespace
