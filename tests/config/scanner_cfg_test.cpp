// gb::scanner_cfg: the file format, the scheme list and its selection, loading
// broken text, and gb::load_mini_file.
#include "config_test_support.h"

#include <QCoreApplication>
#include <QTranslator>

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

using cfgtest::Ref;
using Scheme = gb::sane_config_schm;
using Config = gb::scanner_cfg;
using Names = std::vector<std::string>;

namespace {

const std::string kDefaultName = "默认设置";
const std::string kDefaultKey = "E9BB98E8AEA4E8AEBEE7BDAE";
const std::string kEmptyText = R"({"global":{"ver":"4.52","cur":-1},")" + kDefaultKey + R"(":{}})";

Ref<Config> newConfig()
{
    return Ref<Config>(new Config);
}

Ref<Scheme> schemeWith(const char* option, const std::string& value)
{
    Ref<Scheme> s(new Scheme);
    s->set_value(option, value.data(), value.size());
    return s;
}

std::string valueOf(Config& cfg, const char* scheme, const char* option)
{
    Ref<Scheme> s(cfg.get_scheme(scheme));
    std::string value;
    if (s)
        s->get_config(option, value);
    return value;
}

// Three schemes, the second one selected; "mode" set in the default.
Ref<Config> sampleConfig()
{
    auto cfg = newConfig();
    const char* schemeNames[] = {"Office", "Photo/Scan", "\xff\xfe not utf-8"};
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(cfg->add_scheme(schemeWith("resolution", std::string(1, char('1' + i))).get(), schemeNames[i]));
    cfg->select_scheme("Photo/Scan");
    Ref<Scheme>(cfg->get_scheme(kDefaultName.c_str()))->set_value("mode", "G", 1);
    return cfg;
}

} // namespace

TEST(ScannerConfig, FreshConfigHasOnlyTheDefaultScheme)
{
    auto cfg = newConfig();
    EXPECT_EQ(cfg->to_text(false), kEmptyText);
    EXPECT_EQ(cfg->get_current_scheme_name(), kDefaultName);
    Ref<Scheme> current(cfg->get_scheme(nullptr));
    ASSERT_TRUE(current);
    EXPECT_EQ(current->get_scheme_name(), kDefaultName);
    EXPECT_EQ(Config::user_default_scheme_name(), kDefaultName);
    EXPECT_EQ(cfg->get_scheme("unknown"), nullptr);
}

TEST(ScannerConfig, AddRefusesReservedAndDuplicateNames)
{
    auto cfg = newConfig();
    auto s = schemeWith("a", "1");
    EXPECT_FALSE(cfg->add_scheme(s.get(), "global"));
    EXPECT_FALSE(cfg->add_scheme(s.get(), kDefaultName.c_str()));
    EXPECT_FALSE(cfg->add_scheme(s.get())); // no name at all
    EXPECT_FALSE(cfg->add_scheme(nullptr, "x"));
    s->set_scheme_name("Own");
    EXPECT_TRUE(cfg->add_scheme(s.get()));
    EXPECT_FALSE(cfg->add_scheme(schemeWith("b", "2").get(), "Own"));
    EXPECT_TRUE(cfg->add_scheme(schemeWith("b", "2").get(), "Other"));
    EXPECT_EQ(cfgtest::userSchemes(*cfg), (Names{"Own", "Other"}));
    // The list holds its own reference: the scheme outlives the caller's.
    EXPECT_EQ(valueOf(*cfg, "Other", "b"), "2");
}

TEST(ScannerConfig, SelectionFollowsNamesAndRemovals)
{
    auto cfg = sampleConfig();
    EXPECT_TRUE(cfg->select_scheme("Office"));
    EXPECT_EQ(valueOf(*cfg, nullptr, "resolution"), "1");
    EXPECT_EQ(valueOf(*cfg, "", "resolution"), "1");
    EXPECT_TRUE(cfg->select_scheme("nobody"));
    EXPECT_EQ(cfg->get_current_scheme_name(), kDefaultName);
    EXPECT_EQ(valueOf(*cfg, nullptr, "mode"), "G");
    cfg->select_scheme("Office");
    EXPECT_TRUE(cfg->select_scheme(nullptr));
    EXPECT_EQ(cfg->get_current_scheme_name(), kDefaultName);

    cfg->select_scheme("Photo/Scan");
    EXPECT_TRUE(cfg->remove_scheme("\xff\xfe not utf-8"));
    EXPECT_EQ(cfg->get_current_scheme_name(), "Photo/Scan");
    EXPECT_TRUE(cfg->remove_scheme("Office"));
    EXPECT_EQ(cfg->get_current_scheme_name(), "Photo/Scan");
    EXPECT_TRUE(cfg->remove_scheme("Photo/Scan"));
    EXPECT_EQ(cfg->get_current_scheme_name(), kDefaultName);
    EXPECT_FALSE(cfg->remove_scheme("Photo/Scan"));
    EXPECT_FALSE(cfg->remove_scheme(nullptr));
}

