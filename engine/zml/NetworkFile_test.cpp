#include "zml/NetworkFile.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/testing/LogCapture.h"
#include "platform/testing/TempDir.h"
#include "zml/Crc32.h"
#include "zml/SessionState.h"
#include "zml/test/TinyLearner.h"

namespace zml {
namespace {

class NetworkFileTest : public testing::Test {
  protected:
    NetworkFileTest() {
        TinyLearner learner;
        EXPECT_TRUE(learner.train({4, 5, 6, 4, 5, 6}, std::atomic<bool>(false)));
        EXPECT_TRUE(mFile.write({learner.kind(), learner.serialise()}));
        mWhole = mDir.read("net.zml");
        EXPECT_TRUE(isTrained(mWhole));
    }

    // Whether a session that finds this file has a trained network.
    bool isTrained(const std::string& content) {
        unlink(mDir.file("net.zml").c_str());  // some file systems write through what is truncated
        mDir.write("net.zml", content);
        return SessionState("net", TinyLearner::create).isNetworkTrained();
    }

    // The file with one byte replaced, and the checksum that belongs to it.
    std::string withByte(size_t offset, char value) {
        std::string content = mWhole.substr(0, mWhole.size() - 4);
        content[offset] = value;
        const uint32_t sum =
            crc32(reinterpret_cast<const uint8_t*>(content.data()), content.size());
        for (int shift = 0; shift < 32; shift += 8) content += static_cast<char>(sum >> shift);
        return content;
    }

    const TempDir mDir;
    const LogCapture mLog;
    const NetworkFile mFile{mDir.path(), "net"};
    std::string mWhole;  // a small network's file
};

TEST_F(NetworkFileTest, noCutOffOrDamagedFileCountsAsTrained) {
    for (size_t length = 0; length < mWhole.size(); ++length) {
        EXPECT_FALSE(isTrained(mWhole.substr(0, length))) << length << " bytes";
    }
    for (size_t bit = 0; bit < 8 * mWhole.size(); ++bit) {
        std::string damaged = mWhole;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << (bit % 8)));
        EXPECT_FALSE(isTrained(damaged)) << "bit " << bit;
    }
    EXPECT_EQ(mLog.count("counts as no trained network"), static_cast<int>(9 * mWhole.size()));
}

TEST_F(NetworkFileTest, foreignFilesDoNotCountAsTrained) {
    EXPECT_EQ(crc32(reinterpret_cast<const uint8_t*>("123456789"), 9), 0xCBF43926u);
    EXPECT_EQ(withByte(8, 1), mWhole);
    const std::vector<std::string> foreign = {
        withByte(0, 'X'),  // another program's
        withByte(8, 2),    // a newer version
        withByte(12, 9),   // of another learner
        withByte(16, 31),  // another vocabulary
        withByte(20, 3),   // another context
        withByte(28, 99),  // parameters that the learner refuses
        mWhole + "x",
    };
    for (const std::string& content : foreign) EXPECT_FALSE(isTrained(content));
    // More than can be allocated.
    ASSERT_EQ(truncate(mDir.file("net.zml").c_str(), off_t{1} << 40), 0);
    EXPECT_FALSE(SessionState("net", TinyLearner::create).isNetworkTrained());
}

TEST_F(NetworkFileTest, aFailedWriteKeepsTheOldNetwork) {
    ASSERT_EQ(symlink("/dev/full", mDir.file("net.zml.tmp").c_str()), 0);
    EXPECT_FALSE(mFile.write({1, Bytes(10)}));
    EXPECT_FALSE(mFile.write({1, Bytes(5 << 20)}));  // more than is ever read
    EXPECT_EQ(mDir.read("net.zml"), mWhole);
    EXPECT_FALSE(mDir.exists("net.zml.tmp"));
}

TEST_F(NetworkFileTest, aProcessThatIsKilledWhileItWritesLeavesAWholeNetwork) {
    const Bytes first(300000, 1);
    const Bytes second(200000, 2);
    for (int round = 0; round < 40; ++round) {
        int written[2];
        ASSERT_EQ(pipe(written), 0);
        const pid_t child = fork();
        while (child == 0) {
            mFile.write({1, first});
            mFile.write({1, second});
            if (write(written[1], "", 1) != 1) _exit(1);
        }
        char byte = 0;
        ASSERT_EQ(read(written[0], &byte, 1), 1);
        usleep(
            static_cast<useconds_t>(round * 37 % 1000));  // another moment of the write each time
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        close(written[0]);
        close(written[1]);
        StoredNetwork network;
        std::string problem;
        ASSERT_EQ(mFile.read(network, problem), NetworkFile::Read::WHOLE) << problem;
        ASSERT_TRUE(network.parameters == first || network.parameters == second);
    }
}

}  // namespace
}  // namespace zml
