#pragma once
// The client's UOP containers (artLegacyMUL.uop, gumpartLegacyMUL.uop,
// map0LegacyMUL.uop, soundLegacyMUL.uop ...), read as the blocks of one file
// type, with the walk of cMUL: ask for a block by number, get its Size and
// Extra, then its bytes.
//
// A container is a 40-byte header ("MYP" and a 0 byte, version, signature,
// the first table's offset, the table capacity, a file count nobody trusts),
// a chain of tables of 34-byte entries (offset, header length, stored size,
// inflated size, name hash, checksum, flag) and the entries' data. An entry
// says nothing of the block it holds except through the hash of its name
// ("build/artlegacymul/00001234.tga"), so the reader hashes the names a type
// may have and looks the entries up by them. Flags: 0 stored, 1 zlib, 3 zlib
// and two more stages (formats/EntryStages.h). Checksums are not looked at.
//
// What an entry gives: Art its bytes (Extra -1); Sound its bytes, Extra the
// block number plus 1, as the classic sound index keeps it; Gumps its bytes
// after a u32 width and a u32 height, Extra width << 16 | height; a Map
// entry n 4096 blocks of 196 bytes, block 4096 n + i at byte 196 i, zeros
// where no entry has bytes.
//
// The container is opened read-only and never held whole: a stored entry
// passes through a read window, a compressed one is decoded into a buffer
// that the next entry reuses (a map entry once for its 4096 blocks), so the
// memory taken stays below the limit of one block in memory whatever the
// container's size. A damaged or hostile container is refused by cOpen or,
// for what only decoding shows, by a Failure of the block's load; nothing
// the file says is allocated before it has been checked.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "base/BinaryFile.h"
#include "base/ByteIO.h"
#include "formats/BlockReader.h"

namespace quillet {

class cClientUOP : public BlockReader {
public:
    cClientUOP();
    ~cClientUOP() override;
    cClientUOP(const cClientUOP&) = delete;
    cClientUOP& operator=(const cClientUOP&) = delete;

    // Opens the container at path as the blocks of FileID (0 Map, 4 Art,
    // 8 Sound, 12 Gumps); a container already open is closed first. Answers
    // 0, or 500 with Why set: the file cannot be read, is no container, is
    // damaged (tables or entry data outside the file, a table chain that
    // loops, negative sizes), holds another type ("It holds Gumps, not
    // Art."), or FileID is none of the four.
    int32_t cOpen(const std::string& path, uint8_t FileID);
    // Answers 0 (closing what is not open is no failure), or 505.
    int32_t cClose() override;
    // The walk of BlockReader. A block answers Size -1 and Extra -1 when no
    // entry holds it. A compressed entry is decoded by cLoadHead, which
    // throws a Failure naming the block for an entry that does not decode
    // (damaged zlib or stages, a size that lies, an unknown flag, a gump
    // entry shorter than its width and height) or is too large to hold.
    int32_t cLoadHead(int32_t IndexNumber, int32_t& Extra) override;
    ByteSource& cData() override { return data_; }
    ByteSource& cDataAgain() override;
    // Without a copy where the read window or the decoded entry holds the
    // bytes; nullptr for a Size of 0 or below.
    const uint8_t* cView(ByteArray& spare) override;
    // How many blocks with a Size above 0 lie among numbers First..Last:
    // the blocks of the entries present (a gump entry counts as present
    // before it is decoded); for a map, every block below cExtent and the
    // blocks of entries that lie wholly beyond the facet.
    int64_t cBlocksIn(int64_t First, int64_t Last) override;
    // The block numbers the container speaks for: the highest present block
    // plus 1; for a map 4096 times the entries up to the highest present
    // one, cut at the facet's block count (the last entry of a facet may
    // reach past it). 0 when nothing is open.
    int64_t cExtent() override;
    // What the container holds, from the names of its entries 0 to 127:
    // "Art", "Gumps", "Sound", "Map 0" .. "Map 5", "MultiCollection"; ""
    // when nothing is open or it holds no entry of a known name.
    std::string cKind() const;
    // cMUL's texts: 500 "Unable to open.", 505 "Unable to close files."
    std::string cError(int32_t ErrNumber) const;

