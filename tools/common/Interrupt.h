#pragma once

// Lets SIGINT, SIGTERM and SIGHUP end the program in good order instead of at once: the work looks
// here and stops. A second signal of the kind ends it at once after all.

// From here on the signals are noted, but for a SIGHUP that is ignored already. Called once in a
// process, from the main thread.
void catchInterrupts();

// The signal that came, or 0. Any thread may call.
int interruptSignal();

// A descriptor that is readable from the first signal on, for poll().
int interruptDescriptor();
