// A host program. It is linked without the library and so shows that the event record needs none of
// its symbols.

#include "base/BrainEvent.h"

int main() {
    sp<BrainEvent> event(new BrainEvent);
    event->package = "a.package.with.a.long.name";
    event->packageList = {"another.package", event->package};
    const sp<BrainEvent> handedOver = event;
    event.reset();
    return handedOver->packageList.back() == handedOver->package ? 0 : 1;
}
