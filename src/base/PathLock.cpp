#include "base/PathLock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <tuple>
#include <utility>

#include "base/FilePaths.h"

namespace quillet {
namespace {

std::string DirectoryToLock(const std::string& path) {
    const std::string directory = DirectoryOf(path);
    return directory.empty() ? "." : directory;
}

bool SameObject(uint64_t device, uint64_t inode, const struct stat& info) {
    return static_cast<uint64_t>(info.st_dev) == device && static_cast<uint64_t>(info.st_ino) == inode;
}

}  // namespace

PathLock::Target::~Target() {
    lock.Release();
    if (fd >= 0) ::close(fd);
}

PathLock::PathLock() = default;
PathLock::~PathLock() { Release(); }
PathLock::PathLock(PathLock&& other) noexcept = default;
PathLock& PathLock::operator=(PathLock&& other) noexcept = default;

PathLock::Place PathLock::Where(const std::string& path) {
    struct stat info {};
    Place place;
    if (::stat(path.c_str(), &info) != 0) {
        // Only a name that is not there is guarded through its directory; a
        // path that cannot be looked at is not guarded at all.
        if (errno != ENOENT) return place;
        if (::stat(DirectoryToLock(path).c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return place;
        place.directory = true;
    }
    place.found = true;
    place.device = static_cast<uint64_t>(info.st_dev);
    place.inode = static_cast<uint64_t>(info.st_ino);
    return place;
}

std::unique_ptr<PathLock::Target> PathLock::Open(const std::string& path, const Place& place, LockMode mode) {
    // Read-only is enough for a lock; non-blocking so that a FIFO of the
    // name does not hang the open.
    const std::string name = place.directory ? DirectoryToLock(path) : path;
    int fd = -1;
    do {
        fd = ::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | (place.directory ? O_DIRECTORY : 0));
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) return nullptr;
    auto target = std::make_unique<Target>();
    target->fd = fd;
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !SameObject(place.device, place.inode, info)) return nullptr;
    target->place = place;
    target->path = path;
    target->mode = mode;
    return target;
}

PathLock::Target* PathLock::Find(const Place& place) const {
    // By device and inode alone: a directory named as a path and as the
    // place of a missing file is one object, and two descriptions of it
    // would wait for each other.
    for (const auto& target : targets_)
        if (target->place.device == place.device && target->place.inode == place.inode) return target.get();
    return nullptr;
}

bool PathLock::Acquire(const std::vector<Request>& requests, bool wait, std::string* busy,
                       const std::function<void(const std::string&)>& onWait) {
    Release();
    requests_ = requests;
    bool told = false;
    for (;;) {
        for (const Request& request : requests_) {
            const Place place = Where(request.path);
            bound_.push_back(place);
            if (!Lockable(place, request.mode)) continue;
            if (Target* known = Find(place)) {
                if (request.mode == LockMode::Exclusive) known->mode = LockMode::Exclusive;
                continue;
            }
            if (auto target = Open(request.path, place, request.mode)) targets_.push_back(std::move(target));
        }
        std::sort(targets_.begin(), targets_.end(), [](const auto& a, const auto& b) {
            return std::tie(a->place.device, a->place.inode) < std::tie(b->place.device, b->place.inode);
        });
        for (const auto& target : targets_) {
            if (target->lock.TryLock(target->fd, target->mode)) continue;
            if (errno != EWOULDBLOCK) continue;  // a file system without locks: nothing to wait for
            if (!wait) {
                if (busy) *busy = target->path;
                Release();
                return false;
            }
            if (onWait && !told) onWait(target->path);
            told = true;
            target->lock.Lock(target->fd, target->mode);
        }
        // What was waited for may have been replaced meanwhile: the locks
        // hold only if every path still names what was locked.
        bool stable = true;
        for (size_t index = 0; index < requests_.size(); ++index)
            stable = stable && Where(requests_[index].path) == bound_[index];
        if (stable) return true;
        targets_.clear();
        bound_.clear();
    }
}

bool PathLock::Follow(const std::string& path) {
    const auto request =
        std::find_if(requests_.begin(), requests_.end(), [&](const Request& r) { return r.path == path; });
    if (request == requests_.end()) return false;
    const size_t index = static_cast<size_t>(request - requests_.begin());
    const Place place = Where(path);
    bound_[index] = place;
    // A reader of a path that names nothing has nothing to lock.
    bool locked = place.found && !Lockable(place, request->mode);
    if (Lockable(place, request->mode)) {
        if (const Target* known = Find(place)) {
            locked = known->lock.Held();
        } else if (auto target = Open(path, place, request->mode);
                   target && target->lock.TryLock(target->fd, target->mode)) {
            targets_.push_back(std::move(target));
            locked = true;
        }
    }
    if (!locked) bound_[index] = Place{};  // not guarded now
    DropUnused();
    return locked;
}

void PathLock::DropUnused() {
    std::erase_if(targets_, [&](const std::unique_ptr<Target>& target) {
        for (size_t index = 0; index < requests_.size(); ++index) {
            const Place& place = bound_[index];
            if (Lockable(place, requests_[index].mode) && place.device == target->place.device &&
                place.inode == target->place.inode)
                return false;
        }
        return true;
    });
}

bool PathLock::Covers(const std::string& path) const {
    const Place place = Where(path);
    if (!place.found) return false;
    const Target* target = Find(place);
    return target && target->lock.Held();
}

bool PathLock::Held() const {
    return std::any_of(targets_.begin(), targets_.end(), [](const auto& target) { return target->lock.Held(); });
}

void PathLock::Release() {
    targets_.clear();
    bound_.clear();
    requests_.clear();
}

}  // namespace quillet
