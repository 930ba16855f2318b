#include "tools/report/ReportCommand.h"

#include <cstdio>
#include <memory>

#include "tools/common/CommonOptions.h"
#include "tools/common/OutputFile.h"
#include "tools/common/Text.h"
#include "tools/compare/ManyTracesCommand.h"
#include "tools/report/Page.h"
#include "tools/report/ReportSum.h"

namespace {

struct Options {
    ManyTracesCommand command;
    std::string output;
    uint64_t seed = 1;
};

int report(Options& options) {
    OutputFile file(options.output);  // if it cannot be written, that shows before hours of work
    const TraceWork work = [&options](const NamedTrace& trace,
                                      const std::function<bool()>& stopped) {
        const auto result = reportTrace(trace, options.command.charging, stopped);
        return result ? std::optional<Json>(traceReportJson(*result)) : std::nullopt;
    };
    const auto write = [&](const ResultStore& store, const ManyTracesOutcome& outcome) {
        ReportSum sum;
        for (const auto& [name, place] : outcome.results) {
            sum.add(parseTraceReport(Json::parse(store.read(place))));
        }
        file.write(makePage(sum.pageData(options.command.charging.text(), options.seed)));
        file.commit();
        if (options.command.many.quiet) return;
        fprintf(stderr, "%s is written: open it in a browser\n", printable(options.output).c_str());
    };
    return options.command.run("report", work, write);
}

}  // namespace

Verb makeReportVerb() {
    const auto options = std::make_shared<Options>();
    Verb verb{
        "report",
        "Show on a page with charts how well the engine predicts",
        {{"ksbrain report phone.csv -o report.html",
          "one page that needs no network: when, where and for which applications it is right"},
         {"ksbrain report --charging 23:00-07:00 --save done.jsonl traces/ -o report.html",
          "all files below traces/ together, and how their users differ; stop it with Ctrl-C, "
          "and the same command goes on"}}};
    addManyTracesOptions(verb, options->command);
    verb.text("-o,--output FILE", options->output, "The page to write").required();
    addSeedOption(verb, options->seed, "Seed of the resampling behind the intervals");
    verb.run = [options] { return report(*options); };
    return verb;
}
