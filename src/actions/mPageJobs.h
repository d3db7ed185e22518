#pragma once
// What the pages of the main window show: the map and statics pictures with
// their rectangle removal, the block lists, and the radar colours they are
// drawn in.
#include <cstdint>
#include <string>
#include <vector>

#include "base/Result.h"

namespace quillet {

class PictureSurface;

// DrawMap (FileID 0, "Drawing map. Please wait.") or DrawStatics (FileID 2,
// "Drawing statics. Please wait."). A drawing that stopped is a failure; the
// page then is not shown.
Result DrawPage(PictureSurface& Page, int FileID);

// Map_ClearBlocks or Statics_ClearBlocks of the rectangle (corners as the
// page's selection has them, put in order in place).
Result ClearPageBlocks(int FileID, int32_t& X1, int32_t& Y1, int32_t& X2, int32_t& Y2);

// The present blocks of a list page's type, in rising order, under
// "Listing " + Name + ". Please wait.".
std::vector<int32_t> ListBlocks(int FileID);

// The radar colours from a file the user names, under "Loading radar colors".
Result LoadRadarColors(const std::string& Filename);

}  // namespace quillet
