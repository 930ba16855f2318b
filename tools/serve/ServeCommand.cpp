#include "tools/serve/ServeCommand.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tools/common/CommonOptions.h"
#include "tools/common/DataDirectory.h"
#include "tools/common/EngineLog.h"
#include "tools/common/InputError.h"
#include "tools/common/Interrupt.h"
#include "tools/common/Output.h"
#include "tools/serve/EngineLibrary.h"
#include "tools/serve/LineReader.h"
#include "tools/serve/PrivateData.h"
#include "tools/serve/ServeConversation.h"

namespace {

constexpr size_t MAX_LINE = 16 * 1024 * 1024;
constexpr char DATA_DIRECTORY[] = "/data/system/korvi_system";
constexpr const char* IN_DATA = DATA_DIRECTORY + std::string_view("/data").size();
constexpr char LEVEL_VARIABLE[] = "DYNAMIC_LOGLEVEL_ENV";

struct Options {
    std::string library;
    std::optional<std::string> root;
    int logLevel = 0;  // 0 for no log
};

// Becomes a shell that gives itself a /data/system of its own, and that becomes this program again.
[[noreturn]] void startAgain(const std::string& root, const std::string& library, int logLevel) {
    prepareDataDirectory(root);
    // Until the shell is there; the program that comes behind it locks the same directory for good.
    const DirectoryLock lock(root + IN_DATA);
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    const char* const logOption = logLevel == 0 ? nullptr : "--log";  // a null ends the command
    execlp("sh", "sh", "-c", PRIVATE_DATA, "ksbrain", root.c_str(), self.c_str(), "serve",
           "--library", library.c_str(), logOption, std::to_string(logLevel).c_str(), nullptr);
    throw std::runtime_error(std::string("sh: ") + strerror(errno));
}

void setUpLog(const EngineLibrary& engine, int level) {
    silenceEngineLog();
    if (level == 0) return;
    // The library's logger sets the variable once, when it is first used: that is brought about by
    // a call that the stopped engine refuses. From then on the variable is the host's.
    sp<BrainEvent> none;
    engine.sendData(none);
    setenv(LEVEL_VARIABLE, std::to_string(level).c_str(), 1);
    openPlatformLog();
}

// Stops the engine however the conversation ends.
class RunningEngine {
  public:
    explicit RunningEngine(const EngineLibrary& engine) : mEngine(engine) {
        if (mEngine.init(nullptr) != 0) throw std::runtime_error("the engine cannot be started");
    }
    ~RunningEngine() { mEngine.exit(); }

  private:
    RunningEngine(const RunningEngine&) = delete;
    RunningEngine& operator=(const RunningEngine&) = delete;

    const EngineLibrary& mEngine;
};

int converse(const EngineLibrary& engine) {
    ServeConversation conversation(engine);
    LineReader input(STDIN_FILENO, MAX_LINE, interruptDescriptor());
    std::string line;
    while (!conversation.ended()) {
        switch (input.next(line)) {
            case LineReader::Status::LINE:
                writeOutput(conversation.answer(line));
                break;
            case LineReader::Status::TOO_LONG:
                writeOutput(conversation.refuseTooLong(MAX_LINE));
                break;
            case LineReader::Status::END:
                return 0;
            case LineReader::Status::STOPPED:
                return EXIT_SIGNALLED + interruptSignal();
            case LineReader::Status::FAILED:
                throw std::runtime_error(std::string("standard input cannot be read: ") +
                                         strerror(errno));
        }
    }
    return 0;
}

int serve(const Options& options) {
    const std::string path = options.library.empty()
                                 ? defaultEnginePath()
                                 : std::filesystem::absolute(options.library).string();
    const EngineLibrary engine = loadEngine(path);
    if (options.root) startAgain(*options.root, path, options.logLevel);
    std::optional<DirectoryLock> lock;
    if (canHoldData(DATA_DIRECTORY)) {
        prepareDataDirectory(DATA_DIRECTORY);
        lock.emplace(DATA_DIRECTORY);
    } else {
        fprintf(stderr, "%s cannot be written: predictions will be empty (--root DIR helps)\n",
                DATA_DIRECTORY);
    }
    setUpLog(engine, options.logLevel);
    catchInterrupts();
    const RunningEngine running(engine);
    return converse(engine);
}

constexpr char PROTOCOL[] =
    "Input and answers, a JSON object a line:\n"
    "  {\"open\":\"com.a\",\"packages\":[\"com.a\",\"com.b\"]}   {\"ok\":true}\n"
    "      com.a came to the front; packages, all that are installed, may be absent\n"
    "  {\"charging\":true}                               {\"ok\":true}\n"
    "  {\"event\":12}                                    {\"ok\":true}\n"
    "      an event of that code, otherwise empty\n"
    "  {\"predict\":true}                                {\"predict\":[\"com.b\",\"com.a\"]}\n"
    "  {\"exit\":true}                                   {\"ok\":true}\n"
    "      as the end of the input does\n"
    "  An event is answered when the engine has handled it; a line that cannot be\n"
    "  used, with {\"error\":\"line 4: ...\"}.";

}  // namespace

Verb makeServeVerb() {
    const auto options = std::make_shared<Options>();
    Verb verb{"serve",
              "Load libksbrain.so as a phone's daemon does, and drive it line by line",
              {{"echo '{\"predict\":true}' | ksbrain serve --root state",
                "what an engine that goes on with the files below state/ predicts"}},
              PROTOCOL};
    verb.text("--library PATH", options->library,
              "The library to load (default: libksbrain.so beside this program)");
    verb.text("--root DIR", options->root,
              "Give the library a /data of its own, kept in this directory");
    addLogOption(verb, options->logLevel);
    verb.run = [options] { return serve(*options); };
    return verb;
}
