#include "tools/compare/ManyTracesCommand.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "tools/common/EngineLog.h"
#include "tools/common/Interrupt.h"
#include "tools/common/Text.h"
#include "tools/compare/TraceList.h"
#include "tools/replay/ChargingOption.h"
#include "tools/trace/TraceFlags.h"

namespace {

// What results depend on besides the traces: this program and the time zone too.
Json settingsOf(const std::string& verb, const ManyTracesCommand& command) {
    tzset();
    const char* const zone = getenv("TZ");
    const FileStamp program = FileStamp::of("/proc/self/exe");
    const TraceOptions& reading = command.many.reading;
    return {{"verb", verb},
            {"build", std::to_string(program.size) + '/' + std::to_string(program.changed)},
            {"zone", std::string(zone == nullptr ? "" : zone) + ' ' + tzname[0] + ' ' + tzname[1]},
            {"charging", command.charging.text()},
            {"drop", reading.drop},
            {"keep", reading.keep},
            {"user", reading.user ? Json(*reading.user) : Json()},
            {"date order", static_cast<int>(reading.dateOrder)},
            {"skip bad", reading.skipBad}};
}

void sayHowToGoOn(const std::optional<std::string>& save, size_t done) {
    if (save) {
        fprintf(stderr, "stopped with %s traces done; the same command goes on from %s\n",
                grouped(done).c_str(), printable(*save).c_str());
    } else {
        fprintf(stderr,
                "stopped with %s traces done, which are lost; with --save FILE a run can go "
                "on\n",
                grouped(done).c_str());
    }
}

}  // namespace

int ManyTracesCommand::run(
    const std::string& verb, const TraceWork& work,
    const std::function<void(const ResultStore&, const ManyTracesOutcome&)>& results) {
    many.files = listTraces(traces, list);
    silenceEngineLog();
    catchInterrupts();
    const std::unique_ptr<ResultStore> store =
        save ? std::make_unique<ResultStore>(*save, settingsOf(verb, *this))
             : std::make_unique<ResultStore>();
    const ManyTracesOutcome outcome = workOnTraces(many, work, *store);
    if (interruptSignal() != 0) {
        sayHowToGoOn(save, outcome.results.size());
        return outcome.status;
    }
    if (!outcome.results.empty()) results(*store, outcome);
    outcome.report(many.files.size());
    return outcome.status;
}

void addManyTracesOptions(Verb& verb, ManyTracesCommand& command) {
    verb.texts("TRACE", command.traces,
               "Trace files of any kind that convert reads, or directories that hold nothing "
               "else; - is standard input");
    verb.text("--from-list FILE", command.list,
              "Take traces from this file too, one a line; - is standard input");
    addTraceOptions(verb, command.many.reading);
    addChargingOption(verb, command.charging);
    verb.text("--save FILE", command.save,
              "Keep the result of each trace in this file as it comes, and take those that are "
              "there already: a run that was stopped goes on");
    verb.number("--jobs N", 1, 1024, command.many.jobs,
                "Traces worked on at a time (default: the number of cores)");
    verb.flag("--quiet", command.many.quiet, "Show no progress bar");
}
