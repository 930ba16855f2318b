#pragma once

#include <sys/types.h>

#include <cerrno>
#include <string>
#include <string_view>

// The engine's files are small: each is read and written as a whole. What fails is noted with the
// environment, and errno tells why.

// Whether a call failed because there is no such file.
inline bool isAbsence(int error) {
    return error == ENOENT || error == ENOTDIR;
}

enum class FileRead {
    MISSING,  // there is no such file
    READ,
    FAILED,  // what it holds is not known; also for what is no regular file, or has more than
             // `maxBytes`
};
FileRead readFile(const std::string& path, size_t maxBytes, std::string& content);

// Writes a new file, with `mode` less the umask, or over an old one, and syncs it when it is to
// outlive a power cut.
enum class FileWrite { WRITTEN, OPEN_FAILED, WRITE_FAILED };
FileWrite writeFile(const std::string& path, mode_t mode, std::string_view content, bool synced);

// Adds to the end of a file, which is made with `mode` when it is missing. False when it failed:
// the file is as it was then, as far as it can still be cut.
bool appendToFile(const std::string& path, mode_t mode, std::string_view content);

// Syncs what was made, renamed and deleted in the file's directory. False on failure.
bool syncDirectoryOf(const std::string& path);
