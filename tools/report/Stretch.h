#pragma once

#include <cstddef>

// A trace's openings fall into stretches that grow with it, so that a logarithmic axis shows them
// evenly: openings 1 to 10, 11 to 20, 21 to 50, 51 to 100, 101 to 200, ...

// The last opening of a stretch, counted from 1; stretches are counted from 0.
size_t lastOfStretch(size_t stretch);

// The stretch that an opening is in, counted from 1.
size_t stretchOf(size_t opening);
