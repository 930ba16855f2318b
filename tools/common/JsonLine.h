#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

// Objects keep the order in which their members were added. A source that reads or writes one
// includes nlohmann/json.hpp itself, which takes its time.
using Json = nlohmann::ordered_json;

// The value as one line with its newline. Bytes that are no UTF-8, as a name may hold them, are
// replaced.
std::string jsonLine(const Json& value);
