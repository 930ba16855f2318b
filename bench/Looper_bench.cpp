#include <sys/eventfd.h>
#include <unistd.h>
#include <uv.h>

#include <asio.hpp>
#include <catch2/catch.hpp>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <thread>

#include "base/Latch.h"
#include "bench/Rounds.h"
#include "looper/LooperThread.h"

namespace {

using Task = Callback<void (*)()>;

// Counts what has run, and tells when that is all.
class Work {
  public:
    void begin(int tasks) {
        mLeft = tasks;
        mDone.emplace(1);
    }
    void run() {
        if (--mLeft == 0) mDone->countDown();
    }
    void wait() { mDone->wait(); }
    bool over() const { return mLeft == 0; }

  private:
    int mLeft = 0;  // of the thread that runs the tasks, once they have begun
    std::optional<Latch> mDone;
};

Task taskOf(Work& work) {
    return Task(&Work::run, UnsafeRawPtr<Work>(&work));
}

// A thread that runs an Asio loop.
class AsioThread {
  public:
    ~AsioThread() {
        mGuard.reset();
        mThread.join();
    }
    asio::io_context context;

  private:
    asio::executor_work_guard<asio::io_context::executor_type> mGuard = make_work_guard(context);
    std::thread mThread{[this] {
        useProcessor(1);
        context.run();
    }};
};

// A thread that runs a libuv loop. The library wakes a loop but hands over no tasks: here they lie
// in a queue under a lock.
class UvThread {
  public:
    UvThread() {
        uv_loop_init(&mLoop);
        uv_async_init(&mLoop, &mAsync,
                      [](uv_async_t* async) { static_cast<UvThread*>(async->data)->runTasks(); });
        mAsync.data = this;
        mThread = std::thread([this] {
            useProcessor(1);
            uv_run(&mLoop, UV_RUN_DEFAULT);
        });
    }
    ~UvThread() {
        post([this] { uv_close(reinterpret_cast<uv_handle_t*>(&mAsync), nullptr); });
        mThread.join();
        uv_loop_close(&mLoop);
    }
    void post(const std::function<void()>& task) {
        {
            std::lock_guard<std::mutex> lock(mLock);
            mTasks.push_back(task);
        }
        uv_async_send(&mAsync);
    }

  private:
    void runTasks() {
        std::deque<std::function<void()>> tasks;
        {
            std::lock_guard<std::mutex> lock(mLock);
            tasks.swap(mTasks);
        }
        for (const std::function<void()>& task : tasks) task();
    }

    uv_loop_t mLoop{};
    uv_async_t mAsync{};
    std::mutex mLock;
    std::deque<std::function<void()>> mTasks;
    std::thread mThread;
};

class Worker {
  public:
    Worker() {
        REQUIRE(mThread->start("bench", 0, 0) == 0);
        mThread->sendTask(Task(&Worker::begin, UnsafeRawPtr<Worker>(this)));
    }
    ~Worker() { mThread->requestExitAndWait(); }
    LooperThread* operator->() const { return mThread.get(); }

  private:
    void begin() { useProcessor(1); }

    const sp<LooperThread> mThread{new LooperThread};
};

class Eventfd {
  public:
    ~Eventfd() { close(mFd); }
    uint64_t read() const {
        uint64_t value = 0;
        return ::read(mFd, &value, sizeof(value)) == sizeof(value) ? value : 0;
    }
    void write(uint64_t value) const {
        if (::write(mFd, &value, sizeof(value)) != sizeof(value)) abort();
    }

  private:
    const int mFd = eventfd(0, 0);
};

// A timer's callback.
int count(void* fired) {
    ++*static_cast<int*>(fired);
    return -1;
}

// A looper of the bench's own thread.
struct OwnLooper {
    OwnLooper() { timer->setTimerNotifier(looper.get()); }
    void turn() { looper->processEvents(timer->nextTimerEvent(), timer); }

    const sp<KsTimer> timer{new KsTimer};
    const sp<Looper> looper{new Looper(timer)};
};

}  // namespace

