#pragma once

#include <memory>

// How a training ended; every value but success is a failure.
enum TrainingResult {
    TRAINING_SUCCESS = 0,
    TRAINING_FAILED = 1,
};

namespace zml {
class SessionState;
}

// One named session with its sequence network over the ids 0..VOCABULARY - 1, which has at most one
// network in hand: a fresh one or a loaded one. Sessions are made by ZmlSessionManager and live
// until they are released there. Any thread may call.
class __attribute__((visibility("default"))) ZmlSession {
  public:
    static constexpr int VOCABULARY = 30;

    // A prediction follows from so many ids.
    static constexpr int CONTEXT = 2;

    // createSequenceNetwork()'s modes.
    static constexpr int MODE_LOAD = 0;
    static constexpr int MODE_CREATE = 1;

    // Whether a whole trained network is stored for this session.
    bool isNetworkTrained();

    // Replaces the network in hand. MODE_LOAD (data null, length 0): loads the stored network for
    // prediction, and forgets what the session was asked. MODE_CREATE: makes a fresh network to be
    // trained on `data`, `length` ids, oldest first, at least three, which are copied. False on
    // failure, which leaves no network.
    bool createSequenceNetwork(int mode, int* data, int length);

    // Hands the fresh network over to be trained on a thread of the library's own. Returns 0 when
    // that was started; `callback(result, user)` then comes from that thread, with no lock of the
    // library held, unless the training is cancelled before. A network that is reported trained has
    // been stored, and is there to be loaded. `job` receives a number that names the training. Any
    // other value is a refusal: a training runs already, or there is no fresh network.
    //
    // The callback may call everything here and in ZmlSessionManager; callbacks of a session come
    // one after the other.
    int asyncTrain(void (*callback)(TrainingResult, void*), long& job, void* user);

    // Scores each id as the next after `input`, the last two ids, older first, with the loaded
    // network and what the session was asked since it was loaded: a question tells what was opened
    // after the one before, and the session learns from it, in memory alone. The same input twice
    // in a row is one question. `outputLength` holds the room in `output` (at least VOCABULARY) and
    // receives VOCABULARY. Higher is more likely; all scores are above 0 and 1 in sum. False on
    // failure.
    bool predictSequence(int* input, int inputLength, float* output, int& outputLength);

    // Frees the network and cancels a running training, whose callback then does not come; a
    // callback that has begun is not waited for. The stored network stays.
    void releaseNetwork();

  private:
    friend class ZmlSessionManager;

    explicit ZmlSession(std::shared_ptr<zml::SessionState> state);
    ~ZmlSession();
    ZmlSession(const ZmlSession&) = delete;
    ZmlSession& operator=(const ZmlSession&) = delete;

    const std::shared_ptr<zml::SessionState> mState;
};
