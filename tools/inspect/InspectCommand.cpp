#include "tools/inspect/InspectCommand.h"

#include <memory>
#include <string>

#include "tools/common/EngineLog.h"
#include "tools/common/InputError.h"
#include "tools/common/Interrupt.h"
#include "tools/common/Output.h"
#include "tools/inspect/Inspection.h"

namespace {

struct Options {
    std::string directory;
    bool json = false;
};

int inspect(const Options& options) {
    silenceEngineLog();
    catchInterrupts();  // so that the copy is deleted
    const Inspection inspection = inspectDirectory(options.directory);
    writeOutput(options.json ? inspectionJson(inspection) : inspectionText(inspection));
    if (interruptSignal() != 0) return EXIT_SIGNALLED + interruptSignal();
    return inspection.whole() && !inspection.empty() ? 0 : EXIT_FAILED;
}

}  // namespace

Verb makeInspectVerb() {
    const auto options = std::make_shared<Options>();
    Verb verb{
        "inspect",
        "Say what the engine's files in a directory hold and whether they are whole. Nothing "
        "there is changed. The exit status is 0 when all that is there is whole, 1 when a "
        "file is damaged, the next start would refuse it or none is there, 2 for wrong input",
        {{"ksbrain inspect DIR", "after ksbrain replay --data-dir DIR, or of files from a phone"},
         {"ksbrain inspect --json DIR", "the same as one JSON object"}}};
    verb.text("DIR", options->directory, "The engine's data directory").required();
    verb.flag("--json", options->json, "Print one JSON object instead of the text");
    verb.run = [options] { return inspect(*options); };
    return verb;
}
