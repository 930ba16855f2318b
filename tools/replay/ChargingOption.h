#pragma once

#include "tools/common/Verb.h"
#include "tools/replay/ChargingPlan.h"

// --charging PLAN; `plan` keeps its value without the option. It must live as long as the verb.
void addChargingOption(Verb& verb, ChargingPlan& plan);
