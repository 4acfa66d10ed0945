// gb::scanner_cfg: the file format, the scheme list and its selection, loading
// broken text, and gb::load_mini_file.
#include "config_test_support.h"

#include <QCoreApplication>
#include <QTranslator>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

using cfgtest::Ref;
using Scheme = gb::sane_config_schm;
using Config = gb::scanner_cfg;

namespace {

const std::string kDefaultName = "默认设置";
const std::string kDefaultKey = "E9BB98E8AEA4E8AEBEE7BDAE";

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

std::vector<std::string> names(const Config& cfg)
{
    std::vector<std::string> all;
    cfg.get_all_schemes(all);
    all.erase(all.begin()); // the translated default
    return all;
}

std::string valueOf(Config& cfg, const char* scheme, const char* option)
{
    Ref<Scheme> s(cfg.get_scheme(scheme));
    std::string value;
    if (s)
        s->get_config(option, value);
    return value;
}

// Three schemes, the second one selected.
Ref<Config> sampleConfig()
{
    auto cfg = newConfig();
    const char* schemeNames[] = {"Office", "Photo/Scan", "\xff\xfe not utf-8"};
    for (int i = 0; i < 3; ++i) {
        auto s = schemeWith("resolution", std::string(1, char('1' + i)));
        EXPECT_TRUE(cfg->add_scheme(s.get(), schemeNames[i]));
    }
    cfg->select_scheme("Photo/Scan");
    Ref<Scheme> def(cfg->get_scheme(kDefaultName.c_str()));
    def->set_value("mode", "G", 1);
    return cfg;
}

} // namespace

TEST(ScannerConfig, FreshConfigHasOnlyTheDefaultScheme)
{
    auto cfg = newConfig();
    EXPECT_EQ(cfg->to_text(false),
              R"({"global":{"ver":"4.52","cur":-1},")" + kDefaultKey + R"(":{}})");
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
    EXPECT_EQ(names(*cfg), (std::vector<std::string>{"Own", "Other"}));

    // The list holds its own reference: the scheme outlives the caller's.
    EXPECT_EQ(valueOf(*cfg, "Other", "b"), "2");
}

TEST(ScannerConfig, RemovingMovesTheSelection)
{
    auto cfg = sampleConfig();
    EXPECT_EQ(cfg->get_current_scheme_name(), "Photo/Scan");
    EXPECT_TRUE(cfg->remove_scheme("Office"));
    EXPECT_EQ(cfg->get_current_scheme_name(), "Photo/Scan");
    EXPECT_TRUE(cfg->remove_scheme("Photo/Scan"));
    EXPECT_EQ(cfg->get_current_scheme_name(), kDefaultName);
    EXPECT_FALSE(cfg->remove_scheme("Photo/Scan"));
    EXPECT_FALSE(cfg->remove_scheme(nullptr));

    auto later = sampleConfig();
    EXPECT_TRUE(later->remove_scheme("\xff\xfe not utf-8"));
    EXPECT_EQ(later->get_current_scheme_name(), "Photo/Scan");
}

TEST(ScannerConfig, SelectionByName)
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
}

TEST(ScannerConfig, RoundTripKeepsNamesOrderSelectionAndValues)
{
    auto cfg = sampleConfig();
    const std::string text = cfg->to_text(true);
    auto back = newConfig();
    ASSERT_EQ(back->load_mem(text.c_str(), true), 0);
    EXPECT_EQ(names(*back), names(*cfg));
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

TEST(ScannerConfig, DefaultSchemeInTheFileIsNotListed)
{
    const std::string text = R"({"global":{"ver":"4.52","cur":0},"4D79":{"a":"01"},")" + kDefaultKey
        + R"(":{"b":"02"}})";
    auto cfg = newConfig();
    ASSERT_EQ(cfg->load_mem(text.c_str(), false), 0);
    EXPECT_EQ(names(*cfg), (std::vector<std::string>{"My"}));
    EXPECT_EQ(cfg->get_current_scheme_name(), "My");
    EXPECT_EQ(valueOf(*cfg, kDefaultName.c_str(), "b"), "\x02");
    Ref<Scheme> def(cfg->get_scheme(kDefaultName.c_str()));
    EXPECT_EQ(def->get_scheme_name(), kDefaultName);
}

TEST(ScannerConfig, OddFilesLoadWhatMakesSense)
{
    // Duplicate names and keys that are not hex text are skipped; members that
    // are not objects hold no scheme; a missing global is rebuilt on writing.
    const std::string text = R"({"4D79":{"a":"01"},"4D79":{"a":"02"},"zz":{},"4E":5,"4F":"x"})";
    auto cfg = newConfig();
    ASSERT_EQ(cfg->load_mem(text.c_str(), false), 0);
    EXPECT_EQ(names(*cfg), (std::vector<std::string>{"My"}));
    EXPECT_EQ(valueOf(*cfg, "My", "a"), "\x01");
    EXPECT_EQ(cfg->to_text(false).rfind(R"({"global":{"ver":"4.52","cur":-1},)", 0), 0u);

    // A selection outside the list reads as the default and is repaired.
    auto far = newConfig();
    ASSERT_EQ(far->load_mem(R"({"global":{"ver":"4.52","cur":7},"4D79":{}})", false), 0);
    EXPECT_EQ(far->get_current_scheme_name(), kDefaultName);
    EXPECT_NE(far->to_text(false).find(R"("cur":-1)"), std::string::npos);
}

