#include "viewers/BlockPictures.h"

#include <exception>

namespace quillet {

PictureKind PictureKindOf(int FileID, int32_t Block) {
    switch (FileID) {
        case 0: return PictureKind::MapBlock;
        case 4: return Block < kFirstItemBlock ? PictureKind::ArtLand : PictureKind::ArtItem;
        case 10: return PictureKind::Texmap;
        case 12: return PictureKind::Gump;
        case 32: return PictureKind::Hues;
        case 128: return PictureKind::Light;
        default: return PictureKind::None;
    }
}

bool HasPictures(int FileID) { return PictureKindOf(FileID, 0) != PictureKind::None; }

bool DecodeBlockPicture(int FileID, int32_t Block, int32_t Extra, std::span<const uint8_t> bytes,
                        BlockPicture& picture, std::string& why) {
    picture = BlockPicture();
    bool decoded = false;
    try {
        switch (PictureKindOf(FileID, Block)) {
            case PictureKind::ArtLand: decoded = DecodeArtLand(bytes, picture, why); break;
            case PictureKind::ArtItem: decoded = DecodeArtItem(bytes, picture, why); break;
            case PictureKind::Gump: decoded = DecodeGump(bytes, Extra, picture, why); break;
            case PictureKind::Texmap: decoded = DecodeTexmap(bytes, picture, why); break;
            case PictureKind::Light: decoded = DecodeLight(bytes, Extra, picture, why); break;
            case PictureKind::Hues: decoded = DecodeHues(bytes, picture, why); break;
            case PictureKind::MapBlock: decoded = DecodeMapBlock(bytes, picture, why); break;
            case PictureKind::None: why = "its type has no pictures"; break;
        }
    } catch (const std::exception& failure) {
        // Only memory can run out here: every read is checked first.
        why = failure.what();
        decoded = false;
    }
    if (!decoded) picture = BlockPicture();
    return decoded;
}

}  // namespace quillet
