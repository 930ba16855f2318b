#pragma once

#include <xcb/xcb_ewmh.h>

#include <memory>
#include <string>
#include <vector>

#include "desktop/Applications.h"
#include "desktop/FrontSource.h"

// The active window of an X11 display, as its window manager names it (_NET_ACTIVE_WINDOW). Panels
// and the desktop itself are no applications; dialogs are their application.
//
// What the display says is also taken from the descriptor while an answer is waited for. So ask
// next() after any other call, and before the first wait: until it has said that there is nothing,
// the descriptor may stay silent although there is something.
class X11Front : public FrontSource {
  public:
    // `display` as DISPLAY would name it; empty for DISPLAY itself. `applications` must outlive the
    // source. Says so on standard error when there is no window manager that would tell; one may
    // start later. Throws InputError when the display cannot be used.
    explicit X11Front(const Applications& applications, const std::string& display = "");

    int descriptor() const override;

    // The first one is what is in front already. A change that was followed by another at once may
    // be left out. A window without a class (WM_CLASS) counts from when it gets one. Some windows
    // come with the class of their toolkit and get their own a moment later: one that belongs to no
    // application with an entry counts at once, and again with another class.
    std::optional<FrontApplication> next() override;

    bool ended() const override { return false; }

    std::chrono::milliseconds hold() const override { return std::chrono::milliseconds(250); }

    // Those that have a window which the window manager manages.
    std::set<std::string> running() override;

  private:
    X11Front(const X11Front&) = delete;
    X11Front& operator=(const X11Front&) = delete;

    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    struct Atoms : xcb_ewmh_connection_t {
        Atoms() : xcb_ewmh_connection_t{} {}
        ~Atoms() { xcb_ewmh_connection_wipe(this); }
    };
    // What is asked of a window, all at once, and what comes back.
    struct Questions {
        xcb_get_property_cookie_t classes;
        xcb_get_property_cookie_t types;
        xcb_get_property_cookie_t process;
        xcb_get_property_cookie_t machine;
    };
    struct Answer {
        FrontApplication app;  // without a name when the window has no class, or is gone
        bool isPanel;
    };

    Questions ask(xcb_window_t window);
    Answer answer(const Questions& questions);
    std::optional<FrontApplication> look();
    void takeEvents();
    void watch(xcb_window_t window, bool properties);
    void forgetUnsettled();
    bool hasWindowManager();
    void requireConnection() const;
    xcb_get_property_cookie_t askFor(xcb_window_t window, xcb_atom_t property, uint32_t maxBytes);
    std::string textOf(xcb_get_property_cookie_t question);
    std::vector<uint32_t> numbersOf(xcb_get_property_cookie_t question);

    const Applications& mApplications;
    std::unique_ptr<xcb_connection_t, Disconnect> mConnection;
    Atoms mAtoms;
    xcb_window_t mRoot = XCB_WINDOW_NONE;
    xcb_window_t mUnsettled = XCB_WINDOW_NONE;  // in front, or none; may get another class
    int mPatience = 0;                          // how many more of its changes are waited for
    bool mHasChanged = true;
};
