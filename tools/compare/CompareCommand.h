#pragma once

namespace CLI {
class App;
}

// ksbrain compare: how well the engine and simple rules predict recorded traces, side by side.
void addCompareCommand(CLI::App& program, int& status);
