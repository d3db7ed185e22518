// One picture decoder on any block, held against the model (PictureModel.h):
// the same refusals, and for a block that decodes the same size and every
// pixel the same. Compiled once per kind, QUILLET_PICTURE_KIND naming it
// (the values of PictureKind). The input: a 4-byte Extra, then the block.
#include <cstdint>
#include <string>

#include "FuzzInput.h"
#include "FuzzSupport.h"
#include "PictureModel.h"
#include "viewers/BlockPictures.h"
#include "viewers/mRadarCol.h"

#ifndef QUILLET_PICTURE_KIND
#error "QUILLET_PICTURE_KIND names the decoder to fuzz"
#endif

using namespace quillet;
using namespace quillet::fuzz;

namespace {

constexpr auto kKind = static_cast<PictureKind>(QUILLET_PICTURE_KIND);

// The type and block number that pick the kind.
constexpr int kFileIDOf[] = {-1, 4, 4, 12, 10, 128, 32, 0};
constexpr int32_t BlockOf(PictureKind kind) { return kind == PictureKind::ArtItem ? 0x4000 : 0; }

MaybePicture Model(const ByteArray& block, int32_t extra) {
    switch (kKind) {
        case PictureKind::ArtLand: return ModelLand(block);
        case PictureKind::ArtItem: return ModelItem(block);
        case PictureKind::Gump: return ModelGump(block, extra);
        case PictureKind::Texmap: return ModelTexmap(block);
        case PictureKind::Light: return ModelLight(block, extra);
        case PictureKind::Hues: return ModelHues(block);
        case PictureKind::MapBlock: return ModelMapBlock(block, RadarColors);
        case PictureKind::None: break;
    }
    return std::nullopt;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Radar colours of every kind of value, the high bytes too.
    uint32_t seed = 12345;
    for (int32_t& colour : RadarColors) {
        seed = seed * 1103515245u + 12345u;
        colour = static_cast<int32_t>(seed);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    InputCutter in(data, size);
    const int32_t extra = in.I32();
    // The block is copied to a buffer of its own size, so that ASan sees a
    // read one byte past its end.
    const ByteArray block = in.Rest();
    const int fileId = kFileIDOf[static_cast<size_t>(kKind)];
    FUZZ_CHECK(PictureKindOf(fileId, BlockOf(kKind)) == kKind, "the type does not pick the kind");

    BlockPicture picture;
    picture.Reset(3, 1);  // a refusal must not leave it
    std::string why;
    const bool decoded = DecodeBlockPicture(fileId, BlockOf(kKind), extra, block, picture, why);
    const MaybePicture model = Model(block, extra);
    FUZZ_CHECK(decoded == model.has_value(),
               decoded ? "decodes, the model refuses" : "refused (" + why + "), the model decodes");
    if (!decoded) {
        FUZZ_CHECK(!why.empty(), "a refusal without a reason");
        FUZZ_CHECK(picture.Width == 0 && picture.Height == 0 && picture.Pixels.empty(), "a refusal left a picture");
        return 0;
    }
    FUZZ_CHECK(picture.Width == model->Width && picture.Height == model->Height,
               std::to_string(picture.Width) + " by " + std::to_string(picture.Height) +
                   ", the model: " + std::to_string(model->Width) + " by " + std::to_string(model->Height));
    FUZZ_CHECK(picture.Pixels.size() == model->Pixels.size(), "pixels for another size");
    for (size_t i = 0; i < picture.Pixels.size(); ++i)
        FUZZ_CHECK(picture.Pixels[i] == model->Pixels[i],
                   "pixel " + std::to_string(i % static_cast<size_t>(picture.Width)) + "," +
                       std::to_string(i / static_cast<size_t>(picture.Width)));
    return 0;
}
