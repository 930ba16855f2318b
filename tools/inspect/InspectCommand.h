#pragma once

namespace CLI {
class App;
}

// Adds `ksbrain inspect`, which says what the engine's files hold and whether they are whole;
// running it sets `status`.
void addInspectCommand(CLI::App& program, int& status);
