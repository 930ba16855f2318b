#pragma once

#include <string>

// The zone of local times, as the environment variable TZ or else the machine's setting has it.

// Throws InputError when TZ names no zone: the C library would take it for UTC without a word.
void requireKnownZone();

// What it is called, "Europe/Berlin". UTC is "UTC" however it is set.
std::string zoneName();
