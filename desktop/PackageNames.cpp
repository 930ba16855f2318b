#include "desktop/PackageNames.h"

#include <cinttypes>
#include <cstdint>

#include "preload/PackageName.h"
#include "tools/common/Text.h"

namespace {

constexpr size_t MAX_NAME = 100;
constexpr size_t HASH_LENGTH = 17;  // with a '_' before it

// FNV-1a. What is learned is stored under the name: it is the same on every machine.
uint64_t hashOf(std::string_view text) {
    uint64_t hash = 0xcbf29ce484222325;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    return hash;
}

}  // namespace

std::string packageNameOf(std::string_view text) {
    const bool isLong = text.size() > MAX_NAME;
    std::string name(text.substr(0, isLong ? MAX_NAME - HASH_LENGTH : MAX_NAME));
    for (char& c : name) {
        if (!isPackageCharacter(c)) c = '_';
    }
    return isLong ? name + formatted("_%016" PRIx64, hashOf(text)) : name;
}
