#pragma once
// Whole files read and replaced with plain POSIX calls: the ground that
// cFileIO's two source files share. Every failure throws (cError's Fail)
// with the system's text, for the caller's catch to log or swallow.
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/ByteIO.h"

namespace quillet::fileio {

// A file descriptor closed on every way out.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }
    // Closes now; false if the close reports a failure (a late write error).
    bool Close();

private:
    int fd_;
};

[[noreturn]] void FailErrno(int error);
// open(2) with O_CLOEXEC, retried when a signal interrupts it.
int OpenFile(const std::string& path, int flags, mode_t mode = 0);
// All count bytes, or false with errno set.
bool WriteAll(int fd, const uint8_t* data, size_t count);

// The whole of a regular file. The size is checked before anything is
// allocated: a file beyond 2147483647 bytes is a failure, not gigabytes of
// memory. A FIFO of that name does not block the open.
ByteArray ReadWholeFile(const std::string& name);
// Writes a temporary file beside name and renames it over name, so the file
// ends up holding exactly these bytes and a failed write leaves the old one.
// A file that is replaced keeps its permissions.
void ReplaceFile(const std::string& name, const uint8_t* data, size_t count);

}  // namespace quillet::fileio
