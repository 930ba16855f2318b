#include <algorithm>
#include <vector>

#include "attack/fuzz/Fuzz.h"
#include "platform/testing/TempDir.h"
#include "platform/workstation/SettableEnvironment.h"
#include "preload/AppPreloadModel.h"
#include "zml/test/ScriptedZml.h"

// A data directory of any content. The engine starts on it, applications are opened, a prediction
// is asked for, the five-minute work is done; then it starts on what it has left.
//
// The input is text: the names that are opened, a line each, then the files, each behind a line
// with its sign below.

namespace {

constexpr struct {
    const char* sign;
    const char* name;
} FILES[] = {
    {"=m\n", "AppPreloadMap"},
    {"=M\n", "AppPreloadMap.bak"},
    {"=u\n", "AppUsage"},
    {"=U\n", "AppUsage.bak"},
    {"=b\n", "AppPreloadBayesModel"},
    {"=B\n", "AppPreloadBayesModel.bak"},
    {"=e\n", "AppPreloadEvaluation"},
    {"=E\n", "AppPreloadEvaluation.bak"},
    {"=h\n", "AppHistory"},
    {"=H\n", "AppHistory.bak"},
};
constexpr char HISTORY[] = "AppHistory";
constexpr char HISTORY_BACKUP[] = "AppHistory.bak";
constexpr size_t MAX_OPENINGS = 15;  // a batch of the Bayes model and some more
constexpr int VOCABULARY = 30;

// Takes the text up to the next sign off the input.
std::string takePart(std::string& rest) {
    size_t end = rest.size();
    for (const auto& file : FILES) end = std::min(end, rest.find(file.sign));
    const std::string part = rest.substr(0, end);
    rest.erase(0, end);
    return part;
}

void writeFiles(const TempDir& folder, std::string rest) {
    for (const std::string& left : entriesOf(folder.path())) ::remove(folder.file(left).c_str());
    while (!rest.empty()) {
        const std::string sign = rest.substr(0, 3);
        rest.erase(0, 3);
        const std::string content = takePart(rest);
        for (const auto& file : FILES) {
            if (sign == file.sign) folder.write(file.name, content);
        }
    }
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (size_t begin = 0; begin < text.size() && lines.size() < MAX_OPENINGS;) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

void use(AppPreloadModel& model, const std::vector<std::string>& names) {
    sp<BrainEvent> event(new BrainEvent);
    event->type = BrainEvent::APP_OPENED;
    event->hasPackageList = 1;
    event->packageList = names;
    for (const std::string& name : names) {
        event->package = name;
        model.onBrainDataAvailable(event);
        model.predict();
    }
    model.updateModel();
}

void checkIds(const ScriptedZml& network) {
    for (const std::string& call : network.calls()) {
        int older = 0;
        int newer = 0;
        if (sscanf(call.c_str(), "predictSequence %d %d", &older, &newer) != 2) continue;
        promise(older >= 0 && older < VOCABULARY && newer >= 0 && newer < VOCABULARY,
                "the network is only asked about ids that it knows");
    }
}

// As the next start reads it.
std::string historyOf(const TempDir& folder) {
    return folder.read(folder.exists(HISTORY_BACKUP) ? HISTORY_BACKUP : HISTORY);
}

// What was added to the history is text, a name a line.
void checkHistory(const std::string& before, const std::string& after) {
    for (size_t i = before.size(); i < after.size(); ++i) {
        const auto c = static_cast<unsigned char>(after[i]);
        promise(c == '\n' || (c >= ' ' && c != 0x7f),
                "names in the history hold no control characters");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const TempDir folder;
    environment::setNow(1709542800);  // a Monday, 09:00 UTC
    std::string rest = asText(data, size);
    const std::vector<std::string> names = linesOf(takePart(rest));
    writeFiles(folder, rest);
    const std::string history = historyOf(folder);

    ScriptedZml network;
    ZmlScript script;
    script.networkTrained = true;
    script.scores = std::vector<float>(VOCABULARY, 0.5f);
    network.setScript(script);
    int known = 0;
    {
        AppPreloadModel model;
        use(model, names);
        known = model.appCount();
    }
    checkIds(network);
    checkHistory(history, historyOf(folder));
    AppPreloadModel again;
    promise(again.appCount() == known, "the application table that was stored is loaded");
    use(again, names);
    return 0;
}
