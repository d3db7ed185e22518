#pragma once
// An advisory lock (flock) held for as long as the object lives, exclusive
// or shared. The lock belongs to an open file description: a second open of
// the same file, in this process or another, cannot take an exclusive lock
// while this one holds any lock, nor a shared one while this one holds an
// exclusive lock; and it goes when the description is closed, so a crashed
// holder never leaves a file locked. Other programs are bound by it only if
// they ask.
#include <string>

namespace quillet {

// What a job does when another program holds the lock it needs: wait for
// it, or give up at once.
enum class LockWait : unsigned char { Wait, NoWait };

// Exclusive for a holder that changes the file, shared for one that only
// reads it: readers go side by side, a writer alone.
enum class LockMode : unsigned char { Exclusive, Shared };

class FileLock {
public:
    FileLock() = default;
    ~FileLock() { Release(); }
    FileLock(FileLock&& other) noexcept;
    FileLock& operator=(FileLock&& other) noexcept;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    // Locks the file open as fd. The descriptor stays the caller's and must
    // stay open until the lock is released. Lock waits for a holder to let
    // go; TryLock answers false at once (errno EWOULDBLOCK) while another
    // description holds a lock that this one cannot share. Any lock held
    // before is released first.
    bool Lock(int fd, LockMode mode = LockMode::Exclusive) { return Take(fd, false, true, mode); }
    bool TryLock(int fd, LockMode mode = LockMode::Exclusive) { return Take(fd, false, false, mode); }
    // The same for a path (a file or a directory), opened read-only here; the
    // descriptor is kept with the lock and closed when it is released. False
    // with errno set when the path cannot be opened.
    bool Lock(const std::string& path, LockMode mode = LockMode::Exclusive);
    bool TryLock(const std::string& path, LockMode mode = LockMode::Exclusive);

    bool Held() const { return fd_ >= 0; }
    LockMode Mode() const { return mode_; }
    void Release();

private:
    bool Take(int fd, bool owned, bool wait, LockMode mode);
    bool TakePath(const std::string& path, bool wait, LockMode mode);

    int fd_ = -1;
    bool owned_ = false;  // fd_ was opened here and is closed here
    LockMode mode_ = LockMode::Exclusive;
};

}  // namespace quillet
