// Log lines: where they land, their form, the level mask, and silence on stderr.
#include "temp_home.h"

#include <fcntl.h>
#include <unistd.h>

#include <regex>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

using veltest::readFile;

namespace {

// Level and message of every line, or ("", line) for a line not in the log's form.
std::vector<std::pair<std::string, std::string>> logLines(const std::string& text)
{
    static const std::regex form(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \[\d+\] (\w+) (.*))");
    std::vector<std::pair<std::string, std::string>> result;
    std::istringstream in(text);
    std::smatch match;
    for (std::string line; std::getline(in, line);) {
        if (std::regex_match(line, match, form))
            result.emplace_back(match[1], match[2]);
        else
            result.emplace_back("", line);
    }
    return result;
}

// What run writes to file descriptor 2.
template <class Run>
std::string stderrOf(const std::string& capture, Run run)
{
    const int saved = dup(STDERR_FILENO);
    const int fd = open(capture.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    dup2(fd, STDERR_FILENO);
    close(fd);
    run();
    dup2(saved, STDERR_FILENO);
    close(saved);
    return readFile(capture);
}

class LogTest : public veltest::HomeTest
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

    const std::string m_capture = m_home.dir() + "/stderr.txt";
};

} // namespace

TEST_F(LogTest, LinesLandInTheProcessLogInTheirFormAndFollowTheMask)
{
    EXPECT_EQ(logFile(), m_home.configDir() + "log/base_tests.log");
    ASSERT_EQ(ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "[Manager::showSettingUi] emit %s(%d)", "createSettingUi", 7), 0);
    ASSERT_EQ(ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "second\nline\n"), 0);
    ASSERT_EQ(ZyBase_SetLogMask(ZYBASE_LOG_ERROR | ZYBASE_LOG_WARNING), 0);
    EXPECT_EQ(ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "hidden debug"), 0);
    EXPECT_EQ(ZyBase_WriteInfo(ZYBASE_LOG_INFO, "hidden info"), 0);
    EXPECT_EQ(ZyBase_WriteInfo(ZYBASE_LOG_WARNING, "shown warning"), 0);
    ASSERT_EQ(ZyBase_SetLogMask(0), 0);
    EXPECT_EQ(ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "nothing"), 0);

    const decltype(logLines("")) expected = {
        {"DEBUG", "[Manager::showSettingUi] emit createSettingUi(7)"},
        {"ERROR", "second line"},
        {"WARNING", "shown warning"}};
    EXPECT_EQ(logLines(readFile(logFile())), expected);
}

TEST_F(LogTest, StderrStaysQuietUnlessEchoIsOn)
{
    EXPECT_EQ(stderrOf(m_capture, [] {
                  ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "quiet line");
                  ZyDll* dll = nullptr;
                  ZyBase_CreateDll("/nonexistent/libnothing.so", &dll);
              }),
              "");
    ASSERT_EQ(ZyBase_SetLogEcho(1), 0);
    const std::string echoed = stderrOf(m_capture, [] { ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "echoed line"); });
    EXPECT_NE(echoed.find("ERROR echoed line\n"), std::string::npos) << echoed;
    EXPECT_EQ(echoed.find("quiet line"), std::string::npos);
    EXPECT_NE(readFile(logFile()).find("echoed line"), std::string::npos);
    ASSERT_EQ(ZyBase_SetLogEcho(0), 0);

    // A file where the log directory should be makes opening the log fail.
    std::filesystem::remove_all(m_home.configDir() + "log");
    veltest::writeFile(m_home.configDir() + "log", "in the way");
    EXPECT_EQ(stderrOf(m_capture, [] { EXPECT_NE(ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "lost"), 0); }), "");
}

TEST_F(LogTest, FollowsANewHomeAndADeletedFile)
{
    ZyBase_WriteInfo(ZYBASE_LOG_INFO, "first home");
    const std::string first = logFile();
    veltest::TempHome second;
    ZyBase_WriteInfo(ZYBASE_LOG_INFO, "second home");
    EXPECT_NE(logFile(), first);
    EXPECT_NE(readFile(logFile()).find("second home"), std::string::npos);
    EXPECT_EQ(readFile(first).find("second home"), std::string::npos);

    std::filesystem::remove_all(second.configDir());
    ZyBase_WriteInfo(ZYBASE_LOG_INFO, "after removal");
    EXPECT_NE(readFile(logFile()).find("after removal"), std::string::npos);
}

TEST_F(LogTest, LinesFromManyThreadsStayWhole)
{
    constexpr int kThreads = 4;
    constexpr int kLines = 200;
    const std::string tail(100, 'x');
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &tail] {
            for (int i = 0; i < kLines; ++i)
                ZyBase_WriteInfo(ZYBASE_LOG_INFO, "thread %d line %d %s", t, i, tail.c_str());
        });
    }
    for (auto& thread : threads)
        thread.join();
    const auto written = logLines(readFile(logFile()));
    ASSERT_EQ(written.size(), size_t(kThreads * kLines));
    const std::regex message(R"(thread \d line \d+ x{100})");
    for (const auto& [level, text] : written)
        ASSERT_TRUE(level == "INFO" && std::regex_match(text, message)) << level << " " << text;
}
