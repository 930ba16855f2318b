#include "tools/trace/TraceInput.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/common/InputError.h"

namespace {

constexpr size_t BLOCK_SIZE = 64 * 1024;

[[noreturn]] void refuse(const char* what) {
    throw InputError(std::string(what) + strerror(errno));
}

void appendUtf8(std::string& to, uint32_t c) {
    const auto more = [&](int shift) { to += static_cast<char>(0x80 | (c >> shift & 0x3f)); };
    if (c < 0x80) {
        to += static_cast<char>(c);
    } else if (c < 0x800) {
        to += static_cast<char>(0xc0 | c >> 6);
        more(0);
    } else if (c < 0x10000) {
        to += static_cast<char>(0xe0 | c >> 12);
        more(6);
        more(0);
    } else {
        to += static_cast<char>(0xf0 | c >> 18);
        more(12);
        more(6);
        more(0);
    }
}

// Takes the whole characters off the front of UTF-16 text.
std::string takeUtf16(std::string& text, bool bigEndian) {
    const auto unit = [&](size_t at) {
        const auto byte = [&](size_t i) -> uint32_t {
            return static_cast<unsigned char>(text[at + i]);
        };
        return bigEndian ? byte(0) << 8 | byte(1) : byte(1) << 8 | byte(0);
    };
    std::string result;
    size_t at = 0;
    while (at + 2 <= text.size()) {
        const uint32_t first = unit(at);
        if (first < 0xd800 || first >= 0xe000) {
            appendUtf8(result, first);
            at += 2;
            continue;
        }
        if (at + 4 > text.size()) break;
        const uint32_t second = unit(at + 2);
        const bool pair = first < 0xdc00 && second >= 0xdc00 && second < 0xe000;
        appendUtf8(result, pair ? 0x10000 + ((first & 0x3ff) << 10 | (second & 0x3ff)) : 0xfffd);
        at += pair ? 4 : 2;
    }
    text.erase(0, at);
    return result;
}

}  // namespace

TraceInput::TraceInput(const std::string& path) {
    const int descriptor =
        path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) refuse("cannot be opened: ");
    mFile = gzdopen(descriptor, "rb");
    if (mFile == nullptr) {
        close(descriptor);
        throw InputError("cannot be opened: out of memory");
    }
    gzbuffer(mFile, BLOCK_SIZE);
}

TraceInput::~TraceInput() {
    gzclose(mFile);
}

std::string_view TraceInput::peek(size_t size) {
    while (mAhead.size() - mPosition < size && more()) {
    }
    return std::string_view(mAhead).substr(mPosition, size);
}

size_t TraceInput::read(char* to, size_t size) {
    if (mPosition == mAhead.size()) {
        mAhead.clear();
        mPosition = 0;
        if (!more()) return 0;
    }
    const size_t count = mAhead.copy(to, size, mPosition);
    mPosition += count;
    return count;
}

// Appends the next block to mAhead; false at the end.
bool TraceInput::more() {
    std::string block(BLOCK_SIZE, '\0');
    block.resize(unpack(block.data(), block.size()));
    if (!mBegun) {
        mBegun = true;
        mBigEndian = block.compare(0, 2, "\xFE\xFF") == 0;
        mWide = mBigEndian || block.compare(0, 2, "\xFF\xFE") == 0;
        if (mWide) block.erase(0, 2);
    }
    if (block.empty()) return false;
    if (mWide) {
        mHalf += block;
        block = takeUtf16(mHalf, mBigEndian);
    }
    mAhead += block;
    return true;
}

size_t TraceInput::unpack(char* to, size_t size) {
    errno = 0;
    const int count = gzread(mFile, to, static_cast<unsigned>(size));
    int error = Z_OK;
    const char* const reason = gzerror(mFile, &error);
    if (error == Z_ERRNO) refuse("cannot be read: ");
    // What a cut file still gives is handed out before it is refused.
    if (count > 0) return static_cast<size_t>(count);
    if (error == Z_BUF_ERROR) throw InputError("the compressed file is cut short");
    if (error != Z_OK && error != Z_STREAM_END) {
        throw InputError(std::string("cannot be unpacked: ") + reason);
    }
    return 0;
}
