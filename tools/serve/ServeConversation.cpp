#include "tools/serve/ServeConversation.h"

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <vector>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"
#include "tools/serve/HostEvent.h"

namespace {

const Json OK = {{"ok", true}};

Json errorAt(size_t line, const std::string& what) {
    return {{"error", "line " + std::to_string(line) + ": " + what}};
}

Json parse(const std::string& line) {
    Json request = Json::parse(line, nullptr, false);
    if (request.is_discarded()) throw InputError("no JSON: " + inQuotes(line));
    if (!request.is_object()) throw InputError("no object: " + inQuotes(line));
    return request;
}

// The member that says what to do: every other one must be `packages` beside `open`.
std::string verbOf(const Json& request) {
    std::string verb;
    for (const auto& [key, value] : request.items()) {
        if (key == "packages" && request.contains("open")) continue;
        if (key != "open" && key != "charging" && key != "event" && key != "predict" &&
            key != "exit") {
            throw InputError("unknown: " + inQuotes(key));
        }
        if (!verb.empty()) throw InputError("both " + inQuotes(verb) + " and " + inQuotes(key));
        verb = key;
    }
    if (verb.empty()) throw InputError("nothing to do in " + inQuotes(request.dump()));
    return verb;
}

void requireTrue(const Json& request, const std::string& verb) {
    const Json& value = request[verb];
    if (!value.is_boolean() || !value.get<bool>()) throw InputError(inQuotes(verb) + " takes true");
}

sp<HostEvent> chargingEvent(const Json& value) {
    if (!value.is_boolean()) throw InputError("\"charging\" takes true or false");
    sp<HostEvent> event(new HostEvent);
    event->type = BrainEvent::CHARGING;
    event->charging = value.get<bool>() ? 1 : 0;
    return event;
}

sp<HostEvent> plainEvent(const Json& value) {
    using Limits = std::numeric_limits<int32_t>;
    // A number beyond 64 bits is a floating-point one here.
    const bool fits = value.is_number_unsigned()
                          ? value.get<uint64_t>() <= static_cast<uint64_t>(Limits::max())
                          : value.is_number_integer() && value.get<int64_t>() >= Limits::min();
    if (!fits) throw InputError("\"event\" takes a whole number of 32 bits");
    sp<HostEvent> event(new HostEvent);
    event->type = value.get<int32_t>();
    return event;
}

}  // namespace

std::string ServeConversation::answer(const std::string& line) {
    ++mLine;
    try {
        return jsonLine(act(line));
    } catch (const InputError& error) {
        return jsonLine(errorAt(mLine, error.what()));
    }
}

std::string ServeConversation::refuseTooLong(size_t maxLength) {
    ++mLine;
    return jsonLine(errorAt(mLine, "longer than " + grouped(maxLength) + " bytes"));
}

Json ServeConversation::act(const std::string& line) {
    const Json request = parse(line);
    const std::string verb = verbOf(request);
    if (verb == "open") return open(request);
    if (verb == "charging" || verb == "event") {
        const Json& value = request[verb];
        sp<HostEvent> event = verb == "event" ? plainEvent(value) : chargingEvent(value);
        return send(event);
    }
    requireTrue(request, verb);
    if (verb == "predict") return predict();
    mEnded = true;
    return OK;
}

Json ServeConversation::open(const Json& request) {
    if (!request["open"].is_string()) throw InputError("\"open\" takes a name");
    sp<HostEvent> event(new HostEvent);
    event->type = BrainEvent::APP_OPENED;
    event->package = request["open"].get<std::string>();
    if (request.contains("packages")) {
        const Json& packages = request["packages"];
        if (!packages.is_array()) throw InputError("\"packages\" takes a list of names");
        for (const Json& name : packages) {
            if (!name.is_string()) throw InputError("\"packages\" takes a list of names");
            event->packageList.push_back(name.get<std::string>());
        }
        event->hasPackageList = 1;
    }
    return send(event);
}

Json ServeConversation::predict() {
    std::vector<std::string> names;
    mEngine.predict(names);
    return {{"predict", names}};
}

// Hands the event over and waits until the engine has given it up: it has been handled then.
Json ServeConversation::send(sp<HostEvent>& event) {
    const sp<HandledLatch> handled = event->handled();
    sp<BrainEvent> handedOver(event);
    const int result = mEngine.sendData(handedOver);
    event.reset();
    handedOver.reset();
    if (result != 0) throw InputError("the engine refused the event");
    handled->wait();
    return OK;
}
