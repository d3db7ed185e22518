#include "support/cFileIO.h"

#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <vector>

#include "base/AppInfo.h"
#include "base/cError.h"
#include "support/Services.h"
#include "core/mWait.h"
#include "base/SafeSave.h"

extern char** environ;

namespace quillet {
namespace {

std::string WithSlash(std::string path) {
    if (path.empty() || path.back() != '/') path += '/';
    return path;
}

std::string ErrnoText(int err) { return std::generic_category().message(err); }
[[noreturn]] void FailErrno(int err) { Fail(ErrnoText(err)); }

// A file descriptor closed on every way out.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }
    // Closes now; false if the close reports a failure (a late write error).
    bool Close() {
        const int fd = fd_;
        fd_ = -1;
        return fd < 0 || ::close(fd) == 0;
    }

private:
    int fd_;
};

int OpenFile(const std::string& path, int flags, mode_t mode = 0) {
    int fd = -1;
    do {
        fd = ::open(path.c_str(), flags | O_CLOEXEC, mode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

bool WriteAll(int fd, const uint8_t* data, size_t count) {
    while (count > 0) {
        const ssize_t n = ::write(fd, data, count);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += n;
        count -= static_cast<size_t>(n);
    }
    return true;
}

// The whole of a regular file. The size is checked before anything is
// allocated: a file beyond 2147483647 bytes is a failure, not gigabytes of
// memory. O_NONBLOCK keeps a FIFO of that name from blocking the open.
ByteArray ReadWholeFile(const std::string& name) {
    Descriptor file(OpenFile(name, O_RDONLY | O_NONBLOCK));
    if (file.get() < 0) FailErrno(errno);
    struct stat st {};
    if (::fstat(file.get(), &st) != 0) FailErrno(errno);
    if (S_ISDIR(st.st_mode)) FailErrno(EISDIR);
    if (!S_ISREG(st.st_mode)) Fail("Not a regular file");
    if (st.st_size > INT32_MAX) Fail(kOverflow);
    ByteArray bytes(static_cast<size_t>(st.st_size));
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::read(file.get(), bytes.data() + done, bytes.size() - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            FailErrno(errno);
        }
        if (n == 0) Fail("Input past end of file");  // it shrank while being read
        done += static_cast<size_t>(n);
    }
    return bytes;
}

// Writes a temporary file beside name and renames it over name, so the file
// ends up holding exactly these bytes and a failed write leaves the old one.
// A file that is replaced keeps its permissions.
void ReplaceFile(const std::string& name, const uint8_t* data, size_t count) {
    if (name.empty()) FailErrno(ENOENT);
    struct stat old {};
    const bool keepMode = ::stat(name.c_str(), &old) == 0 && S_ISREG(old.st_mode);
    const std::string temp = TempNameBeside(name);
    Descriptor file(OpenFile(temp, O_WRONLY | O_CREAT | O_TRUNC, 0666));
    if (file.get() < 0) FailErrno(errno);
    bool ok = WriteAll(file.get(), data, count);
    int err = errno;
    if (ok && keepMode) ::fchmod(file.get(), old.st_mode & 0777);
    if (!file.Close() && ok) {
        ok = false;
        err = errno;
    }
    if (!ok) {
        ::unlink(temp.c_str());
        FailErrno(err);
    }
    if (!CommitReplace(temp, name)) FailErrno(errno);
}

// Copies the regular file from into a new temporary file beside to, flushed
// to disk, with from's permissions; answers the temporary file's name.
std::string CopyBeside(const std::string& from, const std::string& to) {
    Descriptor source(OpenFile(from, O_RDONLY | O_NONBLOCK));
    if (source.get() < 0) FailErrno(errno);
    struct stat st {};
    if (::fstat(source.get(), &st) != 0) FailErrno(errno);
    if (!S_ISREG(st.st_mode)) FailErrno(S_ISDIR(st.st_mode) ? EISDIR : EINVAL);
    const std::string temp = TempNameBeside(to);
    Descriptor target(OpenFile(temp, O_WRONLY | O_CREAT | O_TRUNC, 0666));
    if (target.get() < 0) FailErrno(errno);
    std::vector<uint8_t> buffer(size_t{1} << 16);
    bool ok = true;
    int err = 0;
    for (;;) {
        const ssize_t n = ::read(source.get(), buffer.data(), buffer.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            ok = n == 0;
            err = errno;
            break;
        }
        if (!WriteAll(target.get(), buffer.data(), static_cast<size_t>(n))) {
            ok = false;
            err = errno;
            break;
        }
    }
    if (ok) ::fchmod(target.get(), st.st_mode & 0777);
    if (ok && ::fsync(target.get()) != 0) {
        ok = false;
        err = errno;
    }
    if (!target.Close() && ok) {
        ok = false;
        err = errno;
    }
    if (!ok) {
        ::unlink(temp.c_str());
        FailErrno(err);
    }
    return temp;
}

// Renames without ever replacing an existing target; answers 0 or the errno.
// File systems without RENAME_NOREPLACE get a hard link and unlink (link
// fails on an existing name just as well); only where neither exists is the
// target's absence checked before a plain rename.
int RenameNoReplace(const std::string& from, const std::string& to) {
#ifdef RENAME_NOREPLACE
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) return errno;
#endif
    struct stat st {};
    if (::lstat(from.c_str(), &st) != 0) return errno;
    if (!S_ISDIR(st.st_mode)) {
        if (::link(from.c_str(), to.c_str()) == 0) {
            if (::unlink(from.c_str()) == 0) return 0;
            const int err = errno;
            ::unlink(to.c_str());
            return err;
        }
        if (errno != EPERM && errno != ENOTSUP && errno != ENOSYS) return errno;
    }
    if (::lstat(to.c_str(), &st) == 0) return EEXIST;
    if (errno != ENOENT) return errno;
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

// Removes the tree name (relative to the open folder parent): everything in
// it, then the folder itself. Failures to delete are ignored. Symbolic links
// are deleted as links and never followed, so nothing outside the tree is
// touched. The names are listed in full before anything is deleted, so the
// listing never runs over entries that change under it.
void RemoveTreeAt(int parent, const std::string& name) {
    const int fd = ::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd >= 0) {
        DIR* dir = ::fdopendir(fd);
        if (!dir) {
            ::close(fd);
        } else {
            std::vector<std::string> names;
            while (const dirent* entry = ::readdir(dir)) {
                const std::string entryName = entry->d_name;
                if (entryName != "." && entryName != "..") names.push_back(entryName);
            }
            for (const std::string& entryName : names) {
                if (::unlinkat(fd, entryName.c_str(), 0) == 0) continue;
                if (errno == EISDIR || errno == EPERM) RemoveTreeAt(fd, entryName);
            }
            ::closedir(dir);
        }
    }
    ::unlinkat(parent, name.c_str(), AT_REMOVEDIR);
}

// Programs started for the user are not waited for; those that have ended
// since are reaped at the next start so that they do not linger as zombies.
std::vector<pid_t>& StartedPrograms() {
    static std::vector<pid_t> pids;
    return pids;
}

void ReapStartedPrograms() {
    std::vector<pid_t>& pids = StartedPrograms();
    for (size_t i = 0; i < pids.size();) {
        const pid_t done = ::waitpid(pids[i], nullptr, WNOHANG);
        if (done == pids[i] || (done < 0 && errno == ECHILD)) {
            pids.erase(pids.begin() + static_cast<std::ptrdiff_t>(i));
        } else {
            ++i;
        }
    }
}

// The desktop's "open": xdg-open with target, started in directory (if any)
// and not waited for. Only a failure to start it is seen here.
void OpenWithDesktop(const std::string& target, const std::string& directory) {
    ReapStartedPrograms();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    int rc = 0;
    if (!directory.empty()) rc = posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    pid_t pid = 0;
    if (rc == 0) {
        std::string program = "xdg-open";
        std::string argument = target;
        char* argv[] = {program.data(), argument.data(), nullptr};
        rc = posix_spawnp(&pid, program.c_str(), &actions, nullptr, argv, environ);
    }
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) {
        MsgBox("Couldn't load the default application");
        return;
    }
    StartedPrograms().push_back(pid);
}

}  // namespace

