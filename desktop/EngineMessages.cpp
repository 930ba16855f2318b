// The platform's log as far as the engine calls it, in place of the system's library, whose own
// libraries would be a fifth of what the daemon has in memory. What ends the process goes to
// standard error, where the system's journal gets it; the rest is for a phone's log. That storage
// fails, the predictor says itself.

#include <android/log.h>

#include <cstdarg>
#include <cstdio>

extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...) {
    if (priority < ANDROID_LOG_FATAL) return 0;
    char text[1024];
    va_list values;
    va_start(values, format);
    vsnprintf(text, sizeof(text), format, values);
    va_end(values);
    return fprintf(stderr, "%s: %s\n", tag, text);
}
