#include "tools/common/TimeZone.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

constexpr const char* MACHINES_ZONE = "/etc/localtime";

// TZ as it is meant; a colon may stand before the name of a file.
std::string givenZone(const char* variable) {
    return *variable == ':' ? variable + 1 : variable;
}

bool isUtc(const std::string& zone) {
    return zone.empty() || zone == "UTC" || zone == "UTC0" || zone == "Etc/UTC";
}

// In the format in which the C library reads them.
bool isZoneFile(const std::string& zone) {
    const char* const chosen = getenv("TZDIR");
    const std::string folder = chosen == nullptr ? "/usr/share/zoneinfo" : chosen;
    std::ifstream file(zone[0] == '/' ? zone : folder + '/' + zone);
    char begin[4];
    return file.read(begin, sizeof begin) && std::string_view(begin, sizeof begin) == "TZif";
}

// CET-1CEST,M3.5.0,M10.5.0/3 and the like.
bool isRule(const std::string& zone) {
    const std::string name = "([A-Za-z]{3,}|<[A-Za-z0-9+-]{3,}>)";
    const std::string time = "[+-]?[0-9]{1,3}(:[0-5]?[0-9]){0,2}";
    const std::string day = ",(M[0-9]{1,2}\\.[1-5]\\.[0-6]|J?[0-9]{1,3})(/" + time + ")?";
    const std::regex rule(name + time + "(" + name + "(" + time + ")?(" + day + day + ")?)?");
    return std::regex_match(zone, rule);
}

}  // namespace

void requireKnownZone() {
    const char* const variable = getenv("TZ");
    if (variable == nullptr) return;
    const std::string zone = givenZone(variable);
    if (isUtc(zone) || isZoneFile(zone) || isRule(zone)) return;
    throw InputError("TZ: " + inQuotes(variable) +
                     " is no zone known here, as Europe/Berlin, and no rule, as CET-1CEST,M3.5.0,"
                     "M10.5.0/3");
}

std::string zoneName() {
    const char* const variable = getenv("TZ");
    std::string zone = MACHINES_ZONE;
    if (variable != nullptr) {
        zone = givenZone(variable);
    } else {
        std::error_code none;  // a machine without the setting has UTC
        zone = std::filesystem::canonical(zone, none).string();
    }
    const std::string folder = "/zoneinfo/";
    const size_t place = zone.find(folder);
    if (place != std::string::npos) zone.erase(0, place + folder.size());
    return isUtc(zone) ? "UTC" : zone;
}
