#include "desktop/LineFront.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace {

class LineFrontTest : public ::testing::Test {
  protected:
    ~LineFrontTest() override {
        close(mEnds[0]);
        close(mEnds[1]);
    }

    // Everything that comes after the text, "NAME PID,".
    std::string after(const std::string& text) {
        EXPECT_EQ(write(mEnds[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
        return all();
    }
    std::string all() {
        std::string result;
        while (const auto app = mFront.next()) {
            result += app->name + ' ' + std::to_string(app->process) + ',';
        }
        return result;
    }

    int mEnds[2] = {-1, -1};
    const bool mIsOpen = pipe(mEnds) == 0;
    LineFront mFront{mEnds[0]};
};

TEST_F(LineFrontTest, TakesLinesAsTheyCome) {
    EXPECT_EQ(all(), "");
    EXPECT_EQ(after("fire"), "");
    EXPECT_EQ(after("fox-esr\n\n \t\nb.c 12\r\n  d\t 3 \ne"), "firefox_esr 0,b.c 12,d 3,");
    EXPECT_FALSE(mFront.ended());
    close(mEnds[1]);
    EXPECT_EQ(all(), "e 0,");
    EXPECT_TRUE(mFront.ended());
}

TEST_F(LineFrontTest, PassesOverWhatItCannotUse) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(after("a b\na -1\na 0\na 99999999999\n\x1b[1m \x07\nok 5\n"), "ok 5,");
    EXPECT_EQ(after(std::string(4096, 'l') + "\n").size(), 103);  // a long name is cut
    EXPECT_EQ(after(std::string(4097, 'l') + "\nnext\n"), "next 0,");
    for (int i = 0; i < 5; ++i) EXPECT_EQ(after(std::string(5000, 'l')), "");
    EXPECT_EQ(after(std::string(" rest\n\0 7\nx y\n", 14)), "_ 7,");
    const std::string unused = " is neither \"NAME\" nor \"NAME PID\" and is passed over\n";
    const std::string tooLong = ": the line is longer than 4,096 bytes and is passed over\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "stdin:1: \"a b\"" + unused + "stdin:2: \"a -1\"" + unused + "stdin:3: \"a 0\"" +
                  unused + "stdin:4: \"a 99999999999\"" + unused + "stdin:5: \"?[1m ?\"" + unused +
                  "stdin:8" + tooLong + "stdin:10" + tooLong + "stdin:12: \"x y\"" + unused);
}

TEST_F(LineFrontTest, KnowsWhoRunsByTheLastProcess) {
    const pid_t gone = fork();
    if (gone == 0) _exit(0);
    waitpid(gone, nullptr, 0);
    const std::string here = std::to_string(getpid());
    after("a " + here + "\nb " + here + "\nb " + std::to_string(gone) + "\nc\nd 1\n");
    EXPECT_EQ(mFront.running(), (std::set<std::string>{"a", "d"}));
}

TEST(LineFront, SaysThatItsInputIsLost) {
    const int folder = open("/", O_RDONLY | O_CLOEXEC);
    EXPECT_THROW(LineFront(folder).next(), std::runtime_error);
    close(folder);
    EXPECT_THROW(LineFront(folder).next(), std::runtime_error) << "closed";
}

}  // namespace
