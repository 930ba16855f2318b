// Preloaded, this lets calls of the C library fail that a program makes: FAULT=open:3:24 fails the
// third call of open() and its like with errno 24, FAULT=write:2:28:0 the second write() and all
// after it (0 may be any number of failures). Only calls between fault_begin() and fault_end()
// count, and not those of the thread that called fault_begin(), unless it says otherwise with
// fault_here().
//
// Nothing of a C++ library is used, since the failures must not meet this one.

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

#include "attack/faults/failing_calls.h"

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
}

namespace {

int gCounts[CALL_KINDS];
bool gCounting;
__thread bool gExempt __attribute__((tls_model("initial-exec")));

int gKind = -1;  // which calls fail
int gFirst;      // from which on, counted from 1
int gTimes;      // how many; 0 for all
int gErrno;

int gClockAhead;  // seconds

__attribute__((constructor)) void readFault() {
    const char* const fault = getenv("FAULT");
    if (fault == nullptr) return;
    char name[32] = {};
    gTimes = 1;
    if (sscanf(fault, "%31[^:]:%d:%d:%d", name, &gFirst, &gErrno, &gTimes) < 3) abort();
    for (int kind = 0; kind < CALL_KINDS; ++kind) {
        if (strcmp(name, CALLS[kind].name) == 0) gKind = kind;
    }
    if (gKind < 0) abort();
}

// Whether this call is to fail; says so on standard error, with what it was about.
bool fails(CallKind kind, const char* path, int fd = -1) {
    if (!__atomic_load_n(&gCounting, __ATOMIC_SEQ_CST) || gExempt) return false;
    const int number = __atomic_add_fetch(&gCounts[kind], 1, __ATOMIC_SEQ_CST);
    if (kind != gKind || number < gFirst || (gTimes > 0 && number >= gFirst + gTimes)) return false;
    char line[256];
    char link[64];
    char target[160] = "";
    if (fd >= 0) {
        snprintf(link, sizeof(link), "/proc/self/fd/%d", fd);
        const ssize_t length = readlink(link, target, sizeof(target) - 1);
        target[length < 0 ? 0 : length] = '\0';
        path = target;
    }
    const int length =
        snprintf(line, sizeof(line), "FAULT %s %d %s\n", CALLS[kind].name, number, path);
    gExempt = true;  // this line goes out
    if (write(STDERR_FILENO, line, static_cast<size_t>(length)) < 0) abort();
    gExempt = false;
    errno = gErrno;
    return true;
}

bool streamFails(CallKind kind, FILE* stream) {
    if (!fails(kind, "", fileno(stream))) return false;
    stream->_flags |= _IO_ERR_SEEN;
    return true;
}

// The function of that name behind this library.
template <typename Function>
Function* behind(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#define BEHIND(function) static auto* const next = behind<decltype(function)>(#function)

extern "C" {

__attribute__((visibility("default"))) void fault_begin() {
    gExempt = true;
    __atomic_store_n(&gCounting, true, __ATOMIC_SEQ_CST);
}
__attribute__((visibility("default"))) void fault_end() {
    __atomic_store_n(&gCounting, false, __ATOMIC_SEQ_CST);
}
__attribute__((visibility("default"))) void fault_here(int counting) {
    gExempt = counting == 0;
}
__attribute__((visibility("default"))) int fault_count(int kind) {
    return gCounts[kind];
}
__attribute__((visibility("default"))) void fault_advance(int seconds) {
    __atomic_add_fetch(&gClockAhead, seconds, __ATOMIC_SEQ_CST);
}

#define SHIM __attribute__((visibility("default")))

SHIM int open(const char* path, int flags, ...) {
    BEHIND(open);
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return fails(CALL_OPEN, path) ? -1 : next(path, flags, mode);
}
SHIM int openat(int at, const char* path, int flags, ...) {
    BEHIND(openat);
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return fails(CALL_OPEN, path) ? -1 : next(at, path, flags, mode);
}
SHIM FILE* fopen(const char* path, const char* mode) {
    BEHIND(fopen);
    return fails(CALL_FOPEN, path) ? nullptr : next(path, mode);
}
SHIM FILE* fdopen(int fd, const char* mode) {
    BEHIND(fdopen);
    return fails(CALL_FOPEN, "", fd) ? nullptr : next(fd, mode);
}
SHIM ssize_t read(int fd, void* to, size_t size) {
    BEHIND(read);
    return fails(CALL_READ, "", fd) ? -1 : next(fd, to, size);
}
SHIM size_t fread(void* to, size_t size, size_t count, FILE* stream) {
    BEHIND(fread);
    return streamFails(CALL_FREAD, stream) ? 0 : next(to, size, count, stream);
}
SHIM int __isoc99_vfscanf(FILE* stream, const char* format, va_list arguments) {
    static auto* const next = behind<decltype(vfscanf)>("__isoc99_vfscanf");
    return streamFails(CALL_FREAD, stream) ? EOF : next(stream, format, arguments);
}
SHIM ssize_t write(int fd, const void* from, size_t size) {
    BEHIND(write);
    struct stat status;
    const bool isFile = syscall(SYS_fstat, fd, &status) == 0 && S_ISREG(status.st_mode);
    return fails(isFile ? CALL_WRITE : CALL_WAKE, "", fd) ? -1 : next(fd, from, size);
}
SHIM size_t fwrite(const void* from, size_t size, size_t count, FILE* stream) {
    BEHIND(fwrite);
    return streamFails(CALL_FWRITE, stream) ? 0 : next(from, size, count, stream);
}
SHIM int fputs(const char* text, FILE* stream) {
    BEHIND(fputs);
    return streamFails(CALL_FWRITE, stream) ? EOF : next(text, stream);
}
SHIM int fflush(FILE* stream) {
    BEHIND(fflush);
    return stream != nullptr && streamFails(CALL_FFLUSH, stream) ? EOF : next(stream);
}
SHIM int fclose(FILE* stream) {
    BEHIND(fclose);
    const bool failing = fails(CALL_FCLOSE, "", fileno(stream));
    const int result = next(stream);  // it is closed whatever comes of it
    if (!failing) return result;
    errno = gErrno;
    return EOF;
}
SHIM int rename(const char* from, const char* to) {
    BEHIND(rename);
    return fails(CALL_RENAME, from) ? -1 : next(from, to);
}
SHIM int unlink(const char* path) {
    BEHIND(unlink);
    return fails(CALL_UNLINK, path) ? -1 : next(path);
}
SHIM int remove(const char* path) {
    BEHIND(remove);
    return fails(CALL_UNLINK, path) ? -1 : next(path);
}
SHIM int mkdir(const char* path, mode_t mode) {
    BEHIND(mkdir);
    return fails(CALL_MKDIR, path) ? -1 : next(path, mode);
}
SHIM int stat(const char* path, struct stat* status) {
    static auto* const next = behind<int(const char*, struct stat*)>("stat");
    return fails(CALL_STAT, path) ? -1 : next(path, status);
}
SHIM int fstat(int fd, struct stat* status) {
    BEHIND(fstat);
    return fails(CALL_STAT, "", fd) ? -1 : next(fd, status);
}
SHIM int access(const char* path, int mode) {
    BEHIND(access);
    return fails(CALL_STAT, path) ? -1 : next(path, mode);
}
SHIM int fsync(int fd) {
    BEHIND(fsync);
    return fails(CALL_FSYNC, "", fd) ? -1 : next(fd);
}
SHIM int fdatasync(int fd) {
    BEHIND(fdatasync);
    return fails(CALL_FSYNC, "", fd) ? -1 : next(fd);
}
SHIM int clock_gettime(clockid_t clock, timespec* time) {
    BEHIND(clock_gettime);
    if (clock != CLOCK_BOOTTIME) return next(clock, time);
    if (fails(CALL_CLOCK, "")) return -1;
    const int result = next(clock, time);
    time->tv_sec += __atomic_load_n(&gClockAhead, __ATOMIC_SEQ_CST);
    return result;
}
// Always a Monday morning: a model that has only seen week-ends is refused.
SHIM time_t time(time_t* /*result*/) {
    return 1709542800 + __atomic_load_n(&gClockAhead, __ATOMIC_SEQ_CST);
}
SHIM int eventfd(unsigned int value, int flags) {
    BEHIND(eventfd);
    return fails(CALL_EVENTFD, "") ? -1 : next(value, flags);
}
SHIM int epoll_create(int size) {
    BEHIND(epoll_create);
    return fails(CALL_EPOLL_CREATE, "") ? -1 : next(size);
}
SHIM int epoll_create1(int flags) {
    BEHIND(epoll_create1);
    return fails(CALL_EPOLL_CREATE, "") ? -1 : next(flags);
}
SHIM int epoll_ctl(int epoll, int operation, int fd, epoll_event* event) {
    BEHIND(epoll_ctl);
    return fails(CALL_EPOLL_CTL, "") ? -1 : next(epoll, operation, fd, event);
}
SHIM int epoll_wait(int epoll, epoll_event* events, int size, int timeoutMs) {
    BEHIND(epoll_wait);
    return fails(CALL_EPOLL_WAIT, "") ? -1 : next(epoll, events, size, timeoutMs);
}
SHIM int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                        void* (*function)(void*), void* argument) {
    BEHIND(pthread_create);
    return fails(CALL_PTHREAD_CREATE, "") ? gErrno : next(thread, attributes, function, argument);
}

// These come before everything else, dlsym() included.
SHIM void* malloc(size_t size) {
    return fails(CALL_MALLOC, "") ? nullptr : __libc_malloc(size);
}
SHIM void* calloc(size_t count, size_t size) {
    return fails(CALL_MALLOC, "") ? nullptr : __libc_calloc(count, size);
}
SHIM void* realloc(void* block, size_t size) {
    return fails(CALL_MALLOC, "") ? nullptr : __libc_realloc(block, size);
}
SHIM void* aligned_alloc(size_t alignment, size_t size) {
    return fails(CALL_MALLOC, "") ? nullptr : __libc_memalign(alignment, size);
}
SHIM int posix_memalign(void** block, size_t alignment, size_t size) {
    if (fails(CALL_MALLOC, "")) return gErrno;
    *block = __libc_memalign(alignment, size);
    return *block == nullptr ? ENOMEM : 0;
}

}  // extern "C"
