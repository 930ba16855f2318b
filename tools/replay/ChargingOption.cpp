#include "tools/replay/ChargingOption.h"

#include <CLI/CLI.hpp>

void addChargingOption(CLI::App& verb, ChargingPlan& plan) {
    verb.add_option_function<std::string>(
            "--charging", [&plan](const std::string& text) { plan = ChargingPlan::parse(text); },
            "When the device charges: always, never, or each day from HH:MM to HH:MM\n"
            "local time (default: always)")
        ->type_name("always|never|HH:MM-HH:MM");
}
