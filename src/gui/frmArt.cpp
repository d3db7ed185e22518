#include "frmArt.h"

#include "actions/mBlockPictures.h"
#include "operations/mArt.h"

namespace quillet {

// A number past the Art type is refused before anything is read, and a
// picture that cannot become the block asked for (a land tile of another size
// than 44 by 44) is told: the user can pick another.
frmArt::frmArt(QWidget* parent)
    : PictureImportForm(
          parent, {"frmArt", "Import art", "Art index:", "0x4000", "An art block", "art", kArtFileID, true, true}) {}

frmArt::~frmArt() = default;

Result frmArt::Convert(const PixelSource& picture, int32_t block) { return ImportArt(picture, block); }

}  // namespace quillet
