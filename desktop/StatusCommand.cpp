#include "desktop/StatusCommand.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "desktop/NeedsStore.h"
#include "desktop/StateDirectory.h"
#include "tools/common/JsonLine.h"
#include "tools/common/Output.h"
#include "tools/common/Text.h"

namespace {

struct Options {
    std::string state;
    bool isJson = false;
};

std::string line(const char* what, const std::string& value, const std::string& note = "") {
    return padded(what, 22) + rightAligned(value, 10) + (note.empty() ? "" : "   " + note) + "\n";
}

std::string mebibytes(uint64_t bytes) {
    return formatted("%.0f MiB", static_cast<double>(bytes) / (1 << 20));
}

std::string table(const Totals& totals) {
    const auto shareOf = [](uint64_t part, uint64_t whole, const char* of) {
        return percentage(part, whole) + " of " + of;
    };
    return line("openings", grouped(totals.openings)) +
           line("  with a prediction", grouped(totals.answered),
                shareOf(totals.answered, totals.openings, "the openings")) +
           line("  hits", grouped(totals.hits),
                shareOf(totals.hits, totals.openings, "the openings")) +
           line("launches", grouped(totals.launches)) +
           line("  read ahead for", grouped(totals.foreseen),
                shareOf(totals.foreseen, totals.launches, "the launches")) +
           line("  warm", grouped(totals.warmLaunches),
                shareOf(totals.warmLaunches, totals.launches, "the launches") +
                    ": at most a tenth came from the disk") +
           line("read ahead", mebibytes(totals.bytesRead)) +
           line("  used", mebibytes(totals.bytesUsed),
                shareOf(totals.bytesUsed, totals.bytesRead, "what was read")) +
           line("stopped for pressure", grouped(totals.stopped));
}

std::string json(const Totals& totals) {
    return jsonLine({{"openings", totals.openings},
                     {"answered", totals.answered},
                     {"hits", totals.hits},
                     {"launches", totals.launches},
                     {"foreseen", totals.foreseen},
                     {"warm_launches", totals.warmLaunches},
                     {"bytes_read", totals.bytesRead},
                     {"bytes_used", totals.bytesUsed},
                     {"stopped", totals.stopped}});
}

int status(const Options& options) {
    const std::string state = options.state.empty() ? StateDirectory::usual() : options.state;
    const Totals totals = totalsOf(StateDirectory::needsIn(state));
    writeOutput(options.isJson ? json(totals) : table(totals));
    return 0;
}

}  // namespace

Verb makeStatusVerb() {
    const auto options = std::make_shared<Options>();
    Verb verb{"status",
              "Tell how often the daemon was right, and what it read for that",
              {{"ksbrain-desktop status", "also while the daemon runs"}}};
    verb.text("--state DIR", options->state, "Where the daemon keeps its files, as for run");
    verb.flag("--json", options->isJson, "Print one JSON object");
    verb.run = [options] { return status(*options); };
    return verb;
}
