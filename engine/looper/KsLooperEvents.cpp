#include <sys/epoll.h>

#include "looper/KsLooper.h"

#ifndef EPOLLWAKEUP  // as in the C library against which the platform builds for workstations
#define EPOLLWAKEUP (1U << 29)
#endif

namespace {

struct EventName {
    unsigned int flag;
    const char* name;
};

constexpr EventName EVENT_NAMES[] = {
    {EPOLLIN, "EPOLLIN "},           {EPOLLPRI, "EPOLLPRI "},       {EPOLLOUT, "EPOLLOUT "},
    {EPOLLERR, "EPOLLERR "},         {EPOLLHUP, "EPOLLHUP "},       {EPOLLRDNORM, "EPOLLRDNORM "},
    {EPOLLRDBAND, "EPOLLRDBAND "},   {EPOLLWRNORM, "EPOLLWRNORM "}, {EPOLLWRBAND, "EPOLLWRBAND "},
    {EPOLLMSG, "EPOLLMSG "},         {EPOLLRDHUP, "EPOLLRDHUP "},   {EPOLLWAKEUP, "EPOLLWAKEUP "},
    {EPOLLONESHOT, "EPOLLONESHOT "}, {EPOLLET, "EPOLLET "},
};

}  // namespace

std::string KsLooper::checkUnHandledEvents(unsigned int events) {
    std::string names;
    for (const EventName& event : EVENT_NAMES) {
        if ((events & event.flag) != 0) names += event.name;
    }
    return names;
}