    std::string Why;  // why the last cOpen failed

    // The most entries of each type whose names are looked up: entry numbers
    // beyond a type's current last block are still found (and reported by
    // cBlocksIn), up to these.
    static constexpr int32_t kMaxNumberedEntry = 0x1FFFF;
    // The container's layout: the file header, a table's head (slots in use,
    // next table) and an entry record, in bytes.
    static constexpr int64_t kFileHeaderSize = 40;
    static constexpr int64_t kTableHeadSize = 12;
    static constexpr int64_t kEntryRecordSize = 34;
    static constexpr int32_t kMaxMapEntry = 255;
    static constexpr int32_t kMapEntryBlocks = 4096;
    static constexpr int32_t kMapBlockSize = 196;

    // What the reader keeps of a container's walk (cClientUOP.cpp).
    enum class Kind : uint8_t { None, Art, Gumps, Sound, Map0, Map1, Map2, Map3, Map4, Map5, MultiCollection };
    static constexpr int kKinds = 11;

    struct Entry {
        int64_t data = -1;  // file position of the stored bytes; -1: no entry
        int32_t stored = 0;
        int32_t inflated = 0;
        int16_t flag = 0;
        bool sevenDigits = false;  // found under the 7-digit gump name
        bool Present() const { return data >= 0; }
    };

private:
    // The bytes of one block: some from memory or the file, zeros after them.
    class BlockSource : public ByteSource {
    public:
        void FromMemory(const uint8_t* memory, int64_t inData, int64_t size);
        void FromFile(const BinaryFile* file, ReadWindow* window, int64_t position, int64_t inData, int64_t size);
        void Restart() { at_ = 0; }
        size_t Read(uint8_t* out, size_t count) override;
        const uint8_t* View(ByteArray& spare);
        int64_t Size() const { return size_; }

    private:
        const uint8_t* memory_ = nullptr;
        const BinaryFile* file_ = nullptr;
        ReadWindow* window_ = nullptr;
        int64_t position_ = 0;
        int64_t inData_ = 0;  // of size_, the bytes that come from memory or the file
        int64_t size_ = 0;
        int64_t at_ = 0;
    };

    const Entry* EntryOf(int64_t number) const;
    // Decodes entry number (flags 1 and 3) into work_, once.
    void Decode(int32_t number, const Entry& entry);
    // The entry's bytes from offset on (at most count of them), into the block source.
    void Serve(const Entry& entry, int64_t offset, int64_t count, int64_t size);
    int32_t LoadHead(int32_t IndexNumber, int32_t& Extra);
    std::string EntryName(int32_t number, bool sevenDigits) const;
    int64_t FacetBlocks() const;

    BinaryFile file_;
    ReadWindow window_{size_t{1} << 18, ReadWindow::Walk::Forward};
    uint8_t fileId_ = 0;
    Kind kind_ = Kind::None;
    std::vector<Entry> entries_;  // of the kind opened, by entry number
    int64_t extent_ = 0;
    // The decoded entry: its bytes at work_[decodedAt_], decodedLength_ of them.
    ByteArray work_;
    int32_t decoded_ = -1;
    size_t decodedAt_ = 0;
    int64_t decodedLength_ = 0;
    BlockSource data_;
};

// Whether the file begins as a client UOP container does ("MYP", a 0 byte).
bool IsClientUOPFile(const std::string& path);

// What the container at path holds, as cKind says it; "" for a file that is
// no container, cannot be read or is damaged.
std::string ClientUOPKindOf(const std::string& path);

// Why a client UOP container given as a patch file of another kind (notWhat:
// "a UOP patch file") is refused: what it holds, and how to import it.
std::string ClientContainerWhy(const std::string& path, const std::string& notWhat);

}  // namespace quillet
