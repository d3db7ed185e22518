#include "support/WholeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "base/Checked.h"
#include "base/FilePaths.h"
#include "base/SafeSave.h"
#include "base/cError.h"

namespace quillet::fileio {

bool Descriptor::Close() {
    const int fd = fd_;
    fd_ = -1;
    return fd < 0 || ::close(fd) == 0;
}

void FailErrno(int error) { Fail(ErrnoText(error)); }

int OpenFile(const std::string& path, int flags, mode_t mode) {
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

void ReplaceFile(const std::string& name, const uint8_t* data, size_t count) {
    if (name.empty()) FailErrno(ENOENT);
    struct stat old {};
    const bool keepMode = ::stat(name.c_str(), &old) == 0 && S_ISREG(old.st_mode);
    const std::string temp = TempNameBeside(name);
    Descriptor file(OpenFile(temp, O_WRONLY | O_CREAT | O_TRUNC, 0666));
    if (file.get() < 0) FailErrno(errno);
    bool ok = WriteAll(file.get(), data, count);
    int error = errno;
    if (ok && keepMode) ::fchmod(file.get(), old.st_mode & 0777);
    if (!file.Close() && ok) {
        ok = false;
        error = errno;
    }
    if (!ok) {
        ::unlink(temp.c_str());
        FailErrno(error);
    }
    if (!CommitReplace(temp, name)) FailErrno(errno);
}

}  // namespace quillet::fileio
