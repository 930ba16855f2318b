#include <gmock/gmock.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <fstream>

#include "platform/testing/TempDir.h"
#include "tools/common/JsonLine.h"
#include "tools/serve/ServeConversation.h"
#include "tools/test/ProgramRun.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// An engine that notes what it is sent.
std::vector<std::string> gSeen;
bool gRefusing = false;

int note(sp<BrainEvent>& event) {
    if (gRefusing) return -1;
    std::string seen = std::to_string(event->type) + " " + event->package;
    if (event->type == 6) seen += event->charging != 0 ? "on" : "off";
    if (event->hasPackageList != 0) {
        for (const std::string& name : event->packageList) seen += "+" + name;
    }
    gSeen.push_back(seen);
    return 0;
}

int foretell(std::vector<std::string>& names) {
    names = {"com.b", "caf\xE9"};
    return 0;
}

constexpr EngineLibrary FAKE = {nullptr, nullptr, note, foretell, nullptr};

class ServeConversationTest : public ::testing::Test {
  protected:
    ServeConversationTest() {
        gSeen.clear();
        gRefusing = false;
    }
};

TEST_F(ServeConversationTest, TurnsLinesIntoCalls) {
    ServeConversation conversation(FAKE);
    const struct {
        const char* line;
        const char* answer;
    } cases[] = {
        {R"({"open":"com.a"})", R"({"ok":true})"},
        {R"({"packages":["com.a","com.b"],"open":"com.b"})", R"({"ok":true})"},
        {R"({"charging":true})", R"({"ok":true})"},
        {R"({"charging":false})", R"({"ok":true})"},
        {R"( {"event":-2147483648} )", R"({"ok":true})"},
        {R"({"predict":true})", "{\"predict\":[\"com.b\",\"caf\xEF\xBF\xBD\"]}"},
    };
    for (const auto& [line, answer] : cases) {
        EXPECT_EQ(conversation.answer(line), std::string(answer) + "\n") << line;
    }
    EXPECT_THAT(gSeen,
                ElementsAre("4 com.a", "4 com.b+com.a+com.b", "6 on", "6 off", "-2147483648 "));
    EXPECT_FALSE(conversation.ended());
    EXPECT_EQ(conversation.answer(R"({"exit":true})"), "{\"ok\":true}\n");
    EXPECT_TRUE(conversation.ended());
}

TEST_F(ServeConversationTest, RefusesWhatItCannotUseAndGoesOn) {
    ServeConversation conversation(FAKE);
    const char* const lines[] = {
        "",
        "open com.a",
        "[1]",
        "{}",
        R"({"open":7})",
        R"({"open":"a","packages":"b"})",
        R"({"open":"a","packages":["b",null]})",
        R"({"packages":["b"]})",
        R"({"close":"a"})",
        R"({"open":"a","predict":true})",
        R"({"charging":1})",
        R"({"event":2147483648})",
        R"({"event":1e30})",
        R"({"event":-2147483649})",
        R"({"event":"4"})",
        R"({"event":4.0})",
        R"({"predict":false})",
        R"({"exit":1})",
        "{\"open\":\"\xFF\"}",
        "{\"open\":\"a\"} {\"open\":\"b\"}",
    };
    size_t number = 0;
    for (const char* line : lines) {
        const Json answer = Json::parse(conversation.answer(line));
        const std::string error = answer.value("error", "none");
        EXPECT_THAT(error, StartsWith("line " + std::to_string(++number) + ": ")) << line;
    }
    EXPECT_TRUE(gSeen.empty());
    gRefusing = true;
    EXPECT_THAT(conversation.answer(R"({"event":12})"), HasSubstr("line 21: the engine refused"));
    EXPECT_FALSE(conversation.ended());
}

// The program with the library it was built with, and with a /data/system of its own.
class ServedEngine : public ::testing::Test {
  protected:
    void SetUp() override {
        const std::string trial = PRIVATE_DATA_SCRIPT " " + mRoot.path() + " true";
        if (system(trial.c_str()) != 0) GTEST_SKIP() << "no private mounts on this machine";
    }

