// The one-time conversion of the old single configuration file into one file
// per device, on old files written here in both of their forms.
#include "config_test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

using cfgtest::Ref;
using Config = gb::scanner_cfg;
using Scheme = gb::sane_config_schm;
using cfgtest::allConfigs;
using cfgtest::base64Of;
using cfgtest::word;

namespace {

struct OldOption
{
    std::string title;
    std::string value;
    std::string extra;
};

struct OldScheme
{
    std::string name;
    std::vector<OldOption> options;
    bool withOpts = true;
};

// Older releases kept records either nested or as JSON text inside strings.
enum class Form { Nested, Text };

cJSON* inForm(cJSON* node, Form form)
{
    if (form == Form::Nested)
        return node;
    char* text = cJSON_PrintUnformatted(node);
    cJSON* str = cJSON_CreateString(text);
    cJSON_free(text);
    cJSON_Delete(node);
    return str;
}

cJSON* optionRecord(const OldOption& o, Form form)
{
    cJSON* node = cJSON_CreateObject();
    cJSON_AddStringToObject(node, "name", o.title.c_str());
    cJSON_AddStringToObject(node, "value", o.value.c_str());
    if (!o.extra.empty())
        cJSON_AddStringToObject(node, "extra", o.extra.c_str());
    return inForm(node, form);
}

cJSON* deviceRecord(cJSON* head, const std::vector<OldScheme>& schemes, Form form)
{
    cJSON* list = cJSON_CreateArray();
    cJSON_AddItemToArray(list, inForm(head, form));
    for (const OldScheme& s : schemes) {
        cJSON* record = cJSON_CreateObject();
        cJSON_AddStringToObject(record, "scheme", s.name.c_str());
        if (s.withOpts) {
            cJSON* opts = cJSON_AddArrayToObject(record, "opts");
            for (const OldOption& o : s.options)
                cJSON_AddItemToArray(opts, optionRecord(o, form));
        }
        cJSON_AddItemToArray(list, inForm(record, form));
    }
    return inForm(list, form);
}

cJSON* deviceRecord(int curSel, const std::vector<OldScheme>& schemes, Form form)
{
    cJSON* head = cJSON_CreateObject();
    cJSON_AddNumberToObject(head, "cur_sel", curSel);
    return deviceRecord(head, schemes, form);
}

// Takes the records over.
void writeOldFile(const std::string& path, const std::vector<std::pair<std::string, cJSON*>>& devices)
{
    cJSON* root = cJSON_CreateObject();
    for (const auto& [title, record] : devices)
        cJSON_AddItemToObject(root, title.c_str(), record);
    char* text = cJSON_PrintUnformatted(root);
    cfgtest::writeFile(path, base64Of(text));
    cJSON_free(text);
    cJSON_Delete(root);
}

const char* titleToName(const char* title, void* param)
{
    ++*static_cast<int*>(param);
    static const std::map<std::string, std::string> names = {
        {"分辨率", "resolution"}, {"颜色模式", "mode"}, {"Gamma", "gamma"}};
    const auto it = names.find(title);
    return it == names.end() ? nullptr : it->second.c_str();
}

// Old files kept numbers as decimal text; the option wants the 32-bit word.
void transNumber(const char* name, std::string& value, void*)
{
    if (std::string(name) != "resolution")
        return;
    const int32_t number = std::atoi(value.c_str());
    value.assign(reinterpret_cast<const char*>(&number), sizeof(number));
}

class Converter : public ::testing::Test
{
protected:
    int convert()
    {
        Config::_update_func func{transNumber, titleToName, &m_titleCalls};
        return Config::update(m_old.c_str(), &func);
    }

    Ref<Config> converted(const std::string& device)
    {
        const std::string path = m_dir.file(device + ".cfg");
        EXPECT_TRUE(std::filesystem::exists(path)) << device;
        Ref<Config> cfg(new Config);
        cfg->load_file(path.c_str());
        return cfg;
    }

    std::map<std::string, std::string> values(Config& cfg, const char* scheme)
    {
        Ref<Scheme> s(cfg.get_scheme(scheme));
        return s ? allConfigs(*s) : std::map<std::string, std::string>();
    }

    size_t fileCount() const { return veltest::entries(m_dir.path()).size(); }

    cfgtest::TempDir m_dir;
    std::string m_old = m_dir.file("scanner.schm");
    int m_titleCalls = 0;
};

} // namespace

TEST(ModelLookup, TablesAndComposedNames)
{
    EXPECT_EQ(updater::zy_model_from_pid("7203"), "G72S");
    EXPECT_EQ(updater::zy_model_from_pid("7999"), "G7 - 7999");
    EXPECT_EQ(updater::kr_model_from_pid("6105"), "K61D");
    EXPECT_EQ(updater::kr_model_from_pid("6999"), "K6 - 6999");
    const char* velRows[][2] = {
        {"8110", "V81D"}, {"8120", "V81S"}, {"8210", "V82D"}, {"8220", "V82S"}, {"9100", "V91"}};
    for (const auto& row : velRows)
        EXPECT_EQ(updater::vel_model_from_pid(row[0]), row[1]);
    EXPECT_EQ(updater::vel_model_from_pid("5"), "V5 - 5");
    EXPECT_EQ(updater::vel_model_from_pid(""), "V - ");
    EXPECT_EQ(updater::zy_model_from_pid(nullptr), "G - ");
}

