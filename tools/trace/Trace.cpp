#include "tools/trace/Trace.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unordered_map>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"
#include "tools/trace/CsvField.h"
#include "tools/trace/LineReader.h"

namespace {

constexpr size_t MAX_LINE = 64 * 1024;
constexpr TraceTime FIRST_UNTIMED = std::chrono::seconds(1704067200);  // 2024-01-01T00:00:00Z
constexpr TraceTime UNTIMED_STEP = std::chrono::minutes(1);

bool isBlank(const std::string& line) {
    return line.find_first_not_of(" \t") == std::string::npos;
}

bool endsWith(const std::string& path, const std::string& extension) {
    if (path.size() < extension.size()) return false;
    return std::equal(extension.rbegin(), extension.rend(), path.rbegin(),
                      [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? b + 32 : b); });
}

// The open file, closed with the scope.
class InputFile {
  public:
    explicit InputFile(const std::string& path)
        : mDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        if (mDescriptor < 0) throw InputError(std::string("cannot be opened: ") + strerror(errno));
    }
    ~InputFile() { close(mDescriptor); }

    int descriptor() const { return mDescriptor; }

  private:
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    const int mDescriptor;
};

}  // namespace

// One reading of one file. What is wrong is thrown without the place; `line()` tells that.
class TraceReader {
  public:
    size_t line() const { return std::max<size_t>(mLine, 1); }

    Trace read(const std::string& path) {
        const bool csv = endsWith(path, ".csv");
        if (!csv && !endsWith(path, ".txt")) throw InputError("is neither a .csv nor a .txt file");
        const InputFile file(path);
        LineReader lines(file.descriptor(), MAX_LINE);
        std::string line;
        while (nextLine(lines, line)) csv ? addCsvLine(line) : addTextLine(line);
        if (mLine == 0) throw InputError("the file is empty");
        if (mTrace.size() == 0) throw InputError("the file holds no opening");
        return std::move(mTrace);
    }

  private:
    bool nextLine(LineReader& lines, std::string& line) {
        const LineReader::Status status = lines.next(line);
        if (status == LineReader::Status::END) return false;
        if (status == LineReader::Status::FAILED) {
            throw InputError(std::string("cannot be read: ") + strerror(errno));
        }
        ++mLine;
        if (status == LineReader::Status::TOO_LONG) {
            throw InputError("the line is longer than " + grouped(MAX_LINE) + " bytes");
        }
        if (mLine == 1 && line.rfind("\xEF\xBB\xBF", 0) == 0) line.erase(0, 3);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.find('\0') != std::string::npos) throw InputError("the line holds a NUL byte");
        return true;
    }

    void addTextLine(const std::string& line) {
        if (isBlank(line)) return;
        add(FIRST_UNTIMED + UNTIMED_STEP * static_cast<int64_t>(mTrace.size()), line);
    }

    void addCsvLine(const std::string& line) {
        if (mLine == 1) return checkHeader(line);
        // Blank lines may stand behind the last row only.
        if (isBlank(line)) {
            if (mFirstBlank == 0) mFirstBlank = mLine;
            return;
        }
        if (mFirstBlank != 0) {
            mLine = mFirstBlank;
            throw InputError("a blank line stands among the rows");
        }
        std::string_view rest = line;
        const TraceTime last =
            mTrace.mOpenings.empty() ? TraceTime(0) : mTrace.mOpenings.back().time;
        const TraceTime time = parseTraceTime(takeCsvField(rest, false), last);
        if (time < last) {
            throw InputError(
                "the time runs backwards, by " +
                grouped(static_cast<uint64_t>(((last - time).count() + 999999) / 1000000)) + " s");
        }
        const std::string name = takeCsvField(rest, true);
        if (isBlank(name)) throw InputError("the row has no name");
        add(time, name);
    }

    void checkHeader(const std::string& line) {
        if (line == "time,package") return;
        throw InputError("the header is " + inQuotes(line) + " and not \"time,package\"");
    }

    void add(TraceTime time, const std::string& name) {
        const auto [known, isNew] = mPlaces.emplace(name, mTrace.mNames.size());
        if (isNew) mTrace.mNames.push_back(name);
        mTrace.mOpenings.push_back({time, known->second});
    }

    Trace mTrace;
    std::unordered_map<std::string, size_t> mPlaces;  // of the names in mTrace.mNames
    size_t mLine = 0;
    size_t mFirstBlank = 0;
};

Trace Trace::read(const std::string& path) {
    TraceReader reader;
    try {
        return reader.read(path);
    } catch (const InputError& error) {
        throw InputError(printable(path) + ":" + std::to_string(reader.line()) + ": " +
                         error.what());
    }
}
