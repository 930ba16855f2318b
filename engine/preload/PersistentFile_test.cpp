#include "preload/PersistentFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/testing/ResourceLimit.h"
#include "platform/testing/TempDir.h"
#include "platform/workstation/SettableEnvironment.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Store = PersistentFile::Store;

class PersistentFileTest : public testing::Test {
  protected:
    ~PersistentFileTest() override { environment::setSync(nullptr); }

    std::string load(PersistentFile file, FileRead expected = FileRead::READ) {
        std::string text;
        EXPECT_EQ(file.load(text), expected);
        return text;
    }

    // What a failure leaves: the file as it was, nothing beside it.
    void expectUntouched(const std::string& content) {
        EXPECT_EQ(mDir.read("file"), content);
        EXPECT_EQ(entriesOf(mDir.path()).size(), content.empty() ? 0U : 1U);
        EXPECT_NE(environment::storageFailure(), std::nullopt);
        environment::setDataDirectory(mDir.path());
    }

    const TempDir mDir;
    PersistentFile mFile{mDir.file("file")};
};

TEST_F(PersistentFileTest, aStoreThatFailsLeavesWhatWasThere) {
    const std::string text(5000, 'n');
    for (const std::string old : {"", "old"}) {
        if (!old.empty()) ASSERT_EQ(mFile.store(old), Store::DONE);
        {
            const int next = dup(0);  // the descriptors below are all taken
            close(next);
            const ResourceLimit limit(RLIMIT_NOFILE, static_cast<rlim_t>(next));
            EXPECT_EQ(mFile.store(text), Store::OPEN_FAILED);
            EXPECT_EQ(errno, EMFILE);
        }
        expectUntouched(old);
        {
            const ResourceLimit limit(RLIMIT_FSIZE, 4096);
            EXPECT_EQ(mFile.store(text), Store::WRITE_FAILED);
            EXPECT_EQ(errno, EFBIG);
        }
        expectUntouched(old);
        for (const int failing : {1, 2}) {  // the file's own and the directory's
            int syncs = 0;
            environment::setSync([&](int) {
                errno = EIO;
                return ++syncs != failing;
            });
            EXPECT_EQ(mFile.store(text), Store::WRITE_FAILED);
            EXPECT_EQ(errno, EIO);
            expectUntouched(old);
        }
        environment::setSync(nullptr);
    }
    EXPECT_EQ(mFile.store("new"), Store::DONE);
    EXPECT_EQ(load(mFile), "new");
}

TEST_F(PersistentFileTest, theBackupStaysUntilTheNewCopyIsOnTheDisk) {
    mFile.store("old");
    std::vector<std::string> synced;
    environment::setSync([&](int descriptor) {
        struct stat status {};
        fstat(descriptor, &status);
        synced.push_back((S_ISDIR(status.st_mode) ? "directory: " : "file: ") + mDir.read("file") +
                         ", " + mDir.read("file.bak"));
        return true;
    });
    mFile.store("new");
    EXPECT_THAT(synced, ElementsAre("file: new, old", "directory: new, old"));
    EXPECT_FALSE(mDir.exists("file.bak"));

    synced.clear();
    PersistentFile(mDir.file("file"), PersistentFile::REPLACEABLE).store("newer");
    EXPECT_THAT(synced, IsEmpty());
}

TEST_F(PersistentFileTest, aLoadFindsTheLastCompleteCopyWhereverAStoreBrokeOff) {
    EXPECT_EQ(load(mFile, FileRead::MISSING), "");
    mDir.write("file.bak", "whole");  // moved aside, and no more
    EXPECT_EQ(load(mFile), "whole");
    mDir.write("file.bak", "whole");
    mDir.write("file", "par");
    EXPECT_EQ(load(mFile), "whole");
    EXPECT_THAT(entriesOf(mDir.path()), ElementsAre("file"));
    EXPECT_EQ(load(mFile), "whole");
}

TEST_F(PersistentFileTest, whatIsAddedGoesToTheCopyThatTheNextLoadReads) {
    EXPECT_TRUE(mFile.append("a"));
    EXPECT_TRUE(mFile.append("b"));
    mDir.write("file.bak", "whole ");
    EXPECT_TRUE(mFile.append("c"));
    EXPECT_EQ(load(mFile), "whole c");
    mkdir(mDir.file("file.bak").c_str(), 0700);
    EXPECT_FALSE(mFile.append("d"));
    EXPECT_EQ(mDir.read("file"), "whole c");
}

// A pipe nobody writes to must not keep the start waiting.
TEST_F(PersistentFileTest, whatCannotBeReadIsNotOverwritten) {
    const auto make = [&](const std::string& name, int kind) {
        const std::string path = mDir.file(name);
        if (kind == 0) mkfifo(path.c_str(), 0600);
        if (kind == 1) mkdir(path.c_str(), 0700);
        if (kind == 2) EXPECT_EQ(symlink(path.c_str(), path.c_str()), 0);
        if (kind == 3) {  // takes no room
            mDir.write(name, "");
            EXPECT_EQ(truncate(path.c_str(), off_t{1} << 40), 0);
        }
    };
    const int errors[] = {EINVAL, EISDIR, ELOOP, EFBIG};
    for (const char* name : {"file", "file.bak"}) {
        for (int kind = 0; kind < 4; ++kind) {
            make(name, kind);
            std::string text;
            EXPECT_EQ(mFile.load(text), FileRead::FAILED);
            EXPECT_EQ(environment::storageFailure()->error, errors[kind]);
            EXPECT_EQ(mFile.store("new"), Store::OPEN_FAILED);
            EXPECT_EQ(errno, errors[kind]);
            EXPECT_THAT(entriesOf(mDir.path()), ElementsAre(name));
            ::remove(mDir.file(name).c_str());
            environment::setDataDirectory(mDir.path());
        }
    }
    EXPECT_EQ(load(mFile, FileRead::MISSING), "");
}

TEST_F(PersistentFileTest, aBackupThatCannotBeDeletedIsTheNewCopyAtLast) {
    mFile.store("old");
    mkdir(mDir.file("file.bak").c_str(), 0700);
    ::remove(mDir.file("file").c_str());
    EXPECT_EQ(mFile.store("new"), Store::BACKUP_LEFT);
    EXPECT_EQ(mDir.read("file"), "new");
    rmdir(mDir.file("file.bak").c_str());
    EXPECT_EQ(load(mFile), "new");
}

}  // namespace
