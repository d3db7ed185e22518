#include "frmGump.h"

#include "actions/mImportJobs.h"

namespace quillet {

// A number past the Gumps type is the job's to refuse, and a failed
// conversion closes the dialog as a success does: the log tells of it.
frmGump::frmGump(QWidget* parent)
    : PictureImportForm(parent, {"frmGump", "Import gump", "Gump index:", "0x00", "A gump", "gump", 12, false, false}) {
}

frmGump::~frmGump() = default;

Result frmGump::Convert(const PixelSource& picture, int32_t block) { return ImportGump(picture, block); }

}  // namespace quillet
