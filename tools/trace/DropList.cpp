#include "tools/trace/DropList.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "tools/common/Text.h"

namespace {

// What a phone's own log names between the applications, by the end of the name: home screens,
// system UI, installers with their questions for permission, and the first start.
constexpr std::string_view ENDINGS[] = {
    ".launcher",
    ".launcher2",
    ".launcher3",
    ".trebuchet",
    ".systemui",
    ".packageinstaller",
    ".permissioncontroller",
    ".setupwizard",
};

// The same by the whole name.
constexpr const char* NAMES[] = {
    // Home screens.
    "com.google.android.apps.nexuslauncher",
    "com.sec.android.app.easylauncher",
    "com.sec.android.emergencylauncher",
    "com.miui.home",
    "com.mi.android.globallauncher",
    "com.transsion.hilauncher",
    "com.transsion.XOSLauncher",
    "com.sonyericsson.home",
    "com.sonymobile.home",
    "com.amazon.firelauncher",
    "com.fairphone.fplauncher3",
    "com.actionlauncher.playstore",
    "com.gau.go.launcherex",
    "app.lawnchair",
    "ginlemon.flowerfree",
    // Recent applications.
    "com.android.recents",
    "com.quorin.recents",
    // The question which application to take.
    "android",
    "com.android.intentresolver",
    "com.huawei.android.internal.app",
    // Lock screen, security centres and the first start.
    "com.android.keyguard",
    "com.lbe.security.miui",
    "com.quorin.safecenter",
    "com.android.provision",
    "com.sec.android.app.SecSetupWizard",
};

}  // namespace

DropList::DropList(const TraceOptions& options, Defaults defaults)
    : mPhone(defaults == Defaults::PHONE),
      mDropped(options.drop.begin(), options.drop.end()),
      mKept(options.keep.begin(), options.keep.end()) {
    if (mPhone) mDropped.insert(std::begin(NAMES), std::end(NAMES));
}

bool DropList::drops(const std::string& name) {
    if (!isListed(name)) return false;
    ++mCounts[name];
    return true;
}

bool DropList::isListed(const std::string& name) const {
    if (mKept.find(name) != mKept.end()) return false;
    if (mDropped.find(name) != mDropped.end()) return true;
    return mPhone && std::any_of(std::begin(ENDINGS), std::end(ENDINGS),
                                 [&](std::string_view ending) { return endsWith(name, ending); });
}

void DropList::note(std::vector<std::string>& notes) const {
    if (mCounts.empty()) return;
    std::vector<std::pair<std::string, size_t>> counts(mCounts.begin(), mCounts.end());
    std::stable_sort(counts.begin(), counts.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    std::string text =
        mPhone ? "dropped as not opened by the user (--keep NAME to keep one):" : "dropped:";
    const char* separator = " ";
    for (const auto& [name, count] : counts) {
        text += separator + printable(name) + " " + grouped(count);
        separator = ", ";
    }
    notes.push_back(text);
}
