#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/testing/TempDir.h"
#include "zml/Crc32.h"
#include "zml/NetworkFile.h"
#include "zml/NeuralLearner.h"
#include "zml/Random.h"
#include "zml/SessionState.h"

// network-trials mutations N SEED   reads N randomly damaged network files, in every second one of
//                                   which the checksum has been made right again
// network-trials kills N            kills N processes while they train and store

namespace {

constexpr char NAME[] = "net";
constexpr char FILE_NAME[] = "net.zml";
constexpr size_t CHECKSUM_SIZE = 4;

std::vector<int> makeIds(size_t count) {
    zml::Random random(5);
    std::vector<int> ids = {0, 1};
    while (ids.size() < count) {
        const int habit = (ids.back() * 7 + ids[ids.size() - 2]) % zml::VOCABULARY;
        ids.push_back(random.below(3) == 0 ? static_cast<int>(random.below(zml::VOCABULARY))
                                           : habit);
    }
    return ids;
}

size_t draw(zml::Random& random, size_t limit) {
    return random.below(static_cast<uint32_t>(limit));
}

// Bits turned, bytes overwritten with telling values, the file cut, lengthened or shifted.
void mutate(zml::Random& random, std::string& file) {
    static constexpr char TELLING[] = {0, 1, 29, 30, 31, 127, '\x80', '\xff'};
    const size_t changes = 1 + draw(random, 4);
    for (size_t i = 0; i < changes && !file.empty(); ++i) {
        // Every second change meets the first bytes, where the numbers are.
        const size_t at =
            draw(random, random.below(2) == 0 ? std::min<size_t>(file.size(), 64) : file.size());
        switch (random.below(6)) {
            case 0:
                file[at] = static_cast<char>(file[at] ^ (1 << random.below(8)));
                break;
            case 1:
                file[at] = TELLING[random.below(sizeof(TELLING))];
                break;
            case 2:
                for (size_t j = at; j < std::min(at + 4, file.size()); ++j) {
                    file[j] = TELLING[random.below(sizeof(TELLING))];
                }
                break;
            case 3:
                file.resize(at);
                break;
            case 4:
                file.append(draw(random, 9), static_cast<char>(random.below(256)));
                break;
            default:
                file.erase(at, 1 + draw(random, 8));
                break;
        }
    }
}

void repairChecksum(std::string& file) {
    if (file.size() < CHECKSUM_SIZE) return;
    const size_t checked = file.size() - CHECKSUM_SIZE;
    const uint32_t sum = zml::crc32(reinterpret_cast<const uint8_t*>(file.data()), checked);
    for (size_t i = 0; i < CHECKSUM_SIZE; ++i) {
        file[checked + i] = static_cast<char>(sum >> (8 * i));
    }
}

int tryMutations(long count, uint64_t seed) {
    const TempDir directory;
    const zml::NetworkFile network(directory.path(), NAME);
    zml::NeuralLearner learner;
    if (!learner.train(makeIds(200), std::atomic<bool>(false))) return 1;
    if (!network.write({learner.kind(), learner.serialise()})) return 1;
    const std::string whole = directory.read(FILE_NAME);

    zml::Random random(seed);
    long accepted = 0;
    for (long i = 0; i < count; ++i) {
        std::string file = whole;
        mutate(random, file);
        if (i % 2 == 0) repairChecksum(file);
        directory.write(FILE_NAME, file);
        zml::SessionState session(NAME, zml::NeuralLearner::create);
        if (!session.createSequenceNetwork(ZmlSession::MODE_LOAD, nullptr, 0)) continue;
        ++accepted;
        const int input[] = {static_cast<int>(i % zml::VOCABULARY), 3};
        float scores[zml::VOCABULARY];
        int length = zml::VOCABULARY;
        if (!session.predictSequence(input, 2, scores, length)) return 1;
        for (const float score : scores) {
            if (!(score >= 0.0f && score <= 1.001f)) {
                fprintf(stderr, "mutation %ld: a score of %g\n", i, static_cast<double>(score));
                return 1;
            }
        }
    }
    printf("%ld mutations read, %ld of them still networks\n", count, accepted);
    return 0;
}

[[noreturn]] void trainForEver(const TempDir& directory) {
    const zml::NetworkFile network(directory.path(), NAME);
    for (size_t count = 300;; count = 300 + count % 5000) {
        zml::NeuralLearner learner;
        if (!learner.train(makeIds(count), std::atomic<bool>(false))) _exit(1);
        for (int i = 0; i < 20; ++i) {  // storing is short beside training: hit it more often
            if (!network.write({learner.kind(), learner.serialise()})) _exit(1);
        }
    }
}

int tryKills(long count) {
    const TempDir directory;
    zml::Random random(9);
    long whole = 0;
    for (long i = 0; i < count; ++i) {
        const pid_t child = fork();
        if (child == 0) trainForEver(directory);
        usleep(random.below(250000));
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        zml::StoredNetwork stored;
        std::string problem;
        const auto found = zml::NetworkFile(directory.path(), NAME).read(stored, problem);
        const bool loads = found == zml::NetworkFile::Read::WHOLE &&
                           zml::NeuralLearner().deserialise(stored.parameters);
        if (!WIFSIGNALED(status) || (found != zml::NetworkFile::Read::MISSING && !loads)) {
            fprintf(stderr, "kill %ld left a network that is %s\n", i, problem.c_str());
            return 1;
        }
        whole += loads ? 1 : 0;
    }
    printf("%ld kills: %ld starts found a whole network, %ld none\n", count, whole, count - whole);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string trial = argc > 2 ? argv[1] : "";
    const long count = argc > 2 ? strtol(argv[2], nullptr, 10) : 0;
    if (trial == "mutations" && count > 0) {
        return tryMutations(count, argc > 3 ? strtoull(argv[3], nullptr, 10) : 1);
    }
    if (trial == "kills" && count > 0) return tryKills(count);
    fprintf(stderr, "usage: network-trials mutations N [SEED] | kills N\n");
    return 2;
}
