#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <string>

#include "brain/BrainMainApi.h"
#include "platform/testing/TempDir.h"

// What comes of memory that has run out: a process of its own for every place where it can.

#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KS_SANITIZED
#endif

namespace {

enum Where { NOWHERE, ON_HOSTS_THREAD, ON_ENGINES_THREADS };

std::atomic<int> gWhere{NOWHERE};
std::atomic<int> gLeft{0};  // so many allocations there succeed, none after them
thread_local bool tHost = false;

[[maybe_unused]] bool runsOut() {
    const int where = gWhere;
    if (where == NOWHERE || (where == ON_HOSTS_THREAD) != tHost) return false;
    return gLeft-- <= 0;
}

}  // namespace

#if !defined(KS_SANITIZED)
// Takes the place of the C++ library's operator in the whole program.
void* operator new(size_t size) {
    void* const block = runsOut() ? nullptr : malloc(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void operator delete(void* block) noexcept {
    free(block);
}
void operator delete(void* block, size_t) noexcept {
    free(block);
}
#endif

namespace {

constexpr unsigned HANGS_AFTER = 60;  // seconds

// How the process ends if it does not break off: memory did not run out, or the function answered
// its failure, or neither.
enum Exit { ENOUGH, ANSWERED, WENT_ON };

// An event that lets the host go on when the engine has given it up.
class TrackedEvent : public BrainEvent {
  public:
    explicit TrackedEvent(std::atomic<bool>& released) : mReleased(released) {}
    void onLastRef() const override { mReleased = true; }

  private:
    std::atomic<bool>& mReleased;
};

// Runs a function of the engine with so much memory.
void call(Where where, const std::function<void()>& function) {
    gWhere = where;
    function();
    gWhere = NOWHERE;
}

// What a host does; memory runs out in one of the functions, or while the worker does what they
// ask.
void play(Where where, const char* function) {
    alarm(HANGS_AFTER);
    tHost = true;
    const auto run = [&](const char* name, const std::function<void()>& work) {
        call(strcmp(name, function) == 0 ? where : NOWHERE, work);
    };
    std::atomic<bool> handled{false};
    std::vector<std::string> packages;
    run("brain_main_init", [] {
        if (brain_main_init(nullptr) != 0) _exit(ANSWERED);
    });
    for (int i = 0; i < 15; ++i) {
        sp<BrainEvent> event(new TrackedEvent(handled));
        event->type = BrainEvent::APP_OPENED;
        event->package = "com.example.application" + std::to_string(i % 5);
        handled = false;
        run("brain_main_send_data", [&] {
            brain_main_send_data(event);
            event.reset();
            while (!handled) usleep(100);
        });
    }
    run("brain_main_app_preload_predict", [&] { brain_main_app_preload_predict(packages); });
    run("brain_main_exit", [] { brain_main_exit(); });
    _exit(gLeft >= 0 ? ENOUGH : WENT_ON);
}

struct Ending {
    int status;  // as waitpid() has it
    std::string log;
};

Ending playWith(int allocations, Where where, const char* function) {
    int ends[2];
    if (pipe(ends) != 0) abort();
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        gLeft = allocations;
        play(where, function);
    }
    close(ends[1]);
    Ending ending{};
    char part[512];
    for (ssize_t size; (size = read(ends[0], part, sizeof(part))) > 0;) {
        ending.log.append(part, static_cast<size_t>(size));
    }
    close(ends[0]);
    waitpid(child, &ending.status, 0);
    return ending;
}

// Lets memory run out at every place of a function in turn.
void expectToEndEverywhere(Where where, const char* function, const std::string& inside) {
    const std::string line = "FATAL  an exception in " + inside + " ends the process: St9bad_alloc";
    int places = 0;
    for (; places < 1000; ++places) {
        const TempDir files;
        const Ending ending = playWith(places, where, function);
        const int exit = WIFEXITED(ending.status) ? WEXITSTATUS(ending.status) : -1;
        if (exit == ENOUGH) break;
        if (exit == ANSWERED) continue;
        ASSERT_TRUE(WIFSIGNALED(ending.status) && WTERMSIG(ending.status) == SIGABRT)
            << function << " with " << places << " allocations: status " << ending.status << "\n"
            << ending.log;
        ASSERT_NE(ending.log.find(line), std::string::npos) << ending.log;
    }
    EXPECT_GT(places, 0) << function << " needs no memory at all";
    EXPECT_LT(places, 1000) << function << " never has enough";
}

class OutOfMemoryTest : public testing::Test {
  protected:
    void SetUp() override {
#if defined(KS_SANITIZED)
        GTEST_SKIP() << "the sanitizer hands out the memory itself";
#endif
    }
};

TEST_F(OutOfMemoryTest, EndsTheProcessInsideAnyOfTheFunctions) {
    for (const char* function : {"brain_main_init", "brain_main_exit", "brain_main_send_data",
                                 "brain_main_app_preload_predict"}) {
        expectToEndEverywhere(ON_HOSTS_THREAD, function, function);
    }
}

TEST_F(OutOfMemoryTest, EndsTheProcessOnTheWorker) {
    expectToEndEverywhere(ON_ENGINES_THREADS, "brain_main_init", "a thread");
    expectToEndEverywhere(ON_ENGINES_THREADS, "brain_main_send_data", "a thread");
}

}  // namespace
