#pragma once
// Locks on the files that paths name, held for a whole read-change-save.
//
// A save replaces its file by rename, so while one holder waits for another
// the path may come to name a new file, and a lock on the old one guards
// nothing. So once the locks are taken every path is looked at again, and if
// one names another file now, all are let go and taken anew. A path that
// names no file yet (a file that the holder may create) is guarded by an
// exclusive lock on its directory instead, so that two holders cannot both
// start from nothing; a reader of such a path has nothing to read and locks
// nothing. Several paths are locked in one order (by device and inode), so
// two holders that want the same files never wait for each other, and a file
// named twice is locked once. A path that cannot be looked at or opened (no
// permission) is not locked: reading or writing it fails on its own.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/FileLock.h"

namespace quillet {

class PathLock {
public:
    struct Request {
        std::string path;
        LockMode mode = LockMode::Exclusive;
    };

    PathLock();
    ~PathLock();
    PathLock(PathLock&& other) noexcept;
    PathLock& operator=(PathLock&& other) noexcept;
    PathLock(const PathLock&) = delete;
    PathLock& operator=(const PathLock&) = delete;

    // Takes a lock for every request; what was held before is let go first.
    // With wait a lock that another holder has is waited for, and onWait (if
    // given) is called once, with that path, before the first wait. Without
    // wait the answer is false at once, the path in *busy, and nothing is held.
    bool Acquire(const std::vector<Request>& requests, bool wait, std::string* busy = nullptr,
                 const std::function<void(const std::string&)>& onWait = {});
    // After the holder itself replaced the file of a requested path (its own
    // save): the lock moves to the file that the path names now, without
    // waiting; true at once if it is there already. False for a path that was
    // not requested, and when the new file cannot be locked (another program
    // took it first); the path is then not locked at all.
    bool Follow(const std::string& path);
    // Whether a lock held here guards the path: the lock on the file that it
    // names, or on its directory when it names none.
    bool Covers(const std::string& path) const;
    bool Held() const;
    void Release();

private:
    struct Place {  // what a path names: a file, or for no file its directory
        bool found = false;
        bool directory = false;
        uint64_t device = 0;
        uint64_t inode = 0;
        bool operator==(const Place&) const = default;
    };
    struct Target {  // one locked file or directory, for one or more requests
        Target() = default;
        ~Target();
        Target(const Target&) = delete;
        Target& operator=(const Target&) = delete;
        Place place;
        std::string path;  // the first request's, for the caller's message
        LockMode mode = LockMode::Exclusive;
        int fd = -1;
        FileLock lock;
    };

    static Place Where(const std::string& path);
    static bool Lockable(const Place& place, LockMode mode) {
        return place.found && !(place.directory && mode == LockMode::Shared);
    }
    // Opens what place stands for; nullptr when it cannot be opened or is no
    // longer what the path named.
    static std::unique_ptr<Target> Open(const std::string& path, const Place& place, LockMode mode);
    Target* Find(const Place& place) const;
    // Lets go of the targets that no request is bound to any more.
    void DropUnused();

    std::vector<Request> requests_;
    std::vector<Place> bound_;  // per request, what its path named when locked
    std::vector<std::unique_ptr<Target>> targets_;
};

}  // namespace quillet
