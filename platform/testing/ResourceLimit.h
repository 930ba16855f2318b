#pragma once

#include <signal.h>
#include <sys/resource.h>

// Lowers a limit of the process, so that calls fail that would go beyond it: RLIMIT_FSIZE for the
// size of files, RLIMIT_NOFILE for the number of open ones.
class ResourceLimit {
  public:
    ResourceLimit(int resource, rlim_t limit) : mResource(resource) {
        getrlimit(mResource, &mOld);
        const rlimit tight{limit, mOld.rlim_max};
        setrlimit(mResource, &tight);
    }
    ~ResourceLimit() {
        setrlimit(mResource, &mOld);
        signal(SIGXFSZ, mOldHandler);
    }

  private:
    ResourceLimit(const ResourceLimit&) = delete;
    ResourceLimit& operator=(const ResourceLimit&) = delete;

    const int mResource;
    rlimit mOld{};
    void (*const mOldHandler)(int) = signal(SIGXFSZ, SIG_IGN);
};
