#include "core/mDatafile.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "base/ScratchFiles.h"
#include "base/cError.h"
#include "core/mWait.h"

namespace quillet {
namespace {

constexpr size_t kBufferSize = 1 << 20;
constexpr int64_t kCopyChunk = 1 << 16;  // what Datafile_CopyTo holds of a block at a time
constexpr const char* kDatafileCut = "The patch's scratch file is shorter than its blocks: was it cut or deleted?";

[[noreturn]] void FailAndTell(DatafileHandle& handle, const std::string& text) {
    if (!handle.reported) {
        handle.reported = true;
        MsgBox(text);
    }
    Fail(text);
}

// "." then 8 letters from "a" to "y", then ".dat": the names PatchNew draws.
bool LooksLikeDatafileName(const char* name) {
    if (std::strlen(name) != 13 || name[0] != '.' || std::strcmp(name + 9, ".dat") != 0) return false;
    return std::all_of(name + 1, name + 9, [](char c) { return c >= 'a' && c <= 'y'; });
}

}  // namespace

int RemoveStaleDatafiles(const std::string& Directory) {
    return RemoveDeadScratch(Directory, LooksLikeDatafileName, kDatafileMark);
}

bool Datafile_Create(DatafileHandle& handle, const std::string& FileName) {
    Datafile_Close(handle);
    ::unlink(FileName.c_str());
    handle = DatafileHandle{};
    if (!handle.file.Open(FileName, BinaryFile::Mode::Create)) {
        const std::string text = "Unable to create the scratch file " + FileName +
                                 ": blocks cannot be loaded into this patch.";
        gError.Log("mDatafile.Datafile_Create", text);
        handle.reported = true;
        MsgBox(text);
        return false;
    }
    // Both are best effort: without them the file is only never taken for a leftover.
    const int fd = handle.file.Descriptor();
    // The mark comes after the lock: a marked file that is not locked is a dead run's.
    if (handle.lock.TryLock(fd)) MarkScratch(fd, kDatafileMark);
    handle.pending.reserve(kBufferSize);
    return true;
}

bool Datafile_Flush(DatafileHandle& handle) {
    if (handle.pending.empty()) return !handle.broken;
    const bool ok = handle.file.WriteAt(handle.flushed, handle.pending.data(), handle.pending.size());
    if (!ok) handle.broken = true;
    handle.flushed += static_cast<int64_t>(handle.pending.size());
    handle.pending.clear();
    return ok;
}

void Datafile_Close(DatafileHandle& handle) {
    if (!handle.IsOpen()) return;
    Datafile_Flush(handle);
    handle.lock.Release();
    handle.file.Close();
    handle.pending.clear();
    handle.pending.shrink_to_fit();
}

int32_t Datafile_Write(DatafileHandle& handle, const uint8_t* data, size_t size) {
    if (!handle.IsOpen()) FailAndTell(handle, "The patch's scratch file is not open: the block was not stored.");
    if (handle.broken)
        FailAndTell(handle, "Writing the patch's scratch file failed (is the disk full?): the block was not stored.");
    const int64_t start = handle.Size();
    if (start + static_cast<int64_t>(size) > kDatafileLimit)
        FailAndTell(handle, "The patch's scratch file would pass 2147483647 bytes: the block was not stored.");
    if (handle.pending.size() + size > kBufferSize && !Datafile_Flush(handle))
        FailAndTell(handle, "Writing the patch's scratch file failed (is the disk full?): the block was not stored.");
    if (size >= kBufferSize) {
        if (!handle.file.WriteAt(handle.flushed, data, size)) {
            handle.broken = true;
            FailAndTell(handle, "Writing the patch's scratch file failed (is the disk full?): the block was not stored.");
        }
        handle.flushed += static_cast<int64_t>(size);
    } else {
        handle.pending.insert(handle.pending.end(), data, data + size);
    }
    return static_cast<int32_t>(start + 1);
}

int32_t Datafile_Append(DatafileHandle& handle, ByteSource& Source, int64_t Size, int64_t* FromSource) {
    constexpr const char* kFailed =
        "Writing the patch's scratch file failed (is the disk full?): the block was not stored.";
    if (!handle.IsOpen()) FailAndTell(handle, "The patch's scratch file is not open: the block was not stored.");
    if (handle.broken) FailAndTell(handle, kFailed);
    const int64_t start = handle.Size();
    if (Size < 0 || start + Size > kDatafileLimit)
        FailAndTell(handle, "The patch's scratch file would pass 2147483647 bytes: the block was not stored.");
    int64_t left = Size;
    int64_t real = 0;
    bool ended = false;  // the source has nothing more: the rest is zeros
    while (left > 0) {
        if (ended && left >= static_cast<int64_t>(kBufferSize)) {
            // A hole reads as zeros, costs no disk, and is made at once.
            if (!Datafile_Flush(handle) || !handle.file.Truncate(handle.flushed + left)) {
                handle.broken = true;
                FailAndTell(handle, kFailed);
            }
            handle.flushed += left;
            break;
        }
        if (handle.pending.size() >= kBufferSize && !Datafile_Flush(handle)) FailAndTell(handle, kFailed);
        const size_t at = handle.pending.size();
        const auto piece = static_cast<size_t>(std::min<int64_t>(left, static_cast<int64_t>(kBufferSize - at)));
        handle.pending.resize(at + piece);
        if (!ended) {
            // The source gives zeros itself where it ends.
            const size_t got = Source.Read(handle.pending.data() + at, piece);
            real += static_cast<int64_t>(got);
            ended = got < piece;
        } else {
            std::memset(handle.pending.data() + at, 0, piece);
        }
        left -= static_cast<int64_t>(piece);
    }
    if (FromSource) *FromSource = real;
    return static_cast<int32_t>(start + 1);
}

void Datafile_ReadThrough(DatafileHandle& handle, ReadWindow& window, int32_t Offset, int32_t Size, uint8_t* out) {
    if (Offset < 1 || Size < 1) Fail(kSubscript);
    // After a failed write some stored blocks lost their bytes: reading any
    // of them as zeros would save damaged blocks as if they were whole.
    if (handle.broken) Fail("The patch's scratch file lost blocks when a write failed: its blocks cannot be read back.");
    const int64_t begin = int64_t{Offset} - 1;
    const int64_t end = begin + Size;
    // The part that is on disk, then the part still in the buffer.
    if (begin < handle.flushed) {
        const int64_t fromDisk = std::min(end, handle.flushed) - begin;
        const auto wanted = static_cast<size_t>(fromDisk);
        if (window.Read(handle.file, begin, out, wanted) != wanted)
            Fail(kDatafileCut);
    }
    if (end > handle.flushed) {
        const int64_t from = std::max(begin, handle.flushed);
        const int64_t available = std::max<int64_t>(0, std::min(end, handle.Size()) - from);
        uint8_t* tail = out + (from - begin);
        if (available > 0)
            std::memcpy(tail, handle.pending.data() + (from - handle.flushed), static_cast<size_t>(available));
        std::memset(tail + available, 0, static_cast<size_t>(end - from - available));
    }
}

const uint8_t* Datafile_View(DatafileHandle& handle, ReadWindow& window, int32_t Offset, int32_t Size,
                             ByteArray& spare) {
    if (Offset < 1 || Size < 1) Fail(kSubscript);
    const int64_t begin = int64_t{Offset} - 1;
    const auto count = static_cast<size_t>(Size);
    // Bytes still in the buffer, or a file that lost bytes: the careful way.
    if (handle.broken || begin + Size > handle.flushed) {
        spare.resize(count);
        Datafile_ReadThrough(handle, window, Offset, Size, spare.data());
        return spare.data();
    }
    size_t got = 0;
    const uint8_t* bytes = window.View(handle.file, begin, count, spare, &got);
    if (got != count) Fail(kDatafileCut);
    return bytes;
}

void Datafile_Read(DatafileHandle& handle, int32_t Offset, int32_t Size, ByteArray& bytes) {
    if (Offset < 1 || Size < 1) Fail(kSubscript);
    bytes.resize(static_cast<size_t>(Size));
    Datafile_ReadThrough(handle, handle.window, Offset, Size, bytes.data());
}

void Datafile_CopyTo(DatafileHandle& handle, int32_t Offset, int32_t Size, const ByteSink& sink) {
    if (Offset < 1 || Size < 1 || int64_t{Offset} - 1 + Size > kDatafileLimit) Fail(kSubscript);
    uint8_t chunk[kCopyChunk];
    int64_t done = 0;
    while (done < Size) {
        const auto piece = static_cast<int32_t>(std::min<int64_t>(Size - done, kCopyChunk));
        Datafile_ReadThrough(handle, handle.window, static_cast<int32_t>(Offset + done), piece, chunk);
        sink(chunk, static_cast<size_t>(piece));
        done += piece;
    }
}

}  // namespace quillet
