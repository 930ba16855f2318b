#pragma once

#include <cstddef>

#include "zml/TrainingSet.h"

// The inner loops of the network, over rows of LANES floats. Each is written so that the compiler
// vectorises it without changing the order of the additions.
namespace zml {

// sum += factors[0] * rows[0] + factors[1] * rows[1] + ... over `count` rows. Neighbouring factors
// lie `factorStride` apart, neighbouring rows `rowStride`. The sum stays in registers.
inline void addScaledRows(float* sum, const float* factors, size_t factorStride, const float* rows,
                          size_t rowStride, size_t count) {
    float lanes[LANES];
    for (size_t lane = 0; lane < LANES; ++lane) lanes[lane] = sum[lane];
    for (size_t i = 0; i < count; ++i) {
        const float factor = factors[i * factorStride];
        const float* const row = rows + i * rowStride;
        for (size_t lane = 0; lane < LANES; ++lane) lanes[lane] += factor * row[lane];
    }
    for (size_t lane = 0; lane < LANES; ++lane) sum[lane] = lanes[lane];
}

inline float sumOfRow(const float* row) {
    float parts[4] = {};
    for (size_t lane = 0; lane < LANES; lane += 4) {
        for (size_t part = 0; part < 4; ++part) parts[part] += row[lane + part];
    }
    return (parts[0] + parts[1]) + (parts[2] + parts[3]);
}

// to += from, `count` floats.
inline void addTo(float* __restrict to, const float* __restrict from, size_t count) {
    for (size_t i = 0; i < count; ++i) to[i] += from[i];
}

}  // namespace zml
