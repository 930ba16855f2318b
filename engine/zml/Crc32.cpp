#include "zml/Crc32.h"

#include <array>

namespace zml {

namespace {

constexpr uint32_t POLYNOMIAL = 0xEDB88320;

constexpr std::array<uint32_t, 256> makeTable() {
    std::array<uint32_t, 256> table{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t remainder = byte;
        for (int bit = 0; bit < 8; ++bit) {
            remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? POLYNOMIAL : 0);
        }
        table[byte] = remainder;
    }
    return table;
}

constexpr std::array<uint32_t, 256> TABLE = makeTable();

}  // namespace

uint32_t crc32(const uint8_t* bytes, size_t size) {
    uint32_t crc = 0xFFFFFFFF;
    for (size_t i = 0; i < size; ++i) crc = TABLE[(crc ^ bytes[i]) & 0xFF] ^ (crc >> 8);
    return ~crc;
}

}  // namespace zml
