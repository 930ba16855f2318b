#include <cutils/properties.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

// System properties for a machine that has none: `name=value` lines in the file that the
// environment variable KSBRAIN_PROPERTIES names, read anew for every question. Without it all are
// unset, and asking for one takes no memory, as on a phone.

namespace {

// A later line of the same name wins, as a property that is set again does.
std::string readProperty(const char* name) {
    const char* const path = getenv("KSBRAIN_PROPERTIES");
    if (path == nullptr) return {};
    std::ifstream file(path);
    std::string line;
    std::string value;
    while (std::getline(file, line)) {
        const size_t equals = line.find('=');
        if (equals != std::string::npos && line.compare(0, equals, name) == 0) {
            value = line.substr(equals + 1);
        }
    }
    return value;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int property_get(const char* key, char* value,
                                                                   const char* default_value) {
    const int savedErrno = errno;
    std::string text = readProperty(key);
    errno = savedErrno;
    if (text.empty() && default_value != nullptr) text = default_value;
    text.resize(std::min(text.size(), static_cast<size_t>(PROPERTY_VALUE_MAX - 1)));
    memcpy(value, text.c_str(), text.size() + 1);
    return static_cast<int>(text.size());
}

extern "C" __attribute__((visibility("default"))) int32_t property_get_int32(
    const char* key, int32_t default_value) {
    char text[PROPERTY_VALUE_MAX];
    if (key == nullptr || property_get(key, text, "") == 0) return default_value;
    const int savedErrno = errno;
    errno = 0;
    char* end = nullptr;
    const long long value = strtoll(text, &end, 0);
    const bool whole = errno == 0 && end != text && *end == '\0';
    errno = savedErrno;
    return whole && value >= INT32_MIN && value <= INT32_MAX ? static_cast<int32_t>(value)
                                                             : default_value;
}
