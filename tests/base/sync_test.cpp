// Events and threads, exercised across real threads.
#include <ZyBase.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// An event that destroys itself.
class Event
{
public:
    Event(bool manual, bool set) { EXPECT_EQ(ZyBase_CreateEvent(manual, set, &m_event), 0); }
    ~Event() { ZyBase_DestroyEvent(m_event); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    ZyEvent get() const { return m_event; }
    int wait(int ms) const { return ZyBase_WaitEvent(m_event, ms); }
    void set() const { ASSERT_EQ(ZyBase_SetEvent(m_event), 0); }

private:
    ZyEvent m_event = nullptr;
};

// Polls until the counter reaches at least target or two seconds pass.
bool reaches(const std::atomic<int>& counter, int target)
{
    const auto deadline = Clock::now() + std::chrono::seconds(2);
    while (counter.load() < target && Clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return counter.load() >= target;
}

struct Waiter
{
    ZyEvent event;
    std::atomic<int>* woken;
};

void waitAndCount(void* param)
{
    auto* const waiter = static_cast<Waiter*>(param);
    if (ZyBase_WaitEvent(waiter->event, 5000) == 0)
        ++*waiter->woken;
}

class Threads
{
public:
    ~Threads()
    {
        for (ZyThread thread : m_threads) {
            EXPECT_EQ(ZyBase_WaitThread(thread, 5000), 0);
            ZyBase_CloseThread(thread);
        }
    }

    void start(ZyThreadProc proc, void* param)
    {
        ZyThread thread = nullptr;
        ASSERT_EQ(ZyBase_OpenThread(proc, param, &thread), 0);
        m_threads.push_back(thread);
    }

private:
    std::vector<ZyThread> m_threads;
};

} // namespace

TEST(EventTest, TimeoutsAndStates)
{
    Event manual(true, false);
    const auto start = Clock::now();
    EXPECT_EQ(manual.wait(60), ETIMEDOUT);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(60));
    EXPECT_EQ(manual.wait(0), ETIMEDOUT);

    manual.set();
    EXPECT_EQ(manual.wait(0), 0);
    EXPECT_EQ(manual.wait(ZYBASE_INFINITE), 0);
    EXPECT_EQ(ZyBase_ResetEvent(manual.get()), 0);
    EXPECT_EQ(manual.wait(0), ETIMEDOUT);

    Event autoReset(false, true);
    EXPECT_EQ(autoReset.wait(0), 0);
    EXPECT_EQ(autoReset.wait(10), ETIMEDOUT);
    autoReset.set();
    autoReset.set();
    EXPECT_EQ(autoReset.wait(0), 0);
    EXPECT_EQ(autoReset.wait(0), ETIMEDOUT);
}

TEST(EventTest, AutoResetWakesExactlyOneWaiterPerSet)
{
    constexpr int kWaiters = 4;
    Event event(false, false);
    std::atomic<int> woken{0};
    Waiter waiter{event.get(), &woken};
    Threads threads;
    for (int i = 0; i < kWaiters; ++i)
        threads.start(waitAndCount, &waiter);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    for (int round = 1; round <= kWaiters; ++round) {
        event.set();
        ASSERT_TRUE(reaches(woken, round));
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        EXPECT_EQ(woken.load(), round);
    }
}

TEST(EventTest, ManualResetWakesEveryWaiter)
{
    constexpr int kWaiters = 5;
    Event event(true, false);
    std::atomic<int> woken{0};
    Waiter waiter{event.get(), &woken};
    {
        Threads threads;
        for (int i = 0; i < kWaiters; ++i)
            threads.start(waitAndCount, &waiter);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        EXPECT_EQ(woken.load(), 0);
        event.set();
    }
    EXPECT_EQ(woken.load(), kWaiters);
    EXPECT_EQ(event.wait(0), 0);
}

TEST(EventTest, NullHandlesAreRefused)
{
    ZyEvent event = nullptr;
    EXPECT_EQ(ZyBase_CreateEvent(0, 0, nullptr), EINVAL);
    EXPECT_EQ(ZyBase_SetEvent(event), EINVAL);
    EXPECT_EQ(ZyBase_ResetEvent(event), EINVAL);
    EXPECT_EQ(ZyBase_WaitEvent(event, 0), EINVAL);
    EXPECT_EQ(ZyBase_DestroyEvent(event), EINVAL);
}

namespace {

struct Gate
{
    ZyEvent release;
    ZyEvent finished;
    std::atomic<int> runs{0};
};

void gatedProc(void* param)
{
    auto* const gate = static_cast<Gate*>(param);
    ZyBase_WaitEvent(gate->release, ZYBASE_INFINITE);
    ++gate->runs;
    ZyBase_SetEvent(gate->finished);
}

class ThreadTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(ZyBase_CreateEvent(1, 0, &m_gate.release), 0);
        ASSERT_EQ(ZyBase_CreateEvent(1, 0, &m_gate.finished), 0);
    }
    void TearDown() override
    {
        ZyBase_DestroyEvent(m_gate.release);
        ZyBase_DestroyEvent(m_gate.finished);
    }

    Gate m_gate;
};

} // namespace

