#include <csignal>
#include <exception>

#include "desktop/RunCommand.h"
#include "desktop/StatusCommand.h"
#include "tools/common/CommandLine.h"
#include "tools/common/InputError.h"
#include "tools/common/Output.h"

int main(int argc, char** argv) {
    Program program{"ksbrain-desktop",
                    KSBRAIN_VERSION,
                    "Learns which applications are opened, and reads ahead what the next ones need",
                    {{"ksbrain-desktop run --verbose", "learn, and tell what is done"},
                     {"ksbrain-desktop status", "how often it was right"}},
                    "Everything stays on this machine, in $XDG_STATE_HOME/ksbrain: remove that\n"
                    "directory and nothing is left."};
    program.verbs = {makeRunVerb(), makeStatusVerb()};
    signal(SIGPIPE, SIG_IGN);  // a reader that is gone shows as a failed write
    try {
        return runCommandLine(program, argc, argv);
    } catch (const OutputClosed&) {
        return EXIT_SIGNALLED + SIGPIPE;
    } catch (const InputError& error) {
        printError(error.what());
        return EXIT_BAD_INPUT;
    } catch (const std::exception& error) {
        printError(error.what());
        return EXIT_FAILED;
    }
}
