#pragma once

namespace CLI {
class App;
}

// Adds `ksbrain explain`, which says why the engine predicts what it predicts; running it sets
// `status`.
void addExplainCommand(CLI::App& program, int& status);
