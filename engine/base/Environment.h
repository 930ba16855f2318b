#pragma once

#include <ctime>
#include <string>

// What the engine takes from the world outside, in one place: where its files lie and what time it
// is; what it tells nobody else, that storage fails; and whether a power cut matters. The shipped
// libraries link the fixed answers of Environment.cpp; tests and tools link
// platform/workstation/SettableEnvironment.cpp instead. Any thread may ask.
namespace environment {

// The directory of all files the engine keeps, without a trailing slash.
std::string dataDirectory();

// The wall clock, in seconds since the epoch.
time_t now();

// A file could not be written, or is there and could not be read; `error` is the errno. The engine
// goes on without, which whoever judges its answers or its files has to know.
void noteStorageFailure(const std::string& path, int error);

// Waits until the disk has what was written to an open file or directory, as fsync(). Those whose
// files need not outlive a power cut answer at once.
bool sync(int descriptor);

}  // namespace environment
