#include "desktop/X11Front.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <stdexcept>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

// Properties are written by anyone; more is not read of them.
constexpr uint32_t MAX_TEXT = 1024;
constexpr uint32_t MAX_WINDOWS = 4096;

constexpr int PATIENCE = 100;  // an office's documents have their class after some ten changes

struct Free {
    void operator()(void* memory) const { free(memory); }
};
using Reply = std::unique_ptr<xcb_get_property_reply_t, Free>;
using Event = std::unique_ptr<xcb_generic_event_t, Free>;

std::string ownHost() {
    char name[256] = "";
    gethostname(name, sizeof name - 1);
    return name;
}

}  // namespace

X11Front::X11Front(const Applications& applications, const std::string& display)
    : mApplications(applications) {
    const char* const variable = getenv("DISPLAY");
    const std::string name = !display.empty() ? display : variable == nullptr ? "" : variable;
    if (name.empty()) throw InputError("no display: set DISPLAY or use --stdin");
    int screen = 0;
    mConnection.reset(xcb_connect(name.c_str(), &screen));
    if (xcb_connection_has_error(mConnection.get()) != 0) {
        throw InputError("the display " + inQuotes(name) +
                         " cannot be opened: set DISPLAY or use --stdin");
    }
    xcb_intern_atom_cookie_t* const questions = xcb_ewmh_init_atoms(mConnection.get(), &mAtoms);
    if (questions == nullptr || xcb_ewmh_init_atoms_replies(&mAtoms, questions, nullptr) == 0) {
        mAtoms.screens = nullptr;  // what there was is freed
        mAtoms._NET_WM_CM_Sn = nullptr;
        throw std::runtime_error("the display " + inQuotes(name) + " does not answer");
    }
    mRoot = mAtoms.screens[screen]->root;
    watch(mRoot, true);
    if (!hasWindowManager()) {
        fprintf(stderr,
                "no window manager here tells which window is active (EWMH): nothing is seen until "
                "one is started\n");
    }
}

int X11Front::descriptor() const {
    return xcb_get_file_descriptor(mConnection.get());
}

// A window manager that has ended may have left the property, but not the window.
bool X11Front::hasWindowManager() {
    const xcb_atom_t check = mAtoms._NET_SUPPORTING_WM_CHECK;
    const std::vector<uint32_t> named = numbersOf(askFor(mRoot, check, sizeof(uint32_t)));
    return !named.empty() && numbersOf(askFor(named[0], check, sizeof(uint32_t))) == named;
}

void X11Front::watch(xcb_window_t window, bool properties) {
    const uint32_t events = properties ? XCB_EVENT_MASK_PROPERTY_CHANGE : XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(mConnection.get(), window, XCB_CW_EVENT_MASK, &events);
    xcb_flush(mConnection.get());
}

void X11Front::forgetUnsettled() {
    if (mUnsettled == XCB_WINDOW_NONE) return;
    watch(mUnsettled, false);
    mUnsettled = XCB_WINDOW_NONE;
}

void X11Front::requireConnection() const {
    if (xcb_connection_has_error(mConnection.get()) == 0) return;
    throw std::runtime_error("the connection to the display is lost");
}

// Errors are among the events: windows that have gone meanwhile.
void X11Front::takeEvents() {
    while (const Event event{xcb_poll_for_event(mConnection.get())}) {
        if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY) continue;
        const auto* const notice = reinterpret_cast<xcb_property_notify_event_t*>(event.get());
        const bool isOfRoot = notice->window == mRoot && notice->atom == mAtoms._NET_ACTIVE_WINDOW;
        const bool isOfWindow = notice->window == mUnsettled;
        mHasChanged = mHasChanged || isOfRoot || (isOfWindow && notice->atom == XCB_ATOM_WM_CLASS);
        if (isOfWindow && --mPatience == 0) watch(mUnsettled, false);
        // The number of a window that has gone is given anew, and may be the next program's.
        if (isOfRoot) forgetUnsettled();
    }
    requireConnection();
}

std::optional<FrontApplication> X11Front::next() {
    for (;;) {
        takeEvents();
        if (!mHasChanged) return std::nullopt;
        mHasChanged = false;
        if (std::optional<FrontApplication> app = look()) return app;
    }
}

