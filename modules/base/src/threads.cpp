// Threads with a handle that can be waited on with a timeout and closed at any
// time. The running thread and the handle share the completion state, so
// whichever of them ends last frees it.
#include "ZyBase.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

namespace {

class Completion
{
public:
    void finish()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_done = true;
        }
        m_finished.notify_all();
    }

    // False when the timeout ran out first; timeout_ms < 0 waits for ever.
    bool wait(int timeout_ms)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        const auto isDone = [this] { return m_done; };
        if (timeout_ms < 0) {
            m_finished.wait(lock, isDone);
            return true;
        }
        return m_finished.wait_for(lock, std::chrono::milliseconds(timeout_ms), isDone);
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_finished;
    bool m_done = false;
};

} // namespace

struct ZyThread_
{
    std::shared_ptr<Completion> completion;
    std::mutex joinMutex; // two waiters must not join at once
    std::thread thread;
    std::thread::id id; // read without joinMutex, so kept apart from thread
};

extern "C" {

int ZyBase_OpenThread(ZyThreadProc proc, void* param, ZyThread* thread)
{
    if (!thread)
        return EINVAL;
    *thread = nullptr;
    if (!proc)
        return EINVAL;
    try {
        auto handle = std::make_unique<ZyThread_>();
        handle->completion = std::make_shared<Completion>();
        handle->thread = std::thread([proc, param, completion = handle->completion] {
            proc(param);
            completion->finish();
        });
        handle->id = handle->thread.get_id();
        *thread = handle.release();
        return 0;
    } catch (const std::system_error& error) {
        return error.code().value() != 0 ? error.code().value() : EAGAIN;
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

int ZyBase_WaitThread(ZyThread thread, int timeout_ms)
{
    if (!thread)
        return EINVAL;
    if (thread->id == std::this_thread::get_id())
        return EDEADLK;
    if (!thread->completion->wait(timeout_ms))
        return ETIMEDOUT;
    // The procedure has returned, so the join below does not block for long.
    const std::lock_guard<std::mutex> lock(thread->joinMutex);
    if (thread->thread.joinable())
        thread->thread.join();
    return 0;
}

int ZyBase_CloseThread(ZyThread thread)
{
    if (!thread)
        return EINVAL;
    {
        const std::lock_guard<std::mutex> lock(thread->joinMutex);
        if (thread->thread.joinable()) {
            // A thread closing its own handle, or one still running, goes on alone.
            if (thread->id == std::this_thread::get_id() || !thread->completion->wait(0))
                thread->thread.detach();
            else
                thread->thread.join();
        }
    }
    delete thread;
    return 0;
}

} // extern "C"
