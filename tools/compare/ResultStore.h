#pragma once

#include <sys/types.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>

#include "tools/common/JsonLine.h"

// The state of an input file, by which a change of it is noticed.
struct FileStamp {
    int64_t size = -1;     // bytes; -1 when there is no such file
    int64_t changed = -1;  // nanoseconds since the epoch

    static FileStamp of(const std::string& path);
    bool operator==(const FileStamp& other) const {
        return size == other.size && changed == other.changed;
    }
};

// Results of traces, a JSON object each, kept in a file and not in memory, a line for each as it
// comes. A process that is killed loses nothing it has added: whoever opens the file next drops a
// last line that was cut and takes the rest as done. (A power cut may lose lines.)
//
// The first line is {"ksbrain_results":1,"settings":{...}}, any other
// {"input":{"file":...,"size":...,"changed":...,"traces":1,"trace":...},"result":{...}}: the file,
// its stamp, how many traces it holds, the name of this one and its result.
class ResultStore {
  public:
    // Where a result stands in the file.
    struct Place {
        off_t offset;
        size_t length;
    };

    // What is known of one input file.
    struct Known {
        FileStamp stamp;
        size_t traces = 0;                     // in the file
        std::map<std::string, Place> results;  // by name of the trace
    };

    // In a nameless file that goes when the store goes.
    ResultStore();

    // In the file at `path`, which is made when it is missing; what it holds is known from then on.
    // `settings` is all that the results depend on besides the input files. Throws InputError when
    // the file is something else, holds results of other settings, or is in use by another process.
    ResultStore(const std::string& path, const Json& settings);

    ~ResultStore();

    // What was known of the input file when the store was opened, or null when it has changed.
    const Known* find(const std::string& file, const FileStamp& stamp) const;

    // Throws std::runtime_error when the disk is full; the store is then as before.
    Place add(const std::string& file, const FileStamp& stamp, size_t traces,
              const std::string& trace, const Json& result);

    // A result's text, one line without newline.
    std::string read(const Place& place) const;

  private:
    ResultStore(const ResultStore&) = delete;
    ResultStore& operator=(const ResultStore&) = delete;

    void lock();
    void load(const Json& settings);
    void learn(const std::string& line, off_t start, size_t number);
    void append(const std::string& line);

    const std::string mPath;  // for messages
    FILE* const mFile;
    off_t mEnd = 0;                       // of the last whole line
    std::map<std::string, Known> mKnown;  // by input file
};

// The result in a line of such a file, or the line itself when it is a plain object; null for the
// first line.
Json resultOfLine(const Json& line);
