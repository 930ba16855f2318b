#include "tools/report/ReportCommand.h"

#include <cctype>
#include <cstdio>
#include <fstream>
#include <memory>

#include "tools/common/CommonOptions.h"
#include "tools/common/InputError.h"
#include "tools/common/Interrupt.h"
#include "tools/common/OutputFile.h"
#include "tools/common/Text.h"
#include "tools/compare/ScoreLines.h"
#include "tools/compare/ScoringOptions.h"
#include "tools/report/Page.h"
#include "tools/report/PageData.h"
#include "tools/trace/TraceFlags.h"

namespace {

struct Options {
    std::optional<std::string> trace;
    std::optional<std::string> from;
    ScoringOptions scoring;
    std::string output;
    uint64_t seed = 1;
};

// How the program was called, for a shell. Of paths, as of traces, only the last component: the
// page may be sent to others.
std::string commandLine() {
    std::ifstream file("/proc/self/cmdline");
    std::string line;
    for (std::string word; std::getline(file, word, '\0');) {
        // The value of an option may be written right behind it.
        const size_t value = startsWith(word, "--")  ? word.find('=') + 1
                             : startsWith(word, "-") ? 2
                                                     : 0;
        const size_t path = word.rfind('/') + 1;
        if (path > value) word.erase(value, path - value);
        bool isPlain = !word.empty();
        std::string quoted;
        for (const char c : word) {
            isPlain = isPlain && (isalnum(static_cast<unsigned char>(c)) != 0 ||
                                  holds("-_.,:=+%@", std::string_view(&c, 1)));
            quoted += c == '\'' ? "'\\''" : std::string(1, c);
        }
        line += (line.empty() ? "" : " ") + (isPlain ? word : '\'' + quoted + '\'');
    }
    return line;
}

int report(const Options& options) {
    if (options.trace.has_value() == options.from.has_value()) {
        throw InputError("report: give either a TRACE or --from FILE (see ksbrain report --help)");
    }
    requireOtherFile(options.from ? *options.from : *options.trace, options.output);
    ScoreSum scores;
    std::optional<NamedTrace> trace;
    if (options.from) {
        scores = readScores({*options.from});
    } else {
        trace = options.scoring.read(*options.trace);
    }
    catchInterrupts();
    OutputFile file(options.output);  // if it cannot be written, that shows before the long work
    if (trace) {
        const std::optional<TraceScore> score = options.scoring.score(*trace);
        if (!score) return EXIT_SIGNALLED + interruptSignal();
        scores.add(*score);
    }
    file.write(makePage(pageData(scores, options.seed, commandLine())));
    file.commit();
    if (!options.scoring.quiet && !isStandardOutput(options.output)) {
        fprintf(stderr, "%s is written: open it in a browser\n", printable(options.output).c_str());
    }
    return 0;
}

}  // namespace

Verb makeReportVerb() {
    const auto options = std::make_shared<Options>();
    Verb verb{
        "report",
        "Show on a page with charts how well the engine predicts",
        {{"ksbrain report --charging 23:00-07:00 phone.csv -o report.html",
          "one page that needs no network: how many to preload, and what that saves"},
         {"ksbrain report --from scores.jsonl -o report.html",
          "many traces together, each scored by compare --json, and how their users differ"}}};
    verb.text("TRACE", options->trace, std::string("What to score: ") + TRACE_KINDS);
    options->scoring.addTo(verb);
    verb.text("--from FILE", options->from,
              "Take what compare --json printed, a line for each trace, instead of a trace; - is "
              "standard input")
        .excludes("--charging")
        .excludes("--user")
        .excludes("--drop")
        .excludes("--keep")
        .excludes("--day-first")
        .excludes("--month-first")
        .excludes("--underscores")
        .excludes("--skip-bad");
    verb.text("-o,--output FILE", options->output, "The page to write; - is standard output")
        .required();
    addSeedOption(verb, options->seed, "Seed of the resampling behind the intervals");
    verb.run = [options] { return report(*options); };
    return verb;
}
