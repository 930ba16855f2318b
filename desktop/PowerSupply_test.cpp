#include "desktop/PowerSupply.h"

#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/testing/TempDir.h"

namespace {

// The kernel's folder with these supplies, each "TYPE ATTRIBUTE VALUE".
class Supplies {
  public:
    explicit Supplies(const std::vector<std::string>& supplies) {
        for (const std::string& supply : supplies) {
            const size_t type = supply.find(' ');
            const size_t attribute = supply.find(' ', type + 1);
            const std::string folder = "supply" + std::to_string(mCount++);
            mkdir(mFiles.file(folder).c_str(), 0755);
            mFiles.write(folder + "/type", supply.substr(0, type) + '\n');
            mFiles.write(folder + '/' + supply.substr(type + 1, attribute - type - 1),
                         supply.substr(attribute + 1) + '\n');
        }
    }

    const TempDir mFiles;
    int mCount = 0;
};

TEST(PowerSupply, IsJudgedByTheMachinesOwnSupplies) {
    const std::pair<std::vector<std::string>, bool> cases[] = {
        {{}, true},
        {{"USB online 0"}, true},  // a desktop computer's port
        {{"Battery scope Device", "Battery present 0", "Mains online 0"}, true},
        {{"Mains online 1", "Battery status Discharging"}, true},  // held below full
        {{"Mains online 0", "USB_PD online 1", "Battery status Discharging"}, true},
        {{"Mains online 0", "Battery status Not charging"}, false},
        {{"USB online 0", "Battery status Charging"}, true},
        {{"Battery status Full"}, true},
        {{"Battery status Full", "Battery status Discharging"}, false},
        {{"Battery status Discharging", "Battery status Charging"}, true},
        {{"Battery status Unknown"}, false},
        {{std::string(5000, 'x') + " online 1", "Battery status "}, false},
    };
    for (const auto& [supplies, isCharging] : cases) {
        EXPECT_EQ(PowerSupply(Supplies(supplies).mFiles.path()).charging(), isCharging)
            << testing::PrintToString(supplies);
    }
    EXPECT_TRUE(PowerSupply("/nowhere").charging());
}

TEST(PowerSupply, LooksAgainWhenTheKernelSpeaksOfPower) {
    const Supplies supplies({"Battery status Full"});
    PowerSupply power(supplies.mFiles.path());
    sockaddr_nl address{};
    socklen_t size = sizeof address;
    getsockname(power.descriptor(), reinterpret_cast<sockaddr*>(&address), &size);
    address.nl_groups = 0;
    const int kernel = socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT);
    const auto say = [&](std::string_view message) {
        return sendto(kernel, message.data(), message.size(), 0,
                      reinterpret_cast<const sockaddr*>(&address), sizeof address) > 0;
    };
    if (!say("add@/x")) GTEST_SKIP() << "only root may speak as the kernel";
    supplies.mFiles.write("supply0/status", "Discharging\n");
    say(std::string_view("change@/disk\0SUBSYSTEM=block", 28));
    EXPECT_FALSE(power.changed());
    const std::string_view ofPower("change@/battery\0SUBSYSTEM=power_supply\0X=1", 42);
    say(ofPower);
    say(std::string(20'000, 'x'));
    EXPECT_TRUE(power.changed());
    EXPECT_FALSE(power.charging());
    say(ofPower);
    EXPECT_FALSE(power.changed());
    close(kernel);
}

}  // namespace
