#pragma once
// The image list imMuls: 26 icons of 16 by 16 pixels, drawn at start.
// 1 is the tree's root, 10 to 21 stand for the file types.
#include <QIcon>

namespace quillet {

QIcon MulIcon(int imageIndex);

}  // namespace quillet
