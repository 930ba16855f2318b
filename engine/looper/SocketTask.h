#pragma once

#include "base/RefBase.h"

// What a KsLooper does for a descriptor, as an object that it holds until the descriptor is
// removed.
class SocketTask : public RefBase {
  public:
    const char* getName() const override { return "SocketTask"; }

    // The descriptor is readable. Runs on the looper's thread.
    virtual void onReadable(int fd) = 0;

    // The descriptor has been removed. Runs on the thread that removed it.
    virtual void onRemoved(int fd) = 0;
};
