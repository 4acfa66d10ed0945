// Log lines: where they land, their form, the level mask, and silence on stderr.
#include "temp_home.h"

#include <fcntl.h>
#include <unistd.h>

#include <regex>
#include <sstream>
#include <thread>
#include <vector>

namespace {

std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        result.push_back(line);
    return result;
}

// Sends everything written to fd 2 into a file while it lives.
class StderrCapture
{
public:
    explicit StderrCapture(const std::string& path)
        : m_path(path)
        , m_saved(dup(STDERR_FILENO))
    {
        const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        dup2(fd, STDERR_FILENO);
        close(fd);
    }

    ~StderrCapture() { restore(); }

    std::string finish()
    {
        restore();
        return readFile(m_path);
    }

private:
    void restore()
    {
        if (m_saved < 0)
            return;
        dup2(m_saved, STDERR_FILENO);
        close(m_saved);
        m_saved = -1;
    }

    std::string m_path;
    int m_saved;
};

class LogTest : public HomeTest
{
protected:
    void TearDown() override
    {
        ZyBase_SetLogMask(ZYBASE_LOG_ERROR | ZYBASE_LOG_WARNING | ZYBASE_LOG_INFO | ZYBASE_LOG_DEBUG);
        ZyBase_SetLogEcho(0);
    }

    std::string logFile() const
    {
        char buf[1024];
        EXPECT_EQ(ZyBase_GetLogFile(buf, sizeof(buf)), 0);
        return buf;
    }
};

} // namespace

TEST_F(LogTest, LinesLandInTheProcessLogUnderTheConfigPath)
{
    EXPECT_EQ(logFile(), m_home.configDir() + "log/base_tests.log");
    ASSERT_EQ(ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "[Manager::showSettingUi] emit %s(%d)", "createSettingUi", 7), 0);
    ASSERT_EQ(ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "second\nline\n"), 0);

    const auto written = lines(readFile(logFile()));
    ASSERT_EQ(written.size(), 2u);
    const std::regex form(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \[\d+\] (\w+) (.*))");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(written[0], match, form)) << written[0];
    EXPECT_EQ(match[1], "DEBUG");
    EXPECT_EQ(match[2], "[Manager::showSettingUi] emit createSettingUi(7)");
    ASSERT_TRUE(std::regex_match(written[1], match, form)) << written[1];
    EXPECT_EQ(match[1], "ERROR");
    EXPECT_EQ(match[2], "second line");
}

TEST_F(LogTest, MaskFiltersLevels)
{
    ASSERT_EQ(ZyBase_SetLogMask(ZYBASE_LOG_ERROR | ZYBASE_LOG_WARNING), 0);
    EXPECT_EQ(ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "hidden debug"), 0);
    EXPECT_EQ(ZyBase_WriteInfo(ZYBASE_LOG_INFO, "hidden info"), 0);
    EXPECT_EQ(ZyBase_WriteInfo(ZYBASE_LOG_WARNING, "shown warning"), 0);
    EXPECT_EQ(ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "shown error"), 0);
    const std::string text = readFile(logFile());
    EXPECT_EQ(text.find("hidden"), std::string::npos);
    EXPECT_NE(text.find("WARNING shown warning"), std::string::npos);
    EXPECT_NE(text.find("ERROR shown error"), std::string::npos);

    ASSERT_EQ(ZyBase_SetLogMask(0), 0);
    EXPECT_EQ(ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "nothing"), 0);
    EXPECT_EQ(readFile(logFile()), text);
}

TEST_F(LogTest, StderrStaysQuietUnlessEchoIsOn)
{
    const std::string captured = m_home.dir() + "/stderr.txt";
    {
        StderrCapture capture(captured);
        ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "quiet line");
        ZyDll* dll = nullptr;
        ZyBase_CreateDll("/nonexistent/libnothing.so", &dll);
        EXPECT_EQ(capture.finish(), "");
    }
    ASSERT_EQ(ZyBase_SetLogEcho(1), 0);
    {
        StderrCapture capture(captured);
        ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "echoed line");
        const std::string echoed = capture.finish();
        EXPECT_NE(echoed.find("ERROR echoed line\n"), std::string::npos) << echoed;
        EXPECT_EQ(echoed.find("quiet line"), std::string::npos);
    }
    EXPECT_NE(readFile(logFile()).find("echoed line"), std::string::npos);
}

TEST_F(LogTest, FollowsANewHomeAndADeletedFile)
{
    ZyBase_WriteInfo(ZYBASE_LOG_INFO, "first home");
    const std::string first = logFile();
    TempHome second;
    ZyBase_WriteInfo(ZYBASE_LOG_INFO, "second home");
    EXPECT_NE(logFile(), first);
    EXPECT_NE(readFile(logFile()).find("second home"), std::string::npos);
    EXPECT_EQ(readFile(first).find("second home"), std::string::npos);

    std::filesystem::remove_all(second.configDir());
    ZyBase_WriteInfo(ZYBASE_LOG_INFO, "after removal");
    EXPECT_NE(readFile(logFile()).find("after removal"), std::string::npos);
}

TEST_F(LogTest, UnwritableLogIsReportedNotShown)
{
    // A file where the log directory should be makes opening the log fail.
    ASSERT_EQ(ZyBase_CreateDir(m_home.configDir().c_str()), 0);
    writeFile(m_home.configDir() + "log", "in the way");
    const std::string captured = m_home.dir() + "/stderr.txt";
    StderrCapture capture(captured);
    EXPECT_NE(ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "lost"), 0);
    EXPECT_EQ(capture.finish(), "");
}

TEST_F(LogTest, LinesFromManyThreadsStayWhole)
{
    constexpr int kThreads = 4;
    constexpr int kLines = 200;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < kLines; ++i)
                ZyBase_WriteInfo(ZYBASE_LOG_INFO, "thread %d line %d %s", t, i, std::string(100, 'x').c_str());
        });
    }
    for (auto& thread : threads)
        thread.join();
    const auto written = lines(readFile(logFile()));
    ASSERT_EQ(written.size(), static_cast<size_t>(kThreads * kLines));
    const std::regex form(R"(.{23} \[\d+\] INFO thread \d line \d+ x{100})");
    for (const std::string& line : written)
        ASSERT_TRUE(std::regex_match(line, form)) << line;
}
