#pragma once
// The picture types and their decoders: from a block's bytes (and its Extra,
// where the size stands there) to a picture. No decoder reads outside the
// bytes it is given; a block that does not decode answers false with the
// reason in why, and leaves the picture empty.
#include <cstdint>
#include <span>
#include <string>

#include "operations/mArt.h"
#include "viewers/BlockPicture.h"

namespace quillet {

enum class PictureKind : uint8_t { None, ArtLand, ArtItem, Gump, Texmap, Light, Hues, MapBlock };

// A picture whose stated size is larger than kMostPicturePixels (a gump's
// Extra or an item's header can claim up to 65535 by 65535) is refused
// before anything is allocated.

PictureKind PictureKindOf(int FileID, int32_t Block);
// Whether blocks of the type are pictures (Map, Art, Texmaps, Gumps, Hues, Light).
bool HasPictures(int FileID);

// Decodes the block as its type's picture. A type without pictures answers
// false too.
bool DecodeBlockPicture(int FileID, int32_t Block, int32_t Extra, std::span<const uint8_t> bytes,
                        BlockPicture& picture, std::string& why);

// The decoders of the kinds, each as the client's files lay the block out.
bool DecodeArtLand(std::span<const uint8_t> bytes, BlockPicture& picture, std::string& why);
bool DecodeArtItem(std::span<const uint8_t> bytes, BlockPicture& picture, std::string& why);
// Width in the high 16 bits of Extra, height in the low.
bool DecodeGump(std::span<const uint8_t> bytes, int32_t Extra, BlockPicture& picture, std::string& why);
bool DecodeTexmap(std::span<const uint8_t> bytes, BlockPicture& picture, std::string& why);
// Width in the low 16 bits of Extra, height in the high: the reverse of a gump.
bool DecodeLight(std::span<const uint8_t> bytes, int32_t Extra, BlockPicture& picture, std::string& why);
// A swatch sheet of the block's 8 hues, 256 by 64.
bool DecodeHues(std::span<const uint8_t> bytes, BlockPicture& picture, std::string& why);
// 8 by 8 cells in the loaded RadarColors.
bool DecodeMapBlock(std::span<const uint8_t> bytes, BlockPicture& picture, std::string& why);

}  // namespace quillet
