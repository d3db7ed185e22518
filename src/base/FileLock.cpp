#include "base/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace quillet {

FileLock::FileLock(FileLock&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), owned_(std::exchange(other.owned_, false)), mode_(other.mode_) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
    if (this != &other) {
        Release();
        fd_ = std::exchange(other.fd_, -1);
        owned_ = std::exchange(other.owned_, false);
        mode_ = other.mode_;
    }
    return *this;
}

bool FileLock::Lock(const std::string& path, LockMode mode) { return TakePath(path, true, mode); }
bool FileLock::TryLock(const std::string& path, LockMode mode) { return TakePath(path, false, mode); }

bool FileLock::TakePath(const std::string& path, bool wait, LockMode mode) {
    Release();
    // Non-blocking only for the open: a FIFO of that name must not hang it.
    int fd = -1;
    do {
        fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) return false;
    if (Take(fd, true, wait, mode)) return true;
    const int error = errno;
    ::close(fd);
    errno = error;
    return false;
}

bool FileLock::Take(int fd, bool owned, bool wait, LockMode mode) {
    Release();
    if (fd < 0) {
        errno = EBADF;
        return false;
    }
    int rc = 0;
    do {
        rc = ::flock(fd, (mode == LockMode::Shared ? LOCK_SH : LOCK_EX) | (wait ? 0 : LOCK_NB));
    } while (rc != 0 && errno == EINTR);
    if (rc != 0) return false;
    fd_ = fd;
    owned_ = owned;
    mode_ = mode;
    return true;
}

void FileLock::Release() {
    if (fd_ < 0) return;
    const int error = errno;  // a release on the way out keeps the failure's errno
    // Unlocked explicitly even when the descriptor is closed next: a child
    // forked meanwhile shares the description and would keep it locked.
    ::flock(fd_, LOCK_UN);
    if (owned_) ::close(fd_);
    fd_ = -1;
    owned_ = false;
    errno = error;
}

}  // namespace quillet
