#include "tools/inspect/ExplainCommand.h"

#include <memory>
#include <optional>
#include <string>

#include "tools/common/EngineLog.h"
#include "tools/common/InputError.h"
#include "tools/common/Interrupt.h"
#include "tools/common/Output.h"
#include "tools/inspect/ExplanationText.h"
#include "tools/trace/TraceTime.h"

namespace {

struct Options {
    Question question;
    std::string last;
    std::optional<std::string> current;
    bool json = false;
};

int explainTo(const Options& options) {
    silenceEngineLog();
    catchInterrupts();  // so that the copy is deleted
    Question question = options.question;
    if (options.current) question.names.emplace(options.last, *options.current);
    const Explanation explanation = explain(question);
    writeOutput(options.json ? explanationJson(explanation) : explanationText(explanation));
    return interruptSignal() == 0 ? 0 : EXIT_SIGNALLED + interruptSignal();
}

}  // namespace

Verb makeExplainVerb() {
    const auto options = std::make_shared<Options>();
    Question& question = options->question;
    Verb verb{"explain",
              "Say why the engine, started on the files in a directory, would predict what it "
              "predicts. Nothing there is changed",
              {{"ksbrain explain DIR", "now, after the last two openings of its history"},
               {"ksbrain explain DIR --time 2024-03-01T18:30 --last com.a --current com.b",
                "half past six, with com.b in front and com.a before it"},
               {"ksbrain explain DIR --bayes",
                "what the Bayes model says, also where a network is ready"}}};
    verb.text("DIR", question.directory, "The engine's data directory").required();
    verb.custom("--time TIME",
                "The moment: seconds since the epoch or ISO 8601, local time without a zone "
                "(default: now)",
                [&question](const std::string& text) {
                    question.time = wholeSeconds(parseTraceTime(text, TraceTime(0)));
                });
    verb.text("--last NAME", options->last,
              "The application that was in front before (default: the last line but one of "
              "AppHistory)")
        .needs("--current");
    verb.text("--current NAME", options->current,
              "The application in front (default: the last line of AppHistory)")
        .needs("--last");
    verb.number("--top N", 1, 1000, question.top, "Explain so many predictions (default: 4)");
    const auto askBayes = [&question](const std::string&) {
        question.predictor = Question::Predictor::BAYES;
    };
    verb.custom("--bayes", "Ask the Bayes model", askBayes);
    const auto askNetwork = [&question](const std::string&) {
        question.predictor = Question::Predictor::NETWORK;
    };
    verb.custom("--network",
                "Ask the sequence network (default: as the engine does, the network when one is "
                "ready, else the Bayes model)",
                askNetwork)
        .excludes("--bayes");
    verb.flag("--json", options->json, "Print one JSON object instead of the text");
    verb.run = [options] { return explainTo(*options); };
    return verb;
}
