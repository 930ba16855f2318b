#pragma once

#include <functional>
#include <string>
#include <vector>

#include "zml/ZmlSession.h"

// What the scripted library answers.
struct ZmlScript {
    bool startSucceeds = true;    // startSessionLocked gives a session, not null
    bool networkTrained = false;  // isNetworkTrained; a training that ended in success sets it
    bool loadSucceeds = true;     // createSequenceNetwork, mode 0
    bool createSucceeds = true;   // createSequenceNetwork, mode 1
    int asyncTrainResult = 0;
    bool predictSucceeds = true;
    std::vector<float> scores;               // of predictSequence by id, 0 for missing ones
    std::function<void()> onReleaseSession;  // run inside releaseSessionLocked
};

// A sequence-network library that does what a test tells it, linked in place of the real one
// (target scripted_zml instead of zml_objects). It records every call and keeps the training
// callback until the test lets it come. One at a time, and it outlives every session. Any thread
// may call.
//
//     ScriptedZml zml;
//     ZmlAdapter adapter;                              // state 2: no network is stored
//     adapter.update(1, packages);
//     zml.finishTraining(TRAINING_SUCCESS);            // the callback, on another thread
//     EXPECT_EQ(zml.calls().back(), "createSequenceNetwork 0");
class ScriptedZml {
  public:
    ScriptedZml();

    // Changes what the library does from now on.
    void setScript(const ZmlScript& script);

    // All calls so far, in order: "startSessionLocked aiPreloadApp", "isNetworkTrained",
    // "createSequenceNetwork 1", "asyncTrain", "predictSequence 4 29", "releaseNetwork",
    // "releaseSessionLocked aiPreloadApp".
    std::vector<std::string> calls() const;

    // The ids that the last createSequenceNetwork in mode 1 was given.
    std::vector<int> sequence() const;

    // Ends the training that waits: runs its callback on a thread of its own and returns when the
    // callback has returned. False when none waits.
    bool finishTraining(TrainingResult result);

    // Takes the training that waits, to be ended by a call of what is returned: whenever, and on
    // whatever thread. Empty when none waits.
    std::function<void(TrainingResult)> takeTraining();

  private:
    ScriptedZml(const ScriptedZml&) = delete;
    ScriptedZml& operator=(const ScriptedZml&) = delete;
};
