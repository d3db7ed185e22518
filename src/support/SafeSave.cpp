#include "support/SafeSave.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace quillet {

std::string DirectoryOf(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return {};
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string TempNameBeside(const std::string& target) {
    const size_t slash = target.find_last_of('/');
    const std::string dir = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
    return dir + "." + base + ".tmp-" + std::to_string(::getpid());
}

bool CommitReplace(const std::string& tempName, const std::string& target) {
    const int fd = ::open(tempName.c_str(), O_RDONLY | O_CLOEXEC);
    bool ok = fd >= 0 && ::fsync(fd) == 0;
    if (fd >= 0) ::close(fd);
    ok = ok && std::rename(tempName.c_str(), target.c_str()) == 0;
    if (!ok) {
        ::unlink(tempName.c_str());
        return false;
    }
    const std::string dir = DirectoryOf(target);
    const int dirFd = ::open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        ::fsync(dirFd);  // the rename itself reaches the disk
        ::close(dirFd);
    }
    return true;
}

}  // namespace quillet
