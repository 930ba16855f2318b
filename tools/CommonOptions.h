#pragma once

namespace CLI {
class App;
}

// Options that several verbs have.

// --log LEVEL; `level` receives 1..8 and keeps its value without the option.
void addLogOption(CLI::App& verb, int& level);
