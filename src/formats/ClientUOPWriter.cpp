#include "formats/ClientUOPWriter.h"

#include <cerrno>
#include <cstring>

#include "base/Checked.h"
#include "base/FilePaths.h"
#include "formats/EntryStages.h"
#include "formats/cClientUOP.h"
#include "formats/UOPHash.h"
#include "formats/ZlibStream.h"

namespace quillet {
namespace {

constexpr int64_t kHeaderSize = cClientUOP::kFileHeaderSize;
constexpr int64_t kTableHead = cClientUOP::kTableHeadSize;
constexpr auto kEntrySize = static_cast<size_t>(cClientUOP::kEntryRecordSize);
constexpr uint32_t kVersion = 4;
constexpr uint32_t kSignature = 0xFD23EC43;
constexpr size_t kEntryHeaderSize = 12;

BinaryFile CreateNew(const std::string& path) {
    BinaryFile file;
    if (!file.Open(path, BinaryFile::Mode::CreateNew)) Fail("Unable to create " + path + ": " + ErrnoText(errno));
    return file;
}

}  // namespace

ClientUOPWriter::ClientUOPWriter(const std::string& path) : ClientUOPWriter(path, Shape{}) {}

ClientUOPWriter::ClientUOPWriter(const std::string& path, Shape shape)
    : path_(path), shape_(shape), file_(CreateNew(path)), identity_(IdentityOf(path)), out_(file_, 0, size_t{1} << 20) {
    if (shape_.capacity == 0) Fail("A table of no slots");
    const uint8_t header[kHeaderSize] = {};
    out_.Write(header, sizeof header);  // written once the tables are
    BeginTable();
}

ClientUOPWriter::~ClientUOPWriter() {
    if (finished_) return;
    file_.Close();
    RemoveIfSame(path_, identity_);
}

void ClientUOPWriter::BeginTable() {
    tableAt_ = out_.Position();
    table_.clear();
    const std::vector<uint8_t> room(static_cast<size_t>(kTableHead) + kEntrySize * shape_.capacity, 0);
    out_.Write(room.data(), room.size());  // the table's place, filled when it is full
}

void ClientUOPWriter::WriteTable(uint64_t next) {
    uint8_t head[kTableHead];
    StoreI32(head, static_cast<int32_t>(table_.size() / kEntrySize));
    StoreU64(head + 4, next);
    // The table's place may still be in the writer's buffer.
    out_.Flush();
    if (!file_.WriteAt(tableAt_, head, sizeof head) ||
        (!table_.empty() && !file_.WriteAt(tableAt_ + kTableHead, table_.data(), table_.size())))
        Fail("Unable to write " + path_ + ": " + ErrnoText(errno));
}

void ClientUOPWriter::MakeRoom() {
    if (table_.size() < kEntrySize * shape_.capacity) return;
    WriteTable(static_cast<uint64_t>(out_.Position()));
    BeginTable();
}

void ClientUOPWriter::AddUnusedSlot() {
    MakeRoom();
    table_.insert(table_.end(), kEntrySize, uint8_t{0});
}

void ClientUOPWriter::AddStored(uint64_t hash, const ByteArray& stored, int32_t inflated, int16_t flag) {
    MakeRoom();  // a new table goes before this entry's data
    uint8_t record[kEntrySize] = {};
    StoreU64(record, static_cast<uint64_t>(out_.Position()));
    uint32_t checksum = Adler32(stored.data(), stored.size());
    if (shape_.entryHeaders) {
        uint8_t header[kEntryHeaderSize] = {};
        StoreI16(header, 3);
        StoreI16(header + 2, 8);  // then the timestamp, 0
        out_.Write(header, sizeof header);
        checksum = Adler32(header, sizeof header);
        StoreI32(record + 8, static_cast<int32_t>(kEntryHeaderSize));
    }
    out_.Write(stored.data(), stored.size());
    StoreI32(record + 12, ToLong(static_cast<int64_t>(stored.size())));
    StoreI32(record + 16, inflated);
    StoreU64(record + 20, hash);
    StoreI32(record + 28, static_cast<int32_t>(checksum));
    StoreI16(record + 32, flag);
    table_.insert(table_.end(), record, record + kEntrySize);
    ++entries_;
    Check();
}

void ClientUOPWriter::Add(std::string_view name, const uint8_t* data, size_t size, int16_t flag) {
    const int32_t length = ToLong(static_cast<int64_t>(size));
    const uint64_t hash = UOPNameHash(name);
    switch (flag) {
        case 0: AddStored(hash, ByteArray(data, data + size), length, 0); break;
        case 1: AddStored(hash, Deflate(data, size), length, 1); break;
        case 3: {
            const ByteArray staged = EncodeStages(data, size);
            AddStored(hash, Deflate(staged), ToLong(static_cast<int64_t>(staged.size())), 3);
            break;
        }
        default: Fail("An entry of flag " + std::to_string(flag));
    }
}

void ClientUOPWriter::Check() {
    if (!out_.Ok()) Fail("Unable to write " + path_ + ": " + ErrnoText(out_.Error()));
}

void ClientUOPWriter::Finish() {
    WriteTable(0);
    uint8_t header[kHeaderSize] = {};
    std::memcpy(header, "MYP", 4);
    StoreI32(header + 4, static_cast<int32_t>(kVersion));
    StoreI32(header + 8, static_cast<int32_t>(kSignature));
    StoreU64(header + 12, static_cast<uint64_t>(kHeaderSize));
    StoreI32(header + 20, static_cast<int32_t>(shape_.capacity));
    StoreI32(header + 24, entries_);
    Check();
    if (!file_.WriteAt(0, header, sizeof header) || !file_.Sync() || !file_.Close())
        Fail("Unable to write " + path_ + ": " + ErrnoText(errno));
    finished_ = true;
}

}  // namespace quillet
