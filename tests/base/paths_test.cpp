// Home and configuration directories, directory creation, file names, atomic writes.
#include "temp_home.h"

#include <QString>

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <thread>
#include <vector>

namespace fs = std::filesystem;
using veltest::entries;
using veltest::HomeTest;
using veltest::readFile;
using veltest::writeFile;

namespace {

std::string configPath()
{
    char buf[1024];
    EXPECT_EQ(ZyBase_GetConfigPath(buf, sizeof(buf)), 0);
    return buf;
}

std::string standardised(const std::string& name)
{
    char buf[512];
    EXPECT_EQ(ZyBase_StandardiseFileName(name.c_str(), buf, sizeof(buf)), 0);
    return buf;
}

std::string repeated(const char* text, int times)
{
    std::string all;
    while (times-- > 0)
        all += text;
    return all;
}

} // namespace

using ConfigPathTest = HomeTest;

TEST_F(ConfigPathTest, FollowsTheHomeOverrideAndRefusesSmallBuffers)
{
    const std::string expected = m_home.configDir();
    EXPECT_EQ(configPath(), expected);
    ASSERT_EQ(ZyBase_SetHomeDir((m_home.dir() + "/").c_str()), 0);
    EXPECT_EQ(configPath(), expected);

    std::vector<char> buf(expected.size(), 'Z');
    EXPECT_EQ(ZyBase_GetConfigPath(buf.data(), unsigned(buf.size())), ERANGE);
    EXPECT_TRUE(std::all_of(buf.begin(), buf.end(), [](char c) { return c == 'Z'; }));
    buf.push_back('Z');
    EXPECT_EQ(ZyBase_GetConfigPath(buf.data(), unsigned(buf.size())), 0);
    EXPECT_EQ(std::string(buf.data()), expected);

    ASSERT_EQ(ZyBase_SetHomeDir("/"), 0);
    EXPECT_EQ(configPath(), "/.VelmarScan/");
}

TEST_F(ConfigPathTest, HomeComesFromThePasswordDatabaseNotTheEnvironment)
{
    const veltest::ScopedEnv home("HOME", "/nonexistent/from-environment");
    ASSERT_EQ(ZyBase_SetHomeDir(nullptr), 0);
    char buf[1024];
    ASSERT_EQ(ZyBase_GetHomeDir(buf, sizeof(buf)), 0);
    const passwd* const entry = getpwuid(getuid());
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(buf, entry->pw_dir);
}

