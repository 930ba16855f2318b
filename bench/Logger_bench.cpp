#include <catch2/catch.hpp>
#include <cstdlib>

#include "base/Logger.h"

TEST_CASE("a log line below the threshold") {
    Logger::getInstance()->updateDefaultLevel(4);
    BENCHMARK("reference: one getenv and atoi of the threshold") {
        return atoi(getenv("DYNAMIC_LOGLEVEL_ENV"));
    };
    BENCHMARK("dropped line with an argument that would be costly") {
        ENGINE_LOG(LEVEL_DEBUG, "bench", "%s", std::string(1000, 'x').c_str());
    };
    BENCHMARK("dropped entry and exit lines of an operation") {
        TraceScope trace("bench", "operation");
    };
}