TEST_CASE("a task posted to another thread, one way") {
    constexpr int TASKS = 100000;
    useProcessor(0);
    UvThread uv;
    AsioThread asioThread;
    Worker worker;
    Work work;
    const auto all = [&work](auto post) {
        return [&work, post] {
            work.begin(TASKS);
            const double begin = nanoseconds();
            for (int i = 0; i < TASKS; ++i) post();
            work.wait();
            return (nanoseconds() - begin) / TASKS;
        };
    };
    Looper* const looper = worker->getLooper();
    const Task task = taskOf(work);
    compareInRounds({
        {"reference: libuv, a queue under a lock and uv_async_send",
         all([&] { uv.post([&work] { work.run(); }); })},
        {"Asio, post", all([&] { asio::post(asioThread.context, [&work] { work.run(); }); })},
        {"Looper::sendTask", all([&] { looper->sendTask(task); })},
        {"Looper::sendTask, with a callback made for each",
         all([&] { looper->sendTask(taskOf(work)); })},
        {"LooperThread::sendTask", all([&] { worker->sendTask(task); })},
    });
    useAnyProcessor();
}

TEST_CASE("there and back, answered through an eventfd") {
    constexpr int TRIPS = 2000;
    const Eventfd there;
    const Eventfd back;
    std::thread echo([&] {
        useProcessor(1);
        while (there.read() == 1) back.write(1);
    });
    struct Answer {
        void send() { back.write(1); }
        const Eventfd& back;
    } answer{back};
    const Task task(&Answer::send, UnsafeRawPtr<Answer>(&answer));
    Worker worker;
    useProcessor(0);
    const auto ask = [&] { there.write(1), back.read(); };
    const auto askWorker = [&] { worker->sendTask(task), back.read(); };
    compareInRounds(
        {{"reference: an eventfd, and a thread that reads it", meanOf(TRIPS, ask, nanoseconds)},
         {"LooperThread::sendTask", meanOf(TRIPS, askWorker, nanoseconds)}});
    there.write(2);
    echo.join();
    useAnyProcessor();
}

TEST_CASE("a timer due at once, added and fired by a turn of the loop") {
    constexpr int TIMERS = 5000;
    asio::io_context context;
    asio::steady_timer asioTimer(context);
    int fired = 0;
    OwnLooper own;
    compareInRounds({
        {"reference: Asio, steady_timer", meanOf(TIMERS,
                                                 [&] {
                                                     asioTimer.expires_after(
                                                         std::chrono::seconds(0));
                                                     asioTimer.async_wait([&](auto) { ++fired; });
                                                     context.restart();
                                                     context.run();
                                                 })},
        {"KsTimer::addTimerCallback", meanOf(TIMERS,
                                             [&] {
                                                 own.timer->addTimerCallback(0, count, &fired);
                                                 own.turn();
                                             })},
    });
}

namespace {

// Adds timers with delays that are over when all have been added, in no order, and fires them all;
// the time that one took.
template <typename Add, typename Fire>
double addAndFire(int timers, Add add, Fire fire) {
    std::mt19937 random(1);
    std::vector<int> delays;
    for (int i = 0; i < timers; ++i) delays.push_back(50 + static_cast<int>(random() % 50));
    const double begin = ownNanoseconds();
    for (const int delay : delays) add(delay);
    std::this_thread::sleep_for(std::chrono::milliseconds(110));
    fire();
    return (ownNanoseconds() - begin) / timers;
}

double asioTimers(int timers) {
    asio::io_context context;
    std::deque<asio::steady_timer> all;
    int fired = 0;
    return addAndFire(
        timers,
        [&](int delay) {
            all.emplace_back(context, std::chrono::milliseconds(delay));
            all.back().async_wait([&fired](auto) { ++fired; });
        },
        [&] {
            while (fired < timers) context.run_one();
            all.clear();  // a delayed task has gone by itself
        });
}

double timerCallbacks(int timers) {
    OwnLooper own;
    int fired = 0;
    return addAndFire(
        timers, [&](int delay) { own.timer->addTimerCallback(delay, count, &fired); },
        [&] {
            while (fired < timers) own.turn();
        });
}

double delayedTasks(int timers) {
    OwnLooper own;
    Work work;
    work.begin(timers);
    return addAndFire(
        timers, [&](int delay) { own.looper->sendDelayTask(taskOf(work), delay); },
        [&] {
            while (!work.over()) own.turn();
        });
}

}  // namespace

TEST_CASE("many timers, all added and then all fired, each") {
    for (const int timers : {2000, 100000}) {
        const std::string outstanding = ", " + std::to_string(timers) + " outstanding";
        compareInRounds(
            {{"reference: Asio, steady_timer" + outstanding, [=] { return asioTimers(timers); }},
             {"KsTimer::addTimerCallback" + outstanding, [=] { return timerCallbacks(timers); }},
             {"Looper::sendDelayTask" + outstanding, [=] { return delayedTasks(timers); }}},
            11);
    }
}
