#pragma once
// POSIX file access for the binary formats: positioned reads that give zeros
// past the end of the file (as the formats expect of a short file), and
// buffered sequential reading and appending so that a block-at-a-time
// procedure does not cost a system call per field.
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace quillet {

// Where bytes go that only pass through on their way from one file to
// another (a block's bytes during a save), piece by piece and in order, so
// that no piece needs to be larger than a fixed buffer.
using ByteSink = std::function<void(const uint8_t* data, size_t count)>;
// What hands a whole run of bytes to a sink, in as many pieces as it likes
// (the pushing counterpart of ByteSource below).
using ByteFeed = std::function<void(const ByteSink& sink)>;

class BinaryFile {
public:
    enum class Mode {
        Read,       // existing file, read only
        ReadWrite,  // existing file, read and write
        Create,     // new empty file (an old one is replaced), read and write
        CreateNew,  // new empty file, read and write; fails (EEXIST) on any name that
                    // is taken, a symbolic link too: nothing that is there is touched
    };

    BinaryFile() = default;
    ~BinaryFile();
    BinaryFile(const BinaryFile&) = delete;
    BinaryFile& operator=(const BinaryFile&) = delete;
    BinaryFile(BinaryFile&& other) noexcept;
    BinaryFile& operator=(BinaryFile&& other) noexcept;

    // A created file gets createMode less the umask; an existing one keeps
    // its mode. False with errno set when the path cannot be opened or is
    // not a regular file (EISDIR for a directory, EINVAL for anything else).
    bool Open(const std::string& path, Mode mode, unsigned createMode = 0644);
    bool IsOpen() const { return fd_ >= 0; }
    int Descriptor() const { return fd_; }
    // Flushes nothing (the class has no buffer); answers false if close failed.
    bool Close();
    int64_t Size() const;

    // Reads up to count bytes at offset; what lies past the end of the file
    // is filled with zeros. Answers the number of bytes really read.
    size_t ReadAt(int64_t offset, uint8_t* out, size_t count) const;
    // Writes all count bytes at offset; false on any failure (disk full...).
    bool WriteAt(int64_t offset, const uint8_t* data, size_t count);
    bool Truncate(int64_t size);
    bool Sync();

private:
    int fd_ = -1;
};

// Where the bytes of a block come from when they only pass through, a piece
// at a time (into the scratch DataFile, say), so that no block is ever held
// whole on its way.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    // Gives the next count bytes, zeros where the source has ended; answers
    // how many came from the source.
    virtual size_t Read(uint8_t* out, size_t count) = 0;
};

// Sequential reader with a read window. Past the end it gives zeros.
class FileReader : public ByteSource {
public:
    explicit FileReader(const BinaryFile& file, int64_t start = 0, size_t window = 1 << 16);
    // Reads count bytes into out; answers how many came from the file.
    size_t Read(uint8_t* out, size_t count) override;
    void Seek(int64_t position);
    int64_t Position() const { return pos_; }
    int64_t FileSize() const { return size_; }
    int64_t Remaining() const { return pos_ < size_ ? size_ - pos_ : 0; }

private:
    const BinaryFile& file_;
    std::vector<uint8_t> buffer_;
    int64_t bufferStart_ = 0;
    size_t bufferFill_ = 0;
    int64_t pos_;
    int64_t size_;
};

// A read window for positioned reads on a file that only grows. A walk whose
// reads each start where the last one ended is served from one large
// positioned read per window; a read anywhere else goes straight to the file,
// so random access costs no more than a plain positioned read. The window
// holds only bytes that were in the file when it was filled, so bytes
// appended later are never shadowed by stale zeros. Past the end of the file
// reads give zeros, like BinaryFile::ReadAt. Reset if bytes already in the
// file are overwritten.
class ReadWindow {
public:
    // A forward window also refills for a read that skips ahead of the last
    // one: a walk over sorted, scattered positions then costs one read per
    // window too.
    enum class Walk : unsigned char { Contiguous, Forward };
    explicit ReadWindow(size_t size = 1 << 16, Walk walk = Walk::Contiguous) : size_(size), walk_(walk) {}
    // Answers the number of bytes that came from the file.
    size_t Read(const BinaryFile& file, int64_t position, uint8_t* out, size_t count);
    // The same bytes without a copy where the window holds them, else read
    // into spare; valid until the next call or a change of spare. fromFile,
    // if given, receives how many of them came from the file.
    const uint8_t* View(const BinaryFile& file, int64_t position, size_t count, std::vector<uint8_t>& spare,
                        size_t* fromFile = nullptr);
    void Reset();

private:
    // Brings the bytes into the window if the walk allows; true if they are in it.
    bool Serve(const BinaryFile& file, int64_t position, size_t count);

    size_t size_;
    Walk walk_;
    std::vector<uint8_t> buffer_;
    int64_t start_ = 0;
    size_t filled_ = 0;  // bytes of buffer_ that came from the file
    int64_t next_ = 0;   // where the last read ended
    int64_t end_ = -1;   // where the file ended at the last fill; -1 if past the window
};

// The bytes of a file from a position on, through a read window, as a
// ByteSource.
class WindowSource : public ByteSource {
public:
    WindowSource(const BinaryFile& file, ReadWindow& window, int64_t position)
        : file_(file), window_(window), position_(position) {}
    size_t Read(uint8_t* out, size_t count) override {
        const size_t got = window_.Read(file_, position_, out, count);
        position_ += static_cast<int64_t>(count);
        return got;
    }
    void Seek(int64_t position) { position_ = position; }

private:
    const BinaryFile& file_;
    ReadWindow& window_;
    int64_t position_;
};

// The bytes of a file from a position on, read straight into the caller's
// memory: for a run of many blocks taken in large pieces, which a window
// would only copy once more.
class FileSource : public ByteSource {
public:
    explicit FileSource(const BinaryFile& file) : file_(file) {}
    size_t Read(uint8_t* out, size_t count) override {
        const size_t got = file_.ReadAt(position_, out, count);
        position_ += static_cast<int64_t>(count);
        return got;
    }
    void Seek(int64_t position) { position_ = position; }

private:
    const BinaryFile& file_;
    int64_t position_ = 0;
};

// Buffered appending writer starting at a given offset. Any failed write is
// remembered, so the caller checks once, at Flush. A write that fits the
// buffer is a copy and nothing else: a walk that writes a small head and a
// block at a time pays no call per field.
class FileWriter {
public:
    explicit FileWriter(BinaryFile& file, int64_t start = 0, size_t window = 1 << 16);
    void Write(const uint8_t* data, size_t count) {
        if (count <= buffer_.size() - used_) {
            if (count == 0) return;  // no copy from what may be no array at all
            std::memcpy(buffer_.data() + used_, data, count);
            used_ += count;
            return;
        }
        WriteThrough(data, count);
    }
    // Writes the count bytes that source hands over, in its pieces; a source
    // that hands over another number of bytes is a Failure.
    void Write(int64_t count, const ByteFeed& source);
    bool Flush();
    int64_t Position() const { return start_ + static_cast<int64_t>(used_); }
    bool Ok() const { return ok_; }
    // The errno of the first failed write (0 while all went well).
    int Error() const { return error_; }

private:
    // What does not fit: the buffer goes out first, then a count as large as
    // the buffer goes straight to the file.
    void WriteThrough(const uint8_t* data, size_t count);
    void Failed();

    BinaryFile& file_;
    std::vector<uint8_t> buffer_;
    size_t used_ = 0;
    int64_t start_;
    bool ok_ = true;
    int error_ = 0;
};

}  // namespace quillet
