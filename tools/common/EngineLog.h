#pragma once

// What of the engine's log reaches standard error, where the platform's log prints it on a
// workstation. Called before anything logs.

// Nothing.
void silenceEngineLog();

// Every line of the level, 1..8, and above, of an engine that is linked into this program.
void showEngineLog(int level);

// Lets all lines pass that the engine's own threshold lets pass.
void openPlatformLog();
