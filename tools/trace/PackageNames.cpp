#include "tools/trace/PackageNames.h"

#include <algorithm>

#include "preload/PackageName.h"
#include "tools/common/InputError.h"
#include "tools/common/Text.h"

std::string packageLikeName(std::string_view name) {
    std::string result;
    for (const char c : name) {
        const bool continuesCharacter = (c & 0xc0) == 0x80;
        if (!continuesCharacter) result += isPackageCharacter(c) ? c : '_';
    }
    return result;
}

const std::string& NameMap::map(const std::string& name) {
    const auto& [mapped, original] = *mOriginals.emplace(packageLikeName(name), name).first;
    if (original != name) {
        throw InputError(inQuotes(name) + " and " + inQuotes(original) + " both become " +
                         inQuotes(mapped));
    }
    return mapped;
}

std::string noteOfOtherNames(const Trace& trace) {
    const std::vector<std::string>& names = trace.names();
    const auto others = static_cast<size_t>(std::count_if(
        names.begin(), names.end(), [](const auto& name) { return !isPackageName(name); }));
    if (others == 0) return "";
    // The model goes by the last two names and has no answer while it does not take one of them.
    size_t ofThem = 0;
    size_t behind = 0;
    size_t since = 2;  // openings since the last of them
    for (size_t row = 0; row < trace.size(); ++row) {
        if (since < 2) ++behind;
        const bool taken = isPackageName(trace.name(row));
        ofThem += taken ? 0 : 1;
        since = taken ? since + 1 : 0;
    }
    return amount(others, "name") + (others == 1 ? " has" : " have") +
           " characters that the Bayes model does not take: it never predicts their " +
           amount(ofThem, "opening") + ", and has no answer before the next two behind each, " +
           amount(behind, "opening") +
           " in all, nor before it is ready (--underscores puts _ for each character)";
}
