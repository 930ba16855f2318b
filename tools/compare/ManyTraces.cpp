#include "tools/compare/ManyTraces.h"

#include <poll.h>

#include <algorithm>
#include <cstdio>
#include <list>
#include <memory>
#include <stdexcept>
#include <thread>

#include "tools/common/InputError.h"
#include "tools/common/Interrupt.h"
#include "tools/common/ProgressBar.h"
#include "tools/common/Text.h"
#include "tools/compare/WorkerProcess.h"

namespace {

constexpr int TICK_MS = 250;  // of the progress bar's clock
constexpr size_t FILES_WITH_NOTES = 10;

bool interrupted() {
    return interruptSignal() != 0;
}

std::string counted(size_t number, const char* one, const char* many) {
    return grouped(number) + ' ' + (number == 1 ? one : many);
}

// One run. A process is given a whole file. When that holds several users it only says so, and the
// file is read once more, here: each user is then given to a process that has it in memory by being
// forked.
class Run {
  public:
    Run(const ManyTracesOptions& options, const TraceWork& work, ResultStore& store)
        : mOptions(options),
          mWork(work),
          mStore(store),
          mJobs(options.jobs != 0 ? options.jobs
                                  : std::max(1U, std::thread::hardware_concurrency())) {}

    ManyTracesOutcome run() {
        takeKnown();
        ProgressBar progress(!mOptions.quiet, mTotal, mDone);
        while (!interrupted()) {
            while (mWorkers.size() < mJobs && !interrupted() && startNext()) {
            }
            progress.setTotal(mTotal);
            progress.update(mDone);
            if (mWorkers.empty()) break;
            waitForWorkers();
        }
        for (Worker& worker : mWorkers) worker.process->stop();
        for (Worker& worker : mWorkers) {
            while (worker.process->receive()) {
            }
            finish(worker);
        }
        if (interrupted()) mOutcome.status = EXIT_SIGNALLED + interruptSignal();
        return std::move(mOutcome);
    }

  private:
    struct Input {
        std::string path;
        FileStamp stamp;
        const ResultStore::Known* known;  // or null
    };

    struct Worker {
        const Input* input;
        const NamedTrace* trace;  // one of several of the file; null for the whole file
        std::unique_ptr<WorkerProcess> process;
    };

    // Leaves in mInputs what is still to be done.
    void takeKnown() {
        for (const std::string& path : mOptions.files) {
            const FileStamp stamp = path == "-" ? FileStamp() : FileStamp::of(path);
            const ResultStore::Known* const known = mStore.find(path, stamp);
            if (known == nullptr || known->results.size() < known->traces) {
                mInputs.push_back({path, stamp, known});
                continue;
            }
            for (const auto& [name, place] : known->results) takeResult(path, name, place);
            mDone += known->traces;
            mTotal += known->traces;
        }
        mOutcome.known = mOutcome.results.size();
        mTotal += mInputs.size();
        mNextInput = mInputs.begin();
    }

    // False when there is nothing more to start.
    bool startNext() {
        for (;;) {
            if (mNextHeld < mHeld.traces.size()) {
                const NamedTrace& trace = mHeld.traces[mNextHeld++];
                if (!isKnown(trace)) {
                    start(*mHeldInput, &trace);
                    return true;
                }
            } else if (!mSeveral.empty() && !holdsWorkersBack()) {
                hold(*mSeveral.front());
                mSeveral.pop_front();
            } else if (mNextInput != mInputs.end()) {
                const Input& input = *mNextInput++;
                if (input.path != "-") {
                    start(input, nullptr);
                    return true;
                }
                mSeveral.push_back(&input);  // can be read but once
            } else {
                return false;
            }
        }
    }

    // Whether traces that are held are still worked on.
    bool holdsWorkersBack() const {
        return std::any_of(mWorkers.begin(), mWorkers.end(),
                           [](const Worker& worker) { return worker.trace != nullptr; });
    }

    void hold(const Input& input) {
        mNextHeld = 0;
        mHeld = {};
        try {
            mHeld = TraceFile::read(input.path, mOptions.reading);
        } catch (const InputError& error) {
            addProblem(input.path, error.what(), EXIT_BAD_INPUT);
            ++mDone;
            return;
        }
        mHeldInput = &input;
        mTotal += mHeld.traces.size() - 1;
        addNotes(input.path, mHeld.notes, mHeld.skipped);
    }

    bool isKnown(const NamedTrace& trace) {
        if (mHeldInput->known == nullptr) return false;
        const auto found = mHeldInput->known->results.find(trace.name);
        if (found == mHeldInput->known->results.end()) return false;
        takeResult(mHeldInput->path, trace.name, found->second);
        ++mOutcome.known;
        ++mDone;
        return true;
    }

    void start(const Input& input, const NamedTrace* trace) {
        const auto answer = [this, &input, trace] { return answerFor(input.path, trace); };
        mWorkers.push_back({&input, trace, std::make_unique<WorkerProcess>(answer)});
    }

