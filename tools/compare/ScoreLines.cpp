#include "tools/compare/ScoreLines.h"

#include <map>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"
#include "tools/compare/ScoreJson.h"
#include "tools/trace/TraceInput.h"

namespace {

class ScoreReader {
  public:
    void read(const std::string& path) {
        const std::string name = path == "-" ? "standard input" : printable(path);
        std::string place = name;  // with the line, from the first on
        try {
            size_t number = 0;
            readTextLines(path, [&](const std::string& line) {
                place = name + ':' + std::to_string(++number);
                add(parseScore(line), place);
            });
        } catch (const InputError& error) {
            throw InputError(place + ": " + error.what());
        }
    }

    ScoreSum take() { return std::move(mSum); }

  private:
    void add(const TraceScore& score, const std::string& place) {
        const auto [known, isNew] = mPlaces.emplace(score.name, place);
        if (!isNew) {
            throw InputError("the trace " + inQuotes(score.name) + " is there already, from " +
                             known->second + ": give each trace once");
        }
        if (mSum.traces().empty()) {
            mFirst = place;
        } else {
            requireSame("--charging", score.charging, mSum.total().charging);
            requireSame("TZ", score.zone, mSum.total().zone);
        }
        mSum.add(score);
    }

    // What came out under other conditions cannot be added up.
    void requireSame(const char* what, const std::string& value, const std::string& first) const {
        if (value == first) return;
        throw InputError("was made with another " + std::string(what) + " (" + printable(value) +
                         ") than " + mFirst + " (" + printable(first) + ")");
    }

    ScoreSum mSum;
    std::map<std::string, std::string> mPlaces;  // by name of the trace
    std::string mFirst;                          // the place of the first
};

}  // namespace

ScoreSum readScores(const std::vector<std::string>& files) {
    ScoreReader reader;
    for (const std::string& file : files) reader.read(file);
    ScoreSum sum = reader.take();
    if (sum.traces().empty()) throw InputError("there is no score in the files");
    return sum;
}
