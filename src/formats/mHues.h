#pragma once
// Hue groups. The client's hue file holds groups of 708 bytes (a 4-byte
// header and 8 hues of 88 bytes); verdata.mul holds the same group as 1220
// bytes (a zero header and 8 hues of 152 bytes: the 88 bytes, then 64 zeros).
// A hue block is kept in the patch in the verdata form.
#include <cstdint>

#include "base/ByteIO.h"

namespace quillet {

inline constexpr int32_t kHueGroupSize = 708;
inline constexpr int32_t kVerdataHueGroupSize = 1220;

// Makes VerdataGroup the 1220-byte verdata form of the first 708 bytes of
// HueGroup; the group's header is not carried over. A HueGroup of fewer than
// 708 bytes is a failure: logged, and VerdataGroup stays as it was.
void ToVerdataHues(const ByteArray& HueGroup, ByteArray& VerdataGroup);

}  // namespace quillet
