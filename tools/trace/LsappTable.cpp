#include "tools/trace/LsappTable.h"

#include <algorithm>
#include <array>
#include <unordered_map>

#include "tools/common/Text.h"
#include "tools/trace/DropList.h"

namespace {

enum Column { USER, SESSION, TIME, APP, EVENT, COLUMNS };

bool isPackageCharacter(char c) {
    return c == '.' || c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
           (c >= 'a' && c <= 'z');
}

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

// The row's fields, or nothing when it has another number of them.
std::optional<std::array<std::string_view, COLUMNS>> split(std::string_view row) {
    std::array<std::string_view, COLUMNS> fields;
    for (size_t i = 0; i < COLUMNS; ++i) {
        const size_t end = i + 1 < COLUMNS ? row.find('\t') : row.size();
        if (end == std::string_view::npos) return std::nullopt;
        fields[i] = row.substr(0, end);
        row.remove_prefix(std::min(row.size(), end + 1));
    }
    if (fields[EVENT].find('\t') != std::string_view::npos) return std::nullopt;
    return fields;
}

int parseUser(std::string_view text) {
    int user = 0;
    const bool digits =
        !text.empty() && text.size() <= 9 &&
        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (!digits) throw InputError(inQuotes(text) + " is no user_id");
    for (const char c : text) user = user * 10 + (c - '0');
    return user;
}

struct Opening {
    TraceTime time;
    size_t name;
};

struct User {
    int id;
    std::vector<Opening> openings;
    TraceTime last{0};
    size_t backward = 0;  // rows that lie before the one above them
};

class LsappTable {
  public:
    explicit LsappTable(DropList& drops, std::optional<int> wanted)
        : mDrops(drops), mWanted(wanted) {}

    void add(const std::string& row) {
        const auto fields = split(row);
        if (!fields) throw InputError("the row has not five fields with tabs between them");
        User& user = userOf(parseUser((*fields)[USER]));
        const bool wanted = !mWanted || user.id == *mWanted;
        const std::string app((*fields)[APP]);
        if ((*fields)[EVENT] != "Opened" || !wanted) return;
        if (app.find_first_not_of(' ') == std::string::npos) {
            throw InputError("the row has no app_name");
        }
        const TraceTime time = parseTraceTime((*fields)[TIME], user.last);
        const size_t name = nameOf(app);
        if (mDrops.drops(app) || mDrops.drops(mNames[name].name)) return;
        user.backward += time < user.last ? 1 : 0;
        user.last = time;
        user.openings.push_back({time, name});
    }

    std::vector<User> users;

    const std::string& name(size_t place) const { return mNames[place].name; }

  private:
    struct Name {
        std::string display;
        std::string name;
    };

    User& userOf(int id) {
        const auto [known, isNew] = mUsers.emplace(id, users.size());
        if (isNew) users.push_back({id, {}, TraceTime(0), 0});
        return users[known->second];
    }

    size_t nameOf(const std::string& display) {
        const auto known = mByDisplay.find(display);
        if (known != mByDisplay.end()) return known->second;
        const std::string name = packageLikeName(display);
        const auto [other, isNew] = mByName.emplace(name, mNames.size());
        if (!isNew) {
            throw Collision(inQuotes(display) + " and " + inQuotes(mNames[other->second].display) +
                            " both become " + inQuotes(name));
        }
        mNames.push_back({display, name});
        return mByDisplay[display] = mNames.size() - 1;
    }

  public:
    // Not a bad line to skip: openings of two applications would become one's.
    class Collision : public InputError {
      public:
        using InputError::InputError;
    };

  private:
    DropList& mDrops;
    const std::optional<int> mWanted;
    std::unordered_map<int, size_t> mUsers;
    std::vector<Name> mNames;
    std::unordered_map<std::string, size_t> mByDisplay;
    std::unordered_map<std::string, size_t> mByName;
};

}  // namespace

std::string packageLikeName(const std::string& displayName) {
    std::string name;
    for (const char c : displayName) {
        if (!continuesCharacter(c)) name += isPackageCharacter(c) ? c : '_';
    }
    return name;
}

void readLsapp(TraceLines& lines, const std::string& path, const TraceOptions& options,
               TraceFile& file) {
    DropList drops(options, DropList::Defaults::NONE);
    LsappTable table(drops, options.user);
    std::string row;
    lines.next(row);
    if (row != LSAPP_HEADER) throw InputError("the header has more columns than an LSApp table");
    for (;;) {
        try {
            if (!lines.next(row)) break;
            if (row.find_first_not_of(" \t") != std::string::npos) table.add(row);
        } catch (const LsappTable::Collision&) {
            throw;
        } catch (const InputError& error) {
            if (!options.skipBad) throw;
            ++file.skipped;
        }
    }
    size_t backward = 0;
    std::string known;
    for (User& user : table.users) {
        known += (known.empty() ? "" : ", ") + std::to_string(user.id);
        if (user.openings.empty()) continue;
        backward += user.backward;
        std::stable_sort(user.openings.begin(), user.openings.end(),
                         [](const Opening& a, const Opening& b) { return a.time < b.time; });
        Trace trace;
        for (const Opening& opening : user.openings) {
            trace.add(opening.time, table.name(opening.name));
        }
        std::vector<Opening>().swap(user.openings);
        const bool several = table.users.size() > 1;
        file.traces.push_back(
            {several ? path + "#" + std::to_string(user.id) : path, std::move(trace)});
    }
    if (file.traces.empty()) {
        if (!options.user) throw InputError("the file holds no opening");
        const bool there = std::any_of(table.users.begin(), table.users.end(),
                                       [&](const User& user) { return user.id == *options.user; });
        const std::string name = "user " + std::to_string(*options.user);
        throw InputError(there ? name + " has no opening"
                               : "the file has no " + name + ", only " + known);
    }
    if (backward > 0) {
        file.notes.push_back(grouped(backward) + (backward == 1 ? " row lies" : " rows lie") +
                             " before the one above: each user's rows are put in order of time");
    }
    drops.note(file.notes);
}
