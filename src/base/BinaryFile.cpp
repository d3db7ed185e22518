#include "base/BinaryFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/Checked.h"

namespace quillet {

BinaryFile::~BinaryFile() { Close(); }

BinaryFile::BinaryFile(BinaryFile&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }

BinaryFile& BinaryFile::operator=(BinaryFile&& other) noexcept {
    if (this != &other) {
        Close();
        fd_ = other.fd_;
        other.fd_ = -1;
    }
    return *this;
}

bool BinaryFile::Open(const std::string& path, Mode mode, unsigned createMode) {
    Close();
    // Non-blocking only for the open itself: a FIFO given as a file must not
    // hang the program waiting for a writer. It is refused below.
    int flags = O_CLOEXEC | O_NONBLOCK;
    switch (mode) {
        case Mode::Read: flags |= O_RDONLY; break;
        case Mode::ReadWrite: flags |= O_RDWR; break;
        case Mode::Create: flags |= O_RDWR | O_CREAT | O_TRUNC; break;
        case Mode::CreateNew: flags |= O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW; break;
    }
    do {
        fd_ = ::open(path.c_str(), flags, static_cast<mode_t>(createMode));
    } while (fd_ < 0 && errno == EINTR);
    if (fd_ >= 0) {
        struct stat st {};
        // A directory opens read-only on Linux, a FIFO or a device too; none
        // is a file for our purposes.
        if (::fstat(fd_, &st) != 0 || !S_ISREG(st.st_mode)) {
            ::close(fd_);
            fd_ = -1;
            errno = S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
        } else {
            ::fcntl(fd_, F_SETFL, ::fcntl(fd_, F_GETFL) & ~O_NONBLOCK);
        }
    }
    return fd_ >= 0;
}

bool BinaryFile::Close() {
    if (fd_ < 0) return true;
    const int rc = ::close(fd_);
    fd_ = -1;
    return rc == 0;
}

int64_t BinaryFile::Size() const {
    struct stat st {};
    if (fd_ < 0 || ::fstat(fd_, &st) != 0) return 0;
    return st.st_size;
}

size_t BinaryFile::ReadAt(int64_t offset, uint8_t* out, size_t count) const {
    size_t done = 0;
    if (fd_ >= 0 && offset >= 0) {
        while (done < count) {
            const ssize_t n = ::pread(fd_, out + done, count - done, offset + static_cast<int64_t>(done));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) break;
            done += static_cast<size_t>(n);
        }
    }
    std::memset(out + done, 0, count - done);
    return done;
}

