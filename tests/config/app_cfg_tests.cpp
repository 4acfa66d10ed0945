// The settings store through its public functions, each test in a home
// directory of its own so that the user's real settings are never touched.
#include "app_cfg.h"
#include "ZyUIGlobal.h"
#include "temp_dir.h"

#include <ZyBase.h>

#include <gtest/gtest.h>

#include <QFile>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

class TempHome : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_FALSE(m_dir.path().empty());
        ASSERT_EQ(ZyBase_SetHomeDir(m_home.c_str()), 0);
    }

    void TearDown() override { ZyBase_SetHomeDir(nullptr); }

    std::string cfgDir() const { return m_home + "/.VelmarScan/Cfg/"; }

    veltest::TempDir m_dir;
    const std::string m_home = m_dir.path();
};

std::string configPathOf(const char* home)
{
    EXPECT_EQ(ZyBase_SetHomeDir(home), 0);
    char buf[512];
    const int rc = GetConfigPath(buf, sizeof(buf));
    EXPECT_EQ(rc, 0) << "home " << home;
    return rc == 0 ? std::string(buf) : std::string();
}

} // namespace

using ConfigPath = TempHome;

TEST_F(ConfigPath, RefusesNullBufferAndZeroSize)
{
    char buf[64] = "untouched";
    EXPECT_EQ(GetConfigPath(nullptr, 64), 3);
    EXPECT_EQ(GetConfigPath(buf, 0), 3);
    EXPECT_STREQ(buf, "untouched");
}

TEST_F(ConfigPath, TooSmallBufferIsLeftUntouched)
{
    char buf[10];
    std::memset(buf, 'Q', sizeof(buf));
    EXPECT_EQ(GetConfigPath(buf, sizeof(buf)), 1);
    for (char c : buf)
        EXPECT_EQ(c, 'Q');
}

TEST_F(ConfigPath, NeedsRoomForTheTerminatingZero)
{
    const std::string expected = cfgDir();
    std::string buf(expected.size() + 1, 'Q');
    EXPECT_EQ(GetConfigPath(buf.data(), expected.size()), 1);
    EXPECT_EQ(buf, std::string(expected.size() + 1, 'Q'));
    EXPECT_EQ(GetConfigPath(buf.data(), expected.size() + 1), 0);
    EXPECT_STREQ(buf.c_str(), expected.c_str());
}

TEST_F(ConfigPath, AddsOneSlashAfterTheHomeDirectory)
{
    EXPECT_EQ(configPathOf("/"), "/.VelmarScan/Cfg/");
    EXPECT_EQ(configPathOf("/home/user"), "/home/user/.VelmarScan/Cfg/");
    EXPECT_EQ(configPathOf("/home/user/"), "/home/user/.VelmarScan/Cfg/");
    EXPECT_EQ(configPathOf("/home/\xe7\x94\xa8\xe6\x88\xb7"),
              "/home/\xe7\x94\xa8\xe6\x88\xb7/.VelmarScan/Cfg/");
}

using DefaultIni = TempHome;

TEST_F(DefaultIni, SavingCreatesTheFileInTheConfigurationDirectory)
{
    ASSERT_FALSE(fs::exists(cfgDir()));
    saveDefaultCfgValue("default", "resolution", 300);
    EXPECT_TRUE(fs::is_regular_file(cfgDir() + "default.ini"));
}

TEST_F(DefaultIni, MissingFileAndKeysGiveTheDefaults)
{
    EXPECT_EQ(getDefaultCfgValue("default", "mode", QString("Gray")), QString("Gray"));
    EXPECT_EQ(getDefaultCfgValue("default", "resolution", 150), 150);
    EXPECT_TRUE(getDefaultCfgValue("default", "duplex", true));
    EXPECT_FALSE(getDefaultCfgValue("default", "duplex", false));
    EXPECT_FALSE(searchKeyName("default", "mode"));

    saveDefaultCfgValue("default", "resolution", 300);
    EXPECT_EQ(getDefaultCfgValue("default", "mode", QString("Gray")), QString("Gray"));
    EXPECT_EQ(getDefaultCfgValue("other", "resolution", 150), 150);
    EXPECT_TRUE(getDefaultCfgValue("default", "duplex", true));
}

TEST_F(DefaultIni, StringsRoundTripAsUtf8)
{
    const QString values[] = {
        QString("Color"),
        QString::fromUtf8("\xe5\xbd\xa9\xe8\x89\xb2 300 dpi"),      // Chinese text
        QString::fromUtf8("\xe9\xa0\x90\xe8\xa8\xad \xe2\x80\x94 \xc3\xa9t\xc3\xa9"),
    };
    int n = 0;
    for (const QString& value : values) {
        const std::string key = "k" + std::to_string(n++);
        saveDefaultCfgValue("default", key.c_str(), value);
        EXPECT_EQ(getDefaultCfgValue("default", key.c_str(), QString("none")), value);
    }
}

TEST_F(DefaultIni, IntegersRoundTrip)
{
    for (int value : {0, 1, -1, 600, -40000, 2147483647}) {
        saveDefaultCfgValue("default", "cutLeftvalue", value);
        EXPECT_EQ(getDefaultCfgValue("default", "cutLeftvalue", 12345), value);
    }
}

