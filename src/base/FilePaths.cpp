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

std::string WhyNotAFile(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return ErrnoText(errno);
    if (S_ISREG(st.st_mode)) return {};
    if (S_ISDIR(st.st_mode)) return ErrnoText(EISDIR);
    if (S_ISFIFO(st.st_mode)) return "a named pipe (FIFO), not a file";
    if (S_ISCHR(st.st_mode) || S_ISBLK(st.st_mode)) return "a device, not a file";
    if (S_ISSOCK(st.st_mode)) return "a socket, not a file";
    return "not a regular file";
}

int ResolveLinks(const std::string& path, std::string& target) {
    constexpr int kMostLinks = 40;  // as many as the kernel follows
    std::string at = path;
    for (int links = 0; links <= kMostLinks; ++links) {
        struct stat st {};
        if (::lstat(at.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) {
            target = at;
            return 0;
        }
        std::string to(static_cast<size_t>(st.st_size > 0 ? st.st_size : 0) + 1, '\0');
        for (;;) {
            const ssize_t n = ::readlink(at.c_str(), to.data(), to.size());
            if (n < 0) return errno;
            if (static_cast<size_t>(n) < to.size()) {
                to.resize(static_cast<size_t>(n));
                break;
            }
            to.resize(to.size() * 2);  // the link grew, or its size was not told
        }
        if (to.empty()) return ENOENT;
        const std::string dir = DirectoryOf(at);
        at = to[0] == '/' || dir.empty() ? to : WithSlash(dir) + to;
    }
    return ELOOP;
}

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
