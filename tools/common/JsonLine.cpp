#include "tools/common/JsonLine.h"

#include <nlohmann/json.hpp>

std::string jsonLine(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}
