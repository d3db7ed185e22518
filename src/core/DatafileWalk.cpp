#include "core/DatafileWalk.h"

namespace quillet {

const uint8_t* DatafileWalk::View(int32_t Offset, int32_t Size) {
    if (Size > kLargestView) return nullptr;
    return Datafile_View(handle_, window_, Offset, Size, spare_);
}

ByteFeed DatafileWalk::Feed(int32_t Offset, int32_t Size) {
    return [this, Offset, Size](const ByteSink& sink) { Datafile_CopyTo(handle_, Offset, Size, sink); };
}

}  // namespace quillet