TEST_F(ConfigPathTest, OverrideIsSafeAcrossThreads)
{
    const std::string first = m_home.dir() + "/one";
    const std::string second = m_home.dir() + "/two";
    std::atomic<int> bad{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 2000; ++i) {
                ZyBase_SetHomeDir(((i + t) % 2 ? first : second).c_str());
                char buf[512];
                if (ZyBase_GetHomeDir(buf, sizeof(buf)) != 0 || (buf != first && buf != second))
                    ++bad;
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(bad.load(), 0);
}

TEST_F(HomeTest, CreateDirMakesParentsAndRefusesFilesInTheWay)
{
    const std::string deep = m_home.dir() + "/a/b//c/d/";
    EXPECT_EQ(ZyBase_CreateDir(deep.c_str()), 0);
    EXPECT_TRUE(fs::is_directory(m_home.dir() + "/a/b/c/d"));
    EXPECT_EQ(ZyBase_CreateDir(deep.c_str()), 0);
    EXPECT_EQ(ZyBase_CreateDir(configPath().c_str()), 0);
    EXPECT_TRUE(fs::is_directory(m_home.configDir()));

    writeFile(m_home.dir() + "/file", "x");
    EXPECT_EQ(ZyBase_CreateDir((m_home.dir() + "/file").c_str()), ENOTDIR);
    EXPECT_EQ(ZyBase_CreateDir((m_home.dir() + "/file/below").c_str()), ENOTDIR);
}

TEST(FileNameTest, TakesThePartAfterTheLastSlash)
{
    const char* const rows[][2] = {{"/usr/lib/sane/libsane-vel.so.1", "libsane-vel.so.1"},
                                   {"libsane-vel.so", "libsane-vel.so"},
                                   {"/usr/lib/", ""}};
    for (const auto& row : rows) {
        char buf[260];
        ASSERT_EQ(ZyBase_GetFileName(row[0], buf, sizeof(buf)), 0);
        EXPECT_STREQ(buf, row[1]);
    }
}

TEST(StandardiseTest, NeutralisesWhatCannotBeAFileName)
{
    const std::string fourByte = "\xf0\x9f\x98\x80";
    const struct {
        std::string in;
        std::string out;
    } rows[] = {
        {"Velmar Scanner (USB) #2", "Velmar Scanner (USB) #2"},
        {"扫描仪 ünïcode", "扫描仪 ünïcode"},
        {"name.with.dots", "name.with.dots"},
        {"../../x", ".._.._x"},
        {".", "_"},
        {"..", "__"},
        {"", "_"},
        {"tab\there\nnl\x7f", "tab_here_nl_"},
        {"abc\xe4\xb8", "abc__"},
        // An overlong "/" is no separator; surrogates and C1 controls are no characters.
        {"\xc0\xaf", "__"},
        {"\xed\xa0\x80", "___"},
        {"\xc2\x85", "__"},
        // Long names are cut to 200 bytes at whole characters.
        {std::string(10240, 'a'), std::string(200, 'a')},
        {std::string(10240, '.'), std::string(200, '_')},
        {repeated("中", 100), repeated("中", 66)},
        {std::string(199, 'a') + fourByte, std::string(199, 'a')},
        {std::string(196, 'a') + fourByte + "b", std::string(196, 'a') + fourByte},
    };
    for (const auto& row : rows)
        EXPECT_EQ(standardised(row.in), row.out) << row.in.substr(0, 40);
}

TEST_F(HomeTest, HostileNamesStayOneComponentInsideTheDirectory)
{
    const std::string dir = m_home.dir() + "/devices";
    ASSERT_EQ(ZyBase_CreateDir(dir.c_str()), 0);
    std::vector<std::string> hostile = {
        "/", "//", "/etc/passwd", "..\\..\\x", "\x01\x02\x1f", std::string(10240, '/'),
        std::string(199, 'a') + "\xe4\xb8\xad", std::string(198, 'a') + "\xe4\xb8\xad",
        std::string(199, 'a') + "\xe4", "\xc0\xae\xc0\xae", std::string("nul\0hidden", 10),
        "....//....//", " ", "-rf"};
    for (int i = 0; i < 256; ++i)
        hostile.push_back(std::string(1, char(i)) + "." + std::string(1, char(i)));

    std::set<std::string> created;
    for (const std::string& name : hostile) {
        const std::string safe = standardised(name);
        SCOPED_TRACE(safe);
        ASSERT_FALSE(safe.empty());
        EXPECT_LE(safe.size(), 200u);
        EXPECT_NE(safe, "..");
        EXPECT_TRUE(std::none_of(safe.begin(), safe.end(),
                                 [](char c) { return (unsigned char)c < 0x20 || c == 0x7f; }));
        EXPECT_EQ(QString::fromUtf8(safe.data(), int(safe.size())).toUtf8().toStdString(), safe)
            << "not valid UTF-8";
        const fs::path joined = fs::path(dir) / safe;
        writeFile(joined.string(), "x");
        EXPECT_EQ(fs::canonical(joined).parent_path(), fs::canonical(dir));
        created.insert(safe);
    }
    EXPECT_EQ(entries(dir), created);
}

TEST_F(HomeTest, PathArgumentsNullsAndSmallBuffersAreRefusedUntouched)
{
    char buf[4] = {'Z', 'Z', 'Z', 'Z'};
    EXPECT_EQ(ZyBase_GetConfigPath(nullptr, 100), EINVAL);
    EXPECT_EQ(ZyBase_GetConfigPath(buf, 0), EINVAL);
    EXPECT_EQ(ZyBase_CreateDir(nullptr), EINVAL);
    EXPECT_EQ(ZyBase_CreateDir(""), EINVAL);
    EXPECT_EQ(ZyBase_GetFileName("/dir/name", buf, sizeof(buf)), ERANGE);
    EXPECT_EQ(ZyBase_GetFileName(nullptr, buf, sizeof(buf)), EINVAL);
    EXPECT_EQ(ZyBase_GetFileName("x", nullptr, 10), EINVAL);
    EXPECT_EQ(ZyBase_StandardiseFileName("abcdef", buf, sizeof(buf)), ERANGE);
    EXPECT_EQ(ZyBase_StandardiseFileName(nullptr, buf, sizeof(buf)), EINVAL);
    EXPECT_EQ(ZyBase_StandardiseFileName("a", nullptr, 4), EINVAL);
    EXPECT_EQ(ZyBase_StandardiseFileName("a", buf, 0), EINVAL);
    EXPECT_EQ(ZyBase_WriteFileAtomic(nullptr, "x", 1), EINVAL);
    EXPECT_EQ(ZyBase_WriteFileAtomic((m_home.dir() + "/f").c_str(), nullptr, 1), EINVAL);
    EXPECT_EQ(std::string(buf, 4), "ZZZZ");
    EXPECT_TRUE(entries(m_home.dir()).empty());
}

class WriteFileAtomicTest : public HomeTest
{
protected:
    std::string path(const std::string& name) const { return m_home.dir() + "/" + name; }

    int write(const std::string& target, const std::string& text)
    {
        return ZyBase_WriteFileAtomic(target.c_str(), text.data(), text.size());
    }
};

TEST_F(WriteFileAtomicTest, ReplacesContentAndKeepsPermissions)
{
    const std::string target = path("private.cfg");
    ASSERT_EQ(write(target, std::string(100000, 'a')), 0);
    EXPECT_EQ(readFile(target), std::string(100000, 'a'));
    fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
    ASSERT_EQ(write(target, "short"), 0);
    EXPECT_EQ(readFile(target), "short");
    EXPECT_EQ(fs::status(target).permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(ZyBase_WriteFileAtomic(target.c_str(), nullptr, 0), 0);
    EXPECT_EQ(readFile(target), "");
    EXPECT_EQ(entries(m_home.dir()), std::set<std::string>{"private.cfg"});
}

// Each failure leaves whatever was there and no temporary file beside it.
TEST_F(WriteFileAtomicTest, FailuresKeepTheOldFileAndLeaveNothingBehind)
{
    ASSERT_EQ(ZyBase_CreateDir(path("dir").c_str()), 0);
    writeFile(path("dir/inside"), "keep");
    ASSERT_EQ(ZyBase_CreateDir(path("locked").c_str()), 0);
    writeFile(path("locked/app.ini"), "old");
    writeFile(path("big.cfg"), "old content");

    EXPECT_NE(write(path("dir"), "data"), 0);
    EXPECT_EQ(write(path("dir/"), "data"), EISDIR);
    EXPECT_EQ(readFile(path("dir/inside")), "keep");
    EXPECT_EQ(write(path("missing/file"), "x"), ENOENT);

    int err = 0;
    veltest::withFileSizeLimit(4096, [&] { err = write(path("big.cfg"), std::string(65536, 'n')); });
    EXPECT_EQ(err, EFBIG);
    EXPECT_EQ(readFile(path("big.cfg")), "old content");

    if (geteuid() != 0) { // root writes into read-only directories
        fs::permissions(path("locked"), fs::perms::owner_read | fs::perms::owner_exec);
        EXPECT_EQ(write(path("locked/app.ini"), "new"), EACCES);
        fs::permissions(path("locked"), fs::perms::owner_all);
        EXPECT_EQ(readFile(path("locked/app.ini")), "old");
        EXPECT_EQ(entries(path("locked")), std::set<std::string>{"app.ini"});
    }
    EXPECT_EQ(entries(m_home.dir()), (std::set<std::string>{"big.cfg", "dir", "locked"}));
}
