#include "tools/common/CommandLine.h"

#include <CLI/CLI.hpp>
#include <cstdio>

#include "tools/common/CommandLineError.h"
#include "tools/common/HelpText.h"
#include "tools/common/InputError.h"
#include "tools/common/Output.h"
#include "tools/common/TimeZone.h"

namespace {

std::string nameOf(const Argument& argument) {
    return argument.isOperand() ? argument.value : argument.names.back();
}

void give(const Argument& argument, const std::string& value) {
    try {
        if (value.empty() && !argument.isFlag() && argument.value != "NAME") {
            throw InputError("is empty");
        }
        argument.take(value);
    } catch (const InputError& error) {
        throw CLI::ValidationError(nameOf(argument), error.what());
    }
}

void declare(CLI::App& command, const Argument& argument) {
    const std::string names =
        argument.isOperand() ? argument.value : CLI::detail::join(argument.names);
    if (argument.isFlag()) {
        command.add_flag_callback(names, [&argument] { give(argument, ""); });
        return;
    }
    const auto take = [&argument](const CLI::results_t& values) {
        for (const std::string& value : values) give(argument, value);
        return true;
    };
    CLI::Option* const option = command.add_option(names, take);
    option->type_name(argument.value)->required(argument.isRequired);
    if (argument.isRepeated) {
        option->expected(1, CLI::detail::expected_max_vector_size)
            ->allow_extra_args(argument.isOperand());
    }
}

void declare(CLI::App& parser, const Verb& verb) {
    CLI::App& command = *parser.add_subcommand(verb.name);
    for (const Argument& argument : verb.arguments) {
        if (argument.take) declare(command, argument);
    }
    for (const Argument& argument : verb.arguments) {
        CLI::Option* const option = command.get_option(nameOf(argument));
        for (const std::string& other : argument.needed) option->needs(command.get_option(other));
        for (const std::string& other : argument.excluded) {
            option->excludes(command.get_option(other));
        }
    }
}

const Verb* givenVerb(const Program& program, const CLI::App& parser) {
    for (const Verb& verb : program.verbs) {
        if (parser.got_subcommand(verb.name)) return &verb;
    }
    return nullptr;
}

std::string errorText(const Program& program, const CLI::App& parser, const CLI::Error& error) {
    const Verb* const verb = givenVerb(program, parser);
    const std::vector<std::string> before = parser.remaining();
    if (verb == nullptr || !before.empty()) {
        return commandLineError(program, nullptr, before, error.what());
    }
    const std::vector<std::string> after = parser.get_subcommand(verb->name)->remaining();
    return commandLineError(program, verb, after, error.what());
}

}  // namespace

int runCommandLine(const Program& program, int argc, char** argv) {
    if (argc <= 1) {
        fputs(overview(program).c_str(), stderr);
        return EXIT_BAD_INPUT;
    }
    CLI::App parser("", program.name);
    parser.require_subcommand(1);
    parser.set_help_flag("-h,--help");
    parser.set_version_flag("--version", program.name + ' ' + program.version + '\n');
    for (const Verb& verb : program.verbs) declare(parser, verb);
    try {
        parser.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        const Verb* const verb = givenVerb(program, parser);
        writeOutput(verb == nullptr ? helpText(program) : helpText(program, *verb));
        return 0;
    } catch (const CLI::CallForVersion& version) {
        writeOutput(version.what());
        return 0;
    } catch (const CLI::ParseError& error) {
        throw InputError(errorText(program, parser, error));
    }
    requireKnownZone();
    return givenVerb(program, parser)->run();
}
