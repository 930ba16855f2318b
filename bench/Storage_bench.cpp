#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <catch2/catch.hpp>
#include <cstdio>
#include <fstream>
#include <random>

#include "bench/Rounds.h"
#include "platform/testing/TempDir.h"
#include "preload/Bayes.h"
#include "preload/BayesAdapter.h"

// What storing and loading costs apart from the disk, whose syncs are left out: the files lie in
// memory where /dev/shm is that.

namespace {

constexpr int FEATURES = 4;
constexpr long PAGE = 4096;

// A model whose file is a little below the size at which it would be begun anew.
std::unique_ptr<Bayes> largeModel(const std::string& path) {
    std::mt19937 random(1);
    std::unique_ptr<Bayes> model = Bayes::createEmptyBayes(FEATURES, path.c_str());
    struct stat status {};
    while (stat(path.c_str(), &status) != 0 ||
           status.st_size < BayesAdapter::MAX_MODEL_BYTES - 16384) {
        std::vector<std::vector<int>> X;
        std::vector<int> Y;
        for (size_t i = 0; i < 5 * BayesAdapter::BATCH_SIZE; ++i) {
            const auto below = [&](unsigned n) { return static_cast<int>(random() % n); };
            X.push_back({below(48), below(2), below(200), below(200)});
            Y.push_back(below(200));
            model->predict(X.back());
        }
        model->update(X, Y);
    }
    return model;
}

void writeOnce(const std::string& path, const std::string& text) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (write(file, text.data(), text.size()) < 0) perror("write");
    close(file);
}

// The system calls of a child that runs `work`.
template <typename Work>
long systemCallsOf(Work work) {
    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        work();
        _exit(0);
    }
    long stops = 0;
    int status = 0;
    while (waitpid(child, &status, 0) == child && !WIFEXITED(status)) {
        if (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) != 0) break;
        ++stops;
    }
    return stops / 2;  // one before each call and one behind it
}

// The calls with which this process has written.
long writes() {
    std::ifstream io("/proc/self/io");
    std::string key;
    long value = 0;
    while (io >> key >> value) {
        if (key == "syscw:") return value;
    }
    return 0;
}

}  // namespace

TEST_CASE("storing and loading a model near 512 KiB") {
    const TempDir folder;
    const std::string path = folder.file("model");
    const std::unique_ptr<Bayes> model = largeModel(path);
    const std::string text = model->toString();
    std::mt19937 random(2);
    const std::vector<std::vector<int>> X(1, {7, 1, 3, 5});
    compareInRounds({{"reference: one write of the same bytes",
                      meanOf(20, [&] { writeOnce(folder.file("reference"), text); })},
                     {"a batch learned and saved", meanOf(20, [&] { model->update(X, {3}); })},
                     {"loaded", meanOf(3, [&] { Bayes::createBayesFromModel(path.c_str()); })}},
                    51);
    const long nothing = systemCallsOf([] {});
    const long loading = systemCallsOf([&] { Bayes::createBayesFromModel(path.c_str()); });
    const auto pages = (static_cast<long>(text.size()) + PAGE - 1) / PAGE;
    printf("  %zu bytes, %ld pages; loaded with %ld system calls\n", text.size(), pages,
           loading - nothing);
    CHECK(loading > nothing);
}

TEST_CASE("a new name in a table of 4,000") {
    const TempDir folder;
    BayesAdapter adapter;
    SystemData data;
    int names = 0;
    const auto open = [&] {
        data.lastApp = "front";
        data.currentApp = "com.example.application" + std::to_string(++names);
        adapter.addSample(data);
    };
    while (names < 4000) open();
    const std::string text = folder.read("AppPreloadMap");
    const long before = writes();
    constexpr int MORE = 9;  // with no batch of the model among them
    for (int i = 0; i < MORE; ++i) open();
    printf("  %.1f writes a save\n", static_cast<double>(writes() - before) / MORE);
    compareInRounds({{"reference: one write of the same bytes",
                      meanOf(20, [&] { writeOnce(folder.file("reference"), text); })},
                     {"a new name stored", meanOf(5, open)}});
}
