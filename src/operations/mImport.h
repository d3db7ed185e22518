#pragma once
// The procedures of mMuls that take blocks out of the client's own data files
// into the patch: the import of one file type (LoadMUL, and LoadTiledata for
// the tile data file with its two sections) and the comparison of two
// versions of one file type (CompareMUL). Both walk a BlockReader.
//
// Unlike the loaders of patch files, which keep the records a file happens to
// hold, these walk block numbers: every number walked ends up with a slot
// that speaks for the source, an empty source block becoming a present, empty
// block. Hues groups enter the patch in their 1220-byte verdata form.
//
// Each answers true when it ran to its end, also when it ended early without
// a word (a missing MUL file). A failure is logged under the procedure's name
// and ends it, with the blocks stored so far left in the patch and the type's
// Count recomputed; it answers false. A file that cMUL cannot open is such
// a failure, logged with cMUL's text, the file's name and why. One block of
// each file is in memory at a time.
//
// What they go on past is told as warnings (base/Warnings.h), one per file
// and kind with its count: blocks that reach past the end of their file
// (read as zeros there), blocks the files hold beyond the type's last block
// (left out), and a tile data file whose size fits neither of its layouts
// (read in the classic one).
#include <cstdint>
#include <memory>
#include <string>

#include "base/ByteIO.h"

namespace quillet {

class BlockReader;
class cTiledata;
struct FileTypeRec;

inline constexpr uint8_t kTiledataFileID = 30;
inline constexpr uint8_t kAnimdataFileID = 31;
inline constexpr uint8_t kHuesFileID = 32;

// Imports blocks FromBlock..ToBlock (inclusive) of FileID from the MUL file,
// through the IDX file for a type without a constant block size. The walk
// ends at the type's classic last block, or further if the files hold more
// blocks, up to the type's last block (WalkLast). A source block of Size 0
// or below is stored present and empty with Size -1; a Size of -2 ends the
// walk there. A missing MUL file ends the call before anything is done,
// answering true. Not for FileID 30.
bool LoadMUL(const std::string& MULFilename, const std::string& IDXFilename, uint8_t FileID, int32_t FromBlock,
             int32_t ToBlock);

// The same for the tile data file (FileID 30), in the layout its size gives
// (formats/cTiledata.h). The land groups (blocks 0..511) are walked from
// FromBlock if that lies below 512; the item groups, if ToBlock is 512 or
// more, always from 512 on, whatever FromBlock says.
bool LoadTiledata(const std::string& MULFilename, int32_t FromBlock, int32_t ToBlock);

// Walks every block of FileID in a base set (1) and an altered set (2) and
// stores the altered side of each block that differs: sizes first, the bytes
// only when both sizes are equal and above 0; extra words are not compared.
// An altered block of Size below 1 is stored present and empty with its Size
// as it came. Hues groups are compared as 708-byte source groups and stored
// converted. Between a client's container and an index pair, blocks without
// bytes on both sides are equal, whatever their Sizes: the container has no
// kinds of empty. The walk goes as far as the larger side asks (WalkLast). Two
// tile data files of different layouts are not compared: a failure, before
// any block. A missing MUL file on either side ends the call at once,
// answering true. Counts, when given, gets how many blocks were walked and
// how many of them differed and went into the patch.
struct CompareCounts {
    int64_t Compared = 0;
    int64_t Stored = 0;
};
bool CompareMUL(const std::string& MULFilename1, const std::string& IDXFilename1, const std::string& MULFilename2,
                const std::string& IDXFilename2, uint8_t FileID, CompareCounts* Counts = nullptr);

// True if every element of First equals the element of Second at the same
// index; an empty First is equal to anything. A Second shorter than First is
// a failure (an index outside the array).
bool SameBytes(const ByteArray& First, const ByteArray& Second);

// ---- Shared by import and compare

// Opens the client's file(s) of FileID for a walk: a client's UOP container
// (told by its content; Map, Art, Sound and Gumps), else an IDX/MUL pair or a
// file of constant-size blocks as the type's row says (the animation data
// file holds whole groups only), the tile data file by its layout. A source that
// cannot be opened is a Failure of cMUL's text, the file's name (both names
// for a pair) and why.
std::unique_ptr<BlockReader> OpenMULSource(const std::string& IDXFilename, const std::string& MULFilename,
                                           uint8_t FileID);
std::unique_ptr<cTiledata> OpenTiledataSource(const std::string& MULFilename);
// The file that a warning about a source names: the index file of a pair,
// else the MUL file or the container.
std::string SourceFileName(const std::string& IDXFilename, const std::string& MULFilename, uint8_t FileID);

// The last block a walk over a source of Extent block numbers goes to: at
// least the type's ClassicLast, so that a short index or file gives empty
// blocks or zeros up to there as classic clients' files did, and further to
// the last block the source holds, but not beyond LastBlock (the type's
// NbrOfBlocks, or less where the source's layout ends sooner).
int64_t WalkLast(const FileTypeRec& Type, int64_t Extent, int64_t LastBlock);

// Warns of the blocks that the source holds beyond LastBlock among those a
// walk from FromBlock to ToBlock would take. whatBecame ends the warning:
// "they were not imported".
void WarnBeyondLast(BlockReader& source, const std::string& file, uint8_t FileID, int64_t FromBlock, int64_t ToBlock,
                    int32_t LastBlock, const char* whatBecame);

// A source block with bytes (Size above 0) into its slot; a Hues group
// converted to its verdata form first, with HueBuffer as the work array.
void StoreMULBlock(uint8_t FileID, int32_t Block, int32_t Size, int32_t Extra, const ByteArray& Bytes,
                   ByteArray& HueBuffer);

}  // namespace quillet
