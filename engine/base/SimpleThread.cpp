#include "base/SimpleThread.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cstring>

#include "base/ExceptionBarrier.h"
#include "base/Logger.h"

namespace {

void reportError(const char* what, int error) {
    if (error == 0) return;
    FRAMEWORK_LOG(LEVEL_ERROR, "SimpleThread", "%s error: %d, %s", what, error, strerror(error));
}

}  // namespace

ThreadPrivateData<SimpleThread::TaskList> SimpleThread::sOnExitTasks;

int SimpleThread::start(const char* name, int priority, unsigned long stackSize) {
    if (mStarted.exchange(true)) return 1;

    // The new thread may end, or fail to be created, while this function still needs the object.
    const sp<SimpleThread> self(this);

    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    reportError("set detach state",
                pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED));
    if (priority >= 1) {
        sched_param parameter{};
        parameter.sched_priority = priority;
        reportError("set priority", pthread_attr_setschedparam(&attributes, &parameter));
    }
    if (stackSize != 0) {
        reportError("set stack size", pthread_attr_setstacksize(&attributes, stackSize));
    }
    mSelf = this;
    if (name != nullptr) mName = name;
    const int error = pthread_create(&mThread, &attributes, _threadEntry, this);
    if (error != 0) {
        reportError("create thread", error);
        mSelf.reset();
    }
    pthread_attr_destroy(&attributes);
    return error;
}

void* SimpleThread::_threadEntry(void* argument) {
    guarded("a thread", [argument] {
        const sp<SimpleThread> self(static_cast<SimpleThread*>(argument));
        self->mSelf.reset();
        // The creator may not have stored the handle yet: this thread asks for its own.
        if (!self->mName.empty() && pthread_setname_np(pthread_self(), self->mName.c_str()) != 0) {
            FRAMEWORK_LOG(LEVEL_ERROR, "SimpleThread", "set thread name error: %s",
                          self->mName.c_str());
        }
        self->innerRun();
    });
    return nullptr;
}

void SimpleThread::innerRun() {
    setId(getTid());
    run();
    runOnExitTasks();
    setId(-1);
}

int SimpleThread::getTid() {
    return static_cast<int>(syscall(SYS_gettid));
}

bool SimpleThread::addOnExitTask(const Callback<void (*)()>& task) {
    TaskList* tasks = sOnExitTasks.getValue();
    if (tasks == nullptr) {
        tasks = new TaskList;
        sOnExitTasks.setValue(tasks);
    }
    tasks->push_back(task);
    return true;
}

void SimpleThread::runOnExitTasks() {
    TaskList* const tasks = sOnExitTasks.getValue();
    if (tasks == nullptr) return;
    // A task may add another one, which then runs as well.
    for (const Callback<void (*)()>& task : *tasks) task();
    sOnExitTasks.setValue(nullptr);
    delete tasks;
}