TEST(ScannerConfig, CopyAndRename)
{
    auto cfg = sampleConfig();
    Ref<Scheme> dup(cfg->copy_scheme("Office"));
    ASSERT_TRUE(dup);
    EXPECT_EQ(dup->get_scheme_name(), "");
    std::string value;
    EXPECT_TRUE(dup->get_config("resolution", value));
    EXPECT_EQ(value, "1");
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
    EXPECT_EQ(names(*cfg)[0], "Work");
    EXPECT_EQ(cfg->get_scheme("Office"), nullptr);
}

TEST(ScannerConfig, RemoveAllEmptiesTheDefaultToo)
{
    auto cfg = sampleConfig();
    Ref<Scheme> kept(cfg->get_scheme("Office"));
    cfg->remove_all_schemes();
    EXPECT_TRUE(names(*cfg).empty());
    EXPECT_EQ(valueOf(*cfg, kDefaultName.c_str(), "mode"), "");
    EXPECT_EQ(cfg->to_text(false),
              R"({"global":{"ver":"4.52","cur":-1},")" + kDefaultKey + R"(":{}})");
    // Schemes handed out stay valid after the list let go of them.
    std::string value;
    EXPECT_TRUE(kept->get_config("resolution", value));
}

TEST(ScannerConfig, SchemesOutliveTheirFile)
{
    auto cfg = sampleConfig();
    Ref<Scheme> s(cfg->get_scheme("Office"));
    cfg.reset();
    std::string value;
    EXPECT_TRUE(s->get_config("resolution", value));
    EXPECT_EQ(value, "1");
}

TEST(ScannerConfig, FilesOnDisk)
{
    cfgtest::TempDir dir;
    const std::string path = dir.file("ABC 1a2b.cfg");
    auto cfg = newConfig();
    EXPECT_EQ(cfg->load_file(path.c_str()), 0); // missing: empty configuration
    EXPECT_TRUE(names(*cfg).empty());
    auto s = schemeWith("resolution", "x");
    ASSERT_TRUE(cfg->add_scheme(s.get(), "A/B"));
    ASSERT_EQ(cfg->save(), 0);
    ASSERT_TRUE(cfgtest::exists(path));
    // One line of base64, no line breaks.
    const std::string text = cfgtest::readFile(path);
    EXPECT_EQ(text, cfg->to_text(true));
    EXPECT_EQ(text.find('\n'), std::string::npos);
    // A scheme name is never a path.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()),
                            std::filesystem::directory_iterator()), 1);

    auto back = newConfig();
    EXPECT_EQ(back->load_file(path.c_str()), 0);
    EXPECT_EQ(names(*back), (std::vector<std::string>{"A/B"}));
    EXPECT_EQ(back->save(dir.file("copy.cfg").c_str()), 0);
    EXPECT_EQ(cfgtest::readFile(dir.file("copy.cfg")), text);
    EXPECT_EQ(back->save(dir.file("no/such/dir.cfg").c_str()), ENOENT);
}

