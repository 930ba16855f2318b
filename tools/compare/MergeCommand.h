#pragma once

namespace CLI {
class App;
}

// ksbrain merge: the results of several runs of compare as those of one.
void addMergeCommand(CLI::App& program, int& status);
