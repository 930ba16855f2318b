#pragma once

#include <cstddef>
#include <string>

#include "tools/common/JsonLine.h"
#include "tools/serve/EngineLibrary.h"

class HostEvent;

// The conversation of `ksbrain serve`: a JSON object a line comes in, an answer a line goes out.
//
//     {"open":"com.a","packages":["com.a","com.b"]}   {"ok":true}   packages may be left out
//     {"charging":true}                               {"ok":true}
//     {"event":12}                                    {"ok":true}
//     {"predict":true}                                {"predict":["com.b","com.a"]}
//     {"exit":true}                                   {"ok":true}
//
// Events are answered when the engine has handled them. A line that cannot be used is answered with
// {"error":"line 4: what is wrong"} and changes nothing.
class ServeConversation {
  public:
    // The engine is running.
    explicit ServeConversation(const EngineLibrary& engine) : mEngine(engine) {}

    // The answer to the next line, with its newline.
    std::string answer(const std::string& line);

    // The same for a line that was too long to be read.
    std::string refuseTooLong(size_t maxLength);

    // Whether the host has asked to end.
    bool ended() const { return mEnded; }

  private:
    Json act(const std::string& line);
    Json open(const Json& request);
    Json predict();
    Json send(sp<HostEvent>& event);

    const EngineLibrary mEngine;
    size_t mLine = 0;
    bool mEnded = false;
};
