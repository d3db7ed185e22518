#include "base/ScratchFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "base/FileLock.h"

namespace quillet {
namespace {

bool IsDead(int dirFd, const char* name, const char* mark) {
    const int fd = ::openat(dirFd, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return false;
    struct stat st {};
    char value[1];
    FileLock test;  // only whether it can be taken counts
    const bool dead = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_uid == ::getuid() &&
                      ::fgetxattr(fd, mark, value, 0) >= 0 && test.TryLock(fd);
    test.Release();  // before the descriptor it lives on is closed
    ::close(fd);
    return dead;
}

}  // namespace

bool MarkScratch(int fd, const char* mark) { return ::fsetxattr(fd, mark, "", 0, 0) == 0; }

void UnmarkScratch(int fd, const char* mark) { ::fremovexattr(fd, mark); }

int RemoveDeadScratch(const std::string& directory, bool (*named)(const char* name), const char* mark) {
    DIR* dir = ::opendir(directory.empty() ? "." : directory.c_str());
    if (!dir) return 0;
    int removed = 0;
    while (const dirent* entry = ::readdir(dir)) {
        if (!named(entry->d_name) || !IsDead(::dirfd(dir), entry->d_name, mark)) continue;
        if (::unlinkat(::dirfd(dir), entry->d_name, 0) == 0) ++removed;
    }
    ::closedir(dir);
    return removed;
}

}  // namespace quillet