    // In the worker process.
    std::string answerFor(const std::string& path, const NamedTrace* trace) const {
        try {
            if (trace != nullptr) return answerFor(*trace, Json::object());
            const TraceFile file = TraceFile::read(path, mOptions.reading);
            if (file.traces.size() != 1) return jsonLine({{"several", true}});
            return answerFor(file.traces[0], {{"notes", file.notes}, {"skipped", file.skipped}});
        } catch (const InputError& error) {
            return jsonLine({{"problem", error.what()}, {"status", EXIT_BAD_INPUT}});
        } catch (const std::exception& error) {
            const std::string place = printable(trace == nullptr ? path : trace->name);
            return jsonLine({{"problem", place + ": " + error.what()}, {"status", EXIT_FAILED}});
        }
    }

    std::string answerFor(const NamedTrace& trace, Json answer) const {
        std::optional<Json> result = mWork(trace, interrupted);
        if (!result) return jsonLine({{"stopped", true}});
        answer["trace"] = trace.name;
        answer["result"] = std::move(*result);
        return jsonLine(answer);
    }

    void waitForWorkers() {
        std::vector<pollfd> ready = {{interruptDescriptor(), POLLIN, 0}};
        for (const Worker& worker : mWorkers) {
            ready.push_back({worker.process->descriptor(), POLLIN, 0});
        }
        poll(ready.data(), ready.size(), TICK_MS);
        size_t place = 1;
        for (auto worker = mWorkers.begin(); worker != mWorkers.end(); ++place) {
            const bool ended = ready[place].revents != 0 && !worker->process->receive();
            if (ended) finish(*worker);
            worker = ended ? mWorkers.erase(worker) : std::next(worker);
        }
    }

    void finish(const Worker& worker) {
        const std::string& place =
            worker.trace != nullptr ? worker.trace->name : worker.input->path;
        const std::string failure = worker.process->failure();
        if (!failure.empty()) {
            addProblem(place, printable(place) + ": the process that worked on it " + failure,
                       EXIT_FAILED);
            ++mDone;
            return;
        }
        const Json answer = Json::parse(worker.process->answer());
        if (answer.contains("several")) {
            mSeveral.push_back(worker.input);
            return;
        }
        ++mDone;
        if (answer.contains("stopped")) {
            addProblem(place, printable(place) + ": the process that worked on it was stopped",
                       EXIT_FAILED);
            return;
        }
        if (answer.contains("problem")) {
            addProblem(place, answer["problem"], answer["status"]);
            return;
        }
        if (answer.contains("notes")) addNotes(place, answer["notes"], answer["skipped"]);
        const size_t traces = worker.trace == nullptr ? 1 : mHeld.traces.size();
        const std::string name = answer["trace"];
        const std::string& file = worker.input->path;
        takeResult(file, name,
                   mStore.add(file, worker.input->stamp, traces, name, answer["result"]));
    }

    void takeResult(const std::string& file, const std::string& name,
                    const ResultStore::Place& place) {
        if (mOutcome.results.emplace(name, place).second) return;
        addProblem(
            file,
            printable(file) + ": another file has a trace of that name too: " + printable(name),
            EXIT_BAD_INPUT);
    }

    void addProblem(const std::string& place, const std::string& message, int status) {
        mOutcome.problems[place] = message;
        if (mOutcome.status != EXIT_FAILED) mOutcome.status = status;
    }

    void addNotes(const std::string& file, std::vector<std::string> notes, size_t skipped) {
        if (skipped > 0) notes.push_back(counted(skipped, "bad line", "bad lines") + " skipped");
        if (!notes.empty()) mOutcome.notes[file] = std::move(notes);
    }

    const ManyTracesOptions& mOptions;
    const TraceWork& mWork;
    ResultStore& mStore;
    const size_t mJobs;

    std::vector<Input> mInputs;
    std::vector<Input>::const_iterator mNextInput;
    std::list<Worker> mWorkers;
    std::list<const Input*> mSeveral;  // files that are to be held, one after the other
    TraceFile mHeld;                   // the file with several users that is worked on
    const Input* mHeldInput = nullptr;
    size_t mNextHeld = 0;
    size_t mDone = 0;
    size_t mTotal = 0;
    ManyTracesOutcome mOutcome;
};

}  // namespace

void ManyTracesOutcome::report(size_t files) const {
    size_t shown = 0;
    for (const auto& [file, lines] : notes) {
        if (shown++ == FILES_WITH_NOTES) break;
        for (const std::string& line : lines) {
            fprintf(stderr, "%s: %s\n", printable(file).c_str(), line.c_str());
        }
    }
    if (notes.size() > FILES_WITH_NOTES) {
        fprintf(stderr, "notes on %s more are left out; \"ksbrain convert FILE\" shows them\n",
                counted(notes.size() - FILES_WITH_NOTES, "file", "files").c_str());
    }
    for (const auto& [place, line] : problems) fprintf(stderr, "%s\n", line.c_str());
    if (files > 1 && !problems.empty()) {
        fprintf(stderr, "%s left out, %s taken\n",
                counted(problems.size(), "bad file or trace", "bad files or traces").c_str(),
                counted(results.size(), "trace", "traces").c_str());
    }
}

ManyTracesOutcome workOnTraces(const ManyTracesOptions& options, const TraceWork& work,
                               ResultStore& store) {
    return Run(options, work, store).run();
}
