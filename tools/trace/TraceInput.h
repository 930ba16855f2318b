#pragma once

#include <zlib.h>

#include <string>
#include <string_view>

// The bytes of a trace file, unpacked when they are compressed. UTF-16 with a byte order mark, as
// a shell on Windows redirects text, becomes UTF-8.
class TraceInput {
  public:
    // "-" is standard input. Throws InputError when it cannot be opened.
    explicit TraceInput(const std::string& path);
    ~TraceInput();

    // What the input begins with: so many bytes, or all of it when there are fewer. They are still
    // read afterwards. Throws InputError.
    std::string_view peek(size_t size);

    // Puts up to so many bytes there and returns how many, 0 at the end. Throws InputError when the
    // input cannot be read or unpacked.
    size_t read(char* to, size_t size);

  private:
    TraceInput(const TraceInput&) = delete;
    TraceInput& operator=(const TraceInput&) = delete;

    bool more();
    size_t unpack(char* to, size_t size);

    gzFile mFile;
    std::string mAhead;  // unpacked and not read yet, from mPosition on
    size_t mPosition = 0;
    bool mBegun = false;
    bool mWide = false;       // the bytes are UTF-16
    bool mBigEndian = false;  // of UTF-16
    std::string mHalf;        // the beginning of a character of UTF-16
};