TEST_F(DefaultIni, FloatsAreStoredTruncatedTowardZero)
{
    const struct {
        float in;
        int stored;
    } cases[] = {{-2.7f, -2}, {1.9f, 1}, {0.99f, 0}, {-0.5f, 0}, {210.0f, 210}};
    for (const auto& c : cases) {
        saveDefaultCfgValue("default", "cutTopValue", c.in);
        EXPECT_EQ(getDefaultCfgValue("default", "cutTopValue", 777), c.stored) << c.in;
    }
}

TEST_F(DefaultIni, BooleansRoundTripAndAnyNonZeroNumberIsTrue)
{
    saveDefaultCfgValue("default", "b", true);
    EXPECT_TRUE(getDefaultCfgValue("default", "b", false));
    EXPECT_EQ(getDefaultCfgValue("default", "b", 9), 1);
    saveDefaultCfgValue("default", "b", false);
    EXPECT_FALSE(getDefaultCfgValue("default", "b", true));
    EXPECT_EQ(getDefaultCfgValue("default", "b", 9), 0);
    saveDefaultCfgValue("default", "b", -7);
    EXPECT_TRUE(getDefaultCfgValue("default", "b", false));
}

TEST_F(DefaultIni, SearchKeyNameSeesOnlySavedKeysOfThatSection)
{
    saveDefaultCfgValue("default", "curves", QString("00FF"));
    EXPECT_TRUE(searchKeyName("default", "curves"));
    EXPECT_FALSE(searchKeyName("default", "curve"));
    EXPECT_FALSE(searchKeyName("other", "curves"));
}

TEST_F(DefaultIni, RemoveSectionDropsThatSectionOnly)
{
    saveDefaultCfgValue("default", "cutRightvalue", 10);
    saveDefaultCfgValue("default", "cutBottomvalue", 20);
    saveDefaultCfgValue("keep", "cutRightvalue", 30);

    EXPECT_TRUE(removeSection("default"));
    EXPECT_FALSE(searchKeyName("default", "cutRightvalue"));
    EXPECT_FALSE(searchKeyName("default", "cutBottomvalue"));
    EXPECT_EQ(getDefaultCfgValue("default", "cutRightvalue", -1), -1);
    EXPECT_EQ(getDefaultCfgValue("keep", "cutRightvalue", -1), 30);

    EXPECT_FALSE(removeSection("default"));
    EXPECT_FALSE(removeSection("never"));
}

TEST_F(DefaultIni, GivesUpWhenTheDirectoryDoesNotFitThePathBuffer)
{
    // 600 bytes of home directory cannot fit the 512-byte path buffer.
    std::string longHome = m_home;
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

using ConfigIni = TempHome;

TEST_F(ConfigIni, LivesInTheBaseLibraryConfigurationDirectory)
{
    saveCfgValue("ui", "lang", 936);
    char dir[512];
    ASSERT_EQ(ZyBase_GetConfigPath(dir, sizeof(dir)), 0);
    EXPECT_TRUE(fs::is_regular_file(std::string(dir) + "config.ini"));
    EXPECT_FALSE(fs::exists(cfgDir() + "config.ini"));
}

TEST_F(ConfigIni, TypedValuesRoundTrip)
{
    const QString text = QString::fromUtf8("\xe6\x89\xab\xe6\x8f\x8f\xe4\xbb\xaa G100");
    saveCfgValue("ui", "device", text);
    saveCfgValue("ui", "count", -12);
    saveCfgValue("ui", "tips", true);
    saveCfgValue("ui", "log", false);

    EXPECT_EQ(getCfgValue("ui", "device", QString()), text);
    EXPECT_EQ(getCfgValue("ui", "count", 0), -12);
    EXPECT_TRUE(getCfgValue("ui", "tips", false));
    EXPECT_FALSE(getCfgValue("ui", "log", true));
}

TEST_F(ConfigIni, MissingKeysGiveTheDefaults)
{
    EXPECT_EQ(getCfgValue("ui", "device", QString("none")), QString("none"));
    EXPECT_EQ(getCfgValue("ui", "count", 5), 5);
    EXPECT_TRUE(getCfgValue("ui", "tips", true));
    saveCfgValue("ui", "count", 1);
    EXPECT_EQ(getCfgValue("ui", "other", 5), 5);
}

TEST_F(ConfigIni, IsSeparateFromDefaultIni)
{
    saveCfgValue("default", "resolution", 200);
    saveDefaultCfgValue("default", "resolution", 600);
    EXPECT_EQ(getCfgValue("default", "resolution", 0), 200);
    EXPECT_EQ(getDefaultCfgValue("default", "resolution", 0), 600);
}

using TextHelpers = TempHome;

TEST_F(TextHelpers, StdStringIsUtf8)
{
    EXPECT_EQ(getStdString(QString()), "");
    EXPECT_EQ(getStdString(QString("abc")), "abc");
    EXPECT_EQ(getStdString(QString(QChar(0x9ED8)) + QChar(0x8BA4)), "\xe9\xbb\x98\xe8\xae\xa4");
}

TEST_F(TextHelpers, StdFileNameOpensTheFileThatQtNames)
{
    const QString name = QString::fromUtf8("\xe6\x96\xb9\xe6\xa1\x88 1.cfg");
    const QString path = QString::fromStdString(m_home) + "/" + name;
    FILE* f = std::fopen(getStdFileName(path).c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fclose(f);
    EXPECT_TRUE(QFile::exists(path));
}
