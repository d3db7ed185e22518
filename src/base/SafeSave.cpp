#include "base/SafeSave.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "base/FilePaths.h"
#include "base/ScratchFiles.h"

namespace quillet {

std::string TempNameBeside(const std::string& target) {
    const size_t slash = target.find_last_of('/');
    const std::string dir = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
    return dir + "." + base + ".tmp-" + std::to_string(::getpid());
}

FileIdentity IdentityOf(const std::string& path) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0) return {};
    return {static_cast<uint64_t>(st.st_dev), static_cast<uint64_t>(st.st_ino)};
}

void RemoveIfSame(const std::string& path, const FileIdentity& identity) {
    if (IdentityOf(path) == identity) ::unlink(path.c_str());
}

namespace {

bool Commit(const std::string& tempName, const std::string& target, const FileIdentity* written, std::string* why) {
    const int fd = ::open(tempName.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat st {};
    const bool ours = fd >= 0 && (!written || (::fstat(fd, &st) == 0 &&
                                               FileIdentity{static_cast<uint64_t>(st.st_dev),
                                                            static_cast<uint64_t>(st.st_ino)} == *written));
    int error = fd < 0 ? errno : 0;
    bool ok = ours && ::fsync(fd) == 0;
    if (ours && !ok) error = errno;
    if (fd >= 0) ::close(fd);
    // Checked again just before the rename: the sync can take seconds.
    ok = ok && (!written || IdentityOf(tempName) == *written);
    if (ok && std::rename(tempName.c_str(), target.c_str()) != 0) {
        ok = false;
        error = errno;
    }
    if (!ok) {
        if (why) *why = error != 0 ? ErrnoText(error) : "it is no longer the file this run wrote";
        if (!written)
            ::unlink(tempName.c_str());
        else
            RemoveIfSame(tempName, *written);
        errno = error;
        return false;
    }
    SyncDirectory(DirectoryOf(target));  // the rename itself reaches the disk
    return true;
}

}  // namespace

bool CommitReplace(const std::string& tempName, const std::string& target) {
    return Commit(tempName, target, nullptr, nullptr);
}

bool CommitReplace(const std::string& tempName, const std::string& target, const FileIdentity& written,
                   std::string* why) {
    return Commit(tempName, target, &written, why);
}

KeptAttributes AttributesOf(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return {};
    return {true, static_cast<unsigned>(st.st_mode & 07777), st.st_uid, st.st_gid};
}

void GiveAttributes(int fd, const KeptAttributes& kept) {
    if (!kept.present) return;
    // Owner first: a change of owner may clear the set-id bits, the mode sets them again.
    if (::fchown(fd, kept.uid, kept.gid) != 0) (void)::fchown(fd, static_cast<uid_t>(-1), kept.gid);
    (void)::fchmod(fd, static_cast<mode_t>(kept.mode));
}

namespace {

// The claimed names, for a signal handler: fixed buffers, and a flag per
// slot that is set only once its name is complete.
constexpr int kClaimSlots = 4;
char claimedNames[kClaimSlots][4096];
volatile std::sig_atomic_t claimedInUse[kClaimSlots];

// ".NAME.tmp-PID" or "NAME.tmp".
bool LooksLikeTempName(const char* name) {
    const size_t length = std::strlen(name);
    if (length > 4 && std::strcmp(name + length - 4, ".tmp") == 0) return true;
    const char* dash = std::strrchr(name, '-');
    if (name[0] != '.' || !dash || dash[1] == '\0' || dash - name < 5 || std::strncmp(dash - 4, ".tmp", 4) != 0)
        return false;
    for (const char* digit = dash + 1; *digit; ++digit)
        if (*digit < '0' || *digit > '9') return false;
    return true;
}

}  // namespace

void TempClaim::Name(const std::string& path) {
    Release();
    path_ = path;
    for (int slot = 0; slot < kClaimSlots; ++slot) {
        if (claimedInUse[slot] || path.size() >= sizeof claimedNames[slot]) continue;
        std::memcpy(claimedNames[slot], path.c_str(), path.size() + 1);
        std::atomic_signal_fence(std::memory_order_seq_cst);  // the name is whole before the flag says so
        claimedInUse[slot] = 1;
        slot_ = slot;
        break;
    }
}

void TempClaim::Hold() {
    if (path_.empty() || fd_ >= 0) return;
    fd_ = ::open(path_.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    // The mark only after the lock: a marked file that is not locked is a dead run's.
    if (fd_ >= 0 && lock_.TryLock(fd_)) MarkScratch(fd_, kTempFileMark);
}

void TempClaim::Ready(const KeptAttributes& kept) {
    if (fd_ < 0) {  // not open here: the attributes by name at least
        if (kept.present) {
            if (::chown(path_.c_str(), kept.uid, kept.gid) != 0)
                (void)::chown(path_.c_str(), static_cast<uid_t>(-1), kept.gid);
            (void)::chmod(path_.c_str(), static_cast<mode_t>(kept.mode));
        }
        return;
    }
    // Unmarked first: a mode without write access would not let the mark go.
    UnmarkScratch(fd_, kTempFileMark);
    GiveAttributes(fd_, kept);
    (void)::fsync(fd_);
}

void TempClaim::Release() {
    if (slot_ >= 0) claimedInUse[slot_] = 0;
    slot_ = -1;
    lock_.Release();
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
    path_.clear();
}

void RemoveClaimedTempFiles() {
    for (int slot = 0; slot < kClaimSlots; ++slot)
        if (claimedInUse[slot]) ::unlink(claimedNames[slot]);
}

int RemoveDeadTempFiles(const std::string& directory) {
    return RemoveDeadScratch(directory, LooksLikeTempName, kTempFileMark);
}

}  // namespace quillet
