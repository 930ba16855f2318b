#pragma once

#include "base/BrainEvent.h"
#include "base/Latch.h"

// Opens when an event has been handled. The event and whoever waits share it, so that it may be the
// last thing that the engine's thread touches.
class HandledLatch : public RefBase {
  public:
    const char* getName() const override { return "HandledLatch"; }

    void open() { mLatch.countDown(); }
    void wait() { mLatch.wait(); }

  private:
    Latch mLatch{1};
};

// An event whose host wants to know when the engine has done with it.
//
//     sp<HostEvent> event(new HostEvent);
//     const sp<HandledLatch> handled = event->handled();
//     ... send it, drop all references ...
//     handled->wait();
class HostEvent : public BrainEvent {
  public:
    sp<HandledLatch> handled() const { return mHandled; }

    void onLastRef() const override { mHandled->open(); }

  private:
    const sp<HandledLatch> mHandled = new HandledLatch;
};
