// The settings store through its public functions, each test in a home
// directory of its own so that the user's real settings are never touched.
#include "app_cfg.h"
#include "ZyUIGlobal.h"
#include "temp_home.h"

#include <gtest/gtest.h>

#include <QFile>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;
using veltest::HomeTest;

namespace {

class AppCfgTest : public HomeTest
{
protected:
    std::string cfgDir() const { return m_home.configDir() + "Cfg/"; }
};

} // namespace

TEST_F(AppCfgTest, ConfigPathNeedsRoomForTheTerminatorAndAddsOneSlash)
{
    const std::string expected = cfgDir();
    std::string buf(expected.size() + 1, 'Q');
    EXPECT_EQ(GetConfigPath(nullptr, 64), 3);
    EXPECT_EQ(GetConfigPath(buf.data(), 0), 3);
    EXPECT_EQ(GetConfigPath(buf.data(), unsigned(expected.size())), 1);
    EXPECT_EQ(buf, std::string(expected.size() + 1, 'Q'));
    EXPECT_EQ(GetConfigPath(buf.data(), unsigned(expected.size() + 1)), 0);
    EXPECT_STREQ(buf.c_str(), expected.c_str());

    const std::pair<const char*, const char*> rows[] = {
        {"/", "/.VelmarScan/Cfg/"},
        {"/home/user/", "/home/user/.VelmarScan/Cfg/"},
        {"/home/用户", "/home/用户/.VelmarScan/Cfg/"}};
    for (const auto& [home, path] : rows) {
        ASSERT_EQ(ZyBase_SetHomeDir(home), 0);
        char out[512];
        ASSERT_EQ(GetConfigPath(out, sizeof(out)), 0) << home;
        EXPECT_STREQ(out, path);
    }
}

TEST_F(AppCfgTest, DefaultIniValuesRoundTripAndMissingOnesGiveTheDefault)
{
    EXPECT_EQ(getDefaultCfgValue("default", "mode", QString("Gray")), QString("Gray"));
    EXPECT_EQ(getDefaultCfgValue("default", "resolution", 150), 150);
    EXPECT_TRUE(getDefaultCfgValue("default", "duplex", true));
    EXPECT_FALSE(getDefaultCfgValue("default", "duplex", false));
    EXPECT_FALSE(searchKeyName("default", "mode"));
    EXPECT_FALSE(fs::exists(cfgDir()));

    saveDefaultCfgValue("default", "text", QString("彩色 — été"));
    EXPECT_EQ(getDefaultCfgValue("default", "text", QString("none")), QString("彩色 — été"));
    EXPECT_TRUE(fs::is_regular_file(cfgDir() + "default.ini"));
    for (int value : {0, -1, -40000, 2147483647}) {
        saveDefaultCfgValue("default", "int", value);
        EXPECT_EQ(getDefaultCfgValue("default", "int", 12345), value);
    }
    // Floats are stored truncated toward zero.
    const std::pair<float, int> floats[] = {{-2.7f, -2}, {1.9f, 1}, {0.99f, 0}, {-0.5f, 0}, {210.0f, 210}};
    for (const auto& [in, stored] : floats) {
        saveDefaultCfgValue("default", "float", in);
        EXPECT_EQ(getDefaultCfgValue("default", "float", 777), stored) << in;
    }
    // Booleans are 1 and 0; any other number reads as true.
    saveDefaultCfgValue("default", "b", true);
    EXPECT_EQ(getDefaultCfgValue("default", "b", 9), 1);
    saveDefaultCfgValue("default", "b", false);
    EXPECT_FALSE(getDefaultCfgValue("default", "b", true));
    EXPECT_EQ(getDefaultCfgValue("default", "b", 9), 0);
    saveDefaultCfgValue("default", "b", -7);
    EXPECT_TRUE(getDefaultCfgValue("default", "b", false));

    EXPECT_EQ(getDefaultCfgValue("default", "mode", QString("Gray")), QString("Gray"));
    EXPECT_EQ(getDefaultCfgValue("other", "int", 150), 150);
}