bool BinaryFile::WriteAt(int64_t offset, const uint8_t* data, size_t count) {
    if (fd_ < 0 || offset < 0) {
        errno = EBADF;
        return false;
    }
    size_t done = 0;
    while (done < count) {
        const ssize_t n = ::pwrite(fd_, data + done, count - done, offset + static_cast<int64_t>(done));
        if (n < 0 && errno == EINTR) continue;
        if (n == 0) errno = EIO;
        if (n <= 0) return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

bool BinaryFile::Truncate(int64_t size) { return fd_ >= 0 && ::ftruncate(fd_, size) == 0; }

bool BinaryFile::Sync() { return fd_ >= 0 && ::fsync(fd_) == 0; }

FileReader::FileReader(const BinaryFile& file, int64_t start, size_t window)
    : file_(file), buffer_(window), pos_(start), size_(file.Size()) {}

size_t FileReader::Read(uint8_t* out, size_t count) {
    size_t real = 0;
    size_t done = 0;
    while (done < count) {
        if (pos_ >= size_) {  // nothing more in the file: zeros
            std::memset(out + done, 0, count - done);
            pos_ += static_cast<int64_t>(count - done);
            break;
        }
        const bool inWindow = pos_ >= bufferStart_ && pos_ < bufferStart_ + static_cast<int64_t>(bufferFill_);
        if (!inWindow) {
            if (count - done >= buffer_.size()) {  // large read: straight into the caller's memory
                const size_t want = count - done;
                const size_t got = file_.ReadAt(pos_, out + done, want);
                real += got;
                pos_ += static_cast<int64_t>(want);
                break;
            }
            bufferStart_ = pos_;
            bufferFill_ = file_.ReadAt(pos_, buffer_.data(), buffer_.size());
            if (bufferFill_ == 0) {
                size_ = pos_;  // the file shrank under us: treat the rest as zeros
                continue;
            }
        }
        const auto at = static_cast<size_t>(pos_ - bufferStart_);
        const size_t take = std::min(count - done, bufferFill_ - at);
        std::memcpy(out + done, buffer_.data() + at, take);
        done += take;
        real += take;
        pos_ += static_cast<int64_t>(take);
    }
    return real;
}

void FileReader::Seek(int64_t position) { pos_ = position; }

bool ReadWindow::Serve(const BinaryFile& file, int64_t position, size_t count) {
    const int64_t end = position + static_cast<int64_t>(count);
    const bool continues = walk_ == Walk::Forward ? position >= next_ : position == next_;
    next_ = end;
    if (position >= start_ && end <= start_ + static_cast<int64_t>(filled_)) return true;
    // A walk that runs on past where the file ended at the last fill reads
    // only what it asks for: refilling a whole window of zeros per block
    // would make a short file slower to walk than a whole one.
    const bool pastEnd = end_ >= 0 && position >= end_;
    if (!continues || pastEnd || count >= size_ || position < 0) return false;
    buffer_.resize(size_);
    start_ = position;
    filled_ = file.ReadAt(position, buffer_.data(), size_);
    end_ = filled_ < size_ ? start_ + static_cast<int64_t>(filled_) : -1;
    return count <= filled_;
}

size_t ReadWindow::Read(const BinaryFile& file, int64_t position, uint8_t* out, size_t count) {
    if (!Serve(file, position, count)) return file.ReadAt(position, out, count);
    std::memcpy(out, buffer_.data() + (position - start_), count);
    return count;
}

const uint8_t* ReadWindow::View(const BinaryFile& file, int64_t position, size_t count, std::vector<uint8_t>& spare,
                               size_t* fromFile) {
    if (Serve(file, position, count)) {
        if (fromFile) *fromFile = count;
        return buffer_.data() + (position - start_);
    }
    spare.resize(count);
    const size_t got = file.ReadAt(position, spare.data(), count);
    if (fromFile) *fromFile = got;
    return spare.data();
}

void ReadWindow::Reset() {
    filled_ = 0;
    next_ = 0;
    end_ = -1;
}

FileWriter::FileWriter(BinaryFile& file, int64_t start, size_t window) : file_(file), buffer_(window), start_(start) {}

void FileWriter::WriteThrough(const uint8_t* data, size_t count) {
    Flush();
    if (count >= buffer_.size()) {
        if (!file_.WriteAt(start_, data, count)) Failed();
        start_ += static_cast<int64_t>(count);
        return;
    }
    std::memcpy(buffer_.data(), data, count);
    used_ = count;
}

void FileWriter::Failed() {
    if (ok_) error_ = errno != 0 ? errno : EIO;
    ok_ = false;
}

void FileWriter::Write(int64_t count, const ByteFeed& source) {
    int64_t passed = 0;
    source([&](const uint8_t* data, size_t piece) {
        passed += static_cast<int64_t>(piece);
        if (passed > count) Fail(kSubscript);
        Write(data, piece);
    });
    if (passed != count) Fail(kSubscript);
}

bool FileWriter::Flush() {
    if (used_ > 0) {
        if (!file_.WriteAt(start_, buffer_.data(), used_)) Failed();
        start_ += static_cast<int64_t>(used_);
        used_ = 0;
    }
    return ok_;
}

}  // namespace quillet
