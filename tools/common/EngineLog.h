#pragma once

#include <string>

// What of the engine's log reaches standard error, where the platform's log prints it on a
// workstation. Called before anything logs.

// A level as the command line gives it: 1..8, or trace, debug, info, warning, error, fatal or
// critical. Throws InputError.
int parseLogLevel(const std::string& text);

// Nothing.
void silenceEngineLog();

// Every line of the level and above, of an engine that is linked into this program.
void showEngineLog(int level);

// Lets all lines pass that the engine's own threshold lets pass.
void openPlatformLog();
