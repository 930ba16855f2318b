#pragma once

#include <cerrno>

// The kinds of calls that failing_calls.cpp lets fail: first those that files need.
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
    FILE_CALL_KINDS,
    CALL_WAKE = FILE_CALL_KINDS,  // write() to an eventfd
    CALL_CLOCK,
    CALL_EVENTFD,
    CALL_EPOLL_CREATE,
    CALL_EPOLL_CTL,
    CALL_EPOLL_WAIT,
    CALL_PTHREAD_CREATE,
    CALL_MALLOC,
    CALL_KINDS,
};

// Each with what it fails with as a rule.
struct FailingCall {
    const char* name;
    int error;
};
constexpr FailingCall CALLS[CALL_KINDS] = {
    {"open", EMFILE},      {"fopen", EMFILE},          {"read", EIO},
    {"fread", EIO},        {"write", ENOSPC},          {"fwrite", ENOSPC},
    {"fflush", ENOSPC},    {"fclose", ENOSPC},         {"rename", EIO},
    {"unlink", EIO},       {"mkdir", ENOSPC},          {"stat", EIO},
    {"fsync", EIO},        {"wake", EAGAIN},           {"clock_gettime", EINVAL},
    {"eventfd", EMFILE},   {"epoll_create", EMFILE},   {"epoll_ctl", ENOMEM},
    {"epoll_wait", EINTR}, {"pthread_create", EAGAIN}, {"malloc", ENOMEM},
};
