#include "desktop/Applications.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "desktop/PackageNames.h"
#include "tools/common/Text.h"

namespace {

namespace fs = std::filesystem;

// Anyone can put anything there.
constexpr size_t MAX_FILE = 256 * 1024;
constexpr size_t MAX_ENTRIES = 5000;
constexpr int MAX_DEPTH = 4;

constexpr std::string_view ENTRY_END = ".desktop";
constexpr uint32_t CHANGES =
    IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE | IN_ONLYDIR;

std::string lowerCase(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

// Empty when it is larger than an entry would be, or holds what none does. What has no size, a
// device or a pipe, gives nothing.
std::string contentOf(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) return "";
    std::string content;
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && status.st_size <= static_cast<off_t>(MAX_FILE)) {
        content.resize(static_cast<size_t>(status.st_size));
        const ssize_t count = read(descriptor, content.data(), content.size());
        content.resize(count > 0 ? static_cast<size_t>(count) : 0);
    }
    close(descriptor);
    return content.find('\0') == std::string::npos ? content : "";
}

// The file's name of the program that a command line runs: `"/opt/an editor/edit" %F`, and also
// `env LANG=C edit %F`.
std::string programOf(const std::string& commandLine) {
    std::string word;
    for (size_t at = 0; at < commandLine.size();) {
        const bool isQuoted = commandLine[at] == '"';
        const size_t begin = at + (isQuoted ? 1 : 0);
        const size_t end =
            std::min(commandLine.find(isQuoted ? '"' : ' ', begin), commandLine.size());
        word = commandLine.substr(begin, end - begin);
        at = std::min(commandLine.find_first_not_of(' ', end + 1), commandLine.size());
        const bool isBefore = word == "env" || endsWith(word, "/env") || holds(word, "=");
        if (!isBefore) break;
    }
    return word.substr(word.rfind('/') + 1);
}

// `key=value`, with blanks about the sign or without.
bool isValueOf(const std::string& line, std::string_view key, std::string& value) {
    if (!startsWith(line, key)) return false;
    const size_t sign = line.find_first_not_of(' ', key.size());
    if (sign == std::string::npos || line[sign] != '=') return false;
    const size_t begin = line.find_first_not_of(' ', sign + 1);
    const size_t end = line.find_last_not_of(" \r");
    value = begin == std::string::npos ? "" : line.substr(begin, end + 1 - begin);
    return true;
}

std::string variable(const char* name, const std::string& otherwise) {
    const char* const value = getenv(name);
    return value == nullptr || *value == '\0' ? otherwise : value;
}

}  // namespace

std::vector<std::string> Applications::usualFolders() {
    std::istringstream folders(variable("XDG_DATA_HOME", variable("HOME", "") + "/.local/share") +
                               ':' + variable("XDG_DATA_DIRS", "/usr/local/share:/usr/share"));
    std::vector<std::string> result;
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (folder[0] == '/') result.push_back(folder + "/applications");  // others do not count
    }
    return result;
}

Applications::Applications(std::vector<std::string> folders)
    : mFolders(std::move(folders)), mDescriptor(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    readAll();
}

Applications::~Applications() {
    if (mDescriptor >= 0) close(mDescriptor);
}

Applications::Entry Applications::readEntry(const std::string& path) {
    Entry entry;
    std::istringstream lines(contentOf(path));
    bool isOurs = false;  // the part of the file: others are of its menu
    for (std::string line; std::getline(lines, line);) {
        if (startsWith(line, "[")) {
            if (isOurs) break;
            isOurs = startsWith(line, "[Desktop Entry]");
        }
        std::string value;
        if (!isOurs) continue;
        if (isValueOf(line, "Type", value)) entry.isShown = value == "Application";
        if (isValueOf(line, "StartupWMClass", value)) entry.windowClass = value;
        if (isValueOf(line, "Exec", value)) entry.program = programOf(value);
        const bool isHidden =
            (isValueOf(line, "Hidden", value) || isValueOf(line, "NoDisplay", value)) &&
            value == "true";
        if (isHidden) return {};
    }
    return entry;
}

