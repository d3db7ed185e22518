#include "core/DatafileWalk.h"

namespace quillet {

const uint8_t* DatafileWalk::View(int32_t Offset, int32_t Size) {
    // A quarter of the window: a block that large costs its read whatever
    // way it goes, and none is ever held whole beside the window.
    if (Size > static_cast<int32_t>(kWindow / 4)) return nullptr;
    return Datafile_View(handle_, window_, Offset, Size, spare_);
}

ByteFeed DatafileWalk::Feed(int32_t Offset, int32_t Size) {
    return [this, Offset, Size](const ByteSink& sink) { Datafile_CopyTo(handle_, Offset, Size, sink); };
}

}  // namespace quillet