TEST(ScannerConfig, RoundTripKeepsNamesOrderSelectionAndValues)
{
    auto cfg = sampleConfig();
    const std::string text = cfg->to_text(true);
    auto back = newConfig();
    ASSERT_EQ(back->load_mem(text.c_str(), true), 0);
    EXPECT_EQ(cfgtest::userSchemes(*back), cfgtest::userSchemes(*cfg));
    EXPECT_EQ(back->get_current_scheme_name(), "Photo/Scan");
    EXPECT_EQ(valueOf(*back, "\xff\xfe not utf-8", "resolution"), "3");
    EXPECT_EQ(valueOf(*back, kDefaultName.c_str(), "mode"), "G");
    EXPECT_EQ(back->to_text(true), text);

    // The plain text is one object: global first, then the schemes keyed by
    // the hex text of their names, the default last.
    const std::string plain = cfg->to_text(false);
    EXPECT_EQ(plain.rfind(R"({"global":{"ver":"4.52","cur":1},"4F6666696365":{"resolution":"31"})", 0), 0u);
    EXPECT_EQ(gb::base64().decode(text.data(), text.size()), plain);
}

// Files as others may have left them load what makes sense.
TEST(ScannerConfig, OddFilesLoadWhatMakesSense)
{
    const struct {
        std::string text;
        Names names;
        std::string current;
        std::string startOfText;
    } rows[] = {
        // The default scheme in the file is not listed.
        {R"({"global":{"ver":"4.52","cur":0},"4D79":{"a":"01"},")" + kDefaultKey + R"(":{"b":"02"}})",
         {"My"}, "My", R"({"global":{"ver":"4.52","cur":0},"4D79":{"a":"01"},")" + kDefaultKey + R"(":{"b":"02"}})"},
        // Duplicate names and keys that are not hex text are skipped; members that
        // are not objects hold no scheme; a missing global is rebuilt on writing.
        {R"({"4D79":{"a":"01"},"4D79":{"a":"02"},"zz":{},"4E":5,"4F":"x"})", {"My"}, kDefaultName,
         R"({"global":{"ver":"4.52","cur":-1},"4D79":{"a":"01"})"},
        // A selection outside the list reads as the default and is repaired.
        {R"({"global":{"ver":"4.52","cur":7},"4D79":{}})", {"My"}, kDefaultName,
         R"({"global":{"ver":"4.52","cur":-1},)"},
    };
    for (const auto& row : rows) {
        auto cfg = newConfig();
        ASSERT_EQ(cfg->load_mem(row.text.c_str(), false), 0) << row.text;
        EXPECT_EQ(cfgtest::userSchemes(*cfg), row.names);
        EXPECT_EQ(cfg->get_current_scheme_name(), row.current);
        EXPECT_EQ(cfg->to_text(false).rfind(row.startOfText, 0), 0u) << cfg->to_text(false);
        EXPECT_EQ(Ref<Scheme>(cfg->get_scheme(kDefaultName.c_str()))->get_scheme_name(), kDefaultName);
    }
}

