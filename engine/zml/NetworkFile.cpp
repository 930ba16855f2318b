#include "zml/NetworkFile.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/FileAccess.h"
#include "zml/Crc32.h"
#include "zml/Learner.h"

namespace zml {

namespace {

constexpr char MAGIC[] = "ZMLNETWK";
constexpr size_t MAGIC_SIZE = sizeof(MAGIC) - 1;
constexpr uint32_t VERSION = 1;

constexpr size_t VERSION_OFFSET = MAGIC_SIZE;
constexpr size_t KIND_OFFSET = VERSION_OFFSET + 4;
constexpr size_t VOCABULARY_OFFSET = KIND_OFFSET + 4;
constexpr size_t CONTEXT_OFFSET = VOCABULARY_OFFSET + 4;
constexpr size_t SIZE_OFFSET = CONTEXT_OFFSET + 4;
constexpr size_t HEADER_SIZE = SIZE_OFFSET + 4;
constexpr size_t CHECKSUM_SIZE = 4;

// Far above every learner's need: what is bigger was not written here.
constexpr size_t MAX_PARAMETERS = 4 << 20;

constexpr mode_t MODE = 0600;

Bytes encode(const StoredNetwork& network) {
    Bytes bytes(MAGIC, MAGIC + MAGIC_SIZE);
    appendU32(bytes, VERSION);
    appendU32(bytes, network.kind);
    appendU32(bytes, VOCABULARY);
    appendU32(bytes, CONTEXT);
    appendU32(bytes, static_cast<uint32_t>(network.parameters.size()));
    bytes.insert(bytes.end(), network.parameters.begin(), network.parameters.end());
    appendU32(bytes, crc32(bytes.data(), bytes.size()));
    return bytes;
}

// What is wrong with the bytes of a file; empty when they are a whole network.
std::string findProblem(const Bytes& bytes) {
    if (bytes.size() < HEADER_SIZE + CHECKSUM_SIZE) return "cut off";
    const std::optional<NetworkHeader> header = NetworkFile::readHeader(bytes);
    if (!header) return "not a network";
    if (header->version != VERSION) return "of version " + std::to_string(header->version);
    if (header->size != bytes.size() - HEADER_SIZE - CHECKSUM_SIZE) return "of the wrong size";
    if (!header->checksumRight) return "damaged";
    if (header->vocabulary != VOCABULARY || header->context != CONTEXT) {
        return "of other dimensions";
    }
    return "";
}

}  // namespace

std::optional<NetworkHeader> NetworkFile::readHeader(const Bytes& bytes) {
    if (bytes.size() < HEADER_SIZE + CHECKSUM_SIZE ||
        !std::equal(MAGIC, MAGIC + MAGIC_SIZE, bytes.begin())) {
        return std::nullopt;
    }
    const size_t checked = bytes.size() - CHECKSUM_SIZE;
    return NetworkHeader{
        readU32(bytes, VERSION_OFFSET),    readU32(bytes, KIND_OFFSET),
        readU32(bytes, VOCABULARY_OFFSET), readU32(bytes, CONTEXT_OFFSET),
        readU32(bytes, SIZE_OFFSET),       readU32(bytes, checked) == crc32(bytes.data(), checked)};
}

NetworkFile::NetworkFile(const std::string& directory, const std::string& session)
    : mPath(directory + "/" + session + ".zml"), mTemporaryPath(mPath + ".tmp") {}

NetworkFile::Read NetworkFile::read(StoredNetwork& network, std::string& problem) const {
    std::string content;
    switch (readFile(mPath, HEADER_SIZE + MAX_PARAMETERS + CHECKSUM_SIZE, content)) {
        case FileRead::MISSING:
            return Read::MISSING;
        case FileRead::FAILED:
            problem = strerror(errno);
            return Read::UNUSABLE;
        case FileRead::READ:
            break;
    }
    const Bytes bytes(content.begin(), content.end());
    problem = findProblem(bytes);
    if (!problem.empty()) return Read::UNUSABLE;
    network.kind = readU32(bytes, KIND_OFFSET);
    network.parameters.assign(bytes.begin() + HEADER_SIZE, bytes.end() - CHECKSUM_SIZE);
    return Read::WHOLE;
}

bool NetworkFile::write(const StoredNetwork& network) const {
    if (network.parameters.size() > MAX_PARAMETERS) {
        errno = EFBIG;
        return false;
    }
    const Bytes bytes = encode(network);
    const std::string_view content(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (writeFile(mTemporaryPath, MODE, content, true) == FileWrite::WRITTEN &&
        rename(mTemporaryPath.c_str(), mPath.c_str()) == 0) {
        return syncDirectoryOf(mPath);
    }
    const int error = errno;
    unlink(mTemporaryPath.c_str());
    errno = error;
    return false;
}

}  // namespace zml
