#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "tools/common/InputError.h"
#include "tools/replay/ReplayCommand.h"
#include "tools/serve/ServeCommand.h"

namespace {

int fail(const std::exception& error, int status) {
    fprintf(stderr, "%s\n", error.what());
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    int status = 0;
    CLI::App program("Tries the prediction engine on a workstation.", "ksbrain");
    program.require_subcommand(1);
    addReplayCommand(program, status);
    addServeCommand(program, status);
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? 0 : EXIT_BAD_INPUT;
    } catch (const InputError& error) {
        return fail(error, EXIT_BAD_INPUT);
    } catch (const std::exception& error) {
        return fail(error, EXIT_FAILED);
    }
    return status;
}
