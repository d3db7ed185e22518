#pragma once
// The client's radar colours: 65536 colour values, index = land tile number,
// or static item number + 16384.
#include <array>
#include <cstdint>
#include <string>

namespace quillet {

// Black (0) in every entry until LoadRadarCol has run. The patch's own
// Radarcol blocks do not feed it: only the client's file does.
extern std::array<int32_t, 65536> RadarColors;

// Fills RadarColors from ClientLocation().UO2DPath + "radarcol.mul" (a bare file name in
// the current directory when the client was not found). A missing or short
// file leaves the entries it lacks black.
void LoadRadarCol();

// The same from a radar colour file named by the user (the CLI's --radarcol).
// Failures are logged as "mRadarCol.LoadRadarCol".
void LoadRadarColFrom(const std::string& path);

// Whether the last load found its file: false before the first load and
// after one whose file was missing, when every entry is black.
bool RadarColorsFound();

}  // namespace quillet
