#include "tools/manual/HelpCommand.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "tools/common/CommandLineError.h"
#include "tools/common/HelpText.h"
#include "tools/common/InputError.h"
#include "tools/common/Output.h"

namespace {

std::string helpOn(const Program& program, const std::string& name) {
    const auto verb = std::find_if(program.verbs.begin(), program.verbs.end(),
                                   [&](const Verb& each) { return each.name == name; });
    if (verb != program.verbs.end()) return helpText(program, *verb);
    throw InputError(commandLineError(program, nullptr, {name}, ""));
}

}  // namespace

Verb makeHelpVerb(const Program& program) {
    const auto name = std::make_shared<std::optional<std::string>>();
    Verb verb{"help",
              "Say what a verb does, as its --help",
              {{"ksbrain help", "what verbs there are"},
               {"ksbrain help replay", "the same as ksbrain replay --help"}}};
    verb.text("VERB", *name, "The verb");
    verb.run = [&program, name] {
        writeOutput(*name ? helpOn(program, **name) : helpText(program));
        return 0;
    };
    return verb;
}
