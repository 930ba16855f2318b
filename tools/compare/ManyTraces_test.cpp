#include "tools/compare/ManyTraces.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "platform/testing/TempDir.h"
#include "tools/common/InputError.h"
#include "tools/common/Interrupt.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

class ManyTraces : public ::testing::Test {
  protected:
    ManyTraces() {
        catchInterrupts();
        mkdir(path("tmp").c_str(), 0700);
        setenv("TMPDIR", path("tmp").c_str(), 1);
        mOptions.quiet = true;
        mOptions.jobs = 3;
    }

    ~ManyTraces() override {
        unsetenv("TMPDIR");
        EXPECT_THAT(entriesOf(path("tmp")), IsEmpty());
    }

    std::string path(const std::string& name) const { return mFiles.file(name); }

    // A trace of so many openings.
    void addFile(const std::string& name, size_t openings) {
        std::string rows;
        for (size_t i = 0; i < openings; ++i) rows += i % 3 == 0 ? "com.a\n" : "com.b\n";
        addFile(name, rows);
    }

    void addFile(const std::string& name, const std::string& content) {
        mFiles.write(name, content);
        mOptions.files.push_back(path(name));
    }

    // The number of openings of each trace, by the name behind the directory.
    std::map<std::string, size_t> run(ResultStore& store, const TraceWork& work) {
        mOutcome = workOnTraces(mOptions, work, store);
        std::map<std::string, size_t> openings;
        for (const auto& [name, place] : mOutcome.results) {
            const Json result = Json::parse(store.read(place));
            openings[name.substr(path("").size())] = result.at("openings");
        }
        return openings;
    }

    std::map<std::string, size_t> run(const TraceWork& work) {
        ResultStore store;
        return run(store, work);
    }

    static std::optional<Json> count(const NamedTrace& trace, const std::function<bool()>&) {
        return Json{{"openings", trace.trace.size()}};
    }

    // What report() says of the file.
    std::string problem(const std::string& name) { return mOutcome.problems[path(name)]; }

    const TempDir mFiles;
    ManyTracesOptions mOptions;
    ManyTracesOutcome mOutcome;
};

constexpr char TWO_USERS[] =
    "user_id\tsession_id\ttimestamp\tapp_name\tevent_type\n"
    "0\t1\t2018-01-16 06:01:05\tMail\tOpened\n"
    "0\t1\t2018-01-16 06:02:05\tMaps\tOpened\n"
    "4\t2\t2018-01-16 06:01:05\tMail\tOpened\n";

TEST_F(ManyTraces, EachFileAndUserIsWorkedOnWhateverHappensToOthers) {
    addFile("short.txt", 1);
    addFile("killed.txt", 2);
    addFile("thrown.txt", 3);
    addFile("users.tsv", TWO_USERS);
    addFile("bad.csv", "time,package\n5,com.a\n4,com.b\n");
    addFile("long.txt", 60);
    const auto openings =
        run([this](const NamedTrace& trace, const std::function<bool()>& stopped) {
            if (trace.name == path("killed.txt")) {
                // It leaves a temporary directory behind.
                mkdir((std::string(getenv("TMPDIR")) + "/left").c_str(), 0700);
                raise(SIGKILL);
            }
            if (trace.name == path("thrown.txt")) throw std::runtime_error("no luck");
            return count(trace, stopped);
        });
    EXPECT_THAT(openings, UnorderedElementsAre(Pair("short.txt", 1), Pair("long.txt", 60),
                                               Pair("users.tsv#0", 2), Pair("users.tsv#4", 1)));
    EXPECT_EQ(mOutcome.status, EXIT_FAILED);
    EXPECT_THAT(mOutcome.problems, SizeIs(3));
    EXPECT_THAT(problem("killed.txt"), HasSubstr("killed.txt: the process that worked on it was "
                                                 "ended by signal 9"));
    EXPECT_EQ(problem("thrown.txt"), path("thrown.txt") + ": no luck");
    EXPECT_THAT(problem("bad.csv"), HasSubstr("bad.csv:3: the time runs backwards"));
}

