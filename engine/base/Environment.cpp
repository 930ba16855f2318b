#include "base/Environment.h"

namespace environment {

std::string dataDirectory() {
    return "/data/system/korvi_system";
}

time_t now() {
    return time(nullptr);
}

void noteStorageFailure(const std::string&, int) {}

}  // namespace environment
