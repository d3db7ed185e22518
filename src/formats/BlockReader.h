#pragma once
// A source of the client's blocks by number, as the import and the compare
// walk it: an index/data pair or a file of fixed-size blocks (cMUL), the
// tile data file with its two sections (cTiledata), or any other kind of
// client file that gives blocks by number.
//
// What a block number gives is the same for every kind: a Size (above 0: the
// block has that many bytes; 0 or below: no bytes, -2 ending a walk), an
// Extra, and for a Size above 0 the bytes, of which what lies past the end of
// the source reads as zeros and is told as a warning when the source is done.
// A number whose place cannot be reached (a position that overflows or lies
// before the file) is a Failure.
#include <cstdint>
#include <vector>

#include "base/BinaryFile.h"
#include "base/BlockLimit.h"
#include "base/ByteIO.h"

namespace quillet {

// The blocks of a run whose bytes differ between two sources (rising), and
// the other source's bytes of each where the run held them whole: at At[k]
// in OtherBytes, Size bytes; -1 where they must be read again.
struct RunDifferences {
    std::vector<int32_t> Blocks;
    std::vector<int64_t> At;
    ByteArray OtherBytes;

    void Clear() {
        Blocks.clear();
        At.clear();
        OtherBytes.clear();
    }
};

// What a block number gives, without the bytes.
struct BlockHead {
    int32_t Size = 0;
    int32_t Extra = 0;
};

class BlockReader {
public:
    virtual ~BlockReader() = default;
    // Gives the block's Extra, and for a Size above 0 its bytes in `bytes`
    // (resized to Size); answers Size. For Size 0 or below `bytes` is left as
    // it was. A Size too large to hold in memory is a Failure.
    int32_t cLoad(int32_t IndexNumber, int32_t& Extra, ByteArray& bytes) {
        const int32_t size = cLoadHead(IndexNumber, Extra);
        if (size > 0) {
            CheckBlockFitsInMemory(size);
            bytes.resize(static_cast<size_t>(size));
            cData().Read(bytes.data(), bytes.size());
        }
        return size;
    }
    // cLoad without the bytes; cData then gives exactly Size of them.
    virtual int32_t cLoadHead(int32_t IndexNumber, int32_t& Extra) = 0;
    virtual ByteSource& cData() = 0;
    // The bytes of the block last read by cLoadHead once more, from their start.
    virtual ByteSource& cDataAgain() = 0;
    // The bytes of the block last read by cLoadHead held whole, without a
    // copy where possible (else in spare); valid until the next call.
    virtual const uint8_t* cView(ByteArray& spare) = 0;
    // How many blocks with bytes the source holds among numbers First..Last.
    virtual int64_t cBlocksIn(int64_t First, int64_t Last) = 0;
    virtual int64_t cExtent() = 0;  // block numbers the file speaks for
    // Compares blocks First..First+Count-1 here and in other as whole runs
    // of bytes, where both sources can: answers true with, in Differences,
    // the blocks of the range whose bytes differ; every other block of the
    // range has the same Size on both sides and, above 0, the same bytes.
    // False means "not known": the caller compares the blocks one by one.
    // No source needs to know.
    virtual bool cCompareRun(BlockReader& other, int32_t First, int32_t Count, RunDifferences& Differences) {
        (void)other, (void)First, (void)Count, (void)Differences;
        return false;
    }
    // The heads of the blocks from First on whose bytes lie back to back in
    // the source and wholly within it, as cLoadHead gives them (a Size of 0
    // or below has no bytes): at most Count blocks, and bytes up to about
    // MaxBytes (at least one block's). Answers how many blocks the run
    // holds; cData then gives the bytes of all of them, one after the other.
    // A Size of -2 ends the run before its block. 0 means "not here": the
    // caller goes on block by block, which every source knows.
    virtual int32_t cLoadRun(int32_t First, int32_t Count, int64_t MaxBytes, std::vector<BlockHead>& Heads) {
        (void)First, (void)Count, (void)MaxBytes, (void)Heads;
        return 0;
    }
    virtual int32_t cClose() = 0;
};

}  // namespace quillet
