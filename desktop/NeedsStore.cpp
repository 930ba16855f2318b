#include "desktop/NeedsStore.h"

#include <sqlite3.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

#include "platform/workstation/SettableEnvironment.h"
#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

constexpr int MOST_NEEDS = 200;    // applications whose files are known
constexpr int MOST_COUNTS = 1000;  // ... whose openings are
constexpr int WAIT_MS = 2000;      // for another process that reads

constexpr char SCHEMA[] =
    "PRAGMA cache_size = -512;"  // KiB
    "PRAGMA journal_mode = WAL;"
    "PRAGMA synchronous = NORMAL;"
    "CREATE TABLE IF NOT EXISTS app(id INTEGER PRIMARY KEY, name TEXT UNIQUE NOT NULL,"
    " opened INTEGER NOT NULL DEFAULT 0, seen INTEGER NOT NULL DEFAULT 0);"
    "CREATE TABLE IF NOT EXISTS file(app INTEGER NOT NULL, path TEXT NOT NULL, device INTEGER,"
    " inode INTEGER, size INTEGER, changed INTEGER, place INTEGER, pages BLOB,"
    " PRIMARY KEY(app, path)) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS total(name TEXT PRIMARY KEY, value INTEGER NOT NULL);";

constexpr std::array<std::pair<const char*, uint64_t Totals::*>, 9> TOTALS = {{
    {"openings", &Totals::openings},
    {"answered", &Totals::answered},
    {"hits", &Totals::hits},
    {"launches", &Totals::launches},
    {"foreseen", &Totals::foreseen},
    {"warm launches", &Totals::warmLaunches},
    {"bytes read", &Totals::bytesRead},
    {"bytes used", &Totals::bytesUsed},
    {"stopped", &Totals::stopped},
}};

}  // namespace

// A statement and its values, bound in order.
class NeedsStore::Statement {
  public:
    Statement(sqlite3* database, const char* sql) {
        sqlite3_prepare_v2(database, sql, -1, &mStatement, nullptr);
    }
    ~Statement() { sqlite3_finalize(mStatement); }

    Statement& bind(const std::string& text) {
        sqlite3_bind_text(mStatement, ++mBound, text.data(), static_cast<int>(text.size()),
                          SQLITE_TRANSIENT);
        return *this;
    }
    Statement& bind(int64_t number) {
        sqlite3_bind_int64(mStatement, ++mBound, number);
        return *this;
    }
    Statement& bind(const std::vector<PageRange>& pages) {
        sqlite3_bind_blob(mStatement, ++mBound, pages.data(),
                          static_cast<int>(pages.size() * sizeof(PageRange)), SQLITE_TRANSIENT);
        return *this;
    }

    // Whether there is a row. What cannot be executed has none.
    bool step() { return sqlite3_step(mStatement) == SQLITE_ROW; }
    // Executes it; whether that went well.
    bool run() { return sqlite3_step(mStatement) == SQLITE_DONE; }

    // Makes it ready for other values.
    void reset() {
        sqlite3_reset(mStatement);
        mBound = 0;
    }

    int64_t number(int column) { return sqlite3_column_int64(mStatement, column); }
    std::string text(int column) {
        const unsigned char* const text = sqlite3_column_text(mStatement, column);
        return text == nullptr ? "" : reinterpret_cast<const char*>(text);
    }
    std::vector<PageRange> pages(int column) {
        const void* const blob = sqlite3_column_blob(mStatement, column);
        const auto bytes = static_cast<size_t>(sqlite3_column_bytes(mStatement, column));
        std::vector<PageRange> pages(bytes / sizeof(PageRange));
        if (!pages.empty()) memcpy(pages.data(), blob, pages.size() * sizeof(PageRange));
        return pages;
    }

  private:
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    sqlite3_stmt* mStatement = nullptr;
    int mBound = 0;
};

NeedsStore::NeedsStore(const std::string& path) : mPath(path) {
    if (!path.empty() && openAt(path)) return;
    const int error = mDatabase == nullptr ? SQLITE_OK : sqlite3_errcode(mDatabase);
    if (error == SQLITE_NOTADB || error == SQLITE_CORRUPT) {
        fprintf(stderr, "%s cannot be read (%s): it is kept as %s.broken, and a new one begun\n",
                path.c_str(), sqlite3_errmsg(mDatabase), path.c_str());
        std::error_code ignored;
        std::filesystem::rename(path, path + ".broken", ignored);
        if (openAt(path)) return;
    }
    if (!path.empty()) complain();
    openAt(":memory:");
}

NeedsStore::~NeedsStore() {
    sqlite3_close(mDatabase);
}

bool NeedsStore::openAt(const std::string& path) {
    sqlite3_close(mDatabase);
    mDatabase = nullptr;
    if (sqlite3_open(path.c_str(), &mDatabase) != SQLITE_OK) return false;
    sqlite3_busy_timeout(mDatabase, WAIT_MS);
    return sqlite3_exec(mDatabase, SCHEMA, nullptr, nullptr, nullptr) == SQLITE_OK;
}

