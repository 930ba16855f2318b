#pragma once

namespace CLI {
class App;
}

// ksbrain report: judges the engine on recorded traces and writes the result as a page with charts.
// Adds the verb to the program; when it is the one that is called, `status` receives the program's
// exit status. Throws InputError and std::exception.
void addReportCommand(CLI::App& program, int& status);
