#pragma once
// The program's own patch file: a header with three strings, then entries of
// FileID, Block, Extra, Size and Size data bytes, back to back.
#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "base/BinaryFile.h"
#include "base/ByteIO.h"
#include "formats/ReadNotes.h"

namespace quillet {

class cMUO {
public:
    cMUO();
    ~cMUO();

    std::string Version = "0.5";

    // Opens an existing file for reading only (nothing here writes to it)
    // and reads its header. 503: no such file; 501: it cannot be opened or
    // its header is cut short; 500: FileVersion is not 1; 502: this object
    // has a file open. Why then says more where it can.
    int32_t cOpen(const std::string& PatchFilename);
    // A new file gets createMode less the umask.
    int32_t cCreate(const std::string& PatchFilename, unsigned createMode = 0666);
    // Closes the file; for a file that was read, the warnings of what the
    // reading went on past are given now (ReadNotes).
    int32_t cClose();
    // Reads the next entry, its bytes held whole. Past the end of the file
    // the entry reads as zeros, and an entry's bytes that reach past the end
    // read as what is there and zeros (both told as warnings at cClose).
    // Throws a Failure for a FileID field outside 0..255 (it does not fit the
    // byte) and for a Size too large to hold in memory (base/BlockLimit.h);
    // the caller's failure path takes both.
    int32_t cLoad(uint8_t& FileID, int32_t& Block, int32_t& Extra, ByteArray& bytes, int32_t& ByteArraySize);
    // cLoad without the bytes: the entry's head only. Its bytes are then
    // cData's to give; whatever is not taken is passed over by the next call.
    int32_t cLoadHead(uint8_t& FileID, int32_t& Block, int32_t& Extra, int32_t& ByteArraySize);
    // The bytes of the entry last read, exactly its Size of them (none for a
    // Size of 0 or below), a piece at a time.
    ByteSource& cData() { return data_; }
    // Appends an entry; answers ByteArraySize, or -1 if that was 0.
    int32_t cSave(int32_t FileID, int32_t Block, int32_t Extra, const ByteArray& bytes, int32_t ByteArraySize);
    // The same from ByteArraySize bytes in memory.
    int32_t cSave(int32_t FileID, int32_t Block, int32_t Extra, const uint8_t* bytes, int32_t ByteArraySize);
    // The same with the entry's ByteArraySize data bytes handed over by
    // source in pieces, so that a block of any size needs no array of its
    // size. A source that hands over another number of bytes is a Failure.
    int32_t cSave(int32_t FileID, int32_t Block, int32_t Extra, int32_t ByteArraySize, const ByteFeed& source);
    int32_t cCount() const { return BlockCount; }
    std::string cError(int32_t ErrNumber) const;
    // The system's errno behind the last 505 or 506 (0 if it gave none).
    int LastError() const { return lastError_; }

    // True when the read position has reached the end of the file: every
    // entry from here on is the zeroed record.
    bool cAtEnd() const;
    bool IsOpen() const { return file_.IsOpen(); }

    std::array<uint8_t, 4> Magic{};
    int32_t FileVersion = 0;
    std::string PatchName;
    std::string PatchDescription;
    std::string PatchAuthor;
    int32_t BlockCount = 0;
    bool Changed = false;
    std::string Why;  // why the last cOpen failed, where known ("Permission denied.")

private:
    bool ReadHeader();
    void WriteHead(int32_t FileID, int32_t Block, int32_t Extra, int32_t ByteArraySize);
    int32_t EndEntry(int32_t ByteArraySize);
    void WriteHeader();

    BinaryFile file_;
    std::unique_ptr<FileReader> reader_;
    std::unique_ptr<FileWriter> writer_;
    bool writeFailed_ = false;
    int lastError_ = 0;
    // Reading: where the next entry begins, how many were read, and what the
    // reading went on past.
    int64_t nextEntry_ = 0;
    int32_t entriesRead_ = 0;
    ReadNotes notes_;
    BlockBytes data_;
};

}  // namespace quillet
