#pragma once

#include <string>
#include <vector>

#include "base/BrainEvent.h"

#if defined(KSBRAIN_SHARED_LAYOUT)

// The five functions of libksbrain.so. They return 0 for success and -1 for failure and never
// throw: where memory runs out they end the process with a line in the log. Any host thread may
// call them, but not the engine's own worker: not from an event's onLastRef(), for instance.

#define KSBRAIN_EXPORT __attribute__((visibility("default")))

#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#endif

extern "C" {

// Starts the engine: its worker thread "vexa-ks", the dispatcher and the preload model, which loads
// its files. Blocks for as long as that takes. `respHandler` is carried into the first event and
// not used. 0 also when it runs already; -1 when the thread could not be started (call again
// later).
KSBRAIN_EXPORT int brain_main_init(void* respHandler);

// Stops the engine: waits for the worker, for a prediction that is running and for the end of a
// training, and destroys the model. Stores nothing: what came after the last five-minute mark is
// lost from history and evaluation. Always 0.
KSBRAIN_EXPORT int brain_main_exit();

// Posts the event to the worker; its type says what happened. The engine shares the record from
// then on, the host must not change it. -1 while the engine is stopped, or for a null event.
KSBRAIN_EXPORT int brain_main_send_data(sp<BrainEvent>& event);

// Replaces the contents of `out` by the packages to preload now, best first. Runs on the caller's
// thread and waits while the worker handles an event. Leaves `out` alone before the first start and
// after a stop. Always 0.
KSBRAIN_EXPORT int brain_main_app_preload_predict(std::vector<std::string>& out);

// Not provided. Always -1.
KSBRAIN_EXPORT int brain_main_app_clean_predict();

}  // extern "C"

#if defined(__clang__)
#pragma clang diagnostic pop
#endif

#endif  // KSBRAIN_SHARED_LAYOUT
