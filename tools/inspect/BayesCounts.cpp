#include "tools/inspect/BayesCounts.h"

#include "tools/common/Text.h"
#include "tools/inspect/StrictLines.h"

namespace {

// Reads "NAME n" and then n lines of a name and a count, which it hands to `add`; false from there
// refuses the name.
template <typename Add>
bool readCounts(StrictLines& lines, const std::string& name, const Add& add) {
    const std::optional<int> entries = lines.number(name);
    if (!entries) return false;
    if (*entries < 0) return lines.fail("less than no entries");
    for (int i = 0; i < *entries; ++i) {
        const std::optional<std::string_view> line = lines.next("an entry of " + name);
        if (!line) return false;
        const size_t blank = line->find(' ');
        const std::optional<int> count =
            blank == std::string_view::npos ? std::nullopt : parseNumber(line->substr(blank + 1));
        if (!count || *count < 0 || !add(std::string(line->substr(0, blank)), *count)) {
            return lines.fail(inQuotes(*line) + " is no entry of " + name);
        }
    }
    return true;
}

}  // namespace

std::optional<FeatureKey> parseFeatureKey(const std::string& text) {
    const size_t first = text.find(':');
    const size_t second = first == std::string::npos ? first : text.find(':', first + 1);
    if (second == std::string::npos) return std::nullopt;
    const std::string_view view = text;
    const std::optional<int> feature = parseNumber(view.substr(0, first));
    const std::optional<int> value = parseNumber(view.substr(first + 1, second - first - 1));
    const std::optional<int> y = parseNumber(view.substr(second + 1));
    if (!feature || !value || !y) return std::nullopt;
    return FeatureKey{*feature, *value, *y};
}

std::optional<BayesCounts> readBayesCounts(const std::string& text, std::string& problem) {
    StrictLines lines(text);
    BayesCounts counts;
    counts.samples = lines.number("mTotalSampleCount").value_or(0);
    counts.dimension = lines.number("mDimensionX").value_or(0);
    const int listed = lines.number("mVariableSpaceX").value_or(0);
    for (int i = 0; i < listed && lines.problem().empty(); ++i) {
        counts.maxima.push_back(lines.number("").value_or(0));
    }
    counts.classes = lines.number("mVariableSpaceY").value_or(0);
    const bool whole = readCounts(lines, "mDistributionY",
                                  [&](const std::string& key, int count) {
                                      const std::optional<int> y = parseNumber(key);
                                      return y && counts.classCounts.emplace(*y, count).second;
                                  }) &&
                       readCounts(lines, "mDistributionXandY",
                                  [&](const std::string& key, int count) {
                                      return counts.featureCounts.emplace(key, count).second;
                                  }) &&
                       lines.atEnd();
    problem = lines.problem();
    if (!whole) return std::nullopt;
    return counts;
}
