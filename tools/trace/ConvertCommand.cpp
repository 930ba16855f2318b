#include "tools/trace/ConvertCommand.h"

#include <memory>

#include "tools/common/InputError.h"
#include "tools/common/Interrupt.h"
#include "tools/common/Output.h"
#include "tools/common/OutputDirectory.h"
#include "tools/common/OutputFile.h"
#include "tools/trace/TraceCsv.h"
#include "tools/trace/TraceFlags.h"

namespace {

struct Options {
    std::string trace;
    std::string output = "-";
    TraceOptions reading;
    bool quiet = false;
};

// Thrown to leave with everything put away.
struct Interrupted {};

void writeFile(const Trace& trace, const std::string& path) {
    OutputFile file(path);
    writeCsv(trace, [&](const std::string& piece) {
        if (interruptSignal() != 0) throw Interrupted();
        file.write(piece);
    });
    file.commit();
}

// A file for each user, "4.csv".
void writeFiles(const TraceFile& file, const std::string& path) {
    OutputDirectory directory(path);
    for (const NamedTrace& named : file.traces) {
        const size_t mark = named.name.rfind('#');
        const bool several = file.traces.size() > 1 && mark != std::string::npos;
        const std::string name = several ? named.name.substr(mark + 1) : "trace";
        writeFile(named.trace, directory.file(name + ".csv"));
    }
    directory.commit();
}

void writeAll(const Options& options) {
    if (!options.output.empty() && options.output.back() == '/') {
        const TraceFile file = TraceFile::read(options.trace, options.reading);
        if (!options.quiet) printNotes(options.trace, file);
        catchInterrupts();
        return writeFiles(file, options.output);
    }
    requireOtherFile(options.trace, options.output);
    const NamedTrace named = readOneTrace(options.trace, options.reading, options.quiet);
    if (isStandardOutput(options.output)) return writeCsv(named.trace, writeOutput);
    catchInterrupts();
    writeFile(named.trace, options.output);
}

int convert(const Options& options) {
    try {
        writeAll(options);
        return 0;
    } catch (const Interrupted&) {
        return EXIT_SIGNALLED + interruptSignal();
    }
}

}  // namespace

Verb makeConvertVerb() {
    const auto options = std::make_shared<Options>();
    Verb verb{
        "convert",
        "Turn a phone's log, or any other trace, into CSV",
        {{"adb shell dumpsys usagestats -c | ksbrain convert - -o phone.csv",
          "what was opened on the phone that is connected"},
         {"ksbrain convert --user 10 dump.txt", "the openings of the phone's user 10"},
         {"ksbrain convert lsapp.tsv.gz -o people/", "people/0.csv, people/1.csv and so on"}}};
    verb.text("TRACE", options->trace, std::string("What to read: ") + TRACE_KINDS).required();
    verb.text("-o,--output FILE|DIR/", options->output,
              "Where to write the CSV (default: -, standard output). DIR/ makes a directory with a "
              "file for each user, \"4.csv\"");
    addTraceOptions(verb, options->reading);
    verb.flag("--quiet", options->quiet, "Do not say how the trace was understood");
    verb.run = [options] { return convert(*options); };
    return verb;
}