TEST(ScannerConfig, CopyAndRename)
{
    auto cfg = sampleConfig();
    Ref<Scheme> dup(cfg->copy_scheme("Office"));
    ASSERT_TRUE(dup);
    EXPECT_EQ(dup->get_scheme_name(), "");
    std::string value;
    EXPECT_TRUE(dup->get_config("resolution", value) && value == "1");
    Ref<Scheme> office(cfg->get_scheme("Office"));
    EXPECT_EQ(office->get_version(), "4.52"); // stamped by producing its text
    EXPECT_TRUE(dup->is_equal(office.get()));
    EXPECT_EQ(cfg->copy_scheme("nobody"), nullptr);
    EXPECT_EQ(cfg->copy_scheme(nullptr), nullptr);
    Ref<Scheme> defCopy(cfg->copy_scheme(kDefaultName.c_str()));
    ASSERT_TRUE(defCopy);
    EXPECT_TRUE(defCopy->get_config("mode", value));

    EXPECT_FALSE(cfg->rename_scheme("Office", "Photo/Scan"));
    EXPECT_FALSE(cfg->rename_scheme("nobody", "New"));
    EXPECT_TRUE(cfg->rename_scheme("Office", "Work"));
    EXPECT_EQ(office->get_scheme_name(), "Work");
    EXPECT_EQ(cfgtest::userSchemes(*cfg)[0], "Work");
    EXPECT_EQ(cfg->get_scheme("Office"), nullptr);
}

TEST(ScannerConfig, RemoveAllEmptiesTheDefaultAndHandedOutSchemesStayValid)
{
    auto cfg = sampleConfig();
    Ref<Scheme> kept(cfg->get_scheme("Office"));
    Ref<Scheme> photo(cfg->get_scheme("Photo/Scan"));
    cfg->remove_all_schemes();
    EXPECT_TRUE(cfgtest::userSchemes(*cfg).empty());
    EXPECT_EQ(valueOf(*cfg, kDefaultName.c_str(), "mode"), "");
    EXPECT_EQ(cfg->to_text(false), kEmptyText);
    cfg.reset();
    std::string value;
    EXPECT_TRUE(kept->get_config("resolution", value));
    EXPECT_TRUE(photo->get_config("resolution", value));
    EXPECT_EQ(value, "2");
}

TEST(ScannerConfig, FilesOnDisk)
{
    cfgtest::TempDir dir;
    const std::string path = dir.file("ABC 1a2b.cfg");
    {
        // Without a file of its own, saving writes nothing.
        const cfgtest::ScopedChdir inside(dir.path());
        EXPECT_EQ(sampleConfig()->save(), 0);
        EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
    }
    auto cfg = newConfig();
    EXPECT_EQ(cfg->load_file(path.c_str()), 0); // missing: empty configuration
    EXPECT_TRUE(cfgtest::userSchemes(*cfg).empty());
    ASSERT_TRUE(cfg->add_scheme(schemeWith("resolution", "x").get(), "A/B"));
    ASSERT_EQ(cfg->save(), 0);
    // One line of base64, no line breaks, and a scheme name is never a path.
    const std::string text = cfgtest::readFile(path);
    EXPECT_EQ(text, cfg->to_text(true));
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_EQ(veltest::entries(dir.path()), std::set<std::string>{"ABC 1a2b.cfg"});

    auto back = newConfig();
    EXPECT_EQ(back->load_file(path.c_str()), 0);
    EXPECT_EQ(cfgtest::userSchemes(*back), (Names{"A/B"}));
    EXPECT_EQ(back->save(dir.file("copy.cfg").c_str()), 0);
    EXPECT_EQ(cfgtest::readFile(dir.file("copy.cfg")), text);
    EXPECT_EQ(back->save(dir.file("no/such/dir.cfg").c_str()), ENOENT);
}