TEST(ScannerConfig, SaveWithoutAFileDoesNothing)
{
    cfgtest::TempDir dir;
    const cfgtest::ScopedChdir inside(dir.path());
    auto cfg = sampleConfig();
    EXPECT_EQ(cfg->save(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

TEST(ScannerConfig, BrokenTextKeepsTheContentAndLeavesACopy)
{
    cfgtest::TempDir dir;
    const std::string path = dir.file("dev.cfg");
    auto cfg = sampleConfig();
    ASSERT_EQ(cfg->save(path.c_str()), 0);
    ASSERT_EQ(cfg->load_file(path.c_str()), 0);

    const std::string broken = R"({"global":{"ver":"4.52")";
    const std::string encoded = gb::base64().encode(broken.data(), broken.size());
    EXPECT_EQ(cfg->load_mem(encoded.c_str(), true), 22);
    EXPECT_EQ(cfgtest::readFile(dir.file("err_cfg.txt")), broken);
    EXPECT_EQ(names(*cfg).size(), 3u);
    EXPECT_EQ(cfg->get_current_scheme_name(), "Photo/Scan");

    // A broken file on disk: load_file still answers 0.
    cfgtest::writeFile(path, "%%% not base64 %%%");
    EXPECT_EQ(cfg->load_file(path.c_str()), 0);
    EXPECT_EQ(names(*cfg).size(), 3u);
}

TEST(ScannerConfig, BrokenTextWithoutADirectoryLandsInTheWorkingDirectory)
{
    cfgtest::TempDir dir;
    const cfgtest::ScopedChdir inside(dir.path());
    auto cfg = newConfig();
    EXPECT_EQ(cfg->load_mem("{}", true), 22); // not base64: decodes to a zero byte
    EXPECT_EQ(cfgtest::readFile(dir.file("err_cfg.txt")), std::string(1, '\0'));
    EXPECT_EQ(cfg->load_mem("[1,2]", false), 22);
    EXPECT_EQ(cfgtest::readFile(dir.file("err_cfg.txt")), "[1,2]");
}

TEST(ScannerConfig, HostileTextIsRefusedCleanly)
{
    cfgtest::TempDir dir;
    const cfgtest::ScopedChdir inside(dir.path());
    auto cfg = sampleConfig();

    const std::string deep = "{\"global\":" + std::string(5000, '[') + std::string(5000, ']') + "}";
    EXPECT_EQ(cfg->load_mem(deep.c_str(), false), 22);
    std::string nested = R"({"4D79":)";
    for (int i = 0; i < 5000; ++i)
        nested += "{\"a\":";
    nested += "1" + std::string(5001, '}');
    EXPECT_EQ(cfg->load_mem(nested.c_str(), false), 22);

    std::string big(20 * 1024 * 1024, 'Q');
    EXPECT_EQ(cfg->load_mem(big.c_str(), true), 22);
    big = R"({"4D79":{"a":")" + std::string(20 * 1024 * 1024, '0') + "\"}";
    EXPECT_EQ(cfg->load_mem(big.c_str(), false), 22); // truncated
    EXPECT_EQ(cfg->load_mem("", true), 22);
    EXPECT_EQ(cfg->load_mem(nullptr, true), 22);
    EXPECT_EQ(names(*cfg).size(), 3u);

    // A large but sound file loads.
    big += "}";
    ASSERT_EQ(cfg->load_mem(big.c_str(), false), 0);
    EXPECT_EQ(valueOf(*cfg, "My", "a").size(), 10u * 1024 * 1024);
}

TEST(ScannerConfig, ManySchemesRoundTrip)
{
    auto cfg = newConfig();
    for (int i = 0; i < 3000; ++i) {
        Ref<Scheme> s(new Scheme);
        for (int o = 0; o < 20; ++o) {
            const std::string option = "opt" + std::to_string(o);
            const int32_t value = i * 100 + o;
            s->set_value(option.c_str(), reinterpret_cast<const char*>(&value), sizeof(value));
        }
        ASSERT_TRUE(cfg->add_scheme(s.get(), ("scheme " + std::to_string(i)).c_str()));
    }
    cfg->select_scheme("scheme 2999");
    const std::string text = cfg->to_text();
    auto back = newConfig();
    ASSERT_EQ(back->load_mem(text.c_str()), 0);
    EXPECT_EQ(names(*back).size(), 3000u);
    EXPECT_EQ(back->get_current_scheme_name(), "scheme 2999");
    const int32_t expected = 1234 * 100 + 7;
    EXPECT_EQ(valueOf(*back, "scheme 1234", "opt7"),
              std::string(reinterpret_cast<const char*>(&expected), sizeof(expected)));
    EXPECT_EQ(back->to_text(), text);
}

TEST(ScannerConfigNames, DefaultDisplayNameIsTranslated)
{
    std::vector<std::string> all;
    newConfig()->get_all_schemes(all);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0], "default_setting"); // no catalogue installed

    const struct
    {
        const char* catalogue;
        const char* text;
    } cases[] = {
        {"TwainUI_zh_CN.qm", "默认设置"},
        {"TwainUI_zh_TW.qm", "預設設定"},
        {"TwainUI_zh_EN.qm", "Default setting"},
    };
    for (const auto& c : cases) {
        QTranslator translator;
        ASSERT_TRUE(translator.load(QString(CONFIG_TESTS_QM_DIR "/") + c.catalogue)) << c.catalogue;
        ASSERT_TRUE(QCoreApplication::installTranslator(&translator));
        all.clear();
        sampleConfig()->get_all_schemes(all);
        QCoreApplication::removeTranslator(&translator);
        ASSERT_EQ(all.size(), 4u);
        EXPECT_EQ(all[0], c.text);
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

    read = "old";
    EXPECT_EQ(gb::load_mini_file(dir.file("absent").c_str(), read), ENOENT);
    EXPECT_EQ(gb::load_mini_file(dir.path().c_str(), read), EISDIR);
    EXPECT_NE(gb::load_mini_file("/dev/zero", read), 0);
    EXPECT_NE(gb::load_mini_file(nullptr, read), 0);
    EXPECT_EQ(read, "old");

    // Over the cap: refused without reading (the file is sparse).
    const std::string huge = dir.file("huge.bin");
    cfgtest::writeFile(huge, "");
    ASSERT_EQ(truncate(huge.c_str(), 65 * 1024 * 1024), 0);
    EXPECT_EQ(gb::load_mini_file(huge.c_str(), read), EFBIG);

    const std::string fifo = dir.file("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_NE(gb::load_mini_file(fifo.c_str(), read), 0);
}
