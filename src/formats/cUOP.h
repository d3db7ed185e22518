#pragma once
// The UOP patch file: a 12-byte header ("UOP", a version byte of 4 or 5, the
// entry count, a reserved word), for version 5 a 10-byte tool name, then
// entries of FileID (one byte), Block, Size, Extra and Size data bytes, back
// to back. The program imports it; creating one is part of the class only.
#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "base/BinaryFile.h"
#include "base/ByteIO.h"
#include "formats/ReadNotes.h"

namespace quillet {

class cUOP {
public:
    cUOP();
    ~cUOP();
    cUOP(const cUOP&) = delete;
    cUOP& operator=(const cUOP&) = delete;

    std::string Version = "0.5";

    // Codes as cMUO's (PatchFileErrorText), but a cCreate on an object with
    // an open file answers 502. cOpen opens for reading only; a cSave on an
    // opened file asks for write access then. Why says more of a failed cOpen.
    int32_t cOpen(const std::string& PatchFilename);
    int32_t cCreate(const std::string& PatchFilename);
    int32_t cClose();
    int32_t cCount() const { return BlockCount; }
    // Reads the next entry straight into the caller's variables: FileID,
    // Block, then Size into ByteArraySize, then Extra. Where the file has
    // ended, a field keeps what the variable held (a field cut by the end
    // takes the bytes that are there), so a file shorter than BlockCount says
    // repeats its last entry; the data of such an entry is Size zero bytes.
    // For a Size above 0 `bytes` is resized to Size and filled, with zeros
    // past the end (told as warnings at cClose, with missing entries); for a
    // Size of 0 or below it is left as it was. Answers Size. Throws a Failure
    // for a Size too large to hold in memory (base/BlockLimit.h).
    int32_t cLoad(uint8_t& FileID, int32_t& Block, int32_t& Extra, ByteArray& bytes, int32_t& ByteArraySize);
    // cLoad without the bytes: the entry's head only. Its bytes are then
    // cData's to give; whatever is not taken is passed over by the next call.
    int32_t cLoadHead(uint8_t& FileID, int32_t& Block, int32_t& Extra, int32_t& ByteArraySize);
    // The bytes of the entry last read, exactly its Size of them.
    ByteSource& cData() { return data_; }
    // Appends an entry with ByteArraySize bytes of `bytes` when that is above
    // 0; answers ByteArraySize.
    int32_t cSave(uint8_t FileID, int32_t Block, int32_t Extra, const ByteArray& bytes, int32_t ByteArraySize);
    std::string cError(int32_t ErrNumber) const;

    // True when the read position has reached the end of the file: from here
    // on every entry repeats the one before it.
    bool cAtEnd() const;
    bool IsOpen() const { return file_.IsOpen(); }

    std::array<uint8_t, 3> Magic{};
    uint8_t FileVersion = 0;
    int32_t BlockCount = 0;
    int32_t HeaderReserved = 0;
    std::array<uint8_t, 10> ToolName{};
    bool Changed = false;
    std::string Why;  // why the last cOpen failed, where known

private:
    void WriteHeader();
    void CloseQuietly();

    BinaryFile file_;
    std::unique_ptr<FileReader> reader_;
    std::unique_ptr<FileWriter> writer_;
    int64_t fileLength_ = 0;
    bool writeFailed_ = false;
    std::string path_;
    int64_t nextEntry_ = 0;  // reading: where the next entry's head begins
    int32_t entriesRead_ = 0;
    ReadNotes notes_;
    BlockBytes data_;
};

}  // namespace quillet
