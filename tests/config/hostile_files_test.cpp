// Files in the user's configuration directory are input like any other: each
// row puts one hostile file in place, runs one operation through the public
// functions and compares what comes out. Every row gets a home of its own.
#include "app_cfg.h"
#include "ZyUIGlobal.h"
#include "config_test_support.h"
#include "temp_home.h"

#include <ZyBase.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using cfgtest::base64Of;
using cfgtest::readFile;
using cfgtest::Ref;

namespace {

// A home of the row's own: config.ini lives in its configuration directory,
// default.ini, the device files and scanner.schm in Cfg/.
class RowHome : public veltest::TempHome
{
public:
    RowHome() { fs::create_directories(configDir() + "Cfg"); }
};

std::string schemeNames(const char* file)
{
    Ref<gb::scanner_cfg> cfg(new gb::scanner_cfg);
    cfg->load_file(file);
    std::string all;
    for (const std::string& name : cfgtest::userSchemes(*cfg))
        all += name + ";";
    return all;
}

const char* sameTitle(const char* title, void*)
{
    return title;
}

struct HostileFile
{
    const char* what;
    const char* file; // under the configuration directory
    std::string content;
    std::function<std::string(const std::string& path)> operation;
    std::string expected;
};

const std::string kLongCurve(3000, 'C');
const std::string kPadding = "; " + std::string(5000, '-') + "\n";

const std::vector<HostileFile> kHostileFiles = {
    {"typed data stays text", "Cfg/default.ini",
     "[default]\nk=@Variant(\\0\\0\\0\\v\\x7f\\xff\\xff\\xff)\n",
     [](const std::string&) {
         saveDefaultCfgValue("default", "other", 1);
         return getDefaultCfgValue("default", "k", QString()).toStdString() + "|" +
             std::to_string(getDefaultCfgValue("default", "other", 0));
     },
     "@Variant(\v\x7f\xc3\xbf\xc3\xbf\xc3\xbf)|1"},
    {"a line without = is kept", "config.ini", "[ui]\nnot a pair\nk=old\n",
     [](const std::string& path) {
         saveCfgValue("ui", "k", QString("new"));
         return getCfgValue("ui", "k", QString()).toStdString() + "|" + readFile(path);
     },
     "new|[ui]\nnot a pair\nk=new\n"},
    {"a symlink is replaced, its target kept", "target.ini", "[ui]\nk=old\n",
     [](const std::string& path) {
         const std::string link = fs::path(path).parent_path().string() + "/config.ini";
         fs::create_symlink(path, link);
         saveCfgValue("ui", "k", QString("new"));
         return readFile(path) + "|" + std::to_string(fs::is_symlink(link)) + "|" +
             getCfgValue("ui", "k", QString()).toStdString();
     },
     "[ui]\nk=old\n|0|new"},
    {"every spelling of general is its own section", "config.ini", "[General]\nk=top\n",
     [](const std::string& path) {
         saveCfgValue("general", "k", QString("lower"));
         saveCfgValue("GENERAL", "k", QString("upper"));
         return getCfgValue("General", "k", QString()).toStdString() + "," +
             getCfgValue("general", "k", QString()).toStdString() + "," +
             getCfgValue("GENERAL", "k", QString()).toStdString() + "|" + readFile(path);
     },
     "top,lower,upper|[General]\nk=top\n\n[%general]\nk=lower\n\n[%GENERAL]\nk=upper\n"},
    {"a failed write leaves the file and what is read", "config.ini", kPadding + "[ui]\nk=old\n",
     [](const std::string& path) {
         veltest::withFileSizeLimit(4096, [] { saveCfgValue("ui", "k", QString("new")); });
         return getCfgValue("ui", "k", QString()).toStdString() + "|" +
             std::to_string(readFile(path) == kPadding + "[ui]\nk=old\n");
     },
     "old|1"},
    {"long values read whole", "config.ini", "[ui]\ncurves=" + kLongCurve + "\n",
     [](const std::string&) {
         saveCfgValue("ui", "name", QString(600, 'n'));
         saveDefaultCfgValue("default", "curves", QString(2100, 'd'));
         return std::to_string(getCfgValue("ui", "curves", QString()).size()) + "," +
             std::to_string(getCfgValue("ui", "name", QString()).size()) + "," +
             std::to_string(getDefaultCfgValue("default", "curves", QString()).size());
     },
     "3000,600,2100"},
    {"colliding device names get files of their own", "Cfg/scanner.schm",
     base64Of(R"({"a/b":[{"cur_sel":0},{"scheme":"First","opts":[]}],)"
              R"("a_b":[{"cur_sel":0},{"scheme":"Second","opts":[]}]})"),
     [](const std::string& path) {
         gb::scanner_cfg::_update_func func{nullptr, sameTitle, nullptr};
         const int rc = gb::scanner_cfg::update(path.c_str(), &func);
         const std::string dir = fs::path(path).parent_path().string() + "/";
         return std::to_string(rc) + "|" + schemeNames((dir + "a_b.cfg").c_str()) +
             schemeNames((dir + "a_b_2.cfg").c_str()) + "|" + std::to_string(fs::exists(path + "_bk"));
     },
     "0|First;Second;|1"},
    {"scheme names with NUL or controls are refused", "Cfg/dev.cfg",
     base64Of(R"({"global":{"cur":0},"00":{},"0041":{},"411F":{},"C285":{},"4F6B":{}})"),
     [](const std::string& path) { return schemeNames(path.c_str()); }, "Ok;"},
    {"a repeated option does not come back after a reset", "Cfg/dev.cfg",
     base64Of(R"({"global":{"cur":0},"53":{"opt":"01","opt":"02"}})"),
     [](const std::string& path) {
         Ref<gb::scanner_cfg> cfg(new gb::scanner_cfg);
         cfg->load_file(path.c_str());
         Ref<gb::sane_config_schm> schm(cfg->get_scheme("S"));
         schm->set_default_value(1, "opt", "\x07", 1);
         schm->config_changed("opt", "\x07", 1);
         std::string value;
         schm->get_config("opt", value);
         return gb::sane_config_schm::to_hex_letter(value.data(), value.size());
     },
     "07"},
    {"update reports only keys it removed", "Cfg/old.schm", base64Of(R"({"6F7074":"01","782F79":"02"})"),
     [](const std::string& path) {
         Ref<gb::sane_config_schm> schm(new gb::sane_config_schm);
         schm->load_from_file(path.c_str());
         schm->set_default_value(1, "opt", "", 0);
         std::string discarded;
         schm->update(nullptr, nullptr, [](const char* title) { return title; }, &discarded);
         std::string kept;
         for (const auto& member : cfgtest::allConfigs(*schm))
             kept += member.first + ",";
         return discarded + "|" + kept;
     },
     "x/y\r\n|opt,ver,"},
};

} // namespace

TEST(HostileFiles, NothingBreaksAndEachReadsAsItShould)
{
    for (const HostileFile& row : kHostileFiles) {
        RowHome home;
        const std::string path = home.configDir() + row.file;
        cfgtest::writeFile(path, row.content);
        EXPECT_EQ(row.operation(path), row.expected) << row.what;
    }
}

TEST(HostileFiles, AtomicWritesFitEveryLegalName)
{
    RowHome home;
    for (const size_t length : {244u, 255u}) {
        const std::string path = home.configDir() + std::string(length, 'n');
        EXPECT_EQ(ZyBase_WriteFileAtomic(path.c_str(), "data", 4), 0) << length;
        EXPECT_EQ(readFile(path), "data") << length;
    }
    EXPECT_EQ(ZyBase_SetProfileString((home.configDir() + std::string(252, 'i')).c_str(), "s", "k", "v"), 0);
}
