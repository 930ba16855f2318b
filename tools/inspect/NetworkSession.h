#pragma once

#include <array>
#include <vector>

#include "zml/Learner.h"
#include "zml/ZmlSession.h"

// The stored network of the engine's data directory, opened for questions. The engine's own session
// must not be open meanwhile.
class NetworkSession {
  public:
    // Throws std::runtime_error when there is no network to load.
    NetworkSession();
    ~NetworkSession();

    // The score of each id after these two.
    zml::Scores ask(int older, int newer);

    // The ids with a score above 0, best first, equals by id.
    static std::vector<int> ranking(const zml::Scores& scores);

  private:
    NetworkSession(const NetworkSession&) = delete;
    NetworkSession& operator=(const NetworkSession&) = delete;

    ZmlSession* const mSession;
};
