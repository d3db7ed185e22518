#pragma once
// The map page: an overview of the whole world with one pixel per map block
// (FileID 0), coloured by the land tile of the block's first cell, and the
// removal of a rectangle of blocks from the patch. The grid, the reading of
// the blocks' leading bytes and the rectangle removal are shared with the
// statics page.
#include <cstdint>
#include <vector>

#include "core/SlotTable.h"
#include "viewers/Canvas.h"

namespace quillet {

// The grid of both pages: blocks run down the columns, Block = X * 512 + Y,
// whatever the number of columns.
inline constexpr int32_t kGridRows = 512;
// The columns of the classic world, blocks 0 to 393215.
inline constexpr int32_t kClassicColumns = 768;

// The columns that blocks 0 to NbrOfBlocks of a type fill (a column they
// fill in part counts whole): 768 for a classic range, 896 for the 458752
// blocks of a current map.
int32_t GridColumnsOf(int FileID);

// The width of both pages, in pixels: 768 while every present block (Offset
// not -1) of Map and of Statics lies in the classic grid, else the columns
// of the wider of the two types' ranges (GridColumnsOf). The GUI's pages and
// the CLI's render both get their width from here, through DrawMap and
// DrawStatics.
int32_t PageColumns();

// Gives pageMap the width of PageColumns and erases it, sets one pixel for
// every map block with data in the colour RadarColors(tile number at bytes
// 4-5), and shows the picture. A block with fewer than 6 bytes stops the
// drawing (logged as "mMap.DrawMap"); the picture is then not shown. Answers
// whether it was shown.
bool DrawMap(PictureSurface& pageMap);

// Removes every map block of the rectangle from the patch: the corners are
// put in order, clamped to the grid (X to the last column of GridColumnsOf,
// Y to 511), and then Count of FileID 0 is recounted.
// A rectangle whose right or bottom edge is negative (no selection: all -1)
// does nothing. The arguments are changed in place.
void Map_ClearBlocks(int32_t& X1, int32_t& Y1, int32_t& X2, int32_t& Y2);

// --- shared with the statics page ---

struct GridPoint {
    int32_t X = 0;
    int32_t Y = 0;
};
// X = integer part of Block / 512, Y = Block - X * 512.
GridPoint GridPosition(int64_t Block);

// SlotTable::NextAllocated for the pages' signed block numbers: the walks
// over a whole grid step over the pages of slots never written.
inline int64_t NextAllocated(const SlotTable& slots, int64_t from) {
    return static_cast<int64_t>(slots.NextAllocated(static_cast<size_t>(from < 0 ? 0 : from)));
}

// The unsigned 16-bit value at byte `position` of every block 0..LastBlock of
// FileID that has data (Offset 1 or more) and at least position + 2 bytes, as
// a read of the whole block would give it; 0 for every other block. The
// DataFile is read in offset order through one window, whatever order the
// blocks lie in, and is not changed. A DataFile that lost bytes or is
// shorter than its blocks is a failure (thrown), as for Datafile_Read.
std::vector<uint16_t> LeadingValues(int FileID, int64_t LastBlock, int32_t position);

// Map_ClearBlocks on any FileID; Proc is the logged name, to which the four
// arguments are added as they are at the moment of a failure.
void ClearGridBlocks(int FileID, const char* Proc, int32_t& X1, int32_t& Y1, int32_t& X2, int32_t& Y2);

}  // namespace quillet
