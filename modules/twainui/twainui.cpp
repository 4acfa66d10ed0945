// The exported functions and the lazy start of the UI thread.
#include "Manager.h"

#include <veltwainui/twainui.h>
#include <ZyBase.h>

#include <QApplication>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace {

// Written by the UI thread, read by host threads.
std::atomic<Manager*> g_manager{nullptr};
ZyThread g_hThread = nullptr;
ZyEvent g_event = nullptr;
std::atomic<bool> g_processExiting{false};

void ThreadFunc(void*)
{
    int argc = 0;
    auto* app = new QApplication(argc, nullptr);
    // Closing a dialog must never end the loop: the thread serves the whole process.
    QApplication::setQuitOnLastWindowClosed(false);
    g_manager = new Manager();
    ZyBase_SetEvent(g_event);

    QApplication::exec();

    // Some of Qt's globals may already be gone when the process is exiting;
    // the memory goes with the process anyway.
    if (g_processExiting)
        return;
    delete g_manager.exchange(nullptr);
    delete app;
}

// At process exit the UI thread must stand still before the exit handlers tear
// down Qt's globals under it: its loop is ended and it returns at once.
void stopUiThread()
{
    if (!g_hThread || !QCoreApplication::instance())
        return;
    g_processExiting = true;
    QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit,
                              Qt::QueuedConnection);
    ZyBase_WaitThread(g_hThread, 5000);
}

void Init()
{
    // Two host threads must not both start a UI thread.
    static std::mutex start_mutex;
    const std::lock_guard<std::mutex> lock(start_mutex);

    if (QCoreApplication::instance()) {
        if (!g_manager)
            g_manager = new Manager();
        return;
    }

    std::atexit(stopUiThread);
    ZyBase_CreateEvent(1, 0, &g_event);
    ZyBase_OpenThread(ThreadFunc, nullptr, &g_hThread);
    ZyBase_WaitEvent(g_event, ZYBASE_INFINITE);
    // Fatal in every build: nothing works without the manager.
    if (nullptr == g_manager) {
        std::fprintf(stderr, "%s:%d: void Init(): Assertion `nullptr != g_manager' failed.\n",
                     __FILE__, __LINE__);
        std::abort();
    }
}

} // namespace

extern "C" {

int show_messagebox_ui(void* parent, int kind, const char* message, int flags)
{
    Init();
    return g_manager.load()->showMessageBoxUi(parent, kind, const_cast<char*>(message), flags);
}

int close_ui(int which)
{
    Manager* manager = g_manager;
    if (!manager)
        return 0;

    if (which & 1)
        manager->closeProgressUi();
    if (which & 2)
        manager->closeSettingUi();
    if (which & 4) {
        manager->closeMessageBoxUi();
        if (which == -1) {
            manager->clear_functions();
            // A second Qt application cannot be made in one process, so our own
            // thread and its manager stay; a host-owned manager is made afresh.
            if (!g_hThread)
                delete g_manager.exchange(nullptr);
        }
    }
    return 0;
}

void pump_ui_message()
{
    if (QCoreApplication::instance())
        QCoreApplication::processEvents(QEventLoop::AllEvents);
}

void twain_ui_free(void* p)
{
    delete[] static_cast<char*>(p);
}

} // extern "C"
