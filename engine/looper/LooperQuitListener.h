#pragma once

#include "base/RefBase.h"

// Learns, on the looper's thread, that a Looper has ended.
class LooperQuitListener : public RefBase {
  public:
    const char* getName() const override { return "LooperQuitListener"; }

    virtual void onLooperQuit() = 0;
};
