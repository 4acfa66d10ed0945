// Home and configuration directories, directory creation, file names, atomic writes.
#include "temp_home.h"

#include <QString>

#include <pwd.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

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

std::set<std::string> entries(const std::string& dir)
{
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir))
        names.insert(entry.path().filename().string());
    return names;
}

} // namespace

using ConfigPathTest = HomeTest;

TEST_F(ConfigPathTest, FollowsTheHomeOverrideWithOneSlash)
{
    EXPECT_EQ(configPath(), m_home.dir() + "/.VelmarScan/");
    ASSERT_EQ(ZyBase_SetHomeDir((m_home.dir() + "/").c_str()), 0);
    EXPECT_EQ(configPath(), m_home.dir() + "/.VelmarScan/");
    ASSERT_EQ(ZyBase_SetHomeDir("/"), 0);
    EXPECT_EQ(configPath(), "/.VelmarScan/");
}

TEST_F(ConfigPathTest, SmallBufferIsRefusedAndLeftUntouched)
{
    const std::string expected = m_home.dir() + "/.VelmarScan/";
    std::vector<char> buf(expected.size(), 'Z');
    EXPECT_EQ(ZyBase_GetConfigPath(buf.data(), static_cast<unsigned>(buf.size())), ERANGE);
    EXPECT_TRUE(std::all_of(buf.begin(), buf.end(), [](char c) { return c == 'Z'; }));

    buf.push_back('Z');
    EXPECT_EQ(ZyBase_GetConfigPath(buf.data(), static_cast<unsigned>(buf.size())), 0);
    EXPECT_EQ(std::string(buf.data()), expected);

    EXPECT_EQ(ZyBase_GetConfigPath(nullptr, 100), EINVAL);
    EXPECT_EQ(ZyBase_GetConfigPath(buf.data(), 0), EINVAL);
}

TEST_F(ConfigPathTest, HomeComesFromThePasswordDatabaseNotTheEnvironment)
{
    const char* const savedHome = std::getenv("HOME");
    const std::string saved = savedHome ? savedHome : "";
    setenv("HOME", "/nonexistent/from-environment", 1);
    ASSERT_EQ(ZyBase_SetHomeDir(nullptr), 0);

    char buf[1024];
    const int err = ZyBase_GetHomeDir(buf, sizeof(buf));
    if (savedHome)
        setenv("HOME", saved.c_str(), 1);
    else
        unsetenv("HOME");
    ASSERT_EQ(err, 0);
    const passwd* const entry = getpwuid(getuid());
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(buf, entry->pw_dir);

    ASSERT_EQ(ZyBase_SetHomeDir(m_home.dir().c_str()), 0);
    ASSERT_EQ(ZyBase_GetHomeDir(buf, sizeof(buf)), 0);
    EXPECT_EQ(std::string(buf), m_home.dir());
}

