#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

// The applications that a user can open, as their desktop entries name them. For one thread.
//
// An application's name is its entry's id, "org.xfce.mousepad", as packageNameOf() gives it. Files
// that are no entries, are hidden, or belong to no application are passed over, whatever is wrong
// with them; of several with one id the first counts, in the order of the folders.
class Applications {
  public:
    // The entries lie in these folders and those below.
    explicit Applications(std::vector<std::string> folders = usualFolders());
    ~Applications();

    // What XDG_DATA_HOME and XDG_DATA_DIRS, or else their defaults, make of it.
    static std::vector<std::string> usualFolders();

    // All of them, sorted.
    std::vector<std::string> names() const { return {mNames.begin(), mNames.end()}; }
    bool has(const std::string& name) const { return mNames.count(name) != 0; }

    // The application of a window whose WM_CLASS is this. In this order, and whatever the case of
    // the letters, it is the one whose entry names the instance (as for a page that was made an
    // application of its own) or the class as its StartupWMClass; whose id is the class or the
    // instance; whose id ends so behind a dot; whose program is called so. A window without any is
    // called as its class. Empty for a window that has neither class nor instance.
    std::string nameOf(const std::string& windowInstance, const std::string& windowClass) const;

    // Readable when something has changed in the folders; -1 when that cannot be watched.
    int descriptor() const { return mDescriptor; }

    // Reads them again if it has. Whether names() are others than before. Never waits.
    bool reload();

  private:
    Applications(const Applications&) = delete;
    Applications& operator=(const Applications&) = delete;

    struct Entry {
        bool isShown = false;
        std::string windowClass;
        std::string program;
    };
    using NamesByWord = std::map<std::string, std::string>;

    static Entry readEntry(const std::string& path);
    void readAll();
    void readFolder(const std::string& path, const std::string& idBegin, int depth,
                    std::map<std::string, Entry>& entries) const;
    bool haveEntriesChanged() const;

    const std::vector<std::string> mFolders;
    const int mDescriptor;
    std::set<std::string> mNames;
    // By a word in lower case.
    NamesByWord mByWindowClass;
    NamesByWord mById;
    NamesByWord mByIdEnd;
    NamesByWord mByProgram;
};
