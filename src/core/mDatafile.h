#pragma once
// The DataFile: the hidden scratch file that holds the bytes of every block
// of the open patch, back to back, append-only. Offsets are 1-based and
// 32-bit signed, so the file ends at 2147483647 bytes. Appends go through a
// buffer; reads see bytes still in the buffer.
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/BinaryFile.h"
#include "base/ByteIO.h"
#include "base/FileLock.h"

namespace quillet {

// Bytes that are not zeroed when the buffer grows: an append grows it by a
// piece and fills the piece at once, so zeroing it first would only write it twice.
template <class T>
struct UnzeroedAllocator : std::allocator<T> {
    template <class U>
    struct rebind {
        using other = UnzeroedAllocator<U>;
    };
    template <class U>
    void construct(U* place) noexcept {
        ::new (static_cast<void*>(place)) U;
    }
    template <class U, class... Args>
    void construct(U* place, Args&&... args) {
        ::new (static_cast<void*>(place)) U(std::forward<Args>(args)...);
    }
};

class DatafileHandle {
public:
    bool IsOpen() const { return file.IsOpen(); }
    // Logical size: what is on disk plus what waits in the buffer.
    int64_t Size() const { return flushed + static_cast<int64_t>(pending.size()); }

    BinaryFile file;
    FileLock lock;  // on file's descriptor while it is open; declared after file, so released before it closes
    std::vector<uint8_t, UnzeroedAllocator<uint8_t>> pending;
    ReadWindow window{1 << 16};  // blocks are mostly read back in the order they were stored
    int64_t flushed = 0;
    bool broken = false;    // a write failed: later writes fail at once
    bool reported = false;  // the user has been told once
};

inline constexpr int64_t kDatafileLimit = 2147483647;

// Replaces a file of that name with a new empty one, open for read and write.
// Answers false (after logging) if it cannot be created. The new file is
// marked as ours (an extended attribute, where the file system has them) and
// locked for as long as it is open, so that a later run can tell a leftover
// of a crashed run from a DataFile in use.
bool Datafile_Create(DatafileHandle& handle, const std::string& FileName);
// Deletes the DataFiles that crashed runs left in Directory ("" for the
// current one): regular files named as a DataFile is named, that carry our
// mark, belong to this user and that no running process holds locked.
// Anything else, a file of the same name from another program included, is
// left alone. Answers how many were deleted.
int RemoveStaleDatafiles(const std::string& Directory);
void Datafile_Close(DatafileHandle& handle);
// Appends the bytes and answers their 1-based Offset. Fails (throws) if the
// file is not open, a write fails, or the file would pass 2147483647 bytes;
// the user is told once per patch through the message hook.
int32_t Datafile_Write(DatafileHandle& handle, const uint8_t* data, size_t size);
inline int32_t Datafile_Write(DatafileHandle& handle, const ByteArray& bytes) {
    return Datafile_Write(handle, bytes.data(), bytes.size());
}
// Appends Size bytes taken from Source a piece at a time, and answers their
// 1-based Offset: a block that only passes through on its way into the
// DataFile is never held whole. The pieces are read straight into the
// handle's buffer, the one copy they take. Where Source ends, the rest of the
// block is zeros, and a long run of them becomes a hole in the file (no disk
// and no writing). FromSource, if given, receives how many bytes came from
// Source. Fails as Datafile_Write fails; a failure part-way leaves the
// handle broken, so that nothing is ever stored over a partial block.
int32_t Datafile_Append(DatafileHandle& handle, ByteSource& Source, int64_t Size, int64_t* FromSource = nullptr);
// Resizes ByteArray to Size and fills it from Offset. Offset and Size must be 1 or more.
// Fails (throws) when the file lost bytes to a failed write or is shorter
// than the block: a block is never read back as zeros it did not have.
void Datafile_Read(DatafileHandle& handle, int32_t Offset, int32_t Size, ByteArray& bytes);
// The same into out (Size bytes), through a window of the caller's own, for a
// walk that would only disturb the handle's window (the pages' scan of the
// leading bytes of every block, in offset order).
void Datafile_ReadThrough(DatafileHandle& handle, ReadWindow& window, int32_t Offset, int32_t Size, uint8_t* out);
// The Size bytes at Offset held whole, without a copy where window holds
// them (else in spare), for a walk over many small blocks in about the order
// they were stored (a save): a forward window of its own then reads the file
// a window at a time. Valid until the next call. Fails as Datafile_Read does.
const uint8_t* Datafile_View(DatafileHandle& handle, ReadWindow& window, int32_t Offset, int32_t Size,
                             ByteArray& spare);
// Hands the Size bytes at Offset to sink in order, in pieces of at most
// 64 KiB: a block of any size passes through one fixed buffer on its way to
// a file. Fails as Datafile_Read does.
void Datafile_CopyTo(DatafileHandle& handle, int32_t Offset, int32_t Size, const ByteSink& sink);
// Writes the buffer out (before the file is read by another process, say).
bool Datafile_Flush(DatafileHandle& handle);

}  // namespace quillet
