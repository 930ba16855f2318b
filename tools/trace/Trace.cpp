#include "tools/trace/Trace.h"

void Trace::add(TraceTime time, const std::string& name) {
    const auto [known, isNew] = mPlaces.emplace(name, mNames.size());
    if (isNew) mNames.push_back(name);
    mOpenings.push_back({time, known->second});
}