// A name in the path of an entry stands in its id with a '-' behind it. Links to folders are not
// followed: they may lead in a circle.
void Applications::readFolder(const std::string& path, const std::string& idBegin, int depth,
                              std::map<std::string, Entry>& entries) const {
    inotify_add_watch(mDescriptor, path.c_str(), CHANGES);  // before it is read
    std::error_code error;
    fs::directory_iterator file(path, error);
    for (; !error && file != fs::directory_iterator(); file.increment(error)) {
        const std::string name = file->path().filename();
        std::error_code ignored;
        if (fs::is_directory(file->symlink_status(ignored))) {
            if (depth < MAX_DEPTH) {
                readFolder(file->path(), idBegin + name + '-', depth + 1, entries);
            }
        } else if (endsWith(name, ENTRY_END) && entries.size() < MAX_ENTRIES) {
            const std::string id = idBegin + name.substr(0, name.size() - ENTRY_END.size());
            if (entries.count(id) == 0) entries[id] = readEntry(file->path());
        }
    }
}

void Applications::readAll() {
    std::map<std::string, Entry> entries;  // in an order that does not depend on the file system
    for (const std::string& folder : mFolders) {
        readFolder(folder, "", 1, entries);
        // It may be made later.
        if (access(folder.c_str(), F_OK) != 0) {
            inotify_add_watch(mDescriptor, fs::path(folder).parent_path().c_str(),
                              IN_CREATE | IN_MOVED_TO | IN_ONLYDIR);
        }
    }
    mNames.clear();
    for (NamesByWord* const words : {&mByWindowClass, &mById, &mByIdEnd, &mByProgram})
        words->clear();
    for (const auto& [id, entry] : entries) {
        const std::string name = packageNameOf(id);
        if (!entry.isShown || name.empty()) continue;
        mNames.insert(name);
        mByWindowClass.emplace(lowerCase(entry.windowClass), name);
        mById.emplace(lowerCase(id), name);
        mByIdEnd.emplace(lowerCase(id.substr(id.rfind('.') + 1)), name);
        mByProgram.emplace(lowerCase(entry.program), name);
    }
}

std::string Applications::nameOf(const std::string& windowInstance,
                                 const std::string& windowClass) const {
    const std::string ofInstance = lowerCase(windowInstance);
    const std::string ofClass = lowerCase(windowClass);
    const std::pair<const NamesByWord&, const std::string&> places[] = {
        {mByWindowClass, ofInstance}, {mByWindowClass, ofClass}, {mById, ofClass},
        {mById, ofInstance},          {mByIdEnd, ofClass},       {mByIdEnd, ofInstance},
        {mByProgram, ofClass},        {mByProgram, ofInstance},
    };
    for (const auto& [names, word] : places) {
        const auto found = names.find(word);
        if (!word.empty() && found != names.end()) return found->second;
    }
    return packageNameOf(windowClass.empty() ? windowInstance : windowClass);
}

// Takes what was noted since. Other files lie there too, and those beside a folder that is missing.
bool Applications::haveEntriesChanged() const {
    bool haveChanged = false;
    alignas(inotify_event) char events[4096];
    for (;;) {
        const ssize_t count = read(mDescriptor, events, sizeof events);
        if (count <= 0) return haveChanged;
        for (const char* at = events; at < events + count;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(at);
            const std::string_view name = event->len > 0 ? event->name : "";
            haveChanged = haveChanged || endsWith(name, ENTRY_END) ||
                          (event->mask & (IN_ISDIR | IN_Q_OVERFLOW)) != 0;
            at += sizeof(inotify_event) + event->len;
        }
    }
}

bool Applications::reload() {
    if (!haveEntriesChanged()) return false;
    const std::set<std::string> before = mNames;
    readAll();
    return mNames != before;
}
