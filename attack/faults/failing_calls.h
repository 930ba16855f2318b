#pragma once

#include <cerrno>

// The kinds of calls that failing_calls.cpp lets fail, each with what it says as a rule when it does.
enum CallKind {
    CALL_OPEN,
    CALL_FOPEN,
    CALL_READ,
    CALL_FREAD,
    CALL_WRITE,
    CALL_FWRITE,
    CALL_FFLUSH,
    CALL_FCLOSE,
    CALL_RENAME,
    CALL_UNLINK,
    CALL_MKDIR,
    CALL_STAT,
    CALL_FSYNC,
    CALL_CLOCK,
    CALL_EVENTFD,
    CALL_EPOLL_CREATE,
    CALL_EPOLL_CTL,
    CALL_EPOLL_WAIT,
    CALL_PTHREAD_CREATE,
    CALL_MALLOC,
    CALL_KINDS,
};

constexpr const char* CALL_NAMES[CALL_KINDS] = {
    "open",   "fopen",  "read", "fread", "write",         "fwrite",  "fflush",
    "fclose", "rename", "unlink", "mkdir", "stat",         "fsync",   "clock_gettime",
    "eventfd", "epoll_create", "epoll_ctl", "epoll_wait", "pthread_create", "malloc",
};

constexpr int USUAL_ERRNOS[CALL_KINDS] = {
    EMFILE, EMFILE, EIO,    EIO,    ENOSPC, ENOSPC, ENOSPC, ENOSPC, EIO,    ENOSPC,
    ENOSPC, EIO,    EIO,    EINVAL, EMFILE, EMFILE, ENOMEM, EINTR,  EAGAIN, ENOMEM,
};
