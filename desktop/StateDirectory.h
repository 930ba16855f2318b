#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tools/common/DataDirectory.h"

// Where the daemon keeps what it has learned:
//     engine/       the engine's files
//     needs.sqlite  what each application needs, and what has been counted
// A directory that cannot be written does not stop the daemon: it says so, goes on with a copy in
// memory, and loses what it learns from then on at its end.
class StateDirectory {
  public:
    // Makes the directory, for its owner only, with those above it. Throws InputError when another
    // daemon uses it.
    explicit StateDirectory(const std::string& path);

    const std::string& engine() const { return mEngine; }
    const std::string& needs() const { return mNeeds; }

    // $XDG_STATE_HOME/ksbrain, or ~/.local/state/ksbrain. Throws InputError without a home.
    static std::string usual();

    static std::string needsIn(const std::string& path) { return path + "/needs.sqlite"; }

  private:
    StateDirectory(const StateDirectory&) = delete;
    StateDirectory& operator=(const StateDirectory&) = delete;

    std::unique_ptr<DirectoryLock> mLock;
    std::optional<TemporaryDirectory> mCopy;
    std::string mEngine;
    std::string mNeeds;
};
