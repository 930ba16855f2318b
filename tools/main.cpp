#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>

#include "tools/common/CommandLine.h"
#include "tools/common/InputError.h"
#include "tools/common/Output.h"
#include "tools/compare/CompareCommand.h"
#include "tools/compare/MergeCommand.h"
#include "tools/inspect/ExplainCommand.h"
#include "tools/inspect/InspectCommand.h"
#include "tools/manual/CompletionCommand.h"
#include "tools/manual/HelpCommand.h"
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
    "  TZ              the zone of local times; an unknown one is refused\n"
    "  TMPDIR          where temporary directories are made\n"
    "  COLUMNS         the terminal's width, where the terminal does not tell\n"
    "  NO_COLOR        no colours, if not empty\n"
    "  CLICOLOR_FORCE  colours also where no terminal is, if neither empty nor 0";

// A standard stream that is closed would lend its number to the next file that is opened, and that
// file would get what is printed. What takes its place refuses everything.
void occupyStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) >= 0) continue;
        if (open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) != stream) abort();
    }
}

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
    program.verbs = {makeReplayVerb(),     makeReportVerb(),
                     makeCompareVerb(),    makeMergeVerb(),
                     makeConvertVerb(),    makeInspectVerb(),
                     makeExplainVerb(),    makeServeVerb(),
                     makeSynthVerb(),      makeCompletionVerb(program),
                     makeHelpVerb(program)};

    occupyStandardStreams();
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
