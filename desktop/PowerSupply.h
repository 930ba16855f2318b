#pragma once

#include <string>

// Whether the machine has power from outside, as the kernel's power supplies say. For one thread.
class PowerSupply {
  public:
    // `folder` has a folder for each supply.
    explicit PowerSupply(const std::string& folder = "/sys/class/power_supply");
    ~PowerSupply();

    // It has when there is no battery (that is the machine's own, not a mouse's), when one charges,
    // or when a mains or USB supply is connected. A machine that knows of none of these supplies
    // has it while its batteries do not discharge.
    bool charging() const { return mIsCharging; }

    // Readable when the kernel says something about its devices; -1 when that cannot be heard.
    int descriptor() const { return mDescriptor; }

    // Takes what the kernel has said, and looks again if it was about power, or cannot be heard.
    // Whether charging() is another than before. Never waits.
    bool changed();

  private:
    PowerSupply(const PowerSupply&) = delete;
    PowerSupply& operator=(const PowerSupply&) = delete;

    bool look() const;
    bool wasToldOfPower() const;

    const std::string mFolder;
    const int mDescriptor;
    bool mIsCharging;
};
