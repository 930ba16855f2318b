#pragma once

#include <cstddef>
#include <cstdint>

namespace zml {

// The CRC-32 of IEEE 802.3, polynomial 0xEDB88320: 0xCBF43926 for "123456789".
uint32_t crc32(const uint8_t* bytes, size_t size);

}  // namespace zml
