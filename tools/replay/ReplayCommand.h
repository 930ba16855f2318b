#pragma once

namespace CLI {
class App;
}

// ksbrain replay: runs a recorded trace through the preload model and counts how well it predicts.
// Adds the verb to the program; when it is the one that is called, `status` receives the program's
// exit status. Throws InputError and std::exception.
void addReplayCommand(CLI::App& program, int& status);