TEST_F(ConfigPathTest, OverrideIsSafeAcrossThreads)
{
    const std::string first = m_home.dir() + "/one";
    const std::string second = m_home.dir() + "/two";
    std::vector<std::thread> threads;
    std::atomic<int> bad{0};
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

using CreateDirTest = HomeTest;

TEST_F(CreateDirTest, CreatesMissingParentsAndAcceptsExistingDirectories)
{
    const std::string deep = m_home.dir() + "/a/b//c/d/";
    EXPECT_EQ(ZyBase_CreateDir(deep.c_str()), 0);
    EXPECT_TRUE(fs::is_directory(m_home.dir() + "/a/b/c/d"));
    EXPECT_EQ(ZyBase_CreateDir(deep.c_str()), 0);
    EXPECT_EQ(ZyBase_CreateDir(m_home.dir().c_str()), 0);
    EXPECT_EQ(ZyBase_CreateDir(configPath().c_str()), 0);
    EXPECT_TRUE(fs::is_directory(m_home.configDir()));
}

TEST_F(CreateDirTest, RefusesFilesInTheWayAndBadArguments)
{
    writeFile(m_home.dir() + "/file", "x");
    EXPECT_EQ(ZyBase_CreateDir((m_home.dir() + "/file").c_str()), ENOTDIR);
    EXPECT_EQ(ZyBase_CreateDir((m_home.dir() + "/file/below").c_str()), ENOTDIR);
    EXPECT_EQ(ZyBase_CreateDir(nullptr), EINVAL);
    EXPECT_EQ(ZyBase_CreateDir(""), EINVAL);
}

TEST(FileNameTest, TakesThePartAfterTheLastSlash)
{
    char buf[260];
    ASSERT_EQ(ZyBase_GetFileName("/usr/lib/sane/libsane-vel.so.1", buf, sizeof(buf)), 0);
    EXPECT_STREQ(buf, "libsane-vel.so.1");
    ASSERT_EQ(ZyBase_GetFileName("libsane-vel.so", buf, sizeof(buf)), 0);
    EXPECT_STREQ(buf, "libsane-vel.so");
    ASSERT_EQ(ZyBase_GetFileName("/usr/lib/", buf, sizeof(buf)), 0);
    EXPECT_STREQ(buf, "");

    char small[4] = {'Z', 'Z', 'Z', 'Z'};
    EXPECT_EQ(ZyBase_GetFileName("/dir/name", small, sizeof(small)), ERANGE);
    EXPECT_EQ(small[0], 'Z');
    EXPECT_EQ(ZyBase_GetFileName(nullptr, buf, sizeof(buf)), EINVAL);
    EXPECT_EQ(ZyBase_GetFileName("x", nullptr, 10), EINVAL);
}

using StandardiseTest = HomeTest;

TEST_F(StandardiseTest, KeepsOrdinaryDeviceNames)
{
    EXPECT_EQ(standardised("ABC 1a2b"), "ABC 1a2b");
    EXPECT_EQ(standardised("Velmar Scanner (USB) #2"), "Velmar Scanner (USB) #2");
    EXPECT_EQ(standardised("扫描仪 ünïcode"), "扫描仪 ünïcode");
    EXPECT_EQ(standardised("name.with.dots"), "name.with.dots");
}

TEST_F(StandardiseTest, NeutralisesSeparatorsDotsControlsAndBrokenUtf8)
{
    EXPECT_EQ(standardised("a/b"), "a_b");
    EXPECT_EQ(standardised("../../x"), ".._.._x");
    EXPECT_EQ(standardised("."), "_");
    EXPECT_EQ(standardised(".."), "__");
    EXPECT_EQ(standardised("..."), "___");
    EXPECT_EQ(standardised(""), "_");
    EXPECT_EQ(standardised("tab\there\nnl\x7f"), "tab_here_nl_");
    EXPECT_EQ(standardised("\xff\xfe"), "__");
    EXPECT_EQ(standardised("abc\xe4\xb8"), "abc__");
    // An overlong encoding of "/" must not come back as a separator.
    EXPECT_EQ(standardised("\xc0\xaf"), "__");
    // Surrogates and C1 controls are not characters of a name.
    EXPECT_EQ(standardised("\xed\xa0\x80"), "___");
    EXPECT_EQ(standardised("\xc2\x85"), "__");
}

TEST_F(StandardiseTest, LongNamesAreCutAtWholeCharacters)
{
    EXPECT_EQ(standardised(std::string(10240, 'a')), std::string(200, 'a'));

    std::string chinese;
    for (int i = 0; i < 100; ++i)
        chinese += "中";
    EXPECT_EQ(standardised(chinese).size(), 198u);

    // A four-byte character that would cross the limit is left out whole.
    EXPECT_EQ(standardised(std::string(199, 'a') + "\xf0\x9f\x98\x80"), std::string(199, 'a'));
    EXPECT_EQ(standardised(std::string(196, 'a') + "\xf0\x9f\x98\x80" + "b"),
              std::string(196, 'a') + "\xf0\x9f\x98\x80");
    EXPECT_EQ(standardised(std::string(10240, '.')), std::string(200, '_'));
}

TEST_F(StandardiseTest, HostileNamesStayOneComponentInsideTheDirectory)
{
    const std::string dir = m_home.dir() + "/devices";
    ASSERT_EQ(ZyBase_CreateDir(dir.c_str()), 0);
    std::vector<std::string> hostile = {
        "../../x", "a/b", "..", ".", "", "/", "//", "/etc/passwd", "..\\..\\x", "\x01\x02\x1f",
        std::string(10240, '/'), std::string(10240, 'x'), std::string(199, 'a') + "\xe4\xb8\xad",
        std::string(198, 'a') + "\xe4\xb8\xad", std::string(199, 'a') + "\xe4", "\xc0\xae\xc0\xae",
        std::string("nul\0hidden", 10), "....//....//", " ", "-rf"};
    for (int i = 0; i < 256; ++i)
        hostile.push_back(std::string(1, static_cast<char>(i)) + "." + std::string(1, static_cast<char>(i)));

    std::set<std::string> created;
    for (const std::string& name : hostile) {
        const std::string safe = standardised(name);
        SCOPED_TRACE(safe);
        ASSERT_FALSE(safe.empty());
        EXPECT_LE(safe.size(), 200u);
        EXPECT_EQ(safe.find('/'), std::string::npos);
        EXPECT_NE(safe, ".");
        EXPECT_NE(safe, "..");
        EXPECT_TRUE(std::none_of(safe.begin(), safe.end(),
                                 [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }));
        EXPECT_EQ(QString::fromUtf8(safe.data(), int(safe.size())).toUtf8().toStdString(), safe)
            << "not valid UTF-8";

        const fs::path joined = fs::path(dir) / safe;
        writeFile(joined.string(), "x");
        EXPECT_TRUE(fs::is_regular_file(joined));
        EXPECT_EQ(fs::canonical(joined).parent_path(), fs::canonical(dir));
        created.insert(safe);
    }
    EXPECT_EQ(entries(dir), created);
}

TEST(StandardiseArgumentsTest, RefusesNullsAndSmallBuffers)
{
    char buf[4] = {'Z', 'Z', 'Z', 'Z'};
    EXPECT_EQ(ZyBase_StandardiseFileName("abcdef", buf, sizeof(buf)), ERANGE);
    EXPECT_EQ(buf[0], 'Z');
    EXPECT_EQ(ZyBase_StandardiseFileName(nullptr, buf, sizeof(buf)), EINVAL);
    EXPECT_EQ(ZyBase_StandardiseFileName("a", nullptr, 4), EINVAL);
    EXPECT_EQ(ZyBase_StandardiseFileName("a", buf, 0), EINVAL);
}

class WriteFileAtomicTest : public HomeTest
{
protected:
    std::string path(const char* name) const { return m_home.dir() + "/" + name; }

    int write(const std::string& target, const std::string& text)
    {
        return ZyBase_WriteFileAtomic(target.c_str(), text.data(), text.size());
    }
};

TEST_F(WriteFileAtomicTest, CreatesAndReplacesContent)
{
    const std::string target = path("scanner.cfg");
    ASSERT_EQ(write(target, std::string(100000, 'a')), 0);
    EXPECT_EQ(readFile(target), std::string(100000, 'a'));
    ASSERT_EQ(write(target, "short"), 0);
    EXPECT_EQ(readFile(target), "short");
    ASSERT_EQ(write(target, ""), 0);
    EXPECT_EQ(readFile(target), "");
    EXPECT_EQ(entries(m_home.dir()), std::set<std::string>{"scanner.cfg"});
}

TEST_F(WriteFileAtomicTest, KeepsThePermissionsOfTheReplacedFile)
{
    const std::string target = path("private.cfg");
    writeFile(target, "old");
    fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
    ASSERT_EQ(write(target, "new"), 0);
    EXPECT_EQ(fs::status(target).permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(WriteFileAtomicTest, ADirectoryInTheWayIsLeftAloneWithoutTempFiles)
{
    const std::string target = path("dir");
    ASSERT_EQ(ZyBase_CreateDir(target.c_str()), 0);
    writeFile(target + "/inside", "keep");
    EXPECT_NE(write(target, "data"), 0);
    EXPECT_EQ(write(target + "/", "data"), EISDIR);
    EXPECT_EQ(readFile(target + "/inside"), "keep");
    EXPECT_EQ(entries(m_home.dir()), std::set<std::string>{"dir"});
}

TEST_F(WriteFileAtomicTest, AFailedWriteKeepsTheOldFileAndNoTempFile)
{
    const std::string target = path("big.cfg");
    writeFile(target, "old content");

    // A file size limit makes the write itself fail half-way.
    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto previousHandler = signal(SIGXFSZ, SIG_IGN);
    rlimit limited = saved;
    limited.rlim_cur = 4096;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    const int err = write(target, std::string(65536, 'n'));
    setrlimit(RLIMIT_FSIZE, &saved);
    signal(SIGXFSZ, previousHandler);

    EXPECT_EQ(err, EFBIG);
    EXPECT_EQ(readFile(target), "old content");
    EXPECT_EQ(entries(m_home.dir()), std::set<std::string>{"big.cfg"});
}

TEST_F(WriteFileAtomicTest, AnUnwritableDirectoryKeepsTheOldFile)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "root writes into read-only directories";
    const std::string dir = path("locked");
    ASSERT_EQ(ZyBase_CreateDir(dir.c_str()), 0);
    writeFile(dir + "/app.ini", "old");
    fs::permissions(dir, fs::perms::owner_read | fs::perms::owner_exec);
    const int err = write(dir + "/app.ini", "new");
    fs::permissions(dir, fs::perms::owner_all);
    EXPECT_EQ(err, EACCES);
    EXPECT_EQ(readFile(dir + "/app.ini"), "old");
    EXPECT_EQ(entries(dir), std::set<std::string>{"app.ini"});
}

TEST_F(WriteFileAtomicTest, MissingDirectoryAndBadArguments)
{
    EXPECT_EQ(write(path("missing/file"), "x"), ENOENT);
    EXPECT_EQ(ZyBase_WriteFileAtomic(nullptr, "x", 1), EINVAL);
    EXPECT_EQ(ZyBase_WriteFileAtomic(path("f").c_str(), nullptr, 1), EINVAL);
    EXPECT_EQ(ZyBase_WriteFileAtomic(path("empty").c_str(), nullptr, 0), 0);
    EXPECT_EQ(readFile(path("empty")), "");
}
