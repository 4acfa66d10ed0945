// Runs lifecycle_host scenarios in child processes and counts how they end: each
// scenario needs a process of its own, and a crash or hang must not end the test.
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QProcess>
#include <QRegularExpression>

#include <algorithm>

namespace {

// A sanitized host process runs several times slower; the plain pass keeps the full count.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kExitRuns = 10;
#else
constexpr int kExitRuns = 50;
#endif

struct Scenario {
    const char* name;
    const char* mode; // "own": the library's UI thread; "host": the host's application
    int runs;
    int expectedExit;
};

void PrintTo(const Scenario& s, std::ostream* os)
{
    *os << s.name << " " << s.mode;
}

class Lifecycle : public ::testing::TestWithParam<Scenario>
{
};

TEST_P(Lifecycle, EndsCleanly)
{
    const Scenario s = GetParam();
    // What a host's user must never see: Qt's timer and thread warnings, sanitizer reports.
    const QRegularExpression complaint("timer|thread|sanitizer|runtime error|leak",
                                       QRegularExpression::CaseInsensitiveOption);
    int crashed = 0, hung = 0, wrongExit = 0, complained = 0;
    QString firstComplaint;
    for (int run = 0; run < s.runs; ++run) {
        const veltest::TempDir home;
        QProcess host;
        host.start(LIFECYCLE_HOST, {s.name, s.mode, QString::fromStdString(home.path()),
                                    QString::number(run)});
        if (!host.waitForFinished(30000)) {
            host.kill();
            host.waitForFinished();
            ++hung;
            continue;
        }
        crashed += host.exitStatus() == QProcess::CrashExit;
        wrongExit += host.exitStatus() == QProcess::NormalExit && host.exitCode() != s.expectedExit;
        const QString err = QString::fromLocal8Bit(host.readAllStandardError());
        if (err.contains(complaint) && ++complained == 1)
            firstComplaint = err.left(4000);
    }
    EXPECT_EQ(crashed + hung + wrongExit + complained, 0)
        << crashed << " crashed, " << hung << " hung, " << wrongExit << " exited wrongly, "
        << complained << " complained in " << s.runs << " runs\n" << firstComplaint.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Hosts, Lifecycle,
    ::testing::Values(Scenario{"exit", "own", kExitRuns, 3}, Scenario{"exit", "host", kExitRuns, 3},
                      Scenario{"reload", "own", 2, 0}, Scenario{"reload", "host", 2, 0},
                      Scenario{"close-race", "host", 2, 0}, Scenario{"two-in-a-row", "own", 3, 0},
                      Scenario{"two-in-a-row", "host", 3, 0}),
    [](const auto& info) {
        std::string name = std::string(info.param.name) + "_" + info.param.mode;
        std::replace(name.begin(), name.end(), '-', '_');
        return name;
    });

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
