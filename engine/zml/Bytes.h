#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// Numbers in byte strings, lowest byte first on every machine.
namespace zml {

using Bytes = std::vector<uint8_t>;

inline void appendU32(Bytes& bytes, uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<uint8_t>(value >> shift));
    }
}

// Reads the four bytes from `offset` on, which must lie within `bytes`.
inline uint32_t readU32(const Bytes& bytes, size_t offset) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) value |= uint32_t{bytes[offset + i]} << (8 * i);
    return value;
}

}  // namespace zml
