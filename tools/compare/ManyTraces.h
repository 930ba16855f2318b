#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/common/JsonLine.h"
#include "tools/compare/ResultStore.h"
#include "tools/trace/TraceFile.h"

// What is done with each trace, in a process of its own: gives an object, or nothing when `stopped`
// said so. What it throws is reported for the trace, and the others go on.
using TraceWork = std::function<std::optional<Json>(const NamedTrace& trace,
                                                    const std::function<bool()>& stopped)>;

struct ManyTracesOptions {
    std::vector<std::string> files;  // each once; "-" is standard input
    TraceOptions reading;
    size_t jobs = 0;     // processes at a time; 0 for as many as there are cores
    bool quiet = false;  // without progress
};

struct ManyTracesOutcome {
    // 0; EXIT_BAD_INPUT when files could not be read; EXIT_FAILED when work failed; EXIT_SIGNALLED
    // and the signal when it was interrupted, and then the results are not complete.
    int status = 0;
    std::map<std::string, ResultStore::Place> results;  // by name of the trace
    size_t known = 0;                                   // of them the store had
    std::map<std::string, std::string> problems;        // a line, by the file or trace it is about
    std::map<std::string, std::vector<std::string>> notes;  // on how a file was understood

    // Prints notes and problems on standard error.
    void report(size_t files) const;
};

// Does the work on every trace of the files, several at a time. The results go into the store as
// they come; what it knows already is not done again. Memory does not grow with the number of
// files: one file with several users is held at a time.
//
// Interrupts stop it in good order (see Interrupt.h; catchInterrupts() must have been called).
ManyTracesOutcome workOnTraces(const ManyTracesOptions& options, const TraceWork& work,
                               ResultStore& store);