void NeedsStore::complain() {
    if (std::exchange(mComplained, true)) return;
    fprintf(stderr, "%s cannot be written: %s; what is learned now is lost at the end\n",
            mPath.c_str(), sqlite3_errmsg(mDatabase));
}

void NeedsStore::execute(const char* sql) {
    if (sqlite3_exec(mDatabase, sql, nullptr, nullptr, nullptr) != SQLITE_OK) complain();
}

void NeedsStore::setNeeds(const std::string& app, const std::vector<FileNeed>& files) {
    execute("BEGIN IMMEDIATE");
    bool stored = Statement(mDatabase,
                            "INSERT INTO app(name, seen) VALUES(?, ?)"
                            " ON CONFLICT(name) DO UPDATE SET seen = excluded.seen")
                      .bind(app)
                      .bind(environment::now())
                      .run();
    stored = stored && Statement(mDatabase,
                                 "DELETE FROM file WHERE app = (SELECT id FROM app WHERE name = ?)")
                           .bind(app)
                           .run();
    Statement insert(mDatabase,
                     "INSERT INTO file SELECT id, ?, ?, ?, ?, ?, ?, ? FROM app WHERE name = ?");
    for (const FileNeed& file : files) {
        insert.reset();
        insert.bind(file.path).bind(static_cast<int64_t>(file.state.device));
        insert.bind(static_cast<int64_t>(file.state.inode)).bind(file.state.size);
        insert.bind(file.state.changed).bind(static_cast<int64_t>(file.place));
        stored = stored && insert.bind(file.pages).bind(app).run();
    }
    insert.reset();
    stored = stored && Statement(mDatabase,
                                 "DELETE FROM file WHERE app NOT IN"
                                 " (SELECT id FROM app ORDER BY seen DESC, id DESC LIMIT ?)")
                           .bind(MOST_NEEDS)
                           .run();
    if (!stored) complain();
    execute(stored ? "COMMIT" : "ROLLBACK");
}

std::vector<FileNeed> NeedsStore::needs(const std::string& app) {
    Statement rows(mDatabase,
                   "SELECT path, device, inode, size, changed, place, pages FROM file"
                   " WHERE app = (SELECT id FROM app WHERE name = ?)");
    rows.bind(app);
    std::vector<FileNeed> files;
    while (rows.step()) {
        const FileState state = {static_cast<uint64_t>(rows.number(1)),
                                 static_cast<uint64_t>(rows.number(2)), rows.number(3),
                                 rows.number(4)};
        files.push_back(
            {rows.text(0), state, static_cast<uint64_t>(rows.number(5)), rows.pages(6)});
    }
    return files;
}

void NeedsStore::forget(const std::string& app, const std::string& path) {
    const bool done = Statement(mDatabase,
                                "DELETE FROM file WHERE path = ?"
                                " AND app = (SELECT id FROM app WHERE name = ?)")
                          .bind(path)
                          .bind(app)
                          .run();
    if (!done) complain();
}

void NeedsStore::countOpening(const std::string& app) {
    const bool done =
        Statement(mDatabase,
                  "INSERT INTO app(name, opened, seen) VALUES(?, 1, ?) ON CONFLICT(name)"
                  " DO UPDATE SET opened = opened + 1, seen = excluded.seen")
            .bind(app)
            .bind(environment::now())
            .run();
    const bool bounded =
        done && Statement(mDatabase,
                          "DELETE FROM app WHERE id NOT IN"
                          " (SELECT id FROM app ORDER BY seen DESC, id DESC LIMIT ?)")
                    .bind(MOST_COUNTS)
                    .run();
    if (!bounded) complain();
}

std::vector<std::string> NeedsStore::mostOpened(size_t count) {
    Statement rows(mDatabase,
                   "SELECT name FROM app WHERE opened > 0 ORDER BY opened DESC, id LIMIT ?");
    rows.bind(static_cast<int64_t>(count));
    std::vector<std::string> names;
    while (rows.step()) names.push_back(rows.text(0));
    return names;
}

Totals NeedsStore::totals() {
    Totals totals;
    for (const auto& [name, total] : TOTALS) {
        Statement row(mDatabase, "SELECT value FROM total WHERE name = ?");
        if (row.bind(name).step()) totals.*total = static_cast<uint64_t>(row.number(0));
    }
    return totals;
}

void NeedsStore::setTotals(const Totals& totals) {
    execute("BEGIN IMMEDIATE");
    for (const auto& [name, total] : TOTALS) {
        Statement row(mDatabase, "INSERT OR REPLACE INTO total VALUES(?, ?)");
        if (!row.bind(name).bind(static_cast<int64_t>(totals.*total)).run()) complain();
    }
    execute("COMMIT");
}

Totals totalsOf(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::exists(path, error)) {
        throw InputError(printable(path) + ": is not there: has ksbrain-desktop run yet?");
    }
    return NeedsStore(path).totals();
}
