#include "tools/inspect/ExplainCommand.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "tools/common/CommonOptions.h"
#include "tools/common/EngineLog.h"
#include "tools/common/InputError.h"
#include "tools/common/Interrupt.h"
#include "tools/common/Output.h"
#include "tools/inspect/Explanation.h"
#include "tools/trace/TraceTime.h"

namespace {

struct Options {
    Question question;
    std::string time;
    std::string last;
    std::string current;
    bool bayes = false;
    bool network = false;
    bool json = false;
};

time_t parseMoment(const std::string& text) {
    try {
        return wholeSeconds(parseTraceTime(text, TraceTime(0)));
    } catch (const InputError& error) {
        throw InputError(std::string("--time: ") + error.what());
    }
}

void explainTo(const Options& options, const CLI::App& verb) {
    silenceEngineLog();
    catchInterrupts();  // so that the copy is deleted
    Question question = options.question;
    if (verb.count("--time") > 0) question.time = parseMoment(options.time);
    if (verb.count("--current") > 0) question.names.emplace(options.last, options.current);
    if (options.bayes) question.predictor = Question::Predictor::BAYES;
    if (options.network) question.predictor = Question::Predictor::NETWORK;
    const Explanation explanation = explain(question);
    writeOutput(options.json ? explanationJson(explanation) : explanationText(explanation));
}

}  // namespace

void addExplainCommand(CLI::App& program, int& status) {
    const auto options = std::make_shared<Options>();
    CLI::App* const verb =
        addVerb(program, "explain",
                "Say why the engine, started on the files in a directory, would predict what it\n"
                "predicts. Nothing there is changed",
                {{"ksbrain explain DIR", "now, after the last two openings of its history"},
                 {"ksbrain explain DIR --time 2024-03-01T18:30 --last com.a --current com.b",
                  "half past six, with com.b in front and com.a before it"},
                 {"ksbrain explain DIR --bayes",
                  "what the Bayes model says, also where a network is ready"}});
    verb->add_option("DIR", options->question.directory, "The engine's data directory")
        ->required()
        ->type_name("");
    verb->add_option("--time", options->time,
                     "The moment: seconds since the epoch or ISO 8601, local time without a\n"
                     "zone (default: now)")
        ->type_name("TIME");
    CLI::Option* const last =
        verb->add_option("--last", options->last,
                         "The application that was in front before (default: the last line but\n"
                         "one of AppHistory)")
            ->type_name("NAME");
    CLI::Option* const current =
        verb->add_option("--current", options->current,
                         "The application in front (default: the last line of AppHistory)")
            ->type_name("NAME");
    last->needs(current);
    current->needs(last);
    verb->add_option("--top", options->question.top, "Explain so many predictions (default: 4)")
        ->type_name("N")
        ->check(CLI::Range(1, 1000));
    CLI::Option* const bayes = verb->add_flag("--bayes", options->bayes, "Ask the Bayes model");
    verb->add_flag("--network", options->network,
                   "Ask the sequence network (default: as the engine does, the network when one\n"
                   "is ready, else the Bayes model)")
        ->excludes(bayes);
    verb->add_flag("--json", options->json, "Print one JSON object instead of the text");
    verb->callback([options, verb, &status] {
        explainTo(*options, *verb);
        status = interruptSignal() == 0 ? 0 : EXIT_SIGNALLED + interruptSignal();
    });
}
