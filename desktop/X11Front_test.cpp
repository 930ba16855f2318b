#include "desktop/X11Front.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "desktop/PackageNames.h"
#include "platform/testing/TempDir.h"
#include "tools/common/InputError.h"

namespace {

using Names = std::set<std::string>;
using Numbers = std::vector<uint32_t>;

// A display of its own, and a window manager on it, which the test plays.
class X11FrontTest : public ::testing::Test {
  protected:
    void SetUp() override {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        mServer = fork();
        if (mServer == 0) {
            const std::string descriptor = std::to_string(ends[1]);
            dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
            execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-nolisten", "tcp", "-noreset",
                   "-screen", "0", "64x64x24", nullptr);
            _exit(127);
        }
        close(ends[1]);
        char number[16] = "";
        const bool isThere = read(ends[0], number, sizeof number - 1) > 0;
        close(ends[0]);
        if (!isThere) GTEST_SKIP() << "Xvfb cannot be started";
        mDisplay = ":" + std::to_string(atoi(number));
        mManager = xcb_connect(mDisplay.c_str(), nullptr);
        mRoot = xcb_setup_roots_iterator(xcb_get_setup(mManager)).data->root;
        mCheck = makeWindow("");
        for (const xcb_window_t window : {mRoot, mCheck}) {
            set(window, "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, Numbers{mCheck});
        }
    }

    void TearDown() override { stopServer(); }
    void stopServer() {
        if (mManager == nullptr) return;
        xcb_disconnect(mManager);
        mManager = nullptr;
        kill(mServer, SIGTERM);
        waitpid(mServer, nullptr, 0);
    }

    xcb_atom_t atom(const std::string& name) {
        const auto question =
            xcb_intern_atom(mManager, 0, static_cast<uint16_t>(name.size()), name.c_str());
        xcb_intern_atom_reply_t* const reply = xcb_intern_atom_reply(mManager, question, nullptr);
        const xcb_atom_t result = reply->atom;
        free(reply);
        return result;
    }

    // Texts and 32-bit numbers. Returns when the display has done it.
    template <typename Values>
    void set(xcb_window_t window, const std::string& property, xcb_atom_t type,
             const Values& values) {
        xcb_change_property(mManager, XCB_PROP_MODE_REPLACE, window, atom(property), type,
                            8 * sizeof(values[0]), static_cast<uint32_t>(values.size()),
                            values.data());
        atom("done");
    }