cFileIO::cFileIO() {
    AppPath = ProgramDirectory();
    exepath = kIsIDE ? AppPath : ProgramDirectory();
    const char* tmp = std::getenv("TMPDIR");
    TempPath = WithSlash(tmp && *tmp ? tmp : "/tmp");
    // There is no system or Windows directory on a POSIX system; these are
    // the nearest equivalents and nothing in the program depends on them.
    SystemPath = "/usr/lib";
    WindowsPath = "/usr";
}

void cFileIO::OpenLink(const std::string& URL) { OpenWithDesktop(URL, {}); }

void cFileIO::OpenProgram(const std::string& Exefile, const std::string& Directory) {
    OpenWithDesktop(Exefile, Directory);
}

void cFileIO::KillDir(const std::string& sFolder) {
    try {
        std::string folder = sFolder;
        while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
        // An empty name or the root is never a folder to clear.
        if (folder.empty() || folder == "/") FailErrno(EINVAL);
        RemoveTreeAt(AT_FDCWD, folder);
    } catch (...) {
        if (!gError.isNotIDE) throw;
        gError.Log("cFileIO.KillDir(" + sFolder + ")");
    }
}

void cFileIO::CreateDir(const std::string& sFolder) {
    // A folder that exists already is no failure; no failure is reported.
    ::mkdir(sFolder.c_str(), 0777);
}

