#include "tools/replay/Moments.h"

#include <unistd.h>

#include <algorithm>

#include "tools/common/Colour.h"
#include "tools/common/Text.h"

namespace {

constexpr size_t SHOWN = 4;

}  // namespace

bool Moments::isDue(size_t row, const std::vector<std::string>& answer) const {
    if (mMoments.size() >= mCount || answer.empty() || row + 1 >= mTrace.size()) return false;
    return row >= (mMoments.size() + 1) * mTrace.size() / (mCount + 1);
}

void Moments::add(size_t row, const std::vector<std::string>& answer, bool fromNetwork) {
    const auto end = answer.begin() + static_cast<ptrdiff_t>(std::min(SHOWN, answer.size()));
    mMoments.push_back({row, {answer.begin(), end}, fromNetwork});
}

std::string Moments::text() const {
    std::string text;
    for (const Moment& moment : mMoments) text += describe(moment);
    return text;
}

std::string Moments::describe(const Moment& moment) const {
    const std::string& next = mTrace.name(moment.row + 1);
    const auto hit = std::find(moment.predicted.begin(), moment.predicted.end(), next);
    const time_t time = wholeSeconds(mTrace.time(moment.row));
    std::string text = localTimeText(time, "%a %Y-%m-%d %H:%M") + "  " +
                       printable(mTrace.name(moment.row)) + " is in front\n    predicted (" +
                       (moment.fromNetwork ? "network" : "Bayes") + "):";
    for (const std::string& name : moment.predicted) text += "  " + printable(name);
    text += "\n    opened next: " + printable(next);
    const auto end = [&](const std::string& verdict, Colour colour) {
        return text + "  -> " + coloured(verdict, colour, STDOUT_FILENO) + "\n\n";
    };
    if (hit == moment.predicted.begin()) return end("hit, the first", Colour::GREEN);
    if (hit == moment.predicted.end()) return end("missed", Colour::YELLOW);
    return end("hit, number " + std::to_string(hit - moment.predicted.begin() + 1), Colour::GREEN);
}
