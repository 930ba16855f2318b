#pragma once

#include <optional>
#include <string>

#include "zml/Bytes.h"

namespace zml {

// A stored network as its file holds it.
struct StoredNetwork {
    uint32_t kind = 0;  // of the learner
    Bytes parameters;
};

// The numbers of a network's file that do not depend on the learner.
struct NetworkHeader {
    uint32_t version = 0;
    uint32_t kind = 0;
    uint32_t vocabulary = 0;
    uint32_t context = 0;
    uint32_t size = 0;
    bool checksumRight = false;
};

// The file of a session's network, "<session>.zml" in the data directory. All numbers have 32 bits,
// lowest byte first:
//
//     "ZMLNETWK"   8 bytes
//     version      1
//     kind         the learner that reads the parameters
//     vocabulary   30
//     context      2
//     size         of the parameters, in bytes
//     parameters
//     checksum     CRC-32 of everything before
//
// A rewrite goes to "<session>.zml.tmp", which replaces the file once it is on disk: at any moment
// the disk holds the whole old network or the whole new one. Several threads may read while one
// writes.
class NetworkFile {
  public:
    enum class Read { MISSING, UNUSABLE, WHOLE };

    // What stands in a file of these bytes; nothing when it is too short or begins otherwise.
    static std::optional<NetworkHeader> readHeader(const Bytes& bytes);

    NetworkFile(const std::string& directory, const std::string& session);

    const std::string& path() const { return mPath; }

    // Reads the network. What is damaged, cut off, foreign or of a newer version is UNUSABLE, and
    // `problem` then says why.
    Read read(StoredNetwork& network, std::string& problem) const;

    // Replaces the network and returns when the new one is on disk; false, with errno set, when
    // that is not certain.
    bool write(const StoredNetwork& network) const;

  private:
    const std::string mPath;
    const std::string mTemporaryPath;
};

}  // namespace zml
