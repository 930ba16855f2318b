#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/RefBase.h"

#if defined(KSBRAIN_SHARED_LAYOUT)

// What happened. The host builds a record and hands it to brain_main_send_data(); from then on the
// engine shares it by reference count and the host must not change it. onLastRef() runs on the
// thread that gives the record up last, as a rule the engine's worker.
//
// The layout is part of the binary interface: 256 bytes, offsets as asserted below.
class BrainEvent : public RefBase {
  public:
    const char* getName() const override { return "BrainEvent"; }

    // The codes, of 1..22, that the engine itself sends or acts on.
    enum Code : int32_t {
        INIT = 1,        // sent by the engine when it starts
        APP_OPENED = 4,  // an application came to the front
        CHARGING = 6,    // the charging state changed
        EXIT = 15,       // sent by the engine when it stops
    };

    // The event code.
    int32_t type = 0;

    // INIT: the host's response handler, carried and not used. CHARGING: the first byte is the
    // flag, non-zero while the device charges.
    union {
        void* responseHandler = nullptr;
        uint8_t charging;
    };

    // APP_OPENED: the package that came to the front.
    std::string package;

    // Not read by the engine.
    uint8_t reserved1[104] = {};

    // APP_OPENED: non-zero when packageList is filled.
    uint8_t hasPackageList = 0;

    // Not read by the engine.
    uint8_t reserved2[7] = {};

    // APP_OPENED: the names of all installed packages.
    std::vector<std::string> packageList;

    // Not read by the engine.
    uint8_t reserved3[72] = {};
};

#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Winvalid-offsetof"
#endif
static_assert(sizeof(void*) == 8, "the event record is laid out for 64-bit processes");
static_assert(sizeof(RefBase) == 16, "virtual table pointer, count, padding");
static_assert(sizeof(std::string) == 24 && sizeof(std::vector<std::string>) == 24,
              "the layout of libc++");
static_assert(offsetof(BrainEvent, type) == 12, "binary interface");
static_assert(offsetof(BrainEvent, responseHandler) == 16, "binary interface");
static_assert(offsetof(BrainEvent, package) == 24, "binary interface");
static_assert(offsetof(BrainEvent, hasPackageList) == 152, "binary interface");
static_assert(offsetof(BrainEvent, packageList) == 160, "binary interface");
static_assert(sizeof(BrainEvent) == 256, "binary interface");
#if defined(__clang__)
#pragma clang diagnostic pop
#endif

#endif  // KSBRAIN_SHARED_LAYOUT