TEST_F(Converter, ConvertsBothFormsOfOldRecords)
{
    const std::string gamma("\x00\x01\xfe\xff", 4);
    cfgtest::writeFile(m_dir.file("gamma.bin"), gamma);
    writeOldFile(m_old, {
        {"中晶扫描仪—G7203",
         deviceRecord(1,
                      {{"Office", {{"分辨率", "300", ""}}},
                       {"Photo", {{"分辨率", "600", ""}, {"Gamma", "g", m_dir.file("gamma.bin")}}}},
                      Form::Nested)},
        {"科林扫描仪—G6999", deviceRecord(0, {{"Text", {{"颜色模式", "Gray", ""}}}}, Form::Text)},
        {"威马扫描仪—G8120",
         deviceRecord(-1, {{"Mixed", {{"分辨率", "150", ""}, {"Unknown", "1", ""}}}}, Form::Text)},
        {"Custom Scanner X", deviceRecord(0, {{"Only", {{"颜色模式", "Color", ""}}}}, Form::Nested)},
        // A scheme record without options ends the list.
        {"Plain", deviceRecord(2, {{"A", {{"分辨率", "100", ""}}}, {"B", {}, false}, {"C", {}}}, Form::Text)},
        // Titles never leave the directory.
        {"../escape/up", deviceRecord(0, {{"A", {}}}, Form::Nested)},
        {"中晶 without marker", deviceRecord(0, {{"B", {}}}, Form::Nested)},
    });
    const std::string original = cfgtest::readFile(m_old);

    ASSERT_EQ(convert(), 0);
    EXPECT_EQ(m_titleCalls, 8);
    EXPECT_EQ(veltest::entries(m_dir.path()),
              (std::set<std::string>{"gamma.bin", "scanner.schm_bk", "ZYTRASCAN G72S.cfg", "Korrin K6 - 6999.cfg",
                                     "VELMARSCAN V81S.cfg", "Custom Scanner X.cfg", "Plain.cfg",
                                     ".._escape_up.cfg", "中晶 without marker.cfg"}));

    auto zy = converted("ZYTRASCAN G72S");
    EXPECT_EQ(cfgtest::userSchemes(*zy), (std::vector<std::string>{"Office", "Photo"}));
    EXPECT_EQ(zy->get_current_scheme_name(), "Photo");
    EXPECT_EQ(values(*zy, "Office"), (std::map<std::string, std::string>{{"resolution", word(300)}}));
    EXPECT_EQ(values(*zy, "Photo"), (std::map<std::string, std::string>{
                                        {"resolution", word(600)}, {"gamma", "g"}, {"gamma_data", gamma}}));

    auto kr = converted("Korrin K6 - 6999");
    EXPECT_EQ(kr->get_current_scheme_name(), "Text");
    EXPECT_EQ(values(*kr, "Text"), (std::map<std::string, std::string>{{"mode", "Gray"}}));

    auto vel = converted("VELMARSCAN V81S");
    EXPECT_EQ(vel->get_current_scheme_name(), Config::user_default_scheme_name());
    EXPECT_EQ(values(*vel, "Mixed"), (std::map<std::string, std::string>{{"resolution", word(150)}}));

    EXPECT_EQ(converted("Custom Scanner X")->get_current_scheme_name(), "Only");
    auto plain = converted("Plain");
    EXPECT_EQ(cfgtest::userSchemes(*plain), (std::vector<std::string>{"A"}));
    EXPECT_EQ(plain->get_current_scheme_name(), Config::user_default_scheme_name());

    // The old file is kept aside, and the conversion does not run again.
    EXPECT_FALSE(std::filesystem::exists(m_old));
    EXPECT_EQ(cfgtest::readFile(m_old + "_bk"), original);
    EXPECT_EQ(convert(), ENOENT);
}

// Old files not in the expected form stop the conversion with nothing written.
TEST_F(Converter, MalformedOldFilesStopWithNothingWritten)
{
    std::vector<std::string> texts = {"@@@@", base64Of("not json"), base64Of("[1,2]"),
                                      base64Of(std::string(5000, '{'))};
    const auto add = [&](const std::vector<std::pair<std::string, cJSON*>>& devices) {
        writeOldFile(m_old, devices);
        texts.push_back(veltest::readFile(m_old));
    };
    for (Form form : {Form::Nested, Form::Text}) {
        cJSON* head = cJSON_CreateObject(); // no selection
        cJSON_AddStringToObject(head, "other", "x");
        add({{"Good", deviceRecord(0, {{"A", {}}}, form)}, {"Bad", deviceRecord(head, {{"B", {}}}, form)}});
    }
    cJSON* list = cJSON_CreateArray();
    cJSON_AddItemToArray(list, cJSON_CreateString(R"({"cur_sel":0})"));
    cJSON_AddItemToArray(list, cJSON_CreateString(R"({"scheme":"A","opts":[)"));
    add({{"Broken", list}});
    add({{"Empty", cJSON_CreateArray()}});
    add({{"NotJson", cJSON_CreateString("[[[")}});

    for (const std::string& text : texts) {
        cfgtest::writeFile(m_old, text);
        EXPECT_EQ(convert(), 22) << text.substr(0, 20);
        EXPECT_TRUE(std::filesystem::exists(m_old));
        EXPECT_EQ(fileCount(), 1u);
    }
}
