#include "desktop/test/Mapper.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace {

void doWork(const Mapper::Work& work) {
    const int file = open(work.path.c_str(), O_RDONLY);
    const size_t length = 400 * PAGE_BYTES;
    const auto memory =
        static_cast<volatile char*>(mmap(nullptr, length, work.rights, MAP_PRIVATE, file, 0));
    madvise(const_cast<char*>(memory), length, MADV_RANDOM);  // nothing around a page
    for (const uint32_t page : work.touched) (void)memory[page * PAGE_BYTES];
    for (const uint32_t page : work.written) memory[page * PAGE_BYTES] = 'y';
}

}  // namespace

Mapper::Mapper(const Work& own, const Work& childs) {
    int ready[2];
    EXPECT_EQ(0, pipe(ready));
    mProcess = fork();
    if (mProcess == 0) {
        setpgid(0, 0);
        const pid_t child = fork();
        doWork(child == 0 ? childs : own);
        EXPECT_EQ(sizeof(child), write(ready[1], &child, sizeof(child)));
        while (true) pause();
    }
    for (int i = 0; i < 2; ++i) {
        pid_t child = 0;  // as the process says; the child itself says 0
        EXPECT_EQ(sizeof(child), read(ready[0], &child, sizeof(child)));
        if (child != 0) mChild = child;
    }
    close(ready[0]);
    close(ready[1]);
}

Mapper::~Mapper() {
    for (const pid_t process : {mChild, mProcess}) kill(process, SIGKILL);
    waitpid(mProcess, nullptr, 0);
}

bool isNeeded(const std::string& path, uint32_t page, const std::vector<FileNeed>& needs) {
    for (const FileNeed& need : needs) {
        if (need.path != path) continue;
        for (const PageRange& range : need.pages) {
            if (page >= range.first && page - range.first < range.count) return true;
        }
    }
    return false;
}
