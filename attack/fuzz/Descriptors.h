#pragma once

#include <list>

#include "attack/fuzz/Input.h"
#include "looper/Looper.h"

// Pipes whose ends one looper watches, each either closed by its close action or, once its peer has
// hung up, by the looper. All calls come on the looper's thread.
class Descriptors {
  public:
    // `onReadable` runs whenever one of them is readable.
    Descriptors(Input& input, void (*onReadable)(void*), void* user)
        : mInput(input), mOnReadable(onReadable), mUser(user) {}
    ~Descriptors();

    void add(Looper& looper);

    // Writes to one of them, hangs it up, or has the looper forget it. `inTurn`: between the
    // looper's events, of which those of a forgotten descriptor would be taken for its number's
    // next owner.
    void disturb(Looper& looper, bool inTurn);

    // To be called round each turn of the looper.
    void setTurning(bool turning) { mTurning = turning; }

  private:
    struct Pipe {
        Descriptors* owner;
        int watched;
        int peer;
        bool closesItself;
        bool watching = true;
        bool hungUp = false;
        bool closed = false;
    };

    static void readable(int fd, void* pipe);
    static void removed(int fd, void* pipe);

    Input& mInput;
    void (*const mOnReadable)(void*);
    void* const mUser;
    bool mTurning = false;
    std::list<Pipe> mPipes;
};
