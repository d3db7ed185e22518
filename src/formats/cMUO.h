#pragma once
// The program's own patch file: a header with three strings, then entries of
// FileID, Block, Extra, Size and Size data bytes, back to back.
#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "base/BinaryFile.h"
#include "base/ByteIO.h"

namespace quillet {

class cMUO {
public:
    cMUO();
    ~cMUO();

    std::string Version = "0.5";

    int32_t cOpen(const std::string& PatchFilename);
    // A new file gets createMode less the umask.
    int32_t cCreate(const std::string& PatchFilename, unsigned createMode = 0666);
    int32_t cClose();
    // Reads the next entry. Past the end of the file the entry reads as zeros.
    // Throws a Failure for a FileID field outside 0..255 (it does not fit the
    // byte) and for a Size larger than what is left of the file (it cannot be
    // allocated); the caller's failure path takes both.
    int32_t cLoad(uint8_t& FileID, int32_t& Block, int32_t& Extra, ByteArray& bytes, int32_t& ByteArraySize);
    // Appends an entry; answers ByteArraySize, or -1 if that was 0.
    int32_t cSave(int32_t FileID, int32_t Block, int32_t Extra, const ByteArray& bytes, int32_t ByteArraySize);
    // The same with the entry's ByteArraySize data bytes handed over by
    // source in pieces, so that a block of any size needs no array of its
    // size. A source that hands over another number of bytes is a Failure.
    int32_t cSave(int32_t FileID, int32_t Block, int32_t Extra, int32_t ByteArraySize, const ByteSource& source);
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

private:
    bool ReadHeader();
    void WriteHeader();

    BinaryFile file_;
    std::unique_ptr<FileReader> reader_;
    std::unique_ptr<FileWriter> writer_;
    bool writeFailed_ = false;
    int lastError_ = 0;
};

}  // namespace quillet
