#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace CLI {
class App;
}

// A command line for a verb's help, and what it does.
struct Example {
    std::string command;
    std::string effect;
};

// Adds a verb to the program, with examples at the end of its help.
CLI::App* addVerb(CLI::App& program, const std::string& name, const std::string& description,
                  const std::vector<Example>& examples);

// Options that several verbs have.

// --seed N, a whole number from 0 on; `seed` keeps its value without the option.
void addSeedOption(CLI::App& verb, uint64_t& seed, const std::string& description);

// --log LEVEL; `level` receives 1..8 and keeps its value without the option.
void addLogOption(CLI::App& verb, int& level);
