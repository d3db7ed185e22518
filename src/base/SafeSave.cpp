#include "base/SafeSave.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "base/FilePaths.h"

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

bool Commit(const std::string& tempName, const std::string& target, const FileIdentity* written) {
    const int fd = ::open(tempName.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat st {};
    const bool ours = fd >= 0 && (!written || (::fstat(fd, &st) == 0 &&
                                               FileIdentity{static_cast<uint64_t>(st.st_dev),
                                                            static_cast<uint64_t>(st.st_ino)} == *written));
    bool ok = ours && ::fsync(fd) == 0;
    if (fd >= 0) ::close(fd);
    // Checked again just before the rename: the sync can take seconds.
    ok = ok && (!written || IdentityOf(tempName) == *written);
    ok = ok && std::rename(tempName.c_str(), target.c_str()) == 0;
    if (!ok) {
        const int error = errno;
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
    return Commit(tempName, target, nullptr);
}

bool CommitReplace(const std::string& tempName, const std::string& target, const FileIdentity& written) {
    return Commit(tempName, target, &written);
}

}  // namespace quillet
