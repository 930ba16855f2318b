#pragma once

// Clang's thread-safety annotations. A field that a lock guards says so with GUARDED_BY, a function
// that expects the lock to be held says so with REQUIRES, and the compiler checks both.

#if defined(__clang__)
#define KS_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define KS_THREAD_ANNOTATION(x)
#endif

#define CAPABILITY(x) KS_THREAD_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY KS_THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(x) KS_THREAD_ANNOTATION(guarded_by(x))
#define REQUIRES(...) KS_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) KS_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) KS_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) KS_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define EXCLUDES(...) KS_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS KS_THREAD_ANNOTATION(no_thread_safety_analysis)
