#pragma once
// The client's data files. A MUL file is a run of blocks with no structure of
// its own; either an IDX file of 12-byte records (Position, Size, Extra) says
// where block n lies, or every block has the same size and block n lies at
// Offset + n times that size. cMUL hides the difference: open a pair or a
// single file, then ask for blocks by number.
#include <cstdint>
#include <string>
#include <vector>

#include "base/BinaryFile.h"
#include "base/ByteIO.h"
#include "base/MappedWindow.h"
#include "formats/BlockReader.h"
#include "formats/ReadNotes.h"

namespace quillet {

class cMUL : public BlockReader {
public:
    cMUL();
    ~cMUL() override;
    cMUL(const cMUL&) = delete;
    cMUL& operator=(const cMUL&) = delete;

    // constantIndex 0 (or below) opens the pair IDXFilename + MULFilename and
    // ignores nbrOfBlocks and offset; above 0 it opens MULFilename alone, with
    // nbrOfBlocks blocks of constantIndex bytes from offset on. The files are
    // the client's: they are opened for reading only, and a missing one is
    // not created. Answers 0, 500 (could not open; Why says why), 501 (an
    // IDX file is already open on this object) or 502 (constant size with
    // nbrOfBlocks below 1).
    int32_t cOpen(const std::string& IDXFilename, const std::string& MULFilename, int32_t constantIndex,
                  int32_t nbrOfBlocks, int32_t offset);
    // Answers 0, or 505 if closing failed.
    int32_t cClose() override;
    // BlockTotal while a file is open, else 0.
    int32_t cCount() const;
    // cLoad (of BlockReader) gives the block's Extra, and for a Size above 0 its bytes in `bytes`
    // (resized to Size); answers Size. For Size 0 or below `bytes` is left as
    // it was. Reads past the end of either file give zeros: an IndexNumber
    // beyond the IDX file is the zeroed record, and a block (or an index
    // record) that reaches past the end of its file is what is there and
    // zeros, told as a warning when the object is done with the file.
    // Throws a Failure (for the caller's failure path) for an IndexNumber
    // whose position overflows or is negative, a block at a negative
    // Position, and a Size too large to hold in memory (base/BlockLimit.h).
    // cLoad without the bytes; they are then cData's to give, exactly Size
    // of them (none for a Size of 0 or below), a piece at a time.
    int32_t cLoadHead(int32_t IndexNumber, int32_t& Extra) override;
    ByteSource& cData() override { return data_; }
    // The bytes of the block last read by cLoadHead once more, from their
    // start (a block cut by the end of its file is not noted twice).
    ByteSource& cDataAgain() override;
    // The bytes of the block last read by cLoadHead, held whole, without a
    // copy where the read window holds them (else in spare): for a walk that
    // only looks at small blocks. Valid until the next call on this object or
    // a change of spare. Throws a Failure for a Size too large to hold.
    const uint8_t* cView(ByteArray& spare) override;
    // How many blocks with bytes the file holds among numbers First..Last:
    // index records of a Size above 0 in pair mode, blocks that begin before
    // the end of the file in constant-size mode (whole blocks only, with
    // WholeBlocks).
    int64_t cBlocksIn(int64_t First, int64_t Last) override;
    // The block numbers the files speak for: BlockTotal in pair mode; in
    // constant-size mode the blocks that begin before the end of the MUL
    // file (whole blocks only, with WholeBlocks). 0 while nothing is open.
    int64_t cExtent() override;
    // Against another cMUL of the same mode (and block size): blocks whose
    // bytes lie back to back within both MUL files, their index records
    // within both IDX files, are compared as one run of bytes. Anything else
    // (a block that reaches past the end of its file, a gap between blocks,
    // Sizes that differ) is left to the block by block walk.
    bool cCompareRun(BlockReader& other, int32_t First, int32_t Count, RunDifferences& Differences) override;
    // Blocks of a constant size, or index records within the IDX file
    // whose blocks follow each other within the MUL file; a block cut by
    // the end of the file, a gap or a move ends the run before it.
    int32_t cLoadRun(int32_t First, int32_t Count, int64_t MaxBytes, std::vector<BlockHead>& Heads) override;
    // The MUL file's length while it is open.
    int64_t cLength() const { return mulLength_; }
    // Writes block IndexNumber: in place if it fits where it was, else at the
    // end of the MUL file; isEmpty marks the record -1/-1. The files are
    // opened for writing at the first cSave. Throws a Failure for the same bad
    // positions as cLoad, for files that may not be written and for a failed
    // write.
    void cSave(int32_t IndexNumber, int32_t Extra, const ByteArray& bytes, bool isEmpty);
    std::string cError(int32_t ErrNumber) const;

    int32_t IDXFile = 0;        // file number of the IDX file; 0 when none is open
    int32_t MULFile = 0;        // file number of the MUL file; 0 when nothing is open
    int32_t BlockTotal = 0;     // what cCount answers
    int32_t ConstantIndex = 0;  // as given to cOpen; below 1 is the pair mode; -1 after cClose
    std::string Version = "0.5";
    int32_t Offset = 0;  // start of block 0 in constant-size mode; 0 in pair mode
    std::string Why;     // why the last cOpen failed, where known
    // Constant-size mode: bytes behind the last whole block belong to no
    // block, for cExtent and cBlocksIn (a file of groups without an index
    // whose size says how many it holds). Reading a block is not changed.
    bool WholeBlocks = false;

private:
    int64_t BlocksInFile() const;  // constant-size mode: as cExtent
    struct Record {
        int32_t Position = 0;
        int32_t Size = 0;
        int32_t Extra = 0;
    };
    Record GetRecord(int32_t IndexNumber);
    Record BlockRecord(int32_t IndexNumber);  // GetRecord, with what cLoad refuses refused
    // Where the bytes of blocks First..First+Count-1 lie back to back in the
    // MUL file, with their Sizes read into sizes; false when they do not.
    bool RunOf(int32_t First, int32_t Count, int64_t& start, int64_t& length, std::vector<int32_t>& sizes);
    // The run's block ends, from the run's start, of the blocks with bytes.
    struct RunBlock {
        int64_t Start;
        int64_t End;
        int32_t Block;
    };
    std::vector<RunBlock> runBlocks_;
    void CloseFiles();
    void OpenForWriting();

    BinaryFile idx_;
    BinaryFile mul_;
    std::string idxName_;
    std::string mulName_;
    bool writable_ = false;
    ReadWindow idxWindow_{1 << 18};
    ReadWindow mulWindow_{1 << 18};
    WindowSource mulSource_{mul_, mulWindow_, 0};
    FileSource runSource_{mul_};
    BlockBytes data_;
    int32_t lastPosition_ = 0;  // of the block last read by cLoadHead
    int32_t lastSize_ = 0;
    ReadNotes mulNotes_;
    ReadNotes idxNotes_{"index record"};
    int64_t mulLength_ = 0;  // kept up to date by cSave; the file changes through nobody else
    int64_t idxLength_ = 0;  // likewise
    // A run is compared a piece at a time, where the file lies mapped or
    // else read into runBuffer_; what differs is gathered in the found and
    // kept arrays.
    static constexpr size_t kRunPiece = 1 << 18;
    MappedWindow mapped_;
    ByteArray runBuffer_;
    std::vector<int32_t> foundBlocks_;
    std::vector<int64_t> foundAt_;
    ByteArray keptBytes_;
};

// The text of a failed cOpen: cMUL's text, the names of the files and why,
// where known.
std::string MULOpenFailure(const cMUL& Mul, int32_t Code, const std::string& Names);

}  // namespace quillet