TEST_F(AppCfgTest, DefaultIniSectionsAreSearchedAndRemovedAlone)
{
    saveDefaultCfgValue("default", "curves", QString("00FF"));
    saveDefaultCfgValue("default", "cutRightvalue", 10);
    saveDefaultCfgValue("keep", "cutRightvalue", 30);
    EXPECT_TRUE(searchKeyName("default", "curves"));
    EXPECT_FALSE(searchKeyName("default", "curve"));
    EXPECT_FALSE(searchKeyName("other", "curves"));

    EXPECT_TRUE(removeSection("default"));
    EXPECT_FALSE(searchKeyName("default", "curves"));
    EXPECT_EQ(getDefaultCfgValue("default", "cutRightvalue", -1), -1);
    EXPECT_EQ(getDefaultCfgValue("keep", "cutRightvalue", -1), 30);
    EXPECT_FALSE(removeSection("default"));
    EXPECT_FALSE(removeSection("never"));
}

TEST_F(AppCfgTest, DefaultIniGivesUpWhenTheDirectoryDoesNotFitThePathBuffer)
{
    // 600 bytes of home directory cannot fit the 512-byte path buffer.
    std::string longHome = m_home.dir();
    for (int i = 0; i < 6; ++i)
        longHome += "/" + std::string(99, 'h');
    ASSERT_EQ(ZyBase_SetHomeDir(longHome.c_str()), 0);
    saveDefaultCfgValue("default", "resolution", 300);
    saveDefaultCfgValue("default", "mode", QString("Color"));
    EXPECT_EQ(getDefaultCfgValue("default", "resolution", 7), 7);
    EXPECT_EQ(getDefaultCfgValue("default", "mode", QString("x")), QString("x"));
    EXPECT_FALSE(searchKeyName("default", "resolution"));
    EXPECT_FALSE(fs::exists(longHome));
}

TEST_F(AppCfgTest, ConfigIniIsItsOwnFileInTheBaseConfigurationDirectory)
{
    const QString text = QString::fromUtf8("扫描仪 G100");
    EXPECT_EQ(getCfgValue("ui", "device", QString("none")), QString("none"));
    EXPECT_EQ(getCfgValue("ui", "count", 5), 5);
    EXPECT_TRUE(getCfgValue("ui", "tips", true));
    saveCfgValue("ui", "device", text);
    saveCfgValue("ui", "count", -12);
    saveCfgValue("ui", "tips", false);
    saveCfgValue("ui", "log", true);
    EXPECT_EQ(getCfgValue("ui", "device", QString()), text);
    EXPECT_EQ(getCfgValue("ui", "count", 0), -12);
    EXPECT_FALSE(getCfgValue("ui", "tips", true));
    EXPECT_TRUE(getCfgValue("ui", "log", false));
    EXPECT_EQ(getCfgValue("ui", "other", 5), 5);
    EXPECT_TRUE(fs::is_regular_file(m_home.configDir() + "config.ini"));

    saveCfgValue("default", "resolution", 200);
    saveDefaultCfgValue("default", "resolution", 600);
    EXPECT_EQ(getCfgValue("default", "resolution", 0), 200);
    EXPECT_EQ(getDefaultCfgValue("default", "resolution", 0), 600);
    EXPECT_FALSE(fs::exists(cfgDir() + "config.ini"));
}

TEST_F(AppCfgTest, TextHelpersGiveUtf8AndTheNamesQtOpens)
{
    EXPECT_EQ(getStdString(QString()), "");
    EXPECT_EQ(getStdString(QString(QChar(0x9ED8)) + QChar(0x8BA4)), "默认");

    const QString path = QString::fromStdString(m_home.dir()) + "/方案 1.cfg";
    FILE* f = std::fopen(getStdFileName(path).c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fclose(f);
    EXPECT_TRUE(QFile::exists(path));
}
