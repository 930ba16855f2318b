#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Where or when somebody uses a phone.
enum Situation { WAKING, COMMUTE, WORK, BREAK, EVENING, BED, LEISURE, SITUATION_COUNT };

// The applications there are in the world, numbered from 0 without end. Those below
// CATALOGUE_SIZE are sorted by how widely they are liked.
constexpr size_t CATALOGUE_SIZE = 62;

// "com.example.mail"; each number has its own name.
std::string catalogueName(uint64_t app);

// Whether the application suits the situation better than others.
bool catalogueSuits(uint64_t app, Situation situation);
