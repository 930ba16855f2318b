#pragma once

namespace CLI {
class App;
}

// ksbrain serve: a host of libksbrain.so that is driven line by line. Adds the verb to the program;
// when it is the one that is called, `status` receives the program's exit status. Throws InputError
// and std::exception.
void addServeCommand(CLI::App& program, int& status);