    ProgramRun serve(const std::string& input, const std::vector<std::string>& options = {}) {
        std::vector<std::string> arguments = {"serve"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return runKsbrain(arguments, input, nullptr, {PRIVATE_DATA_SCRIPT, mRoot.path()});
    }

    const TempDir mRoot;
    const std::string mData = "system/korvi_system/";
};

TEST_F(ServedEngine, LearnsAndAnswersAndRemembers) {
    std::string input;
    std::string answers;
    for (int i = 0; i < 40; ++i) {
        input += i % 2 == 0 ? "{\"open\":\"com.a\"}\n" : "{\"open\":\"com.b\"}\n";
        answers += "{\"ok\":true}\n";
    }
    const std::string ask = "{\"predict\":true}\n";
    const ProgramRun first = serve(input + ask + "nonsense\n" + ask + "{\"exit\":true}\n" + ask);
    EXPECT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(first.err, "");
    const std::string prediction = "{\"predict\":[\"com.a\",\"com.b\"]}\n";
    EXPECT_EQ(first.out, answers + prediction +
                             "{\"error\":\"line 42: no JSON: \\\"nonsense\\\"\"}\n" + prediction +
                             "{\"ok\":true}\n");

    // Started again it knows them; what is in front counts anew.
    const ProgramRun second = serve("{\"open\":\"com.b\"}\n{\"open\":\"com.a\"}\n" + ask);
    EXPECT_EQ(second.status, 0) << second.err;
    EXPECT_THAT(second.out, HasSubstr("{\"predict\":[\"com.b\",\"com.a\"]}"));
    EXPECT_EQ(mRoot.read(mData + "AppPreloadMap"), "appmap 2\ncom.a 0\ncom.b 1\n");
}

TEST_F(ServedEngine, LeavesTheMapThatReplayLeaves) {
    std::string input;
    std::string trace;
    for (const char* name : {"com.b", "com.a", "not a package", "com.c", "com.veltra.launcher",
                             "com.a", "com.d.e_2"}) {
        input += jsonLine({{"open", name}}) + "{\"predict\":true}\n";
        trace += std::string(name) + "\n";
    }
    const TempDir replayed;
    replayed.write("t.txt", trace);
    const ProgramRun replay = runKsbrain(
        {"replay", "--charging", "never", "--data-dir", replayed.path(), replayed.file("t.txt")});
    EXPECT_EQ(replay.status, 0) << replay.err;
    EXPECT_EQ(serve(input).status, 0);
    EXPECT_THAT(replayed.read("AppPreloadMap"), HasSubstr("com.d.e_2 3\n"));
    EXPECT_EQ(mRoot.read(mData + "AppPreloadMap"), replayed.read("AppPreloadMap"));
}

TEST_F(ServedEngine, ShowsTheLogOnlyWhenItIsAsked) {
    const std::string input = "{\"event\":12}\n";
    EXPECT_EQ(serve(input).err, "");
    const ProgramRun run = serve(input, {"--log", "trace"});
    EXPECT_THAT(run.err, HasSubstr("-->InTo : "));
    EXPECT_THAT(run.err, HasSubstr("brain_main_init response Handler"));
    EXPECT_THAT(run.err, HasSubstr("ksbrain: memory update received"));
}

TEST_F(ServedEngine, MakesItselfADataDirectory) {
    if (isEmulated()) GTEST_SKIP() << "a shell of this machine gives the program its directory";
    const ProgramRun run = runKsbrain({"serve", "--root", mRoot.file("phone"), "--log", "debug"},
                                      "{\"open\":\"com.a\"}\n{\"open\":\"com.b\"}\n");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "{\"ok\":true}\n{\"ok\":true}\n");
    EXPECT_THAT(run.err, HasSubstr("BayesAdapter init ok"));
    EXPECT_EQ(mRoot.read("phone/" + mData + "AppPreloadMap"), "appmap 2\ncom.a 0\ncom.b 1\n");
}

TEST_F(ServedEngine, KeepsItsDataDirectoryToItself) {
    if (isEmulated()) GTEST_SKIP() << "a shell of this machine gives the program its directory";
    const std::string phone = mRoot.file("phone");
    const std::string pipe = mRoot.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::vector<ProgramRun> others;
    const ProgramRun first = runKsbrain(
        {"serve", "--root", phone}, "",
        [&](pid_t program) {
            std::ofstream(pipe) << "{\"open\":\"com.a\"}" << std::endl;
            while (!mRoot.exists("phone/" + mData + "AppPreloadMap") && kill(program, 0) == 0) {
                usleep(1000);
            }
            mRoot.write("t.txt", "com.a\ncom.b\n");
            others = {
                runKsbrain({"serve", "--root", phone}),
                runKsbrain({"serve"}, "", nullptr, {PRIVATE_DATA_SCRIPT, phone}),
                runKsbrain({"replay", "--data-dir", phone + "/" + mData, mRoot.file("t.txt")})};
            kill(program, SIGTERM);
        },
        {"/bin/sh", "-c", "exec \"$@\" 0<>" + pipe, "sh"});  // an input that does not end
    EXPECT_EQ(first.status, 128 + SIGTERM) << first.err;
    EXPECT_THAT(others[0].err, HasSubstr(phone + "/system/korvi_system: another run uses"));
    EXPECT_THAT(others[1].err, HasSubstr("/data/system/korvi_system: another run uses"));
    for (const ProgramRun& other : others) {
        EXPECT_EQ(other.status, 2) << other.err;
        EXPECT_EQ(other.out, "");
    }
}

TEST(Serve, EndsInGoodOrderWithoutALibraryOrADirectory) {
    const ProgramRun run = runKsbrain({"serve", "--library", "/nowhere/libksbrain.so"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("/nowhere/libksbrain.so"));
    EXPECT_EQ(runKsbrain({"serve", "--root", "/nowhere/phone"}).status, 2);
}

}  // namespace