TEST_F(ThreadTest, WaitTimesOutWhileRunningAndSucceedsAfterwards)
{
    ZyThread thread = nullptr;
    ASSERT_EQ(ZyBase_OpenThread(gatedProc, &m_gate, &thread), 0);
    EXPECT_EQ(ZyBase_WaitThread(thread, 50), ETIMEDOUT);
    EXPECT_EQ(m_gate.runs.load(), 0);
    ZyBase_SetEvent(m_gate.release);
    EXPECT_EQ(ZyBase_WaitThread(thread, ZYBASE_INFINITE), 0);
    EXPECT_EQ(m_gate.runs.load(), 1);
    EXPECT_EQ(ZyBase_WaitThread(thread, 0), 0);
    EXPECT_EQ(ZyBase_CloseThread(thread), 0);
}

TEST_F(ThreadTest, ClosingTheHandleLetsARunningThreadFinish)
{
    // Should closing wait for the thread, this opens the gate late instead of never.
    std::thread safetyNet([this] {
        ZyBase_WaitEvent(m_gate.release, 2000);
        ZyBase_SetEvent(m_gate.release);
    });
    ZyThread thread = nullptr;
    ASSERT_EQ(ZyBase_OpenThread(gatedProc, &m_gate, &thread), 0);
    const auto start = Clock::now();
    EXPECT_EQ(ZyBase_CloseThread(thread), 0);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(1));
    EXPECT_EQ(m_gate.runs.load(), 0);
    ZyBase_SetEvent(m_gate.release);
    safetyNet.join();
    EXPECT_EQ(ZyBase_WaitEvent(m_gate.finished, 5000), 0);
    EXPECT_EQ(m_gate.runs.load(), 1);
}

TEST_F(ThreadTest, ClosingAfterTheThreadEndedIsFine)
{
    ZyBase_SetEvent(m_gate.release);
    ZyThread thread = nullptr;
    ASSERT_EQ(ZyBase_OpenThread(gatedProc, &m_gate, &thread), 0);
    ASSERT_EQ(ZyBase_WaitEvent(m_gate.finished, 5000), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(ZyBase_CloseThread(thread), 0);
}

namespace {

struct SelfClose
{
    std::atomic<ZyThread> handle{nullptr};
    ZyEvent done = nullptr;
    int waitResult = -1;
    int closeResult = -1;
};

void closeOwnHandle(void* param)
{
    auto* const self = static_cast<SelfClose*>(param);
    while (!self->handle.load())
        std::this_thread::yield();
    self->waitResult = ZyBase_WaitThread(self->handle.load(), 0);
    self->closeResult = ZyBase_CloseThread(self->handle.load());
    ZyBase_SetEvent(self->done);
}

std::atomic<int> g_shortRuns{0};

} // namespace

TEST_F(ThreadTest, AThreadMayCloseItsOwnHandle)
{
    SelfClose self;
    self.done = m_gate.finished;
    ZyThread thread = nullptr;
    ASSERT_EQ(ZyBase_OpenThread(closeOwnHandle, &self, &thread), 0);
    self.handle.store(thread);
    ASSERT_EQ(ZyBase_WaitEvent(self.done, 5000), 0);
    EXPECT_EQ(self.waitResult, EDEADLK);
    EXPECT_EQ(self.closeResult, 0);
}

TEST(ThreadCloseTest, ManyShortThreadsClosedAtOnce)
{
    constexpr int kThreads = 50;
    std::vector<ZyThread> threads(kThreads);
    for (ZyThread& thread : threads)
        ASSERT_EQ(ZyBase_OpenThread([](void*) { ++g_shortRuns; }, nullptr, &thread), 0);
    for (ZyThread thread : threads)
        EXPECT_EQ(ZyBase_CloseThread(thread), 0);
    EXPECT_TRUE(reaches(g_shortRuns, kThreads));
    EXPECT_EQ(g_shortRuns.load(), kThreads);
}

TEST(ThreadArgumentsTest, NullsAreRefused)
{
    ZyThread thread = nullptr;
    EXPECT_EQ(ZyBase_OpenThread(nullptr, nullptr, &thread), EINVAL);
    EXPECT_EQ(thread, nullptr);
    EXPECT_EQ(ZyBase_OpenThread([](void*) {}, nullptr, nullptr), EINVAL);
    EXPECT_EQ(ZyBase_WaitThread(nullptr, 0), EINVAL);
    EXPECT_EQ(ZyBase_CloseThread(nullptr), EINVAL);
}
