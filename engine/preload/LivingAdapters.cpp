#include "preload/LivingAdapters.h"

#include <algorithm>
#include <vector>

#include "base/Mutex.h"

namespace {

struct Register {
    Mutex lock{LockRank::LIVING_ADAPTERS};
    std::vector<const ZmlAdapter*> adapters GUARDED_BY(lock);

    auto find(const ZmlAdapter* adapter) REQUIRES(lock) {
        return std::find(adapters.begin(), adapters.end(), adapter);
    }
};

// Never destroyed: the sequence library may call back while the process ends.
Register& living() {
    static Register* const instance = new Register;
    return *instance;
}

}  // namespace

void living_adapters::add(const ZmlAdapter* adapter) {
    Register& all = living();
    MutexLock lock(all.lock);
    all.adapters.push_back(adapter);
}

void living_adapters::remove(const ZmlAdapter* adapter) {
    Register& all = living();
    MutexLock lock(all.lock);
    all.adapters.erase(all.find(adapter));
}

bool living_adapters::visit(const ZmlAdapter* adapter, const std::function<void()>& work) {
    Register& all = living();
    MutexLock lock(all.lock);
    if (all.find(adapter) == all.adapters.end()) return false;
    work();
    return true;
}
