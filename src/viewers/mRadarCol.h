#pragma once
// The client's radar colours: index = land tile number, or static item
// number + 16384.
#include <cstdint>
#include <string>
#include <vector>

namespace quillet {

// The fewest entries the table has: the land tiles and the items up to
// 0xBFFF, as a classic radarcol.mul holds them.
inline constexpr size_t kRadarColorsLeast = 65536;
// The most: up to the highest index a static item can reach, 16384 + 65535,
// as the radarcol.mul of current clients holds them.
inline constexpr size_t kRadarColorsMost = 0x14000;

// As many entries as the last loaded file holds whole, at least
// kRadarColorsLeast and at most kRadarColorsMost. Black (0) in every entry
// until LoadRadarCol has run. The patch's own Radarcol blocks do not feed
// it: only the client's file does.
extern std::vector<int32_t> RadarColors;

// Fills RadarColors from ClientLocation().UO2DPath + "radarcol.mul" (a bare file name in
// the current directory when the client was not found). A missing or short
// file leaves the entries it lacks black; the entries of a longer file are
// read up to kRadarColorsMost.
void LoadRadarCol();

// The same from a radar colour file named by the user (the CLI's --radarcol).
// Failures are logged as "mRadarCol.LoadRadarCol".
void LoadRadarColFrom(const std::string& path);

// Whether the last load found its file: false before the first load and
// after one whose file was missing, when every entry is black.
bool RadarColorsFound();

}  // namespace quillet
