#pragma once
// The client's overlay file verdata.mul: a count, 20-byte entries (FileID,
// Block, Position, Size, Extra) and the blocks' bytes behind them. The class
// reads entries by index and writes a new file whose index is reserved up
// front, so that every block's bytes go straight to the end of the file.
#include <cstdint>
#include <memory>
#include <string>

#include "base/BinaryFile.h"
#include "base/ByteIO.h"
#include "formats/ReadNotes.h"

namespace quillet {

inline constexpr int32_t kVerdataEntrySize = 20;
inline constexpr int32_t kVerdataHeaderSize = 4;

class cVerdata {
public:
    cVerdata();
    ~cVerdata();
    cVerdata(const cVerdata&) = delete;
    cVerdata& operator=(const cVerdata&) = delete;

    std::string Version = "0.5";

    // How cOpen opens: for reading only (an import reads its source and
    // nothing else), or also for writing, which a file that may not be
    // written (read-only, in use) refuses at once.
    enum class Access : unsigned char { Read, ReadWrite };
    // Opens an existing file and reads its BlockCount.
    // 503: no such file; 501: it cannot be opened (Why says why); 502: this
    // object has a file open.
    int32_t cOpen(const std::string& Filename, Access access = Access::ReadWrite);
    // Replaces the file with a new one: BlockCount 0 and NumberOfBlocks
    // reserved entries, written out before the call answers. A new file gets
    // createMode less the umask.
    // 505: any failure (a partial file is removed); 504: this object has a file open.
    int32_t cCreate(const std::string& Filename, int32_t NumberOfBlocks, unsigned createMode = 0666);
    // Writes BlockCount of a created file at byte 0 and puts the file on the
    // disk. 507: nothing open; 506: a write of this file failed (disk full...).
    int32_t cClose();
    int32_t cCount() const { return BlockCount; }
    // Appends an entry to a created file; its bytes go to the end of the file.
    // Answers ByteArraySize, or 0 without writing on a file from cOpen.
    // Throws a Failure for more entries than were reserved, for an array
    // shorter than ByteArraySize, for a file that would pass 2147483647 bytes
    // and once a write of this file has failed.
    int32_t cSave(uint8_t FileID, int32_t Block, int32_t Extra, const ByteArray& bytes, int32_t ByteArraySize);
    // The same from ByteArraySize bytes in memory.
    int32_t cSave(uint8_t FileID, int32_t Block, int32_t Extra, const uint8_t* bytes, int32_t ByteArraySize);
    // The same with the ByteArraySize data bytes handed over by source in
    // pieces (a block of any size needs no array of its size). A source that
    // hands over another number of bytes is a Failure.
    int32_t cSave(uint8_t FileID, int32_t Block, int32_t Extra, int32_t ByteArraySize, const ByteFeed& source);
    // The error behind the last 505 or 506: the system's errno (0 if none).
    int LastError() const { return lastError_; }

    // Entry Index (from 0) as it stands in the file, with no rule applied
    // and no byte read: for a copy that reads the bytes itself. Entries past
    // the end of the file read as zeros. False if no file is open or Index
    // is not within 0 .. BlockCount - 1.
    struct Entry {
        int32_t FileID = 0;
        int32_t Block = 0;
        int32_t Position = 0;
        int32_t Size = 0;
        int32_t Extra = 0;
    };
    bool cEntry(int32_t Index, Entry& entry);
    // Reads count bytes at position of an opened file into out; what lies
    // outside the file (past its end, or before its start) reads as zeros.
    // Answers how many bytes came from the file.
    size_t cReadData(int64_t position, uint8_t* out, size_t count);
    // The count bytes at a position of 0 or more held whole, without a copy
    // where a forward window of a megabyte holds them (else in spare): for a
    // copy that takes the entries' bytes in about the order they lie. What
    // lies past the end reads as zeros; fromFile gets how many did not.
    // Valid until the next call.
    const uint8_t* cViewData(int64_t position, size_t count, ByteArray& spare, size_t& fromFile);
    // Reads entry Index (from 0) and, for a Size above 0, its bytes. An entry
    // whose FileID is 256 or more gives FileID 255 and ByteArraySize -1, and
    // its bytes are not read. Entries past the end of the file read as zeros,
    // and bytes that reach past it as what is there and zeros (both told as
    // warnings at cClose). Answers 0 and touches nothing if no file is open
    // or Index is not below BlockCount. Throws a Failure for a negative
    // Index, a negative FileID, bytes at a negative Position and a Size too
    // large to hold in memory (base/BlockLimit.h).
    int32_t cLoad(int32_t Index, uint8_t& FileID, int32_t& Block, int32_t& Extra, ByteArray& bytes,
                  int32_t& ByteArraySize);
    // cLoad without the bytes; they are then cData's to give, exactly
    // ByteArraySize of them (none for 0 or below).
    int32_t cLoadHead(int32_t Index, uint8_t& FileID, int32_t& Block, int32_t& Extra, int32_t& ByteArraySize);
    ByteSource& cData() { return blockData_; }
    // True when entry Index lies wholly in the file.
    bool EntryInFile(int32_t Index) const;
    // Why an opened file cannot be a verdata file at all ("" if it can be):
    // a client UOP container, a negative count.
    std::string NotVerdataWhy() const;
    std::string cError(int32_t ErrNumber) const;

    bool IsOpen() const { return file_.IsOpen(); }
    // True when the file is long enough to hold BlockCount entries and
    // BlockCount is not negative. Another file cannot be trusted.
    bool IndexFits() const;
    int64_t FileSize() const { return fileSize_; }

    int32_t BlockCount = 0;
    uint8_t Changed = 0;  // 1 on a created file: only then may cSave write
    std::string Why;      // why the last cOpen failed, where known

private:
    // cSave's entry, written before its bytes (false: no created file);
    // EndEntry counts it once its bytes are written.
    bool StartEntry(uint8_t FileID, int32_t Block, int32_t Extra, int32_t ByteArraySize);
    void EndEntry();
    // A reader over the entry window, at entry Index (filling the window
    // first if it does not hold it).
    LeReader EntryReader(int32_t Index);
    void FlushForReading();

    BinaryFile file_;
    int64_t fileSize_ = 0;
    int32_t reserved_ = 0;
    std::unique_ptr<FileWriter> index_;  // the entries of a created file, in order
    std::unique_ptr<FileWriter> data_;   // the bytes of a created file, at its end
    // A window over the entry table: reading one entry at a time would cost a
    // system call per entry on files of tens of thousands of entries.
    ByteArray window_;
    int32_t windowFirst_ = 0;
    int32_t windowEntries_ = 0;
    // The blocks of a file are mostly read in the order they lie in it.
    ReadWindow blockWindow_;
    ReadWindow copyWindow_{size_t{1} << 20, ReadWindow::Walk::Forward};  // cViewData's
    int lastError_ = 0;
    std::string name_;  // of a created file, for the failures of cSave
    WindowSource blockSource_{file_, blockWindow_, 0};
    BlockBytes blockData_;
    ReadNotes notes_;
    std::string containerWhy_;  // why the file is no verdata file if it begins as a client UOP container does
};

}  // namespace quillet
