#include "tools/trace/TraceInput.h"

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

constexpr size_t BLOCK_SIZE = 64 * 1024;
constexpr size_t MAX_SIZE = 1024 * 1024 * 1024;

using InputFile = std::unique_ptr<gzFile_s, decltype(&gzclose)>;

InputFile openFile(const std::string& path) {
    const int descriptor =
        path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) throw InputError(std::string("cannot be opened: ") + strerror(errno));
    InputFile file(gzdopen(descriptor, "rb"), gzclose);
    if (file == nullptr) {
        close(descriptor);
        throw InputError("cannot be opened: out of memory");
    }
    gzbuffer(file.get(), BLOCK_SIZE);
    return file;
}

// Puts up to so many bytes there and returns how many, 0 at the end.
size_t readBlock(const InputFile& file, char* to, size_t size) {
    errno = 0;
    const int count = gzread(file.get(), to, static_cast<unsigned>(size));
    int error = Z_OK;
    const char* const reason = gzerror(file.get(), &error);
    if (error == Z_ERRNO) throw InputError(std::string("cannot be read: ") + strerror(errno));
    if (error == Z_BUF_ERROR) throw InputError("the compressed file is cut short");
    if (error != Z_OK && error != Z_STREAM_END) {
        throw InputError(std::string("cannot be unpacked: ") + reason);
    }
    return static_cast<size_t>(count);
}

// False at the end.
bool appendBlock(const InputFile& file, std::string& bytes) {
    const size_t size = bytes.size();
    bytes.resize(size + BLOCK_SIZE);
    const size_t count = readBlock(file, &bytes[size], BLOCK_SIZE);
    bytes.resize(size + count);
    return count > 0;
}

std::string readBytes(const std::string& path) {
    const InputFile file = openFile(path);
    std::string bytes;
    while (appendBlock(file, bytes)) {
        if (bytes.size() > MAX_SIZE) throw InputError("the file is larger than 1 GiB");
    }
    return bytes;
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

// Half of a pair that stands alone becomes U+FFFD.
std::string fromUtf16(std::string_view text, bool bigEndian) {
    const auto unit = [&](size_t at) -> uint32_t {
        if (at + 1 >= text.size()) return 0;
        const uint32_t first = static_cast<unsigned char>(text[at]);
        const uint32_t second = static_cast<unsigned char>(text[at + 1]);
        return bigEndian ? first << 8 | second : second << 8 | first;
    };
    std::string result;
    for (size_t at = 0; at + 1 < text.size(); at += 2) {
        uint32_t c = unit(at);
        if (c >= 0xd800 && c < 0xe000) {
            const uint32_t low = unit(at + 2);
            const bool pair = c < 0xdc00 && low >= 0xdc00 && low < 0xe000;
            c = pair ? 0x10000 + ((c & 0x3ff) << 10 | (low & 0x3ff)) : 0xfffd;
            if (pair) at += 2;
        }
        appendUtf8(result, c);
    }
    return result;
}

}  // namespace

std::string readTraceText(const std::string& path) {
    std::string bytes = readBytes(path);
    const bool bigEndian = startsWith(bytes, "\xFE\xFF");
    if (bigEndian || startsWith(bytes, "\xFF\xFE")) {
        return fromUtf16(std::string_view(bytes).substr(2), bigEndian);
    }
    if (startsWith(bytes, "\xEF\xBB\xBF")) bytes.erase(0, 3);
    return bytes;
}

void readTextLines(const std::string& path, const std::function<void(const std::string&)>& take) {
    const InputFile file = openFile(path);
    std::string rest;  // of a line whose end is yet to come
    size_t known = 0;  // so much of it holds no newline
    while (appendBlock(file, rest)) {
        size_t begin = 0;
        for (size_t end; (end = rest.find('\n', known)) != std::string::npos; known = begin) {
            take(rest.substr(begin, end - begin));
            begin = end + 1;
        }
        rest.erase(0, begin);
        known = rest.size();
    }
    if (!rest.empty()) take(rest);
}