bool cFileIO::KillFile(const std::string& Filename) { return ::unlink(Filename.c_str()) == 0; }

bool cFileIO::FileExist(const std::string& Filename) {
    struct stat st {};
    return !Filename.empty() && ::stat(Filename.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

int32_t cFileIO::Lof(const std::string& Filename) {
    // -1 also for a folder and for a file whose length does not fit 32 bits.
    struct stat st {};
    if (Filename.empty() || ::stat(Filename.c_str(), &st) != 0 || !S_ISREG(st.st_mode) || st.st_size > INT32_MAX)
        return -1;
    return static_cast<int32_t>(st.st_size);
}

bool cFileIO::Rename(const std::string& FromFilename, const std::string& ToFilename) {
    try {
        const int err = RenameNoReplace(FromFilename, ToFilename);
        if (err != 0) FailErrno(err);
        return true;
    } catch (...) {
        if (!gError.isNotIDE) throw;
        gError.Log("cFileIO.Rename('" + FromFilename + "', '" + ToFilename + "')");
        return false;
    }
}

bool cFileIO::CopyFile(const std::string& FromFilename, const std::string& ToFilename) {
    try {
        return CommitReplace(CopyBeside(FromFilename, ToFilename), ToFilename);
    } catch (...) {
        return false;  // not reported
    }
}

int32_t cFileIO::FileToByteArray(const std::string& Filename, ByteArray& bytes) {
    try {
        bytes = ReadWholeFile(Filename);
        return static_cast<int32_t>(bytes.size());
    } catch (...) {
        ByteArray().swap(bytes);  // not reported
        return 0;
    }
}

void cFileIO::ByteArrayToFile(const ByteArray& bytes, const std::string& Filename) {
    try {
        ReplaceFile(Filename, bytes.data(), bytes.size());
    } catch (...) {
        if (!gError.isNotIDE) throw;
        gError.Log("cFileIO.ByteArrayToFile(ByteArray(), '" + Filename + "')");
    }
}

std::string cFileIO::FileToHex(const std::string& Filename) {
    try {
        static constexpr char kDigits[] = "0123456789ABCDEF";
        const ByteArray bytes = ReadWholeFile(Filename);
        std::string hex;
        hex.reserve(bytes.size() * 2);
        for (const uint8_t b : bytes) {
            hex += kDigits[b >> 4];
            hex += kDigits[b & 15];
        }
        return hex;
    } catch (...) {
        if (!gError.isNotIDE) throw;
        gError.Log("cFileIO.FileToHex('" + Filename + "')");
        return {};
    }
}

std::string cFileIO::FileToString(const std::string& Filename) {
    try {
        const ByteArray bytes = ReadWholeFile(Filename);
        return std::string(bytes.begin(), bytes.end());
    } catch (...) {
        gError.Log("cFileIO.FileToString('" + Filename + "')");
        return {};
    }
}

bool cFileIO::StringToFile(const std::string& Filename, const std::string& Data) {
    try {
        // The line end of every text file the program writes, the log's too.
        const std::string text = Data + "\r\n";
        ReplaceFile(Filename, reinterpret_cast<const uint8_t*>(text.data()), text.size());
        return true;
    } catch (...) {
        if (!gError.isNotIDE) throw;
        gError.Log("cFileIO.StringToFile('" + Filename + "', Data)");
        return false;
    }
}

void cFileIO::HexToFile(const std::string& Filename, const std::string& Data) {
    try {
        ByteArray bytes((Data.size() + 1) / 2);
        gConvert.PopulateByteArray(bytes, Data);
        ReplaceFile(Filename, bytes.data(), bytes.size());
    } catch (...) {
        if (!gError.isNotIDE) throw;
        gError.Log("cFileIO.HexToFile('" + Filename + "', Data)");
    }
}

void cFileIO::MoveFile(const std::string& FromFile, const std::string& ToFile) {
    // As the system's move: an existing target is not replaced. Across file
    // systems the file is copied, and the original deleted only once the copy
    // stands under its new name. Failures are not reported.
    try {
        if (RenameNoReplace(FromFile, ToFile) != EXDEV) return;
        const std::string temp = CopyBeside(FromFile, ToFile);
        if (RenameNoReplace(temp, ToFile) != 0) {
            ::unlink(temp.c_str());
            return;
        }
        ::unlink(FromFile.c_str());
    } catch (...) {
    }
}

}  // namespace quillet
