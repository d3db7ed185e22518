// A client's UOP container as a source of import and compare, in place of
// the IDX/MUL pair: the sample client's containers hold the blocks of its
// classic files, and more.
#include <algorithm>
#include <vector>

#include "actions/mStart.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "operations/OperationsTestUtil.h"
#include "operations/mImport.h"
#include "sample/SampleClient.h"

namespace quillet {
namespace {

using namespace test;

constexpr uint8_t kMap = 0;
constexpr uint8_t kArt = 4;
constexpr uint8_t kGumps = 12;

struct Block {
    int32_t size, extra;
    ByteArray bytes;
    bool operator==(const Block&) const = default;
};

// The first block that differs, or -1.
int32_t FirstDifference(const std::vector<Block>& one, const std::vector<Block>& two) {
    for (size_t block = 0; block < one.size() && block < two.size(); ++block)
        if (!(one[block] == two[block])) return static_cast<int32_t>(block);
    return one.size() == two.size() ? -1 : static_cast<int32_t>(std::min(one.size(), two.size()));
}

class ContainerImportTest : public OperationsTest {
protected:
    void SetUp() override {
        OperationsTest::SetUp();
        sample::SampleOptions options;
        options.dir = Path("client");
        std::string error;
        ASSERT_TRUE(sample::WriteSampleClient(options, &error)) << error;
    }
    std::string Client(const std::string& name) { return Path("client/" + name); }
    // Blocks 0..last of a type as the patch holds them, after a fresh import.
    std::vector<Block> Imported(uint8_t FileID, const std::string& mul, const std::string& idx, int32_t last) {
        PatchDispose();
        PatchNew();
        EXPECT_TRUE(LoadMUL(mul, idx, FileID, 0, last)) << mul;
        std::vector<Block> blocks;
        for (int32_t block = 0; block <= last; ++block) {
            const PatchBlock& slot = PatchBlocks[FileID].Blocks[static_cast<size_t>(block)];
            // Art's extra words mean nothing; an empty block's neither (-1 in a container, as its
            // absent index record).
            const bool extra = FileID != kArt && slot.Offset > 0;
            blocks.push_back({slot.Size, extra ? slot.Extra : 0,
                              slot.Offset > 0 ? ReadBlockBytes(FileID, block) : ByteArray{}});
        }
        return blocks;
    }
};

TEST_F(ContainerImportTest, ContainersGiveTheBlocksOfTheClassicFilesBlockForBlock) {
    // Art: stored and zlib entries; Gumps: every entry in the two stages, width and height in Extra.
    EXPECT_EQ(FirstDifference(Imported(kArt, Client("current/artLegacyMUL.uop"), "", 65536),
                              Imported(kArt, Client("art.mul"), Client("artidx.mul"), 65536)),
              -1);
    EXPECT_EQ(FirstDifference(Imported(kGumps, Client("current/gumpartLegacyMUL.uop"), "", 4095),
                              Imported(kGumps, Client("gumpart.mul"), Client("gumpidx.mul"), 4095)),
              -1);
    // Map: the first 64 columns of the small set, 8 entries of 4096 blocks.
    EXPECT_EQ(FirstDifference(Imported(kMap, Client("current/map0LegacyMUL.uop"), "", 64 * 512 - 1),
                              Imported(kMap, Client("map0.mul"), "", 64 * 512 - 1)),
              -1);
}

TEST_F(ContainerImportTest, AContainerIsReadToItsLastBlockAndComparesEqualWhereItsBlocksAre) {
    ASSERT_TRUE(LoadMUL(Client("current/artLegacyMUL.uop"), "", kArt, 0, HighestBlock()));
    EXPECT_EQ(PatchBlocks[kArt].Count, 81884);  // every number walked, as for an index of 81884 records
    EXPECT_GT(PatchBlocks[kArt].Blocks[0x13FDB].Offset, 0);

    // A MUL pair against its container: equal blocks stay out; only numbers past the pair's end go in.
    PatchDispose();
    PatchNew();
    ASSERT_TRUE(CompareMUL(Client("art.mul"), Client("artidx.mul"), Client("current/artLegacyMUL.uop"), "", kArt));
    for (int32_t block = 0; block <= 65536; ++block)
        ASSERT_EQ(PatchBlocks[kArt].Blocks[static_cast<size_t>(block)].Offset, -1) << block;
    EXPECT_GT(PatchBlocks[kArt].Count, 0);

    // The classic map's columns are those of the container: nothing of them differs.
    ASSERT_TRUE(CompareMUL(Client("map0.mul"), "", Client("current/map0LegacyMUL.uop"), "", kMap));
    for (int32_t block = 0; block < 64 * 512; ++block)
        ASSERT_EQ(PatchBlocks[kMap].Blocks[static_cast<size_t>(block)].Offset, -1) << block;
}

TEST_F(ContainerImportTest, AContainerOfAnotherTypeIsRefusedWithWhatItHolds) {
    EXPECT_FALSE(LoadMUL(Client("current/artLegacyMUL.uop"), "", kGumps, 0, HighestBlock()));
    EXPECT_FALSE(LoadTiledata(Client("current/gumpartLegacyMUL.uop"), 0, HighestBlock()));
    const std::vector<std::string> log = LogLines();
    ASSERT_EQ(log.size(), 2u);
    EXPECT_NE(log[0].find("It holds Art, not Gumps."), std::string::npos) << log[0];
    EXPECT_NE(log[1].find("not of Tiledata"), std::string::npos) << log[1];
    EXPECT_EQ(PatchBlocks[kGumps].Count + PatchBlocks[30].Count, 0);
}

}  // namespace
}  // namespace quillet
