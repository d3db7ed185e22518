#pragma once
// The statics page: the map page's twin for the static items (FileID 2). It
// tells three things apart: background (the block is not in the patch), black
// (in the patch, without bytes) and a colour (in the patch, with items).
#include <cstdint>

#include "viewers/Canvas.h"

namespace quillet {

// Gives pageStatics the width of PageColumns (the map page's width) and
// erases it, draws every present statics block (its first item's colour,
// RadarColors(item number + 16384), or black for an empty block) and shows
// the picture. A block with fewer than 2 bytes, or an item number beyond the
// table (49152 or more with a classic table of 65536 entries), stops the
// drawing (logged as "mStatics.DrawStatics"); the picture is then not shown.
// Answers whether it was shown.
bool DrawStatics(PictureSurface& pageStatics);

// Map_ClearBlocks on FileID 2.
void Statics_ClearBlocks(int32_t& X1, int32_t& Y1, int32_t& X2, int32_t& Y2);

}  // namespace quillet
