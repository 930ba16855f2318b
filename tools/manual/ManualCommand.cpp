#include "tools/manual/ManualCommand.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "tools/common/CommonOptions.h"
#include "tools/common/Output.h"
#include "tools/manual/ManualPage.h"
#include "tools/manual/ShellCompletion.h"

void addManualCommands(CLI::App& program, int& status) {
    CLI::App* const completion = addVerb(
        program, "completion", "Print a script that completes ksbrain's command line in a shell",
        {{"source <(ksbrain completion bash)", "for this bash; a line for ~/.bashrc"},
         {"ksbrain completion zsh >~/.zfunc/_ksbrain", "with ~/.zfunc in zsh's fpath"},
         {"ksbrain completion fish >~/.config/fish/completions/ksbrain.fish", "for every fish"}});
    const auto shell = std::make_shared<std::string>();
    completion->add_option("SHELL", *shell, "bash, zsh or fish")
        ->required()
        ->type_name("bash|zsh|fish")
        ->check(CLI::IsMember({"bash", "zsh", "fish"}));
    completion->callback([&program, &status, shell] {
        const CommandOutline outline = outlineOf(program);
        writeOutput(*shell == "bash"  ? bashCompletion(outline)
                    : *shell == "zsh" ? zshCompletion(outline)
                                      : fishCompletion(outline));
        status = 0;
    });

    CLI::App* const manual =
        addVerb(program, "manual", "Print the man page",
                {{"ksbrain manual | man -l -", "read it"},
                 {"ksbrain manual >~/.local/share/man/man1/ksbrain.1", "keep it"}});
    manual->callback([&program, &status] {
        writeOutput(manualPage(outlineOf(program), program.version()));
        status = 0;
    });
}
