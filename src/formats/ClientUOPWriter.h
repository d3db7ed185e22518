#pragma once
// Writes client UOP containers: for the tests, the sample client, the
// benchmark and the fuzz seeds (the program itself only reads them).
//
// The shape is that of the client's version-4 files: a 40-byte header
// (version 4, the signature 0xFD23EC43), tables of `capacity` slots, the
// first at offset 40, each followed by the data of its entries, the next
// table after that data. Each entry's data has a 12-byte header in front
// (u16 3, u16 8, a 64-bit timestamp, here 0) and the checksum is the
// Adler-32 of that header, as in the client's files; without entry headers
// (h = 0) it is the Adler-32 of the stored bytes.
//
// Entries are encoded and written as they are added, so only the table
// being filled is held, never the data.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/BinaryFile.h"
#include "base/ByteIO.h"
#include "base/SafeSave.h"

namespace quillet {

class ClientUOPWriter {
public:
    struct Shape {
        uint32_t capacity = 100;  // slots per table
        bool entryHeaders = true;
    };

    // Creates path new: a name that is taken, a link too, is a Failure, and
    // nothing that is there is touched.
    explicit ClientUOPWriter(const std::string& path);
    ClientUOPWriter(const std::string& path, Shape shape);
    // A file not finished is removed.
    ~ClientUOPWriter();
    ClientUOPWriter(const ClientUOPWriter&) = delete;
    ClientUOPWriter& operator=(const ClientUOPWriter&) = delete;

    // The entry of that name, stored with flag 0 (as it is), 1 (zlib) or 3
    // (the two stages, then zlib).
    void Add(std::string_view name, const uint8_t* data, size_t size, int16_t flag);
    void Add(std::string_view name, const ByteArray& data, int16_t flag) { Add(name, data.data(), data.size(), flag); }
    // An entry as given: its hash, the stored bytes, the inflated size and
    // the flag it claims (a damaged entry, for the tests).
    void AddStored(uint64_t hash, const ByteArray& stored, int32_t inflated, int16_t flag);
    // A slot of the table left unused (offset 0) between entries.
    void AddUnusedSlot();
    // Writes the last table and the header, and puts the file on the disk.
    // A Failure if anything could not be written.
    void Finish();

    int32_t Entries() const { return entries_; }

private:
    // Starts a new table when the one being filled is full.
    void MakeRoom();
    void BeginTable();
    void WriteTable(uint64_t next);
    void Check();

    std::string path_;
    Shape shape_;
    BinaryFile file_;
    FileIdentity identity_;
    FileWriter out_;
    int64_t tableAt_ = 0;
    std::vector<uint8_t> table_;  // the records of the table being filled
    int32_t entries_ = 0;
    bool finished_ = false;
};

}  // namespace quillet
