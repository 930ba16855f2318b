#pragma once

// Lets every epoll_ctl() of the test program fail, with ENOSPC, for as long as it lives.
class FailingEpoll {
  public:
    FailingEpoll();
    ~FailingEpoll();
};
