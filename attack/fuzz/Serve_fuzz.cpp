#include <nlohmann/json.hpp>
#include <vector>

#include "attack/fuzz/Fuzz.h"
#include "tools/serve/ServeConversation.h"

// What a host may write to `ksbrain serve`, with an engine that only takes what it is handed.

namespace {

int take(sp<BrainEvent>& event) {
    promise(event && event->getStrongCount() > 0, "events come alive");
    promise(event->packageList.empty() || event->hasPackageList != 0, "a list is announced");
    return event->type == -1 ? -1 : 0;
}

int foretell(std::vector<std::string>& names) {
    names = {"com.b", "caf\xE9"};
    return 0;
}

constexpr EngineLibrary ENGINE = {nullptr, nullptr, take, foretell, nullptr};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ServeConversation conversation(ENGINE);
    std::string rest = asText(data, size);
    while (!rest.empty() && !conversation.ended()) {
        const size_t end = std::min(rest.find('\n'), rest.size());
        const std::string answer = conversation.answer(rest.substr(0, end));
        rest.erase(0, end + 1);
        promise(answer.find('\n') == answer.size() - 1, "an answer is a line");
        promise(nlohmann::json::accept(answer), "an answer is JSON");
    }
    return 0;
}
