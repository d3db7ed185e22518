#include "formats/cVerdata.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

#include "base/BlockLimit.h"
#include "base/Checked.h"
#include "base/FilePaths.h"
#include "formats/FormatCodes.h"
#include "formats/cClientUOP.h"

namespace quillet {
namespace {

constexpr int32_t kWindowEntries = 3276;  // just under 64 KiB of entries
constexpr int64_t kFileLimit = std::numeric_limits<int32_t>::max();
// The writers of a new file go out a megabyte at a time.
constexpr size_t kWriteBuffer = size_t{1} << 20;

void StoreEntry(uint8_t* entry, int32_t FileID, int32_t Block, int32_t Position, int32_t Size, int32_t Extra) {
    StoreI32(entry, FileID);
    StoreI32(entry + 4, Block);
    StoreI32(entry + 8, Position);
    StoreI32(entry + 12, Size);
    StoreI32(entry + 16, Extra);
}

int64_t EntryOffset(int64_t Index) { return kVerdataHeaderSize + kVerdataEntrySize * Index; }

}  // namespace

cVerdata::cVerdata() = default;
cVerdata::~cVerdata() = default;

std::string cVerdata::cError(int32_t ErrNumber) const {
    switch (ErrNumber) {
        case 501: return "Unable to open file.";
        case 502: return "There is allready an open verdata file.";
        case 503: return "File does not exist.";
        case 504: return "There is allready an open verdata file.";
        case 505: return "Unable to create file.";
        case 506: return "Unable to close file.";
        case 507: return "Cannot close the verdata as its not open.";
        default: return {};
    }
}

int32_t cVerdata::cOpen(const std::string& Filename, Access access) {
    if (IsOpen()) return 502;
    Why.clear();
    if (::access(Filename.c_str(), F_OK) != 0) return 503;
    if (!file_.Open(Filename, access == Access::Read ? BinaryFile::Mode::Read : BinaryFile::Mode::ReadWrite)) {
        Why = OpenFailureWhy(Filename);
        return 501;
    }
    fileSize_ = file_.Size();
    uint8_t count[4];
    file_.ReadAt(0, count, sizeof count);  // missing bytes of a short file read as 0
    BlockCount = LeReader(count, sizeof count).I32();
    containerWhy_ = IsClientContainer(count, sizeof count) ? ClientContainerWhy(Filename, "a verdata file") : "";
    notes_.Start(Filename);
    blockData_.Start(blockSource_, 0, notes_);
    reserved_ = 0;
    windowEntries_ = 0;
    blockWindow_.Reset();
    Changed = 0;
    return 0;
}

int32_t cVerdata::cCreate(const std::string& Filename, int32_t NumberOfBlocks, unsigned createMode) {
    if (IsOpen()) return 504;
    lastError_ = 0;
    const int64_t dataStart = EntryOffset(NumberOfBlocks);
    if (NumberOfBlocks < 0 || dataStart > kFileLimit) {
        lastError_ = EFBIG;
        return 505;
    }
    name_ = Filename;
    ::unlink(Filename.c_str());
    if (!file_.Open(Filename, BinaryFile::Mode::Create, createMode)) {
        lastError_ = errno;
        return 505;
    }

    // The count and every reserved entry reach the file now: a disk that
    // cannot hold the index is found before any block is copied.
    FileWriter header(file_, 0);
    uint8_t word[4];
    StoreI32(word, 0);
    header.Write(word, sizeof word);
    uint8_t reservedEntry[kVerdataEntrySize];
    StoreEntry(reservedEntry, 255, 0, 0, -1, 0);
    for (int32_t n = 0; n < NumberOfBlocks; ++n) header.Write(reservedEntry, sizeof reservedEntry);
    if (!header.Flush()) {
        lastError_ = header.Error();
        file_.Close();
        ::unlink(Filename.c_str());
        return 505;
    }
    blockWindow_.Reset();
    BlockCount = 0;
    reserved_ = NumberOfBlocks;
    fileSize_ = dataStart;
    index_ = std::make_unique<FileWriter>(file_, kVerdataHeaderSize, kWriteBuffer);
    data_ = std::make_unique<FileWriter>(file_, dataStart, kWriteBuffer);
    windowEntries_ = 0;
    Changed = 1;
    return 0;
}

int32_t cVerdata::cClose() {
    if (!IsOpen()) return 507;
    bool ok = true;
    if (Changed) {
        ok = index_->Flush();
        ok = data_->Flush() && ok;
        if (!ok) lastError_ = index_->Error() != 0 ? index_->Error() : data_->Error();
        uint8_t count[4];
        StoreI32(count, BlockCount);
        if (ok && !(file_.WriteAt(0, count, sizeof count) && file_.Sync())) {
            ok = false;
            lastError_ = errno;
        }
    }
    if (!file_.Close() && ok) {
        ok = false;
        lastError_ = errno;
    }
    if (!Changed) notes_.Tell();
    index_.reset();
    data_.reset();
    window_.clear();
    window_.shrink_to_fit();
    windowEntries_ = 0;
    Changed = 0;
    return ok ? 0 : 506;
}

int32_t cVerdata::cSave(uint8_t FileID, int32_t Block, int32_t Extra, const ByteArray& bytes, int32_t ByteArraySize) {
    if (ByteArraySize > 0 && static_cast<size_t>(ByteArraySize) > bytes.size()) Fail(kSubscript);
    return cSave(FileID, Block, Extra, bytes.data(), ByteArraySize);
}

int32_t cVerdata::cSave(uint8_t FileID, int32_t Block, int32_t Extra, const uint8_t* bytes, int32_t ByteArraySize) {
    if (!StartEntry(FileID, Block, Extra, ByteArraySize)) return 0;
    if (ByteArraySize > 0) data_->Write(bytes, static_cast<size_t>(ByteArraySize));
    EndEntry();
    return ByteArraySize;
}

int32_t cVerdata::cSave(uint8_t FileID, int32_t Block, int32_t Extra, int32_t ByteArraySize, const ByteFeed& source) {
    if (!StartEntry(FileID, Block, Extra, ByteArraySize)) return 0;
    if (ByteArraySize > 0) data_->Write(ByteArraySize, source);
    EndEntry();
    return ByteArraySize;
}

bool cVerdata::StartEntry(uint8_t FileID, int32_t Block, int32_t Extra, int32_t ByteArraySize) {
    if (!IsOpen() || !Changed) return false;
    // Past the reserved entries the next entry would land on block data.
    if (BlockCount >= reserved_) Fail("More verdata entries than were reserved (" + std::to_string(reserved_) + ")");
    if (!index_->Ok() || !data_->Ok()) {
        const int error = index_->Error() != 0 ? index_->Error() : data_->Error();
        Fail("Writing " + name_ + " failed: " + ErrnoText(error));
    }

    int32_t position = 0;
    if (ByteArraySize > 0) {
        if (data_->Position() + ByteArraySize > kFileLimit)
            Fail("The verdata file would pass 2147483647 bytes");
        position = ToLong(data_->Position());
    }
    uint8_t entry[kVerdataEntrySize];
    StoreEntry(entry, FileID, Block, position, ByteArraySize, Extra);
    index_->Write(entry, sizeof entry);
    return true;
}

void cVerdata::EndEntry() {
    BlockCount = AddLong(BlockCount, 1);
    windowEntries_ = 0;
}

void cVerdata::FlushForReading() {
    // Only a created file has writers; what they hold must be on the disk
    // before the entries and bytes are read back.
    if (index_) index_->Flush();
    if (data_) {
        data_->Flush();
        fileSize_ = std::max(fileSize_, data_->Position());
    }
}

LeReader cVerdata::EntryReader(int32_t Index) {
    if (Index < windowFirst_ || Index >= windowFirst_ + windowEntries_) {
        FlushForReading();
        const int32_t first = Index;
        const int32_t count = std::min(kWindowEntries, BlockCount - first);
        window_.resize(static_cast<size_t>(count) * kVerdataEntrySize);
        // Entries past the end of the file read as zeros.
        file_.ReadAt(EntryOffset(first), window_.data(), window_.size());
        windowFirst_ = first;
        windowEntries_ = count;
    }
    LeReader entries(window_);
    entries.Seek(static_cast<size_t>(Index - windowFirst_) * kVerdataEntrySize);
    return entries;
}

bool cVerdata::EntryInFile(int32_t Index) const {
    return Index >= 0 && EntryOffset(Index) + kVerdataEntrySize <= fileSize_;
}

int32_t cVerdata::cLoadHead(int32_t Index, uint8_t& FileID, int32_t& Block, int32_t& Extra, int32_t& ByteArraySize) {
    if (!IsOpen() || Index >= BlockCount) return 0;
    if (Index < 0) Fail(kSubscript);
    if (!EntryInFile(Index)) notes_.MissingEntries(BlockCount, Index, "the rest were read as zeros");
    LeReader entry = EntryReader(Index);
    const int32_t fileId = entry.I32();
    const int32_t block = entry.I32();
    const int32_t position = entry.I32();
    const int32_t size = entry.I32();
    const int32_t extra = entry.I32();

    blockData_.Start(blockSource_, 0, notes_);
    if (fileId >= 256) {
        // Not a file number of the client: kept as an entry without data,
        // whatever its Position and Size say.
        FileID = 255;
        ByteArraySize = -1;
    } else {
        FileID = ToByte(fileId);
        ByteArraySize = size;
        if (size > 0) {
            if (position < 0)
                Fail("Verdata entry " + std::to_string(Index) + " has " + std::to_string(size) + " bytes at position " +
                     std::to_string(position) + ", before the start of the file");
            FlushForReading();
            blockSource_.Seek(position);
            blockData_.Start(blockSource_, size, notes_);
        }
    }
    Block = block;
    Extra = extra;
    return ByteArraySize;
}

bool cVerdata::cEntry(int32_t Index, Entry& entry) {
    if (!IsOpen() || Index < 0 || Index >= BlockCount) return false;
    LeReader fields = EntryReader(Index);
    entry.FileID = fields.I32();
    entry.Block = fields.I32();
    entry.Position = fields.I32();
    entry.Size = fields.I32();
    entry.Extra = fields.I32();
    return true;
}

size_t cVerdata::cReadData(int64_t position, uint8_t* out, size_t count) {
    if (position < 0) {  // nothing of the file lies before its start
        const auto before = static_cast<size_t>(std::min<int64_t>(-position, static_cast<int64_t>(count)));
        std::memset(out, 0, before);
        return before == count ? 0 : cReadData(0, out + before, count - before);
    }
    return blockWindow_.Read(file_, position, out, count);
}

const uint8_t* cVerdata::cViewData(int64_t position, size_t count, ByteArray& spare, size_t& fromFile) {
    return copyWindow_.View(file_, position, count, spare, &fromFile);
}

int32_t cVerdata::cLoad(int32_t Index, uint8_t& FileID, int32_t& Block, int32_t& Extra, ByteArray& bytes,
                        int32_t& ByteArraySize) {
    const int32_t size = cLoadHead(Index, FileID, Block, Extra, ByteArraySize);
    if (size > 0) {
        CheckBlockFitsInMemory(size);
        bytes.resize(static_cast<size_t>(size));
        blockData_.Read(bytes.data(), bytes.size());
    }
    return size;
}

std::string cVerdata::NotVerdataWhy() const {
    if (!containerWhy_.empty()) return containerWhy_;
    if (BlockCount < 0) return "It counts " + std::to_string(BlockCount) + " entries: it is no verdata file.";
    return {};
}

bool cVerdata::IndexFits() const {
    // An empty or very short file counts 0 entries and has nothing to mistrust.
    return BlockCount == 0 || (BlockCount > 0 && EntryOffset(BlockCount) <= fileSize_);
}

}  // namespace quillet