// Text that does not parse is refused with 22, keeps what was loaded, and leaves
// a copy of itself in err_cfg.txt beside the file (or in the working directory).
TEST(ScannerConfig, BrokenTextKeepsTheContentAndLeavesACopy)
{
    cfgtest::TempDir dir;
    const cfgtest::ScopedChdir inside(dir.path());
    const std::string broken = R"({"global":{"ver":"4.52")";
    std::string nested = R"({"4D79":)";
    for (int i = 0; i < 5000; ++i)
        nested += "{\"a\":";
    nested += "1" + std::string(5001, '}');
    const std::string bigValue = R"({"4D79":{"a":")" + std::string(20 * 1024 * 1024, '0') + "\"}";
    const struct {
        std::string text;
        bool inBase64;
        std::string copy; // what err_cfg.txt holds, unless empty
    } rows[] = {
        {cfgtest::base64Of(broken), true, broken},
        {"{}", true, std::string(1, '\0')}, // not base64: decodes to a zero byte
        {"[1,2]", false, "[1,2]"},
        {"{\"global\":" + std::string(5000, '[') + std::string(5000, ']') + "}", false, ""},
        {nested, false, ""},
        {std::string(20 * 1024 * 1024, 'Q'), true, ""},
        {bigValue, false, ""}, // truncated
        {"", true, ""},
    };
    auto cfg = sampleConfig();
    for (const auto& row : rows) {
        EXPECT_EQ(cfg->load_mem(row.text.c_str(), row.inBase64), 22) << row.text.substr(0, 40);
        if (!row.copy.empty()) {
            EXPECT_EQ(cfgtest::readFile(dir.file("err_cfg.txt")), row.copy);
        }
        EXPECT_EQ(cfgtest::userSchemes(*cfg).size(), 3u);
        EXPECT_EQ(cfg->get_current_scheme_name(), "Photo/Scan");
    }
    EXPECT_EQ(cfg->load_mem(nullptr, true), 22);

    // A loaded file moves the copy beside it; a broken file still loads with 0.
    const std::string path = dir.file("sub/dev.cfg");
    std::filesystem::create_directory(dir.file("sub"));
    ASSERT_EQ(cfg->save(path.c_str()), 0);
    ASSERT_EQ(cfg->load_file(path.c_str()), 0);
    EXPECT_EQ(cfg->load_mem("[3]", false), 22);
    EXPECT_EQ(cfgtest::readFile(dir.file("sub/err_cfg.txt")), "[3]");
    cfgtest::writeFile(path, "%%% not base64 %%%");
    EXPECT_EQ(cfg->load_file(path.c_str()), 0);
    EXPECT_EQ(cfgtest::userSchemes(*cfg).size(), 3u);

    // A large but sound file loads.
    ASSERT_EQ(cfg->load_mem((bigValue + "}").c_str(), false), 0);
    EXPECT_EQ(valueOf(*cfg, "My", "a").size(), 10u * 1024 * 1024);
}

TEST(ScannerConfigNames, DefaultDisplayNameIsTranslated)
{
    Names all;
    newConfig()->get_all_schemes(all);
    EXPECT_EQ(all, Names{"default_setting"}); // no catalogue installed

    const std::pair<const char*, const char*> rows[] = {
        {"TwainUI_zh_CN.qm", "默认设置"}, {"TwainUI_zh_TW.qm", "預設設定"}, {"TwainUI_zh_EN.qm", "Default setting"}};
    for (const auto& [catalogue, text] : rows) {
        QTranslator translator;
        ASSERT_TRUE(translator.load(QString(CONFIG_TESTS_QM_DIR "/") + catalogue)) << catalogue;
        ASSERT_TRUE(QCoreApplication::installTranslator(&translator));
        all.clear();
        sampleConfig()->get_all_schemes(all);
        QCoreApplication::removeTranslator(&translator);
        ASSERT_EQ(all.size(), 4u);
        EXPECT_EQ(all[0], text);
        EXPECT_EQ(all[1], "Office");
    }
}

TEST(MiniFile, ReadsWholeRegularFilesOnly)
{
    cfgtest::TempDir dir;
    const std::string path = dir.file("f.bin");
    const std::string content("a\0b\xff", 4);
    cfgtest::writeFile(path, content);
    std::string read = "old";
    EXPECT_EQ(gb::load_mini_file(path.c_str(), read), 0);
    EXPECT_EQ(read, content);

    // Over the cap: refused without reading (the file is sparse).
    const std::string huge = dir.file("huge.bin");
    cfgtest::writeFile(huge, "");
    ASSERT_EQ(truncate(huge.c_str(), 65 * 1024 * 1024), 0);
    ASSERT_EQ(mkfifo(dir.file("fifo").c_str(), 0600), 0);
    read = "old";
    EXPECT_EQ(gb::load_mini_file(dir.file("absent").c_str(), read), ENOENT);
    EXPECT_EQ(gb::load_mini_file(dir.path().c_str(), read), EISDIR);
    EXPECT_EQ(gb::load_mini_file(huge.c_str(), read), EFBIG);
    EXPECT_NE(gb::load_mini_file("/dev/zero", read), 0);
    EXPECT_NE(gb::load_mini_file(dir.file("fifo").c_str(), read), 0);
    EXPECT_NE(gb::load_mini_file(nullptr, read), 0);
    EXPECT_EQ(read, "old");
}