std::optional<FrontApplication> X11Front::look() {
    const std::vector<uint32_t> active =
        numbersOf(askFor(mRoot, mAtoms._NET_ACTIVE_WINDOW, sizeof(uint32_t)));
    const xcb_window_t window = active.empty() || active[0] == mRoot ? XCB_WINDOW_NONE : active[0];
    if (mUnsettled != window) forgetUnsettled();
    if (window == XCB_WINDOW_NONE) return std::nullopt;

    // Windows change their properties all the time, with each key that is typed: only one that is
    // not known is watched for a while, and looked at again since its class may have come
    // meanwhile.
    Answer found = answer(ask(window));
    if (found.isPanel) return std::nullopt;
    if (mUnsettled != window && !mApplications.has(found.app.name)) {
        watch(window, true);
        mUnsettled = window;
        mPatience = PATIENCE;
        found = answer(ask(window));
    }
    if (mApplications.has(found.app.name)) forgetUnsettled();
    if (found.app.name.empty()) return std::nullopt;
    return found.app;
}

std::set<std::string> X11Front::running() {
    std::vector<Questions> questions;
    for (const uint32_t window :
         numbersOf(askFor(mRoot, mAtoms._NET_CLIENT_LIST, MAX_WINDOWS * sizeof(uint32_t)))) {
        questions.push_back(ask(window));
    }
    std::set<std::string> names;
    for (const Questions& each : questions) {
        const Answer found = answer(each);
        if (!found.isPanel && !found.app.name.empty()) names.insert(found.app.name);
    }
    requireConnection();
    return names;
}

X11Front::Questions X11Front::ask(xcb_window_t window) {
    return {askFor(window, XCB_ATOM_WM_CLASS, MAX_TEXT),
            askFor(window, mAtoms._NET_WM_WINDOW_TYPE, MAX_TEXT),
            askFor(window, mAtoms._NET_WM_PID, sizeof(uint32_t)),
            askFor(window, XCB_ATOM_WM_CLIENT_MACHINE, MAX_TEXT)};
}

X11Front::Answer X11Front::answer(const Questions& questions) {
    // The instance, a NUL, and the class.
    const std::string classes = textOf(questions.classes);
    const std::string instance = classes.c_str();
    const std::string ofClass =
        classes.substr(std::min(instance.size() + 1, classes.size())).c_str();
    const std::vector<uint32_t> types = numbersOf(questions.types);
    const std::vector<uint32_t> process = numbersOf(questions.process);
    const std::string machine = textOf(questions.machine).c_str();

    Answer result{{mApplications.nameOf(instance, ofClass)}, false};
    for (const uint32_t type : types) {
        result.isPanel = result.isPanel || type == mAtoms._NET_WM_WINDOW_TYPE_DOCK ||
                         type == mAtoms._NET_WM_WINDOW_TYPE_DESKTOP;
    }
    // Another machine's processes are not here.
    const bool isProcess =
        !process.empty() && machine == ownHost() && process[0] <= std::numeric_limits<pid_t>::max();
    if (isProcess) result.app.process = static_cast<pid_t>(process[0]);
    return result;
}

xcb_get_property_cookie_t X11Front::askFor(xcb_window_t window, xcb_atom_t property,
                                           uint32_t maxBytes) {
    return xcb_get_property(mConnection.get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0,
                            maxBytes / sizeof(uint32_t));
}

// Empty when the property or its window is missing, or it is something else.
std::string X11Front::textOf(xcb_get_property_cookie_t question) {
    const Reply reply{xcb_get_property_reply(mConnection.get(), question, nullptr)};
    if (reply == nullptr || reply->format != 8) return "";
    return {static_cast<const char*>(xcb_get_property_value(reply.get())), reply->value_len};
}

std::vector<uint32_t> X11Front::numbersOf(xcb_get_property_cookie_t question) {
    const Reply reply{xcb_get_property_reply(mConnection.get(), question, nullptr)};
    if (reply == nullptr || reply->format != 32) return {};
    const auto* const begin = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
    return {begin, begin + reply->value_len};
}
