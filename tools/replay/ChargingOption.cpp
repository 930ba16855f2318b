#include "tools/replay/ChargingOption.h"

void addChargingOption(Verb& verb, ChargingPlan& plan) {
    verb.custom("--charging always|never|HH:MM-HH:MM",
                "When the device charges: always, never, or each day from HH:MM to HH:MM local "
                "time (default: always)",
                [&plan](const std::string& text) { plan = ChargingPlan::parse(text); });
}
