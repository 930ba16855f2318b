#include "tools/synth/SynthCsv.h"

#include <string>

#include "tools/common/Text.h"

namespace {

constexpr size_t PIECE = 64 * 1024;

void appendRow(std::string& text, const SynthOpening& opening) {
    std::tm utc{};
    gmtime_r(&opening.time, &utc);
    text += timeText(utc, "%Y-%m-%dT%H:%M:%SZ,") + catalogueName(opening.app) + '\n';
}

}  // namespace

void writeSynthCsv(const SynthPlan& plan, uint64_t user,
                   const std::function<bool(const std::string& piece)>& write) {
    Diary diary(plan, user);
    std::string text = "time,package\n";
    while (const auto day = diary.nextDay()) {
        for (const SynthOpening& opening : *day) appendRow(text, opening);
        if (text.size() < PIECE) continue;
        if (!write(text)) return;
        text.clear();
    }
    write(text);
}
