// Events in the manner of Win32: manual-reset events stay set and release every
// waiter; auto-reset events release one waiter and reset themselves.
#include "ZyBase.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>

struct ZyEvent_
{
    ZyEvent_(bool manual, bool set) : manualReset(manual), signalled(set) {}

    std::mutex mutex;
    std::condition_variable changed;
    const bool manualReset;
    bool signalled;
};

extern "C" {

int ZyBase_CreateEvent(int manual_reset, int initially_set, ZyEvent* event)
{
    if (!event)
        return EINVAL;
    *event = new (std::nothrow) ZyEvent_(manual_reset != 0, initially_set != 0);
    return *event ? 0 : ENOMEM;
}

int ZyBase_SetEvent(ZyEvent event)
{
    if (!event)
        return EINVAL;
    // Notified under the lock: a woken waiter may destroy the event as soon as it returns.
    const std::lock_guard<std::mutex> lock(event->mutex);
    event->signalled = true;
    if (event->manualReset)
        event->changed.notify_all();
    else
        event->changed.notify_one();
    return 0;
}

int ZyBase_ResetEvent(ZyEvent event)
{
    if (!event)
        return EINVAL;
    const std::lock_guard<std::mutex> lock(event->mutex);
    event->signalled = false;
    return 0;
}

int ZyBase_WaitEvent(ZyEvent event, int timeout_ms)
{
    if (!event)
        return EINVAL;
    std::unique_lock<std::mutex> lock(event->mutex);
    const auto isSet = [event] { return event->signalled; };
    if (timeout_ms < 0) {
        event->changed.wait(lock, isSet);
    } else {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
        if (!event->changed.wait_until(lock, deadline, isSet))
            return ETIMEDOUT;
    }
    if (!event->manualReset)
        event->signalled = false;
    return 0;
}

int ZyBase_DestroyEvent(ZyEvent event)
{
    if (!event)
        return EINVAL;
    delete event;
    return 0;
}

} // extern "C"