    xcb_window_t makeWindow(const std::string& windowClass) {
        return makeWindow(windowClass, xcb_generate_id(mManager));
    }
    xcb_window_t makeWindow(const std::string& windowClass, xcb_window_t window) {
        xcb_create_window(mManager, XCB_COPY_FROM_PARENT, window, mRoot, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_COPY_FROM_PARENT, XCB_COPY_FROM_PARENT, 0, nullptr);
        if (!windowClass.empty()) setClass(window, windowClass);
        return window;
    }
    void setClass(xcb_window_t window, const std::string& windowClass) {
        set(window, "WM_CLASS", XCB_ATOM_STRING, std::string("instance\0", 9) + windowClass + '\0');
    }
    void destroy(xcb_window_t window) {
        xcb_destroy_window(mManager, window);
        atom("done");
    }
    void setType(xcb_window_t window, const std::string& type) {
        set(window, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM,
            Numbers{atom("_NET_WM_WINDOW_TYPE_" + type)});
    }
    void activate(xcb_window_t window) {
        set(mRoot, "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW, Numbers{window});
    }

    // Whether a program is told of the window's changes.
    bool isHeard(xcb_window_t window) {
        const auto question = xcb_get_window_attributes(mManager, window);
        auto* const reply = xcb_get_window_attributes_reply(mManager, question, nullptr);
        const bool result = reply->all_event_masks != 0;
        free(reply);
        return result;
    }

    // Waits for what comes next, "NAME PID"; "nothing" when nothing does.
    static std::string next(X11Front& front) {
        for (;;) {
            if (const auto app = front.next())
                return app->name + ' ' + std::to_string(app->process);
            pollfd ready = {front.descriptor(), POLLIN, 0};
            if (poll(&ready, 1, 10'000) <= 0) return "nothing";
        }
    }
    // Whether nothing has come: an answer of the display stands behind what it has told before.
    static bool isSilent(X11Front& front) {
        front.running();
        return !front.next();
    }

    // Knows office_writer alone.
    Applications withOffice() {
        mEntries.write("office-writer.desktop", "[Desktop Entry]\nType=Application\n");
        return Applications({mEntries.path()});
    }

    pid_t mServer = 0;
    std::string mDisplay;
    xcb_connection_t* mManager = nullptr;
    xcb_window_t mRoot = 0;
    xcb_window_t mCheck = 0;
    const Applications mNone{{}};
    const TempDir mEntries;
};

TEST_F(X11FrontTest, TellsWhichApplicationIsActive) {
    char host[256] = "";
    gethostname(host, sizeof host - 1);
    const struct {
        std::string machine;
        uint32_t process;
        pid_t expected;
    } cases[] = {{host, 77, 77}, {"elsewhere", 77, 0}, {"", 77, 0}, {host, 0xffffffff, 0}};
    activate(makeWindow("before"));
    X11Front front(mNone, mDisplay);
    EXPECT_EQ(next(front), "before 0");
    for (const auto& [machine, process, expected] : cases) {
        const xcb_window_t window = makeWindow("app");
        set(window, "WM_CLIENT_MACHINE", XCB_ATOM_STRING, machine);
        set(window, "_NET_WM_PID", XCB_ATOM_CARDINAL, Numbers{process});
        activate(window);
        EXPECT_EQ(next(front), "app " + std::to_string(expected));
    }
}

TEST_F(X11FrontTest, PassesOverWhatIsNoApplication) {
    X11Front front(mNone, mDisplay);
    const xcb_window_t panel = makeWindow("panel");
    setType(panel, "DOCK");
    const xcb_window_t icons = makeWindow("icons");
    setType(icons, "DESKTOP");
    const xcb_window_t gone = makeWindow("gone");
    destroy(gone);
    for (const xcb_window_t window : {panel, icons, gone, mRoot, 0U, 0xffffffffU}) {
        activate(window);
        EXPECT_TRUE(isSilent(front)) << window;
    }
    set(mRoot, "_NET_ACTIVE_WINDOW", XCB_ATOM_STRING, std::string("text"));
    EXPECT_TRUE(isSilent(front));
    const xcb_window_t dialog = makeWindow("app");
    setType(dialog, "DIALOG");
    activate(dialog);
    EXPECT_EQ(next(front), "app 0");
}

TEST_F(X11FrontTest, WaitsForTheWindowsOwnClass) {
    const Applications applications = withOffice();
    X11Front front(applications, mDisplay);
    const xcb_window_t left = makeWindow("");
    const xcb_window_t window = makeWindow("");
    for (const xcb_window_t each : {left, window}) {
        activate(each);
        EXPECT_TRUE(isSilent(front));
    }
    setClass(left, "left");
    setClass(window, "");
    EXPECT_EQ(next(front), "instance 0");
    setClass(window, "toolkit");
    EXPECT_EQ(next(front), "toolkit 0");
    setClass(window, "office-writer");
    EXPECT_EQ(next(front), "office_writer 0");

    // Windows that are known, or whose class does not come, would wake the caller with each change.
    const xcb_window_t stranger = makeWindow("stranger");
    activate(stranger);
    EXPECT_EQ(next(front), "stranger 0");
    EXPECT_TRUE(isHeard(stranger));
    for (int i = 0; i < 100; ++i) setClass(stranger, "stranger");
    front.running();
    EXPECT_EQ(next(front), "stranger 0");
    EXPECT_TRUE(isSilent(front));
    for (const xcb_window_t each : {left, window, stranger}) EXPECT_FALSE(isHeard(each));
}

TEST_F(X11FrontTest, WatchesAnotherWindowOfTheSameNumber) {
    const Applications applications = withOffice();
    X11Front front(applications, mDisplay);
    const xcb_window_t number = makeWindow("toolkit");
    activate(number);
    EXPECT_EQ(next(front), "toolkit 0");
    destroy(number);
    activate(XCB_WINDOW_NONE);
    makeWindow("toolkit", number);
    activate(number);
    EXPECT_EQ(next(front), "toolkit 0");
    setClass(number, "office-writer");
    EXPECT_EQ(next(front), "office_writer 0");
}

TEST_F(X11FrontTest, TakesHostileClassesInPart) {
    X11Front front(mNone, mDisplay);
    const xcb_window_t window = makeWindow("");
    activate(window);
    set(window, "WM_CLASS", XCB_ATOM_CARDINAL, Numbers(10'000, 0x41414141));
    EXPECT_TRUE(isSilent(front));
    const std::pair<std::string, std::string> cases[] = {
        {std::string(60'000, 'x'), packageNameOf(std::string(1024, 'x'))},
        {"x" + std::string(60'000, '\0') + "y", "x"},
        {std::string("\0\xff\x1b[m\nclass\0more", 16), "___m_class"},
    };
    for (const auto& [classes, name] : cases) {
        set(window, "WM_CLASS", XCB_ATOM_STRING, classes);
        activate(window);
        EXPECT_EQ(next(front), name + " 0");
    }
}

TEST_F(X11FrontTest, KnowsWhoRunsAndLosesNoChangeMeanwhile) {
    X11Front front(mNone, mDisplay);
    EXPECT_TRUE(isSilent(front));
    EXPECT_EQ(front.running(), Names{});
    const xcb_window_t panel = makeWindow("panel");
    setType(panel, "DOCK");
    const xcb_window_t gone = makeWindow("gone");
    const xcb_window_t app = makeWindow("app");
    set(mRoot, "_NET_CLIENT_LIST", XCB_ATOM_WINDOW,
        Numbers{gone, app, panel, makeWindow("b"), makeWindow(""), makeWindow("b")});
    destroy(gone);
    activate(app);
    EXPECT_EQ(front.running(), (Names{"app", "b"}));
    EXPECT_TRUE(front.next());  // the descriptor need not say so
}

TEST_F(X11FrontTest, SaysWhatIsMissing) {
    testing::internal::CaptureStderr();
    const X11Front managed(mNone, mDisplay);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    destroy(mCheck);  // and its manager with it
    testing::internal::CaptureStderr();
    setenv("DISPLAY", mDisplay.c_str(), 1);
    X11Front front(mNone);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("no window manager"), std::string::npos);
    activate(makeWindow("app"));
    EXPECT_EQ(next(front), "app 0");

    stopServer();
    EXPECT_THROW(next(front), std::runtime_error);
    EXPECT_THROW(front.running(), std::runtime_error);
    for (const char* const name : {":59999", "nonsense"}) {
        EXPECT_THROW(X11Front(mNone, name), InputError) << name;
    }
    unsetenv("DISPLAY");
    EXPECT_THROW(X11Front{mNone}, InputError);
}

}  // namespace
