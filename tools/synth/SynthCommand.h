#pragma once

namespace CLI {
class App;
}

// ksbrain synth: makes up traces of any length, of one person or of many. Adds the verb to the
// program; when it is the one that is called, `status` receives the program's exit status. Throws
// InputError and std::exception.
void addSynthCommand(CLI::App& program, int& status);
