#include "tools/test/ProgramRun.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/testing/TempDir.h"

namespace {

// Its streams are files, so that neither side ever waits for the other.
[[noreturn]] void become(const std::vector<std::string>& launcher,
                         const std::vector<std::string>& arguments, const TempDir& streams) {
    dup2(open(streams.file("in").c_str(), O_RDONLY), STDIN_FILENO);
    dup2(open(streams.file("out").c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
    dup2(open(streams.file("err").c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
    setenv("TZ", "UTC", 1);
    std::vector<const char*> argv;
    for (const std::string& word : launcher) argv.push_back(word.c_str());
    if (*KSBRAIN_EMULATOR != 0) argv.push_back(KSBRAIN_EMULATOR);
    argv.push_back(KSBRAIN_PROGRAM);
    for (const std::string& argument : arguments) argv.push_back(argument.c_str());
    argv.push_back(nullptr);
    execv(argv[0], const_cast<char**>(argv.data()));
    _exit(127);
}

}  // namespace

ProgramRun runKsbrain(const std::vector<std::string>& arguments, const std::string& input,
                      const std::function<void(pid_t)>& meanwhile,
                      const std::vector<std::string>& launcher) {
    const TempDir streams;
    streams.write("in", input);
    const pid_t child = fork();
    if (child == 0) become(launcher, arguments, streams);
    if (meanwhile) meanwhile(child);
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), streams.read("out"),
            streams.read("err")};
}

bool isEmulated() {
    return *KSBRAIN_EMULATOR != 0;
}
