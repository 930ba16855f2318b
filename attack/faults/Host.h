#pragma once

// What a daemon does with libksbrain.so in the sweep of failing calls, each a process of its own
// with a /data/system of its own. Prints what the library answered, where it did not answer 0, and
// how many calls of each kind were made.

// Makes a phone that has learned for weeks: everything is stored, a network trained, a history long
// enough for the next training.
int hostPrepares();

// The day after, with new applications, two five-minute marks and a training. Calls may fail in it.
int hostRuns();

// The start after that: loads what there is (the log says what), predicts once and stops.
int hostChecks();

constexpr char DATA_DIRECTORY[] = "/data/system/korvi_system";

// How often hostRuns() opens an application.
constexpr int OPENINGS = 100;
