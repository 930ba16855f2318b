#pragma once

class TempDir;

// Writes all six files of an engine that has seen little, whole as the engine writes them: a model
// of four samples, two applications, and a network that knows app.0 to app.29.
void writeSmallState(const TempDir& files);
