#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

// One piece of work in a process of its own, and the answer it gives. The engine's clock and data
// directory belong to the process, so this is how several replays run at a time; and a piece that
// crashes takes nothing else with it.
//
//     WorkerProcess worker([] { return std::string("42"); });
//     while (worker.receive()) {}
//     worker.answer();  // "42"
//
// The process starts as a copy of this one, so whatever `work` refers to is there. It ignores
// SIGINT, which a terminal sends to all processes; SIGTERM, by stop() or because this process is
// gone, is what interruptSignal() tells it. Its temporary directories lie in one
// that goes with it, or, if it was killed, with the object.
// REQUIRES: this process has no other thread.
class WorkerProcess {
  public:
    // Throws std::runtime_error when no process can be made.
    explicit WorkerProcess(const std::function<std::string()>& work);

    // Kills the process when it still runs.
    ~WorkerProcess();

    // A descriptor to poll(): readable when receive() has something to do.
    int descriptor() const { return mDescriptor; }

    // Takes in what has come of the answer, waiting for something. False once the process has
    // ended.
    bool receive();

    // Asks it to end.
    void stop() const;

    // When it has ended: what it answered, and why the answer is not to be used ("was ended by
    // signal 9, Killed"), empty when it is.
    const std::string& answer() const { return mAnswer; }
    std::string failure() const;

  private:
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    void reap();

    pid_t mProcess = -1;  // -1 once it has been waited for
    int mDescriptor = -1;
    int mStatus = 0;
    std::string mAnswer;  // while it runs with a first line, the path of its temporary directory
};
