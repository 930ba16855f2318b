#pragma once

#include <nlohmann/json.hpp>
#include <string>

// Objects keep the order in which their members were added.
using Json = nlohmann::ordered_json;

// The value as one line with its newline. Bytes that are no UTF-8, as a name may hold them, are
// replaced.
inline std::string jsonLine(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}
