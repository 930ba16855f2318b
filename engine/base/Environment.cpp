#include "base/Environment.h"

#include <unistd.h>

namespace environment {

std::string dataDirectory() {
    return "/data/system/korvi_system";
}

time_t now() {
    return time(nullptr);
}

void noteStorageFailure(const std::string&, int) {}

bool sync(int descriptor) {
    return fsync(descriptor) == 0;
}

}  // namespace environment
