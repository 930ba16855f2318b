#pragma once

#include "base/BrainEvent.h"

// Receives every event that the dispatcher passes on. It runs on the engine's worker thread, under
// the dispatcher's listener lock: it must not register or unregister listeners.
class BrainDataListener : public RefBase {
  public:
    const char* getName() const override { return "BrainDataListener"; }

    virtual void onBrainDataAvailable(sp<BrainEvent>& event) = 0;
};
