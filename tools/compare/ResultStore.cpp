#include "tools/compare/ResultStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

constexpr char FORMAT_KEY[] = "ksbrain_results";
constexpr int FORMAT = 1;
constexpr char BEFORE_RESULT[] = ",\"result\":";  // within a string its quotes would be escaped

FILE* namelessFile() {
    FILE* const file = tmpfile();
    if (file != nullptr) return file;
    throw std::runtime_error(std::string("no temporary file: ") + strerror(errno));
}

FILE* openFile(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor >= 0) return fdopen(descriptor, "r+");
    throw InputError(printable(path) + ": cannot be opened: " + strerror(errno));
}

// False at the end; a last line without newline is left in `line`.
bool readLine(FILE* file, std::string& line) {
    char* text = nullptr;
    size_t capacity = 0;
    const ssize_t length = getline(&text, &capacity, file);
    line.assign(text, length > 0 ? static_cast<size_t>(length) : 0);
    free(text);
    if (line.empty() || line.back() != '\n') return false;
    line.pop_back();
    return true;
}

bool isPlain(FILE* file) {
    struct stat status {};
    return fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode);
}

// The settings that differ: charging is "never" there and "always" here.
std::string differences(const Json& there, const Json& here) {
    std::string text;
    for (const auto& [key, value] : here.items()) {
        const Json other = there.value(key, Json());
        if (other == value) continue;
        if (!text.empty()) text += ", ";
        text += key + " is " + other.dump() + " there and " + value.dump() + " here";
    }
    return text;
}

}  // namespace

FileStamp FileStamp::of(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return {};
    return {status.st_size, status.st_mtim.tv_sec * 1'000'000'000 + status.st_mtim.tv_nsec};
}

ResultStore::ResultStore() : mFile(namelessFile()) {}

ResultStore::ResultStore(const std::string& path, const Json& settings)
    : mPath(path), mFile(openFile(path)) {
    try {
        if (!isPlain(mFile)) throw InputError(printable(path) + ": is no plain file");
        lock();
        load(settings);
    } catch (...) {
        fclose(mFile);
        throw;
    }
}

ResultStore::~ResultStore() {
    fclose(mFile);
}

// Worker processes do not inherit a lock of this kind, and so do not keep it when this one dies.
void ResultStore::lock() {
    struct flock whole {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    if (fcntl(fileno(mFile), F_SETLK, &whole) == 0) return;
    if (errno != EACCES && errno != EAGAIN) return;  // a file system without locks
    throw InputError(printable(mPath) + ": is in use by another run");
}

void ResultStore::load(const Json& settings) {
    const std::string header = jsonLine({{FORMAT_KEY, FORMAT}, {"settings", settings}});
    std::string line;
    size_t number = 0;
    while (readLine(mFile, line)) {
        ++number;
        if (number == 1) {
            const Json first = Json::parse(line, nullptr, false);
            if (!first.is_object() || first.value(FORMAT_KEY, Json()) != FORMAT) {
                throw InputError(printable(mPath) +
                                 ":1: is no file of saved results; it is left as it was");
            }
            const std::string other =
                differences(first.value("settings", Json::object()), settings);
            if (!other.empty()) {
                throw InputError(printable(mPath) + ":1: holds results of other settings (" +
                                 other + "): use the same, or save to another file");
            }
        } else {
            learn(line, mEnd, number);
        }
        mEnd += static_cast<off_t>(line.size()) + 1;
    }
    if (mEnd == 0 && header.compare(0, line.size(), line) != 0) {
        throw InputError(printable(mPath) +
                         ":1: is no file of saved results; it is left as it was");
    }
    if (ftruncate(fileno(mFile), mEnd) != 0) {
        throw InputError(printable(mPath) + ": cannot be written: " + strerror(errno));
    }
    if (mEnd == 0) append(header);
}

void ResultStore::learn(const std::string& line, off_t start, size_t number) {
    const size_t result = line.find(BEFORE_RESULT);
    const Json object = Json::parse(line, nullptr, false);
    try {
        if (result == std::string::npos || !object.at("result").is_object()) {
            throw InputError("no result");
        }
        const Json& input = object.at("input");
        Known& known = mKnown[input.at("file")];
        const FileStamp stamp{input.at("size"), input.at("changed")};
        if (!(known.stamp == stamp)) known = {stamp, input.at("traces"), {}};
        const size_t offset = result + strlen(BEFORE_RESULT);
        known.results[input.at("trace")] = {start + static_cast<off_t>(offset),
                                            line.size() - offset - 1};
    } catch (const std::exception&) {
        throw InputError(printable(mPath) + ":" + std::to_string(number) +
                         ": is no saved result: delete the line, and its trace is done again");
    }
}

const ResultStore::Known* ResultStore::find(const std::string& file, const FileStamp& stamp) const {
    const auto found = mKnown.find(file);
    if (found == mKnown.end() || stamp.size < 0 || !(found->second.stamp == stamp)) return nullptr;
    return &found->second;
}

ResultStore::Place ResultStore::add(const std::string& file, const FileStamp& stamp, size_t traces,
                                    const std::string& trace, const Json& result) {
    std::string line = jsonLine({{"input",
                                  {{"file", file},
                                   {"size", stamp.size},
                                   {"changed", stamp.changed},
                                   {"traces", traces},
                                   {"trace", trace}}},
                                 {"result", result}});
    const size_t offset = line.find(BEFORE_RESULT) + strlen(BEFORE_RESULT);
    const Place place{mEnd + static_cast<off_t>(offset), line.size() - offset - 2};
    append(line);
    return place;
}

void ResultStore::append(const std::string& line) {
    size_t done = 0;
    while (done < line.size()) {
        const ssize_t count = pwrite(fileno(mFile), line.data() + done, line.size() - done,
                                     mEnd + static_cast<off_t>(done));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            const std::string reason = strerror(errno);
            if (ftruncate(fileno(mFile), mEnd) != 0) {
                // The next run drops the cut line.
            }
            throw std::runtime_error((mPath.empty() ? "a temporary file" : printable(mPath)) +
                                     ": cannot be written: " + reason);
        }
        done += static_cast<size_t>(count);
    }
    mEnd += static_cast<off_t>(line.size());
}

std::string ResultStore::read(const Place& place) const {
    std::string text(place.length, '\0');
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = pread(fileno(mFile), text.data() + done, text.size() - done,
                                    place.offset + static_cast<off_t>(done));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) throw std::runtime_error("a result cannot be read back");
        done += static_cast<size_t>(count);
    }
    return text;
}

Json resultOfLine(const Json& line) {
    if (!line.is_object()) return line;
    if (line.contains(FORMAT_KEY)) return nullptr;
    return line.contains("input") && line.contains("result") ? line["result"] : line;
}
