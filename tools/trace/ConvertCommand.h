#pragma once

namespace CLI {
class App;
}

// Adds the verb `convert`, which writes a trace of any kind as a CSV file. `status` receives the
// exit status when it has run.
void addConvertCommand(CLI::App& program, int& status);
