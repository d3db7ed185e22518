// The rest of cFileIO's interface: kept whole and tested, but nothing in the
// program calls it today. The part the program uses is in cFileIO.cpp.
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
#include <cstddef>
#include <string>
#include <vector>

#include "base/FilePaths.h"
#include "base/SafeSave.h"
#include "base/cError.h"
#include "core/mWait.h"
#include "support/Services.h"
#include "support/WholeFile.h"

extern char** environ;

namespace quillet {
namespace {

using fileio::Descriptor;
using fileio::FailErrno;
using fileio::OpenFile;
using fileio::WriteAll;

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

void cFileIO::OpenLink(const std::string& URL) { OpenWithDesktop(URL, {}); }

void cFileIO::OpenProgram(const std::string& Exefile, const std::string& Directory) {
    OpenWithDesktop(Exefile, Directory);
}

void cFileIO::KillDir(const std::string& sFolder) {
    try {
        const std::string folder = WithoutSlash(sFolder);
        // An empty name or the root is never a folder to clear.
        if (folder.empty() || folder == "/") FailErrno(EINVAL);
        RemoveTreeAt(AT_FDCWD, folder);
    } catch (...) {
        if (!gError.isNotIDE) throw;
        gError.Log("cFileIO.KillDir(" + sFolder + ")");
    }
}

bool cFileIO::KillFile(const std::string& Filename) { return ::unlink(Filename.c_str()) == 0; }

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

std::string cFileIO::FileToHex(const std::string& Filename) {
    try {
        static constexpr char kDigits[] = "0123456789ABCDEF";
        const ByteArray bytes = fileio::ReadWholeFile(Filename);
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
        const ByteArray bytes = fileio::ReadWholeFile(Filename);
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
        fileio::ReplaceFile(Filename, reinterpret_cast<const uint8_t*>(text.data()), text.size());
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
        fileio::ReplaceFile(Filename, bytes.data(), bytes.size());
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
