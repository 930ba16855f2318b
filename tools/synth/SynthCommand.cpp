#include "tools/synth/SynthCommand.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "tools/common/CommonOptions.h"
#include "tools/common/InputError.h"
#include "tools/common/Interrupt.h"
#include "tools/common/Output.h"
#include "tools/common/OutputDirectory.h"
#include "tools/common/OutputFile.h"
#include "tools/common/ProgressBar.h"
#include "tools/common/Text.h"
#include "tools/synth/SynthCsv.h"
#include "tools/trace/TraceTime.h"

namespace {

constexpr int DEFAULT_DAYS = 56;
constexpr size_t USER_DIGITS = 4;  // at least

struct Options {
    SynthPlan plan;
    std::optional<uint64_t> users;
    std::string output = "-";
    bool quiet = false;
};

time_t parseStart(const std::string& text) {
    try {
        if (text.size() == 10) return wholeSeconds(parseTraceTime(text + "T00:00:00Z", {}));
    } catch (const InputError&) {
    }
    throw InputError(inQuotes(text) + " is no date from 1970-01-01 to 2099-12-30");
}

std::string userFile(uint64_t user, uint64_t users) {
    const std::string number = std::to_string(user);
    const size_t digits = std::max(USER_DIGITS, std::to_string(users).size());
    return "user-" + std::string(digits - number.size(), '0') + number + ".csv";
}

// False when it was interrupted.
bool writeFile(const SynthPlan& plan, uint64_t user, const std::string& path) {
    OutputFile file(path);
    writeSynthCsv(plan, user, [&](const std::string& piece) {
        file.write(piece);
        return interruptSignal() == 0;
    });
    if (interruptSignal() != 0) return false;
    file.commit();
    return true;
}

bool writeUsers(const Options& options) {
    OutputDirectory directory(options.output);
    ProgressBar progress(!options.quiet, *options.users);
    for (uint64_t user = 1; user <= *options.users; ++user) {
        const std::string name = userFile(user, *options.users);
        if (!writeFile(options.plan, user, directory.file(name))) return false;
        progress.update(user);
    }
    directory.commit();
    return true;
}

int synth(Options options) {
    SynthPlan& plan = options.plan;
    if (!plan.days && !plan.openings) plan.days = DEFAULT_DAYS;
    requireCalendar(plan);
    if (options.users && isStandardOutput(options.output)) {
        throw InputError("-o -: --users makes a directory: name one");
    }
    if (isStandardOutput(options.output)) {
        writeSynthCsv(plan, 1, [](const std::string& piece) {
            writeOutput(piece);
            return true;
        });
        return 0;
    }
    if (!options.users && std::filesystem::is_directory(options.output)) {
        throw InputError(printable(options.output) +
                         ": is a directory: name a file, or say --users N for a file each");
    }
    catchInterrupts();
    const bool done = options.users ? writeUsers(options) : writeFile(plan, 1, options.output);
    return done ? 0 : EXIT_SIGNALLED + interruptSignal();
}

}  // namespace

Verb makeSynthVerb() {
    const auto options = std::make_shared<Options>();
    SynthPlan& plan = options->plan;
    Verb verb{"synth",
              "Make up traces of people who open applications",
              {{"ksbrain synth >trace.csv", "eight weeks of one person"},
               {"ksbrain synth --days 365 --apps 120 --seed 3 -o year.csv",
                "a year of another one, who has much on the phone"},
               {"ksbrain synth --users 1000 --openings 2000 --seed 7 -o users/",
                "users/user-0001.csv to users/user-1000.csv"}}};
    verb.number("--days N", 1, 47481, plan.days,
                "How many days the traces last (default: 56, or as many as --openings takes)");
    verb.number("--openings N", 1, 1000000000, plan.openings,
                "End a trace after so many openings, even if days are left");
    verb.number("--per-day N", 1, 1000, plan.perDay,
                "Openings a day, about (default: each person's own, 60 to 260)");
    verb.number("--apps N", 2, 5000, plan.apps,
                "Applications on the phone at first (default: each person's own, 45 to 95)");
    addSeedOption(verb, plan.seed, "Another seed, other people; the same, the same bytes");
    verb.custom("--start DATE", "The first day (default: 2024-03-04, a Monday)",
                [&plan](const std::string& text) { plan.start = parseStart(text); });
    verb.text(
        "-o,--output FILE|DIR", options->output,
        "Write to this file, or with --users to a new directory (default: -, standard output)");
    verb.number("--users N", 1, 1000000, options->users,
                "A file each for so many people, user-0001.csv and so on, in the directory given "
                "with -o; without --users it is the first of them")
        .needs("--output");
    verb.flag("--quiet", options->quiet, "Show no progress bar");
    verb.run = [options] { return synth(*options); };
    return verb;
}
