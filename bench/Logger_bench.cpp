#include <catch2/catch.hpp>
#include <cstdlib>

#include "base/Logger.h"
#include "bench/Rounds.h"

TEST_CASE("a log line below the threshold") {
    constexpr int LINES = 200000;
    Logger::getInstance()->updateDefaultLevel(4);
    compareInRounds({
        {"reference: one getenv and atoi of the threshold",
         meanOf(LINES,
                [] {
                    const volatile int level = atoi(getenv("DYNAMIC_LOGLEVEL_ENV"));
                    (void)level;
                })},
        {"dropped line with an argument that would be costly",
         meanOf(LINES,
                [] { ENGINE_LOG(LEVEL_DEBUG, "bench", "%s", std::string(1000, 'x').c_str()); })},
        {"dropped entry and exit lines of an operation",
         meanOf(LINES, [] { const TraceScope trace("bench", "operation"); })},
    });
}
