#pragma once

#include "tools/replay/ChargingPlan.h"

namespace CLI {
class App;
}

// --charging PLAN; `plan` keeps its value without the option. It must live as long as the verb.
void addChargingOption(CLI::App& verb, ChargingPlan& plan);
