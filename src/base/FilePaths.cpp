#include "base/FilePaths.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace quillet {

std::string WithSlash(const std::string& directory) {
    if (directory.empty() || directory.back() == '/') return directory;
    return directory + "/";
}

std::string WithoutSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

std::string DirectoryOf(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return {};
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool NameTaken(const std::string& name) {
    struct stat st {};
    return ::lstat(name.c_str(), &st) == 0;
}

std::string ErrnoText(int error) { return std::generic_category().message(error); }

int RenameNoReplace(const std::string& from, const std::string& to) {
#ifdef RENAME_NOREPLACE
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) return errno;
#endif
    struct stat st {};
    if (::lstat(from.c_str(), &st) != 0) return errno;
    if (!S_ISDIR(st.st_mode)) {  // a directory has no hard links
        if (::link(from.c_str(), to.c_str()) == 0) {
            if (::unlink(from.c_str()) == 0) return 0;
            const int error = errno;
            ::unlink(to.c_str());  // the file keeps only its old name
            return error;
        }
        // Anything but "no (more) hard links here" is the rename's own answer.
        if (errno != EPERM && errno != ENOTSUP && errno != ENOSYS && errno != EMLINK) return errno;
    }
    if (::lstat(to.c_str(), &st) == 0) return EEXIST;
    if (errno != ENOENT) return errno;
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

void SyncDirectory(const std::string& directory) {
    const int fd = ::open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

}  // namespace quillet
