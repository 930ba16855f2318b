#include "desktop/Applications.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "desktop/PackageNames.h"
#include "platform/testing/TempDir.h"

namespace {

using Names = std::vector<std::string>;

std::string entry(const std::string& rest) {
    return "[Desktop Entry]\nType=Application\n" + rest;
}

TEST(PackageNames, AreMadeOfAnyText) {
    EXPECT_EQ(packageNameOf("org.xfce.Mousepad_2"), "org.xfce.Mousepad_2");
    EXPECT_EQ(packageNameOf(std::string("a b-\xc3\xa9\n\0c", 9)), "a_b_____c");
    EXPECT_EQ(packageNameOf(std::string(100, 'a')), std::string(100, 'a'));
    EXPECT_EQ(packageNameOf(""), "");
    // What was learned under it must be found by later versions too.
    EXPECT_EQ(packageNameOf(std::string(101, 'a')), std::string(83, 'a') + "_35feac92c3f8efc8");
    EXPECT_NE(packageNameOf(std::string(200, 'a') + "a"),
              packageNameOf(std::string(200, 'a') + "b"));
}

class ApplicationsTest : public ::testing::Test {
  protected:
    ApplicationsTest() { std::filesystem::create_directories(mFiles.file("far/kde/deep")); }

    const TempDir mFiles;
    const Names mFolders = {mFiles.file("near"), mFiles.file("far")};
};

TEST_F(ApplicationsTest, AreTheShownEntriesAndTheNearestOfEach) {
    namespace fs = std::filesystem;
    fs::create_directories(mFiles.file("near/a/b/c/d/e/f"));
    const std::pair<const char*, std::string> files[] = {
        {"far/org.edit.desktop", entry("Exec=\"/opt/a b/edit\n")},  // an open quotation
        {"far/kde/deep/show.desktop", entry("Name=\xff\xfe\n")},
        {"far/menu.desktop",
         "# c\n[Desktop Entry]\r\nType = Application \r\n"
         "[Desktop Action new]\nHidden=true\nType=Link\n"},
        {"far/gone.desktop", entry("")},
        {"near/gone.desktop", entry("Hidden=true\n")},
        {"far/helper.desktop", entry("NoDisplay = true\n")},
        {"far/page.desktop", "[Desktop Entry]\nType=Link\nURL=http://a\n"},
        {"far/untyped.desktop", "[Desktop Entry]\nExec=untyped\n"},
        {"far/notes.txt", entry("")},
        {"near/empty.desktop", ""},
        {"near/nul.desktop", entry(std::string("Exec=a\0b\n", 9))},
        {"near/large.desktop", entry("Exec=" + std::string(300'000, 'x'))},
        {"near/.desktop", entry("")},
        {"near/a/b/c/d/e/f/deep.desktop", entry("")},
    };
    for (const auto& [name, content] : files) mFiles.write(name, content);
    mkfifo(mFiles.file("near/pipe.desktop").c_str(), 0644);
    fs::create_symlink("/dev/zero", mFiles.file("near/zero.desktop"));
    fs::create_symlink("loop.desktop", mFiles.file("near/loop.desktop"));
    fs::create_directory_symlink("../far", mFiles.file("far/circle"));
    EXPECT_EQ(Applications(mFolders).names(), (Names{"kde_deep_show", "menu", "org.edit"}));
    EXPECT_EQ(Applications({mFiles.file("none"), ""}).names(), Names{});
}

TEST_F(ApplicationsTest, KnowTheirWindows) {
    const std::pair<const char*, std::string> entries[] = {
        {"far/org.office.writer.desktop", "StartupWMClass=office-writer\nExec=office\n"},
        {"far/browser.desktop", "StartupWMClass=Browser\nExec=/usr/bin/browser\n"},
        {"far/browser-mail.desktop", "StartupWMClass=page_mail\nExec=browser --page\n"},
        {"far/org.xfce.Mousepad.desktop", "Exec=mousepad %U\n"},
        {"far/image.desktop", "Exec=env GDK=x11 \"/opt/my image/image-2.10\" %U\n"},
        {"far/helper.desktop", "NoDisplay=true\nStartupWMClass=Helper\n"},
        {"far/classless.desktop", "StartupWMClass=\n"},
    };
    for (const auto& [name, content] : entries) mFiles.write(name, entry(content));
    const struct {
        std::string instance;
        std::string windowClass;
        std::string name;
    } cases[] = {
        {"office", "office-writer", "org.office.writer"},
        {"page_mail", "Browser", "browser_mail"},
        {"Navigator", "BROWSER", "browser"},
        {"mousepad", "Mousepad", "org.xfce.Mousepad"},
        {"image-2.10", "Image-2.10", "image"},
        {"helper", "Helper", "Helper"},
        {"frame", "My Own-Class", "My_Own_Class"},
        {"only", "", "only"},
        {"", "", ""},
    };
    const Applications applications(mFolders);
    for (const auto& [instance, windowClass, name] : cases) {
        EXPECT_EQ(applications.nameOf(instance, windowClass), name);
    }
}

TEST_F(ApplicationsTest, AreReadAgainWhenTheyChange) {
    Applications applications(mFolders);
    EXPECT_FALSE(applications.reload());
    const struct {
        std::function<void()> change;
        bool isOther;
        Names names;
    } steps[] = {
        {[&] { mFiles.write("far/new.desktop", entry("")); }, true, {"new"}},
        {[&] { mFiles.write("far/mimeinfo.cache", "x"); }, false, {"new"}},
        {[&] { mkdir(mFiles.file("near").c_str(), 0755); }, false, {"new"}},
        {[&] { mFiles.write("near/own.desktop", entry("Exec=b\n")); }, true, {"new", "own"}},
        {[&] { unlink(mFiles.file("far/new.desktop").c_str()); }, true, {"own"}},
    };
    for (const auto& [change, isOther, names] : steps) {
        change();
        pollfd ready = {applications.descriptor(), POLLIN, 0};
        EXPECT_EQ(poll(&ready, 1, 0), 1);
        EXPECT_EQ(applications.reload(), isOther);
        EXPECT_EQ(applications.names(), names);
        EXPECT_EQ(poll(&ready, 1, 0), 0);
    }
    EXPECT_EQ(applications.nameOf("", "B"), "own");
}

TEST(Applications, LieWhereTheEnvironmentSays) {
    unsetenv("XDG_DATA_HOME");
    setenv("HOME", "/me", 1);
    setenv("XDG_DATA_DIRS", "/a::relative:/b", 1);
    EXPECT_EQ(Applications::usualFolders(),
              (Names{"/me/.local/share/applications", "/a/applications", "/b/applications"}));
}

}  // namespace
