#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <list>
#include <string>

#include "base/Callback.h"
#include "base/RefBase.h"
#include "base/ThreadPrivateData.h"

// A detached thread that keeps its object alive while it runs. Subclasses give its body in run().
// The object is made with `new`; whoever looks at it after start() holds a reference of their own,
// since the thread gives up its own when it ends.
class SimpleThread : public virtual RefBase {
  public:
    SimpleThread() = default;

    const char* getName() const override { return "SimpleThread"; }
    ~SimpleThread() override = default;

    // Starts the thread, once only: 1 when it was started before, else the error number of the
    // thread's creation, 0 on success. A null `name`, a `priority` below 1 and a `stackSize` of 0
    // (bytes) leave the platform's default. Any thread may call.
    virtual int start(const char* name, int priority, unsigned long stackSize);

    // The kernel's id of the thread while it runs, -1 otherwise. Any thread may ask.
    virtual int getId() const { return mId.load(std::memory_order_relaxed); }

    // The thread's body. The result is not used.
    virtual int run() = 0;

    // What the new thread does: run() and then the exit tasks, with the id set meanwhile.
    virtual void innerRun();

    void setId(int id) { mId.store(id, std::memory_order_relaxed); }

    // The address of the thread's handle, which holds a value once start() has returned 0.
    const pthread_t* getThreadId() const { return &mThread; }

    // The kernel's id of the calling thread.
    static int getTid();

    // Leaves a task that the calling thread, which must be a SimpleThread, runs after its run() has
    // returned. Tasks run in the order of their addition. Always true.
    static bool addOnExitTask(const Callback<void (*)()>& task);

  protected:
    // Runs the calling thread's exit tasks and forgets them.
    static void runOnExitTasks();

  private:
    using TaskList = std::list<Callback<void (*)()>>;

    static void* _threadEntry(void* argument);

    std::atomic<int32_t> mId{-1};
    pthread_t mThread{};
    std::string mName;  // written before the thread is created, and never again
    std::atomic<bool> mStarted{false};
    sp<SimpleThread> mSelf;  // from start() until the new thread holds a reference of its own

    static ThreadPrivateData<TaskList> sOnExitTasks;
};
