#include <CLI/CLI.hpp>
#include <cstdint>
#include <cstdio>
#include <exception>

#include "tools/common/InputError.h"
#include "tools/common/Output.h"
#include "tools/synth/DemoTrace.h"

// ksbrain-demo-trace: prints the demonstration's trace.
int main(int argc, char** argv) {
    CLI::App program(
        "Prints eight weeks of an invented person's phone as a trace for ksbrain replay.",
        "ksbrain-demo-trace");
    uint64_t seed = 1;
    program.add_option("--seed", seed, "The person: another seed gives another trace (default: 1)")
        ->type_name("N");
    try {
        program.parse(argc, argv);
        writeOutput(makeDemoTrace(seed));
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? 0 : EXIT_BAD_INPUT;
    } catch (const std::exception& error) {
        fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILED;
    }
    return 0;
}
