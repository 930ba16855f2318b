#include "tools/serve/PrivateRoot.h"

#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

namespace {

constexpr unsigned long RECURSIVE_BIND = MS_BIND | MS_REC;

std::string failure(const std::string& action) {
    return action + ": " + strerror(errno);
}

bool writeFile(const char* path, const std::string& content) {
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0) return false;
    const bool complete =
        write(file, content.data(), content.size()) == static_cast<ssize_t>(content.size());
    close(file);
    return complete;
}

// The ids keep their meaning, so that files are made with the user's own.
std::string mapIds(uid_t user, gid_t group) {
    const auto line = [](unsigned id) {
        return std::to_string(id) + " " + std::to_string(id) + " 1\n";
    };
    // Without this an unprivileged process may not map its group.
    writeFile("/proc/self/setgroups", "deny");
    if (!writeFile("/proc/self/uid_map", line(user)) ||
        !writeFile("/proc/self/gid_map", line(group))) {
        return failure("cannot map the user's ids");
    }
    return {};
}

std::string enterNamespace() {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (unshare(CLONE_NEWNS) != 0) {
        if (errno != EPERM || unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
            return failure("no mount namespace of its own");
        }
        const std::string error = mapIds(user, group);
        if (!error.empty()) return error;
    }
    // What is mounted here must not show elsewhere.
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return failure("cannot make the mounts private");
    }
    return {};
}

bool isDirectory(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// The names in the working directory.
std::vector<std::string> entries() {
    std::vector<std::string> names;
    DIR* const directory = opendir(".");
    if (directory == nullptr) return names;
    while (const dirent* entry = readdir(directory)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    closedir(directory);
    return names;
}

// Makes the entry of the old root appear under the same name in the working directory.
std::string mirror(const std::string& name) {
    const std::string source = "/" + name;
    struct stat status {};
    if (lstat(source.c_str(), &status) != 0) return failure("cannot look at " + source);
    if (S_ISLNK(status.st_mode)) {
        std::vector<char> target(static_cast<size_t>(status.st_size) + 1);
        if (readlink(source.c_str(), target.data(), target.size() - 1) < 0 ||
            symlink(target.data(), name.c_str()) != 0) {
            return failure("cannot copy the link " + source);
        }
        return {};
    }
    const int made = S_ISDIR(status.st_mode) ? mkdir(name.c_str(), 0755)
                                             : mknod(name.c_str(), S_IFREG | 0644, 0);
    if (made != 0 || mount(source.c_str(), name.c_str(), nullptr, RECURSIVE_BIND, nullptr) != 0) {
        return failure("cannot mirror " + source);
    }
    return {};
}

// For a system without "/data": a new root that holds everything of the old one, and it.
std::string buildRoot(const std::string& directory) {
    // Read from inside: an emulator shows its guest another "/".
    if (chdir("/") != 0) return failure("cannot look at the root");
    const std::vector<std::string> names = entries();
    // The new root is moved over the old one before it is filled. The process still sees the old
    // one under "/" and the new one as its working directory; no mount point is needed for longer.
    if (mount("tmpfs", directory.c_str(), "tmpfs", 0, "mode=0755") != 0) {
        return failure("cannot make a new root");
    }
    if (chdir(directory.c_str()) != 0 || mount(".", "/", nullptr, MS_MOVE, nullptr) != 0) {
        return failure("cannot move the new root into its place");
    }
    for (const std::string& name : names) {
        const std::string error = mirror(name);
        if (!error.empty()) return error;
    }
    if (mkdir("data", 0755) != 0 ||
        mount(directory.c_str(), "data", nullptr, RECURSIVE_BIND, nullptr) != 0) {
        return failure("cannot mount " + directory + " as /data");
    }
    if (chroot(".") != 0) return failure("cannot enter the new root");
    return {};
}

std::string mountData(const std::string& directory) {
    if (!isDirectory("/data")) return buildRoot(directory);
    if (mount(directory.c_str(), "/data", nullptr, RECURSIVE_BIND, nullptr) != 0) {
        return failure("cannot mount " + directory + " as /data");
    }
    return {};
}

std::string currentDirectory() {
    char* const path = getcwd(nullptr, 0);
    const std::string result = path == nullptr ? "/" : path;
    free(path);
    return result;
}

}  // namespace

std::string enterPrivateRoot(const std::string& directory) {
    if (mkdir(directory.c_str(), 0775) != 0 && !isDirectory(directory)) {
        return failure("cannot make " + directory);
    }
    const std::string system = directory + "/system";
    if (mkdir(system.c_str(), 0775) != 0 && !isDirectory(system)) {
        return failure("cannot make " + system);
    }
    char* const resolved = realpath(directory.c_str(), nullptr);
    if (resolved == nullptr) return failure("cannot find " + directory);
    const std::string absolute = resolved;
    free(resolved);

    const std::string workingDirectory = currentDirectory();
    std::string error = enterNamespace();
    if (error.empty()) error = mountData(absolute);
    if (!error.empty()) return error;
    // The same path, reached through the new mounts.
    if (chdir(workingDirectory.c_str()) != 0 && chdir("/") != 0) {
        return failure("cannot return to " + workingDirectory);
    }
    return {};
}

std::string privateRootRefusal() {
    std::string directory = std::filesystem::temp_directory_path() / "ksbrain-XXXXXX";
    if (mkdtemp(directory.data()) == nullptr) return failure("no temporary directory");
    int report[2];
    std::string refusal;
    if (pipe(report) != 0) {
        refusal = failure("no pipe");
    } else if (const pid_t child = fork(); child == 0) {
        const std::string error = enterPrivateRoot(directory);
        // A pipe takes a line of this length at once.
        _exit(write(report[1], error.data(), error.size()) < 0 ? 1 : 0);
    } else {
        close(report[1]);
        char text[512];
        const ssize_t length = child < 0 ? 0 : read(report[0], text, sizeof(text));
        close(report[0]);
        int status = 0;
        if (child < 0 || waitpid(child, &status, 0) < 0 || status != 0 || length < 0) {
            refusal = "the trial failed";
        } else {
            refusal.assign(text, static_cast<size_t>(length));
        }
    }
    rmdir((directory + "/system").c_str());
    rmdir(directory.c_str());
    return refusal;
}
