#include "desktop/PowerSupply.h"

#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "tools/common/Text.h"

namespace {

constexpr unsigned KERNEL_EVENTS = 1;  // the group; udev sends its own to others

int openEvents() {
    const int descriptor =
        socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_KOBJECT_UEVENT);
    if (descriptor < 0) return -1;
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = KERNEL_EVENTS;
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        return descriptor;
    }
    close(descriptor);
    return -1;
}

// The first line of a supply's attribute; empty when it has none.
std::string attribute(const std::filesystem::path& supply, const char* name) {
    std::ifstream file(supply / name);
    char line[64] = "";
    file.getline(line, sizeof line);
    return line;
}

}  // namespace

PowerSupply::PowerSupply(const std::string& folder)
    : mFolder(folder), mDescriptor(openEvents()), mIsCharging(look()) {}

PowerSupply::~PowerSupply() {
    if (mDescriptor >= 0) close(mDescriptor);
}

bool PowerSupply::look() const {
    bool hasBattery = false;
    bool hasMains = false;
    bool isDischarging = false;
    std::error_code error;
    std::filesystem::directory_iterator supply(mFolder, error);
    for (; !error && supply != std::filesystem::directory_iterator(); supply.increment(error)) {
        const std::string type = attribute(*supply, "type");
        if (attribute(*supply, "scope") == "Device") continue;
        if (type == "Battery" || type == "UPS") {
            if (attribute(*supply, "present") == "0") continue;  // an empty bay
            const std::string status = attribute(*supply, "status");
            if (status == "Charging") return true;
            hasBattery = true;
            isDischarging = isDischarging || (status != "Full" && status != "Not charging");
        } else if (type == "Mains" || type == "Wireless" || startsWith(type, "USB")) {
            if (attribute(*supply, "online") == "1") return true;
            hasMains = true;
        }
    }
    return !hasBattery || (!hasMains && !isDischarging);
}

// Messages are "ACTION@PATH" and "KEY=VALUE"s, each with a NUL behind it.
bool PowerSupply::wasToldOfPower() const {
    bool wasTold = false;
    for (;;) {
        char message[8192];
        const ssize_t count = recv(mDescriptor, message, sizeof message, 0);
        if (count >= 0) {
            const std::string_view text(message, static_cast<size_t>(count));
            wasTold = wasTold || holds(text, "SUBSYSTEM=power_supply");
        } else if (errno == ENOBUFS) {
            wasTold = true;  // there was more than fitted
        } else if (errno != EINTR) {
            return wasTold;
        }
    }
}

bool PowerSupply::changed() {
    if (mDescriptor >= 0 && !wasToldOfPower()) return false;
    const bool before = mIsCharging;
    mIsCharging = look();
    return mIsCharging != before;
}
