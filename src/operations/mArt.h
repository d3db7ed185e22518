#pragma once
// Art import: a picture becomes one block of the Art type, a land tile (the
// blocks below 0x4000) or an item (from 0x4000 on: the item number plus
// 0x4000), in the forms the client reads from its art data file.
#include <cstdint>

#include "base/ByteIO.h"

namespace quillet {

class PixelSource;

inline constexpr uint8_t kArtFileID = 4;
// The most pixels a picture of a block has: the art import makes no larger
// item, and the decoders draw none. 4096 by 4096 is far beyond any picture
// the client ships.
inline constexpr int64_t kMostPicturePixels = int64_t{1} << 24;
// Art blocks below this are land tiles, from it on items.
inline constexpr int32_t kFirstItemBlock = 0x4000;
// The side of a land tile's picture.
inline constexpr int32_t kLandTileSide = 44;
// The length of a land tile block as the client ships them: 1012 colours and
// 24 unused bytes of 0.
inline constexpr int32_t kLandTileBytes = 2048;

// A 44 by 44 picture as a land tile: the 1012 pixels of its diamond, row by
// row; the corners outside it are not read. A land tile has no transparent
// pixels: transparent pixels and pure black become colour 0, which the client
// draws black. Any other size is a failure.
ByteArray EncodeArtLand(const PixelSource& Picture);

// A picture as an item: a header word of 0, the width and height, a table of
// row offsets, then each row's runs of visible pixels (skip, length,
// colours), ended by a run of skip 0 and length 0. Transparent pixels (alpha
// 0) and pure black become gaps, which the client leaves undrawn; any other
// colour that the 5-bit channels would turn into 0 becomes the darkest grey
// (8, 8, 8), so that it stays visible. A picture wider or higher than 65535,
// of more than kMostPicturePixels, or whose row data would start beyond what
// a 16-bit offset reaches, is a failure.
ByteArray EncodeArtItem(const PixelSource& Picture);

// Converts the picture into Art block Block (a land tile below 0x4000, an
// item from it on): Size and the bytes go into the slot, whatever stood
// there, Extra is -1 (an art block keeps nothing there), and Art is
// recounted; answers true. A Block outside the Art slots or a picture that
// the encoder refuses is a failure, logged as "mArt.Art_LoadPicture", that
// answers false and leaves the slot and the DataFile as they were. A batch
// passes Recount false and recounts once at its end.
bool Art_LoadPicture(const PixelSource& Picture, int32_t Block, bool Recount = true);

}  // namespace quillet