TEST_F(ManyTraces, WorkersAreProcessesAndNoMoreThanAsked) {
    for (const char* const name : {"a", "b", "c", "d", "e", "f"}) {
        addFile(std::string(name) + ".txt", 5);
    }
    mOptions.jobs = 2;
    mkdir(path("running").c_str(), 0700);
    const auto openings = run([this](const NamedTrace& trace, const std::function<bool()>&) {
        mFiles.write("running/" + std::to_string(getpid()), "");
        usleep(20'000);
        const size_t together = entriesOf(path("running")).size();
        unlink(path("running/" + std::to_string(getpid())).c_str());
        if (together > 2) throw std::runtime_error("too many");
        return count(trace, {});
    });
    EXPECT_THAT(openings, SizeIs(6));
    EXPECT_EQ(mOutcome.status, 0);
}

// The process is killed with a part of the traces done; the next one goes on, and a third has
// nothing to do.
TEST_F(ManyTraces, ARunThatWasKilledGoesOn) {
    for (size_t i = 1; i <= 8; ++i) addFile(std::to_string(i) + ".txt", i);
    addFile("users.tsv", TWO_USERS);
    const auto whole = run(count);
    mOptions.jobs = 2;
    const std::string save = path("save");
    const pid_t child = fork();
    if (child == 0) {
        ResultStore store(save, {});
        workOnTraces(
            mOptions,
            [&](const NamedTrace& trace, const std::function<bool()>& stopped) {
                if (trace.trace.size() == 5) {
                    kill(getppid(), SIGKILL);
                    while (!stopped()) usleep(1000);
                    return std::optional<Json>();
                }
                return count(trace, stopped);
            },
            store);
        _exit(0);
    }
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    while (!entriesOf(path("tmp")).empty()) usleep(1000);  // its workers notice and end
    {
        ResultStore store(save, {});
        EXPECT_EQ(run(store, count), whole);
        EXPECT_GE(mOutcome.known, 3U);
        EXPECT_LT(mOutcome.known, 9U);
        EXPECT_EQ(mOutcome.status, 0);
    }
    ResultStore store(save, {});
    EXPECT_EQ(run(store,
                  [](const NamedTrace&, const std::function<bool()>&) -> std::optional<Json> {
                      throw std::runtime_error("is done already");
                  }),
              whole);
    EXPECT_EQ(mOutcome.status, 0);

    // A file that has changed is done again, and a file that is not asked for does not count.
    mFiles.write("8.txt", "com.a\n");
    mOptions.files.erase(mOptions.files.begin());
    auto changed = whole;
    changed["8.txt"] = 1;
    changed.erase("1.txt");
    ResultStore again(save, {});
    EXPECT_EQ(run(again, count), changed);
}

TEST_F(ManyTraces, ASavedFileThatWasCutAnywhereGoesOn) {
    for (size_t i = 1; i <= 3; ++i) addFile(std::to_string(i) + ".txt", i);
    const auto whole = [&] {
        ResultStore store(path("save"), {{"charging", "never"}});
        return run(store, count);
    }();
    const std::string saved = mFiles.read("save");
    for (size_t length = 0; length < saved.size(); length += 1 + length % 7) {
        mFiles.write("save", saved.substr(0, length));
        ResultStore store(path("save"), {{"charging", "never"}});
        ASSERT_EQ(run(store, count), whole) << length;
    }
}

TEST_F(ManyTraces, RefusesSavedFilesOfOthersAndLeavesThemAlone) {
    { const ResultStore store(path("save"), {{"charging", "never"}}); }
    const std::string saved = mFiles.read("save");
    const struct {
        std::string content;
        const char* message;
    } cases[] = {
        {"time,package\n5,com.a", ":1: is no file of saved results"},
        {"com.a", ":1: is no file of saved results"},
        {"{\"ksbrain_results\":2}\n", ":1: is no file of saved results"},
        {saved, "(charging is \"never\" there and \"always\" here)"},
    };
    for (const auto& [content, message] : cases) {
        mFiles.write("save", content);
        try {
            const ResultStore store(path("save"), {{"charging", "always"}});
            ADD_FAILURE() << "accepted: " << content;
        } catch (const InputError& error) {
            EXPECT_THAT(error.what(), HasSubstr(message));
        }
        EXPECT_EQ(mFiles.read("save"), content);
    }
    mFiles.write("save", saved + "{\"input\":{}}\n");
    EXPECT_THROW(ResultStore(path("save"), {{"charging", "never"}}), InputError);
}

}  // namespace
