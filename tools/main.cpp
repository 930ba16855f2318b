#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>

#include "tools/common/CommandLineError.h"
#include "tools/common/HelpText.h"
#include "tools/common/InputError.h"
#include "tools/common/Output.h"
#include "tools/compare/CompareCommand.h"
#include "tools/compare/MergeCommand.h"
#include "tools/inspect/ExplainCommand.h"
#include "tools/inspect/InspectCommand.h"
#include "tools/manual/ManualCommand.h"
#include "tools/replay/ReplayCommand.h"
#include "tools/report/ReportCommand.h"
#include "tools/serve/ServeCommand.h"
#include "tools/synth/SynthCommand.h"
#include "tools/trace/ConvertCommand.h"

namespace {

constexpr char FOOTER[] =
    "Examples:\n"
    "  ksbrain replay phone.csv\n"
    "      how often the engine would have been right\n"
    "  ksbrain VERB --help\n"
    "      what a verb does, with examples\n"
    "\n"
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

int parse(CLI::App& program, int argc, char** argv, const int& status) {
    try {
        program.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        writeOutput(program.help());
    } catch (const CLI::CallForVersion& version) {
        writeOutput(std::string(version.what()) + '\n');
    } catch (const CLI::ParseError& error) {
        throw InputError(commandLineError(program, error.what()));
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    int status = 0;
    CLI::App program("Tries, scores and explains the engine's predictions on a workstation",
                     "ksbrain");
    program.formatter_fn([](const CLI::App* command, const std::string& name, CLI::AppFormatMode) {
        return helpText(*command, name);
    });
    program.require_subcommand(1);
    program.set_help_flag("-h,--help", "Show this help");
    program.set_version_flag("--version", "ksbrain " KSBRAIN_VERSION, "Show the version");
    addReplayCommand(program, status);
    addReportCommand(program, status);
    addCompareCommand(program, status);
    addMergeCommand(program, status);
    addConvertCommand(program, status);
    addInspectCommand(program, status);
    addExplainCommand(program, status);
    addServeCommand(program, status);
    addSynthCommand(program, status);
    addManualCommands(program, status);
    program.footer(FOOTER);  // a verb would inherit it

    signal(SIGPIPE, SIG_IGN);  // a reader that is gone shows as a failed write
    if (argc <= 1) {
        fputs(overview(program).c_str(), stderr);
        return EXIT_BAD_INPUT;
    }
    try {
        return parse(program, argc, argv, status);
    } catch (const OutputClosed&) {
        return EXIT_SIGNALLED + SIGPIPE;
    } catch (const InputError& error) {
        return fail(error, EXIT_BAD_INPUT);
    } catch (const std::exception& error) {
        return fail(error, EXIT_FAILED);
    }
}
