#include <csignal>
#include <cstdio>
#include <exception>

#include "tools/common/CommandLine.h"
#include "tools/common/InputError.h"
#include "tools/common/Output.h"
#include "tools/compare/CompareCommand.h"
#include "tools/compare/MergeCommand.h"
#include "tools/inspect/ExplainCommand.h"
#include "tools/inspect/InspectCommand.h"
#include "tools/manual/CompletionCommand.h"
#include "tools/replay/ReplayCommand.h"
#include "tools/report/ReportCommand.h"
#include "tools/serve/ServeCommand.h"
#include "tools/synth/SynthCommand.h"
#include "tools/trace/ConvertCommand.h"

namespace {

constexpr char NOTE[] =
    "Exit status:\n"
    "  0      all is well\n"
    "  1      something failed while the program ran\n"
    "  2      the command line or a file cannot be used\n"
    "  128+N  signal N ended it; 141 when nobody reads its output any more\n"
    "\n"
    "Environment:\n"
    "  TZ              the zone of local times\n"
    "  TMPDIR          where temporary directories are made\n"
    "  NO_COLOR        no colours, if not empty\n"
    "  CLICOLOR_FORCE  colours also where no terminal is, if neither empty nor 0";

int fail(const std::exception& error, int status) {
    printError(error.what());
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    Program program{"ksbrain",
                    KSBRAIN_VERSION,
                    "Tries, scores and explains the engine's predictions on a workstation",
                    {{"ksbrain replay phone.csv", "how often the engine would have been right"},
                     {"ksbrain VERB --help", "what a verb does, with examples"}},
                    NOTE};
    program.verbs = {
        makeReplayVerb(),  makeReportVerb(),           makeCompareVerb(), makeMergeVerb(),
        makeConvertVerb(), makeInspectVerb(),          makeExplainVerb(), makeServeVerb(),
        makeSynthVerb(),   makeCompletionVerb(program)};

    signal(SIGPIPE, SIG_IGN);  // a reader that is gone shows as a failed write,
    signal(SIGXFSZ, SIG_IGN);  // and so does a limit on the size of files
    try {
        return runCommandLine(program, argc, argv);
    } catch (const OutputClosed&) {
        return EXIT_SIGNALLED + SIGPIPE;
    } catch (const InputError& error) {
        return fail(error, EXIT_BAD_INPUT);
    } catch (const std::exception& error) {
        return fail(error, EXIT_FAILED);
    }
}
