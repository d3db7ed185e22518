// Blocks of the patch as pictures and WAV files, and the art import job:
// what the GUI and the CLI are told, naming the block.
#include <gtest/gtest.h>

#include "actions/mBlockPictures.h"
#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/mPatch.h"
#include "operations/mGumps.h"

namespace quillet {
namespace {

using test::Bytes;
using BlockPictureJobsTest = test::PatchTest;

constexpr int kGumps = 12;
constexpr int kSound = 8;

TEST_F(BlockPictureJobsTest, PicturesOfPatchBlocks) {
    // A 2 by 1 gump, one run; the Extra of its slot gives the size.
    const ByteArray gump = Bytes().le(1).le16(0x7C00).le16(2).b;
    StoreBlock(kGumps, 0x1F4, 8, 2 << 16 | 1, gump);
    BlockPicture picture;
    ASSERT_TRUE(PictureOfBlock(kGumps, 0x1F4, picture).Ok());
    EXPECT_EQ(picture.Pixels, (std::vector<uint32_t>{0xFFF80000u, 0xFFF80000u}));

    EXPECT_EQ(PictureOfBlock(kGumps, 0x1F5, picture).Text(), "Gumps block 1F5 is not in the patch");
    EXPECT_TRUE(picture.Pixels.empty());
    StoreBlock(kGumps, 0x1F6, 8, 3 << 16 | 1, gump);
    const Result broken = PictureOfBlock(kGumps, 0x1F6, picture);
    EXPECT_EQ(broken.Text().rfind("Gumps block 1F6 cannot be drawn: ", 0), 0u) << broken.Text();
    StoreBlock(kGumps, 0x1F7, 0, 0, nullptr);
    EXPECT_EQ(PictureOfBlock(kGumps, 0x1F7, picture).Text(), "Gumps block 1F7 has no bytes");
    EXPECT_EQ(PictureOfBlock(kSound, 0, picture).Text(), "Sound block 0 is no picture: its type has none");
    EXPECT_EQ(PictureOfBlock(kGumps, 0x10000, picture).Text().rfind("Gumps block 10000 cannot be read: ", 0), 0u);
}

TEST_F(BlockPictureJobsTest, SoundBlocksAsWaveFiles) {
    const ByteArray block = Bytes().str("tick").fill(35, 0).le16(-2).b;
    StoreBlock(kSound, 0xAB, 42, 0, block);
    const std::string file = Path("tick.wav");
    ASSERT_TRUE(ExportSoundWave(0xAB, file).Ok());
    ByteArray wave;
    ASSERT_TRUE(WaveOfSoundBlock(0xAB, wave).Ok());
    EXPECT_EQ(test::ReadFile(file), wave);
    EXPECT_EQ(wave.size(), 46u);
    EXPECT_EQ(ByteArray(wave.end() - 2, wave.end()), (ByteArray{0xFE, 0xFF}));

    StoreBlock(kSound, 0xAC, 40, 0, ByteArray(block.begin(), block.begin() + 40));
    const Result none = ExportSoundWave(0xAC, Path("none.wav"));
    EXPECT_EQ(none.Text().rfind("Sound block AC has no WAV file: ", 0), 0u) << none.Text();
    EXPECT_FALSE(test::Exists(Path("none.wav")));
    EXPECT_FALSE(ExportSoundWave(0xAB, Path("no/such/dir/x.wav")).Ok());
}

class OnePixel : public PixelSource {
public:
    int32_t Width() const override { return 1; }
    int32_t Height() const override { return 1; }
    RGB Pixel(int32_t, int32_t) const override { return {0, 0, 255, 255}; }
};

TEST_F(BlockPictureJobsTest, ArtImportUnderItsWaitText) {
    waitTexts.clear();
    EXPECT_TRUE(ImportArt(OnePixel(), 0x4000).Ok());
    EXPECT_EQ(waitTexts, std::vector<std::string>{"Converting picture to art. Please wait."});
    EXPECT_EQ(Slot(4, 0x4000).Extra, -1);
    const Result land = ImportArt(OnePixel(), 0x3FFF);
    EXPECT_FALSE(land.Ok());
    EXPECT_EQ(Slot(4, 0x3FFF).Offset, -1);
}

// A batch is all or nothing: a picture that cannot be read puts back every
// slot the batch had changed, a block named twice included; a batch that
// ends well is counted once.
TEST_F(BlockPictureJobsTest, PictureBatchesAreAllOrNothing) {
    StoreBlock(kGumps, 7, 8, 2 << 16 | 1, Bytes().le(1).le16(0x7C00).le16(2).b);
    RecountBlocks(kGumps);
    const PatchBlock kept = Slot(kGumps, 7);
    const std::vector<PictureInput> batch = {{"a.png", 7}, {"b.png", 9}, {"c.png", 7}, {"d.png", 11}};
    const auto readUpTo = [](size_t last) {
        return [last](size_t index, std::unique_ptr<PixelSource>& picture, std::string& why) {
            if (index > last) {
                why = "unreadable";
                return false;
            }
            picture = std::make_unique<OnePixel>();
            return true;
        };
    };
    const Result failed = ImportPictures(kGumps, batch, readUpTo(2));
    EXPECT_EQ(failed.Text(), "d.png: unreadable");
    EXPECT_EQ(Slot(kGumps, 7).Offset, kept.Offset);
    EXPECT_EQ(Slot(kGumps, 7).Extra, kept.Extra);
    EXPECT_EQ(Slot(kGumps, 9).Offset, -1);
    EXPECT_EQ(PatchBlocks[kGumps].Count, 1);

    ASSERT_TRUE(ImportPictures(kGumps, batch, readUpTo(3)).Ok());
    EXPECT_EQ(PatchBlocks[kGumps].Count, 3);
    EXPECT_EQ(Slot(kGumps, 7).Extra, 1 << 16 | 1);
    EXPECT_FALSE(ImportPictures(kSound, batch, readUpTo(3)).Ok());
}

}  // namespace
}  // namespace quillet
