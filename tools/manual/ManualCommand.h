#pragma once

namespace CLI {
class App;
}

// Adds the verbs that print what the program knows about itself: "completion", a shell's completion
// script, and "manual", the man page. `status` receives 0 when one has run.
void addManualCommands(CLI::App& program, int& status);
