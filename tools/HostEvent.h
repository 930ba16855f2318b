#pragma once

#include <chrono>
#include <future>

#include "base/BrainEvent.h"

// An event whose host wants to know when the engine has done with it.
//
//     sp<HostEvent> event(new HostEvent);
//     std::future<void> handled = event->handled();
//     ... send it, drop all references ...
//     handled.wait();
class HostEvent : public BrainEvent {
  public:
    // Ready once the last reference has been given up. Called once.
    std::future<void> handled() { return mHandled.get_future(); }

    void onLastRef() const override { mHandled.set_value(); }

  private:
    mutable std::promise<void> mHandled;
};
