#pragma once

#include <string>

#include "zml/ZmlSession.h"

// The process-wide register of sessions. Any thread may call; it does its own locking, whatever the
// operations' names suggest.
class __attribute__((visibility("default"))) ZmlSessionManager {
  public:
    static ZmlSessionManager* getInstance();

    // Opens the session of that name; its trained network outlives the process. Only reads. The
    // session stays the manager's. Null when the name is open already, or cannot be part of a file
    // name: it is empty, begins with a dot or contains a slash.
    ZmlSession* startSessionLocked(std::string name);

    // Ends a session and waits: once this has returned no callback of it runs or will run. A
    // callback that releases its own session does not wait for itself. An unknown name is ignored.
    void releaseSessionLocked(std::string name);

  private:
    ZmlSessionManager() = default;
    ZmlSessionManager(const ZmlSessionManager&) = delete;
    ZmlSessionManager& operator=(const ZmlSessionManager&) = delete;
};
