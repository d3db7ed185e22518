#pragma once
// The gump import: an ordinary picture file becomes one block of the Gumps
// type in the open patch, at the number the user gives.
#include "PictureImportForm.h"

namespace quillet {

class frmGump : public PictureImportForm {
    Q_OBJECT
public:
    explicit frmGump(QWidget* parent = nullptr);
    ~frmGump() override;

protected:
    Result Convert(const PixelSource& picture, int32_t block) override;
};

}  // namespace quillet
