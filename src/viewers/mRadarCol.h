#pragma once
// The client's radar colours: 65536 colour values, index = land tile number,
// or static item number + 16384.
#include <array>
#include <cstdint>

namespace quillet {

extern std::array<int32_t, 65536> RadarColors;

// Fills RadarColors from cUO.UO2DPath + "radarcol.mul". A missing or short
// file leaves the entries it lacks black.
void LoadRadarCol();

}  // namespace quillet
