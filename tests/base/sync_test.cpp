// Events and threads, exercised across real threads.
#include <ZyBase.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <list>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

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
        std::this_thread::sleep_for(milliseconds(1));
    return counter.load() >= target;
}

// Runs bodies on threads of the base library; the bodies must outlive their threads.
class Threads
{
public:
    ~Threads()
    {
        for (ZyThread thread : m_joinable) {
            EXPECT_EQ(ZyBase_WaitThread(thread, 5000), 0);
            ZyBase_CloseThread(thread);
        }
    }

    ZyThread start(std::function<void()> body, bool join = true)
    {
        m_bodies.push_back(std::move(body));
        ZyThread thread = nullptr;
        EXPECT_EQ(ZyBase_OpenThread([](void* f) { (*static_cast<std::function<void()>*>(f))(); },
                                    &m_bodies.back(), &thread),
                  0);
        if (join && thread)
            m_joinable.push_back(thread);
        return thread;
    }

private:
    std::list<std::function<void()>> m_bodies;
    std::list<ZyThread> m_joinable;
};

} // namespace

TEST(EventTest, TimeoutsAndStates)
{
    Event manual(true, false);
    const auto start = Clock::now();
    EXPECT_EQ(manual.wait(60), ETIMEDOUT);
    EXPECT_GE(Clock::now() - start, milliseconds(60));
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

// An auto-reset event wakes exactly one waiter per set, a manual one all of them.
TEST(EventTest, SetWakesOneWaiterOrAll)
{
    for (const bool manual : {false, true}) {
        SCOPED_TRACE(manual ? "manual" : "auto");
        constexpr int kWaiters = 4;
        Event event(manual, false);
        std::atomic<int> woken{0};
        {
            Threads threads;
            for (int i = 0; i < kWaiters; ++i)
                threads.start([&] { woken += event.wait(5000) == 0; });
            std::this_thread::sleep_for(milliseconds(50));
            EXPECT_EQ(woken.load(), 0);
            for (int round = 1; round <= (manual ? 1 : kWaiters); ++round) {
                event.set();
                ASSERT_TRUE(reaches(woken, manual ? kWaiters : round));
                std::this_thread::sleep_for(milliseconds(30));
                EXPECT_EQ(woken.load(), manual ? kWaiters : round);
            }
        }
        EXPECT_EQ(event.wait(0), manual ? 0 : ETIMEDOUT);
    }
}

TEST(ThreadTest, WaitTimesOutWhileRunningAndSucceedsAfterwards)
{
    Event release(true, false);
    std::atomic<int> runs{0};
    Threads threads;
    const ZyThread thread = threads.start([&] { release.wait(ZYBASE_INFINITE), ++runs; }, false);
    EXPECT_EQ(ZyBase_WaitThread(thread, 50), ETIMEDOUT);
    EXPECT_EQ(runs.load(), 0);
    release.set();
    EXPECT_EQ(ZyBase_WaitThread(thread, ZYBASE_INFINITE), 0);
    EXPECT_EQ(runs.load(), 1);
    EXPECT_EQ(ZyBase_WaitThread(thread, 0), 0);
    EXPECT_EQ(ZyBase_CloseThread(thread), 0);
}

TEST(ThreadTest, ClosingTheHandleLetsARunningThreadFinish)
{
    Event release(true, false);
    Event finished(true, false);
    std::atomic<int> runs{0};
    // Should closing wait for the thread, this opens the gate late instead of never.
    std::thread safetyNet([&] { release.wait(2000), release.set(); });
    Threads threads;
    const ZyThread thread = threads.start([&] { release.wait(ZYBASE_INFINITE), ++runs, finished.set(); }, false);
    const auto start = Clock::now();
    EXPECT_EQ(ZyBase_CloseThread(thread), 0);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(1));
    EXPECT_EQ(runs.load(), 0);
    release.set();
    safetyNet.join();
    EXPECT_EQ(finished.wait(5000), 0);
    EXPECT_EQ(runs.load(), 1);
}

TEST(ThreadTest, AThreadMayCloseItsOwnHandle)
{
    Event done(true, false);
    std::atomic<ZyThread> handle{nullptr};
    int waitResult = -1;
    int closeResult = -1;
    Threads threads;
    handle = threads.start(
        [&] {
            while (!handle.load())
                std::this_thread::yield();
            waitResult = ZyBase_WaitThread(handle.load(), 0);
            closeResult = ZyBase_CloseThread(handle.load());
            done.set();
        },
        false);
    ASSERT_EQ(done.wait(5000), 0);
    EXPECT_EQ(waitResult, EDEADLK);
    EXPECT_EQ(closeResult, 0);
}

TEST(ThreadTest, ManyShortThreadsClosedAtOnce)
{
    static std::atomic<int> runs{0};
    constexpr int kThreads = 50;
    std::vector<ZyThread> handles(kThreads);
    for (ZyThread& thread : handles)
        ASSERT_EQ(ZyBase_OpenThread([](void*) { ++runs; }, nullptr, &thread), 0);
    for (ZyThread thread : handles)
        EXPECT_EQ(ZyBase_CloseThread(thread), 0);
    EXPECT_TRUE(reaches(runs, kThreads));
    EXPECT_EQ(runs.load(), kThreads);
}

TEST(SyncArgumentsTest, NullsAreRefused)
{
    ZyThread thread = nullptr;
    EXPECT_EQ(ZyBase_CreateEvent(0, 0, nullptr), EINVAL);
    EXPECT_EQ(ZyBase_SetEvent(nullptr), EINVAL);
    EXPECT_EQ(ZyBase_ResetEvent(nullptr), EINVAL);
    EXPECT_EQ(ZyBase_WaitEvent(nullptr, 0), EINVAL);
    EXPECT_EQ(ZyBase_DestroyEvent(nullptr), EINVAL);
    EXPECT_EQ(ZyBase_OpenThread(nullptr, nullptr, &thread), EINVAL);
    EXPECT_EQ(thread, nullptr);
    EXPECT_EQ(ZyBase_OpenThread([](void*) {}, nullptr, nullptr), EINVAL);
    EXPECT_EQ(ZyBase_WaitThread(nullptr, 0), EINVAL);
    EXPECT_EQ(ZyBase_CloseThread(nullptr), EINVAL);
}
